#include "BlockPinConnection.h"

#include "BlockCode.h"
#include "BlockInstance.h"
#include "BlockPinInstance.h"
#include "DatatypeProvider.h"
#include "SimpleType.h"

BlockPinConnection::BlockPinConnection(BlockCode* code, BlockPinInstance* source, BlockPinInstance* target)
    : QObject(code)
    , m_code(code)
    , m_source(source)
    , m_target(target)
{
}

BlockPinConnection::~BlockPinConnection() = default;

void BlockPinConnection::setSource(BlockPinInstance* pin)
{
    BlockPinInstance* old = m_source.data();
    if (old == pin)
        return;
    m_source = pin;
    m_code->connectionEndChanged(this, old, pin);
    m_code->notifyChanged();
}

void BlockPinConnection::setTarget(BlockPinInstance* pin)
{
    BlockPinInstance* old = m_target.data();
    if (old == pin)
        return;
    m_target = pin;
    m_code->connectionEndChanged(this, old, pin);
    m_code->notifyChanged();
}

void BlockPinConnection::setNodePositions(const QList<QPointF>& nodes)
{
    if (nodes == m_nodes)
        return;
    m_nodes = nodes;
    m_code->notifyChanged();
}

void BlockPinConnection::setHighlighted(bool highlighted)
{
    if (highlighted == m_highlighted)
        return;
    m_highlighted = highlighted;
    Q_EMIT highlightedChanged(highlighted);
}

bool BlockPinConnection::isValid(BlockInstanceArea* area) const
{
    const BlockPinInstance* source = m_source.data();
    const BlockPinInstance* target = m_target.data();
    if (!source || !target)
        return false;
    if (source->function() != BlockPinFunctionOutput || target->function() != BlockPinFunctionInput)
        return false;
    const unsigned char a = source->datatype(area);
    const unsigned char b = target->datatype(area);
    if (a == b)
        return true;
    // An unresolved variant pin takes whatever comes.
    DatatypeProvider* types = DatatypeProvider::instance();
    const SimpleType* ta = types->simpleType(a);
    const SimpleType* tb = types->simpleType(b);
    return (ta && ta->isVariant()) || (tb && tb->isVariant());
}

bool BlockPinConnection::isConnectedTo(BlockInstance* instance) const
{
    if (!instance)
        return false;
    return (m_source && m_source->owner() == instance) || (m_target && m_target->owner() == instance);
}

bool BlockPinConnection::isConnectedTo(BlockPinConnection* connection) const
{
    if (!connection || connection == this)
        return false;
    const BlockPinInstance* pins[] = {m_source.data(), m_target.data()};
    const BlockPinInstance* others[] = {connection->source(), connection->target()};
    for (const BlockPinInstance* p : pins) {
        for (const BlockPinInstance* o : others) {
            if (p && p == o)
                return true;
        }
    }
    return false;
}
