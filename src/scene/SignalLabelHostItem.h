#pragma once

#include "zkblockview_export.h"

#include <QGraphicsRectItem>
#include <QList>
#include <QObject>
#include <QScopedPointer>

class BlockInstanceHierarchyNode;
class BlockPinItem;
class QMenu;
class QPainter;
class QStyleOptionGraphicsItem;
class QWidget;
class SignalLabel;
class SignalLabelHostItemPrivate;
class SignalLabelItem;

// The small square on a pin that carries the pin's signal labels; hidden while there are none.
class ZK_VIEW_EXPORT SignalLabelHostItem : public QObject, public QGraphicsRectItem
{
    Q_OBJECT
public:
    explicit SignalLabelHostItem(BlockPinItem* pPinItem);
    ~SignalLabelHostItem() override;

    BlockPinItem* pinItem() const;
    BlockInstanceHierarchyNode* hierarchyNode() const;
    void addSignalLabel(SignalLabel* pLabel);
    void setHierarchyNode(BlockInstanceHierarchyNode* pNode);
    void updateFromLabels();
    QList<SignalLabel*> labels() const;
    SignalLabel* label(unsigned int identifier) const;
    SignalLabelItem* labelItem(SignalLabel* pLabel) const;
    QList<SignalLabelItem*> labelItems() const;
    void addContextMenuActions(QMenu* pMenu);
    void addLabelActions(QMenu* pMenu, SignalLabel* pLabel);

    void paint(QPainter* pPainter, const QStyleOptionGraphicsItem* pOption, QWidget* pWidget) override;

public Q_SLOTS:
    void createSignalLabel();
    void deleteSignalLabel();
    void showSignalLabelProperties();
    void showAllSignalLabels();
    void hideAllSignalLabels();
    void onHierarchyNodeDelete();

protected:
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override;

private:
    friend class SignalLabelHostItemPrivate;
    // The pin keeps up with whether its host lives and shows itself without asking it at every
    // update; a pin that goes first lets go of its host here.
    friend class BlockPinItem;
    void detachFromPin();
    QScopedPointer<SignalLabelHostItemPrivate> d;
};
