#include "BlockHierarchyNodeView.h"

#include "BlockHierarchyNodeViewPrivate.h"
#include "UserBlockEditMethodDialog.h"

#include "AccessLevel.h"
#include "Block.h"
#include "BlockCheckIssueView.h"
#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockHierarchyNodeScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "LibraryBlockDefinitionSubWindow.h"
#include "Locator.h"
#include "PropertiesChangeRecord.h"
#include "SceneMetrics.h"

#include <QByteArray>
#include <QLabel>
#include <QMdiArea>
#include <QPointer>
#include <QSignalBlocker>

namespace {

BlockDefinition* definitionOf(const BlockInstanceHierarchyNode* node)
{
    BlockInstance* instance = node ? node->blockInstance() : nullptr;
    return instance ? instance->blockDefinition() : nullptr;
}

BlockDefinition* definitionOf(const BlockCodeScene* scene)
{
    BlockCode* code = scene ? scene->blockCode() : nullptr;
    return code ? code->definition() : nullptr;
}

bool allowsStepIn(const BlockInstanceHierarchyNode* node)
{
    BlockDefinition* definition = definitionOf(node);
    return definition && definition->isStepInAllowed();
}

} // namespace

BlockHierarchyNodeViewPrivate::BlockHierarchyNodeViewPrivate(BlockHierarchyNodeView* owner)
    : QObject(owner)
    , q(owner)
{
    connect(this, &BlockHierarchyNodeViewPrivate::areaChanged, q, &BlockCodeView::areaChanged);
    connect(this, &BlockHierarchyNodeViewPrivate::blockDefinitionEditModeToggled, q,
            &BlockHierarchyNodeView::blockDefinitionEditModeToggled);
    connect(this, &BlockHierarchyNodeViewPrivate::stepInAllowedChanged, q, &BlockCodeView::stepInAllowedChanged);
    connect(this, &BlockHierarchyNodeViewPrivate::stepOutAllowedChanged, q, &BlockCodeView::stepOutAllowedChanged);
}

BlockCodeScene* BlockHierarchyNodeViewPrivate::codeScene() const
{
    return qobject_cast<BlockCodeScene*>(q->scene());
}

BlockHierarchyNodeScene* BlockHierarchyNodeViewPrivate::nodeScene() const
{
    return qobject_cast<BlockHierarchyNodeScene*>(q->scene());
}

BlockDefinitionScene* BlockHierarchyNodeViewPrivate::definitionScene() const
{
    return qobject_cast<BlockDefinitionScene*>(q->scene());
}

BlockInstanceHierarchyNode* BlockHierarchyNodeViewPrivate::shownNode() const
{
    if (BlockHierarchyNodeScene* scene = nodeScene())
        return scene->hierarchyNode();
    if (editedNodeScene && definitionScene())
        return editedNodeScene->hierarchyNode();
    return nullptr;
}

void BlockHierarchyNodeViewPrivate::showNode(BlockInstanceHierarchyNode* node)
{
    int mode = PinDisplay::Name;
    if (BlockHierarchyNodeScene* previous = nodeScene()) {
        mode = previous->pinDisplayMode();
        // The level left behind falls back to names, which also ends its subscriptions to values.
        // A level that shows names already is left alone: the call would only walk every pin of a
        // large level and throw away its cached background, on each step.
        if (mode != PinDisplay::Name)
            previous->showPinsName();
    }
    if (!node)
        return;
    QPointer<BlockHierarchyNodeScene> scene = BlockHierarchyNodeScene::forNode(node);
    editedNodeScene = nullptr;
    node->updateVariantPins(false);
    swapScene(scene);
    // The panes told of the swap may have changed the model; the scene dies with its node.
    if (!scene)
        return;
    scene->rebuild();
    scene->showPinsInMode(mode);
}

void BlockHierarchyNodeViewPrivate::swapScene(BlockCodeScene* newScene)
{
    const QString path = q->currentPath();
    BlockCodeScene* oldScene = codeScene();
    const bool sameCode = oldScene && newScene && oldScene->blockCode() == newScene->blockCode();
    ViewState state = q->viewState();
    sceneViewStates.insert(q->scene(), state);

    if (oldScene) {
        disconnect(oldScene, nullptr, this, nullptr);
        // The toolkit wires a scene to its views itself and re-wires only on a real change of
        // scene: a swap to the scene already shown must keep those connections.
        if (oldScene != newScene)
            disconnect(oldScene, nullptr, q, nullptr);
    }
    if (BlockInstanceArea* area = BlockCodeScene::areaOf(shownNode()))
        disconnect(area, nullptr, this, nullptr);

    q->setScene(newScene);
    updateAfterSceneChange();

    if (!sameCode) {
        const auto known = sceneViewStates.constFind(newScene);
        if (known != sceneViewStates.constEnd()) {
            state = known.value();
        } else {
            // A level seen for the first time opens on the block whose inside the user just left.
            bool found = false;
            const Locator locator(path);
            if (locator.hasHierarchy()) {
                bool ok = false;
                const unsigned int identifier = locator.hierarchyStack().last().toUInt(&ok);
                found = ok && q->scrollToItem(identifier, true);
            }
            // Found, the old scroll values below still overrule the centring; the block stays
            // selected all the same.
            if (!found) {
                state.horizontalValue = 0;
                state.verticalValue = 0;
            }
        }
    }
    q->applyViewState(state);
    Q_EMIT areaChanged();
}

