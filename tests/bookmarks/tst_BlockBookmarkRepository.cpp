#include "BookmarkFiles.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockBookmark.h"
#include "BlockBookmarkFolder.h"
#include "BlockBookmarkRepository.h"
#include "BlockDefinition.h"
#include "BlockLibraryContainer.h"
#include "IniParser.h"
#include "ModelBuilder.h"
#include "System.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

BlockDefinition* definitionOf(const TestModel& model, const QString& identifier)
{
    Block* block = model.block(identifier);
    return block ? ModelBuilder::newest(block) : nullptr;
}

QStringList messagesOf(SystemMessage::eSeverity severity)
{
    QStringList texts;
    for (const SystemMessage& message : System::instance().messages()) {
        if (message.severity == severity && message.origin == QStringLiteral("Baustein Favoriten"))
            texts.append(message.text);
    }
    return texts;
}

QByteArray bookmarkSection(const QByteArray& path, const QByteArray& identifier, const QByteArray& version,
                           const QByteArray& name = "Name")
{
    return "[" + path + "]\ntype=blockbookmark\nname=" + name + "\nidentifier=" + identifier + "\nversion=" + version + "\n";
}

QByteArray folderSection(const QByteArray& path, const QByteArray& name)
{
    return "[" + path + "]\ntype=folder\nname=" + name + "\n";
}

} // namespace

class tst_BlockBookmarkRepository : public QObject
{
    Q_OBJECT

private:
    BlockBookmarkRepository& repository() { return BlockBookmarkRepository::instance(); }
    BlockBookmarkFolder* root() { return repository().rootFolder(); }

private Q_SLOTS:
    void init()
    {
        System::instance().setUserAccessLevelCode(3);
        resetBookmarks();
        System::instance().clearMessages();
    }
    void cleanup() { resetBookmarks(); }

    void fileLivesInTheScratchFolder()
    {
        QVERIFY(!bookmarkFilePath().startsWith(QStringLiteral("/var/lib")));
        QVERIFY(bookmarkFilePath().endsWith(QStringLiteral("/Marlenbach Motion/BlockBookmarks.ini")));
    }

    void bookmarkCopiesItsBlock()
    {
        TestModel model;
        BlockDefinition* tool = definitionOf(model, QStringLiteral("ToolBlock_8000008"));
        auto* bookmark = new BlockBookmark(nullptr, tool);
        QCOMPARE(bookmark->type(), 1);
        QCOMPARE(bookmark->name(), QStringLiteral("<empty>"));
        QCOMPARE(bookmark->blockName(), QStringLiteral("Konstante"));
        QCOMPARE(bookmark->identifier(), QStringLiteral("ToolBlock_8000008"));
        QCOMPARE(bookmark->version(), 1u);
        QCOMPARE(bookmark->blockNumber(), QVariant(8000008u));
        QCOMPARE(bookmark->row(), 0u);
        QVERIFY(QUuid(bookmark->id()).isNull() == false);
        QVERIFY(bookmark->id().startsWith(QLatin1Char('{')));
        Block* user = Block::createUserBlock();
        BlockDefinition* userDefinition = user->createDefinition();
        BlockBookmark userBookmark(nullptr, userDefinition);
        QCOMPARE(userBookmark.blockNumber(), QVariant(user->identifier()));
        delete user;
        // It copied what it shows and stays usable after its block has gone.
        QCOMPARE(userBookmark.identifier().isEmpty(), false);
        delete bookmark;
    }

    void folderOperations()
    {
        TestModel model;
        BlockBookmarkFolder top(nullptr, QStringLiteral("top"));
        auto* a = new BlockBookmarkFolder(nullptr, QStringLiteral("A"));
        auto* and1 = new BlockBookmark(nullptr, definitionOf(model, QStringLiteral("StandardBlock_1")));
        auto* or1 = new BlockBookmark(nullptr, definitionOf(model, QStringLiteral("StandardBlock_2")));
        auto* and2 = new BlockBookmark(nullptr, definitionOf(model, QStringLiteral("StandardBlock_1")));
        top.insert(99, a);
        top.insert(0, and1);
        a->insert(5, and2);
        a->insert(0, or1);
        QCOMPARE(top.count(), 2);
        QCOMPARE(top.child(0), and1);
        QCOMPARE(top.child(2), nullptr);
        QCOMPARE(a->parentFolder(), &top);
        QCOMPARE(a->row(), 1u);
        QCOMPARE(and2->row(), 1u);
        QCOMPARE(top.find(top.id()), &top);
        QCOMPARE(top.find(and2->id()), and2);
        QCOMPARE(top.find(QStringLiteral("{nothing}")), nullptr);
        QCOMPARE(top.bookmarks(definitionOf(model, QStringLiteral("StandardBlock_1"))), (QList<BlockBookmark*>{and1, and2}));
        QCOMPARE(top.bookmarks(nullptr), QList<BlockBookmark*>());

        // An item its parent has lost answers all bits set.
        a->remove(or1);
        QCOMPARE(a->count(), 1);
        QCOMPARE(or1->row(), ~0u);
        delete or1;
        a->setName(QStringLiteral("B"));
        QCOMPARE(a->name(), QStringLiteral("B"));

        top.removeBookmarks(definitionOf(model, QStringLiteral("StandardBlock_1")));
        QCOMPARE(top.count(), 1);
        QCOMPARE(a->count(), 0);
        top.remove(a);
        delete a;
    }

