#include "BlockCode.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "ModelBuilder.h"
#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include <QAction>
#include <QApplication>
#include <QGraphicsSceneMouseEvent>
#include <QImage>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {

// The two gates with an ADD below the AND at (10, 30).
struct Diagram : GateDiagram
{
    BlockInstance* adder = place(QStringLiteral("StandardBlock_10"), {10, 30});
};

QList<QPointF> scenePositions(const QList<ConnectionNodeItem*>& nodes)
{
    QList<QPointF> result;
    for (ConnectionNodeItem* node : nodes)
        result.append(node->scenePos());
    return result;
}

void sendDoubleClickTo(QGraphicsScene* scene, QGraphicsItem* item, QPointF scenePos)
{
    QGraphicsSceneMouseEvent event(QEvent::GraphicsSceneMouseDoubleClick);
    event.setScenePos(scenePos);
    event.setPos(item->mapFromScene(scenePos));
    event.setButton(Qt::LeftButton);
    event.setButtons(Qt::LeftButton);
    event.setButtonDownScenePos(Qt::LeftButton, scenePos);
    event.setButtonDownPos(Qt::LeftButton, item->mapFromScene(scenePos));
    scene->sendEvent(item, &event);
}

} // namespace

class tst_ConnectionItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void emptyPositionListPutsDanglingEndsAtOrigin();
    void singlePointIsTheStart();
    void danglingChainFollowsTheModel();
    void endsSitOnTheirPins();
    void cornerNodesFollowTheModelList();
    void segmentIndexAt_data();
    void segmentIndexAt();
    void shapeIsAsWideAsANode();
    void boundingRectUnitesTheNodes();
    void doubleClickAddsCornerInDefinitionScene();
    void doubleClickInHierarchySceneAddsNothing();
    void doubleClickMissingEveryPairInsertsAtZero();
    void insertNodeAndNodeIndex();
    void removeNodeIgnoresEndNodes();
    void removeNodeDeletesCorner();
    void isConnectedTo();
    void isValid();
    void isAnySelected();
    void selectionRaisesLineAndCorners();
    void editModeChangedSetsMovable();
    void endNodeOnAnotherPinRewiresTheModel();
    void highlightedLineIsWideAndColoured_data();
    void highlightedLineIsWideAndColoured();
    void plainLineIsOnePixelAndBlack();
    void danglingHighlightedLineIsDashedAndColoured();
    void contextMenuTogglesHighlight();
    void destructionLeavesTheModelAlone();
};

void tst_ConnectionItem::initTestCase()
{
    // For QSignalSpy, which keeps the arguments of nodeAdded() as variants.
    qRegisterMetaType<ConnectionNodeItem*>();
}

void tst_ConnectionItem::emptyPositionListPutsDanglingEndsAtOrigin()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, {});
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    QVERIFY(item);
    QCOMPARE(item->allNodes().size(), 2);
    QCOMPARE(item->sourcePosition(), QPointF(0, 0));
    QCOMPARE(item->targetPosition(), QPointF(0, 0));
    QCOMPARE(item->pos(), QPointF(0, 0));
}

void tst_ConnectionItem::singlePointIsTheStart()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, {QPointF(3, 4)});
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    QVERIFY(item);
    QCOMPARE(item->allNodes().size(), 2);
    QCOMPARE(item->sourcePosition(), QPointF(3000, 4000));
    QCOMPARE(item->targetPosition(), QPointF(0, 0));
}

