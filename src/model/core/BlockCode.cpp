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
#include "CodeText.h"
#include "DatatypeProvider.h"
#include "JsonKeys.h"
#include "SignalLabel.h"
#include "SimpleType.h"
#include "System.h"

#include <QCoreApplication>
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

} // namespace

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
    QHash<const BlockInstance*, unsigned int> places;
    places.reserve(m_instances.size());
    for (qsizetype i = 0; i < m_instances.size(); ++i)
        places.insert(m_instances.at(i), unsigned(i + 1));
    for (unsigned int id : std::as_const(identifiers)) {
        if (const BlockInstance* instance = m_index.value(id))
            out += CodeText::instanceText(InstanceRecord::of(instance), places.value(instance));
    }
    // Every connection that touches one of the instances, so that undo brings back the wires to
    // blocks that stayed.
    const QSet<unsigned int> set(identifiers.begin(), identifiers.end());
    for (qsizetype i = 0; i < m_connections.size(); ++i) {
        const BlockPinConnection* c = m_connections.at(i);
        const BlockPinInstance* s = c->source();
        const BlockPinInstance* t = c->target();
        const bool touches = (s && set.contains(s->owner()->identifier())) || (t && set.contains(t->owner()->identifier()));
        if (!touches)
            continue;
        ConnectionRecord record = ConnectionRecord::of(c);
        record.place = unsigned(i + 1);
        out += CodeText::connectionText(record);
    }
    return out;
}

QByteArray BlockCode::signalsAsText(QList<unsigned int> identifiers) const
{
    QByteArray out;
    const QSet<unsigned int> set(identifiers.begin(), identifiers.end());
    for (const BlockInstanceHierarchyNode* node : m_nodes) {
        for (const SignalLabel* label : node->signalLabels()) {
            if (set.contains(label->instanceIdentifier()))
                out += CodeText::labelText(SignalLabelRecord::of(node, label));
        }
    }
    return out;
}

