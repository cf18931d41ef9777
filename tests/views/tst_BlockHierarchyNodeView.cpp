#include "ModalAnswer.h"
#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockHierarchyNodeScene.h"
#include "BlockHierarchyNodeView.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "LanguageManager.h"
#include "LibraryBlockDefinitionSubWindow.h"
#include "ModelBuilder.h"
#include "System.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMdiArea>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QUndoCommand>
#include <QUndoStack>

#include <algorithm>
#include <memory>

namespace {

QList<unsigned int> selectedIdentifiers(QGraphicsScene* scene)
{
    QList<unsigned int> identifiers;
    auto* codeScene = qobject_cast<BlockCodeScene*>(scene);
    if (!codeScene)
        return identifiers;
    const QList<BlockItem*> items = codeScene->selectedBlockItems();
    for (BlockItem* item : items)
        identifiers.append(item->identifier());
    std::sort(identifiers.begin(), identifiers.end());
    return identifiers;
}

QList<bool> boolArguments(const QSignalSpy& spy)
{
    QList<bool> values;
    for (const QList<QVariant>& arguments : spy)
        values.append(arguments.value(0).toBool());
    return values;
}

} // namespace

class tst_BlockHierarchyNodeView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void withoutSceneEverythingIsQuiet();
    void setAreaShowsTheRootNode();
    void setReadOnlyOnANodeScene();
    void scrollToItemCentresAndSelects();
    void stepInAllowedFollowsTheSelection();
    void stepInAndOutThreeLevels();
    void stepInWithoutSingleSelectionDoesNothing();
    void stepIntoForbiddenBlockShowsPropertiesAndStays_data();
    void stepIntoForbiddenBlockShowsPropertiesAndStays();
    void titleComposition_data();
    void titleComposition();
    void titleOfTheRootIsEmpty();
    void revisitedSceneComesBackWithScrollAndZoom();
    void firstVisitCentresAndSelectsTheBlockLeft();
    void firstVisitWithoutTheBlockLeftScrollsToTheOrigin();
    void pinDisplayModeFollowsTheUser_data();
    void pinDisplayModeFollowsTheUser();
    void accessLevel2ChangesNothing();
    void rootBlockNeedsTheTopLevel_data();
    void rootBlockNeedsTheTopLevel();
    void editAllowedRules_data();
    void editAllowedRules();
    void enterAndLeaveEditModeRestoresSelection();
    void editModeWishFollowsTheUserDownward();
    void leavingEditModeClearsTheWish();
    void onlineAreaNeverSwitches();
    void stepInFromEditMode();
    void stepIntoForbiddenBlockFromEditMode();
    void changeInThePropertiesOfAForbiddenBlockIsAnUndoStep();
    void stepOutFromEditMode();
    void insideALibraryBlockOpensTheSubWindow();
    void libraryBlockLevelOpensItsSubWindow();
    void userBlockIsNotEditedWithoutTheMethodDialog_data();
    void userBlockIsNotEditedWithoutTheMethodDialog();
    void userBlockEditedInItsCurrentVersionOpensTheSubWindow();
    void userBlockTakenAwayWhileTheDialogIsOpen();
    void readOnlyBlocksOpenNoWindow_data();
    void readOnlyBlocksOpenNoWindow();
    void navigateShowsTheParentLevelAndSelectsTheTarget_data();
    void navigateShowsTheParentLevelAndSelectsTheTarget();
    void navigateToNowhereChangesNothing_data();
    void navigateToNowhereChangesNothing();
    void navigateFromEditModeStaysInEditMode();
    void navigateInEditModeToABlockMadeThereSelectsIt();
    void showBlockPropertiesOfTheSelection();
    void deletingTheAreaEmptiesTheView();
    void deletingTheShownInstanceEmptiesTheView();
    void deletingTheNodeWhileEditing();
    void deletingTheDefinitionWhileEditing();
    void twoStepMovesShowOneChange();

private:
    BlockCodeScene* codeScene() const { return qobject_cast<BlockCodeScene*>(m_view->scene()); }
    void select(std::initializer_list<unsigned int> identifiers);
    bool stepInto(unsigned int identifier);
    QString rootPath(std::initializer_list<unsigned int> identifiers) const;
    BlockInstanceHierarchyNode* node(std::initializer_list<unsigned int> identifiers) const;

    QTemporaryDir m_settingsDir;
    std::unique_ptr<TestModel> m_model;
    std::unique_ptr<QMainWindow> m_mainWindow;
    QMdiArea* m_mdiArea = nullptr;
    std::unique_ptr<BlockHierarchyNodeView> m_view;
    std::unique_ptr<QLabel> m_label;

    // Root: AND, NOT, "Regler" (standard, made of blocks), "Lokal" (local), "Kunde" (user library).
    // Lokal: NOT, "Innen" (local); Innen: AND, "Tief" (local); Tief: AND.
    // Kunde: "Teil" (local to Kunde); Teil: AND.
    BlockInstance* m_and = nullptr;
    BlockInstance* m_not = nullptr;
    BlockInstance* m_regler = nullptr;
    BlockInstance* m_lokal = nullptr;
    BlockInstance* m_kunde = nullptr;
    BlockInstance* m_lokalNot = nullptr;
    BlockInstance* m_innen = nullptr;
    BlockInstance* m_innenAnd = nullptr;
    BlockInstance* m_tief = nullptr;
    BlockInstance* m_teil = nullptr;
    Block* m_lokalBlock = nullptr;
    Block* m_innenBlock = nullptr;
    Block* m_kundeBlock = nullptr;
    Block* m_teilBlock = nullptr;
};

void tst_BlockHierarchyNodeView::initTestCase()
{
    // Sub-windows read and write their settings; the user's own must stay untouched.
    QVERIFY(m_settingsDir.isValid());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_settingsDir.path());
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_settingsDir.path());
}

