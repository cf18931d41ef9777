#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibraryContainer.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "ModelBuilder.h"
#include "SignalLabel.h"
#include "System.h"

#include <QFile>
#include <QMimeData>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

class tst_BlockCode : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void createInstanceAssignsIdentifiersAndOrder();
    void createInstanceRefusesNullAndSelf();
    void deleteInstanceTakesConnections();
    void replaceKeepsIdentifier();
    void createConnectionRules();
    void connectionSemantics();
    void highlightedSignalOnlyOnRealChange();
    void changeSignalDiscipline();
    void changeSignalNotAfterUnchangedWrites();
    void structureSignalNeverBlocked();
    void realtimeOrdering_data();
    void realtimeOrdering();
    void textRoundTripUnderOldIdentifiers();
    void textRestoresWiresToRemainingBlocks();
    void restoreIsOneChange();
    void restoredWiresGoBackToTheirPlaces();
    void runtimeAbsoluteRestoresPosition();
    void freshIdentifiersOnRestore();
    void corruptTextChangesNothing_data();
    void corruptTextChangesNothing();
    void signalLabelsRoundTrip();
    void exportToTextFile();
    void variantPinsFollowPartner();
    void variantPinsOfEveryInstanceFollow();
    void pinRemovalLeavesDanglingEnd();
    void constantTypeFromParameters();
};

void tst_BlockCode::createInstanceAssignsIdentifiersAndOrder()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    BlockInstance* a = code->createInstanceInRealtimeTask(andDef);
    BlockInstance* b = code->createInstanceInRealtimeTask(andDef);
    QVERIFY(a && b);
    QCOMPARE(a->identifier(), 1u);
    QCOMPARE(b->identifier(), 2u);
    QCOMPARE(code->realtime(1), 1u);
    QCOMPARE(code->realtime(2), 2u);
    QCOMPARE(code->background(1), 0u);
    QCOMPARE(code->instance(2), b);
    QCOMPARE(code->instance(3), nullptr);
    QCOMPARE(a->ownerCode(), code);
    QCOMPARE(a->pins().size(), 3);
    QCOMPARE(a->pin(3)->function(), BlockPinFunctionOutput);
    QCOMPARE(a->pin(1)->function(), BlockPinFunctionInput);
    QCOMPARE(a->pin(-1), nullptr);
    QCOMPARE(a->numberText(), QStringLiteral("1"));
    QCOMPARE(a->title(), QStringLiteral("UND"));
    QCOMPARE(a->version(), 0u);
    QCOMPARE(a->code(model.area()), nullptr);
    QCOMPARE(BlockCode::blockDefinitionCode(model.area()->rootDefinition()), code);
    QCOMPARE(code->blockDefinition(), model.area()->rootDefinition());
    // Identifiers are not reused while the highest one lives.
    code->deleteInstance(1);
    QCOMPARE(code->createInstanceInRealtimeTask(andDef)->identifier(), 3u);
}

void tst_BlockCode::createInstanceRefusesNullAndSelf()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    QCOMPARE(code->createInstanceInRealtimeTask(nullptr), nullptr);
    QCOMPARE(code->createInstanceInRealtimeTask(model.area()->rootDefinition()), nullptr);
    QVERIFY(code->instances().isEmpty());
}

void tst_BlockCode::deleteInstanceTakesConnections()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    BlockInstance* a = ModelBuilder::place(code, andDef, QPointF(0, 0));
    BlockInstance* b = ModelBuilder::place(code, andDef, QPointF(10, 0));
    BlockInstance* c = ModelBuilder::place(code, andDef, QPointF(20, 0));
    QPointer<BlockPinConnection> ab = ModelBuilder::wire(code, a, 3, b, 1);
    QPointer<BlockPinConnection> bc = ModelBuilder::wire(code, b, 3, c, 1);
    QVERIFY(ab && bc);
    QPointer<BlockInstance> guard(b);
    code->deleteInstance(b->identifier());
    QVERIFY(guard.isNull());
    QVERIFY(ab.isNull());
    QVERIFY(bc.isNull());
    QCOMPARE(code->connections().size(), 0);
    QCOMPARE(code->realtimeOrder(), (QList<unsigned int>{a->identifier(), c->identifier()}));
    code->deleteInstance(999);
    QCOMPARE(code->instances().size(), 2);
}

