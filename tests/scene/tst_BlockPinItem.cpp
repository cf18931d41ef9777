#include "MenuLookup.h"
#include "ModalAnswer.h"
#include "Pictures.h"
#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockLibraryContainer.h"
#include "BlockPin.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "BlockPinValueSource.h"
#include "BlockRepository.h"
#include "BlockSymbol.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "DatatypeProvider.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "SignalLabelHostItem.h"
#include "SimpleType.h"

#include <QAction>
#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGraphicsLineItem>
#include <QImage>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QUndoStack>

#include <cmath>
#include <memory>

namespace {

// A block of the test library with an enable pin in front of its single input.
BlockDefinition* enableBlockDefinition(TestModel& model)
{
    Block* block = ModelBuilder::primitive(model.standard()->library(), QStringLiteral("StandardBlock_40"),
                                           QStringLiteral("FREIGABE"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    BlockDefinition* definition = ModelBuilder::newest(block);
    BlockPin enable(BlockItem::EnablePinIdentifier, BlockPinFunctionInput, DatatypeProvider::Bool);
    enable.setShortName(QStringLiteral("EN"));
    enable.setName(Text(LanguageManager::German, QStringLiteral("Freigabe")));
    definition->setPin(enable);
    BlockSymbol symbol = *definition->symbol();
    symbol.setInputPins({BlockItem::EnablePinIdentifier, 1});
    definition->setSymbol(symbol);
    return definition;
}

QList<QGraphicsLineItem*> topLevelLines(QGraphicsScene* scene)
{
    QList<QGraphicsLineItem*> lines;
    const QList<QGraphicsLineItem*> all = itemsOf<QGraphicsLineItem>(scene);
    for (QGraphicsLineItem* line : all) {
        if (!line->parentItem())
            lines.append(line);
    }
    return lines;
}

// Whether a pixel of exactly this colour lies within `radius` pixels of (x, y).
bool colourNear(const QImage& image, int x, int y, const QColor& colour, int radius = 2)
{
    for (int dy = -radius; dy <= radius; ++dy) {
        for (int dx = -radius; dx <= radius; ++dx) {
            const int px = x + dx, py = y + dy;
            if (px < 0 || py < 0 || px >= image.width() || py >= image.height())
                continue;
            if (image.pixelColor(px, py).rgb() == colour.rgb())
                return true;
        }
    }
    return false;
}

} // namespace

class tst_BlockPinItem : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void constructionSetsChildrenAndFlags();
    void geometryFollowsTheBlock_data();
    void geometryFollowsTheBlock();
    void pinWithoutPlaceKeepsItsGeometry();
    void toolTipNamesPinAndType();
    void toolTipWithoutTypeShowsQuestionMarks();
    void markersFollowInitialValueAndRemanence();
    void enablePinVisibility_data();
    void enablePinVisibility();
    void hasConnectionOnlyWithNodes();
    void locationPath_data();
    void locationPath();
    void displayModesShowTheirTexts();
    void displayModesWithoutNodeShowTheName();
    void currentValueModeSubscribesAndUnsubscribes();
    void currentValueOfAnotherPathIsIgnored();
    void applyInvertedOnlyForInvertiblePins();
    void setInvertedPushesAnUndoStepInADefinitionScene();
    void resetInitialValue();
    void initialValueDialogWritesOnOk();
    void initialValueDialogReadOnlyWritesNothing();
    void initialValueDialogAbortWritesNothing();
    void contextMenuOfInput_data();
    void contextMenuOfInput();
    void contextMenuOfOutput();
    void contextMenuOfConnectedInputDisablesAssignments();
    void contextMenuInHierarchySceneStartsWithLabelEntries();
    void rubberBandFollowsTheMouse();
    void rubberBandIsRemovedWherever_data();
    void rubberBandIsRemovedWherever();
    void noRubberBandOutsideDefinitionScene();
    void parameterBlocksAreLeftToTheEditingLayer();
    void stubColourByTypeKind_data();
    void stubColourByTypeKind();
    void invertedPinDrawsCircle();
    void textOnlyAboveDetailThreshold();
    void deletedBlockLeavesConnectionNodesBehind();
    void createConstantPlacesAndConnectsAConstant();
    void createConstantNearTheEdgeStandsOnThePin();
    void createConstantCancelledLeavesNoInstance();
    void createConstantOfAnUnsizedTypeUsesTypeFour();
    void createParameterReadFeedsTheInput();
    void createParameterReadCancelledLeavesNoInstance();
    void createParameterWriteTakesTheOutput();
    void createParameterWriteNearTheLeftEdgeKeepsThePoint();

private:
    BlockDefinitionScene* definitionScene() const;
    BlockPinItem* definitionPin(unsigned int block, int identifier) const;
    BlockInstance* newInstance(const QList<BlockInstance*>& before) const;

    BlockPinItem* pin(unsigned int block, int identifier) const;

    std::unique_ptr<TestModel> m_model;
    BlockCode* m_code = nullptr;
    BlockInstance* m_and = nullptr;
    BlockInstance* m_add = nullptr;
    TestCodeScene* m_scene = nullptr;
};

void tst_BlockPinItem::init()
{
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    m_and = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
    m_add = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_10"))), {40, 10});
    m_scene = new TestCodeScene(m_code, true);
}

void tst_BlockPinItem::cleanup()
{
    delete m_scene;
    m_scene = nullptr;
    m_model.reset();
}

BlockPinItem* tst_BlockPinItem::pin(unsigned int block, int identifier) const
{
    BlockItem* item = m_scene->blockItem(block);
    return item ? item->pinItem(identifier) : nullptr;
}

void tst_BlockPinItem::constructionSetsChildrenAndFlags()
{
    BlockPinItem* item = pin(m_and->identifier(), 3);
    QVERIFY(item);
    QCOMPARE(item->zValue(), -3.0);
    QVERIFY(item->flags() & QGraphicsItem::ItemIsSelectable);
    QVERIFY(!(item->flags() & QGraphicsItem::ItemIsMovable));
    QVERIFY(item->acceptHoverEvents());
    QCOMPARE(item->parentItem(), static_cast<QGraphicsItem*>(m_scene->blockItem(m_and->identifier())));
    QCOMPARE(item->connectionPoint(), QPointF(3000, 0));
    QCOMPARE(item->pinInstance(), m_and->pin(3));
    QCOMPARE(item->identifier(), 3);

    SignalLabelHostItem* host = item->signalLabelHost();
    QVERIFY(host);
    QCOMPARE(host->parentItem(), static_cast<QGraphicsItem*>(item));
    QCOMPARE(host->pos(), QPointF(2750, 0));
    QCOMPARE(host->zValue(), 3.2);

    QGraphicsRectItem* initial = nullptr;
    QGraphicsRectItem* remanent = nullptr;
    for (QGraphicsItem* child : item->childItems()) {
        if (child == host)
            continue;
        auto* rect = dynamic_cast<QGraphicsRectItem*>(child);
        QVERIFY(rect);
        if (rect->pos() == QPointF(2500, 0))
            initial = rect;
        else if (rect->pos() == QPointF(2250, 0))
            remanent = rect;
    }
    QVERIFY(initial);
    QVERIFY(remanent);
    QCOMPARE(initial->rect(), QRectF(-75, -75, 150, 150));
    QCOMPARE(remanent->rect(), QRectF(-75, -75, 150, 150));
    QCOMPARE(initial->zValue(), 3.3);
    QCOMPARE(remanent->zValue(), 3.2);
    QCOMPARE(initial->brush().color(), QColor(Qt::green));
    QCOMPARE(remanent->brush().color(), QColor(Qt::darkGreen));
    QCOMPARE(initial->pen().widthF(), 0.0);
    QVERIFY(initial->pen().isCosmetic());
    QCOMPARE(initial->rotation(), 45.0);
    QCOMPARE(remanent->toolTip(), QStringLiteral("Remanent"));
    QVERIFY(!item->hasConnection());
}

void tst_BlockPinItem::geometryFollowsTheBlock_data()
{
    QTest::addColumn<int>("pinIdentifier");
    QTest::addColumn<QPointF>("position");
    QTest::addColumn<qreal>("rotation");
    QTest::addColumn<QPointF>("connectionInScene");

    // The AND block stands at (20, 10) model units, 4 units wide.
    QTest::newRow("first input") << 1 << QPointF(0, 500) << 180.0 << QPointF(20000 - 3000, 10500);
    QTest::newRow("second input") << 2 << QPointF(0, 1500) << 180.0 << QPointF(20000 - 3000, 11500);
    QTest::newRow("output") << 3 << QPointF(4000, 500) << 0.0 << QPointF(24000 + 3000, 10500);
}

void tst_BlockPinItem::geometryFollowsTheBlock()
{
    QFETCH(int, pinIdentifier);
    QFETCH(QPointF, position);
    QFETCH(qreal, rotation);
    QFETCH(QPointF, connectionInScene);

    BlockPinItem* item = pin(m_and->identifier(), pinIdentifier);
    QVERIFY(item);
    QCOMPARE(item->rect(), QRectF(0, -400, 3000, 800));
    QCOMPARE(item->pos(), position);
    QCOMPARE(item->rotation(), rotation);
    QCOMPARE(item->isInput(), rotation == 180.0);
    QCOMPARE(item->mapToScene(item->connectionPoint()), connectionInScene);
    QCOMPARE(item->signalLabelHost()->rotation(), rotation);
    QVERIFY(item->isVisible());
}

void tst_BlockPinItem::pinWithoutPlaceKeepsItsGeometry()
{
    BlockPinItem* item = pin(m_and->identifier(), 3);
    QVERIFY(item);
    const QPointF before = item->pos();
    const QRectF rectBefore = item->rect();
    const unsigned int identifier = m_and->identifier();
    // Without its instance the block can place no pin: (0, 0) comes back, and the pin stays put.
    m_code->deleteInstance(identifier);
    m_and = nullptr;
    QVERIFY2(m_scene->blockItem(identifier), "an inactive scene keeps the items of removed instances");
    QCOMPARE(item->scene(), static_cast<QGraphicsScene*>(m_scene));
    QVERIFY(!item->pinInstance());
    item->updateFromInstance();
    QCOMPARE(item->pos(), before);
    QCOMPARE(item->rect(), rectBefore);
    QCOMPARE(item->identifier(), 0);
    QVERIFY(!item->isVisible());
}

void tst_BlockPinItem::toolTipNamesPinAndType()
{
    QCOMPARE(pin(m_and->identifier(), 1)->toolTip(), QStringLiteral("1: E1 (BOOL)"));
    QCOMPARE(pin(m_add->identifier(), 3)->toolTip(), QStringLiteral("3: A (DINT)"));
}

void tst_BlockPinItem::toolTipWithoutTypeShowsQuestionMarks()
{
    Block* block = ModelBuilder::primitive(m_model->standard()->library(), QStringLiteral("StandardBlock_41"),
                                           QStringLiteral("FREMD"), {{QStringLiteral("X"), uchar(200)}}, {});
    BlockInstance* instance = ModelBuilder::place(m_code, ModelBuilder::newest(block), {60, 10});
    BlockPinItem* item = pin(instance->identifier(), 1);
    QVERIFY(item);
    QVERIFY(!item->simpleType());
    QCOMPARE(item->toolTip(), QStringLiteral("1: X (???\?)"));
}

void tst_BlockPinItem::markersFollowInitialValueAndRemanence()
{
    BlockPinItem* item = pin(m_and->identifier(), 3);
    QGraphicsRectItem* initial = nullptr;
    QGraphicsRectItem* remanent = nullptr;
    for (QGraphicsItem* child : item->childItems()) {
        if (child->pos() == QPointF(2500, 0))
            initial = dynamic_cast<QGraphicsRectItem*>(child);
        else if (child->pos() == QPointF(2250, 0))
            remanent = dynamic_cast<QGraphicsRectItem*>(child);
    }
    QVERIFY(initial && remanent);
    QVERIFY(!initial->isVisible());
    QVERIFY(!remanent->isVisible());

    m_and->pin(3)->setInitialValue(QStringLiteral("TRUE"));
    m_and->pin(3)->setRemanent(true);
    item->updateFromInstance();
    QVERIFY(initial->isVisible());
    QCOMPARE(initial->toolTip(), QStringLiteral("TRUE"));
    QVERIFY(remanent->isVisible());

    m_and->pin(3)->setRemanent(false);
    item->updateFromInstance();
    QVERIFY(initial->isVisible());
    QVERIFY(!remanent->isVisible());
}

void tst_BlockPinItem::enablePinVisibility_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<bool>("visible");
    QTest::newRow("by default") << QString() << false;
    QTest::newRow("inverted") << QStringLiteral("inverted") << true;
    QTest::newRow("forced") << QStringLiteral("forced") << true;
    QTest::newRow("connected") << QStringLiteral("connected") << true;
}

