#include "ModalAnswer.h"
#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "CreateBlockCommand.h"
#include "ModelBuilder.h"
#include "ParameterCoordinate.h"
#include "ParameterDefinition.h"
#include "System.h"

#include <QApplication>
#include <QDialog>
#include <QTimer>
#include <QSet>
#include <QTest>
#include <QUndoStack>

#include <memory>

// A new local block, made by the scene after the user filled in its properties, and the undo entry
// that records it: undo takes the instance away and leaves the block, redo makes a fresh block from
// what was saved at the push.
class tst_CreateBlockCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void newBlockIsPlacedAndRecorded();
    void undoLeavesTheBlockInTheLibrary();
    void redoMakesAFreshBlockFromTheSavedContents();
    void cancelledPropertiesLeaveNoEntry();
    void readOnlySceneMakesNothing();
    void undoOfAnItemAlreadyRemovedIsHarmless();
    void newParameterDefinitionBlock();
    void newParameterDefinitionTakesTheFirstFreeCoordinate();
    void newParameterDefinitionLivesWhereTheNodeIs_data();
    void newParameterDefinitionLivesWhereTheNodeIs();
    void cancelledParameterDefinitionTakesTheBlockAway();
    void readOnlySceneMakesNoParameterDefinition();

private:
    BlockDefinitionScene* scene() const { return BlockDefinitionScene::forCode(m_code); }
    BlockLibrary* local() const { return m_code->blockDefinition()->localBlockLibrary(); }
    BlockInstance* instanceAt(QPointF modelPosition) const;
    // Runs `action` with the next modal dialog accepted or rejected; returns whether one came.
    bool withDialog(bool accept, const std::function<void()>& action, QString* objectName = nullptr);
    // Runs `action` and tells whether a modal dialog came up, closing it if one did.
    bool dialogCameUp(const std::function<void()>& action);

    std::unique_ptr<TestModel> m_model;
    BlockCode* m_code = nullptr;
};

void tst_CreateBlockCommand::init()
{
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    QVERIFY(local());
    scene()->setReadOnly(false);
}

void tst_CreateBlockCommand::cleanup()
{
    m_model.reset();
}

BlockInstance* tst_CreateBlockCommand::instanceAt(QPointF modelPosition) const
{
    const QList<BlockInstance*> instances = m_code->instances();
    for (BlockInstance* instance : instances) {
        if (instance->position() == modelPosition)
            return instance;
    }
    return nullptr;
}

bool tst_CreateBlockCommand::withDialog(bool accept, const std::function<void()>& action, QString* objectName)
{
    auto answered = answerNextModal([accept, objectName](QDialog* dialog) {
        if (objectName)
            *objectName = dialog->objectName();
        if (accept)
            dialog->accept();
        else
            dialog->reject();
    });
    action();
    return *answered;
}

bool tst_CreateBlockCommand::dialogCameUp(const std::function<void()>& action)
{
    bool cameUp = false;
    // Fired by the dialog's own loop if one runs, else right after the action.
    QTimer::singleShot(0, this, [&cameUp] {
        if (QWidget* modal = QApplication::activeModalWidget()) {
            cameUp = true;
            modal->close();
        }
    });
    action();
    QCoreApplication::processEvents();
    return cameUp;
}

void tst_CreateBlockCommand::newBlockIsPlacedAndRecorded()
{
    BlockDefinitionScene* s = scene();
    QString dialogName;
    QVERIFY(withDialog(true, [&] { s->createNewLocalBlockDefinition(QPointF(50000, 30000)); }, &dialogName));
    QCOMPARE(dialogName, QStringLiteral("instancePropertiesDialog"));
    BlockInstance* placed = instanceAt(QPointF(50, 30));
    QVERIFY(placed);
    Block* block = placed->block();
    QVERIFY(block->isUserBlock());
    QCOMPARE(local()->block(block->identifier()), block);
    QVERIFY(s->blockItem(placed->identifier()));
    QCOMPARE(s->undoStack()->count(), 1);
    QCOMPARE(s->undoStack()->undoText(), QStringLiteral("Baustein erstellt"));
    auto* command = static_cast<const CreateBlockCommand*>(s->undoStack()->command(0));
    QCOMPARE(command->instanceIdentifier(), placed->identifier());
    // With a local library the block's own contents are kept, not the text of the instance.
    QCOMPARE(command->savedContents(), block->saveContents());
}

