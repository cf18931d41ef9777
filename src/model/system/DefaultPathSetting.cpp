#include "DefaultPathSetting.h"

#include "System.h"

#include <QDir>
#include <QStandardPaths>

DefaultPathSetting::DefaultPathSetting(eSettingDefaultPaths kind)
    : m_kind(kind)
{
}

DefaultPathSetting::~DefaultPathSetting() = default;

DefaultPathSetting* DefaultPathSetting::create(eSettingDefaultPaths kind)
{
    switch (kind) {
    case DefaultPathDocuments:
    case DefaultPathExport:
        return new DefaultPathSetting(kind);
    }
    return nullptr;
}

QString DefaultPathSetting::path() const
{
    switch (m_kind) {
    case DefaultPathDocuments: {
        // The location is only a convention; on a fresh account the folder may not exist yet.
        const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        if (!documents.isEmpty() && QDir(documents).exists())
            return documents;
        return QDir::homePath();
    }
    case DefaultPathExport:
        return System::instance().exportDirectory();
    }
    return QString();
}
