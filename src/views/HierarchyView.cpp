#include "HierarchyView.h"
#include "HierarchyViewPrivate.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockRepository.h"
#include "LanguageManager.h"
#include "ModelEnums.h"
#include "System.h"

#include <QEvent>
#include <QImage>
#include <QKeyEvent>
#include <QPixmap>
#include <QLocale>
#include <QStringList>
#include <QStyledItemDelegate>
#include <QStyle>
#include <QTimer>
#include <QTreeWidgetItem>
#include <QVBoxLayout>
#include <QVariant>

namespace {

void registerItemPath()
{
    // Both names, so that queued connections and QVariant conversions find the type whichever
    // spelling a signature uses; the list registration brings the sequential-container conversions.
    static const bool registered = [] {
        qRegisterMetaType<QList<uint>>("QList<uint>");
        qRegisterMetaType<ItemPath>("ItemPath");
        return true;
    }();
    Q_UNUSED(registered);
}

ItemPath pathOf(const QTreeWidgetItem* item)
{
    return item->data(0, Qt::UserRole).value<ItemPath>();
}

// A number value sorts numerically against the other numbers of the column; anything else stays
// text and sorts as text.
QVariant numberValue(const QString& text)
{
    bool ok = false;
    const qulonglong value = text.toULongLong(&ok, 10);
    return ok ? QVariant(value) : QVariant(text);
}

// Block numbers and versions are identifiers, not quantities: the locale's digit grouping would show
// 8000008 as "8.000.008" to a German user, which is no block number anyone knows.
class IdentifierNumberDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QString displayText(const QVariant& value, const QLocale& locale) const override
    {
        const int type = value.typeId();
        if (type == QMetaType::ULongLong || type == QMetaType::LongLong || type == QMetaType::UInt
            || type == QMetaType::Int) {
            QLocale plain = locale;
            plain.setNumberOptions(plain.numberOptions() | QLocale::OmitGroupSeparator);
            return QStyledItemDelegate::displayText(value, plain);
        }
        return QStyledItemDelegate::displayText(value, locale);
    }
};

} // namespace

HierarchyView::HierarchyView(QWidget* parent)
    : QWidget(parent)
    , d(new HierarchyViewPrivate(this))
{
}

HierarchyView::~HierarchyView() = default;

void HierarchyView::setRoot(BlockDefinition* pDefinition, BlockInstanceHierarchyNode* pNode)
{
    d->rootDefinition = pDefinition;
    d->rootNode = pNode;
    QObject::disconnect(d->libraryConnection);
    if (!pDefinition)
        return;
    // A root block of an area belongs to no library; its tree then follows the other triggers.
    if (Block* block = pDefinition->block()) {
        if (BlockLibrary* library = block->ownerLibrary())
            d->libraryConnection = connect(library, &BlockLibrary::contentsChanged, d.get(), &HierarchyViewPrivate::update);
    }
    d->update();
}

void HierarchyView::selectPath(const QString& path)
{
    if (!d->rootItem)
        return;
    QStringList parts = path.split(QLatin1Char('.'));
    parts.removeFirst();
    QTreeWidgetItem* item = d->rootItem;
    ItemPath wanted = pathOf(item);
    for (const QString& part : std::as_const(parts)) {
        bool ok = false;
        const uint identifier = part.toUInt(&ok, 10);
        if (!ok)
            return;
        wanted.append(identifier);
        QTreeWidgetItem* found = nullptr;
        for (int i = 0, n = item->childCount(); i < n; ++i) {
            QTreeWidgetItem* child = item->child(i);
            if (pathOf(child) == wanted) {
                found = child;
                break;
            }
        }
        // A path that leaves the tree selects nothing rather than the last row it reached.
        if (!found)
            return;
        item = found;
    }
    // All three columns selected, the name's last: the view scrolls to the current column, and in a
    // narrow panel it would otherwise leave the names out of sight for the version.
    d->setCurrentItem(item, 2, QItemSelectionModel::ClearAndSelect);
    d->setCurrentItem(item, 1, QItemSelectionModel::Select);
    d->setCurrentItem(item, 0, QItemSelectionModel::Select);
    d->resizeColumnToContents(0);
    d->resizeColumnToContents(2);
}

