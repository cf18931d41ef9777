#include "SceneTestSupport.h"
#include "ModalAnswer.h"
#include "CountingCommand.h"
#include "MenuLookup.h"
#include "PlainCodeView.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeView.h"
#include "BlockCodeViewMenu.h"
#include "BlockCodeViewMenuPrivate.h"
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
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "ModelBuilder.h"
#include "ParameterDefinitionLoader.h"
#include "SignalLabel.h"
#include "SignalLabelItem.h"
#include "System.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QLineF>
#include <QFile>
#include <QMenu>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <QUndoStack>

#include <memory>

namespace {

// A code view that says what it is told and records what the menu asks of it.
class MenuView : public PlainCodeView
{
public:
    using PlainCodeView::PlainCodeView;

    bool isReadOnly() const override { return readOnly; }
    bool isStepOutAllowed() const override { return stepOutAllowed; }
    QString currentPath() const override { return path; }
    bool setReadOnly(bool value) override
    {
        readOnly = value;
        return true;
    }
    bool navigateTo(const QString& target) override
    {
        navigations.append(target);
        return true;
    }
    bool stepInSelectedBlock() override
    {
        ++stepIns;
        return false;
    }
    bool stepOut() override
    {
        ++stepOuts;
        return false;
    }
    void showBlockProperties() override { ++properties; }

    bool readOnly = true;
    bool stepOutAllowed = false;
    QString path = QStringLiteral("A1:0");
    QStringList navigations;
    int stepIns = 0;
    int stepOuts = 0;
    int properties = 0;
};

// Holds Control down for the application as long as it lives, as a user's hand on the key would.
class ControlHeld
{
public:
    ControlHeld() { QTest::keyPress(&m_target, Qt::Key_Control, Qt::ControlModifier); }
    ~ControlHeld() { QTest::keyRelease(&m_target, Qt::Key_Control, Qt::NoModifier); }

private:
    QWidget m_target;
};

const QString Convert = QStringLiteral("In einen lokalen Baustein konvertieren");
const QString Bind = QStringLiteral("In einen Bibliotheks-Baustein konvertieren");
const QString NewVersion = QStringLiteral("In eine neue Version des Bausteins konvertieren");
const QString ShowInLibrary = QStringLiteral("Zeige Baustein in Bibliothek");
const QString ShowInHierarchy = QStringLiteral("Zeige Baustein in Hierarchieansicht");
const QString NewBlock = QStringLiteral("neuen Baustein erstellen");
const QString NewParameterBlock = QStringLiteral("neuen Parameter-Definitions-Baustein erstellen");

} // namespace

class tst_BlockCodeViewMenu : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void twoSelectedBlocksGiveAnEmptyMenu();
    void oneSelectedBlockAndEmptySpaceGiveTheEmptySpaceEntries();
    void emptySpaceOfADefinitionScene();
    void newBlockEntriesOnlyInADefinitionScene();
    void newBlockEntryMakesTheBlockAtTheClick_data();
    void newBlockEntryMakesTheBlockAtTheClick();
    void newBlockEntryInReadOnlyModeMakesNothing();
    void cornerNodeGivesAnEmptyMenu();
    void menuWithoutSceneOffersTheViewEntries();
    void prepareTwiceBuildsAfresh();
    void openIsOfferedForBlocksWithCode();
    void toolBlockCannotBeOpened();
    void openStepsIntoTheSelectedBlock();
    void standardBlockOffersNoConversionByDefault_data();
    void standardBlockOffersNoConversionByDefault();
    void standardBlockConversionInAHierarchyScene();
    void standardBlockConversionIsDisabledOnline();
    void standardBlockConversionInADefinitionScene();
    void faultyLocalBlockIsMended();
    void localBlockIsBoundBack();
    void localParameterDefinitionBlockOffersNoConversion();
    void userLibraryBlockConversions();
    void showInHierarchyView();
    void showInLibraryView();
    void copyBlock();
    void cutAndDeleteEntriesFollowTheEditMode();
    void cutAndDeleteEntriesOfAHierarchyScene();
    void pasteEntryTurnsOnEditModeAndPastes();
    void blockEntriesOfADefinitionScene_data();
    void blockEntriesOfADefinitionScene();
    void pinEntries();
    void connectionEntries();
    void removingTheConnectionBypassesTheUndoStack();
    void removingTheConnectionNeedsADefinitionScene();
    void signalLabelEntries();
    void viewEntriesOfAHierarchyNodeView();
    void viewEntriesOfOtherViews();
    void undoAndRedoEntries();
    void pinDisplaySubmenu_data();
    void pinDisplaySubmenu();
    void pinDisplaySubmenuDrivesTheScene();
    void valueIsTickedOfflineButDisabled();
    void unbindIncludingTheHierarchy();
    void unbindIncludingTheHierarchyNeedsThreeLevels();
    void unbindDoItWithAnEmptyStack();
    void itemThatDiesWhileTheMenuIsOpen();

private:
    QPoint globalOf(QPointF scenePos);
    void prepareAt(BlockCodeViewMenu& menu, QPointF scenePos);
    void show(BlockCodeScene* scene);
    QPointF centreOf(BlockInstance* instance) const;
    BlockHierarchyNodeScene* rootScene() const;

    std::unique_ptr<TestModel> m_model;
    std::unique_ptr<MenuView> m_view;
    BlockCode* m_code = nullptr;
    BlockInstance* m_and = nullptr;
    BlockInstance* m_not = nullptr;
    BlockInstance* m_regler = nullptr;
    BlockPinConnection* m_wire = nullptr;
};

void tst_BlockCodeViewMenu::init()
{
    System::instance().setUserAccessLevelCode(3);
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    m_and = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
    m_not = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {40, 10});
    m_regler = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))), {20, 30});
    m_wire = ModelBuilder::wire(m_code, m_and, 3, m_not, 1,
                                {QPointF(26, 11), QPointF(30, 11), QPointF(30, 14), QPointF(37, 14)});
    m_view = std::make_unique<MenuView>();
    m_view->resize(600, 400);
    m_view->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
}

