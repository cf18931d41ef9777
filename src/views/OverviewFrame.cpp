#include "OverviewFrame.h"

#include "BlockCodeView.h"
#include "OverviewBackgroundItem.h"
#include "OverviewScene.h"
#include "OverviewViewportItem.h"
#include "SceneMetrics.h"

#include <QBrush>
#include <QGraphicsItem>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QHBoxLayout>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTransform>

OverviewFrame::OverviewFrame(QWidget* parent)
    : QFrame(parent)
{
    setFrameShape(QFrame::Box);
    setFrameShadow(QFrame::Raised);
    setLineWidth(2);
    setAutoFillBackground(true);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    setAttribute(Qt::WA_MouseTracking);
}

OverviewFrame::~OverviewFrame() = default;

BlockCodeView* OverviewFrame::view() const
{
    return m_view;
}

void OverviewFrame::setView(BlockCodeView* view)
{
    m_view = view;
    if (!view)
        return;
    connect(view->horizontalScrollBar(), SIGNAL(valueChanged(int)), this, SLOT(updateViewport()));
    connect(view->verticalScrollBar(), SIGNAL(valueChanged(int)), this, SLOT(updateViewport()));
    connect(view, SIGNAL(zoomFactorChanged(double)), this, SLOT(updateViewport()));
    connect(view, SIGNAL(areaChanged()), this, SLOT(viewSceneChanged()));
    connect(view, SIGNAL(sizeChanged(QSize)), this, SLOT(updateSize()));
    // Only the scene shown now: a scene shown later reaches the size through the other signals.
    if (QGraphicsScene* scene = view->scene())
        connect(scene, SIGNAL(changed(QList<QRectF>)), this, SLOT(updateSize()));

    m_layout = new QHBoxLayout(this);
    m_layout->setContentsMargins(3, 3, 2, 2);
    m_codePreview = new QGraphicsView(this);
    m_codePreview->setBackgroundBrush(QBrush(Qt::white, Qt::SolidPattern));
    m_codePreview->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_codePreview->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_layout->addWidget(m_codePreview);
    m_overlay = new QGraphicsView(m_codePreview);
    m_overlay->setStyleSheet(QStringLiteral("background-color: transparent;"));
    m_overlay->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_overlay->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* overlayLayout = new QHBoxLayout(m_codePreview);
    overlayLayout->setContentsMargins(0, 0, 0, 0);
    overlayLayout->addWidget(m_overlay);
    watchContent();
    m_overviewScene = new OverviewScene(this);
    m_codePreview->setScene(view->scene());
    m_overlay->setScene(m_overviewScene);
    // Shown now rather than at the next turn of the event loop, so that the layout sizes them at once.
    m_codePreview->show();
    m_overlay->show();

    const QRectF content = contentRect();
    m_codePreview->setSceneRect(content);
    m_overlay->setSceneRect(content);

    m_viewportItem = new OverviewViewportItem(this, view);
    m_backgroundItem = new OverviewBackgroundItem;
    m_backgroundItem->setViewportItem(m_viewportItem);
    m_overviewScene->addItem(m_viewportItem);
    m_overviewScene->addItem(m_backgroundItem);

    resizeTo(300, 300);
    updateViewport();
}

QRectF OverviewFrame::itemsRect() const
{
    QRectF united;
    QGraphicsScene* scene = m_view ? m_view->scene() : nullptr;
    if (!scene)
        return united;
    const QList<QGraphicsItem*> all = scene->items();
    for (const QGraphicsItem* item : all) {
        if (item->zValue() > SceneZ::GridSheet)
            united = united.united(item->mapRectToScene(item->boundingRect()));
    }
    return united;
}

QRectF OverviewFrame::contentFrom(const QRectF& items) const
{
    // The viewport rectangle first, then the items: a rectangle of no size stands for nothing.
    QRectF content = m_viewportItem ? m_viewportItem->mapRectToScene(m_viewportItem->rect()) : QRectF();
    content = content.united(items);
    content.setLeft(0);
    content.setTop(0);
    QGraphicsScene* scene = m_view ? m_view->scene() : nullptr;
    const qreal extent = scene ? scene->sceneRect().width() / 100.0 : 0.0;
    const qreal side = qMax(content.height(), content.width()) + extent;
    return QRectF(0, 0, side, side);
}

QRectF OverviewFrame::contentRect() const
{
    return contentFrom(itemsRect());
}

void OverviewFrame::forgetItemsRect()
{
    m_itemsRectKnown = false;
}

