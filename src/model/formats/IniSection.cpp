#include "IniSection.h"

namespace MlIniParser {

IniSection::IniSection(const QByteArray& name)
    : m_name(name)
{
}

IniSection::~IniSection()
{
    qDeleteAll(m_sections);
}

QByteArray IniSection::name() const
{
    return m_name;
}

QByteArray IniSection::value(const QByteArray& key) const
{
    const int index = indexOfKey(key);
    return index < 0 ? QByteArray() : m_values.at(index).second;
}

void IniSection::setValue(const QByteArray& key, const QByteArray& value)
{
    const int index = indexOfKey(key);
    if (index < 0)
        m_values.append({key, value});
    else
        m_values[index].second = value;
}

QList<QByteArray> IniSection::sections() const
{
    QList<QByteArray> names;
    names.reserve(m_sections.size());
    for (const IniSection* s : m_sections)
        names.append(s->name());
    return names;
}

IniSection* IniSection::createSection(const QByteArray& name)
{
    if (IniSection* existing = section(name))
        return existing;
    auto* s = new IniSection(name);
    m_sections.append(s);
    return s;
}

IniSection* IniSection::section(const QByteArray& name) const
{
    for (IniSection* s : m_sections) {
        if (s->name() == name)
            return s;
    }
    return nullptr;
}

QList<QByteArray> IniSection::keys() const
{
    QList<QByteArray> result;
    result.reserve(m_values.size());
    for (const auto& kv : m_values)
        result.append(kv.first);
    return result;
}

bool IniSection::contains(const QByteArray& key) const
{
    return indexOfKey(key) >= 0;
}

bool IniSection::removeValue(const QByteArray& key)
{
    const int index = indexOfKey(key);
    if (index < 0)
        return false;
    m_values.removeAt(index);
    return true;
}

bool IniSection::removeSection(const QByteArray& name)
{
    for (int i = 0; i < m_sections.size(); ++i) {
        if (m_sections.at(i)->name() == name) {
            delete m_sections.takeAt(i);
            return true;
        }
    }
    return false;
}

void IniSection::clear()
{
    m_values.clear();
    qDeleteAll(m_sections);
    m_sections.clear();
}

int IniSection::indexOfKey(const QByteArray& key) const
{
    for (int i = 0; i < m_values.size(); ++i) {
        if (m_values.at(i).first == key)
            return i;
    }
    return -1;
}

} // namespace MlIniParser
