#include "TestModel.h"
#include "TestRegistry.h"

#include "AreaInfo.h"
#include "AreaSimulator.h"
#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPinInstance.h"
#include "BlockPinValueSource.h"
#include "ModelBuilder.h"
#include "ParameterSetup.h"

#include <QSignalSpy>
#include <QTest>

using ModelBuilder::PinSpec;

namespace {

const uchar B = DatatypeProvider::Bool;
const uchar R = DatatypeProvider::Real;
const uchar D = DatatypeProvider::DInt;
const uchar T = DatatypeProvider::Time;

// A block of one function with the given inputs and outputs, placed in the root code with the
// inputs given as initial values.
BlockInstance* single(TestModel& model, const QString& function, const QList<uchar>& inputs, const QList<uchar>& outputs,
                      const QStringList& values)
{
    QList<PinSpec> in, out;
    for (int i = 0; i < inputs.size(); ++i)
        in.append({QStringLiteral("E%1").arg(i + 1), inputs.at(i)});
    for (int i = 0; i < outputs.size(); ++i)
        out.append({QStringLiteral("A%1").arg(i + 1), outputs.at(i)});
    const QString identifier = QStringLiteral("UserBlock_%1").arg(function.toUpper());
    Block* block = ModelBuilder::primitive(model.user()->library(), identifier, function, in, out, function);
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), block->blockDefinition(0), {});
    for (int i = 0; i < values.size(); ++i)
        instance->pin(i + 1)->setInitialValue(values.at(i));
    return instance;
}

QString pinPath(TestModel& model, BlockInstance* instance, int pin)
{
    return model.area()->hierarchy()->rootNode()->instanceNode(instance->identifier())->pinLocationPath(pin);
}

double valueOf(TestModel& model, BlockInstance* instance, int pin)
{
    double v = -12345;
    model.area()->simulator()->value(pinPath(model, instance, pin), &v);
    return v;
}

} // namespace

class tst_Simulation : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void stateless_data();
    void stateless();
    void timers_data();
    void timers();
    void flipFlopsAndEdges();
    void counters();
    void rampAndFilter();
    void piController();
    void sine();
    void constantBlock();
    void nestedDefinitionWithPinBlocks();
    void invertedPins();
    void remanentValuesSurviveOffline();
    void orderOfEvaluation();
    void onlyChangedValuesReported();
    void offlineStopsAtOnce();
    void cycleRunsOnItsTimer();
    void parametersThroughMagicBlocks();
    void programChangeWhileOnline();
    void observerArrivingLateLearnsSettledValue();
};

