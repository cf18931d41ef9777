#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockLibraryFile.h"
#include "LanguageManager.h"
#include "LibraryBlockDefinitionSubWindow.h"
#include "LibraryBlockEditor.h"
#include "ModelBuilder.h"
#include "System.h"

#include <QLabel>
#include <QMainWindow>
#include <QMdiArea>
#include <QPointer>
#include <QSettings>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

class tst_LibraryBlockDefinitionSubWindow : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void nullDefinitionGivesNoWindow();
    void windowIsMadeIntoTheMdiArea();
    void secondRequestReturnsTheSameWindow();
    void titleOfALibraryFile();
    void titleOfALibraryThatIsNoFile();
    void definitionChangeUpdatesTheTitle();
    void titleLabelFollowsTheMaximizedState();
    void closingSavesTheGeometry();
    void savedWhileMaximizedKeepsTheLastNormalGeometry();
    void storedGeometryIsLoaded();
    void originCountsAsNothingStored();
    void originKeepsTheMdiPlacement();
    void destroyingTheDefinitionClosesTheWindow();
    void withoutMdiAreaTheWindowStaysUnshown();
    void oneHiddenStatusBarServesAll();

private:
    QSettings* newSettings() const;
    void store(QPoint position, QSize size, int state);

    QTemporaryDir m_settingsDir;
    std::unique_ptr<TestModel> m_model;
    std::unique_ptr<QMainWindow> m_mainWindow;
    QMdiArea* m_mdiArea = nullptr;
    Block* m_kunde = nullptr;
    Block* m_regler = nullptr;
};

void tst_LibraryBlockDefinitionSubWindow::initTestCase()
{
    QVERIFY(m_settingsDir.isValid());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_settingsDir.path());
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_settingsDir.path());
}

void tst_LibraryBlockDefinitionSubWindow::init()
{
    std::unique_ptr<QSettings> settings(newSettings());
    settings->remove(QStringLiteral("libraryBlockDefinition"));
    settings->sync();

    m_model = std::make_unique<TestModel>();
    m_kunde = ModelBuilder::composite(m_model->user()->library(), QStringLiteral("UserBlock_1"), QStringLiteral("Kunde"),
                                      {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    m_regler = m_model->block(QStringLiteral("StandardBlock_20"));
    m_mainWindow = std::make_unique<QMainWindow>();
    m_mdiArea = new QMdiArea;
    m_mdiArea->setObjectName(QStringLiteral("mdiArea"));
    m_mainWindow->setCentralWidget(m_mdiArea);
    m_mainWindow->resize(1200, 900);
    m_mainWindow->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_mainWindow.get()));
    System::instance().setMainWindow(m_mainWindow.get());
}

void tst_LibraryBlockDefinitionSubWindow::cleanup()
{
    System::instance().setMainWindow(nullptr);
    m_mainWindow.reset();
    m_model.reset();
}

QSettings* tst_LibraryBlockDefinitionSubWindow::newSettings() const
{
    return new QSettings(QStringLiteral("Marlenbach Motion"), QStringLiteral("Zerkanta"));
}

void tst_LibraryBlockDefinitionSubWindow::store(QPoint position, QSize size, int state)
{
    std::unique_ptr<QSettings> settings(newSettings());
    settings->beginGroup(QStringLiteral("libraryBlockDefinition"));
    settings->setValue(QStringLiteral("position"), position);
    settings->setValue(QStringLiteral("size"), size);
    settings->setValue(QStringLiteral("state"), state);
    settings->endGroup();
    settings->sync();
}

void tst_LibraryBlockDefinitionSubWindow::nullDefinitionGivesNoWindow()
{
    QVERIFY(!LibraryBlockDefinitionSubWindow::forDefinition(nullptr));
    QVERIFY(m_mdiArea->subWindowList().isEmpty());
}

