// Cost of one cycle of the simulated device: on synthetic codes of N gates and on every area of the
// sample project. The floor is a bare loop doing the same number of two-input gate evaluations
// over a plain vector of doubles: what any evaluation must at least cost.
#include "BenchTable.h"

#include "AreaSimulator.h"
#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockLibraryContainer.h"
#include "BlockPinInstance.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "Project.h"

#include <QApplication>
#include <QFile>

#include <memory>
#include <vector>

namespace {

BenchResult floorFor(int operations)
{
    std::vector<double> values(size_t(operations) + 2, 1.0);
    std::vector<int> a(static_cast<size_t>(operations));
    std::vector<int> b(static_cast<size_t>(operations));
    for (int i = 0; i < operations; ++i) {
        a[size_t(i)] = i;
        b[size_t(i)] = i + 1;
    }
    volatile double sink = 0;
    return measure(21, nullptr, [&] {
        for (int i = 0; i < operations; ++i)
            values[size_t(i) + 2] = (values[size_t(a[size_t(i)])] != 0 && values[size_t(b[size_t(i)])] != 0) ? 1 : 0;
        sink = values.back();
    });
}

void benchArea(const char* name, BlockInstanceArea* area)
{
    area->setOnline(true);
    AreaSimulator* simulator = area->simulator();
    const BenchResult cycle = measure(21, nullptr, [&] { simulator->runCycle(); });
    printRow(name, simulator->operationCount(), cycle, floorFor(simulator->operationCount()));
    area->setOnline(false);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    printHeader();
    {
        std::unique_ptr<Project> project(Project::createEmpty());
        auto* container = new BlockLibraryContainer(QStringLiteral("1"), 0, Text(LanguageManager::German, QStringLiteral("S")));
        project->addContainer(container);
        Block* andBlock = ModelBuilder::primitive(container->library(), QStringLiteral("StandardBlock_1"), QStringLiteral("UND"),
                                                  {{QStringLiteral("E1")}, {QStringLiteral("E2")}}, {{QStringLiteral("A")}},
                                                  QStringLiteral("and"));
        project->activate();
        BlockInstanceArea* area = project->areas().first();
        BlockCode* code = area->rootDefinition()->code();
        for (int n : {100, 1000, 10000}) {
            code->clear();
            BlockInstance* previous = nullptr;
            for (int i = 0; i < n; ++i) {
                BlockInstance* instance = ModelBuilder::place(code, andBlock->blockDefinition(0), QPointF(i % 100 * 6, i / 100 * 4));
                instance->pin(2)->setInitialValue(QStringLiteral("TRUE"));
                if (previous)
                    ModelBuilder::wire(code, previous, 3, instance, 1);
                previous = instance;
            }
            benchArea(qPrintable(QStringLiteral("cycle, chain of %1 gates").arg(n)), area);
        }
    }
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
        benchArea(qPrintable(QStringLiteral("cycle, sample area %1").arg(area->displayName())), area);
    }
    return 0;
}
