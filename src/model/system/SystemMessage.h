#pragma once

#include "zkblockmodel_export.h"

#include <QDateTime>
#include <QString>

// One entry of the application's message list.
struct ZK_MODEL_EXPORT SystemMessage
{
    enum eSeverity { Information = 0, Critical = 1, Fatal = 2 };

    eSeverity severity = Information;
    QString origin;
    QString text;
    QDateTime time;
};
