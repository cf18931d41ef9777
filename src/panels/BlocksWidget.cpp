#include "BlocksWidget.h"

#include "AccessLevel.h"
#include "Block.h"
#include "BlockBookmarkRepository.h"
#include "BlockDefinition.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPreview.h"
#include "BlockRepository.h"
#include "LanguageManager.h"
#include "LibraryBlockDefinitionSubWindow.h"
#include "System.h"

#include <QAction>
#include <QPair>
#include <QApplication>
#include <QDrag>
#include <QFileDialog>
#include <QHeaderView>
#include <QIcon>
#include <QKeyEvent>
#include <QMdiArea>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QMouseEvent>
#include <QPixmap>
#include <QScopedPointer>
#include <QTreeWidgetItem>

#include <algorithm>

const QString BlocksWidget::MimeType = QStringLiteral("zk6/blockdefinitionidentifier");

namespace {

// Blocks of a library mostly share a few pictures, and many have none: each picture is decoded
// once per fill.
QIcon listIcon(const BlockDefinition* definition, QHash<QByteArray, QIcon>& decoded)
{
    const QByteArray bytes = definition->smallListImage();
    auto it = decoded.constFind(bytes);
    if (it != decoded.constEnd())
        return it.value();
    QPixmap pixmap;
    if (!pixmap.loadFromData(bytes))
        pixmap.load(QStringLiteral(":/Resources/DefaultBlockIconSmall.png"));
    return decoded.insert(bytes, QIcon(pixmap)).value();
}

const QIcon& starIcon(bool favourite)
{
    static const QIcon star(QStringLiteral(":/Resources/star.png"));
    static const QIcon empty(QStringLiteral(":/Resources/starEmpty.png"));
    return favourite ? star : empty;
}

// Numbers sort as numbers and print without padding; a block without one shows its identifier.
QVariant numberOf(const Block* block)
{
    const QString number = block->displayNumber();
    if (number.isEmpty())
        return QVariant(block->identifier());
    return QVariant(number.toUInt());
}

unsigned int definitionCount(const BlockLibrary* library)
{
    unsigned int count = 0;
    const QList<Block*> blocks = library->blocks();
    for (const Block* block : blocks) {
        if (block)
            count += unsigned(block->versions().size());
    }
    return count;
}

bool isListed(const Block* block, const BlockDefinition* definition)
{
    return block && definition && definition->isVisible() && !block->isTemplateBlock();
}

void lowerWriteLevelToUser(BlockDefinition* definition)
{
    const quint32 level = System::instance().userAccessLevelCode();
    if (definition && definition->accessLevelWrite() > level)
        definition->setAccessLevelWrite(level);
}

QWidget* dialogParent()
{
    return System::instance().mainWindow();
}

} // namespace

BlocksWidget::BlocksWidget(QWidget* parent)
    : QTreeWidget(parent)
    , m_preview(new BlockPreview)
{
    setProperty("HelpId", QStringLiteral("BlocksWidget"));
    installEventFilter(this);
}

BlocksWidget::~BlocksWidget()
{
    delete m_preview;
}

void BlocksWidget::setup()
{
    setHeaderHidden(false);
    setRootIsDecorated(false);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setHeaderLabels({tr("Name"), tr("Nummer"), tr("Version"), tr("Favorit")});
    setColumnWidth(NameColumn, 200);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSortingEnabled(true);
    m_repository = &BlockRepository::instance();
    m_bookmarks = &BlockBookmarkRepository::instance();
    connect(m_repository, &BlockRepository::groupsChanged, this, &BlocksWidget::update);
    connect(&System::instance(), &SystemInformation::userAccessLevelCodeChanged, this, &BlocksWidget::update);
    connect(&LanguageManager::instance(), &LanguageManager::activeLanguageChanged, this, &BlocksWidget::update);
    // Every change of the favourites, ours or another process's, refills the list for its stars.
    connect(m_bookmarks, &BlockBookmarkRepository::changed, this, &BlocksWidget::update);
    connect(this, &QWidget::customContextMenuRequested, this, &BlocksWidget::showContextMenu);
    connect(this, &QTreeWidget::itemClicked, this, &BlocksWidget::blockItemClicked);
}

BlockDefinition* BlocksWidget::definitionOf(const QTreeWidgetItem* row)
{
    if (!row)
        return nullptr;
    return static_cast<BlockDefinition*>(row->data(VersionColumn, DefinitionRole).value<void*>());
}