void tst_BlockCodeViewMenu::cleanup()
{
    m_view.reset();
    m_model.reset();
    System::instance().setUserAccessLevelCode(3);
}

QPoint tst_BlockCodeViewMenu::globalOf(QPointF scenePos)
{
    m_view->centerOn(scenePos);
    return m_view->viewport()->mapToGlobal(m_view->mapFromScene(scenePos));
}

void tst_BlockCodeViewMenu::prepareAt(BlockCodeViewMenu& menu, QPointF scenePos)
{
    menu.setView(m_view.get());
    menu.prepare(globalOf(scenePos));
}

void tst_BlockCodeViewMenu::show(BlockCodeScene* scene)
{
    m_view->setScene(scene);
}

QPointF tst_BlockCodeViewMenu::centreOf(BlockInstance* instance) const
{
    auto* scene = static_cast<BlockCodeScene*>(m_view->scene());
    BlockItem* item = scene->blockItem(instance->identifier());
    return item->mapToScene(item->rect().center());
}

BlockHierarchyNodeScene* tst_BlockCodeViewMenu::rootScene() const
{
    return BlockHierarchyNodeScene::forNode(m_model->area()->hierarchy()->rootNode());
}

void tst_BlockCodeViewMenu::twoSelectedBlocksGiveAnEmptyMenu()
{
    show(rootScene());
    auto* scene = static_cast<BlockCodeScene*>(m_view->scene());
    scene->blockItem(m_and->identifier())->setSelected(true);
    scene->blockItem(m_not->identifier())->setSelected(true);
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(m_and));
    QVERIFY(menu.actions().isEmpty());
    // Also where the click hit neither of them.
    prepareAt(menu, centreOf(m_regler));
    QVERIFY(menu.actions().isEmpty());
    prepareAt(menu, QPointF(500000, 500000));
    QVERIFY(menu.actions().isEmpty());
    QVERIFY(menu.separatorsCollapsible());
    QVERIFY(!menu.isTearOffEnabled());
}

void tst_BlockCodeViewMenu::oneSelectedBlockAndEmptySpaceGiveTheEmptySpaceEntries()
{
    show(rootScene());
    static_cast<BlockCodeScene*>(m_view->scene())->blockItem(m_and->identifier())->setSelected(true);
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, QPointF(500000, 500000));
    QCOMPARE(actionTexts(&menu), (QStringList{QStringLiteral("Eigenschaften"), QStringLiteral("Ebene höher"),
                                          QStringLiteral("Anschlüsse anzeigen als "), QStringLiteral("Einfügen"),
                                          QStringLiteral("Rückgängig"), QStringLiteral("Wiederherstellen")}));
}

void tst_BlockCodeViewMenu::emptySpaceOfADefinitionScene()
{
    show(BlockDefinitionScene::forCode(m_code));
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, QPointF(500000, 500000));
    QCOMPARE(actionTextsWithSeparators(&menu),
             (QStringList{QStringLiteral("Eigenschaften"), QStringLiteral("Ebene höher"), QStringLiteral("|"),
                          QStringLiteral("Einfügen"), QStringLiteral("|"), QStringLiteral("Rückgängig"),
                          QStringLiteral("Wiederherstellen"), QStringLiteral("|"), NewBlock, NewParameterBlock}));
    // Offered also while read-only: the scene refuses then.
    QVERIFY(m_view->isReadOnly());
    QVERIFY(actionNamed(&menu, NewBlock)->isEnabled());
    QVERIFY(actionNamed(&menu, NewParameterBlock)->isEnabled());
}

void tst_BlockCodeViewMenu::newBlockEntriesOnlyInADefinitionScene()
{
    show(rootScene());
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, QPointF(500000, 500000));
    QVERIFY(!actionNamed(&menu, NewBlock));
    QVERIFY(!actionNamed(&menu, NewParameterBlock));
    // Nor on a block of a definition scene.
    show(BlockDefinitionScene::forCode(m_code));
    prepareAt(menu, centreOf(m_not));
    QVERIFY(!actionNamed(&menu, NewBlock));
}

void tst_BlockCodeViewMenu::newBlockEntryMakesTheBlockAtTheClick_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<bool>("parameterBlock");
    QTest::newRow("block") << NewBlock << false;
    QTest::newRow("parameter-definition block") << NewParameterBlock << true;
}

void tst_BlockCodeViewMenu::newBlockEntryMakesTheBlockAtTheClick()
{
    QFETCH(QString, entry);
    QFETCH(bool, parameterBlock);
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(m_code);
    scene->setReadOnly(false);
    show(scene);
    const int before = int(m_code->instances().size());
    BlockCodeViewMenu menu(m_view.get());
    const QPointF click(70000, 50000);
    prepareAt(menu, click);
    auto answered = answerNextModal([](QDialog* dialog) { dialog->accept(); });
    actionNamed(&menu, entry)->trigger();
    QVERIFY(*answered);
    QCOMPARE(int(m_code->instances().size()), before + 1);
    BlockInstance* made = m_code->instances().last();
    // The view maps the click to the scene through whole pixels: the block stands within one of them.
    const QPointF placed = made->position() * 1000.0;
    const double pixel = 1.0 / m_view->transform().m11();
    QVERIFY2(QLineF(placed, click).length() <= 2 * pixel, qPrintable(QStringLiteral("%1,%2").arg(placed.x()).arg(placed.y())));
    QVERIFY(made->block()->isUserBlock());
    QCOMPARE(made->blockDefinition()->isParameterDefinitionBlock(), parameterBlock);
    QCOMPARE(scene->undoStack()->count(), 1);
}

