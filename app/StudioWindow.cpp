#include "StudioWindow.h"

#include "AreaSubWindow.h"
#include "MessageDock.h"
#include "ProjectChangeWatch.h"
#include "StudioEditMenu.h"
#include "StudioExporter.h"

#include "BlockCodeView.h"
#include "BlockHierarchyNodeScene.h"
#include "LibraryBlockDefinitionSubWindow.h"
#include "SceneMetrics.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockInstanceArea.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockRepository.h"
#include "LanguageManager.h"
#include "Project.h"
#include "System.h"

#include <QAbstractButton>
#include <QAction>
#include <QActionGroup>
#include <QCloseEvent>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QStatusBar>
#include <QRegularExpression>

#include <algorithm>

namespace {

const QString kSamplePath = QStringLiteral(":/samples/sample/project.zkproj");

QString blockMenuText(Block* block)
{
    const QString number = block->displayNumber();
    const QString name = block->name().text();
    return number.isEmpty() ? name : QStringLiteral("%1  %2").arg(number, name);
}

} // namespace

StudioWindow::StudioWindow()
    : m_mdiArea(new QMdiArea(this))
    , m_messages(new MessageDock(this))
    , m_changes(new ProjectChangeWatch(this))
    , m_statusLabel(new QLabel(this))
{
    setObjectName(QStringLiteral("studioWindow"));
    m_mdiArea->setObjectName(QStringLiteral("mdiArea"));
    m_mdiArea->setViewMode(QMdiArea::SubWindowView);
    setCentralWidget(m_mdiArea);
    addDockWidget(Qt::BottomDockWidgetArea, m_messages);
    statusBar()->addPermanentWidget(m_statusLabel);
    System::instance().setMainWindow(this);

    QMenu* file = menuBar()->addMenu(tr("&Datei"));
    QAction* open = file->addAction(tr("Projekt &öffnen..."), this, &StudioWindow::onOpen);
    open->setShortcut(QKeySequence::Open);
    file->addAction(tr("&Beispielprojekt öffnen"), this, &StudioWindow::openSample);
    QAction* save = file->addAction(tr("&Speichern"), this, &StudioWindow::save);
    save->setObjectName(QStringLiteral("save"));
    save->setShortcut(QKeySequence::Save);
    QAction* saveAs = file->addAction(tr("Speichern &unter..."), this, &StudioWindow::saveAs);
    saveAs->setObjectName(QStringLiteral("saveAs"));
    saveAs->setShortcut(QKeySequence::SaveAs);
    file->addAction(tr("Beispielprojekt &ausschreiben..."), this, &StudioWindow::onWriteSample);
    file->addSeparator();
    QAction* exportPng = file->addAction(tr("Als &PNG exportieren..."), this, [this] { onExport(QStringLiteral("png"), tr("PNG-Bilder (*.png)")); });
    QAction* exportSvg = file->addAction(tr("Als S&VG exportieren..."), this, [this] { onExport(QStringLiteral("svg"), tr("SVG-Grafiken (*.svg)")); });
    QAction* exportPdf = file->addAction(tr("Als PD&F exportieren..."), this, [this] { onExport(QStringLiteral("pdf"), tr("PDF-Dokumente (*.pdf)")); });
    exportPng->setObjectName(QStringLiteral("exportPng"));
    exportSvg->setObjectName(QStringLiteral("exportSvg"));
    exportPdf->setObjectName(QStringLiteral("exportPdf"));
    QAction* preview = file->addAction(tr("&Druckvorschau..."), this, &StudioWindow::onPrintPreview);
    preview->setObjectName(QStringLiteral("printPreview"));
    preview->setShortcut(QKeySequence::Print);
    file->addSeparator();
    QAction* quit = file->addAction(tr("&Beenden"), this, &QWidget::close);
    quit->setShortcut(QKeySequence::Quit);

    m_editMenu = new StudioEditMenu([this] { return activeCodeView(); }, this);
    menuBar()->addMenu(m_editMenu);
    connect(m_mdiArea, &QMdiArea::subWindowActivated, m_editMenu, &StudioEditMenu::followActiveView);
    connect(m_changes, &ProjectChangeWatch::modifiedChanged, this, &QWidget::setWindowModified);

    QMenu* view = menuBar()->addMenu(tr("&Ansicht"));
    view->setObjectName(QStringLiteral("viewMenu"));
    QAction* fit = view->addAction(tr("&Einpassen"), this, &StudioWindow::zoomToFit);
    fit->setObjectName(QStringLiteral("zoomToFit"));
    fit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_0));
    QAction* zoomIn = view->addAction(tr("&Vergrößern"), this, [this] { zoomBy(0.1); });
    zoomIn->setShortcut(QKeySequence::ZoomIn);
    QAction* zoomOut = view->addAction(tr("Ver&kleinern"), this, [this] { zoomBy(-0.1); });
    zoomOut->setShortcut(QKeySequence::ZoomOut);
    QAction* zoom100 = view->addAction(tr("&Originalgröße (100 %)"), this, [this] {
        if (BlockCodeView* codeView = activeCodeView())
            codeView->setZoomFactor(1.0);
    });
    zoom100->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_1));
    view->addSeparator();
    m_pinMenu = view->addMenu(tr("&Anschlüsse anzeigen als"));
    m_pinMenu->setObjectName(QStringLiteral("pinMenu"));
    connect(m_pinMenu, &QMenu::aboutToShow, this, &StudioWindow::rebuildPinMenu);
    m_viewActions = {exportPng, exportSvg, exportPdf, preview, fit, zoomIn, zoomOut, zoom100, m_pinMenu->menuAction()};

    QMenu* extras = menuBar()->addMenu(tr("&Extras"));
    QMenu* level = extras->addMenu(tr("&Zugriffsstufe"));
    auto* levels = new QActionGroup(this);
    for (quint32 n = 0; n <= System::MaximumAccessLevel; ++n) {
        QAction* a = level->addAction(tr("Stufe %1").arg(n));
        a->setObjectName(QStringLiteral("accessLevel%1").arg(n));
        a->setCheckable(true);
        a->setChecked(n == System::instance().userAccessLevelCode());
        levels->addAction(a);
        connect(a, &QAction::triggered, this, [n] { System::instance().setUserAccessLevelCode(n); });
    }
    connect(&System::instance(), &System::userAccessLevelCodeChanged, this, [levels](quint32 value, quint32) {
        const auto actions = levels->actions();
        if (int(value) < actions.size())
            actions.at(int(value))->setChecked(true);
    });
    QMenu* language = extras->addMenu(tr("&Sprache"));
    auto* languages = new QActionGroup(this);
    for (int l : LanguageManager::instance().languages()) {
        QAction* a = language->addAction(LanguageManager::languageName(l));
        a->setCheckable(true);
        a->setChecked(l == LanguageManager::instance().activeLanguage());
        languages->addAction(a);
        connect(a, &QAction::triggered, this, [l] { LanguageManager::instance().setActiveLanguage(l); });
    }
    m_areaMenu = menuBar()->addMenu(tr("&Bereiche"));
    m_areaMenu->setObjectName(QStringLiteral("areaMenu"));
    m_libraryMenu = menuBar()->addMenu(tr("B&ibliotheken"));
    m_libraryMenu->setObjectName(QStringLiteral("libraryMenu"));
    // Built when opened, so that it always lists the repository as it is now.
    connect(m_libraryMenu, &QMenu::aboutToShow, this, &StudioWindow::rebuildLibraryMenu);
    QMenu* window = menuBar()->addMenu(tr("&Fenster"));
    window->addAction(tr("&Nebeneinander"), m_mdiArea, &QMdiArea::tileSubWindows);
    window->addAction(tr("&Überlappend"), m_mdiArea, &QMdiArea::cascadeSubWindows);
    window->addAction(m_messages->toggleViewAction());
    connect(m_mdiArea, &QMdiArea::subWindowActivated, this, &StudioWindow::updateViewActions);
    resize(1280, 800);
    // The messages are a glance below the editors, not the main thing.
    resizeDocks({m_messages}, {120}, Qt::Vertical);
    updateTitle();
    updateViewActions();
}

