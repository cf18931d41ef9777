#include "EditSteps.h"
#include "MenuLookup.h"
#include "ModalAnswer.h"
#include "ScratchSettings.h"
#include "TestRegistry.h"

#include "AreaSubWindow.h"
#include "MessageDock.h"
#include "StudioEditMenu.h"
#include "StudioWindow.h"

#include "BlockCodeView.h"
#include "BlockDefinitionScene.h"
#include "BlockHierarchyNodeScene.h"
#include "BlockHierarchyNodeView.h"
#include "BlockItem.h"
#include "SceneMetrics.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockRepository.h"
#include "Project.h"
#include "System.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QAbstractButton>
#include <QMimeData>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>
#include <QUndoStack>

namespace {

struct Enabled
{
    bool undo;
    bool redo;
    bool cut;
    bool copy;
    bool paste;
    bool remove;
};

// The entries' states as one line, so that a failure shows them all.
QString statesOf(const StudioEditMenu* menu)
{
    const auto flag = [](const QAction* action) { return action->isEnabled() ? QStringLiteral("1") : QStringLiteral("0"); };
    return QStringLiteral("undo %1 redo %2 cut %3 copy %4 paste %5 delete %6")
        .arg(flag(menu->undoAction()), flag(menu->redoAction()), flag(menu->cutAction()), flag(menu->copyAction()),
             flag(menu->pasteAction()), flag(menu->deleteAction()));
}

QString statesOf(const Enabled& e)
{
    const auto flag = [](bool on) { return on ? QStringLiteral("1") : QStringLiteral("0"); };
    return QStringLiteral("undo %1 redo %2 cut %3 copy %4 paste %5 delete %6")
        .arg(flag(e.undo), flag(e.redo), flag(e.cut), flag(e.copy), flag(e.paste), flag(e.remove));
}

void putForeignDataOnTheClipboard()
{
    QApplication::clipboard()->setText(QStringLiteral("kein Baustein"));
}

void putCodeOnTheClipboard()
{
    auto* data = new QMimeData;
    data->setData(BlockCode::TransferMimeType, QByteArray("ignored by the menu"));
    QApplication::clipboard()->setMimeData(data);
}

void selectOnly(QGraphicsScene* scene, QGraphicsItem* item)
{
    scene->clearSelection();
    if (item)
        item->setSelected(true);
}

QGraphicsItem* someBlockItem(QGraphicsScene* scene)
{
    auto* codeScene = qobject_cast<BlockCodeScene*>(scene);
    const QList<BlockItem*> items = codeScene ? codeScene->blockItemMap().values() : QList<BlockItem*>();
    return items.isEmpty() ? nullptr : items.first();
}

// A definition of a user library with code: the kind a library window edits.
BlockDefinition* userDefinitionWithCode()
{
    for (BlockLibraryContainer* container : BlockRepository::instance().containers()) {
        if (container->containerKind() != BlockLibraryContainer::UserLibraryKind || !container->library())
            continue;
        for (Block* block : container->library()->blocks()) {
            const QList<BlockDefinition*> definitions = block->definitions();
            if (!definitions.isEmpty() && definitions.last()->hasCode() && !definitions.last()->code()->instances().isEmpty())
                return definitions.last();
        }
    }
    return nullptr;
}

} // namespace

#define COMPARE_STATES(menu, ...) QCOMPARE(statesOf(menu), statesOf(Enabled{__VA_ARGS__}))

class tst_StudioEditMenu : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void standsAfterTheFileMenu();
    void entriesAndShortcuts();
    void nothingWithoutAnEditor();
    void aReadOnlyLevelOffersCopyOnly();
    void editModeOffersCutAndDeleteForASelection();
    void pasteNeedsBlockCodeOnTheClipboard();
    void undoAndRedoNameTheStacksCommands();
    void undoTextWithAnAmpersandShowsIt();
    void leavingEditModeTakesUndoAway();
    void followsTheActiveSubWindow();
    void aLibraryWindowIsEditedToo();
    void copyPutsTheSelectionOnTheClipboard();
    void cutPasteAndDeleteChangeTheCode();
    void aClosedEditorLeavesNothingToDo();
    void theShortcutUndoesOneStep();
    void keysElsewhereAreNotTheEditors();

private:
    QTemporaryDir m_settingsDir;
};

