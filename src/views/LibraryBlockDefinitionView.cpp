#include "LibraryBlockDefinitionView.h"

#include "LibraryBlockDefinitionViewPrivate.h"

#include "Block.h"
#include "BlockCheckIssueView.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockItem.h"


LibraryBlockDefinitionViewPrivate::LibraryBlockDefinitionViewPrivate(LibraryBlockDefinitionView* owner)
    : QObject(owner)
    , q(owner)
{
    connect(this, &LibraryBlockDefinitionViewPrivate::stepInAllowedChanged, q, &BlockCodeView::stepInAllowedChanged);
    connect(this, &LibraryBlockDefinitionViewPrivate::stepOutAllowedChanged, q, &BlockCodeView::stepOutAllowedChanged);
}

BlockDefinitionScene* LibraryBlockDefinitionViewPrivate::definitionScene() const
{
    return qobject_cast<BlockDefinitionScene*>(q->scene());
}

BlockDefinition* LibraryBlockDefinitionViewPrivate::shownDefinition() const
{
    BlockDefinitionScene* scene = definitionScene();
    BlockCode* code = scene ? scene->blockCode() : nullptr;
    return code ? code->definition() : nullptr;
}

void LibraryBlockDefinitionViewPrivate::showDefinition(BlockDefinition* shown)
{
    BlockCode* code = BlockCode::blockDefinitionCode(shown);
    // A block without code has nothing to draw.
    BlockDefinitionScene* scene = code ? BlockDefinitionScene::forCode(code) : nullptr;
    // A library definition is edited for itself: a node left from a hierarchy view would tie its
    // items to an area that has nothing to do with it.
    if (scene)
        scene->setHierarchyNode(nullptr);
    swapScene(scene);
}

void LibraryBlockDefinitionViewPrivate::swapScene(BlockDefinitionScene* newScene)
{
    BlockDefinitionScene* oldScene = definitionScene();
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
    q->setScene(newScene);
    if (newScene) {
        connect(newScene, &BlockCodeScene::stepInAllowedChanged, this,
                &LibraryBlockDefinitionViewPrivate::stepInAllowedChanged, Qt::UniqueConnection);
        // The model may delete the shown definition; the buttons must then follow the empty view.
        connect(newScene, &QObject::destroyed, this, &LibraryBlockDefinitionViewPrivate::onSceneDestroyed,
                Qt::UniqueConnection);
    }
    if (BlockCheckIssueView* issues = q->checkIssueView())
        issues->setRoot(shownDefinition(), newScene ? newScene->instanceArea() : nullptr);
    emitAllowedSignals();

    if (!sameCode) {
        const auto known = sceneViewStates.constFind(newScene);
        if (known != sceneViewStates.constEnd()) {
            state = known.value();
        } else {
            state.horizontalValue = 0;
            state.verticalValue = 0;
        }
    }
    q->applyViewState(state);
}

void LibraryBlockDefinitionViewPrivate::emitAllowedSignals()
{
    Q_EMIT stepInAllowedChanged(q->isStepInAllowed());
    Q_EMIT stepOutAllowedChanged(q->isStepOutAllowed());
}

void LibraryBlockDefinitionViewPrivate::onSceneDestroyed()
{
    // The toolkit has taken the dying scene out of the view already.
    emitAllowedSignals();
}

LibraryBlockDefinitionView::LibraryBlockDefinitionView(QWidget* parent)
    : BlockCodeView(parent)
    , d(new LibraryBlockDefinitionViewPrivate(this))
{
}

LibraryBlockDefinitionView::~LibraryBlockDefinitionView() = default;

bool LibraryBlockDefinitionView::isReadOnly() const
{
    BlockDefinitionScene* scene = d->definitionScene();
    return scene && scene->isReadOnly();
}

bool LibraryBlockDefinitionView::isBlockDefinitionEditMode() const
{
    return true;
}

bool LibraryBlockDefinitionView::isEditAllowed() const
{
    return true;
}

bool LibraryBlockDefinitionView::isStepInAllowed() const
{
    BlockDefinitionScene* scene = d->definitionScene();
    BlockItem* item = scene ? scene->selectedBlockItem() : nullptr;
    BlockInstance* instance = item ? item->blockInstance() : nullptr;
    Block* block = instance ? instance->block() : nullptr;
    BlockDefinition* definition = instance ? instance->blockDefinition() : nullptr;
    // Other blocks are edited in their own library, never from inside this one.
    return block && block->isLocalBlock() && definition && definition->isStepInAllowed();
}

bool LibraryBlockDefinitionView::isStepOutAllowed() const
{
    return !d->definitionStack.isEmpty();
}

QString LibraryBlockDefinitionView::currentPath() const
{
    return QString();
}

void LibraryBlockDefinitionView::setDefinition(BlockDefinition* pDefinition)
{
    d->definition = pDefinition;
    // The given definition is the root level now: there is nothing above it to step out to.
    d->definitionStack.clear();
    if (pDefinition)
        d->showDefinition(pDefinition);
    setReadOnly(false);
    if (pDefinition)
        setReadOnly(false);
}

void LibraryBlockDefinitionView::setEnvironment(BlockInstanceArea* pArea)
{
    BlockDefinitionScene* scene = d->definitionScene();
    if (!scene)
        return;
    scene->setInstanceArea(pArea);
    if (BlockCode* code = scene->blockCode())
        code->updateVariantPins(pArea);
    scene->rebuild();
}

bool LibraryBlockDefinitionView::setReadOnly(bool value)
{
    BlockDefinitionScene* scene = d->definitionScene();
    if (!scene)
        return !value;
    scene->setReadOnly(value);
    return scene->isReadOnly() == value;
}

bool LibraryBlockDefinitionView::navigateTo(const QString& path)
{
    Q_UNUSED(path)
    return false;
}

bool LibraryBlockDefinitionView::stepInSelectedBlock()
{
    BlockDefinitionScene* scene = d->definitionScene();
    BlockItem* item = scene ? scene->selectedBlockItem() : nullptr;
    BlockInstance* instance = item ? item->blockInstance() : nullptr;
    Block* block = instance ? instance->block() : nullptr;
    BlockDefinition* definition = instance ? instance->blockDefinition() : nullptr;
    if (!block || !block->isLocalBlock() || !definition || !definition->isStepInAllowed())
        return false;
    d->definitionStack.append(d->shownDefinition());
    d->showDefinition(definition);
    setReadOnly(false);
    return true;
}

bool LibraryBlockDefinitionView::stepOut()
{
    if (d->definitionStack.isEmpty())
        return false;
    BlockDefinition* outer = d->definitionStack.takeLast();
    if (outer) {
        d->showDefinition(outer);
        setReadOnly(false);
    } else {
        // The definition above is gone; the stack is shorter all the same.
        d->emitAllowedSignals();
    }
    return false;
}

bool LibraryBlockDefinitionView::scrollToItem(uint identifier, bool selectItem)
{
    return centreOnBlockItem(d->definitionScene(), identifier, selectItem);
}

void LibraryBlockDefinitionView::showBlockProperties()
{
    if (BlockDefinitionScene* scene = d->definitionScene())
        scene->showBlockProperties();
}
