#include "BlockPinValueSource.h"

#include <algorithm>

BlockPinValueSource::BlockPinValueSource(QObject* parent)
    : QObject(parent)
{
}

BlockPinValueSource::~BlockPinValueSource() = default;

unsigned int BlockPinValueSource::memoryAddress(const QString& locationPath)
{
    auto it = m_addresses.constFind(locationPath);
    if (it != m_addresses.constEnd())
        return *it;
    // Four bytes a signal, handed out in the order the paths are first asked for.
    const unsigned int address = FirstAddress + 4u * unsigned(m_addresses.size());
    m_addresses.insert(locationPath, address);
    return address;
}

void BlockPinValueSource::setObserved(const QString& locationPath, bool observed)
{
    int& count = m_observers[locationPath];
    count += observed ? 1 : -1;
    if (observed)
        m_newlyObserved.insert(locationPath);
    if (count <= 0) {
        m_observers.remove(locationPath);
        m_newlyObserved.remove(locationPath);
    }
}

QList<QString> BlockPinValueSource::observedPaths() const
{
    QList<QString> paths = m_observers.keys();
    std::sort(paths.begin(), paths.end());
    return paths;
}

void BlockPinValueSource::publishValue(const QString& locationPath, const QString& value)
{
    const bool fresh = m_newlyObserved.remove(locationPath);
    auto it = m_values.find(locationPath);
    if (it != m_values.end() && *it == value && !fresh)
        return;
    m_values.insert(locationPath, value);
    if (m_observers.value(locationPath) > 0)
        Q_EMIT blockPinCurrentValueChanged(locationPath, value);
}

void BlockPinValueSource::clearValues()
{
    const auto values = m_values;
    m_values.clear();
    for (auto it = values.constBegin(); it != values.constEnd(); ++it) {
        if (!it.value().isEmpty() && m_observers.value(it.key()) > 0)
            Q_EMIT blockPinCurrentValueChanged(it.key(), QString());
    }
}
