// Costs of the code scene on synthetic codes: building and updating the items, painting at the
// zooms a user works at, hit tests, selecting and moving everything, tearing down, and memory.
// The floor beside each figure is the same tree of items (same counts, same parents, same index
// method) made of plain toolkit items in a plain QGraphicsScene, doing the nearest work a bare
// program would do. The floor items draw outlines only: block and pin texts have no plain
// counterpart in a tree of the same shape.
//   QT_QPA_PLATFORM=offscreen ./build/bench/bench_scene [sizes...]
#include "BenchProject.h"
#include "BenchTable.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockHierarchyNodeScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibraryContainer.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockSymbol.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "Project.h"

#include <QApplication>
#include <QGraphicsLineItem>
#include <QGraphicsPathItem>
#include <QGraphicsRectItem>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QHash>
#include <QPainterPath>
#include <QPen>
#include <QScrollBar>

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace {

constexpr qreal ViewScale = 0.03;
// Every code scene spans a thousand model units each way; the blocks stay inside this part of it.
constexpr qreal Room = 960.0;

// Blocks stand in rows on a raster: 12 by 6 model units leave room for the stubs and the corners
// of the wires; a code too large for that raster gets a finer one (down to 6 by 3, where stubs
// and blocks of neighbours overlap), as every block must stand inside the scene.
struct Layout
{
    qreal columnStep = 12.0;
    qreal rowStep = 6.0;
    int columns = 80;

    static Layout forCount(int n)
    {
        Layout layout;
        while (layout.columnStep > 6.0
               && qreal((n + layout.columns - 1) / layout.columns) * layout.rowStep > Room) {
            layout.columnStep /= 2;
            layout.rowStep /= 2;
            layout.columns = int(Room / layout.columnStep);
        }
        return layout;
    }

    QPointF placeOf(int i) const { return QPointF((i % columns) * columnStep, (i / columns) * rowStep); }
    QSizeF extent(int n) const
    {
        return QSizeF(std::min(n, columns) * columnStep, ((n + columns - 1) / columns) * rowStep) * 1000.0;
    }
};
constexpr qreal TextZoom = BlockCodeScene::DetailThreshold / ViewScale;

struct Fixture : BenchProject
{
    Fixture() { project->activate(); }

    BlockInstanceHierarchyNode* root() const { return area->hierarchy()->rootNode(); }

    Layout layout;

    BlockInstance* add(int i, BlockInstance* previous)
    {
        BlockInstance* instance = ModelBuilder::place(code(), andDef, layout.placeOf(i));
        if (previous) {
            // Output A (pin 3, first output row) of the previous block to input E2 (pin 2, second
            // input row) of this one, with two corners between them.
            const QPointF from = previous->position() + QPointF(4 + 3, 0.5);
            const QPointF to = instance->position() + QPointF(-3, 1.5);
            const qreal middle = from.x() + 1;
            ModelBuilder::wire(code(), previous, 3, instance, 2,
                               {from, QPointF(middle, from.y()), QPointF(middle, to.y()), to});
        }
        return instance;
    }

    // N blocks of three pins; every block but the first takes one connection from the one before,
    // with two corner nodes.
    void fill(int n)
    {
        layout = Layout::forCount(n);
        code()->clear();
        const bool blocked = code()->blockChangeSignals(true);
        BlockInstance* previous = nullptr;
        for (int i = 0; i < n; ++i)
            previous = add(i, previous);
        code()->blockChangeSignals(blocked);
    }
};

// The bare floor: the same tree of items as the scene makes, of plain toolkit items.
struct Floor
{
    struct Link
    {
        QGraphicsPathItem* path = nullptr;
        QGraphicsRectItem* source = nullptr;
        QGraphicsRectItem* corners[2] = {nullptr, nullptr};
        QGraphicsRectItem* target = nullptr;
        // Without end nodes the route ends at the tips of these.
        QGraphicsLineItem* sourcePin = nullptr;
        QGraphicsLineItem* targetPin = nullptr;
    };

    std::unique_ptr<QGraphicsScene> scene;
    QList<QGraphicsRectItem*> blocks;
    QList<Link> links;
    // The slim tree has seven items a block: the block, three pins, a connection and its two
    // corners; no markers, no label hosts, no end nodes.
    bool slim = false;

    static QPen cosmetic(const QColor& colour)
    {
        QPen pen(colour, 0);
        pen.setCosmetic(true);
        return pen;
    }

    void build(BlockCode* code)
    {
        scene = std::make_unique<QGraphicsScene>();
        scene->setSceneRect(BlockCodeScene::SceneOrigin, BlockCodeScene::SceneOrigin, BlockCodeScene::SceneExtent,
                            BlockCodeScene::SceneExtent);
        scene->setItemIndexMethod(QGraphicsScene::NoIndex);
        auto* background = new QGraphicsRectItem(0, 0, BlockCodeScene::SceneExtent, BlockCodeScene::SceneExtent);
        background->setPen(QPen(QColor(0, 0, 0, 0)));
        background->setZValue(-10000);
        scene->addItem(background);
        blocks.clear();
        links.clear();
        QHash<const BlockPinInstance*, QGraphicsLineItem*> pinItems;
        for (BlockInstance* instance : code->instances())
            addBlock(instance, &pinItems);
        for (BlockPinConnection* connection : code->connections())
            addLink(connection, pinItems);
    }

    QGraphicsRectItem* addBlock(BlockInstance* instance, QHash<const BlockPinInstance*, QGraphicsLineItem*>* pinItems)
    {
        const QSizeF size = instance->symbol()->size() * 1000.0;
        auto* block = new QGraphicsRectItem(0, 0, size.width(), size.height());
        block->setFlags(QGraphicsItem::ItemIsSelectable | QGraphicsItem::ItemSendsGeometryChanges);
        block->setBrush(Qt::white);
        block->setPen(cosmetic(Qt::black));
        block->setPos(instance->position() * 1000.0);
        block->setZValue(-2.0);
        scene->addItem(block);
        const QList<int> inputs = instance->symbol()->inputPins();
        const QList<int> outputs = instance->symbol()->outputPins();
        for (BlockPinInstance* pin : instance->pins()) {
            auto* line = new QGraphicsLineItem(0, 0, 3000, 0, block);
            line->setFlag(QGraphicsItem::ItemIsSelectable);
            line->setPen(cosmetic(Qt::darkGreen));
            line->setZValue(-3.0);
            const qsizetype in = inputs.indexOf(pin->identifier());
            if (in >= 0) {
                line->setPos(0, (in + 0.5) * 1000.0);
                line->setRotation(180);
            } else {
                line->setPos(size.width(), (outputs.indexOf(pin->identifier()) + 0.5) * 1000.0);
            }
            for (qreal x : {2750.0, 2500.0, 2250.0}) {
                if (slim)
                    break;
                auto* child = new QGraphicsRectItem(-75, -75, 150, 150, line);
                child->setPos(x, 0);
                child->setVisible(false);
            }
            if (pinItems)
                pinItems->insert(pin, line);
        }
        blocks.append(block);
        return block;
    }

    static QGraphicsRectItem* node(QGraphicsItem* parent, QPointF pos)
    {
        auto* item = new QGraphicsRectItem(-100, -100, 200, 200, parent);
        item->setFlag(QGraphicsItem::ItemIsSelectable);
        item->setPen(Qt::NoPen);
        item->setPos(pos);
        item->setZValue(1.1);
        return item;
    }

    void addLink(BlockPinConnection* connection, const QHash<const BlockPinInstance*, QGraphicsLineItem*>& pinItems)
    {
        Link link;
        link.path = new QGraphicsPathItem;
        link.path->setFlag(QGraphicsItem::ItemIsSelectable);
        link.path->setPen(cosmetic(Qt::black));
        link.path->setZValue(1.0);
        scene->addItem(link.path);
        const QList<QPointF> points = connection->nodePositions();
        link.sourcePin = pinItems.value(connection->source());
        link.targetPin = pinItems.value(connection->target());
        if (!slim)
            link.source = node(link.sourcePin, QPointF(3000, 0));
        for (int i = 0; i < 2; ++i)
            link.corners[i] = node(link.path, points.value(i + 1) * 1000.0);
        if (!slim)
            link.target = node(link.targetPin, QPointF(3000, 0));
        refresh(link);
        links.append(link);
    }

    static void refresh(const Link& link)
    {
        QPainterPath path(link.source ? link.source->scenePos() : link.sourcePin->mapToScene(3000, 0));
        for (QGraphicsItem* corner : link.corners)
            path.lineTo(corner->scenePos());
        path.lineTo(link.target ? link.target->scenePos() : link.targetPin->mapToScene(3000, 0));
        link.path->setPath(path);
    }

    void refreshAll()
    {
        for (const Link& link : std::as_const(links))
            refresh(link);
    }
};

size_t heapInUse()
{
    return mallinfo2().uordblks;
}

struct Viewer
{
    QGraphicsView view;

    Viewer()
    {
        view.resize(1280, 800);
        view.show();
        view.activateWindow();
        QApplication::processEvents();
    }

    void show(QGraphicsScene* scene)
    {
        view.setScene(scene);
        QApplication::processEvents();
    }

    void setZoom(qreal zoom, QPointF centre)
    {
        view.setTransform(QTransform::fromScale(zoom * ViewScale, zoom * ViewScale));
        view.centerOn(centre);
    }

    void paint() { view.viewport()->repaint(); }
};

// The zoom at which the whole code fits the view.
qreal fitZoom(const Layout& layout, int n)
{
    const QSizeF extent = layout.extent(n);
    const qreal scale = std::min(1280.0 / extent.width(), 800.0 / extent.height());
    return scale / ViewScale * 0.95;
}

QPointF codeCentre(const Layout& layout, int n)
{
    const QSizeF extent = layout.extent(n);
    return QPointF(extent.width() / 2, extent.height() / 2);
}

// A point inside the body of a block and one on the stub of its output, in the middle of the code:
// the last block of a row, whose stub no neighbour covers.
QPointF blockPoint(const Layout& layout, int n)
{
    const int i = std::min(n - 1, (n / 2) / layout.columns * layout.columns + layout.columns - 1);
    return layout.placeOf(i) * 1000.0 + QPointF(2000, 1500);
}

QPointF pinPoint(const Layout& layout, int n)
{
    const int i = std::min(n - 1, (n / 2) / layout.columns * layout.columns + layout.columns - 1);
    return layout.placeOf(i) * 1000.0 + QPointF(4000 + 1500, 500);
}

QGraphicsItem* firstBlockAt(QGraphicsScene* scene, QPointF p)
{
    for (QGraphicsItem* item : scene->items(p, Qt::IntersectsItemShape, Qt::DescendingOrder, QTransform())) {
        if (dynamic_cast<QGraphicsRectItem*>(item) && !item->parentItem() && item->zValue() == -2.0)
            return item;
    }
    return nullptr;
}

QGraphicsItem* firstPinAt(QGraphicsScene* scene, QPointF p)
{
    for (QGraphicsItem* item : scene->items(p, Qt::IntersectsItemShape, Qt::DescendingOrder, QTransform())) {
        if (item->isVisible() && dynamic_cast<QGraphicsLineItem*>(item))
            return item;
    }
    return nullptr;
}

// What a drag of the selection moves: every selected item without a selected ancestor.
QList<QGraphicsItem*> movingItems(QGraphicsScene* scene)
{
    QList<QGraphicsItem*> result;
    for (QGraphicsItem* item : scene->selectedItems()) {
        bool ancestorSelected = false;
        for (QGraphicsItem* p = item->parentItem(); p; p = p->parentItem()) {
            if (p->isSelected()) {
                ancestorSelected = true;
                break;
            }
        }
        if (!ancestorSelected)
            result.append(item);
    }
    return result;
}

BenchResult kilobytes(double value)
{
    return {value / 1024.0, value / 1024.0};
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QList<int> sizes{100, 1000, 5000, 50000};
    if (argc > 1) {
        sizes.clear();
        for (int i = 1; i < argc; ++i)
            sizes.append(QByteArray(argv[i]).toInt());
    }
    Fixture fixture;
    Viewer viewer;
    printHeader();
    for (int n : sizes) {
        const int runs = n >= 50000 ? 3 : 7;
        const int paintRuns = n >= 50000 ? 5 : 11;
        fixture.fill(n);
        BlockCode* code = fixture.code();
        BlockInstanceHierarchyNode* root = fixture.root();
        viewer.show(nullptr);
        delete root->blockHierarchyNodeScene();

        // First build, and tearing down, alternately; memory is taken from the first build and its
        // first paint.
        BlockHierarchyNodeScene* scene = nullptr;
        QList<double> deletes;
        double memory = 0;
        // A scene that was shown has had its items polished; one torn down before that would pay
        // for a search through the list of unpolished items per item.
        const auto settle = [](QGraphicsScene* s) { QCoreApplication::sendPostedEvents(s, QEvent::MetaCall); };
        const BenchResult build = measure(runs, [&] {
            if (scene) {
                settle(scene);
                QElapsedTimer timer;
                timer.start();
                delete scene;
                deletes.append(double(timer.nsecsElapsed()) / 1e6);
                scene = nullptr;
            }
        }, [&] { scene = BlockHierarchyNodeScene::forNode(root); });
        settle(scene);
        delete scene;
        const size_t heapBefore = heapInUse();
        scene = BlockHierarchyNodeScene::forNode(root);
        viewer.show(scene);
        viewer.setZoom(fitZoom(fixture.layout, n), codeCentre(fixture.layout, n));
        viewer.paint();
        memory = double(heapInUse() - heapBefore) / n;
        viewer.show(nullptr);
        delete scene;
        scene = nullptr;

        Floor floor;
        QList<double> floorDeletes;
        const BenchResult floorBuild = measure(runs, [&] {
            if (floor.scene) {
                settle(floor.scene.get());
                QElapsedTimer timer;
                timer.start();
                floor.scene.reset();
                floorDeletes.append(double(timer.nsecsElapsed()) / 1e6);
            }
        }, [&] { floor.build(code); });
        settle(floor.scene.get());
        floor.scene.reset();
        const size_t floorHeapBefore = heapInUse();
        floor.build(code);
        viewer.show(floor.scene.get());
        viewer.setZoom(fitZoom(fixture.layout, n), codeCentre(fixture.layout, n));
        viewer.paint();
        const double floorMemory = double(heapInUse() - floorHeapBefore) / n;
        printRow("first build (forNode of the root node)", n, build, floorBuild);

        scene = BlockHierarchyNodeScene::forNode(root);
        if (scene->items().size() != floor.scene->items().size())
            std::printf("!! item counts differ: scene %lld, floor %lld\n", qlonglong(scene->items().size()),
                        qlonglong(floor.scene->items().size()));
        viewer.show(scene);
        if (!scene->isActive())
            std::printf("!! scene not active: deleted blocks would stay\n");

        // Updates after one change of the model, each from a settled scene (shown and painted).
        // What the update leaves to the event loop is the repaint, measured below.
        const auto update = [&] { scene->rebuild(); };
        BlockInstance* moving = code->instances().at(n / 2);
        int step = 0;
        const BenchResult moved = measure(runs, [&] {
            QApplication::processEvents();
            const bool blocked = code->blockChangeSignals(true);
            moving->setPosition(moving->position() + QPointF(step++ % 2 ? -1 : 1, 0));
            code->blockChangeSignals(blocked);
        }, update);
        QGraphicsRectItem* floorMoving = floor.blocks.at(n / 2);
        step = 0;
        const BenchResult floorMoved = measure(runs, [&] { QApplication::processEvents(); }, [&] {
            floorMoving->moveBy(step++ % 2 ? -1000 : 1000, 0);
            floor.refresh(floor.links.at(n / 2 - 1));
            floor.refresh(floor.links.at(n / 2));
        });
        printRow("rebuild after one instance moved", n, moved, floorMoved);

        QList<unsigned int> added;
        const BenchResult add = measure(runs, [&] {
            QApplication::processEvents();
            const bool blocked = code->blockChangeSignals(true);
            BlockInstance* instance = fixture.add(n + int(added.size()), code->instances().last());
            added.append(instance->identifier());
            code->blockChangeSignals(blocked);
        }, update);
        QList<QGraphicsRectItem*> floorAdded;
        const BenchResult floorAdd = measure(runs, [&] { QApplication::processEvents(); }, [&] {
            floorAdded.append(floor.addBlock(code->instance(added.at(floorAdded.size())), nullptr));
        });
        printRow("rebuild after one instance added", n, add, floorAdd);

        const BenchResult remove = measure(runs, [&] {
            QApplication::processEvents();
            const bool blocked = code->blockChangeSignals(true);
            code->deleteInstance(added.takeLast());
            code->blockChangeSignals(blocked);
        }, update);
        const BenchResult floorRemove = measure(runs, [&] { QApplication::processEvents(); },
                                                [&] { delete floorAdded.takeLast(); });
        printRow("rebuild after one instance deleted", n, remove, floorRemove);

        // Painting. Each figure is one full repaint of the 1280x800 viewport.
        const auto paintAt = [&](QGraphicsScene* s, qreal zoom) {
            viewer.show(s);
            viewer.setZoom(zoom, codeCentre(fixture.layout, n));
            viewer.paint();
            return measure(paintRuns, nullptr, [&] { viewer.paint(); });
        };
        const struct
        {
            const char* what;
            qreal zoom;
        } zooms[] = {{"repaint at fit zoom", fitZoom(fixture.layout, n)},
                     {"repaint at 100 %", 1.0},
                     {"repaint where texts appear", TextZoom}};
        QList<BenchResult> barePaints;
        for (const auto& z : zooms) {
            const BenchResult ours = paintAt(scene, z.zoom);
            const BenchResult bare = paintAt(floor.scene.get(), z.zoom);
            barePaints.append(bare);
            printRow(z.what, n, ours, bare);
        }
        // How much of a paint the tree's size costs: the same paints of a bare tree of seven items
        // a block, against the bare tree of the scene's shape (its ratio is slim / full).
        {
            Floor slimFloor;
            slimFloor.slim = true;
            slimFloor.build(code);
            for (int i = 0; i < 2; ++i) {
                const BenchResult slimPaint = paintAt(slimFloor.scene.get(), zooms[i].zoom);
                printRow(i == 0 ? "bare 7-item tree: repaint at fit zoom" : "bare 7-item tree: repaint at 100 %", n,
                         slimPaint, barePaints.at(i));
            }
            viewer.show(nullptr);
        }

        const auto scrollSteps = [&](QGraphicsScene* s) {
            viewer.show(s);
            viewer.setZoom(1.0, codeCentre(fixture.layout, n));
            viewer.paint();
            int i = 0;
            return measure(paintRuns, nullptr, [&] {
                QScrollBar* bar = viewer.view.horizontalScrollBar();
                bar->setValue(bar->value() + (i++ % 2 ? -40 : 40));
                viewer.paint();
            });
        };
        const BenchResult scroll = scrollSteps(scene);
        printRow("scroll step of 40 px at 100 %, with paint", n, scroll, scrollSteps(floor.scene.get()));

        const auto zoomSteps = [&](QGraphicsScene* s) {
            viewer.show(s);
            viewer.setZoom(1.0, codeCentre(fixture.layout, n));
            viewer.paint();
            int i = 0;
            return measure(paintRuns, nullptr, [&] {
                const qreal factor = i++ % 2 ? 1 / 1.25 : 1.25;
                viewer.view.scale(factor, factor);
                viewer.paint();
            });
        };
        const BenchResult zoom = zoomSteps(scene);
        printRow("zoom step x1.25 at 100 %, with paint", n, zoom, zoomSteps(floor.scene.get()));

        // Hit tests in the middle of the code.
        const int hits = 20;
        const QPointF onBlock = blockPoint(fixture.layout, n);
        const QPointF onPin = pinPoint(fixture.layout, n);
        const BenchResult blockHit = measure(hits, nullptr, [&] { (void)scene->blockItemAt(onBlock); });
        const BenchResult floorBlockHit = measure(hits, nullptr, [&] { (void)firstBlockAt(floor.scene.get(), onBlock); });
        if (!scene->blockItemAt(onBlock) || !firstBlockAt(floor.scene.get(), onBlock))
            std::printf("!! block hit test missed\n");
        printRow("blockItemAt", n, blockHit, floorBlockHit);
        const BenchResult pinHit = measure(hits, nullptr, [&] { (void)scene->pinItemAt(onPin); });
        const BenchResult floorPinHit = measure(hits, nullptr, [&] { (void)firstPinAt(floor.scene.get(), onPin); });
        if (!scene->pinItemAt(onPin) || !firstPinAt(floor.scene.get(), onPin))
            std::printf("!! pin hit test missed\n");
        printRow("pinItemAt", n, pinHit, floorPinHit);

        // Select all, then the whole selection one raster step to the right and back, as a drag
        // of the selection does it: the model is written item by item under blocked signals, and
        // one change signal afterwards brings the rebuild.
        viewer.show(scene);
        viewer.setZoom(1.0, codeCentre(fixture.layout, n));
        const BenchResult selectAll = measure(runs, [&] {
            scene->clearSelection();
            QApplication::processEvents();
        }, [&] { scene->selectAllItems(); });
        const auto floorSelectAll = [&] {
            for (QGraphicsItem* item : floor.scene->items(Qt::DescendingOrder)) {
                if ((item->parentItem() == nullptr && item->zValue() == -2.0)
                    || (dynamic_cast<QGraphicsRectItem*>(item) && item->zValue() == 1.1))
                    item->setSelected(true);
            }
        };
        viewer.show(floor.scene.get());
        const BenchResult floorSelect = measure(runs, [&] {
            floor.scene->clearSelection();
            QApplication::processEvents();
        }, floorSelectAll);
        printRow("Ctrl+A (select all blocks and nodes)", n, selectAll, floorSelect);

        viewer.show(scene);
        step = 0;
        BlockInstance* probe = code->instances().at(n / 2 + 1);
        const QPointF probeBefore = probe->position();
        const BenchResult groupMove = measure(runs, [&] { QApplication::processEvents(); }, [&] {
            const qreal dx = step++ % 2 ? -1000 : 1000;
            const bool blocked = code->blockChangeSignals(true);
            for (QGraphicsItem* item : movingItems(scene))
                item->moveBy(dx, 0);
            code->blockChangeSignals(blocked);
            code->sendBlockedChangeSignal();
        });
        viewer.show(floor.scene.get());
        step = 0;
        const BenchResult floorGroupMove = measure(runs, [&] { QApplication::processEvents(); }, [&] {
            const qreal dx = step++ % 2 ? -1000 : 1000;
            for (QGraphicsItem* item : movingItems(floor.scene.get()))
                item->moveBy(dx, 0);
            floor.refreshAll();
        });
        printRow("move all selected by one raster step", n, groupMove, floorGroupMove);
        // An odd number of steps there and back leaves everything one unit to the right.
        if (probe->position() != probeBefore + QPointF(1, 0))
            std::printf("!! group move did not reach the model\n");

        viewer.show(nullptr);
        std::sort(deletes.begin(), deletes.end());
        std::sort(floorDeletes.begin(), floorDeletes.end());
        printRow("delete the scene", n, {deletes.value(deletes.size() / 2), deletes.value(deletes.size() - 1)},
                 {floorDeletes.value(floorDeletes.size() / 2), floorDeletes.value(floorDeletes.size() - 1)});
        printRow("memory per block after first paint (KB)", n, kilobytes(memory), kilobytes(floorMemory));
        delete scene;
        floor.scene.reset();
    }
    return 0;
}
