#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPin.h"
#include "BlockPinItem.h"
#include "BlockSymbol.h"
#include "DatatypeProvider.h"
#include "LanguageManager.h"
#include "MenuLookup.h"
#include "ModelBuilder.h"
#include "ModelEnums.h"
#include "SceneTestSupport.h"
#include "System.h"
#include "TestModel.h"
#include "TestRegistry.h"
#include "Text.h"
#include "TextBlockItem.h"

#include <QAction>
#include <QFontMetrics>
#include <QMenu>
#include <QTest>

#include <cmath>
#include <typeinfo>

namespace {

// A text block with one output, so that the pin column on the right can be watched.
BlockDefinition* textDefinition(TestModel& model, const QSizeF& symbolSize, bool withEnablePin = false)
{
    Block* block = ModelBuilder::primitive(model.standard()->library(), QStringLiteral("StandardBlock_90"),
                                           QStringLiteral("Kommentar"), {},
                                           {{QStringLiteral("A"), DatatypeProvider::Bool}}, QStringLiteral("text"));
    BlockDefinition* definition = ModelBuilder::newest(block);
    definition->setBlockType(BlockTypeText);
    BlockSymbol symbol = *definition->symbol();
    symbol.setDefaultSize(symbolSize);
    if (withEnablePin) {
        BlockPin enable(BlockItem::EnablePinIdentifier, BlockPinFunctionInput, DatatypeProvider::Bool);
        enable.setShortName(QStringLiteral("EN"));
        enable.setName(Text(LanguageManager::German, QStringLiteral("EN")));
        definition->setPin(enable);
        symbol.setInputPins({BlockItem::EnablePinIdentifier});
    }
    definition->setSymbol(symbol);
    return definition;
}

BlockInstance* placeText(TestModel& model, BlockDefinition* definition, const QStringList& lines,
                         QPointF position = QPointF(2, 3))
{
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), definition, position);
    instance->setLines(lines);
    return instance;
}

TextBlockItem* textItem(BlockCodeScene& scene, BlockInstance* instance)
{
    return dynamic_cast<TextBlockItem*>(scene.blockItemOf(instance));
}

qreal snappedUp(qreal value)
{
    return std::trunc(value / 1000.0 + 1) * 1000.0;
}

int textWidth(const QString& text)
{
    return QFontMetrics(BlockItem::diagramFont()).boundingRect(text).width();
}

// Records the item as a view at full detail would draw it.
PaintRecorder* record(QGraphicsItem* item, PaintRecorder* recorder, bool selected = false)
{
    recordItem(item, recorder, QTransform(), selected);
    return recorder;
}

} // namespace

class tst_TextBlockItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void sceneMakesTextItem();
    void emptyTextHasSymbolSize_data();
    void emptyTextHasSymbolSize();
    void wideTextWidensBoxAndMovesPins();
    void versionVisibleWidensMargin();
    void manyLinesGrowHeight();
    void modelChangeRefitsBox();
    void linesAreDrawnInOrderInsideBox();
    void runtimeText_data();
    void runtimeText();
    void enableActionFollowsRuntimeText();
    void identifierOnlyInSingleLineBox_data();
    void identifierOnlyInSingleLineBox();
    void versionDrawnAtTopRightWhenVisible();
    void selectedBackgroundIsDarker();
    void belowDetailThresholdOnlyBox();
    void toolTipWithNote();
    void setEnablePinForcedShowsEnablePin();
    void itemWithoutInstanceKeepsItsBox();
};

void tst_TextBlockItem::cleanup()
{
    System::instance().setUserAccessLevelCode(3);
}

void tst_TextBlockItem::sceneMakesTextItem()
{
    TestModel model;
    BlockInstance* instance = placeText(model, textDefinition(model, QSizeF(4, 3)), {QStringLiteral("Hallo")});
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);
    QVERIFY(item);
    QCOMPARE(typeid(*item).name(), typeid(TextBlockItem).name());
    QCOMPARE(item->pos(), QPointF(2000, 3000));
}

void tst_TextBlockItem::emptyTextHasSymbolSize_data()
{
    QTest::addColumn<QSizeF>("symbolSize");
    QTest::addColumn<QRectF>("expected");
    QTest::newRow("4x3") << QSizeF(4, 3) << QRectF(0, 0, 4000, 3000);
    QTest::newRow("zero height gets one unit") << QSizeF(3, 0) << QRectF(0, 0, 3000, 1000);
    QTest::newRow("zero size gets one unit each") << QSizeF(0, 0) << QRectF(0, 0, 1000, 1000);
}

