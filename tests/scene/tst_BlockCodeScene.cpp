#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "MagicBlockItem.h"
#include "ModalAnswer.h"
#include "ModelBuilder.h"
#include "PinBlockItem.h"
#include "SceneTestSupport.h"
#include "SignalLabelHostItem.h"
#include "TestModel.h"
#include "TestRegistry.h"
#include "TextBlockItem.h"

#include <QClipboard>
#include <QDialog>
#include <QGraphicsRectItem>
#include <QGuiApplication>
#include <QLineEdit>
#include <QMimeData>
#include <QPen>
#include <QPainterPath>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <memory>
#include <typeinfo>

namespace {

BlockDefinition* definitionOf(TestModel& model, const QString& identifier)
{
    return ModelBuilder::newest(model.block(identifier));
}

// Two AND blocks joined by one connection in the root code of the test area.
struct Wired
{
    BlockInstance* first = nullptr;
    BlockInstance* second = nullptr;
    BlockPinConnection* connection = nullptr;
};

Wired placeWired(TestModel& model)
{
    Wired wired;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDefinition = definitionOf(model, QStringLiteral("StandardBlock_1"));
    wired.first = ModelBuilder::place(code, andDefinition, QPointF(2, 2));
    wired.second = ModelBuilder::place(code, andDefinition, QPointF(12, 2));
    wired.connection = ModelBuilder::wire(code, wired.first, 3, wired.second, 1);
    return wired;
}

template <typename Match>
BlockItem* firstInList(QGraphicsScene* scene, Match match)
{
    const QList<BlockItem*> blocks = itemsOf<BlockItem>(scene);
    const auto found = std::find_if(blocks.cbegin(), blocks.cend(), match);
    return found == blocks.cend() ? nullptr : *found;
}

template <typename Match>
BlockItem* lastInList(QGraphicsScene* scene, Match match)
{
    const QList<BlockItem*> blocks = itemsOf<BlockItem>(scene);
    const auto found = std::find_if(blocks.crbegin(), blocks.crend(), match);
    return found == blocks.crend() ? nullptr : *found;
}

int blockItemCount(BlockCodeScene* scene)
{
    return int(scene->blockItemMap().size());
}

// What the selection queries answer when worked out from the scene's own selection list.
BlockItem* selectedBlockByScan(QGraphicsScene* scene)
{
    BlockItem* found = nullptr;
    for (QGraphicsItem* item : scene->selectedItems()) {
        if (auto* block = dynamic_cast<BlockItem*>(item)) {
            if (found)
                return nullptr;
            found = block;
        }
    }
    return found;
}

QList<BlockItem*> selectedBlocksByScan(QGraphicsScene* scene)
{
    QList<BlockItem*> result;
    const QList<BlockItem*> blocks = itemsOf<BlockItem>(scene);
    for (BlockItem* block : blocks) {
        if (block->isSelected())
            result.append(block);
    }
    return result;
}

} // namespace

class tst_BlockCodeScene : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void frameAndBackground();
    void rebuildCreatesItemsInCodeOrder();
    void rebuildReusesItems();
    void rebuildKeepsOwnWritesSilent();
    void updateRequiredRebuilds();
    void emptyCodeInActiveSceneDeletesItems();
    void inactiveSceneKeepsRemovedBlocks();
    void reusedIdentifierWaitsForActiveScene();
    void deletingSceneWithPendingItems();
    void unknownBlockTypeGivesPlainItem_data();
    void unknownBlockTypeGivesPlainItem();
    void specialBlockTypeGivesItsOwnItem_data();
    void specialBlockTypeGivesItsOwnItem();
    void lookUpsByIdentifierAndInstance();
    void lookUpsAtPoint();
    void frontMostItemWins();
    void connectionItemMapKeepsGoneConnections();
    void selectionQueries();
    void stepInAllowedFollowsSelection();
    void copyKeys_data();
    void copyKeys();
    void copyWithoutSelection();
    void copyWithoutCodeKeepsClipboard();
    void selectAllKey();
    void helpKeyWithTwoSelectedIsNotConsumed();
    void otherKeysReachBase();
    void propertiesOfSelectedBlock();
    void propertiesWithSeveralSelected();
    void propertiesByHierarchyDepth_data();
    void propertiesByHierarchyDepth();
    void sceneAreaRule();
    void selectedBlocksFollowEveryWayOfSelecting();
    void rebuildPairsEachConnectionWithOneItem();
    void connectionItemLeavingTheSceneIsNotPaired();
    void movingNodeAsksTheCurrentSelection();
    void groupMoveUnderBlockedSignalsCarriesTheEnds();
    void pinLookUpFollowsThePinChildren();
};

void tst_BlockCodeScene::frameAndBackground()
{
    TestModel model;
    TestCodeScene scene(model.rootCode());
    QCOMPARE(scene.sceneRect(), QRectF(-500, -500, 1001000, 1001000));
    QCOMPARE(scene.itemIndexMethod(), QGraphicsScene::NoIndex);
    QGraphicsRectItem* background = scene.backgroundItem();
    QVERIFY(background);
    QCOMPARE(background->scene(), &scene);
    QCOMPARE(background->rect(), QRectF(0, 0, 1001000, 1001000));
    QCOMPARE(background->zValue(), -10000.0);
    QCOMPARE(background->pen().color(), QColor(0, 0, 0, 0));
    QCOMPARE(background->brush().style(), Qt::NoBrush);
    QCOMPARE(scene.items().size(), 1);
    QCOMPARE(scene.parent(), model.rootCode());
}

