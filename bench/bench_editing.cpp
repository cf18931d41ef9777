#include "BenchProject.h"
#include "BenchTable.h"

#include "BlockCode.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "CreateConnectionCommand.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QLineF>
#include <QGraphicsRectItem>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QKeyEvent>
#include <QMimeData>
#include <QUndoStack>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <utility>
#include <memory>

// Editing at the size of a large definition: the gestures a user makes on a selection of N
// blocks, each beside the same model calls without the component (or, where the component makes
// no model call, a bare toolkit scene doing the same to N items), measured in the same run.
//   QT_QPA_PLATFORM=offscreen ./build/bench/bench_editing [N...]
namespace {

constexpr int Runs = 5;

// N ANDs in rows of 50, each wired to the next through two corners.
struct EditingCode
{
    BenchProject bench;
    BlockDefinitionScene* scene = nullptr;
    std::unique_ptr<QGraphicsView> view;

    // The floor's code has no scene: the same model calls without the component.
    explicit EditingCode(int n, bool withScene = true)
    {
        BlockCode* code = bench.code();
        BlockInstance* previous = nullptr;
        for (int i = 0; i < n; ++i) {
            BlockInstance* instance = code->createInstanceInRealtimeTask(bench.andDef);
            const QPointF at(double(i % 50) * 6.0, double(i / 50) * 5.0);
            instance->setPosition(at);
            // From the output of the one before to the first input, with two corners; the ends
            // find their pins when the scene draws them.
            if (previous) {
                const QPointF from = previous->position();
                ModelBuilder::wire(code, previous, 3, instance, 1,
                                   {from + QPointF(4, 1), from + QPointF(4.5, 1), QPointF(from.x() + 4.5, at.y() + 2),
                                    at + QPointF(0, 1)});
            }
            previous = instance;
        }
        bench.project->activate();
        if (!withScene)
            return;
        scene = BlockDefinitionScene::forCode(code);
        scene->setReadOnly(false);
        // In a window, as a user has it: the scene is active, and each gesture's event-loop pass
        // includes the drawing.
        view = std::make_unique<QGraphicsView>(scene);
        view->resize(1200, 800);
        view->show();
        QCoreApplication::processEvents();
    }