void tst_LibraryBlockDefinitionSubWindow::windowIsMadeIntoTheMdiArea()
{
    BlockDefinition* definition = ModelBuilder::newest(m_kunde);
    LibraryBlockDefinitionSubWindow* window = LibraryBlockDefinitionSubWindow::forDefinition(definition);
    QVERIFY(window);
    QCOMPARE(definition->editSubWindow(), window);
    QCOMPARE(window->definition(), definition);
    QCOMPARE(window->mdiArea(), m_mdiArea);
    QCOMPARE(m_mdiArea->subWindowList(), QList<QMdiSubWindow*>{window});
    QVERIFY(window->testAttribute(Qt::WA_DeleteOnClose));
    QVERIFY(!window->windowIcon().isNull());
    QVERIFY(window->widget());
    auto* editor = window->widget()->findChild<LibraryBlockEditor*>();
    QVERIFY(editor);
    auto* label = window->widget()->findChild<QLabel*>(QStringLiteral("titleLabel"));
    QVERIFY(label);
    QCOMPARE(label->text(), window->windowTitle());
    QCOMPARE(window->title(), QStringLiteral("Benutzer"));
}

void tst_LibraryBlockDefinitionSubWindow::secondRequestReturnsTheSameWindow()
{
    BlockDefinition* definition = ModelBuilder::newest(m_kunde);
    LibraryBlockDefinitionSubWindow* first = LibraryBlockDefinitionSubWindow::forDefinition(definition);
    LibraryBlockDefinitionSubWindow* second = LibraryBlockDefinitionSubWindow::forDefinition(definition);
    QCOMPARE(second, first);
    QCOMPARE(m_mdiArea->subWindowList().size(), 1);
    // Another definition has a window of its own.
    BlockDefinition* other = m_kunde->createDefinition();
    LibraryBlockDefinitionSubWindow* third = LibraryBlockDefinitionSubWindow::forDefinition(other);
    QVERIFY(third != first);
    QCOMPARE(m_mdiArea->subWindowList().size(), 2);
}

void tst_LibraryBlockDefinitionSubWindow::titleOfALibraryFile()
{
    auto* file = qobject_cast<BlockLibraryFile*>(m_model->user());
    QVERIFY(file);
    LibraryBlockDefinitionSubWindow* window = LibraryBlockDefinitionSubWindow::forDefinition(ModelBuilder::newest(m_kunde));
    QCOMPARE(window->windowTitle(),
             QStringLiteral("Bibliotheksbaustein - Kunde (Version 0) - %1").arg(file->filePath()));
}

void tst_LibraryBlockDefinitionSubWindow::titleOfALibraryThatIsNoFile()
{
    LibraryBlockDefinitionSubWindow* window = LibraryBlockDefinitionSubWindow::forDefinition(ModelBuilder::newest(m_regler));
    QCOMPARE(window->windowTitle(), QStringLiteral("Bibliotheksbaustein - Regler (Version 0) - ???"));
    QCOMPARE(window->title(), QStringLiteral("Standard"));
}

void tst_LibraryBlockDefinitionSubWindow::definitionChangeUpdatesTheTitle()
{
    BlockDefinition* definition = ModelBuilder::newest(m_kunde);
    LibraryBlockDefinitionSubWindow* window = LibraryBlockDefinitionSubWindow::forDefinition(definition);
    auto* file = qobject_cast<BlockLibraryFile*>(m_model->user());
    m_kunde->setName(Text(LanguageManager::German, QStringLiteral("Kundenbaustein")));
    file->setFilePath(QStringLiteral("/tmp/anders.zklib"));
    QVERIFY(!window->windowTitle().contains(QStringLiteral("Kundenbaustein")));
    definition->notifyChanged();
    QCOMPARE(window->windowTitle(), QStringLiteral("Bibliotheksbaustein - Kundenbaustein (Version 0) - /tmp/anders.zklib"));
    auto* label = window->widget()->findChild<QLabel*>(QStringLiteral("titleLabel"));
    QCOMPARE(label->text(), window->windowTitle());
}

