#include "BookmarkFiles.h"
#include "DragCapture.h"
#include "MenuLookup.h"
#include "Pictures.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockBookmark.h"
#include "BlockBookmarkFolder.h"
#include "BlockBookmarkRepository.h"
#include "BlockBookmarkView.h"
#include "BlockBookmarkWidget.h"
#include "BlockDefinition.h"
#include "BlockLibrary.h"
#include "BlockPreview.h"
#include "BlockRepository.h"
#include "ModelBuilder.h"
#include "System.h"

#include <QApplication>
#include <QDropEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>

namespace {

constexpr int kItemIdRole = Qt::UserRole + 3;

void dumpRows(const QTreeWidgetItem* row, int depth, QStringList& lines)
{
    for (int i = 0; i < row->childCount(); ++i) {
        const QTreeWidgetItem* child = row->child(i);
        QString line = QString(depth * 2, QLatin1Char(' ')) + child->text(0);
        if (!child->text(1).isEmpty())
            line += QLatin1Char(' ') + child->text(1) + QLatin1Char('/') + child->text(2);
        lines.append(line);
        dumpRows(child, depth + 1, lines);
    }
}

// The rows as the user sees them: "text number/version", indented by depth.
QStringList shown(const QTreeWidget& tree)
{
    QStringList lines;
    dumpRows(tree.invisibleRootItem(), 0, lines);
    return lines;
}

QTreeWidgetItem* rowOf(const QTreeWidget& tree, const QString& id)
{
    const QList<QTreeWidgetItem*> rows = tree.findItems(QStringLiteral("*"), Qt::MatchWildcard | Qt::MatchRecursive);
    for (QTreeWidgetItem* row : rows) {
        if (row->data(2, kItemIdRole).toString() == id)
            return row;
    }
    return nullptr;
}

BlockDefinition* definitionOf(const TestModel& model, const QString& identifier)
{
    return ModelBuilder::newest(model.block(identifier));
}

BlockBookmark* addMark(const TestModel& model, const QString& identifier, BlockBookmarkFolder* folder)
{
    auto* bookmark = new BlockBookmark(nullptr, definitionOf(model, identifier));
    BlockBookmarkRepository::instance().addItem(bookmark, folder);
    return bookmark;
}

// Drops whatever is current at a point of the viewport, as the end of a drag within the tree.
Qt::DropAction dropAt(QTreeWidget& tree, const QPoint& point)
{
    QMimeData data;
    data.setData(QStringLiteral("zk6/blockbookmarkidentifier"), QByteArray("x;0"));
    // The toolkit hands a drop only to the widget that took the drag when it entered.
    QDragEnterEvent enter(point, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(tree.viewport(), &enter);
    QDropEvent event(QPointF(point), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(tree.viewport(), &event);
    return event.dropAction();
}

QPoint centreOf(const QTreeWidget& tree, const QTreeWidgetItem* row)
{
    return tree.visualItemRect(row).center();
}

} // namespace

class tst_BlockBookmarkWidget : public QObject
{
    Q_OBJECT

private:
    BlockBookmarkRepository& bookmarks() { return BlockBookmarkRepository::instance(); }

private Q_SLOTS:
    void init()
    {
        System::instance().setUserAccessLevelCode(3);
        resetBookmarks();
        System::instance().clearMessages();
    }
    void cleanup() { resetBookmarks(); }

    void setupAndRows()
    {
        TestModel model;
        BlockBookmarkFolder* folder = bookmarks().addFolder(QStringLiteral("Logik"), nullptr);
        addMark(model, QStringLiteral("StandardBlock_2"), folder);
        addMark(model, QStringLiteral("ToolBlock_8000008"), nullptr);
        BlockBookmarkView view;
        BlockBookmarkWidget* tree = view.bookmarkWidget();
        QCOMPARE(tree->property("HelpId").toString(), QStringLiteral("BlockGroupsWidget"));
        QCOMPARE(tree->headerItem()->text(0), QStringLiteral("Name"));
        QCOMPARE(tree->headerItem()->text(1), QStringLiteral("Nummer"));
        QCOMPARE(tree->headerItem()->text(2), QStringLiteral("Version"));
        QCOMPARE(tree->model()->mimeTypes(), (QStringList{QStringLiteral("text/uri-list"), QStringLiteral("zk6/blockbookmarkidentifier")}));
        QCOMPARE(tree->contextMenuPolicy(), Qt::CustomContextMenu);
        QVERIFY(tree->isSortingEnabled());
        QCOMPARE(tree->dragDropMode(), QAbstractItemView::DragDrop);
        QCOMPARE(shown(*tree), (QStringList{QStringLiteral("Logik"), QStringLiteral("  ODER 2/0"), QStringLiteral("Konstante 8000008/1")}));

        QTreeWidgetItem* folderRow = rowOf(*tree, folder->id());
        QVERIFY(folderRow->flags() & Qt::ItemIsEditable);
        QTreeWidgetItem* markRow = folderRow->child(0);
        QVERIFY(!(markRow->flags() & Qt::ItemIsDragEnabled));
        QVERIFY(!(markRow->flags() & Qt::ItemIsDropEnabled));
        QCOMPARE(markRow->data(2, Qt::UserRole).toString(), QStringLiteral("StandardBlock_2"));
        QCOMPARE(markRow->data(2, Qt::UserRole + 1).toUInt(), 0u);
        QCOMPARE(tree->invisibleRootItem()->data(2, kItemIdRole).toString(), bookmarks().rootFolder()->id());
        QVERIFY(!markRow->icon(0).isNull());
    }

    void dragCarriesBothFormats()
    {
        TestModel model;
        BlockBookmark* mark = addMark(model, QStringLiteral("StandardBlock_1"), nullptr);
        BlockBookmarkFolder* folder = bookmarks().addFolder(QStringLiteral("F"), nullptr);
        BlockBookmarkView view;
        BlockBookmarkWidget* tree = view.bookmarkWidget();
        std::unique_ptr<QMimeData> data(tree->dragData(rowOf(*tree, mark->id())));
        QVERIFY(data);
        QCOMPARE(data->data(QStringLiteral("zk6/blockbookmarkidentifier")), QByteArray("StandardBlock_1;0"));
        QCOMPARE(data->data(QStringLiteral("zk6/blockdefinitionidentifier")), QByteArray("StandardBlock_1;0"));
        QCOMPARE(tree->dragData(rowOf(*tree, folder->id())), nullptr);
        QCOMPARE(tree->dragData(nullptr), nullptr);
    }

    // The picture under the cursor is the block as the preview draws it, 300 wide and in the
    // block's proportion, with both formats and the hot spot of the library list's drag.
    void dragShowsTheBlockPreview()
    {
        TestModel model;
        BlockBookmarkFolder* folder = bookmarks().addFolder(QStringLiteral("F"), nullptr);
        BlockBookmark* mark = addMark(model, QStringLiteral("StandardBlock_1"), folder);
        BlockBookmarkView view;
        view.resize(400, 300);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        BlockBookmarkWidget* tree = view.bookmarkWidget();
        tree->expandAll();
        QWidget* viewport = tree->viewport();
        const QPoint start = centreOf(*tree, rowOf(*tree, mark->id()));
        QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, start);
        const QPoint far = start + QPoint(QApplication::startDragDistance() + 2, 0);
        const DragRecord drag = captureDrag(tree, [&] {
            QMouseEvent move(QEvent::MouseMove, QPointF(far), viewport->mapToGlobal(QPointF(far)), Qt::NoButton, Qt::LeftButton,
                             Qt::NoModifier);
            QApplication::sendEvent(viewport, &move);
        });
        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, far);
        QVERIFY(drag.started);
        QCOMPARE(drag.payload.value(QStringLiteral("zk6/blockbookmarkidentifier")), QByteArray("StandardBlock_1;0"));
        QCOMPARE(drag.payload.value(QStringLiteral("zk6/blockdefinitionidentifier")), QByteArray("StandardBlock_1;0"));
        QCOMPARE(drag.hotSpot, QPoint(40, 10));
        const QImage expected = BlockPreview().image(definitionOf(model, QStringLiteral("StandardBlock_1")));
        QVERIFY(!expected.isNull());
        QCOMPARE(drag.picture.size(), expected.size());
        QCOMPARE(drag.picture.width(), 300);
        QVERIFY(inkedPixels(drag.picture) > 0);
        QCOMPARE(drag.picture.convertToFormat(QImage::Format_ARGB32_Premultiplied),
                 expected.convertToFormat(QImage::Format_ARGB32_Premultiplied));
    }

