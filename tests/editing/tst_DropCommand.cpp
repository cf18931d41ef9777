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
#include "BlockLibraryContainer.h"
#include "DropCommand.h"
#include "ModelBuilder.h"
#include "System.h"

#include <QAbstractButton>
#include <QGraphicsSceneDragDropEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QTest>
#include <QUndoStack>

#include <memory>

namespace {

const QString DefinitionMime = QStringLiteral("zk6/blockdefinitionidentifier");

Qt::DropAction drop(QGraphicsScene* scene, const QByteArray& payload, QPointF scenePos)
{
    QMimeData data;
    data.setData(DefinitionMime, payload);
    return sendSceneDrag(scene, QEvent::GraphicsSceneDrop, &data, scenePos, Qt::CopyAction | Qt::LinkAction);
}

// What the next message box showed, answered with `button`.
struct BoxSeen
{
    QString title;
    QString text;
    QMessageBox::StandardButtons buttons;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
};

std::shared_ptr<bool> answerBox(BoxSeen* seen, QMessageBox::StandardButton button)
{
    return answerNextModal([seen, button](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        QVERIFY(box);
        seen->title = box->windowTitle();
        seen->text = box->text();
        seen->buttons = box->standardButtons();
        seen->icon = box->icon();
        box->button(button)->click();
    });
}

} // namespace

// A drop from the library or the bookmarks: a new block on empty space, a replacement after a
// question on a block, and an entry on the stack in every case.
class tst_DropCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void dropOnEmptySpacePlacesABlock();
    void laterRedoPlacesTheBlockAgain();
    void dropOnABlockAnsweredYesReplacesIt();
    void redoOfAnUndoneReplacementPlacesANewBlockBeside();
    void dropOnABlockAnsweredNoLeavesAnEntryThatDoesNothing();
    void dropWithoutDefinitionLeavesAnEntryThatDoesNothing();
    void dropFromTheBookmarksPlacesTheBlock();
    void failedReplacementShowsAMessage();
    void definitionDeletedAfterTheDrop();

private:
    BlockDefinitionScene* scene() const { return BlockDefinitionScene::forCode(m_code); }
    QPointF centreOf(BlockInstance* instance) const
    {
        BlockItem* item = scene()->blockItem(instance->identifier());
        return item->mapToScene(item->rect().center());
    }
    BlockInstance* instanceAt(QPointF modelPosition) const;

    std::unique_ptr<TestModel> m_model;
    BlockCode* m_code = nullptr;
    BlockInstance* m_and = nullptr;
};

void tst_DropCommand::init()
{
    System::instance().setUserAccessLevelCode(3);
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    m_and = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
    scene()->setReadOnly(false);
}

void tst_DropCommand::cleanup()
{
    m_model.reset();
}

BlockInstance* tst_DropCommand::instanceAt(QPointF modelPosition) const
{
    const QList<BlockInstance*> instances = m_code->instances();
    for (BlockInstance* instance : instances) {
        if (instance->position() == modelPosition)
            return instance;
    }
    return nullptr;
}

void tst_DropCommand::dropOnEmptySpacePlacesABlock()
{
    BlockDefinitionScene* s = scene();
    const int before = int(m_code->instances().size());
    QCOMPARE(drop(s, "StandardBlock_3;0", QPointF(50000, 30000)), Qt::LinkAction);
    QCOMPARE(int(m_code->instances().size()), before + 1);
    BlockInstance* placed = instanceAt(QPointF(50, 30));
    QVERIFY(placed);
    QCOMPARE(placed->block()->identifier(), QStringLiteral("StandardBlock_3"));
    QVERIFY(s->blockItem(placed->identifier()));
    QCOMPARE(s->undoStack()->count(), 1);
    QCOMPARE(s->undoStack()->undoText(), QStringLiteral("Baustein dropped"));
    auto* command = static_cast<const DropCommand*>(s->undoStack()->command(0));
    QCOMPARE(command->instanceIdentifier(), placed->identifier());
    QVERIFY(!command->replaced());

    s->undoStack()->undo();
    QCOMPARE(int(m_code->instances().size()), before);
    QVERIFY(!instanceAt(QPointF(50, 30)));
}

