#include "IssueTable.h"
#include "ModalAnswer.h"
#include "ScratchSettings.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "BlockBookmarkView.h"
#include "BlockCheckIssueView.h"
#include "BlockCheckIssueWidgetPrivate.h"
#include "BlockCodeScene.h"
#include "BlockCodeView.h"
#include "BlockEditorView.h"
#include "BlockGroupsWidget.h"
#include "BlockLibraryView.h"
#include "BlocksWidget.h"
#include "BlockHierarchyNodeView.h"
#include "BlockItem.h"
#include "BlockSearchView.h"
#include "HierarchyView.h"
#include "LibraryBlockDefinitionView.h"
#include "OverviewFrame.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibraryContainer.h"
#include "BlockPinInstance.h"
#include "ModelBuilder.h"
#include "SignalLabelView.h"
#include "System.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QImage>
#include <QFrame>
#include <QGridLayout>
#include <QScrollBar>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPalette>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QSplitter>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <QUndoView>
#include <QVBoxLayout>

#include <memory>

namespace {

const QString kOrganisation = QStringLiteral("Marlenbach Motion");
const QString kApplication = QStringLiteral("Zerkanta");
const QString kReadOnlyTip = QStringLiteral("Ebene ist schreibgeschützt");
const QString kOnlineTip = QStringLiteral("Im Online-Zustand nicht möglich");
const QString kBackDocumentationTip = QStringLiteral("Rückdokumentationen sind schreibgeschützt");
const QString kFallbackTip = QStringLiteral("Fallbackbausteine sind enthalten, editieren ist nicht möglich.");

template <typename T>
T* child(QObject* parent, const char* name)
{
    return parent->findChild<T*>(QLatin1String(name));
}

QPushButton* button(QObject* editor, const char* name)
{
    return child<QPushButton>(editor, name);
}

BlockCodeView* codeViewOf(BlockEditorView* editor)
{
    return editor->findChild<BlockCodeView*>();
}

BlockCodeScene* sceneOf(BlockEditorView* editor)
{
    BlockCodeView* view = codeViewOf(editor);
    return view ? qobject_cast<BlockCodeScene*>(view->scene()) : nullptr;
}

} // namespace

class tst_BlockEditorView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void formHasTheWidgetTree();
    void parameterTemplateIsCompiledIn();
    void emptySettingsStartWithBothPanelsHidden();
    void missingSplitterStateKeepsDefaultSizes();
    void layoutIsWrittenOnDestructionAndReadOnConstruction();
    void storedTabIndexCountsThePagesInTheirOrder();
    void panelButtonsShowAndHideThePanels();
    void withoutRootThereIsNoPathAndNothingToNavigate();
    void areaRootMakesAHierarchyNodeView();
    void secondSetRootIsAFatalMessage();
    void nullRootIsAFatalMessage();
    void editButton_data();
    void editButton();
    void accessLevelChangeUpdatesTheEditButton();
    void goingOnlineUnchecksTheEditButtonAndLeavesEditMode();
    void fallbackRequestNeverReachesTheCodeView();
    void convertFallbackAsksFirst_data();
    void convertFallbackAsksFirst();
    void returnInTheSearchBoxSearchesForwardLikeF3();
    void searchShortcuts();
    void zoomButtonsStepAndStopAtTheLimits();
    void doubleClickInTheHierarchyTreeNavigatesAndSelects();
    void needToShowInHierarchyViewShowsTheHierarchyTab();
    void needToShowInLibraryViewSelectsTheGroup();
    void searchTabSearchesTheHierarchyOfTheRoot();
    void searchJumpsReachTheirPanes();
    void stepButtonsFollowTheView();
    void editModeSwapsTheUndoStack();
    void libraryEditorKeepsTheEditButtonChecked();
    void environmentSelectorListsAreasWithPrograms();
    void vanishedEnvironmentSelectsTheFirstEntry();
    void resourcesAreCompiledIn_data();
    void resourcesAreCompiledIn();
    void issueViewFollowsTheShownLevel();
    void issueDoubleClickNavigatesTheCodeView();
    void issueViewFollowsEditsOfTheShownCode();
    void libraryEditorChecksInTheChosenEnvironment();
    void overviewButtonShowsTheMinimapInTheCorner();

private:
    QTemporaryDir m_settingsDir;
    std::unique_ptr<TestModel> m_model;
};

void tst_BlockEditorView::initTestCase()
{
    QVERIFY(m_settingsDir.isValid());
    redirectSettings(m_settingsDir.path());
}

void tst_BlockEditorView::init()
{
    QSettings settings(kOrganisation, kApplication);
    settings.clear();
    settings.sync();
    m_model = std::make_unique<TestModel>();
}

void tst_BlockEditorView::cleanup()
{
    m_model.reset();
    System::instance().setUserAccessLevelCode(3);
}