void tst_BlockHierarchyNodeView::init()
{
    m_model = std::make_unique<TestModel>();
    BlockCode* root = m_model->rootCode();
    auto newest = [](Block* block) { return ModelBuilder::newest(block); };
    Block* andBlock = m_model->block(QStringLiteral("StandardBlock_1"));
    Block* notBlock = m_model->block(QStringLiteral("StandardBlock_3"));

    m_and = ModelBuilder::place(root, newest(andBlock), {20, 10});
    m_not = ModelBuilder::place(root, newest(notBlock), {40, 10});
    m_regler = ModelBuilder::place(root, newest(m_model->block(QStringLiteral("StandardBlock_20"))), {20, 30});

    BlockDefinition* rootDefinition = m_model->area()->rootDefinition();
    m_lokalBlock = ModelBuilder::composite(rootDefinition->ensureLocalBlockLibrary(), QStringLiteral("LocalBlock_1"),
                                           QStringLiteral("Lokal"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    m_lokal = ModelBuilder::place(root, newest(m_lokalBlock), {200, 150});
    BlockDefinition* lokal = newest(m_lokalBlock);
    m_lokalNot = ModelBuilder::place(lokal->code(), newest(notBlock), {5, 5});
    m_innenBlock = ModelBuilder::composite(lokal->ensureLocalBlockLibrary(), QStringLiteral("LocalBlock_2"),
                                           QStringLiteral("Innen"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    m_innen = ModelBuilder::place(lokal->code(), newest(m_innenBlock), {300, 200});
    BlockDefinition* innen = newest(m_innenBlock);
    m_innenAnd = ModelBuilder::place(innen->code(), newest(andBlock), {5, 5});
    Block* tiefBlock = ModelBuilder::composite(innen->ensureLocalBlockLibrary(), QStringLiteral("LocalBlock_3"),
                                               QStringLiteral("Tief"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    m_tief = ModelBuilder::place(innen->code(), newest(tiefBlock), {150, 100});
    ModelBuilder::place(newest(tiefBlock)->code(), newest(andBlock), {5, 5});

    m_kundeBlock = ModelBuilder::composite(m_model->user()->library(), QStringLiteral("UserBlock_1"),
                                           QStringLiteral("Kunde"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    m_kunde = ModelBuilder::place(root, newest(m_kundeBlock), {60, 30});
    BlockDefinition* kunde = newest(m_kundeBlock);
    m_teilBlock = ModelBuilder::composite(kunde->ensureLocalBlockLibrary(), QStringLiteral("LocalBlock_4"),
                                          QStringLiteral("Teil"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    m_teil = ModelBuilder::place(kunde->code(), newest(m_teilBlock), {5, 5});
    ModelBuilder::place(newest(m_teilBlock)->code(), newest(andBlock), {5, 5});

    m_mainWindow = std::make_unique<QMainWindow>();
    m_mdiArea = new QMdiArea;
    m_mdiArea->setObjectName(QStringLiteral("mdiArea"));
    m_mainWindow->setCentralWidget(m_mdiArea);
    m_mainWindow->resize(1000, 700);
    System::instance().setMainWindow(m_mainWindow.get());

    m_view = std::make_unique<BlockHierarchyNodeView>();
    m_view->resize(640, 480);
    m_view->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
    m_label = std::make_unique<QLabel>();
    m_view->setStatusLabel(m_label.get());
}

void tst_BlockHierarchyNodeView::cleanup()
{
    m_view.reset();
    m_label.reset();
    System::instance().setMainWindow(nullptr);
    m_mainWindow.reset();
    m_model.reset();
}

void tst_BlockHierarchyNodeView::select(std::initializer_list<unsigned int> identifiers)
{
    BlockCodeScene* scene = codeScene();
    QVERIFY(scene);
    scene->clearSelection();
    for (unsigned int identifier : identifiers) {
        BlockItem* item = scene->blockItem(identifier);
        QVERIFY2(item, qPrintable(QStringLiteral("no block item %1").arg(identifier)));
        item->setSelected(true);
    }
}

bool tst_BlockHierarchyNodeView::stepInto(unsigned int identifier)
{
    select({identifier});
    return m_view->stepInSelectedBlock();
}

QString tst_BlockHierarchyNodeView::rootPath(std::initializer_list<unsigned int> identifiers) const
{
    QString path = QStringLiteral("A1:0");
    for (unsigned int identifier : identifiers)
        path += QStringLiteral(".%1").arg(identifier);
    return path;
}

BlockInstanceHierarchyNode* tst_BlockHierarchyNodeView::node(std::initializer_list<unsigned int> identifiers) const
{
    return m_model->area()->hierarchy()->nodeForPath(rootPath(identifiers));
}

void tst_BlockHierarchyNodeView::withoutSceneEverythingIsQuiet()
{
    QVERIFY(!m_view->scene());
    QVERIFY(m_view->isReadOnly());
    QVERIFY(!m_view->isBlockDefinitionEditMode());
    QVERIFY(!m_view->isEditAllowed());
    QVERIFY(!m_view->isStepInAllowed());
    QVERIFY(!m_view->isStepOutAllowed());
    QVERIFY(m_view->currentPath().isEmpty());
    QVERIFY(m_view->setReadOnly(true));
    QVERIFY(!m_view->setReadOnly(false));
    QVERIFY(!m_view->scrollToItem(m_and->identifier(), true));
    QVERIFY(!m_view->stepInSelectedBlock());
    QVERIFY(!m_view->stepOut());
    QVERIFY(!m_view->navigateTo(QStringLiteral("0.1")));
    m_view->showBlockProperties();
    QVERIFY(!m_view->setBlockDefinitionEditMode(true));
    QVERIFY(!m_view->setBlockDefinitionEditMode(false));
    m_view->setArea(nullptr);
    QVERIFY(!m_view->scene());
}

void tst_BlockHierarchyNodeView::setAreaShowsTheRootNode()
{
    QSignalSpy areaSpy(m_view.get(), &BlockCodeView::areaChanged);
    QSignalSpy outSpy(m_view.get(), &BlockCodeView::stepOutAllowedChanged);
    m_view->setArea(m_model->area());
    BlockInstanceHierarchyNode* root = m_model->area()->hierarchy()->rootNode();
    QCOMPARE(m_view->scene(), root->blockHierarchyNodeScene());
    QCOMPARE(m_view->currentPath(), QStringLiteral("A1:0"));
    QVERIFY(m_view->isReadOnly());
    QVERIFY(!m_view->isBlockDefinitionEditMode());
    QVERIFY(!m_view->isStepOutAllowed());
    QCOMPARE(areaSpy.count(), 1);
    QCOMPARE(boolArguments(outSpy), QList<bool>{false});
    QVERIFY(codeScene()->blockItem(m_lokal->identifier()));
}

void tst_BlockHierarchyNodeView::setReadOnlyOnANodeScene()
{
    m_view->setArea(m_model->area());
    QVERIFY(!m_view->setReadOnly(false));
    QVERIFY(m_view->isReadOnly());
    QVERIFY(m_view->setReadOnly(true));
    QVERIFY(m_view->isReadOnly());
}

void tst_BlockHierarchyNodeView::scrollToItemCentresAndSelects()
{
    m_view->setArea(m_model->area());
    select({m_and->identifier()});
    QVERIFY(!m_view->scrollToItem(9999, true));
    QCOMPARE(selectedIdentifiers(m_view->scene()), QList<unsigned int>{m_and->identifier()});

    BlockItem* target = codeScene()->blockItem(m_lokal->identifier());
    QVERIFY(m_view->scrollToItem(m_lokal->identifier(), false));
    const QPointF centre = m_view->mapToScene(m_view->viewport()->rect().center());
    QVERIFY2(QLineF(centre, target->sceneBoundingRect().center()).length() < 100.0,
             qPrintable(QStringLiteral("centre %1,%2").arg(centre.x()).arg(centre.y())));
    QCOMPARE(selectedIdentifiers(m_view->scene()), QList<unsigned int>{m_and->identifier()});

    QVERIFY(m_view->scrollToItem(m_lokal->identifier(), true));
    QCOMPARE(selectedIdentifiers(m_view->scene()), QList<unsigned int>{m_lokal->identifier()});
}

void tst_BlockHierarchyNodeView::stepInAllowedFollowsTheSelection()
{
    m_view->setArea(m_model->area());
    QSignalSpy spy(m_view.get(), &BlockCodeView::stepInAllowedChanged);
    select({m_lokal->identifier()});
    QTRY_VERIFY(!spy.isEmpty());
    QCOMPARE(spy.last().value(0).toBool(), true);
    QVERIFY(m_view->isStepInAllowed());
    select({m_and->identifier()});
    QTRY_COMPARE(spy.last().value(0).toBool(), false);
    QVERIFY(!m_view->isStepInAllowed());
}

void tst_BlockHierarchyNodeView::stepInAndOutThreeLevels()
{
    m_view->setArea(m_model->area());
    const unsigned int lokal = m_lokal->identifier();
    const unsigned int innen = m_innen->identifier();
    const unsigned int tief = m_tief->identifier();
    QSignalSpy areaSpy(m_view.get(), &BlockCodeView::areaChanged);
    QSignalSpy outSpy(m_view.get(), &BlockCodeView::stepOutAllowedChanged);

    QVERIFY(stepInto(lokal));
    QCOMPARE(m_view->currentPath(), rootPath({lokal}));
    QCOMPARE(m_view->scene(), node({lokal})->blockHierarchyNodeScene());
    QVERIFY(m_view->isStepOutAllowed());
    QCOMPARE(outSpy.last().value(0).toBool(), true);
    QVERIFY(stepInto(innen));
    QCOMPARE(m_view->currentPath(), rootPath({lokal, innen}));
    QVERIFY(stepInto(tief));
    QCOMPARE(m_view->currentPath(), rootPath({lokal, innen, tief}));
    QCOMPARE(areaSpy.count(), 3);

    QVERIFY(m_view->stepOut());
    QCOMPARE(m_view->currentPath(), rootPath({lokal, innen}));
    QCOMPARE(selectedIdentifiers(m_view->scene()), QList<unsigned int>{tief});
    QVERIFY(m_view->stepOut());
    QCOMPARE(m_view->currentPath(), rootPath({lokal}));
    QCOMPARE(selectedIdentifiers(m_view->scene()), QList<unsigned int>{innen});
    QVERIFY(m_view->stepOut());
    QCOMPARE(m_view->currentPath(), rootPath({}));
    QCOMPARE(selectedIdentifiers(m_view->scene()), QList<unsigned int>{lokal});
    QVERIFY(!m_view->isStepOutAllowed());
    QCOMPARE(outSpy.last().value(0).toBool(), false);
    QVERIFY(!m_view->stepOut());
    QCOMPARE(m_view->currentPath(), rootPath({}));
}

void tst_BlockHierarchyNodeView::stepInWithoutSingleSelectionDoesNothing()
{
    m_view->setArea(m_model->area());
    // A dialog, if one came, would run its own event loop: the watcher sees and refuses it.
    bool sawDialog = false;
    QTimer watcher;
    connect(&watcher, &QTimer::timeout, this, [&sawDialog] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
            sawDialog = true;
            dialog->reject();
        }
    });
    watcher.start(10);
    QVERIFY(!m_view->stepInSelectedBlock());
    select({m_lokal->identifier(), m_regler->identifier()});
    QVERIFY(!m_view->stepInSelectedBlock());
    QCOMPARE(m_view->currentPath(), rootPath({}));
    QVERIFY(!sawDialog);
}

void tst_BlockHierarchyNodeView::stepIntoForbiddenBlockShowsPropertiesAndStays_data()
{
    QTest::addColumn<QString>("which");
    QTest::newRow("block without code") << QStringLiteral("and");
    QTest::newRow("block that hides its inside") << QStringLiteral("hidden");
}

void tst_BlockHierarchyNodeView::stepIntoForbiddenBlockShowsPropertiesAndStays()
{
    QFETCH(QString, which);
    BlockInstance* target = m_and;
    if (which == QLatin1String("hidden")) {
        ModelBuilder::newest(m_lokalBlock)->setStepInEnabled(false);
        target = m_lokal;
    }
    m_view->setArea(m_model->area());
    QSignalSpy areaSpy(m_view.get(), &BlockCodeView::areaChanged);
    bool dialogReadOnly = false;
    QString dialogName;
    auto answered = answerNextModal([&](QDialog* dialog) {
        dialogName = dialog->objectName();
        auto* name = dialog->findChild<QLineEdit*>(QStringLiteral("nameEdit"));
        dialogReadOnly = name && name->isReadOnly();
        dialog->reject();
    });
    QVERIFY(!stepInto(target->identifier()));
    QVERIFY(*answered);
    QCOMPARE(dialogName, QStringLiteral("instancePropertiesDialog"));
    // The node level is read-only, and so is the dialog it opens.
    QVERIFY(dialogReadOnly);
    QCOMPARE(m_view->currentPath(), rootPath({}));
    QCOMPARE(areaSpy.count(), 0);
}

void tst_BlockHierarchyNodeView::titleComposition_data()
{
    QTest::addColumn<QString>("which");
    QTest::addColumn<QString>("title");
    // Prefix, number, a space, name, a space, version: a local block has no number and no version.
    QTest::newRow("local block") << QStringLiteral("lokal") << QStringLiteral("Lokaler Baustein :  Lokal ");
    QTest::newRow("standard block") << QStringLiteral("regler") << QStringLiteral("Standard : 20 Regler ");
    QTest::newRow("visible version") << QStringLiteral("reglerVersion") << QStringLiteral("Standard : 20 Regler  (V0)");
    QTest::newRow("library block of no known kind") << QStringLiteral("kunde") << QStringLiteral("Benutzer : unknown Kunde ");
    QTest::newRow("magic block") << QStringLiteral("magic") << QStringLiteral("Standard : 300100 Magie ");
    QTest::newRow("block without library") << QStringLiteral("loose") << QStringLiteral("unknown Frei ");
}

void tst_BlockHierarchyNodeView::titleComposition()
{
    QFETCH(QString, which);
    QFETCH(QString, title);
    std::unique_ptr<Block> loose;
    BlockInstance* target = nullptr;
    if (which == QLatin1String("lokal")) {
        target = m_lokal;
    } else if (which == QLatin1String("regler")) {
        target = m_regler;
    } else if (which == QLatin1String("reglerVersion")) {
        m_model->block(QStringLiteral("StandardBlock_20"))->setVersionVisible(true);
        target = m_regler;
    } else if (which == QLatin1String("kunde")) {
        target = m_kunde;
    } else if (which == QLatin1String("magic")) {
        Block* magic = ModelBuilder::composite(m_model->standard()->library(), QStringLiteral("MagicBlock_300100"),
                                               QStringLiteral("Magie"), {{QStringLiteral("E")}}, {});
        target = ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(magic), {80, 80});
    } else {
        loose.reset(ModelBuilder::composite(nullptr, QStringLiteral("UserBlock_77"), QStringLiteral("Frei"),
                                            {{QStringLiteral("E")}}, {}));
        target = ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(loose.get()), {90, 90});
    }
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(target->identifier()));
    QCOMPARE(m_label->text(), title);
    QVERIFY(m_view->stepOut());
    QCOMPARE(m_label->text(), QString());
    if (loose)
        m_model->rootCode()->deleteInstance(target->identifier());
}

void tst_BlockHierarchyNodeView::titleOfTheRootIsEmpty()
{
    m_label->setText(QStringLiteral("alt"));
    m_view->setArea(m_model->area());
    QCOMPARE(m_label->text(), QString());
}

void tst_BlockHierarchyNodeView::revisitedSceneComesBackWithScrollAndZoom()
{
    m_view->setArea(m_model->area());
    m_view->setZoomFactor(2.0);
    m_view->horizontalScrollBar()->setValue(3000);
    m_view->verticalScrollBar()->setValue(2000);
    QVERIFY(stepInto(m_lokal->identifier()));
    m_view->setZoomFactor(0.5);
    m_view->horizontalScrollBar()->setValue(700);
    m_view->verticalScrollBar()->setValue(500);

    QVERIFY(m_view->stepOut());
    QCOMPARE(m_view->zoomFactor(), 2.0);
    QCOMPARE(m_view->horizontalScrollBar()->value(), 3000);
    QCOMPARE(m_view->verticalScrollBar()->value(), 2000);

    QVERIFY(stepInto(m_lokal->identifier()));
    QCOMPARE(m_view->zoomFactor(), 0.5);
    QCOMPARE(m_view->horizontalScrollBar()->value(), 700);
    QCOMPARE(m_view->verticalScrollBar()->value(), 500);
}

void tst_BlockHierarchyNodeView::firstVisitCentresAndSelectsTheBlockLeft()
{
    m_view->setArea(m_model->area());
    const unsigned int lokal = m_lokal->identifier();
    const unsigned int innen = m_innen->identifier();
    // Straight to the level of Innen: the level of Lokal has not been seen yet.
    m_view->navigateTo(QStringLiteral("0.%1.%2.%3").arg(lokal).arg(innen).arg(m_tief->identifier()));
    QCOMPARE(m_view->currentPath(), rootPath({lokal, innen}));
    QVERIFY(!node({lokal})->blockHierarchyNodeScene());
    m_view->setZoomFactor(1.7);
    m_view->horizontalScrollBar()->setValue(1111);
    m_view->verticalScrollBar()->setValue(777);

    QVERIFY(m_view->stepOut());
    QCOMPARE(m_view->currentPath(), rootPath({lokal}));
    // The block whose inside was left is selected, the zoom stays, and the old scroll values
    // overrule the centring.
    QCOMPARE(selectedIdentifiers(m_view->scene()), QList<unsigned int>{innen});
    QCOMPARE(m_view->zoomFactor(), 1.7);
    QCOMPARE(m_view->horizontalScrollBar()->value(), 1111);
    QCOMPARE(m_view->verticalScrollBar()->value(), 777);
}

void tst_BlockHierarchyNodeView::firstVisitWithoutTheBlockLeftScrollsToTheOrigin()
{
    m_view->setArea(m_model->area());
    m_view->setZoomFactor(1.5);
    m_view->horizontalScrollBar()->setValue(4000);
    m_view->verticalScrollBar()->setValue(3000);
    QVERIFY(stepInto(m_lokal->identifier()));
    // The root path ends in the root entry 0, which names no block inside Lokal.
    QVERIFY(!codeScene()->blockItem(0));
    QCOMPARE(m_view->horizontalScrollBar()->value(), 0);
    QCOMPARE(m_view->verticalScrollBar()->value(), 0);
    QCOMPARE(m_view->zoomFactor(), 1.5);
    QVERIFY(selectedIdentifiers(m_view->scene()).isEmpty());
}

void tst_BlockHierarchyNodeView::pinDisplayModeFollowsTheUser_data()
{
    QTest::addColumn<int>("mode");
    QTest::newRow("name") << 0;
    QTest::newRow("location path") << 1;
    QTest::newRow("memory address") << 2;
    QTest::newRow("current value") << 3;
}

void tst_BlockHierarchyNodeView::pinDisplayModeFollowsTheUser()
{
    QFETCH(int, mode);
    m_view->setArea(m_model->area());
    auto* rootScene = qobject_cast<BlockHierarchyNodeScene*>(m_view->scene());
    QVERIFY(rootScene);
    // The name row keeps what the scene starts with.
    if (mode != 0)
        showPinsAs(rootScene, mode);
    QVERIFY(stepInto(m_lokal->identifier()));
    auto* inner = qobject_cast<BlockHierarchyNodeScene*>(m_view->scene());
    QVERIFY(inner && inner != rootScene);
    QCOMPARE(inner->pinDisplayMode(), mode);
    QCOMPARE(rootScene->pinDisplayMode(), 0);

    QVERIFY(m_view->stepOut());
    QCOMPARE(rootScene->pinDisplayMode(), mode);
    QCOMPARE(inner->pinDisplayMode(), 0);
}

void tst_BlockHierarchyNodeView::accessLevel2ChangesNothing()
{
    System::instance().setUserAccessLevelCode(2);
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_lokal->identifier()));
    QVERIFY(!m_view->isEditAllowed());
    QSignalSpy toggled(m_view.get(), &BlockHierarchyNodeView::blockDefinitionEditModeToggled);
    QVERIFY(!m_view->setBlockDefinitionEditMode(true));
    QCOMPARE(boolArguments(toggled), QList<bool>{false});
    QVERIFY(!m_view->isBlockDefinitionEditMode());
    QVERIFY(qobject_cast<BlockHierarchyNodeScene*>(m_view->scene()));
    // Nothing was wished for either: the next level opens for reading too.
    System::instance().setUserAccessLevelCode(3);
    QVERIFY(stepInto(m_innen->identifier()));
    QVERIFY(!m_view->isBlockDefinitionEditMode());
    QVERIFY(!ModelBuilder::newest(m_innenBlock)->editSubWindow());
}

void tst_BlockHierarchyNodeView::rootBlockNeedsTheTopLevel_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("allowed");
    QTest::newRow("3") << 3 << false;
    QTest::newRow("4") << 4 << false;
    QTest::newRow("5") << 5 << true;
}

void tst_BlockHierarchyNodeView::rootBlockNeedsTheTopLevel()
{
    QFETCH(int, level);
    QFETCH(bool, allowed);
    System::instance().setUserAccessLevelCode(quint32(level));
    m_view->setArea(m_model->area());
    QCOMPARE(m_view->isEditAllowed(), allowed);
    QCOMPARE(m_view->setBlockDefinitionEditMode(true), allowed);
    QCOMPARE(m_view->isBlockDefinitionEditMode(), allowed);
    // The program of an area has no library window to fall back to.
    QCOMPARE(m_mdiArea->subWindowList().size(), 0);
}

void tst_BlockHierarchyNodeView::editAllowedRules_data()
{
    QTest::addColumn<QString>("which");
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("allowed");
    QTest::newRow("local block at 3") << QStringLiteral("lokal") << 3 << true;
    QTest::newRow("local block at 2") << QStringLiteral("lokal") << 2 << false;
    QTest::newRow("local block, write level above the user") << QStringLiteral("lokalLocked") << 3 << false;
    QTest::newRow("standard block at 5") << QStringLiteral("regler") << 5 << false;
    QTest::newRow("user library block at 3") << QStringLiteral("kunde") << 3 << true;
    QTest::newRow("online area") << QStringLiteral("online") << 5 << false;
    QTest::newRow("back-documentation") << QStringLiteral("backDocumentation") << 5 << false;
    QTest::newRow("fall-back block in the area") << QStringLiteral("fallback") << 5 << false;
}

void tst_BlockHierarchyNodeView::editAllowedRules()
{
    QFETCH(QString, which);
    QFETCH(int, level);
    QFETCH(bool, allowed);
    BlockInstance* target = m_lokal;
    if (which == QLatin1String("lokalLocked")) {
        ModelBuilder::newest(m_lokalBlock)->setAccessLevelWrite(4);
    } else if (which == QLatin1String("regler")) {
        target = m_regler;
    } else if (which == QLatin1String("kunde")) {
        target = m_kunde;
    } else if (which == QLatin1String("online")) {
        QVERIFY(m_model->area()->setOnline(true));
    } else if (which == QLatin1String("backDocumentation")) {
        m_model->area()->setBackDocumentation(true);
    } else if (which == QLatin1String("fallback")) {
        Block* fallback = ModelBuilder::primitive(m_model->area()->rootDefinition()->ensureLocalBlockLibrary(),
                                                  QStringLiteral("LocalBlock_9"), QStringLiteral("Ersatz"),
                                                  {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
        fallback->setFallbackBlock(true);
        ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(fallback), {100, 100});
        QVERIFY(m_model->area()->hasFallbackBlocks());
    }
    System::instance().setUserAccessLevelCode(quint32(level));
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(target->identifier()));
    QCOMPARE(m_view->isEditAllowed(), allowed);
    m_model->area()->setOnline(false);
}

void tst_BlockHierarchyNodeView::enterAndLeaveEditModeRestoresSelection()
{
    System::instance().setUserAccessLevelCode(5);
    m_view->setArea(m_model->area());
    auto* nodeScene = m_view->scene();
    select({m_and->identifier(), m_not->identifier()});
    QSignalSpy toggled(m_view.get(), &BlockHierarchyNodeView::blockDefinitionEditModeToggled);

    QVERIFY(m_view->setBlockDefinitionEditMode(true));
    auto* editScene = qobject_cast<BlockDefinitionScene*>(m_view->scene());
    QVERIFY(editScene);
    QCOMPARE(editScene->blockCode(), m_model->rootCode());
    QCOMPARE(editScene->hierarchyNode(), m_model->area()->hierarchy()->rootNode());
    QVERIFY(m_view->isBlockDefinitionEditMode());
    QVERIFY(!m_view->isReadOnly());
    QVERIFY(m_view->isEditAllowed());
    QCOMPARE(m_view->currentPath(), rootPath({}));
    QCOMPARE(selectedIdentifiers(editScene), (QList<unsigned int>{m_and->identifier(), m_not->identifier()}));
    QVERIFY(!toggled.isEmpty());
    QVERIFY(!boolArguments(toggled).contains(false));

    select({m_not->identifier()});
    toggled.clear();
    QVERIFY(!m_view->setBlockDefinitionEditMode(false));
    QCOMPARE(m_view->scene(), nodeScene);
    QVERIFY(!m_view->isBlockDefinitionEditMode());
    QCOMPARE(selectedIdentifiers(nodeScene), QList<unsigned int>{m_not->identifier()});
    QVERIFY(!toggled.isEmpty());
    QVERIFY(!boolArguments(toggled).contains(true));
}

void tst_BlockHierarchyNodeView::editModeWishFollowsTheUserDownward()
{
    m_view->setArea(m_model->area());
    QSignalSpy toggled(m_view.get(), &BlockHierarchyNodeView::blockDefinitionEditModeToggled);
    // The root needs the top level; the wish is kept for the next level.
    QVERIFY(!m_view->setBlockDefinitionEditMode(true));
    QCOMPARE(boolArguments(toggled), (QList<bool>{false, false}));
    QVERIFY(stepInto(m_lokal->identifier()));
    QVERIFY(m_view->isBlockDefinitionEditMode());
    auto* editScene = qobject_cast<BlockDefinitionScene*>(m_view->scene());
    QVERIFY(editScene);
    QCOMPARE(editScene->blockCode(), ModelBuilder::newest(m_lokalBlock)->code());
    QCOMPARE(editScene->hierarchyNode(), node({m_lokal->identifier()}));
    QVERIFY(!editScene->isReadOnly());
    QCOMPARE(m_view->currentPath(), rootPath({m_lokal->identifier()}));
    QCOMPARE(toggled.last().value(0).toBool(), true);
}

void tst_BlockHierarchyNodeView::leavingEditModeClearsTheWish()
{
    m_view->setArea(m_model->area());
    QVERIFY(!m_view->setBlockDefinitionEditMode(true));
    QVERIFY(stepInto(m_lokal->identifier()));
    QVERIFY(m_view->isBlockDefinitionEditMode());
    QVERIFY(!m_view->setBlockDefinitionEditMode(false));
    QVERIFY(stepInto(m_innen->identifier()));
    QVERIFY(!m_view->isBlockDefinitionEditMode());
}

void tst_BlockHierarchyNodeView::onlineAreaNeverSwitches()
{
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_lokal->identifier()));
    QVERIFY(m_model->area()->setOnline(true));
    QSignalSpy toggled(m_view.get(), &BlockHierarchyNodeView::blockDefinitionEditModeToggled);
    QVERIFY(!m_view->setBlockDefinitionEditMode(true));
    QVERIFY(!m_view->isBlockDefinitionEditMode());
    QCOMPARE(boolArguments(toggled), QList<bool>{false});
    QVERIFY(m_mdiArea->subWindowList().isEmpty());
    m_model->area()->setOnline(false);
    // Nothing was wished for: the refusal came from the area, not from the level.
    QVERIFY(stepInto(m_innen->identifier()));
    QVERIFY(!m_view->isBlockDefinitionEditMode());
}

