#include "System.h"

#include <QDir>
#include <QStandardPaths>

System::System() = default;

System& System::instance()
{
    static System* system = new System;
    return *system;
}

QWidget* System::mainWindow() const
{
    return m_mainWindow.data();
}

void System::setMainWindow(QWidget* window)
{
    m_mainWindow = window;
}

quint32 System::userAccessLevelCode() const
{
    return m_accessLevel;
}

void System::setUserAccessLevelCode(quint32 level)
{
    level = qMin(level, MaximumAccessLevel);
    if (level == m_accessLevel)
        return;
    const quint32 old = m_accessLevel;
    m_accessLevel = level;
    Q_EMIT userAccessLevelCodeChanged(level, old);
}

QString System::exportDirectory() const
{
    if (!m_exportDirectory.isEmpty())
        return m_exportDirectory;
    QString dir = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (dir.isEmpty() || !QDir(dir).exists())
        dir = QDir::tempPath();
    return dir;
}

void System::setExportDirectory(const QString& directory)
{
    m_exportDirectory = directory;
}

void System::addInformationMessage(const QString& origin, const QString& text)
{
    instance().addMessage(SystemMessage::Information, origin, text);
}

void System::addCriticalMessage(const QString& origin, const QString& text)
{
    instance().addMessage(SystemMessage::Critical, origin, text);
}

void System::addFatalMessage(const QString& origin, const QString& text)
{
    instance().addMessage(SystemMessage::Fatal, origin, text);
}

void System::clearMessages()
{
    if (m_messages.isEmpty())
        return;
    m_messages.clear();
    Q_EMIT messagesCleared();
}

void System::addMessage(SystemMessage::eSeverity severity, const QString& origin, const QString& text)
{
    if (m_messages.size() >= MaximumMessages)
        m_messages.removeFirst();
    m_messages.append({severity, origin, text, QDateTime::currentDateTime()});
    Q_EMIT messageAdded(severity, origin, text);
}
