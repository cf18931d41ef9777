#include "BlockLibraryView.h"
#include "BlockLibraryViewPrivate.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockGroupsWidget.h"
#include "BlocksWidget.h"

#include <QSplitter>
#include <QVBoxLayout>

BlockLibraryViewPrivate::BlockLibraryViewPrivate(BlockLibraryView* owner)
    : QObject(owner)
    , groupsWidget(new BlockGroupsWidget(owner))
    , blocksWidget(new BlocksWidget(owner))
    , splitter(new QSplitter(owner))
    , q(owner)
{
}

BlockLibraryViewPrivate::~BlockLibraryViewPrivate() = default;

BlockLibraryView::BlockLibraryView(QWidget* parent)
    : QWidget(parent)
    , d(new BlockLibraryViewPrivate(this))
{
    setProperty("HelpId", QStringLiteral("BlockLibraryView"));
}

BlockLibraryView::~BlockLibraryView() = default;

void BlockLibraryView::initialize()
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    d->splitter->setOrientation(Qt::Vertical);
    d->splitter->addWidget(d->groupsWidget);
    d->splitter->addWidget(d->blocksWidget);
    layout->addWidget(d->splitter);
    d->splitter->setSizes({1, 1});

    d->groupsWidget->setup();
    d->blocksWidget->setup();
    d->groupsWidget->update();
    // Direct, so that the list is filled when selectGroup returns.
    connect(d->groupsWidget, &BlockGroupsWidget::groupSelected, d->blocksWidget, &BlocksWidget::updatePath);
}

BlockGroupsWidget* BlockLibraryView::groupsWidget() const
{
    return d->groupsWidget;
}

BlocksWidget* BlockLibraryView::blocksWidget() const
{
    return d->blocksWidget;
}

void BlockLibraryView::selectBlockDefinition(BlockDefinition* pBlockDefinition)
{
    Block* block = pBlockDefinition ? pBlockDefinition->block() : nullptr;
    if (!block)
        return;
    d->groupsWidget->selectGroup(block);
    d->blocksWidget->selectBlock(block->identifier(), pBlockDefinition->version());
}
