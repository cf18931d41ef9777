#include "BlockEditorView.h"

#include "BlockEditorViewPrivate.h"
#include "ui_BlockEditorView.h"

#include "BlockCheckIssueView.h"
#include "BlockCodeView.h"
#include "BlockDefinitionScene.h"
#include "BlockHierarchyNodeView.h"
#include "BlockSearchView.h"
#include "LibraryBlockDefinitionView.h"
#include "OverviewFrame.h"

#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "System.h"

#include <QApplication>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPalette>
#include <QSettings>

namespace {

const QString kConfigGroup = QStringLiteral("config");
const QString kVerticalVisibleKey = QStringLiteral("verticalSplitterVisible");
const QString kVerticalStateKey = QStringLiteral("verticalSplitter");
const QString kVerticalTabKey = QStringLiteral("verticalTabIndex");
const QString kHorizontalVisibleKey = QStringLiteral("horizontalSplitterVisible");
const QString kHorizontalStateKey = QStringLiteral("horizontalSplitter");

// The persisted tab index counts the pages in this order. Pages of panels that are not built yet
// are missing from the form, so the index is mapped through the page names: a stored layout keeps
// selecting the same page once the missing ones arrive.
const char* const kVerticalPages[] = {"hierarchyTab", "libraryTab", "searchTab", "signalLabelTab", "blockBookmarkTab"};
constexpr int kVerticalPageCount = int(sizeof(kVerticalPages) / sizeof(kVerticalPages[0]));
// The tab that the form selects before the persisted index replaces it.
constexpr int kFormVerticalTab = 4;

const QString kOrganisation = QStringLiteral("Marlenbach Motion");
const QString kApplication = QStringLiteral("Zerkanta");

} // namespace

BlockEditorViewPrivate::BlockEditorViewPrivate(BlockEditorView* owner)
    : QObject(owner)
    , ui(new Ui::BlockEditorViewClass)
    , q(owner)
    , statusLabel(new QLabel)
{
}

BlockEditorViewPrivate::~BlockEditorViewPrivate()
{
    delete statusLabel.data();
}

void BlockEditorViewPrivate::loadLayout()
{
    QSettings settings(kOrganisation, kApplication);
    settings.beginGroup(kConfigGroup);
    // No defaults on purpose: on a first start both side panels come up hidden, although the form
    // checks their buttons.
    const bool verticalVisible = settings.value(kVerticalVisibleKey).toBool();
    const QByteArray verticalState = settings.value(kVerticalStateKey).toByteArray();
    const int tabIndex = settings.value(kVerticalTabKey).toInt();
    const bool horizontalVisible = settings.value(kHorizontalVisibleKey).toBool();
    const QByteArray horizontalState = settings.value(kHorizontalStateKey).toByteArray();
    settings.endGroup();

    if (!verticalState.isEmpty())
        ui->verticalSplitter->restoreState(verticalState);
    if (!horizontalState.isEmpty())
        ui->horizontalSplitter->restoreState(horizontalState);
    ui->verticalButton->setChecked(verticalVisible);
    ui->horizontalButton->setChecked(horizontalVisible);
    selectVerticalTab(tabIndex);
}

void BlockEditorViewPrivate::saveLayout() const
{
    QSettings settings(kOrganisation, kApplication);
    settings.beginGroup(kConfigGroup);
    settings.setValue(kVerticalVisibleKey, ui->verticalButton->isChecked());
    settings.setValue(kVerticalStateKey, ui->verticalSplitter->saveState());
    settings.setValue(kVerticalTabKey, verticalTabIndex());
    settings.setValue(kHorizontalVisibleKey, ui->horizontalButton->isChecked());
    settings.setValue(kHorizontalStateKey, ui->horizontalSplitter->saveState());
    settings.endGroup();
}

void BlockEditorViewPrivate::selectVerticalTab(int index)
{
    if (index < 0 || index >= kVerticalPageCount)
        return;
    if (auto* page = ui->verticalTab->findChild<QWidget*>(QLatin1String(kVerticalPages[index])))
        ui->verticalTab->setCurrentWidget(page);
}