void tst_Simulation::stateless_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<QList<uchar>>("inputs");
    QTest::addColumn<uchar>("output");
    QTest::addColumn<QStringList>("values");
    QTest::addColumn<double>("expected");
    QTest::newRow("and true") << "and" << QList<uchar>{B, B, B} << B << QStringList{"TRUE", "1", "TRUE"} << 1.0;
    QTest::newRow("and false") << "and" << QList<uchar>{B, B} << B << QStringList{"TRUE", "FALSE"} << 0.0;
    QTest::newRow("or") << "or" << QList<uchar>{B, B} << B << QStringList{"FALSE", "TRUE"} << 1.0;
    QTest::newRow("or none") << "or" << QList<uchar>{B, B} << B << QStringList{"FALSE", "FALSE"} << 0.0;
    QTest::newRow("xor one") << "xor" << QList<uchar>{B, B} << B << QStringList{"TRUE", "FALSE"} << 1.0;
    QTest::newRow("xor both") << "xor" << QList<uchar>{B, B} << B << QStringList{"TRUE", "TRUE"} << 0.0;
    QTest::newRow("not") << "not" << QList<uchar>{B} << B << QStringList{"FALSE"} << 1.0;
    QTest::newRow("add") << "add" << QList<uchar>{R, R} << R << QStringList{"1.5", "2.25"} << 3.75;
    QTest::newRow("add dint wraps") << "add" << QList<uchar>{D, D} << uchar(DatatypeProvider::SInt) << QStringList{"100", "50"} << -106.0;
    QTest::newRow("sub") << "sub" << QList<uchar>{R, R} << R << QStringList{"1", "4"} << -3.0;
    QTest::newRow("mul") << "mul" << QList<uchar>{R, R} << R << QStringList{"3", "-2"} << -6.0;
    QTest::newRow("div") << "div" << QList<uchar>{R, R} << R << QStringList{"7", "2"} << 3.5;
    QTest::newRow("div dint truncates") << "div" << QList<uchar>{D, D} << D << QStringList{"7", "2"} << 3.0;
    QTest::newRow("div by zero") << "div" << QList<uchar>{R, R} << R << QStringList{"7", "0"} << 0.0;
    QTest::newRow("gt") << "gt" << QList<uchar>{R, R} << B << QStringList{"2", "1"} << 1.0;
    QTest::newRow("lt") << "lt" << QList<uchar>{R, R} << B << QStringList{"2", "1"} << 0.0;
    QTest::newRow("eq") << "eq" << QList<uchar>{D, D} << B << QStringList{"5", "5"} << 1.0;
    QTest::newRow("sel 0") << "sel" << QList<uchar>{B, R, R} << R << QStringList{"FALSE", "10", "20"} << 10.0;
    QTest::newRow("sel 1") << "sel" << QList<uchar>{B, R, R} << R << QStringList{"TRUE", "10", "20"} << 20.0;
    QTest::newRow("max") << "max" << QList<uchar>{R, R, R} << R << QStringList{"1", "9", "4"} << 9.0;
    QTest::newRow("min") << "min" << QList<uchar>{R, R, R} << R << QStringList{"1", "-9", "4"} << -9.0;
    QTest::newRow("limit high") << "limit" << QList<uchar>{R, R, R} << R << QStringList{"12", "0", "10"} << 10.0;
    QTest::newRow("limit low") << "limit" << QList<uchar>{R, R, R} << R << QStringList{"-3", "0", "10"} << 0.0;
    QTest::newRow("limit inside") << "limit" << QList<uchar>{R, R, R} << R << QStringList{"4.5", "0", "10"} << 4.5;
    QTest::newRow("convert real to int") << "convert" << QList<uchar>{R} << uchar(DatatypeProvider::Int) << QStringList{"3.9"} << 3.0;
    QTest::newRow("convert real to bool") << "convert" << QList<uchar>{R} << B << QStringList{"0.2"} << 1.0;
    QTest::newRow("unconnected without initial is 0") << "add" << QList<uchar>{R, R} << R << QStringList{"5"} << 5.0;
}

void tst_Simulation::stateless()
{
    QFETCH(QString, function);
    QFETCH(QList<uchar>, inputs);
    QFETCH(uchar, output);
    QFETCH(QStringList, values);
    QFETCH(double, expected);
    TestModel model;
    BlockInstance* instance = single(model, function, inputs, {output}, values);
    AreaSimulator* simulator = model.area()->simulator();
    model.area()->setOnline(true);
    QCOMPARE(simulator->cycleCount(), 1);
    QCOMPARE(valueOf(model, instance, int(inputs.size()) + 1), expected);
    model.area()->setOnline(false);
}

void tst_Simulation::timers_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<QList<int>>("input");   // E per cycle
    QTest::addColumn<QList<int>>("expected"); // Q per cycle
    // Preset 300 ms, three cycles of 100 ms.
    QTest::newRow("on delay") << "ton" << QList<int>{1, 1, 1, 1, 0, 1} << QList<int>{0, 0, 1, 1, 0, 0};
    QTest::newRow("off delay") << "tof" << QList<int>{1, 0, 0, 0, 0, 1} << QList<int>{1, 1, 1, 0, 0, 1};
    QTest::newRow("pulse") << "tp" << QList<int>{1, 0, 0, 0, 1, 1} << QList<int>{1, 1, 1, 0, 1, 1};
}

void tst_Simulation::timers()
{
    QFETCH(QString, function);
    QFETCH(QList<int>, input);
    QFETCH(QList<int>, expected);
    TestModel model;
    BlockInstance* instance = single(model, function, {B, T}, {B, T}, {QStringLiteral("FALSE"), QStringLiteral("T#300ms")});
    model.area()->setOnline(true);
    AreaSimulator* simulator = model.area()->simulator();
    for (int i = 0; i < input.size(); ++i) {
        instance->pin(1)->setInitialValue(input.at(i) ? QStringLiteral("TRUE") : QStringLiteral("FALSE"));
        simulator->runCycle();
        QVERIFY2(valueOf(model, instance, 3) == expected.at(i), qPrintable(QStringLiteral("cycle %1").arg(i)));
    }
    model.area()->setOnline(false);
}

