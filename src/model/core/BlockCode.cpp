#include "BlockCode.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockPin.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "DatatypeProvider.h"
#include "SignalLabel.h"
#include "SimpleType.h"
#include "System.h"

#include <QCoreApplication>
#include <QLocale>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMimeData>
#include <QSaveFile>
#include <QSet>

#include <algorithm>

const QString BlockCode::TransferMimeType = QStringLiteral("application/x-zkblockview-code");

namespace {

const QByteArray kTransferHeader = QByteArrayLiteral("ZKBLOCKCODE 1\n");
const QByteArray kExportHeader = QByteArrayLiteral("; Bausteincode\n");

QByteArray escape(const QString& text)
{
    QByteArray out;
    const QByteArray utf8 = text.toUtf8();
    out.reserve(utf8.size());
    for (char c : utf8) {
        switch (c) {
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        default: out += c;
        }
    }
    return out;
}

bool unescape(const QByteArray& in, QString& out)
{
    QByteArray bytes;
    bytes.reserve(in.size());
    for (qsizetype i = 0; i < in.size(); ++i) {
        const char c = in.at(i);
        if (c != '\\') {
            bytes += c;
            continue;
        }
        if (++i >= in.size())
            return false;
        switch (in.at(i)) {
        case '\\': bytes += '\\'; break;
        case 'n': bytes += '\n'; break;
        case 'r': bytes += '\r'; break;
        default: return false;
        }
    }
    out = QString::fromUtf8(bytes);
    return true;
}

QByteArray number(double value)
{
    return QByteArray::number(value, 'g', QLocale::FloatingPointShortest);
}

QByteArray pointText(const QPointF& p)
{
    return number(p.x()) + ';' + number(p.y());
}

bool parsePoint(const QByteArray& text, QPointF& p)
{
    const QList<QByteArray> parts = text.split(';');
    if (parts.size() != 2)
        return false;
    bool okX = false, okY = false;
    p = QPointF(parts.at(0).toDouble(&okX), parts.at(1).toDouble(&okY));
    return okX && okY && qIsFinite(p.x()) && qIsFinite(p.y());
}

bool parseEnd(const QByteArray& text, bool& present, unsigned int& instance, int& pin)
{
    present = !text.isEmpty();
    if (!present)
        return true;
    const QList<QByteArray> parts = text.split(';');
    if (parts.size() != 2)
        return false;
    bool ok1 = false, ok2 = false;
    instance = parts.at(0).toUInt(&ok1);
    pin = parts.at(1).toInt(&ok2);
    return ok1 && ok2;
}

} // namespace

struct BlockCode::Parsed
{
    struct Pin
    {
        int id = 0;
        bool inverted = false;
        bool remanent = false;
        QString initial;
    };
    struct Instance
    {
        unsigned int id = 0;
        QString block;
        unsigned int version = 0;
        QString name;
        QPointF position;
        unsigned int runtime = 0;
        bool runtimeAbsolute = false;
        unsigned int background = 0;
        bool backgroundAbsolute = false;
        QString parameters;
        QStringList lines;
        QString note;
        int error = 0;
        QSizeF size;
        QList<Pin> pins;
    };
    struct Connection
    {
        bool hasSource = false;
        unsigned int sourceInstance = 0;
        int sourcePin = 0;
        bool hasTarget = false;
        unsigned int targetInstance = 0;
        int targetPin = 0;
        QList<QPointF> nodes;
    };
    struct Label
    {
        QString node;
        unsigned int id = 0;
        unsigned int instance = 0;
        int pin = 0;
        QString name;
        QPointF offset;
    };
    QList<Instance> instances;
    QList<Connection> connections;
    QList<Label> labels;
    QList<QByteArray> localBlocks;
};

BlockCode::BlockCode(BlockDefinition* definition)
    : QObject(definition)
    , m_definition(definition)
{
}

BlockCode::~BlockCode()
{
    m_blocked = true;
    qDeleteAll(m_connections);
    m_connections.clear();
    m_pinConnections.clear();
    const auto instances = m_instances;
    m_instances.clear();
    m_index.clear();
    qDeleteAll(instances);
}

