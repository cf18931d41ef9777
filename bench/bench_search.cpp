// Costs of the block search panel: a search in the libraries and in the hierarchy of the open area,
// from the click on "Suche starten" to the filled and sorted result tree. The floor is the same walk
// over the same model objects with plain `QString::contains` on the same texts, its hits put as
// plain rows into a bare sorted QTreeWidget of four columns; both clear the hits of the run before.
//   QT_QPA_PLATFORM=offscreen ./build-rel/bench/bench_search [runs]
// Two sizes, 1000 and 10000 block versions and instances, show how the cost grows.
#include "BenchTable.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPin.h"
#include "BlockRepository.h"
#include "BlockSearchView.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "Project.h"

#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QTreeWidgetItem>

#include <memory>

namespace {

struct Fixture
{
    std::unique_ptr<Project> project;
    BlockInstanceArea* area = nullptr;

    // Libraries: size / 2 blocks of two versions each in two containers (size versions).
    // Hierarchy: size / 100 composite blocks side by side, each holding 100 gates.
    explicit Fixture(int size)
    {
        project.reset(Project::createEmpty());
        area = project->areas().first();
        QList<BlockLibraryContainer*> containers;
        for (const char* id : {"1", "2"}) {
            auto* container = new BlockLibraryContainer(QString::fromLatin1(id), 0, Text(LanguageManager::German, QStringLiteral("Standard")));
            project->addContainer(container);
            containers.append(container);
        }
        using ModelBuilder::PinSpec;
        for (int i = 0; i < size / 2; ++i) {
            BlockLibrary* library = containers.at(i % 2)->library();
            const QString identifier = QStringLiteral("StandardBlock_%1").arg(10000 + i);
            const QString name = QStringLiteral("Baustein %1").arg(i);
            for (unsigned int version : {0u, 1u})
                ModelBuilder::primitive(library, identifier, name, {{QStringLiteral("E1")}, {QStringLiteral("E2")}},
                                        {{QStringLiteral("A")}}, QString(), version);
        }
        BlockDefinition* andDef = ModelBuilder::newest(ModelBuilder::primitive(
            containers.first()->library(), QStringLiteral("StandardBlock_1"), QStringLiteral("UND"),
            {{QStringLiteral("E1")}, {QStringLiteral("E2")}}, {{QStringLiteral("A")}}, QStringLiteral("and")));
        BlockCode* root = area->rootDefinition()->code();
        for (int c = 0; c < size / 100; ++c) {
            Block* block = ModelBuilder::composite(containers.first()->library(), QStringLiteral("StandardBlock_%1").arg(1000 + c),
                                                   QStringLiteral("Gruppe %1").arg(c), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
            BlockCode* code = ModelBuilder::newest(block)->code();
            const bool blocked = code->blockChangeSignals(true);
            for (int i = 0; i < 100; ++i)
                ModelBuilder::place(code, andDef, QPointF((i % 10) * 8, (i / 10) * 6));
            code->blockChangeSignals(blocked);
            ModelBuilder::place(root, ModelBuilder::newest(block), QPointF((c % 10) * 8, (c / 10) * 6));
        }
        project->activate();
    }

    int versionCount() const
    {
        int count = 0;
        for (const BlockLibraryContainer* container : BlockRepository::instance().containers()) {
            for (const Block* block : container->library()->blocks())
                count += int(block->versions().size());
        }
        return count;
    }
};

bool plainMatch(const QString& candidate, const QString& text)
{
    return candidate.contains(text, Qt::CaseInsensitive);
}

// The definition's texts in the search's order, compared plainly.
bool plainDefinitionMatch(const BlockDefinition* definition, const QString& text)
{
    const Block* block = definition->block();
    if (plainMatch(block->shortName(), text) || plainMatch(block->name().text(), text))
        return true;
    for (unsigned int number : {block->standardBlockNumber(), block->systemBlockNumber(), block->magicBlockNumber(),
                                block->toolBlockNumber()}) {
        if (plainMatch(QString::number(number), text))
            return true;
    }
    const QList<int> pins = definition->pins();
    const BlockPin* pin = pins.isEmpty() ? nullptr : definition->pin(pins.first());
    return pin && plainMatch(pin->shortName(), text);
}

std::unique_ptr<QTreeWidget> plainTree()
{
    auto tree = std::make_unique<QTreeWidget>();
    tree->setColumnCount(4);
    tree->setHeaderLabels({QStringLiteral("Name"), QStringLiteral("Nummer"), QStringLiteral("Version"), QStringLiteral("Favorit")});
    tree->setSortingEnabled(true);
    tree->resize(400, 600);
    tree->show();
    return tree;
}

void addPlainRows(QTreeWidget* tree, const QString& section, const QList<QStringList>& rows)
{
    if (rows.isEmpty())
        return;
    auto* top = new QTreeWidgetItem(QStringList{section});
    QList<QTreeWidgetItem*> children;
    children.reserve(rows.size());
    for (const QStringList& row : rows)
        children.append(new QTreeWidgetItem(row));
    top->addChildren(children);
    tree->addTopLevelItem(top);
    top->setExpanded(true);
}

int plainLibrarySearch(QTreeWidget* tree, const QString& text)
{
    QList<QStringList> rows;
    for (const BlockLibraryContainer* container : BlockRepository::instance().containers()) {
        const BlockLibrary* library = container->library();
        for (const QString& identifier : library->blockIdentifiers()) {
            const Block* block = library->block(identifier);
            for (unsigned int version : block->versions()) {
                const BlockDefinition* definition = block->blockDefinition(version);
                if (plainDefinitionMatch(definition, text))
                    rows.append({block->name().text(), block->displayNumber(), QString::number(version), QString()});
            }
        }
    }
    addPlainRows(tree, QStringLiteral("Bibliothek"), rows);
    return int(rows.size());
}

void plainNodeWalk(const BlockInstanceHierarchyNode* node, const QString& text, QList<QStringList>& rows)
{
    const BlockInstance* instance = node->blockInstance();
    const BlockDefinition* definition = instance ? instance->blockDefinition() : nullptr;
    if (!definition)
        return;
    if (plainDefinitionMatch(definition, text))
        rows.append({instance->name(), instance->numberText(), QString::number(instance->version()), QString()});
    for (int identifier : node->instanceNodes())
        plainNodeWalk(node->instanceNode(unsigned(identifier)), text, rows);
}

int plainHierarchySearch(QTreeWidget* tree, BlockInstanceArea* area, const QString& text)
{
    QList<QStringList> rows;
    plainNodeWalk(area->hierarchy()->rootNode(), text, rows);
    addPlainRows(tree, QStringLiteral("Hierarchie"), rows);
    return int(rows.size());
}

int hitCount(QTreeWidget* tree)
{
    int count = 0;
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        count += tree->topLevelItem(i)->childCount();
    return count;
}

struct Case
{
    const char* name;
    QString text;
    bool libraries;
};

// One model of the size, searched in each way, with the view made once as in the editor.
void runSize(int size, int runs)
{
    Fixture fixture(size);

    BlockSearchView view;
    view.resize(400, 541);
    view.setBlockInstanceRoot(fixture.area);
    view.show();
    auto* edit = view.findChild<QLineEdit*>(QStringLiteral("searchTextEdit"));
    auto* start = view.findChild<QPushButton*>(QStringLiteral("startButton"));
    auto* inLibrary = view.findChild<QCheckBox*>(QStringLiteral("inLibraryCheckBox"));
    auto* inHierarchy = view.findChild<QCheckBox*>(QStringLiteral("inHierarchyCheckBox"));
    auto* results = view.findChild<QTreeWidget*>();
    QCoreApplication::processEvents();

    const QList<Case> cases{
        {"libraries, no hit", QStringLiteral("xyz"), true},
        {"libraries, a fifth a hit", QStringLiteral("baustein 1"), true},
        {"libraries, every version a hit", QStringLiteral("baustein"), true},
        {"hierarchy, no hit", QStringLiteral("xyz"), false},
        {"hierarchy, every gate a hit", QStringLiteral("und"), false},
    };

    for (const Case& c : cases) {
        inLibrary->setChecked(c.libraries);
        inHierarchy->setChecked(!c.libraries);
        edit->setText(c.text);
        const BenchResult ours = measure(runs, nullptr, [&] {
            start->click();
            QCoreApplication::processEvents();
        });
        const int hits = hitCount(results);

        // Both clear the hits of the run before, as a new search does.
        std::unique_ptr<QTreeWidget> plain = plainTree();
        int plainHits = 0;
        const BenchResult floor = measure(runs, nullptr, [&] {
            plain->clear();
            plainHits = c.libraries ? plainLibrarySearch(plain.get(), c.text) : plainHierarchySearch(plain.get(), fixture.area, c.text);
            QCoreApplication::processEvents();
        });
        if (hits != plainHits)
            std::printf("%s: %d hits, the floor %d\n", c.name, hits, plainHits);
        const int walked = c.libraries ? fixture.versionCount() : fixture.area->hierarchy()->nodeCount();
        const QByteArray label = QByteArray(c.name) + " (" + QByteArray::number(hits) + ")";
        printRow(label.constData(), walked, ours, floor);
    }
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const int runs = argc > 1 ? QByteArray(argv[1]).toInt() : 7;
    printHeader();
    for (int size : {1000, 10000})
        runSize(size, runs);
    return 0;
}