void tst_BlockCodeScene::rebuildCreatesItemsInCodeOrder()
{
    TestModel model;
    Wired wired = placeWired(model);
    TestCodeScene scene(model.rootCode());

    BlockItem* first = scene.blockItem(wired.first->identifier());
    BlockItem* second = scene.blockItem(wired.second->identifier());
    QVERIFY(first && second);
    QCOMPARE(first->blockInstance(), wired.first);
    QCOMPARE(first->pos(), QPointF(2000, 2000));
    QCOMPARE(second->pos(), QPointF(12000, 2000));
    QCOMPARE(first->zValue(), -2.0);
    // Items of the code's later instances stack above the earlier ones.
    QCOMPARE(itemCount<ConnectionItem>(&scene), 1);
    const auto connections = scene.connectionItemMap();
    QCOMPARE(connections.size(), 1);
    QCOMPARE(connections.firstKey(), wired.connection);
}

void tst_BlockCodeScene::rebuildReusesItems()
{
    TestModel model;
    Wired wired = placeWired(model);
    TestCodeScene scene(model.rootCode());
    scene.activate();
    BlockItem* first = scene.blockItem(wired.first->identifier());
    ConnectionItem* connection = scene.connectionItemMap().value(wired.connection);
    first->setSelected(true);

    wired.first->setPosition(QPointF(4, 7));

    QCOMPARE(scene.blockItem(wired.first->identifier()), first);
    QCOMPARE(scene.connectionItemMap().value(wired.connection), connection);
    QCOMPARE(first->pos(), QPointF(4000, 7000));
    QVERIFY(first->isSelected());
}

void tst_BlockCodeScene::rebuildKeepsOwnWritesSilent()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockInstance* instance =
        ModelBuilder::place(code, definitionOf(model, QStringLiteral("StandardBlock_1")), QPointF(3.4, 2.6));
    QSignalSpy changed(code, &BlockCode::changed);
    TestCodeScene scene(code);
    // The item snaps the block onto the grid and writes that back, without a change signal.
    QCOMPARE(instance->position(), QPointF(3, 3));
    QCOMPARE(changed.count(), 0);
    QCOMPARE(code->changeSignalsBlocked(), false);

    code->blockChangeSignals(true);
    scene.rebuild();
    QCOMPARE(code->changeSignalsBlocked(), true);
    code->blockChangeSignals(false);
}

void tst_BlockCodeScene::updateRequiredRebuilds()
{
    TestModel model;
    TestCodeScene scene(model.rootCode());
    const int before = scene.rebuildCount();
    scene.updateRequired();
    QCOMPARE(scene.rebuildCount(), before + 1);
    ModelBuilder::place(model.rootCode(), definitionOf(model, QStringLiteral("StandardBlock_2")), QPointF(1, 1));
    QVERIFY(scene.rebuildCount() > before + 1);
    QCOMPARE(blockItemCount(&scene), 1);
}

void tst_BlockCodeScene::emptyCodeInActiveSceneDeletesItems()
{
    TestModel model;
    placeWired(model);
    TestCodeScene scene(model.rootCode());
    scene.activate();
    QVERIFY(scene.isActive());
    QCOMPARE(blockItemCount(&scene), 2);

    model.rootCode()->clear();
    scene.rebuild();

    QCOMPARE(blockItemCount(&scene), 0);
    QCOMPARE(itemCount<ConnectionItem>(&scene), 0);
    QCOMPARE(scene.items().size(), 1);
    QCOMPARE(scene.items().first(), scene.backgroundItem());
}

void tst_BlockCodeScene::inactiveSceneKeepsRemovedBlocks()
{
    TestModel model;
    Wired wired = placeWired(model);
    TestCodeScene scene(model.rootCode());
    QVERIFY(!scene.isActive());
    const unsigned int id = wired.first->identifier();
    QPointer<BlockItem> item = scene.blockItem(id);

    model.rootCode()->deleteInstance(id);
    scene.rebuild();

    QVERIFY(item);
    QCOMPARE(item->blockInstance(), nullptr);
    QCOMPARE(item->identifier(), id);
    QCOMPARE(itemCount<ConnectionItem>(&scene), 0);
    // The next update finds the left-over item again and deletes it once the scene is active.
    scene.rebuild();
    QVERIFY(item);
    scene.activate();
    scene.rebuild();
    QVERIFY(!item);
    QCOMPARE(blockItemCount(&scene), 1);
}

void tst_BlockCodeScene::reusedIdentifierWaitsForActiveScene()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDefinition = definitionOf(model, QStringLiteral("StandardBlock_1"));
    BlockInstance* old = ModelBuilder::place(code, andDefinition, QPointF(2, 2));
    const unsigned int id = old->identifier();
    TestCodeScene scene(code);
    QPointer<BlockItem> oldItem = scene.blockItem(id);

    code->deleteInstance(id);
    BlockInstance* replacement = code->createInstance(definitionOf(model, QStringLiteral("StandardBlock_2")), id);
    QVERIFY(replacement);
    scene.rebuild();

    BlockItem* newItem = scene.blockItemOf(replacement);
    QVERIFY(newItem);
    QVERIFY(newItem != oldItem);
    QVERIFY(oldItem);
    QCOMPARE(scene.pendingDeleteItems(), QList<BlockItem*>{oldItem.data()});
    // Of two items with one identifier the look-up answers the first in the scene's list.
    QCOMPARE(scene.blockItem(id), firstInList(&scene, [id](BlockItem* item) { return item->identifier() == id; }));
    QCOMPARE(scene.blockItemMap().value(id),
             lastInList(&scene, [id](BlockItem* item) { return item->identifier() == id; }));
    scene.rebuild();
    QCOMPARE(scene.pendingDeleteItems().size(), 1);

    scene.activate();
    scene.rebuild();
    QVERIFY(!oldItem);
    QVERIFY(scene.pendingDeleteItems().isEmpty());
    QCOMPARE(scene.blockItem(id), newItem);
}

