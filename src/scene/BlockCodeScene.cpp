#include "BlockCodeScene.h"

#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "BlockRepository.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "Locator.h"
#include "MagicBlockItem.h"
#include "ModelEnums.h"
#include "PinBlockItem.h"
#include "SceneMetrics.h"
#include "SignalLabelHostItem.h"
#include "SignalLabelItem.h"
#include "TextBlockItem.h"

#include <QClipboard>
#include <QGraphicsRectItem>
#include <QGuiApplication>
#include <QHash>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMetaObject>
#include <QMimeData>
#include <QPen>
#include <QPointer>
#include <QSet>
#include <QTransform>

namespace {

// Block items by a key that almost always has one item: a plain hash for the first item of each
// key, and the rare further items of a key beside it.
template <typename Key>
class BlockItemIndex
{
public:
    void insert(Key key, BlockItem* item)
    {
        if (m_first.contains(key))
            m_more.insert(key, item);
        else
            m_first.insert(key, item);
    }

    void remove(Key key, BlockItem* item)
    {
        auto it = m_first.find(key);
        if (it != m_first.end() && it.value() == item) {
            auto more = m_more.find(key);
            if (more != m_more.end()) {
                it.value() = more.value();
                m_more.erase(more);
            } else {
                m_first.erase(it);
            }
        } else {
            m_more.remove(key, item);
        }
    }

    bool isShared(Key key) const { return m_more.contains(key); }
    bool anyShared() const { return !m_more.isEmpty(); }
    BlockItem* first(Key key) const { return m_first.value(key); }
    const QHash<Key, BlockItem*>& firsts() const { return m_first; }

    QList<BlockItem*> all(Key key) const
    {
        QList<BlockItem*> items;
        if (BlockItem* item = m_first.value(key))
            items.append(item);
        for (auto it = m_more.constFind(key); it != m_more.cend() && it.key() == key; ++it)
            items.append(it.value());
        return items;
    }

private:
    QHash<Key, BlockItem*> m_first;
    QMultiHash<Key, BlockItem*> m_more;
};

} // namespace

class BlockCodeScenePrivate
{
public:
    explicit BlockCodeScenePrivate(BlockCodeScene* scene)
        : q(scene)
    {
    }

    // The front-most of several block items, as the scene's own stacking order has it.
    template <typename Match>
    BlockItem* frontMost(Match match) const
    {
        const QList<QGraphicsItem*> all = q->items(Qt::DescendingOrder);
        for (QGraphicsItem* item : all) {
            auto* block = dynamic_cast<BlockItem*>(item);
            if (block && match(block))
                return block;
        }
        return nullptr;
    }

    template <typename Wanted>
    Wanted* firstVisibleAt(QPointF scenePos) const
    {
        const QList<QGraphicsItem*> hits =
            q->items(scenePos, Qt::IntersectsItemShape, Qt::DescendingOrder, QTransform());
        for (QGraphicsItem* item : hits) {
            if (!item->isVisible())
                continue;
            if (auto* wanted = dynamic_cast<Wanted*>(item))
                return wanted;
        }
        return nullptr;
    }

    // Items hold the model's objects through guarded pointers, and every update asks each guard
    // whether its object still lives. The toolkit gives each object its guard block when the
    // first guarded pointer to it is made; made here, in one go for the whole code before the
    // items exist, the blocks lie together in memory instead of scattered between the items, and
    // an update walks them in order instead of missing the cache at every one.
    static void gatherGuards(const QList<BlockInstance*>& instances, const QList<BlockPinConnection*>& connections)
    {
        for (BlockInstance* instance : instances) {
            const QPointer<QObject> guard(instance);
            const QList<BlockPinInstance*> pins = instance->pins();
            for (BlockPinInstance* pin : pins)
                const QPointer<QObject> pinGuard(pin);
        }
        for (BlockPinConnection* connection : connections)
            const QPointer<QObject> guard(connection);
    }