void tst_ConnectionItem::danglingChainFollowsTheModel()
{
    Diagram diagram;
    const QList<QPointF> points{{10, 10}, {20, 10}, {20, 20}, {30, 20}};
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, points);
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    QVERIFY(item);
    const QList<ConnectionNodeItem*> nodes = item->allNodes();
    QCOMPARE(nodes.size(), 4);
    QCOMPARE(scenePositions(nodes),
             (QList<QPointF>{{10000, 10000}, {20000, 10000}, {20000, 20000}, {30000, 20000}}));
    for (ConnectionNodeItem* node : nodes) {
        QCOMPARE(node->parentItem(), item);
        QCOMPARE(node->connectionItem(), item);
        QVERIFY(!node->isPinNode());
    }
    QVERIFY(item->isEndNode(nodes.first()));
    QVERIFY(item->isEndNode(nodes.last()));
    QVERIFY(!item->isEndNode(nodes.at(1)));
    QVERIFY(!item->isEndNode(nullptr));
    QCOMPARE(connection->nodePositions(), points);
}

void tst_ConnectionItem::endsSitOnTheirPins()
{
    Diagram diagram;
    BlockPinConnection* connection = ModelBuilder::wire(diagram.code, diagram.gate, 3, diagram.inverter, 1);
    QVERIFY(connection);
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    QVERIFY(item);
    const QList<ConnectionNodeItem*> nodes = item->allNodes();
    QCOMPARE(nodes.first()->parentItem(), diagram.pinItem(diagram.gate, 3));
    QCOMPARE(nodes.last()->parentItem(), diagram.pinItem(diagram.inverter, 1));
    QVERIFY(nodes.first()->isPinNode());
    QVERIFY(nodes.last()->isPinNode());
    QCOMPARE(item->sourcePosition(), diagram.pinPoint(diagram.gate, 3));
    QCOMPARE(item->targetPosition(), diagram.pinPoint(diagram.inverter, 1));
    QCOMPARE(item->sourcePosition(), QPointF(17000, 10500));
    QCOMPARE(item->targetPosition(), QPointF(27000, 10500));
    QVERIFY(diagram.pinItem(diagram.gate, 3)->hasConnection());
}

void tst_ConnectionItem::cornerNodesFollowTheModelList()
{
    Diagram diagram;
    BlockPinConnection* connection = ModelBuilder::wire(diagram.code, diagram.gate, 3, diagram.inverter, 1);
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    QCOMPARE(item->allNodes().size(), 2);

    // The scene follows BlockCode::changed() and reuses the item.
    connection->setNodePositions({{17, 10.5}, {20, 10.5}, {20, 15}, {27, 10.5}});
    QCOMPARE(diagram.itemOf(connection), item);
    QList<ConnectionNodeItem*> nodes = item->allNodes();
    QCOMPARE(nodes.size(), 4);
    ConnectionNodeItem* firstCorner = nodes.at(1);
    QCOMPARE(firstCorner->scenePos(), QPointF(20000, 10500));
    QCOMPARE(nodes.at(2)->scenePos(), QPointF(20000, 15000));

    connection->setNodePositions({{17, 10.5}, {22, 10.5}, {27, 10.5}});
    nodes = item->allNodes();
    QCOMPARE(nodes.size(), 3);
    QCOMPARE(nodes.at(1), firstCorner);
    QCOMPARE(firstCorner->scenePos(), QPointF(22000, 10500));
    // The ends stay on their pins whatever the list says about them.
    QCOMPARE(item->sourcePosition(), QPointF(17000, 10500));
    QCOMPARE(item->targetPosition(), QPointF(27000, 10500));
}

void tst_ConnectionItem::segmentIndexAt_data()
{
    QTest::addColumn<QPointF>("position");
    QTest::addColumn<int>("index");
    QTest::newRow("first segment") << QPointF(15000, 10000) << 0;
    QTest::newRow("first segment, edge of the stroke") << QPointF(15000, 10099) << 0;
    QTest::newRow("second segment") << QPointF(20000, 15000) << 1;
    QTest::newRow("third segment") << QPointF(25000, 20050) << 2;
    QTest::newRow("shared corner belongs to the earlier pair") << QPointF(20000, 10000) << 0;
    QTest::newRow("off the line") << QPointF(25000, 12000) << 0;
    QTest::newRow("far away") << QPointF(500000, 500000) << 0;
}

