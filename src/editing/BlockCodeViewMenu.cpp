#include "BlockCodeViewMenu.h"

#include "BlockCodeViewMenuPrivate.h"

#include "AccessLevel.h"
#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockCodeView.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockHierarchyNodeScene.h"
#include "BlockHierarchyNodeView.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "Locator.h"
#include "SceneMetrics.h"
#include "SignalLabelItem.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCursor>
#include <QGuiApplication>

namespace {

// Libraries of this kind and above belong to the user; below it they come with the suite.
constexpr unsigned int UserContainerKind = 256;

unsigned int containerKindOf(const Block* block)
{
    const BlockLibrary* library = block ? block->ownerLibrary() : nullptr;
    const BlockLibraryContainer* container = library ? library->container() : nullptr;
    return container ? container->containerKind() : 0;
}

} // namespace

BlockCodeViewMenuPrivate::BlockCodeViewMenuPrivate(BlockCodeViewMenu* owner)
    : QObject(owner)
    , menu(owner)
{
}

void BlockCodeViewMenuPrivate::clear()
{
    blockItem = nullptr;
    pinItem = nullptr;
    connectionItem = nullptr;
    nodeItem = nullptr;
    signalLabelItem = nullptr;
    selectedBlocks.clear();
    position = QPointF();
}

void BlockCodeViewMenuPrivate::addBlockActions()
{
    BlockInstance* instance = blockItem ? blockItem->blockInstance() : nullptr;
    BlockDefinition* definition = instance ? instance->blockDefinition() : nullptr;
    Block* block = instance ? instance->block() : nullptr;
    const bool definitionScene = scene && scene->isDefinitionScene();

    menu->addSeparator();
    // Parameter-definition, tool and system blocks have no code of their own to open.
    if (definition && block && !definition->isParameterDefinitionBlock() && !block->isToolBlock()
        && !block->isSystemBlock()) {
        QAction* open = menu->addAction(BlockCodeViewMenu::tr("Öffnen"), view.data(), &BlockCodeView::stepInSelectedBlock);
        const bool enabled = blockItem->isStepInAllowed();
        open->setEnabled(enabled);
        menu->addSeparator();
        if (enabled)
            menu->setDefaultAction(open);
    }

    blockItem->addContextMenuActions(menu);

    menu->addSeparator();
    menu->addAction(BlockCodeViewMenu::tr("Zeige Baustein in Hierarchieansicht"), this,
                    &BlockCodeViewMenuPrivate::showCurrentBlockInHierarchyView);

    if (instance && block) {
        if (block->isLocalBlock()) {
            if (instance->error() != 0) {
                // A faulty local block is mended in place; the label is the one users know it by.
                menu->addSeparator();
                QAction* convert = menu->addAction(BlockCodeViewMenu::tr("In einen lokalen Baustein konvertieren"),
                                                   instance, &BlockInstance::resetError);
                convert->setEnabled(definitionScene);
            } else if (!(definition && definition->isParameterDefinitionBlock())) {
                menu->addSeparator();
                QAction* bind = menu->addAction(BlockCodeViewMenu::tr("In einen Bibliotheks-Baustein konvertieren"),
                                                instance, &BlockInstance::bindBlock);
                bind->setEnabled(definitionScene);
            }
        } else {
            menu->addAction(BlockCodeViewMenu::tr("Zeige Baustein in Bibliothek"), this,
                            &BlockCodeViewMenuPrivate::showCurrentBlockInLibraryView);
            Block* definitionBlock = definition ? definition->block() : nullptr;
            if (containerKindOf(block) >= UserContainerKind) {
                menu->addSeparator();
                QAction* unbind = menu->addAction(BlockCodeViewMenu::tr("In einen lokalen Baustein konvertieren"),
                                                  instance, &BlockInstance::unbindBlock);
                unbind->setEnabled(definitionScene);
                menu->addSeparator();
                QAction* version = menu->addAction(BlockCodeViewMenu::tr("In eine neue Version des Bausteins konvertieren"),
                                                   instance, &BlockInstance::createNewBlockVersion);
                version->setEnabled(definitionScene);
            } else if (definitionBlock && definitionBlock->isStandardBlock() && AccessLevel::reached(AccessLevel::Top)
                       && (QGuiApplication::keyboardModifiers() & Qt::ControlModifier)) {
                // Standard blocks come with the suite; only the top level may take them apart, and
                // only on purpose, with Control held as the menu opens.
                menu->addSeparator();
                if (BlockInstanceHierarchyNode* node = scene ? scene->hierarchyNode() : nullptr) {
                    QAction* unbind = menu->addAction(BlockCodeViewMenu::tr("In einen lokalen Baustein konvertieren"), this,
                                                      &BlockCodeViewMenuPrivate::unbindStandardBlockToLocalBlockIncludeHierarchy);
                    BlockInstanceArea* area = BlockCodeScene::areaOf(node);
                    unbind->setEnabled(area && !area->isOnline());
                } else {
                    QAction* unbind = menu->addAction(BlockCodeViewMenu::tr("In einen lokalen Baustein konvertieren"), this,
                                                      &BlockCodeViewMenuPrivate::unbindStandardBlockToLocalBlock);
                    unbind->setEnabled(definitionScene);
                }
            }
        }
    }

    menu->addSeparator();
    menu->addAction(BlockCodeViewMenu::tr("Baustein kopieren"), this, &BlockCodeViewMenuPrivate::copyBlockToClipboard);
    // Copying reads only; cutting and deleting change the code and wait for edit mode.
    const bool readOnly = view->isReadOnly();
    QAction* cut = menu->addAction(BlockCodeViewMenu::tr("Baustein ausschneiden"), this,
                                   &BlockCodeViewMenuPrivate::cutBlockToClipboard);
    cut->setEnabled(!readOnly);
    QAction* remove = menu->addAction(BlockCodeViewMenu::tr("Baustein löschen"), this, &BlockCodeViewMenuPrivate::removeBlock);
    remove->setEnabled(!readOnly);
}