void tst_BlockCodeViewMenu::newBlockEntryInReadOnlyModeMakesNothing()
{
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(m_code);
    show(scene);
    QVERIFY(scene->isReadOnly());
    const QByteArray text = wholeText(m_code);
    BlockLibrary* local = m_code->blockDefinition()->localBlockLibrary();
    const int blocks = int(local->blocks().size());
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, QPointF(70000, 50000));
    actionNamed(&menu, NewBlock)->trigger();
    actionNamed(&menu, NewParameterBlock)->trigger();
    QCOMPARE(wholeText(m_code), text);
    QCOMPARE(int(local->blocks().size()), blocks);
    QCOMPARE(scene->undoStack()->count(), 0);
}

void tst_BlockCodeViewMenu::cornerNodeGivesAnEmptyMenu()
{
    show(BlockDefinitionScene::forCode(m_code));
    auto* scene = static_cast<BlockCodeScene*>(m_view->scene());
    ConnectionItem* connection = scene->connectionItemMap().value(m_wire);
    QVERIFY(connection);
    const QList<ConnectionNodeItem*> nodes = connection->allNodes();
    QCOMPARE(nodes.size(), 4);
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, nodes.at(1)->scenePos());
    QVERIFY(menu.actions().isEmpty());
}

void tst_BlockCodeViewMenu::menuWithoutSceneOffersTheViewEntries()
{
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, QPointF(0, 0));
    QCOMPARE(actionTexts(&menu), (QStringList{QStringLiteral("Eigenschaften"), QStringLiteral("Ebene höher"),
                                          QStringLiteral("Einfügen"), QStringLiteral("Rückgängig"),
                                          QStringLiteral("Wiederherstellen")}));
}

void tst_BlockCodeViewMenu::prepareTwiceBuildsAfresh()
{
    show(rootScene());
    QSignalSpy spy(m_view.get(), &BlockCodeView::needToShowInHierarchyView);
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, QPointF(500000, 500000));
    prepareAt(menu, centreOf(m_not));
    QVERIFY(!actionTexts(&menu).contains(QStringLiteral("Ebene höher")));
    QCOMPARE(actionTexts(&menu).count(ShowInHierarchy), 1);
    actionNamed(&menu, ShowInHierarchy)->trigger();
    // One relay, however often the menu was prepared.
    QCOMPARE(spy.size(), 1);
}

void tst_BlockCodeViewMenu::openIsOfferedForBlocksWithCode()
{
    show(rootScene());
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(m_regler));
    QAction* open = actionNamed(&menu, QStringLiteral("Öffnen"));
    QVERIFY(open);
    QVERIFY(open->isEnabled());
    QCOMPARE(menu.defaultAction(), open);
    QCOMPARE(actionTexts(&menu).first(), QStringLiteral("Öffnen"));

    // A block without code of its own may be opened by nobody; the entry stays, disabled, and the
    // block's own entries choose the default.
    prepareAt(menu, centreOf(m_and));
    open = actionNamed(&menu, QStringLiteral("Öffnen"));
    QVERIFY(open);
    QVERIFY(!open->isEnabled());
    QVERIFY(menu.defaultAction() != open);
    QCOMPARE(menu.defaultAction(), actionNamed(&menu, QStringLiteral("Eigenschaften")));
}

void tst_BlockCodeViewMenu::toolBlockCannotBeOpened()
{
    BlockInstance* constant =
        ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("ToolBlock_8000008"))), {60, 10});
    show(rootScene());
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(constant));
    QVERIFY(!actionNamed(&menu, QStringLiteral("Öffnen")));
    QVERIFY(actionNamed(&menu, ShowInHierarchy));
}

void tst_BlockCodeViewMenu::openStepsIntoTheSelectedBlock()
{
    show(rootScene());
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(m_regler));
    actionNamed(&menu, QStringLiteral("Öffnen"))->trigger();
    QCOMPARE(m_view->stepIns, 1);
}

void tst_BlockCodeViewMenu::standardBlockOffersNoConversionByDefault_data()
{
    QTest::addColumn<quint32>("level");
    QTest::addColumn<bool>("control");
    QTest::newRow("level 3 with control") << quint32(3) << true;
    QTest::newRow("level 4 with control") << quint32(4) << true;
    QTest::newRow("level 5 without control") << quint32(5) << false;
}

void tst_BlockCodeViewMenu::standardBlockOffersNoConversionByDefault()
{
    QFETCH(quint32, level);
    QFETCH(bool, control);
    System::instance().setUserAccessLevelCode(level);
    show(rootScene());
    BlockCodeViewMenu menu(m_view.get());
    std::unique_ptr<ControlHeld> held(control ? new ControlHeld : nullptr);
    QCOMPARE(bool(QGuiApplication::keyboardModifiers() & Qt::ControlModifier), control);
    prepareAt(menu, centreOf(m_and));
    const QStringList texts = actionTexts(&menu);
    QVERIFY(texts.contains(ShowInLibrary));
    QVERIFY(!texts.contains(Convert));
    QVERIFY(!texts.contains(Bind));
}

void tst_BlockCodeViewMenu::standardBlockConversionInAHierarchyScene()
{
    System::instance().setUserAccessLevelCode(5);
    show(rootScene());
    BlockCodeViewMenu menu(m_view.get());
    {
        ControlHeld held;
        prepareAt(menu, centreOf(m_and));
    }
    QAction* convert = actionNamed(&menu, Convert);
    QVERIFY(convert);
    QVERIFY(convert->isEnabled());
    // The conversion of the whole path needs at least three levels; the root's blocks have two.
    convert->trigger();
    QVERIFY(m_view->navigations.isEmpty());
    QVERIFY(m_and->block()->isStandardBlock());
}

void tst_BlockCodeViewMenu::standardBlockConversionIsDisabledOnline()
{
    System::instance().setUserAccessLevelCode(5);
    QVERIFY(m_model->area()->setOnline(true));
    show(rootScene());
    BlockCodeViewMenu menu(m_view.get());
    {
        ControlHeld held;
        prepareAt(menu, centreOf(m_and));
    }
    QAction* convert = actionNamed(&menu, Convert);
    QVERIFY(convert);
    QVERIFY(!convert->isEnabled());
    m_model->area()->setOnline(false);
}

