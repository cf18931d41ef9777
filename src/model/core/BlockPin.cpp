#include "BlockPin.h"

#include "DatatypeProvider.h"
#include "SimpleType.h"

BlockPin::BlockPin(int identifier, eBlockPinFunction function, uchar datatype)
    : m_identifier(identifier)
    , m_function(function)
    , m_datatype(datatype)
{
}

BlockPin::~BlockPin() = default;

bool BlockPin::isInvertible() const
{
    if (!m_invertible)
        return false;
    const SimpleType* type = DatatypeProvider::instance()->simpleType(m_datatype);
    return type && type->kind() == SimpleTypeBit;
}

bool BlockPin::operator==(const BlockPin& other) const
{
    return m_identifier == other.m_identifier && m_function == other.m_function && m_datatype == other.m_datatype
        && m_invertible == other.m_invertible && m_shortName == other.m_shortName && m_name == other.m_name
        && m_description == other.m_description && m_defaultInitialValue == other.m_defaultInitialValue;
}
