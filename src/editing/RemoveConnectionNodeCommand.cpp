#include "RemoveConnectionNodeCommand.h"

#include "BlockDefinitionScene.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"

#include <QCoreApplication>
#include <QTransform>

#include <cmath>

namespace {

// A tenth of the block raster: ends that moved less than this are still the same connection's.
constexpr double EndTolerance = 100.0;

bool near(const QPointF& a, const QPointF& b)
{
    return std::abs(a.x() - b.x()) <= EndTolerance && std::abs(a.y() - b.y()) <= EndTolerance;
}

} // namespace

RemoveConnectionNodeCommand::RemoveConnectionNodeCommand(BlockDefinitionScene* scene, const QPointF& position,
                                                         QUndoCommand* parent)
    : QUndoCommand(QCoreApplication::translate("BlockDefinitionScene", "Verbindungs-Eckpunkt gelöscht"), parent)
    , m_scene(scene)
    , m_position(position)
{
}

RemoveConnectionNodeCommand::~RemoveConnectionNodeCommand() = default;

void RemoveConnectionNodeCommand::redo()
{
    if (!m_scene)
        return;
    auto* node = dynamic_cast<ConnectionNodeItem*>(m_scene->itemAt(m_position, QTransform()));
    ConnectionItem* connection = node ? node->connectionItem() : nullptr;
    if (!connection)
        return;
    m_index = connection->nodeIndex(node);
    m_sourceEnd = connection->sourcePosition();
    m_targetEnd = connection->targetPosition();
    connection->removeNode(node);
}

void RemoveConnectionNodeCommand::undo()
{
    if (!m_scene)
        return;
    // Parallel connections may both match; the last one in descending order takes the node.
    ConnectionItem* found = nullptr;
    const QList<QGraphicsItem*> all = m_scene->items(Qt::DescendingOrder);
    for (QGraphicsItem* item : all) {
        auto* connection = dynamic_cast<ConnectionItem*>(item);
        if (!connection)
            continue;
        const QPointF s = connection->sourcePosition();
        const QPointF t = connection->targetPosition();
        if ((near(s, m_sourceEnd) && near(t, m_targetEnd)) || (near(s, m_targetEnd) && near(t, m_sourceEnd)))
            found = connection;
    }
    if (found)
        found->insertNode(m_position, m_index);
}
