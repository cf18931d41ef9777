#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "BlockCode.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "BlockPinConnection.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "ModelBuilder.h"
#include "MoveCommand.h"
#include "System.h"

#include <QTest>
#include <QUndoStack>

#include <memory>

// A move is recorded after it happened, by positions: undo and redo find the items again where
// they stand and put them back, nodes by their index in the route.
class tst_MoveCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void textCountsTheItemsPassedIn();
    void arrowKeyPushesOneEntryThatUndoesAndRedoes();
    void leftKeyAtTheOriginKeepsTheUnclampedDelta();
    void arrowKeyInReadOnlyModeMovesNothingButItsUndoDoes();
    void cornerNodeComesBackAtItsIndex();
    void twoBlocksOnOnePositionFindTheTopOneForBoth();
    void eachLookUpSeesTheMovesBeforeIt();
    void dragBeyondTheThresholdIsOneEntry();
    void smallDragIsNoEntry();

private:
    BlockDefinitionScene* scene() const { return BlockDefinitionScene::forCode(m_code); }
    BlockItem* item(BlockInstance* instance) const { return scene()->blockItem(instance->identifier()); }
    ConnectionNodeItem* cornerAt(const QPointF& modelPosition) const;

    std::unique_ptr<TestModel> m_model;
    BlockCode* m_code = nullptr;
    BlockInstance* m_and = nullptr;
    BlockInstance* m_not = nullptr;
    BlockPinConnection* m_wire = nullptr;
};

void tst_MoveCommand::init()
{
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    m_and = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
    m_not = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {40, 10});
    m_wire = ModelBuilder::wire(m_code, m_and, 3, m_not, 1,
                                {QPointF(26, 11), QPointF(30, 11), QPointF(34, 14), QPointF(37, 11)});
    System::instance().setUserAccessLevelCode(3);
}

void tst_MoveCommand::cleanup()
{
    m_model.reset();
}

ConnectionNodeItem* tst_MoveCommand::cornerAt(const QPointF& modelPosition) const
{
    const QList<QGraphicsItem*> hits = scene()->items(modelPosition * 1000.0);
    for (QGraphicsItem* hit : hits) {
        if (auto* node = dynamic_cast<ConnectionNodeItem*>(hit))
            return node;
    }
    return nullptr;
}

void tst_MoveCommand::textCountsTheItemsPassedIn()
{
    BlockDefinitionScene* s = scene();
    MoveCommand command(s, {item(m_and), item(m_not), cornerAt({30, 11})}, QPointF(1000, 0));
    QCOMPARE(command.text(), QStringLiteral("Move 3 items"));
}

void tst_MoveCommand::arrowKeyPushesOneEntryThatUndoesAndRedoes()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    item(m_and)->setSelected(true);
    QVERIFY(sendSceneKey(s, Qt::Key_Right));
    QCOMPARE(m_and->position(), QPointF(21, 10));
    QCOMPARE(s->undoStack()->count(), 1);
    QCOMPARE(s->undoStack()->undoText(), QStringLiteral("Move 1 items"));
    s->undoStack()->undo();
    QCOMPARE(m_and->position(), QPointF(20, 10));
    s->undoStack()->redo();
    QCOMPARE(m_and->position(), QPointF(21, 10));
    QCOMPARE(m_not->position(), QPointF(40, 10));
}

void tst_MoveCommand::leftKeyAtTheOriginKeepsTheUnclampedDelta()
{
    BlockInstance* corner =
        ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {0, 5});
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    item(corner)->setSelected(true);
    QVERIFY(!sendSceneKey(s, Qt::Key_Left));
    // The block did not move, but the entry holds the full step: its undo puts the block one unit
    // to the right of where it stood.
    QCOMPARE(corner->position(), QPointF(0, 5));
    QCOMPARE(s->undoStack()->count(), 1);
    s->undoStack()->undo();
    QCOMPARE(corner->position(), QPointF(1, 5));
}

void tst_MoveCommand::arrowKeyInReadOnlyModeMovesNothingButItsUndoDoes()
{
    BlockDefinitionScene* s = scene();
    QVERIFY(s->isReadOnly());
    item(m_and)->setSelected(true);
    QVERIFY(!sendSceneKey(s, Qt::Key_Down));
    QCOMPARE(m_and->position(), QPointF(20, 10));
    QCOMPARE(s->undoStack()->count(), 1);
    s->undoStack()->undo();
    QCOMPARE(m_and->position(), QPointF(20, 9));
}