void tst_BlockEditorView::formHasTheWidgetTree()
{
    BlockEditorView editor;
    QCOMPARE(editor.objectName(), QStringLiteral("BlockEditorViewClass"));
    QCOMPARE(editor.property("HelpId").toString(), QStringLiteral("BlockEditorView"));
    QCOMPARE(editor.size(), QSize(931, 709));
    QVERIFY(editor.windowTitle().isEmpty());

    auto* verticalTab = child<QTabWidget>(&editor, "verticalTab");
    QVERIFY(verticalTab);
    QCOMPARE(verticalTab->tabPosition(), QTabWidget::North);
    QCOMPARE(verticalTab->tabText(verticalTab->indexOf(child<QWidget>(&editor, "hierarchyTab"))), QStringLiteral("Hierarchie"));
    QCOMPARE(verticalTab->tabText(verticalTab->indexOf(child<QWidget>(&editor, "libraryTab"))), QStringLiteral("Bibliothek"));
    QCOMPARE(verticalTab->tabText(verticalTab->indexOf(child<QWidget>(&editor, "searchTab"))), QStringLiteral("Baustein suchen"));
    QCOMPARE(verticalTab->tabText(verticalTab->indexOf(child<QWidget>(&editor, "signalLabelTab"))), QStringLiteral("Signalnamen"));
    QCOMPARE(verticalTab->tabText(verticalTab->indexOf(child<QWidget>(&editor, "blockBookmarkTab"))), QStringLiteral("Baustein Favoriten"));
    // Pages come in the persisted order, also while some of them are still missing.
    QVERIFY(verticalTab->indexOf(child<QWidget>(&editor, "hierarchyTab")) < verticalTab->indexOf(child<QWidget>(&editor, "libraryTab")));
    QVERIFY(verticalTab->indexOf(child<QWidget>(&editor, "libraryTab")) < verticalTab->indexOf(child<QWidget>(&editor, "searchTab")));
    QVERIFY(verticalTab->indexOf(child<QWidget>(&editor, "searchTab")) < verticalTab->indexOf(child<QWidget>(&editor, "signalLabelTab")));
    QVERIFY(verticalTab->indexOf(child<QWidget>(&editor, "signalLabelTab")) < verticalTab->indexOf(child<QWidget>(&editor, "blockBookmarkTab")));
    auto* searchLayout = qobject_cast<QVBoxLayout*>(child<QWidget>(&editor, "searchTab")->layout());
    QVERIFY(searchLayout);
    QCOMPARE(searchLayout->objectName(), QStringLiteral("verticalLayout_7"));
    QCOMPARE(searchLayout->spacing(), 0);
    QCOMPARE(searchLayout->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(searchLayout->indexOf(child<BlockSearchView>(&editor, "blockSearchView")), 0);
    QVERIFY(child<HierarchyView>(&editor, "hierarchyView"));
    QCOMPARE(child<HierarchyView>(&editor, "hierarchyView")->minimumSize(), QSize(50, 0));
    auto* library = child<BlockLibraryView>(&editor, "blockLibraryView");
    QVERIFY(library);
    QCOMPARE(library->parentWidget(), child<QWidget>(&editor, "libraryTab"));
    // Set up by the editor: the groups tree is filled and the list has its columns.
    QVERIFY(library->groupsWidget()->topLevelItemCount() > 0);
    QCOMPARE(library->blocksWidget()->columnCount(), 4);
    QVERIFY(child<SignalLabelView>(&editor, "signalLabelView"));
    QVERIFY(child<BlockBookmarkView>(&editor, "blockBookmarkView"));
    QCOMPARE(child<QVBoxLayout>(&editor, "blockBookmarkVLayout")->spacing(), 6);
    QCOMPARE(child<QVBoxLayout>(&editor, "blockBookmarkTabVerticalLayout")->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(child<QWidget>(&editor, "blockBookmarkView")->parentWidget(), child<QWidget>(&editor, "blockBookmarkTab"));

    auto* horzontalTab = child<QTabWidget>(&editor, "horzontalTab");
    QVERIFY(horzontalTab);
    QCOMPARE(horzontalTab->tabPosition(), QTabWidget::South);
    QCOMPARE(horzontalTab->tabText(horzontalTab->indexOf(child<QWidget>(&editor, "tabUndo"))), QStringLiteral("Undo-Stack"));
    QCOMPARE(horzontalTab->count(), 2);
    QCOMPARE(horzontalTab->widget(0), child<QWidget>(&editor, "blockCheckIssueViewPage"));
    QCOMPARE(horzontalTab->tabText(0), QStringLiteral("Prüfung"));
    QCOMPARE(horzontalTab->widget(1), child<QWidget>(&editor, "tabUndo"));
    QCOMPARE(horzontalTab->currentIndex(), 0);
    auto* issuePageLayout = child<QWidget>(&editor, "blockCheckIssueViewPage")->layout();
    QCOMPARE(issuePageLayout->objectName(), QStringLiteral("horizontalLayout_5"));
    QCOMPARE(issuePageLayout->spacing(), 0);
    QCOMPARE(issuePageLayout->contentsMargins(), QMargins(0, 0, 0, 0));
    auto* issueView = child<BlockCheckIssueView>(&editor, "blockCheckIssueView");
    QVERIFY(issueView);
    QCOMPARE(issuePageLayout->indexOf(issueView), 0);

    auto* verticalSplitter = child<QSplitter>(&editor, "verticalSplitter");
    auto* horizontalSplitter = child<QSplitter>(&editor, "horizontalSplitter");
    QCOMPARE(verticalSplitter->orientation(), Qt::Horizontal);
    QCOMPARE(horizontalSplitter->orientation(), Qt::Vertical);
    QVERIFY(!verticalSplitter->childrenCollapsible());
    QVERIFY(!horizontalSplitter->childrenCollapsible());
    QCOMPARE(verticalSplitter->widget(0), child<QWidget>(&editor, "verticalWidget"));
    QCOMPARE(verticalSplitter->widget(1), horizontalSplitter);
    QCOMPARE(horizontalSplitter->widget(0), child<QWidget>(&editor, "codeWidget"));
    QCOMPARE(horizontalSplitter->widget(1), horzontalTab);

    for (const char* name : {"stepUpButton", "stepInButton", "editButton", "convertFallbackButton", "propertiesButton",
                             "searchPreviousButton", "searchNextButton", "overviewButton", "verticalButton",
                             "horizontalButton", "zoomOutButton", "zoom100Button", "zoomInButton"}) {
        QPushButton* b = button(&editor, name);
        QVERIFY2(b, name);
        QVERIFY2(b->text().isEmpty(), name);
        QCOMPARE(b->iconSize(), QSize(24, 24));
        QVERIFY2(!b->icon().isNull(), name);
        QVERIFY2(!b->icon().pixmap(24, 24).isNull(), name);
    }
    QVERIFY(button(&editor, "editButton")->isCheckable());
    QVERIFY(button(&editor, "overviewButton")->isCheckable());
    QVERIFY(!button(&editor, "overviewButton")->isChecked());
    QVERIFY(button(&editor, "searchPreviousButton")->isFlat());
    QVERIFY(button(&editor, "searchNextButton")->isFlat());
    QVERIFY(!button(&editor, "zoomInButton")->isFlat());
    QCOMPARE(button(&editor, "searchPreviousButton")->shortcut(), QKeySequence(QStringLiteral("Shift+F3")));
    QCOMPARE(button(&editor, "searchNextButton")->shortcut(), QKeySequence(QStringLiteral("F3")));
    QCOMPARE(button(&editor, "searchPreviousButton")->toolTip(), QStringLiteral("Vorheriges Suchen"));
    QCOMPARE(button(&editor, "searchNextButton")->toolTip(), QStringLiteral("Nächstes Suchen"));
    QVERIFY(button(&editor, "propertiesButton")->shortcut().isEmpty());
    QCOMPARE(button(&editor, "editButton")->sizePolicy().horizontalPolicy(), QSizePolicy::Maximum);

    auto* searchCombo = child<QComboBox>(&editor, "searchCombo");
    QVERIFY(searchCombo->isEditable());
    QCOMPARE(searchCombo->insertPolicy(), QComboBox::InsertAtTop);
    QCOMPARE(searchCombo->sizeAdjustPolicy(), QComboBox::AdjustToContents);
    QCOMPARE(searchCombo->minimumWidth(), 100);
    QCOMPARE(searchCombo->toolTip(), QStringLiteral("Suchtext eingeben"));

    auto* environmentFrame = child<QFrame>(&editor, "environmentFrame");
    QCOMPARE(environmentFrame->frameShape(), QFrame::Box);
    QCOMPARE(environmentFrame->frameShadow(), QFrame::Sunken);
    // Hidden at the start; the overview button shows from the start.
    QVERIFY(environmentFrame->isHidden());
    QVERIFY(button(&editor, "convertFallbackButton")->isHidden());
    QVERIFY(!button(&editor, "overviewButton")->isHidden());

    auto* layout = qobject_cast<QVBoxLayout*>(child<QWidget>(&editor, "codeWidget")->layout());
    QVERIFY(layout);
    QCOMPARE(layout->objectName(), QStringLiteral("codeWidgetLayout"));
    QCOMPARE(layout->spacing(), 2);
    QCOMPARE(layout->count(), 2);
    QCOMPARE(layout->stretch(1), 1);

    QVERIFY(editor.statusLabel());
    QVERIFY(!editor.statusLabel()->parent());
}

void tst_BlockEditorView::parameterTemplateIsCompiledIn()
{
    QFile file(QStringLiteral(":/Resources/newParameter.txt"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    QVERIFY(text.contains("[Parameter]"));
    QVERIFY(text.contains("Coordinates=P00"));
}

void tst_BlockEditorView::emptySettingsStartWithBothPanelsHidden()
{
    BlockEditorView editor;
    editor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&editor));
    QVERIFY(!button(&editor, "verticalButton")->isChecked());
    QVERIFY(!button(&editor, "horizontalButton")->isChecked());
    QVERIFY(!child<QWidget>(&editor, "verticalWidget")->isVisible());
    QVERIFY(!child<QWidget>(&editor, "horzontalTab")->isVisible());
    auto* verticalTab = child<QTabWidget>(&editor, "verticalTab");
    QCOMPARE(verticalTab->currentIndex(), 0);
    QCOMPARE(verticalTab->currentWidget(), child<QWidget>(&editor, "hierarchyTab"));
}

void tst_BlockEditorView::missingSplitterStateKeepsDefaultSizes()
{
    QList<int> defaults;
    {
        QSettings settings(kOrganisation, kApplication);
        settings.beginGroup(QStringLiteral("config"));
        settings.setValue(QStringLiteral("verticalSplitterVisible"), true);
        settings.setValue(QStringLiteral("horizontalSplitterVisible"), true);
    }
    {
        BlockEditorView editor;
        editor.show();
        QVERIFY(QTest::qWaitForWindowExposed(&editor));
        defaults = child<QSplitter>(&editor, "verticalSplitter")->sizes();
        QCOMPARE(defaults.size(), 2);
    }
    // A stored state is applied ...
    QSplitter model;
    model.addWidget(new QWidget);
    model.addWidget(new QWidget);
    model.resize(931, 100);
    const int first = defaults.first() > 300 ? 120 : defaults.first() + 200;
    model.setSizes({first, 931 - first});
    {
        QSettings settings(kOrganisation, kApplication);
        settings.beginGroup(QStringLiteral("config"));
        settings.setValue(QStringLiteral("verticalSplitter"), model.saveState());
        settings.remove(QStringLiteral("horizontalSplitter"));
    }
    {
        BlockEditorView editor;
        editor.show();
        QVERIFY(QTest::qWaitForWindowExposed(&editor));
        QVERIFY(child<QSplitter>(&editor, "verticalSplitter")->sizes() != defaults);
    }
    // ... and without one, nothing replaces the splitter's own sizes, not even an empty value.
    {
        QSettings settings(kOrganisation, kApplication);
        settings.beginGroup(QStringLiteral("config"));
        settings.setValue(QStringLiteral("verticalSplitter"), QByteArray());
    }
    BlockEditorView editor;
    editor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&editor));
    QCOMPARE(child<QSplitter>(&editor, "verticalSplitter")->sizes(), defaults);
}