    void dropOnABookmarkPutsTheSourceFirstInItsFolder()
    {
        TestModel model;
        BlockBookmarkFolder* folder = bookmarks().addFolder(QStringLiteral("F"), nullptr);
        addMark(model, QStringLiteral("StandardBlock_1"), folder);
        BlockBookmark* target = addMark(model, QStringLiteral("StandardBlock_2"), folder);
        BlockBookmark* source = addMark(model, QStringLiteral("StandardBlock_3"), nullptr);
        BlockBookmarkView view;
        view.resize(400, 400);
        view.show();
        BlockBookmarkWidget* tree = view.bookmarkWidget();
        tree->expandAll();
        tree->setCurrentItem(rowOf(*tree, source->id()));
        QSignalSpy changed(&bookmarks(), &BlockBookmarkRepository::changed);
        dropAt(*tree, centreOf(*tree, rowOf(*tree, target->id())));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(bookmarkTree(bookmarks().rootFolder()),
                 (QStringList{QStringLiteral("[F]"), QStringLiteral("  StandardBlock_3;0"), QStringLiteral("  StandardBlock_1;0"),
                              QStringLiteral("  StandardBlock_2;0")}));
        // The row moved with it, the same row as before.
        QCOMPARE(rowOf(*tree, source->id())->parent(), rowOf(*tree, folder->id()));
    }

