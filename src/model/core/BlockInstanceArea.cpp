#include "BlockInstanceArea.h"

#include "AreaInfo.h"
#include "AreaSimulator.h"
#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceHierarchy.h"
#include "BlockLibrary.h"
#include "BlockPinValueSource.h"

#include <QSet>

namespace {

QList<BlockInstanceArea*>& registry()
{
    static QList<BlockInstanceArea*> areas;
    return areas;
}

void collectFallbacks(const BlockDefinition* definition, QSet<const BlockDefinition*>& visited, QList<Block*>& found)
{
    if (!definition || visited.contains(definition))
        return;
    visited.insert(definition);
    const BlockCode* code = definition->code();
    if (!code)
        return;
    for (const BlockInstance* instance : code->instances()) {
        Block* block = instance->block();
        if (block && block->isFallbackBlock() && !found.contains(block))
            found.append(block);
        collectFallbacks(instance->blockDefinition(), visited, found);
    }
}

} // namespace

BlockInstanceArea::BlockInstanceArea(unsigned int firstNumber, unsigned int secondNumber, unsigned int index,
                                     QObject* parent, bool registered)
    : QObject(parent)
    , m_first(firstNumber)
    , m_second(secondNumber)
    , m_index(index)
    , m_info(new AreaInfo(this))
    , m_rootBlock(Block::createBlock(Block::RootBlockIdentifier))
    , m_rootInstance(nullptr)
    , m_hierarchy(nullptr)
    , m_valueSource(new BlockPinValueSource(this))
    , m_simulator(new AreaSimulator(this))
{
    m_rootBlock->setParent(this);
    m_rootBlock->setName(Text(1, QStringLiteral("Wurzel")));
    BlockDefinition* root = m_rootBlock->createDefinition();
    // The root instance belongs to no code: it stands for the area's program itself.
    m_rootInstance = new BlockInstance(nullptr, RootInstanceIdentifier, root);
    m_rootInstance->setParent(this);
    m_hierarchy = new BlockInstanceHierarchy(this);
    m_hierarchy->createRoot();
    setRegistered(registered);
}

void BlockInstanceArea::setRegistered(bool registered)
{
    if (registered == m_registered)
        return;
    m_registered = registered;
    if (registered)
        registry().append(this);
    else
        registry().removeOne(this);
    announceAreasChanged();
}

BlockInstanceArea::~BlockInstanceArea()
{
    setOnline(false);
    const bool wasRegistered = m_registered;
    registry().removeOne(this);
    // The hierarchy first: its nodes listen to the code of the root block.
    delete m_hierarchy;
    m_hierarchy = nullptr;
    delete m_rootInstance;
    m_rootInstance = nullptr;
    delete m_rootBlock;
    m_rootBlock = nullptr;
    if (wasRegistered)
        announceAreasChanged();
}

void BlockInstanceArea::announceAreasChanged()
{
    const auto areas = registry();
    for (BlockInstanceArea* area : areas)
        Q_EMIT area->allAreasChanged();
}

QList<BlockInstanceArea*> BlockInstanceArea::allAreas()
{
    return registry();
}

BlockInstanceArea* BlockInstanceArea::areaForLivingSpace(unsigned int livingSpace)
{
    for (BlockInstanceArea* area : registry()) {
        if (area->firstNumber() == livingSpace)
            return area;
    }
    return nullptr;
}

AreaInfo* BlockInstanceArea::areaInfo() const { return m_info; }
unsigned int BlockInstanceArea::firstNumber() const { return m_first; }
unsigned int BlockInstanceArea::secondNumber() const { return m_second; }
unsigned int BlockInstanceArea::index() const { return m_index; }
BlockInstanceHierarchy* BlockInstanceArea::hierarchy() const { return m_hierarchy; }

BlockPinValueSource* BlockInstanceArea::pinValueSource() const
{
    return m_ownProgram ? m_valueSource : nullptr;
}

bool BlockInstanceArea::isOnline() const { return m_online; }
bool BlockInstanceArea::hasOwnProgram() const { return m_ownProgram; }

QString BlockInstanceArea::title() const
{
    return m_title.isEmpty() ? displayName() : m_title;
}

bool BlockInstanceArea::isBackDocumentation() const { return m_backDocumentation; }

bool BlockInstanceArea::hasFallbackBlocks() const
{
    return !fallbackBlocks().isEmpty();
}

QList<Block*> BlockInstanceArea::fallbackBlocks() const
{
    QSet<const BlockDefinition*> visited;
    QList<Block*> found;
    collectFallbacks(rootDefinition(), visited, found);
    return found;
}

void BlockInstanceArea::convertFallbackBlocks()
{
    // A fall-back block already lives in the local library of the definition that uses it; it
    // becomes an ordinary local block that the user can now edit.
    const QList<Block*> blocks = fallbackBlocks();
    for (Block* block : blocks) {
        block->setUserBlock(true);
        block->setFallbackBlock(false);
        for (BlockDefinition* definition : block->definitions()) {
            definition->ensureCode();
            for (BlockInstance* instance : definition->instances()) {
                instance->resetError();
                if (BlockCode* code = instance->ownerCode())
                    code->notifyChanged();
            }
        }
        if (BlockLibrary* library = block->ownerLibrary())
            Q_EMIT library->contentsChanged();
    }
    if (!blocks.isEmpty())
        Q_EMIT propertiesChanged();
}

QString BlockInstanceArea::displayName() const
{
    if (!m_displayName.isEmpty())
        return m_displayName;
    return QStringLiteral("A%1.%2").arg(m_first).arg(m_second);
}

void BlockInstanceArea::setTitle(const QString& title)
{
    if (title == m_title)
        return;
    m_title = title;
    Q_EMIT propertiesChanged();
}

void BlockInstanceArea::setDisplayName(const QString& name)
{
    if (name == m_displayName)
        return;
    m_displayName = name;
    Q_EMIT propertiesChanged();
}

void BlockInstanceArea::setBackDocumentation(bool value)
{
    if (value == m_backDocumentation)
        return;
    m_backDocumentation = value;
    Q_EMIT propertiesChanged();
}

void BlockInstanceArea::setHasOwnProgram(bool value)
{
    if (value == m_ownProgram)
        return;
    if (!value)
        setOnline(false);
    m_ownProgram = value;
    Q_EMIT propertiesChanged();
}

bool BlockInstanceArea::setOnline(bool online)
{
    if (online && !m_ownProgram)
        return false;
    if (online == m_online)
        return true;
    m_online = online;
    if (online) {
        m_simulator->start();
    } else {
        // Going offline stops the cycle at once; nothing computed later reaches the pins.
        m_simulator->stop();
        m_valueSource->clearValues();
    }
    Q_EMIT onlineChanged(online);
    return true;
}

BlockDefinition* BlockInstanceArea::rootDefinition() const
{
    return m_rootInstance ? m_rootInstance->blockDefinition() : nullptr;
}