    void addSavesAndFindsAgain()
    {
        TestModel model;
        QSignalSpy changed(&repository(), &BlockBookmarkRepository::changed);
        repository().addItem(nullptr, nullptr);
        QCOMPARE(changed.count(), 0);
        BlockBookmarkFolder* folder = repository().addFolder(QStringLiteral("Logik"), nullptr);
        BlockDefinition* andDefinition = definitionOf(model, QStringLiteral("StandardBlock_1"));
        repository().addItem(new BlockBookmark(nullptr, andDefinition), folder);
        repository().addBookmark(definitionOf(model, QStringLiteral("StandardBlock_2")));
        QCOMPARE(changed.count(), 3);
        QVERIFY(repository().isBookmarked(andDefinition));
        QVERIFY(!repository().isBookmarked(definitionOf(model, QStringLiteral("StandardBlock_3"))));
        QVERIFY(!repository().isBookmarked(nullptr));
        QCOMPARE(repository().findItem(QString()), nullptr);
        QCOMPARE(repository().findItem(folder->id()), folder);
        QCOMPARE(bookmarkTree(root()), (QStringList{QStringLiteral("[Logik]"), QStringLiteral("  StandardBlock_1;0"),
                                                    QStringLiteral("StandardBlock_2;0")}));
        QVERIFY(QFile::exists(bookmarkFilePath()));

        repository().renameFolder(folder->id(), QStringLiteral("Gatter"));
        QCOMPARE(changed.count(), 4);
        QCOMPARE(bookmarkFileOrder(readFile(bookmarkFilePath())),
                 (QStringList{QStringLiteral("folder Gatter"), QStringLiteral("blockbookmark StandardBlock_2"), QStringLiteral("blockbookmark StandardBlock_1")}));

        repository().removeBookmarks(nullptr);
        QCOMPARE(changed.count(), 4);
        repository().removeBookmarks(andDefinition);
        QCOMPARE(changed.count(), 5);
        QCOMPARE(bookmarkTree(root()), (QStringList{QStringLiteral("[Gatter]"), QStringLiteral("StandardBlock_2;0")}));
    }