void BlockCodeViewMenuPrivate::addViewActions()
{
    if (auto* hierarchyView = qobject_cast<BlockHierarchyNodeView*>(view.data())) {
        QAction* edit = menu->addAction(BlockCodeViewMenu::tr("&Bearbeiten"));
        edit->setCheckable(true);
        edit->setChecked(hierarchyView->isBlockDefinitionEditMode());
        edit->setEnabled(hierarchyView->isEditAllowed());
        connect(edit, &QAction::toggled, hierarchyView, &BlockHierarchyNodeView::setBlockDefinitionEditMode);
        menu->addSeparator();
    }
    menu->addAction(BlockCodeViewMenu::tr("Eigenschaften"), view.data(), &BlockCodeView::showBlockProperties);
    QAction* up = menu->addAction(BlockCodeViewMenu::tr("Ebene höher"), view.data(), &BlockCodeView::stepOut);
    up->setEnabled(view->isStepOutAllowed());
}

void BlockCodeViewMenuPrivate::addEditActions()
{
    if (auto* nodeScene = qobject_cast<BlockHierarchyNodeScene*>(scene.data())) {
        menu->addSeparator();
        QMenu* pins = menu->addMenu(BlockCodeViewMenu::tr("Anschlüsse anzeigen als "));
        // Exclusive in name only: the entries are not in the group, the tick is set once here.
        auto* group = new QActionGroup(pins);
        group->setExclusive(true);
        QAction* name = pins->addAction(BlockCodeViewMenu::tr("Name"), nodeScene, &BlockHierarchyNodeScene::showPinsName);
        name->setCheckable(true);
        QAction* value =
            pins->addAction(BlockCodeViewMenu::tr("Wert"), nodeScene, &BlockHierarchyNodeScene::showPinsCurrentValue);
        value->setCheckable(true);
        BlockInstanceArea* area = BlockCodeScene::areaOf(nodeScene->hierarchyNode());
        value->setEnabled(area && area->isOnline());
        QAction* path = nullptr;
        QAction* address = nullptr;
        if (AccessLevel::reached(AccessLevel::Top)) {
            path = pins->addAction(BlockCodeViewMenu::tr("Pfad"), nodeScene, &BlockHierarchyNodeScene::showPinsLocationPath);
            path->setCheckable(true);
            address = pins->addAction(BlockCodeViewMenu::tr("Adresse"), nodeScene,
                                      &BlockHierarchyNodeScene::showPinsMemoryAddress);
            address->setCheckable(true);
        }
        QAction* current = nullptr;
        switch (nodeScene->pinDisplayMode()) {
        case PinDisplay::Name:
            current = name;
            break;
        case PinDisplay::LocationPath:
            current = path;
            break;
        case PinDisplay::MemoryAddress:
            current = address;
            break;
        case PinDisplay::CurrentValue:
            current = value;
            break;
        default:
            break;
        }
        if (current)
            current->setChecked(true);
    }

    const bool readOnly = view->isReadOnly();
    menu->addSeparator();
    QAction* paste = menu->addAction(BlockCodeViewMenu::tr("Einfügen"), this, &BlockCodeViewMenuPrivate::pasteItem);
    paste->setEnabled(!readOnly);
    menu->addSeparator();
    QAction* undoAction = menu->addAction(BlockCodeViewMenu::tr("Rückgängig"), this, &BlockCodeViewMenuPrivate::undo);
    undoAction->setEnabled(!readOnly);
    QAction* redoAction = menu->addAction(BlockCodeViewMenu::tr("Wiederherstellen"), this, &BlockCodeViewMenuPrivate::redo);
    redoAction->setEnabled(!readOnly);
}

