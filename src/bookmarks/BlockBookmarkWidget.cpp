#include "BlockBookmarkWidget.h"

#include "BlockBookmark.h"
#include "BlockBookmarkFolder.h"
#include "BlockBookmarkRepository.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockPreview.h"
#include "BlockRepository.h"
#include "LanguageManager.h"
#include "System.h"

#include <QApplication>
#include <QDrag>
#include <QDropEvent>
#include <QGuiApplication>
#include <QHeaderView>
#include <QIcon>
#include <QImage>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QPixmap>
#include <QQueue>
#include <QSet>

#include <functional>

namespace {

constexpr int kIdentifierRole = Qt::UserRole;
constexpr int kVersionRole = Qt::UserRole + 1;
constexpr int kItemIdRole = Qt::UserRole + 3;
constexpr int kDataColumn = 2;

const QString kBookmarkFormat = QStringLiteral("zk6/blockbookmarkidentifier");
const QString kDefinitionFormat = QStringLiteral("zk6/blockdefinitionidentifier");

QString idOfRow(const QTreeWidgetItem* row)
{
    return row ? row->data(kDataColumn, kItemIdRole).toString() : QString();
}

QIcon iconOf(const BlockDefinition* definition)
{
    const QImage image = QImage::fromData(definition->smallListImage());
    if (image.isNull())
        return QIcon(QStringLiteral(":/Resources/DefaultBlockIconSmall.png"));
    return QIcon(QPixmap::fromImage(image));
}

void collectBelow(const QTreeWidgetItem* row, QSet<const QTreeWidgetItem*>& below)
{
    for (int i = 0; i < row->childCount(); ++i) {
        below.insert(row->child(i));
        collectBelow(row->child(i), below);
    }
}

} // namespace

BlockBookmarkWidget::BlockBookmarkWidget(QWidget* parent)
    : QTreeWidget(parent)
    , preview(new BlockPreview)
{
    setProperty("HelpId", QStringLiteral("BlockGroupsWidget"));
    // Help keys that the tree leaves unused travel on to the parent, where they are answered.
    if (parent)
        parent->installEventFilter(this);
}

BlockBookmarkWidget::~BlockBookmarkWidget()
{
    delete preview;
}

void BlockBookmarkWidget::setup()
{
    setContextMenuPolicy(Qt::CustomContextMenu);
    setHeaderLabels({tr("Name"), tr("Nummer"), tr("Version")});
    setRootIsDecorated(true);
    bookmarks = &BlockBookmarkRepository::instance();
    repository = &BlockRepository::instance();
    connect(repository, &BlockRepository::groupsChanged, this, &BlockBookmarkWidget::update);
    connect(repository, &BlockRepository::changed, this, &BlockBookmarkWidget::update);
    connect(bookmarks, &BlockBookmarkRepository::changed, this, &BlockBookmarkWidget::update);
    connect(&System::instance(), &SystemInformation::userAccessLevelCodeChanged, this, &BlockBookmarkWidget::update);
    connect(&LanguageManager::instance(), &LanguageManager::activeLanguageChanged, this, &BlockBookmarkWidget::update);
    connect(this, &QWidget::customContextMenuRequested, this, &BlockBookmarkWidget::showContextMenu);
    connect(this, &QTreeWidget::itemChanged, this, &BlockBookmarkWidget::handleItemChanged);
    setAcceptDrops(true);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDropIndicatorShown(true);
    setSortingEnabled(true);
}

BlockBookmarkItem* BlockBookmarkWidget::itemOfRow(const QTreeWidgetItem* row) const
{
    if (!bookmarks)
        return nullptr;
    return bookmarks->findItem(idOfRow(row));
}

BlockDefinition* BlockBookmarkWidget::definitionOfRow(const QTreeWidgetItem* row) const
{
    if (!row || !repository)
        return nullptr;
    const QString identifier = row->data(kDataColumn, kIdentifierRole).toString();
    if (identifier.isEmpty())
        return nullptr;
    return repository->blockDefinition(identifier, row->data(kDataColumn, kVersionRole).toUInt());
}

