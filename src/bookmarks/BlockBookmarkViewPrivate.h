#pragma once

#include <QObject>

class BlockBookmarkView;
class BlockBookmarkWidget;
class QPushButton;

class BlockBookmarkViewPrivate : public QObject
{
    Q_OBJECT
public:
    explicit BlockBookmarkViewPrivate(BlockBookmarkView* owner);
    ~BlockBookmarkViewPrivate() override;

    BlockBookmarkWidget* widget = nullptr;
    BlockBookmarkView* q = nullptr;
    QPushButton* importButton = nullptr;
    QPushButton* exportButton = nullptr;

private Q_SLOTS:
    void exportBookmark();
    void importBookmark();
};
