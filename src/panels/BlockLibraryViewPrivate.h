#pragma once

#include <QObject>

class BlockGroupsWidget;
class BlockLibraryView;
class BlocksWidget;
class QSplitter;

class BlockLibraryViewPrivate : public QObject
{
    Q_OBJECT
public:
    explicit BlockLibraryViewPrivate(BlockLibraryView* owner);
    ~BlockLibraryViewPrivate() override;

    BlockGroupsWidget* groupsWidget;
    BlocksWidget* blocksWidget;
    QSplitter* splitter;
    BlockLibraryView* q;
};
