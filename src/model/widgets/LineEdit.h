#pragma once

#include "zkblockmodel_export.h"

#include <QLineEdit>
#include <QRect>
#include <QString>

class QFocusEvent;
class QKeyEvent;
class QMouseEvent;
class QPaintEvent;
class QWidget;

// A line edit that hands its text over only when the user is done with it: on Return or Enter,
// and when it loses focus after a change. Escape and the cross at the right end empty it. The
// placeholder text shows as a grey hint while the edit is empty and unfocused.
class ZK_MODEL_EXPORT LineEdit : public QLineEdit
{
    Q_OBJECT
public:
    explicit LineEdit(QWidget* parent = nullptr);
    ~LineEdit() override;

Q_SIGNALS:
    void textCommited(const QString& text);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    QRect clearButtonRect() const;
    bool showsClearButton() const;
    void commit();

    // The text as last handed over (or as found on focus in): focus out commits only a change.
    QString m_committed;
};
