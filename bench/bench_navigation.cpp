// Walking the hierarchy in a BlockHierarchyNodeView of 1280x800: a step into a block, a step out and
// a navigation to a path of three levels ("0.a.b", which shows the level of a), each with the first
// paint of the new level, on the first visit of a level (its scene is made) and again (its scene is
// kept by its node). On the sample project and on a synthetic hierarchy of W blocks per level, six
// levels deep. N is the number of blocks on the level that is shown.
//
// The floor is a plain QGraphicsView of the same size and scale that shows a plain QGraphicsScene
// holding as many rectangle items as the level's scene holds items, and paints: for a first visit
// the scene is made too, for a revisit it is only swapped in.
//
//   QT_QPA_PLATFORM=offscreen ./build/bench/bench_navigation [widths...]
#include "BenchTable.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockHierarchyNodeScene.h"
#include "BlockHierarchyNodeView.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockLibraryContainer.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "Project.h"

#include <QApplication>
#include <QGraphicsRectItem>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QList>
#include <QRandomGenerator>

#include <cstdio>
#include <memory>

namespace {

constexpr int Runs = 11;
const QSize ViewSize(1280, 800);

QList<BlockInstanceHierarchyNode*> childrenOf(BlockInstanceHierarchyNode* node)
{
    QList<BlockInstanceHierarchyNode*> children;
    const QList<int> identifiers = node->instanceNodes();
    for (int identifier : identifiers) {
        if (BlockInstanceHierarchyNode* child = node->instanceNode(unsigned(identifier)))
            children.append(child);
    }
    return children;
}

bool allowsStepIn(const BlockInstanceHierarchyNode* node)
{
    BlockInstance* instance = node->blockInstance();
    BlockDefinition* definition = instance ? instance->blockDefinition() : nullptr;
    return definition && definition->isStepInAllowed();
}

// The longest chain of levels one can step into below `node`, up to `depth` levels, preferring the
// children with the most blocks inside.
QList<BlockInstanceHierarchyNode*> deepestChain(BlockInstanceHierarchyNode* node, int depth)
{
    QList<BlockInstanceHierarchyNode*> best;
    if (depth == 0)
        return best;
    const QList<BlockInstanceHierarchyNode*> children = childrenOf(node);
    for (BlockInstanceHierarchyNode* child : children) {
        if (!allowsStepIn(child))
            continue;
        QList<BlockInstanceHierarchyNode*> chain{child};
        chain += deepestChain(child, depth - 1);
        const bool longer = chain.size() > best.size();
        const bool wider = chain.size() == best.size() && !best.isEmpty()
            && childrenOf(child).size() > childrenOf(best.first()).size();
        if (longer || wider)
            best = chain;
    }
    return best;
}

void dropScene(BlockInstanceHierarchyNode* node)
{
    delete node->blockHierarchyNodeScene();
}

void paint(QGraphicsView* view)
{
    view->viewport()->repaint();
}

void select(BlockHierarchyNodeView* view, unsigned int identifier)
{
    auto* scene = qobject_cast<BlockCodeScene*>(view->scene());
    if (!scene)
        return;
    scene->clearSelection();
    if (BlockItem* item = scene->blockItem(identifier))
        item->setSelected(true);
}

QGraphicsScene* plainScene(int items)
{
    auto* scene = new QGraphicsScene(-500, -500, 1001000, 1001000);
    QRandomGenerator random(7);
    for (int i = 0; i < items; ++i) {
        auto* item = new QGraphicsRectItem(0, 0, 4000, 3000);
        item->setPos(random.bounded(40) * 5000.0, random.bounded(25) * 5000.0);
        item->setBrush(Qt::white);
        scene->addItem(item);
    }
    return scene;
}

struct Floors
{
    BenchResult firstVisit;
    BenchResult revisit;
};

Floors floorFor(int items)
{
    QGraphicsView view;
    view.resize(ViewSize);
    view.scale(0.03, 0.03);
    view.show();
    QApplication::processEvents();
    std::unique_ptr<QGraphicsScene> other(plainScene(items));
    std::unique_ptr<QGraphicsScene> shown;
    Floors floors;
    floors.firstVisit = measure(
        Runs, [&] { view.setScene(other.get()); shown.reset(); paint(&view); },
        [&] {
            shown.reset(plainScene(items));
            view.setScene(shown.get());
            view.centerOn(0, 0);
            paint(&view);
        });
    std::unique_ptr<QGraphicsScene> second(plainScene(items));
    bool toggle = false;
    floors.revisit = measure(Runs, nullptr, [&] {
        toggle = !toggle;
        view.setScene(toggle ? second.get() : other.get());
        paint(&view);
    });
    view.setScene(nullptr);
    return floors;
}

int itemCount(BlockInstanceHierarchyNode* node)
{
    return int(BlockHierarchyNodeScene::forNode(node)->items().size());
}

int blockCount(BlockInstanceHierarchyNode* node)
{
    BlockInstance* instance = node->blockInstance();
    BlockDefinition* definition = instance ? instance->blockDefinition() : nullptr;
    return definition && definition->code() ? int(definition->code()->instances().size()) : 0;
}

void benchArea(const QString& name, BlockInstanceArea* area)
{
    BlockInstanceHierarchyNode* root = area->hierarchy()->rootNode();
    const QList<BlockInstanceHierarchyNode*> chain = deepestChain(root, 3);
    if (chain.isEmpty()) {
        std::fprintf(stderr, "%s: no level to step into\n", qPrintable(name));
        return;
    }
    BlockInstanceHierarchyNode* child = chain.first();
    const unsigned int childIdentifier = child->blockInstance()->identifier();

    BlockHierarchyNodeView view;
    view.resize(ViewSize);
    view.show();
    QApplication::processEvents();
    view.setArea(area);
    paint(&view);

    const int childItems = itemCount(child);
    const Floors childFloor = floorFor(childItems);

    const BenchResult firstIn = measure(
        Runs,
        [&] {
            view.setArea(area);
            dropScene(child);
            select(&view, childIdentifier);
        },
        [&] {
            view.stepInSelectedBlock();
            paint(&view);
        });
    printRow(qPrintable(name + QStringLiteral(": step in, first")), blockCount(child), firstIn, childFloor.firstVisit);

    const BenchResult revisitIn = measure(
        Runs,
        [&] {
            view.setArea(area);
            select(&view, childIdentifier);
        },
        [&] {
            view.stepInSelectedBlock();
            paint(&view);
        });
    printRow(qPrintable(name + QStringLiteral(": step in, again")), blockCount(child), revisitIn, childFloor.revisit);

    const int rootItems = itemCount(root);
    const Floors rootFloor = floorFor(rootItems);
    const BenchResult out = measure(
        Runs,
        [&] {
            view.setArea(area);
            select(&view, childIdentifier);
            view.stepInSelectedBlock();
        },
        [&] {
            view.stepOut();
            paint(&view);
        });
    printRow(qPrintable(name + QStringLiteral(": step out, again")), blockCount(root), out, rootFloor.revisit);

    if (chain.size() < 2) {
        std::fprintf(stderr, "%s: one level below the root only, no navigation\n", qPrintable(name));
        return;
    }
    // A path of three levels, "0.a.b": the view shows the level of a with b selected.
    BlockInstanceHierarchyNode* target = chain.at(1);
    BlockInstanceHierarchyNode* parent = chain.at(0);
    // The panes name places without the living space.
    const QString path = target->locationPath().section(QLatin1Char(':'), 1);
    const int parentItems = itemCount(parent);
    const Floors parentFloor = floorFor(parentItems);
    const BenchResult firstNavigation = measure(
        Runs,
        [&] {
            view.setArea(area);
            dropScene(parent);
        },
        [&] {
            view.navigateTo(path);
            paint(&view);
        });
    printRow(qPrintable(name + QStringLiteral(": navigateTo 0.a.b, first")), blockCount(parent), firstNavigation,
             parentFloor.firstVisit);
    const BenchResult revisitNavigation = measure(
        Runs, [&] { view.setArea(area); },
        [&] {
            view.navigateTo(path);
            paint(&view);
        });
    printRow(qPrintable(name + QStringLiteral(": navigateTo 0.a.b, again")), blockCount(parent), revisitNavigation,
             parentFloor.revisit);
    if (view.currentPath() != parent->locationPath())
        std::fprintf(stderr, "navigation ended at %s, not %s\n", qPrintable(view.currentPath()),
                     qPrintable(parent->locationPath()));
}

// Six levels, each a block made of `width` AND gates wired in a chain and the block of the next level.
void benchSynthetic(int width)
{
    std::unique_ptr<Project> project(Project::createEmpty());
    auto* container = new BlockLibraryContainer(QStringLiteral("user"), BlockLibraryContainer::UserLibraryKind,
                                                Text(LanguageManager::German, QStringLiteral("Benutzer")));
    project->addContainer(container);
    BlockLibrary* library = container->library();
    Block* andBlock = ModelBuilder::primitive(library, QStringLiteral("StandardBlock_1"), QStringLiteral("UND"),
                                              {{QStringLiteral("E1")}, {QStringLiteral("E2")}}, {{QStringLiteral("A")}},
                                              QStringLiteral("and"));
    project->activate();
    BlockInstanceArea* area = project->areas().first();

    auto fill = [&](BlockCode* code) {
        BlockInstance* previous = nullptr;
        for (int i = 0; i < width; ++i) {
            BlockInstance* gate = ModelBuilder::place(code, ModelBuilder::newest(andBlock), QPointF(i % 40 * 8, i / 40 * 6 + 10));
            if (previous)
                ModelBuilder::wire(code, previous, 3, gate, 1);
            previous = gate;
        }
    };
    BlockDefinition* below = nullptr;
    for (int level = 6; level >= 1; --level) {
        Block* block = ModelBuilder::composite(library, QStringLiteral("UserBlock_%1").arg(level),
                                               QStringLiteral("Ebene %1").arg(level), {{QStringLiteral("E")}},
                                               {{QStringLiteral("A")}});
        BlockDefinition* definition = ModelBuilder::newest(block);
        fill(definition->code());
        if (below)
            ModelBuilder::place(definition->code(), below, {2, 2});
        below = definition;
    }
    BlockCode* rootCode = area->rootDefinition()->code();
    fill(rootCode);
    ModelBuilder::place(rootCode, below, {2, 2});
    benchArea(QStringLiteral("synthetic W=%1").arg(width), area);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    LanguageManager::instance().setActiveLanguage(LanguageManager::German);
    QList<int> widths;
    for (int i = 1; i < argc; ++i)
        widths.append(QString::fromLocal8Bit(argv[i]).toInt());
    if (widths.isEmpty())
        widths = {100, 1000};

    printHeader();
    {
        const QString samplePath = QStringLiteral(ZK_SAMPLE_DIR "/project.zkproj");
        QString error;
        std::unique_ptr<Project> sample(Project::load(samplePath, &error));
        if (!sample) {
            std::fprintf(stderr, "sample project not read: %s\n", qPrintable(error));
            return 1;
        }
        sample->activate();
        for (BlockInstanceArea* area : sample->areas()) {
            if (!area->hasOwnProgram())
                continue;
            benchArea(QStringLiteral("sample %1").arg(area->displayName()), area);
        }
    }
    for (int width : widths)
        benchSynthetic(width);
    return 0;
}
