#include "BlockBookmarkRepository.h"

#include "BlockBookmark.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockRepository.h"
#include "IniParser.h"
#include "System.h"

#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QQueue>
#include <QSaveFile>

#include <utility>

#ifdef Q_OS_WIN
#include <shlobj.h>
#endif

namespace {

const QString kOrigin = QStringLiteral("Baustein Favoriten");
const QString kVendorFolder = QStringLiteral("Marlenbach Motion");
const QString kFileName = QStringLiteral("BlockBookmarks.ini");

const QByteArray kGeneralSection("general");
const QByteArray kBookmarksSection("bookmarks");
const QByteArray kLastChangedKey("lastchanged");
const QByteArray kTypeKey("type");
const QByteArray kNameKey("name");
const QByteArray kBlockNumberKey("blocknumber");
const QByteArray kIdKey("id");
const QByteArray kVersionKey("version");
const QByteArray kIdentifierKey("identifier");
const QByteArray kFolderType("folder");
const QByteArray kBookmarkType("blockbookmark");

BlockBookmarkRepository* s_instance = nullptr;

QString& commonDataFolderOverride()
{
    static QString folder;
    return folder;
}

// Read once: the folder does not move while the process runs.
QString machineDataFolder()
{
    static const QString folder = [] {
#ifdef Q_OS_WIN
        PWSTR path = nullptr;
        QString result;
        if (SUCCEEDED(SHGetKnownFolderPath(FOLDERID_ProgramData, 0, nullptr, &path)))
            result = QDir::fromNativeSeparators(QString::fromWCharArray(path));
        CoTaskMemFree(path);
        return result;
#else
        // Every user of the machine shares this file, so it cannot live in a home folder; the
        // folder below is made writable for all by the studio's first start or the installation.
        return QStringLiteral("/var/lib");
#endif
    }();
    return folder;
}

// Destroys the item and its subtree, the leaves first; each item leaves its folder before it goes.
void destroyItem(BlockBookmarkItem* item)
{
    if (BlockBookmarkFolder* folder = item->toFolder()) {
        while (folder->count() > 0)
            destroyItem(folder->child(0));
    }
    if (BlockBookmarkFolder* parent = item->parentFolder())
        parent->remove(item);
    delete item;
}

// After a merge the import tree still lists the items that it handed on; only those whose parent
// is still the import folder belong to it.
void destroyLeftovers(BlockBookmarkFolder* folder)
{
    for (int i = 0; i < folder->count(); ++i) {
        BlockBookmarkItem* item = folder->child(i);
        if (item->parentFolder() != folder)
            continue;
        if (BlockBookmarkFolder* sub = item->toFolder())
            destroyLeftovers(sub);
        delete item;
    }
}

void writeItem(MlIniParser::IniSection* section, BlockBookmarkItem* item)
{
    if (BlockBookmark* bookmark = item->toBookmark()) {
        section->setValue(kTypeKey, kBookmarkType);
        section->setValue(kNameKey, bookmark->blockName().toUtf8());
        section->setValue(kBlockNumberKey, bookmark->blockNumber().toString().toUtf8());
        section->setValue(kIdKey, bookmark->id().toUtf8());
        section->setValue(kVersionKey, QByteArray::number(bookmark->version()));
        section->setValue(kIdentifierKey, bookmark->identifier().toUtf8());
    } else {
        section->setValue(kTypeKey, kFolderType);
        section->setValue(kNameKey, item->name().toUtf8());
        section->setValue(kIdKey, item->id().toUtf8());
    }
}

BlockBookmarkItem* matchIn(BlockBookmarkFolder* target, BlockBookmarkItem* item)
{
    BlockBookmark* bookmark = item->toBookmark();
    for (int i = 0; i < target->count(); ++i) {
        BlockBookmarkItem* candidate = target->child(i);
        if (bookmark) {
            const BlockBookmark* other = candidate->toBookmark();
            if (other && other->blockNumber() == bookmark->blockNumber() && other->version() == bookmark->version())
                return candidate;
        } else if (candidate->toFolder() && candidate->name() == item->name()) {
            return candidate;
        }
    }
    return nullptr;
}

} // namespace

