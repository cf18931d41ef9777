#include "ProjectRecords.h"

#include "AreaInfo.h"
#include "Block.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "DatatypeProvider.h"
#include "JsonInput.h"
#include "JsonKeys.h"
#include "ParameterSetup.h"
#include "Project.h"
#include "SignalLabel.h"
#include "SimpleType.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

using JsonValue::isUInt;

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("Project", text);
}

// "line 3, column 7" from a byte offset, for messages about broken JSON.
QString placeOf(const QByteArray& data, int offset)
{
    int line = 1, column = 1;
    for (int i = 0; i < offset && i < data.size(); ++i) {
        if (data.at(i) == '\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
    return tr("Zeile %1, Spalte %2").arg(line).arg(column);
}

// A whole file as one JSON object.
bool parseObject(JsonInput& input, const QByteArray& data, QJsonObject& object)
{
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(data, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return input.fail(placeOf(data, parseError.offset), parseError.errorString());
    if (!doc.isObject())
        return input.fail(QString(), tr("die Datei enthält kein JSON-Objekt"));
    object = doc.object();
    return true;
}

void collectLabels(const BlockInstanceHierarchyNode* node, QList<SignalLabelRecord>& out)
{
    if (!node)
        return;
    for (const SignalLabel* label : node->signalLabels())
        out.append(SignalLabelRecord::of(node, label));
    for (int id : node->instanceNodes())
        collectLabels(node->instanceNode(unsigned(id)), out);
}

} // namespace

// ---------------------------------------------------------------------------------------------

DatatypeRecord DatatypeRecord::of(const SimpleType* type)
{
    return {int(type->number()),  int(type->kind()),  type->sizeInBytes(),
            type->shortName(),    type->minimum(),    type->maximum()};
}

bool DatatypeRecord::read(JsonInput& input, const QJsonValue& value, const QString& place, DatatypeRecord& record)
{
    const QJsonObject o = value.toObject();
    record.number = o.value(JsonKey::Number).toInt(-1);
    record.kind = o.value(JsonKey::Kind).toInt(-1);
    if (record.number < 1 || record.number > 255 || DatatypeProvider::instance()->isBuiltin(uchar(record.number))
        || record.kind < 0 || record.kind > 5 || !o.value(JsonKey::ShortName).isString())
        return input.fail(place, tr("Nummer, Art oder Kurzname ungültig"));
    record.size = unsigned(o.value(JsonKey::Size).toInt());
    record.shortName = o.value(JsonKey::ShortName).toString();
    record.minimum = o.value(JsonKey::Minimum).toDouble();
    record.maximum = o.value(JsonKey::Maximum).toDouble();
    return true;
}

QJsonObject DatatypeRecord::toJson() const
{
    return QJsonObject{{JsonKey::Number, number},       {JsonKey::Kind, kind},       {JsonKey::Size, double(size)},
                       {JsonKey::ShortName, shortName}, {JsonKey::Minimum, minimum}, {JsonKey::Maximum, maximum}};
}

SimpleType DatatypeRecord::toType() const
{
    return SimpleType(uchar(number), eSimpleTypeKind(kind), size, shortName, minimum, maximum);
}

bool GroupRecord::read(JsonInput& input, const QJsonValue& value, const QString& place, GroupRecord& record)
{
    const QJsonObject o = value.toObject();
    if (!isUInt(o.value(JsonKey::Number)))
        return input.fail(place, JsonInput::notUnsigned(JsonKey::Number));
    if (!input.readText(o.value(JsonKey::Name), JsonInput::member(place, JsonKey::Name), record.name))
        return false;
    record.number = unsigned(o.value(JsonKey::Number).toDouble());
    return true;
}

QJsonObject GroupRecord::toJson() const
{
    return QJsonObject{{JsonKey::Number, double(number)}, {JsonKey::Name, JsonValue::fromText(name)}};
}

// ---------------------------------------------------------------------------------------------

LibraryRecord LibraryRecord::of(const BlockLibraryContainer* container)
{
    LibraryRecord record;
    record.identifier = container->identifier();
    record.kind = container->containerKind();
    record.name = container->name();
    for (const Block* block : container->library()->blocks())
        record.blocks.append(BlockRecord::of(block));
    return record;
}

bool LibraryRecord::readEntry(JsonInput& input, const QJsonValue& value, const QString& place,
                              const QString& baseDirectory, LibraryRecord& record)
{
    const QJsonObject entry = value.toObject();
    if (entry.contains(JsonKey::File)) {
        record.file = entry.value(JsonKey::File).toString();
        return readFile(input, place, baseDirectory, record);
    }
    return read(input, entry, place, record);
}

bool LibraryRecord::readFile(JsonInput& input, const QString& place, const QString& baseDirectory,
                             LibraryRecord& record)
{
    const QString path = QDir(baseDirectory).filePath(record.file);
    QFile file(path);
    if (record.file.isEmpty() || !file.open(QIODevice::ReadOnly))
        return input.fail(place, tr("die Bibliotheksdatei \"%1\" kann nicht gelesen werden").arg(record.file));
    // A fault inside the library file is told with the library file's path.
    JsonInput fileInput(path);
    QJsonObject object;
    if (!parseObject(fileInput, file.readAll(), object))
        return input.refuse(fileInput.errorText());
    if (object.value(JsonKey::Format).toString() != Project::LibraryFormat) {
        return input.refuse(tr("%1 (aus %2): das ist keine Bibliotheksdatei (\"%3\" ist nicht \"%4\")")
                                .arg(path, input.fileName(), JsonKey::Format, Project::LibraryFormat));
    }
    const int version = object.value(JsonKey::FormatVersion).toInt();
    if (version != Project::FormatVersion) {
        return input.refuse(tr("%1 (aus %2): die Formatversion %3 wird nicht unterstützt")
                                .arg(path, input.fileName(), QString::number(version)));
    }
    if (!read(fileInput, object, QString(), record))
        return input.refuse(fileInput.errorText());
    return true;
}

bool LibraryRecord::read(JsonInput& input, const QJsonObject& o, const QString& place, LibraryRecord& record)
{
    if (!o.value(JsonKey::Identifier).isString() || o.value(JsonKey::Identifier).toString().isEmpty())
        return input.fail(place, tr("\"%1\" fehlt").arg(JsonKey::Identifier));
    if (!isUInt(o.value(JsonKey::Kind)))
        return input.fail(place, JsonInput::notUnsigned(JsonKey::Kind));
    record.identifier = o.value(JsonKey::Identifier).toString();
    record.kind = unsigned(o.value(JsonKey::Kind).toDouble());
    if (record.kind == BlockLibraryContainer::LocalContainerKind)
        return input.fail(place, tr("die Art %1 ist lokalen Bausteinen vorbehalten").arg(BlockLibraryContainer::LocalContainerKind));
    if (!input.readText(o.value(JsonKey::Name), JsonInput::member(place, JsonKey::Name), record.name))
        return false;
    if (!o.value(JsonKey::Blocks).isArray())
        return input.fail(place, JsonInput::notList(JsonKey::Blocks));
    const QJsonArray blocks = o.value(JsonKey::Blocks).toArray();
    QSet<QString> seen;
    for (int n = 0; n < blocks.size(); ++n) {
        const QString at = JsonInput::element(place, JsonKey::Blocks, n);
        if (!blocks.at(n).isObject())
            return input.fail(at, tr("ein Baustein muss ein Objekt sein"));
        BlockRecord block;
        if (!BlockRecord::read(input, blocks.at(n).toObject(), at, block))
            return false;
        if (seen.contains(block.identifier) || block.identifier == Block::RootBlockIdentifier)
            return input.fail(at, tr("der Baustein \"%1\" ist doppelt oder reserviert").arg(block.identifier));
        seen.insert(block.identifier);
        record.blocks.append(block);
    }
    return true;
}

QJsonObject LibraryRecord::toJson() const
{
    QJsonArray blockList;
    for (const BlockRecord& block : blocks)
        blockList.append(block.toJson());
    return QJsonObject{{JsonKey::Identifier, identifier},
                       {JsonKey::Kind, double(kind)},
                       {JsonKey::Name, JsonValue::fromText(name)},
                       {JsonKey::Blocks, blockList}};
}

QJsonObject LibraryRecord::toEntryJson() const
{
    if (!file.isEmpty())
        return QJsonObject{{JsonKey::File, file}};
    return toJson();
}

QJsonObject LibraryRecord::toFileJson() const
{
    QJsonObject o = toJson();
    o.insert(JsonKey::Format, Project::LibraryFormat);
    o.insert(JsonKey::FormatVersion, Project::FormatVersion);
    return o;
}

// ---------------------------------------------------------------------------------------------

ParameterValuesRecord ParameterValuesRecord::of(const QString& name, ParameterSetup* setup)
{
    ParameterValuesRecord record;
    record.name = name;
    record.elements = setup->elementNumbers();
    // Only defaults of listed elements are kept.
    for (unsigned short e : std::as_const(record.elements)) {
        if (!setup->defaultValueText(e).isNull())
            record.defaults.append({e, setup->defaultValueText(e)});
    }
    for (const auto& key : setup->explicitValues())
        record.values.append({key.first, key.second, setup->valueText(key.first, key.second, 0)});
    for (int area : setup->relatedAreas())
        record.related.append({area, setup->relatedParameterNames(area)});
    return record;
}

bool ParameterValuesRecord::read(JsonInput& input, const QJsonValue& value, const QString& listPlace,
                                 ParameterValuesRecord& record)
{
    const QJsonObject o = value.toObject();
    if (!o.value(JsonKey::Name).isString())
        return input.fail(listPlace, tr("ein Parameter braucht \"%1\"").arg(JsonKey::Name));
    record.name = o.value(JsonKey::Name).toString();
    for (const QJsonValue& e : o.value(JsonKey::Elements).toArray())
        record.elements.append(ushort(e.toInt()));
    const QJsonObject defaults = o.value(JsonKey::Defaults).toObject();
    for (auto it = defaults.constBegin(); it != defaults.constEnd(); ++it)
        record.defaults.append({ushort(it.key().toUInt()), it.value().toString()});
    for (const QJsonValue& v : o.value(JsonKey::Values).toArray()) {
        const QJsonObject vo = v.toObject();
        record.values.append({vo.value(JsonKey::Area).toInt(), ushort(vo.value(JsonKey::Element).toInt()),
                              vo.value(JsonKey::Value).toString()});
    }
    for (const QJsonValue& r : o.value(JsonKey::Related).toArray()) {
        const QJsonObject ro = r.toObject();
        Related related{ro.value(JsonKey::Area).toInt(), {}};
        for (const QJsonValue& n : ro.value(JsonKey::Names).toArray())
            related.names.append(n.toString());
        record.related.append(related);
    }
    return true;
}

QJsonObject ParameterValuesRecord::toJson() const
{
    QJsonArray elementList;
    for (unsigned short e : elements)
        elementList.append(int(e));
    QJsonObject defaultMap;
    for (const auto& entry : defaults)
        defaultMap.insert(QString::number(entry.first), entry.second);
    QJsonArray valueList;
    for (const Value& v : values)
        valueList.append(QJsonObject{{JsonKey::Area, v.area}, {JsonKey::Element, int(v.element)}, {JsonKey::Value, v.text}});
    QJsonArray relatedList;
    for (const Related& r : related)
        relatedList.append(QJsonObject{{JsonKey::Area, r.area}, {JsonKey::Names, QJsonArray::fromStringList(r.names)}});
    return QJsonObject{{JsonKey::Name, name},
                       {JsonKey::Elements, elementList},
                       {JsonKey::Defaults, defaultMap},
                       {JsonKey::Values, valueList},
                       {JsonKey::Related, relatedList}};
}

ParameterSetup* ParameterValuesRecord::toSetup() const
{
    auto* setup = new ParameterSetup(name, elements);
    for (const auto& entry : defaults)
        setup->setDefaultValueText(entry.first, entry.second);
    for (const Value& v : values)
        setup->setOwnValueText(v.area, v.element, v.text);
    for (const Related& r : related)
        setup->setRelatedParameterNames(r.area, r.names);
    return setup;
}

// ---------------------------------------------------------------------------------------------

AreaRecord AreaRecord::of(const BlockInstanceArea* area)
{
    AreaRecord record;
    record.first = area->firstNumber();
    record.second = area->secondNumber();
    record.index = area->index();
    record.title = area->title() == area->displayName() ? QString() : area->title();
    record.displayName = area->displayName();
    record.backDocumentation = area->isBackDocumentation();
    record.ownProgram = area->hasOwnProgram();
    record.root = DefinitionRecord::of(area->rootDefinition());
    collectLabels(area->hierarchy()->rootNode(), record.signalLabels);
    AreaInfo* info = area->areaInfo();
    for (const QString& name : info->parameterNames())
        record.parameters.append(ParameterValuesRecord::of(name, info->queryParameterInstance(name)));
    return record;
}

bool AreaRecord::read(JsonInput& input, const QJsonValue& value, const QString& place, QSet<unsigned int>& takenNumbers,
                      AreaRecord& record)
{
    const QJsonObject o = value.toObject();
    for (QLatin1String key : {JsonKey::First, JsonKey::Second, JsonKey::Index}) {
        if (!isUInt(o.value(key)))
            return input.fail(place, JsonInput::notUnsigned(key));
    }
    record.first = unsigned(o.value(JsonKey::First).toDouble());
    record.second = unsigned(o.value(JsonKey::Second).toDouble());
    record.index = unsigned(o.value(JsonKey::Index).toDouble());
    if (takenNumbers.contains(record.first))
        return input.fail(place, tr("die Bereichsnummer %1 ist doppelt").arg(record.first));
    takenNumbers.insert(record.first);
    if (!o.value(JsonKey::Root).isObject())
        return input.fail(place, tr("\"%1\" fehlt").arg(JsonKey::Root));
    if (!DefinitionRecord::read(input, o.value(JsonKey::Root).toObject(), JsonInput::member(place, JsonKey::Root),
                                record.root, DefinitionRecord::Kind::Root))
        return false;
    for (const QJsonValue& l : o.value(JsonKey::SignalLabels).toArray()) {
        SignalLabelRecord label;
        if (!SignalLabelRecord::read(input, l, JsonInput::member(place, JsonKey::SignalLabels), label))
            return false;
        record.signalLabels.append(label);
    }
    for (const QJsonValue& p : o.value(JsonKey::Parameters).toArray()) {
        ParameterValuesRecord parameter;
        if (!ParameterValuesRecord::read(input, p, JsonInput::member(place, JsonKey::Parameters), parameter))
            return false;
        record.parameters.append(parameter);
    }
    record.title = o.value(JsonKey::Title).toString();
    record.displayName = o.value(JsonKey::DisplayName).toString();
    record.backDocumentation = o.value(JsonKey::BackDocumentation).toBool();
    record.ownProgram = o.value(JsonKey::OwnProgram).toBool(true);
    return true;
}

QJsonObject AreaRecord::toJson() const
{
    QJsonArray labelList;
    for (const SignalLabelRecord& label : signalLabels)
        labelList.append(label.toJson());
    QJsonArray parameterList;
    for (const ParameterValuesRecord& parameter : parameters)
        parameterList.append(parameter.toJson());
    QJsonObject o;
    o.insert(JsonKey::First, double(first));
    o.insert(JsonKey::Second, double(second));
    o.insert(JsonKey::Index, double(index));
    o.insert(JsonKey::Title, title);
    o.insert(JsonKey::DisplayName, displayName);
    o.insert(JsonKey::BackDocumentation, backDocumentation);
    o.insert(JsonKey::OwnProgram, ownProgram);
    o.insert(JsonKey::Root, root.toJson(DefinitionRecord::Kind::Root));
    o.insert(JsonKey::SignalLabels, labelList);
    o.insert(JsonKey::Parameters, parameterList);
    return o;
}

// ---------------------------------------------------------------------------------------------

bool ProjectRecord::readHead(JsonInput& input, const QByteArray& json, QJsonObject& root)
{
    if (!parseObject(input, json, root))
        return false;
    if (root.value(JsonKey::Format).toString() != Project::ProjectFormat) {
        return input.fail(QString(), tr("das ist keine Projektdatei (\"%1\" ist nicht \"%2\")")
                                         .arg(JsonKey::Format, Project::ProjectFormat));
    }
    const int version = root.value(JsonKey::FormatVersion).toInt();
    if (version != Project::FormatVersion)
        return input.fail(QString(), tr("die Formatversion %1 wird nicht unterstützt").arg(version));
    const QJsonArray types = root.value(JsonKey::Datatypes).toArray();
    for (int n = 0; n < types.size(); ++n) {
        DatatypeRecord type;
        if (!DatatypeRecord::read(input, types.at(n), JsonInput::element(JsonKey::Datatypes, n), type))
            return false;
        datatypes.append(type);
    }
    return true;
}

bool ProjectRecord::readBody(JsonInput& input, const QJsonObject& root, const QString& baseDirectory)
{
    name = root.value(JsonKey::Name).toString();

    const QJsonValue groupList = root.value(JsonKey::Groups);
    if (!groupList.isUndefined() && !groupList.isArray())
        return input.fail(QString(), JsonInput::notList(JsonKey::Groups));
    const QJsonArray groupArray = groupList.toArray();
    for (int n = 0; n < groupArray.size(); ++n) {
        GroupRecord group;
        if (!GroupRecord::read(input, groupArray.at(n), JsonInput::element(JsonKey::Groups, n), group))
            return false;
        groups.append(group);
    }

    const QJsonValue libraryList = root.value(JsonKey::Libraries);
    if (!libraryList.isUndefined() && !libraryList.isArray())
        return input.fail(QString(), JsonInput::notList(JsonKey::Libraries));
    const QJsonArray libraryArray = libraryList.toArray();
    QSet<QString> libraryIds;
    for (int n = 0; n < libraryArray.size(); ++n) {
        const QString place = JsonInput::element(JsonKey::Libraries, n);
        LibraryRecord library;
        if (!LibraryRecord::readEntry(input, libraryArray.at(n), place, baseDirectory, library))
            return false;
        if (libraryIds.contains(library.identifier))
            return input.fail(place, tr("die Bibliothek \"%1\" ist doppelt").arg(library.identifier));
        libraryIds.insert(library.identifier);
        libraries.append(library);
    }

    const QJsonValue areaList = root.value(JsonKey::Areas);
    if (!areaList.isArray())
        return input.fail(QString(), JsonInput::notList(JsonKey::Areas));
    const QJsonArray areaArray = areaList.toArray();
    QSet<unsigned int> areaNumbers;
    for (int n = 0; n < areaArray.size(); ++n) {
        AreaRecord area;
        if (!AreaRecord::read(input, areaArray.at(n), JsonInput::element(JsonKey::Areas, n), areaNumbers, area))
            return false;
        areas.append(area);
    }
    return true;
}

QJsonObject ProjectRecord::toJson() const
{
    QJsonArray typeList;
    for (const DatatypeRecord& type : datatypes)
        typeList.append(type.toJson());
    QJsonArray groupList;
    for (const GroupRecord& group : groups)
        groupList.append(group.toJson());
    QJsonArray libraryList;
    for (const LibraryRecord& library : libraries)
        libraryList.append(library.toEntryJson());
    QJsonArray areaList;
    for (const AreaRecord& area : areas)
        areaList.append(area.toJson());
    QJsonObject o;
    o.insert(JsonKey::Format, Project::ProjectFormat);
    o.insert(JsonKey::FormatVersion, Project::FormatVersion);
    o.insert(JsonKey::Name, name);
    o.insert(JsonKey::Datatypes, typeList);
    o.insert(JsonKey::Groups, groupList);
    o.insert(JsonKey::Libraries, libraryList);
    o.insert(JsonKey::Areas, areaList);
    return o;
}
