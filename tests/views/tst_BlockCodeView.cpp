#include "MenuLookup.h"
#include "PlainCodeView.h"
#include "TestRegistry.h"

#include "BlockCodeView.h"
#include "BlockCodeViewMenu.h"
#include "BlockFinder.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QGraphicsRectItem>
#include <QGraphicsScene>
#include <QGraphicsSceneContextMenuEvent>
#include <QGraphicsSceneMouseEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QPointer>
#include <QResizeEvent>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>

#include <functional>

namespace {

// The smallest concrete code view: it says what it is told and counts what it is asked to do.
class TestCodeView : public PlainCodeView
{
public:
    using PlainCodeView::PlainCodeView;

    bool isReadOnly() const override { return readOnly; }
    bool isStepOutAllowed() const override { return stepOutAllowed; }
    bool setReadOnly(bool value) override
    {
        readOnly = value;
        return true;
    }
    bool stepInSelectedBlock() override
    {
        ++stepInCalls;
        return stepInResult;
    }

    bool readOnly = true;
    bool stepOutAllowed = false;
    bool stepInResult = false;
    int stepInCalls = 0;
};

// Records the double clicks and context menu requests that reach it.
class RecordingScene : public QGraphicsScene
{
public:
    using QGraphicsScene::QGraphicsScene;
    int doubleClicks = 0;

protected:
    void mouseDoubleClickEvent(QGraphicsSceneMouseEvent* event) override
    {
        ++doubleClicks;
        QGraphicsScene::mouseDoubleClickEvent(event);
    }
};

// An item with a menu of its own: it takes the right click.
class MenuItem : public QGraphicsRectItem
{
public:
    using QGraphicsRectItem::QGraphicsRectItem;
    int requests = 0;

protected:
    void contextMenuEvent(QGraphicsSceneContextMenuEvent* event) override
    {
        ++requests;
        event->accept();
    }
};

bool sendWheel(QWidget* viewport, QPoint angleDelta, Qt::KeyboardModifiers modifiers)
{
    const QPointF position(50, 50);
    QWheelEvent event(position, viewport->mapToGlobal(position), QPoint(), angleDelta, Qt::NoButton, modifiers,
                      Qt::NoScrollPhase, false);
    event.setAccepted(false);
    QApplication::sendEvent(viewport, &event);
    return event.isAccepted();
}

void sendKey(QWidget* widget, QEvent::Type type, int key, Qt::KeyboardModifiers modifiers)
{
    QKeyEvent event(type, key, modifiers);
    QApplication::sendEvent(widget, &event);
}

// Runs `trigger`, which is expected to open a popup menu, and closes that menu from inside its loop.
QPointer<QMenu> closeNextPopup(const std::function<void()>& trigger, QStringList* texts)
{
    QPointer<QMenu> seen;
    auto* timer = new QTimer;
    timer->setInterval(10);
    int attempts = 0;
    QObject::connect(timer, &QTimer::timeout, timer, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu && ++attempts < 300)
            return;
        timer->stop();
        if (!menu)
            return;
        seen = menu;
        texts->append(actionTexts(menu));
        menu->close();
    });
    timer->start();
    trigger();
    delete timer;
    return seen;
}

} // namespace

class tst_BlockCodeView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void construction();
    void setZoomFactorBounds_data();
    void setZoomFactorBounds();
    void wheelWithoutControlScrolls();
    void wheelWithControlZooms_data();
    void wheelWithControlZooms();
    void wheelWithControlAndHorizontalDeltaOnly();
    void wheelWithControlAtTheLowerEnd();
    void wheelStepsAreNotCorrected();
    void controlStartsHandPanning();
    void copyAndPasteChordsEndHandPanning_data();
    void copyAndPasteChordsEndHandPanning();
    void releasingControlEndsHandPanning();
    void doubleClickReachesTheScene_data();
    void doubleClickReachesTheScene();
    void doubleClickIsAcceptedOnlyByAStepIn_data();
    void doubleClickIsAcceptedOnlyByAStepIn();
    void resizeEmitsSizeChangedOnly();
    void contextMenuOfAnItemIsTheItemsOwn();
    void contextMenuOnEmptySpaceRunsTheViewMenu();
    void setSearchComboBoxMakesAFinderEachTime();
    void checkIssueViewAndStatusLabelAreKept();
};

void tst_BlockCodeView::construction()
{
    TestCodeView view;
    QCOMPARE(view.zoomFactor(), 1.0);
    QCOMPARE(view.transform(), QTransform::fromScale(0.03, 0.03));
    QCOMPARE(view.dragMode(), QGraphicsView::RubberBandDrag);
    QCOMPARE(view.rubberBandSelectionMode(), Qt::ContainsItemShape);
    QVERIFY(!view.checkIssueView());
    QVERIFY(!view.statusLabel());
    QVERIFY(view.findChildren<BlockFinder*>().isEmpty());
}

