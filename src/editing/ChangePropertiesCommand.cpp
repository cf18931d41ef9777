#include "ChangePropertiesCommand.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "ParameterDefinitionLoader.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QPointer>

ChangePropertiesCommand::ChangePropertiesCommand(BlockDefinitionScene* scene, const QPointF& position,
                                                 const PropertiesChangeRecord& record, QUndoCommand* parent)
    : QUndoCommand(QCoreApplication::translate("BlockDefinitionScene", "Baustein-Eigenschaften geändert"), parent)
    , m_scene(scene)
    , m_position(position)
    , m_record(record)
{
}

ChangePropertiesCommand::~ChangePropertiesCommand() = default;

void ChangePropertiesCommand::redo()
{
    // The dialog has done the work before the push.
    if (m_first) {
        m_first = false;
        return;
    }
    if (!m_record.textAfter.isEmpty())
        applyText(m_record.textAfter);
    else
        applyContents(m_record.contentsAfter, m_record.parameterAfter);
}

void ChangePropertiesCommand::undo()
{
    if (!m_record.textBefore.isEmpty())
        applyText(m_record.textBefore);
    else
        applyContents(m_record.contentsBefore, m_record.parameterBefore);
}

void ChangePropertiesCommand::applyText(const QString& text)
{
    if (!m_scene)
        return;
    BlockItem* item = m_scene->blockItemAt(m_position);
    if (!item)
        return;
    if (BlockInstance* instance = item->blockInstance())
        instance->setParameterText(text);
    m_scene->rebuild();
}

void ChangePropertiesCommand::applyContents(const QByteArray& contents, const QByteArray& parameter)
{
    if (!m_scene)
        return;
    BlockItem* item = m_scene->blockItemAt(m_position);
    // Loading contents remakes the block's definitions; guards tell what survived it.
    QPointer<BlockInstance> instance = item ? item->blockInstance() : nullptr;
    if (!instance)
        return;
    QPointer<Block> block = instance->block();
    if (block) {
        block->loadContents(contents);
        // Loading may have made the block's definitions anew; the instance takes the fresh one.
        if (BlockDefinition* fresh = block->blockDefinition(0))
            instance->replaceBlockDefinition(fresh);
    }
    if (!instance) {
        m_scene->rebuild();
        return;
    }
    if (BlockDefinition* definition = instance->blockDefinition()) {
        // Both directions ask by the index after: the dialog worked on that one.
        if (ParameterDefinition* parameterDefinition = definition->parameterDefinition(int(m_record.indexAfter), 0))
            ParameterDefinitionLoader::loadParameterDefinition(parameterDefinition, parameter);
        // Listeners of either kind of connection hear of the change: queued ones through the
        // name, those that must see it before the rebuild below through the direct call.
        QMetaObject::invokeMethod(definition, "changed", Qt::AutoConnection);
        QMetaObject::invokeMethod(definition, &BlockDefinition::changed, Qt::DirectConnection);
    }
    if (block)
        QMetaObject::invokeMethod(block.data(), &Block::changed, Qt::DirectConnection);
    QMetaObject::invokeMethod(instance.data(), &BlockInstance::definitionChanged, Qt::AutoConnection);
    m_scene->rebuild();
}