void BlockHierarchyNodeViewPrivate::updateAfterSceneChange()
{
    if (BlockCodeScene* scene = codeScene()) {
        connect(scene, &BlockCodeScene::stepInAllowedChanged, this, &BlockHierarchyNodeViewPrivate::stepInAllowedChanged,
                Qt::UniqueConnection);
        // The model may delete the shown level; the panes must then see an empty view rather than
        // the title and buttons of a level that is gone.
        connect(scene, &QObject::destroyed, this, &BlockHierarchyNodeViewPrivate::onSceneDestroyed,
                Qt::UniqueConnection);
    }
    if (BlockCheckIssueView* issues = q->checkIssueView())
        issues->setRoot(definitionOf(codeScene()), shownNode());
    if (QLabel* label = q->statusLabel())
        label->setText(composeTitle());
    emitAllowedSignals();
}

void BlockHierarchyNodeViewPrivate::onSceneDestroyed()
{
    // The toolkit has taken the dying scene out of the view already.
    if (!definitionScene())
        editedNodeScene = nullptr;
    updateAfterSceneChange();
    Q_EMIT areaChanged();
}

QString BlockHierarchyNodeViewPrivate::composeTitle() const
{
    BlockDefinition* definition = definitionOf(codeScene());
    Block* block = definition ? definition->block() : nullptr;
    // The root block is the area's program itself; the area's own title says what it is.
    if (!block || block->isRootBlock())
        return QString();

    const QString name = block->name().text();
    const QString version =
        block->versionVisible() ? BlockHierarchyNodeView::tr(" (V%1)").arg(definition->version()) : QString();
    QString library;
    BlockLibrary* ownerLibrary = block->ownerLibrary();
    if (BlockLibraryContainer* container = ownerLibrary ? ownerLibrary->container() : nullptr)
        library = container->isLocal() ? BlockHierarchyNodeView::tr("Lokaler Baustein") : container->name().text();
    const QString prefix = library.isEmpty() ? QString() : BlockHierarchyNodeView::tr("%1 : ").arg(library);
    QString number = BlockHierarchyNodeView::tr("unknown");
    if (block->isStandardBlock())
        number = QString::number(block->standardBlockNumber());
    else if (block->isMagicBlock())
        number = QString::number(block->magicBlockNumber());
    else if (block->isLocalBlock())
        number = QString();
    return QStringLiteral("%1%2 %3 %4").arg(prefix, number, name, version);
}

bool BlockHierarchyNodeViewPrivate::tryEnterEditMode()
{
    BlockHierarchyNodeScene* scene = nodeScene();
    BlockInstanceHierarchyNode* node = scene ? scene->hierarchyNode() : nullptr;
    if (!node || isInsideNonLocalBlock(node))
        return definitionScene() != nullptr;

    BlockDefinition* definition = definitionOf(node);
    Block* block = definition ? definition->block() : nullptr;
    bool writable = definition && definition->isWritable();
    // The program of a whole area is changed only at the top level of access.
    if (block && block->isRootBlock())
        writable = AccessLevel::reached(AccessLevel::Top);
    if (!writable)
        return definitionScene() != nullptr;

    BlockInstanceArea* area = BlockCodeScene::areaOf(node);
    // An online or read-back area is never edited; true tells the caller to ask nothing further,
    // although nothing changed.
    if (area && (area->isOnline() || area->isBackDocumentation()))
        return true;

    switchToDefinitionScene();
    return true;
}

