#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPin.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "BlockSymbol.h"
#include "DatatypeProvider.h"
#include "LanguageManager.h"
#include "MenuLookup.h"
#include "ModalAnswer.h"
#include "ModelBuilder.h"
#include "ParameterCoordinate.h"
#include "ParameterDefinition.h"
#include "ParameterText.h"
#include "Pictures.h"
#include "SceneTestSupport.h"
#include "System.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include <QAction>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFontMetrics>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QPointer>
#include <QSpinBox>
#include <QTest>

namespace {

BlockDefinition* definitionOf(TestModel& model, const QString& identifier)
{
    return ModelBuilder::newest(model.block(identifier));
}

// An AND with an enable pin in the top input row.
BlockDefinition* enableDefinition(TestModel& model)
{
    Block* block = ModelBuilder::primitive(model.standard()->library(), QStringLiteral("StandardBlock_77"),
                                           QStringLiteral("UND FREI"),
                                           {{QStringLiteral("E1"), DatatypeProvider::Bool}, {QStringLiteral("E2"), DatatypeProvider::Bool}},
                                           {{QStringLiteral("A"), DatatypeProvider::Bool}}, QStringLiteral("and"));
    BlockDefinition* definition = ModelBuilder::newest(block);
    BlockPin enable(BlockItem::EnablePinIdentifier, BlockPinFunctionInput, DatatypeProvider::Bool);
    enable.setShortName(QStringLiteral("EN"));
    enable.setName(Text(LanguageManager::German, QStringLiteral("EN")));
    definition->setPin(enable);
    BlockSymbol symbol = *definition->symbol();
    symbol.setInputPins({BlockItem::EnablePinIdentifier, 1, 2});
    symbol.setDefaultSize(BlockSymbol::sizeForPins(3, 1));
    definition->setSymbol(symbol);
    return definition;
}

QColor pixel(const QImage& image, int x, int y)
{
    return QColor::fromRgba(image.pixel(x, y));
}

// What a colour looks like when filled over white, as the block body is rendered in the tests.
QColor overWhite(const QColor& color)
{
    QImage image(1, 1, QImage::Format_ARGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.fillRect(QRect(0, 0, 1, 1), color);
    painter.end();
    return pixel(image, 0, 0);
}

// A child of a pin that deletes another pin item as soon as it is shown: the reaction of the model
// to one pin's update taking another pin away, as seen from updatePins().
class PinRemover : public QGraphicsRectItem
{
public:
    PinRemover(QGraphicsItem* parent, QPointer<BlockPinItem>* victim)
        : QGraphicsRectItem(parent)
        , m_victim(victim)
    {
    }

protected:
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override
    {
        if (change == ItemVisibleHasChanged && value.toBool() && *m_victim)
            delete m_victim->data();
        return QGraphicsRectItem::itemChange(change, value);
    }

private:
    QPointer<BlockPinItem>* m_victim;
};

} // namespace

class tst_BlockItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void diagramFont();
    void construction_data();
    void construction();
    void toolTipWithNote();
    void toolTipOfParameterBlock();
    void pinItemsAscendingUnsigned();
    void pinPosition_data();
    void pinPosition();
    void updatePinsReconciles();
    void updatePinsSurvivesAPinGoingMidway();
    void runtimePositionText();
    void snapping_data();
    void snapping();
    void colours_data();
    void colours();
    void detailThreshold();
    void texts_data();
    void texts();
    void symbolImage();
    void enablePin();
    void connectedEnablePinStaysVisible();
    void contextMenu();
    void contextMenuWithoutRuntime();
    void rightClickReducesSelection();
    void leftClickSelects();
    void doubleClickDoesNothing();
    void editModeChanged();
    void propertiesReadOnly_data();
    void propertiesReadOnly();
    void propertiesWhileInstanceDies();
    void runtimePositionReadOnly_data();
    void runtimePositionReadOnly();
    void survivesInstance();
};

void tst_BlockItem::diagramFont()
{
    const QFont font = BlockItem::diagramFont();
    QCOMPARE(font.pointSizeF(), 240.0);
    QCOMPARE(font.weight(), QFont::Light);
    QCOMPARE(font.styleHint(), QFont::System);
    QCOMPARE(font.styleStrategy(), QFont::PreferOutline);
    QCOMPARE(font.family(), QFont().family());
}

void tst_BlockItem::construction_data()
{
    QTest::addColumn<bool>("definitionScene");
    QTest::newRow("definition scene") << true;
    QTest::newRow("hierarchy scene") << false;
}

