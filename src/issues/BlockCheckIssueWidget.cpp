#include "BlockCheckIssueWidget.h"
#include "BlockCheckIssueWidgetPrivate.h"

#include "BlockCheckIssue.h"
#include "BlockCheckIssueEntry.h"
#include "BlockCheckIssueView.h"

#include <QAction>
#include <QHeaderView>
#include <QIcon>
#include <QMenu>
#include <QPixmap>
#include <QTreeWidgetItem>
#include <QVBoxLayout>
#include <QVariant>

namespace {

BlockCheckIssueEntry* entryOf(const QTreeWidgetItem* item)
{
    return item ? item->data(0, Qt::UserRole).value<BlockCheckIssueEntry*>() : nullptr;
}

QIcon levelIcon(BlockCheckIssue::eLevel level)
{
    switch (level) {
    case BlockCheckIssue::Information:
        return QIcon(QStringLiteral(":/Resources/information.png"));
    case BlockCheckIssue::Warning:
        return QIcon(QStringLiteral(":/Resources/warning.png"));
    case BlockCheckIssue::Error:
        return QIcon(QStringLiteral(":/Resources/error.png"));
    }
    // An unknown level keeps the column's texts aligned with the others.
    QPixmap blank(14, 14);
    return QIcon(blank);
}

} // namespace

BlockCheckIssueWidgetPrivate::BlockCheckIssueWidgetPrivate(QWidget* pView, BlockCheckIssueWidget* owner)
    : QTreeWidget(owner)
    , view(pView)
    , widget(owner)
{
}

QTreeWidgetItem* BlockCheckIssueWidgetPrivate::itemOf(const BlockCheckIssueEntry* pEntry) const
{
    const QList<QTreeWidgetItem*> rows = findItems(QStringLiteral("*"), Qt::MatchWildcard, 0);
    for (QTreeWidgetItem* row : rows) {
        if (entryOf(row) == pEntry)
            return row;
    }
    return nullptr;
}

void BlockCheckIssueWidgetPrivate::render(QTreeWidgetItem* pItem)
{
    const BlockCheckIssueEntry* entry = entryOf(pItem);
    if (!entry) {
        delete pItem;
        return;
    }
    pItem->setText(0, QString::number(entry->number()));
    pItem->setIcon(0, levelIcon(entry->level()));
    pItem->setText(1, entry->sourceName());
    pItem->setText(2, entry->issueText());
}

void BlockCheckIssueWidgetPrivate::onItemDoubleClicked(QTreeWidgetItem* pItem, int column)
{
    Q_UNUSED(column);
    if (const BlockCheckIssueEntry* entry = entryOf(pItem))
        Q_EMIT needToShow(entry->locationPath());
}

void BlockCheckIssueWidgetPrivate::showCurrentItem()
{
    onItemDoubleClicked(currentItem(), 0);
}

void BlockCheckIssueWidgetPrivate::onShowContextMenu(const QPoint& point)
{
    QPoint position = mapToGlobal(point);
    position.setY(position.y() + header()->height());
    // Parented to the widget and kept: it goes with its parent.
    auto* menu = new QMenu(widget);
    if (currentItem()) {
        menu->addAction(tr("Zeige in Grafik"), this, SLOT(showCurrentItem()));
        menu->addSeparator();
    }
    QAction* sub = menu->addAction(tr("Auch alle enthaltenen Bausteine prüfen"));
    sub->setCheckable(true);
    auto* issueView = qobject_cast<BlockCheckIssueView*>(view);
    sub->setChecked(issueView && issueView->checkSubInstances());
    connect(sub, SIGNAL(toggled(bool)), view, SLOT(setCheckSubInstances(bool)));
    menu->popup(position);
}

BlockCheckIssueWidget::BlockCheckIssueWidget(QWidget* parent)
    : QWidget(parent)
    , d(new BlockCheckIssueWidgetPrivate(parent, this))
{
    setProperty("HelpId", QStringLiteral("BlockCheckIssueWidget"));
}

BlockCheckIssueWidget::~BlockCheckIssueWidget() = default;

void BlockCheckIssueWidget::setUp()
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(d.get());
    d->setContextMenuPolicy(Qt::CustomContextMenu);
    d->setHeaderLabels({BlockCheckIssueWidgetPrivate::tr("Nummer"), BlockCheckIssueWidgetPrivate::tr("Quelle"),
                        BlockCheckIssueWidgetPrivate::tr("Problem")});
    d->setRootIsDecorated(false);
    d->setSortingEnabled(true);
    connect(d.get(), &BlockCheckIssueWidgetPrivate::needToShow, this, &BlockCheckIssueWidget::needToShow);
    connect(d.get(), SIGNAL(itemDoubleClicked(QTreeWidgetItem*,int)), d.get(), SLOT(onItemDoubleClicked(QTreeWidgetItem*,int)));
    connect(d.get(), SIGNAL(customContextMenuRequested(QPoint)), d.get(), SLOT(onShowContextMenu(QPoint)));
}

void BlockCheckIssueWidget::update()
{
    // Rendering can delete a row, so walk a copy of the list.
    QList<QTreeWidgetItem*> rows;
    for (int i = 0; i < d->topLevelItemCount(); ++i)
        rows.append(d->topLevelItem(i));
    for (QTreeWidgetItem* row : std::as_const(rows))
        d->render(row);
}

void BlockCheckIssueWidget::insertEntry(BlockCheckIssueEntry* pEntry)
{
    QTreeWidgetItem* row = d->itemOf(pEntry);
    if (!row) {
        row = new QTreeWidgetItem;
        d->addTopLevelItem(row);
        row->setData(0, Qt::UserRole, QVariant::fromValue(pEntry));
    }
    d->render(row);
}

void BlockCheckIssueWidget::removeEntry(BlockCheckIssueEntry* pEntry)
{
    delete d->itemOf(pEntry);
}