QByteArray BlocksWidget::payload(const BlockDefinition* definition)
{
    const Block* block = definition ? definition->block() : nullptr;
    if (!block)
        return QByteArray();
    return (block->identifier() + QLatin1Char(';') + QString::number(definition->version())).toLatin1();
}

QString BlocksWidget::exportStartDirectory()
{
    return System::instance().exportDirectory();
}

BlockDefinition* BlocksWidget::currentDefinition() const
{
    return definitionOf(currentItem());
}

BlockBookmarkRepository& BlocksWidget::bookmarks() const
{
    return m_bookmarks ? *m_bookmarks : BlockBookmarkRepository::instance();
}

void BlocksWidget::toggleBookmark(BlockDefinition* definition)
{
    if (!definition || !definition->block())
        return;
    // Either call refills the list through changed(): the clicked row is gone afterwards.
    if (!bookmarks().isBookmarked(definition))
        bookmarks().addBookmark(definition);
    else
        bookmarks().removeBookmarks(definition);
}

void BlocksWidget::update()
{
    updatePath(m_currentPath);
}

QTreeWidgetItem* BlocksWidget::makeRow(BlockDefinition* definition, QHash<QByteArray, QIcon>& icons) const
{
    const Block* block = definition->block();
    auto* row = new QTreeWidgetItem;
    row->setIcon(NameColumn, listIcon(definition, icons));
    row->setText(NameColumn, block->name().text());
    row->setToolTip(NameColumn, definition->toolTipText());
    row->setData(NumberColumn, Qt::DisplayRole, numberOf(block));
    row->setData(VersionColumn, Qt::DisplayRole, definition->version());
    row->setData(VersionColumn, IdentifierRole, block->identifier());
    row->setData(VersionColumn, VersionRole, definition->version());
    row->setData(VersionColumn, DefinitionRole, QVariant::fromValue(static_cast<void*>(definition)));
    row->setIcon(FavouriteColumn, starIcon(bookmarks().isBookmarked(definition)));
    return row;
}

void BlocksWidget::updatePath(QString groupPath)
{
    clear();
    BlockRepository* repository = m_repository ? m_repository : &BlockRepository::instance();
    const QList<BlockLibraryContainer*> containers = repository->containers();
    QList<BlockDefinition*> found;

    // A library's display name wins over a group path of the same text.
    for (BlockLibraryContainer* container : containers) {
        if (!container || container->name().text() != groupPath)
            continue;
        BlockLibrary* library = container->library();
        if (library != m_currentLibrary) {
            if (m_currentLibrary)
                disconnect(m_currentLibrary, SIGNAL(contentsChanged()), this, SLOT(currentLibraryContentsChanged()));
            m_currentLibrary = library;
            if (library)
                connect(library, SIGNAL(contentsChanged()), this, SLOT(currentLibraryContentsChanged()));
        }
        if (library) {
            const QList<QString> identifiers = library->blockIdentifiers();
            for (const QString& identifier : identifiers) {
                Block* block = library->block(identifier);
                if (!block)
                    continue;
                const QList<unsigned int> versions = block->versions();
                for (unsigned int version : versions) {
                    BlockDefinition* definition = block->blockDefinition(version);
                    if (isListed(block, definition))
                        found.append(definition);
                }
            }
        }
        break;
    }

    if (found.isEmpty()) {
        for (BlockLibraryContainer* container : containers) {
            BlockLibrary* library = container ? container->library() : nullptr;
            if (!library)
                continue;
            const QList<QString> identifiers = library->blockIdentifiers(groupPath);
            for (const QString& identifier : identifiers) {
                Block* block = library->block(identifier);
                if (!block)
                    continue;
                const QList<unsigned int> versions = block->versions();
                for (unsigned int version : versions) {
                    BlockDefinition* definition = block->blockDefinition(version);
                    if (isListed(block, definition))
                        found.append(definition);
                }
            }
        }
    }

    // What the list now shows of the current library: a signal of it that reports no other number
    // (the repository's word on the same change has refilled already) costs no second fill.
    if (m_currentLibrary)
        m_definitionCount = definitionCount(m_currentLibrary);

    // Sorting while filling would place each row by a search; one sort at the end is cheaper.
    const bool sorting = isSortingEnabled();
    setSortingEnabled(false);
    // In the order the view's sort will give (by name as plain text, stable), so that its sort
    // finds little to move.
    QList<QPair<QString, BlockDefinition*>> byName;
    byName.reserve(found.size());
    for (BlockDefinition* definition : std::as_const(found))
        byName.append({definition->block()->name().text(), definition});
    std::stable_sort(byName.begin(), byName.end(), [](const auto& left, const auto& right) { return left.first < right.first; });
    found.clear();
    for (const auto& entry : std::as_const(byName))
        found.append(entry.second);

    QHash<QByteArray, QIcon> icons;
    QList<QTreeWidgetItem*> rows;
    rows.reserve(found.size());
    for (BlockDefinition* definition : std::as_const(found))
        rows.append(makeRow(definition, icons));
    addTopLevelItems(rows);
    m_currentPath = groupPath;
    // Back to the name, sorted once: turning sorting on sorts by the header's indicator.
    if (sorting) {
        header()->setSortIndicator(NameColumn, Qt::AscendingOrder);
        setSortingEnabled(true);
    } else {
        sortItems(NameColumn, Qt::AscendingOrder);
    }
}

