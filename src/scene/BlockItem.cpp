#include "BlockItem.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "BlockSymbol.h"
#include "ParameterCoordinate.h"
#include "ParameterDefinition.h"
#include "ParameterDefinitionSaver.h"
#include "ParameterText.h"
#include "System.h"

#include <QAction>
#include <QFontMetrics>
#include <QGraphicsScene>
#include <QGraphicsSceneMouseEvent>
#include <QImage>
#include <QMap>
#include <QMenu>
#include <QPainter>
#include <QPen>
#include <QPointer>
#include <QStyle>
#include <QStyleOptionGraphicsItem>

#include <algorithm>
#include <cmath>

namespace {

// Asks the definition for the parameter definition that describes a parameter block as a whole.
constexpr int WholeBlockParameterArea = int(0xFFFFFFFF);

// The body stands this far inside the item at top and bottom; the hit area keeps the full height.
constexpr qreal BodyInset = 50.0;
constexpr qreal TextMargin = 50.0;
constexpr qreal ImageMargin = 200.0;

QString numberOrHyphen(unsigned int value)
{
    return value ? QString::number(value) : QStringLiteral("-");
}

} // namespace

class BlockItemPrivate
{
public:
    explicit BlockItemPrivate(BlockItem* item)
        : font(BlockItem::diagramFont())
        , q(item)
    {
    }

    void joinIndex();
    void leaveIndex();

    unsigned int identifier = 0;
    BlockCodeScene* scene = nullptr;
    QPointer<BlockInstance> instance;
    QFont font;
    bool enablePinForced = false;
    BlockItem* q;
    // The scene's look-up index holds this item under these keys; the instance key stays valid as
    // a key even after the instance is gone.
    // Held as QObject: while the base scene's destructor runs, the object is no BlockCodeScene any
    // more, and a typed weak pointer would cast it to one.
    QPointer<QObject> indexedIn;
    const BlockInstance* indexedInstance = nullptr;
};

void BlockItemPrivate::joinIndex()
{
    auto* codeScene = qobject_cast<BlockCodeScene*>(q->scene());
    if (!codeScene || indexedIn == codeScene)
        return;
    leaveIndex();
    indexedIn = codeScene;
    indexedInstance = instance.data();
    codeScene->registerBlockItem(q);
}

void BlockItemPrivate::leaveIndex()
{
    // While the base scene's destructor deletes the items, the scene is no code scene any more and
    // its index is already gone; the cast tells that case apart.
    if (indexedIn) {
        if (auto* scene = qobject_cast<BlockCodeScene*>(q->scene()); scene && scene == indexedIn.data())
            scene->unregisterBlockItem(q, indexedInstance);
    }
    indexedIn = nullptr;
    indexedInstance = nullptr;
}

BlockItem::BlockItem(BlockCodeScene* pScene, BlockInstance* pInstance)
    : QObject()
    , QGraphicsRectItem()
    , d(std::make_unique<BlockItemPrivate>(this))
{
    pScene->addItem(this);
    setFlags(ItemIsSelectable | ItemSendsGeometryChanges);
    setAcceptHoverEvents(true);
    if (pInstance) {
        if (BlockDefinition* definition = pInstance->blockDefinition())
            connect(definition, &BlockDefinition::redrawRequired, this, &BlockItem::onRedrawRequired);
    }
    setFlag(ItemIsMovable, pScene->isDefinitionScene());
    d->identifier = pInstance ? pInstance->identifier() : 0;
    d->instance = pInstance;
    d->scene = pScene;
    d->joinIndex();
    if (pInstance)
        setPos(pInstance->position() * BlockCodeScene::ModelUnit);
    setZValue(-2.0);
    BlockItem::updateFromInstance();
}

BlockItem::~BlockItem()
{
    d->leaveIndex();
}