int BlockEditorViewPrivate::verticalTabIndex() const
{
    const QWidget* page = ui->verticalTab->currentWidget();
    if (!page)
        return 0;
    for (int i = 0; i < kVerticalPageCount; ++i) {
        if (page->objectName() == QLatin1String(kVerticalPages[i]))
            return i;
    }
    return ui->verticalTab->currentIndex();
}

void BlockEditorViewPrivate::setRoot(BlockInstanceArea* pRoot)
{
    area = pRoot;
    if (codeView || !pRoot) {
        System::addFatalMessage(QStringLiteral("dev"), QStringLiteral("invalid use of CodeView"));
        return;
    }

    // Connected twice, by signature and by member pointer, as the established wiring has it: the
    // second run of the slot finds the button unchecked already and the controls up to date.
    connect(pRoot, SIGNAL(onlineChanged(bool)), this, SLOT(onlineChanged(bool)));
    connect(pRoot, &BlockInstanceArea::onlineChanged, this, &BlockEditorViewPrivate::onlineChanged);
    connect(ui->editButton, &QAbstractButton::toggled, this, &BlockEditorViewPrivate::onChangeEditRequest);
    connect(ui->convertFallbackButton, &QAbstractButton::clicked, this, &BlockEditorViewPrivate::onConvertFallbackClicked);

    auto* view = new BlockHierarchyNodeView(q);
    BlockInstanceHierarchyNode* rootNode = pRoot->hierarchy() ? pRoot->hierarchy()->rootNode() : nullptr;
    BlockDefinition* rootDefinition = rootNode && rootNode->blockInstance() ? rootNode->blockInstance()->blockDefinition()
                                                                            : pRoot->rootDefinition();
    codeView = view;

    ui->hierarchyView->setRoot(rootDefinition, rootNode);
    attachCodeView();
    updateAreaEditAccess();
    view->setArea(pRoot);
    view->setStatusLabel(statusLabel);
    // Who may edit depends on the user's access level, which can change while the editor is open.
    connect(&System::instance(), &SystemInformation::userAccessLevelCodeChanged, this,
            &BlockEditorViewPrivate::updateAreaEditAccess);
    ui->blockSearchView->setBlockInstanceRoot(pRoot);
    ui->signalLabelView->setNode(rootNode);
}

void BlockEditorViewPrivate::setRoot(BlockDefinition* pRootDefinition)
{
    if (codeView || !pRootDefinition) {
        System::addFatalMessage(QStringLiteral("dev"), QStringLiteral("invalid use of CodeView"));
        return;
    }

    auto* view = new LibraryBlockDefinitionView(q);
    codeView = view;

    // A library definition is always in edit mode: the button cannot be unchecked.
    QPushButton* editButton = ui->editButton;
    editButton->setChecked(true);
    connect(editButton, &QAbstractButton::clicked, editButton, [editButton] { editButton->setChecked(true); });
    editButton->setToolTip(QString());

    attachCodeView();
    view->setDefinition(pRootDefinition);
    view->setStatusLabel(statusLabel);
    view->setReadOnly(!pRootDefinition->isWritable());
    ui->hierarchyView->setRoot(pRootDefinition, nullptr);
    updateEnvironmentSelector();
}