void BlockCodeViewMenuPrivate::showCurrentBlockInHierarchyView()
{
    if (!blockItem || !view)
        return;
    const QString path = view->currentPath() + QStringLiteral(".%1").arg(blockItem->identifier());
    Q_EMIT needToShowInHierarchyView(path);
}

void BlockCodeViewMenuPrivate::showCurrentBlockInLibraryView()
{
    BlockInstance* instance = blockItem ? blockItem->blockInstance() : nullptr;
    if (!instance)
        return;
    Q_EMIT needToShowInLibraryView(instance->blockDefinition());
}

void BlockCodeViewMenuPrivate::createNewLocalBlockDefinition()
{
    if (auto* definitionScene = qobject_cast<BlockDefinitionScene*>(scene.data()))
        definitionScene->createNewLocalBlockDefinition(position);
}

void BlockCodeViewMenuPrivate::createNewLocalParameterDefinition()
{
    if (auto* definitionScene = qobject_cast<BlockDefinitionScene*>(scene.data()))
        definitionScene->createNewLocalParameterDefinition(position);
}

void BlockCodeViewMenuPrivate::unbindStandardBlockToLocalBlock()
{
    BlockInstance* instance = blockItem ? blockItem->blockInstance() : nullptr;
    if (!instance)
        return;
    QPointer<BlockInstance> guard(instance);
    instance->unbindBlock();
    // The local copy of a standard block is the user's own: anyone who may open it may change it.
    if (guard) {
        if (BlockDefinition* definition = guard->blockDefinition())
            definition->setAccessLevelWrite(0);
    }
}

void BlockCodeViewMenuPrivate::unbindStandardBlockToLocalBlockIncludeHierarchy()
{
    BlockInstance* instance = blockItem ? blockItem->blockInstance() : nullptr;
    BlockInstanceHierarchyNode* node = scene ? scene->hierarchyNode() : nullptr;
    if (!instance || !node || !view)
        return;
    const QString path = node->locationPath() + QStringLiteral(".%1").arg(instance->identifier());
    const Locator locator(path);
    const QStringList stack = locator.hierarchyStack();
    if (stack.size() < 3)
        return;
    // Navigating swaps the scene and its items: from here on only what was taken above is used.
    QPointer<BlockInstanceHierarchy> hierarchy = node->hierarchy();
    QPointer<BlockCodeView> target = view;

    QApplication::setOverrideCursor(QCursor(Qt::WaitCursor));
    target->navigateTo(QStringLiteral("A%1:%2.%3").arg(uint(locator.livingSpace())).arg(stack.at(0), stack.at(1)));
    if (hierarchy)
        unbindStandardBlockToLocalBlockIncludeHierarchyDoIt(hierarchy, stack);
    if (target) {
        target->navigateTo(path);
        if (auto* hierarchyView = qobject_cast<BlockHierarchyNodeView*>(target.data()))
            hierarchyView->setBlockDefinitionEditMode(true);
    }
    QApplication::restoreOverrideCursor();
}

void BlockCodeViewMenuPrivate::unbindStandardBlockToLocalBlockIncludeHierarchyDoIt(BlockInstanceHierarchy* pHierarchy,
                                                                                     QStringList stack)
{
    if (!pHierarchy)
        return;
    BlockInstanceArea* area = pHierarchy->area();
    BlockInstance* current = nullptr;
    while (!stack.isEmpty()) {
        const unsigned int number = stack.takeFirst().toUInt();
        if (!current) {
            // The first entry names the root, which the hierarchy knows without a look-up.
            BlockInstanceHierarchyNode* root = pHierarchy->rootNode();
            current = root ? root->blockInstance() : nullptr;
        } else {
            BlockCode* code = current->code(area);
            if (!code)
                return;
            // The converted level above owns a copy of this code; it is written before it is walked.
            code->save();
            current = code->instance(number);
        }
        if (!current)
            return;
        BlockDefinition* definition = current->blockDefinition();
        Block* block = definition ? definition->block() : nullptr;
        if (block && block->isStandardBlock()) {
            current->unbindBlock();
            if (BlockDefinition* local = current->blockDefinition())
                local->setAccessLevelWrite(0);
        }
    }
}

void BlockCodeViewMenuPrivate::copyBlockToClipboard()
{
    if (scene && scene->blockCode())
        scene->copyToClipboard();
}

