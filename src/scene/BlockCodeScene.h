#pragma once

#include "zkblockview_export.h"

#include <QGraphicsScene>
#include <QList>
#include <QMap>
#include <QPointF>

#include <memory>

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
    // Block and connection items announce themselves, and block items their selection, so that
    // look-ups by identifier, instance or connection and the selection signal need no scan.
    friend class BlockItemPrivate;
    friend class BlockPinItemPrivate;
    friend class ConnectionItemPrivate;
    friend class ConnectionNodeItemPrivate;
    void registerBlockItem(BlockItem* item);
    void unregisterBlockItem(BlockItem* item, const BlockInstance* instance);
    void blockItemSelectionChanging(BlockItem* item, bool selected);
    void registerConnectionItem(ConnectionItem* item);
    void unregisterConnectionItem(ConnectionItem* item);
    // Whether some selected item is not a connection node: a node moving with such a selection
    // keeps its offset from the raster.
    bool selectionHoldsOtherThanNodes();
    // The toolkit tells the children that follow scene positions (label hosts, connection nodes)
    // of a moved item by walking all such children of the scene, which makes moving many blocks
    // quadratic. While the code's change signals are blocked (a group move, an update), a moving
    // block takes one of its hosts out of that list for the move, which stops the walk, and tells
    // its own children itself; the host goes back before anything else can move or look.
    void suspendScenePositionWalk(SignalLabelHostItem* standIn);
    SignalLabelHostItem* suspendedScenePositionWalk() const;
    void resumeScenePositionWalk();
    // The tool tip text of a definition, read once per definition while a rebuild runs: all
    // instances of one block share it, and the model makes it anew at each call.
    QString definitionToolTip(const BlockDefinition* definition);
    // True while a rebuild runs, which ends by repainting the whole scene: an item's own request
    // for a repaint would only cost.
    bool repaintsWhole() const;

    std::unique_ptr<BlockCodeScenePrivate> d;
};