void tst_BlockHierarchyNodeView::stepInFromEditMode()
{
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_lokal->identifier()));
    QVERIFY(m_view->setBlockDefinitionEditMode(true));
    auto* lokalScene = qobject_cast<BlockDefinitionScene*>(m_view->scene());
    QVERIFY(lokalScene);
    lokalScene->undoStack()->push(new QUndoCommand(QStringLiteral("probe")));
    QSignalSpy toggled(m_view.get(), &BlockHierarchyNodeView::blockDefinitionEditModeToggled);

    QVERIFY(stepInto(m_innen->identifier()));
    QCOMPARE(m_view->currentPath(), rootPath({m_lokal->identifier(), m_innen->identifier()}));
    auto* innenScene = qobject_cast<BlockDefinitionScene*>(m_view->scene());
    QVERIFY(innenScene);
    QCOMPARE(innenScene->blockCode(), ModelBuilder::newest(m_innenBlock)->code());
    QVERIFY(!innenScene->isReadOnly());
    // The way back to the node level stays hidden from the panes.
    QVERIFY(!boolArguments(toggled).contains(false));
    QCOMPARE(lokalScene->undoStack()->count(), 0);
}

void tst_BlockHierarchyNodeView::stepIntoForbiddenBlockFromEditMode()
{
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_lokal->identifier()));
    QVERIFY(m_view->setBlockDefinitionEditMode(true));
    auto* lokalScene = qobject_cast<BlockDefinitionScene*>(m_view->scene());
    QVERIFY(lokalScene);
    lokalScene->undoStack()->push(new QUndoCommand(QStringLiteral("probe")));
    bool dialogReadOnly = true;
    auto answered = answerNextModal([&](QDialog* dialog) {
        auto* name = dialog->findChild<QLineEdit*>(QStringLiteral("nameEdit"));
        dialogReadOnly = !name || name->isReadOnly();
        dialog->reject();
    });
    QVERIFY(!stepInto(m_lokalNot->identifier()));
    QVERIFY(*answered);
    // In edit mode the dialog edits.
    QVERIFY(!dialogReadOnly);
    QCOMPARE(m_view->currentPath(), rootPath({m_lokal->identifier()}));
    QCOMPARE(m_view->scene(), lokalScene);
    QVERIFY(m_view->isBlockDefinitionEditMode());
    QCOMPARE(lokalScene->undoStack()->count(), 1);
    QCOMPARE(selectedIdentifiers(lokalScene), QList<unsigned int>{m_lokalNot->identifier()});
}

