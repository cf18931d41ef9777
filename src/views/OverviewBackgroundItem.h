#pragma once

#include "zkblockview_export.h"

#include <QGraphicsRectItem>

class OverviewViewportItem;

// Greys the code outside the viewport rectangle, so the visible part stands out.
class ZK_VIEW_EXPORT OverviewBackgroundItem : public QGraphicsRectItem
{
public:
    OverviewBackgroundItem();
    ~OverviewBackgroundItem() override;

    void setViewportItem(OverviewViewportItem* item);
    OverviewViewportItem* viewportItem() const;

    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget) override;

private:
    // Lives in the same scene and goes with it.
    OverviewViewportItem* m_viewportItem = nullptr;
};