    // What blockItemMap() answers, by hash: one item per identifier, the back-most of several.
    QHash<unsigned int, BlockItem*> blockItemsByIdentifier() const
    {
        if (!byIdentifier.anyShared())
            return byIdentifier.firsts();
        QHash<unsigned int, BlockItem*> result;
        const QMap<unsigned int, BlockItem*> map = q->blockItemMap();
        for (auto m = map.cbegin(); m != map.cend(); ++m)
            result.insert(m.key(), m.value());
        return result;
    }

    // The connection items by the connection they show. An item whose connection is gone, or a
    // second item of one connection, goes to `leftOver`; of several items of one connection the
    // back-most is paired, as in connectionItemMap().
    QHash<BlockPinConnection*, ConnectionItem*> connectionItemsByConnection(QList<ConnectionItem*>* leftOver) const
    {
        QHash<BlockPinConnection*, ConnectionItem*> result;
        result.reserve(connectionItems.size());
        bool shared = false;
        for (ConnectionItem* item : connectionItems) {
            BlockPinConnection* connection = item->pinConnection();
            if (!connection) {
                leftOver->append(item);
                continue;
            }
            ConnectionItem*& slot = result[connection];
            if (slot)
                shared = true;
            slot = item;
        }
        if (!shared)
            return result;
        result.clear();
        leftOver->clear();
        const QMultiMap<BlockPinConnection*, ConnectionItem*> map = q->connectionItemMap();
        for (auto it = map.cbegin(), end = map.cend(); it != end; ++it) {
            if (it.key() && !result.contains(it.key()))
                result.insert(it.key(), it.value());
            else
                leftOver->append(it.value());
        }
        return result;
    }

    BlockCodeScene* q;
    QList<BlockItem*> pendingDeleteItems;
    QGraphicsRectItem* background = nullptr;
    // Connection items look up the block of each pin end. A scan of all items per look-up would make
    // a rebuild quadratic in the number of blocks, so the block items of this scene are also kept
    // here by identifier and by instance; a look-up with several candidates falls back to the scan,
    // so the front-most item wins exactly as the scan would have it.
    BlockItemIndex<unsigned int> byIdentifier;
    BlockItemIndex<const BlockInstance*> byInstance;
    // The connection items of this scene. A rebuild pairs each connection of the code with its
    // item; sorting all items of the scene for that would cost more than the rest of an update.
    QSet<ConnectionItem*> connectionItems;
    // The selected block items of this scene, kept in step by the items' own selection changes.
    // The scene announces every single change (a select-all announces each item), and a scan of
    // the selection per announcement would make selecting everything quadratic.
    QSet<BlockItem*> selectedBlocks;
    // Whether some selected item is not a connection node: -1 until asked after the last change
    // of the selection. Each moving node asks; selectionChanged() announces every change.
    int otherThanNodesSelected = -1;
    // The host taken out of the toolkit's list of scene position followers for a move, and whether
    // a queued call to put it back is on its way.
    QPointer<SignalLabelHostItem> suspendedHost;
    bool resumeQueued = false;
    // While a rebuild runs: it repaints the whole scene at its end, so single items need not ask
    // for it; and tool tip texts of definitions, as the model can't change meanwhile.
    bool rebuilding = false;
    QHash<const BlockDefinition*, QString> definitionToolTips;
    // While a rebuild pairs the connections: every instance of the code has its item, and every
    // item of a living instance has its pins from this very update. An instance's only item is
    // then its own, and a pin index can't hold a pin that went.
    bool blocksSettled = false;
};

BlockCodeScene::BlockCodeScene(QObject* parent)
    : QGraphicsScene(parent)
    , d(std::make_unique<BlockCodeScenePrivate>(this))
{
    setSceneRect(SceneOrigin, SceneOrigin, SceneExtent, SceneExtent);
    // Scenes are rebuilt and repainted often; a spatial index would cost more than it saves.
    setItemIndexMethod(QGraphicsScene::NoIndex);
    d->background = new QGraphicsRectItem(0, 0, SceneExtent, SceneExtent);
    d->background->setPen(QPen(QColor(0, 0, 0, 0)));
    d->background->setBrush(Qt::NoBrush);
    d->background->setZValue(SceneZ::Background);
    addItem(d->background);
    connect(this, &QGraphicsScene::selectionChanged, this, &BlockCodeScene::onSelectionChanged);
    installEventFilter(this);
}

