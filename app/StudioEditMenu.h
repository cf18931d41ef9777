#pragma once

#include <QMenu>
#include <QMetaObject>
#include <QPointer>

#include <functional>

class BlockCodeScene;
class BlockCodeView;
class BlockDefinitionScene;
class QAction;

// The studio's "Bearbeiten" menu: undo and redo of the active editor's undo stack, and cut, copy,
// paste and delete on the scene it shows. The entries follow whatever the active editor shows now
// (another sub-window, another level, the edit mode switched), and each entry asks for the scene
// again when it is triggered, so that a stale state never acts on a scene that is no longer shown.
class StudioEditMenu : public QMenu
{
    Q_OBJECT
public:
    // `activeView` names the code view of the active editor, or null without one.
    StudioEditMenu(std::function<BlockCodeView*()> activeView, QWidget* parent = nullptr);
    ~StudioEditMenu() override;

    QAction* undoAction() const { return m_undo; }
    QAction* redoAction() const { return m_redo; }
    QAction* cutAction() const { return m_cut; }
    QAction* copyAction() const { return m_copy; }
    QAction* pasteAction() const { return m_paste; }
    QAction* deleteAction() const { return m_delete; }

public Q_SLOTS:
    // Looks again for the active view and its scene and sets the entries after them. Called when
    // another sub-window becomes the active one; the menu hears of scene changes by itself.
    void followActiveView();

private:
    QList<QAction*> entries() const;
    BlockCodeScene* shownScene() const;
    // The definition scene shown, if the user may change it.
    BlockDefinitionScene* writableScene() const;
    void followScene();
    void updateEntries();

    std::function<BlockCodeView*()> m_activeView;
    QPointer<BlockCodeView> m_view;
    QPointer<BlockCodeScene> m_scene;
    QList<QMetaObject::Connection> m_viewConnections;
    QList<QMetaObject::Connection> m_sceneConnections;
    QAction* m_undo;
    QAction* m_redo;
    QAction* m_cut;
    QAction* m_copy;
    QAction* m_paste;
    QAction* m_delete;
};