void tst_BlockCode::replaceKeepsIdentifier()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockInstance* a = ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), QPointF(3, 4));
    BlockInstance* b = ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_3"))->blockDefinition(0), QPointF(9, 4));
    ModelBuilder::wire(code, a, 3, b, 1);
    QSignalSpy definitionSpy(a, &BlockInstance::definitionChanged);
    BlockDefinition* orDef = model.block(QStringLiteral("StandardBlock_2"))->blockDefinition(0);
    BlockInstance* replaced = code->replaceInstanceDefinition(a->identifier(), orDef, model.area());
    QCOMPARE(replaced, a);
    QCOMPARE(a->blockDefinition(), orDef);
    QCOMPARE(a->position(), QPointF(3, 4));
    QCOMPARE(definitionSpy.count(), 1);
    // Pin 3 exists on both: the wire stays.
    QCOMPARE(code->connections().size(), 1);
    QCOMPARE(code->connections().first()->source(), a->pin(3));
    QCOMPARE(code->replaceInstanceDefinition(77, orDef, nullptr), nullptr);
    QCOMPARE(code->replaceInstanceDefinition(a->identifier(), nullptr, nullptr), nullptr);
}

void tst_BlockCode::createConnectionRules()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    BlockInstance* a = ModelBuilder::place(code, andDef, QPointF(0, 0));
    BlockInstance* b = ModelBuilder::place(code, andDef, QPointF(10, 0));
    QCOMPARE(code->createConnection(nullptr, b->pin(1)), nullptr);
    QCOMPARE(code->createConnection(a->pin(1), b->pin(1)), nullptr);  // two inputs
    QCOMPARE(code->createConnection(a->pin(3), b->pin(3)), nullptr);  // two outputs
    QCOMPARE(code->createConnection(a->pin(3), a->pin(3)), nullptr);
    // The order of the arguments does not matter: the model finds source and target.
    BlockPinConnection* c = code->createConnection(b->pin(2), a->pin(3));
    QVERIFY(c);
    QCOMPARE(c->source(), a->pin(3));
    QCOMPARE(c->target(), b->pin(2));
    QVERIFY(c->nodePositions().isEmpty());
    QCOMPARE(code->createConnection(a->pin(3), b->pin(2)), nullptr); // the same wire twice
    // A pin of another code is refused.
    BlockCode* other = model.block(QStringLiteral("StandardBlock_20"))->blockDefinition(0)->code();
    BlockInstance* foreign = other->instances().first();
    QCOMPARE(code->createConnection(a->pin(3), foreign->pin(1)), nullptr);
    QCOMPARE(code->connectionsOf(a->pin(3)), QList<BlockPinConnection*>{c});
    code->deleteConnection(c);
    QVERIFY(code->connections().isEmpty());
    QVERIFY(code->connectionsOf(a->pin(3)).isEmpty());
    code->deleteConnection(nullptr);
}

void tst_BlockCode::connectionSemantics()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    BlockDefinition* addDef = model.block(QStringLiteral("StandardBlock_10"))->blockDefinition(0);
    BlockInstance* a = ModelBuilder::place(code, andDef, QPointF(0, 0));
    BlockInstance* b = ModelBuilder::place(code, andDef, QPointF(10, 0));
    BlockInstance* c = ModelBuilder::place(code, andDef, QPointF(10, 10));
    BlockInstance* add = ModelBuilder::place(code, addDef, QPointF(20, 0));
    BlockPinConnection* ab = ModelBuilder::wire(code, a, 3, b, 1, {QPointF(3, 1), QPointF(6, 1), QPointF(10, 1)});
    BlockPinConnection* ac = ModelBuilder::wire(code, a, 3, c, 1);
    BlockPinConnection* badType = ModelBuilder::wire(code, b, 3, add, 1);
    QVERIFY(ab && ac && badType);
    QCOMPARE(ab->nodePositions().size(), 3);
    QVERIFY(ab->isValid(model.area()));
    QVERIFY(!badType->isValid(model.area()));
    QVERIFY(ab->isConnectedTo(a));
    QVERIFY(ab->isConnectedTo(b));
    QVERIFY(!ab->isConnectedTo(c));
    QVERIFY(ab->isConnectedTo(ac));   // one signal, fanned out
    QVERIFY(!ab->isConnectedTo(ab));
    QVERIFY(!ab->isConnectedTo(badType)); // they meet at block b, but on different pins: two signals
    QVERIFY(!ac->isConnectedTo(badType));
    ab->setTarget(nullptr);
    QVERIFY(!ab->isValid(model.area()));
    QCOMPARE(ab->target(), nullptr);
    QVERIFY(code->connectionsOf(b->pin(1)).isEmpty());
    ab->setTarget(c->pin(2));
    QCOMPARE(code->connectionsOf(c->pin(2)), QList<BlockPinConnection*>{ab});
}

