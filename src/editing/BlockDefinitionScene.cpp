#include "BlockDefinitionScene.h"

#include "AccessLevel.h"
#include "AddConnectionNodeCommand.h"
#include "AreaInfo.h"
#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "BlockRepository.h"
#include "ChangePropertiesCommand.h"
#include "ChangeRuntimeSequenceCommand.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "CreateBlockCommand.h"
#include "DeleteCommand.h"
#include "DropCommand.h"
#include "MoveCommand.h"
#include "ParameterContainer.h"
#include "ParameterCoordinate.h"
#include "ParameterDefinition.h"
#include "ParameterDefinitionLoader.h"
#include "PasteCommand.h"
#include "SceneItemIndex.h"
#include "SceneMetrics.h"
#include "System.h"

#include <QBrush>
#include <QByteArray>
#include <QColor>
#include <QDir>
#include <QFile>
#include <QGraphicsColorizeEffect>
#include <QGraphicsItemGroup>
#include <QGraphicsLineItem>
#include <QGraphicsRectItem>
#include <QGraphicsSceneDragDropEvent>
#include <QGraphicsSceneMouseEvent>
#include <QGraphicsSceneWheelEvent>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMetaObject>
#include <QMimeData>
#include <QPen>
#include <QPointer>
#include <QSet>
#include <QTransform>
#include <QUndoStack>
#include <QUndoView>

#include <cmath>

namespace {

// A drag below this distance is a slip of the hand, not a move the user wants to undo.
constexpr double MoveCommandThreshold = 30.0;
constexpr int UndoLimit = 10;
const char* const DefinitionMimeType = "zk6/blockdefinitionidentifier";

bool isFreeNode(QGraphicsItem* item)
{
    auto* node = dynamic_cast<ConnectionNodeItem*>(item);
    return node && !node->isPinNode();
}

} // namespace

class BlockDefinitionScenePrivate
{
public:
    explicit BlockDefinitionScenePrivate(BlockDefinitionScene* scene)
        : q(scene)
    {
    }

    QList<QGraphicsItem*> movableItems(const QList<QGraphicsItem*>& items) const;
    static void clampToOrigin(const QList<QGraphicsItem*>& items, double& dx, double& dy);
    bool moveItemsBy(double dx, double dy, const QList<QGraphicsItem*>& items);
    void deleteHighlight();
    // The block item of this very instance, null if the scene shows none.
    BlockItem* itemOf(BlockInstance* instance);

    BlockDefinitionScene* q;
    QUndoStack* undoStack = nullptr;
    QPointer<QUndoView> undoView;
    bool rubberBand = false;
    double accumulatedX = 0.0;
    double accumulatedY = 0.0;
    double dragStartX = 0.0;
    double dragStartY = 0.0;
    QGraphicsItem* dragItem = nullptr;
    QGraphicsItemGroup* grid = nullptr;
    QPointer<BlockInstanceHierarchyNode> hierarchyNode;
    QPointer<BlockInstanceArea> instanceArea;
    // Guarded: the effect belongs to the item it tints, and a rebuild may delete that item.
    QPointer<QGraphicsColorizeEffect> dropHighlight;
    QMetaObject::Connection codeConnection;
};

QList<QGraphicsItem*> BlockDefinitionScenePrivate::movableItems(const QList<QGraphicsItem*>& items) const
{
    // Nodes that sit on a pin move with their block, never by themselves.
    QList<QGraphicsItem*> result;
    for (QGraphicsItem* item : items) {
        if (dynamic_cast<BlockItem*>(item) || isFreeNode(item))
            result.append(item);
    }
    return result;
}

void BlockDefinitionScenePrivate::clampToOrigin(const QList<QGraphicsItem*>& items, double& dx, double& dy)
{
    if (items.isEmpty())
        return;
    double minX = items.first()->x();
    double minY = items.first()->y();
    for (QGraphicsItem* item : items) {
        minX = std::min(minX, item->x());
        minY = std::min(minY, item->y());
    }
    if (minX + dx < 0.0)
        dx = -minX;
    if (minY + dy < 0.0)
        dy = -minY;
}