void tst_BlockEditorView::layoutIsWrittenOnDestructionAndReadOnConstruction()
{
    QList<int> verticalSizes;
    QList<int> horizontalSizes;
    {
        BlockEditorView editor;
        editor.show();
        QVERIFY(QTest::qWaitForWindowExposed(&editor));
        button(&editor, "verticalButton")->setChecked(true);
        button(&editor, "horizontalButton")->setChecked(true);
        auto* verticalSplitter = child<QSplitter>(&editor, "verticalSplitter");
        auto* horizontalSplitter = child<QSplitter>(&editor, "horizontalSplitter");
        verticalSplitter->setSizes({200, 731});
        horizontalSplitter->setSizes({500, 209});
        verticalSizes = verticalSplitter->sizes();
        horizontalSizes = horizontalSplitter->sizes();
        child<QTabWidget>(&editor, "verticalTab")->setCurrentWidget(child<QWidget>(&editor, "signalLabelTab"));
        button(&editor, "horizontalButton")->setChecked(false);

        // Nothing is written while the editor lives.
        QSettings settings(kOrganisation, kApplication);
        QVERIFY(!settings.contains(QStringLiteral("config/verticalSplitterVisible")));
    }
    {
        QSettings settings(kOrganisation, kApplication);
        settings.beginGroup(QStringLiteral("config"));
        QCOMPARE(settings.value(QStringLiteral("verticalSplitterVisible")).toBool(), true);
        QCOMPARE(settings.value(QStringLiteral("horizontalSplitterVisible")).toBool(), false);
        // Counted in the full order of pages: hierarchy, library, search, signal names, favourites.
        QCOMPARE(settings.value(QStringLiteral("verticalTabIndex")).toInt(), 3);
        QVERIFY(!settings.value(QStringLiteral("verticalSplitter")).toByteArray().isEmpty());
        QVERIFY(!settings.value(QStringLiteral("horizontalSplitter")).toByteArray().isEmpty());
    }

    BlockEditorView editor;
    editor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&editor));
    QVERIFY(button(&editor, "verticalButton")->isChecked());
    QVERIFY(!button(&editor, "horizontalButton")->isChecked());
    QVERIFY(child<QWidget>(&editor, "verticalWidget")->isVisible());
    QVERIFY(!child<QWidget>(&editor, "horzontalTab")->isVisible());
    QCOMPARE(child<QTabWidget>(&editor, "verticalTab")->currentWidget(), child<QWidget>(&editor, "signalLabelTab"));
    // A restored state may land a pixel off, as the splitter lays out its handles again; what the
    // user set is the width of the side panel and the height of the bottom panel.
    const auto near = [](const QList<int>& actual, const QList<int>& expected) {
        if (actual.size() != expected.size())
            return false;
        for (int i = 0; i < actual.size(); ++i) {
            if (qAbs(actual.at(i) - expected.at(i)) > 2)
                return false;
        }
        return true;
    };
    QVERIFY2(near(child<QSplitter>(&editor, "verticalSplitter")->sizes().mid(0, 1), verticalSizes.mid(0, 1)),
             qPrintable(QDebug::toString(child<QSplitter>(&editor, "verticalSplitter")->sizes())));
    // A panel shown again gets its room back at the next layout.
    button(&editor, "horizontalButton")->setChecked(true);
    QTRY_VERIFY2(near(child<QSplitter>(&editor, "horizontalSplitter")->sizes().mid(1, 1), horizontalSizes.mid(1, 1)),
             qPrintable(QDebug::toString(child<QSplitter>(&editor, "horizontalSplitter")->sizes())));
}

void tst_BlockEditorView::storedTabIndexCountsThePagesInTheirOrder()
{
    const struct
    {
        int stored;
        const char* page;
    } rows[] = {{0, "hierarchyTab"}, {1, "libraryTab"}, {2, "searchTab"}, {3, "signalLabelTab"}, {4, "blockBookmarkTab"}};
    for (const auto& row : rows) {
        {
            QSettings settings(kOrganisation, kApplication);
            settings.setValue(QStringLiteral("config/verticalTabIndex"), row.stored);
        }
        BlockEditorView editor;
        QCOMPARE(child<QTabWidget>(&editor, "verticalTab")->currentWidget(), child<QWidget>(&editor, row.page));
    }
    // An index beyond the pages, or none at all, leaves the page that the form selects, the
    // favourites.
    for (int stored : {5, 17, -1}) {
        {
            QSettings settings(kOrganisation, kApplication);
            settings.setValue(QStringLiteral("config/verticalTabIndex"), stored);
        }
        BlockEditorView editor;
        QCOMPARE(child<QTabWidget>(&editor, "verticalTab")->currentWidget(), child<QWidget>(&editor, "blockBookmarkTab"));
    }
}

void tst_BlockEditorView::panelButtonsShowAndHideThePanels()
{
    BlockEditorView editor;
    editor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&editor));
    QTest::mouseClick(button(&editor, "verticalButton"), Qt::LeftButton);
    QVERIFY(child<QWidget>(&editor, "verticalWidget")->isVisible());
    QTest::mouseClick(button(&editor, "horizontalButton"), Qt::LeftButton);
    QVERIFY(child<QWidget>(&editor, "horzontalTab")->isVisible());
    QTest::mouseClick(button(&editor, "verticalButton"), Qt::LeftButton);
    QVERIFY(!child<QWidget>(&editor, "verticalWidget")->isVisible());
}

