#pragma once

#include "ModelEnums.h"
#include "Text.h"
#include "zkblockmodel_export.h"

#include <QString>

// A pin of a block definition: its identifier, names, direction and data type.
class ZK_MODEL_EXPORT BlockPin
{
public:
    BlockPin(int identifier, eBlockPinFunction function, uchar datatype);
    BlockPin(const BlockPin&) = default;
    BlockPin& operator=(const BlockPin&) = default;
    ~BlockPin();

    int identifier() const { return m_identifier; }
    QString shortName() const { return m_shortName; }
    void setShortName(const QString& name) { m_shortName = name; }
    Text name() const { return m_name; }
    void setName(const Text& name) { m_name = name; }
    // What the pin means, shown in the block's help.
    Text description() const { return m_description; }
    void setDescription(const Text& text) { m_description = text; }
    eBlockPinFunction function() const { return m_function; }
    void setFunction(eBlockPinFunction function) { m_function = function; }
    uchar datatype() const { return m_datatype; }
    void setDatatype(uchar type) { m_datatype = type; }
    // Only bit pins can be inverted; an explicit false keeps a bit pin from it too.
    bool isInvertible() const;
    void setInvertible(bool invertible) { m_invertible = invertible; }
    QString defaultInitialValue() const { return m_defaultInitialValue; }
    void setDefaultInitialValue(const QString& value) { m_defaultInitialValue = value; }

    bool operator==(const BlockPin& other) const;

private:
    int m_identifier;
    eBlockPinFunction m_function;
    uchar m_datatype;
    bool m_invertible = true;
    QString m_shortName;
    Text m_name;
    Text m_description;
    QString m_defaultInitialValue;
};
