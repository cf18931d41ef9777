#include "StudioWindow.h"

#include "AreaSubWindow.h"
#include "MessageDock.h"

#include "BlockCodeScene.h"
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

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QGraphicsItemGroup>
#include <QImage>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QPainter>
#include <QPdfWriter>
#include <QPointer>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QStatusBar>
#include <QSvgGenerator>
#include <QtMath>
#include <QRegularExpression>

#include <algorithm>

namespace {

const QString kSamplePath = QStringLiteral(":/samples/sample/project.zkproj");

// Scene units around the drawing in a fitted view and in exported pictures.
constexpr double kDrawingMargin = 1000.0;
// Pictures are written at twice the size of the 100 % view, capped so that a sprawling level
// still makes a file that image viewers open.
constexpr double kExportScale = 2.0 * 0.03;
constexpr double kMaximumExportSide = 8000.0;
// Pages show the code at least as large as the 100 % view: below that, the items leave out their
// texts, and a page of boxes without names helps nobody. A level too wide for one sheet is printed
// on several.
constexpr double kReadablePageScale = 0.03;
constexpr double kLargestPageScale = 2.0 * 0.03;
constexpr double kPageMarginMillimetres = 10.0;

// What the level draws. The scene's background layers (the frame, the tint and the grid of edit
// mode) span the whole scene rectangle and would make every picture a square kilometre.
QRectF drawnRect(QGraphicsScene* scene)
{
    auto* codeScene = dynamic_cast<BlockCodeScene*>(scene);
    QRectF rect;
    const QList<QGraphicsItem*> items = scene->items();
    for (QGraphicsItem* item : items) {
        if (item->parentItem() || !item->isVisible())
            continue;
        if ((codeScene && item == codeScene->backgroundItem()) || dynamic_cast<QGraphicsItemGroup*>(item)
            || item->zValue() <= -9999)
            continue;
        rect |= item->sceneBoundingRect() | item->mapRectToScene(item->childrenBoundingRect());
    }
    return rect;
}

// The items draw their texts in point sizes: a device of another resolution than the screen would
// scale the texts against the geometry. Pictures and pages are therefore made at the screen's.
int diagramResolution(BlockCodeView* view)
{
    return view->viewport()->logicalDpiY();
}

// Draws the scene without the user's selection, which is a state of the view, not of the code.
void renderScene(QGraphicsScene* scene, QPainter* painter, const QRectF& target, const QRectF& source)
{
    const QList<QGraphicsItem*> selected = scene->selectedItems();
    const bool blocked = scene->blockSignals(true);
    for (QGraphicsItem* item : selected)
        item->setSelected(false);
    painter->setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
    scene->render(painter, target, source, Qt::KeepAspectRatio);
    for (QGraphicsItem* item : selected)
        item->setSelected(true);
    scene->blockSignals(blocked);
}

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
    QAction* save = file->addAction(tr("Projekt &speichern"), this, &StudioWindow::onSave);
    save->setShortcut(QKeySequence::Save);
    file->addAction(tr("Projekt speichern &unter..."), this, &StudioWindow::onSaveAs);
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
    // The editors go before the project whose model they show.
    closeAllEditors();
    if (System::instance().mainWindow() == this)
        System::instance().setMainWindow(nullptr);
}