BlockBookmarkRepository& BlockBookmarkRepository::instance()
{
    static BlockBookmarkRepository* repository = new BlockBookmarkRepository;
    return *repository;
}

QString BlockBookmarkRepository::commonDataFolder()
{
    const QString& folder = commonDataFolderOverride();
    return folder.isEmpty() ? machineDataFolder() : folder;
}

void BlockBookmarkRepository::setCommonDataFolder(const QString& folder)
{
    commonDataFolderOverride() = folder;
    if (s_instance)
        s_instance->usePath(bookmarkFolder() + QLatin1Char('/') + kFileName);
}

QString BlockBookmarkRepository::bookmarkFolder()
{
    return commonDataFolder() + QLatin1Char('/') + kVendorFolder;
}

BlockBookmarkRepository::BlockBookmarkRepository()
    : m_watcher(new QFileSystemWatcher(this))
    , m_path(bookmarkFolder() + QLatin1Char('/') + kFileName)
    , m_root(nullptr, QStringLiteral("root"))
{
    s_instance = this;
    watchFile();
    connect(m_watcher, SIGNAL(fileChanged(QString)), this, SLOT(InifileChanged(QString)));
    connect(m_watcher, &QFileSystemWatcher::directoryChanged, this, &BlockBookmarkRepository::onFolderChanged);
    load();
}

BlockBookmarkRepository::~BlockBookmarkRepository()
{
    while (m_root.count() > 0)
        destroyItem(m_root.child(0));
    s_instance = nullptr;
}

void BlockBookmarkRepository::usePath(const QString& path)
{
    const QStringList watched = m_watcher->files() + m_watcher->directories();
    if (!watched.isEmpty())
        m_watcher->removePaths(watched);
    m_path = path;
    watchFile();
    load();
}

// The watcher drops a path whose file was replaced, and each save replaces the file: the path is
// added again whenever it is missing. The folder is watched too, so that a file that another
// process creates or replaces while the path is not watched is still seen.
void BlockBookmarkRepository::watchFile()
{
    const QString folder = QFileInfo(m_path).absolutePath();
    if (!m_watcher->directories().contains(folder) && QFileInfo(folder).isDir())
        m_watcher->addPath(folder);
    if (!m_watcher->files().contains(m_path) && QFileInfo::exists(m_path))
        m_watcher->addPath(m_path);
}

void BlockBookmarkRepository::onFolderChanged(const QString& path)
{
    Q_UNUSED(path);
    if (m_watcher->files().contains(m_path) || !QFileInfo::exists(m_path))
        return;
    InifileChanged(m_path);
}

void BlockBookmarkRepository::load()
{
    while (m_root.count() > 0)
        removeItem(m_root.child(0)->id(), true);
    QFile file(m_path);
    if (file.open(QIODevice::ReadOnly)) {
        const QByteArray text = file.readAll();
        file.close();
        parseIniText(text, &m_root);
    }
    Q_EMIT changed();
}

void BlockBookmarkRepository::InifileChanged(const QString& path)
{
    qDebug() << "File changed " << path;
    // Watch again before reading, so that a write that lands while we read is not missed.
    watchFile();
    load();
    Q_EMIT changed();
}

void BlockBookmarkRepository::addItem(BlockBookmarkItem* pItem, BlockBookmarkFolder* pParent)
{
    if (!pItem)
        return;
    (pParent ? pParent : &m_root)->insert(INT_MAX, pItem);
    saveBookmarks(true);
}

BlockBookmarkFolder* BlockBookmarkRepository::addFolder(const QString& name, BlockBookmarkFolder* pParent)
{
    BlockBookmarkFolder* parent = pParent ? pParent : &m_root;
    auto* folder = new BlockBookmarkFolder(parent, name);
    parent->insert(INT_MAX, folder);
    saveBookmarks(true);
    return folder;
}

