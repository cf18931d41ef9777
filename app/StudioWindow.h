#pragma once

#include <QMainWindow>

#include <memory>

class AreaSubWindow;
class BlockCodeView;
class BlockDefinition;
class BlockInstanceArea;
class MessageDock;
class Project;
class QAction;
class QActionGroup;
class QLabel;
class QMdiArea;
class QMdiSubWindow;
class QMenu;
class QPrinter;
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
    // A project comes up with its first axis area shown.
    bool openProject(const QString& path);
    bool openSample();
    bool saveProject(const QString& path);
    Project* project() const { return m_project.get(); }
    QMdiArea* mdiArea() const { return m_mdiArea; }

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
    void onSave();
    void onSaveAs();
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
    QMenu* m_areaMenu = nullptr;
    QMenu* m_libraryMenu = nullptr;
    QMenu* m_pinMenu = nullptr;
    QList<QAction*> m_viewActions;
    QLabel* m_statusLabel;
};