    // The file lists the root's children, then theirs, level by level; each folder keeps its order.
    void fileIsBreadthFirst()
    {
        TestModel model;
        BlockBookmarkFolder* a = repository().addFolder(QStringLiteral("A"), nullptr);
        BlockBookmarkFolder* b = repository().addFolder(QStringLiteral("B"), nullptr);
        BlockBookmarkFolder* a1 = repository().addFolder(QStringLiteral("A1"), a);
        repository().addBookmark(definitionOf(model, QStringLiteral("StandardBlock_1")));
        repository().addItem(new BlockBookmark(nullptr, definitionOf(model, QStringLiteral("StandardBlock_2"))), a1);
        repository().addItem(new BlockBookmark(nullptr, definitionOf(model, QStringLiteral("StandardBlock_3"))), a);
        repository().addItem(new BlockBookmark(nullptr, definitionOf(model, QStringLiteral("StandardBlock_10"))), b);

        const QByteArray text = readFile(bookmarkFilePath());
        QCOMPARE(bookmarkFileOrder(text), (QStringList{QStringLiteral("folder A"), QStringLiteral("folder B"), QStringLiteral("blockbookmark StandardBlock_1"),
                                              QStringLiteral("folder A1"), QStringLiteral("blockbookmark StandardBlock_3"),
                                              QStringLiteral("blockbookmark StandardBlock_10"), QStringLiteral("blockbookmark StandardBlock_2")}));
        MlIniParser::IniParser parser;
        parser.setIniText(text);
        QCOMPARE(parser.sections(), (QList<QByteArray>{"general", "bookmarks"}));
        const QByteArray lastChanged = parser.section("general")->value("lastchanged");
        QVERIFY(QDateTime::fromString(QString::fromUtf8(lastChanged), QStringLiteral("dd.MM.yyyy hh:mm:ss")).isValid());
        const MlIniParser::IniSection* andSection = parser.section("bookmarks")->section(root()->child(2)->id().toUtf8());
        QVERIFY(andSection);
        QCOMPARE(andSection->keys(), (QList<QByteArray>{"type", "name", "blocknumber", "id", "version", "identifier"}));
        QCOMPARE(andSection->value("blocknumber"), QByteArray("1"));
        QCOMPARE(andSection->value("identifier"), QByteArray("StandardBlock_1"));
        const MlIniParser::IniSection* aSection = parser.section("bookmarks")->section(a->id().toUtf8());
        QCOMPARE(aSection->keys(), (QList<QByteArray>{"type", "name", "id"}));

        // Read back, folders come after the bookmarks beside them, as the order on disk gives them.
        writeBookmarkFile(text);
        QTRY_COMPARE(bookmarkTree(root()),
                     (QStringList{QStringLiteral("StandardBlock_1;0"), QStringLiteral("[A]"), QStringLiteral("  StandardBlock_3;0"),
                                  QStringLiteral("  [A1]"), QStringLiteral("    StandardBlock_2;0"), QStringLiteral("[B]"),
                                  QStringLiteral("  StandardBlock_10;0")}));
    }

    void removeItemTakesTheSubtree()
    {
        TestModel model;
        BlockBookmarkFolder* a = repository().addFolder(QStringLiteral("A"), nullptr);
        BlockBookmarkFolder* inner = repository().addFolder(QStringLiteral("inner"), a);
        repository().addItem(new BlockBookmark(nullptr, definitionOf(model, QStringLiteral("StandardBlock_1"))), inner);
        repository().addItem(new BlockBookmark(nullptr, definitionOf(model, QStringLiteral("StandardBlock_2"))), a);
        BlockBookmark* kept = repository().addBookmark(definitionOf(model, QStringLiteral("StandardBlock_3")));
        const QString innerId = inner->id();
        QSignalSpy changed(&repository(), &BlockBookmarkRepository::changed);
        repository().removeItem(a->id(), false);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(repository().findItem(innerId), nullptr);
        QCOMPARE(bookmarkTree(root()), QStringList{QStringLiteral("StandardBlock_3;0")});
        // A lone bookmark leaves its folder before it goes.
        repository().removeItem(kept->id(), true);
        QCOMPARE(root()->count(), 0);
        QCOMPARE(changed.count(), 1);
        // Unknown and empty ids remove nothing but still save.
        repository().removeItem(QStringLiteral("{unknown}"), false);
        repository().removeItem(QString(), false);
        QCOMPARE(changed.count(), 3);
        QCOMPARE(bookmarkFileOrder(readFile(bookmarkFilePath())), QStringList());
    }

    void emptyBookmarksSection()
    {
        writeBookmarkFile("[general]\nlastchanged=01.01.2020 10:00:00\n[bookmarks]\n");
        QTRY_COMPARE(readFile(bookmarkFilePath()).isEmpty(), false);
        QTRY_COMPARE(root()->count(), 0);
        repository().saveBookmarks(true);
        MlIniParser::IniParser parser;
        parser.setIniText(readFile(bookmarkFilePath()));
        QCOMPARE(parser.sections(), (QList<QByteArray>{"general", "bookmarks"}));
        QVERIFY(parser.section("bookmarks")->sections().isEmpty());
        QVERIFY(parser.section("bookmarks")->keys().isEmpty());
    }

