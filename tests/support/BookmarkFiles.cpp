#include "BookmarkFiles.h"

#include "BlockBookmark.h"
#include "BlockBookmarkFolder.h"
#include "BlockBookmarkRepository.h"
#include "IniParser.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QTemporaryDir>

namespace {

QTemporaryDir& scratch()
{
    static QTemporaryDir dir;
    return dir;
}

void dumpFolder(const BlockBookmarkFolder* folder, int depth, QStringList& lines)
{
    for (int i = 0; i < folder->count(); ++i) {
        BlockBookmarkItem* item = folder->child(i);
        const QString indent(depth * 2, QLatin1Char(' '));
        if (const BlockBookmark* bookmark = item->toBookmark()) {
            lines.append(indent + QStringLiteral("%1;%2").arg(bookmark->identifier()).arg(bookmark->version()));
        } else if (const BlockBookmarkFolder* sub = item->toFolder()) {
            lines.append(indent + QLatin1Char('[') + sub->name() + QLatin1Char(']'));
            dumpFolder(sub, depth + 1, lines);
        }
    }
}

// The folders of a parsed tree don't own their children.
void destroyChildren(BlockBookmarkFolder* folder)
{
    while (folder->count() > 0) {
        BlockBookmarkItem* item = folder->child(0);
        if (BlockBookmarkFolder* sub = item->toFolder())
            destroyChildren(sub);
        folder->remove(item);
        delete item;
    }
}

} // namespace

void useScratchBookmarkFolder()
{
    QDir(scratch().path()).mkpath(QStringLiteral("Marlenbach Motion"));
    BlockBookmarkRepository::setCommonDataFolder(scratch().path());
}

QString bookmarkFilePath()
{
    return BlockBookmarkRepository::instance().filePath();
}

void resetBookmarks()
{
    BlockBookmarkRepository& repository = BlockBookmarkRepository::instance();
    while (repository.rootFolder()->count() > 0)
        repository.removeItem(repository.rootFolder()->child(0)->id(), true);
    QFile::remove(repository.filePath());
    QDir().mkpath(BlockBookmarkRepository::bookmarkFolder());
    repository.saveBookmarks(false);
}

void writeBookmarkFile(const QByteArray& bytes)
{
    QSaveFile file(bookmarkFilePath());
    if (file.open(QIODevice::WriteOnly)) {
        file.write(bytes);
        file.commit();
    }
}

QByteArray readBookmarkFile()
{
    QFile file(bookmarkFilePath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList bookmarkFileOrder(const QByteArray& text)
{
    MlIniParser::IniParser parser;
    parser.setIniText(text);
    QStringList lines;
    const MlIniParser::IniSection* top = parser.section("bookmarks");
    if (!top)
        return lines;
    QList<const MlIniParser::IniSection*> pending{top};
    while (!pending.isEmpty()) {
        const MlIniParser::IniSection* section = pending.takeFirst();
        for (const QByteArray& name : section->sections()) {
            const MlIniParser::IniSection* sub = section->section(name);
            const QByteArray type = sub->value("type");
            lines.append(QString::fromUtf8(type + ' ' + sub->value(type == "folder" ? "name" : "identifier")));
            pending.append(sub);
        }
    }
    return lines;
}

QStringList bookmarkTree(const BlockBookmarkFolder* folder)
{
    QStringList lines;
    if (folder)
        dumpFolder(folder, 0, lines);
    return lines;
}

QStringList bookmarkFileTree()
{
    QFile file(bookmarkFilePath());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    BlockBookmarkFolder root(nullptr, QStringLiteral("root"));
    BlockBookmarkRepository::parseIniText(file.readAll(), &root);
    const QStringList lines = bookmarkTree(&root);
    destroyChildren(&root);
    return lines;
}
