#include "CreateConnectionCommand.h"

#include "BlockCode.h"
#include "BlockDefinitionScene.h"

#include <QLineF>
#include <QPointF>

CreateConnectionCommand::CreateConnectionCommand(BlockDefinitionScene* scene, const QLineF& line,
                                                 QUndoCommand* parent)
    : QUndoCommand(QStringLiteral("Create connection"), parent)
    , m_scene(scene)
{
    if (m_scene) {
        m_firstX = line.x1();
        m_firstY = line.y1();
        m_secondX = line.x2();
        m_secondY = line.y2();
    }
}

CreateConnectionCommand::~CreateConnectionCommand() = default;

void CreateConnectionCommand::redo()
{
    // No first flag: the connection is made here, in the redo() of the push.
    if (!m_scene)
        return;
    BlockPinItem* first = m_scene->pinItemAt(QPointF(m_firstX, m_firstY));
    BlockPinItem* second = m_scene->pinItemAt(QPointF(m_secondX, m_secondY));
    // Pins not found keep the connection of the last run: the next undo() passes that one on.
    if (first && second)
        m_connection = m_scene->connectPins(first, second);
}

void CreateConnectionCommand::undo()
{
    if (!m_scene || !m_connection)
        return;
    // The member is kept: the code compares it with its own connections and leaves a gone one be.
    if (BlockCode* code = m_scene->blockCode())
        code->deleteConnection(m_connection);
}
