#pragma once

#include "zkblockview_export.h"

#include <QPointF>
#include <QUndoCommand>

class BlockDefinitionScene;

// Inverts a pin, or takes its inversion away. The pin is found by its scene position at each run,
// the topmost pin there; the change itself happens in the redo() of the push.
class ZK_VIEW_EXPORT InvertInOutCommand : public QUndoCommand
{
public:
    InvertInOutCommand(BlockDefinitionScene* scene, const QPointF& position, bool inverted,
                       QUndoCommand* parent = nullptr);
    ~InvertInOutCommand() override;

    void undo() override;
    void redo() override;

private:
    void apply(bool value);

    BlockDefinitionScene* m_scene;
    bool m_inverted;
    QPointF m_position;
};
