#pragma once

#include "zkblockview_export.h"

#include <QByteArray>
#include <QString>

class BlockInstance;

// What the property dialog of one block may change, taken before and after the dialog by its
// caller: the instance's parameter text, the saved contents of its block and the saved form of the
// parameter definition that the area index asks for.
struct ZK_VIEW_EXPORT PropertiesChangeRecord
{
    QString textBefore;
    QString textAfter;
    QByteArray contentsBefore;
    QByteArray contentsAfter;
    QByteArray parameterBefore;
    QByteArray parameterAfter;
    quint32 indexBefore = 0;
    quint32 indexAfter = 0;
};

// Fill the half of the record before or after the dialog. A null instance leaves the record as it
// is; a missing block or parameter definition leaves its field empty.
ZK_VIEW_EXPORT void captureBefore(PropertiesChangeRecord& record, BlockInstance* pInstance, unsigned int index);
ZK_VIEW_EXPORT void captureAfter(PropertiesChangeRecord& record, BlockInstance* pInstance, unsigned int index);