void OverviewFrame::resizeTo(int w, int h)
{
    if (!m_view || !m_view->scene())
        return;
    QWidget* parent = parentWidget();
    if (!parent)
        return;
    w = qMax(qMin(w, parent->width() * 6 / 10), parent->width() * 2 / 10);
    h = qMax(qMin(h, parent->height() * 6 / 10), parent->height() * 2 / 10);
    const int s = qMin(w, h);
    if (s <= 0)
        return;
    setFixedSize(s, s);
    m_codePreview->updateGeometry();
    m_overlay->updateGeometry();
    // The scale is read from the preview's size, which the layout would otherwise hand out only
    // at the next turn of the event loop: the first picture would be drawn at a wrong scale.
    m_layout->invalidate();
    m_layout->activate();

    // Walking every item of a large code is the dearest part of the rule, and only a change of the
    // code can change its result: a scroll or a zoom reuses it.
    if (!m_itemsRectKnown) {
        m_itemsRect = itemsRect();
        m_itemsRectKnown = true;
    }
    const QRectF content = contentFrom(m_itemsRect);
    const QTransform scale = QTransform::fromScale(m_codePreview->width() / content.width(),
                                                   m_codePreview->height() / content.height());
    // Setting the same rectangle or transform again would repaint the whole code in the preview
    // at every scroll step.
    for (QGraphicsView* v : {m_codePreview, m_overlay}) {
        if (v->sceneRect() != content)
            v->setSceneRect(content);
        if (v->transform() != scale)
            v->setTransform(scale);
    }
    m_backgroundItem->setRect(m_codePreview->sceneRect());
}

void OverviewFrame::updateSize()
{
    forgetItemsRect();
    resizeTo(width(), height());
}

void OverviewFrame::updateViewport()
{
    if (m_updatingViewport || !m_view || !m_viewportItem)
        return;
    m_updatingViewport = true;
    const QRectF visible = m_view->mapToScene(m_view->viewport()->rect()).boundingRect();
    m_viewportItem->setRect(0, 0, visible.width(), visible.height());
    m_viewportItem->setPos(visible.topLeft());
    resizeTo(width(), height());
    m_updatingViewport = false;
}

void OverviewFrame::viewportItemMoved(QPointF scenePos)
{
    if (m_updatingViewport || !m_view)
        return;
    m_updatingViewport = true;
    const QPoint target = m_view->mapFromScene(scenePos);
    m_view->horizontalScrollBar()->setValue(target.x());
    m_view->verticalScrollBar()->setValue(target.y());
    resizeTo(width(), height());
    m_updatingViewport = false;
}

void OverviewFrame::viewSceneChanged()
{
    if (!m_codePreview || !m_view)
        return;
    m_codePreview->setScene(m_view->scene());
    watchContent();
}

void OverviewFrame::watchContent()
{
    // Only to know when the walk over the items must be done again; the size follows a scene shown
    // later through the view's own signals, as it always has.
    if (m_watchedScene)
        disconnect(m_watchedScene, &QGraphicsScene::changed, this, &OverviewFrame::forgetItemsRect);
    m_watchedScene = m_view ? m_view->scene() : nullptr;
    if (m_watchedScene)
        connect(m_watchedScene, &QGraphicsScene::changed, this, &OverviewFrame::forgetItemsRect);
    forgetItemsRect();
}

void OverviewFrame::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        m_resizing = true;
        m_pressPosition = event->position().toPoint();
    }
    QFrame::mousePressEvent(event);
}

void OverviewFrame::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        m_resizing = false;
        resizeTo(width(), height());
    }
    QFrame::mouseReleaseEvent(event);
}

void OverviewFrame::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint position = event->position().toPoint();
    if (m_resizing) {
        const int dx = position.x() - m_pressPosition.x();
        const int dy = position.y() - m_pressPosition.y();
        const int nw = width() - dx;
        const int nh = height() - dy;
        const int s = nw * nh < 1 ? qMin(nw, nh) : qMax(nw, nh);
        resizeTo(s, s);
    } else {
        updateCursor(position);
    }
    QFrame::mouseMoveEvent(event);
}

void OverviewFrame::updateCursor(const QPoint& position)
{
    Qt::CursorShape shape = Qt::ArrowCursor;
    if (!isMinimized()) {
        const int x = position.x();
        const int y = position.y();
        const int w = width();
        const int h = height();
        const int b = ResizeBorder;
        if (x <= b && y <= b)
            shape = Qt::SizeFDiagCursor;
        else if (y >= h - b && x >= w - b)
            shape = Qt::SizeFDiagCursor;
        else if (y >= h - b && x <= b)
            shape = Qt::SizeBDiagCursor;
        else if (y <= b && x >= w - b)
            shape = Qt::SizeBDiagCursor;
        else if (y <= b || y >= h - b)
            shape = Qt::SizeVerCursor;
        else if (x <= b || x >= w - b)
            shape = Qt::SizeHorCursor;
    }
    setCursor(shape);
    // The preview views inherit the frame's cursor unless they set one of their own.
    const QList<QWidget*> children = findChildren<QWidget*>();
    for (QWidget* child : children) {
        if (!child->testAttribute(Qt::WA_SetCursor))
            child->setCursor(Qt::ArrowCursor);
    }
}