void tst_BlockEditorView::withoutRootThereIsNoPathAndNothingToNavigate()
{
    BlockEditorView editor;
    QVERIFY(!codeViewOf(&editor));
    QVERIFY(editor.currentPath().isEmpty());
    const int messages = System::instance().messageCount();
    editor.navigateTo(QStringLiteral("A1:0.1"));
    QVERIFY(editor.currentPath().isEmpty());
    QCOMPARE(System::instance().messageCount(), messages);
    // The zoom buttons have nothing to talk to yet.
    QTest::mouseClick(button(&editor, "zoomInButton"), Qt::LeftButton);
    editor.setEnvironmentVisible(true);
    QVERIFY(!child<QWidget>(&editor, "environmentFrame")->isHidden());
    editor.setEnvironmentVisible(false);
    QVERIFY(child<QWidget>(&editor, "environmentFrame")->isHidden());
}

void tst_BlockEditorView::areaRootMakesAHierarchyNodeView()
{
    BlockEditorView editor;
    editor.setRoot(m_model->area());
    auto* view = qobject_cast<BlockHierarchyNodeView*>(codeViewOf(&editor));
    QVERIFY(view);
    // Made with the editor as parent, then placed in the code widget's layout.
    QCOMPARE(view->parentWidget(), child<QWidget>(&editor, "codeWidget"));
    auto* layout = qobject_cast<QVBoxLayout*>(child<QWidget>(&editor, "codeWidget")->layout());
    QCOMPARE(layout->count(), 3);
    QCOMPARE(layout->itemAt(2)->widget(), view);
    QCOMPARE(layout->stretch(1), 0);
    QCOMPARE(layout->stretch(2), 1);
    QCOMPARE(view->statusLabel(), editor.statusLabel());
    QVERIFY(sceneOf(&editor));
    QCOMPARE(sceneOf(&editor)->hierarchyNode(), m_model->area()->hierarchy()->rootNode());
    QCOMPARE(editor.currentPath(), view->currentPath());
    QCOMPARE(child<SignalLabelView>(&editor, "signalLabelView")->node(), m_model->area()->hierarchy()->rootNode());
    // The environment belongs to library editors.
    QVERIFY(child<QWidget>(&editor, "environmentFrame")->isHidden());
}

void tst_BlockEditorView::secondSetRootIsAFatalMessage()
{
    BlockEditorView editor;
    editor.setRoot(m_model->area());
    BlockCodeView* view = codeViewOf(&editor);
    QVERIFY(view);
    const int messages = System::instance().messageCount();
    editor.setRoot(m_model->globalArea());
    QCOMPARE(System::instance().messageCount(), messages + 1);
    const SystemMessage last = System::instance().messages().last();
    QCOMPARE(last.severity, SystemMessage::Fatal);
    QCOMPARE(last.origin, QStringLiteral("dev"));
    QCOMPARE(last.text, QStringLiteral("invalid use of CodeView"));

    editor.setRoot(ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))));
    QCOMPARE(System::instance().messageCount(), messages + 2);
    QCOMPARE(editor.findChildren<BlockCodeView*>().size(), 1);
    QCOMPARE(codeViewOf(&editor), view);
    QCOMPARE(sceneOf(&editor)->hierarchyNode(), m_model->area()->hierarchy()->rootNode());
}

void tst_BlockEditorView::nullRootIsAFatalMessage()
{
    BlockEditorView editor;
    const int messages = System::instance().messageCount();
    editor.setRoot(static_cast<BlockInstanceArea*>(nullptr));
    editor.setRoot(static_cast<BlockDefinition*>(nullptr));
    QCOMPARE(System::instance().messageCount(), messages + 2);
    QCOMPARE(System::instance().messages().last().text, QStringLiteral("invalid use of CodeView"));
    QVERIFY(!codeViewOf(&editor));
    // Still usable afterwards.
    editor.setRoot(m_model->area());
    QVERIFY(codeViewOf(&editor));
}

void tst_BlockEditorView::editButton_data()
{
    QTest::addColumn<QString>("state");
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<QString>("toolTip");

    QTest::newRow("editable at level 5") << QString() << 5 << true << QString();
    QTest::newRow("root block at level 4") << QString() << 4 << false << kReadOnlyTip;
    QTest::newRow("level 2") << QString() << 2 << false << kReadOnlyTip;
    QTest::newRow("online") << QStringLiteral("online") << 5 << false << kOnlineTip;
    QTest::newRow("back documentation") << QStringLiteral("back") << 5 << false << kBackDocumentationTip;
    // The fall-back text wins over every other.
    QTest::newRow("fall-back blocks") << QStringLiteral("fallback") << 5 << false << kFallbackTip;
    QTest::newRow("fall-back blocks online") << QStringLiteral("fallback online") << 5 << false << kFallbackTip;
}

void tst_BlockEditorView::editButton()
{
    QFETCH(QString, state);
    QFETCH(int, level);
    QFETCH(bool, enabled);
    QFETCH(QString, toolTip);

    BlockInstanceArea* area = m_model->area();
    ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {0, 0});
    System::instance().setUserAccessLevelCode(quint32(level));
    if (state.contains(QLatin1String("online")))
        QVERIFY(area->setOnline(true));
    if (state == QLatin1String("back"))
        area->setBackDocumentation(true);
    if (state.startsWith(QLatin1String("fallback"))) {
        Block* fallback = ModelBuilder::primitive(area->rootDefinition()->ensureLocalBlockLibrary(), QStringLiteral("LocalBlock_9"),
                                                  QStringLiteral("Ersatz"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
        fallback->setFallbackBlock(true);
        ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(fallback), {10, 0});
        QVERIFY(area->hasFallbackBlocks());
    }

    BlockEditorView editor;
    editor.setRoot(area);
    QPushButton* edit = button(&editor, "editButton");
    QCOMPARE(edit->isEnabled(), enabled);
    QCOMPARE(edit->toolTip(), toolTip);

    const QBrush grey = QPalette().brush(QPalette::Disabled, QPalette::Window);
    QCOMPARE(codeViewOf(&editor)->backgroundBrush(), enabled ? QBrush(Qt::white) : grey);

    QPushButton* convert = button(&editor, "convertFallbackButton");
    const bool fallback = state.startsWith(QLatin1String("fallback"));
    QCOMPARE(!convert->isHidden(), fallback);
    if (fallback) {
        QCOMPARE(convert->toolTip(), QStringLiteral("Alle Fall-back-Bausteine in lokale Bausteine konvertieren"));
        QCOMPARE(convert->isEnabled(), !area->isOnline());
    }
    area->setOnline(false);
}

void tst_BlockEditorView::accessLevelChangeUpdatesTheEditButton()
{
    System::instance().setUserAccessLevelCode(3);
    BlockEditorView editor;
    editor.setRoot(m_model->area());
    QPushButton* edit = button(&editor, "editButton");
    QVERIFY(!edit->isEnabled());
    QCOMPARE(edit->toolTip(), kReadOnlyTip);
    System::instance().setUserAccessLevelCode(5);
    QVERIFY(edit->isEnabled());
    QVERIFY(edit->toolTip().isEmpty());
    QCOMPARE(codeViewOf(&editor)->backgroundBrush(), QBrush(Qt::white));
    System::instance().setUserAccessLevelCode(4);
    QVERIFY(!edit->isEnabled());
    QCOMPARE(codeViewOf(&editor)->backgroundBrush(), QPalette().brush(QPalette::Disabled, QPalette::Window));
}