    void dropInTheEmptyAreaAppendsToTheRoot()
    {
        TestModel model;
        BlockBookmarkFolder* folder = bookmarks().addFolder(QStringLiteral("F"), nullptr);
        BlockBookmark* inFolder = addMark(model, QStringLiteral("StandardBlock_1"), folder);
        BlockBookmark* first = addMark(model, QStringLiteral("StandardBlock_2"), nullptr);
        addMark(model, QStringLiteral("StandardBlock_3"), nullptr);
        BlockBookmarkView view;
        view.resize(400, 400);
        view.show();
        BlockBookmarkWidget* tree = view.bookmarkWidget();
        tree->expandAll();
        const QPoint empty(5, tree->viewport()->height() - 5);
        QVERIFY(!tree->indexAt(empty).isValid());

        tree->setCurrentItem(rowOf(*tree, inFolder->id()));
        dropAt(*tree, empty);
        tree->setCurrentItem(rowOf(*tree, first->id()));
        dropAt(*tree, empty);
        QCOMPARE(bookmarkTree(bookmarks().rootFolder()),
                 (QStringList{QStringLiteral("[F]"), QStringLiteral("StandardBlock_3;0"), QStringLiteral("StandardBlock_1;0"),
                              QStringLiteral("StandardBlock_2;0")}));
        // Without a current row nothing moves.
        tree->setCurrentItem(nullptr);
        QSignalSpy changed(&bookmarks(), &BlockBookmarkRepository::changed);
        dropAt(*tree, empty);
        QCOMPARE(changed.count(), 0);
    }

    void folderCannotGoBelowItself()
    {
        TestModel model;
        BlockBookmarkFolder* outer = bookmarks().addFolder(QStringLiteral("Aussen"), nullptr);
        BlockBookmarkFolder* inner = bookmarks().addFolder(QStringLiteral("Innen"), outer);
        BlockBookmark* deep = addMark(model, QStringLiteral("StandardBlock_1"), inner);
        BlockBookmarkView view;
        view.resize(400, 400);
        view.show();
        BlockBookmarkWidget* tree = view.bookmarkWidget();
        tree->expandAll();
        const QStringList before = bookmarkTree(bookmarks().rootFolder());
        tree->setCurrentItem(rowOf(*tree, outer->id()));
        QSignalSpy changed(&bookmarks(), &BlockBookmarkRepository::changed);
        for (const QString& id : {outer->id(), inner->id(), deep->id()})
            QCOMPARE(dropAt(*tree, centreOf(*tree, rowOf(*tree, id))), Qt::IgnoreAction);
        QCOMPARE(changed.count(), 0);
        QCOMPARE(bookmarkTree(bookmarks().rootFolder()), before);
        // The other way round is a move to the front of the target.
        tree->setCurrentItem(rowOf(*tree, inner->id()));
        dropAt(*tree, centreOf(*tree, rowOf(*tree, outer->id())));
        QCOMPARE(changed.count(), 1);
    }