bool BlockDefinitionScenePrivate::moveItemsBy(double dx, double dy, const QList<QGraphicsItem*>& items)
{
    BlockCode* code = q->blockCode();
    if (!code)
        return false;
    // Each item writes its position into the model as it moves; the scene hears of it once.
    const bool previous = code->blockChangeSignals(true);
    bool moved = false;
    QList<ConnectionItem*> routes;
    // Beside the list, which keeps the order: asking the list made a move of many nodes quadratic.
    QSet<ConnectionItem*> known;
    if (std::abs(dx) + std::abs(dy) > 0.0) {
        for (QGraphicsItem* item : items) {
            if (!q->isReadOnly()) {
                item->moveBy(dx, dy);
                moved = true;
                auto* node = dynamic_cast<ConnectionNodeItem*>(item);
                ConnectionItem* route = node ? node->connectionItem() : nullptr;
                if (route && !known.contains(route)) {
                    known.insert(route);
                    routes.append(route);
                }
            }
        }
    }
    // The node under the mouse keeps its new place to itself until the release, and the update that
    // follows re-reads every route from the model: without this it would jump back while the rest
    // of the group moves on.
    for (ConnectionItem* route : std::as_const(routes))
        route->saveNodePositions();
    code->blockChangeSignals(previous);
    code->sendBlockedChangeSignal();
    return moved;
}

void BlockDefinitionScenePrivate::deleteHighlight()
{
    // Deleting the effect takes it off its item as well.
    delete dropHighlight.data();
    dropHighlight = nullptr;
}

BlockDefinitionScene::BlockDefinitionScene(BlockCode* pCode)
    : BlockCodeScene(pCode)
    , d(new BlockDefinitionScenePrivate(this))
{
    d->undoStack = new QUndoStack(this);
    d->undoStack->setUndoLimit(UndoLimit);
}

BlockDefinitionScene* BlockDefinitionScene::forCode(BlockCode* pCode)
{
    if (!pCode)
        return nullptr;
    BlockDefinitionScene* scene = pCode->blockDefinitionScene();
    if (!scene) {
        scene = new BlockDefinitionScene(pCode);
        scene->d->codeConnection = connect(pCode, &BlockCode::changed, scene, &BlockCodeScene::updateRequired);
    }
    scene->rebuild();
    return scene;
}

BlockDefinitionScene::~BlockDefinitionScene()
{
    // Dying items write into the model and reach the scene through the virtual operations, which
    // end with this class: the items go while it still stands, and no model signal may come in.
    disconnect(d->codeConnection);
    if (d->undoView) {
        d->undoView->close();
        delete d->undoView.data();
    }
    d->deleteHighlight();
    clear();
    d->grid = nullptr;
    d->dragItem = nullptr;
}

bool BlockDefinitionScene::isDefinitionScene() const
{
    return true;
}

bool BlockDefinitionScene::isHierarchyNodeScene() const
{
    return false;
}

bool BlockDefinitionScene::isReadOnly() const
{
    return !d->grid || !d->grid->isVisible();
}

void BlockDefinitionScene::setReadOnly(bool value)
{
    showGrid(!value);
    Q_EMIT editModeChanged(!value);
}

BlockCode* BlockDefinitionScene::blockCode() const
{
    // While the code's QObject part deletes its children it is no code any more.
    return qobject_cast<BlockCode*>(parent());
}

BlockInstanceHierarchyNode* BlockDefinitionScene::hierarchyNode() const
{
    return d->hierarchyNode.data();
}

BlockInstanceArea* BlockDefinitionScene::instanceArea() const
{
    return d->instanceArea.data();
}

QUndoStack* BlockDefinitionScene::undoStack() const
{
    return d->undoStack;
}

void BlockDefinitionScene::clearUndoStack()
{
    d->undoStack->clear();
}

void BlockDefinitionScene::undo()
{
    d->undoStack->undo();
}

void BlockDefinitionScene::redo()
{
    d->undoStack->redo();
}

void BlockDefinitionScene::setHierarchyNode(BlockInstanceHierarchyNode* pNode)
{
    if (d->hierarchyNode == pNode)
        return;
    d->hierarchyNode = pNode;
    // The grid is the edit mode: whoever edits from the new place has to switch it on again. The
    // grid of the new place is drawn in the coarser step of a node when it comes back.
    delete d->grid;
    d->grid = nullptr;
}