BlockBookmarkItem* BlockBookmarkRepository::findItem(const QString& id)
{
    if (id.isEmpty())
        return nullptr;
    return m_root.find(id);
}

QList<BlockBookmark*> BlockBookmarkRepository::bookmarks(const BlockDefinition* pBlockDefinition)
{
    if (!pBlockDefinition)
        return {};
    return m_root.bookmarks(pBlockDefinition);
}

bool BlockBookmarkRepository::isBookmarked(const BlockDefinition* pBlockDefinition)
{
    return !bookmarks(pBlockDefinition).isEmpty();
}

BlockBookmark* BlockBookmarkRepository::addBookmark(const BlockDefinition* pBlockDefinition)
{
    if (!pBlockDefinition || !pBlockDefinition->block())
        return nullptr;
    auto* bookmark = new BlockBookmark(nullptr, pBlockDefinition);
    addItem(bookmark, nullptr);
    return bookmark;
}

void BlockBookmarkRepository::removeBookmarks(const BlockDefinition* pBlockDefinition)
{
    if (!pBlockDefinition)
        return;
    m_root.removeBookmarks(pBlockDefinition);
    saveBookmarks(true);
}

void BlockBookmarkRepository::renameFolder(const QString& id, const QString& name)
{
    BlockBookmarkItem* item = findItem(id);
    if (BlockBookmarkFolder* folder = item ? item->toFolder() : nullptr)
        folder->setName(name);
    saveBookmarks(true);
}

void BlockBookmarkRepository::removeItem(const QString& id, bool deferSave)
{
    BlockBookmarkItem* item = findItem(id);
    // The root is part of the repository, not of the tree that users edit.
    if (item && item != &m_root)
        destroyItem(item);
    if (!deferSave)
        saveBookmarks(true);
}

void BlockBookmarkRepository::saveBookmarks(bool writeFile)
{
    if (writeFile) {
        // Our own write is not news to us.
        m_watcher->blockSignals(true);
        if (m_watcher->files().contains(m_path))
            m_watcher->removePath(m_path);
        // Readers in other processes must never see half a file: the text goes to a file beside it,
        // which then replaces the old one in one step.
        QSaveFile file(m_path);
        if (file.open(QIODevice::WriteOnly)) {
            const qint64 written = file.write(iniText(&m_root));
            // Every user of the machine writes this file, whoever made it.
            file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadUser
                                | QFileDevice::WriteUser | QFileDevice::ReadGroup | QFileDevice::WriteGroup
                                | QFileDevice::ReadOther | QFileDevice::WriteOther);
            const bool committed = written > 0 && file.commit();
            if (!committed) {
                file.cancelWriting();
                System::addCriticalMessage(kOrigin, tr("Speichern der Favoriten fehlgeschlagen."));
            }
        }
        m_watcher->blockSignals(false);
        watchFile();
    }
    Q_EMIT changed();
}

void BlockBookmarkRepository::exportBookmarks(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadWrite | QIODevice::Truncate)) {
        System::addInformationMessage(kOrigin, tr("Export der Favoriten fehlgeschlagen. Datei kann nicht erstellt werden: ") + fileName);
        return;
    }
    const qint64 written = file.write(iniText(&m_root));
    file.flush();
    file.close();
    if (written == -1)
        System::addInformationMessage(kOrigin, tr("Export der Favoriten fehlgeschlagen. Schreiben fehlgeschlagen"));
    else
        System::addInformationMessage(kOrigin, tr("Export der Favoriten erfolgreich"));
}

void BlockBookmarkRepository::importBookmarks(const QString& fileName)
{
    QFile file(fileName);
    if (file.open(QIODevice::ReadOnly)) {
        const QByteArray text = file.readAll();
        file.close();
        BlockBookmarkFolder importRoot(nullptr, QStringLiteral("importRoot"));
        parseIniText(text, &importRoot);
        merge(&importRoot, &m_root);
        destroyLeftovers(&importRoot);
    }
    saveBookmarks(true);
}