void tst_ConnectionItem::segmentIndexAt()
{
    QFETCH(QPointF, position);
    QFETCH(int, index);
    Diagram diagram;
    BlockPinConnection* connection =
        diagram.code->addConnection(nullptr, nullptr, {{10, 10}, {20, 10}, {20, 20}, {30, 20}});
    diagram.makeScene();
    QCOMPARE(diagram.itemOf(connection)->segmentIndexAt(position), index);
}

void tst_ConnectionItem::shapeIsAsWideAsANode()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, {{10, 10}, {20, 10}, {20, 20}});
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    const QPainterPath shape = item->shape();
    QVERIFY(shape.contains(QPointF(15000, 10000)));
    QVERIFY(shape.contains(QPointF(15000, 10099)));
    QVERIFY(shape.contains(QPointF(15000, 9901)));
    QVERIFY(!shape.contains(QPointF(15000, 10101)));
    QVERIFY(!shape.contains(QPointF(15000, 9899)));
    // Where the stroke and a node's square overlap there is no hole.
    QVERIFY(shape.contains(QPointF(10000, 10000)));
    QVERIFY(shape.contains(QPointF(20000, 10000)));
    QVERIFY(shape.contains(QPointF(20050, 10050)));
    // The square reaches past the end of the stroke.
    QVERIFY(shape.contains(QPointF(9905, 9905)));
    QCOMPARE(diagram.scene->connectionItemAt(QPointF(15000, 10090)), item);
    QCOMPARE(diagram.scene->connectionItemAt(QPointF(15000, 10200)), nullptr);
}

void tst_ConnectionItem::boundingRectUnitesTheNodes()
{
    Diagram diagram;
    BlockPinConnection* connection =
        diagram.code->addConnection(nullptr, nullptr, {{10, 10}, {20, 10}, {20, 20}, {30, 20}});
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    QCOMPARE(item->boundingRect(), QRectF(QPointF(9900, 9900), QPointF(30100, 20100)));
    // Moving a node makes the rectangle follow at once.
    item->allNodes().at(2)->setPos(20000, 25000);
    QCOMPARE(item->boundingRect(), QRectF(QPointF(9900, 9900), QPointF(30100, 25100)));
}

void tst_ConnectionItem::doubleClickAddsCornerInDefinitionScene()
{
    Diagram diagram;
    BlockPinConnection* connection =
        diagram.code->addConnection(nullptr, nullptr, {{10, 10}, {20, 10}, {20, 20}, {30, 20}});
    TestCodeScene* scene = diagram.makeScene(true);
    ConnectionItem* item = diagram.itemOf(connection);
    QSignalSpy added(item, &ConnectionItem::nodeAdded);

    sendSceneMouse(scene, QEvent::GraphicsSceneMouseDoubleClick, QPointF(25000, 20000));

    QCOMPARE(added.count(), 1);
    auto* node = added.first().first().value<ConnectionNodeItem*>();
    QVERIFY(node);
    const QList<ConnectionNodeItem*> nodes = item->allNodes();
    QCOMPARE(nodes.size(), 5);
    QCOMPARE(nodes.at(3), node);
    QCOMPARE(item->nodeIndex(node), 2);
    QCOMPARE(node->parentItem(), item);
    QCOMPARE(node->scenePos(), QPointF(25000, 20000));
    QCOMPARE(connection->nodePositions(),
             (QList<QPointF>{{10, 10}, {20, 10}, {20, 20}, {25, 20}, {30, 20}}));
}

void tst_ConnectionItem::doubleClickInHierarchySceneAddsNothing()
{
    Diagram diagram;
    const QList<QPointF> points{{10, 10}, {20, 10}, {20, 20}, {30, 20}};
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, points);
    TestCodeScene* scene = diagram.makeScene(false);
    ConnectionItem* item = diagram.itemOf(connection);
    QVERIFY(!item->isEditable());
    QSignalSpy added(item, &ConnectionItem::nodeAdded);

    sendSceneMouse(scene, QEvent::GraphicsSceneMouseDoubleClick, QPointF(25000, 20000));

    QCOMPARE(added.count(), 0);
    QCOMPARE(item->allNodes().size(), 4);
    QCOMPARE(connection->nodePositions(), points);
}