void BlockDefinitionScene::setInstanceArea(BlockInstanceArea* pArea)
{
    d->instanceArea = pArea;
}

void BlockDefinitionScene::showGrid(bool show)
{
    if (!show) {
        if (d->grid)
            d->grid->hide();
        return;
    }
    if (d->grid) {
        d->grid->show();
        return;
    }

    QPen pen(QColor(175, 175, 175, 127));
    pen.setWidth(0);
    const QColor background(200, 200, 250, 50);
    double step = 4000.0;
    if (!hierarchyNode()) {
        step = 1000.0;
        auto* rect = new QGraphicsRectItem(0, 0, 1000000, 1000000);
        rect->setZValue(SceneZ::GridSheet);
        rect->setPen(pen);
        rect->setBrush(QBrush(background, Qt::SolidPattern));
        addItem(rect);
    }
    const double extent = std::ceil(1000000.0 / step) * step;

    d->grid = new QGraphicsItemGroup();
    for (double x = 0.0; x <= extent; x += step) {
        auto* line = new QGraphicsLineItem(x, 0.0, x, extent);
        line->setData(0, 0);
        line->setPen(pen);
        line->setZValue(SceneZ::Background);
        d->grid->addToGroup(line);
    }
    for (double y = 0.0; y <= extent; y += step) {
        auto* line = new QGraphicsLineItem(0.0, y, extent, y);
        line->setData(0, 0);
        line->setPen(pen);
        line->setZValue(SceneZ::Background);
        d->grid->addToGroup(line);
    }
    addItem(d->grid);
    d->grid->setZValue(SceneZ::Background);
    d->grid->setVisible(true);
}

void BlockDefinitionScene::cutToClipboard()
{
    copyToClipboard();
    if (!isReadOnly())
        d->undoStack->push(new DeleteCommand(this));
}

void BlockDefinitionScene::pasteFromClipboard()
{
    setReadOnly(false);
    if (!isReadOnly())
        d->undoStack->push(new PasteCommand(this));
}

bool BlockDefinitionScene::deleteSelectedItems()
{
    if (isReadOnly())
        return false;
    // Also with nothing selected: the entry on the stack shows that the key was taken.
    d->undoStack->push(new DeleteCommand(this));
    return true;
}

bool BlockDefinitionScene::showUndoView()
{
    if (!AccessLevel::reached(AccessLevel::UndoView))
        return false;
    if (!d->undoView) {
        // A window of its own, without parent: it floats beside whatever view edits this code.
        d->undoView = new QUndoView(d->undoStack);
        d->undoView->setWindowTitle(tr("Undo-Stack"));
    }
    d->undoView->show();
    return true;
}

BlockDefinition* BlockDefinitionScene::definitionFromMimeData(const QMimeData* pMimeData) const
{
    if (!pMimeData || !pMimeData->hasFormat(QString::fromLatin1(DefinitionMimeType)))
        return nullptr;
    const QList<QByteArray> parts = pMimeData->data(QString::fromLatin1(DefinitionMimeType)).split(';');
    if (parts.size() != 2)
        return nullptr;
    const QString identifier = QString::fromLatin1(parts.at(0));
    bool ok = false;
    const unsigned int version = parts.at(1).toUInt(&ok);
    if (!ok)
        return nullptr;
    return BlockRepository::instance().blockDefinition(identifier, version);
}

BlockInstance* BlockDefinitionScene::createBlockInstance(BlockDefinition* pDefinition, const QPointF& position)
{
    BlockCode* code = blockCode();
    if (!code || !pDefinition)
        return nullptr;
    BlockInstance* instance = code->createInstanceInRealtimeTask(pDefinition);
    if (!instance)
        return nullptr;
    instance->setPosition(position / ModelUnit);
    rebuild();
    return instance;
}

BlockPinConnection* BlockDefinitionScene::connectPins(BlockPinItem* pFirst, BlockPinItem* pSecond)
{
    if (!pFirst || !pSecond || pFirst == pSecond || !pFirst->isVisible() || !pSecond->isVisible())
        return nullptr;
    BlockCode* code = blockCode();
    if (!code)
        return nullptr;
    BlockPinConnection* connection = code->createConnection(pFirst->pinInstance(), pSecond->pinInstance());
    rebuild();
    return connection;
}

