#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "BlockPin.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "BlockSymbol.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "ModelBuilder.h"
#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include <QGraphicsSceneMouseEvent>
#include <QImage>
#include <QTest>

#include <memory>

namespace {

// The two gates with an OR at (30, 20) below the NOT, its first input at (27000, 20500).
struct Diagram : GateDiagram
{
    BlockInstance* other = place(QStringLiteral("StandardBlock_2"), {30, 20});
};

// A scene region drawn at one pixel per scene unit around a point, 400 by 400 pixels.
QImage renderAround(QGraphicsScene* scene, QPointF centre)
{
    return renderScene(scene, QRectF(centre - QPointF(200, 200), QSizeF(400, 400)), QSize(400, 400));
}

// The node alone, painted as if it weren't selected: a drag selects the node, and the grey square
// of the selection would hide the grey mark of a pin under it. Its connection still counts as
// selected, so the square is black.
QImage paintUnselected(ConnectionNodeItem* node)
{
    return renderItem(node, QSize(400, 400), 1.0, QPointF(200, 200));
}

// The colour at an offset from the centre of an image made by renderAround().
QColor colourAt(const QImage& image, int dx, int dy)
{
    return image.pixelColor(200 + dx, 200 + dy);
}

void sendMouse(QGraphicsScene* scene, QEvent::Type type, QPointF scenePos)
{
    // The scene fills in where the button went down for the item that grabbed the mouse.
    sendSceneMouse(scene, type, scenePos, Qt::LeftButton);
}

} // namespace

class tst_ConnectionNodeItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void construction();
    void cornerAloneSnapsToHalfUnits_data();
    void cornerAloneSnapsToHalfUnits();
    void selectionOfNodesOnlyCountsAsAlone();
    void cornerWithBlockKeepsItsOffset_data();
    void cornerWithBlockKeepsItsOffset();
    void attachedEndFollowsItsBlock();
    void selectionSetsZValue();
    void draggedNodeWritesTheModelOnRelease();
    void endDroppedOnPinIsRewired();
    void endDroppedOnNoPinStaysOnItsPin();
    void dragOverHiddenEnablePinShowsNoMark();
    void cornerOverPinShowsMarkButIsNotAttached();
    void endOnPinDrawsDotOrRedSquare_data();
    void endOnPinDrawsDotOrRedSquare();
    void junctionDotOnlyAfterAMove();
    void selectionHandlesOnlyWhereMovable();
    void doubleClickInHierarchySceneDoesNothing();
    void attachToPinAndBack();
};

void tst_ConnectionNodeItem::construction()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, {{10, 10}, {15, 10}, {20, 10}});
    diagram.makeScene(true);
    ConnectionItem* item = diagram.itemOf(connection);
    ConnectionNodeItem* corner = item->allNodes().at(1);
    QCOMPARE(corner->connectionItem(), item);
    QCOMPARE(corner->boundingRect(), QRectF(-100, -100, 200, 200));
    QCOMPARE(corner->zValue(), 1.1);
    const QGraphicsItem::GraphicsItemFlags flags = corner->flags();
    QVERIFY(flags & QGraphicsItem::ItemIsSelectable);
    QVERIFY(flags & QGraphicsItem::ItemSendsGeometryChanges);
    QVERIFY(flags & QGraphicsItem::ItemSendsScenePositionChanges);
    QVERIFY(flags & QGraphicsItem::ItemIsMovable);
    corner->setMovable(false);
    QVERIFY(!(corner->flags() & QGraphicsItem::ItemIsMovable));
    // The bounding rectangle is the hit area.
    QCOMPARE(diagram.scene->connectionNodeItemAt(QPointF(15095, 10095)), corner);

    diagram.makeScene(false);
    QVERIFY(!(diagram.itemOf(connection)->allNodes().at(1)->flags() & QGraphicsItem::ItemIsMovable));
}

