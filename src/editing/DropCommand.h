#pragma once

#include "zkblockview_export.h"

#include <QPointF>
#include <QPointer>
#include <QUndoCommand>

class BlockDefinition;
class BlockDefinitionScene;
class BlockInstanceArea;
class QGraphicsSceneDragDropEvent;

// Carries out a drop of a block from the library or the bookmarks: on empty space a new instance,
// on a block the replacement of that block's definition after a question. It is pushed inside the
// drop event and does the work in its first redo, while the event is still valid.
class ZK_VIEW_EXPORT DropCommand : public QUndoCommand
{
public:
    DropCommand(BlockDefinition* definition, BlockDefinitionScene* scene, QGraphicsSceneDragDropEvent* event,
                BlockInstanceArea* area, QUndoCommand* parent = nullptr);
    ~DropCommand() override;

    void undo() override;
    void redo() override;

    unsigned int instanceIdentifier() const { return m_instanceIdentifier; }
    bool replaced() const { return m_replaced; }

private:
    void drop();
    // Puts `definition` in place of the definition of the block at the drop position; false after the
    // message that it could not be done.
    bool replaceAt(unsigned int identifier, BlockDefinition* definition);

    // The model may delete definitions and areas at any time: each is compared before it is used.
    QPointer<BlockDefinition> m_definition;
    QPointer<BlockDefinition> m_previousDefinition;
    unsigned int m_instanceIdentifier = 0;
    BlockDefinitionScene* m_scene;
    QPointF m_position;
    QGraphicsSceneDragDropEvent* m_event;
    bool m_first = true;
    bool m_replaced = false;
    QPointer<BlockInstanceArea> m_area;
};
