#include "BlockFavourites.h"

BlockFavourites::BlockFavourites(QObject* parent)
    : QObject(parent)
{
}

BlockFavourites::~BlockFavourites() = default;

void BlockFavourites::toggle(BlockDefinition* pDefinition)
{
    if (!pDefinition)
        return;
    if (isFavourite(pDefinition))
        remove(pDefinition);
    else
        add(pDefinition);
}