void tst_BlockEditorView::goingOnlineUnchecksTheEditButtonAndLeavesEditMode()
{
    System::instance().setUserAccessLevelCode(5);
    ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {0, 0});
    BlockEditorView editor;
    editor.setRoot(m_model->area());
    auto* view = qobject_cast<BlockHierarchyNodeView*>(codeViewOf(&editor));
    QPushButton* edit = button(&editor, "editButton");
    QVERIFY(edit->isEnabled());

    QTest::mouseClick(edit, Qt::LeftButton);
    QVERIFY(edit->isChecked());
    QVERIFY(view->isBlockDefinitionEditMode());
    QCOMPARE(codeViewOf(&editor)->backgroundBrush(), QBrush(Qt::white));

    QSignalSpy toggled(edit, &QAbstractButton::toggled);
    QSignalSpy leaving(view, &BlockHierarchyNodeView::blockDefinitionEditModeToggled);
    QVERIFY(m_model->area()->setOnline(true));
    QVERIFY(!edit->isChecked());
    // One change of the button although the slot runs twice per signal.
    QCOMPARE(toggled.count(), 1);
    QCOMPARE(toggled.first().first().toBool(), false);
    QVERIFY(!view->isBlockDefinitionEditMode());
    QVERIFY(!leaving.isEmpty());
    QCOMPARE(leaving.last().first().toBool(), false);
    QVERIFY(!edit->isEnabled());
    QCOMPARE(edit->toolTip(), kOnlineTip);
    QCOMPARE(codeViewOf(&editor)->backgroundBrush(), QPalette().brush(QPalette::Disabled, QPalette::Window));

    m_model->area()->setOnline(false);
    QVERIFY(edit->isEnabled());
    QVERIFY(edit->toolTip().isEmpty());
    QVERIFY(!edit->isChecked());
}

void tst_BlockEditorView::fallbackRequestNeverReachesTheCodeView()
{
    System::instance().setUserAccessLevelCode(5);
    BlockInstanceArea* area = m_model->area();
    Block* fallback = ModelBuilder::primitive(area->rootDefinition()->ensureLocalBlockLibrary(), QStringLiteral("LocalBlock_9"),
                                              QStringLiteral("Ersatz"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    fallback->setFallbackBlock(true);
    ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(fallback), {0, 0});

    BlockEditorView editor;
    editor.setRoot(area);
    auto* view = qobject_cast<BlockHierarchyNodeView*>(codeViewOf(&editor));
    QSignalSpy reached(view, &BlockHierarchyNodeView::blockDefinitionEditModeToggled);
    // The button is disabled, but a programmatic toggle must be stopped as well.
    button(&editor, "editButton")->setChecked(true);
    QCOMPARE(reached.count(), 0);
    QVERIFY(!view->isBlockDefinitionEditMode());
    button(&editor, "editButton")->setChecked(false);
    QCOMPARE(reached.count(), 0);
}

void tst_BlockEditorView::convertFallbackAsksFirst_data()
{
    QTest::addColumn<bool>("yes");
    QTest::newRow("no") << false;
    QTest::newRow("yes") << true;
}

void tst_BlockEditorView::convertFallbackAsksFirst()
{
    QFETCH(bool, yes);
    System::instance().setUserAccessLevelCode(5);
    BlockInstanceArea* area = m_model->area();
    Block* fallback = ModelBuilder::primitive(area->rootDefinition()->ensureLocalBlockLibrary(), QStringLiteral("LocalBlock_9"),
                                              QStringLiteral("Ersatz"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    fallback->setFallbackBlock(true);
    ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(fallback), {0, 0});

    BlockEditorView editor;
    editor.setRoot(area);
    QPushButton* convert = button(&editor, "convertFallbackButton");
    QVERIFY(!convert->isHidden());

    QString title;
    QString text;
    QMessageBox::StandardButton defaultButton = QMessageBox::NoButton;
    auto answered = answerNextModal([&](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        QVERIFY(box);
        title = box->windowTitle();
        text = box->text();
        defaultButton = box->standardButton(box->defaultButton());
        box->button(yes ? QMessageBox::Yes : QMessageBox::No)->click();
    });
    convert->click();
    QVERIFY(*answered);
    QCOMPARE(title, QStringLiteral("Konvertierung"));
    QCOMPARE(text, QStringLiteral("Alle Fall-back-Bausteine in lokale Bausteine konvertieren?"));
    QCOMPARE(defaultButton, QMessageBox::No);
    QCOMPARE(area->hasFallbackBlocks(), !yes);
    QCOMPARE(convert->isHidden(), yes);
    QCOMPARE(button(&editor, "editButton")->isEnabled(), yes);
    QVERIFY(!QApplication::overrideCursor());
}

void tst_BlockEditorView::returnInTheSearchBoxSearchesForwardLikeF3()
{
    BlockCode* code = m_model->rootCode();
    BlockDefinition* andGate = ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1")));
    BlockDefinition* notGate = ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3")));
    BlockInstance* first = ModelBuilder::place(code, andGate, {0, 0});
    ModelBuilder::place(code, notGate, {10, 0});
    BlockInstance* second = ModelBuilder::place(code, andGate, {20, 0});
    // A pin name that the AND gates have and the NOT gate lacks.
    const QString text = QStringLiteral("E1");
    QVERIFY(!notGate->block()->name().text().contains(text, Qt::CaseInsensitive));

    QList<uint> byReturn;
    QList<uint> byF3;
    for (bool useReturn : {true, false}) {
        BlockEditorView editor;
        editor.setRoot(m_model->area());
        editor.show();
        QVERIFY(QTest::qWaitForWindowExposed(&editor));
        auto* combo = child<QComboBox>(&editor, "searchCombo");
        combo->lineEdit()->setText(text);
        QSignalSpy returns(combo->lineEdit(), &QLineEdit::returnPressed);
        QList<uint>& found = useReturn ? byReturn : byF3;
        for (int i = 0; i < 3; ++i) {
            // Keys reach the combo box, which hands them to its line edit.
            if (useReturn)
                QTest::keyClick(combo, Qt::Key_Return);
            else
                button(&editor, "searchNextButton")->click();
            BlockItem* selected = sceneOf(&editor)->selectedBlockItem();
            QVERIFY(selected);
            found.append(selected->identifier());
        }
        // One search per key press.
        QCOMPARE(returns.count(), useReturn ? 3 : 0);
    }
    QCOMPARE(byReturn, byF3);
    // Forward through both matches and around; a search begins behind the first block.
    QCOMPARE(byReturn, (QList<uint>{second->identifier(), first->identifier(), second->identifier()}));
}

void tst_BlockEditorView::searchShortcuts()
{
    BlockInstance* gate = ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {0, 0});
    BlockEditorView editor;
    editor.setRoot(m_model->area());
    editor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&editor));
    editor.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&editor));
    child<QComboBox>(&editor, "searchCombo")->lineEdit()->setText(QStringLiteral("E1"));
    QSignalSpy next(button(&editor, "searchNextButton"), &QAbstractButton::clicked);
    QSignalSpy previous(button(&editor, "searchPreviousButton"), &QAbstractButton::clicked);
    codeViewOf(&editor)->setFocus();
    // A shortcut clicks its button animated: the click comes when the button is released.
    QTest::keyClick(&editor, Qt::Key_F3);
    QTRY_COMPARE(next.count(), 1);
    QTest::keyClick(&editor, Qt::Key_F3, Qt::ShiftModifier);
    QTRY_COMPARE(previous.count(), 1);
    QCOMPARE(next.count(), 1);
    QCOMPARE(sceneOf(&editor)->selectedBlockItem()->identifier(), gate->identifier());
}

