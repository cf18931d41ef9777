#include "PlainCodeView.h"
#include "TestRegistry.h"

#include "BlockCodeView.h"
#include "OverviewBackgroundItem.h"
#include "OverviewFrame.h"
#include "OverviewScene.h"
#include "OverviewViewportItem.h"

#include <QGraphicsRectItem>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QImage>
#include <QLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {

// A scene with the frame every code scene has, and a background at the bottom layer that spans it.
std::unique_ptr<QGraphicsScene> codeScene()
{
    auto scene = std::make_unique<QGraphicsScene>(-500, -500, 1001000, 1001000);
    auto* background = scene->addRect(0, 0, 1001000, 1001000);
    background->setZValue(-10000);
    return scene;
}

QGraphicsRectItem* addBlock(QGraphicsScene* scene, const QRectF& rect)
{
    auto* item = scene->addRect(rect);
    item->setZValue(1);
    return item;
}

// The code view with an overview, inside a host of a given size, shown as in the editor.
struct Fixture
{
    explicit Fixture(QGraphicsScene* scene, QSize hostSize = QSize(1000, 500))
    {
        host.resize(hostSize);
        view = new PlainCodeView(&host);
        view->setGeometry(QRect(QPoint(0, 0), hostSize));
        view->setScene(scene);
        frame = new OverviewFrame(view);
        host.show();
        frame->setView(view);
        frame->show();
    }

    QWidget host;
    PlainCodeView* view = nullptr;
    OverviewFrame* frame = nullptr;
};

void sendMouse(QWidget* widget, QEvent::Type type, QPoint pos, Qt::MouseButton button, Qt::MouseButtons buttons)
{
    QMouseEvent event(type, QPointF(pos), widget->mapToGlobal(QPointF(pos)), button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(widget, &event);
}

} // namespace

class tst_OverviewFrame : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void lookOfTheFrame();
    void sizeRuleFollowsTheSmallerLimits_data();
    void sizeRuleFollowsTheSmallerLimits();
    void tooSmallParentLeavesTheFrame();
    void noViewNoResize();
    void contentRectangleOfAnEmptyScene();
    void contentRectangleStartsAtTheOrigin();
    void previewScaledToTheContent();
    void scrollingMovesTheRectangleWithoutFeedback();
    void zoomingResizesTheRectangle();
    void draggingTheRectangleScrolls();
    void draggingToTheEdgeStopsThere();
    void veilGreysOutsideTheRectangle();
    void cursorsOfTheBorderZones_data();
    void cursorsOfTheBorderZones();
    void resizingByTheBorder();
    void viewportItemCursors();
    void sceneSwapFollowsThePreview();
    void growthOfTheCodeReachesThePreview();
    void growthOfALaterSceneComesWithTheNextScroll();
    void viewGoesFirst();
};