void tst_BlockHierarchyNodeView::changeInThePropertiesOfAForbiddenBlockIsAnUndoStep()
{
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_lokal->identifier()));
    QVERIFY(m_view->setBlockDefinitionEditMode(true));
    auto* lokalScene = qobject_cast<BlockDefinitionScene*>(m_view->scene());
    QVERIFY(lokalScene);
    m_lokalNot->setParameterText(QStringLiteral("P1=1"));
    auto answered = answerNextModal([](QDialog* dialog) {
        dialog->findChild<QLineEdit*>(QStringLiteral("parameterEdit"))->setText(QStringLiteral("P1=4"));
        dialog->accept();
    });
    QVERIFY(!stepInto(m_lokalNot->identifier()));
    QVERIFY(*answered);
    QCOMPARE(m_lokalNot->parameterText(0), QStringLiteral("P1=4"));
    QCOMPARE(lokalScene->undoStack()->count(), 1);
    QCOMPARE(lokalScene->undoStack()->undoText(), QStringLiteral("Baustein-Eigenschaften geändert"));
    lokalScene->undoStack()->undo();
    QCOMPARE(m_lokalNot->parameterText(0), QStringLiteral("P1=1"));
    lokalScene->undoStack()->redo();
    QCOMPARE(m_lokalNot->parameterText(0), QStringLiteral("P1=4"));
}