void tst_Simulation::flipFlopsAndEdges()
{
    TestModel model;
    BlockInstance* rs = single(model, QStringLiteral("rs"), {B, B}, {B}, {QStringLiteral("TRUE"), QStringLiteral("FALSE")});
    BlockInstance* sr = single(model, QStringLiteral("sr"), {B, B}, {B}, {QStringLiteral("TRUE"), QStringLiteral("TRUE")});
    BlockInstance* rising = single(model, QStringLiteral("rising"), {B}, {B}, {QStringLiteral("TRUE")});
    BlockInstance* falling = single(model, QStringLiteral("falling"), {B}, {B}, {QStringLiteral("TRUE")});
    model.area()->setOnline(true);
    AreaSimulator* simulator = model.area()->simulator();
    QCOMPARE(valueOf(model, rs, 3), 1.0);
    QCOMPARE(valueOf(model, sr, 3), 1.0); // set wins
    QCOMPARE(valueOf(model, rising, 2), 1.0);
    QCOMPARE(valueOf(model, falling, 2), 0.0);
    rs->pin(1)->setInitialValue(QStringLiteral("FALSE"));
    falling->pin(1)->setInitialValue(QStringLiteral("FALSE"));
    simulator->runCycle();
    QCOMPARE(valueOf(model, rs, 3), 1.0);      // holds
    QCOMPARE(valueOf(model, rising, 2), 0.0);  // one cycle only
    QCOMPARE(valueOf(model, falling, 2), 1.0);
    rs->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    rs->pin(2)->setInitialValue(QStringLiteral("TRUE"));
    simulator->runCycle();
    QCOMPARE(valueOf(model, rs, 3), 0.0);      // reset wins
    QCOMPARE(valueOf(model, falling, 2), 0.0);
    model.area()->setOnline(false);
}

void tst_Simulation::counters()
{
    TestModel model;
    BlockInstance* ctu = single(model, QStringLiteral("ctu"), {B, B, D}, {B, D}, {QStringLiteral("FALSE"), QStringLiteral("FALSE"), QStringLiteral("2")});
    model.area()->setOnline(true);
    AreaSimulator* simulator = model.area()->simulator();
    const QList<int> pulses{1, 1, 0, 1, 0, 1};
    const QList<int> counts{1, 1, 1, 2, 2, 3};
    for (int i = 0; i < pulses.size(); ++i) {
        ctu->pin(1)->setInitialValue(pulses.at(i) ? QStringLiteral("TRUE") : QStringLiteral("FALSE"));
        simulator->runCycle();
        QCOMPARE(valueOf(model, ctu, 5), double(counts.at(i)));
        QCOMPARE(valueOf(model, ctu, 4), counts.at(i) >= 2 ? 1.0 : 0.0);
    }
    ctu->pin(2)->setInitialValue(QStringLiteral("TRUE"));
    simulator->runCycle();
    QCOMPARE(valueOf(model, ctu, 5), 0.0);
    model.area()->setOnline(false);
}

void tst_Simulation::rampAndFilter()
{
    TestModel model;
    BlockInstance* ramp = single(model, QStringLiteral("ramp"), {R, R}, {R}, {QStringLiteral("1"), QStringLiteral("2.5")});
    BlockInstance* pt1 = single(model, QStringLiteral("pt1"), {R, R}, {R}, {QStringLiteral("10"), QStringLiteral("0.1")});
    model.area()->setOnline(true);
    AreaSimulator* simulator = model.area()->simulator();
    // 2.5 per second: 0.25 a cycle, reaching the target 1 after four cycles and staying there.
    QCOMPARE(valueOf(model, ramp, 3), 0.25);
    simulator->runCycle();
    QCOMPARE(valueOf(model, ramp, 3), 0.5);
    for (int i = 0; i < 4; ++i)
        simulator->runCycle();
    QCOMPARE(valueOf(model, ramp, 3), 1.0);
    // T = 100 ms, one period: each cycle halves the distance to 10.
    double expected = 0;
    model.area()->setOnline(false);
    model.area()->setOnline(true);
    expected = 10 * 0.5;
    QVERIFY(qAbs(valueOf(model, pt1, 3) - expected) < 1e-5);
    simulator->runCycle();
    expected += (10 - expected) * 0.5;
    QVERIFY(qAbs(valueOf(model, pt1, 3) - expected) < 1e-5);
    model.area()->setOnline(false);
}

