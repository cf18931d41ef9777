#include "ConnectionNodeItem.h"

#include "BlockCodeScene.h"
#include "BlockDefinitionScene.h"
#include "BlockPinItem.h"
#include "ConnectionItem.h"
#include "RemoveConnectionNodeCommand.h"
#include "SceneMetrics.h"
#include "ToolkitWorkarounds.h"

#include <QGraphicsScene>
#include <QGraphicsSceneMouseEvent>
#include <QPainter>
#include <QPen>
#include <QPointer>
#include <QPolygonF>
#include <QStyleOptionGraphicsItem>
#include <QUndoStack>

#include <cmath>

namespace {

const QRectF NodeRect(-100.0, -100.0, 200.0, 200.0);
// Marks sit in the middle, clear of the selection square around them.
const QRectF MarkRect = NodeRect.adjusted(50.0, 50.0, -50.0, -50.0);
// A node dragged alone snaps to half a model unit.

enum DragState { Idle = 0, Pressed = 1, Dragging = 2 };

} // namespace

class ConnectionNodeItemPrivate
{
public:
    ConnectionNodeItemPrivate(ConnectionNodeItem* item, ConnectionItem* owner)
        : connectionItem(owner)
        , q(item)
    {
    }

    BlockPinItem* currentPin() const { return dynamic_cast<BlockPinItem*>(q->parentItem()); }
    QPointF snapped(QPointF scenePos) const;
    void findHoverPin();
    void findJunction();
    void paintMarks(QPainter* painter) const;

    ConnectionItem* connectionItem;
    int dragState = Idle;
    // A rebuild may delete the pin under a dragged node before the release.
    QPointer<BlockPinItem> hoverPin;
    bool moved = false;
    bool junction = false;
    ConnectionNodeItem* q;
};

QPointF ConnectionNodeItemPrivate::snapped(QPointF p) const
{
    QGraphicsScene* scene = q->scene();
    const QRectF frame = scene->sceneRect();
    if (!frame.contains(p)) {
        p.setX(qBound(frame.left(), p.x(), frame.right()));
        p.setY(qBound(frame.top(), p.y(), frame.bottom()));
    }

    // A node that moves together with blocks must keep its offset from the block raster, or the
    // route would bend at every step.
    bool alone = true;
    if (q->isSelected()) {
        // A code scene knows the answer for all nodes of one move; asking the selection at each
        // node would make moving a large selection quadratic.
        if (auto* codeScene = qobject_cast<BlockCodeScene*>(scene)) {
            alone = !codeScene->selectionHoldsOtherThanNodes();
        } else {
            const QList<QGraphicsItem*> selected = scene->selectedItems();
            for (QGraphicsItem* item : selected) {
                if (!dynamic_cast<ConnectionNodeItem*>(item)) {
                    alone = false;
                    break;
                }
            }
        }
    }

    if (alone) {
        p = SceneSnap::truncated(p, SceneRaster::Node);
    } else {
        const QPointF current = q->pos();
        p = SceneSnap::nearest(p - current, SceneRaster::Block) + current;
    }
    return p;
}

void ConnectionNodeItemPrivate::findHoverPin()
{
    hoverPin = nullptr;
    const QPolygonF area = q->mapToScene(q->boundingRect());
    const QList<QGraphicsItem*> items =
        q->scene()->items(area, Qt::IntersectsItemShape, Qt::DescendingOrder, QTransform());
    for (QGraphicsItem* item : items) {
        if (!item->isVisible())
            continue;
        if (auto* pin = dynamic_cast<BlockPinItem*>(item)) {
            hoverPin = pin;
            return;
        }
    }
}

void ConnectionNodeItemPrivate::findJunction()
{
    // Only connections that share an end pin with this one can make a junction, and the model
    // knows them; asking the unindexed scene for every colliding item would cost a full scan at
    // each step of every node, including each node placed while a scene is built.
    junction = false;
    for (ConnectionItem* other : connectionItem->connectedItems()) {
        if (other == connectionItem || !connectionItem->isConnectedTo(other))
            continue;
        // The other's shape covers its nodes, so touching one of them is touching it.
        if (q->collidesWithItem(other, Qt::IntersectsItemShape)) {
            junction = true;
            return;
        }
    }
}

// The marks near enough to read: an invalid end, a pin under a dragged node, the dot of an end
// on its pin or of a junction.
void ConnectionNodeItemPrivate::paintMarks(QPainter* painter) const
{
    const bool dragging = dragState == Dragging;
    const bool pinNode = q->isPinNode();
    if (!dragging) {
        if (pinNode && !connectionItem->isValid()) {
            painter->fillRect(MarkRect, Qt::red);
            return;
        }
    } else if (hoverPin) {
        painter->fillRect(MarkRect, Qt::gray);
    }

    if (junction || (pinNode && !dragging)) {
        static const QPen dotPen(Qt::black, 0);
        static const QBrush dotBrush(Qt::black, Qt::SolidPattern);
        const QPen previousPen = painter->pen();
        const QBrush previousBrush = painter->brush();
        painter->setRenderHint(QPainter::Antialiasing, true);
        painter->setPen(dotPen);
        painter->setBrush(dotBrush);
        painter->drawEllipse(MarkRect);
        painter->setPen(previousPen);
        painter->setBrush(previousBrush);
    }
}

ConnectionNodeItem::ConnectionNodeItem(ConnectionItem* pConnectionItem)
    : QGraphicsItem()
    , d(new ConnectionNodeItemPrivate(this, pConnectionItem))
{
    // Set up before it joins its connection: outside a scene a setter costs nothing but the value.
    GraphicsItemFlags flags = ItemIsSelectable | ItemSendsGeometryChanges | ItemSendsScenePositionChanges;
    if (pConnectionItem->isEditable())
        flags |= ItemIsMovable;
    setFlags(flags);
    setZValue(SceneZ::ConnectionNode);
    setParentItem(pConnectionItem);
}

