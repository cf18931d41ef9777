#pragma once

#include "zkblockview_export.h"

#include <QByteArray>
#include <QPointF>
#include <QPointer>
#include <QString>
#include <QUndoCommand>

class BlockDefinitionScene;
class BlockItem;
class QGraphicsItem;

// Records a new local block that the scene has already made and placed. The block itself stays in
// the local library after an undo; a redo makes a fresh block from the contents saved at the push,
// so that what the user saw then is what comes back.
class ZK_VIEW_EXPORT CreateBlockCommand : public QUndoCommand
{
public:
    CreateBlockCommand(BlockDefinitionScene* scene, QGraphicsItem* item, QUndoCommand* parent = nullptr);
    ~CreateBlockCommand() override;

    void undo() override;
    void redo() override;

    void setInstanceIdentifier(unsigned int identifier);
    void setBlockIdentifier(const QString& identifier);
    void setPosition(const QPointF& position);

    unsigned int instanceIdentifier() const { return m_instanceIdentifier; }
    QByteArray savedContents() const { return m_savedContents; }

private:
    BlockDefinitionScene* m_scene;
    bool m_first = true;
    QByteArray m_savedContents;
    unsigned int m_instanceIdentifier = 0;
    QString m_blockIdentifier;
    QPointF m_position;
    // The item of the push, never refreshed. Guarded: a rebuild deletes the items of gone instances.
    QPointer<BlockItem> m_item;
};
