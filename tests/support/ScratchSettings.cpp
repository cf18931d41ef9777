#include "ScratchSettings.h"

#include <QSettings>

void redirectSettings(const QString& folder)
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder);
    QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope, folder);
    QSettings::setPath(QSettings::IniFormat, QSettings::SystemScope, folder);
}
