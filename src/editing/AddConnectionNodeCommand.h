#pragma once

#include "zkblockview_export.h"

#include <QPointF>
#include <QUndoCommand>

class BlockDefinitionScene;
class ConnectionNodeItem;

// Records a corner that a double click has just added to a connection. The node exists when the
// command is made, so the redo() of the push does nothing; later runs find the connection, or the
// node, again by the position of the corner.
class ZK_VIEW_EXPORT AddConnectionNodeCommand : public QUndoCommand
{
public:
    AddConnectionNodeCommand(BlockDefinitionScene* scene, ConnectionNodeItem* node, QUndoCommand* parent = nullptr);
    ~AddConnectionNodeCommand() override;

    void undo() override;
    void redo() override;

private:
    bool m_first = true;
    BlockDefinitionScene* m_scene;
    QPointF m_position;
    qint32 m_index = 0;
};
