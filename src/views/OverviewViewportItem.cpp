#include "OverviewViewportItem.h"

#include "BlockCodeView.h"
#include "OverviewFrame.h"

#include <QBrush>
#include <QCursor>
#include <QGraphicsScene>
#include <QPen>

OverviewViewportItem::OverviewViewportItem(OverviewFrame* frame, BlockCodeView* view)
    : m_frame(frame)
    , m_view(view)
{
    setBrush(QBrush(Qt::transparent, Qt::SolidPattern));
    QPen pen(Qt::black, 0, Qt::SolidLine);
    pen.setCosmetic(true);
    setPen(pen);
    setZValue(1);
    setFlag(QGraphicsItem::ItemIsMovable);
    setFlag(QGraphicsItem::ItemSendsGeometryChanges);
    setAcceptHoverEvents(true);
}

OverviewViewportItem::~OverviewViewportItem() = default;

void OverviewViewportItem::paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget)
{
    QGraphicsRectItem::paint(painter, option, widget);
}

void OverviewViewportItem::hoverEnterEvent(QGraphicsSceneHoverEvent* event)
{
    setCursor(Qt::OpenHandCursor);
    QGraphicsRectItem::hoverEnterEvent(event);
}

void OverviewViewportItem::hoverLeaveEvent(QGraphicsSceneHoverEvent* event)
{
    setCursor(Qt::ArrowCursor);
    QGraphicsRectItem::hoverLeaveEvent(event);
}

void OverviewViewportItem::mousePressEvent(QGraphicsSceneMouseEvent* event)
{
    setCursor(Qt::ClosedHandCursor);
    QGraphicsRectItem::mousePressEvent(event);
}

void OverviewViewportItem::mouseReleaseEvent(QGraphicsSceneMouseEvent* event)
{
    setCursor(Qt::OpenHandCursor);
    QGraphicsRectItem::mouseReleaseEvent(event);
}

QVariant OverviewViewportItem::itemChange(GraphicsItemChange change, const QVariant& value)
{
    if (change != ItemPositionChange || !m_frame || !m_view || !m_view->scene())
        return QGraphicsRectItem::itemChange(change, value);
    QPointF p = value.toPointF();
    const QPointF bottomRight = p + rect().bottomRight();
    const QRectF r = m_view->scene()->sceneRect();
    if (!r.contains(p) || !r.contains(bottomRight)) {
        p.setX(qMin(qMax(p.x(), r.left()), r.right() - rect().right()));
        p.setY(qMin(qMax(p.y(), r.top()), r.bottom() - rect().bottom()));
    }
    // mapToScene adds the old position to p; with mapFromScene on the scrolled code view the pair
    // gives the scroll values of the new position.
    m_frame->viewportItemMoved(mapToScene(p));
    return p;
}
