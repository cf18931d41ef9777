#include "BlockItem.h"

#include "AccessLevel.h"
#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "BlockSymbol.h"
#include "ParameterCoordinate.h"
#include "ParameterDefinition.h"
#include "ParameterText.h"
#include "PropertiesChangeRecord.h"
#include "SceneItemIndex.h"
#include "SceneMetrics.h"
#include "SceneRebuild.h"
#include "SignalLabelHostItem.h"
#include "ToolkitWorkarounds.h"

#include <QAction>
#include <QFontMetrics>
#include <QGraphicsScene>
#include <QGraphicsSceneMouseEvent>
#include <QHash>
#include <QImage>
#include <QMenu>
#include <QPainter>
#include <QPen>
#include <QPointer>
#include <QStyle>
#include <QStyleOptionGraphicsItem>
#include <QVarLengthArray>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

// Asks the definition for the parameter definition that describes a parameter block as a whole.
constexpr int WholeBlockParameterArea = int(0xFFFFFFFF);

// The body stands this far inside the item at top and bottom; the hit area keeps the full height.
constexpr qreal ImageMargin = 200.0;

QString numberOrHyphen(unsigned int value)
{
    return value ? QString::number(value) : QStringLiteral("-");
}

// Blocks take their outline and background from a handful of colours. A view paints every block
// in sight, and a pen or brush made anew each time costs an allocation; these are made once.
const QPen& outlinePen(const QColor& colour)
{
    static QHash<quint64, QPen> pens;
    const quint64 key = colour.rgba64();
    auto it = pens.find(key);
    if (it == pens.end()) {
        QPen pen(colour, 0);
        pen.setCosmetic(true);
        it = pens.insert(key, pen);
    }
    return it.value();
}

const QBrush& solidBrush(const QColor& colour)
{
    static QHash<quint64, QBrush> brushes;
    const quint64 key = colour.rgba64();
    auto it = brushes.find(key);
    if (it == brushes.end())
        it = brushes.insert(key, QBrush(colour, Qt::SolidPattern));
    return it.value();
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
    BlockCodeScene* indexingScene() const;
    void selectionChanging(bool selected);
    QString definitionToolTip(const BlockDefinition* definition) const;
    void prepareMove(const QPointF& target);
    void tellFollowers();

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
    // This move stopped the toolkit's walk over scene position followers; the item tells its own.
    bool tellsFollowers = false;
    // The pin children in childItems() order with their identifiers at the time; made anew when a
    // child comes or goes.
    struct PinEntry
    {
        int identifier;
        BlockPinItem* pin;
    };
    QVarLengthArray<PinEntry, 4> pinIndex;
    bool pinIndexValid = false;
    QString toolTipShown;
    // The symbol's picture, decoded when its bytes change rather than at every paint.
    QByteArray symbolBytes;
    QImage symbolImage;

    // The children that left this item while updatePins() runs; an update within an update
    // hands its record on to the outer one.
    class ChildRemovals
    {
    public:
        explicit ChildRemovals(BlockItemPrivate* owner)
            : m_owner(owner)
            , m_outer(std::exchange(owner->childRemovals, this))
        {
        }
        ~ChildRemovals()
        {
            m_owner->childRemovals = m_outer;
            if (m_outer)
                m_outer->m_items.append(m_items.constData(), m_items.size());
        }
        ChildRemovals(const ChildRemovals&) = delete;
        ChildRemovals& operator=(const ChildRemovals&) = delete;
        void add(const QGraphicsItem* item) { m_items.append(item); }
        bool contains(const QGraphicsItem* item) const { return m_items.contains(item); }

    private:
        BlockItemPrivate* m_owner;
        ChildRemovals* m_outer;
        QVarLengthArray<const QGraphicsItem*, 4> m_items;
    };
    ChildRemovals* childRemovals = nullptr;

    // The symbol's pin lists while updatePins() runs, for pinPosition().
    class SymbolRows
    {
    public:
        SymbolRows(BlockItemPrivate* owner, const BlockSymbol* symbol)
            : m_owner(owner)
            , m_outer(std::exchange(owner->symbolRows, this))
            , inputs(symbol->inputPins())
            , outputs(symbol->outputPins())
        {
        }
        ~SymbolRows() { m_owner->symbolRows = m_outer; }
        SymbolRows(const SymbolRows&) = delete;
        SymbolRows& operator=(const SymbolRows&) = delete;

    private:
        BlockItemPrivate* m_owner;
        SymbolRows* m_outer;

    public:
        const QList<int> inputs;
        const QList<int> outputs;
        // The node of the block, the same for every pin; guarded, as the pins' updates reach into
        // the model.
        QPointer<BlockInstanceHierarchyNode> node;
        bool nodeRead = false;
    };
    SymbolRows* symbolRows = nullptr;
};