void tst_BlockEditorView::zoomButtonsStepAndStopAtTheLimits()
{
    BlockEditorView editor;
    editor.setRoot(m_model->area());
    BlockCodeView* view = codeViewOf(&editor);
    button(&editor, "zoomInButton")->click();
    QVERIFY(qFuzzyCompare(view->zoomFactor(), 1.1));
    button(&editor, "zoomOutButton")->click();
    button(&editor, "zoomOutButton")->click();
    QVERIFY(qFuzzyCompare(view->zoomFactor(), 0.9));
    button(&editor, "zoom100Button")->click();
    QCOMPARE(view->zoomFactor(), 1.0);

    view->setZoomFactor(BlockCodeView::MaximumZoomFactor);
    button(&editor, "zoomInButton")->click();
    QCOMPARE(view->zoomFactor(), BlockCodeView::MaximumZoomFactor);
    view->setZoomFactor(0.15);
    button(&editor, "zoomOutButton")->click();
    QCOMPARE(view->zoomFactor(), 0.15);
}

void tst_BlockEditorView::doubleClickInTheHierarchyTreeNavigatesAndSelects()
{
    BlockCode* code = m_model->rootCode();
    BlockInstance* regler = ModelBuilder::place(code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))), {0, 0});
    BlockInstanceHierarchyNode* reglerNode = m_model->area()->hierarchy()->rootNode()->instanceNode(regler->identifier());
    QVERIFY(reglerNode);
    QVERIFY(!reglerNode->instanceNodes().isEmpty());
    const uint inner = uint(reglerNode->instanceNodes().first());

    BlockEditorView editor;
    editor.setRoot(m_model->area());
    editor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&editor));
    button(&editor, "verticalButton")->click();
    child<QSplitter>(&editor, "verticalSplitter")->setSizes({400, 531});
    auto* tree = child<HierarchyView>(&editor, "hierarchyView")->findChild<QTreeWidget*>();
    if (!tree)
        tree = qobject_cast<QTreeWidget*>(child<HierarchyView>(&editor, "hierarchyView")->children().value(0));
    QVERIFY(tree);
    QTRY_VERIFY(tree->topLevelItemCount() > 0);

    const ItemPath wanted{0, regler->identifier(), inner};
    QTreeWidgetItem* row = nullptr;
    for (QTreeWidgetItemIterator it(tree); *it; ++it) {
        if ((*it)->data(0, Qt::UserRole).value<ItemPath>() == wanted) {
            row = *it;
            break;
        }
    }
    QVERIFY(row);
    for (QTreeWidgetItem* parent = row->parent(); parent; parent = parent->parent())
        parent->setExpanded(true);
    tree->scrollToItem(row);
    QTRY_COMPARE(tree->itemAt(tree->visualItemRect(row).center()), row);
    const QRect rect = tree->visualItemRect(row);
    QSignalSpy shown(child<HierarchyView>(&editor, "hierarchyView"), &HierarchyView::showPathInCode);

    // A double click in QTest is the second click only; the first comes before it.
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, rect.center());
    QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, rect.center());
    QCOMPARE(shown.count(), 1);

    // The level that holds the block is shown, with the block selected.
    QCOMPARE(sceneOf(&editor)->hierarchyNode(), reglerNode);
    BlockItem* selected = sceneOf(&editor)->selectedBlockItem();
    QVERIFY(selected);
    QCOMPARE(selected->identifier(), inner);
}

void tst_BlockEditorView::needToShowInHierarchyViewShowsTheHierarchyTab()
{
    BlockInstance* gate = ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {0, 0});
    BlockEditorView editor;
    editor.setRoot(m_model->area());
    auto* tabs = child<QTabWidget>(&editor, "verticalTab");
    tabs->setCurrentWidget(child<QWidget>(&editor, "signalLabelTab"));
    QVERIFY(!button(&editor, "verticalButton")->isChecked());
    Q_EMIT codeViewOf(&editor)->needToShowInHierarchyView(QStringLiteral("0.%1").arg(gate->identifier()));
    QCOMPARE(tabs->currentWidget(), child<QWidget>(&editor, "hierarchyTab"));
    QVERIFY(button(&editor, "verticalButton")->isChecked());
    QVERIFY(!child<QWidget>(&editor, "verticalWidget")->isHidden());
}

void tst_BlockEditorView::needToShowInLibraryViewSelectsTheGroup()
{
    // A user block shows its library's row in the groups tree and its version in the list.
    Block* block = ModelBuilder::composite(m_model->user()->library(), QStringLiteral("UserBlock_1"), QStringLiteral("Aussen"),
                                           {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    block->setUserBlock(true);
    BlockEditorView editor;
    editor.setRoot(m_model->area());
    auto* tabs = child<QTabWidget>(&editor, "verticalTab");
    auto* library = child<BlockLibraryView>(&editor, "blockLibraryView");
    BlockGroupsWidget* groups = library->groupsWidget();
    BlocksWidget* blocks = library->blocksWidget();
    groups->update();
    groups->setCurrentItem(nullptr);
    Q_EMIT codeViewOf(&editor)->needToShowInLibraryView(ModelBuilder::newest(block));
    QCOMPARE(tabs->currentWidget(), child<QWidget>(&editor, "libraryTab"));
    QVERIFY(button(&editor, "verticalButton")->isChecked());
    QVERIFY(groups->currentItem());
    QCOMPARE(groups->currentItem()->text(0), m_model->user()->name().text());
    QVERIFY(blocks->currentItem());
    QCOMPARE(BlocksWidget::definitionOf(blocks->currentItem()), ModelBuilder::newest(block));

    // Nothing to show is no reason to fail.
    Q_EMIT codeViewOf(&editor)->needToShowInLibraryView(nullptr);
    QCOMPARE(tabs->currentWidget(), child<QWidget>(&editor, "libraryTab"));
    QCOMPARE(BlocksWidget::definitionOf(blocks->currentItem()), ModelBuilder::newest(block));
}

void tst_BlockEditorView::stepButtonsFollowTheView()
{
    BlockInstance* regler = ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))), {0, 0});
    BlockEditorView editor;
    editor.setRoot(m_model->area());
    QVERIFY(!button(&editor, "stepInButton")->isEnabled());
    QVERIFY(!button(&editor, "stepUpButton")->isEnabled());

    BlockItem* item = sceneOf(&editor)->blockItem(regler->identifier());
    QVERIFY(item);
    item->setSelected(true);
    QTRY_VERIFY(button(&editor, "stepInButton")->isEnabled());
    button(&editor, "stepInButton")->click();
    QCOMPARE(sceneOf(&editor)->hierarchyNode(), m_model->area()->hierarchy()->rootNode()->instanceNode(regler->identifier()));
    QVERIFY(button(&editor, "stepUpButton")->isEnabled());
    button(&editor, "stepUpButton")->click();
    QCOMPARE(sceneOf(&editor)->hierarchyNode(), m_model->area()->hierarchy()->rootNode());
    QVERIFY(!button(&editor, "stepUpButton")->isEnabled());
}

void tst_BlockEditorView::editModeSwapsTheUndoStack()
{
    System::instance().setUserAccessLevelCode(5);
    BlockEditorView editor;
    editor.setRoot(m_model->area());
    auto* undoList = editor.findChild<QUndoView*>();
    QVERIFY(undoList);
    QVERIFY(!undoList->stack());
    button(&editor, "editButton")->click();
    QVERIFY(codeViewOf(&editor)->isBlockDefinitionEditMode());
    QVERIFY(undoList->stack());
    button(&editor, "editButton")->click();
    QVERIFY(!codeViewOf(&editor)->isBlockDefinitionEditMode());
    QVERIFY(!undoList->stack());
}