void tst_BlockHierarchyNodeView::stepOutFromEditMode()
{
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_lokal->identifier()));
    QVERIFY(stepInto(m_innen->identifier()));
    QVERIFY(m_view->setBlockDefinitionEditMode(true));
    auto* innenScene = qobject_cast<BlockDefinitionScene*>(m_view->scene());
    QVERIFY(innenScene);
    innenScene->undoStack()->push(new QUndoCommand(QStringLiteral("probe")));

    QVERIFY(m_view->stepOut());
    QCOMPARE(m_view->currentPath(), rootPath({m_lokal->identifier()}));
    auto* lokalScene = qobject_cast<BlockDefinitionScene*>(m_view->scene());
    QVERIFY(lokalScene);
    QCOMPARE(lokalScene->blockCode(), ModelBuilder::newest(m_lokalBlock)->code());
    QCOMPARE(innenScene->undoStack()->count(), 0);
    QVERIFY(m_view->isStepOutAllowed());

    // Out of Lokal the root needs the top level: the view falls back to reading and keeps the wish.
    QVERIFY(m_view->stepOut());
    QCOMPARE(m_view->currentPath(), rootPath({}));
    QVERIFY(!m_view->isBlockDefinitionEditMode());
    QVERIFY(stepInto(m_lokal->identifier()));
    QVERIFY(m_view->isBlockDefinitionEditMode());
}

