// One of several processes that share one favourites file. Usage:
//   zkbookmarkpeer COMMON_DATA_FOLDER PEER PEERS ROUNDS OUTPUT_FILE
// It waits for its turns, checks before each that no entry of anyone got lost, acts, and once all
// turns are done writes its tree to OUTPUT_FILE and exits with 0. Any other exit code is a failure,
// told on the error stream.
#include "BookmarkFiles.h"
#include "PeerScript.h"
#include "TestModel.h"

#include "Block.h"
#include "BlockBookmark.h"
#include "BlockBookmarkFolder.h"
#include "BlockBookmarkRepository.h"
#include "ModelBuilder.h"

#include <QApplication>
#include <QFile>
#include <QTimer>

#include <cstdio>

namespace {

struct Peer
{
    TestModel* model = nullptr;
    int index = 0;
    int peers = 0;
    int rounds = 0;
    QString output;
    bool checking = false;
    bool done = false;

    BlockBookmarkRepository& repository() { return BlockBookmarkRepository::instance(); }

    BlockBookmarkFolder* folderNamed(const QString& name)
    {
        BlockBookmarkFolder* root = repository().rootFolder();
        for (int i = 0; i < root->count(); ++i) {
            BlockBookmarkFolder* folder = root->child(i)->toFolder();
            if (folder && folder->name() == name)
                return folder;
        }
        return nullptr;
    }

    // -1 while the turn folder can't be read.
    int currentTurn()
    {
        BlockBookmarkItem* first = repository().rootFolder()->child(0);
        BlockBookmarkFolder* folder = first ? first->toFolder() : nullptr;
        if (!folder || !folder->name().startsWith(QStringLiteral("Zug ")))
            return -1;
        bool ok = false;
        const int turn = folder->name().mid(4).toInt(&ok);
        return ok ? turn : -1;
    }

    void fail(const QString& text)
    {
        std::fprintf(stderr, "peer %d: %s\n", index, qPrintable(text));
        std::fprintf(stderr, "tree:\n%s\n", qPrintable(bookmarkTree(repository().rootFolder()).join(QLatin1Char('\n'))));
        done = true;
        QCoreApplication::exit(3);
    }

    // Between turns the tree is complete: the turn folder's new name is the last write of a turn.
    // Within another peer's turn it may be half way, so it is checked only at one's own turn.
    void check()
    {
        if (done || checking)
            return;
        const int turn = currentTurn();
        const int last = peers * rounds;
        if (turn < 0 || (turn != last && turn % peers != index))
            return;
        if (bookmarkTree(repository().rootFolder()) != PeerScript::expectedTree(peers, turn)) {
            fail(QStringLiteral("the tree at turn %1 is not what the turns so far left").arg(turn));
            return;
        }
        if (turn == last) {
            finish();
            return;
        }
        checking = true;
        act(turn);
        checking = false;
        check();
    }

    void act(int turn)
    {
        const int round = turn / peers;
        BlockBookmarkFolder* own = folderNamed(PeerScript::peerFolderName(index));
        Block* block = model->block(PeerScript::blockOf(index, round));
        if (!own || !block) {
            fail(QStringLiteral("no folder or block"));
            return;
        }
        repository().addItem(new BlockBookmark(nullptr, ModelBuilder::newest(block)), own);
        if (PeerScript::removesOldest(round))
            repository().removeItem(own->child(0)->id(), false);
        repository().renameFolder(repository().rootFolder()->child(0)->id(), PeerScript::turnFolderName(turn + 1));
    }

    void finish()
    {
        done = true;
        QFile file(output);
        if (!file.open(QIODevice::WriteOnly)) {
            std::fprintf(stderr, "peer %d: cannot write %s\n", index, qPrintable(output));
            QCoreApplication::exit(2);
            return;
        }
        file.write(bookmarkTree(repository().rootFolder()).join(QLatin1Char('\n')).toUtf8());
        file.close();
        QCoreApplication::exit(0);
    }
};

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 6) {
        std::fprintf(stderr, "usage: zkbookmarkpeer COMMON_DATA_FOLDER PEER PEERS ROUNDS OUTPUT_FILE\n");
        return 1;
    }
    TestModel model;
    Peer peer;
    peer.model = &model;
    peer.index = args.at(2).toInt();
    peer.peers = args.at(3).toInt();
    peer.rounds = args.at(4).toInt();
    peer.output = args.at(5);
    BlockBookmarkRepository::setCommonDataFolder(args.at(1));

    // Loading again inside changed() would pull the tree from under the emitter: look after it.
    QObject::connect(&BlockBookmarkRepository::instance(), &BlockBookmarkRepository::changed, &app,
                     [&peer] { QTimer::singleShot(0, qApp, [&peer] { peer.check(); }); });
    QTimer::singleShot(0, &app, [&peer] { peer.check(); });
    QTimer::singleShot(120000, &app, [&peer] {
        peer.fail(QStringLiteral("turn %1 never came or never ended").arg(peer.currentTurn()));
    });
    return app.exec();
}
