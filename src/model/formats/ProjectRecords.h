#pragma once

#include "ModelRecords.h"
#include "Text.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QSet>
#include <QString>
#include <QStringList>

class BlockInstanceArea;
class BlockLibraryContainer;
class JsonInput;
class ParameterSetup;
class SimpleType;

// The two top levels of the stored form (docs/project-format.md): the project file and the library
// files, one record per entity as in ModelRecords.h. Reading checks everything before the project is
// made; Project applies the records.

struct DatatypeRecord
{
    int number = 0;
    int kind = 0;
    unsigned int size = 0;
    QString shortName;
    double minimum = 0;
    double maximum = 0;

    static DatatypeRecord of(const SimpleType* type);
    static bool read(JsonInput& input, const QJsonValue& value, const QString& place, DatatypeRecord& record);
    QJsonObject toJson() const;
    SimpleType toType() const;
};

// The name of a block group.
struct GroupRecord
{
    unsigned int number = 0;
    Text name;

    static bool read(JsonInput& input, const QJsonValue& value, const QString& place, GroupRecord& record);
    QJsonObject toJson() const;
};

struct LibraryRecord
{
    // The library file, relative to the project's folder; empty for a library kept inline.
    QString file;
    QString identifier;
    unsigned int kind = 0;
    Text name;
    QList<BlockRecord> blocks;

    static LibraryRecord of(const BlockLibraryContainer* container);
    // An entry of the project's list: an inline library, or a reference whose file is read here.
    static bool readEntry(JsonInput& input, const QJsonValue& value, const QString& place,
                          const QString& baseDirectory, LibraryRecord& record);
    // The keys of an inline library, which a library file has as well.
    static bool read(JsonInput& input, const QJsonObject& object, const QString& place, LibraryRecord& record);
    // The project's entry: the reference to the file, or the library inline.
    QJsonObject toEntryJson() const;
    // The contents of the library file.
    QJsonObject toFileJson() const;

private:
    static bool readFile(JsonInput& input, const QString& place, const QString& baseDirectory, LibraryRecord& record);
    QJsonObject toJson() const;
};

// The values of one parameter in an area.
struct ParameterValuesRecord
{
    struct Value
    {
        int area = 0;
        unsigned short element = 0;
        QString text;
    };
    struct Related
    {
        int area = 0;
        QStringList names;
    };

    QString name;
    QList<unsigned short> elements;
    // Element → value text for every area without a value of its own, in the order they are read.
    QList<QPair<unsigned short, QString>> defaults;
    QList<Value> values;
    QList<Related> related;

    static ParameterValuesRecord of(const QString& name, ParameterSetup* setup);
    // Refused with the place of the list.
    static bool read(JsonInput& input, const QJsonValue& value, const QString& listPlace, ParameterValuesRecord& record);
    QJsonObject toJson() const;
    ParameterSetup* toSetup() const;
};

struct AreaRecord
{
    unsigned int first = 0;
    unsigned int second = 0;
    unsigned int index = 0;
    // Empty: the display name is the title.
    QString title;
    QString displayName;
    bool backDocumentation = false;
    bool ownProgram = true;
    DefinitionRecord root;
    QList<SignalLabelRecord> signalLabels;
    QList<ParameterValuesRecord> parameters;

    static AreaRecord of(const BlockInstanceArea* area);
    // `takenNumbers` are the first numbers of the areas before, which this one joins.
    static bool read(JsonInput& input, const QJsonValue& value, const QString& place, QSet<unsigned int>& takenNumbers,
                     AreaRecord& record);
    QJsonObject toJson() const;
};

struct ProjectRecord
{
    QString name;
    QList<DatatypeRecord> datatypes;
    QList<GroupRecord> groups;
    QList<LibraryRecord> libraries;
    QList<AreaRecord> areas;

    // Reading takes two steps, since pins are checked against the project's types: the caller makes
    // the types known between them. The head is the file as JSON, its format and the types.
    bool readHead(JsonInput& input, const QByteArray& json, QJsonObject& root);
    // Groups, libraries (with their files beside the project) and areas.
    bool readBody(JsonInput& input, const QJsonObject& root, const QString& baseDirectory);
    QJsonObject toJson() const;
};
