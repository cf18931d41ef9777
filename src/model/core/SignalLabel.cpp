#include "SignalLabel.h"

#include "BlockCode.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockPinValueSource.h"
#include "ModelDialogs.h"

#include <QCoreApplication>

SignalLabel::SignalLabel(BlockInstanceHierarchyNode* node, unsigned int identifier, unsigned int instance, int pin,
                         const QString& name)
    : QObject(node)
    , m_node(node)
    , m_identifier(identifier)
    , m_instance(instance)
    , m_pin(pin)
    , m_name(name)
{
    BlockInstanceArea* area = node && node->hierarchy() ? node->hierarchy()->area() : nullptr;
    m_source = area ? area->pinValueSource() : nullptr;
    if (m_source) {
        m_observedPath = pinPath();
        m_source->setObserved(m_observedPath, true);
        connect(m_source, &BlockPinValueSource::blockPinCurrentValueChanged, this, &SignalLabel::onValueChanged);
    }
}

SignalLabel::~SignalLabel()
{
    if (m_source)
        m_source->setObserved(m_observedPath, false);
}

unsigned int SignalLabel::identifier() const { return m_identifier; }
unsigned int SignalLabel::instanceIdentifier() const { return m_instance; }
int SignalLabel::pinIdentifier() const { return m_pin; }

QString SignalLabel::toolTipText() const
{
    QString text = QCoreApplication::translate("SignalLabel", "Signal %1").arg(m_name);
    const QString value = currentValue();
    if (!value.isEmpty())
        text += QCoreApplication::translate("SignalLabel", "\nWert: %1").arg(value);
    text += QStringLiteral("\n") + pinPath();
    return text;
}

QString SignalLabel::name() const { return m_name; }

void SignalLabel::setName(const QString& name)
{
    if (name == m_name)
        return;
    m_name = name;
    Q_EMIT propertiesChanged(QStringLiteral("Name"));
}

void SignalLabel::setOffset(const QPointF& offset)
{
    if (offset == m_offset)
        return;
    m_offset = offset;
    Q_EMIT propertiesChanged(QStringLiteral("Offset"));
}

QPointF SignalLabel::offset() const { return m_offset; }

QString SignalLabel::currentValue() const
{
    return m_source ? m_source->currentValue(m_observedPath) : QString();
}

bool SignalLabel::showPropertiesView()
{
    return ModelDialogs::editSignalLabel(this);
}

QString SignalLabel::pinPath() const
{
    if (!m_node)
        return QString();
    return m_node->locationPath() + QLatin1Char('.') + QString::number(m_instance) + QLatin1Char('p')
        + QString::number(m_pin);
}

void SignalLabel::onValueChanged(const QString& path, const QString& value)
{
    if (path == m_observedPath)
        Q_EMIT currentValueChanged(value);
}
