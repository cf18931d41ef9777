#include "ConnectionItem.h"

#include "SceneItemIndex.h"
#include "SceneMetrics.h"
#include "TypeColour.h"

#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockDefinitionScene.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "ConnectionNodeItem.h"
#include "DatatypeProvider.h"
#include "SimpleType.h"

#include <algorithm>

#include <QAction>
#include <QColor>
#include <QGraphicsSceneMouseEvent>
#include <QMenu>
#include <QMultiHash>
#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <QPen>
#include <QPointer>
#include <QPolygonF>
#include <QVarLengthArray>

#include <utility>

namespace {

// Items by the connection they show, over all scenes: one code may be shown by a definition scene
// and by hierarchy scenes at once. Entries are checked against the item on every use, since a
// connection's address may be reused after the model deleted it.
QMultiHash<const BlockPinConnection*, ConnectionItem*>& itemsByConnection()
{
    static QMultiHash<const BlockPinConnection*, ConnectionItem*> items;
    return items;
}

// The thin black line of a route that isn't highlighted, solid between two pins, else dashed.
// Made once: a view paints every route in sight.
const QPen& routePen(bool attached)
{
    static const QPen pens[] = {
        [] {
            QPen pen(Qt::black);
            pen.setStyle(Qt::DashLine);
            pen.setWidth(0);
            pen.setCosmetic(true);
            return pen;
        }(),
        [] {
            QPen pen(Qt::black);
            pen.setWidth(0);
            pen.setCosmetic(true);
            return pen;
        }(),
    };
    return pens[attached ? 1 : 0];
}

// A highlighted route takes the colour of its pins; anything unknown stays black.
QColor highlightColor(BlockPinConnection* connection)
{
    BlockPinInstance* pin = connection->source() ? connection->source() : connection->target();
    if (!pin)
        return Qt::black;
    const SimpleType* type = DatatypeProvider::instance()->simpleType(pin->datatype());
    if (!type)
        return Qt::black;
    const QColor colour = typeKindColour(type->kind());
    return colour.isValid() ? colour : QColor(Qt::black);
}

} // namespace

class ConnectionItemPrivate
{
public:
    ConnectionItemPrivate(ConnectionItem* item, BlockCodeScene* codeScene)
        : scene(codeScene)
        , q(item)
    {
    }

    void updateFrom(BlockPinConnection* pConnection);
    void setStoredConnection(BlockPinConnection* pConnection);
    void joinIndex();
    void leaveIndex();
    QPainterPath shapeOf(const QList<ConnectionNodeItem*>& nodes) const;

    BlockCodeScene* scene;
    QPointer<BlockPinConnection> connection;
    // The key under which this item stands in itemsByConnection(); kept apart from the weak
    // pointer, which the model may null at any time.
    const BlockPinConnection* registeredAs = nullptr;
    // The connection whose highlightedChanged() reaches setHighlighted(); guarded, for a new
    // connection may take the address of a dead one.
    QPointer<BlockPinConnection> highlightSource;
    ConnectionNodeItem* sourceNode = nullptr;
    ConnectionNodeItem* targetNode = nullptr;
    QList<ConnectionNodeItem*> cornerNodes;
    bool updating = false;
    // Node reports taken while placing the nodes under blocked change signals.
    bool collecting = false;
    bool saveCollected = false;
    bool reshapeCollected = false;
    QVarLengthArray<ConnectionNodeItem*, 8> movedNodes;
    // The code scene whose list of connection items holds this one. Held as QObject: while the
    // base scene's destructor runs, the object is no BlockCodeScene any more.
    QPointer<QObject> indexedIn;
    // The scene asks for the bounding rectangle far more often than nodes move.
    mutable QRectF boundingRect;
    mutable bool boundingRectDirty = true;
    ConnectionItem* q;
};

void ConnectionItemPrivate::setStoredConnection(BlockPinConnection* pConnection)
{
    // Assigning a guard takes and drops references; an update stores the same connection again.
    if (connection.data() != pConnection)
        connection = pConnection;
    if (registeredAs == pConnection)
        return;
    if (registeredAs)
        itemsByConnection().remove(registeredAs, q);
    registeredAs = pConnection;
    if (pConnection)
        itemsByConnection().insert(pConnection, q);
}