void tst_BlockCodeScene::deletingSceneWithPendingItems()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDefinition = definitionOf(model, QStringLiteral("StandardBlock_1"));
    const unsigned int id = ModelBuilder::place(code, andDefinition, QPointF(2, 2))->identifier();
    auto* scene = new TestCodeScene(code);
    code->deleteInstance(id);
    code->createInstance(andDefinition, id);
    scene->rebuild();
    QCOMPARE(scene->pendingDeleteItems().size(), 1);
    QPointer<TestCodeScene> guard(scene);
    delete scene;
    QVERIFY(!guard);
    // The code lives on and can be shown again.
    TestCodeScene again(code);
    QCOMPARE(blockItemCount(&again), 1);
}

void tst_BlockCodeScene::unknownBlockTypeGivesPlainItem_data()
{
    QTest::addColumn<int>("blockType");
    QTest::newRow("ordinary 0") << 0;
    QTest::newRow("4") << 4;
    QTest::newRow("negative") << -7;
    QTest::newRow("large") << 1000;
}

void tst_BlockCodeScene::unknownBlockTypeGivesPlainItem()
{
    QFETCH(int, blockType);
    TestModel model;
    BlockDefinition* definition = definitionOf(model, QStringLiteral("StandardBlock_3"));
    definition->setBlockType(blockType);
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), definition, QPointF(1, 1));
    QCOMPARE(instance->blockType(), blockType);
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);
    QVERIFY(item);
    QCOMPARE(typeid(*item).name(), typeid(BlockItem).name());
}

void tst_BlockCodeScene::specialBlockTypeGivesItsOwnItem_data()
{
    QTest::addColumn<int>("blockType");
    QTest::addColumn<QByteArray>("itemClass");
    QTest::newRow("1 text") << 1 << QByteArray(typeid(TextBlockItem).name());
    QTest::newRow("2 pin") << 2 << QByteArray(typeid(PinBlockItem).name());
    QTest::newRow("3 magic") << 3 << QByteArray(typeid(MagicBlockItem).name());
}

void tst_BlockCodeScene::specialBlockTypeGivesItsOwnItem()
{
    QFETCH(int, blockType);
    QFETCH(QByteArray, itemClass);
    TestModel model;
    BlockDefinition* definition = definitionOf(model, QStringLiteral("StandardBlock_3"));
    definition->setBlockType(blockType);
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), definition, QPointF(1, 1));
    QCOMPARE(instance->blockType(), blockType);
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);
    QVERIFY(item);
    QCOMPARE(QByteArray(typeid(*item).name()), itemClass);
    // An update keeps the item of its kind.
    instance->setPosition(QPointF(5, 6));
    QCOMPARE(scene.blockItemOf(instance), item);
    QCOMPARE(item->pos(), QPointF(5000, 6000));
}

void tst_BlockCodeScene::lookUpsByIdentifierAndInstance()
{
    TestModel model;
    Wired wired = placeWired(model);
    TestCodeScene scene(model.rootCode());
    BlockItem* first = scene.blockItem(wired.first->identifier());
    QVERIFY(first);
    QCOMPARE(scene.blockItemOf(wired.first), first);
    QCOMPARE(scene.blockItem(4711), nullptr);
    QCOMPARE(scene.blockItemOf(nullptr), nullptr);

    BlockPinInstance* output = wired.first->pin(3);
    BlockPinItem* pinItem = scene.pinItemOf(output);
    QVERIFY(pinItem);
    QCOMPARE(pinItem->parentItem(), first);
    QCOMPARE(pinItem->identifier(), 3);
    QCOMPARE(scene.pinItemOf(nullptr), nullptr);

    const QMap<unsigned int, BlockItem*> map = scene.blockItemMap();
    QCOMPARE(map.keys(), (QList<unsigned int>{wired.first->identifier(), wired.second->identifier()}));
    QCOMPARE(map.value(wired.second->identifier()), scene.blockItemOf(wired.second));

    // A block whose instance is gone is found by its cached identifier, and by a null instance.
    const unsigned int id = wired.second->identifier();
    BlockItem* second = map.value(id);
    model.rootCode()->deleteInstance(id);
    QCOMPARE(scene.blockItem(id), second);
    QCOMPARE(scene.blockItemOf(nullptr), second);
}

