#pragma once

#include <QSizeF>
#include <QString>

class BlockInstance;
class BlockInstanceArea;
class QFont;

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

private:
    QString m_text;
    qreal m_maxWidth = 0.0;
    qreal m_lineSpacing = 0.0;
    int m_lineCount = 0;
};