namespace {

// Moves the items that were appended to `list` after its first `before` entries and that come with
// a place to that 1-based place of the list as it is (or to its end), in ascending order of the
// places; the other appended ones follow, in their order. One merge, whatever the numbers.
template <typename T>
void putAtPlaces(QList<T*>& list, qsizetype before, QList<QPair<unsigned int, T*>> placed)
{
    if (placed.isEmpty())
        return;
    std::stable_sort(placed.begin(), placed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    QSet<const T*> placedSet;
    for (const auto& entry : std::as_const(placed))
        placedSet.insert(entry.second);
    QList<T*> merged;
    merged.reserve(list.size());
    qsizetype next = 0;
    for (qsizetype kept = 0; kept < before; ++kept) {
        while (next < placed.size() && qsizetype(placed.at(next).first) - 1 <= merged.size())
            merged.append(placed.at(next++).second);
        merged.append(list.at(kept));
    }
    while (next < placed.size())
        merged.append(placed.at(next++).second);
    for (qsizetype i = before; i < list.size(); ++i) {
        if (!placedSet.contains(list.at(i)))
            merged.append(list.at(i));
    }
    list = merged;
}

} // namespace

QList<unsigned int> BlockCode::applyText(const CodeText::Content& content, bool freshIdentifiers)
{
    // The whole text is one change: every changed() makes the scenes of the code rebuild, and a
    // restored selection of many wired blocks would otherwise rebuild them once per connection.
    const bool wasBlocked = blockChangeSignals(true);
    QHash<unsigned int, unsigned int> map;
    QList<unsigned int> restored;
    QList<QPair<unsigned int, unsigned int>> realtimeRelative, realtimeAbsolute, backgroundRelative, backgroundAbsolute;
    // Under their old identifiers instances and wires go back to their places in the code's
    // lists, in ascending order, as the absolute task places do; pasted ones and those without a
    // place go to the end.
    const qsizetype instancesBefore = m_instances.size();
    QList<QPair<unsigned int, BlockInstance*>> placedInstances;
    for (const CodeText::Instance& entry : content.instances) {
        const InstanceRecord& record = entry.record;
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
        if (!freshIdentifiers && entry.place)
            placedInstances.append({entry.place, instance});
        map.insert(record.id, id);
        restored.append(id);
        record.applyTo(instance);
        if (record.realtime)
            (entry.realtimeAbsolute ? realtimeAbsolute : realtimeRelative).append({record.realtime, id});
        if (record.background)
            (entry.backgroundAbsolute ? backgroundAbsolute : backgroundRelative).append({record.background, id});
    }
    putAtPlaces(m_instances, instancesBefore, placedInstances);
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

    auto pinOf = [&](const ConnectionEndRecord& end, bool& outside) -> BlockPinInstance* {
        outside = false;
        if (!end.present)
            return nullptr;
        auto it = map.constFind(end.instance);
        if (it == map.constEnd()) {
            // A pasted wire to a block that was not copied has nothing to end on.
            if (freshIdentifiers) {
                outside = true;
                return nullptr;
            }
            BlockInstance* existing = m_index.value(end.instance);
            return existing ? existing->pin(end.pin) : nullptr;
        }
        BlockInstance* target = m_index.value(*it);
        return target ? target->pin(end.pin) : nullptr;
    };
    const qsizetype connectionsBefore = m_connections.size();
    QList<QPair<unsigned int, BlockPinConnection*>> placed;
    for (const ConnectionRecord& c : content.connections) {
        bool sourceOutside = false, targetOutside = false;
        BlockPinInstance* source = pinOf(c.source, sourceOutside);
        BlockPinInstance* target = pinOf(c.target, targetOutside);
        if (sourceOutside || targetOutside || (!source && !target))
            continue;
        bool exists = false;
        for (const BlockPinConnection* other : m_pinConnections.values(source ? source : target)) {
            if (other->source() == source && other->target() == target) {
                exists = true;
                break;
            }
        }
        if (exists)
            continue;
        BlockPinConnection* added = addConnection(source, target, c.nodes);
        if (!freshIdentifiers && c.place)
            placed.append({c.place, added});
    }
    putAtPlaces(m_connections, connectionsBefore, placed);

    if (!freshIdentifiers) {
        for (const SignalLabelRecord& l : content.labels) {
            BlockInstanceHierarchyNode* node = nullptr;
            for (BlockInstanceHierarchyNode* candidate : std::as_const(m_nodes)) {
                if (candidate->locationPath() == l.node) {
                    node = candidate;
                    break;
                }
            }
            if (!node || !m_index.contains(l.instance) || !node->signalLabels(l.instance, l.pin).isEmpty())
                continue;
            l.createOn(node, node->signalLabel(l.id) ? 0 : l.id);
        }
    }
    notifyChanged();
    blockChangeSignals(wasBlocked);
    if (!wasBlocked)
        sendBlockedChangeSignal();
    return restored;
}

QList<unsigned int> BlockCode::restoreCode(const QByteArray& text, bool freshIdentifiers)
{
    CodeText::Content content;
    if (!CodeText::parse(text, content)) {
        System::addCriticalMessage(tr("Bausteincode"), tr("Der Text des Bausteincodes ist beschädigt und wurde nicht übernommen."));
        return {};
    }
    return applyText(content, freshIdentifiers);
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
        payload += CodeText::localBlockText(block->saveContents());
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
    CodeText::Content content;
    if (!CodeText::parse(payload.mid(kTransferHeader.size()), content)) {
        System::addCriticalMessage(tr("Bausteincode"), tr("Die Daten in der Zwischenablage sind beschädigt und wurden nicht eingefügt."));
        return {};
    }
    // Validate the carried blocks before anything is inserted.
    QList<Block*> blocks;
    for (const QByteArray& contents : std::as_const(content.localBlocks)) {
        const QJsonDocument doc = QJsonDocument::fromJson(contents);
        const QString identifier = doc.object().value(JsonKey::Identifier).toString();
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
    return self->applyText(content, true);
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
