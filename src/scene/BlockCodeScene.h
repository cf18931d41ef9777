#pragma once

#include "ToolkitWorkarounds.h"
#include "zkblockview_export.h"

#include <QGraphicsScene>
#include <QList>
#include <QSet>
#include <QMap>
#include <QPointF>
#include <QScopedPointer>

class BlockCode;
class BlockCodeScenePrivate;
class BlockDefinition;
class BlockInstance;
class BlockInstanceArea;
class BlockInstanceHierarchyNode;
class BlockItem;
class BlockPinConnection;
class BlockPinInstance;
class BlockPinItem;
class ConnectionItem;
class ConnectionNodeItem;
class QEvent;
class QGraphicsRectItem;
class QKeyEvent;
class SceneItemIndex;
class SceneRebuild;
class SignalLabelHostItem;
class SignalLabelItem;

// The scene that mirrors one BlockCode as items. It never keeps model data: every update re-reads
// the code and reconciles the items, so that selection and connection nodes survive a change.
// Where the code comes from, and whether it may be edited, the derived scenes decide.
class ZK_VIEW_EXPORT BlockCodeScene : public QGraphicsScene
{
    Q_OBJECT
public:
    // Every code scene spans the same frame, so that positions stay comparable between scenes.
    static constexpr qreal SceneOrigin = -500.0;
    static constexpr qreal SceneExtent = 1001000.0;
    // Model positions and sizes are in units of this many scene units.
    static constexpr qreal ModelUnit = 1000.0;
    // Below this level of detail item painters draw outlines only.
    static constexpr qreal DetailThreshold = 0.0235;

    explicit BlockCodeScene(QObject* parent = nullptr);
    ~BlockCodeScene() override;

    virtual bool isDefinitionScene() const = 0;
    virtual bool isHierarchyNodeScene() const = 0;
    virtual bool isReadOnly() const = 0;
    virtual void setReadOnly(bool value) = 0;
    virtual BlockCode* blockCode() const = 0;
    virtual BlockInstanceHierarchyNode* hierarchyNode() const = 0;
    virtual BlockInstanceArea* instanceArea() const = 0;
    virtual void rebuild();
    virtual void showBlockProperties();

    // The hierarchy node's area if there is a node, else instanceArea(): the one rule by which
    // items find the area they show.
    BlockInstanceArea* sceneArea() const;
    // The area whose hierarchy holds the node; null for no node or a node outside any hierarchy.
    // Every way from a node to its area goes through here.
    static BlockInstanceArea* areaOf(const BlockInstanceHierarchyNode* pNode);

    BlockItem* blockItem(unsigned int identifier);
    BlockItem* blockItemOf(BlockInstance* pInstance);
    BlockPinItem* pinItemOf(BlockPinInstance* pPin);
    BlockItem* blockItemAt(QPointF scenePos);
    BlockPinItem* pinItemAt(QPointF scenePos);
    ConnectionItem* connectionItemAt(QPointF scenePos);
    ConnectionNodeItem* connectionNodeItemAt(QPointF scenePos);
    SignalLabelItem* signalLabelItemAt(QPointF scenePos);
    QMap<unsigned int, BlockItem*> blockItemMap();
    QMultiMap<BlockPinConnection*, ConnectionItem*> connectionItemMap();
    QList<BlockItem*> selectedBlockItems();
    QList<ConnectionItem*> selectedConnectionItems();
    BlockItem* selectedBlockItem();
    void selectAllItems();
    bool stepInAllowed();

    QGraphicsRectItem* backgroundItem() const;
    // Block items whose instance was replaced under the same identifier and that wait for an
    // update in an active scene to be deleted.
    QList<BlockItem*> pendingDeleteItems() const;

    // For the scene's own items, not for its users: the index the items keep in step, the pause of
    // the toolkit's scene position walk they use while moving, and the rebuild that runs (null
    // outside one).
    SceneItemIndex& itemIndex();
    ToolkitWorkarounds::ScenePositionWalkPause& scenePositionWalkPause();
    SceneRebuild* runningRebuild() const;
    // Whether some selected item is not a connection node: a node moving with such a selection
    // keeps its offset from the raster.
    bool selectionHoldsOtherThanNodes();
    // The given items in the order of the scene's item list, the order in which a scan finds them:
    // lists that the index gives unordered keep the order they had when they were scans.
    QList<QGraphicsItem*> inSceneOrder(const QSet<QGraphicsItem*>& wanted) const;

Q_SIGNALS:
    // Declared with a result for the sake of the established interface; nobody reads it.
    bool stepInAllowedChanged(bool value);

public Q_SLOTS:
    virtual void updateRequired();
    void copyToClipboard();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private Q_SLOTS:
    void onSelectionChanged();

private:
    friend class BlockCodeScenePrivate;
    QScopedPointer<BlockCodeScenePrivate> d;
};
