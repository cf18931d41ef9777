#pragma once

#include "BlockCheckIssue.h"

#include <QObject>
#include <QString>

class BlockCheckIssueEntry;

class BlockCheckIssueEntryPrivate : public QObject
{
    Q_OBJECT
public:
    explicit BlockCheckIssueEntryPrivate(BlockCheckIssueEntry* owner);

    QString locationPath;
    QString identifier;
    QString sourceName;
    QString issueText;
    quint32 number = 0;
    BlockCheckIssue::eLevel level = BlockCheckIssue::Information;
    BlockCheckIssueEntry* q;
};