StudioWindow::~StudioWindow()
{
    // The menu follows the editors' scenes; it goes first, so that no dying scene reaches it.
    delete m_editMenu;
    m_editMenu = nullptr;
    m_changes->setProject(nullptr);
    // The editors go before the project whose model they show.
    closeAllEditors();
    if (System::instance().mainWindow() == this)
        System::instance().setMainWindow(nullptr);
}

bool StudioWindow::openProject(const QString& path)
{
    if (!maySetProjectAside())
        return false;
    QString error;
    std::unique_ptr<Project> project(Project::load(path, &error));
    if (!project) {
        System::addCriticalMessage(tr("Projekt"), error);
        if (isVisible())
            QMessageBox::warning(this, tr("Projekt öffnen"), error);
        return false;
    }
    setProject(std::move(project));
    System::addInformationMessage(tr("Projekt"), tr("%1 geöffnet.").arg(path));
    return true;
}

bool StudioWindow::openSample()
{
    if (!maySetProjectAside())
        return false;
    QFile file(kSamplePath);
    QString error;
    std::unique_ptr<Project> project;
    if (file.open(QIODevice::ReadOnly))
        project.reset(Project::loadFromData(file.readAll(), QStringLiteral(":/samples/sample"), kSamplePath, &error));
    else
        error = tr("Das Beispielprojekt fehlt im Programm.");
    if (!project) {
        System::addCriticalMessage(tr("Projekt"), error);
        return false;
    }
    setProject(std::move(project));
    System::addInformationMessage(tr("Projekt"), tr("Beispielprojekt geöffnet."));
    return true;
}

