#include "ToolkitWorkarounds.h"

#include "BlockInstance.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"

#include <QGraphicsItem>
#include <QGraphicsScene>
#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QTreeWidget>

#include <utility>

namespace {

// Grants the one call that a moved item makes on its followers in the toolkit's stead.
struct FollowerAccess : QGraphicsItem
{
    using QGraphicsItem::itemChange;
};

} // namespace

void ToolkitWorkarounds::afterEventDelivery(QObject* context, std::function<void()> work)
{
    if (!context || !work)
        return;
    QMetaObject::invokeMethod(context, std::move(work), Qt::QueuedConnection);
}

QList<QTreeWidgetItem*> ToolkitWorkarounds::allRows(const QTreeWidget* tree)
{
    QList<QTreeWidgetItem*> rows;
    if (!tree)
        return rows;
    QList<QTreeWidgetItem*> pending;
    for (int i = tree->topLevelItemCount() - 1; i >= 0; --i)
        pending.append(tree->topLevelItem(i));
    while (!pending.isEmpty()) {
        QTreeWidgetItem* row = pending.takeLast();
        rows.append(row);
        for (int i = row->childCount() - 1; i >= 0; --i)
            pending.append(row->child(i));
    }
    return rows;
}

void ToolkitWorkarounds::ScenePositionWalkPause::suspend(QGraphicsItem* standIn, QObject* standInObject,
                                                         QObject* context)
{
    resume();
    m_standIn = standIn;
    m_standInObject = standInObject;
    standIn->setFlag(QGraphicsItem::ItemSendsScenePositionChanges, false);
    // Whoever started the move may return to the event loop without ending it.
    if (!m_resumeQueued) {
        m_resumeQueued = true;
        QMetaObject::invokeMethod(context, [this]() {
            m_resumeQueued = false;
            resume();
        }, Qt::QueuedConnection);
    }
}

void ToolkitWorkarounds::ScenePositionWalkPause::resume()
{
    if (!m_standIn)
        return;
    QGraphicsItem* standIn = m_standIn;
    m_standIn = nullptr;
    if (m_standInObject)
        standIn->setFlag(QGraphicsItem::ItemSendsScenePositionChanges, true);
    m_standInObject = nullptr;
}

ToolkitWorkarounds::SceneItemsWatch::SceneItemsWatch(const QGraphicsScene* scene)
    : m_scene(scene)
{
    restart();
}

qsizetype ToolkitWorkarounds::SceneItemsWatch::restart()
{
    m_items = m_scene ? m_scene->items() : QList<QGraphicsItem*>();
    return m_items.size();
}

bool ToolkitWorkarounds::SceneItemsWatch::changed() const
{
    return !m_scene || m_scene->items().constData() != m_items.constData();
}

const QGraphicsItem* ToolkitWorkarounds::ScenePositionWalkPause::standIn() const
{
    return m_standInObject ? m_standIn : nullptr;
}

void ToolkitWorkarounds::tellFollowers(QGraphicsItem* moved, const QGraphicsItem* standIn)
{
    const auto notify = &FollowerAccess::itemChange;
    const QList<QGraphicsItem*> children = moved->childItems();
    for (QGraphicsItem* child : children) {
        if ((child->flags() & QGraphicsItem::ItemSendsScenePositionChanges) || child == standIn)
            (child->*notify)(QGraphicsItem::ItemScenePositionHasChanged, child->scenePos());
        tellFollowers(child, standIn);
    }
}

void ToolkitWorkarounds::gatherGuards(const QList<BlockInstance*>& instances,
                                      const QList<BlockPinConnection*>& connections)
{
    for (BlockInstance* instance : instances) {
        const QPointer<QObject> guard(instance);
        const QList<BlockPinInstance*> pins = instance->pins();
        for (BlockPinInstance* pin : pins)
            const QPointer<QObject> pinGuard(pin);
    }
    for (BlockPinConnection* connection : connections)
        const QPointer<QObject> guard(connection);
}
