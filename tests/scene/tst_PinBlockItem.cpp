#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockSymbol.h"
#include "DatatypeProvider.h"
#include "ModelBuilder.h"
#include "ModelEnums.h"
#include "PinBlockItem.h"
#include "SceneTestSupport.h"
#include "System.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include <QTest>

#include <typeinfo>

namespace {

// A pin block with one output, 4 x 2 units: its body runs from y = 50 to y = 1950.
BlockDefinition* pinDefinition(TestModel& model)
{
    Block* block = ModelBuilder::primitive(model.user()->library(), QStringLiteral("SystemBlock_2"),
                                           QStringLiteral("Eingang"), {},
                                           {{QStringLiteral("A"), DatatypeProvider::Any}}, QStringLiteral("pin"));
    BlockDefinition* definition = ModelBuilder::newest(block);
    definition->setBlockType(BlockTypePin);
    definition->setRuntimeMembership(RuntimeMembershipNone);
    BlockSymbol symbol = *definition->symbol();
    symbol.setDefaultSize(QSizeF(4, 2));
    definition->setSymbol(symbol);
    return definition;
}

BlockInstance* placePin(BlockCode* code, BlockDefinition* definition, const QStringList& lines)
{
    BlockInstance* instance = ModelBuilder::place(code, definition, QPointF(1, 2));
    instance->setLines(lines);
    return instance;
}

PinBlockItem* pinItem(BlockCodeScene& scene, BlockInstance* instance)
{
    return dynamic_cast<PinBlockItem*>(scene.blockItemOf(instance));
}

// Where the arrow stands, told from a selected rendering below the detail threshold: the body is
// grey, what lies outside the polygon stays white.
struct Shape
{
    bool rightCornerCut;
    bool leftNotch;
};

Shape shapeOf(PinBlockItem* item)
{
    const qreal scale = 0.02;
    const QPointF origin(5, 5);
    const QImage image = renderItem(item, QSize(100, 60), scale, origin, true);
    const auto isWhite = [&](QPointF itemPoint) {
        const QPointF p = origin + itemPoint * scale;
        return image.pixel(int(p.x()), int(p.y())) == QColor(Qt::white).rgb();
    };
    // The middle of the body is inside in every case.
    if (isWhite(QPointF(2000, 1000)))
        return {false, false};
    return {isWhite(QPointF(3900, 150)), isWhite(QPointF(150, 1000))};
}

} // namespace

class tst_PinBlockItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void sceneMakesPinItem();
    void labelFromParameters();
    void oneEntryGivesEmptyName();
    void directionShape_data();
    void directionShape();
    void enclosingPinGivesDirectionAndName();
    void highAccessLevelShowsIdentifier_data();
    void highAccessLevelShowsIdentifier();
    void belowDetailThresholdNoTexts();
    void sizeChangeOnlyInNewItem();
    void updateKeepsToolTipAndFollowsPosition();
};

void tst_PinBlockItem::cleanup()
{
    System::instance().setUserAccessLevelCode(3);
}

void tst_PinBlockItem::sceneMakesPinItem()
{
    TestModel model;
    BlockInstance* instance = placePin(model.rootCode(), pinDefinition(model), {QStringLiteral("3")});
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);
    QVERIFY(item);
    QCOMPARE(typeid(*item).name(), typeid(PinBlockItem).name());
    QCOMPARE(item->pos(), QPointF(1000, 2000));
    QCOMPARE(item->rect(), QRectF(0, 0, 4000, 2000));
}

void tst_PinBlockItem::labelFromParameters()
{
    TestModel model;
    BlockInstance* instance = placePin(model.rootCode(), pinDefinition(model),
                                       {QStringLiteral("5"), QStringLiteral("2"), QStringLiteral("Ausgang")});
    TestCodeScene scene(model.rootCode());
    PaintRecorder recorder;
    recordItem(pinItem(scene, instance), &recorder);
    QCOMPARE(recorder.text(QStringLiteral("5:Ausgang")).text, QStringLiteral("5:Ausgang"));
    // Below access level 5 the identifier stays hidden.
    for (const PaintRecorder::Text& text : recorder.texts())
        QVERIFY2(!text.text.contains(QStringLiteral("(%1)").arg(instance->identifier())), qPrintable(text.text));
    instance->setLines({QStringLiteral("6"), QStringLiteral("1"), QStringLiteral("Neu")});
    PaintRecorder after;
    recordItem(pinItem(scene, instance), &after);
    QCOMPARE(after.text(QStringLiteral("6:Neu")).text, QStringLiteral("6:Neu"));
}

