#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPinValueSource.h"
#include "Locator.h"
#include "ModelBuilder.h"
#include "SignalLabel.h"

#include <QSignalSpy>
#include <QTest>

class tst_Hierarchy : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void rootNode();
    void nodesMirrorNestedInstances();
    void locationPaths_data();
    void locationPaths();
    void lookupByPath_data();
    void lookupByPath();
    void followsDeletedAndAddedInstances();
    void definitionChangedOnReplace();
    void selfContainingDefinitionStops();
    void signalLabels();
    void areaRegistry();
    void areaOnline();
    void valueSourceAddressesAndObservation();
    void fallbackBlocksAndConversion();
    void unbindAndBindBlock();
    void createNewBlockVersion();
};

namespace {

// Root → "Regler" (StandardBlock_20, id 1) → AND (id 1 inside), plus an AND at the top (id 2).
void fillRoot(TestModel& model)
{
    BlockCode* code = model.rootCode();
    ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_20"))->blockDefinition(0), {2, 2});
    ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {12, 2});
}

} // namespace

void tst_Hierarchy::rootNode()
{
    TestModel model;
    BlockInstanceHierarchy* hierarchy = model.area()->hierarchy();
    QCOMPARE(hierarchy->area(), model.area());
    BlockInstanceHierarchyNode* root = hierarchy->rootNode();
    QVERIFY(root);
    QCOMPARE(root->hierarchy(), hierarchy);
    QCOMPARE(root->parentNode(), nullptr);
    QCOMPARE(root->blockInstance(), model.area()->rootInstance());
    QCOMPARE(root->blockInstance()->identifier(), 0u);
    QVERIFY(root->blockInstance()->block()->isRootBlock());
    QCOMPARE(root->locationPath(), QStringLiteral("A1:0"));
    QCOMPARE(model.globalArea()->hierarchy()->rootNode()->locationPath(), QStringLiteral("A0:0"));
    QVERIFY(root->instanceNodes().isEmpty());
    QCOMPARE(root->blockHierarchyNodeScene(), nullptr);
}

void tst_Hierarchy::nodesMirrorNestedInstances()
{
    TestModel model;
    fillRoot(model);
    BlockInstanceHierarchyNode* root = model.area()->hierarchy()->rootNode();
    QCOMPARE(root->instanceNodes(), (QList<int>{1, 2}));
    BlockInstanceHierarchyNode* regler = root->instanceNode(1u);
    QVERIFY(regler);
    QCOMPARE(regler->parentNode(), root);
    QCOMPARE(regler->instanceNodes(), (QList<int>{1}));
    BlockInstanceHierarchyNode* inner = regler->instanceNode(1u);
    QVERIFY(inner);
    QVERIFY(inner->instanceNodes().isEmpty());
    QCOMPARE(inner->blockInstance()->title(), QStringLiteral("UND"));
    QCOMPARE(root->instanceNode(2u)->childCode(), nullptr);
    QCOMPARE(model.area()->hierarchy()->nodeCount(), 4);
}

void tst_Hierarchy::locationPaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("pinPath");
    QTest::newRow("regler") << "A1:0.1" << "A1:0.1p2";
    QTest::newRow("inner and") << "A1:0.1.1" << "A1:0.1.1p2";
    QTest::newRow("top and") << "A1:0.2" << "A1:0.2p2";
}

void tst_Hierarchy::locationPaths()
{
    QFETCH(QString, path);
    QFETCH(QString, pinPath);
    TestModel model;
    fillRoot(model);
    BlockInstanceHierarchyNode* node = model.area()->hierarchy()->nodeForPath(path);
    QVERIFY(node);
    QCOMPARE(node->locationPath(), path);
    QCOMPARE(node->pinLocationPath(2), pinPath);
    const Locator locator(node->locationPath());
    QVERIFY(locator.hasLivingSpace());
    QCOMPARE(unsigned(locator.livingSpace()), model.area()->firstNumber());
    QCOMPARE(locator.hierarchyStack().first(), QStringLiteral("0"));
}

