#include "PinAddress.h"

#include "BlockInstance.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"

namespace {

void fill(const BlockPinInstance* pin, quint32& instance, quint32& pinIdentifier)
{
    const BlockInstance* owner = pin ? pin->owner() : nullptr;
    if (!owner)
        return;
    instance = owner->identifier();
    // The enable pin is -1: it travels as its 32-bit pattern and compares equal to itself.
    pinIdentifier = quint32(pin->identifier());
}

} // namespace

PinAddress PinAddress::of(const BlockPinConnection* pConnection)
{
    PinAddress address;
    if (!pConnection)
        return address;
    fill(pConnection->source(), address.sourceInstance, address.sourcePin);
    fill(pConnection->target(), address.targetInstance, address.targetPin);
    return address;
}