void tst_BlockPinItem::enablePinVisibility()
{
    QFETCH(QString, how);
    QFETCH(bool, visible);

    BlockInstance* instance = ModelBuilder::place(m_code, enableBlockDefinition(*m_model), {60, 10});
    BlockItem* block = m_scene->blockItem(instance->identifier());
    QVERIFY(block);
    BlockPinItem* enable = block->pinItem(BlockItem::EnablePinIdentifier);
    QVERIFY(enable);
    QVERIFY(!enable->isVisible());
    // The input below the enable pin keeps its own row.
    QCOMPARE(block->pinItem(1)->pos(), QPointF(0, 1500));

    if (how == QLatin1String("inverted")) {
        enable->applyInverted(true);
    } else if (how == QLatin1String("forced")) {
        block->forceEnablePinVisible(true);
    } else if (how == QLatin1String("connected")) {
        QVERIFY(ModelBuilder::wire(m_code, m_and, 3, instance, BlockItem::EnablePinIdentifier));
        QVERIFY(enable->hasConnection());
        enable->updateFromInstance();
    }
    QCOMPARE(enable->isVisible(), visible);
}

void tst_BlockPinItem::hasConnectionOnlyWithNodes()
{
    BlockPinItem* output = pin(m_and->identifier(), 3);
    BlockPinItem* input = pin(m_add->identifier(), 1);
    QVERIFY(!output->hasConnection());
    QVERIFY(!input->hasConnection());
    QVERIFY(ModelBuilder::wire(m_code, m_and, 3, m_add, 1));
    QVERIFY(output->hasConnection());
    QVERIFY(input->hasConnection());
    QVERIFY(!pin(m_add->identifier(), 2)->hasConnection());
    for (QGraphicsItem* child : output->childItems()) {
        if (child != output->signalLabelHost() && dynamic_cast<QGraphicsRectItem*>(child) == nullptr)
            QVERIFY(dynamic_cast<ConnectionNodeItem*>(child));
    }
}

