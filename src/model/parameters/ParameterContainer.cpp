#include "ParameterContainer.h"

#include "ParameterSetup.h"

ParameterContainer::ParameterContainer() = default;

ParameterContainer::~ParameterContainer()
{
    qDeleteAll(m_setups);
}

QList<QString> ParameterContainer::queryParameterAnchors(const QString& path, bool recursive)
{
    QList<QString> names;
    // Below the root of an area ("A1:") the entries follow at once; below a node after a ".".
    const QString below = path.isEmpty() || path.endsWith(QLatin1Char(':')) ? path : path + QLatin1Char('.');
    for (auto it = m_setups.constBegin(); it != m_setups.constEnd(); ++it) {
        const QString owner = instancePathOf(it.key());
        if (owner == path || (recursive && owner.startsWith(below)))
            names.append(it.key());
    }
    return names;
}

ParameterSetup* ParameterContainer::queryParameterInstance(const QString& anchor) const
{
    return m_setups.value(anchor);
}

void ParameterContainer::insertParameterInstance(ParameterSetup* setup)
{
    if (!setup)
        return;
    ParameterSetup* old = m_setups.value(setup->name());
    if (old == setup)
        return;
    delete old;
    m_setups.insert(setup->name(), setup);
}

bool ParameterContainer::removeParameterInstance(const QString& name)
{
    ParameterSetup* setup = m_setups.take(name);
    delete setup;
    return setup != nullptr;
}

void ParameterContainer::clearParameters()
{
    qDeleteAll(m_setups);
    m_setups.clear();
}

QString ParameterContainer::instancePathOf(const QString& name)
{
    const int hash = name.lastIndexOf(QLatin1Char('#'));
    return hash < 0 ? name : name.left(hash);
}

QString ParameterContainer::coordinateOf(const QString& name)
{
    const int hash = name.lastIndexOf(QLatin1Char('#'));
    return hash < 0 ? QString() : name.mid(hash + 1);
}