void tst_ConnectionItem::doubleClickMissingEveryPairInsertsAtZero()
{
    Diagram diagram;
    BlockPinConnection* connection =
        diagram.code->addConnection(nullptr, nullptr, {{10, 10}, {20, 10}, {20, 20}, {30, 20}});
    TestCodeScene* scene = diagram.makeScene(true);
    ConnectionItem* item = diagram.itemOf(connection);
    QSignalSpy added(item, &ConnectionItem::nodeAdded);

    sendDoubleClickTo(scene, item, QPointF(40000, 40000));

    QCOMPARE(added.count(), 1);
    auto* node = added.first().first().value<ConnectionNodeItem*>();
    QCOMPARE(item->nodeIndex(node), 0);
    QCOMPARE(item->allNodes().at(1), node);
    QCOMPARE(connection->nodePositions().at(1), QPointF(40, 40));
}

void tst_ConnectionItem::insertNodeAndNodeIndex()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, {{10, 10}, {20, 10}, {30, 20}});
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    ConnectionNodeItem* node = item->insertNode(QPointF(25000, 10000), 1);
    QVERIFY(node);
    QCOMPARE(item->nodeIndex(node), 1);
    QCOMPARE(connection->nodePositions(), (QList<QPointF>{{10, 10}, {20, 10}, {25, 10}, {30, 20}}));
    // End nodes aren't corners: their index is the length of the corner list.
    QCOMPARE(item->nodeIndex(item->allNodes().first()), 2);
    QCOMPARE(item->nodeIndex(nullptr), 2);
}

void tst_ConnectionItem::removeNodeIgnoresEndNodes()
{
    Diagram diagram;
    const QList<QPointF> points{{10, 10}, {20, 10}, {30, 20}};
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, points);
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    const QList<ConnectionNodeItem*> before = item->allNodes();

    item->removeNode(before.first());
    item->removeNode(before.last());

    QCOMPARE(item->allNodes(), before);
    QVERIFY(!item->isSelected());
    QCOMPARE(connection->nodePositions(), points);
}

void tst_ConnectionItem::removeNodeDeletesCorner()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, {{10, 10}, {20, 10}, {30, 20}});
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    ConnectionNodeItem* corner = item->allNodes().at(1);

    item->removeNode(corner);

    QCOMPARE(item->allNodes().size(), 2);
    QVERIFY(item->isSelected());
    QCOMPARE(connection->nodePositions(), (QList<QPointF>{{10, 10}, {30, 20}}));
    QCOMPARE(item->childItems().size(), 2);
}

void tst_ConnectionItem::isConnectedTo()
{
    Diagram diagram;
    BlockPinConnection* first = ModelBuilder::wire(diagram.code, diagram.gate, 3, diagram.inverter, 1);
    BlockInstance* other = ModelBuilder::place(diagram.code, ModelBuilder::newest(diagram.model.block(QStringLiteral("StandardBlock_2"))), {30, 20});
    BlockPinConnection* fanOut = ModelBuilder::wire(diagram.code, diagram.gate, 3, other, 1);
    BlockPinConnection* apart = diagram.code->addConnection(nullptr, nullptr, {{40, 40}, {45, 40}});
    diagram.makeScene();
    ConnectionItem* firstItem = diagram.itemOf(first);
    ConnectionItem* fanOutItem = diagram.itemOf(fanOut);
    ConnectionItem* apartItem = diagram.itemOf(apart);

    QVERIFY(firstItem->isConnectedTo(fanOutItem));
    QVERIFY(fanOutItem->isConnectedTo(firstItem));
    QVERIFY(!firstItem->isConnectedTo(apartItem));
    QVERIFY(!firstItem->isConnectedTo(firstItem));
    QVERIFY(!firstItem->isConnectedTo(nullptr));
    QCOMPARE(firstItem->connectedItems(), QList<ConnectionItem*>{fanOutItem});
    QVERIFY(apartItem->connectedItems().isEmpty());

    // An item whose connection the model has deleted is connected to nothing.
    const bool saved = diagram.code->blockChangeSignals(true);
    diagram.code->deleteConnection(fanOut);
    diagram.code->blockChangeSignals(saved);
    QCOMPARE(fanOutItem->pinConnection(), nullptr);
    QVERIFY(!firstItem->isConnectedTo(fanOutItem));
    QVERIFY(!fanOutItem->isConnectedTo(firstItem));
    QVERIFY(firstItem->connectedItems().isEmpty());
}

