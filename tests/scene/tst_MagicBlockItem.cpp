#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPin.h"
#include "BlockSymbol.h"
#include "DatatypeProvider.h"
#include "LanguageManager.h"
#include "MagicBlockItem.h"
#include "ModelBuilder.h"
#include "ModelEnums.h"
#include "SceneTestSupport.h"
#include "System.h"
#include "TestModel.h"
#include "TestRegistry.h"
#include "Text.h"

#include <QFontMetrics>
#include <QTest>

#include <typeinfo>

namespace {

BlockDefinition* readDefinition(TestModel& model)
{
    return ModelBuilder::newest(model.block(QStringLiteral("MagicBlock_300005")));
}

BlockInstance* placeMagic(TestModel& model, BlockDefinition* definition, const QStringList& lines)
{
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), definition, QPointF(3, 4));
    instance->setLines(lines);
    return instance;
}

MagicBlockItem* magicItem(BlockCodeScene& scene, BlockInstance* instance)
{
    return dynamic_cast<MagicBlockItem*>(scene.blockItemOf(instance));
}

QSizeF symbolSize(BlockInstance* instance)
{
    return instance->symbol()->size() * 1000.0;
}

} // namespace

class tst_MagicBlockItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void sceneMakesMagicItem();
    void longTextNeitherClippedNorGrowing();
    void linesDrawnInBox();
    void versionAtTopRightAlways_data();
    void versionAtTopRightAlways();
    void identifierAboveLevelFour_data();
    void identifierAboveLevelFour();
    void runtimeText_data();
    void runtimeText();
    void toolTip_data();
    void toolTip();
    void selectedBackgroundIsDarker();
    void belowDetailThresholdOnlyBox();
    void setEnablePinForcedShowsEnablePin();
};

void tst_MagicBlockItem::cleanup()
{
    System::instance().setUserAccessLevelCode(3);
}

void tst_MagicBlockItem::sceneMakesMagicItem()
{
    TestModel model;
    BlockInstance* instance = placeMagic(model, readDefinition(model), {QStringLiteral("P12")});
    QCOMPARE(instance->blockType(), int(BlockTypeMagic));
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);
    QVERIFY(item);
    QCOMPARE(typeid(*item).name(), typeid(MagicBlockItem).name());
    QCOMPARE(item->pos(), QPointF(3000, 4000));
}

void tst_MagicBlockItem::longTextNeitherClippedNorGrowing()
{
    TestModel model;
    const QStringList lines{QStringLiteral("ParameterNummerOhneLuecke0"), QStringLiteral("ParameterNummerOhneLuecke1")};
    BlockInstance* instance = placeMagic(model, readDefinition(model), lines);
    TestCodeScene scene(model.rootCode());
    MagicBlockItem* item = magicItem(scene, instance);
    QCOMPARE(item->rect(), QRectF(QPointF(0, 0), symbolSize(instance)));
    PaintRecorder recorder;
    recordItem(item, &recorder);
    const QFontMetrics metrics(BlockItem::diagramFont(), &recorder);
    int drawnLines = 0;
    for (const PaintRecorder::Text& text : recorder.texts()) {
        if (!text.text.trimmed().startsWith(QStringLiteral("ParameterNummerOhneLuecke")))
            continue;
        QCOMPARE(text.text.trimmed(), lines.at(drawnLines));
        ++drawnLines;
        QCOMPARE(text.position.x(), 50.0);
        QVERIFY(50 + metrics.horizontalAdvance(text.text.trimmed()) > item->rect().width());
    }
    QCOMPARE(drawnLines, 2);
    // A model change keeps the symbol's size as well, however many lines there are.
    QStringList many;
    for (int i = 0; i < 12; ++i)
        many += lines;
    instance->setLines(many);
    QCOMPARE(item->rect(), QRectF(QPointF(0, 0), symbolSize(instance)));
}

void tst_MagicBlockItem::linesDrawnInBox()
{
    TestModel model;
    BlockInstance* instance = placeMagic(model, readDefinition(model), {QStringLiteral("P1"), QStringLiteral("P2")});
    TestCodeScene scene(model.rootCode());
    PaintRecorder recorder;
    recordItem(magicItem(scene, instance), &recorder);
    QStringList drawn;
    for (const PaintRecorder::Text& text : recorder.texts()) {
        if (text.position.x() == 50.0)
            drawn << text.text.trimmed();
    }
    QCOMPARE(drawn, QStringList({QStringLiteral("P1"), QStringLiteral("P2")}));
}