void tst_BlockCodeViewMenu::standardBlockConversionInADefinitionScene()
{
    System::instance().setUserAccessLevelCode(5);
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(m_code);
    show(scene);
    BlockCodeViewMenu menu(m_view.get());
    {
        ControlHeld held;
        prepareAt(menu, centreOf(m_and));
    }
    QAction* convert = actionNamed(&menu, Convert);
    QVERIFY(convert);
    QVERIFY(convert->isEnabled());
    convert->trigger();
    QVERIFY(m_and->block()->isLocalBlock());
    QCOMPARE(m_and->block()->originIdentifier(), QStringLiteral("StandardBlock_1"));
    QCOMPARE(m_and->blockDefinition()->accessLevelWrite(), 0u);
    QCOMPARE(scene->undoStack()->count(), 0);
}

void tst_BlockCodeViewMenu::faultyLocalBlockIsMended()
{
    m_and->unbindBlock();
    QVERIFY(m_and->block()->isLocalBlock());
    m_and->setError(1);
    show(rootScene());
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(m_and));
    QAction* mend = actionNamed(&menu, Convert);
    QVERIFY(mend);
    QVERIFY(!mend->isEnabled());
    QVERIFY(!actionNamed(&menu, Bind));
    QVERIFY(!actionNamed(&menu, ShowInLibrary));

    show(BlockDefinitionScene::forCode(m_code));
    prepareAt(menu, centreOf(m_and));
    mend = actionNamed(&menu, Convert);
    QVERIFY(mend->isEnabled());
    mend->trigger();
    QCOMPARE(m_and->error(), 0);
}

void tst_BlockCodeViewMenu::localBlockIsBoundBack()
{
    BlockDefinition* library = m_and->blockDefinition();
    m_and->unbindBlock();
    QVERIFY(m_and->block()->isLocalBlock());
    show(rootScene());
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(m_and));
    QAction* bind = actionNamed(&menu, Bind);
    QVERIFY(bind);
    QVERIFY(!bind->isEnabled());

    show(BlockDefinitionScene::forCode(m_code));
    prepareAt(menu, centreOf(m_and));
    bind = actionNamed(&menu, Bind);
    QVERIFY(bind->isEnabled());
    bind->trigger();
    QCOMPARE(m_and->blockDefinition(), library);
}

void tst_BlockCodeViewMenu::localParameterDefinitionBlockOffersNoConversion()
{
    BlockDefinition* root = m_code->blockDefinition();
    Block* block = Block::createUserBlock();
    root->ensureLocalBlockLibrary()->insertBlock(block);
    BlockDefinition* definition = block->createDefinition();
    QFile file(QStringLiteral(":/Resources/newParameter.txt"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    definition->attachParameterGeneralDefinition(0, ParameterDefinitionLoader::createAndLoadParameterDefinition(file.readAll()));
    QVERIFY(definition->isParameterDefinitionBlock());
    BlockInstance* holder = ModelBuilder::place(m_code, definition, {60, 10});
    QVERIFY(holder->block()->isLocalBlock());
    QCOMPARE(holder->error(), 0);
    show(BlockDefinitionScene::forCode(m_code));
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(holder));
    const QStringList texts = actionTexts(&menu);
    QVERIFY(!texts.contains(Convert));
    QVERIFY(!texts.contains(Bind));
    QVERIFY(!texts.contains(ShowInLibrary));
    // Nor can it be opened: it has no code, only a parameter.
    QVERIFY(!texts.contains(QStringLiteral("Öffnen")));
}

void tst_BlockCodeViewMenu::userLibraryBlockConversions()
{
    Block* user = ModelBuilder::primitive(m_model->user()->library(), QStringLiteral("UserBlock_7"), QStringLiteral("EIGEN"),
                                          {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    BlockInstance* own = ModelBuilder::place(m_code, ModelBuilder::newest(user), {60, 10});
    show(rootScene());
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(own));
    QStringList texts = actionTexts(&menu);
    const qsizetype library = texts.indexOf(ShowInLibrary);
    QVERIFY(library >= 0);
    QCOMPARE(texts.value(library + 1), Convert);
    QCOMPARE(texts.value(library + 2), NewVersion);
    QVERIFY(!actionNamed(&menu, Convert)->isEnabled());
    QVERIFY(!actionNamed(&menu, NewVersion)->isEnabled());
    QVERIFY(actionNamed(&menu, ShowInLibrary)->isEnabled());

    show(BlockDefinitionScene::forCode(m_code));
    prepareAt(menu, centreOf(own));
    QVERIFY(actionNamed(&menu, Convert)->isEnabled());
    QAction* version = actionNamed(&menu, NewVersion);
    QVERIFY(version->isEnabled());
    version->trigger();
    QCOMPARE(user->versions().size(), 2);
    QCOMPARE(own->blockDefinition()->version(), user->versions().last());

    prepareAt(menu, centreOf(own));
    actionNamed(&menu, Convert)->trigger();
    QVERIFY(own->block()->isLocalBlock());
}

void tst_BlockCodeViewMenu::showInHierarchyView()
{
    show(rootScene());
    m_view->path = QStringLiteral("A1:0.3");
    QSignalSpy spy(m_view.get(), &BlockCodeView::needToShowInHierarchyView);
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(m_not));
    actionNamed(&menu, ShowInHierarchy)->trigger();
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), QStringLiteral("A1:0.3.%1").arg(m_not->identifier()));
}