void BlockItemPrivate::prepareMove(const QPointF& target)
{
    tellsFollowers = false;
    BlockCodeScene* codeScene = indexingScene();
    if (!codeScene)
        return;
    codeScene->scenePositionWalkPause().resume();
    BlockCode* code = instance ? instance->ownerCode() : nullptr;
    if (target == q->pos() || !code || !code->changeSignalsBlocked())
        return;
    const QList<QGraphicsItem*> children = q->childItems();
    for (QGraphicsItem* child : children) {
        auto* pin = dynamic_cast<BlockPinItem*>(child);
        SignalLabelHostItem* host = pin ? pin->signalLabelHost() : nullptr;
        if (host && (host->flags() & QGraphicsItem::ItemSendsScenePositionChanges)) {
            codeScene->scenePositionWalkPause().suspend(host, host, codeScene);
            tellsFollowers = true;
            return;
        }
    }
}

void BlockItemPrivate::tellFollowers()
{
    tellsFollowers = false;
    BlockCodeScene* codeScene = indexingScene();
    ToolkitWorkarounds::tellFollowers(q, codeScene ? codeScene->scenePositionWalkPause().standIn() : nullptr);
}

void BlockItemPrivate::joinIndex()
{
    auto* codeScene = qobject_cast<BlockCodeScene*>(q->scene());
    if (!codeScene || indexedIn == codeScene)
        return;
    leaveIndex();
    indexedIn = codeScene;
    indexedInstance = instance.data();
    codeScene->itemIndex().addBlock(q, q->identifier(), indexedInstance, q->isSelected());
}

BlockCodeScene* BlockItemPrivate::indexingScene() const
{
    if (!indexedIn)
        return nullptr;
    auto* scene = qobject_cast<BlockCodeScene*>(q->scene());
    return scene == indexedIn.data() ? scene : nullptr;
}

QString BlockItemPrivate::definitionToolTip(const BlockDefinition* definition) const
{
    if (!definition)
        return QString();
    SceneRebuild* rebuild = scene ? scene->runningRebuild() : nullptr;
    return rebuild ? rebuild->definitionToolTip(definition) : definition->toolTipText();
}

void BlockItemPrivate::selectionChanging(bool selected)
{
    if (BlockCodeScene* indexing = indexingScene())
        indexing->itemIndex().blockSelectionChanging(q, selected);
}

void BlockItemPrivate::leaveIndex()
{
    // While the base scene's destructor deletes the items, the scene is no code scene any more and
    // its index is already gone; the cast tells that case apart.
    if (indexedIn) {
        if (auto* scene = qobject_cast<BlockCodeScene*>(q->scene()); scene && scene == indexedIn.data())
            scene->itemIndex().removeBlock(q, identifier, indexedInstance);
    }
    indexedIn = nullptr;
    indexedInstance = nullptr;
}

