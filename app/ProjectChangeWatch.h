#pragma once

#include "Project.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QTimer>

class Block;
class BlockLibrary;

// Tells whether the open project differs from what was last loaded or saved. The truth is the
// stored form itself, the bytes that saving would write, compared with those of the last load or
// save: an edit undone again, or one made and taken back by hand, leaves the project unmodified.
// The model's change signals and the undo stacks of its editors only say when to compare again.
class ProjectChangeWatch : public QObject
{
    Q_OBJECT
public:
    explicit ProjectChangeWatch(QObject* parent = nullptr);
    ~ProjectChangeWatch() override;

    // Watches the project as it is now, taking its present form for the saved one.
    void setProject(Project* project);
    Project* project() const { return m_project.data(); }
    // The project was just written: its present form is the saved one.
    void markSaved();

    // As of the last comparison, which follows every announced change after a short pause.
    bool isModified() const { return m_modified; }
    // Compares at once, also for changes the model did not announce; for decisions that must not
    // rest on a pause that may not have passed yet.
    bool check();

    // The project file and every library file the project keeps beside it, as saving writes them.
    static QByteArray storedForm(const Project* project);

Q_SIGNALS:
    void modifiedChanged(bool modified);

private:
    void schedule();
    void setModified(bool modified);
    // (Re-)connects to everything of the project that announces changes; what an edit added since
    // the last time is picked up here.
    void listen();
    void listenTo(BlockLibrary* library);
    void listenTo(Block* block);

    QPointer<Project> m_project;
    QByteArray m_saved;
    bool m_modified = false;
    // Edits come in bursts (a drag announces every step); one comparison after the burst is enough.
    QTimer m_pause;
};
