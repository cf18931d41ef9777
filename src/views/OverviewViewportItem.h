#pragma once

#include "zkblockview_export.h"

#include <QGraphicsRectItem>
#include <QPointer>

class BlockCodeView;
class OverviewFrame;

// The rectangle of the part of the code that the code view shows. Dragging it scrolls the code view;
// it cannot leave the code's scene rectangle.
class ZK_VIEW_EXPORT OverviewViewportItem : public QGraphicsRectItem
{
public:
    OverviewViewportItem(OverviewFrame* frame, BlockCodeView* view);
    ~OverviewViewportItem() override;

    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget) override;

protected:
    void hoverEnterEvent(QGraphicsSceneHoverEvent* event) override;
    void hoverLeaveEvent(QGraphicsSceneHoverEvent* event) override;
    void mousePressEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseReleaseEvent(QGraphicsSceneMouseEvent* event) override;
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override;

private:
    // Either may go first when the editor is torn down.
    QPointer<OverviewFrame> m_frame;
    QPointer<BlockCodeView> m_view;
};