void tst_LibraryBlockDefinitionSubWindow::titleLabelFollowsTheMaximizedState()
{
    LibraryBlockDefinitionSubWindow* window = LibraryBlockDefinitionSubWindow::forDefinition(ModelBuilder::newest(m_kunde));
    auto* label = window->widget()->findChild<QLabel*>(QStringLiteral("titleLabel"));
    window->showNormal();
    QVERIFY(!label->isVisible());
    window->showMaximized();
    QTRY_VERIFY(label->isVisible());
    QCOMPARE(label->text(), window->windowTitle());
    window->showNormal();
    QTRY_VERIFY(!label->isVisible());
    window->showMinimized();
    QVERIFY(label->isHidden());
}

void tst_LibraryBlockDefinitionSubWindow::closingSavesTheGeometry()
{
    BlockDefinition* definition = ModelBuilder::newest(m_kunde);
    QPointer<LibraryBlockDefinitionSubWindow> window = LibraryBlockDefinitionSubWindow::forDefinition(definition);
    window->showNormal();
    window->move(30, 40);
    window->resize(500, 300);
    QVERIFY(window->close());
    QTRY_VERIFY(!window);
    QVERIFY(!definition->editSubWindow());
    std::unique_ptr<QSettings> settings(newSettings());
    settings->beginGroup(QStringLiteral("libraryBlockDefinition"));
    QCOMPARE(settings->value(QStringLiteral("position")).toPoint(), QPoint(30, 40));
    QCOMPARE(settings->value(QStringLiteral("size")).toSize(), QSize(500, 300));
    QCOMPARE(settings->value(QStringLiteral("state")).toInt(), 0);

    // The definition gets a new window on the next request.
    LibraryBlockDefinitionSubWindow* again = LibraryBlockDefinitionSubWindow::forDefinition(definition);
    QVERIFY(again);
    QCOMPARE(definition->editSubWindow(), again);
}

void tst_LibraryBlockDefinitionSubWindow::savedWhileMaximizedKeepsTheLastNormalGeometry()
{
    store(QPoint(30, 40), QSize(500, 300), 0);
    QPointer<LibraryBlockDefinitionSubWindow> window =
        LibraryBlockDefinitionSubWindow::forDefinition(ModelBuilder::newest(m_kunde));
    window->showMaximized();
    QVERIFY(window->isMaximized());
    QVERIFY(window->size() != QSize(500, 300));
    window->close();
    QTRY_VERIFY(!window);
    std::unique_ptr<QSettings> settings(newSettings());
    settings->beginGroup(QStringLiteral("libraryBlockDefinition"));
    QCOMPARE(settings->value(QStringLiteral("position")).toPoint(), QPoint(30, 40));
    QCOMPARE(settings->value(QStringLiteral("size")).toSize(), QSize(500, 300));
    QCOMPARE(settings->value(QStringLiteral("state")).toInt(), int(Qt::WindowMaximized));
}

void tst_LibraryBlockDefinitionSubWindow::storedGeometryIsLoaded()
{
    store(QPoint(50, 60), QSize(410, 320), 0);
    LibraryBlockDefinitionSubWindow* window = LibraryBlockDefinitionSubWindow::forDefinition(ModelBuilder::newest(m_kunde));
    QCOMPARE(window->pos(), QPoint(50, 60));
    QCOMPARE(window->size(), QSize(410, 320));
    QVERIFY(!window->isMaximized());

    store(QPoint(50, 60), QSize(410, 320), int(Qt::WindowMaximized));
    LibraryBlockDefinitionSubWindow* maximized = LibraryBlockDefinitionSubWindow::forDefinition(ModelBuilder::newest(m_regler));
    QVERIFY(maximized->windowState().testFlag(Qt::WindowMaximized));
}

void tst_LibraryBlockDefinitionSubWindow::originCountsAsNothingStored()
{
    LibraryBlockDefinitionSubWindow* reference = LibraryBlockDefinitionSubWindow::forDefinition(ModelBuilder::newest(m_regler));
    const QSize given = reference->size();
    store(QPoint(0, 0), QSize(123, 77), int(Qt::WindowMaximized));
    LibraryBlockDefinitionSubWindow* window = LibraryBlockDefinitionSubWindow::forDefinition(ModelBuilder::newest(m_kunde));
    QVERIFY(window->size() != QSize(123, 77));
    QCOMPARE(window->size(), given);
    QVERIFY(!window->windowState().testFlag(Qt::WindowMaximized));
}