    void duplicateAndEmptyIdsMakeNoDifference()
    {
        TestModel model;
        QSignalSpy changed(&repository(), &BlockBookmarkRepository::changed);
        // The same id in two places, and an id that is empty: the ids are made anew on loading.
        writeBookmarkFile("[bookmarks]\n" + bookmarkSection("bookmarks/same", "StandardBlock_1", "0")
                          + folderSection("bookmarks/", "Leer") + bookmarkSection("bookmarks//same", "StandardBlock_2", "0")
                          + bookmarkSection("bookmarks//x", "StandardBlock_3", "0"));
        QTRY_VERIFY(changed.count() >= 2);
        QCOMPARE(bookmarkTree(root()), (QStringList{QStringLiteral("StandardBlock_1;0"), QStringLiteral("[Leer]"),
                                                    QStringLiteral("  StandardBlock_2;0"), QStringLiteral("  StandardBlock_3;0")}));
        QSet<QString> ids{root()->id()};
        for (const QString& id : {root()->child(0)->id(), root()->child(1)->id()}) {
            QVERIFY(!id.isEmpty());
            QVERIFY(!ids.contains(id));
            ids.insert(id);
        }
        QVERIFY(root()->child(0)->id() != QStringLiteral("same"));
    }

    void unknownBlocksAreReportedAndSkipped()
    {
        TestModel model;
        QSignalSpy changed(&repository(), &BlockBookmarkRepository::changed);
        writeBookmarkFile("[bookmarks]\n" + bookmarkSection("bookmarks/a", "StandardBlock_999", "0", "Verloren")
                          + bookmarkSection("bookmarks/b", "StandardBlock_1", "7", "UND") + bookmarkSection("bookmarks/c", "StandardBlock_2", "0"));
        QTRY_VERIFY(changed.count() >= 2);
        QCOMPARE(bookmarkTree(root()), QStringList{QStringLiteral("StandardBlock_2;0")});
        const QStringList critical = messagesOf(SystemMessage::Critical);
        QVERIFY(critical.contains(QStringLiteral("Baustein-Favorit kann nicht erstellt werden. Folgender Baustein wurde nicht gefunden: Verloren")));
        QVERIFY(critical.contains(
            QStringLiteral("Baustein-Favorit kann nicht erstellt werden. Folgender Baustein wurde nicht gefunden: UND / Version: 7")));
        // A skipped entry is gone with the next save.
        repository().saveBookmarks(true);
        QCOMPARE(bookmarkFileOrder(readFile(bookmarkFilePath())), QStringList{QStringLiteral("blockbookmark StandardBlock_2")});
    }

    void invisibleDefinitionIsKept()
    {
        TestModel model;
        BlockDefinition* hidden = definitionOf(model, QStringLiteral("StandardBlock_3"));
        hidden->setAccessLevelRead(5);
        QVERIFY(!hidden->isVisible());
        writeBookmarkFile("[bookmarks]\n" + bookmarkSection("bookmarks/a", "StandardBlock_3", "0"));
        QTRY_COMPARE(bookmarkTree(root()), QStringList{QStringLiteral("StandardBlock_3;0")});
        repository().addFolder(QStringLiteral("X"), nullptr);
        writeBookmarkFile(readFile(bookmarkFilePath()));
        QTRY_COMPARE(bookmarkTree(root()), (QStringList{QStringLiteral("StandardBlock_3;0"), QStringLiteral("[X]")}));
    }

