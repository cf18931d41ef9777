#include "BlockSearchResultWidget.h"
#include "BlockSearchResultWidgetPrivate.h"

#include "BlockBookmarkRepository.h"
#include "BlockPreview.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockRepository.h"

#include <QAction>
#include <QApplication>
#include <QDrag>
#include <QHeaderView>
#include <QIcon>
#include <QImage>
#include <QKeyEvent>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QMouseEvent>
#include <QPixmap>
#include <QTreeWidgetItem>
#include <QVBoxLayout>
#include <QVariant>

namespace {

const char* const DefinitionMimeType = "zk6/blockdefinitionidentifier";
constexpr int NodeRole = Qt::UserRole;
constexpr int DefinitionRole = Qt::UserRole + 1;
constexpr int StarColumn = 3;

const void* storedPointer(const QTreeWidgetItem* item, int role)
{
    return item ? item->data(0, role).value<void*>() : nullptr;
}

QIcon defaultBlockIcon()
{
    return QIcon(QStringLiteral(":/Resources/DefaultBlockIconSmall.png"));
}

// Number by the order of kinds, or the identifier for a block of none of them.
QString numberOrIdentifier(const Block* block)
{
    const QString number = block->displayNumber();
    return number.isEmpty() ? block->identifier() : number;
}

bool isStarBlock(const BlockDefinition* definition)
{
    const Block* block = definition ? definition->block() : nullptr;
    return block && !block->isLocalBlock() && !block->isFallbackBlock();
}

} // namespace

BlockSearchResultWidgetPrivate::BlockSearchResultWidgetPrivate(BlockSearchResultWidget* pOwner)
    : QTreeWidget(pOwner)
    , preview(new BlockPreview)
    , owner(pOwner)
    , starIcon(QStringLiteral(":/Resources/star.png"))
    , starEmptyIcon(QStringLiteral(":/Resources/starEmpty.png"))
    , defaultIcon(defaultBlockIcon())
{
    connect(this, &BlockSearchResultWidgetPrivate::needToShowInHierarchy, owner, &BlockSearchResultWidget::needToShowInHierarchy);
    connect(this, &BlockSearchResultWidgetPrivate::needToShowInCode, owner, &BlockSearchResultWidget::needToShowInCode);
    connect(this, &BlockSearchResultWidgetPrivate::needToShowInLibrary, owner, &BlockSearchResultWidget::needToShowInLibrary);
}

BlockSearchResultWidgetPrivate::~BlockSearchResultWidgetPrivate()
{
    delete preview;
}

void BlockSearchResultWidgetPrivate::setup()
{
    auto* layout = new QVBoxLayout(owner);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(this);

    setContextMenuPolicy(Qt::CustomContextMenu);
    header()->show();
    setRootIsDecorated(true);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setColumnCount(4);
    setHeaderLabels({BlockSearchResultWidget::tr("Name"), BlockSearchResultWidget::tr("Nummer"),
                     BlockSearchResultWidget::tr("Version"), BlockSearchResultWidget::tr("Favorit")});
    setColumnWidth(0, 200);
    // No column of its own: the rows follow the header's sort indicator, whatever the walk's order.
    setSortingEnabled(true);
    owner->installEventFilter(this);

    connect(this, SIGNAL(itemDoubleClicked(QTreeWidgetItem*,int)), this, SLOT(onItemDoubleClicked(QTreeWidgetItem*,int)));
    connect(this, SIGNAL(customContextMenuRequested(QPoint)), this, SLOT(onShowContextMenu(QPoint)));
    connect(this, SIGNAL(itemClicked(QTreeWidgetItem*,int)), this, SLOT(blockItemClicked(QTreeWidgetItem*,int)));
    bookmarks = &BlockBookmarkRepository::instance();
    connect(bookmarks, &BlockBookmarkRepository::changed, this, &BlockSearchResultWidgetPrivate::refreshStars);
}

void BlockSearchResultWidgetPrivate::clearResults()
{
    qDeleteAll(pendingHierarchyRows);
    qDeleteAll(pendingLibraryRows);
    pendingHierarchyRows.clear();
    pendingLibraryRows.clear();
    QTreeWidget::clear();
    hierarchySection = nullptr;
    librarySection = nullptr;
    hierarchyHits.clear();
    libraryHits.clear();
    icons.clear();
}

