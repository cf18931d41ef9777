#pragma once

#include <QMainWindow>

#include <memory>

class AreaSubWindow;
class BlockCodeView;
class BlockDefinition;
class BlockInstanceArea;
class MessageDock;
class Project;
class ProjectChangeWatch;
class QAction;
class QActionGroup;
class QCloseEvent;
class QLabel;
class QMdiArea;
class QMdiSubWindow;
class QMenu;
class QPrinter;
class StudioEditMenu;
class StudioExporter;

// The host of the component: opens a project, keeps the suite's controls (access level,
// language, online state, messages) and holds the editors in its MDI area, one sub-window per
// device area and per library definition.
class StudioWindow : public QMainWindow
{
    Q_OBJECT
public:
    StudioWindow();
    ~StudioWindow() override;

    // Replaces the open project; a project that cannot be read leaves the open one as it was.
    // A project comes up with its first axis area shown. Unsaved changes of the open project are
    // offered for saving first; cancelling there keeps the open project and returns false.
    bool openProject(const QString& path);
    bool openSample();
    // Writes the project to the path, which becomes its file; false with a message on failure.
    bool saveProject(const QString& path);
    // "Speichern": to the project's file, or asks for one as "Speichern unter..." does.
    bool save();
    // Asks for a file and saves there; false if the user cancels or the file cannot be written.
    bool saveAs();
    // Whether the project differs from its file (or, never saved, from how it was opened).
    bool isProjectModified() const;
    // With unsaved changes asks whether to save, discard or cancel. True when the caller may go on:
    // nothing to save, saved, or discarded.
    bool maySetProjectAside();
    Project* project() const { return m_project.get(); }
    QMdiArea* mdiArea() const { return m_mdiArea; }
    StudioEditMenu* editMenu() const { return m_editMenu; }
    ProjectChangeWatch* changeWatch() const { return m_changes; }

    // Opens the area's window, or brings the open one to the front.
    AreaSubWindow* openArea(BlockInstanceArea* area);
    AreaSubWindow* areaWindow(BlockInstanceArea* area) const;
    // The library sub-window of the definition, made on first use; null for a null definition.
    QMdiSubWindow* openLibraryDefinition(BlockDefinition* definition);

    // The code view of the active sub-window; null without one.
    BlockCodeView* activeCodeView() const;
    // Shows everything the level draws, as large as the view allows within the zoom limits.
    bool zoomToFit();
    // Writes the code shown in the active sub-window as PNG, SVG or PDF, after the file's suffix.
    bool exportCode(const QString& path, QString* error = nullptr);
    // Draws the code shown in the active sub-window onto the printer's sheets, title above.
    bool printCode(QPrinter* printer);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void setProject(std::unique_ptr<Project> project);
    void closeAllEditors();
    void openFirstAxisArea();
    void rebuildAreaMenu();
    void rebuildLibraryMenu();
    void rebuildPinMenu();
    void updateViewActions();
    void updateTitle();
    void onOpen();
    void onWriteSample();
    void onExport(const QString& suffix, const QString& filter);
    void onPrintPreview();
    void zoomBy(double step);
    QString activeTitle() const;
    // Export and print of the active sub-window's code, titled as the window.
    StudioExporter activeExporter() const;

    std::unique_ptr<Project> m_project;
    QMdiArea* m_mdiArea;
    MessageDock* m_messages;
    ProjectChangeWatch* m_changes;
    StudioEditMenu* m_editMenu = nullptr;
    QMenu* m_areaMenu = nullptr;
    QMenu* m_libraryMenu = nullptr;
    QMenu* m_pinMenu = nullptr;
    QList<QAction*> m_viewActions;
    QLabel* m_statusLabel;
};