void tst_LibraryBlockDefinitionSubWindow::originKeepsTheMdiPlacement()
{
    // A window beside which the area must place the next one away from its corner.
    LibraryBlockDefinitionSubWindow* reference = LibraryBlockDefinitionSubWindow::forDefinition(ModelBuilder::newest(m_regler));
    reference->show();
    QPointer<LibraryBlockDefinitionSubWindow> probe =
        LibraryBlockDefinitionSubWindow::forDefinition(ModelBuilder::newest(m_kunde));
    probe->show();
    const QPoint placed = probe->pos();
    QVERIFY(placed != QPoint(0, 0));
    QVERIFY(probe->close());
    QTRY_VERIFY(!probe);

    // The same window again, with the origin stored: the area places it where it placed the probe,
    // not at the origin.
    store(QPoint(0, 0), QSize(123, 77), 0);
    LibraryBlockDefinitionSubWindow* window = LibraryBlockDefinitionSubWindow::forDefinition(ModelBuilder::newest(m_kunde));
    window->show();
    QCOMPARE(window->pos(), placed);
}

void tst_LibraryBlockDefinitionSubWindow::destroyingTheDefinitionClosesTheWindow()
{
    QPointer<LibraryBlockDefinitionSubWindow> window =
        LibraryBlockDefinitionSubWindow::forDefinition(ModelBuilder::newest(m_kunde));
    window->showNormal();
    window->move(70, 80);
    delete m_model->user()->library()->removeBlock(m_kunde->identifier());
    m_kunde = nullptr;
    QTRY_VERIFY(!window);
    QVERIFY(m_mdiArea->subWindowList().isEmpty());
    // The window was closed like any other: its place is kept.
    std::unique_ptr<QSettings> settings(newSettings());
    QCOMPARE(settings->value(QStringLiteral("libraryBlockDefinition/position")).toPoint(), QPoint(70, 80));
}

void tst_LibraryBlockDefinitionSubWindow::withoutMdiAreaTheWindowStaysUnshown()
{
    store(QPoint(50, 60), QSize(410, 320), 0);
    QMainWindow bare;
    System::instance().setMainWindow(&bare);
    BlockDefinition* definition = ModelBuilder::newest(m_kunde);
    std::unique_ptr<LibraryBlockDefinitionSubWindow> window(LibraryBlockDefinitionSubWindow::forDefinition(definition));
    QVERIFY(window);
    QCOMPARE(definition->editSubWindow(), window.get());
    QVERIFY(!window->isVisible());
    QVERIFY(!window->mdiArea());
    QVERIFY(window->windowTitle().isEmpty());
    QVERIFY(window->pos() != QPoint(50, 60));
    QVERIFY(window->testAttribute(Qt::WA_DeleteOnClose));
    window.reset();
    QVERIFY(!definition->editSubWindow());

    System::instance().setMainWindow(nullptr);
    window.reset(LibraryBlockDefinitionSubWindow::forDefinition(definition));
    QVERIFY(window);
    QVERIFY(!window->isVisible());
    window.reset();
    QVERIFY(!definition->editSubWindow());
}

void tst_LibraryBlockDefinitionSubWindow::oneHiddenStatusBarServesAll()
{
    LibraryBlockDefinitionSubWindow* first = LibraryBlockDefinitionSubWindow::forDefinition(ModelBuilder::newest(m_kunde));
    LibraryBlockDefinitionSubWindow* second = LibraryBlockDefinitionSubWindow::forDefinition(ModelBuilder::newest(m_regler));
    QStatusBar* bar = first->statusBar();
    QVERIFY(bar);
    QCOMPARE(second->statusBar(), bar);
    QVERIFY(!bar->parent());
    QVERIFY(!bar->isVisible());
    first->showNormal();
    QVERIFY(!bar->isVisible());
}

ZK_TEST_REGISTER(tst_LibraryBlockDefinitionSubWindow)
#include "tst_LibraryBlockDefinitionSubWindow.moc"