QIcon BlockSearchResultWidgetPrivate::iconOf(BlockDefinition* pBlockDefinition)
{
    auto known = icons.constFind(pBlockDefinition);
    if (known != icons.constEnd())
        return known.value();
    const QByteArray bytes = pBlockDefinition->smallListImage();
    QPixmap pixmap;
    const QIcon icon = !bytes.isEmpty() && pixmap.loadFromData(bytes) ? QIcon(pixmap) : defaultIcon;
    icons.insert(pBlockDefinition, icon);
    return icon;
}

QTreeWidgetItem* BlockSearchResultWidgetPrivate::section(QTreeWidgetItem*& pSection, const QString& text)
{
    if (!pSection) {
        pSection = new QTreeWidgetItem(QStringList{text});
        addTopLevelItem(pSection);
        pSection->setFirstColumnSpanned(true);
        pSection->setExpanded(true);
    }
    return pSection;
}

void BlockSearchResultWidgetPrivate::insertHierarchyItem(BlockInstanceHierarchyNode* pBlockInstanceNode)
{
    if (!pBlockInstanceNode || hierarchyHits.contains(pBlockInstanceNode))
        return;
    BlockInstance* instance = pBlockInstanceNode->blockInstance();
    if (!instance)
        return;
    hierarchyHits.insert(pBlockInstanceNode);

    QString name = instance->name();
    const QStringList parameters = instance->parameterList(area.data()).toStringList();
    switch (instance->blockType()) {
    case 1:
        name += QStringLiteral(" - ") + parameters.value(0);
        break;
    case 2:
        name += QStringLiteral(" - ");
        if (parameters.size() >= 3)
            name += parameters.at(0) + QLatin1Char(':') + parameters.at(2);
        break;
    case 3:
        name += QStringLiteral(" - ");
        if (parameters.size() >= 2)
            name += parameters.at(1);
        break;
    default:
        break;
    }

    // Filled before it joins the sorted tree, so that it is placed once.
    auto* row = new QTreeWidgetItem;
    row->setData(0, NodeRole, QVariant::fromValue(static_cast<void*>(pBlockInstanceNode)));
    row->setText(0, name);
    const QString numberText = instance->numberText();
    bool isNumber = false;
    const qulonglong number = numberText.toULong(&isNumber);
    if (isNumber)
        row->setData(1, Qt::DisplayRole, number);
    else
        row->setData(1, Qt::DisplayRole, numberText);
    row->setData(2, Qt::DisplayRole, instance->version());
    if (BlockDefinition* definition = instance->blockDefinition()) {
        row->setIcon(0, iconOf(definition));
        setStar(row, definition);
    }
    if (collecting)
        pendingHierarchyRows.append(row);
    else
        section(hierarchySection, BlockSearchResultWidget::tr("Hierarchie"))->addChild(row);
}

void BlockSearchResultWidgetPrivate::insertLibraryItem(BlockDefinition* pBlockDefinition)
{
    if (!pBlockDefinition || libraryHits.contains(pBlockDefinition))
        return;
    const Block* block = pBlockDefinition->block();
    if (!block)
        return;
    libraryHits.insert(pBlockDefinition, pBlockDefinition);

    auto* row = new QTreeWidgetItem;
    row->setData(0, DefinitionRole, QVariant::fromValue(static_cast<void*>(pBlockDefinition)));
    row->setIcon(0, iconOf(pBlockDefinition));
    row->setText(0, block->name().text());
    row->setData(1, Qt::DisplayRole, numberOrIdentifier(block));
    row->setData(2, Qt::DisplayRole, pBlockDefinition->version());
    setStar(row, pBlockDefinition);
    if (collecting)
        pendingLibraryRows.append(row);
    else
        section(librarySection, BlockSearchResultWidget::tr("Bibliothek"))->addChild(row);
}

void BlockSearchResultWidgetPrivate::beginCollecting()
{
    collecting = true;
}

void BlockSearchResultWidgetPrivate::endCollecting()
{
    collecting = false;
    if (!pendingHierarchyRows.isEmpty())
        section(hierarchySection, BlockSearchResultWidget::tr("Hierarchie"))->addChildren(pendingHierarchyRows);
    if (!pendingLibraryRows.isEmpty())
        section(librarySection, BlockSearchResultWidget::tr("Bibliothek"))->addChildren(pendingLibraryRows);
    pendingHierarchyRows.clear();
    pendingLibraryRows.clear();
}

