#include "MenuLookup.h"
#include "ModalAnswer.h"
#include "Pictures.h"
#include "ScratchSettings.h"
#include "TestRegistry.h"

#include "AreaSubWindow.h"
#include "MessageDock.h"
#include "StudioWindow.h"

#include "BlockCodeScene.h"
#include "BlockCodeView.h"
#include "BlockEditorView.h"
#include "BlockHierarchyNodeScene.h"
#include "BlockItem.h"
#include "HierarchyNodeEditor.h"
#include "LibraryBlockDefinitionSubWindow.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockRepository.h"
#include "ModelBuilder.h"
#include "Project.h"
#include "System.h"
#include "TestModel.h"

#include <QAction>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QPrinter>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>

class tst_StudioWindow : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void hostsTheMdiArea();
    void opensTheEmbeddedSample();
    void brokenFileKeepsTheOpenProject();
    void brokenFileIsShownToTheUser();
    void accessLevelMenu();
    void onlineMenu();
    void saveAndReopen();
    void messagesAppearInTheDock();
    void projectComesUpWithItsFirstAxisArea();
    void areaWindowHoldsAnInitializedEditor();
    void areaMenuOpensOrRaises();
    void anotherProjectTakesTheEditorsAlong();
    void zoomToFitShowsTheWholeLevel();
    void zoomToFitStaysWithinTheLimits();
    void exportWritesPictures_data();
    void exportWritesPictures();
    void exportNeedsCodeAndAKnownFormat();
    void printingUsesSeveralSheetsForAWideLevel();
    void pinValuesOnlyWhileOnline();
    void libraryDefinitionOpensOnce();
    void viewActionsFollowTheActiveWindow();

private:
    QTemporaryDir m_settingsDir;
};

void tst_StudioWindow::initTestCase()
{
    // Editors write their layout when they go; the user's own settings stay untouched.
    QVERIFY(m_settingsDir.isValid());
    redirectSettings(m_settingsDir.path());
}

void tst_StudioWindow::hostsTheMdiArea()
{
    StudioWindow window;
    QCOMPARE(System::instance().mainWindow(), &window);
    auto* area = window.findChild<QMdiArea*>(QStringLiteral("mdiArea"));
    QVERIFY(area);
    QCOMPARE(area, window.mdiArea());
}

void tst_StudioWindow::opensTheEmbeddedSample()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    QVERIFY(window.project());
    QVERIFY(window.project()->isActive());
    QVERIFY(!window.project()->areas().isEmpty());
    QVERIFY(!BlockRepository::instance().containers().isEmpty());
    QVERIFY(BlockRepository::instance().blockDefinition(QStringLiteral("ToolBlock_8000008"), 1));
}

void tst_StudioWindow::brokenFileKeepsTheOpenProject()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    Project* before = window.project();
    const QByteArray text = before->projectText();
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("broken.zkproj"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(R"({"format":"zkblockproject","formatVersion":1,"areas":[{"first":)");
    file.close();
    const int messages = System::instance().messageCount();
    QVERIFY(!window.openProject(path));
    QVERIFY(!window.openProject(path));
    QCOMPARE(window.project(), before);
    QVERIFY(before->isActive());
    QCOMPARE(before->projectText(), text);
    QCOMPARE(System::instance().messageCount(), messages + 2);
    QCOMPARE(System::instance().messages().last().severity, SystemMessage::Critical);
    QVERIFY(System::instance().messages().last().text.contains(QStringLiteral("broken.zkproj")));
}

void tst_StudioWindow::brokenFileIsShownToTheUser()
{
    StudioWindow window;
    window.show();
    QVERIFY(window.openSample());
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("foreign.zkproj"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("this is no project");
    file.close();
    QString shown;
    auto answered = answerNextModal([&shown](QDialog* dialog) {
        if (auto* box = qobject_cast<QMessageBox*>(dialog))
            shown = box->text();
        dialog->accept();
    });
    Project* before = window.project();
    QVERIFY(!window.openProject(path));
    QVERIFY(*answered);
    QVERIFY2(shown.contains(QStringLiteral("foreign.zkproj")), qPrintable(shown));
    QCOMPARE(window.project(), before);
}

void tst_StudioWindow::accessLevelMenu()
{
    StudioWindow window;
    auto* level5 = window.findChild<QAction*>(QStringLiteral("accessLevel5"));
    QVERIFY(level5);
    level5->trigger();
    QCOMPARE(System::instance().userAccessLevelCode(), 5u);
    System::instance().setUserAccessLevelCode(2);
    QVERIFY(window.findChild<QAction*>(QStringLiteral("accessLevel2"))->isChecked());
    System::instance().setUserAccessLevelCode(3);
}

void tst_StudioWindow::onlineMenu()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    auto* menu = window.findChild<QMenu*>(QStringLiteral("areaMenu"));
    QVERIFY(menu);
    BlockInstanceArea* area = window.project()->areas().first();
    QMenu* areaMenu = menu->actions().first()->menu();
    QVERIFY(areaMenu);
    QAction* online = areaMenu->actions().first();
    online->trigger();
    QVERIFY(area->isOnline());
    area->setOnline(false);
    QVERIFY(!online->isChecked());
}

