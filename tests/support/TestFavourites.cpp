#include "TestFavourites.h"

bool TestFavourites::isFavourite(const BlockDefinition* pDefinition) const
{
    return entries.contains(pDefinition);
}

void TestFavourites::add(BlockDefinition* pDefinition)
{
    entries.append(pDefinition);
    Q_EMIT changed();
}

void TestFavourites::remove(BlockDefinition* pDefinition)
{
    entries.removeAll(pDefinition);
    Q_EMIT changed();
}

int TestFavourites::count(const BlockDefinition* pDefinition) const
{
    return int(entries.count(pDefinition));
}