BlockInstanceHierarchyNode* BlockSearchResultWidgetPrivate::validNode(const QTreeWidgetItem* pItem) const
{
    const void* stored = storedPointer(pItem, NodeRole);
    if (!stored || !area || !area->hierarchy())
        return nullptr;
    // Compared by address only, until the walk finds it among the living nodes.
    QList<BlockInstanceHierarchyNode*> pending{area->hierarchy()->rootNode()};
    while (!pending.isEmpty()) {
        BlockInstanceHierarchyNode* node = pending.takeLast();
        if (!node)
            continue;
        if (node == stored)
            return node;
        const QList<int> children = node->instanceNodes();
        for (int identifier : children)
            pending.append(node->instanceNode(unsigned(identifier)));
    }
    return nullptr;
}

BlockDefinition* BlockSearchResultWidgetPrivate::libraryDefinition(const QTreeWidgetItem* pItem) const
{
    const void* stored = storedPointer(pItem, DefinitionRole);
    return stored ? libraryHits.value(stored).data() : nullptr;
}

BlockDefinition* BlockSearchResultWidgetPrivate::definitionOfRow(const QTreeWidgetItem* pItem) const
{
    if (BlockDefinition* definition = libraryDefinition(pItem))
        return definition;
    // A node that left the hierarchy is never touched, not even for its definition.
    const BlockInstanceHierarchyNode* node = validNode(pItem);
    const BlockInstance* instance = node ? node->blockInstance() : nullptr;
    return instance ? instance->blockDefinition() : nullptr;
}

void BlockSearchResultWidgetPrivate::setStar(QTreeWidgetItem* pItem, BlockDefinition* pBlockDefinition)
{
    if (!isStarBlock(pBlockDefinition))
        return;
    const bool marked = bookmarks && bookmarks->isBookmarked(pBlockDefinition);
    pItem->setIcon(StarColumn, marked ? starIcon : starEmptyIcon);
}

void BlockSearchResultWidgetPrivate::refreshStars()
{
    for (QTreeWidgetItem* sectionRow : {hierarchySection, librarySection}) {
        if (!sectionRow)
            continue;
        for (int i = 0; i < sectionRow->childCount(); ++i) {
            QTreeWidgetItem* row = sectionRow->child(i);
            if (BlockDefinition* definition = definitionOfRow(row))
                setStar(row, definition);
        }
    }
}

void BlockSearchResultWidgetPrivate::showNotFound(const QTreeWidgetItem* pItem)
{
    QMessageBox::information(owner, BlockSearchResultWidget::tr("Suchen"),
                             BlockSearchResultWidget::tr("\"%1\" wurde nicht gefunden").arg(pItem->text(0)));
}

void BlockSearchResultWidgetPrivate::onItemDoubleClicked(QTreeWidgetItem* pItem, int column)
{
    Q_UNUSED(column);
    if (!pItem)
        return;
    if (storedPointer(pItem, DefinitionRole)) {
        if (BlockDefinition* definition = libraryDefinition(pItem))
            Q_EMIT needToShowInLibrary(definition);
        return;
    }
    // A section row is no hit: it only opens and closes.
    if (!storedPointer(pItem, NodeRole))
        return;
    if (BlockInstanceHierarchyNode* node = validNode(pItem))
        Q_EMIT needToShowInCode(node->locationPath());
    else
        showNotFound(pItem);
}

void BlockSearchResultWidgetPrivate::onShowContextMenu(QPoint point)
{
    QTreeWidgetItem* row = currentItem();
    if (!row)
        return;
    auto* menu = new QMenu(owner);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setSeparatorsCollapsible(true);
    QAction* last = nullptr;
    if (storedPointer(row, DefinitionRole))
        last = menu->addAction(BlockSearchResultWidget::tr("Zeige Baustein in Bibliotek"), this, SLOT(showCurrentBlockInLibraryView()));
    if (storedPointer(row, NodeRole)) {
        menu->addAction(BlockSearchResultWidget::tr("Zeige Baustein in Hierarchieansicht"), this,
                        SLOT(showCurrentBlockInHierarchyView()));
        last = menu->addAction(BlockSearchResultWidget::tr("Zeige Baustein in Konfiguration"), this,
                               SLOT(showCurrentBlockInCodeView()));
    }
    if (!last) {
        // A section row offers nothing.
        delete menu;
        return;
    }
    menu->setDefaultAction(last);
    QPoint position = mapToGlobal(point);
    position.setY(position.y() + header()->height());
    menu->popup(position);
}