HierarchyViewPrivate::HierarchyViewPrivate(HierarchyView* owner)
    : QTreeWidget(owner)
    , q(owner)
{
    registerItemPath();
    q->setProperty("HelpId", QStringLiteral("HierarchyView"));
    q->installEventFilter(this);

    auto* layout = new QVBoxLayout(q);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(this);

    setColumnCount(3);
    setHeaderLabels({HierarchyView::tr("Name"), HierarchyView::tr("Nummer"), HierarchyView::tr("Version")});
    setRootIsDecorated(false);
    setIndentation(16);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSortingEnabled(true);
    setItemDelegateForColumn(1, new IdentifierNumberDelegate(this));
    setItemDelegateForColumn(2, new IdentifierNumberDelegate(this));

    connect(this, &QTreeWidget::itemDoubleClicked, this, &HierarchyViewPrivate::showItemInCode);
    connect(&System::instance(), &SystemInformation::userAccessLevelCodeChanged, this, &HierarchyViewPrivate::update);
    connect(&LanguageManager::instance(), &LanguageManager::activeLanguageChanged, this,
            &HierarchyViewPrivate::update);
    connect(this, &HierarchyViewPrivate::showPathInCode, q, &HierarchyView::showPathInCode);
}

HierarchyViewPrivate::~HierarchyViewPrivate() = default;

void HierarchyViewPrivate::update()
{
    // A hidden tab costs nothing; showEvent brings it up to date.
    if (!isVisible())
        return;

    if (!rootItem) {
        clear();
        instanceOfItem.clear();
        recursionItems.clear();
        rootItem = new QTreeWidgetItem;
        rootItem->setData(0, Qt::UserRole, QVariant::fromValue(ItemPath{0}));
        addTopLevelItem(rootItem);
        rootItem->setExpanded(true);
    }

    Pass pass;
    pass.area = BlockCodeScene::areaOf(rootNode);
    QList<BlockDefinition*> stack;
    updateItem(rootItem, stack, pass);

    if (!pass.attachments.isEmpty() || !pass.spanChanges.isEmpty()) {
        // Sorting stays off while rows go in, so that the tree sorts once instead of per row;
        // turning it on again sorts synchronously by the column and order the user chose.
        const bool sorting = isSortingEnabled();
        setSortingEnabled(false);
        for (const auto& attachment : std::as_const(pass.attachments))
            attachment.first->addChildren(attachment.second);
        for (QTreeWidgetItem* item : std::as_const(pass.spanChanges))
            item->setFirstColumnSpanned(recursionItems.contains(item));
        setSortingEnabled(sorting);
    }

    resizeColumnToContents(0);
    resizeColumnToContents(2);
}

void HierarchyViewPrivate::rootInstanceChanged()
{
    update();
}

void HierarchyViewPrivate::scheduleCodeUpdate()
{
    // A drag changes the code on every mouse move: one update per turn of the event loop is enough.
    if (codeUpdatePending)
        return;
    codeUpdatePending = true;
    QTimer::singleShot(0, this, [this] {
        codeUpdatePending = false;
        update();
    });
}

void HierarchyViewPrivate::showItemInCode(QTreeWidgetItem* pItem)
{
    if (!pItem)
        return;
    QString path;
    const ItemPath itemPath = pathOf(pItem);
    for (uint identifier : itemPath)
        path += QStringLiteral("%1.").arg(identifier);
    path.chop(1);
    Q_EMIT showPathInCode(path);
}

bool HierarchyViewPrivate::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == q && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_F1 || key == Qt::Key_Help) {
            BlockInstance* instance = instanceOfItem.value(currentItem());
            const BlockDefinition* definition = instance ? instance->blockDefinition() : nullptr;
            return BlockRepository::instance().showBlockHelp(definition);
        }
    }
    return QTreeWidget::eventFilter(watched, event);
}

void HierarchyViewPrivate::showEvent(QShowEvent*)
{
    update();
}

QIcon HierarchyViewPrivate::iconFor(const BlockDefinition* definition, Pass& pass)
{
    // Many rows share few definitions: each definition's bytes are decoded once per pass.
    auto it = pass.icons.constFind(definition);
    if (it != pass.icons.constEnd())
        return it.value();
    if (fallbackIcon.isNull())
        fallbackIcon = QIcon(QStringLiteral(":/Resources/DefaultBlockIconSmall.png"));
    QIcon icon = fallbackIcon;
    if (definition) {
        const QImage image = QImage::fromData(definition->smallListImage());
        if (!image.isNull())
            icon = QIcon(QPixmap::fromImage(image));
    }
    pass.icons.insert(definition, icon);
    return icon;
}

void HierarchyViewPrivate::forgetSubtree(QTreeWidgetItem* item)
{
    instanceOfItem.remove(item);
    recursionItems.remove(item);
    for (int i = 0, n = item->childCount(); i < n; ++i)
        forgetSubtree(item->child(i));
}