void tst_BlockCodeScene::lookUpsAtPoint()
{
    TestModel model;
    Wired wired = placeWired(model);
    TestCodeScene scene(model.rootCode());
    BlockItem* first = scene.blockItemOf(wired.first);
    const QPointF inside = first->mapToScene(first->rect().center());

    QCOMPARE(scene.blockItemAt(inside), first);
    QCOMPARE(scene.blockItemAt(QPointF(500000, 500000)), nullptr);
    // A pin stub stands outside its block and is no block itself.
    BlockPinItem* input = scene.pinItemOf(wired.first->pin(1));
    QCOMPARE(scene.blockItemAt(input->mapToScene(QPointF(1500, 0))), nullptr);
    QCOMPARE(scene.blockItemAt(first->mapToScene(QPointF(10, 500))), first);

    BlockPinItem* output = scene.pinItemOf(wired.first->pin(3));
    QVERIFY(output);
    QVERIFY(output->isVisible());
    const QPointF onStub = output->mapToScene(QPointF(1500, 0));
    QCOMPARE(scene.pinItemAt(onStub), output);
    output->setVisible(false);
    QCOMPARE(scene.pinItemAt(onStub), nullptr);
    output->setVisible(true);

    ConnectionItem* connection = scene.connectionItemMap().value(wired.connection);
    QVERIFY(connection);
    const QPointF start = connection->sourcePosition();
    const QPointF end = connection->targetPosition();
    const QPointF middle((start.x() + end.x()) / 2, start.y());
    if (start.y() == end.y()) {
        QCOMPARE(scene.connectionItemAt(middle), connection);
        connection->setVisible(false);
        QCOMPARE(scene.connectionItemAt(middle), nullptr);
        connection->setVisible(true);
    }
    const QList<ConnectionNodeItem*> nodes = connection->allNodes();
    QVERIFY(!nodes.isEmpty());
    ConnectionNodeItem* node = nodes.first();
    // Nodes of one route may stand on one point; any of them answers, none of another kind.
    ConnectionNodeItem* found = scene.connectionNodeItemAt(node->scenePos());
    QVERIFY(found);
    QCOMPARE(found->connectionItem(), connection);
    QVERIFY(found->sceneBoundingRect().contains(node->scenePos()));
    QCOMPARE(scene.connectionNodeItemAt(QPointF(500000, 500000)), nullptr);
    QCOMPARE(scene.signalLabelItemAt(inside), nullptr);
}

void tst_BlockCodeScene::frontMostItemWins()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* notDefinition = definitionOf(model, QStringLiteral("StandardBlock_3"));
    BlockInstance* lower = ModelBuilder::place(code, notDefinition, QPointF(5, 5));
    BlockInstance* upper = ModelBuilder::place(code, notDefinition, QPointF(5, 5));
    TestCodeScene scene(code);
    BlockItem* lowerItem = scene.blockItemOf(lower);
    BlockItem* upperItem = scene.blockItemOf(upper);
    QCOMPARE(scene.blockItemAt(QPointF(6000, 6000)), upperItem);
    lowerItem->setZValue(0);
    QCOMPARE(scene.blockItemAt(QPointF(6000, 6000)), lowerItem);
}

void tst_BlockCodeScene::connectionItemMapKeepsGoneConnections()
{
    TestModel model;
    Wired wired = placeWired(model);
    TestCodeScene scene(model.rootCode());
    ConnectionItem* item = scene.connectionItemMap().value(wired.connection);
    QVERIFY(item);
    // Delete the connection behind the scene's back: the item stays until the next update.
    model.rootCode()->blockChangeSignals(true);
    model.rootCode()->deleteConnection(wired.connection);
    model.rootCode()->blockChangeSignals(false);
    const auto map = scene.connectionItemMap();
    QCOMPARE(map.size(), 1);
    QCOMPARE(map.firstKey(), nullptr);
    QCOMPARE(map.first(), item);
    scene.rebuild();
    QCOMPARE(itemCount<ConnectionItem>(&scene), 0);
}

void tst_BlockCodeScene::selectionQueries()
{
    TestModel model;
    Wired wired = placeWired(model);
    BlockInstance* third =
        ModelBuilder::place(model.rootCode(), definitionOf(model, QStringLiteral("StandardBlock_3")), QPointF(20, 20));
    TestCodeScene scene(model.rootCode());
    BlockItem* first = scene.blockItemOf(wired.first);
    BlockItem* second = scene.blockItemOf(wired.second);
    BlockItem* thirdItem = scene.blockItemOf(third);

    QVERIFY(scene.selectedBlockItems().isEmpty());
    QCOMPARE(scene.selectedBlockItem(), nullptr);

    first->setSelected(true);
    QCOMPARE(scene.selectedBlockItem(), first);
    QCOMPARE(scene.selectedBlockItems(), QList<BlockItem*>{first});

    thirdItem->setSelected(true);
    QCOMPARE(scene.selectedBlockItem(), nullptr);
    // In the order of the scene's list.
    QList<BlockItem*> expected;
    for (QGraphicsItem* item : scene.items(Qt::DescendingOrder)) {
        if (item == first || item == thirdItem)
            expected.append(static_cast<BlockItem*>(item == first ? first : thirdItem));
    }
    QCOMPARE(scene.selectedBlockItems(), expected);
    QVERIFY(!second->isSelected());

    QVERIFY(scene.selectedConnectionItems().isEmpty());
    ConnectionItem* connection = scene.connectionItemMap().value(wired.connection);
    connection->setSelected(true);
    QCOMPARE(scene.selectedConnectionItems(), QList<ConnectionItem*>{connection});
    // A selected connection doesn't make one block the selected one.
    QCOMPARE(scene.selectedBlockItem(), nullptr);
}

void tst_BlockCodeScene::stepInAllowedFollowsSelection()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockInstance* composite = ModelBuilder::place(code, definitionOf(model, QStringLiteral("StandardBlock_20")), QPointF(2, 2));
    BlockInstance* primitive = ModelBuilder::place(code, definitionOf(model, QStringLiteral("StandardBlock_1")), QPointF(20, 2));
    TestCodeScene scene(code);
    QSignalSpy spy(&scene, &BlockCodeScene::stepInAllowedChanged);
    BlockItem* compositeItem = scene.blockItemOf(composite);
    BlockItem* primitiveItem = scene.blockItemOf(primitive);
    QVERIFY(compositeItem->isStepInAllowed());
    QVERIFY(!primitiveItem->isStepInAllowed());

    QVERIFY(!scene.stepInAllowed());
    compositeItem->setSelected(true);
    QVERIFY(scene.stepInAllowed());
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.last().at(0).toBool(), true);

    primitiveItem->setSelected(true);
    QVERIFY(!scene.stepInAllowed());
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.last().at(0).toBool(), false);

    // Emitted at every change, also when the answer stays the same.
    compositeItem->setSelected(false);
    QCOMPARE(spy.count(), 3);
    QCOMPARE(spy.last().at(0).toBool(), false);
    scene.clearSelection();
    QCOMPARE(spy.count(), 4);
    QCOMPARE(spy.last().at(0).toBool(), false);
}

