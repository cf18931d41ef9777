#pragma once

#include "BlockCheckIssue.h"
#include "zkblockview_export.h"

#include <QObject>
#include <QScopedPointer>
#include <QString>

class BlockCheckIssueEntryPrivate;

// The copy of one check issue that the issue view keeps, so that a row can outlive the issue.
class ZK_VIEW_EXPORT BlockCheckIssueEntry : public QObject
{
    Q_OBJECT
public:
    explicit BlockCheckIssueEntry(QObject* parent);
    ~BlockCheckIssueEntry() override;

    void setIssue(BlockCheckIssue* issue);
    // "<location path>_<number>": two issues of one place and number are one entry.
    QString identifier() const;
    QString issueText() const;
    BlockCheckIssue::eLevel level() const;
    QString locationPath() const;
    unsigned int number() const;
    QString sourceName() const;

private:
    QScopedPointer<BlockCheckIssueEntryPrivate> d;
};