void tst_BlockHierarchyNodeView::insideALibraryBlockOpensTheSubWindow()
{
    m_mainWindow->show();
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_kunde->identifier()));
    QVERIFY(stepInto(m_teil->identifier()));
    // Teil is local, but to Kunde, which lives in a library: it is edited there, not in place.
    QVERIFY(m_view->isEditAllowed());
    QSignalSpy toggled(m_view.get(), &BlockHierarchyNodeView::blockDefinitionEditModeToggled);
    QVERIFY(!m_view->setBlockDefinitionEditMode(true));
    QVERIFY(!m_view->isBlockDefinitionEditMode());
    QCOMPARE(boolArguments(toggled), (QList<bool>{false, false}));
    BlockDefinition* teil = ModelBuilder::newest(m_teilBlock);
    QPointer<LibraryBlockDefinitionSubWindow> window = teil->editSubWindow();
    QVERIFY(window);
    QCOMPARE(window->mdiArea(), m_mdiArea);
    QVERIFY(window->isVisible());
    QVERIFY(!window->isMaximized());
    QTRY_COMPARE(m_mdiArea->activeSubWindow(), window.data());

    // A second request brings the same window back.
    window->showMinimized();
    QVERIFY(!m_view->setBlockDefinitionEditMode(true));
    QCOMPARE(teil->editSubWindow(), window.data());
    QCOMPARE(m_mdiArea->subWindowList().size(), 1);
    QVERIFY(!window->isMinimized());
}

void tst_BlockHierarchyNodeView::libraryBlockLevelOpensItsSubWindow()
{
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_kunde->identifier()));
    QVERIFY(!m_view->setBlockDefinitionEditMode(true));
    LibraryBlockDefinitionSubWindow* window = ModelBuilder::newest(m_kundeBlock)->editSubWindow();
    QVERIFY(window);
    QCOMPARE(window->definition(), ModelBuilder::newest(m_kundeBlock));
    QCOMPARE(m_mdiArea->subWindowList(), QList<QMdiSubWindow*>{window});
}

void tst_BlockHierarchyNodeView::userBlockIsNotEditedWithoutTheMethodDialog_data()
{
    // Every answer but "edit the current version" gives the edit up, also the two hidden ones.
    QTest::addColumn<QString>("answer");
    QTest::newRow("cancel button") << QStringLiteral("cancelButton");
    QTest::newRow("window closed") << QString();
    QTest::newRow("new version") << QStringLiteral("onEditNewVersion");
    QTest::newRow("local block") << QStringLiteral("onEditLocaleBlock");
}

