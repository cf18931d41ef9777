#include "BlockPinItem.h"

#include "SceneMetrics.h"
#include "TypeColour.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockPin.h"
#include "BlockPinInstance.h"
#include "BlockPinValueSource.h"
#include "BlockRepository.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "CreateConnectionCommand.h"
#include "DatatypeProvider.h"
#include "InvertInOutCommand.h"
#include "SignalLabelHostItem.h"
#include "SimpleType.h"
#include "System.h"

#include <QAction>
#include <QBrush>
#include <QCheckBox>
#include <QColor>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFontMetrics>
#include <QGraphicsLineItem>
#include <QGraphicsScene>
#include <QGraphicsSceneMouseEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QPen>
#include <QPointer>
#include <QStyleOptionGraphicsItem>
#include <QUndoStack>
#include <QVBoxLayout>

namespace {

constexpr qreal StubLength = 3000.0;
constexpr qreal LabelHostOffset = 2750.0;
constexpr qreal InitialValueMarkerOffset = 2500.0;
constexpr qreal RemanentMarkerOffset = 2250.0;
constexpr qreal TextGap = 300.0;
constexpr qreal TextBaseline = -160.0;

QPen cosmeticPen(const QColor& colour)
{
    QPen pen(colour);
    pen.setWidth(0);
    pen.setCosmetic(true);
    return pen;
}

// The outline of both markers; every pin makes two, and a pen made once is shared by all.
const QPen& markerPen()
{
    static const QPen pen = cosmeticPen(Qt::black);
    return pen;
}

// Unlike a position, a rotation set to its own value still marks the item for repainting, and a
// first one gives the item a transform block of its own even at 0 degrees.
void turn(QGraphicsItem* item, qreal angle)
{
    if (item->rotation() != angle)
        item->setRotation(angle);
}

QGraphicsRectItem* createMarker(QGraphicsItem* parent, const QBrush& brush, qreal z)
{
    // Dressed before it joins the pin: outside a scene a setter costs nothing but the value.
    auto* marker = new QGraphicsRectItem(-75.0, -75.0, 150.0, 150.0);
    marker->setBrush(brush);
    marker->setPen(markerPen());
    marker->setZValue(z);
    marker->setParentItem(parent);
    return marker;
}


// The line of a connection being drawn. It is a top-level item, so the scene may delete it before
// the pin (a scene torn down during a drag); it then tells the pin, which must not delete it again.
class RubberBand : public QGraphicsLineItem
{
public:
    RubberBand(const QLineF& line, QGraphicsLineItem** slot)
        : QGraphicsLineItem(line)
        , m_slot(slot)
    {
    }
    ~RubberBand() override
    {
        if (*m_slot == this)
            *m_slot = nullptr;
    }

private:
    QGraphicsLineItem** m_slot;
};

} // namespace

class BlockPinItemPrivate
{
public:
    explicit BlockPinItemPrivate(BlockPinItem* item);
    void createChildren();

    BlockCodeScene* codeScene() const;
    BlockPinValueSource* valueSource() const;
    // A host that a moving block took out of the toolkit's list must be back before the stub
    // moves: the toolkit tells the stub's children through that list.
    void resumeScenePositionWalk() const;
    bool inRebuild() const
    {
        BlockCodeScene* scene = codeScene();
        return scene && scene->runningRebuild();
    }
    // simpleType() with the pin's hierarchy node already looked up.
    SimpleType* simpleTypeAt(BlockInstanceHierarchyNode* node) const;
    QPointF parameterBlockPoint(qreal dx, qreal dy, qreal shiftX, qreal shiftY) const;
    BlockDefinition* newestDefinition(const QString& identifier) const;
    void finishConstant(BlockInstance* instance);
    void finishParameterBlock(BlockInstance* instance, int pinOfNewBlock, unsigned int orderStep);

