#pragma once

#include "zkblockview_export.h"

#include <QList>
#include <QPointF>
#include <QPointer>
#include <QUndoCommand>

#include <memory>

class BlockDefinitionScene;
class QMimeData;

// Inserts the clipboard's code into a definition scene, centred on the cursor of the first paste
// and on the block raster. The command keeps its own copy of the payload: the clipboard may be
// replaced, or its owner in another process may go, before a redo, and the redo still has to
// repeat the same paste. Each redo makes the instances anew under fresh identifiers.
class ZK_VIEW_EXPORT PasteCommand : public QUndoCommand
{
public:
    explicit PasteCommand(BlockDefinitionScene* scene, QUndoCommand* parent = nullptr);
    ~PasteCommand() override;

    void undo() override;
    void redo() override;

    QList<unsigned int> newIdentifiers() const { return m_newIdentifiers; }
    QPointF targetPosition() const { return m_targetPosition; }

private:
    QPointer<BlockDefinitionScene> m_scene;
    std::unique_ptr<QMimeData> m_data;
    QList<unsigned int> m_newIdentifiers;
    QPointF m_targetPosition;
    bool m_first = true;
};
