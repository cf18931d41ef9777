#include "ConnectionItem.h"

#include "TypeColour.h"

#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "ConnectionNodeItem.h"
#include "DatatypeProvider.h"
#include "SimpleType.h"

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

namespace {

// Items by the connection they show, over all scenes: one code may be shown by a definition scene
// and by hierarchy scenes at once. Entries are checked against the item on every use, since a
// connection's address may be reused after the model deleted it.
QMultiHash<const BlockPinConnection*, ConnectionItem*>& itemsByConnection()
{
    static QMultiHash<const BlockPinConnection*, ConnectionItem*> items;
    return items;
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
    QPainterPath shapeOf(const QList<ConnectionNodeItem*>& nodes) const;

    BlockCodeScene* scene;
    QPointer<BlockPinConnection> connection;
    // The key under which this item stands in itemsByConnection(); kept apart from the weak
    // pointer, which the model may null at any time.
    const BlockPinConnection* registeredAs = nullptr;
    ConnectionNodeItem* sourceNode = nullptr;
    ConnectionNodeItem* targetNode = nullptr;
    QList<ConnectionNodeItem*> cornerNodes;
    bool updating = false;
    // The scene asks for the bounding rectangle far more often than nodes move.
    mutable QRectF boundingRect;
    mutable bool boundingRectDirty = true;
    ConnectionItem* q;
};

void ConnectionItemPrivate::setStoredConnection(BlockPinConnection* pConnection)
{
    connection = pConnection;
    if (registeredAs == pConnection)
        return;
    if (registeredAs)
        itemsByConnection().remove(registeredAs, q);
    registeredAs = pConnection;
    if (pConnection)
        itemsByConnection().insert(pConnection, q);
}

void ConnectionItemPrivate::updateFrom(BlockPinConnection* pConnection)
{
    setStoredConnection(pConnection);
    if (!pConnection)
        return;
    // Attaching and placing the nodes below reports back through nodeParentChanged(); the model
    // already holds this state and must not be rewired by it.
    updating = true;

    BlockPinItem* sourcePin = scene->pinItemOf(pConnection->source());
    BlockPinItem* targetPin = scene->pinItemOf(pConnection->target());

    QList<QPointF> points = pConnection->nodePositions();
    QPointF start;
    QPointF end;
    if (!points.isEmpty()) {
        start = points.takeFirst() * BlockCodeScene::ModelUnit;
        if (!points.isEmpty())
            end = points.takeLast() * BlockCodeScene::ModelUnit;
    }

    sourceNode->attachToPin(sourcePin);
    if (!sourcePin)
        sourceNode->setPos(start);

    while (cornerNodes.size() < points.size())
        cornerNodes.append(new ConnectionNodeItem(q));
    while (cornerNodes.size() > points.size())
        delete cornerNodes.takeLast();
    for (int i = 0; i < points.size(); ++i)
        cornerNodes.at(i)->setPos(points.at(i) * BlockCodeScene::ModelUnit);

    targetNode->attachToPin(targetPin);
    if (!targetPin)
        targetNode->setPos(end);

    updating = false;
    // Surplus corners may have gone without any node moving.
    q->refreshGeometry();
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
    // The editing layer takes this further: in a BlockDefinitionScene, nodeAdded is connected to
    // its onConnectionNodeAdded(), which records the new corner as an undoable step.
    setZValue(1.0);
}

ConnectionItem::~ConnectionItem()
{
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
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, false);

    auto attached = [](ConnectionNodeItem* node) { return dynamic_cast<BlockPinItem*>(node->parentItem()) != nullptr; };
    const bool sourceAttached = attached(d->sourceNode);
    const bool targetAttached = attached(d->targetNode);

    QPolygonF polyline;
    for (ConnectionNodeItem* node : allNodes())
        polyline.append(mapFromScene(node->scenePos()));

    QPen pen(Qt::black);
    if (!(sourceAttached && targetAttached))
        pen.setStyle(Qt::DashLine);
    BlockPinConnection* connection = d->connection.data();
    if (connection && connection->isHighlighted()) {
        pen.setColor(highlightColor(connection));
        painter->setRenderHint(QPainter::Antialiasing, true);
        pen.setWidthF(100.0);
        pen.setCosmetic(false);
    } else {
        pen.setWidth(0);
        pen.setCosmetic(true);
    }
    painter->setPen(pen);
    painter->drawPolyline(polyline);
    painter->restore();
}

BlockPinConnection* ConnectionItem::pinConnection() const
{
    return d->connection.data();
}

void ConnectionItem::setConnection(BlockPinConnection* pConnection)
{
    d->updateFrom(pConnection);
    if (pConnection) {
        // Unique, so that an item updated at every rebuild doesn't pile up connections.
        connect(pConnection, &BlockPinConnection::highlightedChanged, this, &ConnectionItem::setHighlighted,
                Qt::UniqueConnection);
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
    refreshGeometry();
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
    if (scene() && change == ItemSelectedHasChanged) {
        const bool selected = value.toBool();
        setZValue(selected ? 2.0 : 1.0);
        for (ConnectionNodeItem* node : std::as_const(d->cornerNodes))
            node->setZValue(selected ? 2.1 : 1.1);
        refreshGeometry();
    }
    return QAbstractGraphicsShapeItem::itemChange(change, value);
}