void tst_BlockCodeView::setZoomFactorBounds_data()
{
    QTest::addColumn<double>("factor");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("lower bound") << 0.1 << true;
    QTest::newRow("upper bound") << 8.0 << true;
    QTest::newRow("inside") << 2.5 << true;
    QTest::newRow("below") << 0.09 << false;
    QTest::newRow("above") << 8.01 << false;
    QTest::newRow("zero") << 0.0 << false;
    QTest::newRow("negative") << -1.0 << false;
}

void tst_BlockCodeView::setZoomFactorBounds()
{
    QFETCH(double, factor);
    QFETCH(bool, accepted);
    TestCodeView view;
    view.setZoomFactor(1.5);
    QSignalSpy spy(&view, &BlockCodeView::zoomFactorChanged);
    view.setZoomFactor(factor);
    if (accepted) {
        QCOMPARE(spy.size(), 1);
        QCOMPARE(spy.at(0).at(0).toDouble(), factor);
        QCOMPARE(view.zoomFactor(), factor);
        QCOMPARE(view.transform(), QTransform::fromScale(factor * 0.03, factor * 0.03));
    } else {
        QCOMPARE(spy.size(), 0);
        QCOMPARE(view.zoomFactor(), 1.5);
        QCOMPARE(view.transform(), QTransform::fromScale(1.5 * 0.03, 1.5 * 0.03));
    }
}

void tst_BlockCodeView::wheelWithoutControlScrolls()
{
    QGraphicsScene scene(0, 0, 1000000, 1000000);
    TestCodeView view;
    view.setScene(&scene);
    view.resize(300, 300);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.verticalScrollBar()->setValue(1000);
    QSignalSpy spy(&view, &BlockCodeView::zoomFactorChanged);
    sendWheel(view.viewport(), QPoint(0, -120), Qt::NoModifier);
    QVERIFY(view.verticalScrollBar()->value() > 1000);
    QCOMPARE(view.zoomFactor(), 1.0);
    QCOMPARE(spy.size(), 0);
    QCOMPARE(view.transformationAnchor(), QGraphicsView::AnchorViewCenter);
}

void tst_BlockCodeView::wheelWithControlZooms_data()
{
    QTest::addColumn<int>("delta");
    QTest::addColumn<double>("factor");
    QTest::newRow("up") << 120 << 1.1;
    QTest::newRow("up fine") << 1 << 1.1;
    QTest::newRow("up coarse") << 960 << 1.1;
    QTest::newRow("down") << -120 << 0.9;
    QTest::newRow("down fine") << -1 << 0.9;
}

void tst_BlockCodeView::wheelWithControlZooms()
{
    QFETCH(int, delta);
    QFETCH(double, factor);
    TestCodeView view;
    QSignalSpy spy(&view, &BlockCodeView::zoomFactorChanged);
    QVERIFY(sendWheel(view.viewport(), QPoint(0, delta), Qt::ControlModifier));
    QCOMPARE(view.zoomFactor(), factor);
    QCOMPARE(spy.size(), 1);
    QCOMPARE(view.transformationAnchor(), QGraphicsView::AnchorUnderMouse);
}

void tst_BlockCodeView::wheelWithControlAndHorizontalDeltaOnly()
{
    QGraphicsScene scene(0, 0, 1000000, 1000000);
    TestCodeView view;
    view.setScene(&scene);
    view.horizontalScrollBar()->setValue(1000);
    const int before = view.horizontalScrollBar()->value();
    QSignalSpy spy(&view, &BlockCodeView::zoomFactorChanged);
    QVERIFY(sendWheel(view.viewport(), QPoint(120, 0), Qt::ControlModifier));
    QCOMPARE(view.zoomFactor(), 1.0);
    QCOMPARE(spy.size(), 0);
    // Nor does it scroll: the event never reaches the base class.
    QCOMPARE(view.horizontalScrollBar()->value(), before);
    QCOMPARE(view.transformationAnchor(), QGraphicsView::AnchorUnderMouse);
}

void tst_BlockCodeView::wheelWithControlAtTheLowerEnd()
{
    TestCodeView view;
    view.setZoomFactor(0.15);
    QSignalSpy spy(&view, &BlockCodeView::zoomFactorChanged);
    QVERIFY(sendWheel(view.viewport(), QPoint(0, -120), Qt::ControlModifier));
    QCOMPARE(view.zoomFactor(), 0.15);
    QCOMPARE(spy.size(), 0);
    view.setZoomFactor(7.95);
    spy.clear();
    QVERIFY(sendWheel(view.viewport(), QPoint(0, 120), Qt::ControlModifier));
    QCOMPARE(view.zoomFactor(), 7.95);
    QCOMPARE(spy.size(), 0);
}