void tst_BlockCodeScene::copyKeys_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<bool>("copies");
    QTest::newRow("Ctrl+C") << int(Qt::Key_C) << int(Qt::ControlModifier) << true;
    QTest::newRow("Ctrl+Shift+C") << int(Qt::Key_C) << int(Qt::ControlModifier | Qt::ShiftModifier) << true;
    QTest::newRow("Ctrl+Alt+C") << int(Qt::Key_C) << int(Qt::ControlModifier | Qt::AltModifier) << true;
    QTest::newRow("C") << int(Qt::Key_C) << int(Qt::NoModifier) << false;
    QTest::newRow("Shift+C") << int(Qt::Key_C) << int(Qt::ShiftModifier) << false;
    QTest::newRow("Ctrl+X") << int(Qt::Key_X) << int(Qt::ControlModifier) << false;
}

void tst_BlockCodeScene::copyKeys()
{
    QFETCH(int, key);
    QFETCH(int, modifiers);
    QFETCH(bool, copies);
    TestModel model;
    Wired wired = placeWired(model);
    TestCodeScene scene(model.rootCode());
    scene.blockItemOf(wired.second)->setSelected(true);
    scene.blockItemOf(wired.first)->setSelected(true);
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->setText(QStringLiteral("before"));

    const bool accepted = sendSceneKey(&scene, key, Qt::KeyboardModifiers(modifiers));

    QCOMPARE(accepted, copies);
    const QMimeData* data = clipboard->mimeData(QClipboard::Clipboard);
    QVERIFY(data);
    if (copies) {
        QList<unsigned int> ids;
        for (BlockItem* item : scene.selectedBlockItems())
            ids.append(item->identifier());
        QCOMPARE(ids.size(), 2);
        std::unique_ptr<QMimeData> expected(model.rootCode()->createTransferData(ids));
        QVERIFY(data->hasFormat(BlockCode::TransferMimeType));
        QCOMPARE(data->data(BlockCode::TransferMimeType), expected->data(BlockCode::TransferMimeType));
    } else {
        QVERIFY(!data->hasFormat(BlockCode::TransferMimeType));
        QCOMPARE(clipboard->text(), QStringLiteral("before"));
    }
}

void tst_BlockCodeScene::copyWithoutSelection()
{
    TestModel model;
    placeWired(model);
    TestCodeScene scene(model.rootCode());
    QGuiApplication::clipboard()->setText(QStringLiteral("before"));
    QVERIFY(sendSceneKey(&scene, Qt::Key_C, Qt::ControlModifier));
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    QVERIFY(data && data->hasFormat(BlockCode::TransferMimeType));
    std::unique_ptr<QMimeData> expected(model.rootCode()->createTransferData({}));
    QCOMPARE(data->data(BlockCode::TransferMimeType), expected->data(BlockCode::TransferMimeType));
}

void tst_BlockCodeScene::copyWithoutCodeKeepsClipboard()
{
    TestModel model;
    TestCodeScene scene(nullptr);
    QGuiApplication::clipboard()->setText(QStringLiteral("before"));
    scene.copyToClipboard();
    sendSceneKey(&scene, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("before"));
}

void tst_BlockCodeScene::selectAllKey()
{
    TestModel model;
    Wired wired = placeWired(model);
    model.rootCode()->deleteConnection(wired.connection);
    BlockPinConnection* cornered =
        ModelBuilder::wire(model.rootCode(), wired.first, 3, wired.second, 2, {QPointF(8, 4), QPointF(8, 6)});
    TestCodeScene scene(model.rootCode());
    ConnectionItem* connection = scene.connectionItemMap().value(cornered);
    QVERIFY(connection);
    QVERIFY(!connection->isAnySelected());

    QVERIFY(sendSceneKey(&scene, Qt::Key_A, Qt::ControlModifier));

    QCOMPARE(scene.selectedBlockItems().size(), 2);
    int selectableNodes = 0;
    for (ConnectionNodeItem* node : connection->allNodes()) {
        if (node->flags() & QGraphicsItem::ItemIsSelectable) {
            ++selectableNodes;
            QVERIFY(node->isSelected());
        }
    }
    QVERIFY(selectableNodes > 0);
    QVERIFY(!connection->isSelected());
    QVERIFY(connection->isAnySelected());
    QCOMPARE(scene.selectedConnectionItems(), QList<ConnectionItem*>{connection});
    QVERIFY(!scene.backgroundItem()->isSelected());

    scene.clearSelection();
    scene.selectAllItems();
    QCOMPARE(scene.selectedBlockItems().size(), 2);
    QVERIFY(!connection->isSelected());
    QVERIFY(connection->isAnySelected());
}

void tst_BlockCodeScene::helpKeyWithTwoSelectedIsNotConsumed()
{
    TestModel model;
    Wired wired = placeWired(model);
    TestCodeScene scene(model.rootCode());
    scene.blockItemOf(wired.first)->setSelected(true);
    scene.blockItemOf(wired.second)->setSelected(true);
    QVERIFY(!sendSceneKey(&scene, Qt::Key_F1));
    QVERIFY(!sendSceneKey(&scene, Qt::Key_Help));
}