void tst_MagicBlockItem::versionAtTopRightAlways_data()
{
    QTest::addColumn<bool>("versionVisible");
    QTest::newRow("version hidden") << false;
    QTest::newRow("version visible") << true;
}

void tst_MagicBlockItem::versionAtTopRightAlways()
{
    QFETCH(bool, versionVisible);
    TestModel model;
    BlockDefinition* definition = readDefinition(model);
    definition->block()->setVersionVisible(versionVisible);
    BlockInstance* instance = placeMagic(model, definition, {QStringLiteral("P1")});
    TestCodeScene scene(model.rootCode());
    MagicBlockItem* item = magicItem(scene, instance);
    PaintRecorder recorder;
    recordItem(item, &recorder);
    const QString version = QStringLiteral("V%1").arg(definition->version());
    const PaintRecorder::Text drawn = recorder.text(version);
    QCOMPARE(drawn.text, version);
    const QFontMetrics metrics(BlockItem::diagramFont(), &recorder);
    const qreal right = item->rect().width() - 50;
    QVERIFY(qAbs(drawn.position.x() + metrics.horizontalAdvance(version) - right) < 2);
    QVERIFY(qAbs(drawn.position.y() - (100 + metrics.ascent())) < 1);
}

void tst_MagicBlockItem::identifierAboveLevelFour_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<bool>("shown");
    QTest::newRow("level 4") << 4 << QStringList{QStringLiteral("P1")} << false;
    QTest::newRow("level 5") << 5 << QStringList{QStringLiteral("P1")} << true;
    QTest::newRow("level 5, two lines") << 5 << QStringList{QStringLiteral("P1"), QStringLiteral("P2")} << true;
}

void tst_MagicBlockItem::identifierAboveLevelFour()
{
    QFETCH(int, level);
    QFETCH(QStringList, lines);
    QFETCH(bool, shown);
    TestModel model;
    BlockInstance* instance = placeMagic(model, readDefinition(model), lines);
    TestCodeScene scene(model.rootCode());
    System::instance().setUserAccessLevelCode(quint32(level));
    MagicBlockItem* item = magicItem(scene, instance);
    PaintRecorder recorder;
    recordItem(item, &recorder);
    const QString number = instance->numberText() + QStringLiteral(" (%1)").arg(instance->identifier());
    const PaintRecorder::Text drawn = recorder.text(number);
    QCOMPARE(drawn.text == number, shown);
    if (shown)
        QCOMPARE(drawn.position, QPointF(50, item->rect().height() - 50 - 80));
}

void tst_MagicBlockItem::runtimeText_data()
{
    QTest::addColumn<int>("membership");
    QTest::addColumn<QString>("expected");
    QTest::newRow("real-time") << int(RuntimeMembershipRealtime) << QStringLiteral("1/-");
    QTest::newRow("background") << int(RuntimeMembershipBackground) << QStringLiteral("-/1");
    QTest::newRow("neither") << int(RuntimeMembershipNone) << QString();
}

void tst_MagicBlockItem::runtimeText()
{
    QFETCH(int, membership);
    QFETCH(QString, expected);
    TestModel model;
    BlockDefinition* definition = readDefinition(model);
    definition->setRuntimeMembership(eRuntimeMembership(membership));
    BlockInstance* instance = placeMagic(model, definition, {QStringLiteral("P1")});
    TestCodeScene scene(model.rootCode());
    MagicBlockItem* item = magicItem(scene, instance);
    QCOMPARE(item->hasEnablePin(), !expected.isEmpty());
    PaintRecorder recorder;
    recordItem(item, &recorder);
    if (expected.isEmpty()) {
        for (const PaintRecorder::Text& text : recorder.texts())
            QVERIFY2(!text.text.contains(QLatin1Char('/')), qPrintable(text.text));
        return;
    }
    const PaintRecorder::Text drawn = recorder.text(expected);
    QCOMPARE(drawn.text, expected);
    const QFontMetrics metrics(BlockItem::diagramFont(), &recorder);
    QCOMPARE(drawn.position, QPointF(item->rect().width() - 50 - metrics.boundingRect(expected).width(),
                                     item->rect().height() - 50 - 80));
}

