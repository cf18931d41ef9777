#pragma once

#include "BlockBookmarkItem.h"

#include <QVariant>

class BlockDefinition;

// A favourite block version. It copies what it shows when it is made, so it outlives its block;
// the identifier and the version find the block again.
class ZK_VIEW_EXPORT BlockBookmark : public BlockBookmarkItem
{
public:
    // pBlockDefinition must not be null and must belong to a block.
    BlockBookmark(BlockBookmarkFolder* pParent, const BlockDefinition* pBlockDefinition);
    ~BlockBookmark() override;

    int type() const override;
    // Never shown: lists show the name of the block, see blockName().
    QString name() const override;
    QString id() const override;
    BlockBookmarkFolder* parentFolder() const override;
    void setParentFolder(BlockBookmarkItem* pParent) override;
    BlockBookmark* toBookmark() override;

    QString identifier() const { return m_identifier; }
    // The block's name in the language of the moment the bookmark was made.
    QString blockName() const { return m_name; }
    // An unsigned number for a standard, magic, system or tool block, else the identifier.
    QVariant blockNumber() const { return m_blockNumber; }
    unsigned int version() const { return m_version; }

    // The number that identifies a definition among bookmarks, worked out as for a bookmark.
    static QVariant blockNumberOf(const BlockDefinition* pBlockDefinition);

private:
    QString m_id;
    QString m_groupPath;
    QString m_identifier;
    QString m_name;
    QVariant m_blockNumber;
    unsigned int m_version = 0;
    BlockBookmarkFolder* m_parent = nullptr;
};