BlockCode* BlockCode::blockDefinitionCode(BlockDefinition* definition)
{
    return definition ? definition->code() : nullptr;
}

BlockDefinition* BlockCode::blockDefinition()
{
    return m_definition;
}

BlockDefinitionScene* BlockCode::blockDefinitionScene() const
{
    // The scene class belongs to the component; we know it only by name. A scene derives from
    // QObject alone (through QGraphicsScene), so its QObject part starts at its own address.
    for (QObject* child : children()) {
        if (child->inherits("BlockDefinitionScene"))
            return reinterpret_cast<BlockDefinitionScene*>(child);
    }
    return nullptr;
}

QList<BlockPinConnection*> BlockCode::connectionsOf(const BlockPinInstance* pin) const
{
    QList<BlockPinConnection*> list = m_pinConnections.values(pin);
    // Keep the code's own order: callers see the same sequence as in connections().
    std::sort(list.begin(), list.end(), [this](BlockPinConnection* a, BlockPinConnection* b) {
        return m_connections.indexOf(a) < m_connections.indexOf(b);
    });
    list.erase(std::unique(list.begin(), list.end()), list.end());
    return list;
}

bool BlockCode::blockChangeSignals(bool block)
{
    const bool previous = m_blocked;
    m_blocked = block;
    return previous;
}

void BlockCode::sendBlockedChangeSignal()
{
    if (!m_swallowed)
        return;
    m_swallowed = false;
    Q_EMIT changed();
}

void BlockCode::notifyChanged()
{
    if (m_blocked) {
        m_swallowed = true;
        return;
    }
    Q_EMIT changed();
}

void BlockCode::updateVariantPins(BlockInstanceArea*)
{
    bool any = false;
    // A pin is variant only through its definition's pin. Most definitions have none, and their
    // instances' pins need no visit: each shown code runs this at every update.
    QHash<const BlockDefinition*, bool> variantDefinitions;
    const auto hasVariantPins = [&variantDefinitions](const BlockDefinition* definition) {
        if (!definition)
            return false;
        auto it = variantDefinitions.constFind(definition);
        if (it == variantDefinitions.cend()) {
            bool variant = false;
            for (int identifier : definition->pins()) {
                const BlockPin* pin = definition->pin(identifier);
                const SimpleType* type = pin ? DatatypeProvider::instance()->simpleType(pin->datatype()) : nullptr;
                if (type && type->isVariant()) {
                    variant = true;
                    break;
                }
            }
            it = variantDefinitions.insert(definition, variant);
        }
        return *it;
    };
    for (BlockInstance* instance : std::as_const(m_instances)) {
        if (!hasVariantPins(instance->blockDefinition()))
            continue;
        for (BlockPinInstance* pin : instance->pins()) {
            if (!pin->isVariant())
                continue;
            unsigned char resolved = 0;
            for (const BlockPinConnection* c : m_pinConnections.values(pin)) {
                const BlockPinInstance* other = c->source() == pin ? c->target() : c->source();
                if (other && !other->isVariant()) {
                    resolved = other->datatype();
                    break;
                }
            }
            if (pin->m_resolvedType != resolved) {
                pin->m_resolvedType = resolved;
                any = true;
            }
        }
    }
    if (any)
        notifyChanged();
}

unsigned int BlockCode::nextFreeIdentifier() const
{
    unsigned int id = m_nextIdentifier;
    while (id == 0 || m_index.contains(id))
        ++id;
    return id;
}

BlockInstance* BlockCode::createInstance(BlockDefinition* definition, unsigned int identifier)
{
    if (identifier == 0 || m_index.contains(identifier))
        return nullptr;
    auto* instance = new BlockInstance(this, identifier, definition);
    m_instances.append(instance);
    m_index.insert(identifier, instance);
    if (identifier >= m_nextIdentifier)
        m_nextIdentifier = identifier + 1;
    Q_EMIT instanceAdded(identifier);
    return instance;
}

