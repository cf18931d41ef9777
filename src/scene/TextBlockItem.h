#pragma once

#include "zkblockview_export.h"

#include "BlockItem.h"

#include <QScopedPointer>

class BlockCodeScene;
class BlockInstance;
class QPainter;
class QStyleOptionGraphicsItem;
class QWidget;
class TextBlockItemPrivate;

// A text block: a white box around the instance's lines. Unlike a plain block it grows with its
// text, in whole model units, never below the size of its symbol.
class ZK_VIEW_EXPORT TextBlockItem : public BlockItem
{
    Q_OBJECT
public:
    TextBlockItem(BlockCodeScene* pScene, BlockInstance* pInstance);
    ~TextBlockItem() override;

    void updateFromInstance() override;
    // A text outside both run-time tasks has nothing to switch on and off.
    bool hasEnablePin() const override;
    virtual void setEnablePinForced(bool value);

    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget = nullptr) override;

private:
    friend class TextBlockItemPrivate;
    QScopedPointer<TextBlockItemPrivate> d;
};