void tst_BlockItem::construction()
{
    QFETCH(bool, definitionScene);
    TestModel model;
    BlockDefinition* definition = definitionOf(model, QStringLiteral("StandardBlock_1"));
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), definition, QPointF(7, 4));
    TestCodeScene scene(model.rootCode(), definitionScene);
    BlockItem* item = scene.blockItemOf(instance);
    QVERIFY(item);
    QCOMPARE(item->codeScene(), &scene);
    QCOMPARE(item->identifier(), instance->identifier());
    QCOMPARE(item->pos(), QPointF(7000, 4000));
    QCOMPARE(item->zValue(), -2.0);
    const QSizeF size = instance->symbol()->size();
    QCOMPARE(item->rect(), QRectF(0, 0, size.width() * 1000, size.height() * 1000));
    QVERIFY(item->flags() & QGraphicsItem::ItemIsSelectable);
    QVERIFY(item->flags() & QGraphicsItem::ItemSendsGeometryChanges);
    QCOMPARE(bool(item->flags() & QGraphicsItem::ItemIsMovable), definitionScene);
    QVERIFY(item->acceptHoverEvents());
    QCOMPARE(item->toolTip(), definition->toolTipText());
    QCOMPARE(item->font(), BlockItem::diagramFont());
    QCOMPARE(item->pinItems().size(), 3);
}

void tst_BlockItem::toolTipWithNote()
{
    TestModel model;
    BlockDefinition* definition = definitionOf(model, QStringLiteral("StandardBlock_1"));
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), definition, QPointF(1, 1));
    TestCodeScene scene(model.rootCode());
    instance->setNote(QStringLiteral("Achtung"));
    scene.rebuild();
    QCOMPARE(scene.blockItemOf(instance)->toolTip(), definition->toolTipText() + QStringLiteral("<hr>Achtung"));
}

void tst_BlockItem::toolTipOfParameterBlock()
{
    TestModel model;
    BlockDefinition* definition = definitionOf(model, QStringLiteral("StandardBlock_3"));
    auto* parameter = new ParameterDefinition;
    ParameterText name;
    name.setLongText(LanguageManager::German, QStringLiteral("Drehzahl"));
    parameter->setName(name);
    ParameterText description;
    description.setLongText(LanguageManager::German, QStringLiteral("Die Soll-Drehzahl."));
    parameter->setDescription(description);
    QVERIFY(parameter->setDefaultCoordinates({ParameterCoordinate(QLatin1Char('P'), 12)}));
    definition->attachParameterGeneralDefinition(0, parameter);
    QVERIFY(definition->isParameterDefinitionBlock());
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), definition, QPointF(1, 1));
    instance->setNote(QStringLiteral("Notiz"));
    TestCodeScene scene(model.rootCode());

    const QString expected =
        QStringLiteral("<body style=\"font-family:Segoe UI, Arial, Helvetica, Swiss;font-weight:normal;padding:0;\">"
                       "<p style=\"margin-top:0px; margin-bottom:0px; font-size:9pt;\"><b>%1 | Drehzahl</b></p>"
                       "<p style=\"margin-top:0px; margin-bottom:20px; font-size:9pt;\"><hr></p>"
                       "Die Soll-Drehzahl.<hr>Notiz")
            .arg(ParameterCoordinate(QLatin1Char('P'), 12).toText());
    QCOMPARE(scene.blockItemOf(instance)->toolTip(), expected);
}

void tst_BlockItem::pinItemsAscendingUnsigned()
{
    TestModel model;
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), enableDefinition(model), QPointF(1, 1));
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);
    QList<int> ids;
    for (BlockPinItem* pin : item->pinItems())
        ids.append(pin->identifier());
    QCOMPARE(ids, (QList<int>{1, 2, 3, -1}));
    QCOMPARE(item->pinItem(-1)->identifier(), -1);
    QCOMPARE(item->pinItem(2)->parentItem(), item);
    QCOMPARE(item->pinItem(99), nullptr);
}

void tst_BlockItem::pinPosition_data()
{
    QTest::addColumn<QList<int>>("inputs");
    QTest::addColumn<QList<int>>("outputs");
    QTest::addColumn<int>("pin");
    QTest::addColumn<bool>("right");
    QTest::addColumn<qreal>("y");
    const QList<int> plainIn{1, 2};
    const QList<int> enableIn{-1, 1, 2};
    const QList<int> outs{3, 4};
    QTest::newRow("first input") << plainIn << outs << 1 << false << 500.0;
    QTest::newRow("second input") << plainIn << outs << 2 << false << 1500.0;
    QTest::newRow("first output") << plainIn << outs << 3 << true << 500.0;
    QTest::newRow("second output") << plainIn << outs << 4 << true << 1500.0;
    QTest::newRow("in no list") << plainIn << outs << 9 << true << 0.0;
    QTest::newRow("enable pin") << enableIn << outs << -1 << false << 500.0;
    QTest::newRow("input below enable") << enableIn << outs << 1 << false << 1500.0;
    QTest::newRow("first output below enable") << enableIn << outs << 3 << true << 1500.0;
    QTest::newRow("second output below enable") << enableIn << outs << 4 << true << 2500.0;
    QTest::newRow("in no list with enable") << enableIn << outs << 9 << true << 500.0;
    QTest::newRow("enable among outputs only") << plainIn << QList<int>{-1, 3} << 3 << true << 1500.0;
}

