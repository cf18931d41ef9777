#pragma once

#include "zkblockmodel_export.h"

#include <QList>
#include <QMap>
#include <QMetaType>
#include <QString>

// A text held once per language. The language numbers are those of LanguageManager.
class ZK_MODEL_EXPORT Text
{
public:
    Text() = default;
    Text(int language, const QString& text);
    Text(const Text&) = default;
    Text& operator=(const Text&) = default;
    ~Text();

    // The active language's text; a text missing in that language falls back to German, then to
    // whatever language there is, so that a name is never shown empty because of a translation gap.
    QString text() const;
    QString text(int language) const;
    void setText(int language, const QString& text);
    QList<int> textLanguages() const;
    bool isEmpty() const;

    bool operator==(const Text& other) const { return m_texts == other.m_texts; }
    bool operator!=(const Text& other) const { return !(*this == other); }

private:
    QMap<int, QString> m_texts;
};

Q_DECLARE_METATYPE(Text)