void tst_BlockPinItem::locationPath_data()
{
    QTest::addColumn<int>("pinIdentifier");
    QTest::addColumn<bool>("inverted");
    QTest::addColumn<QString>("suffix");
    QTest::newRow("input") << 1 << false << QStringLiteral("p1");
    QTest::newRow("output") << 3 << false << QStringLiteral("p3");
    QTest::newRow("inverted input") << 2 << true << QStringLiteral("i2;{S1}");
    QTest::newRow("inverted output") << 3 << true << QStringLiteral("i3;{S2}");
}

void tst_BlockPinItem::locationPath()
{
    QFETCH(int, pinIdentifier);
    QFETCH(bool, inverted);
    QFETCH(QString, suffix);

    BlockPinItem* item = pin(m_and->identifier(), pinIdentifier);
    QVERIFY(item->locationPath().isEmpty());
    QVERIFY(!item->hierarchyNode());

    BlockInstanceHierarchyNode* root = m_model->area()->hierarchy()->rootNode();
    m_scene->setDefinitionScene(false);
    m_scene->setHierarchyNode(root);
    BlockInstanceHierarchyNode* node = root->instanceNode(m_and->identifier());
    QVERIFY(node);
    QCOMPARE(item->hierarchyNode(), node);
    QCOMPARE(item->instanceArea(), m_model->area());
    if (inverted)
        m_and->pin(pinIdentifier)->setInverted(true);
    QCOMPARE(item->locationPath(), node->locationPath() + suffix);
    QCOMPARE(item->locationPath(), QStringLiteral("A1:0.%1").arg(m_and->identifier()) + suffix);
}

void tst_BlockPinItem::displayModesShowTheirTexts()
{
    BlockInstanceHierarchyNode* root = m_model->area()->hierarchy()->rootNode();
    m_scene->setDefinitionScene(false);
    m_scene->setHierarchyNode(root);
    BlockPinItem* item = pin(m_and->identifier(), 3);
    BlockPinValueSource* source = m_model->area()->pinValueSource();
    QVERIFY(source);

    QCOMPARE(item->displayText(), QStringLiteral("A (BOOL)"));
    item->setDisplayMode(1);
    QCOMPARE(item->displayMode(), 1);
    QCOMPARE(item->displayText(), item->locationPath());
    item->setDisplayMode(2);
    const unsigned int address = source->memoryAddress(item->locationPath());
    QCOMPARE(item->displayText(), QStringLiteral("0x%1").arg(address, 8, 16, QLatin1Char('0')));
    QCOMPARE(item->displayText().size(), 10);
    item->setDisplayMode(7);
    QVERIFY(item->displayText().isEmpty());
    item->setDisplayMode(0);
    QCOMPARE(item->displayText(), QStringLiteral("A (BOOL)"));
}

void tst_BlockPinItem::displayModesWithoutNodeShowTheName()
{
    BlockPinItem* item = pin(m_add->identifier(), 1);
    for (int mode = 1; mode <= 3; ++mode) {
        item->setDisplayMode(mode);
        QCOMPARE(item->displayText(), QStringLiteral("E1 (DINT)"));
    }
}