void tst_BlockItem::pinPosition()
{
    QFETCH(QList<int>, inputs);
    QFETCH(QList<int>, outputs);
    QFETCH(int, pin);
    QFETCH(bool, right);
    QFETCH(qreal, y);
    TestModel model;
    BlockDefinition* definition = enableDefinition(model);
    BlockSymbol symbol = *definition->symbol();
    symbol.setInputPins(inputs);
    symbol.setOutputPins(outputs);
    symbol.setDefaultSize(QSizeF(5, 4));
    definition->setSymbol(symbol);
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), definition, QPointF(1, 1));
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);
    // The enable pin is neither forced nor connected: its row is kept free all the same.
    QVERIFY(!item->isEnablePinVisible());
    QCOMPARE(item->pinPosition(pin), QPointF(right ? 5000.0 : 0.0, y));
}

void tst_BlockItem::updatePinsReconciles()
{
    TestModel model;
    BlockDefinition* definition = enableDefinition(model);
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), definition, QPointF(1, 1));
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);
    QPointer<BlockPinItem> kept = item->pinItem(1);
    QPointer<BlockPinItem> removed = item->pinItem(2);

    QVERIFY(definition->removePin(2));
    instance->syncPins();
    item->updatePins();
    QVERIFY(!removed);
    QCOMPARE(item->pinItem(1), kept.data());

    BlockPin extra(5, BlockPinFunctionOutput, DatatypeProvider::Bool);
    extra.setShortName(QStringLiteral("B"));
    definition->setPin(extra);
    instance->syncPins();
    item->updatePins();
    QVERIFY(item->pinItem(5));
    QCOMPARE(item->pinItem(1), kept.data());
    QCOMPARE(item->pinItems().size(), instance->pins().size());
}

void tst_BlockItem::updatePinsSurvivesAPinGoingMidway()
{
    TestModel model;
    BlockInstance* instance =
        ModelBuilder::place(model.rootCode(), definitionOf(model, QStringLiteral("StandardBlock_1")), QPointF(1, 1));
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);
    BlockPinItem* first = item->pinItem(1);
    QPointer<BlockPinItem> output = item->pinItem(3);
    QVERIFY(first && output);
    // The first pin shows again at its next update, and then takes the output's item away before
    // the output's turn comes.
    first->setVisible(false);
    new PinRemover(first, &output);

    item->updatePins();

    QVERIFY(!output);
    BlockPinItem* made = item->pinItem(3);
    QVERIFY(made);
    QCOMPARE(made->pinInstance(), instance->pin(3));
    QCOMPARE(made->pos(), item->pinPosition(3));
    QCOMPARE(item->pinItems().size(), instance->pins().size());
    QVERIFY(first->isVisible());
}

void tst_BlockItem::runtimePositionText()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* definition = definitionOf(model, QStringLiteral("StandardBlock_1"));
    BlockInstance* first = ModelBuilder::place(code, definition, QPointF(1, 1));
    BlockInstance* second = ModelBuilder::place(code, definition, QPointF(10, 1));
    TestCodeScene scene(code);
    BlockItem* item = scene.blockItemOf(second);
    QCOMPARE(code->realtime(second->identifier()), 2u);
    QCOMPARE(item->runtimePositionText(), QStringLiteral("2/-"));
    code->setBackground(second->identifier(), 1);
    QCOMPARE(item->runtimePositionText(), QStringLiteral("2/1"));
    code->setRealtime(second->identifier(), 0);
    code->setBackground(second->identifier(), 0);
    QCOMPARE(item->runtimePositionText(), QStringLiteral("-/-"));
    QCOMPARE(scene.blockItemOf(first)->runtimePositionText(), QStringLiteral("1/-"));
}

