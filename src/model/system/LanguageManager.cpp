#include "LanguageManager.h"

LanguageManager::LanguageManager() = default;

LanguageManager& LanguageManager::instance()
{
    static LanguageManager* manager = new LanguageManager;
    return *manager;
}

bool LanguageManager::setActiveLanguage(int language)
{
    if (!languages().contains(language))
        return false;
    if (language == m_active)
        return true;
    m_active = language;
    Q_EMIT activeLanguageChanged(language);
    return true;
}

QList<int> LanguageManager::languages() const
{
    return {German, English};
}

QString LanguageManager::languageCode(int language)
{
    switch (language) {
    case German: return QStringLiteral("de");
    case English: return QStringLiteral("en");
    default: return QString::number(language);
    }
}

int LanguageManager::languageFromCode(const QString& code)
{
    if (code == QLatin1String("de"))
        return German;
    if (code == QLatin1String("en"))
        return English;
    bool ok = false;
    const int n = code.toInt(&ok);
    return ok ? n : -1;
}

QString LanguageManager::languageName(int language)
{
    switch (language) {
    case German: return QStringLiteral("Deutsch");
    case English: return QStringLiteral("English");
    default: return QString::number(language);
    }
}