BlockInstance* BlockCode::createInstanceInRealtimeTask(BlockDefinition* definition)
{
    if (!definition || !definition->block())
        return nullptr;
    // A definition may not contain itself directly: its hierarchy would have no end.
    if (definition == m_definition)
        return nullptr;
    BlockInstance* instance = createInstance(definition, nextFreeIdentifier());
    if (!instance)
        return nullptr;
    switch (definition->runtimeMembership()) {
    case RuntimeMembershipNone:
        break;
    case RuntimeMembershipBackground:
        m_background.append(instance->identifier());
        break;
    default:
        m_realtime.append(instance->identifier());
        break;
    }
    orderChanged();
    notifyChanged();
    return instance;
}

void BlockCode::deleteInstance(unsigned int identifier)
{
    BlockInstance* instance = m_index.value(identifier);
    if (!instance)
        return;
    for (BlockPinInstance* pin : instance->pins()) {
        const auto connections = m_pinConnections.values(pin);
        for (BlockPinConnection* c : connections) {
            if (m_connections.removeOne(c)) {
                unindexConnection(c);
                delete c;
            }
        }
    }
    m_instances.removeOne(instance);
    m_index.remove(identifier);
    m_realtime.removeAll(identifier);
    m_background.removeAll(identifier);
    orderChanged();
    delete instance;
    Q_EMIT instanceRemoved(identifier);
    notifyChanged();
}

BlockInstance* BlockCode::replaceInstanceDefinition(unsigned int identifier, BlockDefinition* definition,
                                                    BlockInstanceArea* area)
{
    BlockInstance* instance = m_index.value(identifier);
    if (!instance || !definition || !definition->block() || definition == m_definition)
        return nullptr;
    instance->replaceBlockDefinition(definition);
    updateVariantPins(area);
    return instance;
}

BlockPinConnection* BlockCode::createConnection(BlockPinInstance* a, BlockPinInstance* b)
{
    if (!a || !b || a == b || !a->owner() || !b->owner())
        return nullptr;
    if (m_index.value(a->owner()->identifier()) != a->owner() || m_index.value(b->owner()->identifier()) != b->owner())
        return nullptr;
    BlockPinInstance* source = nullptr;
    BlockPinInstance* target = nullptr;
    if (a->function() == BlockPinFunctionOutput && b->function() == BlockPinFunctionInput) {
        source = a;
        target = b;
    } else if (a->function() == BlockPinFunctionInput && b->function() == BlockPinFunctionOutput) {
        source = b;
        target = a;
    } else {
        return nullptr;
    }
    for (const BlockPinConnection* c : m_pinConnections.values(target)) {
        if (c->source() == source && c->target() == target)
            return nullptr;
    }
    return addConnection(source, target, {});
}

BlockPinConnection* BlockCode::addConnection(BlockPinInstance* source, BlockPinInstance* target,
                                             const QList<QPointF>& nodes)
{
    auto* connection = new BlockPinConnection(this, source, target);
    connection->m_nodes = nodes;
    m_connections.append(connection);
    indexConnection(connection);
    notifyChanged();
    return connection;
}

void BlockCode::deleteConnection(BlockPinConnection* connection)
{
    if (!connection || !m_connections.removeOne(connection))
        return;
    unindexConnection(connection);
    delete connection;
    notifyChanged();
}

void BlockCode::indexConnection(BlockPinConnection* connection)
{
    if (connection->source())
        m_pinConnections.insert(connection->source(), connection);
    if (connection->target() && connection->target() != connection->source())
        m_pinConnections.insert(connection->target(), connection);
}

void BlockCode::unindexConnection(BlockPinConnection* connection)
{
    if (BlockPinInstance* source = connection->source())
        m_pinConnections.remove(source, connection);
    if (BlockPinInstance* target = connection->target())
        m_pinConnections.remove(target, connection);
}

void BlockCode::connectionEndChanged(BlockPinConnection* connection, BlockPinInstance* oldPin, BlockPinInstance* newPin)
{
    if (oldPin)
        m_pinConnections.remove(oldPin, connection);
    if (newPin && !m_pinConnections.contains(newPin, connection))
        m_pinConnections.insert(newPin, connection);
    // The other end may still be on the old pin.
    if (oldPin && (connection->source() == oldPin || connection->target() == oldPin))
        m_pinConnections.insert(oldPin, connection);
}

