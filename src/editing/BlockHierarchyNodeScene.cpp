#include "BlockHierarchyNodeScene.h"

#include "BlockCode.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockPinItem.h"
#include "SceneMetrics.h"
#include "SignalLabel.h"

#include <QGraphicsSceneDragDropEvent>
#include <QGraphicsSceneMouseEvent>
#include <QGraphicsSceneWheelEvent>
#include <QKeyEvent>
#include <QMap>
#include <QMetaObject>
#include <QPointer>
#include <QRectF>

class BlockHierarchyNodeScenePrivate
{
public:
    int pinDisplayMode = PinDisplay::Name;
    // Guarded, for the model may delete a definition's code while the scene still listens to it.
    QPointer<BlockCode> connectedCode;
    QMetaObject::Connection codeConnection;
    QMetaObject::Connection definitionConnection;
    QMetaObject::Connection onlineConnection;
};


BlockHierarchyNodeScene::BlockHierarchyNodeScene(BlockInstanceHierarchyNode* pNode)
    : BlockCodeScene(pNode)
    , d(new BlockHierarchyNodeScenePrivate())
{
}

BlockHierarchyNodeScene* BlockHierarchyNodeScene::forNode(BlockInstanceHierarchyNode* pNode)
{
    BlockHierarchyNodeScene* scene = pNode->blockHierarchyNodeScene();
    if (!scene) {
        scene = new BlockHierarchyNodeScene(pNode);
        scene->onDefinitionChanged();
        scene->d->definitionConnection = connect(pNode, &BlockInstanceHierarchyNode::definitionChanged, scene,
                                                 &BlockHierarchyNodeScene::onDefinitionChanged);
        if (BlockInstanceArea* area = BlockCodeScene::areaOf(pNode))
            scene->d->onlineConnection = connect(area, &BlockInstanceArea::onlineChanged, scene,
                                                 &BlockHierarchyNodeScene::onlineChanged);
    }
    scene->rebuild();
    return scene;
}

BlockHierarchyNodeScene::~BlockHierarchyNodeScene()
{
    // Dying items write into the model and reach the scene through the virtual operations, which
    // end with this class: the items go while it still stands, and no model signal may come in.
    disconnect(d->codeConnection);
    disconnect(d->definitionConnection);
    disconnect(d->onlineConnection);
    clear();
}

bool BlockHierarchyNodeScene::isDefinitionScene() const
{
    return false;
}

bool BlockHierarchyNodeScene::isHierarchyNodeScene() const
{
    return true;
}

bool BlockHierarchyNodeScene::isReadOnly() const
{
    return true;
}

void BlockHierarchyNodeScene::setReadOnly(bool value)
{
    Q_UNUSED(value)
}

BlockCode* BlockHierarchyNodeScene::blockCode() const
{
    BlockInstanceHierarchyNode* node = hierarchyNode();
    if (!node)
        return nullptr;
    // Not cached: the instance's definition, and with it the code, can be replaced at any time.
    BlockInstance* instance = node->blockInstance();
    return instance ? instance->code(BlockCodeScene::areaOf(node)) : nullptr;
}

BlockInstanceHierarchyNode* BlockHierarchyNodeScene::hierarchyNode() const
{
    // qobject_cast rather than a static cast: while the node's QObject part deletes its children it
    // is no node any more, and the scene must not treat it as one.
    return qobject_cast<BlockInstanceHierarchyNode*>(parent());
}

BlockInstanceArea* BlockHierarchyNodeScene::instanceArea() const
{
    return nullptr;
}

void BlockHierarchyNodeScene::rebuild()
{
    BlockCodeScene::rebuild();
    BlockInstanceHierarchyNode* node = hierarchyNode();
    if (!node)
        return;
    // Label items hang on pin items, which a rebuild may have made anew.
    const QList<SignalLabel*> labels = node->signalLabels();
    if (labels.isEmpty())
        return;
    const QMap<unsigned int, BlockItem*> blocks = blockItemMap();
    for (SignalLabel* label : labels) {
        BlockItem* block = blocks.value(label->instanceIdentifier());
        if (!block)
            continue;
        if (BlockPinItem* pin = block->pinItem(label->pinIdentifier()))
            pin->addSignalLabel(label);
    }
}

