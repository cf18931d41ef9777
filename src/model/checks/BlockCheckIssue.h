#pragma once

#include "zkblockmodel_export.h"

#include <QString>

// One problem that a check found in a code.
class ZK_MODEL_EXPORT BlockCheckIssue
{
public:
    enum eLevel { Information = 0, Warning = 1, Error = 2 };

    BlockCheckIssue(const QString& locationPath, unsigned int number, const QString& sourceName,
                    const QString& issueText, eLevel level);
    virtual ~BlockCheckIssue();

    // Relative to the tracker's root: the identifiers from there to the block, joined by ".".
    QString locationPath() { return m_locationPath; }
    // Stable for the same problem at the same place: the check's number times 1000 plus the pin
    // (the enable pin counts as 999).
    unsigned int number() const { return m_number; }
    QString sourceName() { return m_sourceName; }
    QString issueText() { return m_issueText; }
    eLevel level() { return m_level; }
    // The kind of check, the number without the pin part.
    unsigned int checkNumber() const { return m_number / 1000; }

private:
    QString m_locationPath;
    unsigned int m_number;
    QString m_sourceName;
    QString m_issueText;
    eLevel m_level;
};
