#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QPointF>
#include <QSizeF>
#include <QString>

class Text;

// What reading a JSON file has found wrong. Only the first refusal counts, in the form
// "<file>: <place>: <what>" (docs/project-format.md); the records stop at the first one.
class JsonInput
{
public:
    explicit JsonInput(const QString& fileName);

    QString fileName() const { return m_fileName; }
    // Always false, so that a check ends with `return input.fail(...)`. Without a place the message
    // is "<file>: <what>".
    bool fail(const QString& place, const QString& what);
    // A refusal worded as a whole, for the few messages that name the file in a form of their own.
    bool refuse(const QString& message);
    bool failed() const { return !m_error.isEmpty(); }
    QString errorText() const { return m_error; }

    // A text may be missing, a string (German) or an object from language codes to strings.
    bool readText(const QJsonValue& value, const QString& place, Text& text);

    // The wordings that many keys share.
    static QString notUnsigned(QLatin1String key);
    static QString notString(QLatin1String key);
    static QString notList(QLatin1String key);
    // "<list>[<n>]", at the top of a file or below a place.
    static QString element(QLatin1String list, int n);
    static QString element(const QString& place, QLatin1String list, int n);
    static QString member(const QString& place, QLatin1String key);

private:
    QString m_fileName;
    QString m_error;
};

// The checks and conversions of single values that the records share. A conversion is lenient on
// purpose: a value the format leaves unchecked reads as its default instead of refusing the file.
namespace JsonValue {

// A whole number from 0 to 4294967295, and from -2147483648 to 2147483647.
bool isUInt(const QJsonValue& value);
bool isInt(const QJsonValue& value);
// [x, y] of two numbers; sizes are written the same way.
bool isPoint(const QJsonValue& value);

QJsonArray fromPoint(const QPointF& point);
QPointF toPoint(const QJsonValue& value);
// An invalid size is null.
QJsonValue fromSize(const QSizeF& size);
QSizeF toSize(const QJsonValue& value);
QJsonArray fromInts(const QList<int>& list);
QList<int> toInts(const QJsonValue& value);
// Texts are always written as objects; unknown language codes read as nothing.
QJsonObject fromText(const Text& text);
Text toText(const QJsonValue& value);

} // namespace JsonValue