void tst_Simulation::piController()
{
    TestModel model;
    // W=10, X=6, KP=2, TN=1 s: e=4; integral grows by 4 * 0.1 a cycle.
    BlockInstance* pi = single(model, QStringLiteral("pi"), {R, R, R, R}, {R},
                               {QStringLiteral("10"), QStringLiteral("6"), QStringLiteral("2"), QStringLiteral("1")});
    model.area()->setOnline(true);
    QVERIFY(qAbs(valueOf(model, pi, 5) - 2 * (4 + 0.4)) < 1e-4);
    model.area()->simulator()->runCycle();
    QVERIFY(qAbs(valueOf(model, pi, 5) - 2 * (4 + 0.8)) < 1e-4);
    model.area()->setOnline(false);
}

void tst_Simulation::sine()
{
    TestModel model;
    // Amplitude 2, 2.5 Hz: a quarter period is 100 ms.
    BlockInstance* sine = single(model, QStringLiteral("sine"), {R, R}, {R}, {QStringLiteral("2"), QStringLiteral("2.5")});
    model.area()->setOnline(true);
    QVERIFY(qAbs(valueOf(model, sine, 3) - 0.0) < 1e-5); // t = 0 in the first cycle
    model.area()->simulator()->runCycle();
    QVERIFY(qAbs(valueOf(model, sine, 3) - 2.0) < 1e-5);
    model.area()->simulator()->runCycle();
    QVERIFY(qAbs(valueOf(model, sine, 3) - 0.0) < 1e-5);
    model.area()->setOnline(false);
}

void tst_Simulation::constantBlock()
{
    TestModel model;
    BlockInstance* constant = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("ToolBlock_8000008"))->blockDefinition(1), {});
    constant->setParameterText(QStringLiteral("8;30;10;1;"));
    constant->pin(1)->setInitialValue(QStringLiteral("2.5"));
    BlockInstance* add = single(model, QStringLiteral("add"), {R, R}, {R}, {QString(), QStringLiteral("1")});
    ModelBuilder::wire(model.rootCode(), constant, 1, add, 1);
    model.area()->setOnline(true);
    model.area()->simulator()->runCycle();
    QCOMPARE(valueOf(model, add, 3), 3.5);
    // A new value while online is taken at once.
    constant->pin(1)->setInitialValue(QStringLiteral("4"));
    model.area()->simulator()->runCycle();
    model.area()->simulator()->runCycle();
    QCOMPARE(valueOf(model, add, 3), 5.0);
    model.area()->setOnline(false);
}

