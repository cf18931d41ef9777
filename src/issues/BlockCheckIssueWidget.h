#pragma once

#include "zkblockview_export.h"

#include <QScopedPointer>
#include <QString>
#include <QWidget>

class BlockCheckIssueEntry;
class BlockCheckIssueWidgetPrivate;

// The table of the issue view: number with the icon of its level, source, problem. Rows point at
// entries that the view owns.
class ZK_VIEW_EXPORT BlockCheckIssueWidget : public QWidget
{
    Q_OBJECT
public:
    // The parent is the issue view: the context menu reaches its slots through it.
    explicit BlockCheckIssueWidget(QWidget* parent);
    ~BlockCheckIssueWidget() override;

    // Once, after construction.
    void setUp();

Q_SIGNALS:
    void needToShow(const QString& locationPath);

public Q_SLOTS:
    void update();
    void insertEntry(BlockCheckIssueEntry* pEntry);
    void removeEntry(BlockCheckIssueEntry* pEntry);

private:
    friend class BlockCheckIssueWidgetPrivate;
    QScopedPointer<BlockCheckIssueWidgetPrivate> d;
};