void BlockCodeViewMenuPrivate::cutBlockToClipboard()
{
    if (auto* definitionScene = qobject_cast<BlockDefinitionScene*>(scene.data()))
        definitionScene->cutToClipboard();
}

void BlockCodeViewMenuPrivate::removeBlock()
{
    if (auto* definitionScene = qobject_cast<BlockDefinitionScene*>(scene.data()))
        definitionScene->deleteSelectedItems();
}

void BlockCodeViewMenuPrivate::pasteItem()
{
    if (auto* definitionScene = qobject_cast<BlockDefinitionScene*>(scene.data()))
        definitionScene->pasteFromClipboard();
}

void BlockCodeViewMenuPrivate::removeSignal()
{
    // In spite of its name this removes the connection under the click, past the undo stack.
    auto* definitionScene = qobject_cast<BlockDefinitionScene*>(scene.data());
    if (!definitionScene || !connectionItem)
        return;
    BlockCode* code = definitionScene->blockCode();
    BlockPinConnection* connection = connectionItem->pinConnection();
    if (code && connection)
        code->deleteConnection(connection);
}

void BlockCodeViewMenuPrivate::undo()
{
    if (auto* definitionScene = qobject_cast<BlockDefinitionScene*>(scene.data()))
        definitionScene->undo();
}

void BlockCodeViewMenuPrivate::redo()
{
    if (auto* definitionScene = qobject_cast<BlockDefinitionScene*>(scene.data()))
        definitionScene->redo();
}

BlockCodeViewMenu::BlockCodeViewMenu(BlockCodeView* parent)
    : QMenu(parent)
    , d(new BlockCodeViewMenuPrivate(this))
{
}

BlockCodeViewMenu::~BlockCodeViewMenu() = default;

void BlockCodeViewMenu::setView(BlockCodeView* view)
{
    d->view = view;
    d->scene = view ? qobject_cast<BlockCodeScene*>(view->scene()) : nullptr;
}

void BlockCodeViewMenu::prepare(const QPoint& globalPosition)
{
    QMenu::clear();
    // The menu keeps its default action as a plain pointer, which clear() leaves dangling.
    setDefaultAction(nullptr);
    d->clear();

    BlockCodeScene* scene = d->scene.data();
    BlockCodeView* view = d->view.data();
    if (scene && view) {
        // The click came to the viewport, whose coordinates the view maps into the scene.
        d->position = view->mapToScene(view->viewport()->mapFromGlobal(globalPosition));
        d->blockItem = scene->blockItemAt(d->position);
        d->pinItem = scene->pinItemAt(d->position);
        d->connectionItem = scene->connectionItemAt(d->position);
        d->nodeItem = scene->connectionNodeItemAt(d->position);
        d->signalLabelItem = scene->signalLabelItemAt(d->position);
        d->selectedBlocks = scene->selectedBlockItems();
        connect(d.get(), SIGNAL(needToShowInHierarchyView(QString)), view, SIGNAL(needToShowInHierarchyView(QString)),
                Qt::UniqueConnection);
        connect(d.get(), SIGNAL(needToShowInLibraryView(BlockDefinition*)), view,
                SIGNAL(needToShowInLibraryView(BlockDefinition*)), Qt::UniqueConnection);
    }

    setSeparatorsCollapsible(true);
    setTearOffEnabled(false);

    // What one entry would do to several blocks is not clear; a multiple selection gets no menu.
    if (d->selectedBlocks.size() >= 2 || !view)
        return;

    if (d->blockItem) {
        d->addBlockActions();
    } else if (d->pinItem) {
        d->pinItem->addContextMenuActions(this);
    } else if (d->nodeItem) {
        // A node has nothing of its own to offer. It sits on its connection's line, so it is asked
        // before the line: a click on the node is a click on the node, however far the line's hit
        // area reaches into it.
    } else if (d->connectionItem) {
        d->connectionItem->addContextMenuActions(this);
        QAction* remove = addAction(tr("Verbindung löschen"), d.get(), SLOT(removeSignal()));
        remove->setEnabled(!view->isReadOnly());
    } else if (d->signalLabelItem) {
        d->signalLabelItem->addContextMenuActions(this);
    } else {
        d->addViewActions();
        d->addEditActions();
        if (qobject_cast<BlockDefinitionScene*>(scene)) {
            addSeparator();
            // Not disabled in read-only mode: the scene refuses then.
            addAction(tr("neuen Baustein erstellen"), d.get(), &BlockCodeViewMenuPrivate::createNewLocalBlockDefinition);
            addAction(tr("neuen Parameter-Definitions-Baustein erstellen"), d.get(),
                      &BlockCodeViewMenuPrivate::createNewLocalParameterDefinition);
        }
    }
}
