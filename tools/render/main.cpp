// zkrender: draws the scene of one hierarchy node into a PNG and an SVG file.
#include "AreaSimulator.h"
#include "BlockCode.h"
#include "BlockInstance.h"
#include "BlockHierarchyNodeScene.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "Project.h"

#include <QApplication>
#include <QGraphicsItem>
#include <QGraphicsRectItem>
#include <QCommandLineParser>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>
#include <QSvgGenerator>
#include <QTextStream>

#include <cmath>
#include <cstdio>
#include <memory>

namespace {

// The view's scale is the zoom factor times this.
constexpr qreal ScalePerZoom = 0.03;
// Around the items, in scene units: half a block row.
constexpr qreal Margin = 500.0;
// A PNG beyond this many pixels a side is refused rather than filling the memory.
constexpr int MaximumSide = 20000;

int fail(const QString& text)
{
    QTextStream(stderr) << "zkrender: " << text << Qt::endl;
    return 1;
}

BlockInstanceHierarchyNode* findNode(Project* project, const QString& path)
{
    const QRegularExpressionMatch match = QRegularExpression(QStringLiteral("^A(\\d+):")).match(path);
    if (match.hasMatch()) {
        BlockInstanceArea* area = BlockInstanceArea::areaForLivingSpace(match.captured(1).toUInt());
        return area && area->hierarchy() ? area->hierarchy()->nodeForPath(path) : nullptr;
    }
    // Without a living space the path is taken in the first area that knows it.
    for (BlockInstanceArea* area : project->areas()) {
        if (BlockInstanceHierarchyNode* node = area->hierarchy() ? area->hierarchy()->nodeForPath(path) : nullptr)
            return node;
    }
    return nullptr;
}

// The bounding rectangle of what the code shows: the scene's background spans the whole frame and
// would make every picture a square kilometre.
QRectF drawnRect(BlockCodeScene* scene)
{
    QRectF rect;
    const QList<QGraphicsItem*> items = scene->items();
    for (QGraphicsItem* item : items) {
        if (item == scene->backgroundItem() || !item->isVisible())
            continue;
        rect |= item->sceneBoundingRect();
    }
    return rect;
}

void renderInto(QPainter* painter, QGraphicsScene* scene, const QRectF& source, const QRectF& target)
{
    painter->setRenderHint(QPainter::Antialiasing, true);
    painter->setRenderHint(QPainter::TextAntialiasing, true);
    scene->render(painter, target, source, Qt::KeepAspectRatio);
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("zkrender"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Draws the scene of a hierarchy node into PNG and SVG files."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("path"), QStringLiteral("Location path of the node, e.g. A1:0 or A1:0.1"));
    const QCommandLineOption projectOption(QStringLiteral("project"), QStringLiteral("Project file (default: the sample)."),
                                           QStringLiteral("file"), QStringLiteral(ZK_SAMPLE_PROJECT));
    const QCommandLineOption modeOption(QStringLiteral("mode"), QStringLiteral("Pin display mode 0..3."),
                                        QStringLiteral("mode"), QStringLiteral("0"));
    const QCommandLineOption cyclesOption(QStringLiteral("cycles"),
                                          QStringLiteral("Go online and run this many simulated cycles (sets mode 3)."),
                                          QStringLiteral("n"), QStringLiteral("0"));
    const QCommandLineOption zoomOption(QStringLiteral("zoom"), QStringLiteral("Zoom factor, 1.0 is 100 %."),
                                        QStringLiteral("factor"), QStringLiteral("1.0"));
    const QCommandLineOption pngOption(QStringLiteral("png"), QStringLiteral("PNG file to write."), QStringLiteral("file"));
    const QCommandLineOption svgOption(QStringLiteral("svg"), QStringLiteral("SVG file to write."), QStringLiteral("file"));
    parser.addOptions({projectOption, modeOption, cyclesOption, zoomOption, pngOption, svgOption});
    parser.process(app);

    const QStringList positional = parser.positionalArguments();
    const QString path = positional.isEmpty() ? QStringLiteral("A1:0") : positional.first();
    bool ok = false;
    int mode = parser.value(modeOption).toInt(&ok);
    if (!ok || mode < 0 || mode > 3)
        return fail(QStringLiteral("--mode must be 0..3"));
    const int cycles = parser.value(cyclesOption).toInt(&ok);
    if (!ok || cycles < 0)
        return fail(QStringLiteral("--cycles must be a count"));
    const qreal zoom = parser.value(zoomOption).toDouble(&ok);
    if (!ok || zoom <= 0)
        return fail(QStringLiteral("--zoom must be positive"));
    if (!parser.isSet(pngOption) && !parser.isSet(svgOption))
        return fail(QStringLiteral("nothing to write: give --png and/or --svg"));

    QString error;
    std::unique_ptr<Project> project(Project::load(parser.value(projectOption), &error));
    if (!project)
        return fail(QStringLiteral("cannot load %1: %2").arg(parser.value(projectOption), error));
    project->activate();

    BlockInstanceHierarchyNode* node = findNode(project.get(), path);
    if (!node)
        return fail(QStringLiteral("no node %1").arg(path));
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(node);
    BlockInstanceArea* area = node->hierarchy() ? node->hierarchy()->area() : nullptr;

    if (cycles > 0) {
        // The source reports a path only when its text changes, and going online runs a first
        // cycle: pins subscribe before that, or a constant signal would never reach them.
        mode = 3;
        scene->showPinsCurrentValue();
        if (!area || !area->setOnline(true))
            return fail(QStringLiteral("the area of %1 cannot go online").arg(path));
        for (int i = 0; i < cycles; ++i)
            area->simulator()->runCycle();
        QCoreApplication::processEvents();
    } else {
        scene->showPinsInMode(mode);
    }

    const QRectF source = drawnRect(scene).adjusted(-Margin, -Margin, Margin, Margin);
    if (source.isEmpty())
        return fail(QStringLiteral("%1 shows nothing").arg(path));
    const qreal scale = zoom * ScalePerZoom;
    const QSize size(int(std::ceil(source.width() * scale)), int(std::ceil(source.height() * scale)));
    if (size.width() > MaximumSide || size.height() > MaximumSide)
        return fail(QStringLiteral("image of %1 x %2 pixels is too large").arg(size.width()).arg(size.height()));
    const QRectF target(QPointF(0, 0), QSizeF(size));

    QTextStream out(stdout);
    out << path << ": " << scene->blockItemMap().size() << " blocks, scene rect " << source.x() << ',' << source.y()
        << ' ' << source.width() << 'x' << source.height() << ", scale " << scale << ", " << size.width() << 'x'
        << size.height() << " px, mode " << scene->pinDisplayMode() << Qt::endl;

    if (parser.isSet(pngOption)) {
        QImage image(size, QImage::Format_ARGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        renderInto(&painter, scene, source, target);
        painter.end();
        if (!image.save(parser.value(pngOption)))
            return fail(QStringLiteral("cannot write %1").arg(parser.value(pngOption)));
    }
    if (parser.isSet(svgOption)) {
        QSvgGenerator generator;
        generator.setFileName(parser.value(svgOption));
        generator.setSize(size);
        generator.setViewBox(target);
        generator.setTitle(path);
        QPainter painter(&generator);
        painter.fillRect(target, Qt::white);
        renderInto(&painter, scene, source, target);
        painter.end();
    }

    if (area && area->isOnline())
        area->setOnline(false);
    return 0;
}
