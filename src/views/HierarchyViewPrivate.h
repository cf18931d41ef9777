#pragma once

#include "HierarchyView.h"

#include <QHash>
#include <QIcon>
#include <QList>
#include <QMetaObject>
#include <QPointer>
#include <QSet>
#include <QTreeWidget>

class BlockDefinition;
class BlockInstance;
class BlockInstanceArea;
class BlockInstanceHierarchyNode;
class QTreeWidgetItem;

// Unlike other companions this one is itself the widget: the tree does all the work.
class HierarchyViewPrivate : public QTreeWidget
{
    Q_OBJECT
public:
    explicit HierarchyViewPrivate(HierarchyView* owner);
    ~HierarchyViewPrivate() override;

    // The model may delete the root while the editor still shows it.
    QPointer<BlockDefinition> rootDefinition;
    QPointer<BlockInstanceHierarchyNode> rootNode;
    QTreeWidgetItem* rootItem = nullptr;
    // Guarded: an instance can be deleted between two updates while its row still stands.
    QHash<QTreeWidgetItem*, QPointer<BlockInstance>> instanceOfItem;
    HierarchyView* q;

    QMetaObject::Connection libraryConnection;

Q_SIGNALS:
    void showPathInCode(const QString& path);

public Q_SLOTS:
    void update();
    void rootInstanceChanged();
    void showItemInCode(QTreeWidgetItem* pItem);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    // What one pass of update() gathers on its way down and applies at the end.
    struct Pass
    {
        BlockInstanceArea* area = nullptr;
        QHash<const BlockDefinition*, QIcon> icons;
        // New rows are built off the view and attached per parent in one insertion each.
        QList<QPair<QTreeWidgetItem*, QList<QTreeWidgetItem*>>> attachments;
        QList<QTreeWidgetItem*> spanChanges;
    };

    void updateItem(QTreeWidgetItem* item, QList<BlockDefinition*>& stack, Pass& pass);
    QIcon iconFor(const BlockDefinition* definition, Pass& pass);
    void forgetSubtree(QTreeWidgetItem* item);
    void scheduleCodeUpdate();

    // Rows that show the recursion text; their first column spans the row once attached.
    QSet<QTreeWidgetItem*> recursionItems;
    QIcon fallbackIcon;
    bool codeUpdatePending = false;
};