void tst_ConnectionNodeItem::cornerAloneSnapsToHalfUnits_data()
{
    QTest::addColumn<QPointF>("requested");
    QTest::addColumn<QPointF>("expected");
    QTest::newRow("down") << QPointF(1234, 1749) << QPointF(1000, 1500);
    QTest::newRow("half way goes up") << QPointF(1250, 1750) << QPointF(1500, 2000);
    QTest::newRow("truncated toward zero below the origin") << QPointF(-260, -499) << QPointF(0, 0);
    QTest::newRow("clamped, then snapped") << QPointF(2000000, -5000) << QPointF(1000500, 0);
}

void tst_ConnectionNodeItem::cornerAloneSnapsToHalfUnits()
{
    QFETCH(QPointF, requested);
    QFETCH(QPointF, expected);
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, {{10, 10}, {15, 10}, {20, 10}});
    diagram.makeScene();
    ConnectionNodeItem* corner = diagram.itemOf(connection)->allNodes().at(1);
    corner->setPos(requested);
    QCOMPARE(corner->pos(), expected);
    QCOMPARE(corner->scenePos(), expected);
    // Outside a drag the model follows each step.
    QCOMPARE(connection->nodePositions().at(1), expected / 1000.0);
}

void tst_ConnectionNodeItem::selectionOfNodesOnlyCountsAsAlone()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, {{10, 10}, {15, 10}, {16, 10}, {20, 10}});
    diagram.makeScene();
    const QList<ConnectionNodeItem*> nodes = diagram.itemOf(connection)->allNodes();
    nodes.at(1)->setSelected(true);
    nodes.at(2)->setSelected(true);
    nodes.at(1)->setPos(16400, 11300);
    QCOMPARE(nodes.at(1)->pos(), QPointF(16500, 11500));
}

void tst_ConnectionNodeItem::cornerWithBlockKeepsItsOffset_data()
{
    QTest::addColumn<QPointF>("start");
    QTest::addColumn<QPointF>("delta");
    QTest::addColumn<QPointF>("expected");
    QTest::newRow("steps of one unit") << QPointF(15000, 5000) << QPointF(1400, -600) << QPointF(16000, 4000);
    QTest::newRow("half a unit off the raster") << QPointF(15500, 5000) << QPointF(1400, 0) << QPointF(16500, 5000);
    QTest::newRow("half steps round away from zero") << QPointF(15000, 5000) << QPointF(1500, -1500)
                                                     << QPointF(17000, 3000);
}

void tst_ConnectionNodeItem::cornerWithBlockKeepsItsOffset()
{
    QFETCH(QPointF, start);
    QFETCH(QPointF, delta);
    QFETCH(QPointF, expected);
    Diagram diagram;
    BlockPinConnection* connection =
        diagram.code->addConnection(nullptr, nullptr, {{10, 5}, start / 1000.0, {20, 5}});
    diagram.makeScene();
    ConnectionNodeItem* corner = diagram.itemOf(connection)->allNodes().at(1);
    QCOMPARE(corner->pos(), start);
    corner->setSelected(true);
    diagram.scene->blockItemOf(diagram.gate)->setSelected(true);
    corner->setPos(start + delta);
    QCOMPARE(corner->pos(), expected);
}

void tst_ConnectionNodeItem::attachedEndFollowsItsBlock()
{
    Diagram diagram;
    BlockPinConnection* connection = ModelBuilder::wire(diagram.code, diagram.gate, 3, diagram.inverter, 1);
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    ConnectionNodeItem* source = item->allNodes().first();
    BlockItem* block = diagram.scene->blockItemOf(diagram.gate);

    block->setPos(block->pos() + QPointF(2000, 1000));
    QCOMPARE(source->scenePos(), QPointF(19000, 11500));
    QCOMPARE(connection->nodePositions().first(), QPointF(19, 11.5));

    block->setPos(block->pos() + QPointF(-4000, 0));
    QCOMPARE(source->scenePos(), QPointF(15000, 11500));
    QCOMPARE(connection->nodePositions().first(), QPointF(15, 11.5));
    QCOMPARE(connection->nodePositions().last(), QPointF(27, 10.5));
    // Attached nodes take no snapping of their own.
    QCOMPARE(source->pos(), diagram.pinItem(diagram.gate, 3)->connectionPoint());
}

