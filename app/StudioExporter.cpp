#include "StudioExporter.h"

#include "BlockCodeScene.h"
#include "BlockCodeView.h"
#include "SceneMetrics.h"

#include <QApplication>
#include <QFileInfo>
#include <QGraphicsItemGroup>
#include <QGraphicsScene>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QPrinter>
#include <QSvgGenerator>
#include <QtMath>

#include <algorithm>

namespace {

// Scene units around the drawing in a fitted view and in exported pictures.
constexpr double kDrawingMargin = 1000.0;
// Pictures are written at twice the size of the 100 % view, capped so that a sprawling level
// still makes a file that image viewers open.
constexpr double kExportScale = 2.0 * BlockCodeView::BaseScale;
constexpr double kMaximumExportSide = 8000.0;
// Pages show the code at least as large as the 100 % view: below that, the items leave out their
// texts, and a page of boxes without names helps nobody. A level too wide for one sheet is printed
// on several.
constexpr double kReadablePageScale = BlockCodeView::BaseScale;
constexpr double kLargestPageScale = 2.0 * BlockCodeView::BaseScale;
constexpr double kPageMarginMillimetres = 10.0;

bool fail(QString* error, const QString& text)
{
    if (error)
        *error = text;
    return false;
}

// The pixels of a picture of `source`.
QSize pictureSize(const QRectF& source)
{
    const double scale = std::min(kExportScale, kMaximumExportSide / std::max(source.width(), source.height()));
    return QSize(qCeil(source.width() * scale), qCeil(source.height() * scale));
}

// Draws the scene without the user's selection, which is a state of the view, not of the code.
void renderScene(QGraphicsScene* scene, QPainter* painter, const QRectF& target, const QRectF& source)
{
    const QList<QGraphicsItem*> selected = scene->selectedItems();
    const bool blocked = scene->blockSignals(true);
    for (QGraphicsItem* item : selected)
        item->setSelected(false);
    painter->setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
    scene->render(painter, target, source, Qt::KeepAspectRatio);
    for (QGraphicsItem* item : selected)
        item->setSelected(true);
    scene->blockSignals(blocked);
}

} // namespace

StudioExporter::StudioExporter(QGraphicsScene* scene, int resolution, const QString& title)
    : m_scene(scene)
    , m_resolution(resolution)
    , m_title(title)
{
}

QRectF StudioExporter::drawingRect(QGraphicsScene* scene)
{
    if (!scene)
        return QRectF();
    auto* codeScene = dynamic_cast<BlockCodeScene*>(scene);
    QRectF rect;
    const QList<QGraphicsItem*> items = scene->items();
    for (QGraphicsItem* item : items) {
        if (item->parentItem() || !item->isVisible())
            continue;
        if ((codeScene && item == codeScene->backgroundItem()) || dynamic_cast<QGraphicsItemGroup*>(item)
            || item->zValue() <= SceneZ::GridSheet)
            continue;
        rect |= item->sceneBoundingRect() | item->mapRectToScene(item->childrenBoundingRect());
    }
    if (rect.isEmpty())
        return QRectF();
    return rect.adjusted(-kDrawingMargin, -kDrawingMargin, kDrawingMargin, kDrawingMargin);
}

bool StudioExporter::exportTo(const QString& path, QString* error) const
{
    if (!m_scene)
        return fail(error, tr("Es ist kein Code geöffnet."));
    const QRectF source = drawingRect(m_scene);
    if (source.isEmpty())
        return fail(error, tr("Die Ebene enthält nichts zu zeigen."));
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("png"))
        return writePng(path, source, error);
    if (suffix == QLatin1String("svg"))
        return writeSvg(path, source, error);
    if (suffix == QLatin1String("pdf"))
        return writePdf(path, source, error);
    return fail(error, tr("Unbekanntes Dateiformat: %1").arg(path));
}

bool StudioExporter::writePng(const QString& path, const QRectF& source, QString* error) const
{
    const QSize size = pictureSize(source);
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    const int dotsPerMeter = qRound(m_resolution / 0.0254);
    image.setDotsPerMeterX(dotsPerMeter);
    image.setDotsPerMeterY(dotsPerMeter);
    image.fill(Qt::white);
    QPainter painter(&image);
    renderScene(m_scene, &painter, QRectF(QPointF(0, 0), QSizeF(size)), source);
    painter.end();
    if (!image.save(path, "PNG"))
        return fail(error, tr("%1 kann nicht geschrieben werden.").arg(path));
    return true;
}

bool StudioExporter::writeSvg(const QString& path, const QRectF& source, QString* error) const
{
    const QSize size = pictureSize(source);
    const QRectF target(QPointF(0, 0), QSizeF(size));
    QSvgGenerator generator;
    generator.setFileName(path);
    generator.setSize(size);
    generator.setViewBox(QRect(QPoint(0, 0), size));
    generator.setTitle(m_title);
    generator.setDescription(tr("Bausteincode, exportiert aus dem Zerkanta Bausteinstudio"));
    generator.setResolution(m_resolution);
    QPainter painter;
    if (!painter.begin(&generator))
        return fail(error, tr("%1 kann nicht geschrieben werden.").arg(path));
    painter.fillRect(target, Qt::white);
    renderScene(m_scene, &painter, target, source);
    painter.end();
    return QFileInfo(path).size() > 0 || fail(error, tr("%1 kann nicht geschrieben werden.").arg(path));
}