QFont BlockItem::diagramFont()
{
    QFont font;
    font.setPointSizeF(240.0);
    font.setWeight(QFont::Light);
    font.setStyleHint(QFont::System, QFont::PreferDefault);
    font.setStyleStrategy(QFont::PreferOutline);
    return font;
}

void BlockItem::updateFromInstance()
{
    if (BlockInstance* instance = d->instance.data()) {
        const QSizeF size = instance->symbol()->size();
        setRect(0, 0, size.width() * BlockCodeScene::ModelUnit, size.height() * BlockCodeScene::ModelUnit);
        setPos(instance->position() * BlockCodeScene::ModelUnit);

        BlockDefinition* definition = instance->blockDefinition();
        QString text = definition ? definition->toolTipText() : QString();
        ParameterDefinition* parameter = definition && definition->isParameterDefinitionBlock()
                                             ? definition->parameterDefinition(WholeBlockParameterArea, 0)
                                             : nullptr;
        if (parameter && !parameter->descriptionText().isEmpty()) {
            const QList<ParameterCoordinate>& coordinates = parameter->defaultCoordinates();
            const QString coordinate = coordinates.isEmpty() ? QString() : coordinates.first().toText();
            text = QStringLiteral("<body style=\"font-family:Segoe UI, Arial, Helvetica, Swiss;font-weight:normal;padding:0;\">")
                   + QStringLiteral("<p style=\"margin-top:0px; margin-bottom:0px; font-size:9pt;\"><b>%1 | %2</b></p>")
                         .arg(coordinate, parameter->name().longText())
                   + QStringLiteral("<p style=\"margin-top:0px; margin-bottom:20px; font-size:9pt;\"><hr></p>")
                   + parameter->descriptionText();
        }
        const QString note = instance->note();
        if (!note.isEmpty())
            text += QStringLiteral("<hr>") + note;
        setToolTip(text);
    }
    updatePins();
}

void BlockItem::addContextMenuActions(QMenu* pMenu)
{
    if (!d->instance || !pMenu)
        return;
    if (hasEnablePin()) {
        pMenu->addSeparator();
        QAction* enable = pMenu->addAction(tr("Bausteinenable anzeigen"));
        enable->setCheckable(true);
        enable->setChecked(isEnablePinVisible());
        enable->setEnabled(d->scene->isDefinitionScene());
        connect(enable, &QAction::toggled, this, &BlockItem::forceEnablePinVisible);
    }
    QAction* properties = pMenu->addAction(tr("Eigenschaften"));
    connect(properties, &QAction::triggered, this, &BlockItem::showPropertiesView);
    if (!pMenu->defaultAction())
        pMenu->setDefaultAction(properties);
    BlockDefinition* definition = d->instance ? d->instance->blockDefinition() : nullptr;
    if (!definition || definition->runtimeMembership() != 4) {
        QAction* runtime = pMenu->addAction(tr("Laufzeitreihenfolge"));
        connect(runtime, &QAction::triggered, this, &BlockItem::showRuntimePositionView);
    }
}

bool BlockItem::isStepInAllowed() const
{
    BlockDefinition* definition = d->instance ? d->instance->blockDefinition() : nullptr;
    return definition && definition->isStepInAllowed();
}

bool BlockItem::isEnablePinVisible() const
{
    BlockPinItem* enable = pinItem(EnablePinIdentifier);
    return enable && enable->isVisible();
}

bool BlockItem::isEnablePinForced() const
{
    return d->enablePinForced;
}

bool BlockItem::hasEnablePin() const
{
    if (!pinItem(EnablePinIdentifier))
        return false;
    if (!d->instance)
        return true;
    BlockDefinition* definition = d->instance->blockDefinition();
    return !(definition && definition->isParameterDefinitionBlock());
}

BlockCodeScene* BlockItem::codeScene() const
{
    return d->scene;
}

BlockInstance* BlockItem::blockInstance() const
{
    return d->instance.data();
}

unsigned int BlockItem::identifier() const
{
    return d->identifier;
}