void BlocksWidget::selectBlock(QString identifier, uint version)
{
    const QList<QTreeWidgetItem*> rows = findItems(QStringLiteral("*"), Qt::MatchWildcard);
    for (QTreeWidgetItem* row : rows) {
        if (row->data(VersionColumn, IdentifierRole).toString() == identifier
            && row->data(VersionColumn, VersionRole).toUInt() == version) {
            setCurrentItem(row);
            return;
        }
    }
}

void BlocksWidget::showSelectedBlockCode()
{
    LibraryBlockDefinitionSubWindow* window = LibraryBlockDefinitionSubWindow::forDefinition(currentDefinition());
    if (!window)
        return;
    window->show();
    if (QMdiArea* area = window->mdiArea())
        area->setActiveSubWindow(window);
}

void BlocksWidget::currentLibraryContentsChanged()
{
    if (!m_currentLibrary)
        return;
    const unsigned int count = definitionCount(m_currentLibrary);
    if (count == m_definitionCount)
        return;
    m_definitionCount = count;
    updatePath(m_currentPath);
}

void BlocksWidget::currentItemChanged(QTreeWidgetItem* pCurrent, QTreeWidgetItem*)
{
    if (!pCurrent)
        return;
    Q_EMIT blockSelected(pCurrent->data(VersionColumn, IdentifierRole).toString(),
                         pCurrent->data(VersionColumn, VersionRole).toUInt());
}

QList<BlockLibraryContainer*> BlocksWidget::moveTargets(const BlockDefinition* definition) const
{
    QList<BlockLibraryContainer*> targets;
    const Block* block = definition ? definition->block() : nullptr;
    if (!block)
        return targets;
    BlockRepository* repository = m_repository ? m_repository : &BlockRepository::instance();
    const QList<BlockLibrary*> libraries = repository->libraries();
    for (BlockLibrary* library : libraries) {
        BlockLibraryContainer* container = library ? library->container() : nullptr;
        if (!container)
            continue;
        const unsigned int kind = container->containerKind();
        if (kind != BlockLibraryContainer::UserLibraryKind && kind != BlockLibraryContainer::InternalLibraryKind)
            continue;
        if (library == block->ownerLibrary())
            continue;
        targets.append(container);
    }
    return targets;
}

void BlocksWidget::showContextMenu(QPoint point)
{
    if (!m_contextMenu) {
        m_contextMenu = new QMenu(this);
        m_contextMenu->setSeparatorsCollapsible(true);
    }
    m_contextMenu->clear();
    BlockDefinition* definition = currentDefinition();
    Block* block = definition ? definition->block() : nullptr;
    const QPoint where = mapToGlobal(point) + QPoint(0, header()->height());
    if (!block || definition->isParameterDefinitionBlock()) {
        m_contextMenu->popup(where);
        return;
    }

    m_contextMenu->addAction(tr("Eigenschaften"), this, &BlocksWidget::showSelectedBlockProperties);
    m_contextMenu->addSeparator();
    if (!m_favouriteAction) {
        m_favouriteAction = new QAction(tr("Favorit"), this);
        m_favouriteAction->setCheckable(true);
        connect(m_favouriteAction, SIGNAL(triggered()), this, SLOT(addOrRemoveBlockToBookmark()));
    }
    m_favouriteAction->setChecked(bookmarks().isBookmarked(definition));
    m_contextMenu->addAction(m_favouriteAction);
    m_contextMenu->addSeparator();

    if (block->isUserBlock()) {
        m_contextMenu->addSeparator();
        m_contextMenu->addAction(tr("In neue Version duplizieren"), this, &BlocksWidget::cloneNewVersion);
        m_contextMenu->addAction(tr("In neuen Baustein duplizieren"), this, &BlocksWidget::cloneNewBlock);
        m_contextMenu->addSeparator();
        const QList<BlockLibraryContainer*> targets = moveTargets(definition);
        if (!targets.isEmpty()) {
            QMenu* move = m_contextMenu->addMenu(QStringLiteral("Baustein in Bibliothek verschieben"));
            move->setEnabled(block->allowDelete());
            for (BlockLibraryContainer* target : targets) {
                QAction* action = move->addAction(target->name().text(), this, &BlocksWidget::moveToContainer);
                action->setData(target->identifier());
            }
            m_contextMenu->addSeparator();
        }
        QAction* deleteBlock = m_contextMenu->addAction(tr("Baustein Löschen (alle Versionen)"), this, &BlocksWidget::deleteSelectedBlock);
        deleteBlock->setEnabled(block->allowDelete());
        const QList<unsigned int> versions = block->versions();
        if (!versions.isEmpty() && versions.last() == definition->version() && definition->version() != 0) {
            QAction* deleteVersion = m_contextMenu->addAction(tr("Bausteinversion löschen"), this, &BlocksWidget::deleteSelectedBlockDefinition);
            deleteVersion->setEnabled(definition->allowDelete());
        }
    }
    m_contextMenu->popup(where);
}

