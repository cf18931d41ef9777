#include "BlockTextLayout.h"

#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockInstance.h"
#include "SceneMetrics.h"

#include <QFont>
#include <QFontMetrics>
#include <QPainter>
#include <QStyleOptionGraphicsItem>
#include <QStringList>
#include <QVariant>

#include <algorithm>
#include <cmath>

namespace {

constexpr qreal HeightMargin = 100.0;

QString numberOrHyphen(unsigned int value)
{
    return value ? QString::number(value) : QStringLiteral("-");
}

qreal snapUp(qreal value)
{
    return SceneSnap::upWithSlack(value, SceneRaster::Block);
}

} // namespace

BlockTextLayout::BlockTextLayout(const BlockInstance* instance, BlockInstanceArea* area, const QFont& font)
{
    const QStringList lines = instance->parameterList(area).toStringList();
    const QFontMetrics metrics(font);
    m_lineSpacing = metrics.lineSpacing();
    m_lineCount = int(lines.size());
    for (const QString& line : lines) {
        m_text += line + QStringLiteral("\r\n");
        m_maxWidth = std::max(m_maxWidth, qreal(metrics.boundingRect(line).width()));
    }
    if (!lines.isEmpty())
        m_text.chop(2);
}

QSizeF BlockTextLayout::fittedSize(qreal widthMargin, const QSizeF& minimum) const
{
    const qreal height = snapUp(m_lineSpacing * m_lineCount + HeightMargin);
    const qreal width = snapUp(widthMargin + m_maxWidth);
    return QSizeF(std::max(width, minimum.width()), std::max(height, minimum.height()));
}

QString BlockTextLayout::runtimeText(const BlockInstance* instance)
{
    BlockCode* code = instance ? instance->ownerCode() : nullptr;
    if (!code)
        return QString();
    const unsigned int realtime = code->realtime(instance->identifier());
    const unsigned int background = code->background(instance->identifier());
    if (realtime == 0 && background == 0)
        return QString();
    return numberOrHyphen(realtime) + QLatin1Char('/') + numberOrHyphen(background);
}

bool BlockTextLayout::paintBox(QPainter* painter, const QStyleOptionGraphicsItem* option, const QRectF& box,
                               const QFont& font)
{
    const qreal lod = option->levelOfDetailFromTransform(painter->worldTransform());
    painter->setRenderHint(QPainter::Antialiasing, false);
    painter->setRenderHint(QPainter::TextAntialiasing, true);
    QColor background = Qt::white;
    if (option->state & QStyle::State_Selected)
        background = background.darker(120);
    QPen outline(Qt::black, 0);
    outline.setCosmetic(true);
    painter->setBrush(QBrush(background, Qt::SolidPattern));
    painter->setPen(outline);
    painter->drawRect(box);
    if (lod < BlockCodeScene::DetailThreshold)
        return false;
    painter->setFont(font);
    painter->setPen(QPen(Qt::black));
    painter->setBrush(Qt::NoBrush);
    return true;
}
