#include "InvertInOutCommand.h"

#include "BlockDefinitionScene.h"
#include "BlockPinItem.h"

#include <QCoreApplication>
#include <QTransform>

InvertInOutCommand::InvertInOutCommand(BlockDefinitionScene* scene, const QPointF& position, bool inverted,
                                       QUndoCommand* parent)
    : QUndoCommand(inverted ? QCoreApplication::translate("BlockDefinitionScene", "Anschluss invertiert")
                            : QCoreApplication::translate("BlockDefinitionScene", "Invertierung gelöscht"),
                   parent)
    , m_scene(scene)
    , m_inverted(inverted)
    , m_position(position)
{
}

InvertInOutCommand::~InvertInOutCommand() = default;

void InvertInOutCommand::redo()
{
    apply(m_inverted);
}

void InvertInOutCommand::undo()
{
    apply(!m_inverted);
}

void InvertInOutCommand::apply(bool value)
{
    if (!m_scene)
        return;
    const QList<QGraphicsItem*> hits =
        m_scene->items(m_position, Qt::IntersectsItemShape, Qt::DescendingOrder, QTransform());
    for (QGraphicsItem* hit : hits) {
        if (auto* pin = dynamic_cast<BlockPinItem*>(hit)) {
            pin->applyInverted(value);
            return;
        }
    }
}
