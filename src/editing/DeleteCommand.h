#pragma once

#include "PinAddress.h"
#include "zkblockview_export.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMultiHash>
#include <QPointer>
#include <QString>
#include <QUndoCommand>

class BlockDefinitionScene;
class BlockInstanceArea;
class BlockPinConnection;

// Removes the selected blocks and connections of a definition scene. The objects of the code die
// with the deletion, so the command takes a snapshot when it is made: the code of the selected
// blocks as text, the contents of the local blocks they use, the parameter values of their
// instances, and, for a selection of connections alone, the connections by their ends. Undo
// rebuilds from that snapshot; it is never refreshed.
class ZK_VIEW_EXPORT DeleteCommand : public QUndoCommand
{
public:
    explicit DeleteCommand(BlockDefinitionScene* scene, QUndoCommand* parent = nullptr);
    ~DeleteCommand() override;

    void undo() override;
    void redo() override;

    QByteArray savedText() const { return m_savedText; }
    QList<unsigned int> instanceIdentifiers() const { return m_instanceIdentifiers; }
    QHash<QString, QByteArray> savedBlocks() const { return m_savedBlocks; }
    QMultiHash<QString, QString> savedParameterValues() const { return m_savedParameterValues; }
    QList<PinAddress> savedConnections() const { return m_savedConnections; }

private:
    BlockInstanceArea* targetArea() const;
    void saveParameterValues();
    void restoreParameterValues();
    void saveConnections();

    bool m_first = true;
    QPointer<BlockDefinitionScene> m_scene;
    QByteArray m_savedText;
    QList<unsigned int> m_instanceIdentifiers;
    // What the first redo removed; a record only, never read back.
    QList<QPointer<BlockPinConnection>> m_removedConnections;
    QHash<QString, QByteArray> m_savedBlocks;
    QMultiHash<QString, QString> m_savedParameterValues;
    QList<PinAddress> m_savedConnections;
};