void tst_MoveCommand::cornerNodeComesBackAtItsIndex()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    ConnectionNodeItem* node = cornerAt({34, 14});
    QVERIFY(node);
    node->setSelected(true);
    QVERIFY(sendSceneKey(s, Qt::Key_Down));
    const QList<QPointF> moved = m_wire->nodePositions();
    QCOMPARE(moved.at(2), QPointF(34, 15));
    s->undoStack()->undo();
    // The node was taken out and made anew at its index: the route reads as it did.
    const QList<QPointF> back = m_wire->nodePositions();
    QCOMPARE(back.size(), 4);
    QCOMPARE(back.at(1), QPointF(30, 11));
    QCOMPARE(back.at(2), QPointF(34, 14));
    // Made anew rather than moved: the node standing there now is not the selected one that moved.
    ConnectionNodeItem* remade = cornerAt({34, 14});
    QVERIFY(remade);
    QVERIFY(!remade->isSelected());
    s->undoStack()->redo();
    QCOMPARE(m_wire->nodePositions().at(2), QPointF(34, 15));
}

void tst_MoveCommand::twoBlocksOnOnePositionFindTheTopOneForBoth()
{
    BlockInstance* twin =
        ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
    BlockDefinitionScene* s = scene();
    BlockItem* lower = item(m_and);
    BlockItem* upper = item(twin);
    upper->setZValue(lower->zValue() + 1.0);
    // Recorded as moved one unit to the right: undo takes each entry back by one unit to the left.
    s->undoStack()->push(new MoveCommand(s, {lower, upper}, QPointF(1000, 0)));
    s->undoStack()->undo();
    // Both entries look at (20, 10) and find the upper block first; moved a unit to the left it still
    // covers that point, so the second entry finds it again and the lower block stays.
    QCOMPARE(twin->position(), QPointF(19, 10));
    QCOMPARE(m_and->position(), QPointF(20, 10));
}

void tst_MoveCommand::eachLookUpSeesTheMovesBeforeIt()
{
    BlockDefinitionScene* s = scene();
    BlockItem* andItem = item(m_and);
    BlockItem* notItem = item(m_not);
    notItem->setZValue(andItem->zValue() + 1.0);
    // Recorded as if both had moved 20 units to the right, the NOT first: undo takes the NOT from
    // (40, 10) onto the AND at (20, 10), and the AND's own entry then finds the NOT on top there and
    // moves it on, while the AND stays. Look-ups made before the moves would move each block once.
    s->undoStack()->push(new MoveCommand(s, {notItem, andItem}, QPointF(20000, 0)));
    s->undoStack()->undo();
    QCOMPARE(m_not->position(), QPointF(0, 10));
    QCOMPARE(m_and->position(), QPointF(20, 10));
    // Redo looks where undo left things: the NOT's entry finds the AND at (20, 10) and takes it to
    // (40, 10); the AND's entry finds the NOT at (0, 10) and takes it to (20, 10).
    s->undoStack()->redo();
    QCOMPARE(m_and->position(), QPointF(40, 10));
    QCOMPARE(m_not->position(), QPointF(20, 10));
}

void tst_MoveCommand::dragBeyondTheThresholdIsOneEntry()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    BlockItem* block = item(m_and);
    const QPointF start = block->sceneBoundingRect().center();
    const QPointF end = start + QPointF(3000, 0);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMousePress, start, start);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, end, start);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseRelease, end, start);
    QCOMPARE(m_and->position(), QPointF(23, 10));
    QCOMPARE(s->undoStack()->count(), 1);
    s->undoStack()->undo();
    QCOMPARE(m_and->position(), QPointF(20, 10));
}

void tst_MoveCommand::smallDragIsNoEntry()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    BlockItem* block = item(m_and);
    const QPointF start = block->sceneBoundingRect().center();
    const QPointF end = start + QPointF(20, 0);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMousePress, start, start);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, end, start);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseRelease, end, start);
    QCOMPARE(m_and->position(), QPointF(20, 10));
    QCOMPARE(s->undoStack()->count(), 0);
}

ZK_TEST_REGISTER(tst_MoveCommand)
#include "tst_MoveCommand.moc"