void tst_BlockCodeScene::otherKeysReachBase()
{
    TestModel model;
    Wired wired = placeWired(model);
    TestCodeScene scene(model.rootCode());
    scene.blockItemOf(wired.first)->setSelected(true);
    // No item has the focus: the base scene leaves the event unaccepted.
    QVERIFY(!sendSceneKey(&scene, Qt::Key_Delete));
    QVERIFY(!sendSceneKey(&scene, Qt::Key_V, Qt::ControlModifier));
    QVERIFY(scene.blockItemOf(wired.first)->isSelected());
}

void tst_BlockCodeScene::propertiesOfSelectedBlock()
{
    TestModel model;
    Wired wired = placeWired(model);
    TestCodeScene scene(model.rootCode());
    scene.blockItemOf(wired.first)->setSelected(true);
    QString dialogName;
    auto answered = answerNextModal([&](QDialog* dialog) {
        dialogName = dialog->objectName();
        dialog->reject();
    });
    scene.showBlockProperties();
    QVERIFY(*answered);
    QCOMPARE(dialogName, QStringLiteral("instancePropertiesDialog"));
}

void tst_BlockCodeScene::propertiesWithSeveralSelected()
{
    TestModel model;
    Wired wired = placeWired(model);
    TestCodeScene scene(model.rootCode(), true, false);
    for (int selected = 0; selected <= 2; selected += 2) {
        if (selected) {
            scene.blockItemOf(wired.first)->setSelected(true);
            scene.blockItemOf(wired.second)->setSelected(true);
        }
        QString dialogName;
        bool readOnly = true;
        auto answered = answerNextModal([&](QDialog* dialog) {
            dialogName = dialog->objectName();
            if (auto* edit = dialog->findChild<QLineEdit*>(QStringLiteral("nameGermanEdit")))
                readOnly = edit->isReadOnly();
            dialog->reject();
        });
        scene.showBlockProperties();
        QVERIFY(*answered);
        QCOMPARE(dialogName, QStringLiteral("definitionPropertiesDialog"));
        QCOMPARE(readOnly, false);
    }
    scene.setReadOnly(true);
    bool readOnly = false;
    auto answered = answerNextModal([&](QDialog* dialog) {
        if (auto* edit = dialog->findChild<QLineEdit*>(QStringLiteral("nameGermanEdit")))
            readOnly = edit->isReadOnly();
        dialog->reject();
    });
    scene.showBlockProperties();
    QVERIFY(*answered);
    QVERIFY(readOnly);
}

void tst_BlockCodeScene::propertiesByHierarchyDepth_data()
{
    QTest::addColumn<int>("depth");
    QTest::addColumn<bool>("readOnly");
    QTest::newRow("two levels") << 2 << true;
    QTest::newRow("three levels") << 3 << false;
}

void tst_BlockCodeScene::propertiesByHierarchyDepth()
{
    QFETCH(int, depth);
    QFETCH(bool, readOnly);
    TestModel model;
    // Root (level 1) holds the composite (level 2), whose code holds an AND (level 3).
    BlockInstance* composite =
        ModelBuilder::place(model.rootCode(), definitionOf(model, QStringLiteral("StandardBlock_20")), QPointF(2, 2));
    BlockInstanceHierarchyNode* root = model.area()->hierarchy()->rootNode();
    QVERIFY(root);
    BlockInstanceHierarchyNode* node = root->instanceNode(composite->identifier());
    QVERIFY(node);
    if (depth == 3) {
        const QList<int> children = node->instanceNodes();
        QVERIFY(!children.isEmpty());
        node = node->instanceNode(unsigned(children.first()));
        QVERIFY(node);
    }
    // The scene shows the code of a composite in both rows; only the node's depth decides.
    BlockCode* shown = ModelBuilder::newest(model.block(QStringLiteral("StandardBlock_20")))->code();
    TestCodeScene scene(shown, false, true);
    scene.setHierarchyNode(node);
    QVERIFY(scene.isReadOnly());

    bool dialogReadOnly = !readOnly;
    QString dialogName;
    auto answered = answerNextModal([&](QDialog* dialog) {
        dialogName = dialog->objectName();
        if (auto* edit = dialog->findChild<QLineEdit*>(QStringLiteral("nameGermanEdit")))
            dialogReadOnly = edit->isReadOnly();
        dialog->reject();
    });
    scene.showBlockProperties();
    QVERIFY(*answered);
    QCOMPARE(dialogName, QStringLiteral("definitionPropertiesDialog"));
    QCOMPARE(dialogReadOnly, readOnly);
}

void tst_BlockCodeScene::sceneAreaRule()
{
    TestModel model;
    TestCodeScene scene(model.rootCode());
    QCOMPARE(scene.sceneArea(), nullptr);
    scene.setInstanceArea(model.globalArea());
    QCOMPARE(scene.sceneArea(), model.globalArea());
    // A hierarchy node takes precedence over the area given to the scene.
    scene.setHierarchyNode(model.area()->hierarchy()->rootNode());
    QCOMPARE(scene.sceneArea(), model.area());
}


