#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "BlockCode.h"
#include "BlockDefinitionScene.h"
#include "BlockPinConnection.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "RemoveConnectionNodeCommand.h"

#include <QTest>
#include <QUndoStack>

#include <memory>

// A double click on a corner removes it as an undo step; undo finds the connection again by where
// its two ends stand and puts the corner back at its index.
class tst_RemoveConnectionNodeCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void doubleClickRemovesTheCornerAsOneUndoStep_data();
    void doubleClickRemovesTheCornerAsOneUndoStep();
    void rightDoubleClickRemovesNothing();
    void nothingAtThePositionDoesNothingAndStays();
    void undoPutsTheNodeOnTheLastMatchInDescendingOrder_data();
    void undoPutsTheNodeOnTheLastMatchInDescendingOrder();
    void endsFartherThanTheToleranceDoNotMatch();

private:
    BlockDefinitionScene* scene() const { return BlockDefinitionScene::forCode(m_code); }

    std::unique_ptr<TestModel> m_model;
    BlockCode* m_code = nullptr;
    BlockPinConnection* m_wire = nullptr;
    const QList<QPointF> m_route{{10, 10}, {20, 10}, {20, 20}, {30, 20}};
};

void tst_RemoveConnectionNodeCommand::init()
{
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    m_wire = m_code->addConnection(nullptr, nullptr, m_route);
}

void tst_RemoveConnectionNodeCommand::cleanup()
{
    m_model.reset();
}

void tst_RemoveConnectionNodeCommand::doubleClickRemovesTheCornerAsOneUndoStep_data()
{
    QTest::addColumn<bool>("readOnly");
    QTest::newRow("edit mode") << false;
    // The double click does not ask for the edit mode.
    QTest::newRow("read-only") << true;
}

void tst_RemoveConnectionNodeCommand::doubleClickRemovesTheCornerAsOneUndoStep()
{
    QFETCH(bool, readOnly);
    BlockDefinitionScene* s = scene();
    s->setReadOnly(readOnly);
    const QByteArray before = wholeText(m_code);
    sendSceneMouse(s, QEvent::GraphicsSceneMouseDoubleClick, QPointF(20000, 20000));
    // The node under the mouse goes only once the scene is done delivering the event to it.
    QCOMPARE(s->undoStack()->count(), 0);
    QTRY_COMPARE(s->undoStack()->count(), 1);
    QCOMPARE(s->undoStack()->undoText(), QStringLiteral("Verbindungs-Eckpunkt gelöscht"));
    const QList<QPointF> removed{{10, 10}, {20, 10}, {30, 20}};
    QCOMPARE(m_wire->nodePositions(), removed);
    const QByteArray after = wholeText(m_code);

    s->undoStack()->undo();
    QCOMPARE(m_wire->nodePositions(), m_route);
    QCOMPARE(wholeText(m_code), before);
    s->undoStack()->redo();
    QCOMPARE(m_wire->nodePositions(), removed);
    QCOMPARE(wholeText(m_code), after);

    // The scene takes the next click as usual: a node somewhere else can go the same way.
    sendSceneMouse(s, QEvent::GraphicsSceneMouseDoubleClick, QPointF(20000, 10000));
    QTRY_COMPARE(s->undoStack()->count(), 2);
    QCOMPARE(m_wire->nodePositions(), (QList<QPointF>{{10, 10}, {30, 20}}));
}

void tst_RemoveConnectionNodeCommand::rightDoubleClickRemovesNothing()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    sendSceneMouse(s, QEvent::GraphicsSceneMouseDoubleClick, QPointF(20000, 20000), Qt::RightButton);
    QCoreApplication::processEvents();
    QCOMPARE(s->undoStack()->count(), 0);
    QCOMPARE(m_wire->nodePositions(), m_route);
}

void tst_RemoveConnectionNodeCommand::nothingAtThePositionDoesNothingAndStays()
{
    BlockDefinitionScene* s = scene();
    const QByteArray before = wholeText(m_code);
    s->undoStack()->push(new RemoveConnectionNodeCommand(s, QPointF(50000, 50000)));
    QCOMPARE(s->undoStack()->count(), 1);
    s->undoStack()->undo();
    s->undoStack()->redo();
    QCOMPARE(wholeText(m_code), before);
}

void tst_RemoveConnectionNodeCommand::undoPutsTheNodeOnTheLastMatchInDescendingOrder_data()
{
    QTest::addColumn<bool>("parallelMadeLater");
    QTest::newRow("parallel made later") << true;
    QTest::newRow("parallel made earlier") << false;
}

void tst_RemoveConnectionNodeCommand::undoPutsTheNodeOnTheLastMatchInDescendingOrder()
{
    QFETCH(bool, parallelMadeLater);
    // Its ends are those of the first connection: a free end snaps to the node raster, so two
    // ends within the tolerance of each other stand on one point.
    BlockPinConnection* parallel = nullptr;
    if (parallelMadeLater) {
        parallel = m_code->addConnection(nullptr, nullptr, {{10, 10}, {30, 20}});
    } else {
        m_code->deleteConnection(m_wire);
        parallel = m_code->addConnection(nullptr, nullptr, {{10, 10}, {30, 20}});
        m_wire = m_code->addConnection(nullptr, nullptr, m_route);
    }
    BlockDefinitionScene* s = scene();
    s->undoStack()->push(new RemoveConnectionNodeCommand(s, QPointF(20000, 20000)));
    QCOMPARE(m_wire->nodePositions(), (QList<QPointF>{{10, 10}, {20, 10}, {30, 20}}));

    // The scene's own list in descending order, not the stacking at a point, decides.
    ConnectionItem* last = nullptr;
    const QList<QGraphicsItem*> all = s->items(Qt::DescendingOrder);
    for (QGraphicsItem* item : all) {
        if (auto* connection = dynamic_cast<ConnectionItem*>(item))
            last = connection;
    }
    QVERIFY(last);
    BlockPinConnection* winner = last->pinConnection();
    BlockPinConnection* loser = winner == m_wire ? parallel : m_wire;
    // Each row puts the other connection last.
    QCOMPARE(winner == parallel, parallelMadeLater);

    s->undoStack()->undo();
    QCOMPARE(winner->nodePositions().size(), winner == m_wire ? 4 : 3);
    QCOMPARE(winner->nodePositions().at(winner == m_wire ? 2 : 1), QPointF(20, 20));
    QCOMPARE(loser->nodePositions().size(), loser == m_wire ? 3 : 2);
}

void tst_RemoveConnectionNodeCommand::endsFartherThanTheToleranceDoNotMatch()
{
    BlockDefinitionScene* s = scene();
    s->undoStack()->push(new RemoveConnectionNodeCommand(s, QPointF(20000, 20000)));
    // The route's end moves by half a unit (the node raster) in y: the connection is no longer
    // recognised.
    m_wire->setNodePositions({{10, 10}, {20, 10}, {30, 20.5}});
    s->rebuild();
    s->undoStack()->undo();
    QCOMPARE(m_wire->nodePositions().size(), 3);
}

ZK_TEST_REGISTER(tst_RemoveConnectionNodeCommand)
#include "tst_RemoveConnectionNodeCommand.moc"