void BlocksWidget::blockItemClicked(QTreeWidgetItem* item, int column)
{
    if (column != FavouriteColumn)
        return;
    toggleBookmark(definitionOf(item));
}

void BlocksWidget::addBlockToBookmark()
{
    // No test for a favourite that exists: each call adds one more.
    if (BlockDefinition* definition = currentDefinition())
        bookmarks().addBookmark(definition);
}

void BlocksWidget::addOrRemoveBlockToBookmark()
{
    toggleBookmark(currentDefinition());
}

void BlocksWidget::deleteSelectedBlock()
{
    BlockDefinition* definition = currentDefinition();
    Block* block = definition ? definition->block() : nullptr;
    if (!block)
        return;
    const QString title = tr("Baustein löschen");
    if (!block->allowDelete()) {
        QMessageBox::information(dialogParent(), title, tr("Der Baustein kann nicht gelöscht werden!"), QMessageBox::Ok);
        return;
    }
    if (block->instanceCount() != 0) {
        QMessageBox::information(dialogParent(), title,
                                 tr("Der Baustein wird zur Zeit verwendet und kann nicht gelöscht werden!"), QMessageBox::Ok);
        return;
    }
    const QMessageBox::StandardButton answer =
        QMessageBox::question(dialogParent(), title, tr("Soll der Baustein %1 wirklich gelöscht werden?").arg(block->name().text()),
                              QMessageBox::Yes | QMessageBox::No);
    if (answer != QMessageBox::Yes)
        return;
    // The rows still point at the block's definitions: empty the list before they go.
    clear();
    BlockLibrary* owner = block->ownerLibrary();
    Block* removed = owner ? owner->removeBlock(block->identifier()) : block;
    delete removed;
    updatePath(m_currentPath);
}

void BlocksWidget::deleteSelectedBlockDefinition()
{
    BlockDefinition* definition = currentDefinition();
    Block* block = definition ? definition->block() : nullptr;
    if (!block)
        return;
    const QString title = tr("Bausteinversion löschen");
    if (!definition->allowDelete()) {
        QMessageBox::information(dialogParent(), title, tr("Die Bausteinversion kann nicht gelöscht werden!"), QMessageBox::Ok);
        return;
    }
    if (definition->instanceCount() != 0) {
        QMessageBox::information(dialogParent(), title,
                                 tr("Der Bausteinversion wird zur Zeit verwendet und kann nicht gelöscht werden!"), QMessageBox::Ok);
        return;
    }
    const unsigned int version = definition->version();
    const QMessageBox::StandardButton answer = QMessageBox::question(
        dialogParent(), title, tr("Soll die Version %2 des Bausteins \"%1\" wirklich gelöscht werden?").arg(block->name().text()).arg(version),
        QMessageBox::Yes | QMessageBox::No);
    if (answer != QMessageBox::Yes)
        return;
    clear();
    block->deleteDefinition(version);
    updatePath(m_currentPath);
}

void BlocksWidget::showSelectedBlockProperties()
{
    if (BlockDefinition* definition = currentDefinition())
        definition->showPropertiesView(!definition->isWritable(), 0);
}

void BlocksWidget::cloneNewVersion()
{
    BlockDefinition* definition = currentDefinition();
    Block* block = definition ? definition->block() : nullptr;
    if (!block)
        return;
    lowerWriteLevelToUser(block->createDefinitionClone(definition->version()));
    updatePath(m_currentPath);
}