void tst_BlockCodeScene::selectedBlocksFollowEveryWayOfSelecting()
{
    TestModel model;
    Wired wired = placeWired(model);
    BlockInstance* third =
        ModelBuilder::place(model.rootCode(), definitionOf(model, QStringLiteral("StandardBlock_20")), QPointF(30, 2));
    TestCodeScene scene(model.rootCode());
    scene.activate();
    QSignalSpy spy(&scene, &BlockCodeScene::stepInAllowedChanged);
    BlockItem* first = scene.blockItemOf(wired.first);
    BlockItem* second = scene.blockItemOf(wired.second);
    QPointer<BlockItem> composite = scene.blockItemOf(third);
    const auto agrees = [&scene] {
        return scene.selectedBlockItem() == selectedBlockByScan(&scene)
               && scene.selectedBlockItems() == selectedBlocksByScan(&scene);
    };

    first->setSelected(true);
    composite->setSelected(true);
    QVERIFY(agrees());
    QCOMPARE(scene.selectedBlockItem(), nullptr);

    // Hiding deselects.
    first->setVisible(false);
    QVERIFY(!first->isSelected());
    QVERIFY(agrees());
    QCOMPARE(scene.selectedBlockItem(), composite.data());
    QCOMPARE(spy.last().at(0).toBool(), true);
    first->setVisible(true);

    // A selected item taken out of the scene leaves the selection and brings it back.
    second->setSelected(true);
    QVERIFY(agrees());
    scene.removeItem(second);
    QVERIFY(second->isSelected());
    QVERIFY(agrees());
    QCOMPARE(scene.selectedBlockItem(), composite.data());
    scene.addItem(second);
    QVERIFY(agrees());
    QCOMPARE(scene.selectedBlockItem(), nullptr);

    // A rubber band replaces the selection in one go.
    QPainterPath area;
    area.addRect(QRectF(1000, 1000, 6000, 4000));
    scene.setSelectionArea(area);
    QVERIFY(agrees());
    QCOMPARE(scene.selectedBlockItem(), first);
    QCOMPARE(spy.last().at(0).toBool(), false);

    // A selected block that dies leaves nothing behind.
    composite->setSelected(true);
    QCOMPARE(spy.last().at(0).toBool(), false);
    first->setSelected(false);
    QCOMPARE(scene.selectedBlockItem(), composite.data());
    QCOMPARE(spy.last().at(0).toBool(), true);
    model.rootCode()->deleteInstance(third->identifier());
    QVERIFY(!composite);
    QVERIFY(agrees());
    QCOMPARE(scene.selectedBlockItem(), nullptr);
    QVERIFY(!scene.stepInAllowed());

    scene.selectAllItems();
    QVERIFY(agrees());
    scene.clearSelection();
    QVERIFY(agrees());
    QVERIFY(scene.selectedBlockItems().isEmpty());
}

void tst_BlockCodeScene::rebuildPairsEachConnectionWithOneItem()
{
    TestModel model;
    Wired wired = placeWired(model);
    TestCodeScene scene(model.rootCode());
    scene.activate();
    QPointer<ConnectionItem> original = scene.connectionItemMap().value(wired.connection);
    // A second item of the same connection, made by hand.
    QPointer<ConnectionItem> extra = new ConnectionItem(&scene);
    // Quietly, or the scene would tidy up at once.
    model.rootCode()->blockChangeSignals(true);
    extra->setConnection(wired.connection);
    model.rootCode()->blockChangeSignals(false);
    QCOMPARE(itemCount<ConnectionItem>(&scene), 2);
    // The update keeps the item that connectionItemMap() names first for the connection.
    const QPointer<ConnectionItem> named = scene.connectionItemMap().values(wired.connection).first();

    scene.rebuild();

    QCOMPARE(itemCount<ConnectionItem>(&scene), 1);
    QVERIFY(named);
    QCOMPARE(scene.connectionItemMap().value(wired.connection), named.data());
    QVERIFY(!original || !extra);
    // The survivor still follows the model.
    wired.second->setPosition(QPointF(14, 4));
    QCOMPARE(named->targetPosition(), scene.pinItemOf(wired.connection->target())->mapToScene(3000, 0));
}

void tst_BlockCodeScene::connectionItemLeavingTheSceneIsNotPaired()
{
    TestModel model;
    Wired wired = placeWired(model);
    TestCodeScene scene(model.rootCode());
    ConnectionItem* item = scene.connectionItemMap().value(wired.connection);
    QVERIFY(item);
    scene.removeItem(item);
    QGraphicsScene elsewhere;
    elsewhere.addItem(item);

    scene.rebuild();

    ConnectionItem* made = scene.connectionItemMap().value(wired.connection);
    QVERIFY(made);
    QVERIFY(made != item);
    QCOMPARE(item->scene(), &elsewhere);
    QCOMPARE(itemCount<ConnectionItem>(&scene), 1);
    elsewhere.removeItem(item);
    delete item;
    QCOMPARE(scene.connectionItemMap().value(wired.connection), made);
}

