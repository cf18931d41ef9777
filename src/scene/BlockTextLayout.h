#pragma once

#include <QSizeF>
#include <QString>

class BlockInstance;
class BlockInstanceArea;
class QFont;
class QPainter;
class QRectF;
class QStyleOptionGraphicsItem;

// The parameter lines of a text or magic block measured in the diagram font, and the box that
// holds them. Both kinds lay out their text alike and differ only in the margins.
class BlockTextLayout
{
public:
    BlockTextLayout(const BlockInstance* instance, BlockInstanceArea* area, const QFont& font);

    // The lines joined by "\r\n".
    QString text() const { return m_text; }
    // Snaps upward to whole model units with a margin, so that a text always has at least one unit
    // of slack, and never falls below `minimum`.
    QSizeF fittedSize(qreal widthMargin, const QSizeF& minimum) const;

    // Real-time and background position joined by "/", a missing one as "-"; empty outside both
    // tasks or without an owner code.
    static QString runtimeText(const BlockInstance* instance);

    // Draws the box of a text or magic block: white, darker when selected, with a thin black
    // outline. Returns false below the detail threshold, where the outline is all there is to
    // draw; else leaves the painter set for black text in `font`. The caller saves and restores.
    static bool paintBox(QPainter* painter, const QStyleOptionGraphicsItem* option, const QRectF& box,
                         const QFont& font);

private:
    QString m_text;
    qreal m_maxWidth = 0.0;
    qreal m_lineSpacing = 0.0;
    int m_lineCount = 0;
};