void tst_StudioEditMenu::initTestCase()
{
    QVERIFY(m_settingsDir.isValid());
    redirectSettings(m_settingsDir.path());
}

void tst_StudioEditMenu::init()
{
    System::instance().setUserAccessLevelCode(5);
    QApplication::clipboard()->clear();
}

void tst_StudioEditMenu::cleanup()
{
    System::instance().setUserAccessLevelCode(3);
}

void tst_StudioEditMenu::standsAfterTheFileMenu()
{
    StudioWindow window;
    QStringList titles;
    for (QAction* action : window.menuBar()->actions())
        titles.append(action->text());
    QVERIFY(titles.size() >= 3);
    QCOMPARE(titles.at(0), QStringLiteral("&Datei"));
    QCOMPARE(titles.at(1), QStringLiteral("&Bearbeiten"));
    QCOMPARE(window.menuBar()->actions().at(1)->menu(), window.editMenu());
}

void tst_StudioEditMenu::entriesAndShortcuts()
{
    StudioWindow window;
    StudioEditMenu* menu = window.editMenu();
    QVERIFY(menu);
    QCOMPARE(actionTextsWithSeparators(menu), QStringList({"Rückgängig", "Wiederherstellen", "|", "Ausschneiden", "Kopieren",
                                                           "Einfügen", "Löschen"}));
    QCOMPARE(menu->undoAction()->shortcut(), QKeySequence(QKeySequence::Undo));
    QCOMPARE(menu->redoAction()->shortcut(), QKeySequence(QKeySequence::Redo));
    QCOMPARE(menu->cutAction()->shortcut(), QKeySequence(QKeySequence::Cut));
    QCOMPARE(menu->copyAction()->shortcut(), QKeySequence(QKeySequence::Copy));
    QCOMPARE(menu->pasteAction()->shortcut(), QKeySequence(QKeySequence::Paste));
    QCOMPARE(menu->deleteAction()->shortcut(), QKeySequence(QKeySequence::Delete));
}

void tst_StudioEditMenu::nothingWithoutAnEditor()
{
    StudioWindow window;
    putCodeOnTheClipboard();
    COMPARE_STATES(window.editMenu(), false, false, false, false, false, false);
    // Triggered all the same (a shortcut that was quicker), nothing happens and nothing breaks.
    for (QAction* action : window.editMenu()->actions())
        action->trigger();
}

void tst_StudioEditMenu::aReadOnlyLevelOffersCopyOnly()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    BlockCodeView* view = window.activeCodeView();
    QVERIFY(view);
    QVERIFY(qobject_cast<BlockHierarchyNodeScene*>(view->scene()));
    putCodeOnTheClipboard();
    StudioEditMenu* menu = window.editMenu();
    COMPARE_STATES(menu, false, false, false, false, false, false);
    selectOnly(view->scene(), someBlockItem(view->scene()));
    COMPARE_STATES(menu, false, false, false, true, false, false);
}

void tst_StudioEditMenu::editModeOffersCutAndDeleteForASelection()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    StudioEditMenu* menu = window.editMenu();
    BlockDefinitionScene* scene = enterEditMode(window.activeCodeView());
    QVERIFY(scene);
    COMPARE_STATES(menu, false, false, false, false, false, false);
    selectOnly(scene, firstBlockItem(scene));
    COMPARE_STATES(menu, false, false, true, true, false, true);
    scene->clearSelection();
    COMPARE_STATES(menu, false, false, false, false, false, false);
    // A scene that drops its grid is read-only: copying stays, changing goes.
    selectOnly(scene, firstBlockItem(scene));
    scene->setReadOnly(true);
    COMPARE_STATES(menu, false, false, false, true, false, false);
    scene->setReadOnly(false);
    COMPARE_STATES(menu, false, false, true, true, false, true);
}

void tst_StudioEditMenu::pasteNeedsBlockCodeOnTheClipboard()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    StudioEditMenu* menu = window.editMenu();
    QAction* paste = menu->pasteAction();
    putCodeOnTheClipboard();
    // Not on a level the user only looks at.
    QVERIFY(!paste->isEnabled());
    BlockDefinitionScene* scene = enterEditMode(window.activeCodeView());
    QVERIFY(scene);
    QVERIFY(paste->isEnabled());
    putForeignDataOnTheClipboard();
    QVERIFY(!paste->isEnabled());
    QApplication::clipboard()->clear();
    QVERIFY(!paste->isEnabled());
    putCodeOnTheClipboard();
    QVERIFY(paste->isEnabled());
    scene->setReadOnly(true);
    QVERIFY(!paste->isEnabled());
}