    void hiddenBookmarksStayInTheTree()
    {
        TestModel model;
        BlockBookmarkFolder* folder = bookmarks().addFolder(QStringLiteral("Nur versteckt"), nullptr);
        addMark(model, QStringLiteral("StandardBlock_3"), folder);
        BlockBookmarkFolder* mixed = bookmarks().addFolder(QStringLiteral("Gemischt"), nullptr);
        addMark(model, QStringLiteral("StandardBlock_3"), mixed);
        addMark(model, QStringLiteral("StandardBlock_1"), mixed);
        BlockBookmarkView view;
        BlockBookmarkWidget* tree = view.bookmarkWidget();
        QCOMPARE(shown(*tree).size(), 5);

        definitionOf(model, QStringLiteral("StandardBlock_3"))->setAccessLevelRead(5);
        System::instance().setUserAccessLevelCode(4);
        QCOMPARE(shown(*tree).size(), 3);
        QCOMPARE(rowOf(*tree, folder->id())->childCount(), 0);
        QCOMPARE(rowOf(*tree, mixed->id())->childCount(), 1);
        QCOMPARE(rowOf(*tree, mixed->id())->child(0)->text(1), QStringLiteral("1"));
        QCOMPARE(bookmarkTree(bookmarks().rootFolder()).size(), 5);
        QVERIFY(readFile(bookmarkFilePath()).contains("StandardBlock_3"));

        // Deleting the visible folder takes its hidden bookmarks along.
        tree->setCurrentItem(rowOf(*tree, mixed->id()));
        tree->deleteSelectedBookmark();
        QCOMPARE(bookmarkTree(bookmarks().rootFolder()),
                 (QStringList{QStringLiteral("[Nur versteckt]"), QStringLiteral("  StandardBlock_3;0")}));
        QCOMPARE(shown(*tree), QStringList{QStringLiteral("Nur versteckt")});

        // A block that has gone is hidden alike and is kept.
        System::instance().setUserAccessLevelCode(5);
        QCOMPARE(shown(*tree).size(), 2);
        Block* gone = model.block(QStringLiteral("StandardBlock_3"));
        delete gone->ownerLibrary()->removeBlock(gone->identifier());
        tree->update();
        QCOMPARE(shown(*tree), QStringList{QStringLiteral("Nur versteckt")});
        QCOMPARE(bookmarkTree(bookmarks().rootFolder()).size(), 2);
    }

    void rowsFollowTheSortNotTheModel()
    {
        TestModel model;
        addMark(model, QStringLiteral("StandardBlock_10"), nullptr);
        BlockBookmarkFolder* zeta = bookmarks().addFolder(QStringLiteral("Zeta"), nullptr);
        addMark(model, QStringLiteral("StandardBlock_2"), nullptr);
        bookmarks().addFolder(QStringLiteral("Alpha"), nullptr);
        addMark(model, QStringLiteral("StandardBlock_3"), zeta);
        addMark(model, QStringLiteral("StandardBlock_1"), zeta);
        BlockBookmarkView view;
        BlockBookmarkWidget* tree = view.bookmarkWidget();
        // Folders have no number and come first, in the order the view keeps them; then by number.
        const QStringList rows = shown(*tree);
        QCOMPARE(rows.size(), 6);
        const QStringList topFolders{tree->invisibleRootItem()->child(0)->text(0), tree->invisibleRootItem()->child(1)->text(0)};
        QVERIFY(topFolders.contains(QStringLiteral("Zeta")));
        QVERIFY(topFolders.contains(QStringLiteral("Alpha")));
        QCOMPARE(tree->invisibleRootItem()->child(2)->text(1), QStringLiteral("2"));
        QCOMPARE(tree->invisibleRootItem()->child(3)->text(1), QStringLiteral("10"));
        QTreeWidgetItem* zetaRow = rowOf(*tree, zeta->id());
        QCOMPARE(zetaRow->child(0)->text(1), QStringLiteral("1"));
        QCOMPARE(zetaRow->child(1)->text(1), QStringLiteral("3"));
        QCOMPARE(bookmarkTree(bookmarks().rootFolder()).at(0), QStringLiteral("StandardBlock_10;0"));
    }

    void renamingToTheSameNameStillSaves()
    {
        bookmarks().addFolder(QStringLiteral("Gleich"), nullptr);
        BlockBookmarkView view;
        BlockBookmarkWidget* tree = view.bookmarkWidget();
        QTreeWidgetItem* row = tree->invisibleRootItem()->child(0);
        QSignalSpy changed(&bookmarks(), &BlockBookmarkRepository::changed);
        const QByteArray before = readFile(bookmarkFilePath());
        row->setText(0, QStringLiteral("Gleich"));
        tree->handleItemChanged(row, 0);
        QCOMPARE(changed.count(), 1);
        row->setText(0, QStringLiteral("Anders"));
        QCOMPARE(changed.count(), 2);
        QCOMPARE(bookmarks().rootFolder()->child(0)->name(), QStringLiteral("Anders"));
        QVERIFY(readFile(bookmarkFilePath()) != before);
        tree->handleItemChanged(nullptr, 0);
        tree->handleItemChanged(row, 1);
        QCOMPARE(changed.count(), 2);
    }

