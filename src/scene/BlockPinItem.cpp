#include "BlockPinItem.h"

#include "TypeColour.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockPin.h"
#include "BlockPinInstance.h"
#include "BlockPinValueSource.h"
#include "BlockRepository.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "DatatypeProvider.h"
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

QGraphicsRectItem* createMarker(QGraphicsItem* parent, const QBrush& brush, qreal z)
{
    auto* marker = new QGraphicsRectItem(-75.0, -75.0, 150.0, 150.0, parent);
    marker->setBrush(brush);
    marker->setPen(cosmeticPen(Qt::black));
    marker->setZValue(z);
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

    BlockCodeScene* codeScene() const;
    BlockPinValueSource* valueSource() const;
    QPointF parameterBlockPoint(qreal dx, qreal dy, qreal shiftX, qreal shiftY) const;
    BlockDefinition* newestDefinition(const QString& identifier) const;
    void finishConstant(BlockInstance* instance);
    void finishParameterBlock(BlockInstance* instance, int pinOfNewBlock, unsigned int orderStep);

    QPointer<BlockPinInstance> pin;
    QPointer<SignalLabelHostItem> signalLabelHost;
    BlockItem* blockItem = nullptr;
    QGraphicsLineItem* rubberBand = nullptr;
    QGraphicsRectItem* initialValueMarker = nullptr;
    QGraphicsRectItem* remanentMarker = nullptr;
    int displayMode = 0;
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
    signalLabelHost = new SignalLabelHostItem(q);
    initialValueMarker = createMarker(q, QBrush(Qt::green), 3.3);
    remanentMarker = createMarker(q, QBrush(Qt::darkGreen), 3.2);
    remanentMarker->setToolTip(BlockPinItem::tr("Remanent"));
}