void BlocksWidget::cloneNewBlock()
{
    BlockDefinition* definition = currentDefinition();
    Block* block = definition ? definition->block() : nullptr;
    if (!block)
        return;
    Block* clone = Block::createUserBlock();
    clone->cloneFrom(block);
    Text name = clone->name();
    const QList<int> languages = name.textLanguages();
    for (int language : languages)
        name.setText(language, name.text(language) + QLatin1Char('*'));
    clone->setName(name);
    const QList<unsigned int> versions = clone->versions();
    for (unsigned int version : versions)
        clone->deleteDefinition(version);
    BlockDefinition* only = clone->createDefinition();
    if (only)
        only->cloneFrom(definition);
    lowerWriteLevelToUser(only);
    if (BlockLibrary* owner = block->ownerLibrary())
        owner->insertBlock(clone);
    else
        delete clone;
    updatePath(m_currentPath);
}

void BlocksWidget::moveToContainer()
{
    auto* action = qobject_cast<QAction*>(sender());
    BlockDefinition* definition = currentDefinition();
    Block* block = definition ? definition->block() : nullptr;
    if (!action || !block)
        return;
    const QString identifier = action->data().toString();
    const QList<BlockLibraryContainer*> targets = moveTargets(definition);
    for (BlockLibraryContainer* target : targets) {
        if (target->identifier() != identifier)
            continue;
        BlockLibrary* owner = block->ownerLibrary();
        if (!owner || !target->library())
            return;
        clear();
        if (Block* moved = owner->removeBlock(block->identifier()))
            target->library()->insertBlock(moved);
        updatePath(m_currentPath);
        return;
    }
}

void BlocksWidget::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Delete) {
        if (currentItem())
            deleteSelectedBlock();
        event->accept();
        return;
    }
    event->ignore();
    QTreeView::keyPressEvent(event);
}

void BlocksWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        const QPoint position = event->position().toPoint();
        m_dragStart = itemAt(position) ? position : QPoint(0, 0);
    }
    QTreeWidget::mousePressEvent(event);
}

void BlocksWidget::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint position = event->position().toPoint();
    if ((event->buttons() & Qt::LeftButton) && m_dragStart != QPoint(0, 0)
        && (position - m_dragStart).manhattanLength() >= QApplication::startDragDistance()) {
        if (BlockDefinition* definition = definitionOf(itemAt(m_dragStart))) {
            auto* drag = new QDrag(this);
            const QImage picture = m_preview->image(definition);
            if (!picture.isNull())
                drag->setPixmap(QPixmap::fromImage(picture));
            drag->setHotSpot(QPoint(40, 10));
            auto* mime = new QMimeData;
            mime->setData(MimeType, payload(definition));
            drag->setMimeData(mime);
            drag->exec(Qt::CopyAction);
        }
    }
    QTreeView::mouseMoveEvent(event);
}

void BlocksWidget::exportGraphics()
{
    const QString directory = QFileDialog::getExistingDirectory(dialogParent(), tr("Export-Verzeichnis"), exportStartDirectory(),
                                                                QFileDialog::ShowDirsOnly)
        + QLatin1Char('/');
    QApplication::setOverrideCursor(Qt::WaitCursor);
    BlockRepository* repository = m_repository ? m_repository : &BlockRepository::instance();
    const QList<BlockLibrary*> libraries = repository->libraries();
    for (BlockLibrary* library : libraries) {
        if (!library)
            continue;
        const QList<QString> identifiers = library->blockIdentifiers();
        for (const QString& identifier : identifiers) {
            Block* block = library->block(identifier);
            const QList<unsigned int> versions = block ? block->versions() : QList<unsigned int>();
            if (versions.isEmpty())
                continue;
            BlockPreview preview;
            preview.saveImage(directory, block->blockDefinition(versions.last()), 300);
        }
    }
    QApplication::restoreOverrideCursor();
}

bool BlocksWidget::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_F1 || key == Qt::Key_Help) {
            if (const QTreeWidgetItem* row = currentItem()) {
                const BlockRepository* help = m_repository ? m_repository : &BlockRepository::instance();
                return help->showBlockHelp(row->data(VersionColumn, IdentifierRole).toString(),
                                           row->data(VersionColumn, VersionRole).toUInt());
            }
        } else if (key == Qt::Key_F12 && System::instance().userAccessLevelCode() == AccessLevel::Top) {
            // Pictures for the documentation, for the suite's own engineers alone.
            exportGraphics();
            return true;
        }
    }
    return QTreeWidget::eventFilter(watched, event);
}
