#include "BlockCheckIssue.h"

BlockCheckIssue::BlockCheckIssue(const QString& locationPath, unsigned int number, const QString& sourceName,
                                 const QString& issueText, eLevel level)
    : m_locationPath(locationPath)
    , m_number(number)
    , m_sourceName(sourceName)
    , m_issueText(issueText)
    , m_level(level)
{
}

BlockCheckIssue::~BlockCheckIssue() = default;
