#pragma once

class BlockCheckIssueEntry;
class BlockCheckIssueWidgetPrivate;
class QObject;
class QTreeWidgetItem;

// The table of check issues inside whatever holds one: the issue widget, its view, an editor.
BlockCheckIssueWidgetPrivate* issueTable(QObject* holder);
// The entry a row of that table shows.
BlockCheckIssueEntry* issueEntryOf(const QTreeWidgetItem* row);
