#include "TestRegistry.h"
#include "ToolkitWorkarounds.h"

#include <QCoreApplication>
#include <QGraphicsRectItem>
#include <QGraphicsScene>
#include <QGraphicsSceneMouseEvent>
#include <QTest>
#include <QTreeWidget>

#include <memory>

namespace {

// A follower of scene positions that counts what the toolkit (or the workaround) tells it.
class Follower : public QGraphicsRectItem
{
public:
    explicit Follower(QGraphicsItem* parent)
        : QGraphicsRectItem(0, 0, 10, 10, parent)
    {
        setFlag(ItemSendsScenePositionChanges);
    }

    int told = 0;
    QPointF lastScenePos;

protected:
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override
    {
        if (change == ItemScenePositionHasChanged) {
            ++told;
            lastScenePos = value.toPointF();
        }
        return QGraphicsRectItem::itemChange(change, value);
    }
};

// An item that takes a double click and counts what reaches it.
class Clickable : public QGraphicsRectItem
{
public:
    Clickable()
        : QGraphicsRectItem(0, 0, 100, 100)
    {
    }

    int doubleClicks = 0;

protected:
    void mouseDoubleClickEvent(QGraphicsSceneMouseEvent*) override { ++doubleClicks; }
};

void sendDoubleClick(QGraphicsScene* scene, QPointF position)
{
    QGraphicsSceneMouseEvent event(QEvent::GraphicsSceneMouseDoubleClick);
    event.setScenePos(position);
    event.setButtonDownScenePos(Qt::LeftButton, position);
    event.setButton(Qt::LeftButton);
    event.setButtons(Qt::LeftButton);
    QCoreApplication::sendEvent(scene, &event);
}

} // namespace