void ConnectionItemPrivate::joinIndex()
{
    auto* codeScene = qobject_cast<BlockCodeScene*>(q->scene());
    if (!codeScene || indexedIn == codeScene)
        return;
    leaveIndex();
    indexedIn = codeScene;
    codeScene->itemIndex().addConnection(q);
}

void ConnectionItemPrivate::leaveIndex()
{
    if (indexedIn) {
        if (auto* codeScene = qobject_cast<BlockCodeScene*>(q->scene()); codeScene && codeScene == indexedIn.data())
            codeScene->itemIndex().removeConnection(q);
    }
    indexedIn = nullptr;
}

void ConnectionItemPrivate::updateFrom(BlockPinConnection* pConnection)
{
    setStoredConnection(pConnection);
    if (!pConnection)
        return;
    // Attaching and placing the nodes below reports back through nodeParentChanged(); the model
    // already holds this state and must not be rewired by it.
    updating = true;
    BlockCode* code = pConnection->code();
    collecting = code && code->changeSignalsBlocked();

    BlockPinItem* sourcePin = scene->pinItemOf(pConnection->source());
    BlockPinItem* targetPin = scene->pinItemOf(pConnection->target());

    // The first and the last point are the ends, those between the corners. Read in place: the
    // model's list is shared, and taking from it would copy it.
    const QList<QPointF> points = pConnection->nodePositions();
    const qsizetype corners = std::max<qsizetype>(0, points.size() - 2);
    const QPointF start = points.isEmpty() ? QPointF() : points.first() * BlockCodeScene::ModelUnit;
    const QPointF end = points.size() > 1 ? points.last() * BlockCodeScene::ModelUnit : QPointF();

    // An end that sits on its pin already stays as it is: attaching it again would change
    // nothing but make the whole route measure itself anew, at every update of the scene.
    bool reshaped = false;
    const auto attach = [&reshaped](ConnectionNodeItem* node, BlockPinItem* pin) {
        if (pin && node->parentItem() == pin && node->pos() == pin->connectionPoint())
            return;
        node->attachToPin(pin);
        reshaped = true;
    };

    attach(sourceNode, sourcePin);
    if (!sourcePin)
        sourceNode->setPos(start);

    reshaped = reshaped || cornerNodes.size() != corners;
    while (cornerNodes.size() < corners)
        cornerNodes.append(new ConnectionNodeItem(q));
    while (cornerNodes.size() > corners)
        delete cornerNodes.takeLast();
    for (qsizetype i = 0; i < corners; ++i)
        cornerNodes.at(i)->setPos(points.at(i + 1) * BlockCodeScene::ModelUnit);

    attach(targetNode, targetPin);
    if (!targetPin)
        targetNode->setPos(end);

    updating = false;
    if (collecting) {
        // Each moved node looks for junctions where it stands now, as it would have at its move:
        // only this route moved meanwhile, and a node's own route is no junction. The last of
        // the writes the nodes would have made holds the whole route as it is now.
        collecting = false;
        if (!movedNodes.isEmpty()) {
            const QList<ConnectionNodeItem*> chain = q->allNodes();
            const QVarLengthArray<ConnectionNodeItem*, 8> moved = std::exchange(movedNodes, {});
            for (ConnectionNodeItem* node : moved) {
                if (chain.contains(node))
                    node->searchJunction();
            }
        }
        if (std::exchange(saveCollected, false))
            q->saveNodePositions();
        reshaped = std::exchange(reshapeCollected, false) || reshaped;
    }
    // Surplus corners may have gone without any node moving. Nodes that moved have told the
    // route themselves; what the model says about it otherwise only needs a repaint.
    if (reshaped)
        q->refreshGeometry();
    else if (!scene->runningRebuild())
        q->update();
}

