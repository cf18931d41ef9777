#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "BlockCode.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "BlockPinConnection.h"
#include "BlockPinItem.h"
#include "CreateConnectionCommand.h"
#include "ModelBuilder.h"

#include <QLineF>
#include <QTest>
#include <QUndoStack>

#include <memory>

// A rubber line from pin to pin becomes a connection as it is pushed; undo and redo find the pins
// again under the two ends of the line.
class tst_CreateConnectionCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void textIsPlainEnglish();
    void rubberLineFromPinToPinIsOneUndoStep();
    void releaseOnTheStartingPinPushesNothing();
    void undoneAndRedoneTheMemberFollowsTheNewConnection();
    void redoWithoutPinsKeepsTheLastConnectionForUndo();
    void undoOfAConnectionAlreadyGoneLeavesTheCodeAlone();
    void withoutSceneNothingHappens();

private:
    BlockDefinitionScene* scene() const { return BlockDefinitionScene::forCode(m_code); }
    BlockPinItem* pinItem(BlockInstance* instance, int pin) const;
    // From the middle of the AND's output to the middle of the NOT's input.
    QLineF line() const;

    std::unique_ptr<TestModel> m_model;
    BlockCode* m_code = nullptr;
    BlockInstance* m_and = nullptr;
    BlockInstance* m_not = nullptr;
};

void tst_CreateConnectionCommand::init()
{
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    m_and = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
    m_not = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {40, 10});
}

void tst_CreateConnectionCommand::cleanup()
{
    m_model.reset();
}

BlockPinItem* tst_CreateConnectionCommand::pinItem(BlockInstance* instance, int pin) const
{
    BlockItem* item = scene()->blockItem(instance->identifier());
    return item ? item->pinItem(pin) : nullptr;
}

QLineF tst_CreateConnectionCommand::line() const
{
    return QLineF(pinItem(m_and, 3)->mapToScene(QPointF(1500, 0)), pinItem(m_not, 1)->mapToScene(QPointF(1500, 0)));
}

void tst_CreateConnectionCommand::textIsPlainEnglish()
{
    CreateConnectionCommand command(scene(), line());
    QCOMPARE(command.text(), QStringLiteral("Create connection"));
}

void tst_CreateConnectionCommand::rubberLineFromPinToPinIsOneUndoStep()
{
    BlockDefinitionScene* s = scene();
    const QByteArray before = wholeText(m_code);
    BlockPinItem* start = pinItem(m_and, 3);
    const QPointF press = start->mapToScene(QPointF(1500, 0));
    const QPointF release = pinItem(m_not, 1)->mapToScene(QPointF(1500, 0));
    sendSceneMouse(s, QEvent::GraphicsSceneMousePress, press);
    sendSceneMouse(s, QEvent::GraphicsSceneMouseMove, release);
    sendSceneMouse(s, QEvent::GraphicsSceneMouseRelease, release);

    QCOMPARE(s->undoStack()->count(), 1);
    QCOMPARE(m_code->connections().size(), 1);
    BlockPinConnection* made = m_code->connections().first();
    QVERIFY(made->isConnectedTo(m_and));
    QVERIFY(made->isConnectedTo(m_not));
    const QByteArray after = wholeText(m_code);
    QVERIFY(after != before);

    s->undoStack()->undo();
    QCOMPARE(wholeText(m_code), before);
    s->undoStack()->redo();
    QCOMPARE(wholeText(m_code), after);
}

void tst_CreateConnectionCommand::releaseOnTheStartingPinPushesNothing()
{
    BlockDefinitionScene* s = scene();
    BlockPinItem* start = pinItem(m_and, 3);
    const QPointF press = start->mapToScene(QPointF(1500, 0));
    const QPointF release = start->mapToScene(QPointF(1000, 100));
    QCOMPARE(s->pinItemAt(release), start);
    sendSceneMouse(s, QEvent::GraphicsSceneMousePress, press);
    sendSceneMouse(s, QEvent::GraphicsSceneMouseMove, release);
    sendSceneMouse(s, QEvent::GraphicsSceneMouseRelease, release);
    QCOMPARE(s->undoStack()->count(), 0);
    QVERIFY(m_code->connections().isEmpty());
}

void tst_CreateConnectionCommand::undoneAndRedoneTheMemberFollowsTheNewConnection()
{
    BlockDefinitionScene* s = scene();
    s->undoStack()->push(new CreateConnectionCommand(s, line()));
    QCOMPARE(m_code->connections().size(), 1);
    s->undoStack()->undo();
    QVERIFY(m_code->connections().isEmpty());
    s->undoStack()->redo();
    QCOMPARE(m_code->connections().size(), 1);
    // Had the command kept the first connection, this undo would hand the code a gone one and the
    // new connection would stay.
    s->undoStack()->undo();
    QVERIFY(m_code->connections().isEmpty());
}

void tst_CreateConnectionCommand::redoWithoutPinsKeepsTheLastConnectionForUndo()
{
    BlockDefinitionScene* s = scene();
    CreateConnectionCommand command(s, line());
    command.redo();
    QCOMPARE(m_code->connections().size(), 1);
    // The NOT leaves the end of the line: a second redo finds one pin only and makes nothing.
    m_not->setPosition(QPointF(60, 30));
    s->rebuild();
    command.redo();
    QCOMPARE(m_code->connections().size(), 1);
    // ... and its undo passes on the connection of the first run, which still stands.
    command.undo();
    QVERIFY(m_code->connections().isEmpty());
}

void tst_CreateConnectionCommand::undoOfAConnectionAlreadyGoneLeavesTheCodeAlone()
{
    BlockDefinitionScene* s = scene();
    CreateConnectionCommand command(s, line());
    command.redo();
    QCOMPARE(m_code->connections().size(), 1);
    BlockPinConnection* made = m_code->connections().first();
    // Made while the first still lives, so that it cannot take the first one's address.
    BlockPinConnection* other = m_code->addConnection(nullptr, nullptr, {{5, 5}, {8, 5}});
    m_code->deleteConnection(made);
    const QByteArray before = wholeText(m_code);
    // The member points to a deleted connection: the code compares it with its own and does
    // nothing (the sanitizers watch that it is never read).
    command.undo();
    QCOMPARE(m_code->connections().size(), 1);
    QCOMPARE(m_code->connections().first(), other);
    QCOMPARE(wholeText(m_code), before);
}

void tst_CreateConnectionCommand::withoutSceneNothingHappens()
{
    CreateConnectionCommand command(nullptr, line());
    command.redo();
    command.undo();
    QVERIFY(m_code->connections().isEmpty());
}

ZK_TEST_REGISTER(tst_CreateConnectionCommand)
#include "tst_CreateConnectionCommand.moc"