void tst_BlockItem::snapping_data()
{
    QTest::addColumn<QPointF>("requested");
    QTest::addColumn<QPointF>("snapped");
    QTest::newRow("1499 down") << QPointF(1499, 0) << QPointF(1000, 0);
    QTest::newRow("1500 up") << QPointF(1500, 2499) << QPointF(2000, 2000);
    QTest::newRow("whole units") << QPointF(30000, 4000) << QPointF(30000, 4000);
    QTest::newRow("small negative toward zero") << QPointF(-400, -300) << QPointF(0, 0);
    QTest::newRow("beyond the right and bottom") << QPointF(5e6, 2e6) << QPointF(1001000, 1001000);
    QTest::newRow("beyond the left and top") << QPointF(-9000, -7000) << QPointF(0, 0);
}

void tst_BlockItem::snapping()
{
    QFETCH(QPointF, requested);
    QFETCH(QPointF, snapped);
    TestModel model;
    BlockInstance* instance =
        ModelBuilder::place(model.rootCode(), definitionOf(model, QStringLiteral("StandardBlock_1")), QPointF(1, 1));
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);
    item->setPos(requested);
    QCOMPARE(item->pos(), snapped);
    // The model is written at once, in model units.
    QCOMPARE(instance->position(), snapped / 1000.0);
    QCOMPARE(scene.blockItemOf(instance), item);
}

void tst_BlockItem::colours_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("error");
    QTest::addColumn<bool>("selected");
    QTest::addColumn<QColor>("outline");
    QTest::addColumn<QColor>("body");
    const QColor errorBody(255, 69, 0, 128);
    QTest::newRow("plain") << "plain" << false << false << QColor(Qt::black) << QColor(Qt::white);
    QTest::newRow("plain selected") << "plain" << false << true << QColor(Qt::black) << QColor(Qt::white).darker(120);
    QTest::newRow("local") << "local" << false << false << QColor(Qt::darkCyan) << QColor(Qt::white);
    QTest::newRow("user") << "user" << false << false << QColor(Qt::darkBlue) << QColor(Qt::white);
    QTest::newRow("error") << "plain" << true << false << QColor(Qt::red) << errorBody;
    QTest::newRow("error on local") << "local" << true << false << QColor(Qt::red) << errorBody;
    QTest::newRow("error selected") << "plain" << true << true << QColor(Qt::red) << errorBody.darker(120);
    // A fall-back block reports an error of its own, so its outline shows red as well.
    QTest::newRow("fall-back") << "fallback" << false << false << QColor(Qt::red) << errorBody;
}

void tst_BlockItem::colours()
{
    QFETCH(QString, kind);
    QFETCH(bool, error);
    QFETCH(bool, selected);
    QFETCH(QColor, outline);
    QFETCH(QColor, body);
    TestModel model;
    BlockDefinition* definition = definitionOf(model, QStringLiteral("StandardBlock_1"));
    if (kind == QLatin1String("local")) {
        BlockLibrary* local = model.area()->rootDefinition()->ensureLocalBlockLibrary();
        definition = ModelBuilder::newest(ModelBuilder::primitive(local, QStringLiteral("LocalAnd"), QStringLiteral("UND lokal"),
                                                                  {{QStringLiteral("E1")}}, {{QStringLiteral("A")}}));
        QVERIFY(definition->block()->isLocalBlock());
    } else if (kind == QLatin1String("user")) {
        definition->block()->setUserBlock(true);
    } else if (kind == QLatin1String("fallback")) {
        definition->block()->setFallbackBlock(true);
    }
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), definition, QPointF(1, 1));
    if (error)
        instance->setError(3);
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);

    // At this scale the texts are below the detail threshold, so only the body shows.
    const QImage image = renderItem(item, QSize(100, 100), 0.01, QPointF(10, 10), selected);
    const QRectF rect = item->rect();
    const int midY = 10 + int(rect.height() * 0.01 / 2);
    QCOMPARE(pixel(image, 10, midY), outline);
    QCOMPARE(pixel(image, 10 + int(rect.width() * 0.01 / 2), midY), overWhite(body));
    // Outside the body nothing is drawn.
    QCOMPARE(pixel(image, 5, midY), QColor(Qt::white));
}

void tst_BlockItem::detailThreshold()
{
    TestModel model;
    BlockInstance* instance =
        ModelBuilder::place(model.rootCode(), definitionOf(model, QStringLiteral("StandardBlock_1")), QPointF(1, 1));
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);
    PaintRecorder below;
    recordItem(item, &below, QTransform::fromScale(0.0234, 0.0234));
    QVERIFY(below.texts().isEmpty());
    QCOMPARE(below.rects().size(), 1);
    PaintRecorder above;
    recordItem(item, &above, QTransform::fromScale(0.0236, 0.0236));
    QVERIFY(!above.texts().isEmpty());
}

void tst_BlockItem::texts_data()
{
    QTest::addColumn<int>("accessLevel");
    QTest::addColumn<bool>("withIdentifier");
    QTest::newRow("level 3") << 3 << false;
    QTest::newRow("level 4") << 4 << false;
    QTest::newRow("level 5") << 5 << true;
}

