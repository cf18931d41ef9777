#include "ChangeRuntimeSequenceCommand.h"

#include "BlockCode.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockItem.h"

#include <QCoreApplication>

ChangeRuntimeSequenceCommand::ChangeRuntimeSequenceCommand(BlockDefinitionScene* scene, const QPointF& position,
                                                           QUndoCommand* parent)
    : QUndoCommand(QCoreApplication::translate("BlockDefinitionScene", "Laufzeit-Reihenfolge geändert"), parent)
    , m_scene(scene)
    , m_position(position)
{
}

ChangeRuntimeSequenceCommand::~ChangeRuntimeSequenceCommand() = default;

void ChangeRuntimeSequenceCommand::setRuntimeSequence(BlockInstance* pInstance, unsigned int realtimeBefore,
                                                      unsigned int backgroundBefore)
{
    m_realtimeBefore = realtimeBefore;
    m_backgroundBefore = backgroundBefore;
    BlockCode* code = m_scene ? m_scene->blockCode() : nullptr;
    if (!code || !pInstance)
        return;
    // The dialog has already written the new places.
    m_realtimeAfter = code->realtime(pInstance->identifier());
    m_backgroundAfter = code->background(pInstance->identifier());
}

void ChangeRuntimeSequenceCommand::redo()
{
    if (m_first) {
        m_first = false;
        return;
    }
    apply(m_realtimeAfter, m_backgroundAfter);
}

void ChangeRuntimeSequenceCommand::undo()
{
    apply(m_realtimeBefore, m_backgroundBefore);
}

void ChangeRuntimeSequenceCommand::apply(unsigned int realtime, unsigned int background)
{
    if (!m_scene)
        return;
    BlockItem* item = m_scene->blockItemAt(m_position);
    BlockInstance* instance = item ? item->blockInstance() : nullptr;
    BlockCode* code = m_scene->blockCode();
    if (!instance || !code)
        return;
    const unsigned int identifier = instance->identifier();
    if (realtime != 0)
        code->setRealtime(identifier, realtime);
    if (background != 0)
        code->setBackground(identifier, background);
}
