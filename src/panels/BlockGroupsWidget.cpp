#include "BlockGroupsWidget.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockRepository.h"
#include "LanguageManager.h"
#include "System.h"
#include "ToolkitWorkarounds.h"

#include <QEvent>
#include <QKeyEvent>
#include <QList>
#include <QSet>
#include <QTreeWidgetItem>
#include <QVariant>

namespace {

QString pathOf(const QTreeWidgetItem* row)
{
    return row->data(0, Qt::UserRole).toString();
}

QString groupName(const BlockRepository* repository, const QString& element)
{
    return repository->blockGroupName(element.toUInt()).text();
}

// Only the group's own blocks count, not those of sub-groups.
bool hasVisibleBlock(const BlockRepository* repository, const QString& path)
{
    const QList<BlockLibraryContainer*> containers = repository->containers();
    for (const BlockLibraryContainer* container : containers) {
        const BlockLibrary* library = container ? container->library() : nullptr;
        if (!library)
            continue;
        const QList<QString> identifiers = library->blockIdentifiers(path);
        for (const QString& identifier : identifiers) {
            const Block* block = library->block(identifier);
            if (!block || block->isTemplateBlock())
                continue;
            const QList<BlockDefinition*> definitions = block->definitions();
            for (const BlockDefinition* definition : definitions) {
                if (definition && definition->isVisible())
                    return true;
            }
        }
    }
    return false;
}

} // namespace

BlockGroupsWidget::BlockGroupsWidget(QWidget* parent)
    : QTreeWidget(parent)
{
    setProperty("HelpId", QStringLiteral("BlockGroupsWidget"));
    installEventFilter(this);
}

BlockGroupsWidget::~BlockGroupsWidget()
{
    // Rows of containers of other kinds hang in no tree; nobody else deletes them.
    for (QTreeWidgetItem* row : std::as_const(containerItems)) {
        if (!row->treeWidget())
            delete row;
    }
}

void BlockGroupsWidget::setup()
{
    setHeaderLabels({QString()});
    setHeaderHidden(true);
    setRootIsDecorated(true);
    repository = &BlockRepository::instance();
    connect(repository, &BlockRepository::groupsChanged, this, &BlockGroupsWidget::update);
    connect(repository, &BlockRepository::changed, this, &BlockGroupsWidget::update);
    connect(&System::instance(), &SystemInformation::userAccessLevelCodeChanged, this, &BlockGroupsWidget::update);
    connect(&LanguageManager::instance(), &LanguageManager::activeLanguageChanged, this, &BlockGroupsWidget::update);
    connect(this, &QTreeWidget::currentItemChanged, this, &BlockGroupsWidget::onCurrentItemChanged);
}

QList<QTreeWidgetItem*> BlockGroupsWidget::allRows() const
{
    // A group named "Ein-/Ausgabe" would otherwise drop out of the index and come back as a second
    // row at each update.
    return ToolkitWorkarounds::allRows(this);
}

BlockLibraryContainer* BlockGroupsWidget::containerOfRow(const QTreeWidgetItem* row) const
{
    for (auto it = containerItems.constBegin(); it != containerItems.constEnd(); ++it) {
        if (it.value() == row)
            return containerGuards.value(it.key()).data();
    }
    return nullptr;
}

void BlockGroupsWidget::deleteRow(QTreeWidgetItem* row)
{
    for (auto it = containerItems.begin(); it != containerItems.end();) {
        if (it.value() == row) {
            containerGuards.remove(it.key());
            it = containerItems.erase(it);
        } else {
            ++it;
        }
    }
    delete row;
}