void tst_BlockCodeViewMenu::showInLibraryView()
{
    show(rootScene());
    QSignalSpy spy(m_view.get(), &BlockCodeView::needToShowInLibraryView);
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(m_not));
    QAction* library = actionNamed(&menu, ShowInLibrary);
    QVERIFY(library);
    // The definition's type is only declared in the view's header, so the spy cannot keep the value.
    QList<BlockDefinition*> seen;
    connect(m_view.get(), &BlockCodeView::needToShowInLibraryView, this, [&](BlockDefinition* d) { seen.append(d); });
    library->trigger();
    QCOMPARE(spy.size(), 1);
    QCOMPARE(seen, QList<BlockDefinition*>{m_not->blockDefinition()});
}

void tst_BlockCodeViewMenu::copyBlock()
{
    show(rootScene());
    auto* scene = static_cast<BlockCodeScene*>(m_view->scene());
    scene->blockItem(m_not->identifier())->setSelected(true);
    QGuiApplication::clipboard()->clear();
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(m_not));
    QAction* copy = actionNamed(&menu, QStringLiteral("Baustein kopieren"));
    QVERIFY(copy);
    QVERIFY(copy->isEnabled());
    QCOMPARE(actionTexts(&menu).mid(actionTexts(&menu).size() - 3),
             (QStringList{QStringLiteral("Baustein kopieren"), QStringLiteral("Baustein ausschneiden"),
                          QStringLiteral("Baustein löschen")}));
    // The last group of a block's entries begins with it, after the conversions.
    const QStringList texts = actionTextsWithSeparators(&menu);
    const qsizetype at = texts.indexOf(QStringLiteral("Baustein kopieren"));
    QVERIFY(at > texts.indexOf(ShowInLibrary));
    QCOMPARE(texts.at(at - 1), QStringLiteral("|"));
    copy->trigger();
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    QVERIFY(data && data->hasFormat(BlockCode::TransferMimeType));
}

void tst_BlockCodeViewMenu::cutAndDeleteEntriesFollowTheEditMode()
{
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(m_code);
    show(scene);
    scene->blockItem(m_not->identifier())->setSelected(true);
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(m_not));
    QVERIFY(!actionNamed(&menu, QStringLiteral("Baustein ausschneiden"))->isEnabled());
    QVERIFY(!actionNamed(&menu, QStringLiteral("Baustein löschen"))->isEnabled());
    QVERIFY(actionNamed(&menu, QStringLiteral("Baustein kopieren"))->isEnabled());

    m_view->readOnly = false;
    scene->setReadOnly(false);
    prepareAt(menu, centreOf(m_not));
    QAction* remove = actionNamed(&menu, QStringLiteral("Baustein löschen"));
    QVERIFY(remove->isEnabled());
    const unsigned int notId = m_not->identifier();
    remove->trigger();
    QVERIFY(!m_code->instance(notId));
    QCOMPARE(scene->undoStack()->count(), 1);
    QCOMPARE(scene->undoStack()->text(0), QStringLiteral("Delete 1 items"));

    scene->undoStack()->undo();
    QVERIFY(m_code->instance(notId));
    QGuiApplication::clipboard()->clear();
    scene->blockItem(notId)->setSelected(true);
    prepareAt(menu, scene->blockItem(notId)->sceneBoundingRect().center());
    QAction* cut = actionNamed(&menu, QStringLiteral("Baustein ausschneiden"));
    QVERIFY(cut->isEnabled());
    cut->trigger();
    QVERIFY(!m_code->instance(notId));
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    QVERIFY(data && data->hasFormat(BlockCode::TransferMimeType));
    QCOMPARE(scene->undoStack()->count(), 1);
}

void tst_BlockCodeViewMenu::cutAndDeleteEntriesOfAHierarchyScene()
{
    show(rootScene());
    m_view->readOnly = false;
    auto* scene = static_cast<BlockCodeScene*>(m_view->scene());
    scene->blockItem(m_not->identifier())->setSelected(true);
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(m_not));
    QAction* cut = actionNamed(&menu, QStringLiteral("Baustein ausschneiden"));
    QAction* remove = actionNamed(&menu, QStringLiteral("Baustein löschen"));
    QVERIFY(cut && remove);
    // The view says writable here, as a faulty view might; the slots still ask for a definition scene.
    cut->trigger();
    remove->trigger();
    QVERIFY(m_code->instance(m_not->identifier()));

    m_view->readOnly = true;
    prepareAt(menu, centreOf(m_not));
    QVERIFY(!actionNamed(&menu, QStringLiteral("Baustein ausschneiden"))->isEnabled());
    QVERIFY(!actionNamed(&menu, QStringLiteral("Baustein löschen"))->isEnabled());
}

void tst_BlockCodeViewMenu::pasteEntryTurnsOnEditModeAndPastes()
{
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(m_code);
    show(scene);
    scene->blockItem(m_not->identifier())->setSelected(true);
    scene->copyToClipboard();
    scene->clearSelection();
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, QPointF(500000, 500000));
    QVERIFY(!actionNamed(&menu, QStringLiteral("Einfügen"))->isEnabled());
    m_view->readOnly = false;
    prepareAt(menu, QPointF(500000, 500000));
    QAction* paste = actionNamed(&menu, QStringLiteral("Einfügen"));
    QVERIFY(paste->isEnabled());
    QVERIFY(scene->isReadOnly());
    const qsizetype before = m_code->instances().size();
    paste->trigger();
    QVERIFY(!scene->isReadOnly());
    QCOMPARE(m_code->instances().size(), before + 1);
    QCOMPARE(scene->undoStack()->text(0), QStringLiteral("Paste items"));
}

