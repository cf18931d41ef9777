#pragma once

#include "zkblockview_export.h"

#include <QPointF>
#include <QUndoCommand>

class BlockDefinitionScene;

// Removes the corner node at a position. To put it back, undo() needs its connection, which a
// rebuild may have replaced; it is recognised by where its two ends stand.
class ZK_VIEW_EXPORT RemoveConnectionNodeCommand : public QUndoCommand
{
public:
    RemoveConnectionNodeCommand(BlockDefinitionScene* scene, const QPointF& position, QUndoCommand* parent = nullptr);
    ~RemoveConnectionNodeCommand() override;

    void undo() override;
    void redo() override;

private:
    BlockDefinitionScene* m_scene;
    QPointF m_position;
    qint32 m_index = 0;
    QPointF m_sourceEnd;
    QPointF m_targetEnd;
};