void tst_StudioEditMenu::undoAndRedoNameTheStacksCommands()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    StudioEditMenu* menu = window.editMenu();
    BlockDefinitionScene* scene = enterEditMode(window.activeCodeView());
    QVERIFY(scene);
    QGraphicsItem* item = firstBlockItem(scene);
    auto* block = dynamic_cast<BlockItem*>(item);
    QVERIFY(block);
    BlockInstance* instance = scene->blockCode()->instance(block->identifier());
    QVERIFY(instance);
    const QPointF start = instance->position();

    QVERIFY(moveByCommand(scene, {item}, QPointF(SceneRaster::Block, 0)));
    const QPointF moved = instance->position();
    QVERIFY(moved != start);
    const QString text = scene->undoStack()->undoText();
    QVERIFY(!text.isEmpty());
    QCOMPARE(menu->undoAction()->text(), QStringLiteral("Rückgängig: %1").arg(text));
    QVERIFY(menu->undoAction()->isEnabled());
    QCOMPARE(menu->redoAction()->text(), QStringLiteral("Wiederherstellen"));
    QVERIFY(!menu->redoAction()->isEnabled());

    menu->undoAction()->trigger();
    QCOMPARE(instance->position(), start);
    QCOMPARE(menu->undoAction()->text(), QStringLiteral("Rückgängig"));
    QVERIFY(!menu->undoAction()->isEnabled());
    QCOMPARE(menu->redoAction()->text(), QStringLiteral("Wiederherstellen: %1").arg(text));
    QVERIFY(menu->redoAction()->isEnabled());

    menu->redoAction()->trigger();
    QCOMPARE(instance->position(), moved);
    QVERIFY(menu->undoAction()->isEnabled());
    QVERIFY(!menu->redoAction()->isEnabled());
}

void tst_StudioEditMenu::undoTextWithAnAmpersandShowsIt()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    BlockDefinitionScene* scene = enterEditMode(window.activeCodeView());
    QVERIFY(scene);
    auto* command = new QUndoCommand(QStringLiteral("Ein & Aus"));
    scene->undoStack()->push(command);
    // Doubled, the toolkit shows the character rather than taking it for a mnemonic.
    QCOMPARE(window.editMenu()->undoAction()->text(), QStringLiteral("Rückgängig: Ein && Aus"));
}

void tst_StudioEditMenu::leavingEditModeTakesUndoAway()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    StudioEditMenu* menu = window.editMenu();
    auto* view = qobject_cast<BlockHierarchyNodeView*>(window.activeCodeView());
    BlockDefinitionScene* scene = enterEditMode(view);
    QVERIFY(scene);
    QVERIFY(moveByCommand(scene, {firstBlockItem(scene)}, QPointF(0, SceneRaster::Block)));
    QVERIFY(menu->undoAction()->isEnabled());
    // No menu was opened in between: the view's own signals carry the change.
    view->setBlockDefinitionEditMode(false);
    QVERIFY(!view->isBlockDefinitionEditMode());
    QVERIFY(!menu->undoAction()->isEnabled());
    QCOMPARE(menu->undoAction()->text(), QStringLiteral("Rückgängig"));
    // Back in edit mode, the menu follows that level's stack again.
    QCOMPARE(enterEditMode(view), scene);
    QCOMPARE(menu->undoAction()->isEnabled(), scene->undoStack()->canUndo());
    QVERIFY(moveByCommand(scene, {firstBlockItem(scene)}, QPointF(0, SceneRaster::Block)));
    QVERIFY(menu->undoAction()->isEnabled());
}

