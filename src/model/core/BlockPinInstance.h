#pragma once

#include "ModelEnums.h"
#include "zkblockmodel_export.h"

#include <QObject>
#include <QString>

class BlockInstance;
class BlockInstanceArea;
class BlockPin;
struct InstanceRecord;


// The pin of one instance: the definition's pin and what the instance sets on it.
class ZK_MODEL_EXPORT BlockPinInstance : public QObject
{
    Q_OBJECT
public:
    ~BlockPinInstance() override;

    BlockInstance* owner() const { return m_owner; }
    int identifier() const { return m_identifier; }
    BlockPin* blockPin() const;
    eBlockPinFunction function() const;
    unsigned char datatype() const;
    // With an area, a variant pin answers the type it was resolved to.
    unsigned char datatype(BlockInstanceArea* area) const;
    bool isVariant() const;
    void setResolvedDatatype(unsigned char type);

    bool isInvertible() const;
    bool isInverted() const { return m_inverted; }
    void setInverted(bool inverted);
    QString initialValue() const { return m_initialValue; }
    void setInitialValue(const QString& value);
    bool isRemanent() const { return m_remanent; }
    void setRemanent(bool remanent);

private:
    friend struct InstanceRecord;
    friend class BlockInstance;
    friend class BlockCode;
    BlockPinInstance(BlockInstance* owner, int identifier);
    void changed();
    unsigned char datatypeOf(const BlockPin* pin) const;

    BlockInstance* m_owner;
    int m_identifier;
    bool m_inverted = false;
    bool m_remanent = false;
    QString m_initialValue;
    unsigned char m_resolvedType = 0;
};
