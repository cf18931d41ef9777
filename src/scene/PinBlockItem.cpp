#include "PinBlockItem.h"

#include "AccessLevel.h"
#include "BlockCodeScene.h"
#include "BlockInstance.h"
#include "SceneMetrics.h"

#include <QColor>
#include <QPainter>
#include <QPen>
#include <QPolygonF>
#include <QStringList>
#include <QStyle>
#include <QStyleOptionGraphicsItem>
#include <QVariant>

namespace {

// The outgoing kind points into the block from the left; every other value points out to the right.
constexpr int OutgoingDirection = 2;

} // namespace

class PinBlockItemPrivate
{
public:
    explicit PinBlockItemPrivate(PinBlockItem* item)
        : q(item)
    {
    }

    int number = 0;
    int direction = 1;
    QString name;
    PinBlockItem* q;
};

PinBlockItem::PinBlockItem(BlockCodeScene* pScene, BlockInstance* pInstance)
    : BlockItem(pScene, pInstance)
    , d(new PinBlockItemPrivate(this))
{
    updateFromInstance();
}

PinBlockItem::~PinBlockItem() = default;

void PinBlockItem::updateFromInstance()
{
    // The shape, tool tip and pins were set once by the base constructor; a pin block keeps them,
    // so only what the parameters say and where the block stands are re-read.
    BlockInstance* instance = blockInstance();
    if (!instance)
        return;
    const QStringList list = instance->parameterList(codeScene()->sceneArea()).toStringList();
    if (list.isEmpty()) {
        d->number = 0;
        d->direction = 1;
    } else {
        d->number = list.at(0).toInt();
        d->direction = list.size() >= 2 ? list.at(1).toInt() : 1;
    }
    d->name = list.size() >= 3 ? list.at(2) : QString();
    setPos(instance->position() * BlockCodeScene::ModelUnit);
    update();
}

void PinBlockItem::paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget)
{
    BlockInstance* instance = blockInstance();
    if (!instance) {
        BlockItem::paint(painter, option, widget);
        return;
    }
    const qreal lod = option->levelOfDetailFromTransform(painter->worldTransform());
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, false);
    painter->setRenderHint(QPainter::TextAntialiasing, true);

    QColor background = Qt::white;
    if (option->state & QStyle::State_Selected)
        background = background.darker(120);

    const QRectF body = rect().adjusted(0, SceneInset::BlockBody, 0, -SceneInset::BlockBody);
    QRectF textRect = body;
    const qreal h = body.height();
    const qreal centreY = body.center().y();
    QPolygonF polygon;
    if (d->direction != OutgoingDirection) {
        textRect.adjust(0, 0, -h * 0.5, 0);
        polygon << body.topLeft() << QPointF(body.right() - h / 2, body.top()) << QPointF(body.right(), centreY)
                << QPointF(body.right() - h / 2, body.bottom()) << body.bottomLeft();
    } else {
        textRect.adjust(h * 0.5, 0, 0, 0);
        polygon << body.topLeft() << body.topRight() << body.bottomRight() << body.bottomLeft()
                << QPointF(body.left() + h / 2, centreY);
    }

    const QBrush oldBrush = painter->brush();
    const QPen oldPen = painter->pen();
    QPen outline(Qt::black, 0);
    outline.setCosmetic(true);
    painter->setBrush(QBrush(background, Qt::SolidPattern));
    painter->setPen(outline);
    painter->drawPolygon(polygon, Qt::OddEvenFill);
    painter->setBrush(oldBrush);
    painter->setPen(oldPen);

    if (lod < BlockCodeScene::DetailThreshold) {
        painter->restore();
        return;
    }

    painter->setFont(font());
    textRect.adjust(SceneInset::BlockText, SceneInset::BlockText, -SceneInset::BlockText, -SceneInset::BlockText);
    const QString label = QString::number(d->number) + QLatin1Char(':') + d->name;
    if (AccessLevel::reached(AccessLevel::Top)) {
        painter->drawText(textRect, Qt::AlignTop, label);
        painter->drawText(QPointF(textRect.left(), textRect.bottom() - 30),
                          instance->numberText() + QStringLiteral(" (%1)").arg(identifier()));
    } else {
        painter->drawText(textRect, Qt::AlignHCenter | Qt::AlignVCenter, label);
    }
    painter->restore();
}