bool BlockDefinitionScene::moveItems(QList<QGraphicsItem*> items, double dx, double dy)
{
    if (std::abs(dx) + std::abs(dy) == 0.0)
        return false;
    const QList<QGraphicsItem*> movable = d->movableItems(items);
    if (movable.isEmpty())
        return false;
    BlockDefinitionScenePrivate::clampToOrigin(movable, dx, dy);
    QList<QGraphicsItem*> nodes;
    QList<QGraphicsItem*> blocks;
    for (QGraphicsItem* item : movable)
        (isFreeNode(item) ? nodes : blocks).append(item);
    const bool nodesMoved = d->moveItemsBy(dx, dy, nodes);
    const bool blocksMoved = d->moveItemsBy(dx, dy, blocks);
    return nodesMoved || blocksMoved;
}

QList<ConnectionNodeItem*> BlockDefinitionScene::connectionNodesOfSelection()
{
    QSet<const BlockInstance*> instances;
    const QList<BlockItem*> selected = selectedBlockItems();
    for (BlockItem* item : selected) {
        if (BlockInstance* instance = item->blockInstance())
            instances.insert(instance);
    }
    QList<ConnectionNodeItem*> result;
    if (instances.isEmpty())
        return result;
    // The routes come from the index and their ends are looked up in a set: asking every item of
    // the scene whether it is a node, and every node about every selected block, made a paste of
    // many blocks quadratic.
    QSet<QGraphicsItem*> corners;
    for (ConnectionItem* connectionItem : itemIndex().connections()) {
        const BlockPinConnection* connection = connectionItem->pinConnection();
        if (!connection)
            continue;
        const BlockPinInstance* source = connection->source();
        const BlockPinInstance* target = connection->target();
        // One selected end is enough: the corners travel with whatever part of the code is taken.
        if (!(source && instances.contains(source->owner())) && !(target && instances.contains(target->owner())))
            continue;
        const QList<ConnectionNodeItem*> nodes = connectionItem->allNodes();
        for (ConnectionNodeItem* node : nodes) {
            if (!connectionItem->isEndNode(node))
                corners.insert(node);
        }
    }
    const QList<QGraphicsItem*> ordered = inSceneOrder(corners);
    result.reserve(ordered.size());
    for (QGraphicsItem* item : ordered)
        result.append(static_cast<ConnectionNodeItem*>(item));
    return result;
}

BlockItem* BlockDefinitionScenePrivate::itemOf(BlockInstance* instance)
{
    if (!instance)
        return nullptr;
    // The index answers by identifier; an instance of another code may share it.
    BlockItem* item = q->blockItem(instance->identifier());
    return item && item->blockInstance() == instance ? item : nullptr;
}

void BlockDefinitionScene::pushPropertiesChange(BlockInstance* pInstance, const PropertiesChangeRecord& record)
{
    BlockItem* item = d->itemOf(pInstance);
    if (!item)
        return;
    d->undoStack->push(new ChangePropertiesCommand(this, item->scenePos(), record));
}

void BlockDefinitionScene::pushRuntimeSequenceChange(BlockInstance* pInstance, unsigned int oldRealtime,
                                                     unsigned int oldBackground)
{
    BlockItem* item = d->itemOf(pInstance);
    if (!item)
        return;
    auto* command = new ChangeRuntimeSequenceCommand(this, item->scenePos());
    command->setRuntimeSequence(pInstance, oldRealtime, oldBackground);
    d->undoStack->push(command);
}

void BlockDefinitionScene::onConnectionNodeAdded(ConnectionNodeItem* pNodeItem)
{
    if (isReadOnly() || !pNodeItem)
        return;
    d->undoStack->push(new AddConnectionNodeCommand(this, pNodeItem));
}

