#include "ModalAnswer.h"
#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "BlockCode.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "ChangeRuntimeSequenceCommand.h"
#include "ModelBuilder.h"

#include <QDialog>
#include <QTest>
#include <QUndoStack>

#include <memory>

// The places of a block in the two tasks after the run-time dialog, recorded after the fact. A
// place of 0 is never written back.
class tst_ChangeRuntimeSequenceCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void recordsTheAfterValuesFromTheCode();
    void pushDoesNothingAndUndoRedoApplyThePlaces();
    void zeroPlacesAreNotAppliedSoTheOtherListKeepsItsEntry();
    void dialogChangingNothingStillPushes();
    void withoutBlockAtThePositionNothingHappens();

private:
    BlockDefinitionScene* scene() const { return BlockDefinitionScene::forCode(m_code); }
    QPointF positionOf(BlockInstance* instance) const
    {
        return scene()->blockItem(instance->identifier())->scenePos();
    }

    std::unique_ptr<TestModel> m_model;
    BlockCode* m_code = nullptr;
    BlockInstance* m_first = nullptr;
    BlockInstance* m_second = nullptr;
    BlockInstance* m_third = nullptr;
};

void tst_ChangeRuntimeSequenceCommand::init()
{
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    BlockDefinition* gate = ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1")));
    m_first = ModelBuilder::place(m_code, gate, {10, 10});
    m_second = ModelBuilder::place(m_code, gate, {30, 10});
    m_third = ModelBuilder::place(m_code, gate, {50, 10});
}

void tst_ChangeRuntimeSequenceCommand::cleanup()
{
    m_model.reset();
}

void tst_ChangeRuntimeSequenceCommand::recordsTheAfterValuesFromTheCode()
{
    BlockDefinitionScene* s = scene();
    const unsigned int id = m_third->identifier();
    QCOMPARE(m_code->realtime(id), 3u);
    m_code->setRealtime(id, 1);
    ChangeRuntimeSequenceCommand command(s, positionOf(m_third));
    QCOMPARE(command.text(), QStringLiteral("Laufzeit-Reihenfolge geändert"));
    command.setRuntimeSequence(m_third, 3, 0);
    command.redo();
    command.undo();
    QCOMPARE(m_code->realtime(id), 3u);
    command.redo();
    QCOMPARE(m_code->realtime(id), 1u);
}

void tst_ChangeRuntimeSequenceCommand::pushDoesNothingAndUndoRedoApplyThePlaces()
{
    BlockDefinitionScene* s = scene();
    const unsigned int id = m_third->identifier();
    m_code->setRealtime(id, 1);
    auto* command = new ChangeRuntimeSequenceCommand(s, positionOf(m_third));
    command->setRuntimeSequence(m_third, 3, 0);
    // Something else moves it once more before the push; the push leaves that alone.
    m_code->setRealtime(id, 2);
    s->undoStack()->push(command);
    QCOMPARE(m_code->realtime(id), 2u);
    s->undoStack()->undo();
    QCOMPARE(m_code->realtimeOrder(), (QList<unsigned int>{m_first->identifier(), m_second->identifier(), id}));
    s->undoStack()->redo();
    QCOMPARE(m_code->realtime(id), 1u);
}

void tst_ChangeRuntimeSequenceCommand::zeroPlacesAreNotAppliedSoTheOtherListKeepsItsEntry()
{
    BlockDefinitionScene* s = scene();
    const unsigned int id = m_third->identifier();
    // The dialog moved the block from the real-time task to the background.
    m_code->setRealtime(id, 0);
    m_code->setBackground(id, 1);
    auto* command = new ChangeRuntimeSequenceCommand(s, positionOf(m_third));
    command->setRuntimeSequence(m_third, 3, 0);
    s->undoStack()->push(command);
    s->undoStack()->undo();
    // Back in the real-time task, and still in the background: its 0 before is not applied.
    QCOMPARE(m_code->realtime(id), 3u);
    QCOMPARE(m_code->background(id), 1u);
    s->undoStack()->redo();
    // Nor is the 0 after: it stays in the real-time task.
    QCOMPARE(m_code->realtime(id), 3u);
    QCOMPARE(m_code->background(id), 1u);
}

void tst_ChangeRuntimeSequenceCommand::dialogChangingNothingStillPushes()
{
    BlockDefinitionScene* s = scene();
    const QByteArray before = wholeText(m_code);
    auto answered = answerNextModal([](QDialog* dialog) { dialog->reject(); });
    s->blockItem(m_second->identifier())->showRuntimePositionView();
    QVERIFY(*answered);
    QCOMPARE(s->undoStack()->count(), 1);
    QCOMPARE(s->undoStack()->undoText(), QStringLiteral("Laufzeit-Reihenfolge geändert"));
    s->undoStack()->undo();
    s->undoStack()->redo();
    QCOMPARE(wholeText(m_code), before);
}

void tst_ChangeRuntimeSequenceCommand::withoutBlockAtThePositionNothingHappens()
{
    BlockDefinitionScene* s = scene();
    const unsigned int id = m_third->identifier();
    m_code->setRealtime(id, 1);
    auto* command = new ChangeRuntimeSequenceCommand(s, QPointF(90000, 90000));
    command->setRuntimeSequence(m_third, 3, 0);
    s->undoStack()->push(command);
    s->undoStack()->undo();
    QCOMPARE(m_code->realtime(id), 1u);
    QCOMPARE(s->undoStack()->count(), 1);
    // Without an instance the after values stay 0, and nothing is applied.
    ChangeRuntimeSequenceCommand empty(s, positionOf(m_first));
    empty.setRuntimeSequence(nullptr, 0, 0);
    empty.redo();
    empty.redo();
    QCOMPARE(m_code->realtime(m_first->identifier()), 2u);
}

ZK_TEST_REGISTER(tst_ChangeRuntimeSequenceCommand)
#include "tst_ChangeRuntimeSequenceCommand.moc"