void BlockCode::pinAboutToGo(BlockPinInstance* pin)
{
    // The wire stays with a dangling end: the user's nodes are kept and it can be re-wired.
    const auto connections = m_pinConnections.values(pin);
    for (BlockPinConnection* c : connections) {
        if (c->m_source == pin)
            c->m_source = nullptr;
        if (c->m_target == pin)
            c->m_target = nullptr;
    }
    m_pinConnections.remove(pin);
}

void BlockCode::detachConnectionsOf(BlockInstance* instance)
{
    for (BlockPinInstance* pin : instance->pins())
        pinAboutToGo(pin);
}

void BlockCode::refreshOrder() const
{
    if (!m_orderDirty)
        return;
    m_realtimePosition.clear();
    m_backgroundPosition.clear();
    for (int i = 0; i < m_realtime.size(); ++i)
        m_realtimePosition.insert(m_realtime.at(i), unsigned(i + 1));
    for (int i = 0; i < m_background.size(); ++i)
        m_backgroundPosition.insert(m_background.at(i), unsigned(i + 1));
    m_orderDirty = false;
}

unsigned int BlockCode::realtime(unsigned int identifier) const
{
    refreshOrder();
    return m_realtimePosition.value(identifier);
}

unsigned int BlockCode::background(unsigned int identifier) const
{
    refreshOrder();
    return m_backgroundPosition.value(identifier);
}

void BlockCode::insertIntoOrder(QList<unsigned int>& order, unsigned int identifier, unsigned int position)
{
    order.removeAll(identifier);
    if (position > 0) {
        const qsizetype at = std::min<qsizetype>(position - 1, order.size());
        order.insert(at, identifier);
    }
    orderChanged();
}

void BlockCode::setRealtime(unsigned int identifier, unsigned int position)
{
    if (!m_index.contains(identifier) || realtime(identifier) == position)
        return;
    insertIntoOrder(m_realtime, identifier, position);
    notifyChanged();
}

void BlockCode::setBackground(unsigned int identifier, unsigned int position)
{
    if (!m_index.contains(identifier) || background(identifier) == position)
        return;
    insertIntoOrder(m_background, identifier, position);
    notifyChanged();
}

QList<unsigned int> BlockCode::realtimeOrder() const
{
    return m_realtime;
}

QList<unsigned int> BlockCode::backgroundOrder() const
{
    return m_background;
}

QByteArray BlockCode::text(QList<unsigned int> identifiers) const
{
    QByteArray out;
    for (unsigned int id : std::as_const(identifiers)) {
        const BlockInstance* instance = m_index.value(id);
        if (!instance)
            continue;
        const Block* block = instance->block();
        out += "[Instance]\n";
        out += "Id=" + QByteArray::number(id) + '\n';
        out += "Block=" + escape(block ? block->identifier() : instance->blockIdentifier()) + '\n';
        out += "Version=" + QByteArray::number(block ? instance->version() : instance->blockVersion()) + '\n';
        out += "Name=" + escape(instance->name()) + '\n';
        out += "Position=" + pointText(instance->position()) + '\n';
        out += "Runtime=" + QByteArray::number(realtime(id)) + '\n';
        out += "Background=" + QByteArray::number(background(id)) + '\n';
        out += "Parameters=" + escape(instance->parameterText(0)) + '\n';
        out += "Lines=" + escape(instance->lines().join(QLatin1Char('\n'))) + '\n';
        out += "LineCount=" + QByteArray::number(instance->lines().size()) + '\n';
        out += "Note=" + escape(instance->note()) + '\n';
        out += "Error=" + QByteArray::number(instance->error()) + '\n';
        const QSizeF size = instance->ownSize();
        if (size.isValid())
            out += "Size=" + number(size.width()) + ';' + number(size.height()) + '\n';
        for (const BlockPinInstance* pin : instance->pins()) {
            if (!pin->isInverted() && !pin->isRemanent() && pin->initialValue().isEmpty())
                continue;
            out += "Pin=" + QByteArray::number(pin->identifier()) + ';' + (pin->isInverted() ? '1' : '0') + ';'
                + (pin->isRemanent() ? '1' : '0') + ';' + escape(pin->initialValue()) + '\n';
        }
    }
    // Every connection that touches one of the instances, so that undo brings back the wires to
    // blocks that stayed.
    const QSet<unsigned int> set(identifiers.begin(), identifiers.end());
    for (const BlockPinConnection* c : m_connections) {
        const BlockPinInstance* s = c->source();
        const BlockPinInstance* t = c->target();
        const bool touches = (s && set.contains(s->owner()->identifier())) || (t && set.contains(t->owner()->identifier()));
        if (!touches)
            continue;
        out += "[Connection]\n";
        out += "Source=" + (s ? QByteArray::number(s->owner()->identifier()) + ';' + QByteArray::number(s->identifier()) : QByteArray()) + '\n';
        out += "Target=" + (t ? QByteArray::number(t->owner()->identifier()) + ';' + QByteArray::number(t->identifier()) : QByteArray()) + '\n';
        QByteArray nodes;
        for (const QPointF& p : c->nodePositions()) {
            if (!nodes.isEmpty())
                nodes += '|';
            nodes += pointText(p);
        }
        out += "Nodes=" + nodes + '\n';
    }
    return out;
}

