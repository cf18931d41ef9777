#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

class BlockBookmarkFolder;

// Points the favourites at a scratch folder for the whole run (the test main calls it first), so
// that no test reads or writes the machine's shared file.
void useScratchBookmarkFolder();
// The file that the repository uses in this run.
QString bookmarkFilePath();
// Empties the tree and deletes the file, so each test starts without favourites.
void resetBookmarks();
// Replaces the file's bytes, as another process would (a new file in place of the old one).
void writeBookmarkFile(const QByteArray& bytes);
// The bytes of the file that the repository uses; empty while there is none.
QByteArray readBookmarkFile();
// The sections below "bookmarks" of a file's text in the order the file lists them, level by
// level: the type and then a folder's name or a bookmark's identifier ("folder A",
// "blockbookmark StandardBlock_1").
QStringList bookmarkFileOrder(const QByteArray& text);
// The tree as indented lines: "[name]" for a folder, "identifier;version" for a bookmark.
QStringList bookmarkTree(const BlockBookmarkFolder* folder);
// The tree that the file holds now, read as another process would, in the lines of bookmarkTree.
// Bookmarks of blocks that the block repository doesn't know are left out.
QStringList bookmarkFileTree();
