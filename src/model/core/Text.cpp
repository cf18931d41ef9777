#include "Text.h"

#include "LanguageManager.h"

Text::Text(int language, const QString& text)
{
    setText(language, text);
}

Text::~Text() = default;

QString Text::text() const
{
    if (m_texts.isEmpty())
        return QString();
    const int active = LanguageManager::instance().activeLanguage();
    auto it = m_texts.constFind(active);
    if (it != m_texts.constEnd() && !it->isEmpty())
        return *it;
    it = m_texts.constFind(LanguageManager::German);
    if (it != m_texts.constEnd() && !it->isEmpty())
        return *it;
    for (const QString& t : m_texts) {
        if (!t.isEmpty())
            return t;
    }
    return QString();
}

QString Text::text(int language) const
{
    return m_texts.value(language);
}

void Text::setText(int language, const QString& text)
{
    if (text.isNull())
        m_texts.remove(language);
    else
        m_texts.insert(language, text);
}

QList<int> Text::textLanguages() const
{
    return m_texts.keys();
}

bool Text::isEmpty() const
{
    for (const QString& t : m_texts) {
        if (!t.isEmpty())
            return false;
    }
    return true;
}