void tst_TextBlockItem::emptyTextHasSymbolSize()
{
    QFETCH(QSizeF, symbolSize);
    QFETCH(QRectF, expected);
    TestModel model;
    BlockInstance* instance = placeText(model, textDefinition(model, symbolSize), {});
    TestCodeScene scene(model.rootCode());
    TextBlockItem* item = textItem(scene, instance);
    QVERIFY(item);
    QCOMPARE(item->rect(), expected);
}

void tst_TextBlockItem::wideTextWidensBoxAndMovesPins()
{
    TestModel model;
    const QString line(40, QLatin1Char('W'));
    BlockDefinition* definition = textDefinition(model, QSizeF(4, 3));
    BlockInstance* instance = placeText(model, definition, {QStringLiteral("kurz"), line});
    TestCodeScene scene(model.rootCode());
    TextBlockItem* item = textItem(scene, instance);
    QVERIFY(item);
    const qreal width = item->rect().width();
    QVERIFY(width > 4000);
    QCOMPARE(std::fmod(width, 1000.0), 0.0);
    QCOMPARE(width, snappedUp(100 + textWidth(line)));
    QCOMPARE(item->rect().height(), 3000.0);
    BlockPinItem* output = item->pinItem(1);
    QVERIFY(output);
    QCOMPARE(item->pinPosition(1).x(), width);
    QCOMPARE(output->pos().x(), width);
}

void tst_TextBlockItem::versionVisibleWidensMargin()
{
    TestModel model;
    BlockDefinition* definition = textDefinition(model, QSizeF(1, 1));
    // A width just under a unit boundary with the small margin and over it with the large one.
    QString line;
    while (std::fmod(100.0 + textWidth(line), 1000.0) < 500.0 || line.size() < 10)
        line += QLatin1Char('i');
    const qreal plain = snappedUp(100 + textWidth(line));
    const qreal versioned = snappedUp(600 + textWidth(line));
    QVERIFY(versioned > plain);
    BlockInstance* instance = placeText(model, definition, {line});
    TestCodeScene scene(model.rootCode());
    TextBlockItem* item = textItem(scene, instance);
    QCOMPARE(item->rect().width(), plain);
    definition->block()->setVersionVisible(true);
    scene.rebuild();
    QCOMPARE(item->rect().width(), versioned);
}

void tst_TextBlockItem::manyLinesGrowHeight()
{
    TestModel model;
    QStringList lines;
    for (int i = 0; i < 12; ++i)
        lines << QStringLiteral("Zeile %1").arg(i);
    BlockInstance* instance = placeText(model, textDefinition(model, QSizeF(4, 2)), lines);
    TestCodeScene scene(model.rootCode());
    TextBlockItem* item = textItem(scene, instance);
    const qreal spacing = QFontMetrics(BlockItem::diagramFont()).lineSpacing();
    const qreal expected = snappedUp(spacing * 12 + 100);
    QVERIFY(expected > 2000);
    QCOMPARE(item->rect().height(), expected);
}

void tst_TextBlockItem::modelChangeRefitsBox()
{
    TestModel model;
    BlockInstance* instance = placeText(model, textDefinition(model, QSizeF(4, 3)), {QStringLiteral("a")});
    TestCodeScene scene(model.rootCode());
    TextBlockItem* item = textItem(scene, instance);
    QCOMPARE(item->rect().width(), 4000.0);
    const QString line(40, QLatin1Char('M'));
    instance->setLines({line});
    QCOMPARE(scene.blockItemOf(instance), item);
    QCOMPARE(item->rect().width(), snappedUp(100 + textWidth(line)));
    instance->setLines({});
    QCOMPARE(item->rect().width(), 4000.0);
}

void tst_TextBlockItem::linesAreDrawnInOrderInsideBox()
{
    TestModel model;
    BlockInstance* instance =
        placeText(model, textDefinition(model, QSizeF(6, 3)), {QStringLiteral("Erste"), QStringLiteral("Zweite")});
    TestCodeScene scene(model.rootCode());
    PaintRecorder recorder;
    record(textItem(scene, instance), &recorder);
    // The carriage return of each line break is drawn as a blank at the end of its line.
    const auto drawnLine = [&](const QString& line) {
        for (const PaintRecorder::Text& text : recorder.texts()) {
            if (text.text.trimmed() == line)
                return text;
        }
        return PaintRecorder::Text{};
    };
    const PaintRecorder::Text first = drawnLine(QStringLiteral("Erste"));
    const PaintRecorder::Text second = drawnLine(QStringLiteral("Zweite"));
    QVERIFY(!first.text.isEmpty());
    QVERIFY(!second.text.isEmpty());
    QCOMPARE(first.position.x(), 50.0);
    QCOMPARE(second.position.x(), first.position.x());
    QVERIFY(first.position.y() > 100);
    QVERIFY(second.position.y() > first.position.y());
    QCOMPARE(first.color, QColor(Qt::black));
}

