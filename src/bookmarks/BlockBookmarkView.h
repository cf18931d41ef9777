#pragma once

#include "zkblockview_export.h"

#include <QScopedPointer>
#include <QWidget>

class BlockBookmarkViewPrivate;
class BlockBookmarkWidget;

// The favourites panel of the editor: the tree of favourites above two buttons that import a file
// into the tree and export the tree to a file.
class ZK_VIEW_EXPORT BlockBookmarkView : public QWidget
{
    Q_OBJECT
public:
    explicit BlockBookmarkView(QWidget* parent = nullptr);
    ~BlockBookmarkView() override;

    BlockBookmarkWidget* bookmarkWidget() const;

private:
    QScopedPointer<BlockBookmarkViewPrivate> d;
};