    QPointer<BlockPinInstance> pin;
    // A pin instance keeps its identifier for life; reading it here spares a visit to the model
    // object at each of the many look-ups by identifier.
    int pinIdentifier = 0;
    // What updateFromInstance() last gave the children: they are placed by this item alone, and
    // an update of every pin at every change of the code need not visit them when nothing moved.
    qreal childrenPlacedFor = qQNaN();
    bool markersSet = false;
    QString markedInitialValue;
    bool markedRemanent = false;
    bool nodePassed = false;
    QPointer<BlockInstanceHierarchyNode> passedNode;
    bool toolTipSet = false;
    int toolTipIdentifier = 0;
    QString toolTipName;
    QString toolTipType;
    QPointer<SignalLabelHostItem> signalLabelHost;
    // The same host for every update, without a visit to its guard. It reports its end, and
    // whether it showed itself the last time it counted its labels (only then does it show).
    SignalLabelHostItem* host = nullptr;
    bool hostVisible = false;
    BlockItem* blockItem = nullptr;
    QGraphicsLineItem* rubberBand = nullptr;
    QGraphicsRectItem* initialValueMarker = nullptr;
    QGraphicsRectItem* remanentMarker = nullptr;
    int displayMode = PinDisplay::Name;
    QString currentValue;
    // What display mode 3 subscribed to: observation is counted, so it must be released for the
    // same path at the same source even if the pin's path changed meanwhile (inversion).
    QPointer<BlockPinValueSource> observedSource;
    QString observedPath;
    BlockPinItem* q;
};

BlockPinItemPrivate::BlockPinItemPrivate(BlockPinItem* item)
    : q(item)
{
}

void BlockPinItemPrivate::createChildren()
{
    host = new SignalLabelHostItem(q);
    signalLabelHost = host;
    static const QBrush initialValueBrush(Qt::green);
    static const QBrush remanentBrush(Qt::darkGreen);
    initialValueMarker = createMarker(q, initialValueBrush, SceneZ::InitialValueMarker);
    remanentMarker = createMarker(q, remanentBrush, SceneZ::RemanentMarker);
    remanentMarker->setToolTip(BlockPinItem::tr("Remanent"));
}

BlockCodeScene* BlockPinItemPrivate::codeScene() const
{
    return blockItem ? blockItem->codeScene() : nullptr;
}

SimpleType* BlockPinItemPrivate::simpleTypeAt(BlockInstanceHierarchyNode* node) const
{
    if (!pin)
        return nullptr;
    BlockInstanceArea* area = nullptr;
    if (node) {
        area = BlockCodeScene::areaOf(node);
    } else if (BlockCodeScene* scene = codeScene()) {
        area = scene->instanceArea();
    }
    return DatatypeProvider::instance()->simpleType(pin->datatype(area));
}

void BlockPinItemPrivate::resumeScenePositionWalk() const
{
    if (BlockCodeScene* scene = codeScene())
        scene->scenePositionWalkPause().resume();
}

BlockPinValueSource* BlockPinItemPrivate::valueSource() const
{
    BlockInstanceArea* area = q->instanceArea();
    return area ? area->pinValueSource() : nullptr;
}

BlockDefinition* BlockPinItemPrivate::newestDefinition(const QString& identifier) const
{
    BlockDefinition* definition = BlockRepository::instance().blockDefinition(identifier, 0);
    if (!definition)
        return nullptr;
    if (Block* block = definition->block()) {
        const QList<unsigned int> versions = block->versions();
        definition = versions.isEmpty() ? nullptr : block->blockDefinition(versions.last());
    }
    return definition;
}

// The new block is placed up and to the left of the pin's end, unless the pin is so close to the
// scene's edge that this would push it outside; then it stands right on the pin's end.
QPointF BlockPinItemPrivate::parameterBlockPoint(qreal dx, qreal dy, qreal shiftX, qreal shiftY) const
{
    QPointF p = q->mapToScene(StubLength, 0.0);
    if (p.x() > dx && p.y() > dy) {
        p.rx() += shiftX;
        p.ry() += shiftY;
    }
    return p;
}

void BlockPinItemPrivate::finishConstant(BlockInstance* instance)
{
    if (!instance || !pin)
        return;
    unsigned int typeNumber = 4;
    if (SimpleType* type = q->simpleType()) {
        if (type->sizeInBytes() != 0)
            typeNumber = type->number();
    }
    instance->setParameterText(QString::number(typeNumber) + QStringLiteral(";30;10;1;"));
    BlockCode* code = instance->ownerCode();
    QPointer<BlockInstance> guard(instance);
    const unsigned int identifier = instance->identifier();
    if (instance->showPropertiesView(false, nullptr)) {
        if (code && guard && pin)
            code->createConnection(guard->pin(1), pin);
    } else if (code) {
        code->deleteInstance(identifier);
    }
}

