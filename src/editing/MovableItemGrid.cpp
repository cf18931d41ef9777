#include "MovableItemGrid.h"

#include "BlockItem.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"

#include <QGraphicsScene>
#include <QTransform>
#include <QVarLengthArray>

#include <cmath>

namespace {

// About a block's width: a block lies in up to four cells, a node in one.
constexpr qreal CellSize = 4096.0;
// An item spanning more cells than this is asked at every look-up instead.
constexpr qint64 MaxCellsPerItem = 64;
// Beyond this the cell numbers would not fit their key.
constexpr qreal MaxCoordinate = 1e12;

bool isMovable(QGraphicsItem* item)
{
    return dynamic_cast<BlockItem*>(item) || dynamic_cast<ConnectionNodeItem*>(item);
}

quint64 cellKey(qint64 x, qint64 y)
{
    return (quint64(quint32(qint32(x))) << 32) | quint64(quint32(qint32(y)));
}

// The bounding rectangle that the toolkit's point look-up compares: a rectangle without width or
// height is widened by a hair, and it is mapped by the scene transform.
QRectF lookUpRect(const QGraphicsItem* item)
{
    QRectF bounds = item->boundingRect();
    if (!bounds.width())
        bounds.adjust(-0.00001, 0, 0.00001, 0);
    if (!bounds.height())
        bounds.adjust(0, -0.00001, 0, 0.00001);
    const QTransform transform = item->sceneTransform();
    if (transform.type() <= QTransform::TxTranslate)
        return bounds.translated(transform.dx(), transform.dy());
    return transform.mapRect(bounds);
}

// Whether the toolkit would judge the item by its own position and shape alone: no parent that
// clips, no opacity, no transformation that ignores the view. Anything else is left to the toolkit.
bool isPlain(const QGraphicsItem* item)
{
    constexpr QGraphicsItem::GraphicsItemFlags Ancestral =
        QGraphicsItem::ItemClipsChildrenToShape | QGraphicsItem::ItemContainsChildrenInShape;
    if (item->opacity() != 1.0 || (item->flags() & QGraphicsItem::ItemIgnoresTransformations))
        return false;
    for (const QGraphicsItem* parent = item->parentItem(); parent; parent = parent->parentItem()) {
        if (parent->opacity() != 1.0 || (parent->flags() & (Ancestral | QGraphicsItem::ItemIgnoresTransformations)))
            return false;
    }
    return true;
}

// The toolkit's test of one item against a point, for a plain item.
bool holds(const QGraphicsItem* item, const QPointF& position)
{
    if (!lookUpRect(item).intersects(QRectF(position, QSizeF(1, 1))))
        return false;
    const QTransform transform = item->sceneTransform();
    const QPointF local = transform.type() <= QTransform::TxTranslate
                              ? QPointF(position.x() - transform.dx(), position.y() - transform.dy())
                              : transform.inverted().map(position);
    return item->contains(local);
}

} // namespace

MovableItemGrid::MovableItemGrid(QGraphicsScene* scene)
    : m_scene(scene)
    , m_watch(scene)
{
    rebuild();
}

MovableItemGrid::~MovableItemGrid() = default;

QGraphicsItem* MovableItemGrid::scanAt(QGraphicsScene* scene, const QPointF& position)
{
    const QList<QGraphicsItem*> hits = scene->items(position, Qt::IntersectsItemShape, Qt::DescendingOrder, QTransform());
    for (QGraphicsItem* item : hits) {
        if (isMovable(item))
            return item;
    }
    return nullptr;
}

QGraphicsItem* MovableItemGrid::itemAt(const QPointF& position)
{
    // A scene with an index of its own answers quickly by itself.
    if (!m_scene || m_scene->itemIndexMethod() != QGraphicsScene::NoIndex)
        return m_scene ? scanAt(m_scene, position) : nullptr;
    if (!std::isfinite(position.x()) || !std::isfinite(position.y()) || std::abs(position.x()) > MaxCoordinate
        || std::abs(position.y()) > MaxCoordinate)
        return scanAt(m_scene, position);
    if (m_watch.changed())
        rebuild();

    QVarLengthArray<QGraphicsItem*, 4> hits;
    const auto consider = [&](QGraphicsItem* item) {
        if (hits.contains(item) || !item->isVisible())
            return true;
        if (!lookUpRect(item).intersects(QRectF(position, QSizeF(1, 1))))
            return true;
        if (!isPlain(item))
            return false;
        if (holds(item, position))
            hits.append(item);
        return true;
    };
    // The toolkit compares a square of one unit at the point, which may reach into the next cells.
    const qint64 left = qint64(std::floor(position.x() / CellSize));
    const qint64 right = qint64(std::floor((position.x() + 1.0) / CellSize));
    const qint64 top = qint64(std::floor(position.y() / CellSize));
    const qint64 bottom = qint64(std::floor((position.y() + 1.0) / CellSize));
    for (qint64 x = left; x <= right; ++x) {
        for (qint64 y = top; y <= bottom; ++y) {
            const auto cell = m_cells.constFind(cellKey(x, y));
            if (cell == m_cells.cend())
                continue;
            for (QGraphicsItem* item : cell.value()) {
                if (!consider(item))
                    return scanAt(m_scene, position);
            }
        }
    }
    for (QGraphicsItem* item : std::as_const(m_large)) {
        if (!consider(item))
            return scanAt(m_scene, position);
    }
    if (hits.size() > 1)
        return scanAt(m_scene, position);
    return hits.isEmpty() ? nullptr : hits.first();
}

