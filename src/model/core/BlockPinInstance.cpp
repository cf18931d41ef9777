#include "BlockPinInstance.h"

#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockPin.h"
#include "DatatypeProvider.h"
#include "SimpleType.h"

BlockPinInstance::BlockPinInstance(BlockInstance* owner, int identifier)
    : QObject(owner)
    , m_owner(owner)
    , m_identifier(identifier)
{
}

BlockPinInstance::~BlockPinInstance() = default;

BlockPin* BlockPinInstance::blockPin() const
{
    const BlockDefinition* definition = m_owner ? m_owner->blockDefinition() : nullptr;
    return definition ? definition->pin(m_identifier) : nullptr;
}

eBlockPinFunction BlockPinInstance::function() const
{
    const BlockPin* pin = blockPin();
    return pin ? pin->function() : BlockPinFunctionNone;
}

namespace {

bool isVariantPin(const BlockPin* pin)
{
    const SimpleType* type = pin ? DatatypeProvider::instance()->simpleType(pin->datatype()) : nullptr;
    return type && type->isVariant();
}

} // namespace

unsigned char BlockPinInstance::datatype() const
{
    return datatypeOf(blockPin());
}

unsigned char BlockPinInstance::datatypeOf(const BlockPin* pin) const
{
    if (!pin)
        return 0;
    if (isVariantPin(pin)) {
        // A constant block carries its type as the first field of its parameter text.
        const BlockDefinition* definition = m_owner->blockDefinition();
        if (definition && definition->function() == QLatin1String("constant")) {
            bool ok = false;
            const uint type = m_owner->parameterText(0).section(QLatin1Char(';'), 0, 0).toUInt(&ok);
            if (ok && type <= 255 && DatatypeProvider::instance()->simpleType(uchar(type)))
                return uchar(type);
        }
    }
    return pin->datatype();
}

unsigned char BlockPinInstance::datatype(BlockInstanceArea*) const
{
    // Every pin of a shown code asks this at every update: the definition's pin is found once.
    const BlockPin* pin = blockPin();
    if (m_resolvedType && isVariantPin(pin))
        return m_resolvedType;
    return datatypeOf(pin);
}

bool BlockPinInstance::isVariant() const
{
    return isVariantPin(blockPin());
}

void BlockPinInstance::setResolvedDatatype(unsigned char type)
{
    m_resolvedType = type;
}

bool BlockPinInstance::isInvertible() const
{
    const BlockPin* pin = blockPin();
    return pin && pin->isInvertible();
}

void BlockPinInstance::setInverted(bool inverted)
{
    if (inverted && !isInvertible())
        return;
    if (inverted == m_inverted)
        return;
    m_inverted = inverted;
    changed();
}

void BlockPinInstance::setInitialValue(const QString& value)
{
    if (value == m_initialValue)
        return;
    m_initialValue = value;
    changed();
}

void BlockPinInstance::setRemanent(bool remanent)
{
    if (remanent == m_remanent)
        return;
    m_remanent = remanent;
    changed();
}

void BlockPinInstance::changed()
{
    if (m_owner && m_owner->ownerCode())
        m_owner->ownerCode()->notifyChanged();
}