void tst_BlockItem::texts()
{
    QFETCH(int, accessLevel);
    QFETCH(bool, withIdentifier);
    TestModel model;
    BlockDefinition* definition = definitionOf(model, QStringLiteral("StandardBlock_1"));
    definition->block()->setVersionVisible(true);
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), definition, QPointF(1, 1));
    instance->setError(1);
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);
    System::instance().setUserAccessLevelCode(quint32(accessLevel));

    PaintRecorder recorder;
    recordItem(item, &recorder);
    const QFontMetrics metrics(item->font(), &recorder);
    const QRectF body = item->rect().adjusted(0, 50, 0, -50);

    const PaintRecorder::Text title = recorder.text(instance->title());
    QVERIFY(!title.text.isEmpty());
    QCOMPARE(title.position, QPointF(body.left() + 50, body.top() + 20 + metrics.ascent()));
    QCOMPARE(title.color, QColor(Qt::red));

    const QString versionText = QStringLiteral("V%1").arg(instance->version());
    const PaintRecorder::Text version = recorder.text(versionText);
    QCOMPARE(version.text, versionText);
    QCOMPARE(version.position,
             QPointF(body.right() - 50 - metrics.boundingRect(versionText).width(), body.top() + 20 + metrics.ascent()));

    const QString numberText = withIdentifier ? instance->numberText() + QStringLiteral(" (%1)").arg(instance->identifier())
                                              : instance->numberText();
    const PaintRecorder::Text number = recorder.text(numberText);
    QCOMPARE(number.text, numberText);
    QCOMPARE(number.position, QPointF(body.left() + 50, body.bottom() - 80));

    const QString runtimeText = item->runtimePositionText();
    QCOMPARE(runtimeText, QStringLiteral("1/-"));
    const PaintRecorder::Text runtime = recorder.text(runtimeText);
    QCOMPARE(runtime.text, runtimeText);
    QCOMPARE(runtime.position, QPointF(body.right() - 50 - metrics.boundingRect(runtimeText).width(), body.bottom() - 80));

    definition->block()->setVersionVisible(false);
    PaintRecorder hidden;
    recordItem(item, &hidden);
    QVERIFY(hidden.text(versionText).text.isEmpty());
}

void tst_BlockItem::symbolImage()
{
    TestModel model;
    BlockDefinition* definition = definitionOf(model, QStringLiteral("StandardBlock_1"));
    BlockSymbol symbol = *definition->symbol();
    symbol.setImage(pngBytes(QSize(10, 20), Qt::blue));
    symbol.setDefaultSize(QSizeF(6, 4));
    definition->setSymbol(symbol);
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), definition, QPointF(1, 1));
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);
    QCOMPARE(instance->symbol()->size(), instance->symbol()->defaultSize());

    PaintRecorder same;
    recordItem(item, &same);
    QVERIFY(same.images().isEmpty());

    symbol.setSize(QSizeF(6, 4.5));
    symbol.setDefaultSize(QSizeF(6, 4));
    definition->setSymbol(symbol);
    scene.rebuild();
    QCOMPARE(item->rect(), QRectF(0, 0, 6000, 4500));
    PaintRecorder resized;
    recordItem(item, &resized);
    QCOMPARE(resized.images().size(), 1);
    // 4100 high inside the margins; the image keeps its 1:2 proportion and stands centred.
    QCOMPARE(resized.images().first(), QRectF(1975, 200, 2050, 4100));

    // A new picture of the definition shows after the update it brings, in its own proportion.
    symbol.setImage(pngBytes(QSize(41, 41), Qt::blue));
    definition->setSymbol(symbol);
    scene.rebuild();
    PaintRecorder replaced;
    recordItem(item, &replaced);
    QCOMPARE(replaced.images().size(), 1);
    QCOMPARE(replaced.images().first(), QRectF(950, 200, 4100, 4100));
}

void tst_BlockItem::enablePin()
{
    TestModel model;
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), enableDefinition(model), QPointF(1, 1));
    BlockInstance* plain =
        ModelBuilder::place(model.rootCode(), definitionOf(model, QStringLiteral("StandardBlock_1")), QPointF(10, 1));
    TestCodeScene scene(model.rootCode());
    BlockItem* item = scene.blockItemOf(instance);
    QVERIFY(item->hasEnablePin());
    QVERIFY(!scene.blockItemOf(plain)->hasEnablePin());
    QVERIFY(!item->isEnablePinVisible());
    QVERIFY(!item->isEnablePinForced());

    item->forceEnablePinVisible(true);
    QVERIFY(item->isEnablePinForced());
    QVERIFY(item->isEnablePinVisible());
    item->forceEnablePinVisible(false);
    QVERIFY(!item->isEnablePinForced());
    QVERIFY(!item->isEnablePinVisible());

    // A parameter block hides its enable pin from the user.
    instance->blockDefinition()->attachParameterGeneralDefinition(0, new ParameterDefinition);
    QVERIFY(!item->hasEnablePin());
}

