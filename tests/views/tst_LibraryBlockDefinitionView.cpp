#include "ModalAnswer.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockHierarchyNodeView.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "LibraryBlockDefinitionView.h"
#include "ModelBuilder.h"

#include <QDialog>
#include <QPointer>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <memory>

class tst_LibraryBlockDefinitionView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void withoutDefinition();
    void setDefinitionShowsTheEditableCode();
    void setDefinitionDetachesAHierarchyNode();
    void setReadOnlyTakesEffect();
    void stepIntoALocalBlockAndOut();
    void stepInRefusals_data();
    void stepInRefusals();
    void stepInAllowedFollowsTheSelection();
    void revisitedSceneComesBackWithScrollAndZoom();
    void setEnvironmentGivesTheSceneItsArea();
    void scrollToItemCentresAndSelects();
    void showBlockPropertiesOfTheSelection();
    void deletingTheShownDefinition();
    void stepOutPastADeletedDefinition();
    void newRootForgetsTheWayBack();

private:
    BlockDefinitionScene* scene() const { return qobject_cast<BlockDefinitionScene*>(m_view->scene()); }
    void select(unsigned int identifier);

    std::unique_ptr<TestModel> m_model;
    std::unique_ptr<LibraryBlockDefinitionView> m_view;
    // "Kunde" (user library): AND, "Regler" (standard), "Teil" (local to Kunde); Teil: NOT, "Stueck"
    // (local to Teil); Stueck: AND.
    Block* m_kundeBlock = nullptr;
    Block* m_teilBlock = nullptr;
    Block* m_stueckBlock = nullptr;
    BlockInstance* m_and = nullptr;
    BlockInstance* m_regler = nullptr;
    BlockInstance* m_teil = nullptr;
    BlockInstance* m_stueck = nullptr;
};