bool StudioWindow::openProject(const QString& path)
{
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
    updateTitle();
    return true;
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
    QRectF rect = drawnRect(view->scene());
    if (rect.isEmpty())
        return false;
    rect.adjust(-kDrawingMargin, -kDrawingMargin, kDrawingMargin, kDrawingMargin);
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

bool StudioWindow::exportCode(const QString& path, QString* error)
{
    auto fail = [error](const QString& text) {
        if (error)
            *error = text;
        return false;
    };
    BlockCodeView* view = activeCodeView();
    if (!view || !view->scene())
        return fail(tr("Es ist kein Code geöffnet."));
    QRectF source = drawnRect(view->scene());
    if (source.isEmpty())
        return fail(tr("Die Ebene enthält nichts zu zeigen."));
    source.adjust(-kDrawingMargin, -kDrawingMargin, kDrawingMargin, kDrawingMargin);
    const double scale = std::min(kExportScale, kMaximumExportSide / std::max(source.width(), source.height()));
    const QSize size(qCeil(source.width() * scale), qCeil(source.height() * scale));
    const QRectF target(QPointF(0, 0), QSizeF(size));

    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("png")) {
        QImage image(size, QImage::Format_ARGB32_Premultiplied);
        const int dotsPerMeter = qRound(diagramResolution(view) / 0.0254);
        image.setDotsPerMeterX(dotsPerMeter);
        image.setDotsPerMeterY(dotsPerMeter);
        image.fill(Qt::white);
        QPainter painter(&image);
        renderScene(view->scene(), &painter, target, source);
        painter.end();
        if (!image.save(path, "PNG"))
            return fail(tr("%1 kann nicht geschrieben werden.").arg(path));
        return true;
    }
    if (suffix == QLatin1String("svg")) {
        QSvgGenerator generator;
        generator.setFileName(path);
        generator.setSize(size);
        generator.setViewBox(QRect(QPoint(0, 0), size));
        generator.setTitle(activeTitle());
        generator.setDescription(tr("Bausteincode, exportiert aus dem Zerkanta Bausteinstudio"));
        generator.setResolution(diagramResolution(view));
        QPainter painter;
        if (!painter.begin(&generator))
            return fail(tr("%1 kann nicht geschrieben werden.").arg(path));
        painter.fillRect(target, Qt::white);
        renderScene(view->scene(), &painter, target, source);
        painter.end();
        return QFileInfo(path).size() > 0 || fail(tr("%1 kann nicht geschrieben werden.").arg(path));
    }
    if (suffix == QLatin1String("pdf")) {
        // One sheet as large as the drawing at the 100 % view, so that the file shows the whole
        // level legibly; never smaller than A4.
        const double resolution = diagramResolution(view);
        const double millimetresPerUnit = kReadablePageScale / resolution * 25.4;
        const QSizeF a4 = QPageSize(QPageSize::A4).size(QPageSize::Millimeter);
        const QSizeF drawing(source.width() * millimetresPerUnit + 2 * kPageMarginMillimetres,
                             source.height() * millimetresPerUnit + 2 * kPageMarginMillimetres + 12.0);
        const bool landscape = drawing.width() >= drawing.height();
        const QSizeF minimum = landscape ? a4.transposed() : a4;
        const QSizeF sheet(std::max(drawing.width(), minimum.width()), std::max(drawing.height(), minimum.height()));
        QPdfWriter writer(path);
        writer.setTitle(activeTitle());
        writer.setCreator(tr("Zerkanta Bausteinstudio"));
        writer.setResolution(qRound(resolution));
        writer.setPageLayout(QPageLayout(QPageSize(sheet, QPageSize::Millimeter, QString(), QPageSize::ExactMatch),
                                         QPageLayout::Portrait,
                                         QMarginsF(kPageMarginMillimetres, kPageMarginMillimetres, kPageMarginMillimetres,
                                                   kPageMarginMillimetres),
                                         QPageLayout::Millimeter));
        QPainter painter;
        if (!painter.begin(&writer))
            return fail(tr("%1 kann nicht geschrieben werden.").arg(path));
        const bool ok = paintCodePages(&writer, &painter, false);
        painter.end();
        return ok || fail(tr("Die Ebene enthält nichts zu zeigen."));
    }
    return fail(tr("Unbekanntes Dateiformat: %1").arg(path));
}

