#include "BlockSearchBookmarks.h"

#include <QPointer>

namespace {

QPointer<BlockSearchBookmarks>& sharedBookmarks()
{
    static QPointer<BlockSearchBookmarks> bookmarks;
    return bookmarks;
}

} // namespace

BlockSearchBookmarks::BlockSearchBookmarks(QObject* parent)
    : QObject(parent)
{
}

BlockSearchBookmarks::~BlockSearchBookmarks() = default;

BlockSearchBookmarks* BlockSearchBookmarks::shared()
{
    return sharedBookmarks().data();
}

void BlockSearchBookmarks::setShared(BlockSearchBookmarks* pBookmarks)
{
    sharedBookmarks() = pBookmarks;
}
