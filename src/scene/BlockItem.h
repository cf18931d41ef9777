#pragma once

#include "zkblockview_export.h"

#include <QFont>
#include <QGraphicsRectItem>
#include <QList>
#include <QObject>
#include <QPointF>
#include <QScopedPointer>
#include <QString>

class BlockCodeScene;
class BlockInstance;
class BlockInstanceHierarchyNode;
class BlockItemPrivate;
class BlockPinItem;
class QGraphicsSceneMouseEvent;
class QMenu;
class QPainter;
class QStyleOptionGraphicsItem;
class QWidget;

// One block instance drawn as a rectangle with its texts, symbol image and pin items. The item may
// outlive its instance (the model deletes at will): it then draws as a plain rectangle and offers
// no actions.
class ZK_VIEW_EXPORT BlockItem : public QObject, public QGraphicsRectItem
{
    Q_OBJECT
public:
    // The pin that switches a block on and off; shown only when asked for, connected or inverted.
    static constexpr int EnablePinIdentifier = -1;

    BlockItem(BlockCodeScene* pScene, BlockInstance* pInstance);
    ~BlockItem() override;

    // The font of the whole diagram, in scene units; pins and signal labels use it too.
    static QFont diagramFont();

    virtual void updateFromInstance();
    virtual void addContextMenuActions(QMenu* pMenu);
    virtual bool isStepInAllowed() const;
    virtual bool isEnablePinVisible() const;
    virtual bool isEnablePinForced() const;
    virtual bool hasEnablePin() const;

    BlockCodeScene* codeScene() const;
    BlockInstance* blockInstance() const;
    unsigned int identifier() const;
    BlockPinItem* pinItem(int pinIdentifier) const;
    QList<BlockPinItem*> pinItems() const;
    QPointF pinPosition(int pinIdentifier) const;
    // pinItem() for a rebuild whose blocks are settled (SceneRebuild::blocksSettled()): this item
    // has just read its pins, and the look-up need not ask each pin again.
    BlockPinItem* indexedPinItem(int pinIdentifier, bool pinsJustRead) const;
    void updatePins();
    QString runtimePositionText() const;
    QFont font() const;

    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget = nullptr) override;

public Q_SLOTS:
    void editModeChanged(bool value);
    void forceEnablePinVisible(bool value);
    void showPropertiesView();
    void showRuntimePositionView();
    void onRedrawRequired();

protected:
    void mousePressEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseDoubleClickEvent(QGraphicsSceneMouseEvent* event) override;
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override;

private:
    friend class BlockItemPrivate;
    // For the pins while updatePins() runs: the hierarchy node of this block, looked up once for
    // all of them. False outside updatePins().
    friend class BlockPinItem;
    bool pinsHierarchyNode(BlockInstanceHierarchyNode** pNode) const;

    QScopedPointer<BlockItemPrivate> d;
};
