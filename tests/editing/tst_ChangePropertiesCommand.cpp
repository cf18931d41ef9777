#include "ModalAnswer.h"
#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "ChangePropertiesCommand.h"
#include "ModelBuilder.h"
#include "PropertiesChangeRecord.h"
#include "System.h"

#include <QDialog>
#include <QLineEdit>
#include <QTest>
#include <QUndoStack>

#include <memory>

// A change made by the property dialog of a block is recorded after the fact. The block is found
// again by its scene position; where the instance has a parameter text, the text alone decides.
class tst_ChangePropertiesCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void captureFillsItsHalfAndLeavesTheRecordWithoutInstance();
    void textIsTranslatedInTheSceneContext();
    void pushDoesNothingAndUndoRedoApplyTheTexts();
    void emptyTextBeforeRestoresContentsOnUndoAndTextOnRedo();
    void contentsComeBackForAnInstanceWithoutText();
    void undoingInOrderFindsAMovedBlockAgain();
    void blockMovedOutsideTheStackIsNotFound();
    void dialogChangingTheTextPushesOneStep();
    void dialogChangingNothingPushesNothing();
    void nodeViewDialogPushesTextAndContents();

private:
    BlockDefinitionScene* scene() const { return BlockDefinitionScene::forCode(m_code); }
    BlockItem* item(BlockInstance* instance) const { return scene()->blockItem(instance->identifier()); }

    std::unique_ptr<TestModel> m_model;
    BlockCode* m_code = nullptr;
    Block* m_local = nullptr;
    BlockInstance* m_instance = nullptr;
};

void tst_ChangePropertiesCommand::init()
{
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    BlockLibrary* library = m_model->area()->rootDefinition()->ensureLocalBlockLibrary();
    m_local = ModelBuilder::primitive(library, QStringLiteral("LocalAnd"), QStringLiteral("UND lokal"),
                                      {{QStringLiteral("E1")}}, {{QStringLiteral("A")}});
    m_local->setShortName(QStringLiteral("vorher"));
    m_instance = ModelBuilder::place(m_code, ModelBuilder::newest(m_local), {20, 10});
    System::instance().setUserAccessLevelCode(3);
}

void tst_ChangePropertiesCommand::cleanup()
{
    m_model.reset();
}

void tst_ChangePropertiesCommand::captureFillsItsHalfAndLeavesTheRecordWithoutInstance()
{
    m_instance->setParameterText(QStringLiteral("P1=1"));
    PropertiesChangeRecord record;
    captureBefore(record, m_instance, 0);
    QCOMPARE(record.textBefore, QStringLiteral("P1=1"));
    QCOMPARE(record.contentsBefore, m_local->saveContents());
    QVERIFY(!record.contentsBefore.isEmpty());
    // No parameter definition at that index: the field stays empty.
    QVERIFY(record.parameterBefore.isEmpty());
    QVERIFY(record.textAfter.isEmpty());

    m_instance->setParameterText(QStringLiteral("P1=2"));
    captureAfter(record, m_instance, 1);
    QCOMPARE(record.textAfter, QStringLiteral("P1=2"));
    QCOMPARE(record.indexAfter, 1u);
    QCOMPARE(record.indexBefore, 0u);
    QCOMPARE(record.textBefore, QStringLiteral("P1=1"));

    const PropertiesChangeRecord kept = record;
    captureBefore(record, nullptr, 5);
    captureAfter(record, nullptr, 5);
    QCOMPARE(record.textBefore, kept.textBefore);
    QCOMPARE(record.textAfter, kept.textAfter);
    QCOMPARE(record.contentsAfter, kept.contentsAfter);
    QCOMPARE(record.indexBefore, 0u);
    QCOMPARE(record.indexAfter, 1u);
}

void tst_ChangePropertiesCommand::textIsTranslatedInTheSceneContext()
{
    ChangePropertiesCommand command(scene(), QPointF(), PropertiesChangeRecord());
    QCOMPARE(command.text(), QStringLiteral("Baustein-Eigenschaften geändert"));
}

void tst_ChangePropertiesCommand::pushDoesNothingAndUndoRedoApplyTheTexts()
{
    BlockDefinitionScene* s = scene();
    PropertiesChangeRecord record;
    record.textBefore = QStringLiteral("P1=1");
    record.textAfter = QStringLiteral("P1=2");
    m_instance->setParameterText(QStringLiteral("jetzt"));
    s->undoStack()->push(new ChangePropertiesCommand(s, item(m_instance)->scenePos(), record));
    // The dialog did the work: the push changes nothing.
    QCOMPARE(m_instance->parameterText(0), QStringLiteral("jetzt"));
    s->undoStack()->undo();
    QCOMPARE(m_instance->parameterText(0), QStringLiteral("P1=1"));
    s->undoStack()->redo();
    QCOMPARE(m_instance->parameterText(0), QStringLiteral("P1=2"));
}

void tst_ChangePropertiesCommand::emptyTextBeforeRestoresContentsOnUndoAndTextOnRedo()
{
    BlockDefinitionScene* s = scene();
    PropertiesChangeRecord record;
    captureBefore(record, m_instance, 0);
    QVERIFY(record.textBefore.isEmpty());
    m_local->setShortName(QStringLiteral("nachher"));
    m_instance->setParameterText(QStringLiteral("P1=2"));
    captureAfter(record, m_instance, 0);
    s->undoStack()->push(new ChangePropertiesCommand(s, item(m_instance)->scenePos(), record));

    s->undoStack()->undo();
    // No text before: the contents decide, and the text stays as it is.
    QCOMPARE(m_local->shortName(), QStringLiteral("vorher"));
    QCOMPARE(m_instance->parameterText(0), QStringLiteral("P1=2"));

    m_instance->setParameterText(QString());
    s->undoStack()->redo();
    // A text after: the text decides, the contents stay.
    QCOMPARE(m_instance->parameterText(0), QStringLiteral("P1=2"));
    QCOMPARE(m_local->shortName(), QStringLiteral("vorher"));
}