void tst_Hierarchy::lookupByPath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");
    QTest::newRow("full") << "A1:0.1.1" << "A1:0.1.1";
    QTest::newRow("without living space") << "0.1.1" << "A1:0.1.1";
    QTest::newRow("root") << "A1:0" << "A1:0";
    QTest::newRow("wrong living space") << "A7:0.1" << "";
    QTest::newRow("wrong root") << "A1:5.1" << "";
    QTest::newRow("unknown child") << "A1:0.9" << "";
    QTest::newRow("below a leaf") << "A1:0.2.1" << "";
    QTest::newRow("garbage") << "A1:0..1" << "";
    QTest::newRow("letters") << "A1:0.x" << "";
    QTest::newRow("empty") << "" << "";
}

void tst_Hierarchy::lookupByPath()
{
    QFETCH(QString, path);
    QFETCH(QString, expected);
    TestModel model;
    fillRoot(model);
    BlockInstanceHierarchyNode* root = model.area()->hierarchy()->rootNode();
    // Any node looks a whole path up from the root.
    BlockInstanceHierarchyNode* found = root->instanceNode(1u)->instanceNode(path);
    QCOMPARE(found ? found->locationPath() : QString(), expected);
}

void tst_Hierarchy::followsDeletedAndAddedInstances()
{
    TestModel model;
    fillRoot(model);
    BlockInstanceHierarchyNode* root = model.area()->hierarchy()->rootNode();
    QPointer<BlockInstanceHierarchyNode> regler = root->instanceNode(1u);
    model.rootCode()->deleteInstance(1);
    QCOMPARE(root->instanceNode(1u), nullptr);
    QCOMPARE(root->instanceNodes(), (QList<int>{2}));
    // Gone from the tree at once, deleted when control returns to the event loop.
    QTRY_VERIFY(regler.isNull());
    BlockInstance* added = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_20"))->blockDefinition(0), {});
    QVERIFY(root->instanceNode(added->identifier()));
    QCOMPARE(root->instanceNode(added->identifier())->instanceNodes().size(), 1);
    // A change inside a shared definition reaches every node that shows it.
    BlockCode* inner = model.block(QStringLiteral("StandardBlock_20"))->blockDefinition(0)->code();
    ModelBuilder::place(inner, model.block(QStringLiteral("StandardBlock_3"))->blockDefinition(0), {});
    QCOMPARE(root->instanceNode(added->identifier())->instanceNodes().size(), 2);
}

void tst_Hierarchy::definitionChangedOnReplace()
{
    TestModel model;
    fillRoot(model);
    BlockInstanceHierarchyNode* node = model.area()->hierarchy()->rootNode()->instanceNode(2u);
    QSignalSpy spy(node, &BlockInstanceHierarchyNode::definitionChanged);
    model.rootCode()->replaceInstanceDefinition(2, model.block(QStringLiteral("StandardBlock_20"))->blockDefinition(0), model.area());
    QCOMPARE(spy.count(), 1);
    // The same node now has the children of the new definition.
    QCOMPARE(model.area()->hierarchy()->rootNode()->instanceNode(2u), node);
    QCOMPARE(node->instanceNodes().size(), 1);
}

void tst_Hierarchy::selfContainingDefinitionStops()
{
    TestModel model;
    // A user block A that contains B, and B that contains A.
    BlockLibrary* lib = model.user()->library();
    Block* a = ModelBuilder::composite(lib, QStringLiteral("UserBlock_A"), QStringLiteral("A"), {}, {});
    Block* b = ModelBuilder::composite(lib, QStringLiteral("UserBlock_B"), QStringLiteral("B"), {}, {});
    ModelBuilder::place(a->blockDefinition(0)->code(), b->blockDefinition(0), {});
    ModelBuilder::place(b->blockDefinition(0)->code(), a->blockDefinition(0), {});
    // A definition cannot hold itself directly.
    QCOMPARE(a->blockDefinition(0)->code()->createInstanceInRealtimeTask(a->blockDefinition(0)), nullptr);
    ModelBuilder::place(model.rootCode(), a->blockDefinition(0), {});
    BlockInstanceHierarchy* hierarchy = model.area()->hierarchy();
    BlockInstanceHierarchyNode* nodeA = hierarchy->nodeForPath(QStringLiteral("A1:0.1"));
    BlockInstanceHierarchyNode* nodeB = hierarchy->nodeForPath(QStringLiteral("A1:0.1.1"));
    BlockInstanceHierarchyNode* nodeA2 = hierarchy->nodeForPath(QStringLiteral("A1:0.1.1.1"));
    QVERIFY(nodeA && nodeB && nodeA2);
    QVERIFY(!nodeA->isRecursionStop());
    QVERIFY(nodeA2->isRecursionStop());
    QVERIFY(nodeA2->instanceNodes().isEmpty());
    QCOMPARE(hierarchy->nodeCount(), 4);
}

