#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// What the peers of the shared-file test do, and what the tree must hold after each turn: one
// script for the peer processes and for the test that checks them.
//
// The root holds a turn folder "Zug <n>" and one folder per peer. On turn n the peer n % peers
// adds a bookmark to its folder, on every third of its turns then removes its oldest one, and
// renames the turn folder to "Zug <n + 1>", which hands the turn on.
namespace PeerScript {

inline QStringList blocks()
{
    return {QStringLiteral("StandardBlock_1"), QStringLiteral("StandardBlock_2"), QStringLiteral("StandardBlock_3"),
            QStringLiteral("StandardBlock_10"), QStringLiteral("MagicBlock_300005")};
}

inline QString turnFolderName(int turn)
{
    return QStringLiteral("Zug %1").arg(turn);
}

inline QString peerFolderName(int peer)
{
    return QStringLiteral("Teilnehmer %1").arg(peer);
}

// The block that a peer adds on its round.
inline QString blockOf(int peer, int round)
{
    return blocks().at((round + peer) % blocks().size());
}

inline bool removesOldest(int round)
{
    return round % 3 == 2;
}

// "identifier;version" of the bookmarks in a peer's folder after it had `rounds` turns.
inline QStringList peerEntries(int peer, int rounds)
{
    QStringList entries;
    for (int round = 0; round < rounds; ++round) {
        entries.append(blockOf(peer, round) + QStringLiteral(";0"));
        if (removesOldest(round))
            entries.removeFirst();
    }
    return entries;
}

// The whole tree after `turns` turns, as bookmarkTree() of the test support lists it.
inline QStringList expectedTree(int peers, int turns)
{
    QStringList lines{QLatin1Char('[') + turnFolderName(turns) + QLatin1Char(']')};
    for (int peer = 0; peer < peers; ++peer) {
        lines.append(QLatin1Char('[') + peerFolderName(peer) + QLatin1Char(']'));
        const int rounds = turns > peer ? (turns - peer + peers - 1) / peers : 0;
        for (const QString& entry : peerEntries(peer, rounds))
            lines.append(QStringLiteral("  ") + entry);
    }
    return lines;
}

// The file that the test lays out before the peers start.
inline QByteArray initialFile(int peers)
{
    QByteArray text = "[bookmarks]\n[bookmarks/turn]\ntype=folder\nname=" + turnFolderName(0).toUtf8() + "\n";
    for (int peer = 0; peer < peers; ++peer)
        text += "[bookmarks/p" + QByteArray::number(peer) + "]\ntype=folder\nname=" + peerFolderName(peer).toUtf8() + "\n";
    return text;
}

} // namespace PeerScript
