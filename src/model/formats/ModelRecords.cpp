#include "ModelRecords.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockPin.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockSymbol.h"
#include "DatatypeProvider.h"
#include "JsonInput.h"
#include "JsonKeys.h"
#include "ModelEnums.h"
#include "ParameterDefinition.h"
#include "ParameterDefinitionLoader.h"
#include "ParameterDefinitionSaver.h"
#include "SignalLabel.h"

#include <QCoreApplication>
#include <QJsonArray>

#include <memory>

using namespace JsonValue;

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("ModelJson", text);
}

bool isAbsentOrUInt(const QJsonValue& value)
{
    return value.isUndefined() || isUInt(value);
}

bool isAbsentOrString(const QJsonValue& value)
{
    return value.isUndefined() || value.isString();
}

bool isAbsentOrStringList(const QJsonValue& value)
{
    if (value.isUndefined())
        return true;
    bool ok = value.isArray();
    for (const QJsonValue& line : value.toArray())
        ok = ok && line.isString();
    return ok;
}

QByteArray fromBase64(const QJsonValue& value)
{
    return QByteArray::fromBase64(value.toString().toLatin1());
}

QString toBase64(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.toBase64());
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Code

QJsonObject PinSettingRecord::toJson() const
{
    return QJsonObject{{JsonKey::Id, id}, {JsonKey::Inverted, inverted}, {JsonKey::Remanent, remanent}, {JsonKey::Initial, initial}};
}

InstanceRecord InstanceRecord::of(const BlockInstance* instance)
{
    InstanceRecord record;
    record.id = instance->identifier();
    // An instance whose definition went keeps what it was made of, so that it is read back as a
    // fall-back block instead of being lost.
    const Block* block = instance->block();
    record.block = block ? block->identifier() : instance->blockIdentifier();
    record.version = block ? instance->version() : instance->blockVersion();
    record.name = instance->name();
    record.position = instance->position();
    if (const BlockCode* code = instance->ownerCode()) {
        record.realtime = code->realtime(record.id);
        record.background = code->background(record.id);
    }
    record.parameters = instance->parameterText(0);
    record.lines = instance->lines();
    record.note = instance->note();
    record.error = instance->error();
    record.size = instance->ownSize();
    for (const BlockPinInstance* pin : instance->pins()) {
        if (!pin->isInverted() && !pin->isRemanent() && pin->initialValue().isEmpty())
            continue;
        record.pins.append({pin->identifier(), pin->isInverted(), pin->isRemanent(), pin->initialValue()});
    }
    return record;
}

