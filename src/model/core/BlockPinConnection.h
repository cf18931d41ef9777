#pragma once

#include "zkblockmodel_export.h"

// The guarded pointers below hand out their objects in inline accessors.
#include "BlockPinInstance.h"

#include <QList>
#include <QObject>
#include <QPointF>
#include <QPointer>

class BlockCode;
class BlockInstance;
class BlockInstanceArea;
class BlockPinInstance;

// A connection from an output pin to an input pin through a chain of corner nodes.
class ZK_MODEL_EXPORT BlockPinConnection : public QObject
{
    Q_OBJECT
public:
    ~BlockPinConnection() override;

    BlockCode* code() const { return m_code; }
    BlockPinInstance* source() const { return m_source.data(); }
    BlockPinInstance* target() const { return m_target.data(); }
    void setSource(BlockPinInstance* pin);
    void setTarget(BlockPinInstance* pin);

    QList<QPointF> nodePositions() const { return m_nodes; }
    void setNodePositions(const QList<QPointF>& nodes);

    bool isHighlighted() const { return m_highlighted; }
    void setHighlighted(bool highlighted);

    // Both ends present, from an output to an input, of types that fit in that area.
    bool isValid(BlockInstanceArea* area) const;
    bool isConnectedTo(BlockInstance* instance) const;
    // The two carry one signal: they share an end pin.
    bool isConnectedTo(BlockPinConnection* connection) const;

Q_SIGNALS:
    void highlightedChanged(bool highlighted);

private:
    friend class BlockCode;
    BlockPinConnection(BlockCode* code, BlockPinInstance* source, BlockPinInstance* target);

    BlockCode* m_code;
    QPointer<BlockPinInstance> m_source;
    QPointer<BlockPinInstance> m_target;
    QList<QPointF> m_nodes;
    bool m_highlighted = false;
};
