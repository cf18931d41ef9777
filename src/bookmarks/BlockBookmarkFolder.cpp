#include "BlockBookmarkFolder.h"

#include "BlockBookmark.h"

#include "BlockDefinition.h"

#include <QUuid>

BlockBookmarkFolder::BlockBookmarkFolder(BlockBookmarkFolder* pParent, const QString& name)
    : m_name(name)
    , m_id(QUuid::createUuid().toString())
    , m_parent(pParent)
{
}

BlockBookmarkFolder::~BlockBookmarkFolder() = default;

int BlockBookmarkFolder::type() const
{
    return eTypeFolder;
}

QString BlockBookmarkFolder::name() const
{
    return m_name;
}

QString BlockBookmarkFolder::id() const
{
    return m_id;
}

BlockBookmarkFolder* BlockBookmarkFolder::parentFolder() const
{
    return m_parent;
}

void BlockBookmarkFolder::setParentFolder(BlockBookmarkItem* pParent)
{
    m_parent = pParent ? pParent->toFolder() : nullptr;
}

BlockBookmarkFolder* BlockBookmarkFolder::toFolder()
{
    return this;
}

BlockBookmarkItem* BlockBookmarkFolder::find(const QString& id)
{
    if (m_id == id)
        return this;
    for (BlockBookmarkItem* item : std::as_const(m_children)) {
        if (item->id() == id)
            return item;
        if (BlockBookmarkFolder* folder = item->toFolder()) {
            if (BlockBookmarkItem* found = folder->find(id))
                return found;
        }
    }
    return nullptr;
}

BlockBookmarkItem* BlockBookmarkFolder::child(int index) const
{
    if (index < 0 || index >= m_children.size())
        return nullptr;
    return m_children.at(index);
}

int BlockBookmarkFolder::count() const
{
    return int(m_children.size());
}

QList<BlockBookmark*> BlockBookmarkFolder::bookmarks(const BlockDefinition* pBlockDefinition)
{
    QList<BlockBookmark*> found;
    if (!pBlockDefinition)
        return found;
    const QVariant number = BlockBookmark::blockNumberOf(pBlockDefinition);
    const unsigned int version = pBlockDefinition->version();
    for (BlockBookmarkItem* item : std::as_const(m_children)) {
        if (BlockBookmark* bookmark = item->toBookmark()) {
            if (bookmark->blockNumber() == number && bookmark->version() == version)
                found.append(bookmark);
        } else if (BlockBookmarkFolder* folder = item->toFolder()) {
            found.append(folder->bookmarks(pBlockDefinition));
        }
    }
    return found;
}

void BlockBookmarkFolder::removeBookmarks(const BlockDefinition* pBlockDefinition)
{
    const QList<BlockBookmark*> found = bookmarks(pBlockDefinition);
    for (BlockBookmark* bookmark : found) {
        if (BlockBookmarkFolder* parent = bookmark->parentFolder())
            parent->remove(bookmark);
        delete bookmark;
    }
}

void BlockBookmarkFolder::insert(int index, BlockBookmarkItem* pItem)
{
    if (!pItem)
        return;
    pItem->setParentFolder(this);
    if (index < 0 || index > m_children.size())
        index = int(m_children.size());
    m_children.insert(index, pItem);
}

void BlockBookmarkFolder::remove(BlockBookmarkItem* pItem)
{
    if (!pItem)
        return;
    const QString id = pItem->id();
    for (int i = 0; i < m_children.size(); ++i) {
        if (m_children.at(i)->id() == id) {
            m_children.removeAt(i);
            return;
        }
    }
}

void BlockBookmarkFolder::setName(const QString& name)
{
    m_name = name;
}