void tst_ConnectionItem::isValid()
{
    Diagram diagram;
    BlockPinConnection* valid = ModelBuilder::wire(diagram.code, diagram.gate, 3, diagram.inverter, 1);
    BlockPinConnection* mixedTypes = diagram.code->addConnection(diagram.gate->pin(3), diagram.adder->pin(1), {});
    BlockPinConnection* dangling = diagram.code->addConnection(diagram.gate->pin(3), nullptr, {{17, 10.5}, {20, 5}});
    diagram.makeScene();
    QVERIFY(diagram.itemOf(valid)->isValid());
    QVERIFY(!diagram.itemOf(mixedTypes)->isValid());
    QVERIFY(!diagram.itemOf(dangling)->isValid());
}

void tst_ConnectionItem::isAnySelected()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, {{10, 10}, {20, 10}, {30, 20}});
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    QVERIFY(!item->isAnySelected());
    item->allNodes().last()->setSelected(true);
    QVERIFY(item->isAnySelected());
    QVERIFY(!item->isSelected());
    QCOMPARE(diagram.scene->selectedConnectionItems(), QList<ConnectionItem*>{item});
    item->allNodes().last()->setSelected(false);
    item->setSelected(true);
    QVERIFY(item->isAnySelected());
}

void tst_ConnectionItem::selectionRaisesLineAndCorners()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, {{10, 10}, {20, 10}, {25, 10}, {30, 20}});
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    const QList<ConnectionNodeItem*> nodes = item->allNodes();
    QCOMPARE(item->zValue(), 1.0);
    for (ConnectionNodeItem* node : nodes)
        QCOMPARE(node->zValue(), 1.1);

    item->setSelected(true);
    QCOMPARE(item->zValue(), 2.0);
    QCOMPARE(nodes.at(1)->zValue(), 2.1);
    QCOMPARE(nodes.at(2)->zValue(), 2.1);
    // Only the corners are raised with the line.
    QCOMPARE(nodes.first()->zValue(), 1.1);
    QCOMPARE(nodes.last()->zValue(), 1.1);

    item->setSelected(false);
    QCOMPARE(item->zValue(), 1.0);
    QCOMPARE(nodes.at(1)->zValue(), 1.1);
    QCOMPARE(nodes.at(2)->zValue(), 1.1);
}

void tst_ConnectionItem::editModeChangedSetsMovable()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(nullptr, nullptr, {{10, 10}, {20, 10}, {30, 20}});
    diagram.makeScene(false);
    ConnectionItem* item = diagram.itemOf(connection);
    for (ConnectionNodeItem* node : item->allNodes())
        QVERIFY(!(node->flags() & QGraphicsItem::ItemIsMovable));
    item->editModeChanged(true);
    for (ConnectionNodeItem* node : item->allNodes())
        QVERIFY(node->flags() & QGraphicsItem::ItemIsMovable);
    item->editModeChanged(false);
    for (ConnectionNodeItem* node : item->allNodes())
        QVERIFY(!(node->flags() & QGraphicsItem::ItemIsMovable));
}

