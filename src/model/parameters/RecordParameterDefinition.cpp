#include "RecordParameterDefinition.h"

RecordParameterDefinition::RecordParameterDefinition() = default;

RecordParameterDefinition::RecordParameterDefinition(const RecordParameterDefinition& other) = default;

RecordParameterDefinition::~RecordParameterDefinition() = default;

ParameterDefinition* RecordParameterDefinition::clone() const
{
    return new RecordParameterDefinition(*this);
}

const ParameterText& RecordParameterDefinition::elementName(unsigned short element) const
{
    static const ParameterText empty;
    const auto it = m_elements.constFind(element);
    return it == m_elements.constEnd() ? empty : *it;
}

void RecordParameterDefinition::setElementName(unsigned short element, const ParameterText& name)
{
    m_elements.insert(element, name);
}

bool RecordParameterDefinition::removeElement(unsigned short element)
{
    return m_elements.remove(element) > 0;
}

bool RecordParameterDefinition::equals(const ParameterDefinition& other) const
{
    const RecordParameterDefinition* record = other.queryRecordParameterDefinition();
    return record && ParameterDefinition::equals(other) && m_elements == record->m_elements;
}