void tst_BlockCodeView::wheelStepsAreNotCorrected()
{
    TestCodeView view;
    double expected = 1.0;
    for (int i = 0; i < 9; ++i) {
        QVERIFY(sendWheel(view.viewport(), QPoint(0, -120), Qt::ControlModifier));
        expected -= 0.1;
    }
    QCOMPARE(view.zoomFactor(), expected);
    QVERIFY(view.zoomFactor() > 0.1);
    // The tenth step would go just below the bound and is refused.
    QVERIFY(sendWheel(view.viewport(), QPoint(0, -120), Qt::ControlModifier));
    QCOMPARE(view.zoomFactor(), expected);

    view.setZoomFactor(1.0);
    expected = 1.0;
    for (int i = 0; i < 70; ++i) {
        sendWheel(view.viewport(), QPoint(0, 120), Qt::ControlModifier);
        expected += 0.1;
    }
    QCOMPARE(view.zoomFactor(), expected);
    QVERIFY(view.zoomFactor() < 8.0);
    sendWheel(view.viewport(), QPoint(0, 120), Qt::ControlModifier);
    QCOMPARE(view.zoomFactor(), expected);
}

void tst_BlockCodeView::controlStartsHandPanning()
{
    TestCodeView view;
    sendKey(&view, QEvent::KeyPress, Qt::Key_Control, Qt::ControlModifier);
    QCOMPARE(view.dragMode(), QGraphicsView::ScrollHandDrag);
    // Other keys leave the mode alone.
    sendKey(&view, QEvent::KeyPress, Qt::Key_A, Qt::ControlModifier);
    QCOMPARE(view.dragMode(), QGraphicsView::ScrollHandDrag);
}

void tst_BlockCodeView::copyAndPasteChordsEndHandPanning_data()
{
    QTest::addColumn<int>("standardKey");
    QTest::newRow("copy") << int(QKeySequence::Copy);
    QTest::newRow("paste") << int(QKeySequence::Paste);
}

void tst_BlockCodeView::copyAndPasteChordsEndHandPanning()
{
    QFETCH(int, standardKey);
    TestCodeView view;
    sendKey(&view, QEvent::KeyPress, Qt::Key_Control, Qt::ControlModifier);
    QCOMPARE(view.dragMode(), QGraphicsView::ScrollHandDrag);
    const QKeyCombination chord = QKeySequence(QKeySequence::StandardKey(standardKey))[0];
    sendKey(&view, QEvent::KeyPress, chord.key(), chord.keyboardModifiers());
    // Control is still down, and yet the rubber band is back.
    QCOMPARE(view.dragMode(), QGraphicsView::RubberBandDrag);
}

void tst_BlockCodeView::releasingControlEndsHandPanning()
{
    TestCodeView view;
    sendKey(&view, QEvent::KeyPress, Qt::Key_Control, Qt::ControlModifier);
    sendKey(&view, QEvent::KeyRelease, Qt::Key_A, Qt::ControlModifier);
    QCOMPARE(view.dragMode(), QGraphicsView::ScrollHandDrag);
    sendKey(&view, QEvent::KeyRelease, Qt::Key_Control, Qt::NoModifier);
    QCOMPARE(view.dragMode(), QGraphicsView::RubberBandDrag);
}

namespace {

// A double click of the left button into the view's viewport, unaccepted when sent; whether it
// came back accepted.
bool doubleClick(BlockCodeView& view)
{
    const QPointF position(40, 40);
    QMouseEvent event(QEvent::MouseButtonDblClick, position, view.viewport()->mapToGlobal(position), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    event.setAccepted(false);
    QApplication::sendEvent(view.viewport(), &event);
    return event.isAccepted();
}

} // namespace

void tst_BlockCodeView::doubleClickReachesTheScene_data()
{
    QTest::addColumn<bool>("stepsIn");
    QTest::newRow("steps into nothing") << false;
    QTest::newRow("steps in") << true;
}

void tst_BlockCodeView::doubleClickReachesTheScene()
{
    QFETCH(bool, stepsIn);
    RecordingScene scene(0, 0, 100000, 100000);
    TestCodeView view;
    view.setScene(&scene);
    view.stepInResult = stepsIn;
    doubleClick(view);
    // Whether or not a level was entered, the scene sees the click too.
    QCOMPARE(view.stepInCalls, 1);
    QCOMPARE(scene.doubleClicks, 1);
}

void tst_BlockCodeView::doubleClickIsAcceptedOnlyByAStepIn_data()
{
    QTest::addColumn<bool>("stepsIn");
    QTest::newRow("steps into nothing") << false;
    QTest::newRow("steps in") << true;
}

void tst_BlockCodeView::doubleClickIsAcceptedOnlyByAStepIn()
{
    QFETCH(bool, stepsIn);
    RecordingScene scene(0, 0, 100000, 100000);
    TestCodeView view;
    view.setScene(&scene);
    // An interactive view's base class writes the scene's verdict over the event's; a view that
    // takes no interaction leaves it alone, so what this class decided is what the event says.
    view.setInteractive(false);
    // An event the viewport leaves unaccepted goes on to the view as a fresh copy, accepted from the
    // start, and comes back accepted; the viewport's own answer is the one under test.
    view.viewport()->setAttribute(Qt::WA_NoMousePropagation);
    view.stepInResult = stepsIn;
    const bool accepted = doubleClick(view);
    QCOMPARE(view.stepInCalls, 1);
    QCOMPARE(accepted, stepsIn);
}

void tst_BlockCodeView::resizeEmitsSizeChangedOnly()
{
    QGraphicsScene scene(0, 0, 1000000, 1000000);
    TestCodeView view;
    view.setScene(&scene);
    view.resize(200, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const int maximum = view.horizontalScrollBar()->maximum();
    QVERIFY(maximum > 0);
    QSignalSpy spy(&view, &BlockCodeView::sizeChanged);
    view.resize(400, 300);
    // The scroll area hands its viewport's resize to this handler: one signal, with that size.
    QTRY_COMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).toSize(), view.viewport()->size());
    QVERIFY(view.viewport()->width() > 200);
    // The base class would have fitted the scroll range to the wider viewport.
    QCOMPARE(view.horizontalScrollBar()->maximum(), maximum);

