#pragma once

#include "SystemInformation.h"
#include "SystemMessage.h"
#include "zkblockmodel_export.h"

#include <QList>
#include <QPointer>
#include <QString>
#include <QWidget>

// The process-wide services of the host: main window, the user's access level, the export folder
// and the message list that the host shows and observes.
class ZK_MODEL_EXPORT System : public SystemInformation
{
    Q_OBJECT
public:
    static constexpr quint32 MaximumAccessLevel = 5;

    static System& instance();

    virtual QWidget* mainWindow() const;
    void setMainWindow(QWidget* window);

    virtual quint32 userAccessLevelCode() const;
    // Levels above the top level are clamped; the signal comes only on a real change.
    void setUserAccessLevelCode(quint32 level);

    virtual QString exportDirectory() const;
    void setExportDirectory(const QString& directory);

    static void addInformationMessage(const QString& origin, const QString& text);
    static void addCriticalMessage(const QString& origin, const QString& text);
    static void addFatalMessage(const QString& origin, const QString& text);

    QList<SystemMessage> messages() const { return m_messages; }
    int messageCount() const { return m_messages.size(); }
    void clearMessages();
    // Keeps the list bounded in long sessions; the oldest entries go first.
    static constexpr int MaximumMessages = 5000;

Q_SIGNALS:
    void messageAdded(int severity, const QString& origin, const QString& text);
    void messagesCleared();

private:
    System();
    void addMessage(SystemMessage::eSeverity severity, const QString& origin, const QString& text);

    QPointer<QWidget> m_mainWindow;
    quint32 m_accessLevel = 3;
    QString m_exportDirectory;
    QList<SystemMessage> m_messages;
};