void tst_StudioEditMenu::followsTheActiveSubWindow()
{
    StudioWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(window.openSample());
    StudioEditMenu* menu = window.editMenu();
    AreaSubWindow* first = window.areaWindow(window.project()->areas().at(1));
    QVERIFY(first);
    BlockDefinitionScene* scene = enterEditMode(first->codeView());
    QVERIFY(scene);
    QVERIFY(moveByCommand(scene, {firstBlockItem(scene)}, QPointF(SceneRaster::Block, 0)));
    QVERIFY(menu->undoAction()->isEnabled());

    AreaSubWindow* second = window.openArea(window.project()->areas().at(2));
    QVERIFY(second && second != first);
    QCOMPARE(window.activeCodeView(), second->codeView());
    QVERIFY(!menu->undoAction()->isEnabled());
    selectOnly(second->codeView()->scene(), someBlockItem(second->codeView()->scene()));
    QVERIFY(menu->copyAction()->isEnabled());
    // The first window's scene no longer counts: changing its selection changes nothing here.
    selectOnly(scene, firstBlockItem(scene));
    QVERIFY(!menu->cutAction()->isEnabled());

    window.mdiArea()->setActiveSubWindow(first);
    QCOMPARE(window.activeCodeView(), first->codeView());
    QVERIFY(menu->undoAction()->isEnabled());
    QVERIFY(menu->cutAction()->isEnabled());
}

void tst_StudioEditMenu::aLibraryWindowIsEditedToo()
{
    StudioWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(window.openSample());
    BlockDefinition* definition = userDefinitionWithCode();
    QVERIFY(definition);
    QMdiSubWindow* library = window.openLibraryDefinition(definition);
    QVERIFY(library);
    BlockCodeView* view = window.activeCodeView();
    QVERIFY(view);
    auto* scene = qobject_cast<BlockDefinitionScene*>(view->scene());
    QVERIFY(scene);
    QCOMPARE(scene->blockCode(), definition->code());
    StudioEditMenu* menu = window.editMenu();
    selectOnly(scene, firstBlockItem(scene));
    QVERIFY(menu->cutAction()->isEnabled());
    QVERIFY(menu->deleteAction()->isEnabled());
    QVERIFY(moveByCommand(scene, {firstBlockItem(scene)}, QPointF(SceneRaster::Block, 0)));
    QVERIFY(menu->undoAction()->isEnabled());
    menu->undoAction()->trigger();
    QVERIFY(!menu->undoAction()->isEnabled());
}

void tst_StudioEditMenu::copyPutsTheSelectionOnTheClipboard()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    BlockCodeView* view = window.activeCodeView();
    QGraphicsItem* item = someBlockItem(view->scene());
    QVERIFY(item);
    selectOnly(view->scene(), item);
    const QMimeData* before = QApplication::clipboard()->mimeData();
    QVERIFY(!before || !before->hasFormat(BlockCode::TransferMimeType));
    window.editMenu()->copyAction()->trigger();
    const QMimeData* data = QApplication::clipboard()->mimeData();
    QVERIFY(data && data->hasFormat(BlockCode::TransferMimeType));
    QVERIFY(!data->data(BlockCode::TransferMimeType).isEmpty());
    // Now there is something to paste, once the level is edited.
    QVERIFY(!window.editMenu()->pasteAction()->isEnabled());
    QVERIFY(enterEditMode(view));
    QVERIFY(window.editMenu()->pasteAction()->isEnabled());
}

void tst_StudioEditMenu::cutPasteAndDeleteChangeTheCode()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    StudioEditMenu* menu = window.editMenu();
    BlockDefinitionScene* scene = enterEditMode(window.activeCodeView());
    QVERIFY(scene);
    BlockCode* code = scene->blockCode();
    const qsizetype count = code->instances().size();
    auto* item = static_cast<BlockItem*>(someBlockItem(scene));
    QVERIFY(item);
    const unsigned int cutId = item->identifier();
    selectOnly(scene, item);

    menu->cutAction()->trigger();
    QVERIFY(!code->instance(cutId));
    QCOMPARE(code->instances().size(), count - 1);
    const QMimeData* data = QApplication::clipboard()->mimeData();
    QVERIFY(data && data->hasFormat(BlockCode::TransferMimeType));

    QVERIFY(menu->pasteAction()->isEnabled());
    menu->pasteAction()->trigger();
    QCOMPARE(code->instances().size(), count);
    // The pasted block comes under a new identifier and is the selection.
    QVERIFY(!code->instance(cutId));
    const QList<BlockItem*> pasted = scene->selectedBlockItems();
    QCOMPARE(pasted.size(), 1);

    QVERIFY(menu->deleteAction()->isEnabled());
    menu->deleteAction()->trigger();
    QCOMPARE(code->instances().size(), count - 1);

    // Three steps on the stack, each undone by the menu: the cut block is back where it was.
    QCOMPARE(scene->undoStack()->count(), 3);
    for (int i = 0; i < 3; ++i)
        menu->undoAction()->trigger();
    QCOMPARE(code->instances().size(), count);
    QVERIFY(code->instance(cutId));
}