void tst_ConnectionNodeItem::selectionSetsZValue()
{
    Diagram diagram;
    BlockPinConnection* connection = ModelBuilder::wire(diagram.code, diagram.gate, 3, diagram.inverter, 1);
    diagram.makeScene();
    ConnectionNodeItem* source = diagram.itemOf(connection)->allNodes().first();
    source->setSelected(true);
    QCOMPARE(source->zValue(), 2.1);
    source->setSelected(false);
    QCOMPARE(source->zValue(), 1.1);
}

void tst_ConnectionNodeItem::draggedNodeWritesTheModelOnRelease()
{
    Diagram diagram;
    const QList<QPointF> points{{10, 40}, {15, 40}, {20, 40}};
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, points);
    TestCodeScene* scene = diagram.makeScene();
    ConnectionNodeItem* corner = diagram.itemOf(connection)->allNodes().at(1);

    sendMouse(scene, QEvent::GraphicsSceneMousePress, QPointF(15000, 40000));
    QVERIFY(corner->isSelected());
    sendMouse(scene, QEvent::GraphicsSceneMouseMove, QPointF(16000, 42000));
    QCOMPARE(corner->pos(), QPointF(16000, 42000));
    sendMouse(scene, QEvent::GraphicsSceneMouseMove, QPointF(17100, 43000));
    QCOMPARE(corner->pos(), QPointF(17000, 43000));
    QCOMPARE(connection->nodePositions(), points);

    sendMouse(scene, QEvent::GraphicsSceneMouseRelease, QPointF(17100, 43000));
    QCOMPARE(connection->nodePositions(), (QList<QPointF>{{10, 40}, {17, 43}, {20, 40}}));

    // Idle again: a move outside a drag is written at once.
    corner->setPos(18000, 43000);
    QCOMPARE(connection->nodePositions().at(1), QPointF(18, 43));
}

void tst_ConnectionNodeItem::endDroppedOnPinIsRewired()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(diagram.gate->pin(3), nullptr, {{17, 10.5}, {22, 30}});
    TestCodeScene* scene = diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    ConnectionNodeItem* target = item->allNodes().last();
    QVERIFY(!target->isPinNode());
    const QPointF pinPoint = diagram.pinPoint(diagram.other, 1);
    QCOMPARE(pinPoint, QPointF(27000, 20500));

    sendMouse(scene, QEvent::GraphicsSceneMousePress, QPointF(22000, 30000));
    sendMouse(scene, QEvent::GraphicsSceneMouseMove, pinPoint + QPointF(60, 40));
    sendMouse(scene, QEvent::GraphicsSceneMouseRelease, pinPoint + QPointF(60, 40));

    QCOMPARE(target->parentItem(), diagram.pinItem(diagram.other, 1));
    QVERIFY(target->isPinNode());
    QCOMPARE(target->scenePos(), pinPoint);
    QCOMPARE(connection->target(), diagram.other->pin(1));
    QCOMPARE(connection->nodePositions().last(), pinPoint / 1000.0);
}