void BlockPinItemPrivate::finishParameterBlock(BlockInstance* instance, int pinOfNewBlock, unsigned int orderStep)
{
    if (!instance || !pin)
        return;
    BlockCode* code = instance->ownerCode();
    QPointer<BlockInstance> guard(instance);
    const unsigned int identifier = instance->identifier();
    if (!instance->showPropertiesView(false, q->instanceArea())) {
        if (code)
            code->deleteInstance(identifier);
        return;
    }
    if (!code || !guard || !pin)
        return;
    code->createConnection(guard->pin(pinOfNewBlock), pin);
    BlockInstance* owner = pin->owner();
    if (!owner)
        return;
    const unsigned int realtime = code->realtime(owner->identifier());
    const unsigned int background = code->background(owner->identifier());
    if (realtime != 0)
        code->setRealtime(identifier, realtime + orderStep);
    if (background != 0)
        code->setBackground(identifier, background + orderStep);
}

BlockPinItem::BlockPinItem(BlockItem* pBlockItem, BlockPinInstance* pPin)
    : QObject()
    , QGraphicsRectItem()
    , d(new BlockPinItemPrivate(this))
{
    d->pin = pPin;
    d->pinIdentifier = pPin ? pPin->identifier() : 0;
    d->blockItem = pBlockItem;
    // Set up before it joins its block: outside a scene these cost nothing but the value. And the
    // label host follows scene positions, where every move of an item above such a child walks all
    // of them in the scene: the stub takes its place while it has none yet.
    setZValue(SceneZ::PinStub);
    setAcceptHoverEvents(true);
    setFlag(ItemIsSelectable);
    const QPointF position = pBlockItem ? pBlockItem->pinPosition(identifier()) : QPointF();
    if (!position.isNull()) {
        if (isInput())
            setRotation(180.0);
        setPos(position);
    }
    setParentItem(pBlockItem);
    d->createChildren();
    updateFromInstance();
}

BlockPinItem::~BlockPinItem()
{
    // The host dies with the children, after this item has stopped being a pin item.
    if (d->host)
        d->host->detachFromPin();
    // The nodes of connections ending here belong to their connections: they stay behind as
    // dangling ends where they stood instead of dying with the block.
    const QList<QGraphicsItem*> children = childItems();
    for (QGraphicsItem* child : children) {
        auto* node = dynamic_cast<ConnectionNodeItem*>(child);
        if (!node || !node->connectionItem())
            continue;
        const QPointF scenePosition = node->scenePos();
        ConnectionItem* connection = node->connectionItem();
        node->setParentItem(connection);
        node->setPos(connection->mapFromScene(scenePosition));
    }
    if (d->observedSource)
        d->observedSource->setObserved(d->observedPath, false);
    delete d->rubberBand;
}

void BlockPinItem::hostGone()
{
    d->host = nullptr;
    d->hostVisible = false;
}

void BlockPinItem::hostShown(bool visible)
{
    d->hostVisible = visible;
}

BlockPinInstance* BlockPinItem::pinInstance() const
{
    return d->pin.data();
}

BlockItem* BlockPinItem::blockItem() const
{
    return d->blockItem;
}

int BlockPinItem::identifier() const
{
    return d->pin ? d->pinIdentifier : 0;
}

QPointF BlockPinItem::connectionPoint() const
{
    return QPointF(StubLength, 0.0);
}

bool BlockPinItem::hasConnection() const
{
    const QList<QGraphicsItem*> children = childItems();
    for (QGraphicsItem* child : children) {
        if (child != d->signalLabelHost.data() && child != d->initialValueMarker && child != d->remanentMarker)
            return true;
    }
    return false;
}

bool BlockPinItem::isInput() const
{
    return d->pin && d->pin->function() == BlockPinFunctionInput;
}

BlockInstanceHierarchyNode* BlockPinItem::hierarchyNode() const
{
    // While the block updates its pins it has looked the node up for all of them.
    BlockInstanceHierarchyNode* known = nullptr;
    if (d->blockItem && d->blockItem->pinsHierarchyNode(&known))
        return known;
    BlockCodeScene* scene = d->codeScene();
    BlockInstanceHierarchyNode* node = scene ? scene->hierarchyNode() : nullptr;
    return node ? node->instanceNode(d->blockItem->identifier()) : nullptr;
}

