#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "BlockCode.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "InvertInOutCommand.h"
#include "ModelBuilder.h"

#include <QTest>
#include <QUndoStack>

#include <memory>

// The inversion of a pin from its menu: the pin changes in the redo() of the push and is found
// again by its scene position.
class tst_InvertInOutCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void textSaysWhichWay_data();
    void textSaysWhichWay();
    void menuInversionIsOneUndoStep();
    void twoPinsOnOnePositionTheTopmostIsInverted();
    void withoutSceneOrPinNothingHappens();

private:
    BlockDefinitionScene* scene() const { return BlockDefinitionScene::forCode(m_code); }
    BlockPinItem* pinItem(BlockInstance* instance, int pin) const
    {
        return scene()->blockItem(instance->identifier())->pinItem(pin);
    }

    std::unique_ptr<TestModel> m_model;
    BlockCode* m_code = nullptr;
    BlockInstance* m_and = nullptr;
};

void tst_InvertInOutCommand::init()
{
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    m_and = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
}

void tst_InvertInOutCommand::cleanup()
{
    m_model.reset();
}

void tst_InvertInOutCommand::textSaysWhichWay_data()
{
    QTest::addColumn<bool>("inverted");
    QTest::addColumn<QString>("text");
    QTest::newRow("inverted") << true << QStringLiteral("Anschluss invertiert");
    QTest::newRow("inversion taken away") << false << QStringLiteral("Invertierung gelöscht");
}

void tst_InvertInOutCommand::textSaysWhichWay()
{
    QFETCH(bool, inverted);
    QFETCH(QString, text);
    InvertInOutCommand command(scene(), QPointF(), inverted);
    QCOMPARE(command.text(), text);
}

void tst_InvertInOutCommand::menuInversionIsOneUndoStep()
{
    BlockDefinitionScene* s = scene();
    const QByteArray before = wholeText(m_code);
    pinItem(m_and, 1)->setInverted(true);
    QCOMPARE(s->undoStack()->count(), 1);
    QVERIFY(m_and->pin(1)->isInverted());
    const QByteArray after = wholeText(m_code);
    QVERIFY(after != before);
    s->undoStack()->undo();
    QVERIFY(!m_and->pin(1)->isInverted());
    QCOMPARE(wholeText(m_code), before);
    s->undoStack()->redo();
    QCOMPARE(wholeText(m_code), after);

    pinItem(m_and, 1)->setInverted(false);
    QCOMPARE(s->undoStack()->undoText(), QStringLiteral("Invertierung gelöscht"));
    QVERIFY(!m_and->pin(1)->isInverted());
    s->undoStack()->undo();
    QVERIFY(m_and->pin(1)->isInverted());
}

void tst_InvertInOutCommand::twoPinsOnOnePositionTheTopmostIsInverted()
{
    BlockInstance* twin =
        ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
    BlockDefinitionScene* s = scene();
    BlockItem* lower = s->blockItem(m_and->identifier());
    BlockItem* upper = s->blockItem(twin->identifier());
    upper->setZValue(lower->zValue() + 1.0);
    const QPointF position = pinItem(m_and, 1)->scenePos();
    QCOMPARE(pinItem(twin, 1)->scenePos(), position);
    s->undoStack()->push(new InvertInOutCommand(s, position, true));
    QVERIFY(twin->pin(1)->isInverted());
    QVERIFY(!m_and->pin(1)->isInverted());
}

void tst_InvertInOutCommand::withoutSceneOrPinNothingHappens()
{
    InvertInOutCommand lost(nullptr, pinItem(m_and, 1)->scenePos(), true);
    lost.redo();
    lost.undo();
    QVERIFY(!m_and->pin(1)->isInverted());
    BlockDefinitionScene* s = scene();
    s->undoStack()->push(new InvertInOutCommand(s, QPointF(90000, 90000), true));
    QCOMPARE(s->undoStack()->count(), 1);
    QVERIFY(!m_and->pin(1)->isInverted());
}

ZK_TEST_REGISTER(tst_InvertInOutCommand)
#include "tst_InvertInOutCommand.moc"
