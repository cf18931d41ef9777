#include "JsonInput.h"

#include "LanguageManager.h"
#include "Text.h"

#include <QCoreApplication>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("ModelJson", text);
}

} // namespace

JsonInput::JsonInput(const QString& fileName)
    : m_fileName(fileName)
{
}

bool JsonInput::fail(const QString& place, const QString& what)
{
    if (m_error.isEmpty()) {
        m_error = place.isEmpty() ? QStringLiteral("%1: %2").arg(m_fileName, what)
                                  : QStringLiteral("%1: %2: %3").arg(m_fileName, place, what);
    }
    return false;
}

bool JsonInput::refuse(const QString& message)
{
    if (m_error.isEmpty())
        m_error = message;
    return false;
}

bool JsonInput::readText(const QJsonValue& value, const QString& place, Text& text)
{
    if (!value.isUndefined() && !value.isString()) {
        if (!value.isObject())
            return fail(place, tr("ein Text muss ein Objekt der Sprachen oder eine Zeichenkette sein"));
        const QJsonObject o = value.toObject();
        for (auto it = o.constBegin(); it != o.constEnd(); ++it) {
            if (!it.value().isString())
                return fail(place + QLatin1Char('.') + it.key(), tr("ein Text muss eine Zeichenkette sein"));
            if (LanguageManager::languageFromCode(it.key()) < 0)
                return fail(place, tr("unbekannte Sprache \"%1\"").arg(it.key()));
        }
    }
    text = JsonValue::toText(value);
    return true;
}

QString JsonInput::notUnsigned(QLatin1String key)
{
    return tr("\"%1\" muss eine vorzeichenlose Zahl sein").arg(key);
}

QString JsonInput::notString(QLatin1String key)
{
    return tr("\"%1\" muss eine Zeichenkette sein").arg(key);
}

QString JsonInput::notList(QLatin1String key)
{
    return tr("\"%1\" muss eine Liste sein").arg(key);
}

QString JsonInput::element(QLatin1String list, int n)
{
    return QStringLiteral("%1[%2]").arg(list, QString::number(n));
}

QString JsonInput::element(const QString& place, QLatin1String list, int n)
{
    return QStringLiteral("%1.%2[%3]").arg(place, list, QString::number(n));
}

QString JsonInput::member(const QString& place, QLatin1String key)
{
    return place + QLatin1Char('.') + key;
}

namespace JsonValue {

bool isUInt(const QJsonValue& value)
{
    if (!value.isDouble())
        return false;
    const double d = value.toDouble();
    return d >= 0 && d <= 4294967295.0 && d == double(qint64(d));
}

bool isInt(const QJsonValue& value)
{
    if (!value.isDouble())
        return false;
    const double d = value.toDouble();
    return d >= -2147483648.0 && d <= 2147483647.0 && d == double(qint64(d));
}

bool isPoint(const QJsonValue& value)
{
    if (!value.isArray())
        return false;
    const QJsonArray a = value.toArray();
    return a.size() == 2 && a.at(0).isDouble() && a.at(1).isDouble();
}

QJsonArray fromPoint(const QPointF& point)
{
    return QJsonArray{point.x(), point.y()};
}

QPointF toPoint(const QJsonValue& value)
{
    const QJsonArray a = value.toArray();
    return QPointF(a.at(0).toDouble(), a.at(1).toDouble());
}

QJsonValue fromSize(const QSizeF& size)
{
    if (!size.isValid())
        return QJsonValue::Null;
    return QJsonArray{size.width(), size.height()};
}

QSizeF toSize(const QJsonValue& value)
{
    if (!value.isArray())
        return QSizeF();
    const QJsonArray a = value.toArray();
    return QSizeF(a.at(0).toDouble(), a.at(1).toDouble());
}

QJsonArray fromInts(const QList<int>& list)
{
    QJsonArray a;
    for (int i : list)
        a.append(i);
    return a;
}

QList<int> toInts(const QJsonValue& value)
{
    QList<int> list;
    for (const QJsonValue& e : value.toArray())
        list.append(e.toInt());
    return list;
}

QJsonObject fromText(const Text& text)
{
    QJsonObject o;
    for (int language : text.textLanguages())
        o.insert(LanguageManager::languageCode(language), text.text(language));
    return o;
}

Text toText(const QJsonValue& value)
{
    Text text;
    if (value.isString()) {
        text.setText(LanguageManager::German, value.toString());
        return text;
    }
    const QJsonObject o = value.toObject();
    for (auto it = o.constBegin(); it != o.constEnd(); ++it) {
        const int language = LanguageManager::languageFromCode(it.key());
        if (language >= 0)
            text.setText(language, it.value().toString());
    }
    return text;
}

} // namespace JsonValue