BlockInstanceArea* BlockPinItem::instanceArea() const
{
    if (BlockInstanceHierarchyNode* node = hierarchyNode())
        return BlockCodeScene::areaOf(node);
    BlockCodeScene* scene = d->codeScene();
    return scene ? scene->instanceArea() : nullptr;
}

SimpleType* BlockPinItem::simpleType() const
{
    if (!d->pin)
        return nullptr;
    return DatatypeProvider::instance()->simpleType(d->pin->datatype(instanceArea()));
}

QString BlockPinItem::locationPath() const
{
    BlockInstanceHierarchyNode* node = hierarchyNode();
    if (!node || !d->pin)
        return QString();
    if (d->pin->isInverted()) {
        // An inverted pin is read through the inverted signal, which has an address of its own.
        const QString signal = d->pin->function() == BlockPinFunctionOutput ? QStringLiteral("i%1;{S2}")
                                                                            : QStringLiteral("i%1;{S1}");
        return node->locationPath() + signal.arg(d->pin->identifier());
    }
    const BlockPin* blockPin = d->pin->blockPin();
    return node->pinLocationPath(blockPin ? blockPin->identifier() : d->pin->identifier());
}

void BlockPinItem::updateFromInstance()
{
    d->resumeScenePositionWalk();
    const QPointF position = d->blockItem ? d->blockItem->pinPosition(identifier()) : QPointF();
    // (0, 0) means the block could not place the pin: it keeps its last place.
    if (!position.isNull()) {
        setRect(0.0, -400.0, StubLength, 800.0);
        turn(this, isInput() ? 180.0 : 0.0);
        setPos(position);
        if (d->childrenPlacedFor != rotation()) {
            if (d->signalLabelHost) {
                d->signalLabelHost->setPos(LabelHostOffset, 0.0);
                turn(d->signalLabelHost, rotation());
            }
            d->initialValueMarker->setPos(InitialValueMarkerOffset, 0.0);
            turn(d->initialValueMarker, rotation() + 45.0);
            d->remanentMarker->setPos(RemanentMarkerOffset, 0.0);
            turn(d->remanentMarker, rotation() + 45.0);
            d->childrenPlacedFor = rotation();
        }
    }

    BlockPinInstance* pin = d->pin.data();
    // Looked up once: the type, the tool tip and the label host all depend on it.
    BlockInstanceHierarchyNode* node = hierarchyNode();
    if (pin) {
        const QString initialValue = pin->initialValue();
        const bool remanent = pin->isRemanent();
        if (!d->markersSet || initialValue != d->markedInitialValue || remanent != d->markedRemanent) {
            d->initialValueMarker->setVisible(!initialValue.isEmpty());
            // A marker starts without a tool tip, which an empty value leaves as it is.
            if (initialValue != d->markedInitialValue)
                d->initialValueMarker->setToolTip(initialValue);
            d->remanentMarker->setVisible(remanent);
            d->markersSet = true;
            d->markedInitialValue = initialValue;
            d->markedRemanent = remanent;
        }
        const BlockPin* blockPin = pin->blockPin();
        const SimpleType* type = d->simpleTypeAt(node);
        // Made and set only when what it says has changed: every change of the code updates every
        // pin, and the text would be made anew each time.
        const int tipIdentifier = blockPin ? blockPin->identifier() : pin->identifier();
        const QString tipName = blockPin ? blockPin->name().text() : QString();
        const QString tipType = type ? type->shortName() : QStringLiteral("????");
        if (!d->toolTipSet || tipIdentifier != d->toolTipIdentifier || tipName != d->toolTipName
            || tipType != d->toolTipType) {
            setToolTip(QStringLiteral("%1: %2 (%3)").arg(tipIdentifier).arg(tipName, tipType));
            d->toolTipSet = true;
            d->toolTipIdentifier = tipIdentifier;
            d->toolTipName = tipName;
            d->toolTipType = tipType;
        }
    }

    if (SignalLabelHostItem* host = d->host) {
        if (!d->nodePassed || d->passedNode.data() != node) {
            host->setHierarchyNode(node);
            d->passedNode = node;
            d->nodePassed = true;
        }
        // The host shows only while the pin has labels, which it finds in the parent of the node
        // it was just given. Hidden by its last count and still without labels, it would stay as
        // it is.
        BlockInstanceHierarchyNode* parent = node ? node->parentNode() : nullptr;
        const unsigned int block = d->blockItem ? d->blockItem->identifier() : 0;
        if (d->hostVisible || (parent && !parent->signalLabels(block, identifier()).isEmpty()))
            host->updateFromLabels();
    }

    bool visible = false;
    if (pin) {
        if (pin->identifier() != BlockItem::EnablePinIdentifier)
            visible = true;
        else
            visible = (d->blockItem && d->blockItem->isEnablePinForced()) || hasConnection() || pin->isInverted();
    }
    setVisible(visible);
    if (!d->inRebuild())
        update();
}

