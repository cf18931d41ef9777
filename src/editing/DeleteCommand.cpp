#include "DeleteCommand.h"

#include "AreaInfo.h"
#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "CodeChangeBatch.h"
#include "ConnectionItem.h"
#include "ParameterContainer.h"
#include "ParameterSetup.h"

#include <QRegularExpression>
#include <QSet>

namespace {

// Without an area there is nowhere to read or write parameter values.
constexpr int NoAreaNumber = -100;

int areaNumberOf(const BlockInstanceArea* area)
{
    return area ? int(area->firstNumber()) : NoAreaNumber;
}

ParameterContainer* containerOf(const BlockInstanceArea* area)
{
    return area ? area->areaInfo() : nullptr;
}

} // namespace

DeleteCommand::DeleteCommand(BlockDefinitionScene* scene, QUndoCommand* parent)
    : QUndoCommand(parent)
    , m_scene(scene)
{
    const QList<BlockItem*> blockItems = scene ? scene->selectedBlockItems() : QList<BlockItem*>();
    const QList<ConnectionItem*> connectionItems = scene ? scene->selectedConnectionItems() : QList<ConnectionItem*>();
    setText(QStringLiteral("Delete %1 items").arg(blockItems.size() + connectionItems.size()));

    BlockCode* code = scene ? scene->blockCode() : nullptr;
    if (!code)
        return;

    // Only blocks of the definition's own library are ours to keep; library blocks stay where they
    // are. Without a local library nothing of the blocks is kept, not even their instances.
    BlockDefinition* definition = code->definition();
    BlockLibrary* localLibrary = definition ? definition->localBlockLibrary() : nullptr;
    if (localLibrary) {
        for (BlockItem* item : blockItems) {
            BlockInstance* instance = item->blockInstance();
            if (!instance)
                continue;
            const BlockDefinition* instanceDefinition = instance->blockDefinition();
            const Block* block = instanceDefinition ? instanceDefinition->block() : nullptr;
            if (block) {
                const QString identifier = block->identifier();
                if (Block* local = localLibrary->block(identifier))
                    m_savedBlocks.insert(identifier, local->saveContents());
            }
            m_instanceIdentifiers.append(item->identifier());
        }
    }

    m_savedText = code->text(m_instanceIdentifiers);
    // On restore the instances take their old places in the run-time sequence.
    m_savedText.replace("Runtime=", "RuntimeAbsolute=");
    QList<unsigned int> allSelected;
    for (BlockItem* item : blockItems)
        allSelected.append(item->identifier());
    m_savedText += code->signalsAsText(allSelected);

    saveParameterValues();
    if (m_instanceIdentifiers.isEmpty())
        saveConnections();
}

DeleteCommand::~DeleteCommand() = default;

BlockInstanceArea* DeleteCommand::targetArea() const
{
    return m_scene ? m_scene->sceneArea() : nullptr;
}

void DeleteCommand::saveParameterValues()
{
    m_savedParameterValues.clear();
    BlockInstanceArea* area = targetArea();
    ParameterContainer* container = containerOf(area);
    const int areaNumber = areaNumberOf(area);
    BlockInstanceHierarchyNode* node = m_scene ? m_scene->hierarchyNode() : nullptr;
    if (!container || areaNumber == NoAreaNumber || !node)
        return;

    const QString prefix = node->locationPath() + QLatin1Char('.');
    QList<QString> names;
    const QList<BlockItem*> blockItems = m_scene->selectedBlockItems();
    for (BlockItem* item : blockItems)
        names.append(container->queryParameterAnchors(prefix + QString::number(item->identifier()), false));
    for (const QString& name : std::as_const(names)) {
        ParameterSetup* setup = container->queryParameterInstance(name);
        if (!setup)
            continue;
        const QList<unsigned short> elements = setup->elementNumbers();
        for (unsigned short element : elements) {
            m_savedParameterValues.insert(
                name, QString::number(element) + QLatin1Char(':') + setup->valueText(areaNumber, element, 0));
        }
    }
}