void tst_LibraryBlockDefinitionView::init()
{
    m_model = std::make_unique<TestModel>();
    Block* andBlock = m_model->block(QStringLiteral("StandardBlock_1"));
    m_kundeBlock = ModelBuilder::composite(m_model->user()->library(), QStringLiteral("UserBlock_1"),
                                           QStringLiteral("Kunde"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    BlockDefinition* kunde = ModelBuilder::newest(m_kundeBlock);
    m_and = ModelBuilder::place(kunde->code(), ModelBuilder::newest(andBlock), {5, 5});
    m_regler = ModelBuilder::place(kunde->code(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))),
                                   {30, 5});
    m_teilBlock = ModelBuilder::composite(kunde->ensureLocalBlockLibrary(), QStringLiteral("LocalBlock_1"),
                                          QStringLiteral("Teil"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    m_teil = ModelBuilder::place(kunde->code(), ModelBuilder::newest(m_teilBlock), {250, 180});
    BlockDefinition* teil = ModelBuilder::newest(m_teilBlock);
    ModelBuilder::place(teil->code(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {5, 5});
    m_stueckBlock = ModelBuilder::composite(teil->ensureLocalBlockLibrary(), QStringLiteral("LocalBlock_2"),
                                            QStringLiteral("Stueck"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    m_stueck = ModelBuilder::place(teil->code(), ModelBuilder::newest(m_stueckBlock), {40, 40});
    ModelBuilder::place(ModelBuilder::newest(m_stueckBlock)->code(), ModelBuilder::newest(andBlock), {5, 5});

    m_view = std::make_unique<LibraryBlockDefinitionView>();
    m_view->resize(640, 480);
    m_view->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
}

void tst_LibraryBlockDefinitionView::cleanup()
{
    m_view.reset();
    m_model.reset();
}

void tst_LibraryBlockDefinitionView::select(unsigned int identifier)
{
    QVERIFY(scene());
    scene()->clearSelection();
    BlockItem* item = scene()->blockItem(identifier);
    QVERIFY(item);
    item->setSelected(true);
}

void tst_LibraryBlockDefinitionView::withoutDefinition()
{
    QVERIFY(!m_view->scene());
    QVERIFY(!m_view->isReadOnly());
    QVERIFY(m_view->isBlockDefinitionEditMode());
    QVERIFY(m_view->isEditAllowed());
    QVERIFY(!m_view->isStepInAllowed());
    QVERIFY(!m_view->isStepOutAllowed());
    QVERIFY(m_view->currentPath().isEmpty());
    QVERIFY(m_view->setReadOnly(false));
    QVERIFY(!m_view->setReadOnly(true));
    QVERIFY(!m_view->stepInSelectedBlock());
    QVERIFY(!m_view->stepOut());
    QVERIFY(!m_view->scrollToItem(1, true));
    m_view->showBlockProperties();
    m_view->setEnvironment(m_model->area());
    m_view->setDefinition(nullptr);
    QVERIFY(!m_view->scene());
}

void tst_LibraryBlockDefinitionView::setDefinitionShowsTheEditableCode()
{
    BlockDefinition* kunde = ModelBuilder::newest(m_kundeBlock);
    QSignalSpy outSpy(m_view.get(), &BlockCodeView::stepOutAllowedChanged);
    m_view->setDefinition(kunde);
    QVERIFY(scene());
    QCOMPARE(scene(), kunde->code()->blockDefinitionScene());
    QCOMPARE(scene()->blockCode(), kunde->code());
    QVERIFY(!scene()->isReadOnly());
    QVERIFY(!m_view->isReadOnly());
    QVERIFY(m_view->isBlockDefinitionEditMode());
    QVERIFY(m_view->isEditAllowed());
    QVERIFY(!m_view->isStepOutAllowed());
    QCOMPARE(outSpy.last().value(0).toBool(), false);
    // A definition has no location to show or to go to.
    QVERIFY(m_view->currentPath().isEmpty());
    QVERIFY(!m_view->navigateTo(QStringLiteral("0.1")));
    QCOMPARE(m_view->scene(), scene());
    QVERIFY(scene()->blockItem(m_teil->identifier()));
}

void tst_LibraryBlockDefinitionView::setDefinitionDetachesAHierarchyNode()
{
    // The same code, edited before from a hierarchy, carries that node in its shared scene.
    BlockInstance* placed = ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(m_kundeBlock), {5, 5});
    BlockInstanceHierarchyNode* node = m_model->area()->hierarchy()->rootNode()->instanceNode(placed->identifier());
    QVERIFY(node);
    BlockDefinitionScene* shared = BlockDefinitionScene::forCode(ModelBuilder::newest(m_kundeBlock)->code());
    shared->setHierarchyNode(node);
    shared->setReadOnly(false);

    m_view->setDefinition(ModelBuilder::newest(m_kundeBlock));
    QCOMPARE(scene(), shared);
    QVERIFY(!shared->hierarchyNode());
    QVERIFY(!shared->isReadOnly());
}

void tst_LibraryBlockDefinitionView::setReadOnlyTakesEffect()
{
    m_view->setDefinition(ModelBuilder::newest(m_kundeBlock));
    QVERIFY(m_view->setReadOnly(true));
    QVERIFY(m_view->isReadOnly());
    QVERIFY(scene()->isReadOnly());
    QVERIFY(m_view->setReadOnly(false));
    QVERIFY(!m_view->isReadOnly());
}

void tst_LibraryBlockDefinitionView::stepIntoALocalBlockAndOut()
{
    BlockDefinition* kunde = ModelBuilder::newest(m_kundeBlock);
    BlockDefinition* teil = ModelBuilder::newest(m_teilBlock);
    BlockDefinition* stueck = ModelBuilder::newest(m_stueckBlock);
    m_view->setDefinition(kunde);
    QSignalSpy outSpy(m_view.get(), &BlockCodeView::stepOutAllowedChanged);

    select(m_teil->identifier());
    QVERIFY(m_view->isStepInAllowed());
    QVERIFY(m_view->stepInSelectedBlock());
    QCOMPARE(scene()->blockCode(), teil->code());
    QVERIFY(!scene()->isReadOnly());
    QVERIFY(!scene()->hierarchyNode());
    QVERIFY(m_view->isStepOutAllowed());
    QCOMPARE(outSpy.last().value(0).toBool(), true);

    select(m_stueck->identifier());
    QVERIFY(m_view->stepInSelectedBlock());
    QCOMPARE(scene()->blockCode(), stueck->code());

    // Nobody reads the result of a step out; it says false whatever happened.
    QVERIFY(!m_view->stepOut());
    QCOMPARE(scene()->blockCode(), teil->code());
    QVERIFY(m_view->isStepOutAllowed());
    QVERIFY(!m_view->stepOut());
    QCOMPARE(scene()->blockCode(), kunde->code());
    QVERIFY(!scene()->isReadOnly());
    QVERIFY(!m_view->isStepOutAllowed());
    QCOMPARE(outSpy.last().value(0).toBool(), false);
    QVERIFY(!m_view->stepOut());
    QCOMPARE(scene()->blockCode(), kunde->code());
}

void tst_LibraryBlockDefinitionView::stepInRefusals_data()
{
    QTest::addColumn<QString>("which");
    QTest::newRow("nothing selected") << QStringLiteral("none");
    QTest::newRow("block without code") << QStringLiteral("and");
    QTest::newRow("block of another library") << QStringLiteral("regler");
    QTest::newRow("local block that hides its inside") << QStringLiteral("hidden");
    QTest::newRow("local block hidden from this access level") << QStringLiteral("unreadable");
}

void tst_LibraryBlockDefinitionView::stepInRefusals()
{
    QFETCH(QString, which);
    BlockDefinition* kunde = ModelBuilder::newest(m_kundeBlock);
    m_view->setDefinition(kunde);
    if (which == QLatin1String("and")) {
        select(m_and->identifier());
    } else if (which == QLatin1String("regler")) {
        select(m_regler->identifier());
    } else if (which == QLatin1String("hidden")) {
        ModelBuilder::newest(m_teilBlock)->setStepInEnabled(false);
        select(m_teil->identifier());
    } else if (which == QLatin1String("unreadable")) {
        ModelBuilder::newest(m_teilBlock)->setAccessLevelRead(5);
        select(m_teil->identifier());
    }
    QVERIFY(!m_view->isStepInAllowed());
    QVERIFY(!m_view->stepInSelectedBlock());
    QCOMPARE(scene()->blockCode(), kunde->code());
    QVERIFY(!m_view->isStepOutAllowed());
}

void tst_LibraryBlockDefinitionView::stepInAllowedFollowsTheSelection()
{
    m_view->setDefinition(ModelBuilder::newest(m_kundeBlock));
    QSignalSpy spy(m_view.get(), &BlockCodeView::stepInAllowedChanged);
    select(m_teil->identifier());
    QTRY_VERIFY(!spy.isEmpty());
    QCOMPARE(spy.last().value(0).toBool(), true);
    select(m_and->identifier());
    QTRY_COMPARE(spy.last().value(0).toBool(), false);
}

void tst_LibraryBlockDefinitionView::revisitedSceneComesBackWithScrollAndZoom()
{
    m_view->setDefinition(ModelBuilder::newest(m_kundeBlock));
    m_view->setZoomFactor(2.0);
    m_view->horizontalScrollBar()->setValue(3000);
    m_view->verticalScrollBar()->setValue(2000);
    select(m_teil->identifier());
    QVERIFY(m_view->stepInSelectedBlock());
    // First seen: from the origin, at the zoom the user had.
    QCOMPARE(m_view->zoomFactor(), 2.0);
    QCOMPARE(m_view->horizontalScrollBar()->value(), 0);
    QCOMPARE(m_view->verticalScrollBar()->value(), 0);
    m_view->setZoomFactor(0.5);
    m_view->horizontalScrollBar()->setValue(700);
    m_view->verticalScrollBar()->setValue(500);

    m_view->stepOut();
    QCOMPARE(m_view->zoomFactor(), 2.0);
    QCOMPARE(m_view->horizontalScrollBar()->value(), 3000);
    QCOMPARE(m_view->verticalScrollBar()->value(), 2000);

    select(m_teil->identifier());
    QVERIFY(m_view->stepInSelectedBlock());
    QCOMPARE(m_view->zoomFactor(), 0.5);
    QCOMPARE(m_view->horizontalScrollBar()->value(), 700);
    QCOMPARE(m_view->verticalScrollBar()->value(), 500);
}

void tst_LibraryBlockDefinitionView::setEnvironmentGivesTheSceneItsArea()
{
    m_view->setDefinition(ModelBuilder::newest(m_kundeBlock));
    m_view->setEnvironment(m_model->globalArea());
    QCOMPARE(scene()->instanceArea(), m_model->globalArea());
    QCOMPARE(scene()->sceneArea(), m_model->globalArea());
    QVERIFY(!scene()->isReadOnly());
    m_view->setEnvironment(nullptr);
    QVERIFY(!scene()->instanceArea());
}

void tst_LibraryBlockDefinitionView::scrollToItemCentresAndSelects()
{
    m_view->setDefinition(ModelBuilder::newest(m_kundeBlock));
    QVERIFY(!m_view->scrollToItem(999, true));
    QVERIFY(m_view->scrollToItem(m_teil->identifier(), true));
    BlockItem* item = scene()->blockItem(m_teil->identifier());
    QVERIFY(item->isSelected());
    const QPointF centre = m_view->mapToScene(m_view->viewport()->rect().center());
    QVERIFY(QLineF(centre, item->sceneBoundingRect().center()).length() < 100.0);
    scene()->clearSelection();
    QVERIFY(m_view->scrollToItem(m_and->identifier(), false));
    QVERIFY(scene()->selectedItems().isEmpty());
}

void tst_LibraryBlockDefinitionView::showBlockPropertiesOfTheSelection()
{
    m_view->setDefinition(ModelBuilder::newest(m_kundeBlock));
    select(m_and->identifier());
    QString dialogName;
    auto answered = answerNextModal([&](QDialog* dialog) {
        dialogName = dialog->objectName();
        dialog->reject();
    });
    m_view->showBlockProperties();
    QVERIFY(*answered);
    QCOMPARE(dialogName, QStringLiteral("instancePropertiesDialog"));
}

void tst_LibraryBlockDefinitionView::deletingTheShownDefinition()
{
    m_view->setDefinition(ModelBuilder::newest(m_kundeBlock));
    select(m_teil->identifier());
    QVERIFY(m_view->stepInSelectedBlock());
    QSignalSpy outSpy(m_view.get(), &BlockCodeView::stepOutAllowedChanged);
    BlockLibrary* local = ModelBuilder::newest(m_kundeBlock)->localBlockLibrary();
    delete local->removeBlock(m_teilBlock->identifier());
    QVERIFY(!m_view->scene());
    QVERIFY(!outSpy.isEmpty());
    QVERIFY(!m_view->isReadOnly());
    QVERIFY(!m_view->isStepInAllowed());
    m_view->grab();
    // The way back still leads to the definition that is left.
    m_view->stepOut();
    QCOMPARE(scene()->blockCode(), ModelBuilder::newest(m_kundeBlock)->code());
}

void tst_LibraryBlockDefinitionView::stepOutPastADeletedDefinition()
{
    m_view->setDefinition(ModelBuilder::newest(m_kundeBlock));
    select(m_teil->identifier());
    QVERIFY(m_view->stepInSelectedBlock());
    QPointer<BlockDefinitionScene> teilScene = scene();
    delete m_model->user()->library()->removeBlock(m_kundeBlock->identifier());
    // Kunde takes its local blocks along, Teil among them.
    QVERIFY(!teilScene);
    QVERIFY(!m_view->scene());
    QVERIFY(m_view->isStepOutAllowed());
    QSignalSpy outSpy(m_view.get(), &BlockCodeView::stepOutAllowedChanged);
    QVERIFY(!m_view->stepOut());
    QVERIFY(!m_view->isStepOutAllowed());
    QCOMPARE(outSpy.last().value(0).toBool(), false);
    QVERIFY(!m_view->scene());
}

void tst_LibraryBlockDefinitionView::newRootForgetsTheWayBack()
{
    m_view->setDefinition(ModelBuilder::newest(m_kundeBlock));
    select(m_teil->identifier());
    QVERIFY(m_view->stepInSelectedBlock());
    QVERIFY(m_view->isStepOutAllowed());
    m_view->setDefinition(ModelBuilder::newest(m_stueckBlock));
    QVERIFY(!m_view->isStepOutAllowed());
    m_view->stepOut();
    QCOMPARE(scene()->blockCode(), ModelBuilder::newest(m_stueckBlock)->code());
}

ZK_TEST_REGISTER(tst_LibraryBlockDefinitionView)
#include "tst_LibraryBlockDefinitionView.moc"
