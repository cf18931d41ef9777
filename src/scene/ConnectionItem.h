#pragma once

#include "zkblockview_export.h"

#include <QAbstractGraphicsShapeItem>
#include <QList>
#include <QObject>
#include <QPointF>
#include <QScopedPointer>

class BlockCodeScene;
class BlockPinConnection;
class BlockPinItem;
class ConnectionItemPrivate;
class ConnectionNodeItem;
class QMenu;

// One connection of the code, drawn as a polyline through its chain of nodes: the source end, the
// corners in route order, the target end. The item stands at the scene's origin, so its coordinates
// are scene coordinates, and the route is whatever the user made of it.
class ZK_VIEW_EXPORT ConnectionItem : public QObject, public QAbstractGraphicsShapeItem
{
    Q_OBJECT
public:
    // Adds itself to the scene; the scene calls setConnection() afterwards.
    explicit ConnectionItem(BlockCodeScene* pScene);
    ~ConnectionItem() override;

    QRectF boundingRect() const override;
    QPainterPath shape() const override;
    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget = nullptr) override;

    BlockPinConnection* pinConnection() const;
    void setConnection(BlockPinConnection* pConnection);
    void updateFromConnection();

    QList<ConnectionNodeItem*> allNodes() const;
    ConnectionNodeItem* insertNode(QPointF position, int index);
    void removeNode(ConnectionNodeItem* pNode);
    int nodeIndex(ConnectionNodeItem* pNode) const;
    int segmentIndexAt(QPointF position) const;
    QPointF sourcePosition() const;
    QPointF targetPosition() const;

    bool isConnectedTo(ConnectionItem* pOther) const;
    // The items of this scene whose connections share an end pin with this one, found through the
    // model instead of a scan of the scene, so that a moving node finds its junctions cheaply.
    QList<ConnectionItem*> connectedItems() const;
    bool isDefinitionScene() const;
    // Whether the user may reshape the route here: only the scene of a definition is edited.
    bool isEditable() const;
    bool isEndNode(ConnectionNodeItem* pNode) const;
    bool isAnySelected() const;
    bool isValid() const;

    void saveNodePositions();
    void nodeParentChanged(ConnectionNodeItem* pNode, BlockPinItem* pOldPin, BlockPinItem* pNewPin);
    void refreshGeometry();
    void addContextMenuActions(QMenu* pMenu);

Q_SIGNALS:
    void nodeAdded(ConnectionNodeItem* pNodeItem);

public Q_SLOTS:
    void editModeChanged(bool value);
    void setHighlighted(bool value);

protected:
    void mouseDoubleClickEvent(QGraphicsSceneMouseEvent* event) override;
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override;

private:
    friend class ConnectionNodeItem;
    // While the item places its nodes from the model during an update of the scene (the code's
    // change signals blocked), each node would write the whole route and measure the line anew at
    // every step; the item takes their reports and does both once when it is done. Both answer
    // false when the item isn't collecting.
    bool collectNodeMove(ConnectionNodeItem* pNode);
    bool collectNodeScenePosition(bool save);

    QScopedPointer<ConnectionItemPrivate> d;
};
