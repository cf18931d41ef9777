#pragma once

#include "BlockCodeScene.h"
#include "zkblockview_export.h"

#include <QScopedPointer>

class Block;
class BlockCode;
class BlockDefinition;
class BlockDefinitionScenePrivate;
class BlockInstance;
class BlockInstanceArea;
class BlockInstanceHierarchyNode;
class BlockPinConnection;
class BlockPinItem;
class ConnectionNodeItem;
class QByteArray;
class QGraphicsItem;
class QGraphicsSceneDragDropEvent;
class QGraphicsSceneMouseEvent;
class QGraphicsSceneWheelEvent;
class QKeyEvent;
class QMimeData;
class QUndoStack;
struct PropertiesChangeRecord;

// The editable scene over the code of one block definition. It belongs to its BlockCode as QObject
// child, so that every view that edits the same code shares one scene and one undo stack. There is
// no edit-mode flag: the grid is the edit mode, and the scene is writable exactly while it shows.
class ZK_VIEW_EXPORT BlockDefinitionScene : public BlockCodeScene
{
    Q_OBJECT
public:
    // The code's scene, made on first use; rebuilt on every call.
    static BlockDefinitionScene* forCode(BlockCode* pCode);
    ~BlockDefinitionScene() override;

    bool isDefinitionScene() const override;
    bool isHierarchyNodeScene() const override;
    bool isReadOnly() const override;
    void setReadOnly(bool value) override;
    BlockCode* blockCode() const override;
    BlockInstanceHierarchyNode* hierarchyNode() const override;
    BlockInstanceArea* instanceArea() const override;

    QUndoStack* undoStack() const;
    void clearUndoStack();
    void undo();
    void redo();

    // A different node drops the grid: the scene is read-only until the next setReadOnly(false).
    void setHierarchyNode(BlockInstanceHierarchyNode* pNode);
    void setInstanceArea(BlockInstanceArea* pArea);

    BlockDefinition* definitionFromMimeData(const QMimeData* pMimeData) const;
    BlockInstance* createBlockInstance(BlockDefinition* pDefinition, const QPointF& position);
    BlockPinConnection* connectPins(BlockPinItem* pFirst, BlockPinItem* pSecond);
    bool moveItems(QList<QGraphicsItem*> items, double dx, double dy);
    // A new user block in the local library of this code's definition, placed at `position` after
    // the user filled in its properties; nothing in read-only mode.
    void createNewLocalBlockDefinition(const QPointF& position);
    // The same for a block that defines a parameter of the device, from the parameter template.
    void createNewLocalParameterDefinition(const QPointF& position);
    // The corners of connections that touch a selected block, front-most first; the ends are left
    // out, they go with their pins.
    QList<ConnectionNodeItem*> connectionNodesOfSelection();
    // Undo steps for what a dialog of a block has already changed, at the block's scene position.
    // Nothing is pushed for an instance without a block item in this scene.
    void pushPropertiesChange(BlockInstance* pInstance, const PropertiesChangeRecord& record);
    void pushRuntimeSequenceChange(BlockInstance* pInstance, unsigned int oldRealtime, unsigned int oldBackground);

Q_SIGNALS:
    void editModeChanged(bool value);
    // Declared for listeners; nothing in this library emits them.
    void undoRequested();
    void redoRequested();

public Q_SLOTS:
    // Cutting and deleting are refused in read-only mode; pasting turns edit mode on first.
    void cutToClipboard();
    void pasteFromClipboard();
    bool deleteSelectedItems();
    bool showUndoView();
    // A corner that a connection has just added becomes an undo step, in edit mode only.
    void onConnectionNodeAdded(ConnectionNodeItem* pNodeItem);

protected:
    void dragEnterEvent(QGraphicsSceneDragDropEvent* event) override;
    void dragMoveEvent(QGraphicsSceneDragDropEvent* event) override;
    void dropEvent(QGraphicsSceneDragDropEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void mousePressEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseMoveEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseReleaseEvent(QGraphicsSceneMouseEvent* event) override;
    void wheelEvent(QGraphicsSceneWheelEvent* event) override;

private:
    explicit BlockDefinitionScene(BlockCode* pCode);
    void showGrid(bool show);
    bool moveSelectionByKey(int key);
    bool exportCodeToTextFile();
    // A user block with one definition, inserted into the local library of the code's definition;
    // null where the code has no local library.
    Block* createLocalUserBlock();
    void pushCreateBlock(BlockInstance* pInstance, const QPointF& position);
    // The first coordinate, P00 to P999 and then Q00 to Q999, that no parameter of the target area
    // (without a node: of any area) uses; "P00" when all are taken.
    QByteArray findFreeParameterCoordinate() const;

    friend class tst_BlockDefinitionScene;
    friend class tst_CreateBlockCommand;
    friend class BlockDefinitionScenePrivate;
    QScopedPointer<BlockDefinitionScenePrivate> d;
};
