#include "BookmarkFiles.h"
#include "TestModel.h"
#include "TestRegistry.h"
#include "peer/PeerScript.h"

#include "BlockBookmarkRepository.h"

#include <QDir>
#include <QProcess>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <vector>

// Several processes share one favourites file, as the studios of the users of one machine do: each
// writes in its turn, the others reload, and all end with the tree of the last writer.
class tst_BookmarkFileSharing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void peersTakeTurns_data()
    {
        QTest::addColumn<int>("peers");
        QTest::addColumn<int>("rounds");
        QTest::newRow("two peers") << 2 << 4;
        QTest::newRow("three peers") << 3 << 6;
    }
    void peersTakeTurns()
    {
        QFETCH(int, peers);
        QFETCH(int, rounds);
        TestModel model;
        QTemporaryDir common;
        QVERIFY(QDir(common.path()).mkpath(QStringLiteral("Marlenbach Motion")));
        const QString before = BlockBookmarkRepository::commonDataFolder();
        BlockBookmarkRepository::setCommonDataFolder(common.path());
        {
            QSaveFile file(BlockBookmarkRepository::instance().filePath());
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(PeerScript::initialFile(peers));
            QVERIFY(file.commit());
        }
        // This process watches too, without writing: it must end with the same tree.
        QTRY_COMPARE(bookmarkTree(BlockBookmarkRepository::instance().rootFolder()), PeerScript::expectedTree(peers, 0));

        std::vector<std::unique_ptr<QProcess>> processes;
        QStringList outputs;
        for (int peer = 0; peer < peers; ++peer) {
            outputs.append(common.filePath(QStringLiteral("peer%1.txt").arg(peer)));
            auto process = std::make_unique<QProcess>();
            process->setProcessChannelMode(QProcess::ForwardedOutputChannel);
            process->start(QStringLiteral(ZK_BOOKMARK_PEER), {common.path(), QString::number(peer), QString::number(peers),
                                                               QString::number(rounds), outputs.last()});
            processes.push_back(std::move(process));
        }
        for (auto& process : processes)
            QVERIFY2(process->waitForFinished(180000), "a peer did not end");
        const QStringList expected = PeerScript::expectedTree(peers, peers * rounds);
        for (int peer = 0; peer < peers; ++peer) {
            QProcess& process = *processes[size_t(peer)];
            QCOMPARE(process.exitStatus(), QProcess::NormalExit);
            QCOMPARE(process.exitCode(), 0);
            QCOMPARE(QString::fromUtf8(readFile(outputs.at(peer))).split(QLatin1Char('\n')), expected);
        }
        QTRY_COMPARE(bookmarkTree(BlockBookmarkRepository::instance().rootFolder()), expected);
        BlockBookmarkRepository::setCommonDataFolder(before);
    }
};

ZK_TEST_REGISTER(tst_BookmarkFileSharing)
#include "tst_BookmarkFileSharing.moc"