void tst_BlockItem::connectedEnablePinStaysVisible()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockInstance* source = ModelBuilder::place(code, definitionOf(model, QStringLiteral("StandardBlock_3")), QPointF(1, 1));
    BlockInstance* target = ModelBuilder::place(code, enableDefinition(model), QPointF(12, 1));
    ModelBuilder::wire(code, source, 2, target, BlockItem::EnablePinIdentifier);
    TestCodeScene scene(code);
    BlockItem* item = scene.blockItemOf(target);
    QVERIFY(item->pinItem(BlockItem::EnablePinIdentifier)->hasConnection());
    // Pins are updated before the connections are built, so the first update leaves the enable pin
    // as it found it; the next one shows it connected.
    scene.rebuild();
    QVERIFY(item->isEnablePinVisible());

    item->forceEnablePinVisible(true);
    QVERIFY(!item->isEnablePinForced());
    item->forceEnablePinVisible(false);
    QVERIFY(!item->isEnablePinForced());
    QVERIFY(item->isEnablePinVisible());
}

void tst_BlockItem::contextMenu()
{
    TestModel model;
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), enableDefinition(model), QPointF(1, 1));
    for (bool definitionScene : {true, false}) {
        TestCodeScene scene(model.rootCode(), definitionScene);
        BlockItem* item = scene.blockItemOf(instance);
        QMenu menu;
        item->addContextMenuActions(&menu);
        QCOMPARE(actionTextsWithSeparators(&menu), (QStringList{QStringLiteral("|"), QStringLiteral("Bausteinenable anzeigen"),
                                                  QStringLiteral("Eigenschaften"), QStringLiteral("Laufzeitreihenfolge")}));
        QAction* enable = actionNamed(&menu, QStringLiteral("Bausteinenable anzeigen"));
        QVERIFY(enable->isCheckable());
        QVERIFY(!enable->isChecked());
        QCOMPARE(enable->isEnabled(), definitionScene);
        QCOMPARE(menu.defaultAction(), actionNamed(&menu, QStringLiteral("Eigenschaften")));
        if (definitionScene) {
            enable->setChecked(true);
            QVERIFY(item->isEnablePinForced());
            QVERIFY(item->isEnablePinVisible());
            QMenu again;
            item->addContextMenuActions(&again);
            QVERIFY(actionNamed(&again, QStringLiteral("Bausteinenable anzeigen"))->isChecked());
        }
        delete scene.blockItemOf(instance);
    }

    // A default that the menu already has stays.
    TestCodeScene scene(model.rootCode());
    QMenu menu;
    QAction* first = menu.addAction(QStringLiteral("Zuerst"));
    menu.setDefaultAction(first);
    scene.blockItemOf(instance)->addContextMenuActions(&menu);
    QCOMPARE(menu.defaultAction(), first);
}

void tst_BlockItem::contextMenuWithoutRuntime()
{
    TestModel model;
    BlockDefinition* definition = definitionOf(model, QStringLiteral("StandardBlock_1"));
    definition->setRuntimeMembership(RuntimeMembershipNone);
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), definition, QPointF(1, 1));
    TestCodeScene scene(model.rootCode());
    QMenu menu;
    scene.blockItemOf(instance)->addContextMenuActions(&menu);
    // No enable pin, no runtime order.
    QCOMPARE(actionTextsWithSeparators(&menu), QStringList{QStringLiteral("Eigenschaften")});
}

void tst_BlockItem::rightClickReducesSelection()
{
    TestModel model;
    BlockDefinition* definition = definitionOf(model, QStringLiteral("StandardBlock_1"));
    BlockInstance* a = ModelBuilder::place(model.rootCode(), definition, QPointF(1, 1));
    BlockInstance* b = ModelBuilder::place(model.rootCode(), definition, QPointF(20, 1));
    BlockInstance* c = ModelBuilder::place(model.rootCode(), definition, QPointF(40, 1));
    TestCodeScene scene(model.rootCode());
    for (BlockInstance* instance : {a, b, c})
        scene.blockItemOf(instance)->setSelected(true);
    BlockItem* item = scene.blockItemOf(b);
    sendSceneMouse(&scene, QEvent::GraphicsSceneMousePress, item->mapToScene(item->rect().center()), Qt::RightButton);
    QCOMPARE(scene.selectedBlockItems(), QList<BlockItem*>{item});
}

