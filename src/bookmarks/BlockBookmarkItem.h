#pragma once

#include "zkblockview_export.h"

#include <QString>

class BlockBookmark;
class BlockBookmarkFolder;

// A node of the favourites tree: a bookmark of one block version, or a folder. Items are owned by
// the repository's tree, which destroys them explicitly; a folder does not delete its children.
class ZK_VIEW_EXPORT BlockBookmarkItem
{
public:
    enum eType { eTypeFolder = 0, eTypeBookmark = 1 };

    BlockBookmarkItem() = default;
    virtual ~BlockBookmarkItem();
    BlockBookmarkItem(const BlockBookmarkItem&) = delete;
    BlockBookmarkItem& operator=(const BlockBookmarkItem&) = delete;

    virtual int type() const = 0;
    // Index in the parent, found by id; 0 without a parent; all bits set if the parent has lost it.
    virtual unsigned int row() const;
    virtual QString name() const = 0;
    virtual QString id() const = 0;
    virtual BlockBookmarkFolder* parentFolder() const = 0;
    // Anything but a folder clears the parent.
    virtual void setParentFolder(BlockBookmarkItem* pParent) = 0;
    virtual BlockBookmark* toBookmark();
    virtual BlockBookmarkFolder* toFolder();
};
