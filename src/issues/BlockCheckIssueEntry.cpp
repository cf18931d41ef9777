#include "BlockCheckIssueEntry.h"

#include "BlockCheckIssueEntryPrivate.h"

BlockCheckIssueEntryPrivate::BlockCheckIssueEntryPrivate(BlockCheckIssueEntry* owner)
    : QObject(owner)
    , q(owner)
{
}

BlockCheckIssueEntry::BlockCheckIssueEntry(QObject* parent)
    : QObject(parent)
    , d(new BlockCheckIssueEntryPrivate(this))
{
}

BlockCheckIssueEntry::~BlockCheckIssueEntry() = default;

void BlockCheckIssueEntry::setIssue(BlockCheckIssue* issue)
{
    if (!issue)
        return;
    d->identifier = QStringLiteral("%1_%2").arg(issue->locationPath()).arg(issue->number());
    d->locationPath = issue->locationPath();
    d->sourceName = issue->sourceName();
    d->issueText = issue->issueText();
    d->number = issue->number();
    d->level = issue->level();
}

QString BlockCheckIssueEntry::identifier() const { return d->identifier; }
QString BlockCheckIssueEntry::issueText() const { return d->issueText; }
BlockCheckIssue::eLevel BlockCheckIssueEntry::level() const { return d->level; }
QString BlockCheckIssueEntry::locationPath() const { return d->locationPath; }
unsigned int BlockCheckIssueEntry::number() const { return d->number; }
QString BlockCheckIssueEntry::sourceName() const { return d->sourceName; }