void tst_ConnectionNodeItem::endDroppedOnNoPinStaysOnItsPin()
{
    Diagram diagram;
    BlockPinConnection* connection = ModelBuilder::wire(diagram.code, diagram.gate, 3, diagram.inverter, 1);
    TestCodeScene* scene = diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    ConnectionNodeItem* target = item->allNodes().last();
    BlockPinItem* pin = diagram.pinItem(diagram.inverter, 1);

    // An end on a pin lies under its line; the press goes to the node itself.
    QGraphicsSceneMouseEvent press(QEvent::GraphicsSceneMousePress);
    press.setScenePos(QPointF(27000, 10500));
    press.setPos(target->mapFromScene(QPointF(27000, 10500)));
    press.setButton(Qt::LeftButton);
    press.setButtons(Qt::LeftButton);
    press.setButtonDownScenePos(Qt::LeftButton, QPointF(27000, 10500));
    press.setButtonDownPos(Qt::LeftButton, press.pos());
    scene->sendEvent(target, &press);
    QGraphicsSceneMouseEvent move(QEvent::GraphicsSceneMouseMove);
    move.setScenePos(QPointF(24000, 15000));
    move.setLastScenePos(QPointF(27000, 10500));
    move.setPos(target->mapFromScene(move.scenePos()));
    move.setButtons(Qt::LeftButton);
    move.setButtonDownScenePos(Qt::LeftButton, QPointF(27000, 10500));
    move.setButtonDownPos(Qt::LeftButton, press.pos());
    scene->sendEvent(target, &move);
    QCOMPARE(target->scenePos(), QPointF(24000, 15000));
    QGraphicsSceneMouseEvent release(QEvent::GraphicsSceneMouseRelease);
    release.setScenePos(QPointF(24000, 15000));
    release.setPos(target->mapFromScene(release.scenePos()));
    release.setButton(Qt::LeftButton);
    release.setButtonDownScenePos(Qt::LeftButton, QPointF(27000, 10500));
    // The scene follows every change of the code; kept quiet, it shows where the user left the end.
    const bool saved = diagram.code->blockChangeSignals(true);
    scene->sendEvent(target, &release);
    diagram.code->blockChangeSignals(saved);

    QCOMPARE(target->parentItem(), pin);
    QCOMPARE(target->scenePos(), QPointF(24000, 15000));
    QCOMPARE(connection->target(), diagram.inverter->pin(1));
    QCOMPARE(connection->nodePositions().last(), QPointF(24, 15));
    // The next update of the scene brings it back.
    scene->updateRequired();
    QCOMPARE(target->parentItem(), pin);
    QCOMPARE(target->scenePos(), QPointF(27000, 10500));
}

void tst_ConnectionNodeItem::dragOverHiddenEnablePinShowsNoMark()
{
    Diagram diagram;
    BlockDefinition* definition = ModelBuilder::newest(diagram.model.block(QStringLiteral("StandardBlock_2")));
    definition->setPin(BlockPin(BlockItem::EnablePinIdentifier, BlockPinFunctionInput, DatatypeProvider::Bool));
    BlockSymbol symbol = *definition->symbol();
    symbol.setInputPins(QList<int>{BlockItem::EnablePinIdentifier} + symbol.inputPins());
    definition->setSymbol(symbol);
    BlockInstance* enabled = ModelBuilder::place(diagram.code, definition, {30, 40});
    QVERIFY(enabled->pin(BlockItem::EnablePinIdentifier));
    BlockPinConnection* connection = diagram.code->addConnection(diagram.gate->pin(3), nullptr, {{17, 10.5}, {22, 35}});
    TestCodeScene* scene = diagram.makeScene();
    ConnectionNodeItem* target = diagram.itemOf(connection)->allNodes().last();
    BlockPinItem* enablePin = diagram.pinItem(enabled, BlockItem::EnablePinIdentifier);
    QVERIFY(enablePin);
    QVERIFY(!enablePin->isVisible());
    const QPointF enablePoint = enablePin->mapToScene(enablePin->connectionPoint());
    QCOMPARE(enablePoint, QPointF(27000, 40500));

    sendMouse(scene, QEvent::GraphicsSceneMousePress, QPointF(22000, 35000));
    sendMouse(scene, QEvent::GraphicsSceneMouseMove, enablePoint);
    QCOMPARE(target->scenePos(), enablePoint);
    // The dragged node counts as a selected part of its connection: black square, no grey mark.
    QCOMPARE(colourAt(paintUnselected(target), 20, 20), QColor(Qt::black));

    sendMouse(scene, QEvent::GraphicsSceneMouseRelease, enablePoint);
    QVERIFY(!target->isPinNode());
    QCOMPARE(connection->target(), nullptr);
    QVERIFY(!enablePin->isVisible());
}

