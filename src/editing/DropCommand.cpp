#include "DropCommand.h"

#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockItem.h"
#include "System.h"

#include <QGraphicsSceneDragDropEvent>
#include <QMessageBox>

namespace {

QString replaceTitle()
{
    return BlockDefinitionScene::tr("Baustein ersetzen");
}

} // namespace

DropCommand::DropCommand(BlockDefinition* definition, BlockDefinitionScene* scene, QGraphicsSceneDragDropEvent* event,
                         BlockInstanceArea* area, QUndoCommand* parent)
    : QUndoCommand(BlockDefinitionScene::tr("Baustein dropped"), parent)
    , m_definition(definition)
    , m_scene(scene)
    , m_event(event)
    , m_area(area)
{
}

DropCommand::~DropCommand() = default;

void DropCommand::redo()
{
    if (m_first) {
        drop();
        m_first = false;
        // The event belongs to the drop that is over now.
        m_event = nullptr;
        return;
    }
    // A later redo places a new instance whatever the first one did: redoing an undone replacement
    // puts the dropped block beside the restored one.
    if (!m_scene)
        return;
    if (BlockInstance* instance = m_scene->createBlockInstance(m_definition, m_position))
        m_instanceIdentifier = instance->identifier();
}

void DropCommand::drop()
{
    if (!m_scene || !m_definition || !m_event)
        return;
    m_event->setDropAction(Qt::LinkAction);
    m_position = m_event->scenePos();
    BlockItem* target = m_scene->blockItemAt(m_position);
    if (!target) {
        if (BlockInstance* instance = m_scene->createBlockInstance(m_definition, m_event->scenePos()))
            m_instanceIdentifier = instance->identifier();
        return;
    }
    const QMessageBox::StandardButton answer =
        QMessageBox::question(System::instance().mainWindow(), replaceTitle(),
                              BlockDefinitionScene::tr("Soll der Baustein wirklich ersetzt werden?"),
                              QMessageBox::Yes | QMessageBox::No, QMessageBox::NoButton);
    // A refusal leaves the entry on the stack; it has changed nothing.
    if (answer != QMessageBox::Yes)
        return;
    BlockInstance* instance = target->blockInstance();
    if (!instance)
        return;
    m_previousDefinition = instance->blockDefinition();
    replaceAt(instance->identifier(), m_definition);
}

bool DropCommand::replaceAt(unsigned int identifier, BlockDefinition* definition)
{
    BlockCode* code = m_scene ? m_scene->blockCode() : nullptr;
    if (!code)
        return false;
    if (!code->replaceInstanceDefinition(identifier, definition, m_area)) {
        QMessageBox::critical(System::instance().mainWindow(), replaceTitle(),
                              BlockDefinitionScene::tr("Der Baustein konnte nicht ersetzt werden!"), QMessageBox::Ok);
        return false;
    }
    // The item refreshes itself from its instance; the scene is drawn anew as a whole.
    m_scene->invalidate(QRectF(), QGraphicsScene::AllLayers);
    m_replaced = true;
    return true;
}

void DropCommand::undo()
{
    BlockCode* code = m_scene ? m_scene->blockCode() : nullptr;
    if (!code)
        return;
    if (m_replaced) {
        if (!m_previousDefinition)
            return;
        BlockItem* item = m_scene->blockItemAt(m_position);
        if (item)
            replaceAt(item->identifier(), m_previousDefinition);
        return;
    }
    // After a refused replacement this is 0, which the code does not know.
    code->deleteInstance(m_instanceIdentifier);
}