void tst_BlockHierarchyNodeView::userBlockIsNotEditedWithoutTheMethodDialog()
{
    QFETCH(QString, answer);
    m_kundeBlock->setUserBlock(true);
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_kunde->identifier()));
    QSignalSpy toggled(m_view.get(), &BlockHierarchyNodeView::blockDefinitionEditModeToggled);
    QWidget* parent = nullptr;
    QString title;
    auto answered = answerNextModal([&](QDialog* dialog) {
        parent = dialog->parentWidget();
        title = dialog->windowTitle();
        if (answer.isEmpty())
            dialog->close();
        else if (auto* button = dialog->findChild<QPushButton*>(answer))
            button->click();
        else
            QMetaObject::invokeMethod(dialog, answer.toLatin1().constData());
    });
    QVERIFY(!m_view->setBlockDefinitionEditMode(true));
    QVERIFY(*answered);
    QCOMPARE(parent, m_view.get());
    QCOMPARE(title, QStringLiteral("Bibliotheksbaustein editieren"));
    // The button went back before the question, and the way ends there: no final report.
    QCOMPARE(boolArguments(toggled), QList<bool>{false});
    QVERIFY(!ModelBuilder::newest(m_kundeBlock)->editSubWindow());
    QVERIFY(m_mdiArea->subWindowList().isEmpty());
    QVERIFY(!m_view->isBlockDefinitionEditMode());
}

void tst_BlockHierarchyNodeView::userBlockEditedInItsCurrentVersionOpensTheSubWindow()
{
    m_kundeBlock->setUserBlock(true);
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_kunde->identifier()));
    QSignalSpy toggled(m_view.get(), &BlockHierarchyNodeView::blockDefinitionEditModeToggled);
    auto answered = answerNextModal([](QDialog* dialog) {
        auto* button = dialog->findChild<QPushButton*>(QStringLiteral("currentVersionButton"));
        QVERIFY(button);
        button->click();
    });
    QVERIFY(!m_view->setBlockDefinitionEditMode(true));
    QVERIFY(*answered);
    // The library block is edited in its own window; this view stays where it was.
    QCOMPARE(boolArguments(toggled), (QList<bool>{false, false}));
    LibraryBlockDefinitionSubWindow* window = ModelBuilder::newest(m_kundeBlock)->editSubWindow();
    QVERIFY(window);
    QCOMPARE(m_mdiArea->subWindowList(), QList<QMdiSubWindow*>{window});
    QTRY_COMPARE(m_mdiArea->activeSubWindow(), window);
}

void tst_BlockHierarchyNodeView::userBlockTakenAwayWhileTheDialogIsOpen()
{
    m_kundeBlock->setUserBlock(true);
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_kunde->identifier()));
    QPointer<BlockDefinition> definition = ModelBuilder::newest(m_kundeBlock);
    auto answered = answerNextModal([&](QDialog* dialog) {
        // The library goes while the user reads; the answer comes after.
        delete m_model->user()->library()->removeBlock(QStringLiteral("UserBlock_1"));
        m_kundeBlock = nullptr;
        dialog->findChild<QPushButton*>(QStringLiteral("currentVersionButton"))->click();
    });
    QVERIFY(!m_view->setBlockDefinitionEditMode(true));
    QVERIFY(*answered);
    QVERIFY(!definition);
    QVERIFY(m_mdiArea->subWindowList().isEmpty());
}

void tst_BlockHierarchyNodeView::readOnlyBlocksOpenNoWindow_data()
{
    QTest::addColumn<QString>("which");
    QTest::newRow("standard block") << QStringLiteral("regler");
    QTest::newRow("user block above the write level") << QStringLiteral("lockedUser");
    QTest::newRow("library block above the write level") << QStringLiteral("locked");
}

void tst_BlockHierarchyNodeView::readOnlyBlocksOpenNoWindow()
{
    QFETCH(QString, which);
    BlockInstance* target = m_kunde;
    if (which == QLatin1String("regler")) {
        target = m_regler;
    } else {
        m_kundeBlock->setUserBlock(which == QLatin1String("lockedUser"));
        ModelBuilder::newest(m_kundeBlock)->setAccessLevelWrite(4);
    }
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(target->identifier()));
    QSignalSpy toggled(m_view.get(), &BlockHierarchyNodeView::blockDefinitionEditModeToggled);
    QVERIFY(!m_view->setBlockDefinitionEditMode(true));
    QCOMPARE(boolArguments(toggled), (QList<bool>{false, false}));
    QVERIFY(m_mdiArea->subWindowList().isEmpty());
    QVERIFY(!target->blockDefinition()->editSubWindow());
}

void tst_BlockHierarchyNodeView::navigateShowsTheParentLevelAndSelectsTheTarget_data()
{
    QTest::addColumn<bool>("livingSpace");
    QTest::newRow("path of the panes") << false;
    QTest::newRow("full location path") << true;
}

void tst_BlockHierarchyNodeView::navigateShowsTheParentLevelAndSelectsTheTarget()
{
    QFETCH(bool, livingSpace);
    m_view->setArea(m_model->area());
    const unsigned int lokal = m_lokal->identifier();
    const unsigned int innen = m_innen->identifier();
    const unsigned int tief = m_tief->identifier();
    const QString path = QStringLiteral("0.%1.%2.%3").arg(lokal).arg(innen).arg(tief);
    // Only the parent level is shown, so the path asked for is never the one shown.
    QVERIFY(!m_view->navigateTo(livingSpace ? QStringLiteral("A1:") + path : path));
    QCOMPARE(m_view->currentPath(), rootPath({lokal, innen}));
    QCOMPARE(selectedIdentifiers(m_view->scene()), QList<unsigned int>{tief});
    BlockItem* target = codeScene()->blockItem(tief);
    const QPointF centre = m_view->mapToScene(m_view->viewport()->rect().center());
    QVERIFY(QLineF(centre, target->sceneBoundingRect().center()).length() < 100.0);
}

void tst_BlockHierarchyNodeView::navigateToNowhereChangesNothing_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("unknown instance") << QStringLiteral("0.999");
    QTest::newRow("the root itself") << QStringLiteral("0");
    QTest::newRow("another area") << QStringLiteral("A0:0.1");
    QTest::newRow("no path at all") << QStringLiteral("x.y");
    QTest::newRow("inside a block that hides its inside") << QStringLiteral("hidden");
}

void tst_BlockHierarchyNodeView::navigateToNowhereChangesNothing()
{
    QFETCH(QString, path);
    if (path == QLatin1String("hidden")) {
        ModelBuilder::newest(m_lokalBlock)->setStepInEnabled(false);
        path = QStringLiteral("0.%1.%2").arg(m_lokal->identifier()).arg(m_innen->identifier());
    }
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_kunde->identifier()));
    select({m_teil->identifier()});
    QSignalSpy areaSpy(m_view.get(), &BlockCodeView::areaChanged);
    QVERIFY(!m_view->navigateTo(path));
    QCOMPARE(m_view->currentPath(), rootPath({m_kunde->identifier()}));
    QCOMPARE(selectedIdentifiers(m_view->scene()), QList<unsigned int>{m_teil->identifier()});
    QCOMPARE(areaSpy.count(), 0);
}

