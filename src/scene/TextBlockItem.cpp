#include "TextBlockItem.h"

#include "AccessLevel.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockSymbol.h"
#include "BlockTextLayout.h"
#include "SceneMetrics.h"

#include <QColor>
#include <QFontMetrics>
#include <QPainter>
#include <QPen>
#include <QPointer>
#include <QStyle>
#include <QStyleOptionGraphicsItem>
#include <QTextOption>

namespace {

// The box stands this far inside the item at top and bottom, as a plain block's body does.
// Room on the right for the version text at the top right.
constexpr qreal VersionWidthMargin = 600.0;
constexpr qreal PlainWidthMargin = 100.0;

} // namespace

class TextBlockItemPrivate
{
public:
    TextBlockItemPrivate(TextBlockItem* item, BlockInstance* pInstance)
        : instance(pInstance)
        , q(item)
    {
    }

    QString text;
    QString runtimeText;
    QPointer<BlockInstance> instance;
    TextBlockItem* q;
};

TextBlockItem::TextBlockItem(BlockCodeScene* pScene, BlockInstance* pInstance)
    : BlockItem(pScene, pInstance)
    , d(new TextBlockItemPrivate(this, pInstance))
{
    updateFromInstance();
}

TextBlockItem::~TextBlockItem() = default;

void TextBlockItem::updateFromInstance()
{
    BlockInstance* instance = d->instance.data();
    if (!instance) {
        updatePins();
        return;
    }
    const BlockTextLayout layout(instance, codeScene()->sceneArea(), font());
    d->text = layout.text();
    const QSizeF minimum = instance->symbol()->size() * BlockCodeScene::ModelUnit;
    const QSizeF size =
        layout.fittedSize(instance->isVersionVisible() ? VersionWidthMargin : PlainWidthMargin, minimum);
    setRect(0, 0, size.width(), size.height());
    setPos(instance->position() * BlockCodeScene::ModelUnit);

    d->runtimeText = BlockTextLayout::runtimeText(instance);

    BlockDefinition* definition = instance->blockDefinition();
    QString toolTip = definition ? definition->toolTipText() : QString();
    const QString note = instance->note();
    if (!note.isEmpty())
        toolTip += QStringLiteral("<hr>") + note;
    setToolTip(toolTip);

    updatePins();
}

bool TextBlockItem::hasEnablePin() const
{
    return !d->runtimeText.isEmpty();
}

void TextBlockItem::setEnablePinForced(bool value)
{
    forceEnablePinVisible(value);
}

void TextBlockItem::paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget)
{
    BlockInstance* instance = d->instance.data();
    if (!instance) {
        BlockItem::paint(painter, option, widget);
        return;
    }
    painter->save();
    const QRectF box = rect().adjusted(0, SceneInset::BlockBody, 0, -SceneInset::BlockBody);
    if (!BlockTextLayout::paintBox(painter, option, box, font())) {
        painter->restore();
        return;
    }
    const QFontMetrics metrics(painter->font(), painter->device());

    painter->drawText(box.adjusted(SceneInset::BlockText, SceneInset::BlockText, -SceneInset::BlockText, -SceneInset::BlockText), d->text, QTextOption());

    // Only a single-line box has room for the number beside its text.
    if (AccessLevel::reached(AccessLevel::Top) && !d->text.contains(QLatin1Char('\n'))) {
        painter->drawText(QPointF(box.left() + SceneInset::BlockText, box.bottom() - 80),
                          instance->numberText() + QStringLiteral(" (%1)").arg(identifier()));
    }

    painter->drawText(
        QPointF(box.right() - SceneInset::BlockText - metrics.boundingRect(d->runtimeText).width(), box.bottom() - 80),
        d->runtimeText);

    if (instance->isVersionVisible()) {
        const QString version = QStringLiteral("V") + QString::number(instance->version());
        painter->drawText(QPointF(box.right() - SceneInset::BlockText - metrics.boundingRect(version).width(),
                                  box.top() + 20 + metrics.ascent()),
                          version);
    }
    painter->restore();
}
