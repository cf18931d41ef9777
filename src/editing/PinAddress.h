#pragma once

#include "zkblockview_export.h"

#include <QtGlobal>

class BlockPinConnection;

// Names a connection by the identifiers of its two ends, so that it can be found again after the
// objects of the code were made anew. A side without a pin has 0 in both of its fields.
struct ZK_VIEW_EXPORT PinAddress
{
    quint32 sourceInstance = 0;
    quint32 sourcePin = 0;
    quint32 targetInstance = 0;
    quint32 targetPin = 0;

    static PinAddress of(const BlockPinConnection* pConnection);

    friend bool operator==(const PinAddress& a, const PinAddress& b)
    {
        return a.sourceInstance == b.sourceInstance && a.sourcePin == b.sourcePin
            && a.targetInstance == b.targetInstance && a.targetPin == b.targetPin;
    }
    friend bool operator!=(const PinAddress& a, const PinAddress& b) { return !(a == b); }
};