void tst_PinBlockItem::oneEntryGivesEmptyName()
{
    TestModel model;
    BlockInstance* instance = placePin(model.rootCode(), pinDefinition(model), {QStringLiteral("7")});
    TestCodeScene scene(model.rootCode());
    PinBlockItem* item = pinItem(scene, instance);
    PaintRecorder recorder;
    recordItem(item, &recorder);
    QCOMPARE(recorder.text(QStringLiteral("7:")).text, QStringLiteral("7:"));
    const Shape shape = shapeOf(item);
    QVERIFY(shape.rightCornerCut);
    QVERIFY(!shape.leftNotch);
}

void tst_PinBlockItem::directionShape_data()
{
    QTest::addColumn<QString>("direction");
    QTest::addColumn<bool>("outgoing");
    QTest::newRow("1") << QStringLiteral("1") << false;
    QTest::newRow("2") << QStringLiteral("2") << true;
    QTest::newRow("0 draws like 1") << QStringLiteral("0") << false;
    QTest::newRow("3 draws like 1") << QStringLiteral("3") << false;
    QTest::newRow("-2 draws like 1") << QStringLiteral("-2") << false;
    QTest::newRow("not a number draws like 1") << QStringLiteral("x") << false;
}

void tst_PinBlockItem::directionShape()
{
    QFETCH(QString, direction);
    QFETCH(bool, outgoing);
    TestModel model;
    BlockInstance* instance =
        placePin(model.rootCode(), pinDefinition(model), {QStringLiteral("4"), direction, QStringLiteral("P")});
    TestCodeScene scene(model.rootCode());
    PinBlockItem* item = pinItem(scene, instance);
    const Shape shape = shapeOf(item);
    QCOMPARE(shape.rightCornerCut, !outgoing);
    QCOMPARE(shape.leftNotch, outgoing);

    // The text keeps clear of the arrow's point or notch.
    System::instance().setUserAccessLevelCode(5);
    PaintRecorder recorder;
    recordItem(item, &recorder);
    const PaintRecorder::Text number =
        recorder.text(instance->numberText() + QStringLiteral(" (%1)").arg(instance->identifier()));
    QVERIFY(!number.text.isEmpty());
    QCOMPARE(number.position, QPointF(outgoing ? 950 + 50 : 50, 1950 - 50 - 30));
}

void tst_PinBlockItem::enclosingPinGivesDirectionAndName()
{
    TestModel model;
    Block* composite = ModelBuilder::composite(model.user()->library(), QStringLiteral("UserBlock_PINS"),
                                               QStringLiteral("Mit Pins"), {{QStringLiteral("X")}},
                                               {{QStringLiteral("Z")}});
    BlockCode* inner = ModelBuilder::newest(composite)->code();
    QVERIFY(inner);
    BlockDefinition* definition = pinDefinition(model);
    BlockInstance* in = placePin(inner, definition, {QStringLiteral("1")});
    BlockInstance* out = placePin(inner, definition, {QStringLiteral("2")});
    TestCodeScene scene(inner);
    PaintRecorder inRecorder;
    recordItem(pinItem(scene, in), &inRecorder);
    QCOMPARE(inRecorder.text(QStringLiteral("1:X")).text, QStringLiteral("1:X"));
    QVERIFY(shapeOf(pinItem(scene, in)).rightCornerCut);
    PaintRecorder outRecorder;
    recordItem(pinItem(scene, out), &outRecorder);
    QCOMPARE(outRecorder.text(QStringLiteral("2:Z")).text, QStringLiteral("2:Z"));
    QVERIFY(shapeOf(pinItem(scene, out)).leftNotch);
}

void tst_PinBlockItem::highAccessLevelShowsIdentifier_data()
{
    QTest::addColumn<int>("level");
    QTest::newRow("4") << 4;
    QTest::newRow("5") << 5;
}