// Each workaround rests on a behaviour of the toolkit. The first tests of each pair check that
// behaviour on the toolkit alone: if one of them fails after a toolkit update, the workaround it
// names is no longer needed or no longer works, and must be looked at. The others check the
// workaround itself.
class tst_ToolkitWorkarounds : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void toolkitWildcardMissesRowsWithSlash()
    {
        // allRows() exists because of this.
        QTreeWidget tree;
        auto* group = new QTreeWidgetItem(&tree, {QStringLiteral("Ein-/Ausgabe")});
        new QTreeWidgetItem(group, {QStringLiteral("Logik")});
        new QTreeWidgetItem(&tree, {QStringLiteral("Zeit")});
        const QList<QTreeWidgetItem*> found =
            tree.findItems(QStringLiteral("*"), Qt::MatchWildcard | Qt::MatchRecursive, 0);
        QCOMPARE(found.size(), 2);
        QVERIFY(!found.contains(group));
    }

    void allRowsFindsEveryRowParentsFirst()
    {
        QTreeWidget tree;
        auto* group = new QTreeWidgetItem(&tree, {QStringLiteral("Ein-/Ausgabe")});
        auto* child = new QTreeWidgetItem(group, {QStringLiteral("Logik")});
        auto* grandChild = new QTreeWidgetItem(child, {QStringLiteral("a/b")});
        auto* second = new QTreeWidgetItem(&tree, {QStringLiteral("Zeit")});
        const QList<QTreeWidgetItem*> expected{group, child, grandChild, second};
        QCOMPARE(ToolkitWorkarounds::allRows(&tree), expected);
        QVERIFY(ToolkitWorkarounds::allRows(nullptr).isEmpty());
    }

    void toolkitTellsFollowersOfAMovedAncestor()
    {
        QGraphicsScene scene;
        auto* block = new QGraphicsRectItem(0, 0, 100, 100);
        scene.addItem(block);
        auto* pin = new QGraphicsRectItem(0, 0, 10, 10, block);
        auto* follower = new Follower(pin);
        block->moveBy(1000, 0);
        QCOMPARE(follower->told, 1);
        QCOMPARE(follower->lastScenePos, QPointF(1000, 0));
    }

    void toolkitStopsTellingAllFollowersOfAnAncestorWhenOneLeavesItsList()
    {
        // The pause rests on this: clearing the flag of one follower clears the mark of its
        // ancestors, so the toolkit tells none of their followers, until a queued call marks
        // them again.
        QGraphicsScene scene;
        auto* block = new QGraphicsRectItem(0, 0, 100, 100);
        scene.addItem(block);
        auto* first = new Follower(new QGraphicsRectItem(0, 0, 10, 10, block));
        auto* second = new Follower(new QGraphicsRectItem(0, 20, 10, 10, block));
        first->setFlag(QGraphicsItem::ItemSendsScenePositionChanges, false);
        block->moveBy(1000, 0);
        QCOMPARE(first->told, 0);
        QCOMPARE(second->told, 0);
        QCoreApplication::processEvents();
        block->moveBy(1000, 0);
        QCOMPARE(first->told, 0);
        QCOMPARE(second->told, 1);
    }

    void pauseAndTellFollowersReachEveryFollowerOnce()
    {
        QGraphicsScene scene;
        QObject context;
        auto* block = new QGraphicsRectItem(0, 0, 100, 100);
        scene.addItem(block);
        auto* first = new Follower(new QGraphicsRectItem(0, 0, 10, 10, block));
        auto* secondPin = new QGraphicsRectItem(0, 0, 10, 10, block);
        secondPin->setPos(0, 20);
        auto* second = new Follower(secondPin);
        QObject standInObject;
        ToolkitWorkarounds::ScenePositionWalkPause pause;
        pause.suspend(first, &standInObject, &context);
        QCOMPARE(pause.standIn(), static_cast<const QGraphicsItem*>(first));
        QVERIFY(!(first->flags() & QGraphicsItem::ItemSendsScenePositionChanges));
        block->moveBy(1000, 0);
        ToolkitWorkarounds::tellFollowers(block, pause.standIn());
        QCOMPARE(first->told, 1);
        QCOMPARE(second->told, 1);
        QCOMPARE(second->lastScenePos, QPointF(1000, 20));
        pause.resume();
        QVERIFY(!pause.standIn());
        QVERIFY(first->flags() & QGraphicsItem::ItemSendsScenePositionChanges);
    }

    void pauseEndsAtTheEventLoop()
    {
        QGraphicsScene scene;
        QObject context;
        auto* block = new QGraphicsRectItem(0, 0, 100, 100);
        scene.addItem(block);
        auto* follower = new Follower(block);
        QObject standInObject;
        ToolkitWorkarounds::ScenePositionWalkPause pause;
        pause.suspend(follower, &standInObject, &context);
        QCoreApplication::processEvents();
        QVERIFY(!pause.standIn());
        QVERIFY(follower->flags() & QGraphicsItem::ItemSendsScenePositionChanges);
        block->moveBy(10, 0);
        QCOMPARE(follower->told, 1);
    }

    void pauseLetsGoOfAStandInThatDied()
    {
        QObject context;
        ToolkitWorkarounds::ScenePositionWalkPause pause;
        {
            QGraphicsScene scene;
            auto* block = new QGraphicsRectItem(0, 0, 100, 100);
            scene.addItem(block);
            auto* follower = new Follower(block);
            auto standInObject = std::make_unique<QObject>();
            pause.suspend(follower, standInObject.get(), &context);
            // The stand-in's object goes with its item, before the pause ends.
        }
        QVERIFY(!pause.standIn());
        // Neither the explicit end nor the queued one may touch the item that went.
        pause.resume();
        QCoreApplication::processEvents();
        QVERIFY(!pause.standIn());
    }

    void toolkitKeepsTheItemOfADoubleClickAfterItsHandler()
    {
        // afterEventDelivery() exists because of this: the scene still holds the item that took
        // the double click once the item's handler has returned, so that handler must not delete it.
        QGraphicsScene scene;
        auto* item = new Clickable;
        scene.addItem(item);
        sendDoubleClick(&scene, QPointF(50, 50));
        QCOMPARE(item->doubleClicks, 1);
        QCOMPARE(scene.mouseGrabberItem(), item);
    }

    void workAfterEventDeliveryWaitsForTheEventLoop()
    {
        QObject context;
        int runs = 0;
        ToolkitWorkarounds::afterEventDelivery(&context, [&runs] { ++runs; });
        QCOMPARE(runs, 0);
        QTRY_COMPARE(runs, 1);
        QCoreApplication::processEvents();
        QCOMPARE(runs, 1);
    }

    void workAfterEventDeliveryIsDroppedWithItsContext()
    {
        int runs = 0;
        {
            QObject context;
            ToolkitWorkarounds::afterEventDelivery(&context, [&runs] { ++runs; });
        }
        QCoreApplication::processEvents();
        QCOMPARE(runs, 0);
        ToolkitWorkarounds::afterEventDelivery(nullptr, [&runs] { ++runs; });
        QCoreApplication::processEvents();
        QCOMPARE(runs, 0);
    }

    void sceneItemsWatchSeesItemsComeAndGoButNotChange()
    {
        QGraphicsScene scene;
        scene.setItemIndexMethod(QGraphicsScene::NoIndex);
        QGraphicsRectItem* block = scene.addRect(0, 0, 100, 100);
        block->setFlag(QGraphicsItem::ItemIsSelectable);
        ToolkitWorkarounds::SceneItemsWatch watch(&scene);
        QCOMPARE(watch.count(), 1);
        QVERIFY(!watch.changed());

        // Changes of an item leave the scene's list as it was.
        block->setPos(500, 300);
        block->setZValue(4);
        block->setSelected(true);
        block->setVisible(false);
        block->setVisible(true);
        QVERIFY(!watch.changed());

        // A child comes into the scene with its parent's list entry copied.
        auto* child = new QGraphicsRectItem(0, 0, 10, 10, block);
        QVERIFY(watch.changed());
        QCOMPARE(watch.restart(), 2);
        QVERIFY(!watch.changed());
        delete child;
        QVERIFY(watch.changed());
        QCOMPARE(watch.restart(), 1);
        scene.removeItem(block);
        QVERIFY(watch.changed());
        delete block;
        QCOMPARE(watch.restart(), 0);

        // With an index the list is made anew at each call: always changed, never wrongly not.
        QGraphicsScene indexed;
        indexed.setItemIndexMethod(QGraphicsScene::BspTreeIndex);
        indexed.addRect(0, 0, 10, 10);
        ToolkitWorkarounds::SceneItemsWatch indexedWatch(&indexed);
        QVERIFY(indexedWatch.changed());
    }
};

ZK_TEST_REGISTER(tst_ToolkitWorkarounds)
#include "tst_ToolkitWorkarounds.moc"