BlockCodeScene::~BlockCodeScene()
{
    // The base class deletes the items after this class is gone; a selected item that dies then
    // must not reach this class's slot.
    disconnect(this, &QGraphicsScene::selectionChanged, this, &BlockCodeScene::onSelectionChanged);
    // Pending items are still scene items: the base class deletes them with all others.
    d->pendingDeleteItems.clear();
}

void BlockCodeScene::registerBlockItem(BlockItem* item)
{
    d->byIdentifier.insert(item->identifier(), item);
    d->byInstance.insert(item->blockInstance(), item);
    if (item->isSelected()) {
        d->selectedBlocks.insert(item);
        d->otherThanNodesSelected = -1;
    }
}

void BlockCodeScene::unregisterBlockItem(BlockItem* item, const BlockInstance* instance)
{
    d->byIdentifier.remove(item->identifier(), item);
    d->byInstance.remove(instance, item);
    if (d->selectedBlocks.remove(item))
        d->otherThanNodesSelected = -1;
    d->pendingDeleteItems.removeAll(item);
}

void BlockCodeScene::blockItemSelectionChanging(BlockItem* item, bool selected)
{
    // Called before the scene announces the change, so that the announcement finds it done.
    if (selected)
        d->selectedBlocks.insert(item);
    else
        d->selectedBlocks.remove(item);
    d->otherThanNodesSelected = -1;
}

void BlockCodeScene::registerConnectionItem(ConnectionItem* item)
{
    d->connectionItems.insert(item);
}

void BlockCodeScene::unregisterConnectionItem(ConnectionItem* item)
{
    d->connectionItems.remove(item);
}

void BlockCodeScene::suspendScenePositionWalk(SignalLabelHostItem* standIn)
{
    resumeScenePositionWalk();
    d->suspendedHost = standIn;
    standIn->setFlag(QGraphicsItem::ItemSendsScenePositionChanges, false);
    // Whoever blocked the signals may return to the event loop without an update.
    if (!d->resumeQueued) {
        d->resumeQueued = true;
        QMetaObject::invokeMethod(this, [this]() {
            d->resumeQueued = false;
            resumeScenePositionWalk();
        }, Qt::QueuedConnection);
    }
}

QString BlockCodeScene::definitionToolTip(const BlockDefinition* definition)
{
    if (!definition)
        return QString();
    if (!d->rebuilding)
        return definition->toolTipText();
    auto it = d->definitionToolTips.find(definition);
    if (it == d->definitionToolTips.end())
        it = d->definitionToolTips.insert(definition, definition->toolTipText());
    return it.value();
}

bool BlockCodeScene::repaintsWhole() const
{
    return d->rebuilding;
}

SignalLabelHostItem* BlockCodeScene::suspendedScenePositionWalk() const
{
    return d->suspendedHost.data();
}

void BlockCodeScene::resumeScenePositionWalk()
{
    if (!d->suspendedHost)
        return;
    SignalLabelHostItem* host = d->suspendedHost.data();
    d->suspendedHost = nullptr;
    host->setFlag(QGraphicsItem::ItemSendsScenePositionChanges, true);
}

bool BlockCodeScene::selectionHoldsOtherThanNodes()
{
    // A selected block answers at once; that spares the scan while blocks of a large selection
    // go one by one (a scene torn down), each of which would call for it anew.
    if (!d->selectedBlocks.isEmpty())
        return true;
    if (d->otherThanNodesSelected < 0) {
        d->otherThanNodesSelected = 0;
        const QList<QGraphicsItem*> selected = selectedItems();
        for (QGraphicsItem* item : selected) {
            if (!dynamic_cast<ConnectionNodeItem*>(item)) {
                d->otherThanNodesSelected = 1;
                break;
            }
        }
    }
    return d->otherThanNodesSelected == 1;
}