void tst_BlockCode::highlightedSignalOnlyOnRealChange()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    BlockPinConnection* c = ModelBuilder::wire(code, ModelBuilder::place(code, andDef, {}), 3,
                                               ModelBuilder::place(code, andDef, {10, 0}), 1);
    QSignalSpy spy(c, &BlockPinConnection::highlightedChanged);
    c->setHighlighted(false);
    QCOMPARE(spy.count(), 0);
    c->setHighlighted(true);
    c->setHighlighted(true);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().first().toBool(), true);
    c->setHighlighted(false);
    QCOMPARE(spy.count(), 2);
}

void tst_BlockCode::changeSignalDiscipline()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    QSignalSpy spy(code, &BlockCode::changed);
    BlockInstance* a = code->createInstanceInRealtimeTask(andDef);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(code->blockChangeSignals(true), false);
    a->setPosition(QPointF(5, 5));
    a->setName(QStringLiteral("x"));
    a->pin(1)->setInverted(true);
    code->createInstanceInRealtimeTask(andDef);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(code->blockChangeSignals(true), true);
    QCOMPARE(code->blockChangeSignals(false), true);
    QCOMPARE(spy.count(), 1);
    code->sendBlockedChangeSignal();
    QCOMPARE(spy.count(), 2);
    // Nothing swallowed since: nothing to send.
    code->sendBlockedChangeSignal();
    QCOMPARE(spy.count(), 2);
    // Blocked without a change: nothing to send either.
    code->blockChangeSignals(true);
    code->blockChangeSignals(false);
    code->sendBlockedChangeSignal();
    QCOMPARE(spy.count(), 2);
    code->updateVariantPins(model.area());
    QCOMPARE(spy.count(), 2);
}

void tst_BlockCode::changeSignalNotAfterUnchangedWrites()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockInstance* a = ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), QPointF(1, 2));
    QSignalSpy spy(code, &BlockCode::changed);
    a->setPosition(QPointF(1, 2));
    a->setName(a->name());
    a->pin(1)->setInverted(false);
    a->pin(1)->setInitialValue(QString());
    code->setRealtime(a->identifier(), code->realtime(a->identifier()));
    QCOMPARE(spy.count(), 0);
    a->setPosition(QPointF(2, 2));
    QCOMPARE(spy.count(), 1);
}

void tst_BlockCode::structureSignalNeverBlocked()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    QSignalSpy added(code, &BlockCode::instanceAdded);
    QSignalSpy removed(code, &BlockCode::instanceRemoved);
    code->blockChangeSignals(true);
    BlockInstance* a = code->createInstanceInRealtimeTask(model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0));
    QCOMPARE(added.count(), 1);
    QCOMPARE(added.first().first().toUInt(), a->identifier());
    // The hierarchy already knows the new instance while the scene keeps quiet.
    QVERIFY(model.area()->hierarchy()->rootNode()->instanceNode(a->identifier()));
    const unsigned int id = a->identifier();
    code->deleteInstance(id);
    QCOMPARE(removed.count(), 1);
    QCOMPARE(model.area()->hierarchy()->rootNode()->instanceNode(id), nullptr);
    code->blockChangeSignals(false);
}

void tst_BlockCode::realtimeOrdering_data()
{
    QTest::addColumn<uint>("moved");
    QTest::addColumn<uint>("position");
    QTest::addColumn<QList<unsigned int>>("expected");
    QTest::newRow("to front") << 4u << 1u << QList<unsigned int>{4, 1, 2, 3};
    QTest::newRow("to back") << 1u << 4u << QList<unsigned int>{2, 3, 4, 1};
    QTest::newRow("beyond the end") << 2u << 99u << QList<unsigned int>{1, 3, 4, 2};
    QTest::newRow("out") << 3u << 0u << QList<unsigned int>{1, 2, 4};
    QTest::newRow("middle") << 1u << 3u << QList<unsigned int>{2, 3, 1, 4};
}