void BlockSearchResultWidgetPrivate::showCurrentBlockInHierarchyView()
{
    QTreeWidgetItem* row = currentItem();
    if (!row || !storedPointer(row, NodeRole))
        return;
    if (BlockInstanceHierarchyNode* node = validNode(row))
        Q_EMIT needToShowInHierarchy(node->locationPath());
    else
        showNotFound(row);
}

void BlockSearchResultWidgetPrivate::showCurrentBlockInCodeView()
{
    QTreeWidgetItem* row = currentItem();
    if (!row || !storedPointer(row, NodeRole))
        return;
    if (BlockInstanceHierarchyNode* node = validNode(row))
        Q_EMIT needToShowInCode(node->locationPath());
    else
        showNotFound(row);
}

void BlockSearchResultWidgetPrivate::showCurrentBlockInLibraryView()
{
    if (BlockDefinition* definition = libraryDefinition(currentItem()))
        Q_EMIT needToShowInLibrary(definition);
}

void BlockSearchResultWidgetPrivate::addBlockToBookmark()
{
    BlockDefinition* definition = libraryDefinition(currentItem());
    if (definition && bookmarks)
        bookmarks->addBookmark(definition);
}

void BlockSearchResultWidgetPrivate::blockItemClicked(QTreeWidgetItem* item, int column)
{
    if (column != StarColumn || !item)
        return;
    BlockDefinition* definition = definitionOfRow(item);
    if (!isStarBlock(definition) || !bookmarks)
        return;
    if (bookmarks->isBookmarked(definition))
        bookmarks->removeBookmarks(definition);
    else
        bookmarks->addBookmark(definition);
    refreshStars();
}

bool BlockSearchResultWidgetPrivate::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_F1 || key == Qt::Key_Help) {
            // A row without a definition still asks, with no block at all.
            return BlockRepository::instance().showBlockHelp(definitionOfRow(currentItem()));
        }
    }
    return QTreeWidget::eventFilter(watched, event);
}

void BlockSearchResultWidgetPrivate::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        const QPoint position = event->position().toPoint();
        dragStart = itemAt(position) ? position : QPoint();
    }
    QTreeWidget::mousePressEvent(event);
}

void BlockSearchResultWidgetPrivate::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint position = event->position().toPoint();
    if ((event->buttons() & Qt::LeftButton) && !dragStart.isNull()
        && (position - dragStart).manhattanLength() >= QApplication::startDragDistance()) {
        BlockDefinition* definition = libraryDefinition(itemAt(dragStart));
        const Block* block = definition ? definition->block() : nullptr;
        if (block) {
            auto* mime = new QMimeData;
            mime->setData(QLatin1String(DefinitionMimeType),
                          (block->identifier() + QLatin1Char(';') + QString::number(definition->version())).toLatin1());
            auto* drag = new QDrag(this);
            const QImage picture = preview->image(definition);
            if (!picture.isNull())
                drag->setPixmap(QPixmap::fromImage(picture));
            drag->setHotSpot(QPoint(40, 10));
            drag->setMimeData(mime);
            drag->exec(Qt::CopyAction);
        }
    }
    QTreeView::mouseMoveEvent(event);
}

BlockSearchResultWidget::BlockSearchResultWidget(QWidget* parent)
    : QWidget(parent)
    , d(new BlockSearchResultWidgetPrivate(this))
{
    setProperty("HelpId", QStringLiteral("BlockSearchResultWidget"));
}

BlockSearchResultWidget::~BlockSearchResultWidget() = default;

void BlockSearchResultWidget::setup()
{
    d->setup();
}

void BlockSearchResultWidget::setBlockInstanceArea(BlockInstanceArea* pArea)
{
    d->area = pArea;
}

void BlockSearchResultWidget::clear()
{
    d->clearResults();
}

void BlockSearchResultWidget::insertHierarchyItem(BlockInstanceHierarchyNode* pBlockInstanceNode)
{
    d->insertHierarchyItem(pBlockInstanceNode);
}

void BlockSearchResultWidget::insertLibraryItem(BlockDefinition* pBlockDefinition)
{
    d->insertLibraryItem(pBlockDefinition);
}
