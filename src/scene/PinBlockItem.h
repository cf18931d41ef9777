#pragma once

#include "zkblockview_export.h"

#include "BlockItem.h"

#include <QScopedPointer>

class BlockCodeScene;
class BlockInstance;
class PinBlockItemPrivate;
class QPainter;
class QStyleOptionGraphicsItem;
class QWidget;

// A pin of the enclosing block seen from inside its code: a five-cornered arrow with the pin's
// number and name. Its shape is fixed when the item is made; scene updates move and relabel it only.
class ZK_VIEW_EXPORT PinBlockItem : public BlockItem
{
    Q_OBJECT
public:
    PinBlockItem(BlockCodeScene* pScene, BlockInstance* pInstance);
    ~PinBlockItem() override;

    void updateFromInstance() override;

    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget = nullptr) override;

private:
    friend class PinBlockItemPrivate;
    QScopedPointer<PinBlockItemPrivate> d;
};