void tst_StudioWindow::saveAndReopen()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("sample.zkproj"));
    QVERIFY(window.saveProject(path));
    const QByteArray saved = window.project()->projectText();
    QVERIFY(window.openProject(path));
    QCOMPARE(window.project()->projectText(), saved);
    QCOMPARE(window.project()->filePath(), QFileInfo(path).absoluteFilePath());
}

void tst_StudioWindow::messagesAppearInTheDock()
{
    StudioWindow window;
    auto* dock = window.findChild<MessageDock*>(QStringLiteral("messageDock"));
    QVERIFY(dock);
    const int rows = dock->list()->topLevelItemCount();
    System::addCriticalMessage(QStringLiteral("Test"), QStringLiteral("Etwas ging schief"));
    QCOMPARE(dock->list()->topLevelItemCount(), rows + 1);
    QTreeWidgetItem* last = dock->list()->topLevelItem(rows);
    QCOMPARE(last->text(1), QStringLiteral("Test"));
    QCOMPARE(last->text(2), QStringLiteral("Etwas ging schief"));
}

void tst_StudioWindow::projectComesUpWithItsFirstAxisArea()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    const QList<QMdiSubWindow*> windows = window.mdiArea()->subWindowList();
    QCOMPARE(windows.size(), 1);
    auto* areaWindow = qobject_cast<AreaSubWindow*>(windows.first());
    QVERIFY(areaWindow);
    // Area 0 holds the global program; the first axis is what opens.
    BlockInstanceArea* expected = nullptr;
    for (BlockInstanceArea* area : window.project()->areas()) {
        if (area->firstNumber() != 0 && area->hasOwnProgram()) {
            expected = area;
            break;
        }
    }
    QVERIFY(expected);
    QCOMPARE(areaWindow->area(), expected);
    QCOMPARE(areaWindow->title(), expected->displayName());
    QCOMPARE(areaWindow->windowTitle(), expected->displayName());
    QCOMPARE(window.areaWindow(expected), areaWindow);
    QCOMPARE(window.activeCodeView(), areaWindow->codeView());
}

void tst_StudioWindow::areaWindowHoldsAnInitializedEditor()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    BlockInstanceArea* area = window.project()->areas().at(2);
    AreaSubWindow* areaWindow = window.openArea(area);
    QVERIFY(areaWindow);
    HierarchyNodeEditor* editor = areaWindow->editor();
    QVERIFY(editor);
    QCOMPARE(editor->property("HelpId").toString(), QStringLiteral("HierarchyNodeEditor"));
    auto* pane = editor->findChild<BlockEditorView*>();
    QVERIFY(pane);
    // The editor found its sub-window and put the title label into its status bar.
    QCOMPARE(pane->statusLabel()->parentWidget(), areaWindow->statusBar());
    auto* scene = qobject_cast<BlockCodeScene*>(areaWindow->codeView()->scene());
    QVERIFY(scene);
    QCOMPARE(scene->hierarchyNode(), area->hierarchy()->rootNode());
    QCOMPARE(editor->currentPath(), area->hierarchy()->rootNode()->locationPath());
    // The zoom is shown beside it.
    bool zoomShown = false;
    for (QLabel* label : areaWindow->statusBar()->findChildren<QLabel*>())
        zoomShown = zoomShown || label->text() == QStringLiteral("Zoom 100 %");
    QVERIFY(zoomShown);
    areaWindow->codeView()->setZoomFactor(1.5);
    zoomShown = false;
    for (QLabel* label : areaWindow->statusBar()->findChildren<QLabel*>())
        zoomShown = zoomShown || label->text() == QStringLiteral("Zoom 150 %");
    QVERIFY(zoomShown);
}

