#pragma once

#include "zkblockview_export.h"

#include <QObject>

class BlockDefinition;

// What the library list needs of the user's favourite blocks: whether a version is one, marking
// and unmarking it, and word of any change. The list knows nothing of where favourites are kept;
// whoever builds the panel hands it the keeper.
class ZK_VIEW_EXPORT BlockFavourites : public QObject
{
    Q_OBJECT
public:
    explicit BlockFavourites(QObject* parent = nullptr);
    ~BlockFavourites() override;

    virtual bool isFavourite(const BlockDefinition* pDefinition) const = 0;
    // A new favourite at the top of the tree, whether or not the definition is one already.
    virtual void add(BlockDefinition* pDefinition) = 0;
    // Every favourite of the definition, in whatever folder it sits.
    virtual void remove(BlockDefinition* pDefinition) = 0;

    // Adds the definition if it is no favourite yet, else removes all of its favourites.
    void toggle(BlockDefinition* pDefinition);

Q_SIGNALS:
    void changed();
};
