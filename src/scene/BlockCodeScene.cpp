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
#include "SceneItemIndex.h"
#include "SceneMetrics.h"
#include "SceneRebuild.h"
#include "SignalLabelHostItem.h"
#include "SignalLabelItem.h"
#include "TextBlockItem.h"
#include "ToolkitWorkarounds.h"

#include <QClipboard>
#include <QGraphicsRectItem>
#include <QGuiApplication>
#include <QHash>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMetaObject>
#include <QMimeData>
#include <QPen>
#include <QSet>
#include <QTransform>

#include <algorithm>
#include <utility>

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

    // What blockItemMap() answers, by hash: one item per identifier, the back-most of several.
    QHash<unsigned int, BlockItem*> blockItemsByIdentifier() const
    {
        if (!index.byIdentifier().anyShared())
            return index.byIdentifier().firsts();
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
        result.reserve(index.connections().size());
        bool shared = false;
        for (ConnectionItem* item : index.connections()) {
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
    QGraphicsRectItem* background = nullptr;
    SceneItemIndex index;
    ToolkitWorkarounds::ScenePositionWalkPause walkPause;
    SceneRebuild* running = nullptr;
};

BlockCodeScene::BlockCodeScene(QObject* parent)
    : QGraphicsScene(parent)
    , d(new BlockCodeScenePrivate(this))
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
    d->index.pendingDelete().clear();
}

SceneItemIndex& BlockCodeScene::itemIndex()
{
    return d->index;
}

ToolkitWorkarounds::ScenePositionWalkPause& BlockCodeScene::scenePositionWalkPause()
{
    return d->walkPause;
}

SceneRebuild* BlockCodeScene::runningRebuild() const
{
    return d->running;
}

bool BlockCodeScene::selectionHoldsOtherThanNodes()
{
    // A selected block answers at once; that spares the scan while blocks of a large selection
    // go one by one (a scene torn down), each of which would call for it anew.
    if (!d->index.selectedBlocks().isEmpty())
        return true;
    if (!d->index.otherThanNodesKnown()) {
        const QList<QGraphicsItem*> selected = selectedItems();
        const bool other = std::any_of(selected.cbegin(), selected.cend(), [](QGraphicsItem* item) {
            return !dynamic_cast<ConnectionNodeItem*>(item);
        });
        d->index.setOtherThanNodesSelected(other);
    }
    return d->index.otherThanNodesSelected();
}

QGraphicsRectItem* BlockCodeScene::backgroundItem() const
{
    return d->background;
}

QList<BlockItem*> BlockCodeScene::pendingDeleteItems() const
{
    return d->index.pendingDelete();
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
    d->walkPause.resume();
    BlockCode* code = blockCode();
    if (!code)
        return;
    // Items write positions back into the model while they follow it; the scene must not hear its
    // own writes as changes.
    const bool saved = code->blockChangeSignals(true);
    // The whole scene is drawn anew after a rebuild: asked for first, it spares the toolkit
    // collecting the area of every item made or changed on the way.
    QGraphicsScene::update(QRectF());

    if (BlockInstanceArea* area = instanceArea()) {
        code->updateVariantPins(area);
    } else if (BlockInstanceArea* nodeArea = areaOf(hierarchyNode())) {
        code->updateVariantPins(nodeArea);
    }

    QHash<unsigned int, BlockItem*> oldBlocks = d->blockItemsByIdentifier();
    const QList<BlockInstance*> instances = code->instances();
    const QList<BlockPinConnection*> connections = code->connections();
    if (oldBlocks.isEmpty())
        ToolkitWorkarounds::gatherGuards(instances, connections);
    SceneRebuild run;
    SceneRebuild* const outer = std::exchange(d->running, &run);
    QList<BlockItem*>& pendingDelete = d->index.pendingDelete();

    for (BlockInstance* instance : instances) {
        BlockItem* existing = oldBlocks.take(instance->identifier());
        if (existing && existing->blockInstance() == instance) {
            existing->updateFromInstance();
            continue;
        }
        if (existing && !pendingDelete.contains(existing))
            pendingDelete.append(existing);
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
        const QList<BlockItem*> pending = std::exchange(pendingDelete, {});
        for (BlockItem* item : pending)
            delete item;
    }

    // Blocks first: a connection item finds its ends among the pin items made above. The blocks
    // leave the connection items alone, so they are paired now, next to their use.
    QList<ConnectionItem*> leftOver;
    QHash<BlockPinConnection*, ConnectionItem*> oldConnections = d->connectionItemsByConnection(&leftOver);
    run.settleBlocks();
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

    d->running = outer;
    QGraphicsScene::update(QRectF());
    d->walkPause.resume();
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
    const SceneItemIndex::Blocks<unsigned int>& byIdentifier = d->index.byIdentifier();
    if (!byIdentifier.isShared(identifier))
        return byIdentifier.first(identifier);
    return d->frontMost([identifier](BlockItem* item) { return item->identifier() == identifier; });
}