    QList<unsigned int> identifiers() const
    {
        QList<unsigned int> ids;
        const QList<BlockInstance*> instances = bench.code()->instances();
        for (BlockInstance* instance : instances)
            ids.append(instance->identifier());
        return ids;
    }
};

void sendKey(QGraphicsScene* scene, int key, Qt::KeyboardModifiers modifiers)
{
    QKeyEvent press(QEvent::KeyPress, key, modifiers);
    QApplication::sendEvent(scene, &press);
}

// The bare toolkit doing what Ctrl+A and a key move do to as many items: N blocks and the four
// nodes of each wire.
struct BareScene
{
    QGraphicsScene scene;
    explicit BareScene(int n)
    {
        for (int i = 0; i < n; ++i) {
            const QPointF at(double(i % 50) * 6000.0, double(i / 50) * 5000.0);
            auto* item = scene.addRect(0, 0, 4000, 3000);
            item->setFlag(QGraphicsItem::ItemIsSelectable);
            item->setPos(at);
            if (i == 0)
                continue;
            for (int node = 0; node < 4; ++node) {
                auto* handle = scene.addRect(-100, -100, 200, 200);
                handle->setFlag(QGraphicsItem::ItemIsSelectable);
                handle->setPos(at + QPointF(-2000.0 + 500.0 * node, 1000.0));
            }
        }
    }
    void selectAll()
    {
        const QList<QGraphicsItem*> items = scene.items();
        for (QGraphicsItem* item : items)
            item->setSelected(true);
    }
    void moveSelection(double dx)
    {
        const QList<QGraphicsItem*> items = scene.selectedItems();
        for (QGraphicsItem* item : items)
            item->moveBy(dx, 0);
    }
};

// Times `work` and then `back` (its undo) in each of several runs; both medians.
std::pair<BenchResult, BenchResult> measurePair(int runs, const std::function<void()>& setup,
                                                const std::function<void()>& work, const std::function<void()>& back)
{
    QList<double> forth, undo;
    for (int i = 0; i < runs; ++i) {
        if (setup)
            setup();
        QElapsedTimer timer;
        timer.start();
        work();
        forth.append(double(timer.nsecsElapsed()) / 1e6);
        timer.restart();
        back();
        undo.append(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(forth.begin(), forth.end());
    std::sort(undo.begin(), undo.end());
    return {{forth.at(forth.size() / 2), forth.last()}, {undo.at(undo.size() / 2), undo.last()}};
}

// What a gesture's work leaves behind for the event loop (deferred pushes, the rebuild after a
// change signal) belongs to the gesture.
void settle()
{
    QCoreApplication::processEvents();
}

void benchmark(int n)
{
    // Paste of N blocks into an empty definition, and its undo.
    {
        {
            EditingCode source(n, false);
            QApplication::clipboard()->setMimeData(source.bench.code()->createTransferData(source.identifiers()));
        }
        // One project is active at a time: each code goes before the next is made.
        auto target = std::make_unique<EditingCode>(0);
        target->scene->pasteFromClipboard();
        if (target->bench.code()->instances().size() != n) {
            std::fprintf(stderr, "the paste made %d blocks, not %d\n", int(target->bench.code()->instances().size()), n);
            std::exit(1);
        }
        target->scene->undo();
        settle();
        const auto ours = measurePair(
            Runs, nullptr, [&] { target->scene->pasteFromClipboard(); settle(); },
            [&] { target->scene->undo(); settle(); });
        target.reset();
        EditingCode bare(0, false);
        BlockCode* code = bare.bench.code();
        QList<unsigned int> made;
        const auto floor = measurePair(
            Runs, nullptr, [&] { made = code->insertTransferData(QApplication::clipboard()->mimeData()); },
            [&] { for (unsigned int id : made) code->deleteInstance(id); });
        printRow("paste N blocks", n, ours.first, floor.first);
        printRow("undo of the paste", n, ours.second, floor.second);
    }
    // Delete of N selected blocks, and its undo.
    {
        auto edited = std::make_unique<EditingCode>(n);
        const auto ours = measurePair(
            Runs, [&] { edited->scene->selectAllItems(); },
            [&] { edited->scene->deleteSelectedItems(); settle(); }, [&] { edited->scene->undo(); settle(); });
        edited.reset();
        EditingCode bare(n, false);
        BlockCode* code = bare.bench.code();
        QByteArray saved;
        const auto floor = measurePair(
            Runs, nullptr,
            [&] {
                const QList<unsigned int> ids = bare.identifiers();
                saved = code->text(ids) + code->signalsAsText(ids);
                saved.replace("Runtime=", "RuntimeAbsolute=");
                for (unsigned int id : ids)
                    code->deleteInstance(id);
            },
            [&] { code->restoreCodeFromText(saved, false); });
        printRow("delete N selected blocks", n, ours.first, floor.first);
        printRow("undo of the delete", n, ours.second, floor.second);
    }
    // The toolkit's own share of a delete: as many items as the blocks and wires have, deleted
    // oldest first from a scene in a window, beside the same items deleted outside any scene.
    {
        const auto makeItems = [n](QGraphicsScene* scene) {
            QList<QGraphicsItem*> tops;
            for (int i = 0; i < n; ++i) {
                auto* block = new QGraphicsRectItem(0, 0, 4000, 3000);
                block->setPos(double(i % 50) * 6000.0, double(i / 50) * 5000.0);
                // Three pins, each with its label host and two markers.
                for (int pin = 0; pin < 3; ++pin) {
                    auto* pinItem = new QGraphicsRectItem(0, 0, 1000, 100, block);
                    for (int child = 0; child < 3; ++child)
                        new QGraphicsRectItem(0, 0, 100, 100, pinItem);
                }
                tops.append(block);
                if (i > 0) {
                    auto* wire = new QGraphicsRectItem(0, 0, 6000, 1000);
                    for (int node = 0; node < 4; ++node)
                        new QGraphicsRectItem(-100, -100, 200, 200, wire);
                    tops.append(wire);
                }
            }
            if (scene) {
                for (QGraphicsItem* item : std::as_const(tops))
                    scene->addItem(item);
            }
            return tops;
        };
        QGraphicsScene scene;
        scene.setItemIndexMethod(QGraphicsScene::NoIndex);
        QGraphicsView view(&scene);
        view.resize(1200, 800);
        view.show();
        QList<QGraphicsItem*> items;
        const BenchResult inScene = measure(Runs, [&] { items = makeItems(&scene); settle(); },
                                            [&] { qDeleteAll(items); settle(); });
        const BenchResult alone = measure(Runs, [&] { items = makeItems(nullptr); }, [&] { qDeleteAll(items); });
        printRow("toolkit: delete as many items", n, inScene, alone);
    }
    // Ctrl+A, a move of the selection by the Right key, and its undo.
    {
        EditingCode edited(n);
        BareScene bare(n);
        const BenchResult selectOurs = measure(Runs, [&] { edited.scene->clearSelection(); },
                                               [&] { sendKey(edited.scene, Qt::Key_A, Qt::ControlModifier); settle(); });
        const BenchResult selectFloor = measure(Runs, [&] { bare.scene.clearSelection(); }, [&] { bare.selectAll(); });
        printRow("Ctrl+A", n, selectOurs, selectFloor);
        edited.scene->selectAllItems();
        bare.selectAll();
        const auto ours = measurePair(
            Runs, nullptr, [&] { sendKey(edited.scene, Qt::Key_Right, Qt::NoModifier); settle(); },
            [&] { edited.scene->undo(); settle(); });
        const auto floor = measurePair(Runs, nullptr, [&] { bare.moveSelection(1000.0); }, [&] { bare.moveSelection(-1000.0); });
        printRow("move N selected blocks by key", n, ours.first, floor.first);
        printRow("undo of the key move", n, ours.second, floor.second);
    }
    // A new connection by the rubber line between two pins, and its undo.
    {
        auto edited = std::make_unique<EditingCode>(n);
        BlockCode* code = edited->bench.code();
        const QList<BlockInstance*> instances = code->instances();
        BlockItem* from = edited->scene->blockItem(instances.at(0)->identifier());
        BlockItem* to = edited->scene->blockItem(instances.at(1)->identifier());
        BlockPinItem* output = nullptr;
        BlockPinItem* input = nullptr;
        for (BlockPinItem* pin : from->pinItems()) {
            if (!pin->isInput())
                output = pin;
        }
        // The second input: the first is wired already.
        for (BlockPinItem* pin : to->pinItems()) {
            if (pin->isInput())
                input = pin;
        }
        const QLineF line(output->mapToScene(output->connectionPoint()), input->mapToScene(input->connectionPoint()));
        // A rubber line that makes no connection would time nothing.
        const qsizetype wires = code->connections().size();
        edited->scene->undoStack()->push(new CreateConnectionCommand(edited->scene, line, nullptr));
        if (code->connections().size() != wires + 1) {
            std::fprintf(stderr, "the rubber line made no connection\n");
            std::exit(1);
        }
        edited->scene->undo();
        const auto ours = measurePair(
            Runs, nullptr,
            [&] { edited->scene->undoStack()->push(new CreateConnectionCommand(edited->scene, line, nullptr)); settle(); },
            [&] { edited->scene->undo(); settle(); });
        const int outputId = output->identifier();
        const int inputId = input->identifier();
        edited.reset();
        EditingCode bare(n, false);
        BlockCode* bareCode = bare.bench.code();
        BlockPinInstance* a = bareCode->instances().at(0)->pin(outputId);
        BlockPinInstance* b = bareCode->instances().at(1)->pin(inputId);
        BlockPinConnection* made = nullptr;
        const auto floor = measurePair(
            Runs, nullptr, [&] { made = bareCode->createConnection(a, b); }, [&] { bareCode->deleteConnection(made); });
        printRow("new connection", n, ours.first, floor.first);
        printRow("undo of the new connection", n, ours.second, floor.second);
    }
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QList<int> sizes;
    for (int i = 1; i < argc; ++i)
        sizes.append(QString::fromLocal8Bit(argv[i]).toInt());
    if (sizes.isEmpty())
        sizes = {1000, 5000};
    printHeader();
    for (int n : sizes)
        benchmark(n);
    return 0;
}