void DeleteCommand::saveConnections()
{
    BlockCode* code = m_scene ? m_scene->blockCode() : nullptr;
    if (!code)
        return;
    QList<unsigned int> sources;
    const QList<ConnectionItem*> connectionItems = m_scene->selectedConnectionItems();
    for (ConnectionItem* item : connectionItems) {
        const BlockPinConnection* connection = item->pinConnection();
        if (!connection)
            continue;
        const BlockPinInstance* source = connection->source();
        if (const BlockInstance* owner = source ? source->owner() : nullptr)
            sources.append(owner->identifier());
        m_savedConnections.append(PinAddress::of(connection));
    }
    m_savedText += code->signalsAsText(sources);
}

void DeleteCommand::redo()
{
    BlockCode* code = m_scene ? m_scene->blockCode() : nullptr;
    if (m_first) {
        m_first = false;
        if (!code)
            return;
        // The selection as it stands now: the constructor may have run a while before the push.
        const QList<BlockItem*> blockItems = m_scene->selectedBlockItems();
        const QList<ConnectionItem*> connectionItems = m_scene->selectedConnectionItems();
        QList<unsigned int> blockIdentifiers;
        for (BlockItem* item : blockItems)
            blockIdentifiers.append(item->identifier());
        QList<QPointer<BlockPinConnection>> connections;
        for (ConnectionItem* item : connectionItems)
            connections.append(item->pinConnection());
        {
            const CodeChangeBatch batch(code);
            for (const QPointer<BlockPinConnection>& connection : std::as_const(connections)) {
                m_removedConnections.append(connection);
                // A connection may already have gone with another one; the model ignores a stale
                // pointer.
                if (connection)
                    code->deleteConnection(connection);
            }
            for (unsigned int identifier : std::as_const(blockIdentifiers))
                code->deleteInstance(identifier);
        }
        m_scene->rebuild();
        return;
    }

    if (!code)
        return;
    const CodeChangeBatch batch(code);
    for (unsigned int identifier : std::as_const(m_instanceIdentifiers))
        code->deleteInstance(identifier);
    QList<QPointer<BlockPinConnection>> connections;
    const QList<BlockPinConnection*> all = code->connections();
    for (BlockPinConnection* connection : all)
        connections.append(connection);
    for (const QPointer<BlockPinConnection>& connection : std::as_const(connections)) {
        if (connection && m_savedConnections.contains(PinAddress::of(connection)))
            code->deleteConnection(connection);
    }
    // The code's change reaches the scene by itself.
}

void DeleteCommand::undo()
{
    if (!m_scene)
        return;
    if (BlockCode* code = m_scene->blockCode()) {
        BlockDefinition* definition = code->definition();
        BlockLibrary* localLibrary = definition ? definition->localBlockLibrary() : nullptr;
        if (localLibrary) {
            for (auto it = m_savedBlocks.cbegin(); it != m_savedBlocks.cend(); ++it) {
                Block* block = Block::createBlock(it.key());
                if (!block->loadContents(it.value())) {
                    delete block;
                    continue;
                }
                localLibrary->insertBlock(block);
            }
        }
        code->restoreCodeFromText(m_savedText, false);
    }
    restoreParameterValues();
    m_scene->rebuild();
}

void DeleteCommand::restoreParameterValues()
{
    BlockInstanceArea* area = targetArea();
    ParameterContainer* container = containerOf(area);
    const int areaNumber = areaNumberOf(area);
    if (!container || areaNumber == NoAreaNumber)
        return;
    static const QRegularExpression entryPattern(QStringLiteral("^(\\d+):(.*)$"));
    const QList<QString> keys = m_savedParameterValues.uniqueKeys();
    const QSet<QString> saved(keys.cbegin(), keys.cend());
    for (const QString& key : keys) {
        ParameterSetup* setup = container->queryParameterInstance(key);
        if (!setup)
            continue;
        // Tied parameters go back together or not at all.
        const QList<QString> related = setup->relatedParameterNames(areaNumber);
        bool complete = true;
        for (const QString& name : related) {
            if (!saved.contains(name)) {
                complete = false;
                break;
            }
        }
        if (!complete)
            continue;
        const QList<QString> entries = m_savedParameterValues.values(key);
        for (const QString& entry : entries) {
            const QRegularExpressionMatch match = entryPattern.match(entry);
            if (!match.hasMatch())
                continue;
            bool ok = false;
            const ushort element = match.captured(1).toUShort(&ok);
            if (!ok)
                continue;
            setup->setValueText(areaNumber, element, match.captured(2));
        }
    }
}