void tst_Simulation::nestedDefinitionWithPinBlocks()
{
    TestModel model;
    BlockLibrary* lib = model.user()->library();
    Block* in = ModelBuilder::primitive(lib, QStringLiteral("SystemBlock_2"), QStringLiteral("Eingang"), {}, {{QStringLiteral("A"), DatatypeProvider::Any}}, QStringLiteral("pin"));
    in->blockDefinition(0)->setBlockType(BlockTypePin);
    in->blockDefinition(0)->setRuntimeMembership(RuntimeMembershipNone);
    Block* out = ModelBuilder::primitive(lib, QStringLiteral("SystemBlock_3"), QStringLiteral("Ausgang"), {{QStringLiteral("E"), DatatypeProvider::Any}}, {}, QStringLiteral("pin"));
    out->blockDefinition(0)->setBlockType(BlockTypePin);
    out->blockDefinition(0)->setRuntimeMembership(RuntimeMembershipNone);
    // Inner: pin 1 -> NOT -> AND(with pin 2) -> pin 3.
    Block* composite = ModelBuilder::composite(lib, QStringLiteral("UserBlock_NEST"), QStringLiteral("Verschachtelt"),
                                               {{QStringLiteral("X"), B}, {QStringLiteral("Y"), B}}, {{QStringLiteral("Z"), B}});
    BlockCode* inner = composite->blockDefinition(0)->code();
    BlockInstance* pinX = ModelBuilder::place(inner, in->blockDefinition(0), {});
    pinX->setLines({QStringLiteral("1")});
    BlockInstance* pinY = ModelBuilder::place(inner, in->blockDefinition(0), {0, 5});
    pinY->setLines({QStringLiteral("2")});
    BlockInstance* pinZ = ModelBuilder::place(inner, out->blockDefinition(0), {20, 0});
    pinZ->setLines({QStringLiteral("3")});
    BlockInstance* notBlock = ModelBuilder::place(inner, model.block(QStringLiteral("StandardBlock_3"))->blockDefinition(0), {5, 0});
    BlockInstance* andBlock = ModelBuilder::place(inner, model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {10, 0});
    ModelBuilder::wire(inner, pinX, 1, notBlock, 1);
    ModelBuilder::wire(inner, notBlock, 2, andBlock, 1);
    ModelBuilder::wire(inner, pinY, 1, andBlock, 2);
    ModelBuilder::wire(inner, andBlock, 3, pinZ, 1);
    QCOMPARE(pinX->parameterList(nullptr).toStringList().value(1), QStringLiteral("1"));
    QCOMPARE(pinZ->parameterList(nullptr).toStringList().value(1), QStringLiteral("2"));
    BlockInstance* outer = ModelBuilder::place(model.rootCode(), composite->blockDefinition(0), {});
    outer->pin(1)->setInitialValue(QStringLiteral("FALSE"));
    outer->pin(2)->setInitialValue(QStringLiteral("TRUE"));
    model.area()->setOnline(true);
    QCOMPARE(valueOf(model, outer, 3), 1.0);
    // Inner values are addressed below the outer block.
    double inside = -1;
    QVERIFY(model.area()->simulator()->value(QStringLiteral("A1:0.%1.%2p2").arg(outer->identifier()).arg(notBlock->identifier()), &inside));
    QCOMPARE(inside, 1.0);
    // The output pin block shows what it hands out.
    QVERIFY(model.area()->simulator()->value(QStringLiteral("A1:0.%1.%2p1").arg(outer->identifier()).arg(pinZ->identifier()), &inside));
    QCOMPARE(inside, 1.0);
    outer->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    model.area()->simulator()->runCycle();
    QCOMPARE(valueOf(model, outer, 3), 0.0);
    model.area()->setOnline(false);
}

void tst_Simulation::invertedPins()
{
    TestModel model;
    BlockInstance* a = single(model, QStringLiteral("and"), {B, B}, {B}, {QStringLiteral("FALSE"), QStringLiteral("TRUE")});
    a->pin(1)->setInverted(true);
    a->pin(3)->setInverted(true);
    BlockInstance* n = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_3"))->blockDefinition(0), {10, 0});
    ModelBuilder::wire(model.rootCode(), a, 3, n, 1);
    model.area()->setOnline(true);
    model.area()->simulator()->runCycle();
    BlockInstanceHierarchyNode* node = model.area()->hierarchy()->rootNode()->instanceNode(a->identifier());
    double v = -1;
    // Input 1 carries FALSE, the block sees TRUE.
    QVERIFY(model.area()->simulator()->value(node->pinLocationPath(1), &v));
    QCOMPARE(v, 0.0);
    QVERIFY(model.area()->simulator()->value(node->locationPath() + QStringLiteral("i1;{S1}"), &v));
    QCOMPARE(v, 1.0);
    // The AND gives TRUE; its inverted output puts FALSE on the wire, and the NOT makes TRUE of it.
    QCOMPARE(valueOf(model, a, 3), 1.0);
    QVERIFY(model.area()->simulator()->value(node->locationPath() + QStringLiteral("i3;{S2}"), &v));
    QCOMPARE(v, 0.0);
    QCOMPARE(valueOf(model, n, 2), 1.0);
    QCOMPARE(model.area()->simulator()->valueText(node->locationPath() + QStringLiteral("i3;{S2}")), QStringLiteral("FALSE"));
    model.area()->setOnline(false);
}