void BlockGroupsWidget::update()
{
    if (!repository)
        return;

    // 1. Every group path of every library, with all its ancestors.
    groupPaths.clear();
    const QList<BlockLibraryContainer*> containers = repository->containers();
    for (const BlockLibraryContainer* container : containers) {
        if (container && container->library())
            groupPaths.append(container->library()->groupPaths());
    }
    groupPaths.removeDuplicates();
    QSet<QString> known(groupPaths.cbegin(), groupPaths.cend());
    const QStringList listed = groupPaths;
    for (const QString& path : listed) {
        const QStringList elements = path.split(QLatin1Char(';'));
        QString prefix;
        for (int i = 0; i < elements.size(); ++i) {
            prefix = i == 0 ? elements.at(0) : prefix + QLatin1Char(';') + elements.at(i);
            if (!known.contains(prefix)) {
                known.insert(prefix);
                groupPaths.append(prefix);
            }
        }
    }
    groupPaths.removeDuplicates();
    groupPaths.removeAll(QString());
    known = QSet<QString>(groupPaths.cbegin(), groupPaths.cend());

    // 2. Rows of groups that are gone; children come before their parent.
    if (!standardRoot) {
        standardRoot = new QTreeWidgetItem(this, {tr("Standardbibliotheken")});
        standardRoot->setExpanded(true);
    }
    QList<QTreeWidgetItem*> postOrder;
    {
        QList<QPair<QTreeWidgetItem*, bool>> pending;
        for (int i = standardRoot->childCount() - 1; i >= 0; --i)
            pending.append({standardRoot->child(i), false});
        while (!pending.isEmpty()) {
            auto [row, visited] = pending.takeLast();
            if (visited) {
                postOrder.append(row);
                continue;
            }
            pending.append({row, true});
            for (int i = row->childCount() - 1; i >= 0; --i)
                pending.append({row->child(i), false});
        }
    }
    const QList<QTreeWidgetItem*> containerRows = containerItems.values();
    for (QTreeWidgetItem* row : std::as_const(postOrder)) {
        if (containerRows.contains(row))
            continue;
        if (!known.contains(pathOf(row)))
            delete row;
    }

    // 3. What is left, by path.
    QHash<QString, QTreeWidgetItem*> rowOfPath;
    const QList<QTreeWidgetItem*> rows = allRows();
    for (QTreeWidgetItem* row : rows) {
        const QString path = pathOf(row);
        if (!path.isEmpty())
            rowOfPath.insert(path, row);
    }

    // 4. New rows, and every name anew (the language may have changed).
    for (const QString& path : std::as_const(groupPaths)) {
        const QStringList elements = path.split(QLatin1Char(';'));
        if (QTreeWidgetItem* row = rowOfPath.value(path)) {
            row->setText(0, groupName(repository, elements.last()));
            continue;
        }
        QTreeWidgetItem* parentRow = standardRoot;
        QString prefix;
        for (int i = 0; i < elements.size(); ++i) {
            prefix = i == 0 ? elements.at(0) : prefix + QLatin1Char(';') + elements.at(i);
            if (QTreeWidgetItem* row = rowOfPath.value(prefix)) {
                parentRow = row;
                continue;
            }
            auto* row = new QTreeWidgetItem(parentRow, {groupName(repository, elements.at(i))});
            row->setData(0, Qt::UserRole, prefix);
            rowOfPath.insert(prefix, row);
            parentRow = row;
        }
    }

    // 5. Order by name, level by level.
    standardRoot->sortChildren(0, Qt::AscendingOrder);
    const QList<QTreeWidgetItem*> sortRows = allRows();
    for (QTreeWidgetItem* row : sortRows)
        row->sortChildren(0, Qt::AscendingOrder);

    // 6. One row per library container of the user's and the internal kind.
    for (auto it = containerGuards.begin(); it != containerGuards.end();) {
        if (!it.value()) {
            // Deleted before the repository told: its row goes like that of any vanished container.
            if (QTreeWidgetItem* row = containerItems.take(it.key()))
                delete row;
            it = containerGuards.erase(it);
        } else {
            ++it;
        }
    }
    QList<BlockLibraryContainer*> remembered = containerItems.keys();
    for (BlockLibraryContainer* container : containers) {
        if (!container || container->containerKind() < BlockLibraryContainer::UserLibraryKind)
            continue;
        remembered.removeAll(container);
        QTreeWidgetItem* row = containerItems.value(container);
        if (!row) {
            const unsigned int kind = container->containerKind();
            if (kind == BlockLibraryContainer::UserLibraryKind) {
                if (!userRoot)
                    userRoot = new QTreeWidgetItem(this, {tr("Benutzerbibliotheken")});
                row = new QTreeWidgetItem(userRoot);
            } else if (kind == BlockLibraryContainer::InternalLibraryKind) {
                if (!internalRoot)
                    internalRoot = new QTreeWidgetItem(this, {tr("Interne Bibliotheken")});
                row = new QTreeWidgetItem(internalRoot);
            } else {
                row = new QTreeWidgetItem;
            }
            containerItems.insert(container, row);
            containerGuards.insert(container, container);
        }
        const QString name = container->name().text();
        if (row->text(0) != name)
            row->setText(0, name);
    }

    // 7. Rows of containers that have gone.
    for (BlockLibraryContainer* container : std::as_const(remembered)) {
        QTreeWidgetItem* row = containerItems.take(container);
        containerGuards.remove(container);
        delete row;
    }

    // 8. Groups without a visible block of their own, until an emptied parent has gone too.
    QHash<QString, bool> visible;
    for (;;) {
        QList<QTreeWidgetItem*> empty;
        const QList<QTreeWidgetItem*> candidates = allRows();
        for (QTreeWidgetItem* row : candidates) {
            if (row->childCount() > 0)
                continue;
            const QString path = pathOf(row);
            if (path.isEmpty())
                continue;
            auto it = visible.constFind(path);
            if (it == visible.constEnd())
                it = visible.insert(path, hasVisibleBlock(repository, path));
            if (!it.value())
                empty.append(row);
        }
        if (empty.isEmpty())
            break;
        for (QTreeWidgetItem* row : std::as_const(empty))
            deleteRow(row);
    }
}