void tst_TextBlockItem::runtimeText_data()
{
    QTest::addColumn<int>("membership");
    QTest::addColumn<QString>("expected");
    QTest::newRow("real-time") << int(RuntimeMembershipRealtime) << QStringLiteral("1/-");
    QTest::newRow("background") << int(RuntimeMembershipBackground) << QStringLiteral("-/1");
    QTest::newRow("neither") << int(RuntimeMembershipNone) << QString();
}

void tst_TextBlockItem::runtimeText()
{
    QFETCH(int, membership);
    QFETCH(QString, expected);
    TestModel model;
    BlockDefinition* definition = textDefinition(model, QSizeF(4, 3));
    definition->setRuntimeMembership(eRuntimeMembership(membership));
    BlockInstance* instance = placeText(model, definition, {QStringLiteral("x")});
    TestCodeScene scene(model.rootCode());
    TextBlockItem* item = textItem(scene, instance);
    QCOMPARE(item->hasEnablePin(), !expected.isEmpty());
    PaintRecorder recorder;
    record(item, &recorder);
    if (expected.isEmpty()) {
        for (const PaintRecorder::Text& text : recorder.texts())
            QVERIFY2(!text.text.contains(QLatin1Char('/')), qPrintable(text.text));
        return;
    }
    const PaintRecorder::Text drawn = recorder.text(expected);
    QCOMPARE(drawn.text, expected);
    const QFontMetrics metrics(BlockItem::diagramFont(), &recorder);
    QCOMPARE(drawn.position, QPointF(4000 - 50 - metrics.boundingRect(expected).width(), 2950 - 80));
}

void tst_TextBlockItem::enableActionFollowsRuntimeText()
{
    TestModel model;
    BlockDefinition* definition = textDefinition(model, QSizeF(4, 3));
    BlockInstance* inTask = placeText(model, definition, {QStringLiteral("x")});
    definition->setRuntimeMembership(RuntimeMembershipNone);
    BlockInstance* outside = placeText(model, definition, {QStringLiteral("y")}, QPointF(10, 10));
    TestCodeScene scene(model.rootCode());
    const auto hasEnableAction = [&](BlockInstance* instance) {
        QMenu menu;
        textItem(scene, instance)->addContextMenuActions(&menu);
        return actionNamed(&menu, QStringLiteral("Bausteinenable anzeigen")) != nullptr;
    };
    QVERIFY(hasEnableAction(inTask));
    QVERIFY(!hasEnableAction(outside));
}

void tst_TextBlockItem::identifierOnlyInSingleLineBox_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<bool>("shown");
    QTest::newRow("level 4, one line") << 4 << QStringList{QStringLiteral("a")} << false;
    QTest::newRow("level 5, one line") << 5 << QStringList{QStringLiteral("a")} << true;
    QTest::newRow("level 5, no line") << 5 << QStringList{} << true;
    QTest::newRow("level 5, two lines") << 5 << QStringList{QStringLiteral("a"), QStringLiteral("b")} << false;
    QTest::newRow("level 4, two lines") << 4 << QStringList{QStringLiteral("a"), QStringLiteral("b")} << false;
}

void tst_TextBlockItem::identifierOnlyInSingleLineBox()
{
    QFETCH(int, level);
    QFETCH(QStringList, lines);
    QFETCH(bool, shown);
    TestModel model;
    BlockInstance* instance = placeText(model, textDefinition(model, QSizeF(4, 3)), lines);
    TestCodeScene scene(model.rootCode());
    System::instance().setUserAccessLevelCode(quint32(level));
    PaintRecorder recorder;
    record(textItem(scene, instance), &recorder);
    const QString expected = instance->numberText() + QStringLiteral(" (%1)").arg(instance->identifier());
    for (const PaintRecorder::Text& text : recorder.texts())
        QVERIFY2(text.text == expected || !text.text.contains(instance->numberText()), qPrintable(text.text));
    const PaintRecorder::Text drawn = recorder.text(expected);
    QCOMPARE(drawn.text == expected, shown);
    if (shown)
        QCOMPARE(drawn.position, QPointF(50, 2950 - 80));
}

void tst_TextBlockItem::versionDrawnAtTopRightWhenVisible()
{
    TestModel model;
    BlockDefinition* definition = textDefinition(model, QSizeF(6, 3));
    BlockInstance* instance = placeText(model, definition, {QStringLiteral("a")});
    TestCodeScene scene(model.rootCode());
    const QString version = QStringLiteral("V%1").arg(instance->version());
    {
        PaintRecorder recorder;
        record(textItem(scene, instance), &recorder);
        QVERIFY(recorder.text(version).text.isEmpty());
    }
    definition->block()->setVersionVisible(true);
    scene.rebuild();
    PaintRecorder recorder;
    TextBlockItem* item = textItem(scene, instance);
    record(item, &recorder);
    const PaintRecorder::Text drawn = recorder.text(version);
    QCOMPARE(drawn.text, version);
    const QFontMetrics metrics(BlockItem::diagramFont(), &recorder);
    QCOMPARE(drawn.position, QPointF(item->rect().width() - 50 - metrics.boundingRect(version).width(),
                                     50 + 20 + metrics.ascent()));
}

