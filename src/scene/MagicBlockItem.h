#pragma once

#include "zkblockview_export.h"

#include "BlockItem.h"

#include <QScopedPointer>

class BlockCodeScene;
class BlockInstance;
class MagicBlockItemPrivate;
class QPainter;
class QStyleOptionGraphicsItem;
class QWidget;

// A built-in auxiliary block (parameter read and write and the like): a white box of its symbol's
// size with the instance's parameter lines in it and its version at the top right.
class ZK_VIEW_EXPORT MagicBlockItem : public BlockItem
{
    Q_OBJECT
public:
    MagicBlockItem(BlockCodeScene* pScene, BlockInstance* pInstance);
    ~MagicBlockItem() override;

    void updateFromInstance() override;
    // A block outside both run-time tasks has nothing to switch on and off.
    bool hasEnablePin() const override;
    virtual void setEnablePinForced(bool value);

    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget = nullptr) override;

private:
    friend class MagicBlockItemPrivate;
    QScopedPointer<MagicBlockItemPrivate> d;
};