bool InstanceRecord::read(JsonInput& input, const QJsonValue& value, const QString& place, QSet<unsigned int>& taken,
                          InstanceRecord& record)
{
    if (!value.isObject())
        return input.fail(place, tr("eine Instanz muss ein Objekt sein"));
    const QJsonObject o = value.toObject();
    if (!isUInt(o.value(JsonKey::Id)))
        return input.fail(place, JsonInput::notUnsigned(JsonKey::Id));
    record.id = unsigned(o.value(JsonKey::Id).toDouble());
    if (record.id == 0 || taken.contains(record.id))
        return input.fail(place, tr("die Kennung %1 ist 0 oder doppelt vergeben").arg(record.id));
    taken.insert(record.id);
    if (!o.value(JsonKey::Block).isString() || o.value(JsonKey::Block).toString().isEmpty())
        return input.fail(place, tr("\"%1\" muss einen Baustein nennen").arg(JsonKey::Block));
    if (!isUInt(o.value(JsonKey::Version)))
        return input.fail(place, JsonInput::notUnsigned(JsonKey::Version));
    if (!isPoint(o.value(JsonKey::Position)))
        return input.fail(place, tr("\"%1\" muss [x, y] sein").arg(JsonKey::Position));
    if (!o.value(JsonKey::Error).isUndefined() && !isInt(o.value(JsonKey::Error)))
        return input.fail(place, tr("\"%1\" muss eine ganze Zahl sein").arg(JsonKey::Error));
    for (QLatin1String key : {JsonKey::Realtime, JsonKey::Background}) {
        if (!isAbsentOrUInt(o.value(key)))
            return input.fail(place, JsonInput::notUnsigned(key));
    }
    for (QLatin1String key : {JsonKey::Name, JsonKey::Parameters, JsonKey::Note}) {
        if (!isAbsentOrString(o.value(key)))
            return input.fail(place, JsonInput::notString(key));
    }
    if (!isAbsentOrStringList(o.value(JsonKey::Lines)))
        return input.fail(place, tr("\"%1\" muss eine Liste von Zeichenketten sein").arg(JsonKey::Lines));
    const QJsonValue size = o.value(JsonKey::Size);
    if (!size.isUndefined() && !size.isNull() && !isPoint(size))
        return input.fail(place, tr("\"%1\" muss [Breite, Höhe] oder null sein").arg(JsonKey::Size));
    const QJsonValue pins = o.value(JsonKey::Pins);
    if (!pins.isUndefined() && !pins.isArray())
        return input.fail(place, JsonInput::notList(JsonKey::Pins));
    for (const QJsonValue& p : pins.toArray()) {
        const QJsonObject po = p.toObject();
        if (!p.isObject() || !isInt(po.value(JsonKey::Id)))
            return input.fail(place, tr("ein Anschlusseintrag braucht eine \"%1\"").arg(JsonKey::Id));
        if (!isAbsentOrString(po.value(JsonKey::Initial)))
            return input.fail(place, tr("\"%1\" eines Anschlusses muss eine Zeichenkette sein").arg(JsonKey::Initial));
        record.pins.append({po.value(JsonKey::Id).toInt(), po.value(JsonKey::Inverted).toBool(),
                            po.value(JsonKey::Remanent).toBool(), po.value(JsonKey::Initial).toString()});
    }
    record.block = o.value(JsonKey::Block).toString();
    record.version = unsigned(o.value(JsonKey::Version).toDouble());
    record.name = o.value(JsonKey::Name).toString();
    record.position = toPoint(o.value(JsonKey::Position));
    record.realtime = unsigned(o.value(JsonKey::Realtime).toDouble());
    record.background = unsigned(o.value(JsonKey::Background).toDouble());
    record.parameters = o.value(JsonKey::Parameters).toString();
    for (const QJsonValue& line : o.value(JsonKey::Lines).toArray())
        record.lines.append(line.toString());
    record.note = o.value(JsonKey::Note).toString();
    record.error = o.value(JsonKey::Error).toInt();
    record.size = toSize(size);
    return true;
}

QJsonObject InstanceRecord::toJson() const
{
    QJsonObject o;
    o.insert(JsonKey::Id, double(id));
    o.insert(JsonKey::Block, block);
    o.insert(JsonKey::Version, double(version));
    o.insert(JsonKey::Name, name);
    o.insert(JsonKey::Position, fromPoint(position));
    o.insert(JsonKey::Realtime, double(realtime));
    o.insert(JsonKey::Background, double(background));
    o.insert(JsonKey::Parameters, parameters);
    o.insert(JsonKey::Lines, QJsonArray::fromStringList(lines));
    o.insert(JsonKey::Note, note);
    o.insert(JsonKey::Error, error);
    o.insert(JsonKey::Size, fromSize(size));
    QJsonArray pinList;
    for (const PinSettingRecord& pin : pins)
        pinList.append(pin.toJson());
    o.insert(JsonKey::Pins, pinList);
    return o;
}

void InstanceRecord::applyTo(BlockInstance* instance) const
{
    instance->m_position = position;
    instance->m_name = name;
    instance->m_parameterText = parameters;
    instance->m_lines = lines;
    instance->m_note = note;
    instance->m_error = error;
    instance->setSize(size);
    for (const PinSettingRecord& setting : pins) {
        BlockPinInstance* pin = instance->pin(setting.id);
        if (!pin)
            continue;
        pin->m_inverted = setting.inverted && pin->isInvertible();
        pin->m_remanent = setting.remanent;
        pin->m_initialValue = setting.initial;
    }
}

ConnectionEndRecord ConnectionEndRecord::of(const BlockPinInstance* pin)
{
    if (!pin || !pin->owner())
        return {};
    return {true, pin->owner()->identifier(), pin->identifier()};
}

