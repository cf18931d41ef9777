#include "SignalLabelItem.h"

#include "BlockCodeScene.h"
#include "BlockItem.h"
#include "SceneMetrics.h"
#include "SignalLabel.h"
#include "SignalLabelHostItem.h"

#include <QFontMetricsF>
#include <QGraphicsLineItem>
#include <QGraphicsScene>
#include <QMenu>
#include <QPainter>
#include <QPen>
#include <QPointer>
#include <QStyle>
#include <QStyleOptionGraphicsItem>

#include <algorithm>
#include <cmath>

namespace {

constexpr qreal LabelHeight = 1000.0;
constexpr qreal MinimumTextWidth = 3000.0;
constexpr qreal WidthStep = 500.0;
// The leader line starts inside the box, so it looks attached from any direction.
const QPointF LeaderLineAnchor(500.0, 500.0);

QPen cosmeticBlackPen()
{
    QPen pen(Qt::black);
    pen.setWidth(0);
    pen.setCosmetic(true);
    return pen;
}

} // namespace

class SignalLabelItemPrivate
{
public:
    explicit SignalLabelItemPrivate(SignalLabelItem* item)
        : q(item)
    {
    }

    QPointF hostScenePos() const { return host ? host->scenePos() : QPointF(); }

    SignalLabelItem* q;
    // The model deletes labels at will; the host removes this box when that happens.
    QPointer<SignalLabel> label;
    QPointer<SignalLabelHostItem> host;
    QGraphicsLineItem* leaderLine = nullptr;
    QString value;
    QFont font = BlockItem::diagramFont();
};

SignalLabelItem::SignalLabelItem(SignalLabel* pLabel, SignalLabelHostItem* pHost)
    : QObject()
    , QGraphicsRectItem()
    , d(new SignalLabelItemPrivate(this))
{
    d->label = pLabel;
    d->host = pHost;
    setFlags(ItemIsMovable | ItemIsSelectable | ItemSendsGeometryChanges | ItemSendsScenePositionChanges);
    setZValue(SceneZ::SignalLabel);
    setAcceptHoverEvents(true);

    d->leaderLine = new QGraphicsLineItem(this);
    d->leaderLine->setZValue(SceneZ::SignalLabelLeader);
    d->leaderLine->setFlag(ItemStacksBehindParent);
    d->leaderLine->setPen(cosmeticBlackPen());

    if (pLabel) {
        d->value = pLabel->currentValue();
        connect(pLabel, &SignalLabel::currentValueChanged, this, &SignalLabelItem::onValueChanged);
        connect(pLabel, &SignalLabel::propertiesChanged, this, &SignalLabelItem::onPropertyChanged);
        setToolTip(pLabel->toolTipText());
    }
    updateSize();
    if (pHost && pHost->scene())
        pHost->scene()->addItem(this);
    updatePosition();
}

SignalLabelItem::~SignalLabelItem() = default;

SignalLabel* SignalLabelItem::signalLabel() const
{
    return d->label.data();
}

SignalLabelHostItem* SignalLabelItem::host() const
{
    return d->host.data();
}

QGraphicsLineItem* SignalLabelItem::leaderLine() const
{
    return d->leaderLine;
}

QString SignalLabelItem::value() const
{
    return d->value;
}

QFont SignalLabelItem::font() const
{
    return d->font;
}

void SignalLabelItem::addContextMenuActions(QMenu* pMenu)
{
    if (!pMenu || !d->host || !d->label)
        return;
    pMenu->addSeparator();
    d->host->addLabelActions(pMenu, d->label);
}

void SignalLabelItem::updatePosition()
{
    if (!d->label)
        return;
    setPos(d->hostScenePos() + d->label->offset() * 1000.0);
    d->leaderLine->setLine(QLineF(LeaderLineAnchor, d->hostScenePos() - pos()));
}

void SignalLabelItem::updateSize()
{
    const QFontMetricsF metrics(d->font);
    qreal width = MinimumTextWidth;
    if (d->label)
        width = std::max(width, metrics.boundingRect(d->label->name()).width());
    width = std::max(width, metrics.boundingRect(d->value).width());
    // A margin of half a unit and at least one more step, so the text never touches the rim.
    const qreal boxWidth = SceneSnap::upWithSlack(width + WidthStep, WidthStep);
    setRect(0.0, 0.0, boxWidth, LabelHeight);
}

void SignalLabelItem::paint(QPainter* pPainter, const QStyleOptionGraphicsItem* pOption, QWidget* pWidget)
{
    Q_UNUSED(pWidget)
    const qreal lod = pOption->levelOfDetailFromTransform(pPainter->worldTransform());
    pPainter->save();
    pPainter->setRenderHint(QPainter::Antialiasing, true);
    pPainter->setRenderHint(QPainter::TextAntialiasing, true);

    QColor background(Qt::yellow);
    if (pOption->state & QStyle::State_Selected)
        background = background.darker(120);
    const QBrush previousBrush = pPainter->brush();
    const QPen previousPen = pPainter->pen();
    pPainter->setBrush(QBrush(background, Qt::SolidPattern));
    pPainter->setPen(cosmeticBlackPen());
    pPainter->drawRoundedRect(rect(), 500.0, 500.0, Qt::AbsoluteSize);
    pPainter->setBrush(previousBrush);
    pPainter->setPen(previousPen);

    if (lod >= BlockCodeScene::DetailThreshold) {
        const QRectF box = rect();
        pPainter->setFont(d->font);
        const qreal ascent = QFontMetricsF(d->font).ascent();
        pPainter->drawText(QPointF(box.left() + 250.0, box.top() + 100.0 + ascent), d->label ? d->label->name() : QString());
        pPainter->drawText(QPointF(box.left() + 250.0, box.bottom() - 100.0), d->value);
    }
    pPainter->restore();
}

void SignalLabelItem::toggleVisibility()
{
    setVisible(!isVisible());
}

void SignalLabelItem::onValueChanged(const QString& value)
{
    d->value = value;
    updateSize();
    update();
}

void SignalLabelItem::onPropertyChanged(const QString& value)
{
    if (value == QLatin1String("Name"))
        updateSize();
}

QVariant SignalLabelItem::itemChange(GraphicsItemChange change, const QVariant& value)
{
    if (!scene())
        return QGraphicsRectItem::itemChange(change, value);

    if (change == ItemPositionChange) {
        // Labels sit on a finer raster than blocks (1000) and nodes (500), so they can be placed
        // between the rows of pins.
        QPointF p = value.toPointF();
        p = SceneSnap::nearest(p, SceneRaster::Label);
        const QPointF hostPos = d->hostScenePos();
        d->leaderLine->setLine(QLineF(LeaderLineAnchor, hostPos - p));
        if (d->label)
            d->label->setOffset((p - hostPos) / 1000.0);
        return p;
    }
    if (change == ItemScenePositionHasChanged) {
        const QRectF frame = scene()->sceneRect();
        const QPointF p = value.toPointF();
        if (!frame.contains(p)) {
            const QPointF clamped(std::clamp(p.x(), frame.left(), frame.right()),
                                  std::clamp(p.y(), frame.top(), frame.bottom()));
            setPos(clamped);
        }
    }
    return QGraphicsRectItem::itemChange(change, value);
}