QGraphicsRectItem* BlockCodeScene::backgroundItem() const
{
    return d->background;
}

QList<BlockItem*> BlockCodeScene::pendingDeleteItems() const
{
    return d->pendingDeleteItems;
}

BlockInstanceArea* BlockCodeScene::areaOf(const BlockInstanceHierarchyNode* pNode)
{
    BlockInstanceHierarchy* hierarchy = pNode ? pNode->hierarchy() : nullptr;
    return hierarchy ? hierarchy->area() : nullptr;
}

BlockInstanceArea* BlockCodeScene::sceneArea() const
{
    if (BlockInstanceHierarchyNode* node = hierarchyNode())
        return areaOf(node);
    return instanceArea();
}

void BlockCodeScene::rebuild()
{
    resumeScenePositionWalk();
    BlockCode* code = blockCode();
    if (!code)
        return;
    // Items write positions back into the model while they follow it; the scene must not hear its
    // own writes as changes.
    const bool saved = code->blockChangeSignals(true);

    if (BlockInstanceArea* area = instanceArea()) {
        code->updateVariantPins(area);
    } else if (BlockInstanceArea* nodeArea = areaOf(hierarchyNode())) {
        code->updateVariantPins(nodeArea);
    }

    QHash<unsigned int, BlockItem*> oldBlocks = d->blockItemsByIdentifier();
    const QList<BlockInstance*> instances = code->instances();
    const QList<BlockPinConnection*> connections = code->connections();
    if (oldBlocks.isEmpty())
        d->gatherGuards(instances, connections);
    d->rebuilding = true;

    for (BlockInstance* instance : instances) {
        BlockItem* existing = oldBlocks.take(instance->identifier());
        if (existing && existing->blockInstance() == instance) {
            existing->updateFromInstance();
            continue;
        }
        if (existing && !d->pendingDeleteItems.contains(existing))
            d->pendingDeleteItems.append(existing);
        switch (instance->blockType()) {
        case BlockTypeText:
            new TextBlockItem(this, instance);
            break;
        case BlockTypePin:
            new PinBlockItem(this, instance);
            break;
        case BlockTypeMagic:
            new MagicBlockItem(this, instance);
            break;
        default:
            new BlockItem(this, instance);
            break;
        }
    }

    // A replaced item may be the one under the mouse of an inactive view, in the middle of its own
    // event: it goes only when the scene is active.
    if (isActive()) {
        // In the order of identifiers, as a map by identifier would have it.
        QList<unsigned int> gone = oldBlocks.keys();
        std::sort(gone.begin(), gone.end());
        for (unsigned int identifier : std::as_const(gone))
            delete oldBlocks.value(identifier);
        const QList<BlockItem*> pending = d->pendingDeleteItems;
        d->pendingDeleteItems.clear();
        for (BlockItem* item : pending)
            delete item;
    }

    // Blocks first: a connection item finds its ends among the pin items made above. The blocks
    // leave the connection items alone, so they are paired now, next to their use.
    QList<ConnectionItem*> leftOver;
    QHash<BlockPinConnection*, ConnectionItem*> oldConnections = d->connectionItemsByConnection(&leftOver);
    d->blocksSettled = true;
    for (BlockPinConnection* connection : connections) {
        if (ConnectionItem* existing = oldConnections.take(connection)) {
            existing->updateFromConnection();
        } else {
            auto* item = new ConnectionItem(this);
            item->setConnection(connection);
        }
    }
    for (ConnectionItem* item : std::as_const(oldConnections))
        delete item;
    qDeleteAll(leftOver);

    d->rebuilding = false;
    d->blocksSettled = false;
    d->definitionToolTips.clear();
    QGraphicsScene::update(QRectF());
    resumeScenePositionWalk();
    code->blockChangeSignals(saved);
}

