#include "MagicBlockItem.h"

#include "AccessLevel.h"
#include "Block.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockSymbol.h"
#include "BlockTextLayout.h"
#include "Text.h"

#include <QColor>
#include <QFontMetrics>
#include <QPainter>
#include <QPen>
#include <QStyle>
#include <QStyleOptionGraphicsItem>
#include <QTextOption>

namespace {

constexpr qreal BodyInset = 50.0;
constexpr qreal TextMargin = 50.0;
constexpr qreal WidthMargin = 100.0;

} // namespace

class MagicBlockItemPrivate
{
public:
    explicit MagicBlockItemPrivate(MagicBlockItem* item)
        : q(item)
    {
    }

    void updateToolTip();

    QString text;
    QString runtimeText;
    QString versionText;
    MagicBlockItem* q;
};

void MagicBlockItemPrivate::updateToolTip()
{
    BlockInstance* instance = q->blockInstance();
    if (!instance)
        return;
    // A magic block always has the size of its symbol: the box fitted to the text does not last,
    // and a long text runs out of the box.
    const QSizeF size = instance->symbol()->size() * BlockCodeScene::ModelUnit;
    q->setRect(0, 0, size.width(), size.height());
    q->setPos(instance->position() * BlockCodeScene::ModelUnit);

    BlockDefinition* definition = instance->blockDefinition();
    Block* block = instance->block();
    QString toolTip = QStringLiteral("%1<br>").arg(block ? block->name().text() : QString());
    toolTip += MagicBlockItem::tr("Version %1").arg(definition ? definition->version() : 0u);
    const QString note = instance->note();
    if (!note.isEmpty())
        toolTip += QStringLiteral("<br>") + note + QStringLiteral("<br>");
    BlockLibrary* library = block ? block->ownerLibrary() : nullptr;
    if (AccessLevel::reached(AccessLevel::Top) && library) {
        BlockLibraryContainer* container = library->container();
        toolTip += QStringLiteral("<br><br>") + block->identifier() + QStringLiteral("<br><br>");
        toolTip += MagicBlockItem::tr("Bibliotheks-ID:  ") + (container ? container->identifier() : QString())
                   + QStringLiteral("<br>");
        toolTip += MagicBlockItem::tr("Bibliotheksname: ") + (container ? container->name().text() : QString());
    }
    q->setToolTip(toolTip);
}

MagicBlockItem::MagicBlockItem(BlockCodeScene* pScene, BlockInstance* pInstance)
    : BlockItem(pScene, pInstance)
    , d(new MagicBlockItemPrivate(this))
{
    updateFromInstance();
}

MagicBlockItem::~MagicBlockItem() = default;

void MagicBlockItem::updateFromInstance()
{
    if (BlockInstance* instance = blockInstance()) {
        const BlockTextLayout layout(instance, codeScene()->sceneArea(), font());
        d->text = layout.text();
        const QSizeF fitted = layout.fittedSize(WidthMargin, instance->symbol()->size() * BlockCodeScene::ModelUnit);
        setRect(0, 0, fitted.width(), fitted.height());
        setPos(instance->position() * BlockCodeScene::ModelUnit);
        d->runtimeText = BlockTextLayout::runtimeText(instance);
        BlockDefinition* definition = instance->blockDefinition();
        d->versionText = QStringLiteral("V%1").arg(definition ? definition->version() : 0u);
    }
    d->updateToolTip();
    updatePins();
}

bool MagicBlockItem::hasEnablePin() const
{
    return !d->runtimeText.isEmpty();
}

void MagicBlockItem::setEnablePinForced(bool value)
{
    forceEnablePinVisible(value);
}

void MagicBlockItem::paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget)
{
    BlockInstance* instance = blockInstance();
    if (!instance) {
        BlockItem::paint(painter, option, widget);
        return;
    }
    painter->save();
    const QRectF box = rect().adjusted(0, BodyInset, 0, -BodyInset);
    if (!BlockTextLayout::paintBox(painter, option, box, font())) {
        painter->restore();
        return;
    }
    const QFontMetrics metrics(painter->font(), painter->device());

    const QRectF textRect = box.adjusted(TextMargin, TextMargin, -TextMargin, -TextMargin);
    painter->drawText(textRect, d->text, QTextOption());
    painter->drawText(textRect, d->versionText, QTextOption(Qt::AlignRight));

    if (AccessLevel::reached(AccessLevel::Top)) {
        painter->drawText(QPointF(box.left() + TextMargin, box.bottom() - 80),
                          instance->numberText() + QStringLiteral(" (%1)").arg(identifier()));
    }
    painter->drawText(
        QPointF(box.right() - TextMargin - metrics.boundingRect(d->runtimeText).width(), box.bottom() - 80),
        d->runtimeText);
    painter->restore();
}