void tst_BlockCodeViewMenu::blockEntriesOfADefinitionScene_data()
{
    // The whole list of a block's entries, separators as "|", the block item's own entries in the
    // middle as "*".
    QTest::addColumn<QString>("which");
    QTest::addColumn<QStringList>("entries");
    QTest::newRow("standard block")
        << QStringLiteral("standard")
        << QStringList{QStringLiteral("|"), QStringLiteral("Öffnen"), QStringLiteral("|"), QStringLiteral("*"),
                       QStringLiteral("|"), ShowInHierarchy, ShowInLibrary, QStringLiteral("|"),
                       QStringLiteral("Baustein kopieren"), QStringLiteral("Baustein ausschneiden"), QStringLiteral("Baustein löschen")};
    QTest::newRow("local block")
        << QStringLiteral("local")
        << QStringList{QStringLiteral("|"), QStringLiteral("Öffnen"), QStringLiteral("|"), QStringLiteral("*"),
                       QStringLiteral("|"), ShowInHierarchy, QStringLiteral("|"), Bind, QStringLiteral("|"),
                       QStringLiteral("Baustein kopieren"), QStringLiteral("Baustein ausschneiden"), QStringLiteral("Baustein löschen")};
    QTest::newRow("block of a user library")
        << QStringLiteral("user")
        << QStringList{QStringLiteral("|"), QStringLiteral("Öffnen"), QStringLiteral("|"), QStringLiteral("*"),
                       QStringLiteral("|"), ShowInHierarchy, ShowInLibrary, QStringLiteral("|"), Convert,
                       QStringLiteral("|"), NewVersion, QStringLiteral("|"), QStringLiteral("Baustein kopieren"), QStringLiteral("Baustein ausschneiden"), QStringLiteral("Baustein löschen")};
}

void tst_BlockCodeViewMenu::blockEntriesOfADefinitionScene()
{
    QFETCH(QString, which);
    QFETCH(QStringList, entries);
    BlockInstance* target = m_not;
    if (which == QLatin1String("local")) {
        m_not->unbindBlock();
    } else if (which == QLatin1String("user")) {
        Block* user = ModelBuilder::primitive(m_model->user()->library(), QStringLiteral("UserBlock_7"),
                                              QStringLiteral("EIGEN"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
        target = ModelBuilder::place(m_code, ModelBuilder::newest(user), {60, 10});
    }
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(m_code);
    show(scene);
    QMenu own;
    scene->blockItem(target->identifier())->addContextMenuActions(&own);
    const QStringList ownEntries = actionTextsWithSeparators(&own);
    QVERIFY(!ownEntries.isEmpty());
    const qsizetype at = entries.indexOf(QStringLiteral("*"));
    entries.removeAt(at);
    for (qsizetype i = 0; i < ownEntries.size(); ++i)
        entries.insert(at + i, ownEntries.at(i));
    // Cutting and deleting follow the copy entry once the scene can push their command.
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(target));
    QCOMPARE(actionTextsWithSeparators(&menu), entries);
}

void tst_BlockCodeViewMenu::pinEntries()
{
    show(BlockDefinitionScene::forCode(m_code));
    auto* scene = static_cast<BlockCodeScene*>(m_view->scene());
    BlockPinItem* input = scene->blockItem(m_and->identifier())->pinItem(2);
    QVERIFY(input);
    QMenu expected;
    input->addContextMenuActions(&expected);
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, input->mapToScene(1500, 0));
    QCOMPARE(actionTexts(&menu), actionTexts(&expected));
    QVERIFY(actionTexts(&menu).contains(QStringLiteral("mit Konstante belegen")));
}

void tst_BlockCodeViewMenu::connectionEntries()
{
    show(rootScene());
    auto* scene = static_cast<BlockCodeScene*>(m_view->scene());
    ConnectionItem* connection = scene->connectionItemMap().value(m_wire);
    BlockCodeViewMenu menu(m_view.get());
    // Between the corners at (30, 11) and (30, 14).
    prepareAt(menu, QPointF(30000, 12500));
    QCOMPARE(actionTexts(&menu), (QStringList{QStringLiteral("Verlauf hervorheben"), QStringLiteral("Verbindung löschen")}));
    QVERIFY(!actionNamed(&menu, QStringLiteral("Verbindung löschen"))->isEnabled());
    m_view->readOnly = false;
    prepareAt(menu, QPointF(30000, 12500));
    QVERIFY(actionNamed(&menu, QStringLiteral("Verbindung löschen"))->isEnabled());
    Q_UNUSED(connection)
}

void tst_BlockCodeViewMenu::removingTheConnectionBypassesTheUndoStack()
{
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(m_code);
    show(scene);
    m_view->readOnly = false;
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, QPointF(30000, 12500));
    actionNamed(&menu, QStringLiteral("Verbindung löschen"))->trigger();
    QVERIFY(m_code->connections().isEmpty());
    QCOMPARE(scene->undoStack()->count(), 0);
}

void tst_BlockCodeViewMenu::removingTheConnectionNeedsADefinitionScene()
{
    show(rootScene());
    m_view->readOnly = false;
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, QPointF(30000, 12500));
    actionNamed(&menu, QStringLiteral("Verbindung löschen"))->trigger();
    QCOMPARE(m_code->connections().size(), 1);
}

void tst_BlockCodeViewMenu::signalLabelEntries()
{
    BlockInstanceHierarchyNode* root = m_model->area()->hierarchy()->rootNode();
    QVERIFY(root->createSignalLabel(m_not->identifier(), 2, QStringLiteral("Ausgang"), 1));
    BlockHierarchyNodeScene* scene = rootScene();
    show(scene);
    SignalLabelItem* label = nullptr;
    for (QGraphicsItem* item : scene->items()) {
        if ((label = dynamic_cast<SignalLabelItem*>(item)))
            break;
    }
    QVERIFY(label);
    QMenu expected;
    label->addContextMenuActions(&expected);
    QVERIFY(!actionTexts(&expected).isEmpty());
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, label->sceneBoundingRect().center());
    QCOMPARE(actionTexts(&menu), actionTexts(&expected));
}