void tst_StudioWindow::areaMenuOpensOrRaises()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    const QList<BlockInstanceArea*> areas = window.project()->areas();
    auto* open = window.findChild<QAction*>(QStringLiteral("openArea%1").arg(2));
    QVERIFY(open);
    open->trigger();
    QCOMPARE(window.mdiArea()->subWindowList().size(), 2);
    AreaSubWindow* second = window.areaWindow(areas.at(2));
    QVERIFY(second);
    QCOMPARE(window.activeCodeView(), second->codeView());

    // Asking again for an open area brings its window back instead of making another.
    AreaSubWindow* first = window.areaWindow(areas.at(1));
    QVERIFY(first);
    window.findChild<QAction*>(QStringLiteral("openArea1"))->trigger();
    QCOMPARE(window.mdiArea()->subWindowList().size(), 2);
    QCOMPARE(window.openArea(areas.at(1)), first);
    QCOMPARE(window.mdiArea()->subWindowList().size(), 2);
    QVERIFY(!window.openArea(nullptr));

    // The online entry is still the first of each area's menu.
    auto* menu = window.findChild<QMenu*>(QStringLiteral("areaMenu"));
    QCOMPARE(menu->actions().at(2)->menu()->actions().first()->text(), QStringLiteral("Online"));
}

void tst_StudioWindow::anotherProjectTakesTheEditorsAlong()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    window.openArea(window.project()->areas().at(2));
    QList<QPointer<QMdiSubWindow>> before;
    for (QMdiSubWindow* subWindow : window.mdiArea()->subWindowList())
        before.append(subWindow);
    QCOMPARE(before.size(), 2);
    QVERIFY(window.openSample());
    // Gone at once, not later: the model they showed is gone too.
    for (const QPointer<QMdiSubWindow>& old : before)
        QVERIFY(!old);
    QCOMPARE(window.mdiArea()->subWindowList().size(), 1);
}

void tst_StudioWindow::zoomToFitShowsTheWholeLevel()
{
    StudioWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(window.openSample());
    BlockCodeView* view = window.activeCodeView();
    QVERIFY(view);
    QVERIFY(window.zoomToFit());
    QVERIFY(view->zoomFactor() >= BlockCodeView::MinimumZoomFactor);
    QVERIFY(view->zoomFactor() <= BlockCodeView::MaximumZoomFactor);
    QVERIFY(view->zoomFactor() < 1.0);
    const QRectF visible = view->mapToScene(view->viewport()->rect()).boundingRect();
    auto* scene = qobject_cast<BlockCodeScene*>(view->scene());
    for (BlockItem* item : scene->blockItemMap())
        QVERIFY(visible.contains(item->sceneBoundingRect()));
}

void tst_StudioWindow::zoomToFitStaysWithinTheLimits()
{
    TestModel model;
    StudioWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    // Two blocks nearly a scene apart: fitting them would need less than the smallest zoom.
    BlockDefinition* gate = ModelBuilder::newest(model.block(QStringLiteral("StandardBlock_1")));
    ModelBuilder::place(model.rootCode(), gate, {0, 0});
    ModelBuilder::place(model.rootCode(), gate, {900, 600});
    AreaSubWindow* areaWindow = window.openArea(model.area());
    QVERIFY(areaWindow);
    QVERIFY(window.zoomToFit());
    QCOMPARE(areaWindow->codeView()->zoomFactor(), BlockCodeView::MinimumZoomFactor);

    // An empty level has nothing to fit and keeps its zoom.
    AreaSubWindow* empty = window.openArea(model.globalArea());
    QVERIFY(empty);
    QCOMPARE(window.activeCodeView(), empty->codeView());
    empty->codeView()->setZoomFactor(1.3);
    QVERIFY(!window.zoomToFit());
    QCOMPARE(empty->codeView()->zoomFactor(), 1.3);
}

void tst_StudioWindow::exportWritesPictures_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QByteArray>("start");
    QTest::newRow("png") << QStringLiteral("png") << QByteArray("\x89PNG");
    QTest::newRow("svg") << QStringLiteral("svg") << QByteArray("<?xml");
    QTest::newRow("pdf") << QStringLiteral("pdf") << QByteArray("%PDF");
}

void tst_StudioWindow::exportWritesPictures()
{
    QFETCH(QString, suffix);
    QFETCH(QByteArray, start);
    StudioWindow window;
    QVERIFY(window.openSample());
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("code.") + suffix);
    QString error;
    QVERIFY2(window.exportCode(path, &error), qPrintable(error));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray data = file.readAll();
    QVERIFY(data.startsWith(start));
    if (suffix == QLatin1String("png")) {
        QImage image(path);
        QVERIFY(!image.isNull());
        // Something was drawn: the picture is not white throughout.
        int dark = 0;
        for (int y = 0; y < image.height(); y += 4) {
            for (int x = 0; x < image.width(); x += 4)
                dark += qGray(image.pixel(x, y)) < 128 ? 1 : 0;
        }
        QVERIFY(dark > 0);
    }
    if (suffix == QLatin1String("svg"))
        QVERIFY(data.contains("<svg"));
}

