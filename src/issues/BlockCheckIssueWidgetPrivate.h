#pragma once

#include <QPoint>
#include <QString>
#include <QTreeWidget>

class BlockCheckIssueEntry;
class BlockCheckIssueWidget;
class QTreeWidgetItem;

// Like the hierarchy tree's companion, this one is itself the widget.
class BlockCheckIssueWidgetPrivate : public QTreeWidget
{
    Q_OBJECT
public:
    BlockCheckIssueWidgetPrivate(QWidget* pView, BlockCheckIssueWidget* owner);

    QTreeWidgetItem* itemOf(const BlockCheckIssueEntry* pEntry) const;
    void render(QTreeWidgetItem* pItem);

    QWidget* view;
    BlockCheckIssueWidget* widget;

Q_SIGNALS:
    void needToShow(const QString& locationPath);

public Q_SLOTS:
    void onItemDoubleClicked(QTreeWidgetItem* pItem, int column);
    void onShowContextMenu(const QPoint& point);
    void showCurrentItem();
};
