#include "CreateBlockCommand.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "BlockLibrary.h"

CreateBlockCommand::CreateBlockCommand(BlockDefinitionScene* scene, QGraphicsItem* item, QUndoCommand* parent)
    : QUndoCommand(BlockDefinitionScene::tr("Baustein erstellt"), parent)
    , m_scene(scene)
    , m_item(dynamic_cast<BlockItem*>(item))
{
}

CreateBlockCommand::~CreateBlockCommand() = default;

void CreateBlockCommand::setInstanceIdentifier(unsigned int identifier)
{
    m_instanceIdentifier = identifier;
}

void CreateBlockCommand::setBlockIdentifier(const QString& identifier)
{
    m_blockIdentifier = identifier;
}

void CreateBlockCommand::setPosition(const QPointF& position)
{
    m_position = position;
}

void CreateBlockCommand::redo()
{
    BlockCode* code = m_scene ? m_scene->blockCode() : nullptr;
    if (m_first) {
        // The scene made the instance and the block; all that is left is to remember the block as it
        // is now, for a redo after an undo.
        m_first = false;
        if (!code)
            return;
        m_savedContents = code->text({m_instanceIdentifier});
        BlockDefinition* owner = code->blockDefinition();
        BlockLibrary* local = owner ? owner->localBlockLibrary() : nullptr;
        if (local) {
            if (Block* block = local->block(m_blockIdentifier))
                m_savedContents = block->saveContents();
        }
        return;
    }
    if (!code)
        return;
    Block* block = Block::createUserBlock();
    block->loadContents(m_savedContents);
    BlockDefinition* definition = block->blockDefinition(0);
    // The instance comes first and the block goes into the library after it.
    if (BlockInstance* instance = m_scene->createBlockInstance(definition, m_position))
        m_instanceIdentifier = instance->identifier();
    BlockDefinition* owner = code->blockDefinition();
    BlockLibrary* local = owner ? owner->localBlockLibrary() : nullptr;
    if (local)
        local->insertBlock(block);
    else if (!definition || definition->instanceCount() == 0)
        delete block;
    m_scene->rebuild();
}

void CreateBlockCommand::undo()
{
    BlockCode* code = m_scene ? m_scene->blockCode() : nullptr;
    if (!code)
        return;
    const QList<BlockInstance*> instances = code->instances();
    if (m_item && m_item->scene() == m_scene) {
        // Out of the scene the item is ours; the rebuild that follows the deletion no longer sees it.
        m_scene->removeItem(m_item);
        delete m_item.data();
    }
    for (BlockInstance* instance : instances) {
        if (instance && instance->identifier() == m_instanceIdentifier) {
            code->deleteInstance(m_instanceIdentifier);
            break;
        }
    }
}