void tst_BlockPinItem::currentValueModeSubscribesAndUnsubscribes()
{
    BlockInstanceHierarchyNode* root = m_model->area()->hierarchy()->rootNode();
    m_scene->setDefinitionScene(false);
    m_scene->setHierarchyNode(root);
    BlockPinItem* item = pin(m_and->identifier(), 3);
    BlockPinValueSource* source = m_model->area()->pinValueSource();
    const QString path = item->locationPath();
    QVERIFY(!source->isObserved(path));

    item->setDisplayMode(3);
    QVERIFY(source->isObserved(path));
    QCOMPARE(item->displayText(), QStringLiteral("..."));
    source->publishValue(path, QStringLiteral("TRUE"));
    QCOMPARE(item->displayText(), QStringLiteral("TRUE"));

    item->setDisplayMode(1);
    QVERIFY(!source->isObserved(path));
    item->setDisplayMode(3);
    QCOMPARE(item->displayText(), QStringLiteral("..."));
    QVERIFY(source->isObserved(path));

    // Observation is counted: a pin that goes must let go of its path.
    delete m_scene->blockItem(m_and->identifier());
    QVERIFY(!source->isObserved(path));
}

void tst_BlockPinItem::currentValueOfAnotherPathIsIgnored()
{
    BlockInstanceHierarchyNode* root = m_model->area()->hierarchy()->rootNode();
    m_scene->setDefinitionScene(false);
    m_scene->setHierarchyNode(root);
    BlockPinItem* output = pin(m_and->identifier(), 3);
    BlockPinItem* input = pin(m_and->identifier(), 1);
    output->setDisplayMode(3);
    input->setDisplayMode(3);
    BlockPinValueSource* source = m_model->area()->pinValueSource();
    source->publishValue(input->locationPath(), QStringLiteral("FALSE"));
    QCOMPARE(input->displayText(), QStringLiteral("FALSE"));
    QCOMPARE(output->displayText(), QStringLiteral("..."));
    output->onBlockPinCurrentValueChanged(QStringLiteral("A1:0.99p1"), QStringLiteral("TRUE"));
    QCOMPARE(output->displayText(), QStringLiteral("..."));
}

void tst_BlockPinItem::applyInvertedOnlyForInvertiblePins()
{
    BlockPinItem* bit = pin(m_and->identifier(), 1);
    bit->applyInverted(true);
    QVERIFY(m_and->pin(1)->isInverted());
    bit->applyInverted(false);
    QVERIFY(!m_and->pin(1)->isInverted());

    BlockPinItem* number = pin(m_add->identifier(), 1);
    QVERIFY(!m_add->pin(1)->isInvertible());
    number->applyInverted(true);
    QVERIFY(!m_add->pin(1)->isInverted());
}

void tst_BlockPinItem::setInvertedPushesAnUndoStepInADefinitionScene()
{
    // Outside a definition scene the menu's inversion writes nothing and records nothing.
    BlockPinItem* plain = pin(m_and->identifier(), 1);
    plain->setInverted(true);
    QVERIFY(!m_and->pin(1)->isInverted());

    // In a definition scene it is an undo step, which inverts the pin as it is pushed.
    BlockDefinitionScene* scene = definitionScene();
    definitionPin(m_and->identifier(), 1)->setInverted(true);
    QCOMPARE(scene->undoStack()->count(), 1);
    QCOMPARE(scene->undoStack()->undoText(), QStringLiteral("Anschluss invertiert"));
    QVERIFY(m_and->pin(1)->isInverted());
    scene->undoStack()->undo();
    QVERIFY(!m_and->pin(1)->isInverted());
}

void tst_BlockPinItem::resetInitialValue()
{
    m_and->pin(3)->setInitialValue(QStringLiteral("TRUE"));
    BlockPinItem* item = pin(m_and->identifier(), 3);
    item->updateFromInstance();
    item->resetInitialValue();
    QVERIFY(m_and->pin(3)->initialValue().isEmpty());
    for (QGraphicsItem* child : item->childItems()) {
        if (child->pos() == QPointF(2500, 0))
            QVERIFY(!child->isVisible());
    }
}

void tst_BlockPinItem::initialValueDialogWritesOnOk()
{
    BlockPinItem* item = pin(m_and->identifier(), 3);
    QMenu menu;
    item->addContextMenuActions(&menu);
    QAction* edit = actionNamed(&menu, QStringLiteral("Initialwert bearbeiten"));
    QVERIFY(edit);
    QCOMPARE(edit->property("readonly").toBool(), false);

    QString title;
    int minimumWidth = 0;
    bool hasAbort = false, hasCancel = true, centred = false;
    auto answered = answerNextModal([&](QDialog* dialog) {
        title = dialog->windowTitle();
        minimumWidth = dialog->minimumWidth();
        auto* buttons = dialog->findChild<QDialogButtonBox*>();
        hasAbort = buttons->button(QDialogButtonBox::Abort) != nullptr;
        hasCancel = buttons->button(QDialogButtonBox::Cancel) != nullptr;
        centred = buttons->centerButtons();
        auto* line = dialog->findChild<QLineEdit*>();
        QVERIFY(line->validator());
        line->setText(QStringLiteral("TRUE"));
        dialog->findChild<QCheckBox*>()->setChecked(true);
        buttons->button(QDialogButtonBox::Ok)->click();
    });
    edit->trigger();
    QVERIFY(*answered);
    QCOMPARE(title, QStringLiteral("Initialwert bearbeiten"));
    QCOMPARE(minimumWidth, 300);
    QVERIFY(hasAbort);
    QVERIFY(!hasCancel);
    QVERIFY(centred);
    QCOMPARE(m_and->pin(3)->initialValue(), QStringLiteral("TRUE"));
    QVERIFY(m_and->pin(3)->isRemanent());
}

void tst_BlockPinItem::initialValueDialogReadOnlyWritesNothing()
{
    m_scene->setDefinitionScene(false);
    m_and->pin(3)->setInitialValue(QStringLiteral("FALSE"));
    BlockPinItem* item = pin(m_and->identifier(), 3);
    QMenu menu;
    item->addContextMenuActions(&menu);
    QAction* edit = actionNamed(&menu, QStringLiteral("Initialwert bearbeiten"));
    QVERIFY(edit);
    QVERIFY(edit->isEnabled());
    QCOMPARE(edit->property("readonly").toBool(), true);

    bool readOnly = false, boxEnabled = true, onlyClose = false;
    QString shown;
    auto answered = answerNextModal([&](QDialog* dialog) {
        auto* line = dialog->findChild<QLineEdit*>();
        readOnly = line->isReadOnly();
        shown = line->text();
        boxEnabled = dialog->findChild<QCheckBox*>()->isEnabled();
        auto* buttons = dialog->findChild<QDialogButtonBox*>();
        onlyClose = buttons->standardButtons() == QDialogButtonBox::Close;
        line->setText(QStringLiteral("TRUE"));
        buttons->button(QDialogButtonBox::Close)->click();
    });
    edit->trigger();
    QVERIFY(*answered);
    QVERIFY(readOnly);
    QVERIFY(!boxEnabled);
    QVERIFY(onlyClose);
    QCOMPARE(shown, QStringLiteral("FALSE"));
    QCOMPARE(m_and->pin(3)->initialValue(), QStringLiteral("FALSE"));
}