void tst_PinBlockItem::highAccessLevelShowsIdentifier()
{
    QFETCH(int, level);
    TestModel model;
    BlockInstance* instance = placePin(model.rootCode(), pinDefinition(model),
                                       {QStringLiteral("5"), QStringLiteral("1"), QStringLiteral("Ein")});
    TestCodeScene scene(model.rootCode());
    System::instance().setUserAccessLevelCode(quint32(level));
    PaintRecorder recorder;
    recordItem(pinItem(scene, instance), &recorder);
    const PaintRecorder::Text label = recorder.text(QStringLiteral("5:Ein"));
    QCOMPARE(label.text, QStringLiteral("5:Ein"));
    const QString number = instance->numberText() + QStringLiteral(" (%1)").arg(instance->identifier());
    const QFontMetrics metrics(BlockItem::diagramFont(), &recorder);
    // The text rectangle runs from y = 100 to y = 1900 and from x = 50 to x = 4000 - 950 - 50.
    if (level >= 5) {
        QCOMPARE(recorder.text(number).text, number);
        QVERIFY(qAbs(label.position.y() - (100.0 + metrics.ascent())) < 1);
        QCOMPARE(label.position.x(), 50.0);
    } else {
        QVERIFY(recorder.text(number).text.isEmpty());
        QVERIFY(label.position.y() > 900 && label.position.y() < 1000 + metrics.ascent());
        const qreal centreX = label.position.x() + metrics.horizontalAdvance(label.text) / 2.0;
        QVERIFY(qAbs(centreX - (50 + 3000) / 2.0) < 2);
    }
}

void tst_PinBlockItem::belowDetailThresholdNoTexts()
{
    TestModel model;
    BlockInstance* instance = placePin(model.rootCode(), pinDefinition(model), {QStringLiteral("5")});
    TestCodeScene scene(model.rootCode());
    PaintRecorder low;
    recordItem(pinItem(scene, instance), &low, QTransform::fromScale(0.02, 0.02));
    QCOMPARE(low.texts().size(), 0);
    PaintRecorder high;
    recordItem(pinItem(scene, instance), &high, QTransform::fromScale(0.025, 0.025));
    QCOMPARE(high.texts().size(), 1);
}

void tst_PinBlockItem::sizeChangeOnlyInNewItem()
{
    TestModel model;
    BlockDefinition* definition = pinDefinition(model);
    BlockInstance* instance = placePin(model.rootCode(), definition, {QStringLiteral("5")});
    auto scene = std::make_unique<TestCodeScene>(model.rootCode());
    PinBlockItem* item = pinItem(*scene, instance);
    QCOMPARE(item->rect(), QRectF(0, 0, 4000, 2000));
    BlockSymbol symbol = *definition->symbol();
    symbol.setDefaultSize(QSizeF(6, 3));
    definition->setSymbol(symbol);
    scene->rebuild();
    QCOMPARE(pinItem(*scene, instance), item);
    QCOMPARE(item->rect(), QRectF(0, 0, 4000, 2000));
    scene.reset();
    TestCodeScene fresh(model.rootCode());
    QCOMPARE(pinItem(fresh, instance)->rect(), QRectF(0, 0, 6000, 3000));
}

void tst_PinBlockItem::updateKeepsToolTipAndFollowsPosition()
{
    TestModel model;
    BlockInstance* instance = placePin(model.rootCode(), pinDefinition(model), {QStringLiteral("5")});
    TestCodeScene scene(model.rootCode());
    PinBlockItem* item = pinItem(scene, instance);
    const QString toolTip = item->toolTip();
    QVERIFY(!toolTip.isEmpty());
    instance->setNote(QStringLiteral("Merke"));
    instance->setPosition(QPointF(7, 8));
    scene.rebuild();
    QCOMPARE(pinItem(scene, instance), item);
    QCOMPARE(item->toolTip(), toolTip);
    QCOMPARE(item->pos(), QPointF(7000, 8000));
}

ZK_TEST_REGISTER(tst_PinBlockItem)
#include "tst_PinBlockItem.moc"