void BlockEditorViewPrivate::attachCodeView()
{
    ui->codeWidgetLayout->addWidget(codeView);
    ui->codeWidgetLayout->setStretch(1, 0);
    ui->codeWidgetLayout->setStretch(2, 1);
    ui->verticalSplitter->setChildrenCollapsible(false);
    ui->horizontalSplitter->setChildrenCollapsible(false);
    codeView->setSearchComboBox(ui->searchCombo);
    codeView->setCheckIssueView(ui->blockCheckIssueView);

    connect(ui->zoomInButton, SIGNAL(clicked()), this, SLOT(zoomIn()));
    connect(ui->zoomOutButton, SIGNAL(clicked()), this, SLOT(zoomOut()));
    connect(ui->zoom100Button, SIGNAL(clicked()), this, SLOT(zoom100()));
    connect(ui->blockSearchView, SIGNAL(needToShowInHierarchy(QString)), this, SLOT(showHierarchyTab()));
    connect(ui->blockSearchView, SIGNAL(needToShowInLibrary(BlockDefinition*)), this, SLOT(showBlockLibraryTab()));
    connect(codeView, SIGNAL(needToShowInHierarchyView(QString)), this, SLOT(showHierarchyTab()));
    connect(codeView, SIGNAL(needToShowInLibraryView(BlockDefinition*)), this, SLOT(showBlockLibraryTab()));
    connect(codeView, SIGNAL(areaChanged()), this, SLOT(updateAreaEditAccess()));
    connect(codeView, SIGNAL(needToShowInHierarchyView(QString)), ui->hierarchyView, SLOT(selectPath(QString)));
    connect(codeView, SIGNAL(needToShowInLibraryView(BlockDefinition*)), ui->blockLibraryView,
            SLOT(selectBlockDefinition(BlockDefinition*)));
    connect(ui->blockSearchView, SIGNAL(needToShowInHierarchy(QString)), ui->hierarchyView, SLOT(selectPath(QString)));
    connect(ui->blockSearchView, SIGNAL(needToShowInLibrary(BlockDefinition*)), ui->blockLibraryView,
            SLOT(selectBlockDefinition(BlockDefinition*)));
    connect(ui->blockSearchView, SIGNAL(needToShowInCode(QString)), codeView, SLOT(navigateTo(QString)));
    connect(ui->stepInButton, SIGNAL(clicked()), codeView, SLOT(stepInSelectedBlock()));
    connect(ui->stepUpButton, SIGNAL(clicked()), codeView, SLOT(stepOut()));
    connect(ui->hierarchyView, SIGNAL(showPathInCode(QString)), codeView, SLOT(navigateTo(QString)));
    if (QLineEdit* edit = ui->searchCombo->lineEdit())
        connect(edit, SIGNAL(returnPressed()), codeView, SLOT(findNextBlock()));
    connect(ui->searchNextButton, SIGNAL(clicked()), codeView, SLOT(findNextBlock()));
    connect(ui->searchPreviousButton, SIGNAL(clicked()), codeView, SLOT(findPreviousBlock()));
    connect(ui->propertiesButton, SIGNAL(clicked()), codeView, SLOT(showBlockProperties()));
    // Only the hierarchy node view has this signal; the library view keeps its button checked.
    if (qobject_cast<BlockHierarchyNodeView*>(codeView))
        connect(codeView, SIGNAL(blockDefinitionEditModeToggled(bool)), ui->editButton, SLOT(setChecked(bool)));
    connect(codeView, SIGNAL(stepInAllowedChanged(bool)), ui->stepInButton, SLOT(setEnabled(bool)));
    connect(codeView, SIGNAL(stepOutAllowedChanged(bool)), ui->stepUpButton, SLOT(setEnabled(bool)));
    connect(ui->signalLabelView, SIGNAL(needToShowInCode(QString)), codeView, SLOT(navigateTo(QString)));
    connect(ui->blockCheckIssueView, SIGNAL(needToShow(QString)), codeView, SLOT(navigateTo(QString)));
    connect(ui->environmentComboBox, SIGNAL(currentIndexChanged(int)), this, SLOT(onEnvironmentChanged()));
    connect(ui->overviewButton, SIGNAL(toggled(bool)), this, SLOT(setOverviewVisible(bool)));
}

void BlockEditorViewPrivate::navigateTo(const QString& path)
{
    if (codeView)
        codeView->navigateTo(path);
}

void BlockEditorViewPrivate::setEnvironmentVisible(bool value)
{
    ui->environmentFrame->setVisible(value);
}

void BlockEditorViewPrivate::zoomIn()
{
    if (codeView)
        codeView->setZoomFactor(codeView->zoomFactor() + 0.1);
}

void BlockEditorViewPrivate::zoomOut()
{
    if (codeView)
        codeView->setZoomFactor(codeView->zoomFactor() - 0.1);
}