void tst_BlockItem::leftClickSelects()
{
    TestModel model;
    BlockDefinition* definition = definitionOf(model, QStringLiteral("StandardBlock_1"));
    BlockInstance* a = ModelBuilder::place(model.rootCode(), definition, QPointF(1, 1));
    BlockInstance* b = ModelBuilder::place(model.rootCode(), definition, QPointF(20, 1));
    TestCodeScene scene(model.rootCode());
    scene.blockItemOf(a)->setSelected(true);
    BlockItem* item = scene.blockItemOf(b);
    const QPointF at = item->mapToScene(item->rect().center());
    sendSceneMouse(&scene, QEvent::GraphicsSceneMousePress, at);
    sendSceneMouse(&scene, QEvent::GraphicsSceneMouseRelease, at);
    QCOMPARE(scene.selectedBlockItems(), QList<BlockItem*>{item});
}

void tst_BlockItem::doubleClickDoesNothing()
{
    TestModel model;
    BlockDefinition* definition = definitionOf(model, QStringLiteral("StandardBlock_1"));
    BlockInstance* a = ModelBuilder::place(model.rootCode(), definition, QPointF(1, 1));
    BlockInstance* b = ModelBuilder::place(model.rootCode(), definition, QPointF(20, 1));
    TestCodeScene scene(model.rootCode());
    BlockItem* selected = scene.blockItemOf(a);
    selected->setSelected(true);
    BlockItem* item = scene.blockItemOf(b);
    sendSceneMouse(&scene, QEvent::GraphicsSceneMouseDoubleClick, item->mapToScene(item->rect().center()));
    QVERIFY(!item->isSelected());
    QVERIFY(selected->isSelected());
}

void tst_BlockItem::editModeChanged()
{
    TestModel model;
    BlockInstance* instance =
        ModelBuilder::place(model.rootCode(), definitionOf(model, QStringLiteral("StandardBlock_1")), QPointF(1, 1));
    TestCodeScene scene(model.rootCode(), false);
    BlockItem* item = scene.blockItemOf(instance);
    QVERIFY(!(item->flags() & QGraphicsItem::ItemIsMovable));
    item->editModeChanged(true);
    QVERIFY(item->flags() & QGraphicsItem::ItemIsMovable);
    item->editModeChanged(false);
    QVERIFY(!(item->flags() & QGraphicsItem::ItemIsMovable));
    QVERIFY(item->flags() & QGraphicsItem::ItemIsSelectable);
}

void tst_BlockItem::propertiesReadOnly_data()
{
    QTest::addColumn<QString>("block");
    QTest::addColumn<bool>("definitionScene");
    QTest::addColumn<bool>("sceneReadOnly");
    QTest::addColumn<int>("writeLevel");
    QTest::addColumn<bool>("readOnly");
    QTest::newRow("standard block") << "StandardBlock_1" << true << false << 0 << true;
    QTest::newRow("tool block") << "ToolBlock_8000008" << true << false << 0 << false;
    QTest::newRow("magic block") << "MagicBlock_300005" << true << false << 0 << false;
    QTest::newRow("tool block, read-only scene") << "ToolBlock_8000008" << true << true << 0 << true;
    QTest::newRow("tool block, hierarchy scene") << "ToolBlock_8000008" << false << false << 0 << true;
    QTest::newRow("local block, level enough") << "local" << true << false << 3 << false;
    QTest::newRow("local block, level too low") << "local" << true << false << 4 << true;
}

void tst_BlockItem::propertiesReadOnly()
{
    QFETCH(QString, block);
    QFETCH(bool, definitionScene);
    QFETCH(bool, sceneReadOnly);
    QFETCH(int, writeLevel);
    QFETCH(bool, readOnly);
    TestModel model;
    BlockDefinition* definition = nullptr;
    if (block == QLatin1String("local")) {
        BlockLibrary* local = model.area()->rootDefinition()->ensureLocalBlockLibrary();
        definition = ModelBuilder::newest(ModelBuilder::primitive(local, QStringLiteral("LocalAnd"), QStringLiteral("UND lokal"),
                                                                  {{QStringLiteral("E1")}}, {{QStringLiteral("A")}}));
        definition->setAccessLevelWrite(unsigned(writeLevel));
    } else {
        definition = definitionOf(model, block);
    }
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), definition, QPointF(1, 1));
    TestCodeScene scene(model.rootCode(), definitionScene, sceneReadOnly);
    scene.setInstanceArea(model.area());
    BlockItem* item = scene.blockItemOf(instance);

    bool dialogReadOnly = !readOnly;
    QString dialogName;
    auto answered = answerNextModal([&](QDialog* dialog) {
        dialogName = dialog->objectName();
        if (auto* edit = dialog->findChild<QLineEdit*>(QStringLiteral("nameEdit")))
            dialogReadOnly = edit->isReadOnly();
        dialog->reject();
    });
    item->showPropertiesView();
    QVERIFY(*answered);
    QCOMPARE(dialogName, QStringLiteral("instancePropertiesDialog"));
    QCOMPARE(dialogReadOnly, readOnly);
}

