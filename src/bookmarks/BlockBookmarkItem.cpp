#include "BlockBookmarkItem.h"

#include "BlockBookmarkFolder.h"

BlockBookmarkItem::~BlockBookmarkItem() = default;

unsigned int BlockBookmarkItem::row() const
{
    const BlockBookmarkFolder* parent = parentFolder();
    if (!parent)
        return 0;
    const QString own = id();
    for (int i = 0; i < parent->count(); ++i) {
        if (parent->child(i)->id() == own)
            return unsigned(i);
    }
    return ~0u;
}

BlockBookmark* BlockBookmarkItem::toBookmark()
{
    return nullptr;
}

BlockBookmarkFolder* BlockBookmarkItem::toFolder()
{
    return nullptr;
}
