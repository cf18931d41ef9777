#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockHierarchyNodeScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockLibraryContainer.h"
#include "BlockPinItem.h"
#include "BlockPinValueSource.h"
#include "ModelBuilder.h"
#include "SceneMetrics.h"
#include "SignalLabel.h"
#include "SignalLabelHostItem.h"
#include "SignalLabelItem.h"
#include "System.h"

#include <QApplication>
#include <QGraphicsSceneWheelEvent>
#include <QMimeData>
#include <QPointer>
#include <QSignalBlocker>
#include <QTest>

#include <memory>

namespace {

void activate(QGraphicsScene* scene)
{
    QEvent event(QEvent::WindowActivate);
    QApplication::sendEvent(scene, &event);
}

} // namespace

class tst_BlockHierarchyNodeScene : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void sceneIsTheNodesChild();
    void contract();
    void showsTheCodeOfTheNodesInstance();
    void forNodeTwiceReturnsTheSameSceneAndRebuilds();
    void codeChangesReachTheScene();
    void pinDisplayModeSlots_data();
    void pinDisplayModeSlots();
    void modeByNumberLeavesTheNamesAlone();
    void currentValueModeWhileOffline();
    void goingOfflineShowsNamesAndOnlineKeepsThem();
    void rebuildDoesNotApplyTheMode();
    void replacedDefinitionSwitchesTheCode();
    void signalLabelsAreAttachedAfterEachRebuild();
    void labelOfAMissingPinIsPassedOver();
    void labelOfAMissingInstanceIsPassedOver();
    void dropChangesNothing();
    void clickingNeverStartsAConnection();
    void wheelIsLeftToTheView();
    void keysReachTheCodeScene();
    void sceneDiesWithItsNode();

private:
    std::unique_ptr<TestModel> m_model;
    BlockCode* m_root = nullptr;
    BlockInstanceHierarchyNode* m_rootNode = nullptr;
    BlockInstance* m_and = nullptr;
    BlockInstance* m_not = nullptr;
    BlockInstance* m_regler = nullptr;
};

void tst_BlockHierarchyNodeScene::init()
{
    m_model = std::make_unique<TestModel>();
    m_root = m_model->rootCode();
    m_and = ModelBuilder::place(m_root, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
    m_not = ModelBuilder::place(m_root, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {40, 10});
    m_regler = ModelBuilder::place(m_root, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))), {20, 30});
    ModelBuilder::wire(m_root, m_and, 3, m_not, 1);
    m_rootNode = m_model->area()->hierarchy()->rootNode();
}

void tst_BlockHierarchyNodeScene::cleanup()
{
    m_model.reset();
}

void tst_BlockHierarchyNodeScene::sceneIsTheNodesChild()
{
    QVERIFY(!m_rootNode->blockHierarchyNodeScene());
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    QVERIFY(scene);
    QCOMPARE(scene->parent(), m_rootNode);
    QCOMPARE(m_rootNode->blockHierarchyNodeScene(), scene);
}

void tst_BlockHierarchyNodeScene::contract()
{
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    QVERIFY(!scene->isDefinitionScene());
    QVERIFY(scene->isHierarchyNodeScene());
    QVERIFY(scene->isReadOnly());
    scene->setReadOnly(false);
    QVERIFY(scene->isReadOnly());
    QCOMPARE(scene->hierarchyNode(), m_rootNode);
    QVERIFY(!scene->instanceArea());
    QCOMPARE(scene->sceneArea(), m_model->area());
    QCOMPARE(scene->blockCode(), m_root);
    QCOMPARE(scene->pinDisplayMode(), 0);
}

void tst_BlockHierarchyNodeScene::showsTheCodeOfTheNodesInstance()
{
    BlockHierarchyNodeScene* rootScene = BlockHierarchyNodeScene::forNode(m_rootNode);
    QCOMPARE(rootScene->blockItemMap().keys(),
             QList<unsigned int>({m_and->identifier(), m_not->identifier(), m_regler->identifier()}));
    QCOMPARE(rootScene->connectionItemMap().size(), 1);

    BlockInstanceHierarchyNode* node = m_rootNode->instanceNode(m_regler->identifier());
    QVERIFY(node);
    BlockHierarchyNodeScene* inner = BlockHierarchyNodeScene::forNode(node);
    QVERIFY(inner != rootScene);
    BlockCode* innerCode = m_regler->blockDefinition()->code();
    QCOMPARE(inner->blockCode(), innerCode);
    QCOMPARE(inner->blockItemMap().size(), innerCode->instances().size());
    QCOMPARE(inner->blockItemMap().first()->blockInstance(), innerCode->instances().first());
}