QByteArray BlockCode::signalsAsText(QList<unsigned int> identifiers) const
{
    QByteArray out;
    const QSet<unsigned int> set(identifiers.begin(), identifiers.end());
    for (const BlockInstanceHierarchyNode* node : m_nodes) {
        for (const SignalLabel* label : node->signalLabels()) {
            if (!set.contains(label->instanceIdentifier()))
                continue;
            out += "[SignalLabel]\n";
            out += "Node=" + escape(node->locationPath()) + '\n';
            out += "Id=" + QByteArray::number(label->identifier()) + '\n';
            out += "Instance=" + QByteArray::number(label->instanceIdentifier()) + '\n';
            out += "Pin=" + QByteArray::number(label->pinIdentifier()) + '\n';
            out += "Name=" + escape(label->name()) + '\n';
            out += "Offset=" + pointText(label->offset()) + '\n';
        }
    }
    return out;
}

bool BlockCode::parseText(const QByteArray& text, Parsed& parsed) const
{
    enum Section { None, InstanceSection, ConnectionSection, LabelSection, LocalSection } section = None;
    const QList<QByteArray> lines = text.split('\n');
    for (QByteArray line : lines) {
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.isEmpty() || line.startsWith(';'))
            continue;
        if (line.startsWith('[')) {
            if (line == "[Instance]") {
                section = InstanceSection;
                parsed.instances.append(Parsed::Instance());
            } else if (line == "[Connection]") {
                section = ConnectionSection;
                parsed.connections.append(Parsed::Connection());
            } else if (line == "[SignalLabel]") {
                section = LabelSection;
                parsed.labels.append(Parsed::Label());
            } else if (line == "[LocalBlock]") {
                section = LocalSection;
                parsed.localBlocks.append(QByteArray());
            } else {
                return false;
            }
            continue;
        }
        const qsizetype eq = line.indexOf('=');
        if (eq <= 0)
            return false;
        const QByteArray key = line.left(eq);
        const QByteArray value = line.mid(eq + 1);
        bool ok = true;
        switch (section) {
        case None:
            return false;
        case InstanceSection: {
            Parsed::Instance& i = parsed.instances.last();
            if (key == "Id") {
                i.id = value.toUInt(&ok);
                ok = ok && i.id != 0;
            } else if (key == "Block") {
                ok = unescape(value, i.block) && !i.block.isEmpty();
            } else if (key == "Version") {
                i.version = value.toUInt(&ok);
            } else if (key == "Name") {
                ok = unescape(value, i.name);
            } else if (key == "Position") {
                ok = parsePoint(value, i.position);
            } else if (key == "Runtime" || key == "RuntimeAbsolute") {
                i.runtime = value.toUInt(&ok);
                i.runtimeAbsolute = key == "RuntimeAbsolute";
            } else if (key == "Background" || key == "BackgroundAbsolute") {
                i.background = value.toUInt(&ok);
                i.backgroundAbsolute = key == "BackgroundAbsolute";
            } else if (key == "Parameters") {
                ok = unescape(value, i.parameters);
            } else if (key == "Lines") {
                QString joined;
                ok = unescape(value, joined);
                i.lines = joined.isEmpty() ? QStringList() : joined.split(QLatin1Char('\n'));
            } else if (key == "LineCount") {
                // One empty line and no lines at all read the same from "Lines="; the count tells.
                const uint count = value.toUInt(&ok);
                if (ok && count == 1 && i.lines.isEmpty())
                    i.lines = QStringList{QString()};
            } else if (key == "Note") {
                ok = unescape(value, i.note);
            } else if (key == "Error") {
                i.error = value.toInt(&ok);
            } else if (key == "Size") {
                QPointF p;
                ok = parsePoint(value, p);
                i.size = QSizeF(p.x(), p.y());
            } else if (key == "Pin") {
                const QList<QByteArray> parts = value.split(';');
                if (parts.size() < 4)
                    return false;
                Parsed::Pin pin;
                pin.id = parts.at(0).toInt(&ok);
                pin.inverted = parts.at(1) == "1";
                pin.remanent = parts.at(2) == "1";
                ok = ok && unescape(value.mid(parts.at(0).size() + parts.at(1).size() + parts.at(2).size() + 3), pin.initial);
                i.pins.append(pin);
            }
            break;
        }
        case ConnectionSection: {
            Parsed::Connection& c = parsed.connections.last();
            if (key == "Source") {
                ok = parseEnd(value, c.hasSource, c.sourceInstance, c.sourcePin);
            } else if (key == "Target") {
                ok = parseEnd(value, c.hasTarget, c.targetInstance, c.targetPin);
            } else if (key == "Nodes") {
                if (!value.isEmpty()) {
                    for (const QByteArray& part : value.split('|')) {
                        QPointF p;
                        if (!parsePoint(part, p))
                            return false;
                        c.nodes.append(p);
                    }
                }
            }
            break;
        }
        case LabelSection: {
            Parsed::Label& l = parsed.labels.last();
            if (key == "Node")
                ok = unescape(value, l.node);
            else if (key == "Id")
                l.id = value.toUInt(&ok);
            else if (key == "Instance")
                l.instance = value.toUInt(&ok);
            else if (key == "Pin")
                l.pin = value.toInt(&ok);
            else if (key == "Name")
                ok = unescape(value, l.name);
            else if (key == "Offset")
                ok = parsePoint(value, l.offset);
            break;
        }
        case LocalSection:
            if (key == "Contents") {
                parsed.localBlocks.last() = QByteArray::fromBase64(value, QByteArray::AbortOnBase64DecodingErrors);
                ok = !parsed.localBlocks.last().isEmpty();
            }
            break;
        }
        if (!ok)
            return false;
    }
    for (const Parsed::Instance& i : std::as_const(parsed.instances)) {
        if (i.id == 0 || i.block.isEmpty())
            return false;
    }
    return true;
}

