#pragma once

#include "ToolkitWorkarounds.h"
#include "zkblockview_export.h"

#include <QHash>
#include <QList>
#include <QPointF>
#include <QRect>

class BlockItem;
class ConnectionNodeItem;
class QGraphicsItem;
class QGraphicsScene;

// The blocks and corner nodes of a scene by where they stand, for a run of look-ups and moves that
// must each see the scene as the moves before them left it (a move command going through its list).
// itemAt() gives exactly what the toolkit's look-up at a point gives, the front-most block or node
// whose shape holds it, but asks only the items near the point: the scene keeps no spatial index of
// its own, and one toolkit look-up per moved item made the undo of a large move quadratic. Where the
// answer depends on the stacking order (two candidates at the point) or on anything beyond position
// and shape, it asks the toolkit.
//
// The moves go through the grid so that it keeps up with them; anything else that adds or removes
// an item meanwhile is noticed and the grid is made anew, so it never hands out an item that has
// gone.
class ZK_VIEW_EXPORT MovableItemGrid
{
public:
    explicit MovableItemGrid(QGraphicsScene* scene);
    ~MovableItemGrid();

    MovableItemGrid(const MovableItemGrid&) = delete;
    MovableItemGrid& operator=(const MovableItemGrid&) = delete;

    QGraphicsItem* itemAt(const QPointF& position);

    // BlockItem::setPos(), with the block and the nodes it carries filed anew.
    void moveBlock(BlockItem* block, const QPointF& position);
    // Takes the node out of its route and makes a new one at `position` and `index`, as
    // ConnectionItem::removeNode() and insertNode() do; the route's nodes are filed anew.
    void remakeNode(ConnectionNodeItem* node, const QPointF& position, int index);

    // The toolkit's answer, one scan of the scene.
    static QGraphicsItem* scanAt(QGraphicsScene* scene, const QPointF& position);

private:
    void rebuild();
    void file(QGraphicsItem* item);
    void fileTree(QGraphicsItem* item);
    void forget(QGraphicsItem* item);

    QGraphicsScene* m_scene;
    // Items that come or go behind the grid's back make it start anew.
    ToolkitWorkarounds::SceneItemsWatch m_watch;
    QHash<quint64, QList<QGraphicsItem*>> m_cells;
    QHash<QGraphicsItem*, QRect> m_cellsOf;
    QList<QGraphicsItem*> m_large;
};
