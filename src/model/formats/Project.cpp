#include "Project.h"

#include "AreaInfo.h"
#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockLibraryFile.h"
#include "BlockRepository.h"
#include "DatatypeProvider.h"
#include "LanguageManager.h"
#include "ModelJson.h"
#include "ParameterSetup.h"
#include "SignalLabel.h"
#include "SimpleType.h"
#include "System.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>
#include <QSet>

#include <algorithm>
#include <memory>

const QString Project::ProjectFormat = QStringLiteral("zkblockproject");
const QString Project::LibraryFormat = QStringLiteral("zkblocklibrary");

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

bool parseJson(const QByteArray& data, const QString& fileName, QJsonObject& object, QString* error)
{
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(data, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        *error = QStringLiteral("%1: %2: %3").arg(fileName, placeOf(data, parseError.offset), parseError.errorString());
        return false;
    }
    if (!doc.isObject()) {
        *error = tr("%1: die Datei enthält kein JSON-Objekt").arg(fileName);
        return false;
    }
    object = doc.object();
    return true;
}

bool isUInt(const QJsonValue& v)
{
    const double d = v.toDouble(-1);
    return v.isDouble() && d >= 0 && d <= 4294967295.0 && d == double(qint64(d));
}

void collectLabels(const BlockInstanceHierarchyNode* node, QJsonArray& out)
{
    if (!node)
        return;
    for (const SignalLabel* label : node->signalLabels()) {
        QJsonObject o;
        o.insert(QStringLiteral("node"), node->locationPath());
        o.insert(QStringLiteral("id"), double(label->identifier()));
        o.insert(QStringLiteral("instance"), double(label->instanceIdentifier()));
        o.insert(QStringLiteral("pin"), label->pinIdentifier());
        o.insert(QStringLiteral("name"), label->name());
        o.insert(QStringLiteral("offset"), QJsonArray{label->offset().x(), label->offset().y()});
        out.append(o);
    }
    for (int id : node->instanceNodes())
        collectLabels(node->instanceNode(unsigned(id)), out);
}

QJsonObject containerToJson(const BlockLibraryContainer* container)
{
    QJsonObject o;
    o.insert(QStringLiteral("format"), Project::LibraryFormat);
    o.insert(QStringLiteral("formatVersion"), Project::FormatVersion);
    o.insert(QStringLiteral("identifier"), container->identifier());
    o.insert(QStringLiteral("kind"), double(container->containerKind()));
    o.insert(QStringLiteral("name"), ModelJson::textToJson(container->name()));
    QJsonArray blocks;
    for (const Block* block : container->library()->blocks())
        blocks.append(ModelJson::blockToJson(block));
    o.insert(QStringLiteral("blocks"), blocks);
    return o;
}

bool validateLibrary(ModelJson::Reader& reader, const QJsonObject& o, const QString& place)
{
    if (!o.value(QStringLiteral("identifier")).isString() || o.value(QStringLiteral("identifier")).toString().isEmpty()) {
        reader.fail(place, tr("\"identifier\" fehlt"));
        return false;
    }
    if (!isUInt(o.value(QStringLiteral("kind")))) {
        reader.fail(place, tr("\"kind\" muss eine vorzeichenlose Zahl sein"));
        return false;
    }
    if (unsigned(o.value(QStringLiteral("kind")).toDouble()) == BlockLibraryContainer::LocalContainerKind) {
        reader.fail(place, tr("die Art %1 ist lokalen Bausteinen vorbehalten").arg(BlockLibraryContainer::LocalContainerKind));
        return false;
    }
    if (!reader.validateText(o.value(QStringLiteral("name")), place + QStringLiteral(".name")))
        return false;
    if (!o.value(QStringLiteral("blocks")).isArray()) {
        reader.fail(place, tr("\"blocks\" muss eine Liste sein"));
        return false;
    }
    const QJsonArray blocks = o.value(QStringLiteral("blocks")).toArray();
    QSet<QString> seen;
    for (int n = 0; n < blocks.size(); ++n) {
        const QString at = QStringLiteral("%1.blocks[%2]").arg(place).arg(n);
        if (!blocks.at(n).isObject()) {
            reader.fail(at, tr("ein Baustein muss ein Objekt sein"));
            return false;
        }
        if (!reader.validateBlock(blocks.at(n).toObject(), at))
            return false;
        const QString id = blocks.at(n).toObject().value(QStringLiteral("identifier")).toString();
        if (seen.contains(id) || id == Block::RootBlockIdentifier) {
            reader.fail(at, tr("der Baustein \"%1\" ist doppelt oder reserviert").arg(id));
            return false;
        }
        seen.insert(id);
    }
    return true;
}

} // namespace

