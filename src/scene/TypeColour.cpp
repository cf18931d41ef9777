#include "TypeColour.h"

#include "SimpleType.h"

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