QJsonValue ConnectionEndRecord::toJson() const
{
    if (!present)
        return QJsonValue::Null;
    return QJsonArray{double(instance), pin};
}

ConnectionRecord ConnectionRecord::of(const BlockPinConnection* connection)
{
    return {ConnectionEndRecord::of(connection->source()), ConnectionEndRecord::of(connection->target()),
            connection->nodePositions()};
}

bool ConnectionRecord::read(JsonInput& input, const QJsonValue& value, const QString& place,
                            const QSet<unsigned int>& instances, ConnectionRecord& record)
{
    if (!value.isObject())
        return input.fail(place, tr("eine Verbindung muss ein Objekt sein"));
    const QJsonObject o = value.toObject();
    for (QLatin1String key : {JsonKey::Source, JsonKey::Target}) {
        const QJsonValue end = o.value(key);
        if (end.isNull() || end.isUndefined())
            continue;
        const QJsonArray a = end.toArray();
        if (!end.isArray() || a.size() != 2 || !isUInt(a.at(0)) || !isInt(a.at(1)))
            return input.fail(place, tr("\"%1\" muss [Instanz, Anschluss] oder null sein").arg(key));
        const unsigned int instance = unsigned(a.at(0).toDouble());
        if (!instances.contains(instance))
            return input.fail(place, tr("\"%1\" nennt die Instanz %2, die es im Code nicht gibt").arg(key).arg(instance));
        ConnectionEndRecord& side = key == JsonKey::Source ? record.source : record.target;
        side = ConnectionEndRecord{true, instance, a.at(1).toInt()};
    }
    const QJsonValue nodes = o.value(JsonKey::Nodes);
    if (!nodes.isUndefined()) {
        bool ok = nodes.isArray();
        for (const QJsonValue& p : nodes.toArray())
            ok = ok && isPoint(p);
        if (!ok)
            return input.fail(place, tr("\"%1\" muss eine Liste von [x, y] sein").arg(JsonKey::Nodes));
    }
    for (const QJsonValue& p : nodes.toArray())
        record.nodes.append(toPoint(p));
    return true;
}

QJsonObject ConnectionRecord::toJson() const
{
    QJsonArray nodeList;
    for (const QPointF& p : nodes)
        nodeList.append(fromPoint(p));
    return QJsonObject{{JsonKey::Source, source.toJson()}, {JsonKey::Target, target.toJson()}, {JsonKey::Nodes, nodeList}};
}

CodeRecord CodeRecord::of(const BlockCode* code)
{
    CodeRecord record;
    for (const BlockInstance* instance : code->instances())
        record.instances.append(InstanceRecord::of(instance));
    for (const BlockPinConnection* connection : code->connections())
        record.connections.append(ConnectionRecord::of(connection));
    return record;
}

bool CodeRecord::read(JsonInput& input, const QJsonObject& object, const QString& place, CodeRecord& record)
{
    const QJsonValue instances = object.value(JsonKey::Instances);
    if (!instances.isUndefined() && !instances.isArray())
        return input.fail(place, JsonInput::notList(JsonKey::Instances));
    QSet<unsigned int> ids;
    const QJsonArray instanceList = instances.toArray();
    for (int n = 0; n < instanceList.size(); ++n) {
        InstanceRecord instance;
        if (!InstanceRecord::read(input, instanceList.at(n), JsonInput::element(place, JsonKey::Instances, n), ids, instance))
            return false;
        record.instances.append(instance);
    }
    const QJsonValue connections = object.value(JsonKey::Connections);
    if (!connections.isUndefined() && !connections.isArray())
        return input.fail(place, JsonInput::notList(JsonKey::Connections));
    const QJsonArray connectionList = connections.toArray();
    for (int n = 0; n < connectionList.size(); ++n) {
        ConnectionRecord connection;
        if (!ConnectionRecord::read(input, connectionList.at(n), JsonInput::element(place, JsonKey::Connections, n), ids, connection))
            return false;
        record.connections.append(connection);
    }
    return true;
}

QJsonObject CodeRecord::toJson() const
{
    QJsonArray instanceList;
    for (const InstanceRecord& instance : instances)
        instanceList.append(instance.toJson());
    QJsonArray connectionList;
    for (const ConnectionRecord& connection : connections)
        connectionList.append(connection.toJson());
    return QJsonObject{{JsonKey::Instances, instanceList}, {JsonKey::Connections, connectionList}};
}