    void badFilesGiveAnEmptyTree_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("foreign") << QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
        QTest::newRow("no bookmarks") << QByteArray("[general]\nlastchanged=x\n[other]\nname=1\n");
        QTest::newRow("truncated header") << QByteArray("[general]\nlastchanged=01.01.2020\n[bookm");
        QTest::newRow("binary noise") << QByteArray(4096, '\xff');
    }
    void badFilesGiveAnEmptyTree()
    {
        QFETCH(QByteArray, bytes);
        TestModel model;
        repository().addBookmark(definitionOf(model, QStringLiteral("StandardBlock_1")));
        QSignalSpy changed(&repository(), &BlockBookmarkRepository::changed);
        writeBookmarkFile(bytes);
        QTRY_VERIFY(changed.count() >= 2);
        QCOMPARE(root()->count(), 0);
        QCOMPARE(messagesOf(SystemMessage::Critical), QStringList());
    }

    void truncatedFileKeepsWhatItHolds()
    {
        TestModel model;
        repository().addBookmark(definitionOf(model, QStringLiteral("StandardBlock_1")));
        repository().addBookmark(definitionOf(model, QStringLiteral("StandardBlock_2")));
        const QByteArray whole = readFile(bookmarkFilePath());
        // Cut in the middle of the second bookmark's identifier: it names a block that doesn't exist.
        const int cut = int(whole.lastIndexOf("StandardBlock_2")) + 10;
        QSignalSpy changed(&repository(), &BlockBookmarkRepository::changed);
        writeBookmarkFile(whole.left(cut));
        QTRY_VERIFY(changed.count() >= 2);
        QCOMPARE(bookmarkTree(root()), QStringList{QStringLiteral("StandardBlock_1;0")});
        QCOMPARE(messagesOf(SystemMessage::Critical).size(), 1);
    }

    // Each outside write is seen, also after the file was replaced by an earlier one.
    void outsideChangesReplaceTheTree()
    {
        TestModel model;
        BlockBookmarkFolder* folder = repository().addFolder(QStringLiteral("Eigen"), nullptr);
        const QString oldId = folder->id();
        for (int round = 0; round < 3; ++round) {
            const QByteArray identifier = "StandardBlock_" + QByteArray::number(round + 1);
            writeBookmarkFile("[bookmarks]\n" + bookmarkSection("bookmarks/a", identifier, "0"));
            QTRY_COMPARE(bookmarkTree(root()), QStringList{QString::fromLatin1(identifier + ";0")});
        }
        QCOMPARE(repository().findItem(oldId), nullptr);
        QVERIFY(QFile::remove(bookmarkFilePath()));
        QTRY_COMPARE(root()->count(), 0);
        // A file made anew while nobody watched its path is found through its folder.
        writeBookmarkFile("[bookmarks]\n" + bookmarkSection("bookmarks/a", "StandardBlock_10", "0"));
        QTRY_COMPARE(bookmarkTree(root()), QStringList{QStringLiteral("StandardBlock_10;0")});
    }

    void ownSavesAreNotReloaded()
    {
        TestModel model;
        BlockBookmarkFolder* folder = repository().addFolder(QStringLiteral("Eigen"), nullptr);
        const QString id = folder->id();
        // A reload of our own save would bring the same tree with new ids.
        bool reloadedOwn = false;
        const QMetaObject::Connection watch = connect(&repository(), &BlockBookmarkRepository::changed, this, [&] {
            if (!repository().findItem(id) && bookmarkTree(root()).contains(QStringLiteral("[Neu]")))
                reloadedOwn = true;
        });
        QSignalSpy changed(&repository(), &BlockBookmarkRepository::changed);
        repository().renameFolder(id, QStringLiteral("Neu"));
        repository().addBookmark(definitionOf(model, QStringLiteral("StandardBlock_1")));
        QCOMPARE(changed.count(), 2);
        // The system queues its notices while the file is replaced: they are there to be read now.
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
        QVERIFY(!reloadedOwn);
        QCOMPARE(repository().findItem(id), folder);
        reloadedOwn = false;
        // And the file is still watched after our own replacement of it.
        writeBookmarkFile("[bookmarks]\n" + folderSection("bookmarks/a", "Fremd"));
        QTRY_COMPARE(bookmarkTree(root()), QStringList{QStringLiteral("[Fremd]")});
        disconnect(watch);
        QVERIFY(!reloadedOwn);
    }

    void missingFolderDoesNothing()
    {
        TestModel model;
        QTemporaryDir elsewhere;
        const QString before = BlockBookmarkRepository::commonDataFolder();
        BlockBookmarkRepository::setCommonDataFolder(elsewhere.path());
        QCOMPARE(root()->count(), 0);
        repository().addBookmark(definitionOf(model, QStringLiteral("StandardBlock_1")));
        QCOMPARE(root()->count(), 1);
        QVERIFY(!QFileInfo::exists(elsewhere.path() + QStringLiteral("/Marlenbach Motion")));
        QCOMPARE(messagesOf(SystemMessage::Critical), QStringList());
        BlockBookmarkRepository::setCommonDataFolder(before);
        QCOMPARE(root()->count(), 0);
    }

    void exportAndImportBack()
    {
        TestModel model;
        BlockBookmarkFolder* a = repository().addFolder(QStringLiteral("A"), nullptr);
        repository().addItem(new BlockBookmark(nullptr, definitionOf(model, QStringLiteral("StandardBlock_2"))), a);
        repository().addBookmark(definitionOf(model, QStringLiteral("StandardBlock_1")));
        repository().addFolder(QStringLiteral("B"), a);
        const QStringList before = bookmarkTree(root());
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("export"));
        repository().exportBookmarks(file);
        QCOMPARE(messagesOf(SystemMessage::Information), QStringList{QStringLiteral("Export der Favoriten erfolgreich")});
        MlIniParser::IniParser parser;
        parser.setIniText(readFile(file));
        QCOMPARE(parser.sections(), (QList<QByteArray>{"general", "bookmarks"}));

        const QString aId = a->id();
        QSignalSpy changed(&repository(), &BlockBookmarkRepository::changed);
        repository().importBookmarks(file);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(bookmarkTree(root()), before);
        QCOMPARE(repository().findItem(aId), a);
    }

    void exportFailureIsAnInformation()
    {
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("missing/export.ini"));
        repository().exportBookmarks(file);
        QCOMPARE(messagesOf(SystemMessage::Information),
                 QStringList{QStringLiteral("Export der Favoriten fehlgeschlagen. Datei kann nicht erstellt werden: ") + file});
    }

    void importOfAMissingFileOnlySaves()
    {
        TestModel model;
        repository().addBookmark(definitionOf(model, QStringLiteral("StandardBlock_1")));
        QSignalSpy changed(&repository(), &BlockBookmarkRepository::changed);
        repository().importBookmarks(QStringLiteral("/nonexistent/bookmarks.ini"));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(bookmarkTree(root()), QStringList{QStringLiteral("StandardBlock_1;0")});
        QCOMPARE(System::instance().messageCount(), 0);
    }

    // A merge adds what is missing at the end of its folder and never deletes or renames.
    void importMerges()
    {
        TestModel model;
        BlockBookmarkFolder* firstA = repository().addFolder(QStringLiteral("A"), nullptr);
        repository().addFolder(QStringLiteral("A"), nullptr);
        repository().addItem(new BlockBookmark(nullptr, definitionOf(model, QStringLiteral("StandardBlock_1"))), firstA);
        repository().addBookmark(definitionOf(model, QStringLiteral("StandardBlock_2")));
        // A magic block with the number of a standard block counts as the same bookmark.
        Block* magicTwin = ModelBuilder::primitive(model.user()->library(), QStringLiteral("MagicBlock_2"), QStringLiteral("Zwilling"), {}, {});
        QVERIFY(magicTwin);

        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("import.ini"));
        QFile out(file);
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write("[bookmarks]\n" + bookmarkSection("bookmarks/1", "MagicBlock_2", "0") + folderSection("bookmarks/2", "A")
                  + bookmarkSection("bookmarks/2/x", "StandardBlock_1", "0") + bookmarkSection("bookmarks/2/y", "StandardBlock_3", "0")
                  + folderSection("bookmarks/2/z", "Neu") + bookmarkSection("bookmarks/2/z/w", "StandardBlock_10", "0")
                  + folderSection("bookmarks/3", "a") + bookmarkSection("bookmarks/4", "StandardBlock_999", "0", "Fehlt"));
        out.close();

        repository().importBookmarks(file);
        QCOMPARE(bookmarkTree(root()),
                 (QStringList{QStringLiteral("[A]"), QStringLiteral("  StandardBlock_1;0"), QStringLiteral("  StandardBlock_3;0"),
                              QStringLiteral("  [Neu]"), QStringLiteral("    StandardBlock_10;0"), QStringLiteral("[A]"),
                              QStringLiteral("StandardBlock_2;0"), QStringLiteral("[a]")}));
        QCOMPARE(messagesOf(SystemMessage::Critical).size(), 1);
        // The merged tree is what the file now holds.
        QCOMPARE(bookmarkFileOrder(readFile(bookmarkFilePath())).size(), 8);
        QCOMPARE(root()->child(0)->toFolder()->child(1)->parentFolder(), root()->child(0)->toFolder());
    }

    void mergeOfTwoTrees()
    {
        TestModel model;
        BlockBookmarkFolder source(nullptr, QStringLiteral("importRoot"));
        BlockBookmarkFolder target(nullptr, QStringLiteral("root"));
        auto* sourceFolder = new BlockBookmarkFolder(nullptr, QStringLiteral("F"));
        auto* moved = new BlockBookmark(nullptr, definitionOf(model, QStringLiteral("StandardBlock_3")));
        source.insert(0, sourceFolder);
        sourceFolder->insert(0, moved);
        BlockBookmarkRepository::merge(&source, &target);
        QCOMPARE(target.count(), 1);
        QCOMPARE(target.child(0), sourceFolder);
        QCOMPARE(sourceFolder->parentFolder(), &target);
        // The source still lists it, and does not own it.
        QCOMPARE(source.child(0), sourceFolder);
        target.remove(sourceFolder);
        sourceFolder->remove(moved);
        delete moved;
        delete sourceFolder;
    }
};

ZK_TEST_REGISTER(tst_BlockBookmarkRepository)
#include "tst_BlockBookmarkRepository.moc"