void BlockGroupsWidget::selectGroup(Block* pBlock)
{
    if (!pBlock)
        return;
    if (pBlock->isUserBlock()) {
        BlockLibrary* library = pBlock->ownerLibrary();
        BlockLibraryContainer* container = library ? library->container() : nullptr;
        if (QTreeWidgetItem* row = container ? containerItems.value(container) : nullptr) {
            if (row->treeWidget())
                setCurrentItem(row);
        }
        return;
    }
    const QString path = pBlock->groupPath();
    const QList<QTreeWidgetItem*> rows = allRows();
    for (QTreeWidgetItem* row : rows) {
        if (pathOf(row) == path && !path.isEmpty()) {
            setCurrentItem(row);
            return;
        }
    }
}

void BlockGroupsWidget::onCurrentItemChanged(QTreeWidgetItem* pCurrent, QTreeWidgetItem*)
{
    if (!pCurrent)
        return;
    QString path = pathOf(pCurrent);
    if (path.isEmpty()) {
        if (const BlockLibraryContainer* container = containerOfRow(pCurrent))
            path = container->name().text();
    }
    if (!path.isEmpty())
        Q_EMIT groupSelected(path);
}

bool BlockGroupsWidget::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_F1 || key == Qt::Key_Help) {
            const QTreeWidgetItem* row = currentItem();
            // An empty path still splits into one empty element: the request goes out as
            // "BlockGroup_" and the repository decides what that shows.
            const QStringList elements = (row ? pathOf(row) : QString()).split(QLatin1Char(';'));
            if (!elements.isEmpty()) {
                const BlockRepository* help = repository ? repository : &BlockRepository::instance();
                return help->showHelpContent(QStringLiteral("BlockGroup_") + elements.last());
            }
        }
    }
    return QTreeWidget::eventFilter(watched, event);
}
