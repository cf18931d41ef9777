#include "BlockLibrary.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"

#include <QSet>

#include <algorithm>

BlockLibrary::BlockLibrary(BlockLibraryContainer* container)
    : QObject(nullptr)
    , m_container(container)
{
}

BlockLibrary::~BlockLibrary()
{
    const auto blocks = m_blocks;
    m_blocks.clear();
    m_index.clear();
    qDeleteAll(blocks);
}

QList<QString> BlockLibrary::blockIdentifiers() const
{
    QList<QString> identifiers;
    identifiers.reserve(m_blocks.size());
    for (const Block* block : m_blocks)
        identifiers.append(block->identifier());
    return identifiers;
}

QList<QString> BlockLibrary::blockIdentifiers(const QString& groupPath) const
{
    QList<QString> identifiers;
    for (const Block* block : m_blocks) {
        if (block->groupPath() == groupPath)
            identifiers.append(block->identifier());
    }
    return identifiers;
}

QList<QString> BlockLibrary::groupPaths() const
{
    QSet<QString> paths;
    for (const Block* block : m_blocks) {
        if (!block->groupPath().isEmpty())
            paths.insert(block->groupPath());
    }
    QList<QString> list(paths.begin(), paths.end());
    std::sort(list.begin(), list.end());
    return list;
}

void BlockLibrary::insertBlockSilently(Block* block)
{
    if (!block)
        return;
    if (Block* old = m_index.value(block->identifier())) {
        if (old == block)
            return;
        // The new block takes the place of the old one; instances move over version by version.
        for (BlockDefinition* definition : old->definitions()) {
            BlockDefinition* replacement = block->blockDefinition(definition->version());
            if (!replacement)
                continue;
            for (BlockInstance* instance : definition->instances())
                instance->replaceBlockDefinition(replacement);
        }
        m_blocks.replace(m_blocks.indexOf(old), block);
        m_index.insert(block->identifier(), block);
        old->setOwnerLibrary(nullptr);
        delete old;
    } else {
        m_blocks.append(block);
        m_index.insert(block->identifier(), block);
    }
    if (block->ownerLibrary() && block->ownerLibrary() != this)
        block->ownerLibrary()->removeBlockSilently(block->identifier());
    block->setParent(this);
    block->setOwnerLibrary(this);
}

Block* BlockLibrary::removeBlockSilently(const QString& identifier)
{
    Block* block = m_index.take(identifier);
    if (!block)
        return nullptr;
    m_blocks.removeOne(block);
    block->setParent(nullptr);
    block->setOwnerLibrary(nullptr);
    return block;
}

void BlockLibrary::insertBlock(Block* block)
{
    if (!block)
        return;
    insertBlockSilently(block);
    Q_EMIT contentsChanged();
}

Block* BlockLibrary::removeBlock(const QString& identifier)
{
    Block* block = removeBlockSilently(identifier);
    if (block)
        Q_EMIT contentsChanged();
    return block;
}

void BlockLibrary::blockChanged()
{
    Q_EMIT contentsChanged();
}