bool BlockDefinitionScene::moveSelectionByKey(int key)
{
    QList<QGraphicsItem*> list;
    const QList<QGraphicsItem*> selected = selectedItems();
    for (QGraphicsItem* item : selected) {
        if (dynamic_cast<BlockItem*>(item) || dynamic_cast<ConnectionNodeItem*>(item))
            list.append(item);
    }
    double dx = 0.0;
    double dy = 0.0;
    switch (key) {
    case Qt::Key_Up:
        dy = -SceneRaster::Block;
        break;
    case Qt::Key_Right:
        dx = SceneRaster::Block;
        break;
    case Qt::Key_Down:
        dy = SceneRaster::Block;
        break;
    case Qt::Key_Left:
        dx = -SceneRaster::Block;
        break;
    default:
        return false;
    }
    const bool moved = moveItems(list, dx, dy);
    // The unclamped delta and the whole list, whether or not anything moved and also when read-only:
    // the undo of such an entry moves the items by the full step.
    d->undoStack->push(new MoveCommand(this, list, QPointF(dx, dy)));
    return moved;
}

bool BlockDefinitionScene::exportCodeToTextFile()
{
    BlockCode* code = blockCode();
    BlockDefinition* definition = code ? code->blockDefinition() : nullptr;
    if (!definition || !AccessLevel::reached(AccessLevel::Top))
        return false;
    Block* block = definition->block();
    if (!block)
        return false;
    const QString fileName = block->identifier() + QStringLiteral("_%1.txt").arg(definition->version());
    const QString path = QDir(System::instance().exportDirectory()).absolutePath() + QLatin1Char('/') + fileName;
    code->exportToTextFile(path);
    return true;
}

QByteArray BlockDefinitionScene::findFreeParameterCoordinate() const
{
    QSet<unsigned short> used;
    const auto collect = [&used](BlockInstanceArea* area) {
        AreaInfo* info = area ? area->areaInfo() : nullptr;
        if (!info)
            return;
        const QList<QString> names = info->parameterNames();
        for (const QString& name : names) {
            bool ok = false;
            const ParameterCoordinate coordinate = ParameterCoordinate::fromText(ParameterContainer::coordinateOf(name), &ok);
            if (ok)
                used.insert(coordinate.toNumber());
        }
    };
    if (BlockInstanceHierarchyNode* node = hierarchyNode()) {
        collect(BlockCodeScene::areaOf(node));
    } else {
        const QList<BlockInstanceArea*> areas = BlockInstanceArea::allAreas();
        for (BlockInstanceArea* area : areas)
            collect(area);
    }
    for (const QChar letter : {QLatin1Char('P'), QLatin1Char('Q')}) {
        for (unsigned short number = 0; number <= 999; ++number) {
            const ParameterCoordinate coordinate(letter, number);
            if (!used.contains(coordinate.toNumber()))
                return coordinate.toText().toLatin1();
        }
    }
    return QByteArrayLiteral("P00");
}

void BlockDefinitionScene::dragEnterEvent(QGraphicsSceneDragDropEvent* event)
{
    event->setDropAction(definitionFromMimeData(event->mimeData()) ? Qt::LinkAction : Qt::IgnoreAction);
}

void BlockDefinitionScene::dragMoveEvent(QGraphicsSceneDragDropEvent* event)
{
    if (!definitionFromMimeData(event->mimeData())) {
        event->setDropAction(Qt::IgnoreAction);
        return;
    }
    event->setDropAction(Qt::LinkAction);
    BlockItem* item = blockItemAt(event->scenePos());
    if (!item) {
        d->deleteHighlight();
        return;
    }
    // A red block means: the drop replaces this block. One effect travels from block to block.
    if (!d->dropHighlight) {
        d->dropHighlight = new QGraphicsColorizeEffect(this);
        d->dropHighlight->setColor(Qt::red);
        d->dropHighlight->setStrength(1.0);
    }
    item->setGraphicsEffect(d->dropHighlight);
}

void BlockDefinitionScene::dropEvent(QGraphicsSceneDragDropEvent* event)
{
    BlockDefinition* definition = definitionFromMimeData(event->mimeData());
    BlockInstanceArea* area = nullptr;
    if (definition) {
        d->deleteHighlight();
        area = BlockCodeScene::areaOf(hierarchyNode());
    }
    // Also without a definition: the entry then does nothing, but it stands on the stack.
    d->undoStack->push(new DropCommand(definition, this, event, area));
}