bool BlockHierarchyNodeViewPrivate::isInsideNonLocalBlock(const BlockInstanceHierarchyNode* node) const
{
    // Code inside a library block is edited through the library, never in place: every level from
    // the root downward must be a local block.
    Locator locator;
    locator.parseText(node->locationPath());
    QList<QString> stack = locator.hierarchyStack();
    if (!stack.isEmpty())
        stack.removeFirst();
    QString path = QStringLiteral("A%1:0").arg(unsigned(locator.livingSpace()));
    for (const QString& entry : std::as_const(stack)) {
        path += QLatin1Char('.') + entry;
        BlockDefinition* definition = definitionOf(node->instanceNode(path));
        Block* block = definition ? definition->block() : nullptr;
        // A level that cannot be found cannot be shown to be local either.
        if (!block || !block->isLocalBlock())
            return true;
    }
    return false;
}

void BlockHierarchyNodeViewPrivate::switchToDefinitionScene()
{
    BlockHierarchyNodeScene* scene = nodeScene();
    if (!scene)
        return;
    const QList<unsigned int> selection = selectedIdentifiers();
    BlockInstanceHierarchyNode* node = scene->hierarchyNode();
    BlockDefinition* definition = definitionOf(node);
    BlockCode* code = definition ? BlockCode::blockDefinitionCode(definition) : nullptr;
    if (code) {
        QPointer<BlockDefinitionScene> editScene = BlockDefinitionScene::forCode(code);
        editedNodeScene = scene;
        editScene->setHierarchyNode(node);
        swapScene(editScene);
        if (editScene) {
            editScene->setReadOnly(false);
            editScene->rebuild();
        }
    }
    restoreSelection(selection);
    Q_EMIT blockDefinitionEditModeToggled(true);
}

void BlockHierarchyNodeViewPrivate::leaveDefinitionScene()
{
    if (!editedNodeScene)
        return;
    const QList<unsigned int> selection = selectedIdentifiers();
    showNode(editedNodeScene->hierarchyNode());
    restoreSelection(selection);
    Q_EMIT blockDefinitionEditModeToggled(false);
}

QList<unsigned int> BlockHierarchyNodeViewPrivate::selectedIdentifiers() const
{
    QList<unsigned int> identifiers;
    BlockCodeScene* scene = codeScene();
    if (!scene)
        return identifiers;
    const QList<BlockItem*> selected = scene->selectedBlockItems();
    identifiers.reserve(selected.size());
    for (BlockItem* item : selected)
        identifiers.append(item->identifier());
    return identifiers;
}

void BlockHierarchyNodeViewPrivate::restoreSelection(const QList<unsigned int>& identifiers)
{
    // The two scenes of a level have items of their own: only the identifiers carry over.
    BlockCodeScene* scene = codeScene();
    if (!scene)
        return;
    scene->clearSelection();
    for (unsigned int identifier : identifiers) {
        if (BlockItem* item = scene->blockItem(identifier))
            item->setSelected(true);
    }
}

void BlockHierarchyNodeViewPrivate::emitAllowedSignals()
{
    Q_EMIT stepInAllowedChanged(q->isStepInAllowed());
    Q_EMIT stepOutAllowedChanged(q->isStepOutAllowed());
}

bool BlockHierarchyNodeViewPrivate::stepInFromDefinitionScene(unsigned int identifier)
{
    QPointer<BlockDefinitionScene> editScene = definitionScene();
    bool stepped = false;
    {
        // The panes are to see one change of level, not the way back to the node level first.
        const QSignalBlocker blocker(this);
        leaveDefinitionScene();
        BlockHierarchyNodeScene* scene = nodeScene();
        BlockItem* item = scene ? scene->blockItem(identifier) : nullptr;
        if (item) {
            scene->clearSelection();
            item->setSelected(true);
            BlockInstanceHierarchyNode* node = editScene ? editScene->hierarchyNode() : nullptr;
            BlockInstanceHierarchyNode* child = node ? node->instanceNode(identifier) : nullptr;
            if (child && !allowsStepIn(child)) {
                showPropertiesInEditMode(child, editScene);
            } else {
                stepped = q->stepInSelectedBlock();
            }
        }
    }
    Q_EMIT areaChanged();
    if (!tryEnterEditMode()) {
        editModeWanted = true;
        Q_EMIT blockDefinitionEditModeToggled(false);
    }
    // The stack belongs to the level that was left; its commands name items of that code only.
    if (stepped && editScene)
        editScene->clearUndoStack();
    emitAllowedSignals();
    return stepped;
}

