#pragma once

#include "zkblockview_export.h"

#include <QGraphicsItem>
#include <QScopedPointer>

class BlockPinItem;
class ConnectionItem;
class ConnectionNodeItemPrivate;

// A point of a connection's route: an end on a pin or dangling, or a corner. It is a child of its
// pin while attached, else of its connection. Plain graphics item: it needs no signals, and scenes
// hold many of them.
class ZK_VIEW_EXPORT ConnectionNodeItem : public QGraphicsItem
{
public:
    explicit ConnectionNodeItem(ConnectionItem* pConnectionItem);
    ~ConnectionNodeItem() override;

    QRectF boundingRect() const override;
    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget = nullptr) override;

    ConnectionItem* connectionItem() const;
    bool isPinNode() const;
    // Null detaches the node and leaves it where it stands.
    void attachToPin(BlockPinItem* pPin);
    void setMovable(bool value);

protected:
    void mousePressEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseReleaseEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseDoubleClickEvent(QGraphicsSceneMouseEvent* event) override;
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override;

private:
    friend class ConnectionItemPrivate;
    // The junction search of a move whose report the connection collected.
    void searchJunction();

    QScopedPointer<ConnectionNodeItemPrivate> d;
};
