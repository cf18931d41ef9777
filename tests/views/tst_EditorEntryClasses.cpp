#include "ScratchSettings.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "BlockCodeScene.h"
#include "BlockCodeView.h"
#include "BlockEditorView.h"
#include "BlockItem.h"
#include "HierarchyNodeEditor.h"
#include "LibraryBlockDefinitionView.h"
#include "LibraryBlockEditor.h"
#include "MdiSubWindow.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibraryContainer.h"
#include "ModelBuilder.h"
#include "System.h"

#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QVBoxLayout>

#include <memory>

namespace {

// The smallest sub-window an application could make: its content and a status bar below.
class TestSubWindow : public MdiSubWindow
{
public:
    TestSubWindow()
        : m_bar(new QStatusBar)
    {
        auto* content = new QWidget;
        auto* layout = new QVBoxLayout(content);
        holder = new QWidget;
        layout->addWidget(holder, 1);
        layout->addWidget(m_bar);
        setWidget(content);
    }

    QString title() override { return QStringLiteral("Test"); }
    QStatusBar* statusBar() override
    {
        ++statusBarCalls;
        return m_bar;
    }

    QWidget* holder;
    int statusBarCalls = 0;

private:
    QStatusBar* m_bar;
};

QString sourceFile(const QString& relative)
{
    QString root = QString::fromLocal8Bit(qgetenv("ZK_SOURCE_DIR"));
    if (root.isEmpty())
        root = QStringLiteral(ZK_TEST_DATA_DIR "/../..");
    return root + QLatin1Char('/') + relative;
}

} // namespace

class tst_EditorEntryClasses : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void hierarchyNodeEditorBuildsNothingBeforeInitialize();
    void initializeBuildsTheEditorPane();
    void statusLabelGoesToTheSubWindowsStatusBar();
    void withoutSubWindowTheLabelHasNoPlace();
    void navigateToAndCurrentPathGoThroughThePane();
    void secondSetRootIsAFatalMessage();
    void libraryBlockEditorBuildsInItsConstructor();
    void libraryBlockEditorShowsTheDefinition();
    void installedHeadersIncludeNothingPrivate_data();
    void installedHeadersIncludeNothingPrivate();

private:
    QTemporaryDir m_settingsDir;
    std::unique_ptr<TestModel> m_model;
};

void tst_EditorEntryClasses::initTestCase()
{
    QVERIFY(m_settingsDir.isValid());
    redirectSettings(m_settingsDir.path());
}

void tst_EditorEntryClasses::init()
{
    QSettings(QStringLiteral("Marlenbach Motion"), QStringLiteral("Zerkanta")).clear();
    m_model = std::make_unique<TestModel>();
}

void tst_EditorEntryClasses::cleanup()
{
    m_model.reset();
    System::instance().setUserAccessLevelCode(3);
}

void tst_EditorEntryClasses::hierarchyNodeEditorBuildsNothingBeforeInitialize()
{
    HierarchyNodeEditor editor;
    QVERIFY(editor.findChildren<QWidget*>().isEmpty());
    QVERIFY(!editor.layout());
    QVERIFY(!editor.property("HelpId").isValid());
}

void tst_EditorEntryClasses::initializeBuildsTheEditorPane()
{
    HierarchyNodeEditor editor;
    editor.initialize();
    QCOMPARE(editor.property("HelpId").toString(), QStringLiteral("HierarchyNodeEditor"));
    auto* layout = qobject_cast<QVBoxLayout*>(editor.layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(layout->count(), 1);
    auto* pane = qobject_cast<BlockEditorView*>(layout->itemAt(0)->widget());
    QVERIFY(pane);
    QCOMPARE(pane->parentWidget(), &editor);
    // The environment selector stays hidden in an area editor.
    auto* environment = pane->findChild<QWidget*>(QStringLiteral("environmentFrame"));
    QVERIFY(environment);
    QVERIFY(environment->isHidden());
}

void tst_EditorEntryClasses::statusLabelGoesToTheSubWindowsStatusBar()
{
    BlockInstance* regler = ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))), {0, 0});
    TestSubWindow window;
    // Two levels down from the sub-window: the editor looks past its direct parent.
    auto* editor = new HierarchyNodeEditor(window.holder);
    editor->initialize();
    QCOMPARE(window.statusBarCalls, 1);
    auto* pane = editor->findChild<BlockEditorView*>();
    QLabel* label = pane->statusLabel();
    QCOMPARE(label->parentWidget(), window.statusBar());

    // The label fills the status bar: it was added with a stretch.
    window.resize(800, 600);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(label->width() > window.statusBar()->width() / 2);

    // It carries the title of the block shown.
    editor->setRoot(m_model->area());
    auto* scene = qobject_cast<BlockCodeScene*>(pane->findChild<BlockCodeView*>()->scene());
    scene->blockItem(regler->identifier())->setSelected(true);
    pane->findChild<QPushButton*>(QStringLiteral("stepInButton"))->click();
    QVERIFY(label->text().contains(regler->block()->name().text()));
}

void tst_EditorEntryClasses::withoutSubWindowTheLabelHasNoPlace()
{
    BlockInstance* regler = ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))), {0, 0});
    QWidget top;
    auto* middle = new QWidget(&top);
    auto* editor = new HierarchyNodeEditor(middle);
    editor->initialize();
    editor->setRoot(m_model->area());
    auto* pane = editor->findChild<BlockEditorView*>();
    QVERIFY(!pane->statusLabel()->parent());
    QVERIFY(top.findChildren<QLabel*>().indexOf(pane->statusLabel()) < 0);

    // The editor works all the same.
    const QString path = QStringLiteral("A%1:0.%2").arg(m_model->area()->firstNumber()).arg(regler->identifier());
    editor->navigateTo(path);
    auto* scene = qobject_cast<BlockCodeScene*>(pane->findChild<BlockCodeView*>()->scene());
    QVERIFY(scene->selectedBlockItem());
    QCOMPARE(scene->selectedBlockItem()->identifier(), regler->identifier());
    QCOMPARE(editor->currentPath(), m_model->area()->hierarchy()->rootNode()->locationPath());
}