void BlockEditorViewPrivate::zoom100()
{
    if (codeView)
        codeView->setZoomFactor(1.0);
}

void BlockEditorViewPrivate::onlineChanged(bool)
{
    // In the area editor the button's toggled signal takes the view out of edit mode.
    ui->editButton->setChecked(false);
    updateAreaEditAccess();
    ui->blockCheckIssueView->checkForIssues();
}

void BlockEditorViewPrivate::showBlockLibraryTab()
{
    ui->verticalTab->setCurrentWidget(ui->libraryTab);
    ui->verticalButton->setChecked(true);
}

void BlockEditorViewPrivate::showHierarchyTab()
{
    ui->verticalTab->setCurrentWidget(ui->hierarchyTab);
    ui->verticalButton->setChecked(true);
}

bool BlockEditorViewPrivate::isEditable() const
{
    return codeView && codeView->isEditAllowed() && !(area && area->hasFallbackBlocks());
}

void BlockEditorViewPrivate::updateAreaEditAccess()
{
    updateBackgoundColor();

    BlockInstanceArea* instanceArea = area.data();
    if (!instanceArea)
        return;
    const bool editAllowed = codeView && codeView->isEditAllowed();
    const bool fallback = instanceArea->hasFallbackBlocks();
    ui->editButton->setEnabled(editAllowed && !fallback);

    QString toolTip;
    if (instanceArea->isOnline())
        toolTip = BlockEditorView::tr("Im Online-Zustand nicht möglich");
    else if (instanceArea->isBackDocumentation())
        toolTip = BlockEditorView::tr("Rückdokumentationen sind schreibgeschützt");
    else if (!editAllowed)
        toolTip = BlockEditorView::tr("Ebene ist schreibgeschützt");
    if (fallback)
        toolTip = BlockEditorView::tr("Fallbackbausteine sind enthalten, editieren ist nicht möglich.");
    ui->editButton->setToolTip(toolTip);

    ui->convertFallbackButton->setVisible(fallback);
    ui->convertFallbackButton->setToolTip(BlockEditorView::tr("Alle Fall-back-Bausteine in lokale Bausteine konvertieren"));
    ui->convertFallbackButton->setEnabled(!instanceArea->isOnline() && !instanceArea->isBackDocumentation());
}

void BlockEditorViewPrivate::updateBackgoundColor()
{
    if (!codeView)
        return;
    // A code view that cannot be edited looks grey.
    if (isEditable())
        codeView->setBackgroundBrush(QBrush(Qt::white));
    else
        codeView->setBackgroundBrush(QPalette().brush(QPalette::Disabled, QPalette::Window));
}

void BlockEditorViewPrivate::onChangeEditRequest(bool activate)
{
    if (!(area && area->hasFallbackBlocks())) {
        if (auto* view = qobject_cast<BlockHierarchyNodeView*>(codeView))
            view->setBlockDefinitionEditMode(activate);
    }
    auto* scene = codeView ? qobject_cast<BlockDefinitionScene*>(codeView->scene()) : nullptr;
    ui->undoWidget->setUndoStack(scene ? scene->undoStack() : nullptr);
}

