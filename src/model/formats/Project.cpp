#include "Project.h"

#include "AreaInfo.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockLibraryFile.h"
#include "BlockRepository.h"
#include "DatatypeProvider.h"
#include "JsonInput.h"
#include "ModelJson.h"
#include "ParameterSetup.h"
#include "ProjectRecords.h"
#include "SimpleType.h"
#include "System.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>

#include <algorithm>
#include <memory>
#include <utility>

const QString Project::ProjectFormat = QStringLiteral("zkblockproject");
const QString Project::LibraryFormat = QStringLiteral("zkblocklibrary");

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("Project", text);
}

// Pins are checked against the project's own types, so these are known while its files are read,
// and withdrawn again afterwards, also when the project is refused: activate() makes them the
// process's types.
class TypesWhileReading
{
public:
    explicit TypesWhileReading(const QList<DatatypeRecord>& types)
    {
        for (const DatatypeRecord& record : types) {
            if (!DatatypeProvider::instance()->simpleType(uchar(record.number))) {
                DatatypeProvider::instance()->registerType(record.toType());
                m_added.append(uchar(record.number));
            }
        }
    }
    ~TypesWhileReading()
    {
        for (uchar number : std::as_const(m_added))
            DatatypeProvider::instance()->unregisterType(number);
    }
    TypesWhileReading(const TypesWhileReading&) = delete;
    TypesWhileReading& operator=(const TypesWhileReading&) = delete;

private:
    QList<uchar> m_added;
};

// Neither is fatal, but saving changes the file, so the user hears of it.
void reportReading(const QString& fileName, int droppedLabels, int fallbacks)
{
    if (droppedLabels > 0) {
        // A label whose pin is gone has nothing to show.
        const QString text = droppedLabels == 1
            ? tr("%1: eine Signalmarke ohne Anschluss wurde nicht übernommen.").arg(fileName)
            : tr("%1: %2 Signalmarken ohne Anschluss wurden nicht übernommen.").arg(fileName).arg(droppedLabels);
        System::addInformationMessage(tr("Projekt"), text);
    }
    if (fallbacks > 0) {
        const QString text = fallbacks == 1
            ? tr("%1: ein Baustein ist unbekannt und durch einen Ersatzbaustein vertreten.").arg(fileName)
            : tr("%1: %2 Bausteine sind unbekannt und durch Ersatzbausteine vertreten.").arg(fileName).arg(fallbacks);
        System::addInformationMessage(tr("Projekt"), text);
    }
}

} // namespace

Project::Project() = default;

Project::~Project()
{
    deactivate();
    // Taken out first: each area leaves the list by its destroyed() as it goes.
    const QList<BlockInstanceArea*> areas = std::exchange(m_areas, {});
    qDeleteAll(areas);
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
    project->holdArea(area);
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
    JsonInput input(fileName);
    ProjectRecord record;
    QJsonObject root;
    if (!record.readHead(input, json, root)) {
        *error = input.errorText();
        return nullptr;
    }
    const TypesWhileReading types(record.datatypes);
    if (!record.readBody(input, root, baseDirectory)) {
        *error = input.errorText();
        return nullptr;
    }

    // Everything is valid: build.
    std::unique_ptr<Project> project(new Project);
    project->takeNamesAndTypes(record);
    ModelJson::Reader builder;
    builder.setUseRepository(false);
    project->makeLibraries(record, baseDirectory, builder);
    project->makeAreas(record, builder);
    builder.fillCode();
    // With the code in place the hierarchies can carry their labels and parameters.
    const int droppedLabels = project->placeLabelsAndParameters(record);
    reportReading(fileName, droppedLabels, builder.fallbackCount());
    return project.release();
}

void Project::takeNamesAndTypes(const ProjectRecord& record)
{
    m_name = record.name;
    for (const DatatypeRecord& type : record.datatypes)
        m_datatypes.append(new SimpleType(type.toType()));
    for (const GroupRecord& group : record.groups)
        m_groupNames.insert(group.number, group.name);
}

void Project::makeLibraries(const ProjectRecord& record, const QString& baseDirectory, ModelJson::Reader& builder)
{
    for (const LibraryRecord& library : record.libraries) {
        BlockLibraryContainer* container = library.file.isEmpty()
            ? new BlockLibraryContainer(library.identifier, library.kind, library.name)
            : new BlockLibraryFile(library.identifier, library.kind, library.name,
                                   QDir(baseDirectory).filePath(library.file));
        if (!library.file.isEmpty())
            m_libraryFiles.insert(container, library.file);
        for (const BlockRecord& block : library.blocks)
            container->library()->insertBlock(builder.createBlock(block));
        m_containers.append(container);
        builder.addSearchContainer(container);
    }
}

void Project::makeAreas(const ProjectRecord& record, ModelJson::Reader& builder)
{
    for (const AreaRecord& a : record.areas) {
        auto* area = new BlockInstanceArea(a.first, a.second, a.index, this, false);
        area->setTitle(a.title);
        area->setDisplayName(a.displayName);
        area->setBackDocumentation(a.backDocumentation);
        area->setHasOwnProgram(a.ownProgram);
        builder.readDefinitionInto(area->rootDefinition(), a.root);
        holdArea(area);
    }
}

int Project::placeLabelsAndParameters(const ProjectRecord& record)
{
    int droppedLabels = 0;
    for (int n = 0; n < record.areas.size(); ++n) {
        const AreaRecord& a = record.areas.at(n);
        BlockInstanceArea* area = m_areas.at(n);
        for (const SignalLabelRecord& label : a.signalLabels) {
            BlockInstanceHierarchyNode* node = area->hierarchy()->nodeForPath(label.node);
            if (!node || !label.createOn(node, label.id))
                ++droppedLabels;
        }
        for (const ParameterValuesRecord& parameter : a.parameters)
            area->areaInfo()->insertParameterInstance(parameter.toSetup());
    }
    return droppedLabels;
}

QByteArray Project::libraryText(const BlockLibraryContainer* container) const
{
    return QJsonDocument(LibraryRecord::of(container).toFileJson()).toJson(QJsonDocument::Indented);
}

QByteArray Project::projectText() const
{
    ProjectRecord record;
    record.name = m_name;
    for (const SimpleType* type : m_datatypes)
        record.datatypes.append(DatatypeRecord::of(type));
    QList<unsigned int> groups = m_groupNames.keys();
    std::sort(groups.begin(), groups.end());
    for (unsigned int group : std::as_const(groups))
        record.groups.append({group, m_groupNames.value(group)});
    for (const BlockLibraryContainer* container : m_containers) {
        // A library kept in a file is named by it; saving writes the file itself.
        LibraryRecord library;
        library.file = m_libraryFiles.value(container);
        record.libraries.append(library.file.isEmpty() ? LibraryRecord::of(container) : library);
    }
    for (const BlockInstanceArea* area : m_areas)
        record.areas.append(AreaRecord::of(area));
    return QJsonDocument(record.toJson()).toJson(QJsonDocument::Indented);
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
    holdArea(area);
    if (m_active)
        area->setRegistered(true);
    Q_EMIT areasChanged();
}

void Project::holdArea(BlockInstanceArea* area)
{
    m_areas.append(area);
    // An area may be deleted by anyone at any time; the pointer is only compared afterwards.
    connect(area, &QObject::destroyed, this, [this, area] {
        if (m_areas.removeOne(area))
            Q_EMIT areasChanged();
    });
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