void tst_OverviewFrame::lookOfTheFrame()
{
    auto scene = codeScene();
    Fixture f(scene.get());
    QCOMPARE(f.frame->frameShape(), QFrame::Box);
    QCOMPARE(f.frame->frameShadow(), QFrame::Raised);
    QCOMPARE(f.frame->lineWidth(), 2);
    QVERIFY(f.frame->autoFillBackground());
    QVERIFY(f.frame->testAttribute(Qt::WA_MouseTracking));
    QCOMPARE(f.frame->view(), f.view);
    QCOMPARE(f.frame->layout()->contentsMargins(), QMargins(3, 3, 2, 2));
    QCOMPARE(f.frame->codePreview()->scene(), scene.get());
    QCOMPARE(f.frame->overlay()->scene(), f.frame->overviewScene());
    QCOMPARE(f.frame->overlay()->parentWidget(), f.frame->codePreview());
    QCOMPARE(f.frame->overlay()->styleSheet(), QStringLiteral("background-color: transparent;"));
    QCOMPARE(f.frame->codePreview()->backgroundBrush(), QBrush(Qt::white, Qt::SolidPattern));
    for (QGraphicsView* v : {f.frame->codePreview(), f.frame->overlay()}) {
        QCOMPARE(v->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
        QCOMPARE(v->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    }
    OverviewViewportItem* item = f.frame->viewportItem();
    QCOMPARE(item->zValue(), 1.0);
    QVERIFY(item->flags() & QGraphicsItem::ItemIsMovable);
    QVERIFY(item->acceptHoverEvents());
    QVERIFY(item->pen().isCosmetic());
    QCOMPARE(item->pen().color(), QColor(Qt::black));
    QCOMPARE(f.frame->backgroundItem()->zValue(), -1.0);
    QCOMPARE(f.frame->backgroundItem()->viewportItem(), item);
    // Nothing of the overview lands in the code's own scene.
    QCOMPARE(item->scene(), f.frame->overviewScene());
    QCOMPARE(f.frame->overviewScene()->items().size(), 2);
    // Made with 300 by 300, within 20 to 60 % of a host of 1000 by 500.
    QCOMPARE(f.frame->size(), QSize(300, 300));
}

void tst_OverviewFrame::sizeRuleFollowsTheSmallerLimits_data()
{
    QTest::addColumn<int>("w");
    QTest::addColumn<int>("h");
    QTest::addColumn<int>("side");
    QTest::newRow("within") << 250 << 260 << 250;
    QTest::newRow("too small") << 50 << 50 << 100;
    QTest::newRow("too large") << 1000 << 1000 << 300;
    QTest::newRow("wide") << 700 << 120 << 120;
    QTest::newRow("height below its floor") << 400 << 10 << 100;
    QTest::newRow("width below its floor") << 150 << 280 << 200;
}

void tst_OverviewFrame::sizeRuleFollowsTheSmallerLimits()
{
    QFETCH(int, w);
    QFETCH(int, h);
    QFETCH(int, side);
    auto scene = codeScene();
    Fixture f(scene.get());
    // Between 200 and 600 across, 100 and 300 down: the side is the smaller of the two limited.
    f.frame->resizeTo(w, h);
    QCOMPARE(f.frame->size(), QSize(side, side));
    QCOMPARE(f.frame->minimumSize(), QSize(side, side));
    QCOMPARE(f.frame->maximumSize(), QSize(side, side));
}

void tst_OverviewFrame::tooSmallParentLeavesTheFrame()
{
    auto scene = codeScene();
    Fixture f(scene.get());
    const QSize before = f.frame->size();
    // 60 % of one pixel is nothing in integer arithmetic.
    f.view->setGeometry(0, 0, 1, 1);
    f.frame->resizeTo(50, 50);
    QCOMPARE(f.frame->size(), before);
}

void tst_OverviewFrame::noViewNoResize()
{
    QWidget host;
    host.resize(1000, 500);
    OverviewFrame frame(&host);
    const QSize before = frame.size();
    frame.resizeTo(200, 200);
    frame.updateSize();
    frame.updateViewport();
    frame.viewportItemMoved(QPointF(10, 10));
    frame.viewSceneChanged();
    QCOMPARE(frame.size(), before);
    QCOMPARE(frame.view(), nullptr);
    QCOMPARE(frame.contentRect(), QRectF(0, 0, 0, 0));
}

void tst_OverviewFrame::contentRectangleOfAnEmptyScene()
{
    auto scene = codeScene();
    // A host too small for any side keeps the scene rectangle that the frame starts with, before
    // its rectangle item exists: the bottom layer's background says nothing of the content.
    Fixture f(scene.get(), QSize(1, 1));
    QCOMPARE(f.frame->codePreview()->sceneRect(), QRectF(0, 0, 10010, 10010));
    QCOMPARE(f.frame->overlay()->sceneRect(), QRectF(0, 0, 10010, 10010));
}

void tst_OverviewFrame::contentRectangleStartsAtTheOrigin()
{
    auto scene = codeScene();
    addBlock(scene.get(), QRectF(20000, 30000, 4000, 6000));
    addBlock(scene.get(), QRectF(50000, 10000, 2000, 2000));
    Fixture f(scene.get());
    // A rectangle without extent at the origin adds nothing.
    f.frame->viewportItem()->setFlag(QGraphicsItem::ItemSendsGeometryChanges, false);
    f.frame->viewportItem()->setPos(0, 0);
    f.frame->viewportItem()->setRect(QRectF());
    // The items reach to x 52000 and y 36000 (a rectangle item's pen adds half a unit around it).
    const QRectF content = f.frame->contentRect();
    QCOMPARE(content.topLeft(), QPointF(0, 0));
    QCOMPARE(content.width(), content.height());
    QCOMPARE(content.width(), 52000.5 + 10010);
    // The viewport rectangle counts too.
    f.frame->viewportItem()->setRect(0, 0, 90000, 1000);
    QCOMPARE(f.frame->contentRect().width(), 90000 + 10010);
}

void tst_OverviewFrame::previewScaledToTheContent()
{
    auto scene = codeScene();
    addBlock(scene.get(), QRectF(20000, 30000, 4000, 6000));
    Fixture f(scene.get());
    f.frame->updateSize();
    const QRectF content = f.frame->contentRect();
    QGraphicsView* preview = f.frame->codePreview();
    QCOMPARE(preview->sceneRect(), content);
    QCOMPARE(f.frame->overlay()->sceneRect(), content);
    QCOMPARE(preview->transform().m11(), preview->width() / content.width());
    QCOMPARE(preview->transform().m22(), preview->height() / content.height());
    QCOMPARE(f.frame->overlay()->transform(), preview->transform());
    QCOMPARE(f.frame->backgroundItem()->rect(), content);
    // The layout's margins: 3 left and top, 2 right and bottom, inside the frame's side.
    QCOMPARE(preview->width(), f.frame->contentsRect().width() - 5);
}

void tst_OverviewFrame::scrollingMovesTheRectangleWithoutFeedback()
{
    auto scene = codeScene();
    Fixture f(scene.get());
    OverviewViewportItem* item = f.frame->viewportItem();
    QScrollBar* horizontal = f.view->horizontalScrollBar();
    QScrollBar* vertical = f.view->verticalScrollBar();
    QSignalSpy hSpy(horizontal, &QScrollBar::valueChanged);
    horizontal->setValue(horizontal->minimum() + 600);
    vertical->setValue(vertical->minimum() + 300);
    QCOMPARE(hSpy.count(), 1);
    QCOMPARE(horizontal->value(), horizontal->minimum() + 600);
    QCOMPARE(vertical->value(), vertical->minimum() + 300);
    const QRectF visible = f.view->mapToScene(f.view->viewport()->rect()).boundingRect();
    QCOMPARE(item->pos(), visible.topLeft());
    QCOMPARE(item->rect(), QRectF(0, 0, visible.width(), visible.height()));
}

void tst_OverviewFrame::zoomingResizesTheRectangle()
{
    auto scene = codeScene();
    Fixture f(scene.get());
    OverviewViewportItem* item = f.frame->viewportItem();
    const qreal before = item->rect().width();
    const int hValue = f.view->horizontalScrollBar()->value();
    f.view->setZoomFactor(2.0);
    QVERIFY(qAbs(item->rect().width() - before / 2) < 50);
    const QRectF visible = f.view->mapToScene(f.view->viewport()->rect()).boundingRect();
    QCOMPARE(item->pos(), visible.topLeft());
    QCOMPARE(item->rect().size(), visible.size());
    Q_UNUSED(hValue);
}

void tst_OverviewFrame::draggingTheRectangleScrolls()
{
    auto scene = codeScene();
    Fixture f(scene.get());
    OverviewViewportItem* item = f.frame->viewportItem();
    const QPointF start = item->pos();
    item->setPos(start + QPointF(30000, 20000));
    QCOMPARE(item->pos(), start + QPointF(30000, 20000));
    // The code view now shows what the rectangle covers.
    const QRectF visible = f.view->mapToScene(f.view->viewport()->rect()).boundingRect();
    QVERIFY(qAbs(visible.left() - item->pos().x()) < 1.0 / BlockCodeView::BaseScale + 1);
    QVERIFY(qAbs(visible.top() - item->pos().y()) < 1.0 / BlockCodeView::BaseScale + 1);
}

void tst_OverviewFrame::draggingToTheEdgeStopsThere()
{
    auto scene = codeScene();
    Fixture f(scene.get());
    OverviewViewportItem* item = f.frame->viewportItem();
    const QRectF r = scene->sceneRect();
    item->setPos(r.right() + 50000, r.bottom() + 50000);
    QCOMPARE(item->pos(), QPointF(r.right() - item->rect().right(), r.bottom() - item->rect().bottom()));
    QCOMPARE(f.view->horizontalScrollBar()->value(), f.view->horizontalScrollBar()->maximum());
    QCOMPARE(f.view->verticalScrollBar()->value(), f.view->verticalScrollBar()->maximum());
    const int hMax = f.view->horizontalScrollBar()->value();
    item->setPos(r.right() + 90000, r.bottom());
    QCOMPARE(item->pos().x(), r.right() - item->rect().right());
    QCOMPARE(f.view->horizontalScrollBar()->value(), hMax);
    item->setPos(r.left() - 70000, r.top() - 70000);
    QCOMPARE(item->pos(), r.topLeft());
    QCOMPARE(f.view->horizontalScrollBar()->value(), f.view->horizontalScrollBar()->minimum());
    QCOMPARE(f.view->verticalScrollBar()->value(), f.view->verticalScrollBar()->minimum());
}

void tst_OverviewFrame::veilGreysOutsideTheRectangle()
{
    auto scene = codeScene();
    Fixture f(scene.get());
    OverviewViewportItem* item = f.frame->viewportItem();
    OverviewBackgroundItem* veil = f.frame->backgroundItem();
    veil->setRect(0, 0, 1000, 1000);
    item->setFlag(QGraphicsItem::ItemSendsGeometryChanges, false);
    item->setPos(100, 100);
    item->setRect(0, 0, 400, 400);
    QImage image(100, 100, QImage::Format_ARGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.scale(0.1, 0.1);
    veil->paint(&painter, nullptr, nullptr);
    painter.end();
    const QColor outside = image.pixelColor(80, 80);
    const QColor inside = image.pixelColor(30, 30);
    QCOMPARE(inside, QColor(Qt::white));
    // 192 grey at half alpha over white.
    QVERIFY(qAbs(outside.red() - 223) <= 1);
    QCOMPARE(outside.red(), outside.blue());
    veil->setViewportItem(nullptr);
    image.fill(Qt::white);
    QPainter again(&image);
    veil->paint(&again, nullptr, nullptr);
    again.end();
    QCOMPARE(image.pixelColor(80, 80), QColor(Qt::white));
}

void tst_OverviewFrame::cursorsOfTheBorderZones_data()
{
    QTest::addColumn<QPoint>("position");
    QTest::addColumn<int>("shape");
    // The frame is 300 by 300; the border zones are 4 pixels wide.
    QTest::newRow("top left") << QPoint(4, 4) << int(Qt::SizeFDiagCursor);
    QTest::newRow("bottom right") << QPoint(296, 296) << int(Qt::SizeFDiagCursor);
    QTest::newRow("bottom left") << QPoint(0, 299) << int(Qt::SizeBDiagCursor);
    QTest::newRow("top right") << QPoint(299, 2) << int(Qt::SizeBDiagCursor);
    QTest::newRow("top") << QPoint(150, 4) << int(Qt::SizeVerCursor);
    QTest::newRow("bottom") << QPoint(150, 296) << int(Qt::SizeVerCursor);
    QTest::newRow("bottom, just left of the corner") << QPoint(295, 297) << int(Qt::SizeVerCursor);
    QTest::newRow("left") << QPoint(0, 150) << int(Qt::SizeHorCursor);
    QTest::newRow("right") << QPoint(296, 150) << int(Qt::SizeHorCursor);
    QTest::newRow("just inside") << QPoint(5, 150) << int(Qt::ArrowCursor);
    QTest::newRow("inside") << QPoint(150, 150) << int(Qt::ArrowCursor);
}

void tst_OverviewFrame::cursorsOfTheBorderZones()
{
    QFETCH(QPoint, position);
    QFETCH(int, shape);
    auto scene = codeScene();
    Fixture f(scene.get());
    QCOMPARE(f.frame->size(), QSize(300, 300));
    sendMouse(f.frame, QEvent::MouseMove, position, Qt::NoButton, Qt::NoButton);
    QCOMPARE(int(f.frame->cursor().shape()), shape);
    // The preview views keep the arrow whatever the frame shows.
    QCOMPARE(f.frame->codePreview()->cursor().shape(), Qt::ArrowCursor);
    QVERIFY(f.frame->codePreview()->testAttribute(Qt::WA_SetCursor));
}

void tst_OverviewFrame::resizingByTheBorder()
{
    auto scene = codeScene();
    Fixture f(scene.get());
    f.frame->resizeTo(200, 200);
    QCOMPARE(f.frame->size(), QSize(200, 200));
    // Dragging the top left corner up and left enlarges the frame.
    sendMouse(f.frame, QEvent::MouseButtonPress, QPoint(1, 1), Qt::LeftButton, Qt::LeftButton);
    sendMouse(f.frame, QEvent::MouseMove, QPoint(-39, -19), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(f.frame->size(), QSize(240, 240));
    // While resizing, the cursor zones are not looked at.
    QCOMPARE(f.frame->cursor().shape(), Qt::ArrowCursor);
    sendMouse(f.frame, QEvent::MouseButtonRelease, QPoint(-39, -19), Qt::LeftButton, Qt::NoButton);
    QCOMPARE(f.frame->size(), QSize(240, 240));
    // A move without the button held resizes nothing.
    sendMouse(f.frame, QEvent::MouseMove, QPoint(100, 100), Qt::NoButton, Qt::NoButton);
    QCOMPARE(f.frame->size(), QSize(240, 240));
    // Down and right shrinks it, down to the floor of 20 % of the host's height.
    sendMouse(f.frame, QEvent::MouseButtonPress, QPoint(1, 1), Qt::LeftButton, Qt::LeftButton);
    sendMouse(f.frame, QEvent::MouseMove, QPoint(200, 200), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(f.frame->size(), QSize(100, 100));
    sendMouse(f.frame, QEvent::MouseButtonRelease, QPoint(200, 200), Qt::LeftButton, Qt::NoButton);
}

void tst_OverviewFrame::viewportItemCursors()
{
    auto scene = codeScene();
    Fixture f(scene.get());
    QVERIFY(QTest::qWaitForWindowExposed(&f.host));
    QGraphicsView* overlay = f.frame->overlay();
    OverviewViewportItem* item = f.frame->viewportItem();
    item->setRect(0, 0, 20000, 20000);
    const QPoint inside = overlay->mapFromScene(item->mapToScene(item->rect().center()));
    const QPoint outside = overlay->mapFromScene(item->mapToScene(item->rect().bottomRight() + QPointF(30000, 30000)));
    QTest::mouseMove(overlay->viewport(), inside);
    QTRY_COMPARE(item->cursor().shape(), Qt::OpenHandCursor);
    QTest::mousePress(overlay->viewport(), Qt::LeftButton, Qt::NoModifier, inside);
    QCOMPARE(item->cursor().shape(), Qt::ClosedHandCursor);
    QTest::mouseRelease(overlay->viewport(), Qt::LeftButton, Qt::NoModifier, inside);
    QCOMPARE(item->cursor().shape(), Qt::OpenHandCursor);
    QTest::mouseMove(overlay->viewport(), outside);
    QTRY_COMPARE(item->cursor().shape(), Qt::ArrowCursor);
}

void tst_OverviewFrame::sceneSwapFollowsThePreview()
{
    auto scene = codeScene();
    auto other = codeScene();
    Fixture f(scene.get());
    f.view->setScene(other.get());
    QCOMPARE(f.frame->codePreview()->scene(), scene.get());
    Q_EMIT f.view->areaChanged();
    QCOMPARE(f.frame->codePreview()->scene(), other.get());
}

void tst_OverviewFrame::growthOfTheCodeReachesThePreview()
{
    auto scene = codeScene();
    Fixture f(scene.get());
    const qreal before = f.frame->codePreview()->sceneRect().width();
    addBlock(scene.get(), QRectF(700000, 10000, 4000, 4000));
    // The scene tells of the change at the next turn of the event loop.
    QTRY_VERIFY(f.frame->codePreview()->sceneRect().width() > before);
    QCOMPARE(f.frame->codePreview()->sceneRect(), f.frame->contentRect());
}

void tst_OverviewFrame::growthOfALaterSceneComesWithTheNextScroll()
{
    auto scene = codeScene();
    auto later = codeScene();
    Fixture f(scene.get());
    f.view->setScene(later.get());
    Q_EMIT f.view->areaChanged();
    QCoreApplication::processEvents();
    const qreal before = f.frame->codePreview()->sceneRect().width();
    addBlock(later.get(), QRectF(800000, 10000, 4000, 4000));
    QCoreApplication::processEvents();
    // Only the first scene's changes resize the frame; a later one's growth shows at the next scroll.
    QCOMPARE(f.frame->codePreview()->sceneRect().width(), before);
    QScrollBar* horizontal = f.view->horizontalScrollBar();
    horizontal->setValue(horizontal->value() + 100);
    QVERIFY(f.frame->codePreview()->sceneRect().width() > before);
    QCOMPARE(f.frame->codePreview()->sceneRect(), f.frame->contentRect());
}

void tst_OverviewFrame::viewGoesFirst()
{
    auto scene = codeScene();
    QWidget host;
    host.resize(800, 600);
    auto* view = new PlainCodeView(&host);
    view->setScene(scene.get());
    // The frame lives apart from the view here, so the view can go first.
    OverviewFrame frame(&host);
    frame.setView(view);
    OverviewViewportItem* item = frame.viewportItem();
    delete view;
    QCOMPARE(frame.view(), nullptr);
    item->setPos(5000, 5000);
    QCOMPARE(item->pos(), QPointF(5000, 5000));
    frame.updateSize();
    frame.updateViewport();
    frame.viewportItemMoved(QPointF(1, 1));
}

ZK_TEST_REGISTER(tst_OverviewFrame)
#include "tst_OverviewFrame.moc"
