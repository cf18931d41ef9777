#pragma once

#include "zkblockview_export.h"

#include <QObject>

class BlockDefinition;

// What the search results need of the user's favourites: whether a block version has one, a new
// one at the root of the tree, and removing all of a version. The favourites' repository is
// reached through this face so that the results don't depend on how favourites are kept; the
// process-wide instance is set once by whoever owns the repository.
class ZK_VIEW_EXPORT BlockSearchBookmarks : public QObject
{
    Q_OBJECT
public:
    explicit BlockSearchBookmarks(QObject* parent = nullptr);
    ~BlockSearchBookmarks() override;

    virtual bool hasBookmark(BlockDefinition* pBlockDefinition) const = 0;
    // A new favourite at the root, whether or not the version has one already.
    virtual void addBookmark(BlockDefinition* pBlockDefinition) = 0;
    // Every favourite of the version, in all folders.
    virtual void removeBookmarks(BlockDefinition* pBlockDefinition) = 0;

    // The favourites that new result widgets take; null while none is set, and again once it is
    // deleted.
    static BlockSearchBookmarks* shared();
    static void setShared(BlockSearchBookmarks* pBookmarks);

Q_SIGNALS:
    // The favourites changed, by anyone: the stars are set again.
    void changed();
};
