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
#include "SignalLabelItem.h"
#include "TextBlockItem.h"

#include <QClipboard>
#include <QGraphicsRectItem>
#include <QGuiApplication>
#include <QHash>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMimeData>
#include <QPen>
#include <QPointer>
#include <QTransform>

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

    BlockCodeScene* q;
    QList<BlockItem*> pendingDeleteItems;
    QGraphicsRectItem* background = nullptr;
    // Connection items look up the block of each pin end. A scan of all items per look-up would make
    // a rebuild quadratic in the number of blocks, so the block items of this scene are also kept
    // here by identifier and by instance; a look-up with several candidates falls back to the scan,
    // so the front-most item wins exactly as the scan would have it.
    QMultiHash<unsigned int, BlockItem*> byIdentifier;
    QMultiHash<const BlockInstance*, BlockItem*> byInstance;
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
    d->background->setZValue(-10000);
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
}

void BlockCodeScene::unregisterBlockItem(BlockItem* item, const BlockInstance* instance)
{
    d->byIdentifier.remove(item->identifier(), item);
    d->byInstance.remove(instance, item);
    d->pendingDeleteItems.removeAll(item);
}

QGraphicsRectItem* BlockCodeScene::backgroundItem() const
{
    return d->background;
}

QList<BlockItem*> BlockCodeScene::pendingDeleteItems() const
{
    return d->pendingDeleteItems;
}

BlockInstanceArea* BlockCodeScene::sceneArea() const
{
    if (BlockInstanceHierarchyNode* node = hierarchyNode()) {
        BlockInstanceHierarchy* hierarchy = node->hierarchy();
        return hierarchy ? hierarchy->area() : nullptr;
    }
    return instanceArea();
}

void BlockCodeScene::rebuild()
{
    BlockCode* code = blockCode();
    if (!code)
        return;
    // Items write positions back into the model while they follow it; the scene must not hear its
    // own writes as changes.
    const bool saved = code->blockChangeSignals(true);

    if (BlockInstanceArea* area = instanceArea()) {
        code->updateVariantPins(area);
    } else if (BlockInstanceHierarchyNode* node = hierarchyNode()) {
        BlockInstanceHierarchy* hierarchy = node->hierarchy();
        if (BlockInstanceArea* nodeArea = hierarchy ? hierarchy->area() : nullptr)
            code->updateVariantPins(nodeArea);
    }

    QMap<unsigned int, BlockItem*> oldBlocks = blockItemMap();
    QMultiMap<BlockPinConnection*, ConnectionItem*> oldConnections = connectionItemMap();
    const QList<BlockInstance*> instances = code->instances();
    const QList<BlockPinConnection*> connections = code->connections();

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
        for (BlockItem* item : std::as_const(oldBlocks))
            delete item;
        const QList<BlockItem*> pending = d->pendingDeleteItems;
        d->pendingDeleteItems.clear();
        for (BlockItem* item : pending)
            delete item;
    }

    // Blocks first: a connection item finds its ends among the pin items made above.
    for (BlockPinConnection* connection : connections) {
        auto it = oldConnections.find(connection);
        if (it != oldConnections.end()) {
            ConnectionItem* item = it.value();
            oldConnections.erase(it);
            item->updateFromConnection();
        } else {
            auto* item = new ConnectionItem(this);
            item->setConnection(connection);
        }
    }
    for (ConnectionItem* item : std::as_const(oldConnections))
        delete item;

    QGraphicsScene::update(QRectF());
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
    const QList<BlockItem*> candidates = d->byIdentifier.values(identifier);
    if (candidates.size() <= 1)
        return candidates.value(0);
    return d->frontMost([identifier](BlockItem* item) { return item->identifier() == identifier; });
}

BlockItem* BlockCodeScene::blockItemOf(BlockInstance* pInstance)
{
    // An item whose instance died matches null; the index cannot know which items those are.
    if (!pInstance)
        return d->frontMost([](BlockItem* item) { return item->blockInstance() == nullptr; });
    QList<BlockItem*> candidates = d->byInstance.values(pInstance);
    // A key may be the address of a dead instance that a new one now occupies.
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
    return block ? block->pinItem(pPin->identifier()) : nullptr;
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
    // The selection is usually small: look at the selected items first and order them by the full
    // list only when there is an order to keep.
    const QList<QGraphicsItem*> selected = selectedItems();
    for (QGraphicsItem* item : selected) {
        if (auto* block = dynamic_cast<BlockItem*>(item))
            result.append(block);
    }
    if (result.size() <= 1)
        return result;
    result.clear();
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
    BlockItem* found = nullptr;
    const QList<QGraphicsItem*> selected = selectedItems();
    for (QGraphicsItem* item : selected) {
        if (auto* block = dynamic_cast<BlockItem*>(item)) {
            if (found)
                return nullptr;
            found = block;
        }
    }
    return found;
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
    QList<unsigned int> identifiers;
    const QList<BlockItem*> selected = selectedBlockItems();
    identifiers.reserve(selected.size());
    for (BlockItem* item : selected)
        identifiers.append(item->identifier());
    QMimeData* data = blockCode()->createTransferData(identifiers);
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
    Q_EMIT stepInAllowedChanged(stepInAllowed());
}