void tst_BlockPinItem::initialValueDialogAbortWritesNothing()
{
    BlockPinItem* item = pin(m_and->identifier(), 3);
    auto answered = answerNextModal([](QDialog* dialog) {
        dialog->findChild<QLineEdit*>()->setText(QStringLiteral("TRUE"));
        dialog->findChild<QCheckBox*>()->setChecked(true);
        dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Abort)->click();
    });
    item->setInitialValue();
    QVERIFY(*answered);
    QVERIFY(m_and->pin(3)->initialValue().isEmpty());
    QVERIFY(!m_and->pin(3)->isRemanent());
}

void tst_BlockPinItem::contextMenuOfInput_data()
{
    QTest::addColumn<bool>("definitionScene");
    QTest::newRow("definition scene") << true;
    QTest::newRow("hierarchy scene") << false;
}

void tst_BlockPinItem::contextMenuOfInput()
{
    QFETCH(bool, definitionScene);
    m_scene->setDefinitionScene(definitionScene);
    m_and->pin(1)->setInverted(true);
    BlockPinItem* item = pin(m_and->identifier(), 1);
    QMenu menu;
    item->addContextMenuActions(&menu);

    QAction* invert = actionNamed(&menu, QStringLiteral("invertieren"));
    QVERIFY(invert);
    QVERIFY(invert->isCheckable());
    QVERIFY(invert->isChecked());
    QCOMPARE(invert->isEnabled(), definitionScene);
    QAction* constant = actionNamed(&menu, QStringLiteral("mit Konstante belegen"));
    QAction* parameter = actionNamed(&menu, QStringLiteral("mit Parameter belegen"));
    QVERIFY(constant && parameter);
    QCOMPARE(constant->isEnabled(), definitionScene);
    QCOMPARE(parameter->isEnabled(), definitionScene);
    QVERIFY(!actionNamed(&menu, QStringLiteral("Initialwert bearbeiten")));

    // The invert action comes after a separator, the assignments follow it.
    const QList<QAction*> all = menu.actions();
    const int at = int(all.indexOf(invert));
    QVERIFY(at > 0);
    QVERIFY(all.at(at - 1)->isSeparator());
    QCOMPARE(all.at(at + 1), constant);
    QCOMPARE(all.at(at + 2), parameter);
}

void tst_BlockPinItem::contextMenuOfOutput()
{
    BlockPinItem* item = pin(m_add->identifier(), 3);
    QMenu menu;
    item->addContextMenuActions(&menu);
    const QStringList texts = actionTexts(&menu);
    // A DINT output can't be inverted; the standard block offers the initial value.
    QCOMPARE(texts, QStringList({QStringLiteral("mit Parameter belegen"), QStringLiteral("Initialwert bearbeiten"),
                                 QStringLiteral("Initialwert entfernen")}));
    QVERIFY(actionNamed(&menu, QStringLiteral("mit Parameter belegen"))->isEnabled());
    QVERIFY(!actionNamed(&menu, QStringLiteral("Initialwert entfernen"))->isEnabled());

    m_add->pin(3)->setInitialValue(QStringLiteral("5"));
    QMenu second;
    item->addContextMenuActions(&second);
    QVERIFY(actionNamed(&second, QStringLiteral("Initialwert entfernen"))->isEnabled());
    actionNamed(&second, QStringLiteral("Initialwert entfernen"))->trigger();
    QVERIFY(m_add->pin(3)->initialValue().isEmpty());

    // A constant of the tool library has no initial value to offer.
    BlockInstance* constant = ModelBuilder::place(
        m_code, m_model->block(QStringLiteral("ToolBlock_8000008"))->blockDefinition(1), {60, 10});
    QMenu third;
    pin(constant->identifier(), 1)->addContextMenuActions(&third);
    QVERIFY(!actionNamed(&third, QStringLiteral("Initialwert bearbeiten")));
    QVERIFY(actionNamed(&third, QStringLiteral("mit Parameter belegen")));
}

void tst_BlockPinItem::contextMenuOfConnectedInputDisablesAssignments()
{
    QVERIFY(ModelBuilder::wire(m_code, m_and, 3, m_add, 1));
    BlockPinItem* item = pin(m_add->identifier(), 1);
    QVERIFY(item->hasConnection());
    QMenu menu;
    item->addContextMenuActions(&menu);
    QVERIFY(!actionNamed(&menu, QStringLiteral("mit Konstante belegen"))->isEnabled());
    QVERIFY(!actionNamed(&menu, QStringLiteral("mit Parameter belegen"))->isEnabled());
}

void tst_BlockPinItem::contextMenuInHierarchySceneStartsWithLabelEntries()
{
    m_scene->setDefinitionScene(false);
    m_scene->setHierarchyNode(m_model->area()->hierarchy()->rootNode());
    BlockPinItem* item = pin(m_and->identifier(), 3);
    QMenu menu;
    item->addContextMenuActions(&menu);
    const QStringList texts = actionTexts(&menu);
    QVERIFY(texts.size() > 3);
    QCOMPARE(texts.at(0), QStringLiteral("neuer Signalname ..."));
    QCOMPARE(texts.at(3), QStringLiteral("invertieren"));

    QMenu definitionMenu;
    m_scene->setDefinitionScene(true);
    item->addContextMenuActions(&definitionMenu);
    QVERIFY(!actionNamed(&definitionMenu, QStringLiteral("neuer Signalname ...")));
}