QMimeData* BlockBookmarkWidget::dragData(const QTreeWidgetItem* row) const
{
    BlockBookmarkItem* item = itemOfRow(row);
    const BlockBookmark* bookmark = item ? item->toBookmark() : nullptr;
    if (!bookmark || !definitionOfRow(row))
        return nullptr;
    const QByteArray payload = QStringLiteral("%1;%2").arg(bookmark->identifier()).arg(bookmark->version()).toLatin1();
    auto* data = new QMimeData;
    data->setData(kBookmarkFormat, payload);
    data->setData(kDefinitionFormat, payload);
    return data;
}

QTreeWidgetItem* BlockBookmarkWidget::rowOfFolder(const QString& id) const
{
    return rows.value(id, invisibleRootItem());
}

QTreeWidgetItem* BlockBookmarkWidget::settleRow(const QString& id, const QString& parentId)
{
    QTreeWidgetItem* row = rows.value(id);
    if (!row)
        return nullptr;
    QTreeWidgetItem* present = row->parent() ? row->parent() : invisibleRootItem();
    if (idOfRow(present) != parentId) {
        present->takeChild(present->indexOfChild(row));
        rowOfFolder(parentId)->addChild(row);
    }
    return row;
}

void BlockBookmarkWidget::update()
{
    if (!bookmarks || !repository)
        return;
    disconnect(this, &QTreeWidget::itemChanged, this, &BlockBookmarkWidget::handleItemChanged);
    rows.clear();
    seen.clear();
    const QList<QTreeWidgetItem*> found = findItems(QStringLiteral("*"), Qt::MatchWildcard | Qt::MatchRecursive);
    for (QTreeWidgetItem* row : found)
        rows.insert(idOfRow(row), row);

    // Folders level by level, so that a parent's row is there before its children's.
    BlockBookmarkFolder* root = bookmarks->rootFolder();
    if (QTreeWidgetItem* rootRow = rows.value(root->id())) {
        rootRow->setText(0, root->name());
        seen.insert(root->id(), rootRow);
    } else {
        invisibleRootItem()->setData(kDataColumn, kItemIdRole, root->id());
        rows.insert(root->id(), invisibleRootItem());
        seen.insert(root->id(), invisibleRootItem());
    }
    QQueue<BlockBookmarkFolder*> folders;
    folders.enqueue(root);
    while (!folders.isEmpty()) {
        BlockBookmarkFolder* folder = folders.dequeue();
        if (folder != root) {
            const QString parentId = folder->parentFolder() ? folder->parentFolder()->id() : QString();
            QTreeWidgetItem* row = settleRow(folder->id(), parentId);
            if (!row) {
                row = new QTreeWidgetItem(rowOfFolder(parentId));
                row->setIcon(0, QIcon(QStringLiteral(":/Resources/folder.png")));
                row->setFlags(row->flags() | Qt::ItemIsEditable);
                row->setData(kDataColumn, kItemIdRole, folder->id());
                rows.insert(folder->id(), row);
            }
            row->setText(0, folder->name());
            seen.insert(folder->id(), row);
        }
        for (int i = 0; i < folder->count(); ++i) {
            if (BlockBookmarkFolder* sub = folder->child(i)->toFolder())
                folders.enqueue(sub);
        }
    }

    // Bookmarks depth first; those of gone or hidden blocks stay in the tree but get no row.
    QList<BlockBookmark*> ordered;
    std::function<void(BlockBookmarkFolder*)> walk = [&](BlockBookmarkFolder* folder) {
        for (int i = 0; i < folder->count(); ++i) {
            BlockBookmarkItem* item = folder->child(i);
            if (BlockBookmark* bookmark = item->toBookmark())
                ordered.append(bookmark);
            else if (BlockBookmarkFolder* sub = item->toFolder())
                walk(sub);
        }
    };
    walk(root);
    for (BlockBookmark* bookmark : std::as_const(ordered)) {
        const BlockDefinition* definition = repository->blockDefinition(bookmark->identifier(), bookmark->version());
        if (!repository->block(bookmark->identifier()) || !definition || !definition->isVisible())
            continue;
        const QString parentId = bookmark->parentFolder() ? bookmark->parentFolder()->id() : QString();
        QTreeWidgetItem* row = settleRow(bookmark->id(), parentId);
        if (row) {
            row->setText(0, bookmark->blockName());
            seen.insert(bookmark->id(), row);
            continue;
        }
        row = new QTreeWidgetItem(rowOfFolder(parentId));
        row->setIcon(0, iconOf(definition));
        row->setText(0, bookmark->blockName());
        row->setData(1, Qt::DisplayRole, bookmark->blockNumber());
        row->setData(2, Qt::DisplayRole, bookmark->version());
        row->setFlags(row->flags() & ~(Qt::ItemIsDropEnabled | Qt::ItemIsDragEnabled));
        row->setData(kDataColumn, kIdentifierRole, bookmark->identifier());
        row->setData(kDataColumn, kVersionRole, bookmark->version());
        row->setData(kDataColumn, kItemIdRole, bookmark->id());
        rows.insert(bookmark->id(), row);
        seen.insert(bookmark->id(), row);
        sortItems(1, Qt::AscendingOrder);
    }

    // Rows of items that have gone, the leaves first: a row with children waits for them.
    QStringList stale;
    for (auto it = rows.constBegin(); it != rows.constEnd(); ++it) {
        if (!seen.contains(it.key()))
            stale.append(it.key());
    }
    while (!stale.isEmpty()) {
        QStringList leaves;
        for (const QString& id : std::as_const(stale)) {
            if (rows.value(id)->childCount() == 0)
                leaves.append(id);
        }
        if (leaves.isEmpty()) {
            // A stale row still holds a live one: hand it to the top before the stale row goes.
            for (const QString& id : std::as_const(stale)) {
                QTreeWidgetItem* row = rows.value(id);
                invisibleRootItem()->addChildren(row->takeChildren());
            }
            continue;
        }
        for (const QString& id : std::as_const(leaves)) {
            delete rows.take(id);
            stale.removeAll(id);
        }
    }

    invisibleRootItem()->sortChildren(1, Qt::AscendingOrder);
    resizeColumnToContents(0);
    connect(this, &QTreeWidget::itemChanged, this, &BlockBookmarkWidget::handleItemChanged);
}