bool StudioWindow::printCode(QPrinter* printer)
{
    BlockCodeView* view = activeCodeView();
    if (!printer || !view || !view->scene())
        return false;
    const QRectF source = drawnRect(view->scene());
    printer->setPageOrientation(source.width() >= source.height() ? QPageLayout::Landscape : QPageLayout::Portrait);
    printer->setDocName(activeTitle());
    printer->setResolution(diagramResolution(view));
    QPainter painter;
    if (!painter.begin(printer))
        return false;
    const bool ok = paintCodePages(printer, &painter, true);
    painter.end();
    return ok;
}

bool StudioWindow::paintCodePages(QPagedPaintDevice* device, QPainter* painter, bool severalSheets)
{
    BlockCodeView* view = activeCodeView();
    if (!view || !view->scene())
        return false;
    QRectF source = drawnRect(view->scene());
    if (source.isEmpty())
        return false;
    source.adjust(-kDrawingMargin, -kDrawingMargin, kDrawingMargin, kDrawingMargin);

    const QRectF page(0, 0, device->width(), device->height());
    QFont font = QApplication::font();
    font.setPointSizeF(11.0);
    font.setBold(true);
    const QFontMetricsF metrics(font, device);
    const double titleHeight = metrics.height() * 1.8;
    const QRectF area(page.left(), page.top() + titleHeight, page.width(), page.height() - titleHeight);
    if (area.width() <= 0 || area.height() <= 0)
        return false;

    // Device units per scene unit: the page's resolution is the screen's.
    double scale = std::min(area.width() / source.width(), area.height() / source.height());
    scale = std::min(scale, kLargestPageScale);
    if (severalSheets && scale < kReadablePageScale)
        scale = kReadablePageScale;
    const double tileWidth = area.width() / scale;
    const double tileHeight = area.height() / scale;
    const int columns = std::max(1, qCeil(source.width() / tileWidth - 1e-9));
    const int rows = std::max(1, qCeil(source.height() / tileHeight - 1e-9));
    const int sheets = columns * rows;
    const QString title = activeTitle();

    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const int sheet = row * columns + column + 1;
            if (sheet > 1 && !device->newPage())
                return false;
            painter->setFont(font);
            painter->setPen(Qt::black);
            const QString text = sheets > 1 ? tr("%1 (Blatt %2 von %3)").arg(title).arg(sheet).arg(sheets) : title;
            painter->drawText(QRectF(page.left(), page.top(), page.width(), titleHeight), Qt::AlignLeft | Qt::AlignTop,
                              metrics.elidedText(text, Qt::ElideMiddle, page.width()));

            const QRectF tile = QRectF(source.left() + column * tileWidth, source.top() + row * tileHeight, tileWidth, tileHeight)
                                    .intersected(source);
            QRectF target(area.topLeft(), tile.size() * scale);
            if (sheets == 1)
                target.moveLeft(area.left() + (area.width() - target.width()) / 2.0);
            painter->save();
            painter->setClipRect(target);
            renderScene(view->scene(), painter, target, tile);
            painter->restore();
        }
    }
    return true;
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
    setWindowTitle(name.isEmpty() ? tr("Zerkanta Bausteinstudio") : tr("%1 - Zerkanta Bausteinstudio").arg(name));
    m_statusLabel->setText(m_project && !m_project->filePath().isEmpty() ? m_project->filePath() : tr("nicht gespeichert"));
}

void StudioWindow::onOpen()
{
    const QString path = QFileDialog::getOpenFileName(this, tr("Projekt öffnen"), QString(), tr("Projekte (*.zkproj *.json)"));
    if (!path.isEmpty())
        openProject(path);
}

void StudioWindow::onSave()
{
    if (m_project && !m_project->filePath().isEmpty())
        saveProject(m_project->filePath());
    else
        onSaveAs();
}

void StudioWindow::onSaveAs()
{
    const QString path = QFileDialog::getSaveFileName(this, tr("Projekt speichern"), QString(), tr("Projekte (*.zkproj)"));
    if (!path.isEmpty())
        saveProject(path);
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