void tst_ConnectionItem::endNodeOnAnotherPinRewiresTheModel()
{
    Diagram diagram;
    BlockPinConnection* connection = ModelBuilder::wire(diagram.code, diagram.gate, 3, diagram.inverter, 1);
    BlockInstance* other = ModelBuilder::place(diagram.code, ModelBuilder::newest(diagram.model.block(QStringLiteral("StandardBlock_2"))), {30, 20});
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    ConnectionNodeItem* target = item->allNodes().last();

    target->attachToPin(diagram.pinItem(other, 2));

    QCOMPARE(connection->target(), other->pin(2));
    QCOMPARE(target->parentItem(), diagram.pinItem(other, 2));
    QCOMPARE(connection->nodePositions().last(), diagram.pinPoint(other, 2) / 1000.0);

    // Detached, the end keeps its place and the connection loses that end.
    const QPointF where = target->scenePos();
    target->attachToPin(nullptr);
    QCOMPARE(connection->target(), nullptr);
    QCOMPARE(target->parentItem(), item);
    QCOMPARE(target->scenePos(), where);
}

void tst_ConnectionItem::highlightedLineIsWideAndColoured_data()
{
    QTest::addColumn<bool>("integer");
    QTest::addColumn<qreal>("scale");
    QTest::addColumn<QColor>("colour");
    QTest::newRow("BOOL") << false << 0.1 << QColor(Qt::red).lighter(150);
    QTest::newRow("BOOL, zoomed in") << false << 0.2 << QColor(Qt::red).lighter(150);
    QTest::newRow("DINT") << true << 0.1 << QColor(Qt::red).darker(150);
}

void tst_ConnectionItem::highlightedLineIsWideAndColoured()
{
    QFETCH(bool, integer);
    QFETCH(qreal, scale);
    QFETCH(QColor, colour);
    Diagram diagram;
    BlockInstance* from = diagram.gate;
    BlockInstance* to = diagram.inverter;
    if (integer) {
        from = ModelBuilder::place(diagram.code, ModelBuilder::newest(diagram.model.block(QStringLiteral("StandardBlock_10"))), {10, 50});
        to = ModelBuilder::place(diagram.code, ModelBuilder::newest(diagram.model.block(QStringLiteral("StandardBlock_10"))), {30, 50});
    }
    BlockPinConnection* connection = ModelBuilder::wire(diagram.code, from, 3, to, 1);
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    const qreal y = item->sourcePosition().y();
    QCOMPARE(item->targetPosition().y(), y);

    // The model's signal reaches the item.
    connection->setHighlighted(true);

    const QSize size(qRound(4000 * scale), qRound(1000 * scale));
    const QImage image = renderScene(diagram.scene.get(), QRectF(20000, y - 500, 4000, 1000), size);
    const int x = size.width() / 2;
    const int centre = size.height() / 2;
    const int halfWidth = qRound(50 * scale);
    QCOMPARE(image.pixel(x, centre), colour.rgba());
    QCOMPARE(image.pixel(x, centre - halfWidth + 1), colour.rgba());
    QCOMPARE(image.pixel(x, centre + halfWidth - 2), colour.rgba());
    QCOMPARE(image.pixel(x, centre - halfWidth - 3), QColor(Qt::white).rgba());
    QCOMPARE(image.pixel(x, centre + halfWidth + 3), QColor(Qt::white).rgba());
}

void tst_ConnectionItem::plainLineIsOnePixelAndBlack()
{
    Diagram diagram;
    BlockPinConnection* connection = ModelBuilder::wire(diagram.code, diagram.gate, 3, diagram.inverter, 1);
    diagram.makeScene();
    QVERIFY(!connection->isHighlighted());
    const QImage image = renderScene(diagram.scene.get(), QRectF(20000, 10000, 4000, 1000), QSize(400, 100));
    int dark = 0;
    for (int y = 0; y < image.height(); ++y) {
        if (image.pixelColor(200, y) != QColor(Qt::white)) {
            QCOMPARE(image.pixelColor(200, y), QColor(Qt::black));
            ++dark;
        }
    }
    QCOMPARE(dark, 1);
}