QList<unsigned int> BlockCode::applyParsed(const Parsed& parsed, bool freshIdentifiers)
{
    QHash<unsigned int, unsigned int> map;
    QList<unsigned int> restored;
    QList<QPair<unsigned int, unsigned int>> realtimeRelative, realtimeAbsolute, backgroundRelative, backgroundAbsolute;
    for (const Parsed::Instance& record : parsed.instances) {
        BlockDefinition* definition = m_definition->resolveDefinition(record.block, record.version);
        if (!definition || definition == m_definition) {
            System::addInformationMessage(tr("Bausteincode"),
                                          tr("Der Baustein %1 (Version %2) ist hier unbekannt und wurde nicht eingefügt.")
                                              .arg(record.block)
                                              .arg(record.version));
            continue;
        }
        const unsigned int id = freshIdentifiers ? nextFreeIdentifier() : record.id;
        if (m_index.contains(id) || map.contains(record.id))
            continue;
        BlockInstance* instance = createInstance(definition, id);
        if (!instance)
            continue;
        map.insert(record.id, id);
        restored.append(id);
        instance->m_name = record.name;
        instance->m_position = record.position;
        instance->m_parameterText = record.parameters;
        instance->m_lines = record.lines;
        instance->m_note = record.note;
        instance->m_error = record.error;
        instance->setSize(record.size);
        for (const Parsed::Pin& p : record.pins) {
            if (BlockPinInstance* pin = instance->pin(p.id)) {
                pin->m_inverted = p.inverted && pin->isInvertible();
                pin->m_remanent = p.remanent;
                pin->m_initialValue = p.initial;
            }
        }
        if (record.runtime)
            (record.runtimeAbsolute ? realtimeAbsolute : realtimeRelative).append({record.runtime, id});
        if (record.background)
            (record.backgroundAbsolute ? backgroundAbsolute : backgroundRelative).append({record.background, id});
    }
    std::sort(realtimeAbsolute.begin(), realtimeAbsolute.end());
    std::sort(realtimeRelative.begin(), realtimeRelative.end());
    std::sort(backgroundAbsolute.begin(), backgroundAbsolute.end());
    std::sort(backgroundRelative.begin(), backgroundRelative.end());
    for (const auto& e : std::as_const(realtimeAbsolute))
        insertIntoOrder(m_realtime, e.second, e.first);
    for (const auto& e : std::as_const(realtimeRelative))
        m_realtime.append(e.second);
    for (const auto& e : std::as_const(backgroundAbsolute))
        insertIntoOrder(m_background, e.second, e.first);
    for (const auto& e : std::as_const(backgroundRelative))
        m_background.append(e.second);
    orderChanged();

    auto pinOf = [&](bool present, unsigned int instance, int pin, bool& outside) -> BlockPinInstance* {
        outside = false;
        if (!present)
            return nullptr;
        auto it = map.constFind(instance);
        if (it == map.constEnd()) {
            // A pasted wire to a block that was not copied has nothing to end on.
            if (freshIdentifiers) {
                outside = true;
                return nullptr;
            }
            BlockInstance* existing = m_index.value(instance);
            return existing ? existing->pin(pin) : nullptr;
        }
        BlockInstance* target = m_index.value(*it);
        return target ? target->pin(pin) : nullptr;
    };
    for (const Parsed::Connection& c : parsed.connections) {
        bool sourceOutside = false, targetOutside = false;
        BlockPinInstance* source = pinOf(c.hasSource, c.sourceInstance, c.sourcePin, sourceOutside);
        BlockPinInstance* target = pinOf(c.hasTarget, c.targetInstance, c.targetPin, targetOutside);
        if (sourceOutside || targetOutside || (!source && !target))
            continue;
        bool exists = false;
        for (const BlockPinConnection* other : m_pinConnections.values(source ? source : target)) {
            if (other->source() == source && other->target() == target) {
                exists = true;
                break;
            }
        }
        if (!exists)
            addConnection(source, target, c.nodes);
    }

    if (!freshIdentifiers) {
        for (const Parsed::Label& l : parsed.labels) {
            BlockInstanceHierarchyNode* node = nullptr;
            for (BlockInstanceHierarchyNode* candidate : std::as_const(m_nodes)) {
                if (candidate->locationPath() == l.node) {
                    node = candidate;
                    break;
                }
            }
            if (!node || !m_index.contains(l.instance) || !node->signalLabels(l.instance, l.pin).isEmpty())
                continue;
            if (SignalLabel* label = node->createSignalLabel(l.instance, l.pin, l.name, node->signalLabel(l.id) ? 0 : l.id))
                label->setOffset(l.offset);
        }
    }
    notifyChanged();
    return restored;
}