void BlockCodeScene::showBlockProperties()
{
    BlockCode* code = blockCode();
    BlockDefinition* definition = code ? code->blockDefinition() : nullptr;
    if (!definition)
        return;
    if (BlockItem* item = selectedBlockItem()) {
        item->showPropertiesView();
        return;
    }
    bool readOnly = isReadOnly();
    if (BlockInstanceHierarchyNode* node = hierarchyNode()) {
        // Only nodes from the third level down may change their definition's properties here.
        const Locator locator(node->locationPath());
        readOnly = locator.countHierarchyLevels() < 3;
    }
    definition->showPropertiesView(readOnly, 0);
}

void BlockCodeScene::updateRequired()
{
    rebuild();
}

BlockItem* BlockCodeScene::blockItem(unsigned int identifier)
{
    if (!d->byIdentifier.isShared(identifier))
        return d->byIdentifier.first(identifier);
    return d->frontMost([identifier](BlockItem* item) { return item->identifier() == identifier; });
}

BlockItem* BlockCodeScene::blockItemOf(BlockInstance* pInstance)
{
    // An item whose instance died matches null; the index cannot know which items those are.
    if (!pInstance)
        return d->frontMost([](BlockItem* item) { return item->blockInstance() == nullptr; });
    if (!d->byInstance.isShared(pInstance)) {
        BlockItem* item = d->byInstance.first(pInstance);
        // A key may be the address of a dead instance that a new one now occupies; while a
        // rebuild pairs its connections, the only item of a living instance is its own.
        if (!item || d->blocksSettled || item->blockInstance() == pInstance)
            return item;
        return nullptr;
    }
    QList<BlockItem*> candidates = d->byInstance.all(pInstance);
    candidates.erase(std::remove_if(candidates.begin(), candidates.end(),
                                    [pInstance](BlockItem* item) { return item->blockInstance() != pInstance; }),
                     candidates.end());
    if (candidates.size() <= 1)
        return candidates.value(0);
    return d->frontMost([pInstance](BlockItem* item) { return item->blockInstance() == pInstance; });
}

BlockPinItem* BlockCodeScene::pinItemOf(BlockPinInstance* pPin)
{
    if (!pPin)
        return nullptr;
    BlockItem* block = blockItemOf(pPin->owner());
    // While a rebuild pairs its connections, the block has just read its pins.
    return block ? block->indexedPinItem(pPin->identifier(), d->blocksSettled) : nullptr;
}

BlockItem* BlockCodeScene::blockItemAt(QPointF scenePos)
{
    const QList<QGraphicsItem*> hits = items(scenePos, Qt::IntersectsItemShape, Qt::DescendingOrder, QTransform());
    for (QGraphicsItem* item : hits) {
        if (auto* block = dynamic_cast<BlockItem*>(item))
            return block;
    }
    return nullptr;
}

BlockPinItem* BlockCodeScene::pinItemAt(QPointF scenePos)
{
    return d->firstVisibleAt<BlockPinItem>(scenePos);
}

ConnectionItem* BlockCodeScene::connectionItemAt(QPointF scenePos)
{
    return d->firstVisibleAt<ConnectionItem>(scenePos);
}

ConnectionNodeItem* BlockCodeScene::connectionNodeItemAt(QPointF scenePos)
{
    return d->firstVisibleAt<ConnectionNodeItem>(scenePos);
}

SignalLabelItem* BlockCodeScene::signalLabelItemAt(QPointF scenePos)
{
    return d->firstVisibleAt<SignalLabelItem>(scenePos);
}

QMap<unsigned int, BlockItem*> BlockCodeScene::blockItemMap()
{
    QMap<unsigned int, BlockItem*> map;
    // With one item per identifier the stacking order decides nothing, and the index answers.
    if (!d->byIdentifier.anyShared()) {
        const QHash<unsigned int, BlockItem*>& firsts = d->byIdentifier.firsts();
        for (auto it = firsts.cbegin(), end = firsts.cend(); it != end; ++it)
            map.insert(it.key(), it.value());
        return map;
    }
    const QList<QGraphicsItem*> all = items(Qt::DescendingOrder);
    for (QGraphicsItem* item : all) {
        if (auto* block = dynamic_cast<BlockItem*>(item))
            map.insert(block->identifier(), block);
    }
    return map;
}