SignalLabelRecord SignalLabelRecord::of(const BlockInstanceHierarchyNode* node, const SignalLabel* label)
{
    return {node->locationPath(), label->identifier(), label->instanceIdentifier(), label->pinIdentifier(),
            label->name(), label->offset()};
}

bool SignalLabelRecord::read(JsonInput& input, const QJsonValue& value, const QString& listPlace,
                             SignalLabelRecord& record)
{
    const QJsonObject o = value.toObject();
    if (!o.value(JsonKey::Node).isString() || !isUInt(o.value(JsonKey::Instance)) || !o.value(JsonKey::Name).isString()
        || (o.contains(JsonKey::Id) && !isUInt(o.value(JsonKey::Id)))) {
        return input.fail(listPlace, tr("eine Signalmarke braucht \"%1\", \"%2\" und \"%3\"")
                                         .arg(JsonKey::Node, JsonKey::Instance, JsonKey::Name));
    }
    record.node = o.value(JsonKey::Node).toString();
    record.id = unsigned(o.value(JsonKey::Id).toDouble());
    record.instance = unsigned(o.value(JsonKey::Instance).toDouble());
    record.pin = o.value(JsonKey::Pin).toInt();
    record.name = o.value(JsonKey::Name).toString();
    record.offset = toPoint(o.value(JsonKey::Offset));
    return true;
}

QJsonObject SignalLabelRecord::toJson() const
{
    return QJsonObject{{JsonKey::Node, node},
                       {JsonKey::Id, double(id)},
                       {JsonKey::Instance, double(instance)},
                       {JsonKey::Pin, pin},
                       {JsonKey::Name, name},
                       {JsonKey::Offset, fromPoint(offset)}};
}

SignalLabel* SignalLabelRecord::createOn(BlockInstanceHierarchyNode* node, unsigned int identifier) const
{
    SignalLabel* label = node->createSignalLabel(instance, pin, name, identifier);
    if (label)
        label->setOffset(offset);
    return label;
}

// ---------------------------------------------------------------------------------------------
// Blocks and definitions

BlockPinRecord BlockPinRecord::of(const BlockPin* pin)
{
    return {pin->identifier(), int(pin->function()), pin->datatype(),      pin->shortName(),
            pin->name(),       pin->description(),   pin->isInvertible(), pin->defaultInitialValue()};
}

bool BlockPinRecord::read(JsonInput& input, const QJsonValue& value, const QString& place, QSet<int>& taken,
                          BlockPinRecord& record)
{
    const QJsonObject o = value.toObject();
    if (!value.isObject() || !isInt(o.value(JsonKey::Id)))
        return input.fail(place, tr("ein Anschluss braucht eine numerische \"%1\"").arg(JsonKey::Id));
    record.id = o.value(JsonKey::Id).toInt();
    if (taken.contains(record.id))
        return input.fail(place, tr("der Anschluss %1 ist doppelt definiert").arg(record.id));
    taken.insert(record.id);
    record.function = o.value(JsonKey::Function).toInt(-1);
    if (record.function != BlockPinFunctionInput && record.function != BlockPinFunctionOutput)
        return input.fail(place, tr("\"%1\" muss 1 (Eingang) oder 2 (Ausgang) sein").arg(JsonKey::Function));
    const QJsonValue type = o.value(JsonKey::Datatype);
    if (!isUInt(type) || type.toInt() > 255 || !DatatypeProvider::instance()->simpleType(uchar(type.toInt())))
        return input.fail(place, tr("\"%1\" muss die Nummer eines bekannten Typs sein").arg(JsonKey::Datatype));
    record.datatype = uchar(type.toInt());
    if (!input.readText(o.value(JsonKey::Name), JsonInput::member(place, JsonKey::Name), record.name)
        || !input.readText(o.value(JsonKey::Description), JsonInput::member(place, JsonKey::Description), record.description))
        return false;
    record.shortName = o.value(JsonKey::ShortName).toString();
    record.invertible = o.value(JsonKey::Invertible).toBool(true);
    record.initial = o.value(JsonKey::Initial).toString();
    return true;
}