QPainterPath ConnectionItemPrivate::shapeOf(const QList<ConnectionNodeItem*>& nodes) const
{
    QPainterPath path;
    // Node squares and the stroke overlap; under the default odd-even rule every overlap would be
    // a hole in the hit area, right at the nodes.
    path.setFillRule(Qt::WindingFill);
    QPolygonF polygon;
    qreal width = 0.0;
    for (ConnectionNodeItem* node : nodes) {
        const QRectF rect = q->mapRectFromItem(node, node->boundingRect());
        path.addRect(rect);
        polygon.append(rect.center());
        width = rect.height();
    }
    QPainterPath line;
    line.addPolygon(polygon);
    QPainterPathStroker stroker;
    stroker.setWidth(width);
    path.addPath(stroker.createStroke(line));
    return path;
}

ConnectionItem::ConnectionItem(BlockCodeScene* pScene)
    : QObject()
    , QAbstractGraphicsShapeItem()
    , d(new ConnectionItemPrivate(this, pScene))
{
    pScene->addItem(this);
    setFlags(ItemIsSelectable);
    d->sourceNode = new ConnectionNodeItem(this);
    d->targetNode = new ConnectionNodeItem(this);
    // The definition scene records each new corner as an undoable step.
    if (auto* definitionScene = qobject_cast<BlockDefinitionScene*>(pScene))
        connect(this, &ConnectionItem::nodeAdded, definitionScene, &BlockDefinitionScene::onConnectionNodeAdded);
    setZValue(SceneZ::Connection);
}

ConnectionItem::~ConnectionItem()
{
    d->leaveIndex();
    // Nothing below may write to the model any more: detaching the ends moves them.
    d->setStoredConnection(nullptr);
    const QList<ConnectionNodeItem*> corners = d->cornerNodes;
    d->cornerNodes.clear();
    qDeleteAll(corners);
    // End nodes on pins come home and die with this item; a pin never takes them along.
    d->sourceNode->attachToPin(nullptr);
    d->targetNode->attachToPin(nullptr);
}

QRectF ConnectionItem::boundingRect() const
{
    if (d->boundingRectDirty) {
        QRectF rect;
        for (ConnectionNodeItem* node : allNodes())
            rect |= mapRectFromItem(node, node->boundingRect());
        d->boundingRect = rect;
        d->boundingRectDirty = false;
    }
    return d->boundingRect;
}

QPainterPath ConnectionItem::shape() const
{
    return d->shapeOf(allNodes());
}

void ConnectionItem::paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget)
{
    Q_UNUSED(option)
    Q_UNUSED(widget)
    // No save() and restore(): a view paints every route in sight, and copying the whole painter
    // state for each costs more than the line. What is changed here is put back.
    const bool antialiased = painter->testRenderHint(QPainter::Antialiasing);
    painter->setRenderHint(QPainter::Antialiasing, false);

    auto attached = [](ConnectionNodeItem* node) { return dynamic_cast<BlockPinItem*>(node->parentItem()) != nullptr; };
    const bool sourceAttached = attached(d->sourceNode);
    const bool targetAttached = attached(d->targetNode);

    QVarLengthArray<QPointF, 8> polyline;
    polyline.append(mapFromScene(d->sourceNode->scenePos()));
    for (ConnectionNodeItem* node : std::as_const(d->cornerNodes))
        polyline.append(mapFromScene(node->scenePos()));
    polyline.append(mapFromScene(d->targetNode->scenePos()));

    const QPen previousPen = painter->pen();
    BlockPinConnection* connection = d->connection.data();
    if (connection && connection->isHighlighted()) {
        QPen pen(Qt::black);
        if (!(sourceAttached && targetAttached))
            pen.setStyle(Qt::DashLine);
        pen.setColor(highlightColor(connection));
        painter->setRenderHint(QPainter::Antialiasing, true);
        pen.setWidthF(100.0);
        pen.setCosmetic(false);
        painter->setPen(pen);
    } else {
        painter->setPen(routePen(sourceAttached && targetAttached));
    }
    painter->drawPolyline(polyline.constData(), int(polyline.size()));
    painter->setPen(previousPen);
    painter->setRenderHint(QPainter::Antialiasing, antialiased);
}