void HierarchyViewPrivate::updateItem(QTreeWidgetItem* item, QList<BlockDefinition*>& stack, Pass& pass)
{
    BlockInstance* instance = nullptr;
    BlockDefinition* definition = nullptr;
    if (item == rootItem) {
        definition = rootDefinition;
    } else {
        instance = instanceOfItem.value(item);
        definition = instance ? instance->blockDefinition() : nullptr;
    }
    const bool recursive = definition && stack.contains(definition);

    QString text;
    if (recursive) {
        text = HierarchyView::tr("rekursive Instanz von %1")
                   .arg(definition->block() ? definition->block()->name().text() : QString());
    } else if (item == rootItem) {
        if (rootNode)
            text = pass.area ? pass.area->title() : QString();
        else
            text = definition && definition->block() ? definition->block()->name().text() : QString();
    } else if (instance) {
        text = instance->name();
        switch (instance->blockType()) {
        case BlockTypeText: {
            const QStringList list = instance->parameterList(pass.area).toStringList();
            text += QStringLiteral(" - ");
            if (!list.isEmpty())
                text += list.at(0);
            break;
        }
        case BlockTypePin: {
            const QStringList list = instance->parameterList(pass.area).toStringList();
            text += QStringLiteral(" - ");
            if (list.size() >= 3)
                text += list.at(0) + QLatin1Char(':') + list.at(2);
            break;
        }
        default:
            break;
        }
    }
    item->setText(0, text);
    if (item != rootItem) {
        item->setData(1, Qt::DisplayRole, instance ? numberValue(instance->numberText()) : QVariant());
        item->setData(2, Qt::DisplayRole,
                      instance && instance->isVersionVisible() ? QVariant(instance->version()) : QVariant());
    }

    if (recursionItems.contains(item) && !recursive) {
        // The row was a recursion line before: it gets its own icon back and its columns apart.
        recursionItems.remove(item);
        item->setIcon(0, QIcon());
        pass.spanChanges.append(item);
    }

    if (!recursive && item->icon(0).isNull())
        item->setIcon(0, iconFor(definition, pass));

    QHash<uint, QTreeWidgetItem*> children;
    children.reserve(item->childCount());
    for (int i = 0, n = item->childCount(); i < n; ++i) {
        QTreeWidgetItem* child = item->child(i);
        const ItemPath childPath = pathOf(child);
        children.insert(childPath.isEmpty() ? 0u : childPath.last(), child);
    }

    QList<BlockInstance*> instances;
    if (definition && definition->isStepInAllowed()) {
        if (BlockCode* code = BlockCode::blockDefinitionCode(definition)) {
            instances = code->instances();
            // The library's contentsChanged does not tell of edits to the code inside an area's
            // program; every code the tree shows reports its own changes.
            connect(code, &BlockCode::changed, this, &HierarchyViewPrivate::scheduleCodeUpdate,
                    Qt::UniqueConnection);
        }
    }

    if (recursive) {
        if (!recursionItems.contains(item)) {
            item->setIcon(0, style()->standardIcon(QStyle::SP_MessageBoxCritical));
            recursionItems.insert(item);
            pass.spanChanges.append(item);
        }
        // The build ends at a recursion line and goes no deeper; rows of an earlier pass stay as
        // long as their instance is still in the code.
        for (auto it = children.begin(); it != children.end();) {
            if (instances.contains(instanceOfItem.value(it.value()).data()))
                it = children.erase(it);
            else
                ++it;
        }
    } else {
        stack.append(definition);
        const ItemPath path = pathOf(item);
        QList<QTreeWidgetItem*> added;
        for (BlockInstance* childInstance : std::as_const(instances)) {
            const uint identifier = childInstance->identifier();
            QTreeWidgetItem* child = children.take(identifier);
            if (!child) {
                child = new QTreeWidgetItem;
                ItemPath childPath = path;
                childPath.append(identifier);
                child->setData(0, Qt::UserRole, QVariant::fromValue(childPath));
                added.append(child);
            }
            // Checked on every pass: the code may have replaced the instance under the same identifier.
            auto entry = instanceOfItem.find(child);
            if (entry == instanceOfItem.end())
                instanceOfItem.insert(child, childInstance);
            else if (entry.value() != childInstance)
                entry.value() = childInstance;
            updateItem(child, stack, pass);
        }
        stack.removeLast();
        if (!added.isEmpty()) {
            // A row outside the view takes its children at once; a row in the view gets them in one
            // insertion after the walk.
            if (item->treeWidget())
                pass.attachments.append({item, added});
            else
                item->addChildren(added);
        }
    }

    for (QTreeWidgetItem* child : std::as_const(children)) {
        forgetSubtree(child);
        delete child;
    }
}