BlockPinItem* BlockItem::pinItem(int pinIdentifier) const
{
    const QList<QGraphicsItem*> children = childItems();
    for (QGraphicsItem* child : children) {
        auto* pin = dynamic_cast<BlockPinItem*>(child);
        if (pin && pin->identifier() == pinIdentifier)
            return pin;
    }
    return nullptr;
}

QList<BlockPinItem*> BlockItem::pinItems() const
{
    QList<BlockPinItem*> pins;
    const QList<QGraphicsItem*> children = childItems();
    for (QGraphicsItem* child : children) {
        if (auto* pin = dynamic_cast<BlockPinItem*>(child))
            pins.append(pin);
    }
    // As unsigned values the enable pin (-1) sorts after all others.
    std::stable_sort(pins.begin(), pins.end(), [](BlockPinItem* a, BlockPinItem* b) {
        return static_cast<unsigned int>(a->identifier()) < static_cast<unsigned int>(b->identifier());
    });
    return pins;
}

QPointF BlockItem::pinPosition(int pinIdentifier) const
{
    BlockInstance* instance = d->instance.data();
    if (!instance)
        return QPointF(0, 0);
    const BlockSymbol* symbol = instance->symbol();
    const QList<int> inputs = symbol->inputPins();
    const QList<int> outputs = symbol->outputPins();
    const qsizetype inputIndex = inputs.indexOf(pinIdentifier);
    if (inputIndex >= 0)
        return QPointF(0, (inputIndex + 0.5) * BlockCodeScene::ModelUnit);
    QPointF result(rect().width(), 0);
    qsizetype row = outputs.indexOf(pinIdentifier);
    // The enable pin takes the top input row; outputs start one row lower so that they never face
    // it, whether it is shown or not.
    if (inputs.contains(EnablePinIdentifier))
        ++row;
    if (row >= 0)
        result.setY((row + 0.5) * BlockCodeScene::ModelUnit);
    return result;
}

void BlockItem::updatePins()
{
    // Updating one pin may delete another (its connection nodes move, the model reacts); weak
    // references notice that.
    QMap<int, QPointer<BlockPinItem>> remaining;
    const QList<BlockPinItem*> existing = pinItems();
    for (BlockPinItem* pin : existing)
        remaining.insert(pin->identifier(), pin);

    if (BlockInstance* instance = d->instance.data()) {
        const QList<BlockPinInstance*> pins = instance->pins();
        for (BlockPinInstance* pin : pins) {
            QPointer<BlockPinItem> item = remaining.take(pin->identifier());
            if (!item)
                item = new BlockPinItem(this, pin);
            item->updateFromInstance();
        }
    }
    for (const QPointer<BlockPinItem>& pin : std::as_const(remaining))
        delete pin.data();
}

QString BlockItem::runtimePositionText() const
{
    BlockInstance* instance = d->instance.data();
    BlockCode* code = instance ? instance->ownerCode() : nullptr;
    if (!code)
        return QString();
    return numberOrHyphen(code->realtime(d->identifier)) + QLatin1Char('/')
           + numberOrHyphen(code->background(d->identifier));
}

QFont BlockItem::font() const
{
    return d->font;
}

