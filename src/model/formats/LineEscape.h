#pragma once

#include <QByteArray>
#include <QString>

// The escaping of the line-based text forms (the text form of code, parameter definition files):
// only what would end the line or be taken for an escape is escaped; everything else, white space
// at either end included, is written as it is and read back as it is. The readers differ on
// purpose (the code's text form refuses an unknown escape, a parameter file keeps it as written),
// the writers do not.
inline QByteArray escapeLineBreaks(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    QByteArray out;
    out.reserve(utf8.size());
    for (char c : utf8) {
        switch (c) {
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        default: out += c; break;
        }
    }
    return out;
}
