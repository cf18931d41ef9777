#include "LineEdit.h"

#include <QColor>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QPalette>
#include <QPen>
#include <QStyle>
#include <QStyleOptionFrame>

namespace {

const int kCrossSize = 8;
const int kCrossMargin = 4;

} // namespace

LineEdit::LineEdit(QWidget* parent)
    : QLineEdit(parent)
{
    // QLineEdit would draw the placeholder even with focus; this class draws it itself, only
    // while unfocused, so the built-in one is made invisible.
    QPalette p = palette();
    p.setColor(QPalette::PlaceholderText, Qt::transparent);
    setPalette(p);
    setTextMargins(0, 0, kCrossSize + 2 * kCrossMargin, 0);
}

LineEdit::~LineEdit() = default;

void LineEdit::paintEvent(QPaintEvent* event)
{
    QLineEdit::paintEvent(event);

    QPainter painter(this);
    if (text().isEmpty() && !hasFocus() && !placeholderText().isEmpty()) {
        QStyleOptionFrame option;
        initStyleOption(&option);
        QRect area = style()->subElementRect(QStyle::SE_LineEditContents, &option, this);
        const QMargins margins = textMargins();
        area = area.marginsRemoved(margins);
        // Roughly where QLineEdit places its own text, so the hint does not jump on focus in.
        area.adjust(2, 0, -2, 0);
        painter.setPen(QColor(0xA0, 0xA0, 0xA0));
        const QString hint = fontMetrics().elidedText(placeholderText(), Qt::ElideRight, area.width());
        const Qt::Alignment horizontal =
            QStyle::visualAlignment(layoutDirection(), alignment()) & Qt::AlignHorizontal_Mask;
        painter.drawText(area, int(horizontal | Qt::AlignVCenter), hint);
    }
    if (showsClearButton()) {
        const QRect cross = clearButtonRect();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(palette().color(QPalette::Text), 1.5));
        painter.drawLine(cross.topLeft(), cross.bottomRight());
        painter.drawLine(cross.topRight(), cross.bottomLeft());
    }
}

void LineEdit::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        commit();
        // Still passed on: returnPressed and a dialog's default button keep working.
        QLineEdit::keyPressEvent(event);
        return;
    case Qt::Key_Escape:
        // An empty edit lets Escape through, so that it can still close a dialog.
        if (!text().isEmpty() && !isReadOnly()) {
            clear();
            event->accept();
            return;
        }
        break;
    default:
        break;
    }
    QLineEdit::keyPressEvent(event);
}

void LineEdit::focusInEvent(QFocusEvent* event)
{
    // Text set by the program while unfocused is no change of the user's.
    m_committed = text();
    QLineEdit::focusInEvent(event);
}

void LineEdit::focusOutEvent(QFocusEvent* event)
{
    QLineEdit::focusOutEvent(event);
    if (text() != m_committed)
        commit();
}

void LineEdit::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && showsClearButton()
        && clearButtonRect().adjusted(-kCrossMargin, -kCrossMargin, kCrossMargin, kCrossMargin)
               .contains(event->position().toPoint())) {
        clear();
        event->accept();
        return;
    }
    QLineEdit::mousePressEvent(event);
}

QRect LineEdit::clearButtonRect() const
{
    const int x = width() - kCrossMargin - kCrossSize;
    const int y = (height() - kCrossSize) / 2;
    return QRect(x, y, kCrossSize, kCrossSize);
}

bool LineEdit::showsClearButton() const
{
    return !text().isEmpty() && isEnabled() && !isReadOnly();
}

void LineEdit::commit()
{
    m_committed = text();
    Q_EMIT textCommited(m_committed);
}
