#pragma once

#include "ParameterCoordinate.h"
#include "ParameterText.h"
#include "zkblockmodel_export.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

class RecordParameterDefinition;

// A parameter of the device that a block defines. Besides its texts it carries the keys of its
// saved form as written, in order, so that a definition read from a file is written back unchanged
// even where it holds keys this class has no accessor for.
class ZK_MODEL_EXPORT ParameterDefinition
{
public:
    using KeyValue = QPair<QByteArray, QByteArray>;

    // The keys whose value is a reference into the saved strings rather than a value of its own.
    static const QByteArray NameKey;
    static const QByteArray DescriptionKey;
    static const QByteArray CoordinatesKey;

    // A new parameter: the keys of the new-parameter template with their default values, no texts.
    ParameterDefinition();
    virtual ~ParameterDefinition();

    // The definitions are held by pointer to the base; a copy keeps the derived kind.
    virtual ParameterDefinition* clone() const;

    const ParameterText& name() const { return m_name; }
    void setName(const ParameterText& name) { m_name = name; }

    const QList<ParameterCoordinate>& defaultCoordinates() const { return m_coordinates; }
    // Refused (false) for an empty list or one with an invalid coordinate.
    bool setDefaultCoordinates(const QList<ParameterCoordinate>& coordinates);

    // The long description text in the active language.
    QString descriptionText() const { return m_description.longText(); }
    const ParameterText& description() const { return m_description; }
    // A non-empty description gets its key right after the name; an empty one loses it.
    void setDescription(const ParameterText& description);

    virtual bool isRecordParameterDefinition() const { return false; }
    virtual RecordParameterDefinition* queryRecordParameterDefinition() { return nullptr; }
    virtual const RecordParameterDefinition* queryRecordParameterDefinition() const { return nullptr; }

    // All keys in saved order with their saved values, text keys showing the string reference that
    // saving assigns.
    QList<KeyValue> keyValues() const;
    QList<QByteArray> keys() const;
    bool hasKey(const QByteArray& key) const;
    // The saved value of the first key of that name; empty if there is none.
    QByteArray value(const QByteArray& key) const;
    // Replaces the first key of that name or appends a new one. Refused for the text keys (they
    // follow the texts), for coordinates that do not read, and for keys or values that could not be
    // read back from the saved form (line breaks, '=' in a key, white space around a key, a key
    // that would read as a section or a comment).
    bool setValue(const QByteArray& key, const QByteArray& value);
    bool removeKey(const QByteArray& key);

    // Typed views of the keys; a missing or unreadable key answers the template's default.
    uchar datatype() const;
    void setDatatype(uchar datatype);
    // "axis": one value per axis of the device; "global": one value for the whole device.
    QByteArray livingSpace() const;
    bool isAxisParameter() const { return livingSpace() != "global"; }
    bool setLivingSpace(const QByteArray& livingSpace);
    int countElements() const;
    // Empty for a parameter whose type limits it.
    QString lowerLimitValue() const;
    QString upperLimitValue() const;
    quint32 readLevel() const;
    quint32 writeLevel() const;
    QString defaultValueScaled() const;

    bool operator==(const ParameterDefinition& other) const { return equals(other); }
    bool operator!=(const ParameterDefinition& other) const { return !equals(other); }

protected:
    ParameterDefinition(const ParameterDefinition& other);
    ParameterDefinition& operator=(const ParameterDefinition& other);

    virtual bool equals(const ParameterDefinition& other) const;

private:
    friend class ParameterDefinitionLoader;
    friend class ParameterDefinitionSaver;

    static bool isTextKey(const QByteArray& key);
    int keyIndex(const QByteArray& key) const;
    void updateCoordinates();

    // Text keys keep an empty value here: their saved value depends on their position only.
    QList<KeyValue> m_keys;
    QList<ParameterCoordinate> m_coordinates;
    ParameterText m_name;
    ParameterText m_description;
};
