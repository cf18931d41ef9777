#pragma once

#include <QMainWindow>

#include <memory>

class MessageDock;
class Project;
class QActionGroup;
class QLabel;
class QMdiArea;
class QMenu;

// The host of the component: opens a project, keeps the suite's controls (access level,
// language, online state, messages) and holds the editors in its MDI area.
class StudioWindow : public QMainWindow
{
    Q_OBJECT
public:
    StudioWindow();
    ~StudioWindow() override;

    // Replaces the open project; a project that cannot be read leaves the open one as it was.
    bool openProject(const QString& path);
    bool openSample();
    bool saveProject(const QString& path);
    Project* project() const { return m_project.get(); }
    QMdiArea* mdiArea() const { return m_mdiArea; }

private:
    void setProject(std::unique_ptr<Project> project);
    void rebuildAreaMenu();
    void updateTitle();
    void onOpen();
    void onSave();
    void onSaveAs();
    void onWriteSample();

    std::unique_ptr<Project> m_project;
    QMdiArea* m_mdiArea;
    MessageDock* m_messages;
    QMenu* m_areaMenu = nullptr;
    QLabel* m_statusLabel;
};
