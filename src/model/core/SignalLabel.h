#pragma once

#include "zkblockmodel_export.h"

#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QString>

class BlockInstanceHierarchyNode;
class BlockPinValueSource;

// A named label on a pin of an instance, owned by the node of the code that holds the instance.
class ZK_MODEL_EXPORT SignalLabel : public QObject
{
    Q_OBJECT
public:
    ~SignalLabel() override;

    virtual unsigned int identifier() const;
    virtual unsigned int instanceIdentifier() const;
    virtual int pinIdentifier() const;
    virtual QString toolTipText() const;
    virtual QString name() const;
    virtual void setOffset(const QPointF& offset);
    virtual QPointF offset() const;
    virtual QString currentValue() const;
    virtual bool showPropertiesView();

    void setName(const QString& name);
    BlockInstanceHierarchyNode* node() const { return m_node; }
    // The location path of the labelled pin.
    QString pinPath() const;

Q_SIGNALS:
    void currentValueChanged(const QString& value);
    void propertiesChanged(const QString& property);

private:
    friend class BlockInstanceHierarchyNode;
    SignalLabel(BlockInstanceHierarchyNode* node, unsigned int identifier, unsigned int instance, int pin,
                const QString& name);
    void onValueChanged(const QString& path, const QString& value);

    BlockInstanceHierarchyNode* m_node;
    unsigned int m_identifier;
    unsigned int m_instance;
    int m_pin;
    QString m_name;
    QPointF m_offset;
    QString m_observedPath;
    QPointer<BlockPinValueSource> m_source;
};