Block* BlockDefinitionScene::createLocalUserBlock()
{
    BlockCode* code = blockCode();
    BlockDefinition* owner = code ? code->blockDefinition() : nullptr;
    BlockLibrary* local = owner ? owner->localBlockLibrary() : nullptr;
    if (!local)
        return nullptr;
    Block* block = Block::createUserBlock();
    block->createDefinition();
    local->insertBlock(block);
    return block;
}

void BlockDefinitionScene::pushCreateBlock(BlockInstance* pInstance, const QPointF& position)
{
    Block* block = pInstance->block();
    auto* command = new CreateBlockCommand(this, blockItem(pInstance->identifier()));
    command->setInstanceIdentifier(pInstance->identifier());
    command->setBlockIdentifier(block ? block->identifier() : QString());
    command->setPosition(position);
    d->undoStack->push(command);
}

void BlockDefinitionScene::createNewLocalBlockDefinition(const QPointF& position)
{
    if (isReadOnly())
        return;
    Block* block = createLocalUserBlock();
    BlockDefinition* definition = block ? block->blockDefinition(block->versions().value(0)) : nullptr;
    BlockInstance* instance = createBlockInstance(definition, position);
    // Whatever happens from here on, the new block stays in the local library.
    if (!instance)
        return;
    QPointer<BlockInstance> guard(instance);
    const unsigned int identifier = instance->identifier();
    const bool accepted = instance->showPropertiesView(false, BlockCodeScene::areaOf(hierarchyNode()));
    BlockCode* code = blockCode();
    if (!code)
        return;
    if (!accepted) {
        // A cancelled block leaves no undo step behind.
        code->deleteInstance(identifier);
        return;
    }
    if (!guard)
        return;
    rebuild();
    pushCreateBlock(guard, position);
}

void BlockDefinitionScene::createNewLocalParameterDefinition(const QPointF& position)
{
    if (isReadOnly())
        return;
    Block* block = createLocalUserBlock();
    BlockDefinition* definition = block ? block->blockDefinition(block->versions().value(0)) : nullptr;
    if (!definition)
        return;
    const QString blockIdentifier = block->identifier();

    QFile templateFile(QStringLiteral(":/Resources/newParameter.txt"));
    QByteArray text;
    if (templateFile.open(QIODevice::ReadOnly))
        text = templateFile.readAll();
    // The template speaks of an axis; the first area of a device holds the global parameters.
    BlockInstanceArea* area = BlockCodeScene::areaOf(hierarchyNode());
    if (area && area->firstNumber() == 0)
        text.replace("LivingSpace=axis", "LivingSpace=global");
    text.replace("P00", findFreeParameterCoordinate());
    ParameterDefinition* parameter = ParameterDefinitionLoader::createAndLoadParameterDefinition(text);
    definition->attachParameterGeneralDefinition(0, parameter);

    QPointer<BlockDefinition> guard(definition);
    if (definition->showPropertiesView(false, 0)) {
        if (!guard)
            return;
        if (BlockInstance* instance = createBlockInstance(guard, position))
            pushCreateBlock(instance, position);
        return;
    }
    if (!guard)
        return;
    delete guard->detachParameterGeneralDefinition(0);
    BlockCode* code = blockCode();
    BlockDefinition* owner = code ? code->blockDefinition() : nullptr;
    BlockLibrary* local = owner ? owner->localBlockLibrary() : nullptr;
    if (local && local->block(blockIdentifier) == block)
        delete local->removeBlock(blockIdentifier);
}

void BlockDefinitionScene::keyPressEvent(QKeyEvent* event)
{
    bool handled = false;
    if (event->matches(QKeySequence::Undo)) {
        d->undoStack->undo();
        handled = true;
    } else if (event->matches(QKeySequence::Redo)) {
        d->undoStack->redo();
        handled = true;
    } else if (event->matches(QKeySequence::SelectAll)) {
        selectAllItems();
        handled = true;
    } else if (event->key() == Qt::Key_U && event->modifiers() == Qt::ControlModifier) {
        handled = showUndoView();
    }

    const bool control = event->modifiers() & Qt::ControlModifier;
    switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Right:
    case Qt::Key_Down:
    case Qt::Key_Left:
        handled = moveSelectionByKey(event->key());
        break;
    case Qt::Key_S:
        handled = exportCodeToTextFile();
        break;
    case Qt::Key_V:
        if (control) {
            // Pasting switches the scene into edit mode of its own accord; cutting and deleting don't.
            pasteFromClipboard();
            event->accept();
            return;
        }
        break;
    case Qt::Key_X:
        if (control) {
            cutToClipboard();
            handled = true;
        }
        break;
    case Qt::Key_Delete:
        handled = deleteSelectedItems();
        break;
    default:
        break;
    }

    event->setAccepted(handled);
    if (!handled)
        BlockCodeScene::keyPressEvent(event);
}