void tst_Simulation::remanentValuesSurviveOffline()
{
    TestModel model;
    BlockInstance* kept = single(model, QStringLiteral("counter"), {B}, {D}, {QStringLiteral("FALSE")});
    kept->pin(2)->setRemanent(true);
    BlockInstance* lost = ModelBuilder::place(model.rootCode(), kept->blockDefinition(), {0, 10});
    lost->pin(1)->setInitialValue(QStringLiteral("FALSE"));
    lost->pin(2)->setInitialValue(QStringLiteral("7"));
    model.area()->setOnline(true);
    AreaSimulator* simulator = model.area()->simulator();
    for (int i = 0; i < 3; ++i) {
        kept->pin(1)->setInitialValue(QStringLiteral("TRUE"));
        lost->pin(1)->setInitialValue(QStringLiteral("TRUE"));
        simulator->runCycle();
        kept->pin(1)->setInitialValue(QStringLiteral("FALSE"));
        lost->pin(1)->setInitialValue(QStringLiteral("FALSE"));
        simulator->runCycle();
    }
    QCOMPARE(valueOf(model, kept, 2), 3.0);
    QCOMPARE(valueOf(model, lost, 2), 10.0); // counted on from its initial value 7
    model.area()->setOnline(false);
    model.area()->setOnline(true);
    // The remanent output starts where it was; the other from its initial value again.
    QCOMPARE(valueOf(model, kept, 2), 3.0);
    QCOMPARE(valueOf(model, lost, 2), 7.0);
    model.area()->setOnline(false);
}

void tst_Simulation::orderOfEvaluation()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* notDef = model.block(QStringLiteral("StandardBlock_3"))->blockDefinition(0);
    BlockInstance* a = ModelBuilder::place(code, notDef, {});
    BlockInstance* b = ModelBuilder::place(code, notDef, {10, 0});
    BlockInstance* c = ModelBuilder::place(code, notDef, {20, 0});
    a->pin(1)->setInitialValue(QStringLiteral("FALSE"));
    ModelBuilder::wire(code, a, 2, b, 1);
    ModelBuilder::wire(code, b, 2, c, 1);
    // In run-time order a, b, c the chain settles in one cycle.
    model.area()->setOnline(true);
    QCOMPARE(valueOf(model, c, 2), 1.0);
    model.area()->setOnline(false);
    // Reversed, each stage sees the previous cycle's value: three cycles to settle.
    code->setRealtime(c->identifier(), 1);
    code->setRealtime(b->identifier(), 2);
    QCOMPARE(code->realtimeOrder(), (QList<unsigned int>{c->identifier(), b->identifier(), a->identifier()}));
    model.area()->setOnline(true);
    QCOMPARE(valueOf(model, c, 2), 1.0 - 0.0); // from the initial 0 at the input of c
    model.area()->simulator()->runCycle();
    QCOMPARE(valueOf(model, b, 2), 0.0);
    model.area()->simulator()->runCycle();
    QCOMPARE(valueOf(model, c, 2), 1.0);
    // Out of the order, a block is not computed at all.
    model.area()->setOnline(false);
    code->setRealtime(a->identifier(), 0);
    a->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    model.area()->setOnline(true);
    QCOMPARE(valueOf(model, a, 2), 0.0);
    model.area()->setOnline(false);
}

void tst_Simulation::onlyChangedValuesReported()
{
    TestModel model;
    BlockInstance* a = single(model, QStringLiteral("and"), {B, B}, {B}, {QStringLiteral("TRUE"), QStringLiteral("TRUE")});
    BlockPinValueSource* source = model.area()->pinValueSource();
    const QString path = pinPath(model, a, 3);
    source->setObserved(path, true);
    QSignalSpy spy(source, &BlockPinValueSource::blockPinCurrentValueChanged);
    model.area()->setOnline(true);
    for (int i = 0; i < 5; ++i)
        model.area()->simulator()->runCycle();
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().at(0).toString(), path);
    QCOMPARE(spy.first().at(1).toString(), QStringLiteral("TRUE"));
    a->pin(2)->setInitialValue(QStringLiteral("FALSE"));
    model.area()->simulator()->runCycle();
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.last().at(1).toString(), QStringLiteral("FALSE"));
    // Unobserved paths are not reported.
    QVERIFY(!spy.last().at(0).toString().endsWith(QLatin1String("p1")));
    source->setObserved(path, false);
    model.area()->setOnline(false);
}

void tst_Simulation::offlineStopsAtOnce()
{
    TestModel model;
    BlockInstance* a = single(model, QStringLiteral("and"), {B, B}, {B}, {QStringLiteral("TRUE"), QStringLiteral("TRUE")});
    BlockPinValueSource* source = model.area()->pinValueSource();
    const QString path = pinPath(model, a, 3);
    source->setObserved(path, true);
    model.area()->setOnline(true);
    QVERIFY(model.area()->simulator()->isRunning());
    QCOMPARE(source->currentValue(path), QStringLiteral("TRUE"));
    QSignalSpy spy(source, &BlockPinValueSource::blockPinCurrentValueChanged);
    model.area()->setOnline(false);
    QVERIFY(!model.area()->simulator()->isRunning());
    // Observers hear once that the value is gone, then nothing more.
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().at(1).toString(), QString());
    const qint64 cycles = model.area()->simulator()->cycleCount();
    QTest::qWait(3 * AreaSimulator::CycleMilliseconds);
    QCOMPARE(model.area()->simulator()->cycleCount(), cycles);
    QCOMPARE(spy.count(), 1);
    source->setObserved(path, false);
}