BlockCodeScene* BlockPinItemPrivate::codeScene() const
{
    return blockItem ? blockItem->codeScene() : nullptr;
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
    , QGraphicsRectItem(pBlockItem)
    , d(std::make_unique<BlockPinItemPrivate>(this))
{
    d->pin = pPin;
    d->blockItem = pBlockItem;
    setZValue(-3.0);
    setAcceptHoverEvents(true);
    setFlag(ItemIsSelectable);
    updateFromInstance();
}

BlockPinItem::~BlockPinItem()
{
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
    return d->pin ? d->pin->identifier() : 0;
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
    BlockCodeScene* scene = d->codeScene();
    BlockInstanceHierarchyNode* node = scene ? scene->hierarchyNode() : nullptr;
    return node ? node->instanceNode(d->blockItem->identifier()) : nullptr;
}

BlockInstanceArea* BlockPinItem::instanceArea() const
{
    if (BlockInstanceHierarchyNode* node = hierarchyNode()) {
        if (BlockInstanceHierarchy* hierarchy = node->hierarchy())
            return hierarchy->area();
        return nullptr;
    }
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
    const QPointF position = d->blockItem ? d->blockItem->pinPosition(identifier()) : QPointF();
    // (0, 0) means the block could not place the pin: it keeps its last place.
    if (!position.isNull()) {
        setRect(0.0, -400.0, StubLength, 800.0);
        setRotation(isInput() ? 180.0 : 0.0);
        setPos(position);
        if (d->signalLabelHost) {
            d->signalLabelHost->setPos(LabelHostOffset, 0.0);
            d->signalLabelHost->setRotation(rotation());
        }
        d->initialValueMarker->setPos(InitialValueMarkerOffset, 0.0);
        d->initialValueMarker->setRotation(rotation() + 45.0);
        d->remanentMarker->setPos(RemanentMarkerOffset, 0.0);
        d->remanentMarker->setRotation(rotation() + 45.0);
    }

    BlockPinInstance* pin = d->pin.data();
    if (pin) {
        const QString initialValue = pin->initialValue();
        d->initialValueMarker->setVisible(!initialValue.isEmpty());
        d->initialValueMarker->setToolTip(initialValue);
        d->remanentMarker->setVisible(pin->isRemanent());
        const BlockPin* blockPin = pin->blockPin();
        const SimpleType* type = simpleType();
        setToolTip(QStringLiteral("%1: %2 (%3)")
                       .arg(blockPin ? blockPin->identifier() : pin->identifier())
                       .arg(blockPin ? blockPin->name().text() : QString(),
                            type ? type->shortName() : QStringLiteral("????")));
    }

    if (d->signalLabelHost) {
        d->signalLabelHost->setHierarchyNode(hierarchyNode());
        d->signalLabelHost->updateFromLabels();
    }

    bool visible = false;
    if (pin) {
        if (pin->identifier() != BlockItem::EnablePinIdentifier)
            visible = true;
        else
            visible = (d->blockItem && d->blockItem->isEnablePinForced()) || hasConnection() || pin->isInverted();
    }
    setVisible(visible);
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
    if (d->displayMode == 3) {
        if (BlockPinValueSource* source = d->valueSource())
            QObject::disconnect(source, nullptr, this, nullptr);
        if (d->observedSource)
            d->observedSource->setObserved(d->observedPath, false);
        d->observedSource = nullptr;
        d->observedPath.clear();
    }
    d->displayMode = mode;
    if (mode == 3) {
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
    if (hierarchyNode() && d->displayMode != 0) {
        switch (d->displayMode) {
        case 1:
            return locationPath();
        case 2:
            if (BlockPinValueSource* source = d->valueSource())
                return QStringLiteral("0x%1").arg(source->memoryAddress(locationPath()), 8, 16, QLatin1Char('0'));
            return QString();
        case 3:
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
    const qreal lod = pOption->levelOfDetailFromTransform(pPainter->worldTransform());
    pPainter->save();
    pPainter->setRenderHint(QPainter::Antialiasing, false);

    const SimpleType* type = simpleType();
    if (!type) {
        pPainter->restore();
        return;
    }

    const QPen previousPen = pPainter->pen();
    pPainter->setPen(cosmeticPen(typeKindColour(type->kind())));
    pPainter->setBrush(QBrush(Qt::white, Qt::SolidPattern));
    pPainter->drawLine(QPointF(0.0, 0.0), QPointF(rect().width(), 0.0));
    if (d->pin->isInverted())
        pPainter->drawEllipse(QRectF(0.0, -125.0, 250.0, 250.0));
    pPainter->setPen(previousPen);

    if (lod < BlockCodeScene::DetailThreshold) {
        pPainter->restore();
        return;
    }

    const QString text = displayText();
    const QFont font = BlockItem::diagramFont();
    pPainter->setFont(font);
    if (isInput()) {
        // The stub of an input is turned by 180 degrees; turning the text back keeps it upright.
        const qreal width = QFontMetrics(font).boundingRect(text).width();
        pPainter->rotate(180.0);
        pPainter->drawText(QPointF(-width - TextGap, TextBaseline), text);
    } else {
        pPainter->drawText(QPointF(TextGap, TextBaseline), text);
    }
    pPainter->restore();
}

void BlockPinItem::setInverted([[maybe_unused]] bool value)
{
    BlockCodeScene* scene = d->codeScene();
    if (!scene || !scene->isDefinitionScene())
        return;
    // Commands name their pin by scene position: the item may be replaced before undo runs.
    [[maybe_unused]] const QPointF pinPosition = scenePos();
    // The editing layer takes this further: it pushes InvertInOutCommand(pinPosition, value) onto the
    // undo stack of the BlockDefinitionScene, whose redo() calls applyInverted(value).
}

void BlockPinItem::createConstant()
{
    BlockCodeScene* scene = d->codeScene();
    if (!d->pin || !scene || !scene->isDefinitionScene())
        return;
    BlockDefinition* definition = BlockRepository::instance().blockDefinition(QStringLiteral("ToolBlock_8000008"), 1);
    if (!definition)
        return;
    [[maybe_unused]] const QPointF p = d->parameterBlockPoint(8000.0, 500.0, -8000.0, -500.0);
    // The editing layer takes this further: BlockDefinitionScene::createBlockInstance(definition, p)
    // makes the constant, which then goes through d->finishConstant().
}

void BlockPinItem::createParameterRead()
{
    BlockCodeScene* scene = d->codeScene();
    if (!d->pin || !scene || !scene->isDefinitionScene())
        return;
    BlockDefinition* definition = d->newestDefinition(QStringLiteral("MagicBlock_300005"));
    if (!definition)
        return;
    [[maybe_unused]] const QPointF p = d->parameterBlockPoint(9000.0, 1500.0, -9000.0, -1500.0);
    // The editing layer takes this further: BlockDefinitionScene::createBlockInstance(definition, p)
    // makes the reading block, which then goes through d->finishParameterBlock(instance, 2, 0).
}

void BlockPinItem::createParameterWrite()
{
    BlockCodeScene* scene = d->codeScene();
    if (!d->pin || !scene || !scene->isDefinitionScene())
        return;
    BlockDefinition* definition = d->newestDefinition(QStringLiteral("MagicBlock_300006"));
    if (!definition)
        return;
    // The writing block stands to the right of the output it takes its value from.
    [[maybe_unused]] const QPointF p = d->parameterBlockPoint(9000.0, 1500.0, 5000.0, -1500.0);
    // The editing layer takes this further: BlockDefinitionScene::createBlockInstance(definition, p)
    // makes the writing block, which then goes through d->finishParameterBlock(instance, 1, 1), so
    // that it runs after the block that produces the value.
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
        [[maybe_unused]] const QLineF line = d->rubberBand->line();
        delete d->rubberBand;
        BlockPinItem* target = scene && scene->isDefinitionScene() ? scene->pinItemAt(pEvent->scenePos()) : nullptr;
        if (target && target != this) {
            // The editing layer takes this further: it pushes CreateConnectionCommand(scene, line) onto
            // the undo stack of the BlockDefinitionScene.
        }
    }
    QGraphicsRectItem::mouseReleaseEvent(pEvent);
}
