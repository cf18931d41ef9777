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
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockRepository.h"
#include "ModelBuilder.h"
#include "Project.h"
#include "SignalLabel.h"

#include <QPointer>
#include <QTest>

// The model may delete anything at any moment; whoever holds its objects through QPointer must
// see them go, and nothing left behind may dangle.
class tst_Lifetime : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void blockDeletedUnderInstances();
    void composedBlockDeletedUnderHierarchy();
    void instanceDeletedUnderPinsAndWires();
    void areaDeletedWithLabelsAndNodes();
    void projectDeletedWithEverything();
    void containerRemovedWhileInUse();
};

void tst_Lifetime::blockDeletedUnderInstances()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockInstance* a = ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {});
    BlockInstance* n = ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_3"))->blockDefinition(0), {10, 0});
    QPointer<BlockPinConnection> wire = ModelBuilder::wire(code, a, 3, n, 1);
    QPointer<BlockPinInstance> pin = a->pin(3);
    QPointer<BlockDefinition> definition = a->blockDefinition();
    delete model.standard()->library()->removeBlock(QStringLiteral("StandardBlock_1"));
    QVERIFY(definition.isNull());
    QVERIFY(pin.isNull());
    QCOMPARE(a->blockDefinition(), nullptr);
    QCOMPARE(a->block(), nullptr);
    QVERIFY(a->pins().isEmpty());
    QVERIFY(a->error() != 0);
    QCOMPARE(a->title(), QString());
    QCOMPARE(a->numberText(), QString());
    QVERIFY(!wire.isNull());
    QCOMPARE(wire->source(), nullptr);
    QCOMPARE(wire->target(), n->pin(1));
    QVERIFY(!wire->isValid(model.area()));
    // The text form still names the block it was made of, so nothing is lost on the way back.
    QVERIFY(code->text({a->identifier()}).contains("Block=StandardBlock_1\n"));
    QCOMPARE(a->blockIdentifier(), QStringLiteral("StandardBlock_1"));
}

void tst_Lifetime::composedBlockDeletedUnderHierarchy()
{
    TestModel model;
    BlockInstance* regler = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_20"))->blockDefinition(0), {});
    BlockInstanceHierarchyNode* node = model.area()->hierarchy()->rootNode()->instanceNode(regler->identifier());
    QPointer<BlockInstanceHierarchyNode> inner = node->instanceNode(1u);
    QVERIFY(inner);
    QPointer<BlockCode> code = node->childCode();
    delete model.standard()->library()->removeBlock(QStringLiteral("StandardBlock_20"));
    QVERIFY(code.isNull());
    QCOMPARE(node->childCode(), nullptr);
    QVERIFY(node->instanceNodes().isEmpty());
    QCOMPARE(node->instanceNode(1u), nullptr);
    QTRY_VERIFY(inner.isNull());
}

void tst_Lifetime::instanceDeletedUnderPinsAndWires()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockInstance* a = ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {});
    BlockInstance* n = ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_3"))->blockDefinition(0), {10, 0});
    QPointer<BlockPinConnection> wire = ModelBuilder::wire(code, a, 3, n, 1);
    QPointer<BlockPinInstance> pin = a->pin(1);
    QPointer<BlockInstanceHierarchyNode> node = model.area()->hierarchy()->rootNode()->instanceNode(a->identifier());
    QPointer<SignalLabel> label = model.area()->hierarchy()->rootNode()->createSignalLabel(a->identifier(), 3, QStringLiteral("s"), 0);
    code->deleteInstance(a->identifier());
    QVERIFY(pin.isNull());
    QVERIFY(wire.isNull());
    QTRY_VERIFY(node.isNull());
    QTRY_VERIFY(label.isNull());
    QVERIFY(code->connectionsOf(n->pin(1)).isEmpty());
}

void tst_Lifetime::areaDeletedWithLabelsAndNodes()
{
    TestModel model;
    auto* area = new BlockInstanceArea(5, 0, 5);
    BlockInstance* a = ModelBuilder::place(area->rootDefinition()->code(), model.block(QStringLiteral("StandardBlock_20"))->blockDefinition(0), {});
    QPointer<BlockInstanceHierarchyNode> node = area->hierarchy()->rootNode()->instanceNode(a->identifier());
    QPointer<SignalLabel> label = area->hierarchy()->rootNode()->createSignalLabel(a->identifier(), 2, QStringLiteral("x"), 0);
    QPointer<BlockCode> code = area->rootDefinition()->code();
    const unsigned int before = model.block(QStringLiteral("StandardBlock_20"))->instanceCount();
    area->setOnline(true);
    delete area;
    QVERIFY(node.isNull());
    QVERIFY(label.isNull());
    QVERIFY(code.isNull());
    // The shared definition lost an instance and keeps its code.
    QCOMPARE(model.block(QStringLiteral("StandardBlock_20"))->instanceCount(), before - 1);
    QVERIFY(model.block(QStringLiteral("StandardBlock_20"))->blockDefinition(0)->code());
}

void tst_Lifetime::projectDeletedWithEverything()
{
    QPointer<BlockInstanceArea> area;
    QPointer<BlockLibraryContainer> container;
    QPointer<Block> block;
    {
        TestModel model;
        area = model.area();
        container = model.standard();
        block = model.block(QStringLiteral("StandardBlock_1"));
        ModelBuilder::place(model.rootCode(), block->blockDefinition(0), {});
    }
    QVERIFY(area.isNull());
    QVERIFY(container.isNull());
    QVERIFY(block.isNull());
    QVERIFY(BlockRepository::instance().containers().isEmpty());
}

void tst_Lifetime::containerRemovedWhileInUse()
{
    TestModel model;
    BlockInstance* a = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {});
    BlockLibraryContainer* container = BlockRepository::instance().removeContainer(model.standard()->identifier());
    QCOMPARE(container, model.standard());
    QCOMPARE(BlockRepository::instance().block(QStringLiteral("StandardBlock_1")), nullptr);
    // Still alive: the project owns it.
    QVERIFY(a->blockDefinition());
    QVERIFY(BlockRepository::instance().addContainer(container));
    QVERIFY(!BlockRepository::instance().addContainer(container));
}

ZK_TEST_REGISTER(tst_Lifetime)
#include "tst_Lifetime.moc"
