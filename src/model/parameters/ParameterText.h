#pragma once

#include "zkblockmodel_export.h"

#include <QList>
#include <QMap>
#include <QMetaType>
#include <QString>

// The name of a parameter (or of one of its elements): a long and a short text per language. The
// language numbers are those of LanguageManager.
class ZK_MODEL_EXPORT ParameterText
{
public:
    ParameterText() = default;
    ParameterText(const ParameterText&) = default;
    ParameterText& operator=(const ParameterText&) = default;
    ~ParameterText();

    // The active language's text with the fall-back of Text::text(): German, then any language.
    QString longText() const;
    QString shortText() const;

    QString longTextOf(int language) const { return m_long.value(language); }
    QString shortTextOf(int language) const { return m_short.value(language); }
    // An empty text removes the language's entry: a saved empty string and a missing one read back
    // the same, so keeping them apart here would break equality after a save and load.
    void setLongText(int language, const QString& text);
    void setShortText(int language, const QString& text);

    // Languages with a long or a short text, ascending.
    QList<int> languages() const;
    bool isEmpty() const { return m_long.isEmpty() && m_short.isEmpty(); }

    bool operator==(const ParameterText& other) const
    {
        return m_long == other.m_long && m_short == other.m_short;
    }
    bool operator!=(const ParameterText& other) const { return !(*this == other); }

private:
    static QString pick(const QMap<int, QString>& texts);

    QMap<int, QString> m_long;
    QMap<int, QString> m_short;
};

Q_DECLARE_METATYPE(ParameterText)