ConnectionNodeItem::~ConnectionNodeItem() = default;

QRectF ConnectionNodeItem::boundingRect() const
{
    return NodeRect;
}

void ConnectionNodeItem::paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget)
{
    Q_UNUSED(widget)
    const qreal lod = QStyleOptionGraphicsItem::levelOfDetailFromTransform(painter->worldTransform());
    const bool movable = flags() & ItemIsMovable;
    // Far out a fixed node has nothing to draw; a view asks every node in sight.
    if (!movable && lod < BlockCodeScene::DetailThreshold)
        return;
    // No save() and restore(): copying the whole painter state costs more than a node; what is
    // changed here is put back.
    const bool antialiased = painter->testRenderHint(QPainter::Antialiasing);
    painter->setRenderHint(QPainter::Antialiasing, false);

    // Selection handles only where the user can take hold of them.
    if (movable) {
        if (option->state & QStyle::State_Selected)
            painter->fillRect(NodeRect, Qt::gray);
        else if (d->connectionItem->isAnySelected())
            painter->fillRect(NodeRect, Qt::black);
    }

    if (lod >= BlockCodeScene::DetailThreshold)
        d->paintMarks(painter);
    painter->setRenderHint(QPainter::Antialiasing, antialiased);
}

ConnectionItem* ConnectionNodeItem::connectionItem() const
{
    return d->connectionItem;
}

bool ConnectionNodeItem::isPinNode() const
{
    return d->currentPin() != nullptr;
}

void ConnectionNodeItem::attachToPin(BlockPinItem* pPin)
{
    BlockPinItem* oldPin = d->currentPin();
    if (pPin) {
        setParentItem(pPin);
        setPos(pPin->connectionPoint());
    } else {
        const QPointF position = scenePos();
        setParentItem(d->connectionItem);
        // The connection stands at the scene's origin.
        setPos(position);
    }
    d->connectionItem->nodeParentChanged(this, oldPin, pPin);
}

void ConnectionNodeItem::searchJunction()
{
    d->findJunction();
}

void ConnectionNodeItem::setMovable(bool value)
{
    setFlag(ItemIsMovable, value);
}

void ConnectionNodeItem::mousePressEvent(QGraphicsSceneMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        d->dragState = Pressed;
    QGraphicsItem::mousePressEvent(event);
}

void ConnectionNodeItem::mouseReleaseEvent(QGraphicsSceneMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        if (d->dragState == Dragging) {
            // An end dropped on no pin stays wired to its old one; the next update of the scene
            // brings it back to the connection point.
            BlockPinItem* newPin = d->hoverPin.data();
            if (newPin && d->connectionItem->isEndNode(this)) {
                BlockPinItem* oldPin = d->currentPin();
                setParentItem(newPin);
                setPos(newPin->connectionPoint());
                d->connectionItem->nodeParentChanged(this, oldPin, newPin);
            }
            if (d->moved)
                d->connectionItem->saveNodePositions();
        }
        d->dragState = Idle;
    }
    QGraphicsItem::mouseReleaseEvent(event);
}

void ConnectionNodeItem::mouseDoubleClickEvent(QGraphicsSceneMouseEvent* event)
{
    // Deliberately without the base class: a double click must neither select nor start a drag.
    if (event->button() == Qt::LeftButton && d->connectionItem->isDefinitionScene()) {
        // The command deletes this very item, which the scene still holds as its mouse grabber
        // until the event is delivered.
        if (auto* definitionScene = qobject_cast<BlockDefinitionScene*>(scene())) {
            const QPointF position = pos();
            ToolkitWorkarounds::afterEventDelivery(definitionScene, [definitionScene, position] {
                definitionScene->undoStack()->push(new RemoveConnectionNodeCommand(definitionScene, position));
            });
        }
    }
}

QVariant ConnectionNodeItem::itemChange(GraphicsItemChange change, const QVariant& value)
{
    if (!scene())
        return QGraphicsItem::itemChange(change, value);

    switch (change) {
    case ItemPositionChange:
        // A node on a pin sits at the connection point, wherever that is.
        if (!isPinNode()) {
            const QPointF p = d->snapped(mapToScene(mapFromParent(value.toPointF())));
            return mapToParent(mapFromScene(p));
        }
        break;
    case ItemPositionHasChanged:
        if (d->dragState == Pressed || d->dragState == Dragging) {
            d->dragState = Dragging;
            d->findHoverPin();
            d->moved = true;
            d->connectionItem->refreshGeometry();
        }
        if (!d->connectionItem->collectNodeMove(this))
            d->findJunction();
        break;
    case ItemSelectedHasChanged:
        if (value.toBool()) {
            setZValue(SceneZ::SelectedConnectionNode);
        } else {
            d->dragState = Idle;
            setZValue(SceneZ::ConnectionNode);
        }
        d->connectionItem->refreshGeometry();
        break;
    case ItemScenePositionHasChanged:
        // A node carried along by its block writes the model at once; a dragged node waits for
        // the release, so that one drag is one change.
        if (d->connectionItem->collectNodeScenePosition(d->dragState != Dragging))
            break;
        if (d->dragState != Dragging)
            d->connectionItem->saveNodePositions();
        d->connectionItem->refreshGeometry();
        break;
    default:
        break;
    }
    return QGraphicsItem::itemChange(change, value);
}