Project::Project() = default;

Project::~Project()
{
    deactivate();
    qDeleteAll(m_areas);
    m_areas.clear();
    qDeleteAll(m_containers);
    m_containers.clear();
    qDeleteAll(m_datatypes);
}

Project* Project::createEmpty()
{
    auto* project = new Project;
    project->m_name = tr("Neues Projekt");
    auto* area = new BlockInstanceArea(1, 0, 1, project, false);
    area->setDisplayName(tr("Achse 1"));
    project->m_areas.append(area);
    return project;
}

Project* Project::load(const QString& path, QString* error)
{
    QString dummy;
    if (!error)
        error = &dummy;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = tr("%1: die Datei kann nicht gelesen werden: %2").arg(path, file.errorString());
        return nullptr;
    }
    Project* project = read(file.readAll(), QFileInfo(path).absolutePath(), path, error);
    if (project)
        project->m_filePath = QFileInfo(path).absoluteFilePath();
    return project;
}

Project* Project::loadFromData(const QByteArray& json, const QString& baseDirectory, const QString& fileName,
                               QString* error)
{
    QString dummy;
    return read(json, baseDirectory, fileName, error ? error : &dummy);
}

Project* Project::read(const QByteArray& json, const QString& baseDirectory, const QString& fileName, QString* error)
{
    QJsonObject root;
    if (!parseJson(json, fileName, root, error))
        return nullptr;
    ModelJson::Reader reader(fileName);
    if (root.value(QStringLiteral("format")).toString() != ProjectFormat) {
        *error = tr("%1: das ist keine Projektdatei (\"format\" ist nicht \"%2\")").arg(fileName, ProjectFormat);
        return nullptr;
    }
    if (root.value(QStringLiteral("formatVersion")).toInt() != FormatVersion) {
        *error = tr("%1: die Formatversion %2 wird nicht unterstützt").arg(fileName).arg(root.value(QStringLiteral("formatVersion")).toInt());
        return nullptr;
    }

    // Types first: pins are validated against them. Project types are registered for the reading
    // and withdrawn again if the project is refused.
    QList<SimpleType> types;
    const QJsonArray typeList = root.value(QStringLiteral("datatypes")).toArray();
    for (int n = 0; n < typeList.size(); ++n) {
        const QJsonObject t = typeList.at(n).toObject();
        const int number = t.value(QStringLiteral("number")).toInt(-1);
        const int kind = t.value(QStringLiteral("kind")).toInt(-1);
        if (number < 1 || number > 255 || DatatypeProvider::instance()->isBuiltin(uchar(number)) || kind < 0 || kind > 5
            || !t.value(QStringLiteral("shortName")).isString()) {
            *error = tr("%1: datatypes[%2]: Nummer, Art oder Kurzname ungültig").arg(fileName).arg(n);
            return nullptr;
        }
        types.append(SimpleType(uchar(number), eSimpleTypeKind(kind), unsigned(t.value(QStringLiteral("size")).toInt()),
                                t.value(QStringLiteral("shortName")).toString(), t.value(QStringLiteral("minimum")).toDouble(),
                                t.value(QStringLiteral("maximum")).toDouble()));
    }
    QList<uchar> addedTypes;
    for (const SimpleType& type : std::as_const(types)) {
        if (!DatatypeProvider::instance()->simpleType(type.number())) {
            DatatypeProvider::instance()->registerType(type);
            addedTypes.append(type.number());
        }
    }
    auto withdrawTypes = [&addedTypes]() {
        for (uchar number : std::as_const(addedTypes))
            DatatypeProvider::instance()->unregisterType(number);
    };

    const QJsonValue groupList = root.value(QStringLiteral("groups"));
    if (!groupList.isUndefined() && !groupList.isArray()) {
        *error = tr("%1: \"groups\" muss eine Liste sein").arg(fileName);
        withdrawTypes();
        return nullptr;
    }
    for (int n = 0; n < groupList.toArray().size(); ++n) {
        const QJsonObject go = groupList.toArray().at(n).toObject();
        if (!isUInt(go.value(QStringLiteral("number"))) || !reader.validateText(go.value(QStringLiteral("name")), QStringLiteral("groups[%1].name").arg(n))) {
            *error = reader.failed() ? reader.errorText()
                                     : tr("%1: groups[%2]: \"number\" muss eine vorzeichenlose Zahl sein").arg(fileName).arg(n);
            withdrawTypes();
            return nullptr;
        }
    }

    // Libraries: inline or in files of their own beside the project.
    struct LibrarySource
    {
        QJsonObject object;
        QString file;
        QString place;
    };
    QList<LibrarySource> libraries;
    const QJsonValue libraryList = root.value(QStringLiteral("libraries"));
    if (!libraryList.isUndefined() && !libraryList.isArray()) {
        *error = tr("%1: \"libraries\" muss eine Liste sein").arg(fileName);
        withdrawTypes();
        return nullptr;
    }
    QSet<QString> containerIds;
    for (int n = 0; n < libraryList.toArray().size(); ++n) {
        const QJsonObject entry = libraryList.toArray().at(n).toObject();
        LibrarySource source;
        source.place = QStringLiteral("libraries[%1]").arg(n);
        if (entry.contains(QStringLiteral("file"))) {
            source.file = entry.value(QStringLiteral("file")).toString();
            const QString path = QDir(baseDirectory).filePath(source.file);
            QFile file(path);
            if (source.file.isEmpty() || !file.open(QIODevice::ReadOnly)) {
                *error = tr("%1: %2: die Bibliotheksdatei \"%3\" kann nicht gelesen werden").arg(fileName, source.place, source.file);
                withdrawTypes();
                return nullptr;
            }
            if (!parseJson(file.readAll(), path, source.object, error)) {
                withdrawTypes();
                return nullptr;
            }
            if (source.object.value(QStringLiteral("format")).toString() != LibraryFormat) {
                *error = tr("%1 (aus %2): das ist keine Bibliotheksdatei (\"format\" ist nicht \"%3\")").arg(path, fileName, LibraryFormat);
                withdrawTypes();
                return nullptr;
            }
            if (source.object.value(QStringLiteral("formatVersion")).toInt() != FormatVersion) {
                *error = tr("%1 (aus %2): die Formatversion %3 wird nicht unterstützt")
                             .arg(path, fileName)
                             .arg(source.object.value(QStringLiteral("formatVersion")).toInt());
                withdrawTypes();
                return nullptr;
            }
            ModelJson::Reader fileReader(path);
            if (!validateLibrary(fileReader, source.object, QString())) {
                *error = fileReader.errorText();
                withdrawTypes();
                return nullptr;
            }
        } else {
            source.object = entry;
            if (!validateLibrary(reader, entry, source.place)) {
                *error = reader.errorText();
                withdrawTypes();
                return nullptr;
            }
        }
        const QString id = source.object.value(QStringLiteral("identifier")).toString();
        if (containerIds.contains(id)) {
            *error = tr("%1: %2: die Bibliothek \"%3\" ist doppelt").arg(fileName, source.place, id);
            withdrawTypes();
            return nullptr;
        }
        containerIds.insert(id);
        libraries.append(source);
    }

    const QJsonValue areaList = root.value(QStringLiteral("areas"));
    if (!areaList.isArray()) {
        *error = tr("%1: \"areas\" muss eine Liste sein").arg(fileName);
        withdrawTypes();
        return nullptr;
    }
    QSet<unsigned int> areaNumbers;
    for (int n = 0; n < areaList.toArray().size(); ++n) {
        const QString place = QStringLiteral("areas[%1]").arg(n);
        const QJsonObject a = areaList.toArray().at(n).toObject();
        for (const char* key : {"first", "second", "index"}) {
            if (!isUInt(a.value(QLatin1String(key)))) {
                reader.fail(place, tr("\"%1\" muss eine vorzeichenlose Zahl sein").arg(QLatin1String(key)));
                break;
            }
        }
        if (!reader.failed()) {
            const unsigned int first = unsigned(a.value(QStringLiteral("first")).toDouble());
            if (areaNumbers.contains(first))
                reader.fail(place, tr("die Bereichsnummer %1 ist doppelt").arg(first));
            areaNumbers.insert(first);
        }
        if (!reader.failed() && !a.value(QStringLiteral("root")).isObject())
            reader.fail(place, tr("\"root\" fehlt"));
        if (!reader.failed()) {
            QJsonObject rootDefinition = a.value(QStringLiteral("root")).toObject();
            rootDefinition.insert(QStringLiteral("version"), 0);
            reader.validateDefinition(rootDefinition, place + QStringLiteral(".root"));
        }
        if (!reader.failed()) {
            for (const QJsonValue& l : a.value(QStringLiteral("signalLabels")).toArray()) {
                const QJsonObject lo = l.toObject();
                if (!lo.value(QStringLiteral("node")).isString() || !isUInt(lo.value(QStringLiteral("instance")))
                    || !lo.value(QStringLiteral("name")).isString() || (lo.contains(QStringLiteral("id")) && !isUInt(lo.value(QStringLiteral("id"))))) {
                    reader.fail(place + QStringLiteral(".signalLabels"), tr("eine Signalmarke braucht \"node\", \"instance\" und \"name\""));
                    break;
                }
            }
        }
        if (!reader.failed()) {
            for (const QJsonValue& p : a.value(QStringLiteral("parameters")).toArray()) {
                if (!p.toObject().value(QStringLiteral("name")).isString()) {
                    reader.fail(place + QStringLiteral(".parameters"), tr("ein Parameter braucht \"name\""));
                    break;
                }
            }
        }
        if (reader.failed()) {
            *error = reader.errorText();
            withdrawTypes();
            return nullptr;
        }
    }

    // Everything is valid: build.
    std::unique_ptr<Project> project(new Project);
    project->m_name = root.value(QStringLiteral("name")).toString();
    for (const SimpleType& type : std::as_const(types))
        project->m_datatypes.append(new SimpleType(type));
    for (const QJsonValue& g : root.value(QStringLiteral("groups")).toArray()) {
        const QJsonObject go = g.toObject();
        project->m_groupNames.insert(unsigned(go.value(QStringLiteral("number")).toDouble()),
                                     ModelJson::textFromJson(go.value(QStringLiteral("name"))));
    }
    ModelJson::Reader builder(fileName);
    builder.setUseRepository(false);
    for (const LibrarySource& source : std::as_const(libraries)) {
        const QJsonObject& o = source.object;
        const QString id = o.value(QStringLiteral("identifier")).toString();
        const unsigned int kind = unsigned(o.value(QStringLiteral("kind")).toDouble());
        const Text name = ModelJson::textFromJson(o.value(QStringLiteral("name")));
        BlockLibraryContainer* container = source.file.isEmpty()
            ? new BlockLibraryContainer(id, kind, name)
            : new BlockLibraryFile(id, kind, name, QDir(baseDirectory).filePath(source.file));
        if (!source.file.isEmpty())
            project->m_libraryFiles.insert(container, source.file);
        for (const QJsonValue& b : o.value(QStringLiteral("blocks")).toArray())
            container->library()->insertBlock(builder.createBlock(b.toObject()));
        project->m_containers.append(container);
        builder.addSearchContainer(container);
    }
    for (const QJsonValue& v : areaList.toArray()) {
        const QJsonObject a = v.toObject();
        auto* area = new BlockInstanceArea(unsigned(a.value(QStringLiteral("first")).toDouble()),
                                           unsigned(a.value(QStringLiteral("second")).toDouble()),
                                           unsigned(a.value(QStringLiteral("index")).toDouble()), project.get(), false);
        area->setTitle(a.value(QStringLiteral("title")).toString());
        area->setDisplayName(a.value(QStringLiteral("displayName")).toString());
        area->setBackDocumentation(a.value(QStringLiteral("backDocumentation")).toBool());
        area->setHasOwnProgram(a.value(QStringLiteral("ownProgram")).toBool(true));
        QJsonObject rootDefinition = a.value(QStringLiteral("root")).toObject();
        rootDefinition.insert(QStringLiteral("version"), 0);
        builder.readDefinitionInto(area->rootDefinition(), rootDefinition);
        project->m_areas.append(area);
    }
    builder.fillCode();
    // With the code in place the hierarchies can carry their labels and parameters.
    int droppedLabels = 0;
    const QJsonArray areas = areaList.toArray();
    for (int n = 0; n < areas.size(); ++n) {
        const QJsonObject a = areas.at(n).toObject();
        BlockInstanceArea* area = project->m_areas.at(n);
        BlockInstanceHierarchy* hierarchy = area->hierarchy();
        for (const QJsonValue& l : a.value(QStringLiteral("signalLabels")).toArray()) {
            const QJsonObject lo = l.toObject();
            BlockInstanceHierarchyNode* node = hierarchy->nodeForPath(lo.value(QStringLiteral("node")).toString());
            SignalLabel* label = node ? node->createSignalLabel(unsigned(lo.value(QStringLiteral("instance")).toDouble()),
                                                                lo.value(QStringLiteral("pin")).toInt(),
                                                                lo.value(QStringLiteral("name")).toString(),
                                                                unsigned(lo.value(QStringLiteral("id")).toDouble()))
                                      : nullptr;
            if (!label) {
                ++droppedLabels;
                continue;
            }
            const QJsonArray offset = lo.value(QStringLiteral("offset")).toArray();
            label->setOffset(QPointF(offset.at(0).toDouble(), offset.at(1).toDouble()));
        }
        for (const QJsonValue& p : a.value(QStringLiteral("parameters")).toArray()) {
            const QJsonObject po = p.toObject();
            QList<unsigned short> elements;
            for (const QJsonValue& e : po.value(QStringLiteral("elements")).toArray())
                elements.append(ushort(e.toInt()));
            auto* setup = new ParameterSetup(po.value(QStringLiteral("name")).toString(), elements);
            const QJsonObject defaults = po.value(QStringLiteral("defaults")).toObject();
            for (auto it = defaults.constBegin(); it != defaults.constEnd(); ++it)
                setup->setDefaultValueText(ushort(it.key().toUInt()), it.value().toString());
            for (const QJsonValue& vv : po.value(QStringLiteral("values")).toArray()) {
                const QJsonObject vo = vv.toObject();
                setup->setValueText(vo.value(QStringLiteral("area")).toInt(), ushort(vo.value(QStringLiteral("element")).toInt()),
                                    vo.value(QStringLiteral("value")).toString());
            }
            for (const QJsonValue& rv : po.value(QStringLiteral("related")).toArray()) {
                const QJsonObject ro = rv.toObject();
                QList<QString> names;
                for (const QJsonValue& nv : ro.value(QStringLiteral("names")).toArray())
                    names.append(nv.toString());
                setup->setRelatedParameterNames(ro.value(QStringLiteral("area")).toInt(), names);
            }
            area->areaInfo()->insertParameterInstance(setup);
        }
    }
    if (droppedLabels > 0) {
        // Not fatal: a label whose pin is gone has nothing to show. Say so, since saving drops it.
        const QString text = droppedLabels == 1
            ? tr("%1: eine Signalmarke ohne Anschluss wurde nicht übernommen.").arg(fileName)
            : tr("%1: %2 Signalmarken ohne Anschluss wurden nicht übernommen.").arg(fileName).arg(droppedLabels);
        System::addInformationMessage(tr("Projekt"), text);
    }
    if (builder.fallbackCount() > 0) {
        const QString text = builder.fallbackCount() == 1
            ? tr("%1: ein Baustein ist unbekannt und durch einen Ersatzbaustein vertreten.").arg(fileName)
            : tr("%1: %2 Bausteine sind unbekannt und durch Ersatzbausteine vertreten.").arg(fileName).arg(builder.fallbackCount());
        System::addInformationMessage(tr("Projekt"), text);
    }
    // The types were needed for reading only; activate() makes them the process's types.
    withdrawTypes();
    return project.release();
}