void tst_ConnectionNodeItem::cornerOverPinShowsMarkButIsNotAttached()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(diagram.gate->pin(3), nullptr, {{17, 10.5}, {22, 30}, {24, 35}});
    TestCodeScene* scene = diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    ConnectionNodeItem* corner = item->allNodes().at(1);
    const QPointF pinPoint = diagram.pinPoint(diagram.other, 1);

    sendMouse(scene, QEvent::GraphicsSceneMousePress, QPointF(22000, 30000));
    sendMouse(scene, QEvent::GraphicsSceneMouseMove, pinPoint);
    QCOMPARE(corner->scenePos(), pinPoint);
    const QImage image = paintUnselected(corner);
    QCOMPARE(colourAt(image, 20, 20), QColor(Qt::gray));
    QCOMPARE(colourAt(image, -30, 30), QColor(Qt::gray));
    // The grey mark fills only the inner square of the black one.
    QCOMPARE(colourAt(image, 70, 70), QColor(Qt::black));

    sendMouse(scene, QEvent::GraphicsSceneMouseRelease, pinPoint);
    QCOMPARE(corner->parentItem(), item);
    QVERIFY(!corner->isPinNode());
    QCOMPARE(connection->target(), nullptr);
    QCOMPARE(connection->nodePositions().at(1), pinPoint / 1000.0);
    QCOMPARE(colourAt(paintUnselected(corner), 20, 20), QColor(Qt::black));
}

void tst_ConnectionNodeItem::endOnPinDrawsDotOrRedSquare_data()
{
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QColor>("colour");
    QTest::newRow("valid") << true << QColor(Qt::black);
    QTest::newRow("not valid") << false << QColor(Qt::red);
}

void tst_ConnectionNodeItem::endOnPinDrawsDotOrRedSquare()
{
    QFETCH(bool, valid);
    QFETCH(QColor, colour);
    Diagram diagram;
    BlockPinConnection* connection = nullptr;
    if (valid) {
        connection = ModelBuilder::wire(diagram.code, diagram.gate, 3, diagram.inverter, 1);
    } else {
        // A BOOL output on a DINT input isn't a valid connection.
        BlockInstance* adder = ModelBuilder::place(diagram.code, ModelBuilder::newest(diagram.model.block(QStringLiteral("StandardBlock_10"))), {30, 30});
        connection = diagram.code->addConnection(diagram.gate->pin(3), adder->pin(1), {});
    }
    TestCodeScene* scene = diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    QCOMPARE(item->isValid(), valid);

    const QImage image = renderAround(scene, item->sourcePosition());
    QCOMPARE(colourAt(image, 20, 20), colour);
    QCOMPARE(colourAt(image, -20, -20), colour);
    // The dot is round; the square fills its corners.
    QCOMPARE(colourAt(image, 45, 45), valid ? QColor(Qt::white) : colour);
    QCOMPARE(colourAt(image, 70, 70), QColor(Qt::white));
}

void tst_ConnectionNodeItem::junctionDotOnlyAfterAMove()
{
    Diagram diagram;
    // The first route has a corner on the straight line to the NOT; the second, from the same
    // output, runs through that corner on its way to the OR. Both come from the model before the
    // scene exists, the first one first.
    BlockPinConnection* first = ModelBuilder::wire(diagram.code, diagram.gate, 3, diagram.inverter, 1,
                                                   {{17, 10.5}, {20, 10.5}, {27, 10.5}});
    BlockPinConnection* second = ModelBuilder::wire(diagram.code, diagram.gate, 3, diagram.other, 1,
                                                    {{17, 10.5}, {21, 10.5}, {21, 20.5}, {27, 20.5}});
    QVERIFY(first && second);
    TestCodeScene* scene = diagram.makeScene();
    ConnectionNodeItem* corner = diagram.itemOf(first)->allNodes().at(1);
    QCOMPARE(corner->scenePos(), QPointF(20000, 10500));

    QCOMPARE(colourAt(renderAround(scene, corner->scenePos()), 20, 20), QColor(Qt::white));

    corner->setPos(20500, 10500);
    corner->setPos(20000, 10500);
    QCOMPARE(colourAt(renderAround(scene, corner->scenePos()), 20, 20), QColor(Qt::black));

    // Away from the other route the junction goes again.
    corner->setPos(20000, 12500);
    QCOMPARE(colourAt(renderAround(scene, corner->scenePos()), 20, 20), QColor(Qt::white));
}