void tst_CreateBlockCommand::undoLeavesTheBlockInTheLibrary()
{
    BlockDefinitionScene* s = scene();
    QVERIFY(withDialog(true, [&] { s->createNewLocalBlockDefinition(QPointF(50000, 30000)); }));
    BlockInstance* placed = instanceAt(QPointF(50, 30));
    QVERIFY(placed);
    const QString identifier = placed->block()->identifier();
    const unsigned int instance = placed->identifier();
    s->undoStack()->undo();
    QVERIFY(!instanceAt(QPointF(50, 30)));
    QVERIFY(!s->blockItem(instance));
    QVERIFY(local()->block(identifier));
}

void tst_CreateBlockCommand::redoMakesAFreshBlockFromTheSavedContents()
{
    BlockDefinitionScene* s = scene();
    QVERIFY(withDialog(true, [&] { s->createNewLocalBlockDefinition(QPointF(50000, 30000)); }));
    Block* first = instanceAt(QPointF(50, 30))->block();
    const QString firstIdentifier = first->identifier();
    // A change after the push is not what comes back.
    first->setShortName(QStringLiteral("später"));
    s->undoStack()->undo();
    s->undoStack()->redo();
    BlockInstance* again = instanceAt(QPointF(50, 30));
    QVERIFY(again);
    QVERIFY(again->block()->identifier() != firstIdentifier);
    QCOMPARE(local()->block(again->block()->identifier()), again->block());
    QVERIFY(local()->block(firstIdentifier));
    QVERIFY(again->block()->shortName() != QStringLiteral("später"));
    QVERIFY(s->blockItem(again->identifier()));
    auto* command = static_cast<const CreateBlockCommand*>(s->undoStack()->command(0));
    QCOMPARE(command->instanceIdentifier(), again->identifier());
    // The next undo takes the new instance away.
    s->undoStack()->undo();
    QVERIFY(!instanceAt(QPointF(50, 30)));
}

void tst_CreateBlockCommand::cancelledPropertiesLeaveNoEntry()
{
    BlockDefinitionScene* s = scene();
    const int blocks = int(local()->blocks().size());
    const int instances = int(m_code->instances().size());
    QVERIFY(withDialog(false, [&] { s->createNewLocalBlockDefinition(QPointF(50000, 30000)); }));
    QCOMPARE(int(m_code->instances().size()), instances);
    QCOMPARE(s->undoStack()->count(), 0);
    // The block stays in the library.
    QCOMPARE(int(local()->blocks().size()), blocks + 1);
}

void tst_CreateBlockCommand::readOnlySceneMakesNothing()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(true);
    const int blocks = int(local()->blocks().size());
    QVERIFY(!dialogCameUp([&] { s->createNewLocalBlockDefinition(QPointF(50000, 30000)); }));
    QCOMPARE(int(local()->blocks().size()), blocks);
    QCOMPARE(s->undoStack()->count(), 0);
}

void tst_CreateBlockCommand::undoOfAnItemAlreadyRemovedIsHarmless()
{
    BlockDefinitionScene* s = scene();
    QVERIFY(withDialog(true, [&] { s->createNewLocalBlockDefinition(QPointF(50000, 30000)); }));
    BlockInstance* placed = instanceAt(QPointF(50, 30));
    std::unique_ptr<BlockItem> item(s->blockItem(placed->identifier()));
    s->removeItem(item.get());
    s->undoStack()->undo();
    QVERIFY(!instanceAt(QPointF(50, 30)));
    // A second round repeats the removal on the same item, which is still no part of the scene.
    s->undoStack()->redo();
    s->undoStack()->undo();
    QVERIFY(!instanceAt(QPointF(50, 30)));
    QVERIFY(!item->scene());
}

