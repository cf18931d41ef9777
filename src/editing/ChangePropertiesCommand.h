#pragma once

#include "PropertiesChangeRecord.h"
#include "zkblockview_export.h"

#include <QPointF>
#include <QUndoCommand>

class BlockDefinitionScene;

// Records what the property dialog of a block has already changed. The block is found again by
// its scene position. Where the instance has a parameter text, the text alone is put back;
// otherwise the block's contents and its parameter definition are.
class ZK_VIEW_EXPORT ChangePropertiesCommand : public QUndoCommand
{
public:
    ChangePropertiesCommand(BlockDefinitionScene* scene, const QPointF& position, const PropertiesChangeRecord& record,
                            QUndoCommand* parent = nullptr);
    ~ChangePropertiesCommand() override;

    void undo() override;
    void redo() override;

private:
    void applyText(const QString& text);
    void applyContents(const QByteArray& contents, const QByteArray& parameter);

    BlockDefinitionScene* m_scene;
    QPointF m_position;
    bool m_first = true;
    PropertiesChangeRecord m_record;
};
