#pragma once

#include "zkblockmodel_export.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointF>
#include <QString>

class BlockDefinition;
class BlockDefinitionScene;
class BlockInstance;
class BlockInstanceArea;
class BlockInstanceHierarchyNode;
class BlockPinConnection;
class BlockPinInstance;
class QMimeData;
namespace CodeText {
struct Content;
}
namespace ModelJson {
class Reader;
}


// The code of a definition: its block instances and the connections between their pins.
class ZK_MODEL_EXPORT BlockCode : public QObject
{
    Q_OBJECT
public:
    // The clipboard format of copied code.
    static const QString TransferMimeType;

    ~BlockCode() override;

    static BlockCode* blockDefinitionCode(BlockDefinition* definition);
    BlockDefinition* blockDefinition();
    BlockDefinition* definition() const { return m_definition; }
    BlockDefinitionScene* blockDefinitionScene() const;

    QList<BlockInstance*> instances() const { return m_instances; }
    BlockInstance* instance(unsigned int identifier) const { return m_index.value(identifier); }
    QList<BlockPinConnection*> connections() const { return m_connections; }
    // The connections that end on a pin, without a scan of all connections.
    QList<BlockPinConnection*> connectionsOf(const BlockPinInstance* pin) const;

    bool blockChangeSignals(bool block);
    bool changeSignalsBlocked() const { return m_blocked; }
    void sendBlockedChangeSignal();
    void updateVariantPins(BlockInstanceArea* area);

    BlockInstance* createInstanceInRealtimeTask(BlockDefinition* definition);
    // An instance under a chosen identifier (loading, restoring); null if the identifier is taken.
    BlockInstance* createInstance(BlockDefinition* definition, unsigned int identifier);
    void deleteInstance(unsigned int identifier);
    BlockInstance* replaceInstanceDefinition(unsigned int identifier, BlockDefinition* definition,
                                             BlockInstanceArea* area);

    BlockPinConnection* createConnection(BlockPinInstance* a, BlockPinInstance* b);
    // A connection with given ends as stored, either end may be null (a dangling end).
    BlockPinConnection* addConnection(BlockPinInstance* source, BlockPinInstance* target,
                                      const QList<QPointF>& nodes);
    void deleteConnection(BlockPinConnection* connection);

    unsigned int realtime(unsigned int identifier) const;
    void setRealtime(unsigned int identifier, unsigned int position);
    unsigned int background(unsigned int identifier) const;
    void setBackground(unsigned int identifier, unsigned int position);
    // Identifiers in run-time order: real-time task first, then background.
    QList<unsigned int> realtimeOrder() const;
    QList<unsigned int> backgroundOrder() const;

    QMimeData* createTransferData(const QList<unsigned int>& identifiers);
    QList<unsigned int> insertTransferData(const QMimeData* data) const;

    QByteArray text(QList<unsigned int> identifiers) const;
    QByteArray signalsAsText(QList<unsigned int> identifiers) const;
    // Restores what text() and signalsAsText() wrote. With `freshIdentifiers` false the instances
    // come back under their old identifiers (one that is taken is skipped); with true they get new
    // ones. Returns the identifiers of the restored instances.
    QList<unsigned int> restoreCode(const QByteArray& text, bool freshIdentifiers);
    void restoreCodeFromText(const QByteArray& text, bool freshIdentifiers);
    void exportToTextFile(const QString& path);
    void save();

    // Removes everything (loading replaces code wholesale).
    void clear();
    unsigned int nextFreeIdentifier() const;

    // Called by the parts of the code after each change: emits changed() unless blocked.
    void notifyChanged();

Q_SIGNALS:
    void changed();
    // Instances came, went or changed their definition. Never blocked: the hierarchy follows the
    // structure at once, even while a scene keeps changed() quiet.
    void structureChanged();
    // One instance came or went; never blocked either. structureChanged() stands for "anything".
    void instanceAdded(unsigned int identifier);
    void instanceRemoved(unsigned int identifier);

private:
    friend class ModelJson::Reader;
    friend class BlockDefinition;
    friend class BlockInstance;
    friend class BlockPinConnection;
    friend class BlockInstanceHierarchyNode;
    explicit BlockCode(BlockDefinition* definition);

    void detachConnectionsOf(BlockInstance* instance);
    void insertIntoOrder(QList<unsigned int>& order, unsigned int identifier, unsigned int position);
    void indexConnection(BlockPinConnection* connection);
    void unindexConnection(BlockPinConnection* connection);
    void connectionEndChanged(BlockPinConnection* connection, BlockPinInstance* oldPin, BlockPinInstance* newPin);
    void pinAboutToGo(BlockPinInstance* pin);
    void orderChanged() { m_orderDirty = true; }
    void refreshOrder() const;
    QList<unsigned int> applyText(const CodeText::Content& content, bool freshIdentifiers);

    BlockDefinition* m_definition;
    QList<BlockInstance*> m_instances;
    QHash<unsigned int, BlockInstance*> m_index;
    QList<BlockPinConnection*> m_connections;
    QMultiHash<const BlockPinInstance*, BlockPinConnection*> m_pinConnections;
    QList<unsigned int> m_realtime;
    QList<unsigned int> m_background;
    mutable QHash<unsigned int, unsigned int> m_realtimePosition;
    mutable QHash<unsigned int, unsigned int> m_backgroundPosition;
    mutable bool m_orderDirty = true;
    QList<BlockInstanceHierarchyNode*> m_nodes;
    unsigned int m_nextIdentifier = 1;
    bool m_blocked = false;
    bool m_swallowed = false;
};
