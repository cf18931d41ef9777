// Costs of the hierarchy tab on large codes: the first fill when the tab is shown, the update after
// one instance came, and selecting a path. The floor is a bare QTreeWidget given the same rows,
// texts and parents in the fastest plain way (rows built off the view, one insertion), sorted the
// same, shown the same.
//   QT_QPA_PLATFORM=offscreen ./build/bench/bench_hierarchy_tree [runs]
#include "BenchTable.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockLibraryContainer.h"
#include "HierarchyView.h"
#include "HierarchyViewPrivate.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "Project.h"

#include <QApplication>
#include <QTreeWidget>
#include <QTreeWidgetItem>

#include <memory>

namespace {

struct Fixture
{
    std::unique_ptr<Project> project;
    BlockInstanceArea* nested = nullptr;
    BlockInstanceArea* flat = nullptr;
    BlockDefinition* andDef = nullptr;
    QList<BlockDefinition*> composites;

    // Area 1: 100 composite blocks side by side, each holding 100 gates (10100 instances).
    // Area 2: 10000 gates in the root code.
    Fixture()
    {
        project.reset(Project::createEmpty());
        nested = project->areas().first();
        flat = new BlockInstanceArea(2, 0, 2, nullptr, false);
        project->addArea(flat);
        auto* container = new BlockLibraryContainer(QStringLiteral("1"), 0, Text(LanguageManager::German, QStringLiteral("Standard")));
        project->addContainer(container);
        using ModelBuilder::PinSpec;
        andDef = ModelBuilder::newest(ModelBuilder::primitive(container->library(), QStringLiteral("StandardBlock_1"),
                                                              QStringLiteral("UND"), {{QStringLiteral("E1")}, {QStringLiteral("E2")}},
                                                              {{QStringLiteral("A")}}, QStringLiteral("and")));
        BlockCode* nestedRoot = nested->rootDefinition()->code();
        for (int c = 0; c < 100; ++c) {
            Block* block = ModelBuilder::composite(container->library(), QStringLiteral("StandardBlock_%1").arg(1000 + c),
                                                   QStringLiteral("Gruppe %1").arg(c), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
            BlockDefinition* definition = ModelBuilder::newest(block);
            BlockCode* code = definition->code();
            const bool blocked = code->blockChangeSignals(true);
            for (int i = 0; i < 100; ++i)
                ModelBuilder::place(code, andDef, QPointF((i % 10) * 8, (i / 10) * 6));
            code->blockChangeSignals(blocked);
            composites.append(definition);
            ModelBuilder::place(nestedRoot, definition, QPointF((c % 10) * 8, (c / 10) * 6));
        }
        BlockCode* flatRoot = flat->rootDefinition()->code();
        const bool blocked = flatRoot->blockChangeSignals(true);
        for (int i = 0; i < 10000; ++i)
            ModelBuilder::place(flatRoot, andDef, QPointF((i % 100) * 8, (i / 100) * 6));
        flatRoot->blockChangeSignals(blocked);
        project->activate();
    }
};

// The same shape as the view's tree: a root, `groups` rows under it with `perGroup` rows each
// (perGroup 0: `groups` rows straight under the root), three texts a row.
QTreeWidgetItem* plainRows(int groups, int perGroup)
{
    auto* root = new QTreeWidgetItem(QStringList{QStringLiteral("Achse 1")});
    QList<QTreeWidgetItem*> top;
    top.reserve(groups);
    for (int g = 0; g < groups; ++g) {
        auto* row = new QTreeWidgetItem(QStringList{QString(), QString::number(1000 + g % 100), QString()});
        QList<QTreeWidgetItem*> children;
        children.reserve(perGroup);
        for (int i = 0; i < perGroup; ++i)
            children.append(new QTreeWidgetItem(QStringList{QString(), QStringLiteral("1"), QString()}));
        row->addChildren(children);
        top.append(row);
    }
    root->addChildren(top);
    return root;
}

std::unique_ptr<QTreeWidget> plainTree()
{
    auto tree = std::make_unique<QTreeWidget>();
    tree->setColumnCount(3);
    tree->setHeaderLabels({QStringLiteral("Name"), QStringLiteral("Nummer"), QStringLiteral("Version")});
    tree->setSortingEnabled(true);
    tree->resize(400, 600);
    return tree;
}

struct Shape
{
    const char* name;
    BlockInstanceArea* area;
    int groups;
    int perGroup;
    QString deepPath;
};

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const int runs = argc > 1 ? QByteArray(argv[1]).toInt() : 7;
    Fixture fixture;