void BlockPinItem::applyInverted(bool value)
{
    if (!d->pin || !d->pin->isInvertible())
        return;
    d->pin->setInverted(value);
    updateFromInstance();
}

void BlockPinItem::setDisplayMode(int mode)
{
    if (d->displayMode == PinDisplay::CurrentValue) {
        if (BlockPinValueSource* source = d->valueSource())
            QObject::disconnect(source, nullptr, this, nullptr);
        if (d->observedSource)
            d->observedSource->setObserved(d->observedPath, false);
        d->observedSource = nullptr;
        d->observedPath.clear();
    }
    d->displayMode = mode;
    if (mode == PinDisplay::CurrentValue) {
        d->currentValue = QStringLiteral("...");
        if (BlockPinValueSource* source = d->valueSource()) {
            connect(source, &BlockPinValueSource::blockPinCurrentValueChanged, this,
                    &BlockPinItem::onBlockPinCurrentValueChanged, Qt::UniqueConnection);
            const QString path = locationPath();
            source->setObserved(path, true);
            d->observedSource = source;
            d->observedPath = path;
        }
    }
    updateFromInstance();
}

int BlockPinItem::displayMode() const
{
    return d->displayMode;
}

QString BlockPinItem::displayText() const
{
    BlockPinInstance* pin = d->pin.data();
    if (!pin)
        return QString();
    if (hierarchyNode() && d->displayMode != PinDisplay::Name) {
        switch (d->displayMode) {
        case PinDisplay::LocationPath:
            return locationPath();
        case PinDisplay::MemoryAddress:
            if (BlockPinValueSource* source = d->valueSource())
                return QStringLiteral("0x%1").arg(source->memoryAddress(locationPath()), 8, 16, QLatin1Char('0'));
            return QString();
        case PinDisplay::CurrentValue:
            return d->currentValue;
        default:
            return QString();
        }
    }
    const BlockPin* blockPin = pin->blockPin();
    const SimpleType* type = simpleType();
    return (blockPin ? blockPin->shortName() : QString()) + QStringLiteral(" (")
        + (type ? type->shortName() : QString()) + QStringLiteral(")");
}

void BlockPinItem::addContextMenuActions(QMenu* pMenu)
{
    BlockPinInstance* pin = d->pin.data();
    BlockCodeScene* scene = d->codeScene();
    if (!pin || !pMenu)
        return;
    const bool blocked = !(scene && scene->isDefinitionScene());
    if (scene && scene->isHierarchyNodeScene() && d->signalLabelHost)
        d->signalLabelHost->addContextMenuActions(pMenu);

    if (pin->isInvertible()) {
        pMenu->addSeparator();
        QAction* invert = pMenu->addAction(tr("invertieren"));
        invert->setCheckable(true);
        invert->setChecked(pin->isInverted());
        if (blocked)
            invert->setEnabled(false);
        else
            connect(invert, &QAction::toggled, this, &BlockPinItem::setInverted);
    }

    const eBlockPinFunction function = pin->function();
    if (function == BlockPinFunctionInput) {
        const bool enabled = !blocked && !hasConnection();
        QAction* constant = pMenu->addAction(tr("mit Konstante belegen"), this, &BlockPinItem::createConstant);
        constant->setEnabled(enabled);
        QAction* parameter = pMenu->addAction(tr("mit Parameter belegen"), this, &BlockPinItem::createParameterRead);
        parameter->setEnabled(enabled);
    }
    if (function == BlockPinFunctionOutput) {
        QAction* parameter = pMenu->addAction(tr("mit Parameter belegen"), this, &BlockPinItem::createParameterWrite);
        parameter->setEnabled(!blocked);

        BlockInstance* owner = pin->owner();
        Block* block = owner ? owner->block() : nullptr;
        if (block && (block->isLocalBlock() || block->isStandardBlock() || block->isSystemBlock() || block->isUserBlock())) {
            QAction* edit = pMenu->addAction(tr("Initialwert bearbeiten"), this, &BlockPinItem::setInitialValue);
            // The dialogue opens read-only rather than not at all, so the value can still be read.
            edit->setProperty("readonly", blocked);
            QAction* reset = pMenu->addAction(tr("Initialwert entfernen"), this, &BlockPinItem::resetInitialValue);
            reset->setEnabled(!pin->initialValue().isEmpty() && !blocked);
        }
    }
}