void tst_ConnectionNodeItem::selectionHandlesOnlyWhereMovable()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, {{10, 40}, {15, 40}, {15, 45}, {20, 45}});
    TestCodeScene* scene = diagram.makeScene(true);
    ConnectionItem* item = diagram.itemOf(connection);
    ConnectionNodeItem* corner = item->allNodes().at(1);
    ConnectionNodeItem* otherCorner = item->allNodes().at(2);

    QCOMPARE(colourAt(renderAround(scene, corner->scenePos()), 70, 70), QColor(Qt::white));
    corner->setSelected(true);
    QCOMPARE(colourAt(renderAround(scene, corner->scenePos()), 70, 70), QColor(Qt::gray));
    QCOMPARE(colourAt(renderAround(scene, corner->scenePos()), 20, 20), QColor(Qt::gray));
    // The other nodes of a connection in the selection are black.
    QCOMPARE(colourAt(renderAround(scene, otherCorner->scenePos()), 70, 70), QColor(Qt::black));

    TestCodeScene* hierarchy = diagram.makeScene(false);
    ConnectionItem* readOnly = diagram.itemOf(connection);
    readOnly->allNodes().at(1)->setSelected(true);
    QCOMPARE(colourAt(renderAround(hierarchy, readOnly->allNodes().at(1)->scenePos()), 70, 70), QColor(Qt::white));
    QCOMPARE(colourAt(renderAround(hierarchy, readOnly->allNodes().at(2)->scenePos()), 70, 70), QColor(Qt::white));
}

void tst_ConnectionNodeItem::doubleClickInHierarchySceneDoesNothing()
{
    Diagram diagram;
    const QList<QPointF> points{{10, 40}, {15, 40}, {20, 40}};
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, points);
    TestCodeScene* scene = diagram.makeScene(false);
    ConnectionItem* item = diagram.itemOf(connection);
    ConnectionNodeItem* corner = item->allNodes().at(1);
    QCOMPARE(scene->connectionNodeItemAt(QPointF(15000, 40000)), corner);

    sendMouse(scene, QEvent::GraphicsSceneMouseDoubleClick, QPointF(15000, 40000));

    // The base class would have selected the node.
    QVERIFY(!corner->isSelected());
    QVERIFY(!item->isSelected());
    QCOMPARE(item->allNodes().size(), 3);
    QCOMPARE(connection->nodePositions(), points);
}

void tst_ConnectionNodeItem::attachToPinAndBack()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, {{10, 40}, {20, 40}});
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    ConnectionNodeItem* source = item->allNodes().first();

    source->attachToPin(diagram.pinItem(diagram.gate, 3));
    QVERIFY(source->isPinNode());
    QCOMPARE(source->scenePos(), QPointF(17000, 10500));
    QCOMPARE(connection->source(), diagram.gate->pin(3));
    QCOMPARE(connection->nodePositions().first(), QPointF(17, 10.5));

    source->attachToPin(nullptr);
    QVERIFY(!source->isPinNode());
    QCOMPARE(source->parentItem(), item);
    QCOMPARE(source->scenePos(), QPointF(17000, 10500));
    QCOMPARE(connection->source(), nullptr);
}

ZK_TEST_REGISTER(tst_ConnectionNodeItem)
#include "tst_ConnectionNodeItem.moc"
