#include "ParameterText.h"

#include "LanguageManager.h"

#include <algorithm>

ParameterText::~ParameterText() = default;

QString ParameterText::longText() const
{
    return pick(m_long);
}

QString ParameterText::shortText() const
{
    return pick(m_short);
}

void ParameterText::setLongText(int language, const QString& text)
{
    if (text.isEmpty())
        m_long.remove(language);
    else
        m_long.insert(language, text);
}

void ParameterText::setShortText(int language, const QString& text)
{
    if (text.isEmpty())
        m_short.remove(language);
    else
        m_short.insert(language, text);
}

QList<int> ParameterText::languages() const
{
    QList<int> result = m_long.keys();
    for (int language : m_short.keys()) {
        if (!result.contains(language))
            result.append(language);
    }
    std::sort(result.begin(), result.end());
    return result;
}

QString ParameterText::pick(const QMap<int, QString>& texts)
{
    // Entries are never empty (see the setters), so presence alone decides.
    if (texts.isEmpty())
        return QString();
    auto it = texts.constFind(LanguageManager::instance().activeLanguage());
    if (it != texts.constEnd())
        return *it;
    it = texts.constFind(LanguageManager::German);
    if (it != texts.constEnd())
        return *it;
    return texts.constBegin().value();
}
