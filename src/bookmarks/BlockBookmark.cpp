#include "BlockBookmark.h"

#include "BlockBookmarkFolder.h"

#include "Block.h"
#include "BlockDefinition.h"

#include <QUuid>

BlockBookmark::BlockBookmark(BlockBookmarkFolder* pParent, const BlockDefinition* pBlockDefinition)
    : m_id(QUuid::createUuid().toString())
    , m_parent(pParent)
{
    const Block* block = pBlockDefinition ? pBlockDefinition->block() : nullptr;
    if (block) {
        m_groupPath = block->groupPath();
        m_identifier = block->identifier();
        m_name = block->name().text();
    }
    m_blockNumber = blockNumberOf(pBlockDefinition);
    if (pBlockDefinition)
        m_version = pBlockDefinition->version();
}

BlockBookmark::~BlockBookmark() = default;

QVariant BlockBookmark::blockNumberOf(const BlockDefinition* pBlockDefinition)
{
    const Block* block = pBlockDefinition ? pBlockDefinition->block() : nullptr;
    if (!block)
        return QVariant();
    if (block->isStandardBlock())
        return QVariant(block->standardBlockNumber());
    if (block->isMagicBlock())
        return QVariant(block->magicBlockNumber());
    if (block->isSystemBlock())
        return QVariant(block->systemBlockNumber());
    if (block->isToolBlock())
        return QVariant(block->toolBlockNumber());
    return QVariant(block->identifier());
}

int BlockBookmark::type() const
{
    return eTypeBookmark;
}

QString BlockBookmark::name() const
{
    return QStringLiteral("<empty>");
}

QString BlockBookmark::id() const
{
    return m_id;
}

BlockBookmarkFolder* BlockBookmark::parentFolder() const
{
    return m_parent;
}

void BlockBookmark::setParentFolder(BlockBookmarkItem* pParent)
{
    m_parent = pParent ? pParent->toFolder() : nullptr;
}

BlockBookmark* BlockBookmark::toBookmark()
{
    return this;
}
