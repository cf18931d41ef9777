#pragma once

#include "BlockCodeView.h"

#include <QScopedPointer>

class BlockHierarchyNodeViewPrivate;
class BlockInstanceArea;
class BlockInstanceHierarchyNode;

// The code view that walks an instance hierarchy. It shows one level at a time: the read-only scene
// of a hierarchy node, or in edit mode the definition scene behind that node. It remembers scroll
// and zoom per scene, carries the pin display mode from level to level and decides who may edit.
class ZK_VIEW_EXPORT BlockHierarchyNodeView : public BlockCodeView
{
    Q_OBJECT
public:
    explicit BlockHierarchyNodeView(QWidget* parent = nullptr);
    ~BlockHierarchyNodeView() override;

    bool isReadOnly() const override;
    bool isBlockDefinitionEditMode() const override;
    bool isEditAllowed() const override;
    bool isStepInAllowed() const override;
    bool isStepOutAllowed() const override;
    QString currentPath() const override;

    // Shows the root node of the area's hierarchy.
    void setArea(BlockInstanceArea* pArea);

Q_SIGNALS:
    void blockDefinitionEditModeToggled(bool value);

public Q_SLOTS:
    bool setReadOnly(bool value) override;
    bool navigateTo(const QString& path) override;
    bool stepInSelectedBlock() override;
    bool stepOut() override;
    bool scrollToItem(uint identifier, bool selectItem) override;
    void showBlockProperties() override;
    bool setBlockDefinitionEditMode(bool value);

private:
    friend class BlockHierarchyNodeViewPrivate;
    QScopedPointer<BlockHierarchyNodeViewPrivate> d;
};