void BlockPinItem::addSignalLabel(SignalLabel* pLabel)
{
    if (d->signalLabelHost)
        d->signalLabelHost->addSignalLabel(pLabel);
}

SignalLabelHostItem* BlockPinItem::signalLabelHost() const
{
    return d->signalLabelHost.data();
}

void BlockPinItem::paint(QPainter* pPainter, const QStyleOptionGraphicsItem* pOption, QWidget* pWidget)
{
    Q_UNUSED(pWidget)
    if (!d->pin)
        return;
    const SimpleType* type = d->simpleTypeAt(hierarchyNode());
    if (!type)
        return;
    // No save() and restore(): a view paints every pin in sight, and copying the whole painter
    // state for each costs more than the stub. What is changed here is put back.
    const qreal lod = pOption->levelOfDetailFromTransform(pPainter->worldTransform());
    const bool antialiased = pPainter->testRenderHint(QPainter::Antialiasing);
    pPainter->setRenderHint(QPainter::Antialiasing, false);

    const QPen previousPen = pPainter->pen();
    pPainter->setPen(typeKindCosmeticPen(type->kind()));
    pPainter->drawLine(QPointF(0.0, 0.0), QPointF(rect().width(), 0.0));
    if (d->pin->isInverted()) {
        const QBrush previousBrush = pPainter->brush();
        pPainter->setBrush(QBrush(Qt::white, Qt::SolidPattern));
        pPainter->drawEllipse(QRectF(0.0, -125.0, 250.0, 250.0));
        pPainter->setBrush(previousBrush);
    }
    pPainter->setPen(previousPen);

    if (lod >= BlockCodeScene::DetailThreshold) {
        const QString text = displayText();
        const QFont font = BlockItem::diagramFont();
        const QFont previousFont = pPainter->font();
        pPainter->setFont(font);
        if (isInput()) {
            // The stub of an input is turned by 180 degrees; turning the text back keeps it upright.
            const qreal width = QFontMetrics(font).boundingRect(text).width();
            const QTransform previousTransform = pPainter->worldTransform();
            pPainter->rotate(180.0);
            pPainter->drawText(QPointF(-width - TextGap, TextBaseline), text);
            pPainter->setWorldTransform(previousTransform);
        } else {
            pPainter->drawText(QPointF(TextGap, TextBaseline), text);
        }
        pPainter->setFont(previousFont);
    }
    pPainter->setRenderHint(QPainter::Antialiasing, antialiased);
}

void BlockPinItem::setInverted(bool value)
{
    auto* scene = qobject_cast<BlockDefinitionScene*>(d->codeScene());
    if (!scene || !d->pin)
        return;
    // Commands name their pin by scene position: the item may be replaced before undo runs. The
    // redo() of the push calls applyInverted(value).
    scene->undoStack()->push(new InvertInOutCommand(scene, scenePos(), value));
}

void BlockPinItem::createConstant()
{
    auto* scene = qobject_cast<BlockDefinitionScene*>(d->codeScene());
    if (!d->pin || !scene)
        return;
    BlockDefinition* definition = BlockRepository::instance().blockDefinition(QStringLiteral("ToolBlock_8000008"), 1);
    if (!definition)
        return;
    const QPointF p = d->parameterBlockPoint(8000.0, 500.0, -8000.0, -500.0);
    d->finishConstant(scene->createBlockInstance(definition, p));
}

void BlockPinItem::createParameterRead()
{
    auto* scene = qobject_cast<BlockDefinitionScene*>(d->codeScene());
    if (!d->pin || !scene)
        return;
    BlockDefinition* definition = d->newestDefinition(QStringLiteral("MagicBlock_300005"));
    if (!definition)
        return;
    const QPointF p = d->parameterBlockPoint(9000.0, 1500.0, -9000.0, -1500.0);
    d->finishParameterBlock(scene->createBlockInstance(definition, p), 2, 0);
}

