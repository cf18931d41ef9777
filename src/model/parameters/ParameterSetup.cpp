#include "ParameterSetup.h"

#include <algorithm>

ParameterSetup::ParameterSetup(const QString& name, const QList<unsigned short>& elements)
    : m_name(name)
    , m_elements(elements)
{
}

ParameterSetup::~ParameterSetup() = default;

QList<unsigned short> ParameterSetup::elementNumbers()
{
    return m_elements;
}

QList<QString> ParameterSetup::relatedParameterNames(int areaNumber)
{
    return m_related.value(areaNumber);
}

QString ParameterSetup::valueText(int areaNumber, unsigned short element, int)
{
    const auto it = m_values.constFind(qMakePair(areaNumber, element));
    if (it != m_values.constEnd())
        return *it;
    return m_defaults.value(element);
}

void ParameterSetup::setValueText(int areaNumber, unsigned short element, const QString& value)
{
    const auto key = qMakePair(areaNumber, element);
    // The default written back to an element without a value of its own changes nothing, and
    // stores nothing: the project reads the same as before (an undo that puts the values of a
    // deleted block back leaves no trace).
    if (!m_values.contains(key) && m_defaults.contains(element) && m_defaults.value(element) == value)
        return;
    m_values.insert(key, value);
}

void ParameterSetup::setOwnValueText(int areaNumber, unsigned short element, const QString& value)
{
    m_values.insert(qMakePair(areaNumber, element), value);
}

void ParameterSetup::setRelatedParameterNames(int areaNumber, const QList<QString>& names)
{
    if (names.isEmpty())
        m_related.remove(areaNumber);
    else
        m_related.insert(areaNumber, names);
}

void ParameterSetup::setDefaultValueText(unsigned short element, const QString& value)
{
    m_defaults.insert(element, value);
}

QList<QPair<int, unsigned short>> ParameterSetup::explicitValues() const
{
    QList<QPair<int, unsigned short>> keys = m_values.keys();
    std::sort(keys.begin(), keys.end());
    return keys;
}

QList<int> ParameterSetup::relatedAreas() const
{
    QList<int> areas = m_related.keys();
    std::sort(areas.begin(), areas.end());
    return areas;
}
