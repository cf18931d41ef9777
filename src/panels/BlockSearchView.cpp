#include "BlockSearchView.h"

#include "BlockSearchViewPrivate.h"
#include "ui_BlockSearchView.h"

#include "BlockSearchResultWidget.h"
#include "BlockSearchResultWidgetPrivate.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPin.h"
#include "BlockRepository.h"

#include <QApplication>
#include <QStringList>

namespace {

// Its libraries are left out of every search.
const QString ExcludedContainer = QStringLiteral("100000");

} // namespace

BlockSearchViewPrivate::BlockSearchViewPrivate(BlockSearchView* pOwner)
    : QObject(pOwner)
    , ui(new Ui::BlockSearchView)
    , owner(pOwner)
{
}

BlockSearchViewPrivate::~BlockSearchViewPrivate() = default;

void BlockSearchViewPrivate::startSearch()
{
    BlockSearchResultWidget* results = ui->blockSearchResultWidget;
    results->clear();

    caseSensitive = ui->caseSensitiveCheckBox->isChecked();
    usePins = ui->usePins->isChecked();
    useShortName = ui->useShortName->isChecked();
    useNames = ui->useNames->isChecked();
    useNumber = ui->useNumber->isChecked();

    const QString text = ui->searchTextEdit->text();
    if (text.isEmpty())
        return;
    searchText = caseSensitive ? text : text.toLower();

    QApplication::setOverrideCursor(Qt::WaitCursor);
    results->d->beginCollecting();
    if (ui->inHierarchyCheckBox->isChecked() && area && area->hierarchy())
        searchHierarchy(area->hierarchy()->rootNode());
    if (ui->inLibraryCheckBox->isChecked())
        searchLibraries();
    results->d->endCollecting();
    QApplication::restoreOverrideCursor();
}

bool BlockSearchViewPrivate::matches(const QString& candidate) const
{
    // Both sides are lowered already unless the case counts: no wildcards, any place.
    if (caseSensitive)
        return candidate.indexOf(searchText, 0, Qt::CaseSensitive) >= 0;
    return candidate.toLower().indexOf(searchText, 0, Qt::CaseSensitive) >= 0;
}

bool BlockSearchViewPrivate::matchesInstance(const BlockInstance* pInstance) const
{
    // The instance's own texts (lines of a text block, the name of a pin block) count whatever
    // the options say.
    const QStringList entries = pInstance->parameterList(area.data()).toStringList();
    for (const QString& entry : entries) {
        if (matches(entry))
            return true;
    }
    return false;
}

bool BlockSearchViewPrivate::matchesDefinition(const BlockDefinition* pDefinition, bool ignoreVisibility) const
{
    if (!ignoreVisibility && !pDefinition->isVisible())
        return false;
    const Block* block = pDefinition->block();
    if (!block)
        return false;
    if (useShortName && matches(block->shortName()))
        return true;
    if (useNames && matches(block->name().text()))
        return true;
    if (useNumber) {
        // Every number of every block: the accessors of the other kinds answer too.
        const unsigned int numbers[] = {block->standardBlockNumber(), block->systemBlockNumber(), block->magicBlockNumber(),
                                        block->toolBlockNumber()};
        for (unsigned int number : numbers) {
            if (matches(QString::number(number)))
                return true;
        }
    }
    if (usePins) {
        // Only the first pin is compared, and its name only while the short name is not used: the
        // results users know depend on it.
        const QList<int> pins = pDefinition->pins();
        for (int identifier : pins) {
            const BlockPin* pin = pDefinition->pin(identifier);
            if (useShortName)
                return pin && matches(pin->shortName());
            if (useNames)
                return pin && matches(pin->name().text());
        }
    }
    return false;
}

void BlockSearchViewPrivate::searchHierarchy(BlockInstanceHierarchyNode* pNode)
{
    const BlockInstance* instance = pNode ? pNode->blockInstance() : nullptr;
    const BlockDefinition* definition = instance ? instance->blockDefinition() : nullptr;
    if (!definition)
        return;
    if (matchesInstance(instance) || matchesDefinition(definition, true))
        ui->blockSearchResultWidget->insertHierarchyItem(pNode);
    // Nothing inside a block that the user may not look into, hit or not.
    if (!definition->isStepInAllowed())
        return;
    const QList<int> children = pNode->instanceNodes();
    for (int identifier : children)
        searchHierarchy(pNode->instanceNode(unsigned(identifier)));
}

void BlockSearchViewPrivate::searchLibraries()
{
    const QList<BlockLibraryContainer*> containers = BlockRepository::instance().containers();
    for (const BlockLibraryContainer* container : containers) {
        if (!container || container->identifier() == ExcludedContainer)
            continue;
        const BlockLibrary* library = container->library();
        if (!library)
            continue;
        const QList<QString> identifiers = library->blockIdentifiers();
        for (const QString& identifier : identifiers) {
            const Block* block = library->block(identifier);
            if (!block)
                continue;
            const QList<unsigned int> versions = block->versions();
            for (unsigned int version : versions) {
                BlockDefinition* definition = block->blockDefinition(version);
                if (definition && matchesDefinition(definition, false))
                    ui->blockSearchResultWidget->insertLibraryItem(definition);
            }
        }
    }
}

BlockSearchView::BlockSearchView(QWidget* parent)
    : QWidget(parent)
    , d(new BlockSearchViewPrivate(this))
{
    d->ui->setupUi(this);
    setProperty("HelpId", QStringLiteral("BlockSearchView"));
    BlockSearchResultWidget* results = d->ui->blockSearchResultWidget;
    results->setup();
    connect(d->ui->startButton, SIGNAL(clicked()), d.data(), SLOT(startSearch()));
    connect(d->ui->searchTextEdit, SIGNAL(textCommited(QString)), d.data(), SLOT(startSearch()));
    connect(results, &BlockSearchResultWidget::needToShowInHierarchy, this, &BlockSearchView::needToShowInHierarchy);
    connect(results, &BlockSearchResultWidget::needToShowInCode, this, &BlockSearchView::needToShowInCode);
    connect(results, &BlockSearchResultWidget::needToShowInLibrary, this, &BlockSearchView::needToShowInLibrary);
}

BlockSearchView::~BlockSearchView() = default;

void BlockSearchView::setBlockInstanceRoot(BlockInstanceArea* pArea)
{
    d->area = pArea;
    d->ui->blockSearchResultWidget->setBlockInstanceArea(pArea);
}
