#include "StudioWindow.h"

#include "MessageDock.h"

#include "BlockInstanceArea.h"
#include "LanguageManager.h"
#include "Project.h"
#include "System.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QMdiArea>
#include <QMenuBar>
#include <QMessageBox>
#include <QStatusBar>

namespace {

const QString kSamplePath = QStringLiteral(":/samples/sample/project.zkproj");

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
    QAction* quit = file->addAction(tr("&Beenden"), this, &QWidget::close);
    quit->setShortcut(QKeySequence::Quit);

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
    QMenu* window = menuBar()->addMenu(tr("&Fenster"));
    window->addAction(tr("&Nebeneinander"), m_mdiArea, &QMdiArea::tileSubWindows);
    window->addAction(tr("&Überlappend"), m_mdiArea, &QMdiArea::cascadeSubWindows);
    window->addAction(m_messages->toggleViewAction());
    resize(1280, 800);
    updateTitle();
}

StudioWindow::~StudioWindow()
{
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
    m_mdiArea->closeAllSubWindows();
    if (m_project)
        m_project->deactivate();
    m_project = std::move(project);
    m_project->activate();
    rebuildAreaMenu();
    updateTitle();
}

void StudioWindow::rebuildAreaMenu()
{
    m_areaMenu->clear();
    if (!m_project)
        return;
    for (BlockInstanceArea* area : m_project->areas()) {
        QMenu* menu = m_areaMenu->addMenu(area->displayName());
        QAction* online = menu->addAction(tr("Online"));
        online->setCheckable(true);
        online->setChecked(area->isOnline());
        online->setEnabled(area->hasOwnProgram());
        connect(online, &QAction::toggled, area, [area](bool on) { area->setOnline(on); });
        connect(area, &BlockInstanceArea::onlineChanged, online, &QAction::setChecked);
    }
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
