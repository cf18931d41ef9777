#pragma once

#include "zkblockview_export.h"

#include <QFont>
#include <QGraphicsRectItem>
#include <QObject>
#include <QScopedPointer>
#include <QString>

class QGraphicsLineItem;
class QMenu;
class QPainter;
class QStyleOptionGraphicsItem;
class QWidget;
class SignalLabel;
class SignalLabelHostItem;
class SignalLabelItemPrivate;

// The yellow box of one signal label with a leader line to its host on the pin. It stands at the top
// level of the scene; its place is stored in the model relative to the host, so it follows the block.
class ZK_VIEW_EXPORT SignalLabelItem : public QObject, public QGraphicsRectItem
{
    Q_OBJECT
public:
    SignalLabelItem(SignalLabel* pLabel, SignalLabelHostItem* pHost);
    ~SignalLabelItem() override;

    SignalLabel* signalLabel() const;
    SignalLabelHostItem* host() const;
    QGraphicsLineItem* leaderLine() const;
    QString value() const;
    QFont font() const;
    void addContextMenuActions(QMenu* pMenu);
    void updatePosition();
    void updateSize();

    void paint(QPainter* pPainter, const QStyleOptionGraphicsItem* pOption, QWidget* pWidget) override;

public Q_SLOTS:
    void toggleVisibility();
    void onValueChanged(const QString& value);
    void onPropertyChanged(const QString& value);

protected:
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override;

private:
    friend class SignalLabelItemPrivate;
    QScopedPointer<SignalLabelItemPrivate> d;
};