void tst_TextBlockItem::selectedBackgroundIsDarker()
{
    TestModel model;
    BlockInstance* instance = placeText(model, textDefinition(model, QSizeF(4, 3)), {});
    TestCodeScene scene(model.rootCode());
    TextBlockItem* item = textItem(scene, instance);
    const QImage plain = renderItem(item, QSize(100, 80), 0.02, QPointF(5, 5));
    const QImage selected = renderItem(item, QSize(100, 80), 0.02, QPointF(5, 5), true);
    QCOMPARE(QColor(plain.pixel(45, 35)), QColor(Qt::white));
    QCOMPARE(selected.pixel(45, 35), QColor(Qt::white).darker(120).rgb());
    // The box leaves the item's top margin free.
    QCOMPARE(QColor(selected.pixel(45, 5)), QColor(Qt::white));
}

void tst_TextBlockItem::belowDetailThresholdOnlyBox()
{
    TestModel model;
    BlockInstance* instance = placeText(model, textDefinition(model, QSizeF(4, 3)), {QStringLiteral("Hallo")});
    TestCodeScene scene(model.rootCode());
    TextBlockItem* item = textItem(scene, instance);
    PaintRecorder low;
    recordItem(item, &low, QTransform::fromScale(0.02, 0.02));
    QCOMPARE(low.texts().size(), 0);
    QCOMPARE(low.rects().size(), 1);
    QCOMPARE(low.rects().first().rect, QRectF(0, 50 * 0.02, 4000 * 0.02, 2900 * 0.02));
    QCOMPARE(low.rects().first().pen, QColor(Qt::black));
    QCOMPARE(low.rects().first().brush, QColor(Qt::white));
    PaintRecorder high;
    recordItem(item, &high, QTransform::fromScale(0.025, 0.025));
    QCOMPARE(high.text(QStringLiteral("Hallo")).text, QStringLiteral("Hallo"));
}

void tst_TextBlockItem::toolTipWithNote()
{
    TestModel model;
    BlockDefinition* definition = textDefinition(model, QSizeF(4, 3));
    BlockInstance* instance = placeText(model, definition, {QStringLiteral("a")});
    TestCodeScene scene(model.rootCode());
    TextBlockItem* item = textItem(scene, instance);
    QCOMPARE(item->toolTip(), definition->toolTipText());
    instance->setNote(QStringLiteral("Merke"));
    scene.rebuild();
    QCOMPARE(item->toolTip(), definition->toolTipText() + QStringLiteral("<hr>Merke"));
}

void tst_TextBlockItem::setEnablePinForcedShowsEnablePin()
{
    TestModel model;
    BlockInstance* instance = placeText(model, textDefinition(model, QSizeF(4, 3), true), {QStringLiteral("a")});
    TestCodeScene scene(model.rootCode());
    TextBlockItem* item = textItem(scene, instance);
    QVERIFY(item->pinItem(BlockItem::EnablePinIdentifier));
    QVERIFY(!item->isEnablePinVisible());
    item->setEnablePinForced(true);
    QVERIFY(item->isEnablePinForced());
    QVERIFY(item->isEnablePinVisible());
    item->setEnablePinForced(false);
    QVERIFY(!item->isEnablePinForced());
    QVERIFY(!item->isEnablePinVisible());
}

void tst_TextBlockItem::itemWithoutInstanceKeepsItsBox()
{
    TestModel model;
    const QString line(40, QLatin1Char('W'));
    BlockInstance* instance = placeText(model, textDefinition(model, QSizeF(4, 3)), {line});
    const unsigned int id = instance->identifier();
    TestCodeScene scene(model.rootCode());
    TextBlockItem* item = textItem(scene, instance);
    const QRectF box = item->rect();
    // An inactive scene keeps the item of a removed instance until a later update.
    model.rootCode()->deleteInstance(id);
    QCOMPARE(scene.blockItem(id), item);
    QVERIFY(!item->blockInstance());
    item->updateFromInstance();
    QCOMPARE(item->rect(), box);
    PaintRecorder recorder;
    record(item, &recorder);
    QCOMPARE(recorder.texts().size(), 0);
}

ZK_TEST_REGISTER(tst_TextBlockItem)
#include "tst_TextBlockItem.moc"