BlockItem::BlockItem(BlockCodeScene* pScene, BlockInstance* pInstance)
    : QObject()
    , QGraphicsRectItem()
    , d(new BlockItemPrivate(this))
{
    // Flags and stacking before the item joins the scene, where each setter costs bookkeeping;
    // the position after, as the move into place writes the snapped position to the model.
    GraphicsItemFlags flags = ItemIsSelectable | ItemSendsGeometryChanges;
    if (pScene->isDefinitionScene())
        flags |= ItemIsMovable;
    setFlags(flags);
    setAcceptHoverEvents(true);
    setZValue(SceneZ::Block);
    pScene->addItem(this);
    if (pInstance) {
        if (BlockDefinition* definition = pInstance->blockDefinition())
            connect(definition, &BlockDefinition::redrawRequired, this, &BlockItem::onRedrawRequired);
    }
    d->identifier = pInstance ? pInstance->identifier() : 0;
    d->instance = pInstance;
    d->scene = pScene;
    d->joinIndex();
    if (pInstance)
        setPos(pInstance->position() * BlockCodeScene::ModelUnit);
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
        const BlockSymbol* symbol = instance->symbol();
        const QSizeF size = symbol->size();
        setRect(0, 0, size.width() * BlockCodeScene::ModelUnit, size.height() * BlockCodeScene::ModelUnit);
        setPos(instance->position() * BlockCodeScene::ModelUnit);
        const QByteArray bytes = symbol->image();
        if (bytes != d->symbolBytes) {
            d->symbolBytes = bytes;
            d->symbolImage = QImage::fromData(bytes);
            update();
        }

        BlockDefinition* definition = instance->blockDefinition();
        QString text = d->definitionToolTip(definition);
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
        // Compared with what this item set last: every change of the code updates every block,
        // and reading the item's own tool tip back costs more than the comparison.
        if (text != d->toolTipShown) {
            setToolTip(text);
            d->toolTipShown = text;
        }
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
    return indexedPinItem(pinIdentifier, false);
}

BlockPinItem* BlockItem::indexedPinItem(int pinIdentifier, bool pinsJustRead) const
{
    // Connection items ask for both ends of every route at every update. The index keeps the pin
    // children in order with the identifier each had; a pin only ever loses its identifier (its
    // pin is gone: 0), so the first entry that still has the wanted one is the first child that
    // has it. Pins that are gone are many and alike: those are looked up the long way.
    if (pinIdentifier != 0) {
        if (!d->pinIndexValid) {
            d->pinIndex.clear();
            const QList<QGraphicsItem*> children = childItems();
            for (QGraphicsItem* child : children) {
                if (auto* pin = dynamic_cast<BlockPinItem*>(child))
                    d->pinIndex.append({pin->identifier(), pin});
            }
            d->pinIndexValid = true;
        }
        // Right after this item read its pins, the entries are as they are.
        for (const BlockItemPrivate::PinEntry& entry : std::as_const(d->pinIndex)) {
            if (entry.identifier == pinIdentifier && (pinsJustRead || entry.pin->identifier() == pinIdentifier))
                return entry.pin;
        }
        return nullptr;
    }
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
    struct Entry
    {
        unsigned int key;
        BlockPinItem* pin;
    };
    QVarLengthArray<Entry, 8> entries;
    const QList<QGraphicsItem*> children = childItems();
    for (QGraphicsItem* child : children) {
        if (auto* pin = dynamic_cast<BlockPinItem*>(child))
            entries.append({static_cast<unsigned int>(pin->identifier()), pin});
    }
    // As unsigned values the enable pin (-1) sorts after all others. The order is stable, and a
    // block has a handful of pins: sorting in place spares the buffer a stable sort would take.
    const auto byKey = [](const Entry& a, const Entry& b) { return a.key < b.key; };
    if (entries.size() > 16) {
        std::stable_sort(entries.begin(), entries.end(), byKey);
    } else {
        for (qsizetype i = 1; i < entries.size(); ++i) {
            const Entry entry = entries[i];
            qsizetype j = i;
            for (; j > 0 && byKey(entry, entries[j - 1]); --j)
                entries[j] = entries[j - 1];
            entries[j] = entry;
        }
    }
    QList<BlockPinItem*> pins;
    pins.reserve(entries.size());
    for (const Entry& entry : entries)
        pins.append(entry.pin);
    return pins;
}

bool BlockItem::pinsHierarchyNode(BlockInstanceHierarchyNode** pNode) const
{
    BlockItemPrivate::SymbolRows* rows = d->symbolRows;
    if (!rows)
        return false;
    if (!rows->nodeRead) {
        BlockCodeScene* scene = codeScene();
        BlockInstanceHierarchyNode* sceneNode = scene ? scene->hierarchyNode() : nullptr;
        rows->node = sceneNode ? sceneNode->instanceNode(d->identifier) : nullptr;
        rows->nodeRead = true;
    }
    *pNode = rows->node.data();
    return true;
}