    const QList<Shape> shapes{
        {"nested", fixture.nested, 100, 100, QStringLiteral("0.50.77")},
        {"flat", fixture.flat, 10000, 0, QStringLiteral("0.9999")},
    };

    printHeader();
    for (const Shape& shape : shapes) {
        const int rows = shape.groups * (shape.perGroup + 1);
        BlockDefinition* rootDefinition = shape.area->rootDefinition();
        BlockInstanceHierarchyNode* rootNode = shape.area->hierarchy()->rootNode();

        // First fill: the tab is shown with a root set while it was hidden.
        std::unique_ptr<HierarchyView> view;
        const BenchResult fill = measure(runs, [&] {
            view = std::make_unique<HierarchyView>();
            view->resize(400, 600);
            view->setRoot(rootDefinition, rootNode);
        }, [&] {
            view->show();
            QCoreApplication::processEvents();
        });
        std::unique_ptr<QTreeWidget> plain;
        const BenchResult fillFloor = measure(runs, [&] { plain = plainTree(); }, [&] {
            plain->addTopLevelItem(plainRows(shape.groups, shape.perGroup));
            plain->topLevelItem(0)->setExpanded(true);
            plain->show();
            QCoreApplication::processEvents();
        });
        QByteArray label = QByteArray("first fill when shown, ") + shape.name;
        printRow(label.constData(), rows, fill, fillFloor);

        // One more gate, then the update the tree gets for it.
        HierarchyViewPrivate* tree = view->findChild<HierarchyViewPrivate*>();
        BlockCode* target = shape.perGroup ? fixture.composites.at(50)->code() : rootDefinition->code();
        const BenchResult update = measure(runs, [&] { ModelBuilder::place(target, fixture.andDef, QPointF(0, 90)); }, [&] {
            tree->rootInstanceChanged();
            QCoreApplication::processEvents();
        });
        QTreeWidgetItem* plainParent = shape.perGroup ? plain->topLevelItem(0)->child(50) : plain->topLevelItem(0);
        const BenchResult updateFloor = measure(runs, nullptr, [&] {
            new QTreeWidgetItem(plainParent, QStringList{QString(), QStringLiteral("1"), QString()});
            QCoreApplication::processEvents();
        });
        label = QByteArray("update after one instance added, ") + shape.name;
        printRow(label.constData(), rows, update, updateFloor);

        // An update with nothing to change: what every library change or language change costs.
        const BenchResult idle = measure(runs, nullptr, [&] {
            tree->rootInstanceChanged();
            QCoreApplication::processEvents();
        });
        // Its floor: a walk over as many plain rows that reads and writes back their three texts.
        const BenchResult idleFloor = measure(runs, nullptr, [&] {
            QList<QTreeWidgetItem*> pending{plain->topLevelItem(0)};
            while (!pending.isEmpty()) {
                QTreeWidgetItem* row = pending.takeLast();
                for (int column = 0; column < 3; ++column)
                    row->setText(column, row->text(column));
                for (int i = 0; i < row->childCount(); ++i)
                    pending.append(row->child(i));
            }
            QCoreApplication::processEvents();
        });
        label = QByteArray("update with nothing changed, ") + shape.name;
        printRow(label.constData(), rows, idle, idleFloor);

        // Selecting a deep path, against making the known row current and showing it.
        QTreeWidgetItem* plainTarget = shape.perGroup ? plain->topLevelItem(0)->child(50)->child(77)
                                                      : plain->topLevelItem(0)->child(9999);
        const BenchResult select = measure(runs, [&] { tree->setCurrentItem(nullptr); }, [&] {
            view->selectPath(shape.deepPath);
            QCoreApplication::processEvents();
        });
        if (!tree->currentItem())
            std::printf("selectPath(%s) selected nothing\n", qPrintable(shape.deepPath));
        const BenchResult selectFloor = measure(runs, [&] { plain->setCurrentItem(nullptr); }, [&] {
            plain->setCurrentItem(plainTarget, 0, QItemSelectionModel::ClearAndSelect);
            plain->resizeColumnToContents(0);
            QCoreApplication::processEvents();
        });
        label = QByteArray("selectPath ") + shape.deepPath.toLatin1() + ", " + shape.name;
        printRow(label.constData(), rows, select, selectFloor);
        view.reset();
        plain.reset();
    }
    return 0;
}
