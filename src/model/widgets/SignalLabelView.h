#pragma once

#include "zkblockmodel_export.h"

// The guarded pointer below hands out its object in an inline accessor.
#include "BlockInstanceHierarchyNode.h"

#include <QPointer>
#include <QWidget>

class BlockInstanceHierarchyNode;
class QTreeWidget;
class QTreeWidgetItem;

// Lists the signal labels of a node with their pin and current value.
class ZK_MODEL_EXPORT SignalLabelView : public QWidget
{
    Q_OBJECT
public:
    explicit SignalLabelView(QWidget* parent);
    ~SignalLabelView() override;

    void setNode(BlockInstanceHierarchyNode* node);
    BlockInstanceHierarchyNode* node() const { return m_node.data(); }
    QTreeWidget* tree() const { return m_tree; }

Q_SIGNALS:
    // The location path of the labelled block, to be shown in the code.
    void needToShowInCode(const QString& locationPath);

public Q_SLOTS:
    void refresh();

private:
    void onItemDoubleClicked(QTreeWidgetItem* item, int column);

    QPointer<BlockInstanceHierarchyNode> m_node;
    QTreeWidget* m_tree;
    // Owns the connections to the labels shown now; replaced at each refresh with the rows.
    QObject* m_rows = nullptr;
};
