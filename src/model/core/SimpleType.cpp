#include "SimpleType.h"

#include <QRegularExpression>

#include <cmath>

SimpleType::SimpleType(uchar number, eSimpleTypeKind kind, unsigned int sizeInBytes, const QString& shortName,
                       double minimum, double maximum)
    : m_number(number)
    , m_kind(kind)
    , m_size(sizeInBytes)
    , m_shortName(shortName)
    , m_minimum(minimum)
    , m_maximum(maximum)
{
}

double SimpleType::parseValue(const QString& input, bool* ok) const
{
    bool good = false;
    double value = 0;
    const QString text = input.trimmed();
    switch (m_kind) {
    case SimpleTypeBit: {
        const QString upper = text.toUpper();
        if (upper == QLatin1String("TRUE") || upper == QLatin1String("1")) {
            value = 1;
            good = true;
        } else if (upper == QLatin1String("FALSE") || upper == QLatin1String("0")) {
            value = 0;
            good = true;
        }
        break;
    }
    case SimpleTypeSigned:
    case SimpleTypeUnsigned: {
        // Decimal unless marked hexadecimal: "010" is ten, as a user reads it.
        const bool hex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)
            || text.startsWith(QLatin1String("-0x"), Qt::CaseInsensitive);
        const qlonglong v = hex ? text.toLongLong(&good, 16) : text.toLongLong(&good, 10);
        value = double(v);
        good = good && value >= m_minimum && value <= m_maximum;
        break;
    }
    case SimpleTypeFloat: {
        value = text.toDouble(&good);
        good = good && std::isfinite(value);
        break;
    }
    case SimpleTypeTime: {
        static const QRegularExpression re(QStringLiteral("^(?:T#)?(\\d+)(ms|s)?$"),
                                           QRegularExpression::CaseInsensitiveOption);
        const auto m = re.match(text);
        if (m.hasMatch()) {
            value = m.captured(1).toDouble(&good);
            if (m.captured(2).compare(QLatin1String("s"), Qt::CaseInsensitive) == 0)
                value *= 1000.0;
            good = good && value <= m_maximum;
        }
        break;
    }
    case SimpleTypeVariant:
        value = text.toDouble(&good);
        break;
    }
    if (ok)
        *ok = good;
    return good ? value : 0.0;
}

QString SimpleType::formatValue(double value) const
{
    switch (m_kind) {
    case SimpleTypeBit:
        return value != 0 ? QStringLiteral("TRUE") : QStringLiteral("FALSE");
    case SimpleTypeSigned:
    case SimpleTypeUnsigned:
        return QString::number(qlonglong(value));
    case SimpleTypeTime:
        return QStringLiteral("T#%1ms").arg(qlonglong(value));
    case SimpleTypeFloat:
    case SimpleTypeVariant:
        break;
    }
    return QString::number(value, 'g', 7);
}

double SimpleType::coerce(double value) const
{
    if (!std::isfinite(value))
        value = 0;
    switch (m_kind) {
    case SimpleTypeBit:
        return value != 0 ? 1 : 0;
    case SimpleTypeSigned:
    case SimpleTypeUnsigned:
    case SimpleTypeTime: {
        if (m_size == 0 || m_size > 4)
            return std::trunc(value);
        // Wrap like the device's integer arithmetic does.
        const double range = std::ldexp(1.0, int(m_size * 8));
        double v = std::fmod(std::trunc(value) - m_minimum, range);
        if (v < 0)
            v += range;
        return v + m_minimum;
    }
    case SimpleTypeFloat:
        if (m_size == 4)
            return double(float(value));
        return value;
    case SimpleTypeVariant:
        break;
    }
    return value;
}
