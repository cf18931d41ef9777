// Costs of the blocks list of the library panel on a large user library: the fill when the
// library is chosen, and the refill after one version was added. The floor is a bare QTreeWidget
// given as many rows with the same four columns, icons and data, built off the view and inserted
// at once in name order, sorted by the view once the same way.
//   QT_QPA_PLATFORM=offscreen ./build/bench/bench_library [runs] [sizes...]
#include "BenchProject.h"
#include "BenchTable.h"

#include "BlockBookmarkRepository.h"
#include "BlockRepository.h"
#include "BlocksWidget.h"

#include <QApplication>
#include <QHeaderView>
#include <QDir>
#include <QIcon>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <QTreeWidgetItem>

#include <algorithm>
#include <memory>

namespace {

constexpr int kVersionsPerBlock = 4;

// A user library of `versions` definitions: blocks of four versions each, named in no order
// (the floor's rows come in the same order, so that both sorts have the same work).
struct LibraryFixture
{
    BenchProject base;
    BlockLibraryContainer* user = nullptr;
    QList<Block*> blocks;

    explicit LibraryFixture(int versions)
    {
        user = new BlockLibraryContainer(QStringLiteral("U"), BlockLibraryContainer::UserLibraryKind,
                                         Text(LanguageManager::German, QStringLiteral("Eigene")));
        base.project->addContainer(user);
        const int count = versions / kVersionsPerBlock;
        for (int b = 0; b < count; ++b) {
            const int scrambled = (b * 7919) % count;
            Block* block = ModelBuilder::primitive(user->library(), QStringLiteral("UserBlock_%1").arg(b),
                                                   QStringLiteral("Baustein %1").arg(scrambled), {{QStringLiteral("E")}},
                                                   {{QStringLiteral("A")}});
            block->setUserBlock(true);
            for (int v = 1; v < kVersionsPerBlock; ++v)
                block->createDefinition(unsigned(v));
            blocks.append(block);
        }
        base.project->activate();
    }
};

std::unique_ptr<QTreeWidget> plainList()
{
    auto list = std::make_unique<QTreeWidget>();
    list->setColumnCount(4);
    list->setHeaderLabels({QStringLiteral("Name"), QStringLiteral("Nummer"), QStringLiteral("Version"), QStringLiteral("Favorit")});
    list->setSortingEnabled(true);
    list->resize(400, 600);
    return list;
}

void fillPlain(QTreeWidget* list, int rows)
{
    static const QIcon icon(QStringLiteral(":/Resources/DefaultBlockIconSmall.png"));
    static const QIcon star(QStringLiteral(":/Resources/starEmpty.png"));
    list->clear();
    list->setSortingEnabled(false);
    QList<QTreeWidgetItem*> items;
    items.reserve(rows);
    const int blocks = std::max(1, rows / kVersionsPerBlock);
    for (int i = 0; i < rows; ++i) {
        const int block = i / kVersionsPerBlock;
        const int scrambled = (block * 7919) % blocks;
        auto* row = new QTreeWidgetItem;
        row->setIcon(0, icon);
        row->setText(0, QStringLiteral("Baustein %1").arg(scrambled));
        row->setData(1, Qt::DisplayRole, QStringLiteral("UserBlock_%1").arg(block));
        row->setData(2, Qt::DisplayRole, unsigned(i % kVersionsPerBlock));
        row->setData(2, Qt::UserRole, QStringLiteral("UserBlock_%1").arg(block));
        row->setData(2, Qt::UserRole + 1, unsigned(i % kVersionsPerBlock));
        row->setIcon(3, star);
        items.append(row);
    }
    // Handed over in name order, as the list does: the view's own sort then finds little to move.
    std::stable_sort(items.begin(), items.end(),
                     [](const QTreeWidgetItem* left, const QTreeWidgetItem* right) { return left->text(0) < right->text(0); });
    list->addTopLevelItems(items);
    list->header()->setSortIndicator(0, Qt::AscendingOrder);
    list->setSortingEnabled(true);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    // The stars are looked up in favourites of the run's own, not in the machine's shared file.
    QTemporaryDir favourites;
    QDir(favourites.path()).mkpath(QStringLiteral("Marlenbach Motion"));
    BlockBookmarkRepository::setCommonDataFolder(favourites.path());
    const int runs = argc > 1 ? QByteArray(argv[1]).toInt() : 7;
    QList<int> sizes;
    for (int i = 2; i < argc; ++i)
        sizes.append(QByteArray(argv[i]).toInt());
    if (sizes.isEmpty())
        sizes = {2500, 5000, 10000};

    printHeader();
    for (int size : std::as_const(sizes)) {
        LibraryFixture fixture(size);
        BlocksWidget list;
        list.setup();
        list.resize(400, 600);
        list.show();
        auto plain = plainList();
        plain->show();

        // The library chosen in the groups tree.
        const BenchResult fill = measure(runs, [&] { list.updatePath(QStringLiteral("1")); }, [&] {
            list.updatePath(QStringLiteral("Eigene"));
            QCoreApplication::processEvents();
        });
        if (list.topLevelItemCount() != size)
            std::printf("the list shows %d rows, not %d\n", list.topLevelItemCount(), size);
        const BenchResult fillFloor = measure(runs, [&] { plain->clear(); }, [&] {
            fillPlain(plain.get(), size);
            QCoreApplication::processEvents();
        });
        printRow("fill on choosing the library", size, fill, fillFloor);

        // One more version of one block: the library's signal refills the list.
        int next = 0;
        const BenchResult refill = measure(runs, nullptr, [&] {
            fixture.blocks.at(next++ % fixture.blocks.size())->createDefinition();
            QCoreApplication::processEvents();
        });
        const BenchResult refillFloor = measure(runs, nullptr, [&] {
            fillPlain(plain.get(), size + 1);
            QCoreApplication::processEvents();
        });
        printRow("refill after one version added", size, refill, refillFloor);
    }
    return 0;
}
