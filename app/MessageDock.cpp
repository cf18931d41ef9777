#include "MessageDock.h"

#include "System.h"

#include <QApplication>
#include <QDateTime>
#include <QHeaderView>
#include <QStyle>
#include <QTreeWidget>

MessageDock::MessageDock(QWidget* parent)
    : QDockWidget(tr("Meldungen"), parent)
    , m_list(new QTreeWidget(this))
{
    setObjectName(QStringLiteral("messageDock"));
    m_list->setObjectName(QStringLiteral("messageList"));
    m_list->setHeaderLabels({tr("Zeit"), tr("Herkunft"), tr("Meldung")});
    m_list->setRootIsDecorated(false);
    m_list->setWordWrap(true);
    m_list->header()->setStretchLastSection(true);
    setWidget(m_list);
    for (const SystemMessage& m : System::instance().messages())
        append(m.severity, m.origin, m.text);
    connect(&System::instance(), &System::messageAdded, this, &MessageDock::append);
    connect(&System::instance(), &System::messagesCleared, m_list, &QTreeWidget::clear);
}

void MessageDock::append(int severity, const QString& origin, const QString& text)
{
    auto* item = new QTreeWidgetItem(m_list, {QTime::currentTime().toString(QStringLiteral("hh:mm:ss")), origin, text});
    const QStyle::StandardPixmap icon = severity == SystemMessage::Information ? QStyle::SP_MessageBoxInformation
        : severity == SystemMessage::Critical                                 ? QStyle::SP_MessageBoxWarning
                                                                              : QStyle::SP_MessageBoxCritical;
    item->setIcon(0, QApplication::style()->standardIcon(icon));
    item->setToolTip(2, text);
    m_list->scrollToItem(item);
    m_list->resizeColumnToContents(0);
    m_list->resizeColumnToContents(1);
}