void tst_ChangePropertiesCommand::contentsComeBackForAnInstanceWithoutText()
{
    BlockDefinitionScene* s = scene();
    PropertiesChangeRecord record;
    captureBefore(record, m_instance, 0);
    m_local->setShortName(QStringLiteral("nachher"));
    captureAfter(record, m_instance, 0);
    s->undoStack()->push(new ChangePropertiesCommand(s, item(m_instance)->scenePos(), record));
    QCOMPARE(m_local->shortName(), QStringLiteral("nachher"));
    s->undoStack()->undo();
    QCOMPARE(m_local->shortName(), QStringLiteral("vorher"));
    // The instance stands on the block's definition as loaded, and the scene shows it.
    QCOMPARE(m_instance->blockDefinition(), m_local->blockDefinition(0));
    QVERIFY(item(m_instance));
    s->undoStack()->redo();
    QCOMPARE(m_local->shortName(), QStringLiteral("nachher"));
    QCOMPARE(m_instance->blockDefinition(), m_local->blockDefinition(0));
}

void tst_ChangePropertiesCommand::undoingInOrderFindsAMovedBlockAgain()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    PropertiesChangeRecord record;
    record.textBefore = QStringLiteral("P1=1");
    record.textAfter = QStringLiteral("P1=2");
    m_instance->setParameterText(QStringLiteral("P1=2"));
    s->undoStack()->push(new ChangePropertiesCommand(s, item(m_instance)->scenePos(), record));
    item(m_instance)->setSelected(true);
    QVERIFY(sendSceneKey(s, Qt::Key_Right));
    QCOMPARE(m_instance->position(), QPointF(21, 10));
    QCOMPARE(s->undoStack()->count(), 2);
    s->undoStack()->undo();
    s->undoStack()->undo();
    QCOMPARE(m_instance->position(), QPointF(20, 10));
    QCOMPARE(m_instance->parameterText(0), QStringLiteral("P1=1"));
}

void tst_ChangePropertiesCommand::blockMovedOutsideTheStackIsNotFound()
{
    BlockDefinitionScene* s = scene();
    PropertiesChangeRecord record;
    record.textBefore = QStringLiteral("P1=1");
    record.textAfter = QStringLiteral("P1=2");
    m_instance->setParameterText(QStringLiteral("P1=2"));
    s->undoStack()->push(new ChangePropertiesCommand(s, item(m_instance)->scenePos(), record));
    m_instance->setPosition(QPointF(60, 40));
    s->rebuild();
    s->undoStack()->undo();
    QCOMPARE(m_instance->parameterText(0), QStringLiteral("P1=2"));
    QCOMPARE(s->undoStack()->count(), 1);
}

void tst_ChangePropertiesCommand::dialogChangingTheTextPushesOneStep()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    auto answered = answerNextModal([](QDialog* dialog) {
        dialog->findChild<QLineEdit*>(QStringLiteral("parameterEdit"))->setText(QStringLiteral("P1=7"));
        dialog->accept();
    });
    item(m_instance)->showPropertiesView();
    QVERIFY(*answered);
    QCOMPARE(m_instance->parameterText(0), QStringLiteral("P1=7"));
    QCOMPARE(s->undoStack()->count(), 1);
    QCOMPARE(s->undoStack()->undoText(), QStringLiteral("Baustein-Eigenschaften geändert"));
    // The text before was empty, so undo puts the contents back and leaves the text.
    s->undoStack()->undo();
    QCOMPARE(m_instance->parameterText(0), QStringLiteral("P1=7"));
    s->undoStack()->redo();
    QCOMPARE(m_instance->parameterText(0), QStringLiteral("P1=7"));
}

void tst_ChangePropertiesCommand::dialogChangingNothingPushesNothing()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    auto answered = answerNextModal([](QDialog* dialog) { dialog->accept(); });
    item(m_instance)->showPropertiesView();
    QVERIFY(*answered);
    QCOMPARE(s->undoStack()->count(), 0);
}

void tst_ChangePropertiesCommand::nodeViewDialogPushesTextAndContents()
{
    // The push as the node view makes it: text and contents only, indices at 0.
    BlockDefinitionScene* s = scene();
    PropertiesChangeRecord record;
    record.textBefore = QStringLiteral("P1=1");
    record.contentsBefore = m_local->saveContents();
    m_instance->setParameterText(QStringLiteral("P1=3"));
    record.textAfter = m_instance->parameterText(0);
    record.contentsAfter = m_local->saveContents();
    s->pushPropertiesChange(m_instance, record);
    QCOMPARE(s->undoStack()->count(), 1);
    s->undoStack()->undo();
    QCOMPARE(m_instance->parameterText(0), QStringLiteral("P1=1"));
    // An instance that the scene does not show gets no step.
    s->pushPropertiesChange(nullptr, record);
    QCOMPARE(s->undoStack()->count(), 1);
}

ZK_TEST_REGISTER(tst_ChangePropertiesCommand)
#include "tst_ChangePropertiesCommand.moc"