QByteArray BlockBookmarkRepository::iniText(BlockBookmarkFolder* pRoot)
{
    MlIniParser::IniParser parser;
    parser.clear();
    MlIniParser::IniSection* general = parser.createSection(kGeneralSection);
    general->setValue(kLastChangedKey, QDateTime::currentDateTime().toString(QStringLiteral("dd.MM.yyyy hh:mm:ss")).toUtf8());
    MlIniParser::IniSection* top = parser.createSection(kBookmarksSection);

    QQueue<std::pair<MlIniParser::IniSection*, BlockBookmarkItem*>> queue;
    if (pRoot)
        queue.enqueue({top, pRoot});
    while (!queue.isEmpty()) {
        auto [section, item] = queue.dequeue();
        if (item != pRoot) {
            section = section->createSection(item->id().toUtf8());
            writeItem(section, item);
        }
        if (BlockBookmarkFolder* folder = item->toFolder()) {
            for (int i = 0; i < folder->count(); ++i)
                queue.enqueue({section, folder->child(i)});
        }
    }
    return parser.getIniText();
}

void BlockBookmarkRepository::parseIniText(const QByteArray& text, BlockBookmarkFolder* pTarget)
{
    MlIniParser::IniParser parser;
    parser.setIniText(text);
    MlIniParser::IniSection* top = parser.section(kBookmarksSection);
    if (!top || !pTarget)
        return;

    QQueue<std::pair<MlIniParser::IniSection*, BlockBookmarkFolder*>> queue;
    queue.enqueue({top, pTarget});
    while (!queue.isEmpty()) {
        const auto [section, parent] = queue.dequeue();
        BlockBookmarkFolder* folder = pTarget;
        if (section->name() != kBookmarksSection) {
            folder = new BlockBookmarkFolder(parent, QString::fromUtf8(section->value(kNameKey)));
            parent->insert(INT_MAX, folder);
        }
        const QList<QByteArray> names = section->sections();
        for (const QByteArray& name : names) {
            MlIniParser::IniSection* sub = section->section(name);
            if (!sub)
                continue;
            if (sub->value(kTypeKey) == kFolderType) {
                queue.enqueue({sub, folder});
                continue;
            }
            const QString identifier = QString::fromUtf8(sub->value(kIdentifierKey));
            const QString versionText = QString::fromUtf8(sub->value(kVersionKey));
            const QString entryName = QString::fromUtf8(sub->value(kNameKey));
            const Block* block = BlockRepository::instance().block(identifier);
            if (!block) {
                System::addCriticalMessage(
                    kOrigin, tr("Baustein-Favorit kann nicht erstellt werden. Folgender Baustein wurde nicht gefunden: ") + entryName);
                continue;
            }
            const BlockDefinition* definition = block->blockDefinition(versionText.toUInt());
            if (!definition) {
                System::addCriticalMessage(kOrigin,
                                           tr("Baustein-Favorit kann nicht erstellt werden. Folgender Baustein wurde nicht gefunden: ")
                                               + entryName + tr(" / Version: ") + versionText);
                continue;
            }
            folder->insert(INT_MAX, new BlockBookmark(folder, definition));
        }
    }
}

void BlockBookmarkRepository::merge(BlockBookmarkFolder* pSource, BlockBookmarkFolder* pTarget)
{
    if (!pSource || !pTarget)
        return;
    QQueue<std::pair<BlockBookmarkFolder*, BlockBookmarkFolder*>> queue;
    queue.enqueue({pSource, pTarget});
    while (!queue.isEmpty()) {
        const auto [source, target] = queue.dequeue();
        const int count = source->count();
        for (int i = 0; i < count; ++i) {
            BlockBookmarkItem* child = source->child(i);
            BlockBookmarkItem* match = matchIn(target, child);
            if (!match) {
                // insert() makes the target the parent; the source's list keeps the pointer.
                target->insert(INT_MAX, child);
            } else if (BlockBookmarkFolder* folder = child->toFolder()) {
                queue.enqueue({folder, match->toFolder()});
            }
        }
    }
}