void MovableItemGrid::moveBlock(BlockItem* block, const QPointF& position)
{
    if (!block)
        return;
    block->setPos(position);
    if (m_watch.changed())
        rebuild();
    else
        fileTree(block);
}

void MovableItemGrid::remakeNode(ConnectionNodeItem* node, const QPointF& position, int index)
{
    ConnectionItem* connection = node ? node->connectionItem() : nullptr;
    if (!connection)
        return;
    if (m_watch.changed())
        rebuild();
    const QList<ConnectionNodeItem*> before = connection->allNodes();
    for (ConnectionNodeItem* each : before)
        forget(each);
    const qsizetype itemsBefore = m_watch.count();
    // An end node is no corner of the route and stays; a new corner is made all the same.
    connection->removeNode(node);
    const qsizetype removed = before.size() - connection->allNodes().size();
    connection->insertNode(position, index);
    if (m_watch.restart() != itemsBefore - removed + 1) {
        // Something beyond the route came or went meanwhile.
        rebuild();
        return;
    }
    const QList<ConnectionNodeItem*> after = connection->allNodes();
    for (ConnectionNodeItem* each : after)
        file(each);
}

void MovableItemGrid::rebuild()
{
    m_cells.clear();
    m_cellsOf.clear();
    m_large.clear();
    m_watch.restart();
    for (QGraphicsItem* item : m_watch.items()) {
        if (isMovable(item))
            file(item);
    }
}

void MovableItemGrid::file(QGraphicsItem* item)
{
    forget(item);
    const QRectF area = lookUpRect(item);
    const bool finite = std::isfinite(area.left()) && std::isfinite(area.right()) && std::isfinite(area.top())
                        && std::isfinite(area.bottom());
    if (!finite || std::abs(area.left()) > MaxCoordinate || std::abs(area.right()) > MaxCoordinate
        || std::abs(area.top()) > MaxCoordinate || std::abs(area.bottom()) > MaxCoordinate) {
        m_large.append(item);
        m_cellsOf.insert(item, QRect());
        return;
    }
    const qint64 left = qint64(std::floor(area.left() / CellSize));
    const qint64 right = qint64(std::floor(area.right() / CellSize));
    const qint64 top = qint64(std::floor(area.top() / CellSize));
    const qint64 bottom = qint64(std::floor(area.bottom() / CellSize));
    if ((right - left + 1) * (bottom - top + 1) > MaxCellsPerItem) {
        m_large.append(item);
        m_cellsOf.insert(item, QRect());
        return;
    }
    const QRect cells{QPoint(int(left), int(top)), QPoint(int(right), int(bottom))};
    for (qint64 x = left; x <= right; ++x) {
        for (qint64 y = top; y <= bottom; ++y)
            m_cells[cellKey(x, y)].append(item);
    }
    m_cellsOf.insert(item, cells);
}

void MovableItemGrid::fileTree(QGraphicsItem* item)
{
    if (isMovable(item))
        file(item);
    const QList<QGraphicsItem*> children = item->childItems();
    for (QGraphicsItem* child : children)
        fileTree(child);
}

// By the pointer alone: the item may have gone.
void MovableItemGrid::forget(QGraphicsItem* item)
{
    const auto filed = m_cellsOf.constFind(item);
    if (filed == m_cellsOf.cend())
        return;
    const QRect cells = filed.value();
    m_cellsOf.erase(filed);
    if (cells.isNull()) {
        m_large.removeOne(item);
        return;
    }
    for (int x = cells.left(); x <= cells.right(); ++x) {
        for (int y = cells.top(); y <= cells.bottom(); ++y) {
            auto cell = m_cells.find(cellKey(x, y));
            if (cell == m_cells.end())
                continue;
            cell.value().removeOne(item);
            if (cell.value().isEmpty())
                m_cells.erase(cell);
        }
    }
}