void BlockPinItem::createParameterWrite()
{
    auto* scene = qobject_cast<BlockDefinitionScene*>(d->codeScene());
    if (!d->pin || !scene)
        return;
    BlockDefinition* definition = d->newestDefinition(QStringLiteral("MagicBlock_300006"));
    if (!definition)
        return;
    // The writing block stands to the right of the output it takes its value from, and runs after
    // the block that produces the value.
    const QPointF p = d->parameterBlockPoint(9000.0, 1500.0, 5000.0, -1500.0);
    d->finishParameterBlock(scene->createBlockInstance(definition, p), 1, 1);
}

void BlockPinItem::setInitialValue()
{
    BlockPinInstance* pin = d->pin.data();
    if (!pin)
        return;
    const QObject* action = sender();
    const bool readOnly = action && action->property("readonly").toBool();

    QDialog dialog(System::instance().mainWindow());
    dialog.setWindowTitle(tr("Initialwert bearbeiten"));
    dialog.setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    dialog.setMinimumWidth(300);
    auto* layout = new QVBoxLayout(&dialog);
    auto* edit = new QLineEdit(&dialog);
    auto* remanent = new QCheckBox(tr("Remanent"), &dialog);
    auto* buttons = new QDialogButtonBox(readOnly ? QDialogButtonBox::Close
                                                  : QDialogButtonBox::Ok | QDialogButtonBox::Abort,
                                         &dialog);
    buttons->setCenterButtons(true);
    layout->addWidget(edit);
    layout->addWidget(remanent);
    layout->addWidget(buttons);

    edit->setText(pin->initialValue());
    edit->setValidator(DatatypeProvider::instance()->validator(pin->datatype()));
    edit->setReadOnly(readOnly);
    remanent->setEnabled(!readOnly);
    remanent->setChecked(pin->isRemanent());
    connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);

    if (dialog.exec() != 1 || !d->pin)
        return;
    d->pin->setInitialValue(edit->text());
    d->pin->setRemanent(remanent->isChecked());
    updateFromInstance();
}

void BlockPinItem::resetInitialValue()
{
    if (!d->pin)
        return;
    d->pin->setInitialValue(QString());
    updateFromInstance();
}

void BlockPinItem::onBlockPinCurrentValueChanged(const QString& locationPath, const QString& value)
{
    // One source serves every pin of the area.
    if (!hierarchyNode() || locationPath != this->locationPath())
        return;
    d->currentValue = value;
    updateFromInstance();
}

void BlockPinItem::mousePressEvent(QGraphicsSceneMouseEvent* pEvent)
{
    BlockCodeScene* scene = d->codeScene();
    if (pEvent->button() == Qt::LeftButton && scene && scene->isDefinitionScene()) {
        delete d->rubberBand;
        d->rubberBand = new RubberBand(QLineF(mapToScene(connectionPoint()), pEvent->scenePos()), &d->rubberBand);
        d->rubberBand->setPen(cosmeticPen(Qt::red));
        scene->addItem(d->rubberBand);
    }
    QGraphicsRectItem::mousePressEvent(pEvent);
}

void BlockPinItem::mouseMoveEvent(QGraphicsSceneMouseEvent* pEvent)
{
    if (d->rubberBand) {
        const QLineF line = d->rubberBand->line();
        d->rubberBand->setLine(QLineF(line.p1(), pEvent->scenePos()));
    }
    QGraphicsRectItem::mouseMoveEvent(pEvent);
}

void BlockPinItem::mouseReleaseEvent(QGraphicsSceneMouseEvent* pEvent)
{
    BlockCodeScene* scene = d->codeScene();
    if (d->rubberBand) {
        const QLineF line = d->rubberBand->line();
        delete d->rubberBand;
        auto* definitionScene = qobject_cast<BlockDefinitionScene*>(scene);
        BlockPinItem* target = definitionScene ? definitionScene->pinItemAt(pEvent->scenePos()) : nullptr;
        if (target && target != this)
            definitionScene->undoStack()->push(new CreateConnectionCommand(definitionScene, line));
    }
    QGraphicsRectItem::mouseReleaseEvent(pEvent);
}