void BlockHierarchyNodeViewPrivate::showPropertiesInEditMode(BlockInstanceHierarchyNode* child,
                                                             BlockDefinitionScene* editScene)
{
    QPointer<BlockInstance> instance = child->blockInstance();
    if (!instance || !editScene)
        return;
    BlockInstanceArea* area = BlockCodeScene::areaOf(child->parentNode());
    const unsigned int areaIndex = area ? area->index() : 0;
    // Text and contents only: the parameter definition is not undone from here.
    PropertiesChangeRecord record;
    record.textBefore = instance->parameterText(areaIndex);
    Block* block = instance->block();
    record.contentsBefore = block ? block->saveContents() : QByteArray();
    if (instance->showPropertiesView(editScene->isReadOnly(), area) && instance) {
        record.textAfter = instance->parameterText(areaIndex);
        // The dialog may have made the block's definitions anew; ask the instance again.
        block = instance->block();
        record.contentsAfter = block ? block->saveContents() : QByteArray();
        editScene->pushPropertiesChange(instance, record);
    }
}

void BlockHierarchyNodeViewPrivate::showSubWindow(BlockDefinition* definition)
{
    LibraryBlockDefinitionSubWindow* window = LibraryBlockDefinitionSubWindow::forDefinition(definition);
    QMdiArea* area = window ? window->mdiArea() : nullptr;
    // A host without an MDI area has no place for the window; shown, it would float on its own.
    if (!area)
        return;
    window->showNormal();
    area->setActiveSubWindow(window);
}

BlockHierarchyNodeView::BlockHierarchyNodeView(QWidget* parent)
    : BlockCodeView(parent)
    , d(new BlockHierarchyNodeViewPrivate(this))
{
}

BlockHierarchyNodeView::~BlockHierarchyNodeView() = default;

bool BlockHierarchyNodeView::isReadOnly() const
{
    BlockCodeScene* scene = d->codeScene();
    return !scene || scene->isReadOnly();
}

bool BlockHierarchyNodeView::isBlockDefinitionEditMode() const
{
    return d->definitionScene() != nullptr;
}

bool BlockHierarchyNodeView::isEditAllowed() const
{
    BlockHierarchyNodeScene* scene = d->nodeScene();
    if (!scene)
        return d->definitionScene() != nullptr;
    BlockInstanceHierarchyNode* node = scene->hierarchyNode();
    BlockDefinition* definition = definitionOf(node);
    BlockInstanceArea* area = BlockCodeScene::areaOf(node);
    if (!definition || !area)
        return false;
    Block* block = definition->block();
    if (!definition->isWritable() || area->isOnline() || area->isBackDocumentation() || !AccessLevel::reached(AccessLevel::Edit))
        return false;
    if (block && block->isRootBlock() && !AccessLevel::reached(AccessLevel::Top))
        return false;
    // Last, for it walks the whole program of the area.
    return !area->hasFallbackBlocks();
}

bool BlockHierarchyNodeView::isStepInAllowed() const
{
    BlockCodeScene* scene = d->codeScene();
    return scene && scene->stepInAllowed();
}

bool BlockHierarchyNodeView::isStepOutAllowed() const
{
    BlockDefinition* definition = definitionOf(d->codeScene());
    Block* block = definition ? definition->block() : nullptr;
    return block && !block->isRootBlock();
}

QString BlockHierarchyNodeView::currentPath() const
{
    BlockInstanceHierarchyNode* node = d->shownNode();
    return node ? node->locationPath() : QString();
}

void BlockHierarchyNodeView::setArea(BlockInstanceArea* pArea)
{
    BlockInstanceHierarchy* hierarchy = pArea ? pArea->hierarchy() : nullptr;
    d->showNode(hierarchy ? hierarchy->rootNode() : nullptr);
}

bool BlockHierarchyNodeView::setReadOnly(bool value)
{
    BlockCodeScene* scene = d->codeScene();
    if (!scene)
        return value;
    // A node scene stays read-only whatever it is told, so asking it for writing reports false.
    scene->setReadOnly(value);
    return value == scene->isReadOnly();
}

bool BlockHierarchyNodeView::navigateTo(const QString& path)
{
    if (BlockHierarchyNodeScene* scene = d->nodeScene()) {
        BlockInstanceHierarchyNode* node = scene->hierarchyNode();
        BlockInstanceHierarchy* hierarchy = node ? node->hierarchy() : nullptr;
        if (!hierarchy)
            return false;
        QString fullPath = path;
        Locator locator;
        locator.parseText(path);
        // The panes name places without the living space; they always mean the shown area.
        if (!locator.hasLivingSpace()) {
            BlockInstanceArea* area = hierarchy->area();
            if (!area)
                return false;
            fullPath = QStringLiteral("A%1:").arg(area->firstNumber()) + path;
        }
        BlockInstanceHierarchyNode* target = node->instanceNode(fullPath);
        if (!target)
            return false;
        // The target is shown among its siblings, selected, on the level of its parent.
        BlockInstanceHierarchyNode* parent = target->parentNode();
        if (parent && allowsStepIn(parent)) {
            BlockInstance* instance = target->blockInstance();
            const bool hasInstance = instance != nullptr;
            const unsigned int identifier = hasInstance ? instance->identifier() : 0;
            d->showNode(parent);
            if (hasInstance)
                scrollToItem(identifier, true);
            if (d->editModeWanted)
                d->tryEnterEditMode();
        }
    } else if (d->definitionScene()) {
        d->leaveDefinitionScene();
        // Still editing means the node level is gone; asking again would only come back here.
        if (!d->definitionScene())
            navigateTo(path);
        d->tryEnterEditMode();
    }
    return currentPath() == path;
}