    void rowsSurviveOwnChangesAndNotReloads()
    {
        TestModel model;
        BlockBookmarkFolder* folder = bookmarks().addFolder(QStringLiteral("F"), nullptr);
        BlockBookmarkView view;
        BlockBookmarkWidget* tree = view.bookmarkWidget();
        QTreeWidgetItem* row = rowOf(*tree, folder->id());
        addMark(model, QStringLiteral("StandardBlock_1"), folder);
        QCOMPARE(rowOf(*tree, folder->id()), row);
        QCOMPARE(row->childCount(), 1);
        // A reload makes new items with new ids: the old ones and their rows are gone.
        const QString oldId = folder->id();
        writeBookmarkFile(readFile(bookmarkFilePath()));
        QTRY_VERIFY(!rowOf(*tree, oldId));
        QCOMPARE(shown(*tree), (QStringList{QStringLiteral("F"), QStringLiteral("  UND 1/0")}));
    }

    void menuAndKeys()
    {
        TestModel model;
        BlockBookmarkFolder* folder = bookmarks().addFolder(QStringLiteral("F"), nullptr);
        BlockBookmark* mark = addMark(model, QStringLiteral("StandardBlock_1"), folder);
        BlockBookmarkView view;
        view.show();
        BlockBookmarkWidget* tree = view.bookmarkWidget();
        tree->showContextMenu(QPoint(5, 5));
        auto* menu = tree->findChild<QMenu*>();
        QVERIFY(menu);
        QCOMPARE(actionTextsWithSeparators(menu),
                 (QStringList{QStringLiteral("Element entfernen"), QStringLiteral("|"), QStringLiteral("Ordner erstellen")}));
        QVERIFY(menu->separatorsCollapsible());
        menu->hide();

        // A new folder goes beside the current bookmark, and isn't opened for editing.
        tree->setCurrentItem(rowOf(*tree, mark->id()));
        actionNamed(menu, QStringLiteral("Ordner erstellen"))->trigger();
        QCOMPARE(bookmarkTree(bookmarks().rootFolder()),
                 (QStringList{QStringLiteral("[F]"), QStringLiteral("  StandardBlock_1;0"), QStringLiteral("  [Neuer Ordner]")}));
        QVERIFY(!tree->findChild<QLineEdit*>());
        tree->setCurrentItem(nullptr);
        tree->addBookmarkFolder();
        QCOMPARE(bookmarkTree(bookmarks().rootFolder()).last(), QStringLiteral("[Neuer Ordner]"));

        // Delete removes the current row's item without asking.
        tree->setCurrentItem(rowOf(*tree, mark->id()));
        QTest::keyClick(tree, Qt::Key_Delete);
        QCOMPARE(bookmarkTree(bookmarks().rootFolder()),
                 (QStringList{QStringLiteral("[F]"), QStringLiteral("  [Neuer Ordner]"), QStringLiteral("[Neuer Ordner]")}));
        tree->setCurrentItem(nullptr);
        QSignalSpy changed(&bookmarks(), &BlockBookmarkRepository::changed);
        tree->deleteSelectedBookmark();
        QCOMPARE(changed.count(), 0);
    }

    void helpKeyAsksForTheBlock()
    {
        TestModel model;
        BlockBookmarkFolder* folder = bookmarks().addFolder(QStringLiteral("F"), nullptr);
        BlockBookmark* mark = addMark(model, QStringLiteral("StandardBlock_2"), folder);
        BlockBookmarkView view;
        view.show();
        BlockBookmarkWidget* tree = view.bookmarkWidget();
        QSignalSpy help(&BlockRepository::instance(), &BlockRepository::helpRequested);
        tree->setCurrentItem(nullptr);
        QTest::keyClick(tree, Qt::Key_F1);
        tree->setCurrentItem(rowOf(*tree, folder->id()));
        QTest::keyClick(tree, Qt::Key_F1);
        QCOMPARE(help.count(), 0);
        tree->setCurrentItem(rowOf(*tree, mark->id()));
        QTest::keyClick(tree, Qt::Key_Help);
        QCOMPARE(help.count(), 1);
        QCOMPARE(help.at(0).at(0).toString(), QStringLiteral("StandardBlock_2;0"));
        closeHelpWindow();
    }
};

ZK_TEST_REGISTER(tst_BlockBookmarkWidget)
#include "tst_BlockBookmarkWidget.moc"
