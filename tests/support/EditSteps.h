#pragma once

#include <QList>
#include <QPointF>

class BlockCodeView;
class BlockDefinitionScene;
class QGraphicsItem;

// Steps of a user's edit, for tests that edit through the editors rather than the model.

// Switches a hierarchy view into edit mode; its definition scene, or null if the user may not edit.
BlockDefinitionScene* enterEditMode(BlockCodeView* view);
// A move as a drag makes it: the items go, then the move is recorded on the scene's stack as a
// MoveCommand. False if nothing could move.
bool moveByCommand(BlockDefinitionScene* scene, const QList<QGraphicsItem*>& items, const QPointF& delta);
// Some block item of the scene, or null.
QGraphicsItem* firstBlockItem(BlockDefinitionScene* scene);