QPointF BlockItem::pinPosition(int pinIdentifier) const
{
    BlockInstance* instance = d->instance.data();
    if (!instance)
        return QPointF(0, 0);
    QList<int> ownInputs;
    QList<int> ownOutputs;
    if (!d->symbolRows) {
        const BlockSymbol* symbol = instance->symbol();
        ownInputs = symbol->inputPins();
        ownOutputs = symbol->outputPins();
    }
    const QList<int>& inputs = d->symbolRows ? d->symbolRows->inputs : ownInputs;
    const QList<int>& outputs = d->symbolRows ? d->symbolRows->outputs : ownOutputs;
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
    // Updating one pin may delete another (its connection nodes move, the model reacts). The block
    // hears of every child that leaves it, and an item that left is passed over even if a new one
    // takes its address. Of several items with one identifier (pins that are gone all have 0) the
    // last in pinItems() order stands for it; the others are left as they are.
    struct Remaining
    {
        int identifier;
        BlockPinItem* item;
        bool taken;
    };
    QVarLengthArray<Remaining, 8> remaining;
    // Children in their order: of equal identifiers the last one stands, as with pinItems(),
    // whose sort keeps that order among equals.
    const auto note = [&remaining](BlockPinItem* pin) {
        const int identifier = pin->identifier();
        auto it = std::find_if(remaining.begin(), remaining.end(),
                               [identifier](const Remaining& entry) { return entry.identifier == identifier; });
        if (it != remaining.end())
            it->item = pin;
        else
            remaining.append({identifier, pin, false});
    };
    if (d->pinIndexValid) {
        // The index holds the pin children in childItems() order as long as no child came or went.
        for (const BlockItemPrivate::PinEntry& entry : std::as_const(d->pinIndex))
            note(entry.pin);
    } else {
        const QList<QGraphicsItem*> children = childItems();
        for (QGraphicsItem* child : children) {
            if (auto* pin = dynamic_cast<BlockPinItem*>(child))
                note(pin);
        }
    }

    BlockItemPrivate::ChildRemovals removals(d.get());
    if (BlockInstance* instance = d->instance.data()) {
        // Every pin asks for its place on the symbol; the symbol's pin lists are read once.
        const BlockItemPrivate::SymbolRows rows(d.get(), instance->symbol());
        const QList<BlockPinInstance*> pins = instance->pins();
        for (BlockPinInstance* pin : pins) {
            const int identifier = pin->identifier();
            BlockPinItem* item = nullptr;
            auto it = std::find_if(remaining.begin(), remaining.end(), [identifier](const Remaining& entry) {
                return !entry.taken && entry.identifier == identifier;
            });
            if (it != remaining.end()) {
                it->taken = true;
                if (!removals.contains(it->item))
                    item = it->item;
            }
            // A new pin item has just read its pin in its constructor; reading it again at once
            // would change nothing.
            if (!item)
                new BlockPinItem(this, pin);
            else
                item->updateFromInstance();
        }
    }
    // In the order of identifiers, as a map by identifier would have it.
    std::sort(remaining.begin(), remaining.end(),
              [](const Remaining& a, const Remaining& b) { return a.identifier < b.identifier; });
    for (const Remaining& entry : std::as_const(remaining)) {
        if (!entry.taken && !removals.contains(entry.item))
            delete entry.item;
    }
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
    // No save() and restore(): a view paints every block in sight, and copying the whole painter
    // state for each costs more than the box. What is changed here is put back.
    const qreal lod = option->levelOfDetailFromTransform(painter->worldTransform());
    const QPainter::RenderHints previousHints = painter->renderHints();
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

    const QRectF body = rect().adjusted(0, SceneInset::BlockBody, 0, -SceneInset::BlockBody);
    const QBrush oldBrush = painter->brush();
    const QPen oldPen = painter->pen();
    painter->setBrush(solidBrush(background));
    painter->setPen(outlinePen(foreground));
    painter->drawRect(body);
    painter->setBrush(oldBrush);
    painter->setPen(oldPen);

    if (lod >= BlockCodeScene::DetailThreshold) {
        // A symbol drawn at its default size shows no image: the image belongs to resized symbols.
        const BlockSymbol* symbol = instance->symbol();
        if (symbol->size() != symbol->defaultSize()) {
            const QImage& image = d->symbolImage;
            if (!image.isNull() && image.height() > 0) {
                QRectF target = rect().adjusted(ImageMargin, ImageMargin, -ImageMargin, -ImageMargin);
                const qreal w = target.height() * image.width() / image.height();
                const qreal shrink = (target.width() - w) * 0.5;
                target.adjust(shrink, 0, -shrink, 0);
                painter->drawImage(target, image);
            }
        }

        const QFont oldFont = painter->font();
        painter->setFont(d->font);
        painter->setPen(QPen(foreground));
        const QFontMetrics metrics(d->font, painter->device());
        const qreal ascent = metrics.ascent();

        painter->drawText(QPointF(body.left() + SceneInset::BlockText, body.top() + 20 + ascent), instance->title());

        const QString version = instance->isVersionVisible()
                                    ? QStringLiteral("V") + QString::number(instance->version())
                                    : QString();
        painter->drawText(QPointF(body.right() - SceneInset::BlockText - metrics.boundingRect(version).width(),
                                  body.top() + 20 + ascent),
                          version);

        QString number = instance->numberText();
        if (AccessLevel::reached(AccessLevel::Top))
            number += QStringLiteral(" (%1)").arg(d->identifier);
        painter->drawText(QPointF(body.left() + SceneInset::BlockText, body.bottom() - 80), number);

        const QString runtime = runtimePositionText();
        painter->drawText(QPointF(body.right() - SceneInset::BlockText - metrics.boundingRect(runtime).width(), body.bottom() - 80),
                          runtime);
        painter->setPen(oldPen);
        painter->setFont(oldFont);
    }
    painter->setRenderHint(QPainter::Antialiasing, previousHints.testFlag(QPainter::Antialiasing));
    painter->setRenderHint(QPainter::TextAntialiasing, previousHints.testFlag(QPainter::TextAntialiasing));
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
        !local || (definition && AccessLevel::reached(definition->accessLevelWrite()));
    if (!(!d->scene->isReadOnly() && !readOnly && d->scene->isDefinitionScene() && levelOk))
        readOnly = true;

    BlockInstanceArea* area = d->scene->sceneArea();
    // A library definition is shown without an area; its parameters are those of index 0.
    const unsigned int areaIndex = area ? area->index() : 0;

    PropertiesChangeRecord record;
    captureBefore(record, instance, areaIndex);

    instance->showPropertiesView(readOnly, area);

    // The dialog is modal: the scene may have been rebuilt and the instance deleted meanwhile.
    captureAfter(record, d->instance.data(), areaIndex);
    if (!d->instance)
        return;
    updateFromInstance();

    // A changed parameter definition alone is kept by the definition itself and needs no undo step.
    const bool changed = record.textBefore != record.textAfter || record.contentsBefore != record.contentsAfter;
    auto* definitionScene = qobject_cast<BlockDefinitionScene*>(d->scene);
    if (changed && definitionScene)
        definitionScene->pushPropertiesChange(d->instance.data(), record);
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
    // Pushed whether or not the dialog changed anything.
    if (auto* editScene = qobject_cast<BlockDefinitionScene*>(d->scene))
        editScene->pushRuntimeSequenceChange(d->instance.data(), realtime, background);
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
    } else if (change == ItemChildAddedChange || change == ItemChildRemovedChange) {
        d->pinIndexValid = false;
        if (change == ItemChildRemovedChange && d->childRemovals)
            d->childRemovals->add(value.value<QGraphicsItem*>());
    } else if (change == ItemPositionHasChanged && d->tellsFollowers) {
        d->tellFollowers();
    } else if (change == ItemSelectedChange) {
        const QVariant result = QGraphicsRectItem::itemChange(change, value);
        if (result.toBool() != isSelected())
            d->selectionChanging(result.toBool());
        return result;
    }
    if (change != ItemPositionChange || !scene())
        return QGraphicsRectItem::itemChange(change, value);

    QPointF p = value.toPointF();
    const QRectF bounds = scene()->sceneRect();
    if (!bounds.contains(p)) {
        p.setX(qBound(bounds.left(), p.x(), bounds.right()));
        p.setY(qBound(bounds.top(), p.y(), bounds.bottom()));
    }
    p = SceneSnap::truncated(p, SceneRaster::Block);
    // The model follows the item at once; a move command only records where the block went.
    if (BlockInstance* instance = d->instance.data())
        instance->setPosition(p / BlockCodeScene::ModelUnit);
    d->prepareMove(p);
    return p;
}