void tst_BlockCode::realtimeOrdering()
{
    QFETCH(uint, moved);
    QFETCH(uint, position);
    QFETCH(QList<unsigned int>, expected);
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    for (int i = 0; i < 4; ++i)
        code->createInstanceInRealtimeTask(andDef);
    code->setRealtime(moved, position);
    QCOMPARE(code->realtimeOrder(), expected);
    for (int i = 0; i < expected.size(); ++i)
        QCOMPARE(code->realtime(expected.at(i)), unsigned(i + 1));
    if (position == 0)
        QCOMPARE(code->realtime(moved), 0u);
    code->setBackground(moved, 1);
    QCOMPARE(code->background(moved), 1u);
}

void tst_BlockCode::textRoundTripUnderOldIdentifiers()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    BlockInstance* a = ModelBuilder::place(code, andDef, QPointF(1.5, 2.25));
    BlockInstance* b = ModelBuilder::place(code, andDef, QPointF(10, 0));
    a->setName(QStringLiteral("Zeile 1\nZeile 2 mit \\ und ="));
    a->setNote(QStringLiteral("Hinweis; mit Semikolon"));
    a->setParameterText(QStringLiteral("P1=5;P2=7"));
    a->pin(1)->setInverted(true);
    a->pin(2)->setInitialValue(QStringLiteral("TRUE;x"));
    a->pin(3)->setRemanent(true);
    a->setSize(QSizeF(6, 4));
    ModelBuilder::wire(code, a, 3, b, 1, {QPointF(3, 1), QPointF(7, 1)});
    const QList<unsigned int> ids{a->identifier(), b->identifier()};
    const QByteArray text = code->text(ids);
    QVERIFY(text.contains("Runtime="));
    code->deleteInstance(a->identifier());
    code->deleteInstance(b->identifier());
    QVERIFY(code->instances().isEmpty());
    code->restoreCodeFromText(text, false);
    QCOMPARE(instanceIds(code), ids);
    QCOMPARE(code->text(ids), text);
    BlockInstance* back = code->instance(ids.first());
    QCOMPARE(back->name(), QStringLiteral("Zeile 1\nZeile 2 mit \\ und ="));
    QCOMPARE(back->position(), QPointF(1.5, 2.25));
    QVERIFY(back->pin(1)->isInverted());
    QCOMPARE(back->pin(2)->initialValue(), QStringLiteral("TRUE;x"));
    QCOMPARE(back->ownSize(), QSizeF(6, 4));
    QCOMPARE(code->connections().size(), 1);
    QCOMPARE(code->connections().first()->nodePositions(), (QList<QPointF>{QPointF(3, 1), QPointF(7, 1)}));
    // Restoring again does not duplicate what is there.
    code->restoreCodeFromText(text, false);
    QCOMPARE(code->instances().size(), 2);
    QCOMPARE(code->connections().size(), 1);
}

void tst_BlockCode::textRestoresWiresToRemainingBlocks()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    BlockInstance* a = ModelBuilder::place(code, andDef, {});
    BlockInstance* b = ModelBuilder::place(code, andDef, {10, 0});
    BlockInstance* c = ModelBuilder::place(code, andDef, {20, 0});
    ModelBuilder::wire(code, a, 3, b, 1);
    ModelBuilder::wire(code, b, 3, c, 2);
    const unsigned int id = b->identifier();
    const QByteArray text = code->text({id});
    code->deleteInstance(id);
    QCOMPARE(code->connections().size(), 0);
    code->restoreCodeFromText(text, false);
    QCOMPARE(code->connections().size(), 2);
    QVERIFY(code->connections().at(0)->isConnectedTo(a));
    QVERIFY(code->connections().at(1)->isConnectedTo(c));
}

