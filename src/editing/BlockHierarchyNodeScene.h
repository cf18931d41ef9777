#pragma once

#include "BlockCodeScene.h"
#include "zkblockview_export.h"

#include <QList>
#include <QScopedPointer>

class BlockCode;
class BlockHierarchyNodeScenePrivate;
class BlockInstanceArea;
class BlockInstanceHierarchyNode;
class BlockPinItem;
class QGraphicsSceneDragDropEvent;
class QGraphicsSceneMouseEvent;
class QGraphicsSceneWheelEvent;
class QKeyEvent;

// The read-only, online-capable scene over one node of an instance hierarchy. It belongs to its
// node as QObject child, so that the node finds it again and it keeps its pin display mode while
// the user is elsewhere in the hierarchy; stepping in and out is the hosting view's business.
class ZK_VIEW_EXPORT BlockHierarchyNodeScene : public BlockCodeScene
{
    Q_OBJECT
public:
    // The node's scene, made on first use; rebuilt on every call.
    static BlockHierarchyNodeScene* forNode(BlockInstanceHierarchyNode* pNode);
    ~BlockHierarchyNodeScene() override;

    bool isDefinitionScene() const override;
    bool isHierarchyNodeScene() const override;
    bool isReadOnly() const override;
    void setReadOnly(bool value) override;
    BlockCode* blockCode() const override;
    BlockInstanceHierarchyNode* hierarchyNode() const override;
    BlockInstanceArea* instanceArea() const override;
    void rebuild() override;

    int pinDisplayMode() const;
    // The slot of a mode given as a number, for a mode carried over from elsewhere (the level left
    // behind, a command line): the name mode and unknown numbers leave the pins as they are.
    void showPinsInMode(int mode);

public Q_SLOTS:
    virtual void showPinsName();
    virtual void showPinsLocationPath();
    virtual void showPinsMemoryAddress();
    virtual void showPinsCurrentValue();
    virtual void onlineChanged(bool value);
    virtual void onDefinitionChanged();

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
    explicit BlockHierarchyNodeScene(BlockInstanceHierarchyNode* pNode);
    QList<BlockPinItem*> allPinItems();
    void applyPinDisplayMode(int mode);

    friend class BlockHierarchyNodeScenePrivate;
    QScopedPointer<BlockHierarchyNodeScenePrivate> d;
};
