#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "AddConnectionNodeCommand.h"
#include "BlockCode.h"
#include "BlockDefinitionScene.h"
#include "BlockPinConnection.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"

#include <QTest>
#include <QUndoStack>

#include <memory>

// A corner added by a double click on a connection is recorded after the fact; undo takes the
// topmost node at its position away, redo puts a corner back at its index.
class tst_AddConnectionNodeCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void doubleClickInEditModeIsOneUndoStep();
    void doubleClickInReadOnlyModeAddsTheCornerWithoutAStep();
    void pushDoesNotAddASecondNode();
    void undoRemovesTheTopmostNodeWhicheverConnectionItBelongsTo();

private:
    BlockDefinitionScene* scene() const { return BlockDefinitionScene::forCode(m_code); }

    std::unique_ptr<TestModel> m_model;
    BlockCode* m_code = nullptr;
    BlockPinConnection* m_wire = nullptr;
    const QList<QPointF> m_route{{10, 10}, {20, 10}, {20, 20}, {30, 20}};
};

void tst_AddConnectionNodeCommand::init()
{
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    m_wire = m_code->addConnection(nullptr, nullptr, m_route);
}

void tst_AddConnectionNodeCommand::cleanup()
{
    m_model.reset();
}

void tst_AddConnectionNodeCommand::doubleClickInEditModeIsOneUndoStep()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    const QByteArray before = wholeText(m_code);
    sendSceneMouse(s, QEvent::GraphicsSceneMouseDoubleClick, QPointF(25000, 20000));

    const QList<QPointF> added{{10, 10}, {20, 10}, {20, 20}, {25, 20}, {30, 20}};
    QCOMPARE(m_wire->nodePositions(), added);
    QCOMPARE(s->undoStack()->count(), 1);
    QCOMPARE(s->undoStack()->undoText(), QStringLiteral("Verbindungs-Eckpunkt hinzu gefügt"));
    const QByteArray after = wholeText(m_code);

    s->undoStack()->undo();
    QCOMPARE(m_wire->nodePositions(), m_route);
    QCOMPARE(wholeText(m_code), before);
    s->undoStack()->redo();
    QCOMPARE(m_wire->nodePositions(), added);
    QCOMPARE(wholeText(m_code), after);
}

void tst_AddConnectionNodeCommand::doubleClickInReadOnlyModeAddsTheCornerWithoutAStep()
{
    BlockDefinitionScene* s = scene();
    QVERIFY(s->isReadOnly());
    sendSceneMouse(s, QEvent::GraphicsSceneMouseDoubleClick, QPointF(25000, 20000));
    QCOMPARE(m_wire->nodePositions().size(), 5);
    QCOMPARE(s->undoStack()->count(), 0);
}

void tst_AddConnectionNodeCommand::pushDoesNotAddASecondNode()
{
    BlockDefinitionScene* s = scene();
    ConnectionItem* item = scene()->connectionItemMap().value(m_wire);
    ConnectionNodeItem* node = item->insertNode(QPointF(15000, 10000), 0);
    // Pushed by hand with the node at index 0 of the corners, as the scene's slot does.
    s->undoStack()->push(new AddConnectionNodeCommand(s, node));
    QCOMPARE(m_wire->nodePositions(), (QList<QPointF>{{10, 10}, {15, 10}, {20, 10}, {20, 20}, {30, 20}}));
    s->undoStack()->undo();
    QCOMPARE(m_wire->nodePositions(), m_route);
    // The redo finds the connection by its bounding rectangle and puts the corner at its index.
    s->undoStack()->redo();
    QCOMPARE(m_wire->nodePositions(), (QList<QPointF>{{10, 10}, {15, 10}, {20, 10}, {20, 20}, {30, 20}}));
}

void tst_AddConnectionNodeCommand::undoRemovesTheTopmostNodeWhicheverConnectionItBelongsTo()
{
    // A second connection has a corner at (25, 20), where the first one gets its new corner.
    BlockPinConnection* crossing = m_code->addConnection(nullptr, nullptr, {{25, 5}, {25, 20}, {40, 30}});
    BlockDefinitionScene* s = scene();
    ConnectionItem* wireItem = scene()->connectionItemMap().value(m_wire);
    ConnectionItem* crossingItem = scene()->connectionItemMap().value(crossing);
    crossingItem->setZValue(wireItem->zValue() + 1.0);
    ConnectionNodeItem* node = wireItem->insertNode(QPointF(25000, 20000), 2);
    s->undoStack()->push(new AddConnectionNodeCommand(s, node));
    QCOMPARE(m_wire->nodePositions().size(), 5);

    s->undoStack()->undo();
    // The crossing's corner lies on top and goes; the new corner of the first connection stays.
    QCOMPARE(crossing->nodePositions(), (QList<QPointF>{{25, 5}, {40, 30}}));
    QCOMPARE(m_wire->nodePositions().size(), 5);
}

ZK_TEST_REGISTER(tst_AddConnectionNodeCommand)
#include "tst_AddConnectionNodeCommand.moc"