void tst_StudioWindow::exportNeedsCodeAndAKnownFormat()
{
    StudioWindow window;
    QTemporaryDir dir;
    QString error;
    QVERIFY(!window.exportCode(dir.filePath(QStringLiteral("code.png")), &error));
    QVERIFY(!error.isEmpty());
    QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("code.png"))));
    QVERIFY(window.openSample());
    error.clear();
    QVERIFY(!window.exportCode(dir.filePath(QStringLiteral("code.bmpx")), &error));
    QVERIFY(error.contains(QStringLiteral("code.bmpx")));
    QVERIFY(!window.exportCode(QStringLiteral("/nonexistent-folder/code.png"), &error));
    QVERIFY(error.contains(QStringLiteral("/nonexistent-folder/code.png")));
}

void tst_StudioWindow::printingUsesSeveralSheetsForAWideLevel()
{
    TestModel model;
    StudioWindow window;
    BlockDefinition* gate = ModelBuilder::newest(model.block(QStringLiteral("StandardBlock_1")));
    ModelBuilder::place(model.rootCode(), gate, {0, 0});
    ModelBuilder::place(model.rootCode(), gate, {300, 0});
    QVERIFY(window.openArea(model.area()));
    QTemporaryDir dir;
    const auto sheets = [&dir, &window](const QString& name) {
        QPrinter printer;
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(dir.filePath(name));
        if (!window.printCode(&printer))
            return -1;
        QFile file(dir.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            return -1;
        return pdfPageCount(file.readAll());
    };
    const int wide = sheets(QStringLiteral("wide.pdf"));
    QVERIFY2(wide > 1, qPrintable(QString::number(wide)));
    QVERIFY(!window.printCode(nullptr));
}

void tst_StudioWindow::pinValuesOnlyWhileOnline()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    auto* menu = window.findChild<QMenu*>(QStringLiteral("pinMenu"));
    QVERIFY(menu);
    const auto entry = [menu](const QString& text) -> QAction* {
        QMetaObject::invokeMethod(menu, "aboutToShow");
        return actionNamed(menu, text);
    };
    QVERIFY(entry(QStringLiteral("Name"))->isChecked());
    QVERIFY(!entry(QStringLiteral("Wert"))->isEnabled());
    auto* areaWindow = qobject_cast<AreaSubWindow*>(window.mdiArea()->subWindowList().first());
    QVERIFY(areaWindow->area()->setOnline(true));
    QAction* values = entry(QStringLiteral("Wert"));
    QVERIFY(values->isEnabled());
    values->trigger();
    auto* scene = qobject_cast<BlockHierarchyNodeScene*>(window.activeCodeView()->scene());
    QCOMPARE(scene->pinDisplayMode(), 3);
    QVERIFY(entry(QStringLiteral("Wert"))->isChecked());
    entry(QStringLiteral("Name"))->trigger();
    QCOMPARE(scene->pinDisplayMode(), 0);
    areaWindow->area()->setOnline(false);
}

void tst_StudioWindow::libraryDefinitionOpensOnce()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    BlockDefinition* definition = nullptr;
    for (BlockLibraryContainer* container : BlockRepository::instance().containers()) {
        if (container->containerKind() == BlockLibraryContainer::UserLibraryKind && container->library()
            && !container->library()->blocks().isEmpty()) {
            definition = container->library()->blocks().first()->definitions().last();
            break;
        }
    }
    QVERIFY(definition);
    QMdiSubWindow* first = window.openLibraryDefinition(definition);
    QVERIFY(qobject_cast<LibraryBlockDefinitionSubWindow*>(first));
    QCOMPARE(first->mdiArea(), window.mdiArea());
    QCOMPARE(window.openLibraryDefinition(definition), first);
    int count = 0;
    for (QMdiSubWindow* subWindow : window.mdiArea()->subWindowList())
        count += subWindow == first ? 1 : 0;
    QCOMPARE(count, 1);
    QVERIFY(!window.openLibraryDefinition(nullptr));
    QCOMPARE(window.activeCodeView(), first->widget()->findChild<BlockCodeView*>());
}

void tst_StudioWindow::viewActionsFollowTheActiveWindow()
{
    StudioWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto* exportPng = window.findChild<QAction*>(QStringLiteral("exportPng"));
    auto* fit = window.findChild<QAction*>(QStringLiteral("zoomToFit"));
    QVERIFY(exportPng && fit);
    QVERIFY(!exportPng->isEnabled());
    QVERIFY(!fit->isEnabled());
    QVERIFY(window.openSample());
    QVERIFY(exportPng->isEnabled());
    QVERIFY(fit->isEnabled());
    window.mdiArea()->closeAllSubWindows();
    QTRY_VERIFY(!exportPng->isEnabled());
    QVERIFY(!window.activeCodeView());
}

ZK_TEST_REGISTER(tst_StudioWindow)
#include "tst_StudioWindow.moc"
