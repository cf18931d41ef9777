#pragma once

#include "BlockBookmarkFolder.h"
#include "zkblockview_export.h"

#include <QList>
#include <QObject>
#include <QString>

class BlockBookmark;
class BlockDefinition;
class QFileSystemWatcher;

// The favourites tree of the process, kept in one file that every process of the machine shares,
// whichever user runs it. Each change is written at once; a change written by another process
// replaces the whole tree here (the last writer wins), so item pointers and ids live only until the
// next changed().
class ZK_VIEW_EXPORT BlockBookmarkRepository : public QObject
{
    Q_OBJECT
public:
    // Made and loaded on first use; lives to the end of the process.
    static BlockBookmarkRepository& instance();

    // The machine's common application data folder, the file lives below it in
    // "Marlenbach Motion/BlockBookmarks.ini". On Linux this is "/var/lib" (docs/bookmarks.md).
    static QString commonDataFolder();
    // Puts the file below another folder: for tests, and for runs that must leave the machine's
    // file alone. Once the repository exists it follows at once and loads the file found there.
    static void setCommonDataFolder(const QString& folder);
    // The folder that holds the file, "Marlenbach Motion" below the common data folder.
    static QString bookmarkFolder();
    QString filePath() const { return m_path; }

    // Null does nothing; a null parent is the root. Appends and saves.
    void addItem(BlockBookmarkItem* pItem, BlockBookmarkFolder* pParent);
    // Appends a new folder to the parent (null: the root), saves, and answers the folder.
    BlockBookmarkFolder* addFolder(const QString& name, BlockBookmarkFolder* pParent);
    BlockBookmarkItem* findItem(const QString& id);
    QList<BlockBookmark*> bookmarks(const BlockDefinition* pBlockDefinition);
    // Whether any folder holds a bookmark of the definition: what a list marks with a star.
    bool isBookmarked(const BlockDefinition* pBlockDefinition);
    // A new bookmark of the definition at the end of the root, also when one exists; saves.
    BlockBookmark* addBookmark(const BlockDefinition* pBlockDefinition);
    // Removes every bookmark of the definition, in all folders, and saves.
    void removeBookmarks(const BlockDefinition* pBlockDefinition);
    void renameFolder(const QString& id, const QString& name);
    // Removes and destroys the item and everything below it. Saves unless deferSave, also when the
    // id is unknown.
    void removeItem(const QString& id, bool deferSave = false);
    // true writes the file; changed() comes in both cases.
    void saveBookmarks(bool writeFile);
    void exportBookmarks(const QString& fileName);
    // Merges the file's tree into this one and saves.
    void importBookmarks(const QString& fileName);
    BlockBookmarkFolder* rootFolder() { return &m_root; }

    // The text of the file for a tree; the order is breadth first, children in their order.
    static QByteArray iniText(BlockBookmarkFolder* pRoot);
    // Builds the tree of an ini text below pTarget; entries of unknown blocks are reported and
    // skipped.
    static void parseIniText(const QByteArray& text, BlockBookmarkFolder* pTarget);
    // Adds what the target lacks of the source, folders merged by name, bookmarks by block number
    // and version. The source keeps pointers to the children it handed on and must not delete them.
    static void merge(BlockBookmarkFolder* pSource, BlockBookmarkFolder* pTarget);

Q_SIGNALS:
    void changed();

public Q_SLOTS:
    void InifileChanged(const QString& path);

private Q_SLOTS:
    void onFolderChanged(const QString& path);

private:
    BlockBookmarkRepository();
    ~BlockBookmarkRepository() override;
    void load();
    void watchFile();
    void usePath(const QString& path);

    QFileSystemWatcher* m_watcher = nullptr;
    QString m_path;
    BlockBookmarkFolder m_root;
};