void BlockDefinitionScene::keyReleaseEvent(QKeyEvent* event)
{
    QGraphicsScene::keyReleaseEvent(event);
}

void BlockDefinitionScene::mousePressEvent(QGraphicsSceneMouseEvent* event)
{
    // The items update the selection first, the toolkit's modifiers included.
    QGraphicsScene::mousePressEvent(event);
    if (!(event->buttons() & Qt::LeftButton))
        return;
    if (!selectedItems().isEmpty()) {
        d->accumulatedX = 0.0;
        d->accumulatedY = 0.0;
        QGraphicsItem* item = itemAt(event->scenePos(), QTransform());
        if (dynamic_cast<BlockItem*>(item) || dynamic_cast<ConnectionNodeItem*>(item)) {
            d->dragItem = item;
            d->dragStartX = item->pos().x();
            d->dragStartY = item->pos().y();
        }
    } else {
        d->rubberBand = true;
    }
}

void BlockDefinitionScene::mouseMoveEvent(QGraphicsSceneMouseEvent* event)
{
    const QList<QGraphicsItem*> movable = d->movableItems(selectedItems());
    if (d->rubberBand || !(event->buttons() & Qt::LeftButton) || movable.size() < 2) {
        // A single item is moved by the toolkit and snaps by itself.
        QGraphicsScene::mouseMoveEvent(event);
        return;
    }
    // The group moves on the scene's raster, not by the toolkit's free motion.
    for (QGraphicsItem* item : movable)
        item->setFlag(QGraphicsItem::ItemIsMovable, false);

    const QPointF total = event->scenePos() - event->buttonDownScenePos(Qt::LeftButton);
    QList<QGraphicsItem*> nodes;
    QList<QGraphicsItem*> blocks;
    for (QGraphicsItem* item : movable)
        (isFreeNode(item) ? nodes : blocks).append(item);
    const double raster = blocks.isEmpty() ? SceneRaster::Node : SceneRaster::Block;
    double dx = SceneSnap::nearest(total.x() - d->accumulatedX, raster);
    double dy = SceneSnap::nearest(total.y() - d->accumulatedY, raster);
    BlockDefinitionScenePrivate::clampToOrigin(movable, dx, dy);
    d->moveItemsBy(dx, dy, nodes);
    d->moveItemsBy(dx, dy, blocks);
    d->accumulatedX += dx;
    d->accumulatedY += dy;
    if (std::abs(dx) + std::abs(dy) == 0.0)
        QGraphicsScene::mouseMoveEvent(event);

    for (QGraphicsItem* item : movable)
        item->setFlag(QGraphicsItem::ItemIsMovable, true);
}

void BlockDefinitionScene::mouseReleaseEvent(QGraphicsSceneMouseEvent* event)
{
    const QList<QGraphicsItem*> list = d->movableItems(selectedItems());
    QPointF delta;
    if (!list.isEmpty() && d->dragItem && list.contains(d->dragItem))
        delta = d->dragItem->pos() - QPointF(d->dragStartX, d->dragStartY);
    if (!list.isEmpty() && std::abs(delta.x()) + std::abs(delta.y()) > MoveCommandThreshold && !d->rubberBand) {
        d->undoStack->push(new MoveCommand(this, list, delta));
    }
    d->dragItem = nullptr;
    d->dragStartX = 0.0;
    d->dragStartY = 0.0;
    QGraphicsScene::mouseReleaseEvent(event);
    d->rubberBand = false;
}

void BlockDefinitionScene::wheelEvent(QGraphicsSceneWheelEvent* event)
{
    // The view zooms and scrolls with the wheel.
    event->ignore();
}
