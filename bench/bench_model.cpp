// Costs of the block model on synthetic codes: building, the text form, the clipboard, project
// files and the hierarchy. The floor beside each figure is the nearest work a bare toolkit does:
// the same number of QObjects, the same JSON through QJsonDocument, the same bytes split in lines.
#include "BenchProject.h"
#include "BenchTable.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibraryContainer.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "Project.h"

#include <QApplication>
#include <QJsonDocument>
#include <QMimeData>

#include <memory>

namespace {

struct Fixture : BenchProject
{
    BlockDefinition* composite = nullptr;

    Fixture()
    {
        Block* sub = ModelBuilder::composite(standard->library(), QStringLiteral("StandardBlock_2"), QStringLiteral("Gruppe"),
                                             {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
        composite = sub->blockDefinition(0);
        for (int i = 0; i < 4; ++i)
            ModelBuilder::place(composite->code(), andDef, QPointF(i * 6, 0));
        project->activate();
    }

    // N blocks of three pins, each wired to the next with two corner nodes; every tenth block is
    // made of four blocks of its own.
    void fill(int n)
    {
        BlockCode* code = area->rootDefinition()->code();
        code->clear();
        const bool blocked = code->blockChangeSignals(true);
        BlockInstance* previous = nullptr;
        for (int i = 0; i < n; ++i) {
            BlockDefinition* d = i % 10 == 9 ? composite : andDef;
            BlockInstance* instance = ModelBuilder::place(code, d, QPointF((i % 100) * 8, (i / 100) * 6));
            if (previous && d == andDef && previous->blockDefinition() == andDef)
                ModelBuilder::wire(code, previous, 3, instance, 1, {QPointF(1, 1), QPointF(2, 1)});
            previous = instance;
        }
        code->blockChangeSignals(blocked);
    }
};

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QList<int> sizes{100, 1000, 10000};
    if (argc > 1) {
        sizes.clear();
        for (int i = 1; i < argc; ++i)
            sizes.append(QByteArray(argv[i]).toInt());
    }
    const int runs = 5;
    Fixture fixture;
    printHeader();
    for (int n : sizes) {
        BlockCode* code = fixture.area->rootDefinition()->code();

        // Building a code, against making as many QObjects with three children each.
        const BenchResult build = measure(runs, [&] { code->clear(); }, [&] { fixture.fill(n); });
        std::vector<std::unique_ptr<QObject>> objects;
        const BenchResult buildFloor = measure(runs, [&] { objects.clear(); }, [&] {
            for (int i = 0; i < n; ++i) {
                auto object = std::make_unique<QObject>();
                for (int p = 0; p < 3; ++p)
                    new QObject(object.get());
                objects.push_back(std::move(object));
            }
        });
        objects.clear();
        printRow("build code (instances, pins, wires, nodes)", n, build, buildFloor);

        fixture.fill(n);
        QList<unsigned int> ids;
        for (const BlockInstance* i : code->instances())
            ids.append(i->identifier());
        QByteArray text;
        const BenchResult textTime = measure(runs, nullptr, [&] { text = code->text(ids); });
        QList<QByteArray> lines;
        const BenchResult textFloor = measure(runs, nullptr, [&] { lines = text.split('\n'); });
        printRow("text() of all instances", n, textTime, textFloor);

        const BenchResult restore = measure(runs, [&] { code->clear(); }, [&] { code->restoreCode(text, false); });
        printRow("restoreCode() of all instances", n, restore, textFloor);

        std::unique_ptr<QMimeData> mime;
        const BenchResult transfer = measure(runs, nullptr, [&] { mime.reset(code->createTransferData(ids)); });
        printRow("createTransferData() of all", n, transfer, textFloor);

        QByteArray projectText;
        const BenchResult save = measure(runs, nullptr, [&] { projectText = fixture.project->projectText(); });
        QJsonDocument doc = QJsonDocument::fromJson(projectText);
        const BenchResult saveFloor = measure(runs, nullptr, [&] { (void)doc.toJson(QJsonDocument::Indented); });
        printRow("project text (save)", n, save, saveFloor);

        std::unique_ptr<Project> loaded;
        const BenchResult load = measure(runs, [&] { loaded.reset(); }, [&] {
            loaded.reset(Project::loadFromData(projectText, QString(), QStringLiteral("bench"), nullptr));
        });
        const BenchResult loadFloor = measure(runs, nullptr, [&] { doc = QJsonDocument::fromJson(projectText); });
        printRow("project load (validate and build)", n, load, loadFloor);
        loaded.reset();

        BlockInstanceHierarchyNode* root = fixture.area->hierarchy()->rootNode();
        int nodes = 0;
        const BenchResult walk = measure(runs, nullptr, [&] { nodes = fixture.area->hierarchy()->nodeCount(); });
        printRow("hierarchy walk (all nodes)", nodes, walk, buildFloor);
        const BenchResult lookup = measure(runs, nullptr, [&] {
            for (unsigned int id : ids)
                (void)root->instanceNode(QStringLiteral("A1:0.%1").arg(id));
        });
        printRow("node look-up by path text, each instance", n, lookup, textFloor);
    }
    return 0;
}
