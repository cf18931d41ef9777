// What the overview costs the code view, and what the checks cost.
//
// The overview is a second live view on the code's own scene, so each change is painted twice. In an
// editor pane of 1280x800 showing a synthetic code of N blocks (three pins each, a connection with
// two corners from each block to the next), a scroll step, a zoom step and the update after one
// instance moved are each timed up to the end of their repaint, once with the overview shown and
// once hidden: the hidden run is the floor, and the ratio minus one is what the overview adds.
//
// The checks run over the largest area of the sample project and over a code of N blocks made of
// blocks (each holds a code of its own with an AND), with sub-instances. The floor is a bare walk
// over the same instances and their pins, recursing into the codes of the blocks, that reads each
// pin's connections and initial value as the checks would, and collects nothing.
//   QT_QPA_PLATFORM=offscreen ./build/bench/bench_overview [sizes...]
#include "BenchProject.h"
#include "BenchTable.h"

#include "Block.h"
#include "BlockCheckIssueTracker.h"
#include "BlockCode.h"
#include "BlockCodeView.h"
#include "BlockDefinition.h"
#include "BlockEditorView.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibraryContainer.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "Project.h"

#include <QApplication>
#include <QPushButton>
#include <QScrollBar>
#include <QSet>

#include <cstdio>
#include <memory>

namespace {

constexpr int Runs = 11;

struct Fixture : BenchProject
{
    BlockDefinition* compositeDef = nullptr;

    Fixture()
    {
        Block* composite = ModelBuilder::composite(standard->library(), QStringLiteral("StandardBlock_20"), QStringLiteral("Regler"),
                                                   {{QStringLiteral("E1")}, {QStringLiteral("E2")}}, {{QStringLiteral("A")}});
        compositeDef = composite->blockDefinition(0);
        ModelBuilder::place(compositeDef->code(), andDef, {0, 0});
        project->activate();
    }

    // N blocks on a raster of 12 by 6 model units, 80 to a row; every block but the first takes one
    // connection from the one before.
    void fill(int n, BlockDefinition* definition)
    {
        code()->clear();
        const bool blocked = code()->blockChangeSignals(true);
        BlockInstance* previous = nullptr;
        for (int i = 0; i < n; ++i) {
            BlockInstance* instance = ModelBuilder::place(code(), definition, QPointF((i % 80) * 12.0, (i / 80) * 6.0));
            if (previous)
                ModelBuilder::wire(code(), previous, 3, instance, 2);
            previous = instance;
        }
        code()->blockChangeSignals(blocked);
        code()->notifyChanged();
    }
};

// What the checks read, without judging: instances, their pins, the pins' connections and initial
// values, recursing into codes of blocks once per definition on a path.
int bareWalk(const BlockCode* code, QSet<const BlockDefinition*>& visiting)
{
    int seen = 0;
    for (BlockInstance* instance : code->instances()) {
        for (BlockPinInstance* pin : instance->pins()) {
            seen += code->connectionsOf(pin).size();
            seen += pin->initialValue().isEmpty() ? 0 : 1;
        }
        BlockDefinition* definition = instance->blockDefinition();
        if (definition && definition->code() && !visiting.contains(definition)) {
            visiting.insert(definition);
            seen += bareWalk(definition->code(), visiting);
            visiting.remove(definition);
        }
    }
    return seen;
}

BenchResult timeBareWalk(const BlockCode* code)
{
    int sink = 0;
    const BenchResult result = measure(Runs, nullptr, [&] {
        QSet<const BlockDefinition*> visiting;
        sink += bareWalk(code, visiting);
    });
    if (sink < 0)
        std::printf("%d\n", sink);
    return result;
}

BenchResult timeCheck(BlockDefinition* definition, BlockInstanceHierarchyNode* node)
{
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(definition, node);
    int count = 0;
    const BenchResult result = measure(Runs, nullptr, [&] { count = int(tracker.currentIssues(true).size()); });
    std::printf("   (%d issues)\n", count);
    return result;
}

void settle()
{
    QApplication::processEvents();
    QApplication::processEvents();
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QList<int> sizes{1000, 5000};
    if (argc > 1) {
        sizes.clear();
        for (int i = 1; i < argc; ++i)
            sizes.append(QByteArray(argv[i]).toInt());
    }
    printHeader();

    Fixture fixture;
    for (int n : sizes) {
        fixture.fill(n, fixture.andDef);
        BlockEditorView editor(nullptr);
        editor.resize(1280, 800);
        editor.setRoot(fixture.area);
        editor.show();
        settle();
        auto* overviewButton = editor.findChild<QPushButton*>(QStringLiteral("overviewButton"));
        auto* view = editor.findChild<BlockCodeView*>();
        QScrollBar* horizontal = view->horizontalScrollBar();
        BlockInstance* moving = fixture.code()->instances().at(n / 2);

        BenchResult results[2][3];
        for (int shown = 0; shown < 2; ++shown) {
            overviewButton->setChecked(shown == 1);
            settle();
            int step = 0;
            results[shown][0] = measure(Runs, settle, [&] {
                horizontal->setValue(horizontal->value() + (step++ % 2 ? -200 : 200));
                settle();
            });
            step = 0;
            results[shown][1] = measure(Runs, settle, [&] {
                view->setZoomFactor(step++ % 2 ? 1.0 : 0.9);
                settle();
            });
            step = 0;
            results[shown][2] = measure(Runs, settle, [&] {
                moving->setPosition(moving->position() + QPointF(step++ % 2 ? -1 : 1, 0));
                settle();
            });
        }
        printRow("scroll step, overview shown (floor: hidden)", n, results[1][0], results[0][0]);
        printRow("zoom step, overview shown (floor: hidden)", n, results[1][1], results[0][1]);
        printRow("update after a move, overview (floor: hidden)", n, results[1][2], results[0][2]);
    }

    for (int n : sizes) {
        fixture.fill(n, fixture.compositeDef);
        const BenchResult check = timeCheck(fixture.area->rootDefinition(), fixture.area->hierarchy()->rootNode());
        printRow("check with sub-instances (floor: bare walk)", n, check, timeBareWalk(fixture.code()));
    }

    QString error;
    std::unique_ptr<Project> sample(Project::load(QStringLiteral(ZK_SAMPLE_DIR "/project.zkproj"), &error));
    if (!sample) {
        std::printf("!! sample: %s\n", qPrintable(error));
        return 1;
    }
    sample->activate();
    BlockInstanceArea* largest = nullptr;
    int largestCount = -1;
    for (BlockInstanceArea* area : sample->areas()) {
        QSet<const BlockDefinition*> visiting;
        const int count = bareWalk(area->rootDefinition()->code(), visiting);
        if (count > largestCount) {
            largest = area;
            largestCount = count;
        }
    }
    const BenchResult check = timeCheck(largest->rootDefinition(), largest->hierarchy()->rootNode());
    printRow("check of the largest sample area, deep", int(largest->rootDefinition()->code()->instances().size()), check,
             timeBareWalk(largest->rootDefinition()->code()));
    return 0;
}