void tst_Hierarchy::signalLabels()
{
    TestModel model;
    fillRoot(model);
    BlockInstanceHierarchyNode* root = model.area()->hierarchy()->rootNode();
    QSignalSpy spy(root, &BlockInstanceHierarchyNode::signalLabelsChanged);
    QCOMPARE(root->createSignalLabel(99, 3, QStringLiteral("x"), 0), nullptr);
    QCOMPARE(root->createSignalLabel(2, 42, QStringLiteral("x"), 0), nullptr);
    SignalLabel* a = root->createSignalLabel(2, 3, QStringLiteral("Start"), 0);
    SignalLabel* b = root->createSignalLabel(2, 1, QStringLiteral("Stop"), 0);
    QVERIFY(a && b);
    QCOMPARE(spy.count(), 2);
    QVERIFY(a->identifier() != b->identifier());
    QCOMPARE(a->instanceIdentifier(), 2u);
    QCOMPARE(a->pinIdentifier(), 3);
    QCOMPARE(a->node(), root);
    QCOMPARE(a->pinPath(), QStringLiteral("A1:0.2p3"));
    QCOMPARE(root->signalLabels().size(), 2);
    QCOMPARE(root->signalLabels(2, 3), QList<SignalLabel*>{a});
    QSignalSpy props(a, &SignalLabel::propertiesChanged);
    a->setName(QStringLiteral("Start"));
    QCOMPARE(props.count(), 0);
    a->setName(QStringLiteral("Anlauf"));
    QCOMPARE(props.count(), 1);
    QCOMPARE(props.first().first().toString(), QStringLiteral("Name"));
    QPointer<SignalLabel> guard(b);
    QVERIFY(root->deleteSignalLabel(b));
    QVERIFY(guard.isNull());
    QVERIFY(!root->deleteSignalLabel(nullptr));
    QCOMPARE(root->signalLabels().size(), 1);
}

void tst_Hierarchy::areaRegistry()
{
    const int before = int(BlockInstanceArea::allAreas().size());
    {
        TestModel model;
        QCOMPARE(BlockInstanceArea::allAreas().size(), before + 2);
        QSignalSpy spy(model.area(), &BlockInstanceArea::allAreasChanged);
        auto* extra = new BlockInstanceArea(9, 1, 9);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(BlockInstanceArea::areaForLivingSpace(9), extra);
        delete extra;
        QCOMPARE(spy.count(), 2);
        QCOMPARE(BlockInstanceArea::areaForLivingSpace(9), nullptr);
        QCOMPARE(model.globalArea()->firstNumber(), 0u);
        QCOMPARE(model.area()->displayName(), QStringLiteral("Achse 1"));
    }
    QCOMPARE(BlockInstanceArea::allAreas().size(), before);
}

void tst_Hierarchy::areaOnline()
{
    TestModel model;
    BlockInstanceArea* area = model.area();
    QSignalSpy spy(area, &BlockInstanceArea::onlineChanged);
    QVERIFY(!area->isOnline());
    QVERIFY(area->setOnline(true));
    QVERIFY(area->setOnline(true));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().first().toBool(), true);
    area->setOnline(false);
    QCOMPARE(spy.count(), 2);
    area->setHasOwnProgram(false);
    QCOMPARE(area->pinValueSource(), nullptr);
    QVERIFY(!area->setOnline(true));
    QCOMPARE(spy.count(), 2);
}

