#pragma once

#include "zkblockmodel_export.h"

#include <QHash>
#include <QList>

class QValidator;
class SimpleType;

// The registry of simple types by number. The built-in types are always there; a project may add
// types of its own.
class ZK_MODEL_EXPORT DatatypeProvider
{
public:
    enum eBuiltinType : uchar {
        Bool = 1, SInt = 2, Int = 3, DInt = 4, USInt = 5, UInt = 6, UDInt = 7, Real = 8, LReal = 9,
        Time = 10, Any = 11
    };

    static DatatypeProvider* instance();
    virtual ~DatatypeProvider();

    // Null for an unknown number.
    virtual SimpleType* simpleType(uchar number);
    // Not owned by the caller; null for an unknown number.
    virtual QValidator* validator(uchar number);

    QList<uchar> typeNumbers() const;
    // Replaces a type of the same number; false for a number taken by a built-in type.
    bool registerType(const SimpleType& type);
    bool isBuiltin(uchar number) const;
    // Removes a type of a project; built-in types stay.
    bool unregisterType(uchar number);
    void removeCustomTypes();

protected:
    DatatypeProvider();

private:
    QHash<uchar, SimpleType*> m_types;
    QHash<uchar, QValidator*> m_validators;
};