void tst_Simulation::cycleRunsOnItsTimer()
{
    TestModel model;
    single(model, QStringLiteral("not"), {B}, {B}, {QStringLiteral("FALSE")});
    model.area()->setOnline(true);
    QTRY_VERIFY_WITH_TIMEOUT(model.area()->simulator()->cycleCount() >= 3, 5000);
    model.area()->setOnline(false);
}

void tst_Simulation::parametersThroughMagicBlocks()
{
    TestModel model;
    auto* setup = new ParameterSetup(QStringLiteral("A1:0.9#P12"));
    setup->setDefaultValueText(0, QStringLiteral("41"));
    auto* target = new ParameterSetup(QStringLiteral("A1:0.9#P13"));
    model.area()->areaInfo()->insertParameterInstance(setup);
    model.area()->areaInfo()->insertParameterInstance(target);
    BlockInstance* read = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("MagicBlock_300005"))->blockDefinition(0), {});
    read->setLines({QStringLiteral("P12")});
    BlockInstance* add = single(model, QStringLiteral("add"), {D, D}, {D}, {QString(), QStringLiteral("1")});
    BlockInstance* write = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("MagicBlock_300006"))->blockDefinition(0), {20, 0});
    write->setLines({QStringLiteral("P13")});
    ModelBuilder::wire(model.rootCode(), read, 2, add, 1);
    ModelBuilder::wire(model.rootCode(), add, 3, write, 1);
    model.area()->setOnline(true);
    QCOMPARE(valueOf(model, add, 3), 42.0);
    QCOMPARE(target->valueText(int(model.area()->firstNumber()), 0, 0), QStringLiteral("42"));
    setup->setValueText(int(model.area()->firstNumber()), 0, QStringLiteral("99"));
    model.area()->simulator()->runCycle();
    QCOMPARE(target->valueText(int(model.area()->firstNumber()), 0, 0), QStringLiteral("100"));
    model.area()->setOnline(false);
}

void tst_Simulation::programChangeWhileOnline()
{
    TestModel model;
    BlockInstance* a = single(model, QStringLiteral("and"), {B, B}, {B}, {QStringLiteral("TRUE"), QStringLiteral("TRUE")});
    model.area()->setOnline(true);
    const int ops = model.area()->simulator()->operationCount();
    BlockInstance* n = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_3"))->blockDefinition(0), {10, 0});
    ModelBuilder::wire(model.rootCode(), a, 3, n, 1);
    model.area()->simulator()->runCycle();
    QCOMPARE(model.area()->simulator()->operationCount(), ops + 1);
    QCOMPARE(valueOf(model, n, 2), 0.0);
    model.rootCode()->deleteInstance(a->identifier());
    model.area()->simulator()->runCycle();
    QCOMPARE(model.area()->simulator()->operationCount(), 1);
    QCOMPARE(valueOf(model, n, 2), 1.0);
    model.area()->setOnline(false);
}

void tst_Simulation::observerArrivingLateLearnsSettledValue()
{
    TestModel model;
    BlockInstance* a = single(model, QStringLiteral("and"), {B, B}, {B}, {QStringLiteral("TRUE"), QStringLiteral("TRUE")});
    model.area()->setOnline(true);
    model.area()->simulator()->runCycle();
    // The value settled before anyone looked: a pin switched to values now must still get it.
    BlockPinValueSource* source = model.area()->pinValueSource();
    QSignalSpy spy(source, &BlockPinValueSource::blockPinCurrentValueChanged);
    source->setObserved(pinPath(model, a, 3), true);
    model.area()->simulator()->runCycle();
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().at(1).toString(), QStringLiteral("TRUE"));
    model.area()->simulator()->runCycle();
    QCOMPARE(spy.count(), 1);
    source->setObserved(pinPath(model, a, 3), false);
    model.area()->setOnline(false);
}

ZK_TEST_REGISTER(tst_Simulation)
#include "tst_Simulation.moc"