bool StudioWindow::saveProject(const QString& path)
{
    if (!m_project)
        return false;
    QString error;
    if (!m_project->save(path, &error)) {
        System::addCriticalMessage(tr("Projekt"), error);
        if (isVisible())
            QMessageBox::warning(this, tr("Projekt speichern"), error);
        return false;
    }
    System::addInformationMessage(tr("Projekt"), tr("%1 gespeichert.").arg(path));
    m_changes->markSaved();
    updateTitle();
    return true;
}

bool StudioWindow::save()
{
    if (!m_project)
        return false;
    if (m_project->filePath().isEmpty())
        return saveAs();
    return saveProject(m_project->filePath());
}

bool StudioWindow::saveAs()
{
    if (!m_project)
        return false;
    QFileDialog dialog(this, tr("Projekt speichern unter"), m_project->filePath(), tr("Projekte (*.zkproj)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("zkproj"));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return false;
    return saveProject(dialog.selectedFiles().first());
}

bool StudioWindow::isProjectModified() const
{
    return m_project && m_changes->check();
}

bool StudioWindow::maySetProjectAside()
{
    if (!isProjectModified())
        return true;
    const QString name = m_project->name().isEmpty() ? tr("Das Projekt") : tr("Das Projekt „%1“").arg(m_project->name());
    QMessageBox box(QMessageBox::Warning, tr("Ungespeicherte Änderungen"), tr("%1 wurde geändert.").arg(name),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    box.setObjectName(QStringLiteral("unsavedChangesBox"));
    box.setInformativeText(tr("Sollen die Änderungen gespeichert werden?"));
    box.button(QMessageBox::Save)->setText(tr("Speichern"));
    box.button(QMessageBox::Discard)->setText(tr("Verwerfen"));
    box.button(QMessageBox::Cancel)->setText(tr("Abbrechen"));
    box.setDefaultButton(QMessageBox::Save);
    box.setEscapeButton(QMessageBox::Cancel);
    box.exec();
    QAbstractButton* clicked = box.clickedButton();
    if (clicked == box.button(QMessageBox::Save))
        // A save that fails or whose file dialog is cancelled keeps the project, as a cancel does.
        return save();
    // Closed without a choice (the window's own close button) counts as a cancel.
    return clicked == box.button(QMessageBox::Discard);
}

void StudioWindow::closeEvent(QCloseEvent* event)
{
    if (maySetProjectAside())
        event->accept();
    else
        event->ignore();
}

void StudioWindow::setProject(std::unique_ptr<Project> project)
{
    closeAllEditors();
    if (m_project)
        m_project->deactivate();
    m_project = std::move(project);
    m_project->activate();
    rebuildAreaMenu();
    updateTitle();
    openFirstAxisArea();
    // Taken once the editors are up: what they did to the model while coming up is no edit of
    // the user's.
    m_changes->setProject(m_project.get());
}

void StudioWindow::closeAllEditors()
{
    // Closed, so that library windows keep their geometry, and deleted at once rather than later:
    // the model behind them is about to go.
    const QList<QMdiSubWindow*> windows = m_mdiArea->subWindowList();
    for (QMdiSubWindow* window : windows) {
        QPointer<QMdiSubWindow> guard(window);
        window->close();
        delete guard.data();
    }
}

void StudioWindow::openFirstAxisArea()
{
    if (!m_project || m_project->areas().isEmpty())
        return;
    // Area 0 holds the global program; the axes are what a user opens a project for.
    const QList<BlockInstanceArea*> areas = m_project->areas();
    BlockInstanceArea* first = areas.first();
    for (BlockInstanceArea* area : areas) {
        if (area->firstNumber() != 0 && area->hasOwnProgram()) {
            first = area;
            break;
        }
    }
    if (AreaSubWindow* window = openArea(first))
        window->showMaximized();
}

AreaSubWindow* StudioWindow::areaWindow(BlockInstanceArea* area) const
{
    if (!area)
        return nullptr;
    const QList<QMdiSubWindow*> windows = m_mdiArea->subWindowList();
    for (QMdiSubWindow* window : windows) {
        auto* areaWindow = qobject_cast<AreaSubWindow*>(window);
        if (areaWindow && areaWindow->area() == area)
            return areaWindow;
    }
    return nullptr;
}

AreaSubWindow* StudioWindow::openArea(BlockInstanceArea* area)
{
    if (!area)
        return nullptr;
    AreaSubWindow* window = areaWindow(area);
    if (!window) {
        window = new AreaSubWindow(area);
        m_mdiArea->addSubWindow(window);
        window->resize(m_mdiArea->size() * 0.9);
        window->show();
    }
    if (window->isMinimized())
        window->showNormal();
    m_mdiArea->setActiveSubWindow(window);
    updateViewActions();
    return window;
}

QMdiSubWindow* StudioWindow::openLibraryDefinition(BlockDefinition* definition)
{
    LibraryBlockDefinitionSubWindow* window = LibraryBlockDefinitionSubWindow::forDefinition(definition);
    if (!window)
        return nullptr;
    if (window->mdiArea() == m_mdiArea) {
        if (window->isHidden())
            window->show();
        if (window->isMinimized())
            window->showNormal();
        m_mdiArea->setActiveSubWindow(window);
    }
    updateViewActions();
    return window;
}

BlockCodeView* StudioWindow::activeCodeView() const
{
    QMdiSubWindow* window = m_mdiArea->activeSubWindow();
    if (!window) {
        // Without focus (a window in the background, a test) the top of the stack counts.
        const QList<QMdiSubWindow*> windows = m_mdiArea->subWindowList(QMdiArea::StackingOrder);
        if (!windows.isEmpty())
            window = windows.last();
    }
    return window && window->widget() ? window->widget()->findChild<BlockCodeView*>() : nullptr;
}

bool StudioWindow::zoomToFit()
{
    BlockCodeView* view = activeCodeView();
    if (!view || !view->scene())
        return false;
    const QRectF rect = StudioExporter::drawingRect(view->scene());
    if (rect.isEmpty())
        return false;
    const QSize viewport = view->viewport()->size();
    double factor = std::min(viewport.width() / (rect.width() * BlockCodeView::BaseScale),
                             viewport.height() / (rect.height() * BlockCodeView::BaseScale));
    // The view refuses factors outside its limits rather than clamping them.
    factor = std::clamp(factor, BlockCodeView::MinimumZoomFactor, BlockCodeView::MaximumZoomFactor);
    view->setZoomFactor(factor);
    view->centerOn(rect.center());
    return true;
}

void StudioWindow::zoomBy(double step)
{
    if (BlockCodeView* view = activeCodeView())
        view->setZoomFactor(view->zoomFactor() + step);
}

QString StudioWindow::activeTitle() const
{
    QMdiSubWindow* window = m_mdiArea->activeSubWindow();
    if (!window) {
        const QList<QMdiSubWindow*> windows = m_mdiArea->subWindowList(QMdiArea::StackingOrder);
        if (!windows.isEmpty())
            window = windows.last();
    }
    if (!window)
        return QString();
    QString title = window->windowTitle();
    if (BlockCodeView* view = activeCodeView()) {
        if (!view->currentPath().isEmpty())
            title += QStringLiteral(" - ") + view->currentPath();
        if (view->statusLabel() && !view->statusLabel()->text().isEmpty())
            title += QStringLiteral(" - ") + view->statusLabel()->text();
    }
    return title;
}

StudioExporter StudioWindow::activeExporter() const
{
    BlockCodeView* view = activeCodeView();
    QGraphicsScene* scene = view ? view->scene() : nullptr;
    // The screen's resolution, which the items' texts were measured at.
    return StudioExporter(scene, scene ? view->viewport()->logicalDpiY() : 0, activeTitle());
}

bool StudioWindow::exportCode(const QString& path, QString* error)
{
    return activeExporter().exportTo(path, error);
}

bool StudioWindow::printCode(QPrinter* printer)
{
    return activeExporter().print(printer);
}

void StudioWindow::onExport(const QString& suffix, const QString& filter)
{
    if (!activeCodeView())
        return;
    QString name = m_mdiArea->activeSubWindow() ? m_mdiArea->activeSubWindow()->windowTitle() : QString();
    name.replace(QRegularExpression(QStringLiteral("[^\\w\\-]+")), QStringLiteral("_"));
    const QString path = QFileDialog::getSaveFileName(this, tr("Code exportieren"), name + QLatin1Char('.') + suffix, filter);
    if (path.isEmpty())
        return;
    QString error;
    if (exportCode(path, &error)) {
        System::addInformationMessage(tr("Export"), tr("%1 geschrieben.").arg(path));
    } else {
        System::addCriticalMessage(tr("Export"), error);
        QMessageBox::warning(this, tr("Code exportieren"), error);
    }
}

void StudioWindow::onPrintPreview()
{
    if (!activeCodeView())
        return;
    QPrinter printer(QPrinter::HighResolution);
    QPrintPreviewDialog dialog(&printer, this);
    dialog.setWindowTitle(tr("Druckvorschau"));
    connect(&dialog, &QPrintPreviewDialog::paintRequested, this, [this](QPrinter* target) { printCode(target); });
    dialog.exec();
}

void StudioWindow::rebuildAreaMenu()
{
    m_areaMenu->clear();
    if (!m_project)
        return;
    const QList<BlockInstanceArea*> areas = m_project->areas();
    for (int i = 0; i < areas.size(); ++i) {
        BlockInstanceArea* area = areas.at(i);
        QMenu* menu = m_areaMenu->addMenu(area->displayName());
        QAction* online = menu->addAction(tr("Online"));
        online->setCheckable(true);
        online->setChecked(area->isOnline());
        online->setEnabled(area->hasOwnProgram());
        connect(online, &QAction::toggled, area, [area](bool on) { area->setOnline(on); });
        connect(area, &BlockInstanceArea::onlineChanged, online, &QAction::setChecked);
        menu->addSeparator();
        QAction* open = menu->addAction(tr("Editor öffnen"));
        open->setObjectName(QStringLiteral("openArea%1").arg(i));
        connect(open, &QAction::triggered, area, [this, area] { openArea(area); });
    }
}

void StudioWindow::rebuildLibraryMenu()
{
    m_libraryMenu->clear();
    const QList<BlockLibraryContainer*> containers = BlockRepository::instance().containers();
    for (BlockLibraryContainer* container : containers) {
        BlockLibrary* library = container->library();
        if (container->isLocal() || !library || library->blocks().isEmpty())
            continue;
        QMenu* menu = m_libraryMenu->addMenu(container->name().text());
        QList<Block*> blocks = library->blocks();
        std::sort(blocks.begin(), blocks.end(), [](Block* a, Block* b) {
            return QString::localeAwareCompare(blockMenuText(a), blockMenuText(b)) < 0;
        });
        for (Block* block : blocks) {
            const QList<unsigned int> versions = block->versions();
            if (versions.isEmpty())
                continue;
            QPointer<Block> guard(block);
            auto openVersion = [this, guard](unsigned int version) {
                if (guard)
                    openLibraryDefinition(guard->blockDefinition(version));
            };
            if (versions.size() == 1) {
                const unsigned int version = versions.first();
                menu->addAction(blockMenuText(block), this, [openVersion, version] { openVersion(version); });
                continue;
            }
            QMenu* versionMenu = menu->addMenu(blockMenuText(block));
            for (unsigned int version : versions)
                versionMenu->addAction(tr("Version %1").arg(version), this, [openVersion, version] { openVersion(version); });
        }
    }
    if (m_libraryMenu->isEmpty())
        m_libraryMenu->addAction(tr("Keine Bibliothek geladen"))->setEnabled(false);
}

void StudioWindow::rebuildPinMenu()
{
    m_pinMenu->clear();
    BlockCodeView* view = activeCodeView();
    auto* scene = view ? qobject_cast<BlockHierarchyNodeScene*>(view->scene()) : nullptr;
    QAction* names = m_pinMenu->addAction(tr("Name"));
    QAction* values = m_pinMenu->addAction(tr("Wert"));
    names->setCheckable(true);
    values->setCheckable(true);
    if (!scene) {
        names->setEnabled(false);
        values->setEnabled(false);
        return;
    }
    names->setChecked(scene->pinDisplayMode() == PinDisplay::Name);
    values->setChecked(scene->pinDisplayMode() == PinDisplay::CurrentValue);
    // Values exist only while the device runs.
    BlockInstanceArea* area = scene->sceneArea();
    values->setEnabled(area && area->isOnline());
    QPointer<BlockHierarchyNodeScene> guard(scene);
    connect(names, &QAction::triggered, this, [guard] {
        if (guard)
            guard->showPinsName();
    });
    connect(values, &QAction::triggered, this, [guard] {
        if (guard)
            guard->showPinsCurrentValue();
    });
}

void StudioWindow::updateViewActions()
{
    const bool hasCode = activeCodeView() != nullptr;
    for (QAction* action : std::as_const(m_viewActions))
        action->setEnabled(hasCode);
}

void StudioWindow::updateTitle()
{
    const QString name = m_project ? m_project->name() : QString();
    // "[*]" stands where the toolkit shows the modified marker.
    setWindowTitle(name.isEmpty() ? tr("Zerkanta Bausteinstudio[*]") : tr("%1[*] - Zerkanta Bausteinstudio").arg(name));
    m_statusLabel->setText(m_project && !m_project->filePath().isEmpty() ? m_project->filePath() : tr("nicht gespeichert"));
}

void StudioWindow::onOpen()
{
    const QString path = QFileDialog::getOpenFileName(this, tr("Projekt öffnen"), QString(), tr("Projekte (*.zkproj *.json)"));
    if (!path.isEmpty())
        openProject(path);
}

void StudioWindow::onWriteSample()
{
    const QString path = QFileDialog::getSaveFileName(this, tr("Beispielprojekt ausschreiben"), QStringLiteral("project.zkproj"),
                                                      tr("Projekte (*.zkproj)"));
    if (path.isEmpty())
        return;
    QFile file(kSamplePath);
    QString error;
    std::unique_ptr<Project> sample;
    if (file.open(QIODevice::ReadOnly))
        sample.reset(Project::loadFromData(file.readAll(), QStringLiteral(":/samples/sample"), kSamplePath, &error));
    if (!sample || !sample->save(path, &error))
        System::addCriticalMessage(tr("Projekt"), error);
    else
        System::addInformationMessage(tr("Projekt"), tr("Beispielprojekt nach %1 geschrieben.").arg(path));
}
