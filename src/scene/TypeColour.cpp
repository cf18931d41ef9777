#include "TypeColour.h"

#include "SimpleType.h"

#include <QPen>

QColor typeKindColour(int kind)
{
    switch (kind) {
    case SimpleTypeBit:
        return QColor(Qt::red).lighter(150);
    case SimpleTypeSigned:
        return QColor(Qt::red).darker(150);
    case SimpleTypeUnsigned:
        return QColor(Qt::green).darker(150);
    case SimpleTypeFloat:
        return QColor(Qt::cyan).darker(200);
    case SimpleTypeTime:
        return QColor(Qt::gray);
    default:
        return QColor();
    }
}

const QPen& typeKindCosmeticPen(int kind)
{
    static const QPen pens[] = {
        [] {
            QPen pen(typeKindColour(SimpleTypeBit));
            pen.setWidth(0);
            pen.setCosmetic(true);
            return pen;
        }(),
        [] {
            QPen pen(typeKindColour(SimpleTypeSigned));
            pen.setWidth(0);
            pen.setCosmetic(true);
            return pen;
        }(),
        [] {
            QPen pen(typeKindColour(SimpleTypeUnsigned));
            pen.setWidth(0);
            pen.setCosmetic(true);
            return pen;
        }(),
        [] {
            QPen pen(typeKindColour(SimpleTypeFloat));
            pen.setWidth(0);
            pen.setCosmetic(true);
            return pen;
        }(),
        [] {
            QPen pen(typeKindColour(SimpleTypeTime));
            pen.setWidth(0);
            pen.setCosmetic(true);
            return pen;
        }(),
        [] {
            QPen pen(typeKindColour(-1));
            pen.setWidth(0);
            pen.setCosmetic(true);
            return pen;
        }(),
    };
    return kind >= SimpleTypeBit && kind <= SimpleTypeTime ? pens[kind] : pens[5];
}