BlockItem* BlockCodeScene::blockItemOf(BlockInstance* pInstance)
{
    // An item whose instance died matches null; the index cannot know which items those are.
    if (!pInstance)
        return d->frontMost([](BlockItem* item) { return item->blockInstance() == nullptr; });
    const SceneItemIndex::Blocks<const BlockInstance*>& byInstance = d->index.byInstance();
    if (!byInstance.isShared(pInstance)) {
        BlockItem* item = byInstance.first(pInstance);
        // A key may be the address of a dead instance that a new one now occupies; while a
        // rebuild pairs its connections, the only item of a living instance is its own.
        if (!item || (d->running && d->running->blocksSettled()) || item->blockInstance() == pInstance)
            return item;
        return nullptr;
    }
    QList<BlockItem*> candidates = byInstance.all(pInstance);
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
    return block ? block->indexedPinItem(pPin->identifier(), d->running && d->running->blocksSettled()) : nullptr;
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
    if (!d->index.byIdentifier().anyShared()) {
        const QHash<unsigned int, BlockItem*>& firsts = d->index.byIdentifier().firsts();
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
    const QSet<BlockItem*>& selectedBlocks = d->index.selectedBlocks();
    if (selectedBlocks.size() <= 1)
        return QList<BlockItem*>(selectedBlocks.cbegin(), selectedBlocks.cend());
    QSet<QGraphicsItem*> wanted;
    wanted.reserve(selectedBlocks.size());
    for (BlockItem* block : selectedBlocks) {
        if (block->isSelected())
            wanted.insert(block);
    }
    const QList<QGraphicsItem*> ordered = inSceneOrder(wanted);
    result.reserve(ordered.size());
    for (QGraphicsItem* item : ordered)
        result.append(static_cast<BlockItem*>(item));
    return result;
}

QList<ConnectionItem*> BlockCodeScene::selectedConnectionItems()
{
    QList<ConnectionItem*> result;
    QSet<QGraphicsItem*> wanted;
    for (ConnectionItem* connection : d->index.connections()) {
        if (connection->isAnySelected())
            wanted.insert(connection);
    }
    if (wanted.isEmpty())
        return result;
    const QList<QGraphicsItem*> ordered = inSceneOrder(wanted);
    result.reserve(ordered.size());
    for (QGraphicsItem* item : ordered)
        result.append(static_cast<ConnectionItem*>(item));
    return result;
}

QList<QGraphicsItem*> BlockCodeScene::inSceneOrder(const QSet<QGraphicsItem*>& wanted) const
{
    QList<QGraphicsItem*> ordered;
    if (wanted.isEmpty())
        return ordered;
    ordered.reserve(wanted.size());
    // A look-up in the set costs less than a run-time type test of every item of the scene.
    const QList<QGraphicsItem*> all = items(Qt::DescendingOrder);
    for (QGraphicsItem* item : all) {
        if (wanted.contains(item))
            ordered.append(item);
    }
    return ordered;
}

BlockItem* BlockCodeScene::selectedBlockItem()
{
    const QSet<BlockItem*>& selectedBlocks = d->index.selectedBlocks();
    return selectedBlocks.size() == 1 ? *selectedBlocks.cbegin() : nullptr;
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
    d->index.selectionChanged();
    Q_EMIT stepInAllowedChanged(stepInAllowed());
}