QList<unsigned int> BlockCode::restoreCode(const QByteArray& text, bool freshIdentifiers)
{
    Parsed parsed;
    if (!parseText(text, parsed)) {
        System::addCriticalMessage(tr("Bausteincode"), tr("Der Text des Bausteincodes ist beschädigt und wurde nicht übernommen."));
        return {};
    }
    return applyParsed(parsed, freshIdentifiers);
}

void BlockCode::restoreCodeFromText(const QByteArray& text, bool freshIdentifiers)
{
    restoreCode(text, freshIdentifiers);
}

QMimeData* BlockCode::createTransferData(const QList<unsigned int>& identifiers)
{
    QByteArray payload = kTransferHeader;
    payload += text(identifiers);
    // Local blocks travel with their instances, so that a paste into another definition has them.
    QSet<const Block*> carried;
    for (unsigned int id : identifiers) {
        const BlockInstance* instance = m_index.value(id);
        const Block* block = instance ? instance->block() : nullptr;
        if (!block || carried.contains(block) || !(block->isLocalBlock() || block->isFallbackBlock()))
            continue;
        carried.insert(block);
        payload += "[LocalBlock]\nContents=" + block->saveContents().toBase64() + '\n';
    }
    auto* data = new QMimeData;
    data->setData(TransferMimeType, payload);
    return data;
}