    QResizeEvent event(QSize(123, 45), view.viewport()->size());
    QApplication::sendEvent(view.viewport(), &event);
    QCOMPARE(spy.size(), 2);
    QCOMPARE(spy.at(1).at(0).toSize(), QSize(123, 45));
}

void tst_BlockCodeView::contextMenuOfAnItemIsTheItemsOwn()
{
    QGraphicsScene scene(0, 0, 100000, 100000);
    auto* item = new MenuItem(0, 0, 100000, 100000);
    scene.addItem(item);
    TestCodeView view;
    view.setScene(&scene);
    view.resize(300, 300);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.setDragMode(QGraphicsView::ScrollHandDrag);
    const QPoint position(50, 50);
    QContextMenuEvent event(QContextMenuEvent::Mouse, position, view.viewport()->mapToGlobal(position));
    QStringList texts;
    QPointer<QMenu> menu = closeNextPopup([&] { QApplication::sendEvent(view.viewport(), &event); }, &texts);
    QCOMPARE(item->requests, 1);
    QVERIFY(!menu);
    // The item's own menu leaves the panning alone.
    QCOMPARE(view.dragMode(), QGraphicsView::ScrollHandDrag);
}

void tst_BlockCodeView::contextMenuOnEmptySpaceRunsTheViewMenu()
{
    QGraphicsScene scene(0, 0, 100000, 100000);
    TestCodeView view;
    view.stepOutAllowed = true;
    view.setScene(&scene);
    view.resize(300, 300);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.setDragMode(QGraphicsView::ScrollHandDrag);
    const QPoint position(50, 50);
    QContextMenuEvent event(QContextMenuEvent::Mouse, position, view.viewport()->mapToGlobal(position));
    QStringList texts;
    QPointer<QMenu> menu = closeNextPopup([&] { QApplication::sendEvent(view.viewport(), &event); }, &texts);
    QCOMPARE(view.dragMode(), QGraphicsView::RubberBandDrag);
    QVERIFY(texts.contains(QStringLiteral("Eigenschaften")));
    QVERIFY(texts.contains(QStringLiteral("Ebene höher")));
    // One menu per click, gone once it has run.
    QVERIFY(!menu);
    QVERIFY(view.findChildren<BlockCodeViewMenu*>().isEmpty());
}

void tst_BlockCodeView::setSearchComboBoxMakesAFinderEachTime()
{
    TestCodeView view;
    QComboBox first;
    QComboBox second;
    view.setSearchComboBox(&first);
    QCOMPARE(view.findChildren<BlockFinder*>().size(), 1);
    QCOMPARE(view.findChildren<BlockFinder*>().first()->parent(), &view);
    view.setSearchComboBox(&second);
    QCOMPARE(view.findChildren<BlockFinder*>().size(), 2);
}

void tst_BlockCodeView::checkIssueViewAndStatusLabelAreKept()
{
    TestCodeView view;
    QLabel* label = nullptr;
    {
        auto* made = new QLabel(&view);
        view.setStatusLabel(made);
        label = made;
    }
    QCOMPARE(view.statusLabel(), label);
    view.setStatusLabel(nullptr);
    QVERIFY(!view.statusLabel());
}

ZK_TEST_REGISTER(tst_BlockCodeView)
#include "tst_BlockCodeView.moc"
