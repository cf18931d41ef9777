#pragma once

#include "zkblockview_export.h"

#include <QList>
#include <QPointer>

#include <functional>

class BlockInstance;
class BlockPinConnection;
class QGraphicsItem;
class QGraphicsScene;
class QObject;
class QTreeWidget;
class QTreeWidgetItem;

// Every place where the component works around how the toolkit behaves lives here, each with the
// behaviour it relies on. tests/scene/tst_ToolkitWorkarounds checks each of those behaviours on
// the toolkit itself: when a new toolkit version no longer behaves so, the test fails, and the
// workaround must go or change.
class ZK_VIEW_EXPORT ToolkitWorkarounds
{
public:
    ToolkitWorkarounds() = delete;

    // Every row of a tree, depth first, parents before children. findItems("*", MatchWildcard)
    // would be the toolkit's answer, but it converts the wildcard as a file path: "*" stops at
    // "/", and a row named "Ein-/Ausgabe" is missing from it.
    static QList<QTreeWidgetItem*> allRows(const QTreeWidget* tree);

    // A moved item makes the toolkit tell its descendants that follow scene positions
    // (ItemSendsScenePositionChanges) by walking every such follower of the whole scene and
    // asking whether the moved item is its ancestor: moving each of n blocks walks all their
    // followers, quadratic in the blocks. Taking one follower out of that list (clearing its
    // flag) makes the toolkit clear the "has followers" mark of all its ancestors until a queued
    // call sets the marks again; until then the ancestors move without any walk. The moved item
    // then tells its own followers with tellFollowers(). One pause per scene.
    class ScenePositionWalkPause
    {
    public:
        // Takes `standIn`, a follower, out of the toolkit's list until resume() or the next
        // return to the event loop, whichever comes first; `context` carries that queued resume.
        void suspend(QGraphicsItem* standIn, QObject* standInObject, QObject* context);
        void resume();
        // The follower taken out, null if the walk runs.
        const QGraphicsItem* standIn() const;

    private:
        QGraphicsItem* m_standIn = nullptr;
        // The stand-in as a guarded object: it may die before the queued resume comes.
        QPointer<QObject> m_standInObject;
        bool m_resumeQueued = false;
    };

    // Tells every follower below `moved` (and `standIn`, whose flag is off for the pause) of its
    // new scene position, as the toolkit's walk would have.
    static void tellFollowers(QGraphicsItem* moved, const QGraphicsItem* standIn);

    // Whether items came into or left a scene since the watch (re)started, without a scan. A scene
    // without an index (NoIndex) hands out its own item list from items(), implicitly shared; while
    // the watch holds a copy, adding or removing an item makes the scene copy the list before it
    // changes it, so other storage means other items. Moving, selecting or restacking an item
    // leaves the list alone. With an index, items() is made anew at each call and the watch always
    // answers that the items changed: slow for its user, never wrong.
    class SceneItemsWatch
    {
    public:
        explicit SceneItemsWatch(const QGraphicsScene* scene);
        // Starts over from the scene's items as they are now; returns their number.
        qsizetype restart();
        bool changed() const;
        // The number of items at the last restart.
        qsizetype count() const { return m_items.size(); }
        // The items at the last restart, in the scene's order.
        const QList<QGraphicsItem*>& items() const { return m_items; }

    private:
        const QGraphicsScene* m_scene;
        QList<QGraphicsItem*> m_items;
    };

    // The scene delivers a press or a double click to an item and, after the item's handler has
    // returned, keeps that item as its last mouse grabber; an item deleted inside its own handler
    // would stay there as a dangling pointer. Work that deletes the item under the mouse therefore
    // runs once the event is delivered, at the next return to the event loop, and not at all if
    // `context` dies first.
    static void afterEventDelivery(QObject* context, std::function<void()> work);

    // Items hold the model's objects through guarded pointers, and every update asks each guard
    // whether its object still lives. The toolkit gives each object its guard block when the first
    // guarded pointer to it is made; made here, in one go for a whole code before its items exist,
    // the blocks lie together in memory instead of scattered between the items, and an update
    // walks them in order. The toolkit's public interface does not show where a guard block lies,
    // so no test can watch this one; the scene benchmark's rebuild rows are its check.
    static void gatherGuards(const QList<BlockInstance*>& instances, const QList<BlockPinConnection*>& connections);
};