void tst_EditorEntryClasses::navigateToAndCurrentPathGoThroughThePane()
{
    BlockInstance* regler = ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))), {0, 0});
    BlockInstanceHierarchyNode* reglerNode = m_model->area()->hierarchy()->rootNode()->instanceNode(regler->identifier());
    QVERIFY(reglerNode);
    const uint inner = uint(reglerNode->instanceNodes().first());

    TestSubWindow window;
    auto* editor = new HierarchyNodeEditor(window.holder);
    editor->initialize();
    editor->setRoot(m_model->area());
    auto* pane = editor->findChild<BlockEditorView*>();
    QCOMPARE(editor->currentPath(), pane->currentPath());
    QCOMPARE(editor->currentPath(), m_model->area()->hierarchy()->rootNode()->locationPath());

    // Without the living space the area's own is taken.
    editor->navigateTo(QStringLiteral("0.%1.%2").arg(regler->identifier()).arg(inner));
    QCOMPARE(editor->currentPath(), reglerNode->locationPath());
    QCOMPARE(pane->currentPath(), reglerNode->locationPath());
}

void tst_EditorEntryClasses::secondSetRootIsAFatalMessage()
{
    HierarchyNodeEditor editor;
    editor.initialize();
    editor.setRoot(m_model->area());
    const int messages = System::instance().messageCount();
    editor.setRoot(m_model->area());
    QCOMPARE(System::instance().messageCount(), messages + 1);
    QCOMPARE(System::instance().messages().last().severity, SystemMessage::Fatal);
    QCOMPARE(System::instance().messages().last().text, QStringLiteral("invalid use of CodeView"));
    QCOMPARE(editor.findChildren<BlockCodeView*>().size(), 1);

    LibraryBlockEditor library;
    library.setRoot(ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))));
    library.setRoot(ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))));
    QCOMPARE(System::instance().messageCount(), messages + 2);
    QCOMPARE(library.findChildren<BlockCodeView*>().size(), 1);
}

void tst_EditorEntryClasses::libraryBlockEditorBuildsInItsConstructor()
{
    LibraryBlockEditor editor;
    QCOMPARE(editor.property("HelpId").toString(), QStringLiteral("LibraryBlockEditor"));
    auto* layout = qobject_cast<QVBoxLayout*>(editor.layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins(0, 0, 0, 0));
    auto* pane = qobject_cast<BlockEditorView*>(layout->itemAt(0)->widget());
    QVERIFY(pane);
    QVERIFY(!pane->findChild<QWidget*>(QStringLiteral("environmentFrame"))->isHidden());
    // The library sub-window has a title of its own; the label stays unplaced.
    QVERIFY(!pane->statusLabel()->parent());
    QVERIFY(editor.currentPath().isEmpty());
}

void tst_EditorEntryClasses::libraryBlockEditorShowsTheDefinition()
{
    Block* user = ModelBuilder::composite(m_model->user()->library(), QStringLiteral("UserBlock_1"), QStringLiteral("Aussen"),
                                          {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    BlockDefinition* definition = ModelBuilder::newest(user);
    BlockInstance* inside = ModelBuilder::place(definition->code(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {0, 0});

    LibraryBlockEditor editor;
    editor.setRoot(definition);
    auto* view = editor.findChild<LibraryBlockDefinitionView*>();
    QVERIFY(view);
    auto* scene = qobject_cast<BlockCodeScene*>(view->scene());
    QVERIFY(scene);
    QCOMPARE(scene->blockCode(), definition->code());
    QVERIFY(scene->blockItem(inside->identifier()));
    QVERIFY(editor.findChild<QPushButton*>(QStringLiteral("editButton"))->isChecked());
    // A definition has no location.
    editor.navigateTo(QStringLiteral("A1:0.1"));
    QVERIFY(editor.currentPath().isEmpty());
}

void tst_EditorEntryClasses::installedHeadersIncludeNothingPrivate_data()
{
    QTest::addColumn<QString>("header");
    QTest::newRow("HierarchyNodeEditor") << QStringLiteral("src/views/HierarchyNodeEditor.h");
    QTest::newRow("LibraryBlockEditor") << QStringLiteral("src/views/LibraryBlockEditor.h");
}

void tst_EditorEntryClasses::installedHeadersIncludeNothingPrivate()
{
    // An application builds against the installed headers alone: they may name the export header
    // and Qt, nothing of the library's inside.
    QFETCH(QString, header);
    QFile file(sourceFile(header));
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
    const QString text = QString::fromUtf8(file.readAll());
    static const QRegularExpression include(QStringLiteral("^#include\\s*[\"<]([^\">]+)[\">]"), QRegularExpression::MultilineOption);
    int count = 0;
    for (auto it = include.globalMatch(text); it.hasNext();) {
        const QString name = it.next().captured(1);
        ++count;
        QVERIFY2(name == QLatin1String("zkblockview_export.h") || name.startsWith(QLatin1Char('Q')), qPrintable(name));
    }
    QVERIFY(count > 0);
}

ZK_TEST_REGISTER(tst_EditorEntryClasses)
#include "tst_EditorEntryClasses.moc"