bool BlockHierarchyNodeView::stepInSelectedBlock()
{
    BlockCodeScene* scene = d->codeScene();
    BlockItem* item = scene ? scene->selectedBlockItem() : nullptr;
    if (!item)
        return false;
    const unsigned int identifier = item->identifier();

    BlockHierarchyNodeScene* nodeScene = d->nodeScene();
    if (!nodeScene)
        return d->definitionScene() ? d->stepInFromDefinitionScene(identifier) : false;

    BlockInstanceHierarchyNode* node = nodeScene->hierarchyNode();
    BlockInstanceHierarchyNode* child = node ? node->instanceNode(identifier) : nullptr;
    if (!child)
        return false;
    if (allowsStepIn(child)) {
        d->showNode(child);
        if (d->editModeWanted)
            d->tryEnterEditMode();
        return true;
    }
    // A block without an inside to show, or one that hides it, shows its properties instead.
    if (BlockInstance* instance = child->blockInstance())
        instance->showPropertiesView(nodeScene->isReadOnly(), BlockCodeScene::areaOf(node));
    return false;
}

bool BlockHierarchyNodeView::stepOut()
{
    if (BlockHierarchyNodeScene* scene = d->nodeScene()) {
        BlockInstanceHierarchyNode* node = scene->hierarchyNode();
        BlockInstanceHierarchyNode* parent = node ? node->parentNode() : nullptr;
        if (!parent)
            return false;
        d->showNode(parent);
        if (d->editModeWanted)
            d->tryEnterEditMode();
        return true;
    }

    QPointer<BlockDefinitionScene> editScene = d->definitionScene();
    if (!editScene)
        return false;
    bool steppedOut = false;
    {
        // The panes are to see one change of level, not the way back to the node level first.
        const QSignalBlocker blocker(d.get());
        d->leaveDefinitionScene();
        // Still editing means the node level is gone; asking again would only come back here.
        if (!d->definitionScene())
            steppedOut = stepOut();
    }
    Q_EMIT d->areaChanged();
    setBlockDefinitionEditMode(true);
    if (editScene)
        editScene->clearUndoStack();
    d->emitAllowedSignals();
    return steppedOut;
}

bool BlockHierarchyNodeView::scrollToItem(uint identifier, bool selectItem)
{
    return centreOnBlockItem(d->codeScene(), identifier, selectItem);
}

void BlockHierarchyNodeView::showBlockProperties()
{
    if (BlockCodeScene* scene = d->codeScene())
        scene->showBlockProperties();
}

bool BlockHierarchyNodeView::setBlockDefinitionEditMode(bool value)
{
    if (value) {
        if (AccessLevel::reached(AccessLevel::Edit) && !d->definitionScene() && !d->tryEnterEditMode()) {
            // The button goes back at once; the wish stays, so that the next level that allows it
            // opens in edit mode.
            Q_EMIT d->blockDefinitionEditModeToggled(false);
            d->editModeWanted = true;
            BlockDefinition* definition = definitionOf(d->codeScene());
            Block* block = definition ? definition->block() : nullptr;
            if (block && definition->isWritable()) {
                if (block->isUserBlock()) {
                    // A user block of a library is used in other places too: the user says how.
                    QPointer<BlockDefinition> guard(definition);
                    UserBlockEditMethodDialog dialog(this, definition);
                    dialog.exec();
                    if (dialog.editMethod() != UserBlockEditMethodDialog::CurrentVersion)
                        return false;
                    // The model may have taken the definition away while the dialog was open.
                    block = guard ? guard->block() : nullptr;
                }
                // The program of an area is edited in place only; a library block in its sub-window.
                if (block && !block->isRootBlock())
                    d->showSubWindow(definition);
            }
        }
    } else if (d->definitionScene()) {
        d->leaveDefinitionScene();
        d->editModeWanted = false;
    }
    const bool editing = d->definitionScene() != nullptr;
    Q_EMIT d->blockDefinitionEditModeToggled(editing);
    return editing;
}
