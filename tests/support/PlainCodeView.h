#pragma once

#include "BlockCodeView.h"

#include <QString>

// The smallest concrete code view: read-only, no edit mode, nowhere to step, no path, and it goes
// nowhere it is sent. Tests derive from it and override what they watch.
class PlainCodeView : public BlockCodeView
{
public:
    using BlockCodeView::BlockCodeView;

    bool isReadOnly() const override { return true; }
    bool isBlockDefinitionEditMode() const override { return false; }
    bool isEditAllowed() const override { return false; }
    bool isStepInAllowed() const override { return false; }
    bool isStepOutAllowed() const override { return false; }
    QString currentPath() const override { return QString(); }
    bool setReadOnly(bool) override { return false; }
    bool navigateTo(const QString&) override { return false; }
    bool stepInSelectedBlock() override { return false; }
    bool stepOut() override { return false; }
    bool scrollToItem(uint, bool) override { return false; }
    void showBlockProperties() override {}
};