BlockPinConnection* ConnectionItem::pinConnection() const
{
    return d->connection.data();
}

void ConnectionItem::setConnection(BlockPinConnection* pConnection)
{
    d->updateFrom(pConnection);
    if (pConnection && d->highlightSource != pConnection) {
        // Unique, so that an item updated at every rebuild doesn't pile up connections; made once
        // per connection, as a connection attempt costs more than the rest of the update.
        connect(pConnection, &BlockPinConnection::highlightedChanged, this, &ConnectionItem::setHighlighted,
                Qt::UniqueConnection);
        d->highlightSource = pConnection;
    }
}

void ConnectionItem::updateFromConnection()
{
    setConnection(d->connection.data());
}

QList<ConnectionNodeItem*> ConnectionItem::allNodes() const
{
    QList<ConnectionNodeItem*> nodes;
    nodes.reserve(d->cornerNodes.size() + 2);
    nodes.append(d->sourceNode);
    nodes.append(d->cornerNodes);
    nodes.append(d->targetNode);
    return nodes;
}

ConnectionNodeItem* ConnectionItem::insertNode(QPointF position, int index)
{
    auto* node = new ConnectionNodeItem(this);
    node->setPos(position);
    d->cornerNodes.insert(qBound(0, index, int(d->cornerNodes.size())), node);
    saveNodePositions();
    refreshGeometry();
    return node;
}

void ConnectionItem::removeNode(ConnectionNodeItem* pNode)
{
    // End nodes are not in the list: a connection always keeps its two ends.
    if (!d->cornerNodes.removeOne(pNode))
        return;
    delete pNode;
    setSelected(true);
    saveNodePositions();
    refreshGeometry();
}

int ConnectionItem::nodeIndex(ConnectionNodeItem* pNode) const
{
    const int index = int(d->cornerNodes.indexOf(pNode));
    return index < 0 ? int(d->cornerNodes.size()) : index;
}

int ConnectionItem::segmentIndexAt(QPointF position) const
{
    const QList<ConnectionNodeItem*> nodes = allNodes();
    for (int i = 1; i < nodes.size(); ++i) {
        if (d->shapeOf({nodes.at(i - 1), nodes.at(i)}).contains(position))
            return i - 1;
    }
    return 0;
}

QPointF ConnectionItem::sourcePosition() const
{
    return d->sourceNode->scenePos();
}

QPointF ConnectionItem::targetPosition() const
{
    return d->targetNode->scenePos();
}

bool ConnectionItem::isConnectedTo(ConnectionItem* pOther) const
{
    if (!pOther || !pOther->pinConnection())
        return false;
    return pOther->pinConnection()->isConnectedTo(pinConnection());
}

QList<ConnectionItem*> ConnectionItem::connectedItems() const
{
    QList<ConnectionItem*> result;
    BlockPinConnection* connection = d->connection.data();
    if (!connection || !connection->code())
        return result;
    for (BlockPinInstance* pin : {connection->source(), connection->target()}) {
        if (!pin)
            continue;
        for (BlockPinConnection* other : connection->code()->connectionsOf(pin)) {
            if (other == connection)
                continue;
            for (ConnectionItem* item : itemsByConnection().values(other)) {
                if (item != this && item->scene() == scene() && item->pinConnection() == other && !result.contains(item))
                    result.append(item);
            }
        }
    }
    return result;
}

bool ConnectionItem::isDefinitionScene() const
{
    return d->scene->isDefinitionScene();
}

bool ConnectionItem::isEditable() const
{
    return d->scene->isDefinitionScene();
}

bool ConnectionItem::isEndNode(ConnectionNodeItem* pNode) const
{
    return pNode && (pNode == d->sourceNode || pNode == d->targetNode);
}

bool ConnectionItem::isAnySelected() const
{
    if (isSelected())
        return true;
    for (ConnectionNodeItem* node : allNodes()) {
        if (node->isSelected())
            return true;
    }
    return false;
}