void tst_BlockPinItem::rubberBandFollowsTheMouse()
{
    BlockPinItem* item = pin(m_and->identifier(), 3);
    const QPointF anchor = item->mapToScene(item->connectionPoint());
    const QPointF press = item->mapToScene(QPointF(1500, 0));
    QCOMPARE(m_scene->pinItemAt(press), item);

    sendSceneMouse(m_scene, QEvent::GraphicsSceneMousePress, press);
    QList<QGraphicsLineItem*> lines = topLevelLines(m_scene);
    QCOMPARE(lines.size(), 1);
    QGraphicsLineItem* band = lines.first();
    QCOMPARE(band->line(), QLineF(anchor, press));
    QCOMPARE(band->pen().color(), QColor(Qt::red));
    QCOMPARE(band->pen().widthF(), 0.0);
    QVERIFY(band->pen().isCosmetic());
    QCOMPARE(m_scene->mouseGrabberItem(), static_cast<QGraphicsItem*>(item));

    sendSceneMouse(m_scene, QEvent::GraphicsSceneMouseMove, QPointF(33000, 14000));
    QCOMPARE(band->line(), QLineF(anchor, QPointF(33000, 14000)));
    sendSceneMouse(m_scene, QEvent::GraphicsSceneMouseMove, QPointF(35000, 12000));
    QCOMPARE(band->line(), QLineF(anchor, QPointF(35000, 12000)));
    // The band is drawing, not the pin: the block item doesn't move.
    QCOMPARE(m_scene->blockItem(m_and->identifier())->pos(), QPointF(20000, 10000));
}

void tst_BlockPinItem::rubberBandIsRemovedWherever_data()
{
    QTest::addColumn<QString>("where");
    QTest::newRow("another pin") << QStringLiteral("other");
    QTest::newRow("the same pin") << QStringLiteral("same");
    QTest::newRow("empty space") << QStringLiteral("empty");
}

void tst_BlockPinItem::rubberBandIsRemovedWherever()
{
    QFETCH(QString, where);
    // Only a definition scene connects; the gesture does not ask for the edit mode.
    BlockDefinitionScene* scene = definitionScene();
    QVERIFY(scene->isReadOnly());
    BlockPinItem* item = definitionPin(m_and->identifier(), 3);
    const QPointF press = item->mapToScene(QPointF(1500, 0));
    QPointF release(90000, 90000);
    if (where == QLatin1String("other")) {
        BlockPinItem* target = definitionPin(m_add->identifier(), 1);
        release = target->mapToScene(QPointF(1500, 0));
        QCOMPARE(scene->pinItemAt(release), target);
    } else if (where == QLatin1String("same")) {
        release = item->mapToScene(QPointF(1000, 100));
    }
    const int itemsBefore = int(scene->items().size());
    const int connectionsBefore = int(m_code->connections().size());
    sendSceneMouse(scene, QEvent::GraphicsSceneMousePress, press);
    QCOMPARE(topLevelLines(scene).size(), 1);
    sendSceneMouse(scene, QEvent::GraphicsSceneMouseMove, release);
    sendSceneMouse(scene, QEvent::GraphicsSceneMouseRelease, release);
    QVERIFY(topLevelLines(scene).isEmpty());
    if (where == QLatin1String("other")) {
        // Another pin under the release: one undo step that made the connection.
        QCOMPARE(scene->undoStack()->count(), 1);
        QCOMPARE(scene->undoStack()->undoText(), QStringLiteral("Create connection"));
        QCOMPARE(int(m_code->connections().size()), connectionsBefore + 1);
        BlockPinConnection* made = m_code->connections().last();
        QVERIFY(made->isConnectedTo(m_and));
        QVERIFY(made->isConnectedTo(m_add));
        scene->undoStack()->undo();
    } else {
        QCOMPARE(scene->undoStack()->count(), 0);
    }
    QCOMPARE(int(scene->items().size()), itemsBefore);
    QCOMPARE(int(m_code->connections().size()), connectionsBefore);
}

void tst_BlockPinItem::noRubberBandOutsideDefinitionScene()
{
    m_scene->setDefinitionScene(false);
    BlockPinItem* item = pin(m_and->identifier(), 3);
    sendSceneMouse(m_scene, QEvent::GraphicsSceneMousePress, item->mapToScene(QPointF(1500, 0)));
    QVERIFY(topLevelLines(m_scene).isEmpty());
    sendSceneMouse(m_scene, QEvent::GraphicsSceneMouseRelease, item->mapToScene(QPointF(1500, 0)));
    QVERIFY(topLevelLines(m_scene).isEmpty());

    m_scene->setDefinitionScene(true);
    sendSceneMouse(m_scene, QEvent::GraphicsSceneMousePress, item->mapToScene(QPointF(1500, 0)), Qt::RightButton);
    QVERIFY(topLevelLines(m_scene).isEmpty());
}

void tst_BlockPinItem::parameterBlocksAreLeftToTheEditingLayer()
{
    // Creating the block is the definition scene's business; outside one nothing at all happens.
    const int before = int(m_code->instances().size());
    for (bool definition : {false, true}) {
        m_scene->setDefinitionScene(definition);
        pin(m_add->identifier(), 1)->createConstant();
        pin(m_add->identifier(), 1)->createParameterRead();
        pin(m_add->identifier(), 3)->createParameterWrite();
        QCOMPARE(int(m_code->instances().size()), before);
    }
}

void tst_BlockPinItem::stubColourByTypeKind_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QColor>("colour");
    QTest::newRow("bit") << int(DatatypeProvider::Bool) << QColor(Qt::red).lighter(150);
    QTest::newRow("signed") << int(DatatypeProvider::DInt) << QColor(Qt::red).darker(150);
    QTest::newRow("unsigned") << int(DatatypeProvider::UDInt) << QColor(Qt::green).darker(150);
    QTest::newRow("float") << int(DatatypeProvider::Real) << QColor(Qt::cyan).darker(200);
    QTest::newRow("time") << int(DatatypeProvider::Time) << QColor(Qt::gray);
}

