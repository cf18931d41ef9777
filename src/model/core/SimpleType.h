#pragma once

#include "zkblockmodel_export.h"

#include <QString>
#include <QVariant>

// Kinds of simple types; each is drawn in its own colour. Numbers above 4 have the default colour.
enum eSimpleTypeKind : int {
    SimpleTypeBit = 0,
    SimpleTypeSigned = 1,
    SimpleTypeUnsigned = 2,
    SimpleTypeFloat = 3,
    SimpleTypeTime = 4,
    SimpleTypeVariant = 5
};

// One simple data type of pins and parameters.
class ZK_MODEL_EXPORT SimpleType
{
public:
    SimpleType(uchar number, eSimpleTypeKind kind, unsigned int sizeInBytes, const QString& shortName,
               double minimum = 0, double maximum = 0);

    uchar number() const { return m_number; }
    eSimpleTypeKind kind() const { return m_kind; }
    // 0 for a type without storage of its own (a variant pin before it is resolved).
    unsigned int sizeInBytes() const { return m_size; }
    QString shortName() const { return m_shortName; }
    double minimum() const { return m_minimum; }
    double maximum() const { return m_maximum; }
    bool isVariant() const { return m_kind == SimpleTypeVariant; }

    // Reads a value text of this type ("TRUE", "-12", "1.5", "T#250ms"); ok is false for text that is
    // not a value of the type or lies outside its range.
    double parseValue(const QString& text, bool* ok = nullptr) const;
    // The canonical text of a value, as the online display shows it.
    QString formatValue(double value) const;
    // Brings a computed value into the type: truncation and wrap-around for integers, 0/1 for bits.
    double coerce(double value) const;

private:
    uchar m_number;
    eSimpleTypeKind m_kind;
    unsigned int m_size;
    QString m_shortName;
    double m_minimum;
    double m_maximum;
};