void tst_MagicBlockItem::toolTip_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("note");
    QTest::newRow("level 4") << 4 << QString();
    QTest::newRow("level 4 with note") << 4 << QStringLiteral("Merke");
    QTest::newRow("level 5") << 5 << QString();
    QTest::newRow("level 5 with note") << 5 << QStringLiteral("Merke");
}

void tst_MagicBlockItem::toolTip()
{
    QFETCH(int, level);
    QFETCH(QString, note);
    TestModel model;
    System::instance().setUserAccessLevelCode(quint32(level));
    BlockDefinition* definition = readDefinition(model);
    BlockInstance* instance = placeMagic(model, definition, {QStringLiteral("P1")});
    instance->setNote(note);
    TestCodeScene scene(model.rootCode());
    Block* block = definition->block();
    QString expected = block->name().text() + QStringLiteral("<br>Version %1").arg(definition->version());
    if (!note.isEmpty())
        expected += QStringLiteral("<br>") + note + QStringLiteral("<br>");
    if (level > 4) {
        BlockLibraryContainer* container = block->ownerLibrary()->container();
        expected += QStringLiteral("<br><br>MagicBlock_300005<br><br>Bibliotheks-ID:  ") + container->identifier()
                    + QStringLiteral("<br>Bibliotheksname: ") + container->name().text();
    }
    QCOMPARE(magicItem(scene, instance)->toolTip(), expected);
}

void tst_MagicBlockItem::selectedBackgroundIsDarker()
{
    TestModel model;
    BlockInstance* instance = placeMagic(model, readDefinition(model), {});
    TestCodeScene scene(model.rootCode());
    MagicBlockItem* item = magicItem(scene, instance);
    const QPointF centre = item->rect().center() * 0.02 + QPointF(5, 5);
    const QImage plain = renderItem(item, QSize(100, 100), 0.02, QPointF(5, 5));
    const QImage selected = renderItem(item, QSize(100, 100), 0.02, QPointF(5, 5), true);
    QCOMPARE(plain.pixel(centre.toPoint()), QColor(Qt::white).rgb());
    QCOMPARE(selected.pixel(centre.toPoint()), QColor(Qt::white).darker(120).rgb());
}

void tst_MagicBlockItem::belowDetailThresholdOnlyBox()
{
    TestModel model;
    BlockInstance* instance = placeMagic(model, readDefinition(model), {QStringLiteral("P1")});
    TestCodeScene scene(model.rootCode());
    MagicBlockItem* item = magicItem(scene, instance);
    PaintRecorder low;
    recordItem(item, &low, QTransform::fromScale(0.02, 0.02));
    QCOMPARE(low.texts().size(), 0);
    QCOMPARE(low.rects().size(), 1);
    const QRectF box = item->rect().adjusted(0, 50, 0, -50);
    QCOMPARE(low.rects().first().rect, QTransform::fromScale(0.02, 0.02).mapRect(box));
    PaintRecorder high;
    recordItem(item, &high, QTransform::fromScale(0.025, 0.025));
    QVERIFY(high.texts().size() >= 2);
}

void tst_MagicBlockItem::setEnablePinForcedShowsEnablePin()
{
    TestModel model;
    BlockDefinition* definition = readDefinition(model);
    BlockPin enable(BlockItem::EnablePinIdentifier, BlockPinFunctionInput, DatatypeProvider::Bool);
    enable.setShortName(QStringLiteral("EN"));
    enable.setName(Text(LanguageManager::German, QStringLiteral("EN")));
    definition->setPin(enable);
    BlockSymbol symbol = *definition->symbol();
    symbol.setInputPins({BlockItem::EnablePinIdentifier, 1});
    definition->setSymbol(symbol);
    BlockInstance* instance = placeMagic(model, definition, {QStringLiteral("P1")});
    TestCodeScene scene(model.rootCode());
    MagicBlockItem* item = magicItem(scene, instance);
    QVERIFY(item->pinItem(BlockItem::EnablePinIdentifier));
    QVERIFY(!item->isEnablePinVisible());
    item->setEnablePinForced(true);
    QVERIFY(item->isEnablePinForced());
    QVERIFY(item->isEnablePinVisible());
    item->setEnablePinForced(false);
    QVERIFY(!item->isEnablePinVisible());
}

ZK_TEST_REGISTER(tst_MagicBlockItem)
#include "tst_MagicBlockItem.moc"
