#pragma once

#include "zkblockview_export.h"

#include <QList>
#include <QPointF>
#include <QUndoCommand>

class BlockDefinitionScene;
class QGraphicsItem;

// Records a move of blocks and corner nodes that has already happened (a drag or an arrow key).
// It keeps positions, not items: a rebuild may replace the items, so undo and redo look each one
// up again where it stands. A node is not moved back by its position but taken out of its route
// and made anew at its index.
class ZK_VIEW_EXPORT MoveCommand : public QUndoCommand
{
public:
    MoveCommand(BlockDefinitionScene* scene, const QList<QGraphicsItem*>& items, const QPointF& delta,
                QUndoCommand* parent = nullptr);
    ~MoveCommand() override;

    void undo() override;
    void redo() override;

private:
    void moveAll(const QList<QPointF>& from, const QList<QPointF>& to);

    bool m_first = true;
    BlockDefinitionScene* m_scene;
    QList<QPointF> m_positionsAfter;
    QList<QPointF> m_positionsBefore;
    QList<int> m_nodeIndices;
};