void tst_BlockCode::restoreIsOneChange()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    QList<BlockInstance*> chain;
    for (int i = 0; i < 5; ++i) {
        chain.append(ModelBuilder::place(code, andDef, {double(i) * 10.0, 0}));
        if (i > 0)
            ModelBuilder::wire(code, chain.at(i - 1), 3, chain.at(i), 1);
    }
    const QList<unsigned int> ids = instanceIds(code);
    const QByteArray text = code->text(ids);
    for (unsigned int id : ids)
        code->deleteInstance(id);
    QCOMPARE(code->connections().size(), 0);

    // Five blocks and four wires come back as one change: each change rebuilds every scene of the
    // code.
    QSignalSpy spy(code, &BlockCode::changed);
    code->restoreCodeFromText(text, false);
    QCOMPARE(code->connections().size(), 4);
    QCOMPARE(spy.count(), 1);

    // Inside a caller's own block the change waits for the caller.
    const QByteArray again = code->text({ids.last()});
    code->deleteInstance(ids.last());
    spy.clear();
    const bool previous = code->blockChangeSignals(true);
    code->restoreCodeFromText(again, false);
    QCOMPARE(spy.count(), 0);
    code->blockChangeSignals(previous);
    code->sendBlockedChangeSignal();
    QCOMPARE(spy.count(), 1);
    QCOMPARE(code->connections().size(), 4);
}

void tst_BlockCode::restoredWiresGoBackToTheirPlaces()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    BlockInstance* a = ModelBuilder::place(code, andDef, {});
    BlockInstance* b = ModelBuilder::place(code, andDef, {10, 0});
    BlockInstance* c = ModelBuilder::place(code, andDef, {20, 0});
    BlockInstance* d = ModelBuilder::place(code, andDef, {30, 0});
    ModelBuilder::wire(code, a, 3, b, 1);
    ModelBuilder::wire(code, c, 3, d, 1);
    ModelBuilder::wire(code, b, 3, c, 2);
    ModelBuilder::wire(code, a, 3, d, 2);
    const QByteArray before = wholeText(code);
    const QList<BlockPinConnection*> wiresBefore = code->connections();
    const unsigned int id = b->identifier();
    // As a delete's undo takes it: the task place as it was, too.
    QByteArray text = code->text({id});
    text.replace("Runtime=", "RuntimeAbsolute=");
    // b is the second instance; its wires are the first and the third.
    QVERIFY(text.contains("Place=2\n"));
    QVERIFY(text.contains("Place=1\n"));
    QVERIFY(text.contains("Place=3\n"));
    code->deleteInstance(id);
    QCOMPARE(code->connections().size(), 2);

    // b goes back between a and c, its wires between those that stayed.
    code->restoreCodeFromText(text, false);
    QCOMPARE(instanceIds(code), (QList<unsigned int>{a->identifier(), id, c->identifier(), d->identifier()}));
    QCOMPARE(code->connections().size(), 4);
    QCOMPARE(code->connections().at(1), wiresBefore.at(1));
    QCOMPARE(code->connections().at(3), wiresBefore.at(3));
    QCOMPARE(wholeText(code), before);

    // A paste takes no place: its wires go to the end.
    const QList<unsigned int> fresh = code->restoreCode(code->text({a->identifier(), id}), true);
    QCOMPARE(fresh.size(), 2);
    QCOMPARE(code->connections().size(), 5);
    QVERIFY(code->connections().last()->isConnectedTo(code->instance(fresh.first())));
    QCOMPARE(code->connections().at(1), wiresBefore.at(1));
    QCOMPARE(code->connections().at(3), wiresBefore.at(3));

    // A place beyond the end of the list puts the wire last.
    const QByteArray far = QByteArray("[Connection]\nSource=") + QByteArray::number(c->identifier())
                           + ";3\nTarget=" + QByteArray::number(a->identifier()) + ";2\nNodes=\nPlace=99\n";
    code->restoreCodeFromText(far, false);
    QCOMPARE(code->connections().size(), 6);
    QVERIFY(code->connections().last()->isConnectedTo(a));
    QVERIFY(code->connections().last()->isConnectedTo(c));
}

void tst_BlockCode::runtimeAbsoluteRestoresPosition()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    for (int i = 0; i < 4; ++i)
        code->createInstanceInRealtimeTask(andDef);
    QByteArray text = code->text({2});
    code->deleteInstance(2);
    QCOMPARE(code->realtimeOrder(), (QList<unsigned int>{1, 3, 4}));
    // As stored, "Runtime=" brings it to the end; "RuntimeAbsolute=" back to its place.
    code->restoreCodeFromText(text, false);
    QCOMPARE(code->realtimeOrder(), (QList<unsigned int>{1, 3, 4, 2}));
    text = code->text({2});
    code->setRealtime(2, 2);
    text = code->text({2});
    code->deleteInstance(2);
    text.replace("Runtime=", "RuntimeAbsolute=");
    code->restoreCodeFromText(text, false);
    QCOMPARE(code->realtimeOrder(), (QList<unsigned int>{1, 2, 3, 4}));
}

