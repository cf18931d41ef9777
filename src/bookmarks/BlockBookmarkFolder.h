#pragma once

#include "BlockBookmarkItem.h"

#include <QList>

class BlockDefinition;

// A folder of the favourites tree. It holds its children in order but does not own them: the
// repository destroys items explicitly, and a merge hands children on to another folder.
class ZK_VIEW_EXPORT BlockBookmarkFolder : public BlockBookmarkItem
{
public:
    BlockBookmarkFolder(BlockBookmarkFolder* pParent, const QString& name);
    ~BlockBookmarkFolder() override;

    int type() const override;
    QString name() const override;
    QString id() const override;
    BlockBookmarkFolder* parentFolder() const override;
    void setParentFolder(BlockBookmarkItem* pParent) override;
    BlockBookmarkFolder* toFolder() override;

    // Depth first, this folder included; null if no item has the id.
    BlockBookmarkItem* find(const QString& id);
    BlockBookmarkItem* child(int index) const;
    int count() const;
    // The bookmarks of the subtree with the definition's block number and version, depth first.
    QList<BlockBookmark*> bookmarks(const BlockDefinition* pBlockDefinition);
    // Takes each of bookmarks() out of its folder and destroys it.
    void removeBookmarks(const BlockDefinition* pBlockDefinition);
    // An index past the end appends.
    void insert(int index, BlockBookmarkItem* pItem);
    // Takes the child of the item's id out; the item itself is left alone.
    void remove(BlockBookmarkItem* pItem);
    void setName(const QString& name);

private:
    QString m_name;
    QString m_id;
    QList<BlockBookmarkItem*> m_children;
    BlockBookmarkFolder* m_parent = nullptr;
};
