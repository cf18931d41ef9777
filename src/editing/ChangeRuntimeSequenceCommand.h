#pragma once

#include "zkblockview_export.h"

#include <QPointF>
#include <QUndoCommand>

class BlockDefinitionScene;
class BlockInstance;

// Records the place of a block in the real-time and the background task after the run-time
// dialog has changed it. A place of 0 means "not in that task" and is never written back, so a
// block moved from one task to the other is put back by the one value it had.
class ZK_VIEW_EXPORT ChangeRuntimeSequenceCommand : public QUndoCommand
{
public:
    ChangeRuntimeSequenceCommand(BlockDefinitionScene* scene, const QPointF& position, QUndoCommand* parent = nullptr);
    ~ChangeRuntimeSequenceCommand() override;

    // Keeps the places before the dialog and reads those after it from the code.
    void setRuntimeSequence(BlockInstance* pInstance, unsigned int realtimeBefore, unsigned int backgroundBefore);

    void undo() override;
    void redo() override;

private:
    void apply(unsigned int realtime, unsigned int background);

    BlockDefinitionScene* m_scene;
    QPointF m_position;
    bool m_first = true;
    quint32 m_realtimeBefore = 0;
    quint32 m_backgroundBefore = 0;
    quint32 m_realtimeAfter = 0;
    quint32 m_backgroundAfter = 0;
};