void tst_BlockCodeViewMenu::viewEntriesOfAHierarchyNodeView()
{
    System::instance().setUserAccessLevelCode(5);
    BlockHierarchyNodeView view;
    view.resize(600, 400);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.setArea(m_model->area());
    QVERIFY(qobject_cast<BlockHierarchyNodeScene*>(view.scene()));
    BlockCodeViewMenu menu(&view);
    menu.setView(&view);
    menu.prepare(view.viewport()->mapToGlobal(view.mapFromScene(QPointF(500000, 500000))));
    QStringList texts = actionTexts(&menu);
    QCOMPARE(texts.first(), QStringLiteral("&Bearbeiten"));
    QAction* edit = actionNamed(&menu, QStringLiteral("&Bearbeiten"));
    QVERIFY(edit->isCheckable());
    QCOMPARE(edit->isChecked(), view.isBlockDefinitionEditMode());
    QCOMPARE(edit->isEnabled(), view.isEditAllowed());
    QVERIFY(edit->isEnabled());
    edit->setChecked(true);
    QVERIFY(view.isBlockDefinitionEditMode());
    QVERIFY(qobject_cast<BlockDefinitionScene*>(view.scene()));
}

void tst_BlockCodeViewMenu::viewEntriesOfOtherViews()
{
    show(rootScene());
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, QPointF(500000, 500000));
    QVERIFY(!actionNamed(&menu, QStringLiteral("&Bearbeiten")));
    QAction* up = actionNamed(&menu, QStringLiteral("Ebene höher"));
    QVERIFY(!up->isEnabled());
    m_view->stepOutAllowed = true;
    prepareAt(menu, QPointF(500000, 500000));
    up = actionNamed(&menu, QStringLiteral("Ebene höher"));
    QVERIFY(up->isEnabled());
    up->trigger();
    QCOMPARE(m_view->stepOuts, 1);
    actionNamed(&menu, QStringLiteral("Eigenschaften"))->trigger();
    QCOMPARE(m_view->properties, 1);
}

void tst_BlockCodeViewMenu::undoAndRedoEntries()
{
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(m_code);
    show(scene);
    int undos = 0;
    int redos = 0;
    scene->undoStack()->push(new CountingCommand(&undos, &redos));
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, QPointF(500000, 500000));
    QVERIFY(!actionNamed(&menu, QStringLiteral("Rückgängig"))->isEnabled());
    QVERIFY(!actionNamed(&menu, QStringLiteral("Wiederherstellen"))->isEnabled());
    m_view->readOnly = false;
    prepareAt(menu, QPointF(500000, 500000));
    actionNamed(&menu, QStringLiteral("Rückgängig"))->trigger();
    QCOMPARE(undos, 1);
    actionNamed(&menu, QStringLiteral("Wiederherstellen"))->trigger();
    QCOMPARE(redos, 2);

    // In a hierarchy scene there is no stack to work on.
    show(rootScene());
    prepareAt(menu, QPointF(500000, 500000));
    actionNamed(&menu, QStringLiteral("Rückgängig"))->trigger();
    QCOMPARE(undos, 1);
}

void tst_BlockCodeViewMenu::pinDisplaySubmenu_data()
{
    QTest::addColumn<quint32>("level");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QString>("ticked");
    const QStringList basic{QStringLiteral("Name"), QStringLiteral("Wert")};
    const QStringList full{QStringLiteral("Name"), QStringLiteral("Wert"), QStringLiteral("Pfad"), QStringLiteral("Adresse")};
    QTest::newRow("level 3, name") << quint32(3) << 0 << basic << QStringLiteral("Name");
    QTest::newRow("level 4, path not offered") << quint32(4) << 1 << basic << QString();
    QTest::newRow("level 3, address not offered") << quint32(3) << 2 << basic << QString();
    QTest::newRow("level 5, name") << quint32(5) << 0 << full << QStringLiteral("Name");
    QTest::newRow("level 5, path") << quint32(5) << 1 << full << QStringLiteral("Pfad");
    QTest::newRow("level 5, address") << quint32(5) << 2 << full << QStringLiteral("Adresse");
    QTest::newRow("level 5, value") << quint32(5) << 3 << full << QStringLiteral("Wert");
}

void tst_BlockCodeViewMenu::pinDisplaySubmenu()
{
    QFETCH(quint32, level);
    QFETCH(int, mode);
    QFETCH(QStringList, entries);
    QFETCH(QString, ticked);
    System::instance().setUserAccessLevelCode(level);
    BlockHierarchyNodeScene* scene = rootScene();
    showPinsAs(scene, mode);
    show(scene);
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, QPointF(500000, 500000));
    QAction* entry = actionNamed(&menu, QStringLiteral("Anschlüsse anzeigen als "));
    QVERIFY(entry && entry->menu());
    QMenu* pins = entry->menu();
    QCOMPARE(actionTexts(pins), entries);
    QStringList checked;
    for (QAction* action : pins->actions()) {
        QVERIFY(action->isCheckable());
        QVERIFY(!action->actionGroup());
        if (action->isChecked())
            checked.append(action->text());
    }
    QCOMPARE(checked, ticked.isEmpty() ? QStringList() : QStringList{ticked});
    const QList<QActionGroup*> groups = pins->findChildren<QActionGroup*>();
    QCOMPARE(groups.size(), 1);
    QVERIFY(groups.first()->isExclusive());
    QVERIFY(groups.first()->actions().isEmpty());
}

void tst_BlockCodeViewMenu::pinDisplaySubmenuDrivesTheScene()
{
    System::instance().setUserAccessLevelCode(5);
    BlockHierarchyNodeScene* scene = rootScene();
    show(scene);
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, QPointF(500000, 500000));
    QMenu* pins = actionNamed(&menu, QStringLiteral("Anschlüsse anzeigen als "))->menu();
    actionNamed(pins, QStringLiteral("Pfad"))->trigger();
    QCOMPARE(scene->pinDisplayMode(), 1);
    actionNamed(pins, QStringLiteral("Adresse"))->trigger();
    QCOMPARE(scene->pinDisplayMode(), 2);
    actionNamed(pins, QStringLiteral("Name"))->trigger();
    QCOMPARE(scene->pinDisplayMode(), 0);
}

