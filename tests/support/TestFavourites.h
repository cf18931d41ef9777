#pragma once

#include "BlockFavourites.h"

#include <QList>

// Favourites kept in a list, for the panels' tests: adding twice gives two entries, as the real
// keeper does at the top of its tree, and removing takes every entry of a definition.
class TestFavourites : public BlockFavourites
{
    Q_OBJECT
public:
    using BlockFavourites::BlockFavourites;

    bool isFavourite(const BlockDefinition* pDefinition) const override;
    void add(BlockDefinition* pDefinition) override;
    void remove(BlockDefinition* pDefinition) override;

    int count(const BlockDefinition* pDefinition) const;

    QList<const BlockDefinition*> entries;
};