QJsonObject BlockPinRecord::toJson() const
{
    QJsonObject o;
    o.insert(JsonKey::Id, id);
    o.insert(JsonKey::Function, function);
    o.insert(JsonKey::Datatype, int(datatype));
    o.insert(JsonKey::ShortName, shortName);
    o.insert(JsonKey::Name, fromText(name));
    o.insert(JsonKey::Description, fromText(description));
    o.insert(JsonKey::Invertible, invertible);
    o.insert(JsonKey::Initial, initial);
    return o;
}

BlockPin BlockPinRecord::toPin() const
{
    BlockPin pin(id, eBlockPinFunction(function), datatype);
    pin.setShortName(shortName);
    pin.setName(name);
    pin.setDescription(description);
    pin.setInvertible(invertible);
    pin.setDefaultInitialValue(initial);
    return pin;
}

SymbolRecord SymbolRecord::of(const BlockSymbol* symbol)
{
    SymbolRecord record;
    record.hasPinOrder = true;
    record.inputs = symbol->inputPins();
    record.outputs = symbol->outputPins();
    record.defaultSize = symbol->defaultSize();
    record.size = symbol->hasOwnSize() ? symbol->size() : QSizeF();
    record.image = symbol->image();
    return record;
}

bool SymbolRecord::read(JsonInput& input, const QJsonValue& value, const QString& place, const QSet<int>& pins,
                        SymbolRecord& record)
{
    const QJsonObject o = value.toObject();
    if (!value.isUndefined()) {
        if (!value.isObject())
            return input.fail(place, tr("\"%1\" muss ein Objekt sein").arg(JsonKey::Symbol));
        const QString at = JsonInput::member(place, JsonKey::Symbol);
        for (QLatin1String key : {JsonKey::Inputs, JsonKey::Outputs}) {
            const QJsonValue v = o.value(key);
            if (v.isUndefined())
                continue;
            bool ok = v.isArray();
            for (const QJsonValue& e : v.toArray())
                ok = ok && isInt(e) && (pins.contains(e.toInt()) || e.toInt() == -1);
            if (!ok)
                return input.fail(at, tr("\"%1\" muss Anschlüsse der Definition aufzählen").arg(key));
        }
        for (QLatin1String key : {JsonKey::DefaultSize, JsonKey::Size}) {
            const QJsonValue v = o.value(key);
            if (!v.isUndefined() && !v.isNull() && !isPoint(v))
                return input.fail(at, tr("\"%1\" muss [Breite, Höhe] sein").arg(key));
        }
    }
    record.hasPinOrder = o.contains(JsonKey::Inputs) || o.contains(JsonKey::Outputs);
    record.inputs = toInts(o.value(JsonKey::Inputs));
    record.outputs = toInts(o.value(JsonKey::Outputs));
    record.defaultSize = toSize(o.value(JsonKey::DefaultSize));
    record.size = toSize(o.value(JsonKey::Size));
    record.image = fromBase64(o.value(JsonKey::Image));
    return true;
}

QJsonObject SymbolRecord::toJson() const
{
    QJsonObject o;
    if (hasPinOrder) {
        o.insert(JsonKey::Inputs, fromInts(inputs));
        o.insert(JsonKey::Outputs, fromInts(outputs));
    }
    o.insert(JsonKey::DefaultSize, fromSize(defaultSize));
    o.insert(JsonKey::Size, fromSize(size));
    o.insert(JsonKey::Image, toBase64(image));
    return o;
}

BlockSymbol SymbolRecord::toSymbol(const QList<BlockPinRecord>& pins) const
{
    BlockSymbol symbol;
    if (hasPinOrder) {
        symbol.setInputPins(inputs);
        symbol.setOutputPins(outputs);
    } else {
        QList<int> in, out;
        for (const BlockPinRecord& pin : pins)
            (pin.function == BlockPinFunctionInput ? in : out).append(pin.id);
        symbol.setInputPins(in);
        symbol.setOutputPins(out);
    }
    symbol.setDefaultSize(defaultSize.isValid() ? defaultSize
                                                : BlockSymbol::sizeForPins(int(symbol.inputPins().size()),
                                                                           int(symbol.outputPins().size())));
    symbol.setSize(size);
    symbol.setImage(image);
    return symbol;
}