QList<unsigned int> BlockCode::insertTransferData(const QMimeData* data) const
{
    if (!data || !data->hasFormat(TransferMimeType))
        return {};
    const QByteArray payload = data->data(TransferMimeType);
    if (!payload.startsWith(kTransferHeader))
        return {};
    Parsed parsed;
    if (!parseText(payload.mid(kTransferHeader.size()), parsed)) {
        System::addCriticalMessage(tr("Bausteincode"), tr("Die Daten in der Zwischenablage sind beschädigt und wurden nicht eingefügt."));
        return {};
    }
    // Validate the carried blocks before anything is inserted.
    QList<Block*> blocks;
    for (const QByteArray& contents : std::as_const(parsed.localBlocks)) {
        const QJsonDocument doc = QJsonDocument::fromJson(contents);
        const QString identifier = doc.object().value(QStringLiteral("identifier")).toString();
        if (identifier.isEmpty()) {
            qDeleteAll(blocks);
            System::addCriticalMessage(tr("Bausteincode"), tr("Die Daten in der Zwischenablage sind beschädigt und wurden nicht eingefügt."));
            return {};
        }
        Block* block = Block::createBlock(identifier);
        if (!block->loadContents(contents)) {
            delete block;
            qDeleteAll(blocks);
            System::addCriticalMessage(tr("Bausteincode"), tr("Die Daten in der Zwischenablage sind beschädigt und wurden nicht eingefügt."));
            return {};
        }
        blocks.append(block);
    }
    auto* self = const_cast<BlockCode*>(this);
    for (Block* block : std::as_const(blocks)) {
        if (m_definition->resolveBlock(block->identifier())) {
            delete block;
            continue;
        }
        BlockLibrary* library = m_definition->localBlockLibrary();
        if (!library)
            library = m_definition->ensureLocalBlockLibrary();
        library->insertBlock(block);
    }
    return self->applyParsed(parsed, true);
}

void BlockCode::exportToTextFile(const QString& path)
{
    QList<unsigned int> all;
    for (const BlockInstance* instance : std::as_const(m_instances))
        all.append(instance->identifier());
    QSaveFile file(path);
    QByteArray content = kExportHeader;
    if (const Block* block = m_definition ? m_definition->block() : nullptr)
        content += "; " + block->identifier().toUtf8() + " Version " + QByteArray::number(m_definition->version()) + '\n';
    content += text(all);
    content += signalsAsText(all);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit()) {
        System::addCriticalMessage(tr("Bausteincode"),
                                   tr("Der Code konnte nicht in die Datei %1 geschrieben werden: %2").arg(path, file.errorString()));
    }
}

void BlockCode::save()
{
    // Everything lives in memory already; what is left is to drop order entries of instances that
    // went away behind our back and to settle variant pins before callers read the code.
    QList<unsigned int> realtime, background;
    for (unsigned int id : std::as_const(m_realtime)) {
        if (m_index.contains(id) && !realtime.contains(id))
            realtime.append(id);
    }
    for (unsigned int id : std::as_const(m_background)) {
        if (m_index.contains(id) && !background.contains(id))
            background.append(id);
    }
    if (realtime != m_realtime || background != m_background) {
        m_realtime = realtime;
        m_background = background;
        orderChanged();
    }
    const bool wasBlocked = blockChangeSignals(true);
    updateVariantPins(nullptr);
    blockChangeSignals(wasBlocked);
}

void BlockCode::clear()
{
    qDeleteAll(m_connections);
    m_connections.clear();
    m_pinConnections.clear();
    const auto instances = m_instances;
    m_instances.clear();
    m_index.clear();
    m_realtime.clear();
    m_background.clear();
    orderChanged();
    qDeleteAll(instances);
    m_nextIdentifier = 1;
    Q_EMIT structureChanged();
    notifyChanged();
}
