#pragma once

#include "zkblockview_export.h"

#include <QFrame>
#include <QPoint>
#include <QPointF>
#include <QPointer>
#include <QRectF>

class BlockCodeView;
class OverviewBackgroundItem;
class OverviewScene;
class OverviewViewportItem;
class QGraphicsScene;
class QGraphicsView;
class QHBoxLayout;

// A small live picture of the whole code over the lower right corner of the code view: a second
// view on the code's own scene, and above it a transparent view with the rectangle of the visible
// part, which can be dragged to scroll. The frame's border resizes it.
class ZK_VIEW_EXPORT OverviewFrame : public QFrame
{
    Q_OBJECT
public:
    // Each border zone is this many pixels wide.
    static constexpr int ResizeBorder = 4;

    explicit OverviewFrame(QWidget* parent);
    ~OverviewFrame() override;

    void setView(BlockCodeView* view);
    BlockCodeView* view() const;

    // The square that the code needs, from the scene origin; see the size rule.
    QRectF contentRect() const;
    // Keeps the frame square within 20 % and 60 % of its parent, and the preview scaled to fit.
    void resizeTo(int w, int h);

    QGraphicsView* codePreview() const { return m_codePreview; }
    QGraphicsView* overlay() const { return m_overlay; }
    OverviewScene* overviewScene() const { return m_overviewScene; }
    OverviewViewportItem* viewportItem() const { return m_viewportItem; }
    OverviewBackgroundItem* backgroundItem() const { return m_backgroundItem; }

public Q_SLOTS:
    void updateSize();
    void updateViewport();
    void viewportItemMoved(QPointF scenePos);
    void viewSceneChanged();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private Q_SLOTS:
    void forgetItemsRect();

private:
    void updateCursor(const QPoint& position);
    // The united rectangles of the code's items above the background layers.
    QRectF itemsRect() const;
    QRectF contentFrom(const QRectF& items) const;
    void watchContent();

    bool m_resizing = false;
    // Breaks the loop scroll bar, rectangle, item change, scroll bar.
    bool m_updatingViewport = false;
    QPoint m_pressPosition;
    QHBoxLayout* m_layout = nullptr;
    // The code view goes before the frame when its parent tears down.
    QPointer<BlockCodeView> m_view;
    QGraphicsView* m_codePreview = nullptr;
    QGraphicsView* m_overlay = nullptr;
    OverviewScene* m_overviewScene = nullptr;
    OverviewViewportItem* m_viewportItem = nullptr;
    OverviewBackgroundItem* m_backgroundItem = nullptr;
    // The items' part of the content rectangle, kept between changes of the code: the one cache of
    // the overview, worth a walk over every item at each scroll step (see bench_overview).
    QRectF m_itemsRect;
    bool m_itemsRectKnown = false;
    QPointer<QGraphicsScene> m_watchedScene;
};