void tst_Hierarchy::valueSourceAddressesAndObservation()
{
    TestModel model;
    BlockPinValueSource* source = model.area()->pinValueSource();
    QVERIFY(source);
    const unsigned int a = source->memoryAddress(QStringLiteral("A1:0.1p1"));
    const unsigned int b = source->memoryAddress(QStringLiteral("A1:0.1i1;{S1}"));
    QVERIFY(a != b);
    QCOMPARE(source->memoryAddress(QStringLiteral("A1:0.1p1")), a);
    QSignalSpy spy(source, &BlockPinValueSource::blockPinCurrentValueChanged);
    source->publishValue(QStringLiteral("A1:0.1p1"), QStringLiteral("TRUE"));
    QCOMPARE(spy.count(), 0); // nobody watches
    source->setObserved(QStringLiteral("A1:0.1p1"), true);
    source->setObserved(QStringLiteral("A1:0.1p1"), true);
    // A new observer learns the value once, though it did not change...
    source->publishValue(QStringLiteral("A1:0.1p1"), QStringLiteral("TRUE"));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.last().at(1).toString(), QStringLiteral("TRUE"));
    // ...and after that only changes are reported.
    source->publishValue(QStringLiteral("A1:0.1p1"), QStringLiteral("TRUE"));
    QCOMPARE(spy.count(), 1);
    source->publishValue(QStringLiteral("A1:0.1p1"), QStringLiteral("FALSE"));
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.last().at(0).toString(), QStringLiteral("A1:0.1p1"));
    QCOMPARE(spy.last().at(1).toString(), QStringLiteral("FALSE"));
    source->setObserved(QStringLiteral("A1:0.1p1"), false);
    QVERIFY(source->isObserved(QStringLiteral("A1:0.1p1")));
    source->setObserved(QStringLiteral("A1:0.1p1"), false);
    QVERIFY(!source->isObserved(QStringLiteral("A1:0.1p1")));
    source->publishValue(QStringLiteral("A1:0.1p1"), QStringLiteral("TRUE"));
    QCOMPARE(spy.count(), 2);
}

void tst_Hierarchy::fallbackBlocksAndConversion()
{
    TestModel model;
    QVERIFY(!model.area()->hasFallbackBlocks());
    BlockLibrary* local = model.area()->rootDefinition()->localBlockLibrary();
    Block* fallback = Block::createBlock(QStringLiteral("StandardBlock_999"));
    fallback->setFallbackBlock(true);
    fallback->createDefinition(3);
    local->insertBlock(fallback);
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), fallback->blockDefinition(3), {});
    QVERIFY(instance->error() != 0);
    QVERIFY(!fallback->isLocalBlock());
    QVERIFY(model.area()->hasFallbackBlocks());
    QVERIFY(!fallback->blockDefinition(3)->isWritable());
    model.area()->convertFallbackBlocks();
    QVERIFY(!model.area()->hasFallbackBlocks());
    QVERIFY(fallback->isLocalBlock());
    QCOMPARE(instance->error(), 0);
}

void tst_Hierarchy::unbindAndBindBlock()
{
    TestModel model;
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_20"))->blockDefinition(0), {});
    instance->unbindBlock();
    Block* local = instance->block();
    QVERIFY(local->isLocalBlock());
    QCOMPARE(local->originIdentifier(), QStringLiteral("StandardBlock_20"));
    QCOMPARE(local->name().text(), QStringLiteral("Regler"));
    QCOMPARE(instance->blockDefinition()->code()->instances().size(), 1);
    QVERIFY(instance->blockDefinition()->isWritable());
    // The hierarchy follows into the local copy.
    BlockInstanceHierarchyNode* node = model.area()->hierarchy()->rootNode()->instanceNode(instance->identifier());
    QCOMPARE(node->childCode(), instance->blockDefinition()->code());
    instance->bindBlock();
    QCOMPARE(instance->block(), model.block(QStringLiteral("StandardBlock_20")));
}

void tst_Hierarchy::createNewBlockVersion()
{
    TestModel model;
    Block* user = ModelBuilder::composite(model.user()->library(), QStringLiteral("UserBlock_V"), QStringLiteral("V"), {}, {});
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), user->blockDefinition(0), {});
    instance->createNewBlockVersion();
    QCOMPARE(user->versions(), (QList<unsigned int>{0, 1}));
    QCOMPARE(instance->version(), 1u);
    // Standard material gets no new version.
    BlockInstance* standard = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {});
    standard->createNewBlockVersion();
    QCOMPARE(model.block(QStringLiteral("StandardBlock_1"))->versions(), QList<unsigned int>{0});
}

ZK_TEST_REGISTER(tst_Hierarchy)
#include "tst_Hierarchy.moc"
