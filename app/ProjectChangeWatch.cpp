#include "ProjectChangeWatch.h"

#include "BlockDefinitionScene.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockRepository.h"
#include "Project.h"

#include <QUndoStack>

namespace {

constexpr int ComparePauseMs = 150;

} // namespace

ProjectChangeWatch::ProjectChangeWatch(QObject* parent)
    : QObject(parent)
{
    m_pause.setSingleShot(true);
    m_pause.setInterval(ComparePauseMs);
    connect(&m_pause, &QTimer::timeout, this, &ProjectChangeWatch::check);
}

ProjectChangeWatch::~ProjectChangeWatch() = default;

void ProjectChangeWatch::setProject(Project* project)
{
    // Whatever the old project announced is no concern any more; a new one starts afresh.
    if (m_project)
        disconnect(m_project, nullptr, this, nullptr);
    disconnect(&BlockRepository::instance(), nullptr, this, nullptr);
    m_project = project;
    m_pause.stop();
    markSaved();
}

void ProjectChangeWatch::markSaved()
{
    m_saved = storedForm(m_project);
    setModified(false);
    listen();
}

bool ProjectChangeWatch::check()
{
    m_pause.stop();
    setModified(m_project && storedForm(m_project) != m_saved);
    listen();
    return m_modified;
}

QByteArray ProjectChangeWatch::storedForm(const Project* project)
{
    if (!project)
        return QByteArray();
    QByteArray form = project->projectText();
    // The file libraries are written with the project; a change inside one is a change to save.
    for (const BlockLibraryContainer* container : project->containers()) {
        const QByteArray text = project->libraryText(container);
        form += '\0';
        form += container->name().text().toUtf8();
        form += '\0';
        form += text;
    }
    return form;
}

void ProjectChangeWatch::schedule()
{
    m_pause.start();
}

void ProjectChangeWatch::setModified(bool modified)
{
    if (modified == m_modified)
        return;
    m_modified = modified;
    Q_EMIT modifiedChanged(modified);
}

void ProjectChangeWatch::listen()
{
    Project* project = m_project.data();
    if (!project)
        return;
    connect(project, &Project::areasChanged, this, &ProjectChangeWatch::schedule, Qt::UniqueConnection);
    connect(&BlockRepository::instance(), &BlockRepository::changed, this, &ProjectChangeWatch::schedule, Qt::UniqueConnection);
    connect(&BlockRepository::instance(), &BlockRepository::groupsChanged, this, &ProjectChangeWatch::schedule,
            Qt::UniqueConnection);
    for (BlockLibraryContainer* container : project->containers())
        listenTo(container->library());
    for (BlockInstanceArea* area : project->areas()) {
        connect(area, &BlockInstanceArea::propertiesChanged, this, &ProjectChangeWatch::schedule, Qt::UniqueConnection);
        listenTo(area->rootBlock());
        if (BlockInstanceHierarchy* hierarchy = area->hierarchy()) {
            // The labels of a level are kept with its node.
            const QList<BlockInstanceHierarchyNode*> nodes = hierarchy->findChildren<BlockInstanceHierarchyNode*>();
            for (BlockInstanceHierarchyNode* node : nodes)
                connect(node, &BlockInstanceHierarchyNode::signalLabelsChanged, this, &ProjectChangeWatch::schedule,
                        Qt::UniqueConnection);
        }
    }
}

void ProjectChangeWatch::listenTo(BlockLibrary* library)
{
    if (!library)
        return;
    connect(library, &BlockLibrary::contentsChanged, this, &ProjectChangeWatch::schedule, Qt::UniqueConnection);
    for (Block* block : library->blocks())
        listenTo(block);
}

void ProjectChangeWatch::listenTo(Block* block)
{
    if (!block)
        return;
    connect(block, &Block::changed, this, &ProjectChangeWatch::schedule, Qt::UniqueConnection);
    for (BlockDefinition* definition : block->definitions()) {
        connect(definition, &BlockDefinition::changed, this, &ProjectChangeWatch::schedule, Qt::UniqueConnection);
        if (BlockCode* code = definition->code()) {
            connect(code, &BlockCode::changed, this, &ProjectChangeWatch::schedule, Qt::UniqueConnection);
            connect(code, &BlockCode::structureChanged, this, &ProjectChangeWatch::schedule, Qt::UniqueConnection);
            // Edits in an editor pass through its undo stack, also those the model makes silently
            // (a parameter value, an inverted pin).
            if (BlockDefinitionScene* scene = code->blockDefinitionScene())
                connect(scene->undoStack(), &QUndoStack::indexChanged, this, &ProjectChangeWatch::schedule,
                        Qt::UniqueConnection);
        }
        listenTo(definition->existingLocalBlockLibrary());
    }
}
