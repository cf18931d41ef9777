#include "IssueTable.h"

#include "BlockCheckIssueEntry.h"
#include "BlockCheckIssueWidgetPrivate.h"

#include <QTreeWidgetItem>

BlockCheckIssueWidgetPrivate* issueTable(QObject* holder)
{
    return holder->findChild<BlockCheckIssueWidgetPrivate*>();
}

BlockCheckIssueEntry* issueEntryOf(const QTreeWidgetItem* row)
{
    return row->data(0, Qt::UserRole).value<BlockCheckIssueEntry*>();
}
