#pragma once

#include "zkblockview_export.h"

#include <QUndoCommand>

class BlockDefinitionScene;
class BlockPinConnection;
class QLineF;

// Joins the two pins under the ends of a rubber line. It keeps the ends, not the pins: a rebuild
// may replace the pin items, so every redo() looks them up again. The connection it made last is
// the one pointer kept across undo and redo; undo() hands it to the code, which only compares it
// with what it holds, so a connection that is already gone costs nothing.
class ZK_VIEW_EXPORT CreateConnectionCommand : public QUndoCommand
{
public:
    CreateConnectionCommand(BlockDefinitionScene* scene, const QLineF& line, QUndoCommand* parent = nullptr);
    ~CreateConnectionCommand() override;

    void undo() override;
    void redo() override;

private:
    double m_firstX = 0.0;
    double m_firstY = 0.0;
    double m_secondX = 0.0;
    double m_secondY = 0.0;
    BlockDefinitionScene* m_scene;
    BlockPinConnection* m_connection = nullptr;
};