bool ParameterTextRecord::read(JsonInput& input, const QJsonValue& value, const QString& listPlace,
                               ParameterTextRecord& record)
{
    const QJsonObject o = value.toObject();
    if (!isUInt(o.value(JsonKey::Index)) || !o.value(JsonKey::ParameterText).isString())
        return input.fail(listPlace, tr("ein Parameter braucht \"%1\" und \"%2\"").arg(JsonKey::Index, JsonKey::ParameterText));
    record.index = unsigned(o.value(JsonKey::Index).toDouble());
    record.text = o.value(JsonKey::ParameterText).toString();
    const std::unique_ptr<ParameterDefinition> parameter(
        ParameterDefinitionLoader::createAndLoadParameterDefinition(record.text.toUtf8()));
    if (!parameter)
        return input.fail(listPlace, tr("ein Parametertext ist nicht lesbar"));
    return true;
}

QJsonObject ParameterTextRecord::toJson() const
{
    return QJsonObject{{JsonKey::Index, double(index)}, {JsonKey::ParameterText, text}};
}

DefinitionRecord DefinitionRecord::of(const BlockDefinition* definition)
{
    DefinitionRecord record;
    record.version = definition->version();
    record.type = definition->blockType();
    record.function = definition->function();
    record.description = definition->description();
    record.accessWrite = definition->accessLevelWrite();
    record.accessRead = definition->accessLevelRead();
    record.stepIn = definition->stepInEnabled();
    record.runtime = int(definition->runtimeMembership());
    record.parameterBlock = definition->isParameterDefinitionBlock();
    for (int id : definition->pins())
        record.pins.append(BlockPinRecord::of(definition->pin(id)));
    record.symbol = SymbolRecord::of(definition->symbol());
    record.icon = definition->smallListImageSource();
    for (unsigned int index : definition->parameterIdentifiers(-1)) {
        const QByteArray text = ParameterDefinitionSaver::saveParameterDefinition(definition->parameterDefinition(-1, index));
        record.parameters.append({index, QString::fromUtf8(text)});
    }
    if (const BlockLibrary* library = definition->existingLocalBlockLibrary()) {
        for (const Block* block : library->blocks())
            record.localBlocks.push_back(BlockRecord::of(block));
    }
    if (const BlockCode* code = definition->code())
        record.code = CodeRecord::of(code);
    return record;
}