void BlockItem::paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget)
{
    BlockInstance* instance = d->instance.data();
    if (!instance) {
        QGraphicsRectItem::paint(painter, option, widget);
        return;
    }
    const qreal lod = option->levelOfDetailFromTransform(painter->worldTransform());
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, false);
    painter->setRenderHint(QPainter::TextAntialiasing, true);

    QColor background = Qt::white;
    QColor foreground = Qt::black;
    if (Block* block = instance->block()) {
        if (block->isLocalBlock())
            foreground = Qt::darkCyan;
        else if (block->isFallbackBlock())
            foreground = QColor(218, 104, 15, 255);
        else if (block->isUserBlock())
            foreground = Qt::darkBlue;
    }
    if (instance->error() != 0) {
        foreground = Qt::red;
        background = QColor(255, 69, 0, 128);
    }
    if (option->state & QStyle::State_Selected)
        background = background.darker(120);

    const QRectF body = rect().adjusted(0, BodyInset, 0, -BodyInset);
    QPen outline(foreground, 0);
    outline.setCosmetic(true);
    const QBrush oldBrush = painter->brush();
    const QPen oldPen = painter->pen();
    painter->setBrush(QBrush(background, Qt::SolidPattern));
    painter->setPen(outline);
    painter->drawRect(body);
    painter->setBrush(oldBrush);
    painter->setPen(oldPen);

    if (lod < BlockCodeScene::DetailThreshold) {
        painter->restore();
        return;
    }

    // A symbol drawn at its default size shows no image: the image belongs to resized symbols.
    const BlockSymbol* symbol = instance->symbol();
    if (symbol->size() != symbol->defaultSize()) {
        const QImage image = QImage::fromData(symbol->image());
        if (!image.isNull() && image.height() > 0) {
            QRectF target = rect().adjusted(ImageMargin, ImageMargin, -ImageMargin, -ImageMargin);
            const qreal w = target.height() * image.width() / image.height();
            const qreal shrink = (target.width() - w) * 0.5;
            target.adjust(shrink, 0, -shrink, 0);
            painter->drawImage(target, image);
        }
    }

    painter->setFont(d->font);
    painter->setPen(QPen(foreground));
    const QFontMetrics metrics(d->font, painter->device());
    const qreal ascent = metrics.ascent();

    painter->drawText(QPointF(body.left() + TextMargin, body.top() + 20 + ascent), instance->title());

    const QString version = instance->isVersionVisible()
                                ? QStringLiteral("V") + QString::number(instance->version())
                                : QString();
    painter->drawText(QPointF(body.right() - TextMargin - metrics.boundingRect(version).width(),
                              body.top() + 20 + ascent),
                      version);

    QString number = instance->numberText();
    if (System::instance().userAccessLevelCode() > 4)
        number += QStringLiteral(" (%1)").arg(d->identifier);
    painter->drawText(QPointF(body.left() + TextMargin, body.bottom() - 80), number);

    const QString runtime = runtimePositionText();
    painter->drawText(QPointF(body.right() - TextMargin - metrics.boundingRect(runtime).width(), body.bottom() - 80),
                      runtime);
    painter->restore();
}

void BlockItem::editModeChanged(bool value)
{
    setFlag(ItemIsMovable, value);
}

void BlockItem::forceEnablePinVisible(bool value)
{
    BlockPinItem* enable = pinItem(EnablePinIdentifier);
    // A connected enable pin must stay visible; the user's wish is kept for when it is free.
    if (!enable || enable->hasConnection())
        return;
    d->enablePinForced = value;
    enable->updateFromInstance();
}

