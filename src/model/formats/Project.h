#pragma once

#include "Text.h"
#include "zkblockmodel_export.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

class BlockInstanceArea;
class BlockLibraryContainer;
class SimpleType;
struct ProjectRecord;
namespace ModelJson {
class Reader;
}

// A project: its libraries, group names, types and areas, read from and written to the JSON files
// described in docs/project-format.md. Reading is all or nothing: a project is made complete before
// anyone sees it, so a bad file leaves the project that is open untouched.
class ZK_MODEL_EXPORT Project : public QObject
{
    Q_OBJECT
public:
    static constexpr int FormatVersion = 1;
    static const QString ProjectFormat;
    static const QString LibraryFormat;

    ~Project() override;

    // Null with a message "<file>: <place>: <what>" in `error`.
    static Project* load(const QString& path, QString* error);
    // `baseDirectory` resolves library files; it may be a resource folder (":/samples").
    static Project* loadFromData(const QByteArray& json, const QString& baseDirectory, const QString& fileName,
                                 QString* error);
    // An empty project with one area, for a new start.
    static Project* createEmpty();

    // Writes the project file and each library file beside it, every file through a QSaveFile.
    // Libraries kept in files are written to the new folder under their own names.
    bool save(const QString& path, QString* error);
    QByteArray projectText() const;
    QByteArray libraryText(const BlockLibraryContainer* container) const;

    // Makes this the open project: its containers go to the repository, its group names and types
    // become those of the process, its areas join allAreas(). The previous project must be deleted
    // (or deactivated) first.
    void activate();
    void deactivate();
    bool isActive() const { return m_active; }

    QString name() const { return m_name; }
    void setName(const QString& name) { m_name = name; }
    QString filePath() const { return m_filePath; }
    QList<BlockInstanceArea*> areas() const { return m_areas; }
    BlockInstanceArea* area(unsigned int firstNumber) const;
    QList<BlockLibraryContainer*> containers() const { return m_containers; }

    // Takes ownership; for projects built in code.
    void addArea(BlockInstanceArea* area);
    void addContainer(BlockLibraryContainer* container);
    void setGroupName(unsigned int group, const Text& name);
    QHash<unsigned int, Text> groupNames() const { return m_groupNames; }
    void addDatatype(const SimpleType& type);

Q_SIGNALS:
    void areasChanged();

private:
    Project();
    // Keeps an area in the list until it is deleted, by whomever.
    void holdArea(BlockInstanceArea* area);
    static Project* read(const QByteArray& json, const QString& baseDirectory, const QString& fileName, QString* error);
    // The steps of read() once the files are valid.
    void takeNamesAndTypes(const ProjectRecord& record);
    void makeLibraries(const ProjectRecord& record, const QString& baseDirectory, ModelJson::Reader& builder);
    void makeAreas(const ProjectRecord& record, ModelJson::Reader& builder);
    // After the code is in place; returns how many labels had no pin to stand on.
    int placeLabelsAndParameters(const ProjectRecord& record);

    QString m_name;
    QString m_filePath;
    QList<BlockLibraryContainer*> m_containers;
    QHash<const BlockLibraryContainer*, QString> m_libraryFiles;
    QList<BlockInstanceArea*> m_areas;
    QHash<unsigned int, Text> m_groupNames;
    QList<SimpleType*> m_datatypes;
    bool m_active = false;
};