void tst_BlockItem::propertiesWhileInstanceDies()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockInstance* instance = ModelBuilder::place(code, definitionOf(model, QStringLiteral("ToolBlock_8000008")), QPointF(1, 1));
    const unsigned int id = instance->identifier();
    TestCodeScene scene(code);
    QPointer<BlockItem> item = scene.blockItemOf(instance);
    auto answered = answerNextModal([&](QDialog* dialog) {
        code->deleteInstance(id);
        dialog->reject();
    });
    item->showPropertiesView();
    QVERIFY(*answered);
    // The scene is inactive, so the item stays, without instance.
    QVERIFY(item);
    QCOMPARE(item->blockInstance(), nullptr);
}

void tst_BlockItem::runtimePositionReadOnly_data()
{
    QTest::addColumn<bool>("definitionScene");
    QTest::addColumn<bool>("sceneReadOnly");
    QTest::addColumn<bool>("readOnly");
    QTest::newRow("editable definition") << true << false << false;
    QTest::newRow("read-only definition") << true << true << true;
    QTest::newRow("hierarchy") << false << false << true;
}

void tst_BlockItem::runtimePositionReadOnly()
{
    QFETCH(bool, definitionScene);
    QFETCH(bool, sceneReadOnly);
    QFETCH(bool, readOnly);
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockDefinition* definition = definitionOf(model, QStringLiteral("StandardBlock_1"));
    ModelBuilder::place(code, definition, QPointF(1, 1));
    BlockInstance* instance = ModelBuilder::place(code, definition, QPointF(10, 1));
    TestCodeScene scene(code, definitionScene, sceneReadOnly);
    BlockItem* item = scene.blockItemOf(instance);
    bool dialogReadOnly = !readOnly;
    auto answered = answerNextModal([&](QDialog* dialog) {
        QCOMPARE(dialog->objectName(), QStringLiteral("runtimePositionDialog"));
        auto* realtime = dialog->findChild<QSpinBox*>(QStringLiteral("realtimeSpin"));
        dialogReadOnly = realtime && realtime->isReadOnly();
        if (realtime && !realtime->isReadOnly()) {
            realtime->setValue(1);
            dialog->accept();
        } else {
            dialog->reject();
        }
    });
    item->showRuntimePositionView();
    QVERIFY(*answered);
    QCOMPARE(dialogReadOnly, readOnly);
    QCOMPARE(item->runtimePositionText(), readOnly ? QStringLiteral("2/-") : QStringLiteral("1/-"));
}

void tst_BlockItem::survivesInstance()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    BlockInstance* instance = ModelBuilder::place(code, enableDefinition(model), QPointF(3, 2));
    const unsigned int id = instance->identifier();
    TestCodeScene scene(code);
    BlockItem* item = scene.blockItemOf(instance);
    const QRectF rect = item->rect();
    code->deleteInstance(id);
    QCOMPARE(scene.blockItem(id), item);
    QCOMPARE(item->blockInstance(), nullptr);
    QCOMPARE(item->identifier(), id);
    QCOMPARE(item->rect(), rect);
    QVERIFY(!item->isStepInAllowed());
    QCOMPARE(item->runtimePositionText(), QString());
    QCOMPARE(item->pinPosition(1), QPointF(0, 0));
    QMenu menu;
    item->addContextMenuActions(&menu);
    QVERIFY(menu.actions().isEmpty());
    item->showPropertiesView();
    item->showRuntimePositionView();
    // Drawn as a plain rectangle item: the full rectangle, black pen, no brush, no texts.
    PaintRecorder recorder;
    recordItem(item, &recorder);
    QCOMPARE(recorder.rects().size(), 1);
    QCOMPARE(recorder.rects().first().rect, rect);
    QCOMPARE(recorder.rects().first().pen, QColor(Qt::black));
    QVERIFY(!recorder.rects().first().brushed);
    QVERIFY(recorder.texts().isEmpty());
    item->setPos(2500, 2500);
    QCOMPARE(item->pos(), QPointF(3000, 3000));
}

ZK_TEST_REGISTER(tst_BlockItem)
#include "tst_BlockItem.moc"
