#pragma once

#include "zkblockmodel_export.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

class Block;
class BlockLibraryContainer;
namespace ModelJson {
class Reader;
}


// The blocks of one library, in the order they were inserted.
class ZK_MODEL_EXPORT BlockLibrary : public QObject
{
    Q_OBJECT
public:
    explicit BlockLibrary(BlockLibraryContainer* container);
    ~BlockLibrary() override;

    QList<QString> blockIdentifiers() const;
    QList<QString> blockIdentifiers(const QString& groupPath) const;
    QList<QString> groupPaths() const;
    Block* block(const QString& identifier) const { return m_index.value(identifier); }
    QList<Block*> blocks() const { return m_blocks; }

    // Takes ownership. A block of an identifier that is already here replaces the old one: the old
    // block's instances move to the new block's definitions of the same version, then it is deleted.
    void insertBlock(Block* block);
    // Gives the block back to the caller, which deletes it.
    Block* removeBlock(const QString& identifier);

    BlockLibraryContainer* container() const { return m_container; }

Q_SIGNALS:
    void contentsChanged();

private:
    friend class ModelJson::Reader;
    friend class Block;
    void blockChanged();
    void insertBlockSilently(Block* block);
    Block* removeBlockSilently(const QString& identifier);

    BlockLibraryContainer* m_container;
    QList<Block*> m_blocks;
    QHash<QString, Block*> m_index;
};