void BlockEditorViewPrivate::onConvertFallbackClicked()
{
    const QMessageBox::StandardButton answer =
        QMessageBox::question(q, BlockEditorView::tr("Konvertierung"),
                              BlockEditorView::tr("Alle Fall-back-Bausteine in lokale Bausteine konvertieren?"),
                              QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    if (answer != QMessageBox::Yes || !area)
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    area->convertFallbackBlocks();
    QApplication::restoreOverrideCursor();
    updateAreaEditAccess();
}

void BlockEditorViewPrivate::updateEnvironmentSelector()
{
    QComboBox* combo = ui->environmentComboBox;
    // Only compared by address, never used: the remembered area may be gone.
    const QVariant remembered = combo->currentData(Qt::UserRole);

    const bool wasBlocked = combo->blockSignals(true);
    combo->clear();
    const QList<BlockInstanceArea*> areas = BlockInstanceArea::allAreas();
    for (BlockInstanceArea* candidate : areas) {
        const QVariant data = QVariant::fromValue(candidate);
        if (candidate->hasOwnProgram())
            combo->addItem(candidate->displayName(), data);
        if (candidate->firstNumber() == 0 && candidate->secondNumber() == 0)
            combo->addItem(BlockEditorView::tr("Prozessdaten") + QStringLiteral(" - ") + candidate->displayName(), data);
        connect(candidate, &BlockInstanceArea::allAreasChanged, this, &BlockEditorViewPrivate::updateEnvironmentSelector,
                Qt::UniqueConnection);
    }

    const int hit = remembered.isValid()
        ? combo->findData(remembered, Qt::UserRole, Qt::MatchExactly | Qt::MatchCaseSensitive)
        : -1;
    combo->setCurrentIndex(-1);
    combo->blockSignals(wasBlocked);
    // From -1 to a real index, so that onEnvironmentChanged() always runs once.
    combo->setCurrentIndex(hit >= 0 ? hit : 0);
}

void BlockEditorViewPrivate::onEnvironmentChanged()
{
    BlockInstanceArea* environment = ui->environmentComboBox->currentData(Qt::UserRole).value<BlockInstanceArea*>();
    if (environment && !BlockInstanceArea::allAreas().contains(environment))
        environment = nullptr;
    if (auto* view = qobject_cast<LibraryBlockDefinitionView*>(codeView)) {
        view->setEnvironment(environment);
        BlockCheckIssueView* issues = ui->blockCheckIssueView;
        issues->setRoot(issues->rootDefinition(), environment);
        issues->checkForIssues();
    }
}

void BlockEditorViewPrivate::setOverviewVisible(bool value)
{
    if (!codeView)
        return;
    if (!overviewFrame) {
        // The grid keeps the frame in the lower right corner whatever size it takes; its own margins
        // and the spacers keep it clear of the scroll bars.
        auto* grid = new QGridLayout(codeView);
        overviewFrame = new OverviewFrame(codeView);
        overviewFrame->setView(codeView);
        grid->addItem(new QSpacerItem(10, 10, QSizePolicy::Minimum, QSizePolicy::Expanding), 0, 1);
        grid->addItem(new QSpacerItem(10, 10, QSizePolicy::Expanding, QSizePolicy::Minimum), 1, 0);
        grid->addWidget(overviewFrame, 1, 1);
        grid->addItem(new QSpacerItem(10, 10, QSizePolicy::Fixed, QSizePolicy::Fixed), 0, 2);
        grid->addItem(new QSpacerItem(10, 10, QSizePolicy::Fixed, QSizePolicy::Fixed), 2, 0);
    }
    overviewFrame->setVisible(value);
    overviewFrame->updateSize();
}

BlockEditorView::BlockEditorView(QWidget* parent)
    : QWidget(parent)
    , d(new BlockEditorViewPrivate(this))
{
    setProperty("HelpId", QStringLiteral("BlockEditorView"));
    d->ui->setupUi(this);
    // The form would select the favourites tab here; the persisted index replaces it below.
    d->selectVerticalTab(kFormVerticalTab);
    d->ui->blockLibraryView->initialize();
    d->ui->environmentFrame->hide();
    d->ui->convertFallbackButton->hide();
    d->loadLayout();
}

BlockEditorView::~BlockEditorView()
{
    d->saveLayout();
}

QLabel* BlockEditorView::statusLabel() const
{
    return d->statusLabel;
}

QString BlockEditorView::currentPath() const
{
    return d->codeView ? d->codeView->currentPath() : QString();
}

void BlockEditorView::setRoot(BlockInstanceArea* pRoot)
{
    d->setRoot(pRoot);
}

void BlockEditorView::setRoot(BlockDefinition* pRoot)
{
    d->setRoot(pRoot);
}

void BlockEditorView::navigateTo(const QString& locationPath)
{
    d->navigateTo(locationPath);
}

void BlockEditorView::setEnvironmentVisible(bool value)
{
    d->setEnvironmentVisible(value);
}