void tst_BlockCode::freshIdentifiersOnRestore()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    BlockInstance* a = ModelBuilder::place(code, andDef, {});
    BlockInstance* b = ModelBuilder::place(code, andDef, {10, 0});
    BlockInstance* outside = ModelBuilder::place(code, andDef, {30, 0});
    ModelBuilder::wire(code, a, 3, b, 1);
    ModelBuilder::wire(code, b, 3, outside, 1);
    const QList<unsigned int> fresh = code->restoreCode(code->text({a->identifier(), b->identifier()}), true);
    QCOMPARE(fresh, (QList<unsigned int>{4, 5}));
    // The wire between the two copies comes along, the one to the block left behind does not.
    QCOMPARE(code->connections().size(), 3);
    QVERIFY(code->connections().last()->isConnectedTo(code->instance(4)));
    QVERIFY(code->connections().last()->isConnectedTo(code->instance(5)));
}

void tst_BlockCode::corruptTextChangesNothing_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("unknown section") << QByteArray("[Weird]\nId=3\n");
    QTest::newRow("key outside section") << QByteArray("Id=3\n");
    QTest::newRow("zero id") << QByteArray("[Instance]\nId=0\nBlock=StandardBlock_1\n");
    QTest::newRow("no block") << QByteArray("[Instance]\nId=4\n");
    QTest::newRow("bad position") << QByteArray("[Instance]\nId=4\nBlock=StandardBlock_1\nPosition=1\n");
    QTest::newRow("bad escape") << QByteArray("[Instance]\nId=4\nBlock=StandardBlock_1\nName=ab\\q\n");
    QTest::newRow("dangling escape") << QByteArray("[Instance]\nId=4\nBlock=StandardBlock_1\nName=ab\\");
    QTest::newRow("bad node list") << QByteArray("[Connection]\nSource=1;3\nTarget=2;1\nNodes=1;2|x\n");
    QTest::newRow("bad end") << QByteArray("[Connection]\nSource=1\n");
    QTest::newRow("bad place") << QByteArray("[Connection]\nSource=1;3\nTarget=2;1\nPlace=x\n");
    QTest::newRow("line without equals") << QByteArray("[Instance]\nId 4\n");
    QTest::newRow("binary") << QByteArray("\x00\xff\xfe[Instance]\x01", 12);
}

void tst_BlockCode::corruptTextChangesNothing()
{
    QFETCH(QByteArray, text);
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    ModelBuilder::wire(code, ModelBuilder::place(code, andDef, {}), 3, ModelBuilder::place(code, andDef, {10, 0}), 1);
    const QByteArray before = code->text(instanceIds(code));
    const int messages = System::instance().messageCount();
    QVERIFY(code->restoreCode(text, false).isEmpty());
    QCOMPARE(code->text(instanceIds(code)), before);
    QCOMPARE(System::instance().messageCount(), messages + 1);
}

void tst_BlockCode::signalLabelsRoundTrip()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockInstance* a = ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {});
    BlockInstanceHierarchyNode* root = model.area()->hierarchy()->rootNode();
    SignalLabel* label = root->createSignalLabel(a->identifier(), 3, QStringLiteral("Freigabe"), 0);
    QVERIFY(label);
    label->setOffset(QPointF(0.75, -1.25));
    const unsigned int id = a->identifier();
    const QByteArray text = code->text({id}) + code->signalsAsText({id});
    QVERIFY(code->signalsAsText({a->identifier()}).contains("Freigabe"));
    QVERIFY(code->signalsAsText({99}).isEmpty());
    code->deleteInstance(a->identifier());
    // The label goes with its instance.
    QTRY_VERIFY(root->signalLabels().isEmpty());
    code->restoreCodeFromText(text, false);
    QCOMPARE(root->signalLabels().size(), 1);
    QCOMPARE(root->signalLabels().first()->name(), QStringLiteral("Freigabe"));
    QCOMPARE(root->signalLabels().first()->offset(), QPointF(0.75, -1.25));
    QCOMPARE(root->signalLabels(id, 3).size(), 1);
}