void tst_BlockCodeViewMenu::valueIsTickedOfflineButDisabled()
{
    BlockHierarchyNodeScene* scene = rootScene();
    scene->showPinsCurrentValue();
    show(scene);
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, QPointF(500000, 500000));
    QMenu* pins = actionNamed(&menu, QStringLiteral("Anschlüsse anzeigen als "))->menu();
    QAction* value = actionNamed(pins, QStringLiteral("Wert"));
    QVERIFY(!value->isEnabled());
    QVERIFY(value->isChecked());

    QVERIFY(m_model->area()->setOnline(true));
    scene->showPinsCurrentValue();
    prepareAt(menu, QPointF(500000, 500000));
    pins = actionNamed(&menu, QStringLiteral("Anschlüsse anzeigen als "))->menu();
    QVERIFY(actionNamed(pins, QStringLiteral("Wert"))->isEnabled());
    m_model->area()->setOnline(false);
}

void tst_BlockCodeViewMenu::unbindIncludingTheHierarchy()
{
    System::instance().setUserAccessLevelCode(5);
    BlockInstanceHierarchyNode* reglerNode = m_model->area()->hierarchy()->rootNode()->instanceNode(m_regler->identifier());
    QVERIFY(reglerNode);
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(reglerNode);
    show(scene);
    BlockInstance* inner = scene->blockItemMap().first()->blockInstance();
    QVERIFY(inner->block()->isStandardBlock());
    BlockCodeViewMenu menu(m_view.get());
    {
        ControlHeld held;
        prepareAt(menu, centreOf(inner));
    }
    QAction* convert = actionNamed(&menu, Convert);
    QVERIFY(convert);
    QVERIFY(convert->isEnabled());
    const QString reglerPath = QStringLiteral("A1:0.%1").arg(m_regler->identifier());
    const unsigned int innerIdentifier = inner->identifier();
    convert->trigger();

    QCOMPARE(m_view->navigations,
             (QStringList{reglerPath, reglerPath + QStringLiteral(".%1").arg(innerIdentifier)}));
    QVERIFY(!QApplication::overrideCursor());
    // Every standard block on the path became the user's own, from the root down.
    QVERIFY(m_regler->block()->isLocalBlock());
    QCOMPARE(m_regler->blockDefinition()->accessLevelWrite(), 0u);
    BlockInstance* converted = m_regler->blockDefinition()->code()->instance(innerIdentifier);
    QVERIFY(converted);
    QVERIFY(converted->block()->isLocalBlock());
    QCOMPARE(converted->blockDefinition()->accessLevelWrite(), 0u);
    // The library's block is untouched.
    Block* library = m_model->block(QStringLiteral("StandardBlock_20"));
    QVERIFY(ModelBuilder::newest(library)->code()->instances().first()->block()->isStandardBlock());
}

void tst_BlockCodeViewMenu::unbindIncludingTheHierarchyNeedsThreeLevels()
{
    show(rootScene());
    BlockCodeViewMenu menu(m_view.get());
    System::instance().setUserAccessLevelCode(5);
    {
        ControlHeld held;
        prepareAt(menu, centreOf(m_regler));
    }
    actionNamed(&menu, Convert)->trigger();
    QVERIFY(m_view->navigations.isEmpty());
    QVERIFY(m_regler->block()->isStandardBlock());
}

void tst_BlockCodeViewMenu::unbindDoItWithAnEmptyStack()
{
    BlockCodeViewMenu menu(m_view.get());
    auto* d = menu.findChild<BlockCodeViewMenuPrivate*>();
    QVERIFY(d);
    d->unbindStandardBlockToLocalBlockIncludeHierarchyDoIt(m_model->area()->hierarchy(), QStringList());
    d->unbindStandardBlockToLocalBlockIncludeHierarchyDoIt(nullptr, QStringList{QStringLiteral("0")});
    QVERIFY(m_regler->block()->isStandardBlock());
    // The root alone is no standard block: nothing changes.
    d->unbindStandardBlockToLocalBlockIncludeHierarchyDoIt(m_model->area()->hierarchy(), QStringList{QStringLiteral("0")});
    QVERIFY(m_regler->block()->isStandardBlock());
    QVERIFY(m_and->block()->isStandardBlock());
    // A number that names no block ends the walk.
    d->unbindStandardBlockToLocalBlockIncludeHierarchyDoIt(m_model->area()->hierarchy(),
                                                           QStringList{QStringLiteral("0"), QStringLiteral("99"),
                                                                       QStringLiteral("1")});
    QVERIFY(m_and->block()->isStandardBlock());
}

void tst_BlockCodeViewMenu::itemThatDiesWhileTheMenuIsOpen()
{
    BlockHierarchyNodeScene* scene = rootScene();
    show(scene);
    QSignalSpy hierarchy(m_view.get(), &BlockCodeView::needToShowInHierarchyView);
    QSignalSpy library(m_view.get(), &BlockCodeView::needToShowInLibraryView);
    BlockCodeViewMenu menu(m_view.get());
    prepareAt(menu, centreOf(m_not));
    QAction* showInHierarchy = actionNamed(&menu, ShowInHierarchy);
    QAction* showInLibrary = actionNamed(&menu, ShowInLibrary);
    const unsigned int identifier = m_not->identifier();
    // An active scene deletes the item of a removed instance at once.
    QEvent activate(QEvent::WindowActivate);
    QApplication::sendEvent(scene, &activate);
    m_code->deleteInstance(identifier);
    QVERIFY(!scene->blockItem(identifier));
    showInHierarchy->trigger();
    showInLibrary->trigger();
    QCOMPARE(hierarchy.size(), 0);
    QCOMPARE(library.size(), 0);
}

ZK_TEST_REGISTER(tst_BlockCodeViewMenu)
#include "tst_BlockCodeViewMenu.moc"
