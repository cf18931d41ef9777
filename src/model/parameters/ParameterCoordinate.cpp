#include "ParameterCoordinate.h"

ParameterCoordinate::ParameterCoordinate() = default;

ParameterCoordinate::ParameterCoordinate(QChar group, unsigned short line)
    : m_group(group.toUpper())
    , m_line(line)
{
}

ParameterCoordinate::ParameterCoordinate(const ParameterCoordinate& other) = default;

ParameterCoordinate& ParameterCoordinate::operator=(const ParameterCoordinate& other) = default;

ParameterCoordinate::~ParameterCoordinate() = default;

bool ParameterCoordinate::isValid() const
{
    return m_group >= QLatin1Char('A') && m_group <= QLatin1Char('Z') && m_line <= MaximumLine;
}

unsigned short ParameterCoordinate::toNumber() const
{
    if (!isValid())
        return InvalidNumber;
    return static_cast<unsigned short>((m_group.unicode() - u'A') * 1000 + m_line);
}

QString ParameterCoordinate::toText() const
{
    return m_group + QStringLiteral("%1").arg(m_line, 2, 10, QLatin1Char('0'));
}

ParameterCoordinate ParameterCoordinate::fromText(const QString& input, bool* ok)
{
    const QString text = input.trimmed();
    bool good = text.size() >= 2 && text.size() <= 4;
    QChar group;
    unsigned short line = 0;
    if (good) {
        group = text.at(0).toUpper();
        good = group >= QLatin1Char('A') && group <= QLatin1Char('Z');
    }
    for (int i = 1; good && i < text.size(); ++i) {
        const QChar c = text.at(i);
        // QString::toUShort would also take signs and white space, which no coordinate has.
        good = c >= QLatin1Char('0') && c <= QLatin1Char('9');
        line = static_cast<unsigned short>(line * 10 + (c.unicode() - u'0'));
    }
    if (ok)
        *ok = good;
    return good ? ParameterCoordinate(group, line) : ParameterCoordinate();
}

size_t qHash(const ParameterCoordinate& coordinate, size_t seed)
{
    return size_t(coordinate.toNumber()) ^ seed;
}
