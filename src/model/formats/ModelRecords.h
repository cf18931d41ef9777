#pragma once

#include "Text.h"

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QPointF>
#include <QSet>
#include <QSizeF>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

class Block;
class BlockCode;
class BlockDefinition;
class BlockInstance;
class BlockInstanceHierarchyNode;
class BlockPin;
class BlockPinConnection;
class BlockPinInstance;
class BlockSymbol;
class JsonInput;
class SignalLabel;

// The stored form of blocks, definitions and code (docs/project-format.md), one record per entity.
// A record is read from JSON with every check the format makes, so a whole file is validated before
// anything is made; ModelJson::Reader then applies the records to the model. Writing goes the same
// way round: a record is taken from the model and written. The text form of code (CodeText) uses
// the records of instances, connections and signal labels as well.
//
// Where the format leaves a value unchecked, a record reads it leniently as its default.

// What an instance sets on one of its pins.
struct PinSettingRecord
{
    int id = 0;
    bool inverted = false;
    bool remanent = false;
    QString initial;

    QJsonObject toJson() const;
};

struct InstanceRecord
{
    unsigned int id = 0;
    QString block;
    unsigned int version = 0;
    QString name;
    QPointF position;
    // 1-based places in the real-time and the background task; 0 for none.
    unsigned int realtime = 0;
    unsigned int background = 0;
    QString parameters;
    QStringList lines;
    QString note;
    int error = 0;
    // Invalid for an instance without a size of its own.
    QSizeF size;
    // Only pins with at least one setting.
    QList<PinSettingRecord> pins;

    static InstanceRecord of(const BlockInstance* instance);
    // `taken` are the identifiers of the instances before, which this one joins.
    static bool read(JsonInput& input, const QJsonValue& value, const QString& place, QSet<unsigned int>& taken,
                     InstanceRecord& record);
    QJsonObject toJson() const;
    // Everything but the identifier, the block and the task places, which the code decides.
    void applyTo(BlockInstance* instance) const;
};

// One end of a wire: an instance of the same code and one of its pins. A dangling end has none.
struct ConnectionEndRecord
{
    bool present = false;
    unsigned int instance = 0;
    int pin = 0;

    static ConnectionEndRecord of(const BlockPinInstance* pin);
    QJsonValue toJson() const;
};

struct ConnectionRecord
{
    ConnectionEndRecord source;
    ConnectionEndRecord target;
    QList<QPointF> nodes;
    // 1-based place in the code's list of connections, 0 for none; only the text form of code
    // carries it, so that undo puts a wire back where it stood.
    unsigned int place = 0;

    static ConnectionRecord of(const BlockPinConnection* connection);
    // An end must name one of `instances`, the identifiers of the code's instances.
    static bool read(JsonInput& input, const QJsonValue& value, const QString& place,
                     const QSet<unsigned int>& instances, ConnectionRecord& record);
    QJsonObject toJson() const;
};

struct CodeRecord
{
    QList<InstanceRecord> instances;
    QList<ConnectionRecord> connections;

    static CodeRecord of(const BlockCode* code);
    static bool read(JsonInput& input, const QJsonObject& object, const QString& place, CodeRecord& record);
    QJsonObject toJson() const;
};

struct SignalLabelRecord
{
    // The location path of the hierarchy node whose code holds the instance.
    QString node;
    unsigned int id = 0;
    unsigned int instance = 0;
    int pin = 0;
    QString name;
    QPointF offset;

    static SignalLabelRecord of(const BlockInstanceHierarchyNode* node, const SignalLabel* label);
    // Labels are refused with the place of their list.
    static bool read(JsonInput& input, const QJsonValue& value, const QString& listPlace, SignalLabelRecord& record);
    QJsonObject toJson() const;
    // The label on `node` under `identifier` (0 or a taken one gets a fresh one); null if the
    // instance or the pin is not there.
    SignalLabel* createOn(BlockInstanceHierarchyNode* node, unsigned int identifier) const;
};

// A pin of a definition.
struct BlockPinRecord
{
    int id = 0;
    int function = 0;
    uchar datatype = 0;
    QString shortName;
    Text name;
    Text description;
    bool invertible = true;
    QString initial;

    static BlockPinRecord of(const BlockPin* pin);
    // `taken` are the identifiers of the pins before, which this one joins.
    static bool read(JsonInput& input, const QJsonValue& value, const QString& place, QSet<int>& taken,
                     BlockPinRecord& record);
    QJsonObject toJson() const;
    BlockPin toPin() const;
};

struct SymbolRecord
{
    // Without an order of their own, inputs stand left and outputs right in the order of the pins.
    bool hasPinOrder = false;
    QList<int> inputs;
    QList<int> outputs;
    // Invalid: as large as the pins need.
    QSizeF defaultSize;
    // Invalid: no size of its own.
    QSizeF size;
    QByteArray image;

    static SymbolRecord of(const BlockSymbol* symbol);
    // `pins` are the definition's pin identifiers, which the pin order may name.
    static bool read(JsonInput& input, const QJsonValue& value, const QString& place, const QSet<int>& pins,
                     SymbolRecord& record);
    QJsonObject toJson() const;
    BlockSymbol toSymbol(const QList<BlockPinRecord>& pins) const;
};

// A parameter definition in its saved text form (docs/parameter-format.md).
struct ParameterTextRecord
{
    unsigned int index = 0;
    QString text;

    // Refused with the place of the list, also when the text cannot be read.
    static bool read(JsonInput& input, const QJsonValue& value, const QString& listPlace, ParameterTextRecord& record);
    QJsonObject toJson() const;
};

struct BlockRecord;

struct DefinitionRecord
{
    unsigned int version = 0;
    int type = 0;
    QString function;
    Text description;
    unsigned int accessWrite = 0;
    unsigned int accessRead = 0;
    bool stepIn = true;
    int runtime = 0;
    bool parameterBlock = false;
    QList<BlockPinRecord> pins;
    SymbolRecord symbol;
    QByteArray icon;
    QList<ParameterTextRecord> parameters;
    std::vector<BlockRecord> localBlocks;
    // None for a block without code.
    std::optional<CodeRecord> code;

    // The root definition of an area is stored without a version; it is version 0.
    enum class Kind { Versioned, Root };

    static DefinitionRecord of(const BlockDefinition* definition);
    static bool read(JsonInput& input, const QJsonObject& object, const QString& place, DefinitionRecord& record,
                     Kind kind = Kind::Versioned);
    QJsonObject toJson(Kind kind = Kind::Versioned) const;
};

struct BlockRecord
{
    QString identifier;
    Text name;
    QString shortName;
    QString group;
    bool user = false;
    bool fallback = false;
    bool versionVisible = false;
    // For a local copy: the library block it was made from. Empty for other blocks.
    QString originIdentifier;
    unsigned int originVersion = 0;
    QList<DefinitionRecord> definitions;

    static BlockRecord of(const Block* block);
    // Without a place (a snapshot) the messages name the block by its identifier.
    static bool read(JsonInput& input, const QJsonObject& object, const QString& place, BlockRecord& record);
    QJsonObject toJson() const;
};
