#include "ModelBuilder.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockLibrary.h"
#include "BlockPin.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockSymbol.h"
#include "LanguageManager.h"

namespace ModelBuilder {

namespace {

void setPins(BlockDefinition* definition, const QList<PinSpec>& inputs, const QList<PinSpec>& outputs)
{
    QList<BlockPin> pins;
    QList<int> in, out;
    int id = 1;
    for (const PinSpec& wanted : inputs) {
        BlockPin pin(id, BlockPinFunctionInput, wanted.datatype);
        pin.setShortName(wanted.shortName);
        pin.setName(Text(LanguageManager::German, wanted.shortName));
        pins.append(pin);
        in.append(id++);
    }
    for (const PinSpec& wanted : outputs) {
        BlockPin pin(id, BlockPinFunctionOutput, wanted.datatype);
        pin.setShortName(wanted.shortName);
        pin.setName(Text(LanguageManager::German, wanted.shortName));
        pins.append(pin);
        out.append(id++);
    }
    definition->setPins(pins);
    BlockSymbol symbol;
    symbol.setInputPins(in);
    symbol.setOutputPins(out);
    symbol.setDefaultSize(BlockSymbol::sizeForPins(int(in.size()), int(out.size())));
    definition->setSymbol(symbol);
}

Block* make(BlockLibrary* library, const QString& identifier, const QString& germanName, unsigned int version)
{
    Block* block = library ? library->block(identifier) : nullptr;
    if (!block) {
        block = Block::createBlock(identifier);
        block->setName(Text(LanguageManager::German, germanName));
        block->setShortName(germanName.left(8).toUpper());
        if (library)
            library->insertBlock(block);
    }
    if (!block->blockDefinition(version))
        block->createDefinition(version);
    return block;
}

} // namespace

Block* primitive(BlockLibrary* library, const QString& identifier, const QString& germanName,
                 const QList<PinSpec>& inputs, const QList<PinSpec>& outputs, const QString& function,
                 unsigned int version)
{
    Block* block = make(library, identifier, germanName, version);
    BlockDefinition* definition = block->blockDefinition(version);
    setPins(definition, inputs, outputs);
    definition->setFunction(function);
    return block;
}

Block* composite(BlockLibrary* library, const QString& identifier, const QString& germanName,
                 const QList<PinSpec>& inputs, const QList<PinSpec>& outputs, unsigned int version)
{
    Block* block = make(library, identifier, germanName, version);
    BlockDefinition* definition = block->blockDefinition(version);
    setPins(definition, inputs, outputs);
    definition->ensureCode();
    return block;
}

BlockInstance* place(BlockCode* code, BlockDefinition* definition, const QPointF& position)
{
    if (!code)
        return nullptr;
    BlockInstance* instance = code->createInstanceInRealtimeTask(definition);
    if (instance)
        instance->setPosition(position);
    return instance;
}

BlockPinConnection* wire(BlockCode* code, BlockInstance* from, int outputPin, BlockInstance* to, int inputPin,
                         const QList<QPointF>& nodes)
{
    if (!code || !from || !to)
        return nullptr;
    BlockPinConnection* connection = code->createConnection(from->pin(outputPin), to->pin(inputPin));
    if (connection && !nodes.isEmpty())
        connection->setNodePositions(nodes);
    return connection;
}

BlockDefinition* newest(Block* block)
{
    if (!block || block->versions().isEmpty())
        return nullptr;
    return block->blockDefinition(block->versions().last());
}

} // namespace ModelBuilder