void tst_BlockHierarchyNodeView::navigateFromEditModeStaysInEditMode()
{
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_lokal->identifier()));
    QVERIFY(m_view->setBlockDefinitionEditMode(true));
    const unsigned int lokal = m_lokal->identifier();
    const unsigned int innen = m_innen->identifier();
    m_view->navigateTo(QStringLiteral("0.%1.%2.%3").arg(lokal).arg(innen).arg(m_tief->identifier()));
    QCOMPARE(m_view->currentPath(), rootPath({lokal, innen}));
    auto* editScene = qobject_cast<BlockDefinitionScene*>(m_view->scene());
    QVERIFY(editScene);
    QCOMPARE(editScene->blockCode(), ModelBuilder::newest(m_innenBlock)->code());
    QCOMPARE(selectedIdentifiers(editScene), QList<unsigned int>{m_tief->identifier()});
}

void tst_BlockHierarchyNodeView::navigateInEditModeToABlockMadeThereSelectsIt()
{
    System::instance().setUserAccessLevelCode(5);
    m_view->setArea(m_model->area());
    QVERIFY(m_view->setBlockDefinitionEditMode(true));
    auto* editScene = qobject_cast<BlockDefinitionScene*>(m_view->scene());
    QVERIFY(editScene);
    // A block made while editing, as a drop makes it; a search hit then jumps to it by its path.
    BlockInstance* made = editScene->createBlockInstance(ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))),
                                                         QPointF(60000, 60000));
    QVERIFY(made);
    const QString path = rootPath({made->identifier()});
    QVERIFY(m_model->area()->hierarchy()->nodeForPath(rootPath({made->identifier()})));
    m_view->navigateTo(path);
    QVERIFY(m_view->isBlockDefinitionEditMode());
    QCOMPARE(selectedIdentifiers(m_view->scene()), QList<unsigned int>{made->identifier()});
}

void tst_BlockHierarchyNodeView::showBlockPropertiesOfTheSelection()
{
    m_view->setArea(m_model->area());
    select({m_not->identifier()});
    QString dialogName;
    auto answered = answerNextModal([&](QDialog* dialog) {
        dialogName = dialog->objectName();
        dialog->reject();
    });
    m_view->showBlockProperties();
    QVERIFY(*answered);
    QCOMPARE(dialogName, QStringLiteral("instancePropertiesDialog"));
}

void tst_BlockHierarchyNodeView::deletingTheAreaEmptiesTheView()
{
    auto* area = new BlockInstanceArea(7, 0, 7);
    BlockCode* code = area->rootDefinition()->code();
    BlockInstance* regler = ModelBuilder::place(code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))), {5, 5});
    m_view->setArea(area);
    QVERIFY(stepInto(regler->identifier()));
    QCOMPARE(m_view->currentPath(), QStringLiteral("A7:0.%1").arg(regler->identifier()));
    QVERIFY(!m_label->text().isEmpty());
    QSignalSpy outSpy(m_view.get(), &BlockCodeView::stepOutAllowedChanged);

    delete area;
    QVERIFY(!m_view->scene());
    QVERIFY(m_view->currentPath().isEmpty());
    QVERIFY(m_label->text().isEmpty());
    QCOMPARE(outSpy.last().value(0).toBool(), false);
    QVERIFY(!m_view->isEditAllowed());
    QVERIFY(!m_view->isStepOutAllowed());
    QVERIFY(!m_view->stepOut());
    QVERIFY(!m_view->stepInSelectedBlock());
    QVERIFY(!m_view->navigateTo(QStringLiteral("0.1")));
    QVERIFY(!m_view->setBlockDefinitionEditMode(true));
    m_view->showBlockProperties();
    m_view->grab();
}

void tst_BlockHierarchyNodeView::deletingTheShownInstanceEmptiesTheView()
{
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_lokal->identifier()));
    select({m_innen->identifier()});
    m_model->rootCode()->deleteInstance(m_lokal->identifier());
    // The model lets the node go once the event that removed it is over.
    QTRY_VERIFY(!m_view->scene());
    QVERIFY(m_view->currentPath().isEmpty());
    QVERIFY(m_label->text().isEmpty());
    QVERIFY(!m_view->stepInSelectedBlock());
    QVERIFY(!m_view->stepOut());
    m_view->grab();
    // The area is still there to be shown again.
    m_view->setArea(m_model->area());
    QCOMPARE(m_view->currentPath(), rootPath({}));
}

void tst_BlockHierarchyNodeView::deletingTheNodeWhileEditing()
{
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_lokal->identifier()));
    QVERIFY(m_view->setBlockDefinitionEditMode(true));
    select({m_innen->identifier()});
    auto* editScene = m_view->scene();
    m_model->rootCode()->deleteInstance(m_lokal->identifier());
    // The definition lives on in its library, and so does its scene; the level it was edited from
    // is gone once the model has let the node go.
    QTRY_VERIFY(m_view->currentPath().isEmpty());
    QCOMPARE(m_view->scene(), editScene);
    QVERIFY(!m_view->stepInSelectedBlock());
    QVERIFY(!m_view->stepOut());
    QVERIFY(!m_view->navigateTo(QStringLiteral("0.1")));
    m_view->setBlockDefinitionEditMode(false);
    m_view->grab();
    m_view->setArea(m_model->area());
    QCOMPARE(m_view->currentPath(), rootPath({}));
    QVERIFY(!m_view->isBlockDefinitionEditMode());
}

void tst_BlockHierarchyNodeView::deletingTheDefinitionWhileEditing()
{
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_lokal->identifier()));
    QVERIFY(m_view->setBlockDefinitionEditMode(true));
    BlockLibrary* library = m_model->area()->rootDefinition()->localBlockLibrary();
    delete library->removeBlock(m_lokalBlock->identifier());
    m_lokalBlock = nullptr;
    m_innenBlock = nullptr;
    QVERIFY(!m_view->scene());
    QVERIFY(!m_view->isBlockDefinitionEditMode());
    QVERIFY(!m_view->stepOut());
    QVERIFY(!m_view->stepInSelectedBlock());
    m_view->grab();
}

void tst_BlockHierarchyNodeView::twoStepMovesShowOneChange()
{
    m_view->setArea(m_model->area());
    QVERIFY(stepInto(m_lokal->identifier()));
    QVERIFY(stepInto(m_innen->identifier()));
    QVERIFY(m_view->setBlockDefinitionEditMode(true));
    QSignalSpy toggled(m_view.get(), &BlockHierarchyNodeView::blockDefinitionEditModeToggled);
    QSignalSpy outSpy(m_view.get(), &BlockCodeView::stepOutAllowedChanged);
    QVERIFY(m_view->stepOut());
    // The node level in between is never reported: the edit mode goes on at the new level.
    QVERIFY(!boolArguments(toggled).contains(false));
    QVERIFY(!boolArguments(outSpy).contains(false));
    QVERIFY(m_view->isBlockDefinitionEditMode());
}

ZK_TEST_REGISTER(tst_BlockHierarchyNodeView)
#include "tst_BlockHierarchyNodeView.moc"