bool ConnectionItem::isValid() const
{
    BlockPinConnection* connection = d->connection.data();
    return connection && connection->isValid(d->scene->sceneArea());
}

void ConnectionItem::saveNodePositions()
{
    // A scene that is no longer a code scene is being torn down: its blocks hand their nodes back
    // while they die, and the model must neither see those moves nor report them to a scene that
    // has gone. Scenes leave their code as they found it.
    if (!qobject_cast<BlockCodeScene*>(scene()))
        return;
    QList<QPointF> positions;
    const QList<ConnectionNodeItem*> nodes = allNodes();
    positions.reserve(nodes.size());
    for (ConnectionNodeItem* node : nodes)
        positions.append(node->scenePos() / BlockCodeScene::ModelUnit);
    if (BlockPinConnection* connection = d->connection.data())
        connection->setNodePositions(positions);
}

void ConnectionItem::nodeParentChanged(ConnectionNodeItem* pNode, BlockPinItem* pOldPin, BlockPinItem* pNewPin)
{
    Q_UNUSED(pOldPin)
    BlockPinConnection* connection = d->connection.data();
    if (connection && !d->updating) {
        BlockPinInstance* pin = pNewPin ? pNewPin->pinInstance() : nullptr;
        if (pNode == d->sourceNode)
            connection->setSource(pin);
        else if (pNode == d->targetNode)
            connection->setTarget(pin);
        saveNodePositions();
    }
    if (d->collecting)
        d->reshapeCollected = true;
    else
        refreshGeometry();
}

bool ConnectionItem::collectNodeMove(ConnectionNodeItem* pNode)
{
    if (!d->collecting)
        return false;
    if (!d->movedNodes.contains(pNode))
        d->movedNodes.append(pNode);
    return true;
}

bool ConnectionItem::collectNodeScenePosition(bool save)
{
    if (!d->collecting)
        return false;
    d->saveCollected = d->saveCollected || save;
    d->reshapeCollected = true;
    return true;
}

void ConnectionItem::refreshGeometry()
{
    prepareGeometryChange();
    d->boundingRectDirty = true;
    update();
}

void ConnectionItem::addContextMenuActions(QMenu* pMenu)
{
    pMenu->addSeparator();
    QAction* action = pMenu->addAction(tr("Verlauf hervorheben"));
    action->setCheckable(true);
    BlockPinConnection* connection = d->connection.data();
    action->setChecked(connection && connection->isHighlighted());
    connect(action, &QAction::toggled, this, &ConnectionItem::setHighlighted);
}

void ConnectionItem::editModeChanged(bool value)
{
    for (ConnectionNodeItem* node : allNodes())
        node->setMovable(value);
}

void ConnectionItem::setHighlighted(bool value)
{
    if (BlockPinConnection* connection = d->connection.data())
        connection->setHighlighted(value);
    refreshGeometry();
}

void ConnectionItem::mouseDoubleClickEvent(QGraphicsSceneMouseEvent* event)
{
    if (isEditable() && event->button() == Qt::LeftButton) {
        const QPointF position = event->pos();
        auto* node = new ConnectionNodeItem(this);
        node->setPos(position);
        d->cornerNodes.insert(segmentIndexAt(position), node);
        saveNodePositions();
        refreshGeometry();
        Q_EMIT nodeAdded(node);
    }
    QAbstractGraphicsShapeItem::mouseDoubleClickEvent(event);
}

QVariant ConnectionItem::itemChange(GraphicsItemChange change, const QVariant& value)
{
    if (change == ItemSceneChange)
        d->leaveIndex();
    else if (change == ItemSceneHasChanged)
        d->joinIndex();
    if (scene() && change == ItemSelectedHasChanged) {
        const bool selected = value.toBool();
        setZValue(selected ? SceneZ::SelectedConnection : SceneZ::Connection);
        for (ConnectionNodeItem* node : std::as_const(d->cornerNodes))
            node->setZValue(selected ? SceneZ::SelectedConnectionNode : SceneZ::ConnectionNode);
        refreshGeometry();
    }
    return QAbstractGraphicsShapeItem::itemChange(change, value);
}