void tst_CreateBlockCommand::newParameterDefinitionBlock()
{
    BlockDefinitionScene* s = scene();
    QString dialogName;
    QVERIFY(withDialog(true, [&] { s->createNewLocalParameterDefinition(QPointF(40000, 20000)); }, &dialogName));
    QCOMPARE(dialogName, QStringLiteral("definitionPropertiesDialog"));
    BlockInstance* placed = instanceAt(QPointF(40, 20));
    QVERIFY(placed);
    BlockDefinition* definition = placed->blockDefinition();
    QVERIFY(definition->isParameterDefinitionBlock());
    ParameterDefinition* parameter = definition->parameterDefinition(0, 0);
    QVERIFY(parameter);
    // The template speaks of an axis, and no node says otherwise.
    QCOMPARE(parameter->livingSpace(), QByteArray("axis"));
    QCOMPARE(local()->block(placed->block()->identifier()), placed->block());
    QCOMPARE(s->undoStack()->count(), 1);
    QCOMPARE(s->undoStack()->undoText(), QStringLiteral("Baustein erstellt"));
    s->undoStack()->undo();
    QVERIFY(!instanceAt(QPointF(40, 20)));
}

void tst_CreateBlockCommand::newParameterDefinitionTakesTheFirstFreeCoordinate()
{
    BlockDefinitionScene* s = scene();
    QVERIFY(withDialog(true, [&] { s->createNewLocalParameterDefinition(QPointF(40000, 20000)); }));
    ParameterDefinition* parameter = instanceAt(QPointF(40, 20))->blockDefinition()->parameterDefinition(0, 0);
    QVERIFY(parameter);
    QVERIFY(!parameter->defaultCoordinates().isEmpty());
    QCOMPARE(parameter->defaultCoordinates().first().toText().toLatin1(), s->findFreeParameterCoordinate());
}

void tst_CreateBlockCommand::newParameterDefinitionLivesWhereTheNodeIs_data()
{
    QTest::addColumn<QString>("node");
    QTest::addColumn<QByteArray>("livingSpace");
    QTest::newRow("no node") << QString() << QByteArray("axis");
    QTest::newRow("node of an axis") << QStringLiteral("axis") << QByteArray("axis");
    // The area of first number 0 holds the parameters of the whole device.
    QTest::newRow("node of the global area") << QStringLiteral("global") << QByteArray("global");
}

void tst_CreateBlockCommand::newParameterDefinitionLivesWhereTheNodeIs()
{
    QFETCH(QString, node);
    QFETCH(QByteArray, livingSpace);
    BlockDefinitionScene* s = scene();
    if (!node.isEmpty()) {
        BlockInstanceArea* area = node == QLatin1String("global") ? m_model->globalArea() : m_model->area();
        QCOMPARE(area->firstNumber() == 0, node == QLatin1String("global"));
        s->setHierarchyNode(area->hierarchy()->rootNode());
        s->setReadOnly(false);
    }
    QVERIFY(withDialog(true, [&] { s->createNewLocalParameterDefinition(QPointF(40000, 20000)); }));
    BlockInstance* placed = instanceAt(QPointF(40, 20));
    QVERIFY(placed);
    ParameterDefinition* parameter = placed->blockDefinition()->parameterDefinition(0, 0);
    QVERIFY(parameter);
    QCOMPARE(parameter->livingSpace(), livingSpace);
}

void tst_CreateBlockCommand::cancelledParameterDefinitionTakesTheBlockAway()
{
    BlockDefinitionScene* s = scene();
    const QList<Block*> before = local()->blocks();
    const int instances = int(m_code->instances().size());
    QVERIFY(withDialog(false, [&] { s->createNewLocalParameterDefinition(QPointF(40000, 20000)); }));
    QCOMPARE(local()->blocks(), before);
    QCOMPARE(int(m_code->instances().size()), instances);
    QCOMPARE(s->undoStack()->count(), 0);
}

void tst_CreateBlockCommand::readOnlySceneMakesNoParameterDefinition()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(true);
    const QList<Block*> before = local()->blocks();
    QVERIFY(!dialogCameUp([&] { s->createNewLocalParameterDefinition(QPointF(40000, 20000)); }));
    QCOMPARE(local()->blocks(), before);
    QCOMPARE(s->undoStack()->count(), 0);
}

ZK_TEST_REGISTER(tst_CreateBlockCommand)
#include "tst_CreateBlockCommand.moc"