void tst_BlockPinItem::stubColourByTypeKind()
{
    QFETCH(int, type);
    QFETCH(QColor, colour);
    Block* block = ModelBuilder::primitive(m_model->standard()->library(), QStringLiteral("StandardBlock_42"),
                                           QStringLiteral("TYP"), {}, {{QStringLiteral("A"), uchar(type)}});
    BlockInstance* instance = ModelBuilder::place(m_code, ModelBuilder::newest(block), {60, 20});
    BlockPinItem* item = pin(instance->identifier(), 1);
    QVERIFY(item);
    // The output stub runs along y = 20500 from x = 64000 to 67000; a 0.1 scale maps 10 units to a pixel.
    const QImage image = renderScene(m_scene, QRectF(64000, 20000, 3000, 1000), QSize(300, 100));
    QVERIFY(colourNear(image, 150, 50, colour));
    QVERIFY(colourNear(image, 290, 50, colour));
    QVERIFY(!colourNear(image, 150, 80, colour));
}

void tst_BlockPinItem::invertedPinDrawsCircle()
{
    BlockPinItem* item = pin(m_and->identifier(), 3);
    const QColor colour = QColor(Qt::red).lighter(150);
    // Point of the circle furthest from the block: 250 units out on the stub's line, where the circle
    // meets the line. Its top lies 125 units above the line, 125 units out.
    const QPointF top = item->mapToScene(QPointF(125, -125));
    const QRectF source(top.x() - 250, top.y() - 250, 500, 500);
    const QImage plain = renderScene(m_scene, source, QSize(200, 200));
    QVERIFY(!colourNear(plain, 100, 100, colour, 1));

    m_and->pin(3)->setInverted(true);
    QVERIFY(m_and->pin(3)->isInverted());
    item->update();
    const QImage inverted = renderScene(m_scene, source, QSize(200, 200));
    QVERIFY(colourNear(inverted, 100, 100, colour, 1));
}

void tst_BlockPinItem::textOnlyAboveDetailThreshold()
{
    BlockPinItem* item = pin(m_and->identifier(), 3);
    // The name stands above the stub, starting 300 units from the block.
    const QPointF origin = item->mapToScene(QPointF(0, -1000));
    const QRectF source(origin.x(), origin.y(), 3000, 1000);
    const QImage detailed = renderScene(m_scene, source, QSize(300, 100));
    const QImage coarse = renderScene(m_scene, source, QSize(60, 20));
    // Rows above the stub: only text can be dark there.
    // Column 0 holds the block's outline, which is no text.
    QVERIFY(darkPixels(detailed, QRect(5, 0, 295, 95)) > 0);
    QCOMPARE(darkPixels(coarse, QRect(2, 0, 58, 19)), 0);
}

void tst_BlockPinItem::deletedBlockLeavesConnectionNodesBehind()
{
    QVERIFY(ModelBuilder::wire(m_code, m_and, 3, m_add, 1));
    BlockPinItem* output = pin(m_and->identifier(), 3);
    ConnectionNodeItem* node = nullptr;
    for (QGraphicsItem* child : output->childItems()) {
        if ((node = dynamic_cast<ConnectionNodeItem*>(child)))
            break;
    }
    QVERIFY(node);
    ConnectionItem* connection = node->connectionItem();
    const QPointF where = node->scenePos();
    QCOMPARE(where, QPointF(27000, 10500));

    delete m_scene->blockItem(m_and->identifier());
    QCOMPARE(node->parentItem(), static_cast<QGraphicsItem*>(connection));
    QCOMPARE(node->scenePos(), where);
    QVERIFY(connection->allNodes().contains(node));
}

// A new block's item snaps it to whole model units, and the model follows the item.
static QPointF snappedToModel(QPointF scenePos)
{
    return QPointF(std::trunc(scenePos.x() / 1000.0 + 0.5), std::trunc(scenePos.y() / 1000.0 + 0.5));
}

BlockDefinitionScene* tst_BlockPinItem::definitionScene() const
{
    return BlockDefinitionScene::forCode(m_code);
}

BlockPinItem* tst_BlockPinItem::definitionPin(unsigned int block, int identifier) const
{
    BlockItem* item = definitionScene()->blockItem(block);
    return item ? item->pinItem(identifier) : nullptr;
}

BlockInstance* tst_BlockPinItem::newInstance(const QList<BlockInstance*>& before) const
{
    for (BlockInstance* instance : m_code->instances()) {
        if (!before.contains(instance))
            return instance;
    }
    return nullptr;
}

void tst_BlockPinItem::createConstantPlacesAndConnectsAConstant()
{
    BlockPinItem* input = definitionPin(m_add->identifier(), 1);
    QVERIFY(input);
    const QPointF end = input->mapToScene(3000, 0);
    QVERIFY(end.x() > 8000 && end.y() > 500);
    const QList<BlockInstance*> before = m_code->instances();
    QString parameters;
    auto answered = answerNextModal([&](QDialog* dialog) {
        parameters = dialog->findChild<QLineEdit*>(QStringLiteral("parameterEdit"))->text();
        dialog->accept();
    });
    input->createConstant();
    QVERIFY(*answered);
    BlockInstance* constant = newInstance(before);
    QVERIFY(constant);
    QCOMPARE(constant->block()->identifier(), QStringLiteral("ToolBlock_8000008"));
    QCOMPARE(constant->blockDefinition()->version(), 1u);
    QCOMPARE(constant->position(), snappedToModel(end - QPointF(8000, 500)));
    // The dialogue already shows the text made from the pin's type.
    const QString expected = QString::number(DatatypeProvider::instance()->simpleType(DatatypeProvider::DInt)->number())
        + QStringLiteral(";30;10;1;");
    QCOMPARE(parameters, expected);
    QCOMPARE(constant->parameterText(0), expected);
    const QList<BlockPinConnection*> connections = m_code->connectionsOf(m_add->pin(1));
    QCOMPARE(connections.size(), 1);
    QVERIFY(connections.first()->isConnectedTo(constant));
    QCOMPARE(connections.first()->source(), constant->pin(1));
    QVERIFY(definitionScene()->blockItem(constant->identifier()));
}

void tst_BlockPinItem::createConstantNearTheEdgeStandsOnThePin()
{
    BlockInstance* near =
        ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_10"))), {5, 0});
    BlockPinItem* input = definitionPin(near->identifier(), 1);
    const QPointF end = input->mapToScene(3000, 0);
    QVERIFY(end.x() <= 8000 || end.y() <= 500);
    const QList<BlockInstance*> before = m_code->instances();
    auto answered = answerNextModal([](QDialog* dialog) { dialog->accept(); });
    input->createConstant();
    QVERIFY(*answered);
    BlockInstance* constant = newInstance(before);
    QVERIFY(constant);
    // Right on the pin's end, as far as the block raster lets it.
    QCOMPARE(constant->position(), snappedToModel(end));
}