void tst_BlockCode::exportToTextFile()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {});
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("RootBlock_0.txt"));
    code->exportToTextFile(path);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray content = file.readAll();
    QVERIFY(content.contains("Block=StandardBlock_1"));
    // A path that cannot be written gives a message, not a crash.
    const int messages = System::instance().messageCount();
    code->exportToTextFile(dir.filePath(QStringLiteral("missing/dir/x.txt")));
    QCOMPARE(System::instance().messageCount(), messages + 1);
    QCOMPARE(System::instance().messages().last().severity, SystemMessage::Critical);
}

void tst_BlockCode::variantPinsFollowPartner()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockInstance* constant = ModelBuilder::place(code, model.block(QStringLiteral("ToolBlock_8000008"))->blockDefinition(1), {});
    BlockInstance* add = ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_10"))->blockDefinition(0), {10, 0});
    BlockPinInstance* out = constant->pin(1);
    QVERIFY(out->isVariant());
    QCOMPARE(out->datatype(), uchar(DatatypeProvider::Any));
    BlockPinConnection* c = ModelBuilder::wire(code, constant, 1, add, 1);
    QVERIFY(c->isValid(model.area()));
    code->updateVariantPins(model.area());
    QCOMPARE(out->datatype(model.area()), uchar(DatatypeProvider::DInt));
}

void tst_BlockCode::variantPinsOfEveryInstanceFollow()
{
    // Blocks without variant pins come first and in between; both instances of the variant
    // definition are resolved, each from its own partner.
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* adder = model.block(QStringLiteral("StandardBlock_10"))->blockDefinition(0);
    BlockDefinition* constantDefinition = model.block(QStringLiteral("ToolBlock_8000008"))->blockDefinition(1);
    BlockInstance* add = ModelBuilder::place(code, adder, {10, 0});
    BlockInstance* first = ModelBuilder::place(code, constantDefinition, {0, 0});
    BlockInstance* otherAdd = ModelBuilder::place(code, adder, {10, 10});
    BlockInstance* second = ModelBuilder::place(code, constantDefinition, {0, 10});
    BlockInstance* unwired = ModelBuilder::place(code, constantDefinition, {0, 20});
    ModelBuilder::wire(code, first, 1, add, 1);
    ModelBuilder::wire(code, second, 1, otherAdd, 2);
    code->updateVariantPins(model.area());
    QCOMPARE(first->pin(1)->datatype(model.area()), uchar(DatatypeProvider::DInt));
    QCOMPARE(second->pin(1)->datatype(model.area()), uchar(DatatypeProvider::DInt));
    QCOMPARE(unwired->pin(1)->datatype(model.area()), uchar(DatatypeProvider::Any));
    QCOMPARE(add->pin(1)->datatype(model.area()), uchar(DatatypeProvider::DInt));
}

void tst_BlockCode::pinRemovalLeavesDanglingEnd()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    Block* user = ModelBuilder::primitive(model.user()->library(), QStringLiteral("UserBlock_P"), QStringLiteral("P"),
                                          {{QStringLiteral("E"), DatatypeProvider::Bool}}, {{QStringLiteral("A"), DatatypeProvider::Bool}});
    BlockInstance* u = ModelBuilder::place(code, user->blockDefinition(0), {});
    BlockInstance* n = ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_3"))->blockDefinition(0), {10, 0});
    BlockPinConnection* c = ModelBuilder::wire(code, u, 2, n, 1, {QPointF(4, 1), QPointF(10, 1)});
    QVERIFY(c);
    QVERIFY(user->blockDefinition(0)->removePin(2));
    QCOMPARE(u->pin(2), nullptr);
    QCOMPARE(code->connections().size(), 1);
    QCOMPARE(c->source(), nullptr);
    QCOMPARE(c->target(), n->pin(1));
    QCOMPARE(c->nodePositions().size(), 2);
}

void tst_BlockCode::constantTypeFromParameters()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockInstance* constant = ModelBuilder::place(code, model.block(QStringLiteral("ToolBlock_8000008"))->blockDefinition(1), {});
    constant->setParameterText(QStringLiteral("8;30;10;1;"));
    QCOMPARE(constant->pin(1)->datatype(), uchar(DatatypeProvider::Real));
    constant->setParameterText(QStringLiteral("garbage"));
    QCOMPARE(constant->pin(1)->datatype(), uchar(DatatypeProvider::Any));
}

ZK_TEST_REGISTER(tst_BlockCode)
#include "tst_BlockCode.moc"