void tst_BlockHierarchyNodeScene::forNodeTwiceReturnsTheSameSceneAndRebuilds()
{
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    // A change the scene doesn't hear: only the second forNode can bring its item.
    const bool saved = m_root->blockChangeSignals(true);
    BlockInstance* added = ModelBuilder::place(m_root, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_2"))), {60, 10});
    m_root->blockChangeSignals(saved);
    QVERIFY(!scene->blockItem(added->identifier()));

    QCOMPARE(BlockHierarchyNodeScene::forNode(m_rootNode), scene);
    QVERIFY(scene->blockItem(added->identifier()));
    QCOMPARE(m_rootNode->findChildren<BlockHierarchyNodeScene*>(Qt::FindDirectChildrenOnly).size(), 1);
}

void tst_BlockHierarchyNodeScene::codeChangesReachTheScene()
{
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    BlockInstance* added = ModelBuilder::place(m_root, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_2"))), {60, 10});
    QVERIFY(scene->blockItem(added->identifier()));
}

void tst_BlockHierarchyNodeScene::pinDisplayModeSlots_data()
{
    QTest::addColumn<int>("mode");
    QTest::newRow("location path") << 1;
    QTest::newRow("memory address") << 2;
    QTest::newRow("current value") << 3;
    QTest::newRow("name") << 0;
}

void tst_BlockHierarchyNodeScene::pinDisplayModeSlots()
{
    QFETCH(int, mode);
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    // Start away from the wanted mode, so that every row sees a change.
    scene->showPinsLocationPath();
    if (mode == 1)
        scene->showPinsName();
    showPinsAs(scene, mode);
    QCOMPARE(scene->pinDisplayMode(), mode);
    int pins = 0;
    const QMap<unsigned int, BlockItem*> blocks = scene->blockItemMap();
    for (BlockItem* block : blocks) {
        const QList<BlockPinItem*> items = block->pinItems();
        for (BlockPinItem* pin : items) {
            QCOMPARE(pin->displayMode(), mode);
            ++pins;
        }
    }
    // AND 3 + enable, NOT 2 + enable, Regler 2 + enable: every block's pins are reached.
    QVERIFY(pins >= 7);
    BlockPinItem* output = scene->blockItem(m_and->identifier())->pinItem(3);
    const QString path = output->locationPath();
    QCOMPARE(m_model->area()->pinValueSource()->isObserved(path), mode == 3);
    if (mode == 1)
        QCOMPARE(output->displayText(), path);
    if (mode == 3)
        QCOMPARE(output->displayText(), QStringLiteral("..."));
}

void tst_BlockHierarchyNodeScene::modeByNumberLeavesTheNamesAlone()
{
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    scene->showPinsInMode(PinDisplay::MemoryAddress);
    QCOMPARE(scene->pinDisplayMode(), int(PinDisplay::MemoryAddress));
    // A carried-over name mode, or a number that names no mode, changes nothing.
    scene->showPinsInMode(PinDisplay::Name);
    QCOMPARE(scene->pinDisplayMode(), int(PinDisplay::MemoryAddress));
    scene->showPinsInMode(7);
    QCOMPARE(scene->pinDisplayMode(), int(PinDisplay::MemoryAddress));
    scene->showPinsInMode(PinDisplay::LocationPath);
    QCOMPARE(scene->pinDisplayMode(), int(PinDisplay::LocationPath));
}

void tst_BlockHierarchyNodeScene::currentValueModeWhileOffline()
{
    QVERIFY(!m_model->area()->isOnline());
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    scene->showPinsCurrentValue();
    QCOMPARE(scene->pinDisplayMode(), 3);
    QCOMPARE(scene->blockItem(m_not->identifier())->pinItem(2)->displayMode(), 3);
}

void tst_BlockHierarchyNodeScene::goingOfflineShowsNamesAndOnlineKeepsThem()
{
    BlockInstanceArea* area = m_model->area();
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    QVERIFY(area->setOnline(true));
    QCOMPARE(scene->pinDisplayMode(), 0);
    scene->showPinsCurrentValue();
    BlockPinItem* output = scene->blockItem(m_and->identifier())->pinItem(3);
    QVERIFY(area->pinValueSource()->isObserved(output->locationPath()));

    QVERIFY(area->setOnline(false));
    QCOMPARE(scene->pinDisplayMode(), 0);
    QCOMPARE(output->displayMode(), 0);
    QVERIFY(!area->pinValueSource()->isObserved(output->locationPath()));
    QCOMPARE(output->displayText(), QStringLiteral("A (BOOL)"));

    QVERIFY(area->setOnline(true));
    QCOMPARE(scene->pinDisplayMode(), 0);
    QCOMPARE(output->displayMode(), 0);
    QVERIFY(area->setOnline(false));
}

void tst_BlockHierarchyNodeScene::rebuildDoesNotApplyTheMode()
{
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    scene->showPinsLocationPath();
    BlockInstance* added = ModelBuilder::place(m_root, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_2"))), {60, 10});
    BlockItem* item = scene->blockItem(added->identifier());
    QVERIFY(item);
    QCOMPARE(scene->pinDisplayMode(), 1);
    QCOMPARE(item->pinItem(3)->displayMode(), 0);
    QCOMPARE(scene->blockItem(m_and->identifier())->pinItem(3)->displayMode(), 1);
    scene->showPinsLocationPath();
    QCOMPARE(item->pinItem(3)->displayMode(), 1);
}

void tst_BlockHierarchyNodeScene::replacedDefinitionSwitchesTheCode()
{
    BlockLibrary* library = m_model->standard()->library();
    Block* other = ModelBuilder::composite(library, QStringLiteral("StandardBlock_21"), QStringLiteral("Regler2"),
                                           {{QStringLiteral("E"), DatatypeProvider::Bool}},
                                           {{QStringLiteral("A"), DatatypeProvider::Bool}});
    BlockCode* newCode = ModelBuilder::newest(other)->code();
    ModelBuilder::place(newCode, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_2"))), {5, 5});
    BlockCode* oldCode = m_regler->blockDefinition()->code();

    BlockInstanceHierarchyNode* node = m_rootNode->instanceNode(m_regler->identifier());
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(node);
    QCOMPARE(scene->blockCode(), oldCode);

    QVERIFY(m_root->replaceInstanceDefinition(m_regler->identifier(), ModelBuilder::newest(other), m_model->area()));
    QCOMPARE(m_rootNode->instanceNode(m_regler->identifier()), node);
    QCOMPARE(scene->blockCode(), newCode);
    QCOMPARE(scene->blockItemMap().size(), 1);
    QCOMPARE(scene->blockItemMap().first()->blockInstance(), newCode->instances().first());

    // Slip an instance into the new code unheard; a rebuild from the old code's signal would show it.
    const bool saved = newCode->blockChangeSignals(true);
    BlockInstance* silent = ModelBuilder::place(newCode, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {5, 15});
    newCode->blockChangeSignals(saved);
    ModelBuilder::place(oldCode, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {5, 25});
    QVERIFY(!scene->blockItem(silent->identifier()));

    BlockInstance* heard = ModelBuilder::place(newCode, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {5, 35});
    QVERIFY(scene->blockItem(heard->identifier()));
    QVERIFY(scene->blockItem(silent->identifier()));
}

void tst_BlockHierarchyNodeScene::signalLabelsAreAttachedAfterEachRebuild()
{
    SignalLabel* label = m_rootNode->createSignalLabel(m_and->identifier(), 3, QStringLiteral("Pumpe"), 0);
    QVERIFY(label);
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    SignalLabelHostItem* host = scene->blockItem(m_and->identifier())->pinItem(3)->signalLabelHost();
    QVERIFY(host);
    QVERIFY(host->labelItem(label));
    QVERIFY(host->isVisible());
    // Rebuilding hands the label on again, which must not double its box.
    scene->rebuild();
    QCOMPARE(itemCount<SignalLabelItem>(scene), 1);

    // A label made after the scene appears with the next rebuild.
    SignalLabel* second = m_rootNode->createSignalLabel(m_not->identifier(), 1, QStringLiteral("Ventil"), 0);
    QVERIFY(second);
    BlockHierarchyNodeScene::forNode(m_rootNode);
    QVERIFY(scene->blockItem(m_not->identifier())->pinItem(1)->signalLabelHost()->labelItem(second));
    QCOMPARE(itemCount<SignalLabelItem>(scene), 2);
}

void tst_BlockHierarchyNodeScene::labelOfAMissingPinIsPassedOver()
{
    SignalLabel* label = m_rootNode->createSignalLabel(m_and->identifier(), 3, QStringLiteral("Pumpe"), 0);
    QVERIFY(label);
    // Swap the AND for a NOT (pins 1 and 2) behind the hierarchy's back, so that the label stays
    // while its pin is gone.
    {
        const QSignalBlocker codeBlocker(m_root);
        const QSignalBlocker instanceBlocker(m_and);
        QVERIFY(m_root->replaceInstanceDefinition(m_and->identifier(),
                                                  ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))),
                                                  m_model->area()));
    }
    QVERIFY(m_rootNode->signalLabels().contains(label));
    QVERIFY(!m_and->pin(3));
    const int messages = System::instance().messageCount();

    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    QVERIFY(scene->blockItem(m_and->identifier()));
    QVERIFY(!scene->blockItem(m_and->identifier())->pinItem(3));
    QCOMPARE(itemCount<SignalLabelItem>(scene), 0);
    QCOMPARE(System::instance().messageCount(), messages);
}

void tst_BlockHierarchyNodeScene::labelOfAMissingInstanceIsPassedOver()
{
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    activate(scene);
    QVERIFY(scene->isActive());
    SignalLabel* label = m_rootNode->createSignalLabel(m_not->identifier(), 2, QStringLiteral("Ausgang"), 0);
    QVERIFY(label);
    const unsigned int gone = m_not->identifier();
    {
        const QSignalBlocker codeBlocker(m_root);
        m_root->deleteInstance(gone);
    }
    QVERIFY(m_rootNode->signalLabels().contains(label));
    const int messages = System::instance().messageCount();

    BlockHierarchyNodeScene::forNode(m_rootNode);
    QVERIFY(!scene->blockItem(gone));
    QCOMPARE(itemCount<SignalLabelItem>(scene), 0);
    QCOMPARE(System::instance().messageCount(), messages);
}

void tst_BlockHierarchyNodeScene::dropChangesNothing()
{
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    const qsizetype before = m_root->instances().size();
    QMimeData data;
    data.setData(QStringLiteral("zk6/blockdefinitionidentifier"), QByteArrayLiteral("StandardBlock_2;0"));
    const QPointF at(70000, 70000);
    sendSceneDrag(scene, QEvent::GraphicsSceneDragEnter, &data, at);
    sendSceneDrag(scene, QEvent::GraphicsSceneDragMove, &data, at);
    sendSceneDrag(scene, QEvent::GraphicsSceneDrop, &data, at);
    QCOMPARE(m_root->instances().size(), before);
    QCOMPARE(scene->blockItemMap().size(), before);
}

void tst_BlockHierarchyNodeScene::clickingNeverStartsAConnection()
{
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    BlockPinItem* from = scene->blockItem(m_and->identifier())->pinItem(3);
    BlockPinItem* to = scene->blockItem(m_regler->identifier())->pinItem(1);
    const QPointF start = from->mapToScene(from->rect().center());
    const QPointF end = to->mapToScene(to->rect().center());
    QCOMPARE(scene->pinItemAt(start), from);
    QCOMPARE(scene->pinItemAt(end), to);
    const qsizetype before = m_root->connections().size();
    const qsizetype itemsBefore = scene->items().size();
    sendSceneMouse(scene, QEvent::GraphicsSceneMousePress, start);
    sendSceneMouse(scene, QEvent::GraphicsSceneMouseMove, (start + end) / 2);
    sendSceneMouse(scene, QEvent::GraphicsSceneMouseMove, end);
    sendSceneMouse(scene, QEvent::GraphicsSceneMouseRelease, end);
    QCOMPARE(m_root->connections().size(), before);
    QCOMPARE(scene->items().size(), itemsBefore);
}

void tst_BlockHierarchyNodeScene::wheelIsLeftToTheView()
{
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    QGraphicsSceneWheelEvent event(QEvent::GraphicsSceneWheel);
    event.setScenePos(scene->blockItem(m_and->identifier())->sceneBoundingRect().center());
    event.setDelta(120);
    event.setOrientation(Qt::Vertical);
    event.setAccepted(true);
    QApplication::sendEvent(scene, &event);
    QVERIFY(!event.isAccepted());
}

void tst_BlockHierarchyNodeScene::keysReachTheCodeScene()
{
    BlockHierarchyNodeScene* scene = BlockHierarchyNodeScene::forNode(m_rootNode);
    QVERIFY(sendSceneKey(scene, Qt::Key_A, Qt::ControlModifier));
    QCOMPARE(scene->selectedBlockItems().size(), 3);
    QCOMPARE(scene->selectedConnectionItems().size(), 1);
}

void tst_BlockHierarchyNodeScene::sceneDiesWithItsNode()
{
    BlockInstanceHierarchyNode* node = m_rootNode->instanceNode(m_regler->identifier());
    QPointer<BlockHierarchyNodeScene> scene = BlockHierarchyNodeScene::forNode(node);
    scene->showPinsCurrentValue();
    QPointer<BlockHierarchyNodeScene> rootScene = BlockHierarchyNodeScene::forNode(m_rootNode);
    m_root->deleteInstance(m_regler->identifier());
    m_regler = nullptr;
    // The model lets a detached node go later, for its scene may be busy in the event at hand.
    QVERIFY(scene);
    QVERIFY(!scene->blockCode());
    QTRY_VERIFY(!scene);
    QVERIFY(rootScene);
}

ZK_TEST_REGISTER(tst_BlockHierarchyNodeScene)
#include "tst_BlockHierarchyNodeScene.moc"
