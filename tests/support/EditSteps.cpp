#include "EditSteps.h"

#include "BlockDefinitionScene.h"
#include "BlockHierarchyNodeView.h"
#include "BlockItem.h"
#include "MoveCommand.h"

#include <QUndoStack>

BlockDefinitionScene* enterEditMode(BlockCodeView* view)
{
    auto* hierarchyView = qobject_cast<BlockHierarchyNodeView*>(view);
    if (!hierarchyView || !hierarchyView->setBlockDefinitionEditMode(true))
        return nullptr;
    return qobject_cast<BlockDefinitionScene*>(hierarchyView->scene());
}

bool moveByCommand(BlockDefinitionScene* scene, const QList<QGraphicsItem*>& items, const QPointF& delta)
{
    if (!scene || !scene->moveItems(items, delta.x(), delta.y()))
        return false;
    scene->undoStack()->push(new MoveCommand(scene, items, delta));
    return true;
}

QGraphicsItem* firstBlockItem(BlockDefinitionScene* scene)
{
    const QList<BlockItem*> items = scene ? scene->blockItemMap().values() : QList<BlockItem*>();
    return items.isEmpty() ? nullptr : items.first();
}
