#include "OverviewBackgroundItem.h"

#include "OverviewViewportItem.h"

#include <QColor>
#include <QPainter>
#include <QPainterPath>

OverviewBackgroundItem::OverviewBackgroundItem()
{
    setFlag(QGraphicsItem::ItemSendsGeometryChanges);
    setZValue(-1);
}

OverviewBackgroundItem::~OverviewBackgroundItem() = default;

void OverviewBackgroundItem::setViewportItem(OverviewViewportItem* item)
{
    m_viewportItem = item;
}

OverviewViewportItem* OverviewBackgroundItem::viewportItem() const
{
    return m_viewportItem;
}

void OverviewBackgroundItem::paint(QPainter* painter, const QStyleOptionGraphicsItem*, QWidget*)
{
    if (!m_viewportItem)
        return;
    QPainterPath whole;
    whole.addRect(rect());
    QPainterPath visible;
    visible.addPolygon(mapFromItem(m_viewportItem, m_viewportItem->rect()));
    visible.closeSubpath();
    painter->fillPath(whole.subtracted(visible), QColor(192, 192, 192, 128));
}
