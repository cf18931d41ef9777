#pragma once

#include <QDockWidget>

class QTreeWidget;

// Shows the model's message list as it grows.
class MessageDock : public QDockWidget
{
    Q_OBJECT
public:
    explicit MessageDock(QWidget* parent);

    QTreeWidget* list() const { return m_list; }

private:
    void append(int severity, const QString& origin, const QString& text);

    QTreeWidget* m_list;
};