int BlockHierarchyNodeScene::pinDisplayMode() const
{
    return d->pinDisplayMode;
}

void BlockHierarchyNodeScene::showPinsInMode(int mode)
{
    switch (mode) {
    case PinDisplay::LocationPath:
        showPinsLocationPath();
        break;
    case PinDisplay::MemoryAddress:
        showPinsMemoryAddress();
        break;
    case PinDisplay::CurrentValue:
        showPinsCurrentValue();
        break;
    default:
        break;
    }
}

void BlockHierarchyNodeScene::showPinsName()
{
    applyPinDisplayMode(PinDisplay::Name);
}

void BlockHierarchyNodeScene::showPinsLocationPath()
{
    applyPinDisplayMode(PinDisplay::LocationPath);
}

void BlockHierarchyNodeScene::showPinsMemoryAddress()
{
    applyPinDisplayMode(PinDisplay::MemoryAddress);
}

void BlockHierarchyNodeScene::showPinsCurrentValue()
{
    applyPinDisplayMode(PinDisplay::CurrentValue);
}

void BlockHierarchyNodeScene::onlineChanged(bool value)
{
    // Going online keeps the mode: the user asks for values from the menu.
    if (!value)
        showPinsName();
}

void BlockHierarchyNodeScene::onDefinitionChanged()
{
    rebuild();
    BlockCode* code = blockCode();
    if (code == d->connectedCode)
        return;
    disconnect(d->codeConnection);
    d->codeConnection = QMetaObject::Connection();
    if (code)
        d->codeConnection = connect(code, &BlockCode::changed, this, &BlockCodeScene::updateRequired);
    d->connectedCode = code;
}

QList<BlockPinItem*> BlockHierarchyNodeScene::allPinItems()
{
    QList<BlockPinItem*> pins;
    const QMap<unsigned int, BlockItem*> blocks = blockItemMap();
    for (BlockItem* block : blocks)
        pins += block->pinItems();
    return pins;
}

void BlockHierarchyNodeScene::applyPinDisplayMode(int mode)
{
    d->pinDisplayMode = mode;
    const QList<BlockPinItem*> pins = allPinItems();
    for (BlockPinItem* pin : pins)
        pin->setDisplayMode(mode);
    invalidate(QRectF(), QGraphicsScene::AllLayers);
}

void BlockHierarchyNodeScene::dragEnterEvent(QGraphicsSceneDragDropEvent* event)
{
    QGraphicsScene::dragEnterEvent(event);
}

void BlockHierarchyNodeScene::dragMoveEvent(QGraphicsSceneDragDropEvent* event)
{
    QGraphicsScene::dragMoveEvent(event);
}

void BlockHierarchyNodeScene::dropEvent(QGraphicsSceneDragDropEvent* event)
{
    QGraphicsScene::dropEvent(event);
}

void BlockHierarchyNodeScene::keyPressEvent(QKeyEvent* event)
{
    BlockCodeScene::keyPressEvent(event);
}

void BlockHierarchyNodeScene::keyReleaseEvent(QKeyEvent* event)
{
    QGraphicsScene::keyReleaseEvent(event);
}

void BlockHierarchyNodeScene::mousePressEvent(QGraphicsSceneMouseEvent* event)
{
    QGraphicsScene::mousePressEvent(event);
}

void BlockHierarchyNodeScene::mouseMoveEvent(QGraphicsSceneMouseEvent* event)
{
    QGraphicsScene::mouseMoveEvent(event);
}

void BlockHierarchyNodeScene::mouseReleaseEvent(QGraphicsSceneMouseEvent* event)
{
    QGraphicsScene::mouseReleaseEvent(event);
}

void BlockHierarchyNodeScene::wheelEvent(QGraphicsSceneWheelEvent* event)
{
    // The view zooms and scrolls with the wheel.
    event->ignore();
}
