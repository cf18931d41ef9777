#include "DatatypeProvider.h"

#include "SimpleType.h"

#include <QDoubleValidator>
#include <QRegularExpressionValidator>
#include <QValidator>

#include <algorithm>
#include <cmath>

namespace {

// Integer input in the type's range, decimal or with 0x prefix.
class IntegerValidator : public QValidator
{
public:
    IntegerValidator(double minimum, double maximum)
        : m_minimum(minimum)
        , m_maximum(maximum)
    {
    }

    State validate(QString& input, int&) const override
    {
        const QString text = input.trimmed();
        if (text.isEmpty() || text == QLatin1String("-") || text.compare(QLatin1String("0x"), Qt::CaseInsensitive) == 0)
            return m_minimum < 0 || text != QLatin1String("-") ? Intermediate : Invalid;
        if (m_minimum >= 0 && text.startsWith(QLatin1Char('-')))
            return Invalid;
        bool ok = false;
        const bool hex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)
            || text.startsWith(QLatin1String("-0x"), Qt::CaseInsensitive);
        const qlonglong v = hex ? text.toLongLong(&ok, 16) : text.toLongLong(&ok, 10);
        if (!ok)
            return Invalid;
        if (double(v) < m_minimum || double(v) > m_maximum)
            return Intermediate;
        return Acceptable;
    }

private:
    double m_minimum;
    double m_maximum;
};

const uchar kBuiltinCount = 11;

} // namespace

DatatypeProvider::DatatypeProvider()
{
    const SimpleType builtins[] = {
        {Bool, SimpleTypeBit, 1, QStringLiteral("BOOL"), 0, 1},
        {SInt, SimpleTypeSigned, 1, QStringLiteral("SINT"), -128, 127},
        {Int, SimpleTypeSigned, 2, QStringLiteral("INT"), -32768, 32767},
        {DInt, SimpleTypeSigned, 4, QStringLiteral("DINT"), -2147483648.0, 2147483647.0},
        {USInt, SimpleTypeUnsigned, 1, QStringLiteral("USINT"), 0, 255},
        {UInt, SimpleTypeUnsigned, 2, QStringLiteral("UINT"), 0, 65535},
        {UDInt, SimpleTypeUnsigned, 4, QStringLiteral("UDINT"), 0, 4294967295.0},
        {Real, SimpleTypeFloat, 4, QStringLiteral("REAL"), -3.4e38, 3.4e38},
        {LReal, SimpleTypeFloat, 8, QStringLiteral("LREAL"), -1.7e308, 1.7e308},
        {Time, SimpleTypeTime, 4, QStringLiteral("TIME"), 0, 4294967295.0},
        {Any, SimpleTypeVariant, 0, QStringLiteral("ANY"), 0, 0},
    };
    for (const SimpleType& t : builtins)
        m_types.insert(t.number(), new SimpleType(t));
}

DatatypeProvider::~DatatypeProvider()
{
    qDeleteAll(m_types);
    qDeleteAll(m_validators);
}

DatatypeProvider* DatatypeProvider::instance()
{
    static DatatypeProvider* provider = new DatatypeProvider;
    return provider;
}

SimpleType* DatatypeProvider::simpleType(uchar number)
{
    return m_types.value(number);
}

QValidator* DatatypeProvider::validator(uchar number)
{
    if (QValidator* v = m_validators.value(number))
        return v;
    const SimpleType* type = m_types.value(number);
    if (!type)
        return nullptr;
    QValidator* v = nullptr;
    switch (type->kind()) {
    case SimpleTypeBit:
        v = new QRegularExpressionValidator(
            QRegularExpression(QStringLiteral("^(0|1|[Tt][Rr][Uu][Ee]|[Ff][Aa][Ll][Ss][Ee])$")));
        break;
    case SimpleTypeSigned:
    case SimpleTypeUnsigned:
        v = new IntegerValidator(type->minimum(), type->maximum());
        break;
    case SimpleTypeFloat: {
        auto* d = new QDoubleValidator(type->minimum(), type->maximum(), 15);
        d->setNotation(QDoubleValidator::ScientificNotation);
        d->setLocale(QLocale::c());
        v = d;
        break;
    }
    case SimpleTypeTime:
        v = new QRegularExpressionValidator(
            QRegularExpression(QStringLiteral("^([Tt]#)?\\d{1,10}([Mm]?[Ss])?$")));
        break;
    case SimpleTypeVariant:
        v = new QRegularExpressionValidator(QRegularExpression(QStringLiteral("^[^\\r\\n]*$")));
        break;
    }
    m_validators.insert(number, v);
    return v;
}

QList<uchar> DatatypeProvider::typeNumbers() const
{
    QList<uchar> numbers = m_types.keys();
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

bool DatatypeProvider::isBuiltin(uchar number) const
{
    return number >= 1 && number <= kBuiltinCount;
}

bool DatatypeProvider::registerType(const SimpleType& type)
{
    if (isBuiltin(type.number()) || type.number() == 0)
        return false;
    delete m_types.take(type.number());
    delete m_validators.take(type.number());
    m_types.insert(type.number(), new SimpleType(type));
    return true;
}

void DatatypeProvider::removeCustomTypes()
{
    for (uchar n : typeNumbers()) {
        if (!isBuiltin(n)) {
            delete m_types.take(n);
            delete m_validators.take(n);
        }
    }
}

bool DatatypeProvider::unregisterType(uchar number)
{
    if (isBuiltin(number) || !m_types.contains(number))
        return false;
    delete m_types.take(number);
    delete m_validators.take(number);
    return true;
}