void BlockBookmarkWidget::showContextMenu(QPoint point)
{
    QMenu* popup = contextMenu();
    popup->clear();
    popup->addAction(QIcon(QStringLiteral(":/Resources/Remove.png")), tr("Element entfernen"), this,
                     &BlockBookmarkWidget::deleteSelectedBookmark);
    popup->addSeparator();
    popup->addAction(QIcon(QStringLiteral(":/Resources/Edit.png")), tr("Ordner erstellen"), this,
                     &BlockBookmarkWidget::addBookmarkFolder);
    QPoint position = mapToGlobal(point);
    position.setY(position.y() + header()->height());
    popup->popup(position);
}

QMenu* BlockBookmarkWidget::contextMenu()
{
    if (!menu) {
        menu = new QMenu(this);
        menu->setSeparatorsCollapsible(true);
    }
    return menu;
}

void BlockBookmarkWidget::handleItemChanged(const QTreeWidgetItem* item, int column)
{
    if (!item || column != 0 || !bookmarks)
        return;
    bookmarks->renameFolder(idOfRow(item), item->text(0));
}

void BlockBookmarkWidget::deleteSelectedBookmark()
{
    const QTreeWidgetItem* row = currentItem();
    if (!row || !bookmarks)
        return;
    bookmarks->removeItem(idOfRow(row), false);
}