void tst_BlockPinItem::createConstantCancelledLeavesNoInstance()
{
    BlockPinItem* input = definitionPin(m_add->identifier(), 1);
    const int before = int(m_code->instances().size());
    auto answered = answerNextModal([](QDialog* dialog) { dialog->reject(); });
    input->createConstant();
    QVERIFY(*answered);
    QCOMPARE(int(m_code->instances().size()), before);
    QVERIFY(m_code->connectionsOf(m_add->pin(1)).isEmpty());
}

void tst_BlockPinItem::createConstantOfAnUnsizedTypeUsesTypeFour()
{
    // An input of the open type ANY has no size of its own.
    Block* block = ModelBuilder::primitive(m_model->standard()->library(), QStringLiteral("StandardBlock_41"),
                                           QStringLiteral("BELIEBIG"), {{QStringLiteral("E"), DatatypeProvider::Any}},
                                           {{QStringLiteral("A"), DatatypeProvider::Bool}});
    BlockInstance* open = ModelBuilder::place(m_code, ModelBuilder::newest(block), {60, 10});
    BlockPinItem* input = definitionPin(open->identifier(), 1);
    QVERIFY(input);
    QVERIFY(input->simpleType());
    QCOMPARE(input->simpleType()->sizeInBytes(), 0u);
    const QList<BlockInstance*> before = m_code->instances();
    auto answered = answerNextModal([](QDialog* dialog) { dialog->accept(); });
    input->createConstant();
    QVERIFY(*answered);
    BlockInstance* constant = newInstance(before);
    QVERIFY(constant);
    QCOMPARE(constant->parameterText(0), QStringLiteral("4;30;10;1;"));
}

void tst_BlockPinItem::createParameterReadFeedsTheInput()
{
    BlockPinItem* input = definitionPin(m_add->identifier(), 2);
    const QPointF end = input->mapToScene(3000, 0);
    QVERIFY(end.x() > 9000 && end.y() > 1500);
    const unsigned int realtime = m_code->realtime(m_add->identifier());
    QVERIFY(realtime != 0);
    QCOMPARE(m_code->background(m_add->identifier()), 0u);
    const QList<BlockInstance*> before = m_code->instances();
    auto answered = answerNextModal([](QDialog* dialog) { dialog->accept(); });
    input->createParameterRead();
    QVERIFY(*answered);
    BlockInstance* reader = newInstance(before);
    QVERIFY(reader);
    QCOMPARE(reader->block()->identifier(), QStringLiteral("MagicBlock_300005"));
    QCOMPARE(reader->position(), snappedToModel(end - QPointF(9000, 1500)));
    const QList<BlockPinConnection*> connections = m_code->connectionsOf(m_add->pin(2));
    QCOMPARE(connections.size(), 1);
    QCOMPARE(connections.first()->source(), reader->pin(2));
    // It takes the place of the block it feeds, which runs right after it.
    QCOMPARE(m_code->realtime(reader->identifier()), realtime);
    QCOMPARE(m_code->realtime(m_add->identifier()), realtime + 1);
    QCOMPARE(m_code->background(reader->identifier()), 0u);
}

void tst_BlockPinItem::createParameterReadCancelledLeavesNoInstance()
{
    BlockPinItem* input = definitionPin(m_add->identifier(), 2);
    const int before = int(m_code->instances().size());
    auto answered = answerNextModal([](QDialog* dialog) { dialog->reject(); });
    input->createParameterRead();
    QVERIFY(*answered);
    QCOMPARE(int(m_code->instances().size()), before);
    QVERIFY(m_code->connectionsOf(m_add->pin(2)).isEmpty());
}

void tst_BlockPinItem::createParameterWriteTakesTheOutput()
{
    BlockPinItem* output = definitionPin(m_add->identifier(), 3);
    const QPointF end = output->mapToScene(3000, 0);
    const unsigned int realtime = m_code->realtime(m_add->identifier());
    const QList<BlockInstance*> before = m_code->instances();
    auto answered = answerNextModal([](QDialog* dialog) { dialog->accept(); });
    output->createParameterWrite();
    QVERIFY(*answered);
    BlockInstance* writer = newInstance(before);
    QVERIFY(writer);
    QCOMPARE(writer->block()->identifier(), QStringLiteral("MagicBlock_300006"));
    // To the right of the output, and after the block that produces the value.
    QCOMPARE(writer->position(), snappedToModel(end + QPointF(5000, -1500)));
    const QList<BlockPinConnection*> connections = m_code->connectionsOf(m_add->pin(3));
    QCOMPARE(connections.size(), 1);
    QCOMPARE(connections.first()->target(), writer->pin(1));
    QCOMPARE(m_code->realtime(m_add->identifier()), realtime);
    QCOMPARE(m_code->realtime(writer->identifier()), realtime + 1);
}

void tst_BlockPinItem::createParameterWriteNearTheLeftEdgeKeepsThePoint()
{
    // An output whose end lies at x = 9000 at most: a narrow block right at the left edge.
    BlockInstance* near =
        ModelBuilder::place(m_code, BlockRepository::instance().blockDefinition(QStringLiteral("ToolBlock_8000008"), 1), {0, 5});
    BlockPinItem* output = definitionPin(near->identifier(), 1);
    const QPointF end = output->mapToScene(3000, 0);
    QVERIFY2(end.x() <= 9000, qPrintable(QString::number(end.x())));
    const QList<BlockInstance*> before = m_code->instances();
    auto answered = answerNextModal([](QDialog* dialog) { dialog->accept(); });
    output->createParameterWrite();
    QVERIFY(*answered);
    BlockInstance* writer = newInstance(before);
    QVERIFY(writer);
    QCOMPARE(writer->position(), snappedToModel(end));
}

ZK_TEST_REGISTER(tst_BlockPinItem)
#include "tst_BlockPinItem.moc"
