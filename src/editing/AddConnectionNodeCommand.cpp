#include "AddConnectionNodeCommand.h"

#include "BlockDefinitionScene.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"

#include <QCoreApplication>
#include <QTransform>

AddConnectionNodeCommand::AddConnectionNodeCommand(BlockDefinitionScene* scene, ConnectionNodeItem* node,
                                                   QUndoCommand* parent)
    : QUndoCommand(QCoreApplication::translate("BlockDefinitionScene", "Verbindungs-Eckpunkt hinzu gefügt"), parent)
    , m_scene(scene)
{
    if (node) {
        m_position = node->pos();
        if (ConnectionItem* connection = node->connectionItem())
            m_index = connection->nodeIndex(node);
    }
}

AddConnectionNodeCommand::~AddConnectionNodeCommand() = default;

void AddConnectionNodeCommand::redo()
{
    if (m_first) {
        m_first = false;
        return;
    }
    if (!m_scene)
        return;
    // The corner lies on the route, so the connection's bounding rectangle holds it even where its
    // thin shape might just miss the point.
    const QList<QGraphicsItem*> hits =
        m_scene->items(m_position, Qt::ContainsItemBoundingRect, Qt::DescendingOrder, QTransform());
    for (QGraphicsItem* hit : hits) {
        if (auto* connection = dynamic_cast<ConnectionItem*>(hit)) {
            connection->insertNode(m_position, m_index);
            return;
        }
    }
}

void AddConnectionNodeCommand::undo()
{
    if (!m_scene)
        return;
    // The topmost node at the position goes, whichever connection it belongs to.
    const QList<QGraphicsItem*> hits =
        m_scene->items(m_position, Qt::IntersectsItemShape, Qt::DescendingOrder, QTransform());
    for (QGraphicsItem* hit : hits) {
        if (auto* node = dynamic_cast<ConnectionNodeItem*>(hit)) {
            if (ConnectionItem* connection = node->connectionItem())
                connection->removeNode(node);
            return;
        }
    }
}