void BlockBookmarkWidget::addBookmarkFolder()
{
    if (!bookmarks)
        return;
    BlockBookmarkItem* item = itemOfRow(currentItem());
    if (item && item->toBookmark())
        item = item->parentFolder();
    bookmarks->addFolder(tr("Neuer Ordner"), item ? item->toFolder() : nullptr);
}

bool BlockBookmarkWidget::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_F1 || key == Qt::Key_Help) {
            const QTreeWidgetItem* row = currentItem();
            BlockBookmarkItem* item = itemOfRow(row);
            if (!item || !item->toBookmark())
                return false;
            return BlockRepository::instance().showBlockHelp(definitionOfRow(row));
        }
    }
    return QTreeWidget::eventFilter(watched, event);
}

void BlockBookmarkWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        const QPoint position = event->position().toPoint();
        dragStart = itemAt(position) ? position : QPoint(0, 0);
    }
    QTreeWidget::mousePressEvent(event);
}

void BlockBookmarkWidget::mouseMoveEvent(QMouseEvent* event)
{
    if ((event->buttons() & Qt::LeftButton) && !dragStart.isNull()
        && (event->position().toPoint() - dragStart).manhattanLength() >= QApplication::startDragDistance()) {
        const QTreeWidgetItem* row = itemAt(dragStart);
        if (QMimeData* data = dragData(row)) {
            auto* drag = new QDrag(this);
            const QImage picture = preview->image(definitionOfRow(row));
            if (!picture.isNull())
                drag->setPixmap(QPixmap::fromImage(picture));
            drag->setHotSpot(QPoint(40, 10));
            drag->setMimeData(data);
            drag->exec(Qt::CopyAction);
        }
    }
    QTreeView::mouseMoveEvent(event);
}

void BlockBookmarkWidget::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Delete) {
        deleteSelectedBookmark();
        event->accept();
        return;
    }
    event->ignore();
    QTreeView::keyPressEvent(event);
}

void BlockBookmarkWidget::dropEvent(QDropEvent* event)
{
    if (!bookmarks)
        return;
    // What moves is the current row, which the press that began the drag made current.
    const QModelIndex index = indexAt(event->position().toPoint());
    QTreeWidgetItem* sourceRow = currentItem();
    BlockBookmarkItem* source = itemOfRow(sourceRow);
    if (!index.isValid()) {
        if (!source)
            return;
        if (BlockBookmarkFolder* parent = source->parentFolder())
            parent->remove(source);
        // The rows follow through the repository; the view's own move must not touch them.
        event->setDropAction(Qt::CopyAction);
        event->accept();
        bookmarks->addItem(source, nullptr);
        return;
    }
    QTreeWidgetItem* targetRow = itemFromIndex(index);
    if (!targetRow)
        targetRow = invisibleRootItem();
    if (!sourceRow || !source)
        return;
    QSet<const QTreeWidgetItem*> below;
    collectBelow(sourceRow, below);
    if (targetRow == sourceRow || below.contains(targetRow)) {
        // A folder can't go into itself or below itself.
        QGuiApplication::changeOverrideCursor(QCursor(Qt::ForbiddenCursor));
        event->setDropAction(Qt::IgnoreAction);
        return;
    }
    BlockBookmarkItem* target = itemOfRow(targetRow);
    if (!target)
        return;
    if (target->toBookmark())
        target = target->parentFolder();
    BlockBookmarkFolder* folder = target ? target->toFolder() : nullptr;
    if (!folder)
        folder = bookmarks->rootFolder();
    if (BlockBookmarkFolder* parent = source->parentFolder())
        parent->remove(source);
    folder->insert(0, source);
    event->setDropAction(Qt::CopyAction);
    event->accept();
    bookmarks->saveBookmarks(true);
}

QStringList BlockBookmarkWidget::mimeTypes() const
{
    return {QStringLiteral("text/uri-list"), kBookmarkFormat};
}
