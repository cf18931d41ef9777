#pragma once

#include "BlockCodeView.h"

#include <QScopedPointer>

class BlockDefinition;
class BlockInstanceArea;
class LibraryBlockDefinitionViewPrivate;

// The code view of a library block definition: always in edit mode, with a stack of definitions for
// stepping into local blocks. A definition has no location, so there is no path to navigate.
class ZK_VIEW_EXPORT LibraryBlockDefinitionView : public BlockCodeView
{
    Q_OBJECT
public:
    explicit LibraryBlockDefinitionView(QWidget* parent = nullptr);
    ~LibraryBlockDefinitionView() override;

    bool isReadOnly() const override;
    bool isBlockDefinitionEditMode() const override;
    bool isEditAllowed() const override;
    bool isStepInAllowed() const override;
    bool isStepOutAllowed() const override;
    QString currentPath() const override;

    void setDefinition(BlockDefinition* pDefinition);
    void setEnvironment(BlockInstanceArea* pArea);

public Q_SLOTS:
    bool setReadOnly(bool value) override;
    bool navigateTo(const QString& path) override;
    bool stepInSelectedBlock() override;
    bool stepOut() override;
    bool scrollToItem(uint identifier, bool selectItem) override;
    void showBlockProperties() override;

private:
    friend class LibraryBlockDefinitionViewPrivate;
    QScopedPointer<LibraryBlockDefinitionViewPrivate> d;
};