bool DefinitionRecord::read(JsonInput& input, const QJsonObject& o, const QString& place, DefinitionRecord& record,
                            Kind kind)
{
    if (kind == Kind::Versioned && !isUInt(o.value(JsonKey::Version)))
        return input.fail(place, JsonInput::notUnsigned(JsonKey::Version));
    for (QLatin1String key : {JsonKey::AccessWrite, JsonKey::AccessRead, JsonKey::Runtime, JsonKey::Type}) {
        if (!isAbsentOrUInt(o.value(key)))
            return input.fail(place, JsonInput::notUnsigned(key));
    }
    if (o.value(JsonKey::Runtime).toInt() > RuntimeMembershipNone)
        return input.fail(place, tr("\"%1\" muss zwischen 0 und 4 liegen").arg(JsonKey::Runtime));
    if (!input.readText(o.value(JsonKey::Description), JsonInput::member(place, JsonKey::Description), record.description))
        return false;

    const QJsonValue pins = o.value(JsonKey::Pins);
    if (!pins.isUndefined() && !pins.isArray())
        return input.fail(place, JsonInput::notList(JsonKey::Pins));
    QSet<int> pinIds;
    const QJsonArray pinList = pins.toArray();
    for (int n = 0; n < pinList.size(); ++n) {
        BlockPinRecord pin;
        if (!BlockPinRecord::read(input, pinList.at(n), JsonInput::element(place, JsonKey::Pins, n), pinIds, pin))
            return false;
        record.pins.append(pin);
    }
    if (!SymbolRecord::read(input, o.value(JsonKey::Symbol), place, pinIds, record.symbol))
        return false;

    const QJsonValue parameters = o.value(JsonKey::Parameters);
    if (!parameters.isUndefined() && !parameters.isArray())
        return input.fail(place, JsonInput::notList(JsonKey::Parameters));
    for (const QJsonValue& p : parameters.toArray()) {
        ParameterTextRecord parameter;
        if (!ParameterTextRecord::read(input, p, JsonInput::member(place, JsonKey::Parameters), parameter))
            return false;
        record.parameters.append(parameter);
    }

    const QJsonValue locals = o.value(JsonKey::LocalBlocks);
    if (!locals.isUndefined() && !locals.isArray())
        return input.fail(place, JsonInput::notList(JsonKey::LocalBlocks));
    QSet<QString> localIds;
    const QJsonArray localList = locals.toArray();
    for (int n = 0; n < localList.size(); ++n) {
        const QString at = JsonInput::element(place, JsonKey::LocalBlocks, n);
        if (!localList.at(n).isObject())
            return input.fail(at, tr("ein Baustein muss ein Objekt sein"));
        BlockRecord block;
        if (!BlockRecord::read(input, localList.at(n).toObject(), at, block))
            return false;
        if (localIds.contains(block.identifier))
            return input.fail(at, tr("der Baustein \"%1\" ist doppelt vorhanden").arg(block.identifier));
        localIds.insert(block.identifier);
        record.localBlocks.push_back(block);
    }

    const QJsonValue code = o.value(JsonKey::Code);
    if (!code.isUndefined() && !code.isNull()) {
        if (!code.isObject())
            return input.fail(place, tr("\"%1\" muss ein Objekt sein").arg(JsonKey::Code));
        CodeRecord codeRecord;
        if (!CodeRecord::read(input, code.toObject(), JsonInput::member(place, JsonKey::Code), codeRecord))
            return false;
        record.code = codeRecord;
    }

    record.version = kind == Kind::Versioned ? unsigned(o.value(JsonKey::Version).toDouble()) : 0;
    record.type = o.value(JsonKey::Type).toInt(BlockTypeOrdinary);
    record.function = o.value(JsonKey::Function).toString();
    record.accessWrite = unsigned(o.value(JsonKey::AccessWrite).toDouble());
    record.accessRead = unsigned(o.value(JsonKey::AccessRead).toDouble());
    record.stepIn = o.value(JsonKey::StepIn).toBool(true);
    record.runtime = o.value(JsonKey::Runtime).toInt();
    record.parameterBlock = o.value(JsonKey::ParameterBlock).toBool();
    record.icon = fromBase64(o.value(JsonKey::Icon));
    return true;
}

QJsonObject DefinitionRecord::toJson(Kind kind) const
{
    QJsonObject o;
    if (kind == Kind::Versioned)
        o.insert(JsonKey::Version, double(version));
    o.insert(JsonKey::Type, type);
    o.insert(JsonKey::Function, function);
    o.insert(JsonKey::Description, fromText(description));
    o.insert(JsonKey::AccessWrite, double(accessWrite));
    o.insert(JsonKey::AccessRead, double(accessRead));
    o.insert(JsonKey::StepIn, stepIn);
    o.insert(JsonKey::Runtime, runtime);
    o.insert(JsonKey::ParameterBlock, parameterBlock);
    QJsonArray pinList;
    for (const BlockPinRecord& pin : pins)
        pinList.append(pin.toJson());
    o.insert(JsonKey::Pins, pinList);
    o.insert(JsonKey::Symbol, symbol.toJson());
    o.insert(JsonKey::Icon, toBase64(icon));
    QJsonArray parameterList;
    for (const ParameterTextRecord& parameter : parameters)
        parameterList.append(parameter.toJson());
    o.insert(JsonKey::Parameters, parameterList);
    QJsonArray localList;
    for (const BlockRecord& block : localBlocks)
        localList.append(block.toJson());
    o.insert(JsonKey::LocalBlocks, localList);
    if (code)
        o.insert(JsonKey::Code, code->toJson());
    return o;
}