void BlockItem::showPropertiesView()
{
    BlockInstance* instance = d->instance.data();
    if (!instance)
        return;
    BlockDefinition* definition = instance->blockDefinition();
    Block* block = definition ? definition->block() : nullptr;
    const bool local = block && block->isLocalBlock();
    const bool magic = block && block->isMagicBlock();
    const bool tool = block && block->isToolBlock();

    bool readOnly = !(local || magic || tool);
    const bool levelOk =
        !local || (definition && definition->accessLevelWrite() <= System::instance().userAccessLevelCode());
    if (!(!d->scene->isReadOnly() && !readOnly && d->scene->isDefinitionScene() && levelOk))
        readOnly = true;

    BlockInstanceArea* area = d->scene->sceneArea();
    // A library definition is shown without an area; its parameters are those of index 0.
    const unsigned int areaIndex = area ? area->index() : 0;

    const auto snapshot = [&](QString& text, QByteArray& contents, QByteArray& parameter) {
        BlockInstance* current = d->instance.data();
        if (!current)
            return;
        text = current->parameterText(areaIndex);
        BlockDefinition* currentDefinition = current->blockDefinition();
        if (Block* currentBlock = currentDefinition ? currentDefinition->block() : nullptr)
            contents = currentBlock->saveContents();
        if (ParameterDefinition* parameterDefinition =
                currentDefinition ? currentDefinition->parameterDefinition(int(areaIndex), 0) : nullptr)
            parameter = ParameterDefinitionSaver::saveParameterDefinition(parameterDefinition);
    };
    QString textBefore, textAfter;
    QByteArray contentsBefore, contentsAfter, parameterBefore, parameterAfter;
    snapshot(textBefore, contentsBefore, parameterBefore);

    instance->showPropertiesView(readOnly, area);

    // The dialog is modal: the scene may have been rebuilt and the instance deleted meanwhile.
    snapshot(textAfter, contentsAfter, parameterAfter);
    if (!d->instance)
        return;
    updateFromInstance();

    // A changed parameter definition alone is kept by the definition itself and needs no undo step.
    const bool changed = textBefore != textAfter || contentsBefore != contentsAfter;
    if (changed && d->scene->isDefinitionScene()) {
        // The editing layer takes this further: the definition scene's pushPropertiesChange turns
        // the two snapshots (text, contents, parameter and area index before and after) into a
        // ChangePropertiesCommand at this item's position.
    }
}

void BlockItem::showRuntimePositionView()
{
    BlockInstance* instance = d->instance.data();
    if (!instance)
        return;
    unsigned int realtime = 0;
    unsigned int background = 0;
    const bool definitionScene = d->scene->isDefinitionScene();
    BlockCode* code = d->scene->blockCode();
    if (definitionScene && code) {
        realtime = code->realtime(d->identifier);
        background = code->background(d->identifier);
    }
    instance->showRuntimePositionView(d->scene->isReadOnly() || !definitionScene);
    if (!d->instance)
        return;
    updateFromInstance();
    if (definitionScene) {
        // The editing layer takes this further: the definition scene's pushRuntimeSequenceChange
        // records `realtime` and `background` as the values before, whether or not they changed.
        Q_UNUSED(realtime);
        Q_UNUSED(background);
    }
}

void BlockItem::onRedrawRequired()
{
    update();
}

void BlockItem::mousePressEvent(QGraphicsSceneMouseEvent* event)
{
    if (event->button() == Qt::RightButton) {
        // The context menu acts on this block alone, so the selection must say so before it opens.
        if (QGraphicsScene* owner = scene())
            owner->clearSelection();
        setSelected(true);
        return;
    }
    QGraphicsRectItem::mousePressEvent(event);
}

void BlockItem::mouseDoubleClickEvent(QGraphicsSceneMouseEvent* event)
{
    // Stepping into a block is the view's business; the item must neither select nor start a drag.
    Q_UNUSED(event);
}

QVariant BlockItem::itemChange(GraphicsItemChange change, const QVariant& value)
{
    if (change == ItemSceneChange) {
        d->leaveIndex();
    } else if (change == ItemSceneHasChanged) {
        // During construction the scene hears of the item once its identity is known.
        if (d->scene)
            d->joinIndex();
    }
    if (change != ItemPositionChange || !scene())
        return QGraphicsRectItem::itemChange(change, value);

    QPointF p = value.toPointF();
    const QRectF bounds = scene()->sceneRect();
    if (!bounds.contains(p)) {
        p.setX(qBound(bounds.left(), p.x(), bounds.right()));
        p.setY(qBound(bounds.top(), p.y(), bounds.bottom()));
    }
    const auto snap = [](qreal v) {
        return qreal(int(std::trunc(v / BlockCodeScene::ModelUnit + 0.5)) * int(BlockCodeScene::ModelUnit));
    };
    p = QPointF(snap(p.x()), snap(p.y()));
    // The model follows the item at once; a move command only records where the block went.
    if (BlockInstance* instance = d->instance.data())
        instance->setPosition(p / BlockCodeScene::ModelUnit);
    return p;
}