void tst_BlockCodeScene::movingNodeAsksTheCurrentSelection()
{
    TestModel model;
    Wired wired = placeWired(model);
    wired.connection->setNodePositions({QPointF(9, 2.5), QPointF(10.5, 2.5), QPointF(9, 3.5)});
    TestCodeScene scene(model.rootCode());
    ConnectionItem* connection = scene.connectionItemMap().value(wired.connection);
    ConnectionNodeItem* corner = connection->allNodes().at(1);
    QCOMPARE(corner->scenePos(), QPointF(10500, 2500));
    BlockItem* block = scene.blockItemOf(wired.first);

    // With a block in the selection the node keeps its offset from the raster.
    corner->setSelected(true);
    block->setSelected(true);
    corner->setPos(corner->pos() + QPointF(1100, 0));
    QCOMPARE(corner->scenePos(), QPointF(11500, 2500));

    // Alone again, it snaps to half a unit.
    block->setSelected(false);
    corner->setPos(corner->pos() + QPointF(1100, 0));
    QCOMPARE(corner->scenePos(), QPointF(12500, 2500));

    // Any other selected item counts as much as a block.
    auto* foreign = new QGraphicsRectItem(0, 0, 100, 100);
    foreign->setFlag(QGraphicsItem::ItemIsSelectable);
    scene.addItem(foreign);
    foreign->setSelected(true);
    corner->setPos(corner->pos() + QPointF(1300, 0));
    QCOMPARE(corner->scenePos(), QPointF(13500, 2500));
    delete foreign;
    corner->setPos(corner->pos() + QPointF(1300, 0));
    QCOMPARE(corner->scenePos(), QPointF(15000, 2500));

    // A node that isn't selected moves alone, whatever else is.
    block->setSelected(true);
    corner->setSelected(false);
    corner->setPos(corner->pos() + QPointF(1300, 0));
    QCOMPARE(corner->scenePos(), QPointF(16500, 2500));
}

void tst_BlockCodeScene::groupMoveUnderBlockedSignalsCarriesTheEnds()
{
    TestModel model;
    Wired wired = placeWired(model);
    BlockCode* code = model.rootCode();
    TestCodeScene scene(code);
    scene.activate();
    BlockItem* first = scene.blockItemOf(wired.first);
    BlockItem* second = scene.blockItemOf(wired.second);
    BlockPinItem* from = first->pinItem(3);
    BlockPinItem* to = second->pinItem(1);
    ConnectionItem* connection = scene.connectionItemMap().value(wired.connection);
    const auto followsFlag = [](BlockItem* block) {
        for (BlockPinItem* pin : block->pinItems()) {
            if (!(pin->signalLabelHost()->flags() & QGraphicsItem::ItemSendsScenePositionChanges))
                return false;
        }
        return true;
    };

    // A group move writes the model item by item with its signals blocked, then sends one change.
    const bool blocked = code->blockChangeSignals(true);
    first->moveBy(2000, 1000);
    second->moveBy(2000, 1000);
    first->moveBy(1000, 0);
    // The ends on the pins went along at every step, and the model has the route as it stands.
    QCOMPARE(connection->sourcePosition(), from->mapToScene(3000, 0));
    QCOMPARE(connection->targetPosition(), to->mapToScene(3000, 0));
    QCOMPARE(wired.connection->nodePositions().first(), from->mapToScene(3000, 0) / 1000.0);
    QCOMPARE(wired.connection->nodePositions().last(), to->mapToScene(3000, 0) / 1000.0);
    code->blockChangeSignals(blocked);
    code->sendBlockedChangeSignal();
    QVERIFY(followsFlag(first));
    QVERIFY(followsFlag(second));
    QCOMPARE(wired.first->position(), QPointF(5, 3));
    QCOMPARE(wired.second->position(), QPointF(14, 3));

    // Without the update that usually follows, the flags are back by the next turn of the loop.
    code->blockChangeSignals(true);
    second->moveBy(1000, 0);
    code->blockChangeSignals(blocked);
    QTRY_VERIFY(followsFlag(second));

    // And a move outside any group is told to the ends as before.
    first->moveBy(0, 2000);
    QCOMPARE(connection->sourcePosition(), from->mapToScene(3000, 0));
    QCOMPARE(wired.connection->nodePositions().first(), from->mapToScene(3000, 0) / 1000.0);
    // Back to back: one group move, then a single move before any update.
    code->blockChangeSignals(true);
    second->moveBy(0, 1000);
    code->blockChangeSignals(blocked);
    second->moveBy(0, 1000);
    QCOMPARE(connection->targetPosition(), to->mapToScene(3000, 0));
    QCOMPARE(wired.connection->nodePositions().last(), to->mapToScene(3000, 0) / 1000.0);
    QVERIFY(followsFlag(second));
}

void tst_BlockCodeScene::pinLookUpFollowsThePinChildren()
{
    TestModel model;
    Wired wired = placeWired(model);
    TestCodeScene scene(model.rootCode());
    BlockItem* block = scene.blockItemOf(wired.first);
    const auto firstChildWith = [block](int identifier) -> BlockPinItem* {
        for (QGraphicsItem* child : block->childItems()) {
            auto* pin = dynamic_cast<BlockPinItem*>(child);
            if (pin && pin->identifier() == identifier)
                return pin;
        }
        return nullptr;
    };
    for (int identifier : {1, 2, 3, 4, -1})
        QCOMPARE(block->pinItem(identifier), firstChildWith(identifier));
    BlockPinItem* output = block->pinItem(3);
    QVERIFY(output);

    // A second item for the same pin, made by hand, comes after the first in the children.
    auto* twin = new BlockPinItem(block, wired.first->pin(3));
    QCOMPARE(block->pinItem(3), firstChildWith(3));
    QCOMPARE(block->pinItem(3), output);
    delete output;
    QCOMPARE(block->pinItem(3), twin);
    // The connection's end finds the pin that is left, at the next update as well.
    QCOMPARE(scene.pinItemOf(wired.connection->source()), twin);
    scene.rebuild();
    QCOMPARE(scene.pinItemOf(wired.connection->source()), firstChildWith(3));
    QCOMPARE(scene.connectionItemMap().value(wired.connection)->sourcePosition(),
             firstChildWith(3)->mapToScene(3000, 0));
    delete firstChildWith(3);
    QCOMPARE(block->pinItem(3), nullptr);
}

ZK_TEST_REGISTER(tst_BlockCodeScene)
#include "tst_BlockCodeScene.moc"