void tst_BlockEditorView::libraryEditorKeepsTheEditButtonChecked()
{
    Block* user = ModelBuilder::composite(m_model->user()->library(), QStringLiteral("UserBlock_1"), QStringLiteral("Aussen"),
                                          {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    BlockDefinition* definition = ModelBuilder::newest(user);
    BlockEditorView editor;
    button(&editor, "editButton")->setToolTip(QStringLiteral("vorher"));
    editor.setRoot(definition);
    QVERIFY(qobject_cast<LibraryBlockDefinitionView*>(codeViewOf(&editor)));
    QPushButton* edit = button(&editor, "editButton");
    QVERIFY(edit->isChecked());
    QVERIFY(edit->toolTip().isEmpty());
    QTest::mouseClick(edit, Qt::LeftButton);
    QVERIFY(edit->isChecked());
    edit->click();
    QVERIFY(edit->isChecked());
    QCOMPARE(codeViewOf(&editor)->isReadOnly(), !definition->isWritable());
    QVERIFY(codeViewOf(&editor)->currentPath().isEmpty());
    QCOMPARE(codeViewOf(&editor)->statusLabel(), editor.statusLabel());
}

void tst_BlockEditorView::environmentSelectorListsAreasWithPrograms()
{
    Block* user = ModelBuilder::composite(m_model->user()->library(), QStringLiteral("UserBlock_1"), QStringLiteral("Aussen"),
                                          {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    m_model->globalArea()->setDisplayName(QStringLiteral("Global"));
    m_model->area()->setDisplayName(QStringLiteral("Achse 1"));
    BlockEditorView editor;
    editor.setRoot(ModelBuilder::newest(user));
    auto* combo = child<QComboBox>(&editor, "environmentComboBox");

    QStringList expected;
    for (BlockInstanceArea* area : BlockInstanceArea::allAreas()) {
        if (area->hasOwnProgram())
            expected << area->displayName();
        if (area->firstNumber() == 0 && area->secondNumber() == 0)
            expected << QStringLiteral("Prozessdaten - ") + area->displayName();
    }
    QStringList shown;
    for (int i = 0; i < combo->count(); ++i)
        shown << combo->itemText(i);
    QCOMPARE(shown, expected);
    QVERIFY(shown.contains(QStringLiteral("Prozessdaten - Global")));
    QCOMPARE(combo->currentIndex(), 0);
    for (int i = 0; i < combo->count(); ++i)
        QVERIFY(combo->itemData(i, Qt::UserRole).value<BlockInstanceArea*>());

    // Choosing an environment hands it to the definition's scene.
    const int axis = combo->findText(QStringLiteral("Achse 1"));
    QVERIFY(axis >= 0);
    combo->setCurrentIndex(axis);
    QCOMPARE(sceneOf(&editor)->instanceArea(), m_model->area());
}

void tst_BlockEditorView::vanishedEnvironmentSelectsTheFirstEntry()
{
    Block* user = ModelBuilder::composite(m_model->user()->library(), QStringLiteral("UserBlock_1"), QStringLiteral("Aussen"),
                                          {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    BlockEditorView editor;
    editor.setRoot(ModelBuilder::newest(user));
    auto* combo = child<QComboBox>(&editor, "environmentComboBox");

    auto* extra = new BlockInstanceArea(7, 0, 7);
    const QVariant extraData = QVariant::fromValue(extra);
    const int index = combo->findData(extraData);
    QVERIFY2(index > 0, "a new area joins the list");
    combo->setCurrentIndex(index);
    QCOMPARE(sceneOf(&editor)->instanceArea(), extra);

    // A change of the list that keeps the chosen area keeps the choice ...
    auto* other = new BlockInstanceArea(8, 0, 8);
    QCOMPARE(combo->currentData(), extraData);
    delete other;
    QCOMPARE(combo->currentData(), extraData);

    // ... and when it goes, the first entry takes its place, in the scene too.
    QSignalSpy changed(combo, &QComboBox::currentIndexChanged);
    delete extra;
    QCOMPARE(combo->currentIndex(), 0);
    QVERIFY(combo->findData(extraData) < 0);
    QVERIFY(!changed.isEmpty());
    QCOMPARE(sceneOf(&editor)->instanceArea(), combo->itemData(0, Qt::UserRole).value<BlockInstanceArea*>());
}

void tst_BlockEditorView::resourcesAreCompiledIn_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("size");
    const char* const icons[] = {"StepUp", "StepIn", "Edit", "ConvertFallback", "Properties", "Overview", "ViewLeft",
                                 "ViewBottom", "ZoomOut", "Zoom100", "ZoomIn", "undo", "redo", "DefaultBlockIconSmall",
                                 "star", "starEmpty", "BlockViewLibrary", "Remove", "folder", "error", "warning",
                                 "information"};
    for (const char* icon : icons)
        QTest::newRow(icon) << QStringLiteral(":/Resources/%1.png").arg(QLatin1String(icon)) << 24;
    QTest::newRow("findprevious") << QStringLiteral(":/icons/Resources/findprevious.png") << 24;
    QTest::newRow("findnext") << QStringLiteral(":/icons/Resources/findnext.png") << 24;
    QTest::newRow("Warning_16x16") << QStringLiteral(":/Resources/General/Warning_16x16.png") << 16;
}

void tst_BlockEditorView::resourcesAreCompiledIn()
{
    QFETCH(QString, path);
    QFETCH(int, size);
    const QImage image(path);
    QVERIFY2(!image.isNull(), qPrintable(path));
    QCOMPARE(image.size(), QSize(size, size));
    // Drawn, not blank: some pixels are opaque and some are not.
    int opaque = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            opaque += qAlpha(image.pixel(x, y)) > 200 ? 1 : 0;
    }
    QVERIFY(opaque > size);
    QVERIFY(opaque < size * size);
    // The high-density twin that QIcon picks on such screens.
    QString twin = path;
    twin.replace(QStringLiteral(".png"), QStringLiteral("@2x.png"));
    QCOMPARE(QImage(twin).size(), QSize(2 * size, 2 * size));
}

void tst_BlockEditorView::issueViewFollowsTheShownLevel()
{
    BlockCode* code = m_model->rootCode();
    BlockInstance* regler = ModelBuilder::place(code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))), {0, 0});
    regler->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    BlockEditorView editor;
    editor.setRoot(m_model->area());
    auto* issues = child<BlockCheckIssueView>(&editor, "blockCheckIssueView");
    QCOMPARE(codeViewOf(&editor)->checkIssueView(), issues);
    QCOMPARE(issues->rootDefinition(), m_model->area()->rootDefinition());
    QCOMPARE(issueTable(&editor)->topLevelItemCount(), 0);
    // One level down the AND inside the controller has two open inputs.
    const QString path = m_model->area()->hierarchy()->rootNode()->locationPath() + QStringLiteral(".%1.1").arg(regler->identifier());
    codeViewOf(&editor)->navigateTo(path);
    QCOMPARE(issues->rootDefinition(), regler->blockDefinition());
    QCOMPARE(issueTable(&editor)->topLevelItemCount(), 2);
}

void tst_BlockEditorView::issueDoubleClickNavigatesTheCodeView()
{
    BlockCode* code = m_model->rootCode();
    ModelBuilder::place(code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {0, 0});
    BlockInstance* gate = ModelBuilder::place(code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 0});
    gate->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    gate->pin(2)->setInitialValue(QStringLiteral("TRUE"));
    BlockInstance* open = ModelBuilder::place(code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {40, 0});
    BlockEditorView editor;
    editor.setRoot(m_model->area());
    BlockCheckIssueWidgetPrivate* table = issueTable(&editor);
    QTreeWidgetItem* row = nullptr;
    for (int i = 0; i < table->topLevelItemCount(); ++i) {
        if (table->topLevelItem(i)->text(1).contains(QString::number(open->identifier())))
            row = table->topLevelItem(i);
    }
    QVERIFY(row);
    Q_EMIT table->itemDoubleClicked(row, 1);
    BlockItem* selected = sceneOf(&editor)->selectedBlockItem();
    QVERIFY(selected);
    QCOMPARE(selected->identifier(), open->identifier());
}