QByteArray Project::libraryText(const BlockLibraryContainer* container) const
{
    return QJsonDocument(containerToJson(container)).toJson(QJsonDocument::Indented);
}

QByteArray Project::projectText() const
{
    QJsonObject root;
    root.insert(QStringLiteral("format"), ProjectFormat);
    root.insert(QStringLiteral("formatVersion"), FormatVersion);
    root.insert(QStringLiteral("name"), m_name);
    QJsonArray types;
    for (const SimpleType* t : m_datatypes) {
        types.append(QJsonObject{{QStringLiteral("number"), int(t->number())},
                                 {QStringLiteral("kind"), int(t->kind())},
                                 {QStringLiteral("size"), double(t->sizeInBytes())},
                                 {QStringLiteral("shortName"), t->shortName()},
                                 {QStringLiteral("minimum"), t->minimum()},
                                 {QStringLiteral("maximum"), t->maximum()}});
    }
    root.insert(QStringLiteral("datatypes"), types);
    QList<unsigned int> groups = m_groupNames.keys();
    std::sort(groups.begin(), groups.end());
    QJsonArray groupList;
    for (unsigned int g : groups)
        groupList.append(QJsonObject{{QStringLiteral("number"), double(g)},
                                     {QStringLiteral("name"), ModelJson::textToJson(m_groupNames.value(g))}});
    root.insert(QStringLiteral("groups"), groupList);
    QJsonArray libraries;
    for (const BlockLibraryContainer* container : m_containers) {
        const QString file = m_libraryFiles.value(container);
        if (!file.isEmpty()) {
            libraries.append(QJsonObject{{QStringLiteral("file"), file}});
        } else {
            QJsonObject inline_ = containerToJson(container);
            inline_.remove(QStringLiteral("format"));
            inline_.remove(QStringLiteral("formatVersion"));
            libraries.append(inline_);
        }
    }
    root.insert(QStringLiteral("libraries"), libraries);
    QJsonArray areas;
    for (const BlockInstanceArea* area : m_areas) {
        QJsonObject a;
        a.insert(QStringLiteral("first"), double(area->firstNumber()));
        a.insert(QStringLiteral("second"), double(area->secondNumber()));
        a.insert(QStringLiteral("index"), double(area->index()));
        a.insert(QStringLiteral("title"), area->title() == area->displayName() ? QString() : area->title());
        a.insert(QStringLiteral("displayName"), area->displayName());
        a.insert(QStringLiteral("backDocumentation"), area->isBackDocumentation());
        a.insert(QStringLiteral("ownProgram"), area->hasOwnProgram());
        QJsonObject rootDefinition = ModelJson::definitionToJson(area->rootDefinition());
        rootDefinition.remove(QStringLiteral("version"));
        a.insert(QStringLiteral("root"), rootDefinition);
        QJsonArray labels;
        collectLabels(area->hierarchy()->rootNode(), labels);
        a.insert(QStringLiteral("signalLabels"), labels);
        QJsonArray parameters;
        AreaInfo* info = area->areaInfo();
        for (const QString& name : info->parameterNames()) {
            ParameterSetup* setup = info->queryParameterInstance(name);
            QJsonObject p;
            p.insert(QStringLiteral("name"), name);
            QJsonArray elements;
            QJsonObject defaults;
            for (unsigned short e : setup->elementNumbers()) {
                elements.append(int(e));
                if (!setup->defaultValueText(e).isNull())
                    defaults.insert(QString::number(e), setup->defaultValueText(e));
            }
            p.insert(QStringLiteral("elements"), elements);
            p.insert(QStringLiteral("defaults"), defaults);
            QJsonArray values;
            for (const auto& key : setup->explicitValues()) {
                values.append(QJsonObject{{QStringLiteral("area"), key.first},
                                          {QStringLiteral("element"), int(key.second)},
                                          {QStringLiteral("value"), setup->valueText(key.first, key.second, 0)}});
            }
            p.insert(QStringLiteral("values"), values);
            QJsonArray related;
            for (int areaNumber : setup->relatedAreas()) {
                related.append(QJsonObject{{QStringLiteral("area"), areaNumber},
                                           {QStringLiteral("names"), QJsonArray::fromStringList(setup->relatedParameterNames(areaNumber))}});
            }
            p.insert(QStringLiteral("related"), related);
            parameters.append(p);
        }
        a.insert(QStringLiteral("parameters"), parameters);
        areas.append(a);
    }
    root.insert(QStringLiteral("areas"), areas);
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

bool Project::save(const QString& path, QString* error)
{
    QString dummy;
    if (!error)
        error = &dummy;
    const QDir directory = QFileInfo(path).absoluteDir();
    // Library files first: a project file never names a library file that was not written.
    for (const BlockLibraryContainer* container : std::as_const(m_containers)) {
        const QString file = m_libraryFiles.value(container);
        if (file.isEmpty())
            continue;
        const QString target = directory.filePath(file);
        QDir().mkpath(QFileInfo(target).absolutePath());
        QSaveFile out(target);
        const QByteArray text = libraryText(container);
        if (!out.open(QIODevice::WriteOnly) || out.write(text) != text.size() || !out.commit()) {
            *error = tr("%1: die Bibliothek kann nicht geschrieben werden: %2").arg(target, out.errorString());
            return false;
        }
    }
    QSaveFile out(path);
    const QByteArray text = projectText();
    if (!out.open(QIODevice::WriteOnly) || out.write(text) != text.size() || !out.commit()) {
        *error = tr("%1: das Projekt kann nicht geschrieben werden: %2").arg(path, out.errorString());
        return false;
    }
    for (BlockLibraryContainer* container : std::as_const(m_containers)) {
        const QString file = m_libraryFiles.value(container);
        if (auto* libraryFile = qobject_cast<BlockLibraryFile*>(container); libraryFile && !file.isEmpty())
            libraryFile->setFilePath(directory.filePath(file));
    }
    m_filePath = QFileInfo(path).absoluteFilePath();
    return true;
}

void Project::activate()
{
    if (m_active)
        return;
    m_active = true;
    BlockRepository& repository = BlockRepository::instance();
    for (const SimpleType* type : std::as_const(m_datatypes))
        DatatypeProvider::instance()->registerType(*type);
    for (auto it = m_groupNames.constBegin(); it != m_groupNames.constEnd(); ++it)
        repository.setBlockGroupName(it.key(), it.value());
    for (BlockLibraryContainer* container : std::as_const(m_containers))
        repository.addContainer(container);
    for (BlockInstanceArea* area : std::as_const(m_areas))
        area->setRegistered(true);
}

void Project::deactivate()
{
    if (!m_active)
        return;
    m_active = false;
    for (BlockInstanceArea* area : std::as_const(m_areas)) {
        area->setOnline(false);
        area->setRegistered(false);
    }
    BlockRepository& repository = BlockRepository::instance();
    for (BlockLibraryContainer* container : std::as_const(m_containers)) {
        if (repository.removeContainer(container->identifier()) == container)
            container->setParent(nullptr);
    }
    // Group names belong to the project that named them.
    repository.clear();
    DatatypeProvider::instance()->removeCustomTypes();
}

BlockInstanceArea* Project::area(unsigned int firstNumber) const
{
    for (BlockInstanceArea* area : m_areas) {
        if (area->firstNumber() == firstNumber)
            return area;
    }
    return nullptr;
}

void Project::addArea(BlockInstanceArea* area)
{
    if (!area || m_areas.contains(area))
        return;
    area->setParent(this);
    m_areas.append(area);
    if (m_active)
        area->setRegistered(true);
    Q_EMIT areasChanged();
}

void Project::addContainer(BlockLibraryContainer* container)
{
    if (!container || m_containers.contains(container))
        return;
    m_containers.append(container);
    if (auto* file = qobject_cast<BlockLibraryFile*>(container))
        m_libraryFiles.insert(container, QFileInfo(file->filePath()).fileName());
    if (m_active)
        BlockRepository::instance().addContainer(container);
}

void Project::setGroupName(unsigned int group, const Text& name)
{
    m_groupNames.insert(group, name);
    if (m_active)
        BlockRepository::instance().setBlockGroupName(group, name);
}

void Project::addDatatype(const SimpleType& type)
{
    m_datatypes.append(new SimpleType(type));
    if (m_active)
        DatatypeProvider::instance()->registerType(type);
}