void tst_DropCommand::laterRedoPlacesTheBlockAgain()
{
    BlockDefinitionScene* s = scene();
    drop(s, "StandardBlock_3;0", QPointF(50000, 30000));
    s->undoStack()->undo();
    s->undoStack()->redo();
    BlockInstance* again = instanceAt(QPointF(50, 30));
    QVERIFY(again);
    QCOMPARE(static_cast<const DropCommand*>(s->undoStack()->command(0))->instanceIdentifier(), again->identifier());
    // And the next undo takes that one away.
    s->undoStack()->undo();
    QVERIFY(!instanceAt(QPointF(50, 30)));
}

void tst_DropCommand::dropOnABlockAnsweredYesReplacesIt()
{
    BlockDefinitionScene* s = scene();
    BlockDefinition* andDefinition = m_and->blockDefinition();
    const int before = int(m_code->instances().size());
    BoxSeen seen;
    auto answered = answerBox(&seen, QMessageBox::Yes);
    drop(s, "StandardBlock_3;0", centreOf(m_and));
    QVERIFY(*answered);
    QCOMPARE(seen.title, QStringLiteral("Baustein ersetzen"));
    QCOMPARE(seen.text, QStringLiteral("Soll der Baustein wirklich ersetzt werden?"));
    QCOMPARE(seen.buttons, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(m_and->block()->identifier(), QStringLiteral("StandardBlock_3"));
    QCOMPARE(int(m_code->instances().size()), before);
    auto* command = static_cast<const DropCommand*>(s->undoStack()->command(0));
    QVERIFY(command->replaced());

    s->undoStack()->undo();
    QCOMPARE(m_and->blockDefinition(), andDefinition);
    QCOMPARE(int(m_code->instances().size()), before);
}

void tst_DropCommand::redoOfAnUndoneReplacementPlacesANewBlockBeside()
{
    BlockDefinitionScene* s = scene();
    BlockDefinition* andDefinition = m_and->blockDefinition();
    const int before = int(m_code->instances().size());
    BoxSeen seen;
    auto answered = answerBox(&seen, QMessageBox::Yes);
    drop(s, "StandardBlock_3;0", centreOf(m_and));
    QVERIFY(*answered);
    s->undoStack()->undo();
    s->undoStack()->redo();
    // The restored block stays, and a new one stands on the drop position beside it.
    QCOMPARE(m_and->blockDefinition(), andDefinition);
    QCOMPARE(int(m_code->instances().size()), before + 1);
    int notBlocks = 0;
    for (BlockInstance* instance : m_code->instances())
        notBlocks += instance->block()->identifier() == QStringLiteral("StandardBlock_3") ? 1 : 0;
    QCOMPARE(notBlocks, 1);
}

void tst_DropCommand::dropOnABlockAnsweredNoLeavesAnEntryThatDoesNothing()
{
    BlockDefinitionScene* s = scene();
    BlockDefinition* andDefinition = m_and->blockDefinition();
    const QByteArray text = wholeText(m_code);
    BoxSeen seen;
    auto answered = answerBox(&seen, QMessageBox::No);
    drop(s, "StandardBlock_3;0", centreOf(m_and));
    QVERIFY(*answered);
    QCOMPARE(m_and->blockDefinition(), andDefinition);
    QCOMPARE(wholeText(m_code), text);
    QCOMPARE(s->undoStack()->count(), 1);
    QCOMPARE(s->undoStack()->undoText(), QStringLiteral("Baustein dropped"));
    auto* command = static_cast<const DropCommand*>(s->undoStack()->command(0));
    QCOMPARE(command->instanceIdentifier(), 0u);
    QVERIFY(!command->replaced());
    // Its undo asks the code to delete instance 0, which is no instance.
    s->undoStack()->undo();
    QCOMPARE(wholeText(m_code), text);
}

void tst_DropCommand::dropWithoutDefinitionLeavesAnEntryThatDoesNothing()
{
    BlockDefinitionScene* s = scene();
    const QByteArray text = wholeText(m_code);
    drop(s, "unknown;0", QPointF(50000, 30000));
    QCOMPARE(s->undoStack()->count(), 1);
    QCOMPARE(wholeText(m_code), text);
    s->undoStack()->undo();
    QCOMPARE(wholeText(m_code), text);
    // The later redo places a block without a definition, which the scene refuses.
    s->undoStack()->redo();
    QCOMPARE(wholeText(m_code), text);
    QCOMPARE(static_cast<const DropCommand*>(s->undoStack()->command(0))->instanceIdentifier(), 0u);
}

void tst_DropCommand::dropFromTheBookmarksPlacesTheBlock()
{
    // A favourite carries its own identifier beside the block's; the scene reads only the block's.
    BlockDefinitionScene* s = scene();
    QMimeData data;
    data.setData(QStringLiteral("zk6/blockbookmarkidentifier"), "{1234};StandardBlock_2;0");
    data.setData(DefinitionMime, "StandardBlock_3;0");
    QCOMPARE(sendSceneDrag(s, QEvent::GraphicsSceneDrop, &data, QPointF(60000, 40000), Qt::CopyAction | Qt::LinkAction),
             Qt::LinkAction);
    BlockInstance* placed = instanceAt(QPointF(60, 40));
    QVERIFY(placed);
    QCOMPARE(placed->block()->identifier(), QStringLiteral("StandardBlock_3"));
    QCOMPARE(s->undoStack()->count(), 1);

    // The bookmark's format alone names no block: an entry that does nothing.
    QMimeData bookmarkOnly;
    bookmarkOnly.setData(QStringLiteral("zk6/blockbookmarkidentifier"), "{1234};StandardBlock_2;0");
    const QByteArray text = wholeText(m_code);
    sendSceneDrag(s, QEvent::GraphicsSceneDrop, &bookmarkOnly, QPointF(80000, 40000), Qt::CopyAction | Qt::LinkAction);
    QCOMPARE(wholeText(m_code), text);
    QCOMPARE(s->undoStack()->count(), 2);
}

void tst_DropCommand::failedReplacementShowsAMessage()
{
    // A code cannot hold its own definition: the replacement is refused.
    BlockDefinitionScene* s = scene();
    BlockDefinition* andDefinition = m_and->blockDefinition();
    QGraphicsSceneDragDropEvent event(QEvent::GraphicsSceneDrop);
    event.setScenePos(centreOf(m_and));
    BoxSeen question;
    BoxSeen critical;
    std::shared_ptr<bool> criticalAnswered;
    auto answered = answerNextModal([&](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        QVERIFY(box);
        question.title = box->windowTitle();
        criticalAnswered = answerBox(&critical, QMessageBox::Ok);
        box->button(QMessageBox::Yes)->click();
    });
    s->undoStack()->push(new DropCommand(m_code->blockDefinition(), s, &event, nullptr));
    QVERIFY(*answered);
    QVERIFY(criticalAnswered && *criticalAnswered);
    QCOMPARE(question.title, QStringLiteral("Baustein ersetzen"));
    QCOMPARE(critical.title, QStringLiteral("Baustein ersetzen"));
    QCOMPARE(critical.text, QStringLiteral("Der Baustein konnte nicht ersetzt werden!"));
    QCOMPARE(critical.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(critical.icon, QMessageBox::Critical);
    QCOMPARE(event.dropAction(), Qt::LinkAction);
    QCOMPARE(m_and->blockDefinition(), andDefinition);
    // The entry stays on the stack.
    QCOMPARE(s->undoStack()->count(), 1);
    QVERIFY(!static_cast<const DropCommand*>(s->undoStack()->command(0))->replaced());
}

void tst_DropCommand::definitionDeletedAfterTheDrop()
{
    // A block of the user library, dropped and then taken away by the model.
    Block* user = ModelBuilder::composite(m_model->user()->library(), QStringLiteral("UserBlock_9"), QStringLiteral("Weg"),
                                          {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    QVERIFY(user);
    BlockDefinitionScene* s = scene();
    QCOMPARE(drop(s, "UserBlock_9;0", QPointF(50000, 30000)), Qt::LinkAction);
    QVERIFY(instanceAt(QPointF(50, 30)));
    s->undoStack()->undo();
    delete m_model->user()->library()->removeBlock(QStringLiteral("UserBlock_9"));
    const QByteArray text = wholeText(m_code);
    // The later redo finds no definition and places nothing.
    s->undoStack()->redo();
    QCOMPARE(wholeText(m_code), text);
}

ZK_TEST_REGISTER(tst_DropCommand)
#include "tst_DropCommand.moc"
