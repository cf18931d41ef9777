#pragma once

#include "zkblockmodel_export.h"

#include <QList>
#include <QObject>
#include <QString>

// The process-wide active language of user texts.
class ZK_MODEL_EXPORT LanguageManager : public QObject
{
    Q_OBJECT
public:
    enum eLanguage { German = 1, English = 2 };

    static LanguageManager& instance();

    int activeLanguage() const { return m_active; }
    // Unknown numbers are refused, so that every Text keeps a defined fall-back.
    bool setActiveLanguage(int language);

    QList<int> languages() const;
    // "de" / "en": the short codes used in project files.
    static QString languageCode(int language);
    static int languageFromCode(const QString& code);
    static QString languageName(int language);

Q_SIGNALS:
    void activeLanguageChanged(int language);

private:
    LanguageManager();
    int m_active = German;
};