void tst_ConnectionItem::danglingHighlightedLineIsDashedAndColoured()
{
    Diagram diagram;
    BlockPinConnection* connection = diagram.code->addConnection(diagram.gate->pin(3), nullptr, {{17, 10.5}, {27, 10.5}});
    connection->setHighlighted(true);
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    QCOMPARE(item->targetPosition(), QPointF(27000, 10500));

    const QImage image = renderScene(diagram.scene.get(), QRectF(19000, 10000, 6000, 1000), QSize(600, 100));
    const QRgb colour = QColor(Qt::red).lighter(150).rgba();
    int coloured = 0;
    int gaps = 0;
    for (int x = 0; x < image.width(); ++x) {
        const QRgb pixel = image.pixel(x, 50);
        if (pixel == colour)
            ++coloured;
        else if (pixel == QColor(Qt::white).rgba())
            ++gaps;
    }
    QVERIFY2(coloured > 100, qPrintable(QString::number(coloured)));
    QVERIFY2(gaps > 50, qPrintable(QString::number(gaps)));

    // The same route on both pins is drawn solid.
    connection->setTarget(diagram.inverter->pin(1));
    const QImage solid = renderScene(diagram.scene.get(), QRectF(19000, 10000, 6000, 1000), QSize(600, 100));
    for (int x = 0; x < solid.width(); ++x)
        QCOMPARE(solid.pixel(x, 50), colour);
}

void tst_ConnectionItem::contextMenuTogglesHighlight()
{
    Diagram diagram;
    BlockPinConnection* connection = ModelBuilder::wire(diagram.code, diagram.gate, 3, diagram.inverter, 1);
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);

    QMenu menu;
    menu.addAction(QStringLiteral("vorher"));
    item->addContextMenuActions(&menu);
    const QList<QAction*> actions = menu.actions();
    QCOMPARE(actions.size(), 3);
    QVERIFY(actions.at(1)->isSeparator());
    QAction* highlight = actions.at(2);
    QCOMPARE(highlight->text(), QStringLiteral("Verlauf hervorheben"));
    QVERIFY(highlight->isCheckable());
    QVERIFY(!highlight->isChecked());

    highlight->setChecked(true);
    QVERIFY(connection->isHighlighted());
    highlight->setChecked(false);
    QVERIFY(!connection->isHighlighted());

    connection->setHighlighted(true);
    QMenu second;
    item->addContextMenuActions(&second);
    QVERIFY(second.actions().last()->isChecked());
}

void tst_ConnectionItem::destructionLeavesTheModelAlone()
{
    Diagram diagram;
    BlockPinConnection* connection = ModelBuilder::wire(diagram.code, diagram.gate, 3, diagram.inverter, 1);
    diagram.makeScene();
    ConnectionItem* item = diagram.itemOf(connection);
    item->insertNode(QPointF(22000, 10500), 0);
    const QList<QPointF> points = connection->nodePositions();
    QCOMPARE(points.size(), 3);
    BlockPinItem* sourcePin = diagram.pinItem(diagram.gate, 3);
    BlockPinItem* targetPin = diagram.pinItem(diagram.inverter, 1);
    QVERIFY(sourcePin->hasConnection());

    delete item;

    QCOMPARE(connection->source(), diagram.gate->pin(3));
    QCOMPARE(connection->target(), diagram.inverter->pin(1));
    QCOMPARE(connection->nodePositions(), points);
    QVERIFY(!sourcePin->hasConnection());
    QVERIFY(!targetPin->hasConnection());
    QVERIFY(diagram.scene->connectionItemMap().isEmpty());
}

ZK_TEST_REGISTER(tst_ConnectionItem)
#include "tst_ConnectionItem.moc"