void tst_BlockEditorView::issueViewFollowsEditsOfTheShownCode()
{
    BlockEditorView editor;
    editor.setRoot(m_model->area());
    QCOMPARE(issueTable(&editor)->topLevelItemCount(), 0);
    BlockInstance* gate = ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {0, 0});
    QCOMPARE(issueTable(&editor)->topLevelItemCount(), 2);
    gate->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    m_model->rootCode()->notifyChanged();
    QCOMPARE(issueTable(&editor)->topLevelItemCount(), 1);
}

void tst_BlockEditorView::libraryEditorChecksInTheChosenEnvironment()
{
    Block* user = ModelBuilder::composite(m_model->user()->library(), QStringLiteral("UserBlock_1"), QStringLiteral("Aussen"),
                                          {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    BlockDefinition* definition = ModelBuilder::newest(user);
    ModelBuilder::place(definition->code(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {0, 0});
    m_model->area()->setDisplayName(QStringLiteral("Achse 1"));
    BlockEditorView editor;
    editor.setRoot(definition);
    auto* issues = child<BlockCheckIssueView>(&editor, "blockCheckIssueView");
    QCOMPARE(issues->rootDefinition(), definition);
    QCOMPARE(issueTable(&editor)->topLevelItemCount(), 1);
    auto* combo = child<QComboBox>(&editor, "environmentComboBox");
    combo->setCurrentIndex(combo->findText(QStringLiteral("Achse 1")));
    QCOMPARE(issues->rootDefinition(), definition);
    QCOMPARE(issueTable(&editor)->topLevelItemCount(), 1);
}

void tst_BlockEditorView::overviewButtonShowsTheMinimapInTheCorner()
{
    ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {0, 0});
    BlockEditorView editor;
    QPushButton* overview = button(&editor, "overviewButton");
    // Without a code view there is nothing to show.
    overview->setChecked(true);
    QVERIFY(!editor.findChild<OverviewFrame*>());
    overview->setChecked(false);
    editor.setRoot(m_model->area());
    editor.resize(1200, 900);
    editor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&editor));
    BlockCodeView* view = codeViewOf(&editor);
    overview->setChecked(true);
    auto* frame = editor.findChild<OverviewFrame*>();
    QVERIFY(frame);
    QCOMPARE(frame->parentWidget(), view);
    QCOMPARE(frame->view(), view);
    QVERIFY(frame->isVisible());
    // Beside the spacers of 10 (no spacing is added next to a spacer), the grid's own margin keeps
    // it off the scroll bars.
    auto* grid = qobject_cast<QGridLayout*>(view->layout());
    QVERIFY(grid);
    QCOMPARE(grid->itemAtPosition(1, 1)->widget(), frame);
    QTRY_COMPARE(frame->geometry().right(),
                 view->contentsRect().right() - grid->contentsMargins().right() - 10);
    QCOMPARE(frame->geometry().bottom(),
             view->contentsRect().bottom() - grid->contentsMargins().bottom() - 10);
    QVERIFY(view->verticalScrollBar()->isVisible());
    QVERIFY(frame->geometry().right() < view->verticalScrollBar()->mapTo(view, QPoint(0, 0)).x());
    QVERIFY(frame->geometry().bottom() < view->horizontalScrollBar()->mapTo(view, QPoint(0, 0)).y());
    QCOMPARE(frame->width(), frame->height());
    overview->setChecked(false);
    QVERIFY(!frame->isVisible());
    overview->setChecked(true);
    QCOMPARE(editor.findChildren<OverviewFrame*>().size(), 1);
    QVERIFY(frame->isVisible());
}

void tst_BlockEditorView::searchTabSearchesTheHierarchyOfTheRoot()
{
    BlockInstance* gate = ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {0, 0});
    gate->setName(QStringLiteral("Torsteuerung"));
    BlockEditorView editor;
    auto* search = child<BlockSearchView>(&editor, "blockSearchView");
    QVERIFY(search);
    auto* hits = search->findChild<QTreeWidget*>();
    QVERIFY(hits);
    auto runSearch = [&] {
        child<QCheckBox>(search, "inLibraryCheckBox")->setChecked(false);
        child<QLineEdit>(search, "searchTextEdit")->setText(QStringLiteral("und"));
        child<QPushButton>(search, "startButton")->click();
    };
    // Before a root the search has no hierarchy.
    runSearch();
    QCOMPARE(hits->topLevelItemCount(), 0);
    editor.setRoot(m_model->area());
    runSearch();
    QCOMPARE(hits->topLevelItemCount(), 1);
    QCOMPARE(hits->topLevelItem(0)->text(0), QStringLiteral("Hierarchie"));
    QVERIFY(hits->topLevelItem(0)->childCount() >= 1);
}

void tst_BlockEditorView::searchJumpsReachTheirPanes()
{
    BlockInstance* regler = ModelBuilder::place(m_model->rootCode(), ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))), {0, 0});
    BlockInstanceHierarchyNode* reglerNode = m_model->area()->hierarchy()->rootNode()->instanceNode(regler->identifier());
    QVERIFY(reglerNode);
    QVERIFY(!reglerNode->instanceNodes().isEmpty());
    const QString path = reglerNode->instanceNode(uint(reglerNode->instanceNodes().first()))->locationPath();
    Block* block = ModelBuilder::composite(m_model->user()->library(), QStringLiteral("UserBlock_7"), QStringLiteral("Innen"),
                                           {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    block->setUserBlock(true);
    BlockEditorView editor;
    editor.setRoot(m_model->area());
    editor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&editor));
    auto* search = child<BlockSearchView>(&editor, "blockSearchView");
    auto* tabs = child<QTabWidget>(&editor, "verticalTab");

    tabs->setCurrentWidget(child<QWidget>(&editor, "searchTab"));
    QVERIFY(editor.currentPath() != reglerNode->locationPath());
    // The code shows the level that holds the hit.
    Q_EMIT search->needToShowInCode(path);
    QCOMPARE(editor.currentPath(), reglerNode->locationPath());
    QCOMPARE(tabs->currentWidget(), child<QWidget>(&editor, "searchTab"));

    QVERIFY(!button(&editor, "verticalButton")->isChecked());
    auto* hierarchy = child<HierarchyView>(&editor, "hierarchyView");
    auto* tree = hierarchy->findChild<QTreeWidget*>();
    QVERIFY(tree);
    Q_EMIT search->needToShowInHierarchy(path);
    QCOMPARE(tabs->currentWidget(), child<QWidget>(&editor, "hierarchyTab"));
    QVERIFY(button(&editor, "verticalButton")->isChecked());
    QTRY_VERIFY(tree->currentItem());
    QCOMPARE(tree->currentItem()->data(0, Qt::UserRole).value<ItemPath>(),
             (ItemPath{0, regler->identifier(), uint(reglerNode->instanceNodes().first())}));

    tabs->setCurrentWidget(child<QWidget>(&editor, "searchTab"));
    auto* library = child<BlockLibraryView>(&editor, "blockLibraryView");
    BlockGroupsWidget* groups = library->groupsWidget();
    groups->update();
    groups->setCurrentItem(nullptr);
    Q_EMIT search->needToShowInLibrary(ModelBuilder::newest(block));
    QCOMPARE(tabs->currentWidget(), child<QWidget>(&editor, "libraryTab"));
    QVERIFY(groups->currentItem());
    QVERIFY(library->blocksWidget()->currentItem());
}

ZK_TEST_REGISTER(tst_BlockEditorView)
#include "tst_BlockEditorView.moc"

