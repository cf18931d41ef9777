#include "ModelJson.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPin.h"
#include "BlockPinInstance.h"
#include "BlockRepository.h"
#include "DatatypeProvider.h"
#include "LanguageManager.h"
#include "ModelRecords.h"
#include "ParameterDefinition.h"
#include "ParameterDefinitionLoader.h"

#include <QMap>
#include <QSet>

#include <algorithm>

namespace ModelJson {

Block* Reader::createBlock(const BlockRecord& record)
{
    auto* block = new Block(record.identifier);
    readBlockData(block, record);
    return block;
}

void Reader::readDefinitionInto(BlockDefinition* definition, const DefinitionRecord& record)
{
    readDefinitionData(definition, record);
}

void Reader::applyBlock(Block* block, const BlockRecord& record)
{
    readBlockData(block, record);
    fillCode();
    // Instances elsewhere follow pins that came or went.
    for (BlockDefinition* d : block->definitions()) {
        for (BlockInstance* instance : d->instances())
            instance->syncPins();
    }
}

void Reader::fillCode()
{
    // Local blocks of a definition are read with it, so the pending list grows while it is walked.
    for (int n = 0; n < m_pending.size(); ++n) {
        const PendingCode pending = m_pending.at(n);
        readCode(pending.definition, *pending.code);
    }
    m_pending.clear();
}

void Reader::readBlockData(Block* block, const BlockRecord& record)
{
    block->m_name = record.name;
    block->m_shortName = record.shortName;
    block->m_groupPath = record.group;
    block->m_userBlock = record.user;
    block->m_fallbackBlock = record.fallback;
    block->m_versionVisible = record.versionVisible;
    block->setOrigin(record.originIdentifier, record.originVersion);
    QSet<unsigned int> seen;
    for (const DefinitionRecord& d : record.definitions) {
        seen.insert(d.version);
        BlockDefinition* definition = block->m_definitions.value(d.version);
        if (!definition) {
            definition = new BlockDefinition(block, d.version);
            block->m_definitions.insert(d.version, definition);
        }
        readDefinitionData(definition, d);
    }
    const auto versions = block->m_definitions.keys();
    for (unsigned int v : versions) {
        if (!seen.contains(v))
            delete block->m_definitions.take(v);
    }
}

void Reader::readDefinitionData(BlockDefinition* d, const DefinitionRecord& record)
{
    d->m_blockType = record.type;
    d->m_function = record.function;
    d->m_description = record.description;
    d->m_accessLevelWrite = record.accessWrite;
    d->m_accessLevelRead = record.accessRead;
    d->m_stepIn = record.stepIn;
    d->m_runtimeMembership = eRuntimeMembership(record.runtime);
    d->m_parameterDefinitionBlock = record.parameterBlock;
    QList<BlockPin> pins;
    for (const BlockPinRecord& pin : record.pins)
        pins.append(pin.toPin());
    d->setPinsSilently(pins);
    d->m_symbol = record.symbol.toSymbol(record.pins);
    d->m_smallListImage = record.icon;
    d->m_renderedIcon.clear();
    qDeleteAll(d->m_parameters);
    d->m_parameters.clear();
    for (const ParameterTextRecord& p : record.parameters) {
        if (ParameterDefinition* parameter = ParameterDefinitionLoader::createAndLoadParameterDefinition(p.text.toUtf8()))
            d->m_parameters.insert(p.index, parameter);
    }
    if (!record.localBlocks.empty() || d->existingLocalBlockLibrary()) {
        BlockLibrary* library = d->ensureLocalBlockLibrary();
        QSet<QString> keep;
        for (const BlockRecord& local : record.localBlocks) {
            keep.insert(local.identifier);
            Block* block = library->block(local.identifier);
            if (block) {
                readBlockData(block, local);
            } else {
                block = new Block(local.identifier);
                readBlockData(block, local);
                library->insertBlockSilently(block);
            }
        }
        for (const QString& id : library->blockIdentifiers()) {
            if (!keep.contains(id))
                delete library->removeBlockSilently(id);
        }
    }
    if (record.code) {
        d->ensureCode();
        m_pending.append({d, &*record.code});
    }
}

BlockDefinition* Reader::resolve(BlockDefinition* owner, const InstanceRecord& instance,
                                 const QList<ConnectionRecord>& connections)
{
    // Local libraries from the owner outward first, then the containers being read, then the
    // repository. A fall-back block made earlier answers only for the versions it stands in for,
    // so it never hides a library block that has the version asked for.
    BlockDefinition* fallbackHit = nullptr;
    for (const BlockDefinition* d = owner; d;) {
        if (const BlockLibrary* local = d->existingLocalBlockLibrary()) {
            if (const Block* block = local->block(instance.block)) {
                BlockDefinition* found = block->blockDefinition(instance.version);
                if (found && !block->isFallbackBlock())
                    return found;
                if (found && !fallbackHit)
                    fallbackHit = found;
            }
        }
        const Block* block = d->block();
        const BlockLibrary* library = block ? block->ownerLibrary() : nullptr;
        const BlockLibraryContainer* container = library ? library->container() : nullptr;
        d = container && container->isLocal() ? qobject_cast<const BlockDefinition*>(container->parent()) : nullptr;
    }
    for (const BlockLibraryContainer* container : std::as_const(m_containers)) {
        if (const Block* block = container->library()->block(instance.block)) {
            if (BlockDefinition* found = block->blockDefinition(instance.version))
                return found;
        }
    }
    if (m_useRepository) {
        if (BlockDefinition* found = BlockRepository::instance().blockDefinition(instance.block, instance.version))
            return found;
    }
    if (fallbackHit)
        return fallbackHit;
    // Nothing found: a fall-back block stands in, with the pins that the code uses, so that the
    // instance and its connections are kept and can be saved back unchanged.
    ++m_fallbacks;
    BlockLibrary* local = owner->ensureLocalBlockLibrary();
    Block* block = local->block(instance.block);
    if (!block) {
        block = new Block(instance.block);
        block->m_fallbackBlock = true;
        block->m_name = Text(LanguageManager::German, instance.block);
        local->insertBlockSilently(block);
    }
    BlockDefinition* definition = block->blockDefinition(instance.version);
    if (!definition) {
        definition = new BlockDefinition(block, instance.version);
        block->m_definitions.insert(instance.version, definition);
    }
    QMap<int, eBlockPinFunction> pins;
    for (const ConnectionRecord& c : connections) {
        if (c.source.present && c.source.instance == instance.id)
            pins.insert(c.source.pin, BlockPinFunctionOutput);
        if (c.target.present && c.target.instance == instance.id)
            pins.insert(c.target.pin, BlockPinFunctionInput);
    }
    for (const PinSettingRecord& setting : instance.pins) {
        if (!pins.contains(setting.id))
            pins.insert(setting.id, BlockPinFunctionInput);
    }
    for (auto it = pins.constBegin(); it != pins.constEnd(); ++it) {
        if (!definition->pin(it.key())) {
            BlockPin pin(it.key(), it.value(), DatatypeProvider::Any);
            pin.setShortName(QString::number(it.key()));
            definition->setPinSilently(pin);
        }
    }
    QList<int> inputs, outputs;
    for (int pin : definition->pins())
        (definition->pin(pin)->function() == BlockPinFunctionInput ? inputs : outputs).append(pin);
    definition->m_symbol.setInputPins(inputs);
    definition->m_symbol.setOutputPins(outputs);
    definition->m_symbol.setDefaultSize(BlockSymbol::sizeForPins(int(inputs.size()), int(outputs.size())));
    return definition;
}

void Reader::readCode(BlockDefinition* definition, const CodeRecord& record)
{
    BlockCode* code = definition->ensureCode();
    const bool wasBlocked = code->blockChangeSignals(true);
    code->clear();
    QList<QPair<unsigned int, unsigned int>> realtime, background;
    for (const InstanceRecord& i : record.instances) {
        BlockInstance* instance = code->createInstance(resolve(definition, i, record.connections), i.id);
        if (!instance)
            continue;
        i.applyTo(instance);
        if (i.realtime)
            realtime.append({i.realtime, i.id});
        if (i.background)
            background.append({i.background, i.id});
    }
    std::sort(realtime.begin(), realtime.end());
    std::sort(background.begin(), background.end());
    for (const auto& entry : std::as_const(realtime))
        code->m_realtime.append(entry.second);
    for (const auto& entry : std::as_const(background))
        code->m_background.append(entry.second);
    auto pinOf = [code](const ConnectionEndRecord& end) -> BlockPinInstance* {
        BlockInstance* instance = end.present ? code->instance(end.instance) : nullptr;
        return instance ? instance->pin(end.pin) : nullptr;
    };
    for (const ConnectionRecord& c : record.connections)
        code->addConnection(pinOf(c.source), pinOf(c.target), c.nodes);
    code->m_swallowed = false;
    code->blockChangeSignals(wasBlocked);
    Q_EMIT code->structureChanged();
}

} // namespace ModelJson