void tst_StudioEditMenu::aClosedEditorLeavesNothingToDo()
{
    StudioWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(window.openSample());
    StudioEditMenu* menu = window.editMenu();
    BlockDefinitionScene* scene = enterEditMode(window.activeCodeView());
    QVERIFY(scene);
    QVERIFY(moveByCommand(scene, {firstBlockItem(scene)}, QPointF(SceneRaster::Block, 0)));
    selectOnly(scene, firstBlockItem(scene));
    putCodeOnTheClipboard();
    COMPARE_STATES(menu, true, false, true, true, true, true);
    window.mdiArea()->closeAllSubWindows();
    QTRY_VERIFY(!window.activeCodeView());
    QTRY_COMPARE(statesOf(menu), statesOf(Enabled{false, false, false, false, false, false}));
    for (QAction* action : menu->actions())
        action->trigger();
    // Another project takes the model the scene belonged to along; the move is not kept.
    auto discarded = answerNextModal([](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        if (box && box->button(QMessageBox::Discard))
            box->button(QMessageBox::Discard)->click();
        else
            dialog->reject();
    });
    QVERIFY(window.openSample());
    QVERIFY(*discarded);
    QVERIFY(window.activeCodeView());
    COMPARE_STATES(menu, false, false, false, false, false, false);
}

void tst_StudioEditMenu::theShortcutUndoesOneStep()
{
    StudioWindow window;
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QVERIFY(window.openSample());
    BlockCodeView* view = window.activeCodeView();
    BlockDefinitionScene* scene = enterEditMode(view);
    QVERIFY(scene);
    QVERIFY(moveByCommand(scene, {firstBlockItem(scene)}, QPointF(SceneRaster::Block, 0)));
    QVERIFY(moveByCommand(scene, {firstBlockItem(scene)}, QPointF(SceneRaster::Block, 0)));
    QCOMPARE(scene->undoStack()->index(), 2);
    // Focused as a user does it, by a click into the drawing.
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(3, 3));
    QTRY_VERIFY(view->hasFocus());
    QCOMPARE(scene->undoStack()->index(), 2);
    // The scene knows the key as well; only one of the two may act on it.
    QTest::keySequence(view, QKeySequence::Undo);
    QCOMPARE(scene->undoStack()->index(), 1);
    QTest::keySequence(view, QKeySequence::Redo);
    QCOMPARE(scene->undoStack()->index(), 2);
}

void tst_StudioEditMenu::keysElsewhereAreNotTheEditors()
{
    StudioWindow window;
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QVERIFY(window.openSample());
    BlockCodeView* view = window.activeCodeView();
    BlockDefinitionScene* scene = enterEditMode(view);
    QVERIFY(scene);
    selectOnly(scene, firstBlockItem(scene));
    QVERIFY(window.editMenu()->copyAction()->isEnabled());
    // The list of messages has the focus: Control+C there is no copy of the selected block.
    auto* dock = window.findChild<MessageDock*>(QStringLiteral("messageDock"));
    QVERIFY(dock && dock->list()->isVisible());
    dock->list()->setFocus();
    QTRY_VERIFY(dock->list()->hasFocus());
    QTest::keySequence(dock->list(), QKeySequence::Copy);
    const QMimeData* data = QApplication::clipboard()->mimeData();
    QVERIFY(!data || !data->hasFormat(BlockCode::TransferMimeType));
    // In the code view the same keys copy.
    view->setFocus();
    QTRY_VERIFY(view->hasFocus());
    QTest::keySequence(view, QKeySequence::Copy);
    data = QApplication::clipboard()->mimeData();
    QVERIFY(data && data->hasFormat(BlockCode::TransferMimeType));
}

ZK_TEST_REGISTER(tst_StudioEditMenu)
#include "tst_StudioEditMenu.moc"