bool StudioExporter::writePdf(const QString& path, const QRectF& source, QString* error) const
{
    // One sheet as large as the drawing at the 100 % view, so that the file shows the whole level
    // legibly; never smaller than A4.
    const double millimetresPerUnit = kReadablePageScale / m_resolution * 25.4;
    const QSizeF a4 = QPageSize(QPageSize::A4).size(QPageSize::Millimeter);
    const QSizeF drawing(source.width() * millimetresPerUnit + 2 * kPageMarginMillimetres,
                         source.height() * millimetresPerUnit + 2 * kPageMarginMillimetres + 12.0);
    const bool landscape = drawing.width() >= drawing.height();
    const QSizeF minimum = landscape ? a4.transposed() : a4;
    const QSizeF sheet(std::max(drawing.width(), minimum.width()), std::max(drawing.height(), minimum.height()));
    QPdfWriter writer(path);
    writer.setTitle(m_title);
    writer.setCreator(tr("Zerkanta Bausteinstudio"));
    writer.setResolution(m_resolution);
    writer.setPageLayout(QPageLayout(QPageSize(sheet, QPageSize::Millimeter, QString(), QPageSize::ExactMatch),
                                     QPageLayout::Portrait,
                                     QMarginsF(kPageMarginMillimetres, kPageMarginMillimetres, kPageMarginMillimetres,
                                               kPageMarginMillimetres),
                                     QPageLayout::Millimeter));
    QPainter painter;
    if (!painter.begin(&writer))
        return fail(error, tr("%1 kann nicht geschrieben werden.").arg(path));
    const bool ok = paintPages(&writer, &painter, false);
    painter.end();
    return ok || fail(error, tr("Die Ebene enthält nichts zu zeigen."));
}

bool StudioExporter::print(QPrinter* printer) const
{
    if (!printer || !m_scene)
        return false;
    const QRectF source = drawingRect(m_scene);
    printer->setPageOrientation(source.width() >= source.height() ? QPageLayout::Landscape : QPageLayout::Portrait);
    printer->setDocName(m_title);
    printer->setResolution(m_resolution);
    QPainter painter;
    if (!painter.begin(printer))
        return false;
    const bool ok = paintPages(printer, &painter, true);
    painter.end();
    return ok;
}

bool StudioExporter::paintPages(QPagedPaintDevice* device, QPainter* painter, bool severalSheets) const
{
    const QRectF source = drawingRect(m_scene);
    if (source.isEmpty())
        return false;

    const QRectF page(0, 0, device->width(), device->height());
    QFont font = QApplication::font();
    font.setPointSizeF(11.0);
    font.setBold(true);
    const QFontMetricsF metrics(font, device);
    const double titleHeight = metrics.height() * 1.8;
    const QRectF area(page.left(), page.top() + titleHeight, page.width(), page.height() - titleHeight);
    if (area.width() <= 0 || area.height() <= 0)
        return false;

    // Device units per scene unit: the page's resolution is the screen's.
    double scale = std::min(area.width() / source.width(), area.height() / source.height());
    scale = std::min(scale, kLargestPageScale);
    if (severalSheets && scale < kReadablePageScale)
        scale = kReadablePageScale;
    const double tileWidth = area.width() / scale;
    const double tileHeight = area.height() / scale;
    const int columns = std::max(1, qCeil(source.width() / tileWidth - 1e-9));
    const int rows = std::max(1, qCeil(source.height() / tileHeight - 1e-9));
    const int sheets = columns * rows;

    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const int sheet = row * columns + column + 1;
            if (sheet > 1 && !device->newPage())
                return false;
            painter->setFont(font);
            painter->setPen(Qt::black);
            const QString text = sheets > 1 ? tr("%1 (Blatt %2 von %3)").arg(m_title).arg(sheet).arg(sheets) : m_title;
            painter->drawText(QRectF(page.left(), page.top(), page.width(), titleHeight), Qt::AlignLeft | Qt::AlignTop,
                              metrics.elidedText(text, Qt::ElideMiddle, page.width()));

            const QRectF tile = QRectF(source.left() + column * tileWidth, source.top() + row * tileHeight, tileWidth, tileHeight)
                                    .intersected(source);
            QRectF target(area.topLeft(), tile.size() * scale);
            if (sheets == 1)
                target.moveLeft(area.left() + (area.width() - target.width()) / 2.0);
            painter->save();
            painter->setClipRect(target);
            renderScene(m_scene, painter, target, tile);
            painter->restore();
        }
    }
    return true;
}
