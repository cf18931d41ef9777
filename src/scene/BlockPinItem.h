#pragma once

#include "zkblockview_export.h"

#include <QGraphicsRectItem>
#include <QObject>
#include <QPointF>
#include <QScopedPointer>
#include <QString>

class BlockInstance;
class BlockInstanceArea;
class BlockInstanceHierarchyNode;
class BlockItem;
class BlockPinInstance;
class BlockPinItemPrivate;
class QGraphicsSceneMouseEvent;
class QMenu;
class QPainter;
class QStyleOptionGraphicsItem;
class QWidget;
class SignalLabel;
class SignalLabelHostItem;
class SimpleType;

// One pin of a block: a stub leaving the block to the left (input) or right (output). Connection
// nodes that end on the pin are its children, so they follow the block.
class ZK_VIEW_EXPORT BlockPinItem : public QObject, public QGraphicsRectItem
{
    Q_OBJECT
public:
    BlockPinItem(BlockItem* pBlockItem, BlockPinInstance* pPin);
    ~BlockPinItem() override;

    BlockPinInstance* pinInstance() const;
    BlockItem* blockItem() const;
    int identifier() const;
    QPointF connectionPoint() const;
    bool hasConnection() const;
    bool isInput() const;
    BlockInstanceHierarchyNode* hierarchyNode() const;
    BlockInstanceArea* instanceArea() const;
    SimpleType* simpleType() const;
    QString locationPath() const;
    void updateFromInstance();
    void applyInverted(bool value);
    void setDisplayMode(int mode);
    int displayMode() const;
    // The text drawn beside the stub in the current display mode.
    QString displayText() const;
    void addContextMenuActions(QMenu* pMenu);
    void addSignalLabel(SignalLabel* pLabel);
    SignalLabelHostItem* signalLabelHost() const;

    void paint(QPainter* pPainter, const QStyleOptionGraphicsItem* pOption, QWidget* pWidget) override;

public Q_SLOTS:
    void setInverted(bool value);
    void createConstant();
    void createParameterRead();
    void createParameterWrite();
    void setInitialValue();
    void resetInitialValue();
    void onBlockPinCurrentValueChanged(const QString& locationPath, const QString& value);

protected:
    void mousePressEvent(QGraphicsSceneMouseEvent* pEvent) override;
    void mouseMoveEvent(QGraphicsSceneMouseEvent* pEvent) override;
    void mouseReleaseEvent(QGraphicsSceneMouseEvent* pEvent) override;

private:
    friend class BlockPinItemPrivate;
    friend class SignalLabelHostItem;
    void hostGone();
    void hostShown(bool visible);
    QScopedPointer<BlockPinItemPrivate> d;
};