BlockRecord BlockRecord::of(const Block* block)
{
    BlockRecord record;
    record.identifier = block->identifier();
    record.name = block->name();
    record.shortName = block->shortName();
    record.group = block->groupPath();
    record.user = block->isUserBlock();
    record.fallback = block->isFallbackBlock();
    record.versionVisible = block->versionVisible();
    record.originIdentifier = block->originIdentifier();
    record.originVersion = block->originVersion();
    for (const BlockDefinition* definition : block->definitions())
        record.definitions.append(DefinitionRecord::of(definition));
    return record;
}

bool BlockRecord::read(JsonInput& input, const QJsonObject& o, const QString& placeIn, BlockRecord& record)
{
    record.identifier = o.value(JsonKey::Identifier).toString();
    const QString place = placeIn.isEmpty() ? record.identifier : placeIn;
    if (record.identifier.isEmpty())
        return input.fail(placeIn, tr("ein Baustein braucht eine \"%1\"").arg(JsonKey::Identifier));
    if (!input.readText(o.value(JsonKey::Name), JsonInput::member(place, JsonKey::Name), record.name))
        return false;
    for (QLatin1String key : {JsonKey::ShortName, JsonKey::Group}) {
        if (!isAbsentOrString(o.value(key)))
            return input.fail(place, JsonInput::notString(key));
    }
    record.shortName = o.value(JsonKey::ShortName).toString();
    record.group = o.value(JsonKey::Group).toString();
    if (!record.group.isEmpty()) {
        for (const QString& part : record.group.split(QLatin1Char(';'))) {
            bool ok = false;
            part.toUInt(&ok);
            if (!ok)
                return input.fail(place, tr("der Gruppenpfad \"%1\" muss aus Zahlen mit \";\" bestehen").arg(record.group));
        }
    }
    const QJsonValue origin = o.value(JsonKey::Origin);
    const QJsonObject originObject = origin.toObject();
    if (!origin.isUndefined()
        && (!origin.isObject() || !originObject.value(JsonKey::Identifier).isString()
            || !isUInt(originObject.value(JsonKey::Version)))) {
        return input.fail(place, tr("\"%1\" braucht \"%2\" und eine vorzeichenlose \"%3\"")
                                     .arg(JsonKey::Origin, JsonKey::Identifier, JsonKey::Version));
    }
    record.originIdentifier = originObject.value(JsonKey::Identifier).toString();
    record.originVersion = unsigned(originObject.value(JsonKey::Version).toDouble());

    const QJsonValue definitions = o.value(JsonKey::Definitions);
    if (!definitions.isArray())
        return input.fail(place, JsonInput::notList(JsonKey::Definitions));
    QSet<unsigned int> versions;
    const QJsonArray list = definitions.toArray();
    for (int n = 0; n < list.size(); ++n) {
        const QString at = JsonInput::element(place, JsonKey::Definitions, n);
        if (!list.at(n).isObject())
            return input.fail(at, tr("eine Definition muss ein Objekt sein"));
        DefinitionRecord definition;
        if (!DefinitionRecord::read(input, list.at(n).toObject(), at, definition))
            return false;
        if (versions.contains(definition.version))
            return input.fail(at, tr("die Version %1 ist doppelt vorhanden").arg(definition.version));
        versions.insert(definition.version);
        record.definitions.append(definition);
    }
    record.user = o.value(JsonKey::User).toBool();
    record.fallback = o.value(JsonKey::Fallback).toBool();
    record.versionVisible = o.value(JsonKey::VersionVisible).toBool();
    return true;
}

QJsonObject BlockRecord::toJson() const
{
    QJsonObject o;
    o.insert(JsonKey::Identifier, identifier);
    o.insert(JsonKey::Name, fromText(name));
    o.insert(JsonKey::ShortName, shortName);
    o.insert(JsonKey::Group, group);
    o.insert(JsonKey::User, user);
    o.insert(JsonKey::Fallback, fallback);
    o.insert(JsonKey::VersionVisible, versionVisible);
    if (!originIdentifier.isEmpty()) {
        o.insert(JsonKey::Origin,
                 QJsonObject{{JsonKey::Identifier, originIdentifier}, {JsonKey::Version, double(originVersion)}});
    }
    QJsonArray definitionList;
    for (const DefinitionRecord& definition : definitions)
        definitionList.append(definition.toJson());
    o.insert(JsonKey::Definitions, definitionList);
    return o;
}