QMultiMap<BlockPinConnection*, ConnectionItem*> BlockCodeScene::connectionItemMap()
{
    QMultiMap<BlockPinConnection*, ConnectionItem*> map;
    const QList<QGraphicsItem*> all = items(Qt::DescendingOrder);
    for (QGraphicsItem* item : all) {
        if (auto* connection = dynamic_cast<ConnectionItem*>(item))
            map.insert(connection->pinConnection(), connection);
    }
    return map;
}

QList<BlockItem*> BlockCodeScene::selectedBlockItems()
{
    QList<BlockItem*> result;
    // Only a selection of several blocks has an order to keep, that of the full list.
    if (d->selectedBlocks.size() <= 1)
        return QList<BlockItem*>(d->selectedBlocks.cbegin(), d->selectedBlocks.cend());
    const QList<QGraphicsItem*> all = items(Qt::DescendingOrder);
    for (QGraphicsItem* item : all) {
        auto* block = dynamic_cast<BlockItem*>(item);
        if (block && block->isSelected())
            result.append(block);
    }
    return result;
}

QList<ConnectionItem*> BlockCodeScene::selectedConnectionItems()
{
    QList<ConnectionItem*> result;
    const QList<QGraphicsItem*> all = items(Qt::DescendingOrder);
    for (QGraphicsItem* item : all) {
        auto* connection = dynamic_cast<ConnectionItem*>(item);
        if (connection && connection->isAnySelected())
            result.append(connection);
    }
    return result;
}

BlockItem* BlockCodeScene::selectedBlockItem()
{
    return d->selectedBlocks.size() == 1 ? *d->selectedBlocks.cbegin() : nullptr;
}

void BlockCodeScene::selectAllItems()
{
    const QList<QGraphicsItem*> all = items(Qt::DescendingOrder);
    for (QGraphicsItem* item : all) {
        if (dynamic_cast<BlockItem*>(item) || dynamic_cast<ConnectionNodeItem*>(item))
            item->setSelected(true);
    }
}

bool BlockCodeScene::stepInAllowed()
{
    BlockItem* item = selectedBlockItem();
    return item && item->isStepInAllowed();
}

void BlockCodeScene::copyToClipboard()
{
    // The model may have deleted the code while a key or menu still reaches the scene; the
    // clipboard then keeps what the user had in it.
    BlockCode* code = blockCode();
    if (!code)
        return;
    QList<unsigned int> identifiers;
    const QList<BlockItem*> selected = selectedBlockItems();
    identifiers.reserve(selected.size());
    for (BlockItem* item : selected)
        identifiers.append(item->identifier());
    QMimeData* data = code->createTransferData(identifiers);
    QGuiApplication::clipboard()->setMimeData(data, QClipboard::Clipboard);
}

bool BlockCodeScene::eventFilter(QObject* watched, QEvent* event)
{
    Q_UNUSED(watched);
    if (event->type() != QEvent::KeyPress)
        return false;
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key != Qt::Key_F1 && key != Qt::Key_Help)
        return false;
    BlockItem* item = selectedBlockItem();
    BlockInstance* instance = item ? item->blockInstance() : nullptr;
    if (!instance)
        return false;
    return BlockRepository::instance().showBlockHelp(instance->blockDefinition());
}

void BlockCodeScene::keyPressEvent(QKeyEvent* event)
{
    bool copied = false;
    // Only the Control bit counts: Ctrl+Shift+C copies as well.
    if (event->key() == Qt::Key_C && (event->modifiers() & Qt::ControlModifier)) {
        copied = true;
        copyToClipboard();
    }
    if (event->matches(QKeySequence::SelectAll)) {
        // The connection lines follow their nodes into the selection; they aren't selected themselves.
        selectAllItems();
        event->accept();
        return;
    }
    event->setAccepted(copied);
    if (copied)
        return;
    QGraphicsScene::keyPressEvent(event);
}

void BlockCodeScene::onSelectionChanged()
{
    d->otherThanNodesSelected = -1;
    Q_EMIT stepInAllowedChanged(stepInAllowed());
}
