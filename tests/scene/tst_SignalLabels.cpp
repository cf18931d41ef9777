#include "MenuLookup.h"
#include "ModalAnswer.h"
#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockPinItem.h"
#include "BlockPinValueSource.h"
#include "ModelBuilder.h"
#include "SignalLabel.h"
#include "SignalLabelHostItem.h"
#include "SignalLabelItem.h"

#include <QAction>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFontMetricsF>
#include <QGraphicsLineItem>
#include <QImage>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <functional>
#include <memory>

namespace {

// Accepts the label dialogue. A proposed name holds a blank, which the dialogue doesn't take, so
// the name is replaced; the proposal is kept for the test. A dialogue that still refuses is
// rejected, so that a failing test ends instead of waiting.
std::function<void(QDialog*)> acceptDialog(QString* proposed = nullptr, const QString& name = QStringLiteral("Pumpe"))
{
    return [proposed, name](QDialog* dialog) {
        auto* edit = dialog->findChild<QLineEdit*>(QStringLiteral("nameEdit"));
        if (proposed && edit)
            *proposed = edit->text();
        if (edit)
            edit->setText(name);
        QPushButton* ok = dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
        if (ok && ok->isEnabled())
            ok->click();
        else
            dialog->reject();
    };
}

std::function<void(QDialog*)> rejectDialog(QString* proposed = nullptr)
{
    return [proposed](QDialog* dialog) {
        auto* edit = dialog->findChild<QLineEdit*>(QStringLiteral("nameEdit"));
        if (proposed && edit)
            *proposed = edit->text();
        dialog->reject();
    };
}

unsigned int numberOf(const QString& name)
{
    const QRegularExpressionMatch match = QRegularExpression(QStringLiteral("^Signalname (\\d+)$")).match(name);
    return match.hasMatch() ? match.captured(1).toUInt() : 0;
}

} // namespace

class tst_SignalLabels : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void hostGeometryAndFlags();
    void hostShowsOnlyWithLabels();
    void addSignalLabelMakesOneItem();
    void labelItemGeometry();
    void createSignalLabelWithDialogue();
    void cancelledDialogueDeletesTheLabelButCounts();
    void counterIsSharedByAllHosts();
    void createWithoutParentNodeIsSilent();
    void deleteLastLabelHidesHost();
    void propertiesActionOpensTheDialogue();
    void showAndHideAll();
    void toggleVisibility();
    void hostMenu();
    void labelActions();
    void labelSnapsToQuarterUnits_data();
    void labelSnapsToQuarterUnits();
    void labelDraggedOutIsBroughtBack_data();
    void labelDraggedOutIsBroughtBack();
    void movingTheBlockMovesItsLabels();
    void longValueWidensInStepsOfHalfAUnit();
    void renamedLabelResizes();
    void labelGoneInTheModelRemovesItsBox();
    void nodeDeletionTakesHostAndLabels();
    void hostFollowsItsNodeIntoDeletion();
    void paintColours();
    void hostHidesWhenItsLabelsGoWithoutIt();
    void labelsFollowAGroupMove();

private:
    BlockPinItem* outputPin() const;
    SignalLabel* makeLabel(const QString& name, const QPointF& offset = QPointF(1, -2));

    std::unique_ptr<TestModel> m_model;
    BlockCode* m_code = nullptr;
    BlockInstance* m_and = nullptr;
    BlockInstanceHierarchyNode* m_root = nullptr;
    TestCodeScene* m_scene = nullptr;
};

void tst_SignalLabels::init()
{
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    m_and = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
    m_root = m_model->area()->hierarchy()->rootNode();
    m_scene = new TestCodeScene(m_code, false);
    m_scene->setHierarchyNode(m_root);
    m_scene->rebuild();
}

void tst_SignalLabels::cleanup()
{
    delete m_scene;
    m_scene = nullptr;
    m_model.reset();
}

BlockPinItem* tst_SignalLabels::outputPin() const
{
    BlockItem* block = m_scene->blockItem(m_and->identifier());
    return block ? block->pinItem(3) : nullptr;
}

SignalLabel* tst_SignalLabels::makeLabel(const QString& name, const QPointF& offset)
{
    SignalLabel* label = m_root->createSignalLabel(m_and->identifier(), 3, name, 0);
    if (label)
        label->setOffset(offset);
    return label;
}

void tst_SignalLabels::hostGeometryAndFlags()
{
    SignalLabelHostItem* host = outputPin()->signalLabelHost();
    QVERIFY(host);
    QCOMPARE(host->pinItem(), outputPin());
    QCOMPARE(host->rect(), QRectF(-75, -75, 150, 150));
    QCOMPARE(host->zValue(), 3.2);
    QVERIFY(host->flags() & QGraphicsItem::ItemSendsScenePositionChanges);
    QVERIFY(host->acceptHoverEvents());
    QCOMPARE(host->hierarchyNode(), m_root->instanceNode(m_and->identifier()));
    // The output stub ends at x = 27000; the host sits 250 units before the end.
    QCOMPARE(host->scenePos(), QPointF(26750, 10500));
}

void tst_SignalLabels::hostShowsOnlyWithLabels()
{
    SignalLabelHostItem* host = outputPin()->signalLabelHost();
    QVERIFY(!host->isVisible());
    QVERIFY(host->labels().isEmpty());
    SignalLabel* first = makeLabel(QStringLiteral("Pumpe"));
    SignalLabel* second = makeLabel(QStringLiteral("Ventil"));
    host->updateFromLabels();
    QVERIFY(host->isVisible());
    QCOMPARE(host->toolTip(), QStringLiteral("Pumpe<br>Ventil"));
    QCOMPARE(host->labels(), QList<SignalLabel*>({first, second}));
    QCOMPARE(host->label(second->identifier()), second);
    QVERIFY(!host->label(999));
    // Labels of other pins aren't this host's.
    QVERIFY(m_root->createSignalLabel(m_and->identifier(), 1, QStringLiteral("Eingang"), 0));
    QCOMPARE(host->labels().size(), 2);
}

void tst_SignalLabels::addSignalLabelMakesOneItem()
{
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"));
    BlockPinItem* pin = outputPin();
    pin->addSignalLabel(label);
    pin->addSignalLabel(label);
    SignalLabelHostItem* host = pin->signalLabelHost();
    QCOMPARE(host->labelItems().size(), 1);
    SignalLabelItem* item = host->labelItem(label);
    QVERIFY(item);
    QCOMPARE(item->scene(), static_cast<QGraphicsScene*>(m_scene));
    QVERIFY(!item->parentItem());
    QCOMPARE(item->signalLabel(), label);
    QCOMPARE(item->host(), host);
    QCOMPARE(m_scene->signalLabelItemAt(item->scenePos() + QPointF(100, 100)), item);
}

void tst_SignalLabels::labelItemGeometry()
{
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"), QPointF(1, -2));
    outputPin()->addSignalLabel(label);
    SignalLabelItem* item = outputPin()->signalLabelHost()->labelItem(label);
    const QPointF host = outputPin()->signalLabelHost()->scenePos();

    QCOMPARE(item->zValue(), 3.1);
    const QGraphicsItem::GraphicsItemFlags flags = item->flags();
    QVERIFY(flags & QGraphicsItem::ItemIsMovable);
    QVERIFY(flags & QGraphicsItem::ItemIsSelectable);
    QVERIFY(flags & QGraphicsItem::ItemSendsGeometryChanges);
    QVERIFY(flags & QGraphicsItem::ItemSendsScenePositionChanges);
    QVERIFY(item->acceptHoverEvents());
    QCOMPARE(item->pos(), host + QPointF(1000, -2000));
    QCOMPARE(item->rect(), QRectF(0, 0, 4000, 1000));
    QCOMPARE(item->toolTip(), label->toolTipText());

    QGraphicsLineItem* line = item->leaderLine();
    QVERIFY(line);
    QCOMPARE(line->parentItem(), static_cast<QGraphicsItem*>(item));
    QCOMPARE(line->zValue(), 3.0);
    QVERIFY(line->flags() & QGraphicsItem::ItemStacksBehindParent);
    QVERIFY(line->pen().isCosmetic());
    QCOMPARE(line->pen().color(), QColor(Qt::black));
    QCOMPARE(line->line(), QLineF(QPointF(500, 500), QPointF(-1000, 2000)));
    QCOMPARE(item->mapToScene(line->line().p2()), host);
}

void tst_SignalLabels::createSignalLabelWithDialogue()
{
    SignalLabelHostItem* host = outputPin()->signalLabelHost();
    QString proposed;
    auto answered = answerNextModal(acceptDialog(&proposed));
    host->createSignalLabel();
    QVERIFY(*answered);
    QVERIFY2(numberOf(proposed) > 0, qPrintable(proposed));
    const QList<SignalLabel*> labels = host->labels();
    QCOMPARE(labels.size(), 1);
    SignalLabel* label = labels.first();
    QCOMPARE(label->name(), QStringLiteral("Pumpe"));
    QCOMPARE(label->offset(), QPointF(0.5, -0.5));
    SignalLabelItem* item = host->labelItem(label);
    QVERIFY(item);
    QCOMPARE(host->labelItems().size(), 1);
    QCOMPARE(item->pos(), host->scenePos() + QPointF(500, -500));
    QVERIFY(host->isVisible());
    QCOMPARE(host->toolTip(), label->name());
}

void tst_SignalLabels::cancelledDialogueDeletesTheLabelButCounts()
{
    SignalLabelHostItem* host = outputPin()->signalLabelHost();
    QString first, second, third;
    auto firstAnswer = answerNextModal(acceptDialog(&first));
    host->createSignalLabel();
    QVERIFY(*firstAnswer);

    auto cancelled = answerNextModal(rejectDialog(&second));
    host->createSignalLabel();
    QVERIFY(*cancelled);
    QCOMPARE(host->labels().size(), 1);
    QCOMPARE(m_root->signalLabels().size(), 1);
    QCOMPARE(host->labelItems().size(), 1);

    auto thirdAnswer = answerNextModal(acceptDialog(&third, QStringLiteral("Ventil")));
    host->createSignalLabel();
    QVERIFY(*thirdAnswer);
    QCOMPARE(host->labels().size(), 2);
    QCOMPARE(numberOf(second), numberOf(first) + 1);
    QCOMPARE(numberOf(third), numberOf(first) + 2);
}

void tst_SignalLabels::counterIsSharedByAllHosts()
{
    SignalLabelHostItem* output = outputPin()->signalLabelHost();
    SignalLabelHostItem* input = m_scene->blockItem(m_and->identifier())->pinItem(1)->signalLabelHost();
    QString onOutput, onInput;
    auto first = answerNextModal(acceptDialog(&onOutput));
    output->createSignalLabel();
    QVERIFY(*first);
    auto second = answerNextModal(acceptDialog(&onInput));
    input->createSignalLabel();
    QVERIFY(*second);
    QCOMPARE(numberOf(onInput), numberOf(onOutput) + 1);
    QCOMPARE(input->labels().size(), 1);
    QCOMPARE(output->labels().size(), 1);
}

void tst_SignalLabels::createWithoutParentNodeIsSilent()
{
    m_scene->setHierarchyNode(nullptr);
    m_scene->rebuild();
    SignalLabelHostItem* host = outputPin()->signalLabelHost();
    QVERIFY(!host->hierarchyNode());
    host->createSignalLabel();
    QVERIFY(m_root->signalLabels().isEmpty());
    QVERIFY(host->labels().isEmpty());
    QVERIFY(!host->isVisible());
}

void tst_SignalLabels::deleteLastLabelHidesHost()
{
    SignalLabel* first = makeLabel(QStringLiteral("Pumpe"));
    SignalLabel* second = makeLabel(QStringLiteral("Ventil"));
    BlockPinItem* pin = outputPin();
    pin->addSignalLabel(first);
    pin->addSignalLabel(second);
    SignalLabelHostItem* host = pin->signalLabelHost();
    host->updateFromLabels();
    QVERIFY(host->isVisible());

    QMenu menu;
    host->addLabelActions(&menu, first);
    actionNamed(&menu, QStringLiteral("Löschen"))->trigger();
    QCOMPARE(host->labels(), QList<SignalLabel*>({second}));
    QVERIFY(!host->labelItem(first));
    QCOMPARE(host->labelItems().size(), 1);
    QVERIFY(host->isVisible());
    QCOMPARE(host->toolTip(), QStringLiteral("Ventil"));

    QMenu last;
    host->addLabelActions(&last, second);
    actionNamed(&last, QStringLiteral("Löschen"))->trigger();
    QVERIFY(host->labels().isEmpty());
    QVERIFY(host->labelItems().isEmpty());
    QVERIFY(!host->isVisible());
}

void tst_SignalLabels::propertiesActionOpensTheDialogue()
{
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"));
    outputPin()->addSignalLabel(label);
    SignalLabelHostItem* host = outputPin()->signalLabelHost();
    QMenu menu;
    host->addLabelActions(&menu, label);
    auto answered = answerNextModal(acceptDialog(nullptr, QStringLiteral("Motor")));
    actionNamed(&menu, QStringLiteral("Eigenschaften anzeigen"))->trigger();
    QVERIFY(*answered);
    QCOMPARE(label->name(), QStringLiteral("Motor"));
    QCOMPARE(host->toolTip(), QStringLiteral("Motor"));
}

void tst_SignalLabels::showAndHideAll()
{
    SignalLabel* first = makeLabel(QStringLiteral("Pumpe"));
    SignalLabel* second = makeLabel(QStringLiteral("Ventil"));
    outputPin()->addSignalLabel(first);
    outputPin()->addSignalLabel(second);
    SignalLabelHostItem* host = outputPin()->signalLabelHost();
    host->hideAllSignalLabels();
    QVERIFY(!host->labelItem(first)->isVisible());
    QVERIFY(!host->labelItem(second)->isVisible());
    host->showAllSignalLabels();
    QVERIFY(host->labelItem(first)->isVisible());
    QVERIFY(host->labelItem(second)->isVisible());
}

void tst_SignalLabels::toggleVisibility()
{
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"));
    outputPin()->addSignalLabel(label);
    SignalLabelHostItem* host = outputPin()->signalLabelHost();
    SignalLabelItem* item = host->labelItem(label);
    QMenu visibleMenu;
    host->addLabelActions(&visibleMenu, label);
    QAction* hide = actionNamed(&visibleMenu, QStringLiteral("Ausblenden"));
    QVERIFY(hide);
    hide->trigger();
    QVERIFY(!item->isVisible());
    // A hidden label stays hidden through a rebuild of the scene.
    m_scene->rebuild();
    QVERIFY(!item->isVisible());
    QMenu hiddenMenu;
    host->addLabelActions(&hiddenMenu, label);
    QVERIFY(!actionNamed(&hiddenMenu, QStringLiteral("Ausblenden")));
    actionNamed(&hiddenMenu, QStringLiteral("Anzeigen"))->trigger();
    QVERIFY(item->isVisible());
}

void tst_SignalLabels::hostMenu()
{
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"));
    outputPin()->addSignalLabel(label);
    SignalLabelHostItem* host = outputPin()->signalLabelHost();
    QMenu menu;
    host->addContextMenuActions(&menu);
    const QList<QAction*> actions = menu.actions();
    QCOMPARE(actions.size(), 5);
    QVERIFY(actions.at(0)->isSeparator());
    QVERIFY(actions.at(1)->menu());
    QCOMPARE(actions.at(1)->text(), QStringLiteral("Signalname: \"Pumpe\""));
    QCOMPARE(actions.at(1)->menu()->actions().size(), 4);
    QCOMPARE(actions.at(2)->text(), QStringLiteral("neuer Signalname ..."));
    QCOMPARE(actions.at(3)->text(), QStringLiteral("alle Signalnamen anzeigen"));
    QCOMPARE(actions.at(4)->text(), QStringLiteral("alle Signalnamen ausblenden"));
}

void tst_SignalLabels::labelActions()
{
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"));
    SignalLabelHostItem* host = outputPin()->signalLabelHost();
    QMenu without;
    host->addLabelActions(&without, label);
    QVERIFY2(without.actions().isEmpty(), "a label without item offers nothing");

    outputPin()->addSignalLabel(label);
    SignalLabelItem* item = host->labelItem(label);
    QMenu menu;
    item->addContextMenuActions(&menu);
    const QList<QAction*> actions = menu.actions();
    QCOMPARE(actions.size(), 5);
    QVERIFY(actions.at(0)->isSeparator());
    QCOMPARE(actions.at(1)->text(), QStringLiteral("Eigenschaften anzeigen"));
    QCOMPARE(actions.at(1)->property("signalLabelIdentifier").toUInt(), label->identifier());
    QCOMPARE(actions.at(2)->text(), QStringLiteral("Ausblenden"));
    QVERIFY(!actions.at(2)->property("signalLabelIdentifier").isValid());
    QVERIFY(actions.at(3)->isSeparator());
    QCOMPARE(actions.at(4)->text(), QStringLiteral("Löschen"));
    QCOMPARE(actions.at(4)->property("signalLabelIdentifier").toUInt(), label->identifier());
}

void tst_SignalLabels::labelSnapsToQuarterUnits_data()
{
    QTest::addColumn<QPointF>("wanted");
    QTest::addColumn<QPointF>("snapped");
    QTest::newRow("down") << QPointF(30120, 8120) << QPointF(30000, 8000);
    QTest::newRow("up") << QPointF(30130, 8130) << QPointF(30250, 8250);
    QTest::newRow("half away from zero") << QPointF(30125, -125) << QPointF(30250, -250);
    QTest::newRow("not at 500 or 1000") << QPointF(30740, 8760) << QPointF(30750, 8750);
}

void tst_SignalLabels::labelSnapsToQuarterUnits()
{
    QFETCH(QPointF, wanted);
    QFETCH(QPointF, snapped);
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"));
    outputPin()->addSignalLabel(label);
    SignalLabelItem* item = outputPin()->signalLabelHost()->labelItem(label);
    const QPointF host = outputPin()->signalLabelHost()->scenePos();
    item->setPos(wanted);
    QCOMPARE(item->pos(), snapped);
    QCOMPARE(label->offset(), (snapped - host) / 1000.0);
    QCOMPARE(item->leaderLine()->line(), QLineF(QPointF(500, 500), host - snapped));
}

void tst_SignalLabels::labelDraggedOutIsBroughtBack_data()
{
    QTest::addColumn<QPointF>("wanted");
    QTest::addColumn<QPointF>("result");
    QTest::newRow("left and above") << QPointF(-3000, -7000) << QPointF(-500, -500);
    QTest::newRow("right") << QPointF(2000000, 9000) << QPointF(1000500, 9000);
    QTest::newRow("below") << QPointF(12000, 1500000) << QPointF(12000, 1000500);
}

void tst_SignalLabels::labelDraggedOutIsBroughtBack()
{
    QFETCH(QPointF, wanted);
    QFETCH(QPointF, result);
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"));
    outputPin()->addSignalLabel(label);
    SignalLabelItem* item = outputPin()->signalLabelHost()->labelItem(label);
    item->setPos(wanted);
    QCOMPARE(item->pos(), result);
    QVERIFY(m_scene->sceneRect().contains(item->scenePos()));
    const QPointF host = outputPin()->signalLabelHost()->scenePos();
    QCOMPARE(label->offset(), (result - host) / 1000.0);
}

void tst_SignalLabels::movingTheBlockMovesItsLabels()
{
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"), QPointF(1, -2));
    outputPin()->addSignalLabel(label);
    SignalLabelItem* item = outputPin()->signalLabelHost()->labelItem(label);
    const QPointF before = item->pos();
    const QLineF lineBefore = item->leaderLine()->line();
    BlockItem* block = m_scene->blockItem(m_and->identifier());
    block->setPos(block->pos() + QPointF(5000, 3000));
    QCOMPARE(item->pos(), before + QPointF(5000, 3000));
    QCOMPARE(label->offset(), QPointF(1, -2));
    QCOMPARE(item->leaderLine()->line(), lineBefore);
}

void tst_SignalLabels::longValueWidensInStepsOfHalfAUnit()
{
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"));
    outputPin()->addSignalLabel(label);
    SignalLabelItem* item = outputPin()->signalLabelHost()->labelItem(label);
    QCOMPARE(item->rect().width(), 4000.0);

    BlockPinValueSource* source = m_model->area()->pinValueSource();
    const QString value = QStringLiteral("1234567890.123456789 Umdrehungen je Minute");
    source->publishValue(label->pinPath(), value);
    QCOMPARE(item->value(), value);
    const qreal textWidth = QFontMetricsF(item->font()).boundingRect(value).width();
    QVERIFY(textWidth > 3000);
    const qreal expected = std::trunc((textWidth + 500) / 500 + 1) * 500;
    QCOMPARE(item->rect().width(), expected);
    QCOMPARE(std::fmod(item->rect().width(), 500.0), 0.0);
    QVERIFY(item->rect().width() >= textWidth + 500);
    QCOMPARE(item->rect().height(), 1000.0);
}

void tst_SignalLabels::renamedLabelResizes()
{
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"));
    outputPin()->addSignalLabel(label);
    SignalLabelItem* item = outputPin()->signalLabelHost()->labelItem(label);
    label->setName(QStringLiteral("Hauptantrieb_Foerderband_Abschnitt_Nord_7"));
    QVERIFY(item->rect().width() > 4000.0);
    const qreal wide = item->rect().width();
    // Only a change of the name resizes; other properties leave the box alone.
    item->onPropertyChanged(QStringLiteral("Offset"));
    QCOMPARE(item->rect().width(), wide);
}

void tst_SignalLabels::labelGoneInTheModelRemovesItsBox()
{
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"));
    outputPin()->addSignalLabel(label);
    SignalLabelHostItem* host = outputPin()->signalLabelHost();
    QCOMPARE(host->labelItems().size(), 1);
    const int before = int(m_scene->items().size());
    QVERIFY(m_root->deleteSignalLabel(label));
    QVERIFY(host->labelItems().isEmpty());
    QCOMPARE(int(m_scene->items().size()), before - 2);
}

void tst_SignalLabels::nodeDeletionTakesHostAndLabels()
{
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"));
    BlockPinItem* pin = outputPin();
    pin->addSignalLabel(label);
    QPointer<SignalLabelHostItem> host = pin->signalLabelHost();
    QCOMPARE(host->labelItems().size(), 1);
    host->onHierarchyNodeDelete();
    QVERIFY(host->labelItems().isEmpty());
    for (QGraphicsItem* item : m_scene->items())
        QVERIFY(!dynamic_cast<SignalLabelItem*>(item));
    QTRY_VERIFY(!host);
    QVERIFY(!pin->signalLabelHost());
    // The pin goes on without a host.
    pin->updateFromInstance();
    QMenu menu;
    pin->addContextMenuActions(&menu);
    QVERIFY(actionNamed(&menu, QStringLiteral("invertieren")));
}

void tst_SignalLabels::hostFollowsItsNodeIntoDeletion()
{
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"));
    outputPin()->addSignalLabel(label);
    QPointer<SignalLabelHostItem> host = outputPin()->signalLabelHost();
    QVERIFY(host->hierarchyNode());
    // Removing the instance takes its node; the scene is inactive, so the block item stays.
    m_code->deleteInstance(m_and->identifier());
    m_and = nullptr;
    QTRY_VERIFY(!host);
    for (QGraphicsItem* item : m_scene->items())
        QVERIFY(!dynamic_cast<SignalLabelItem*>(item));
}

void tst_SignalLabels::paintColours()
{
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"), QPointF(1, -3));
    BlockPinItem* pin = outputPin();
    pin->addSignalLabel(label);
    SignalLabelHostItem* host = pin->signalLabelHost();
    host->updateFromLabels();
    SignalLabelItem* item = host->labelItem(label);

    auto pixelAt = [this](const QPointF& scenePoint) {
        QImage image(QSize(100, 100), QImage::Format_ARGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        m_scene->render(&painter, QRectF(0, 0, 100, 100), QRectF(scenePoint - QPointF(500, 500), QSizeF(1000, 1000)));
        painter.end();
        return image.pixelColor(50, 50);
    };
    // Off the stub's line and away from the leader line, which both cross the host's centre.
    QCOMPARE(pixelAt(host->scenePos() + QPointF(-40, 40)).rgb(), QColor(Qt::yellow).rgb());
    // Below the texts, inside the rounded box.
    const QPointF inside = item->mapToScene(QPointF(3500, 500));
    QCOMPARE(pixelAt(inside).rgb(), QColor(Qt::yellow).rgb());
    item->setSelected(true);
    QCOMPARE(pixelAt(inside).rgb(), QColor(Qt::yellow).darker(120).rgb());
}

void tst_SignalLabels::hostHidesWhenItsLabelsGoWithoutIt()
{
    BlockPinItem* pin = outputPin();
    SignalLabelHostItem* host = pin->signalLabelHost();
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"));
    pin->updateFromInstance();
    QVERIFY(host->isVisible());
    // The model drops the label quietly; the host hears of it only through the pin's next update.
    m_code->blockChangeSignals(true);
    m_root->deleteSignalLabel(label);
    m_code->blockChangeSignals(false);
    QVERIFY(host->isVisible());
    pin->updateFromInstance();
    QVERIFY(!host->isVisible());
    makeLabel(QStringLiteral("Ventil"));
    pin->updateFromInstance();
    QVERIFY(host->isVisible());
    QCOMPARE(host->toolTip(), QStringLiteral("Ventil"));
    // The host itself hides when its last label goes by its own menu; the pin keeps up with that.
    host->hideAllSignalLabels();
    m_root->deleteSignalLabel(host->labels().first());
    host->updateFromLabels();
    QVERIFY(!host->isVisible());
    makeLabel(QStringLiteral("Motor"));
    m_scene->rebuild();
    QVERIFY(host->isVisible());
}

void tst_SignalLabels::labelsFollowAGroupMove()
{
    SignalLabel* label = makeLabel(QStringLiteral("Pumpe"), QPointF(1, -2));
    outputPin()->addSignalLabel(label);
    SignalLabelItem* item = outputPin()->signalLabelHost()->labelItem(label);
    const QPointF before = item->pos();
    BlockItem* block = m_scene->blockItem(m_and->identifier());
    const bool blocked = m_code->blockChangeSignals(true);
    block->moveBy(5000, 3000);
    QCOMPARE(item->pos(), before + QPointF(5000, 3000));
    block->moveBy(-1000, 0);
    QCOMPARE(item->pos(), before + QPointF(4000, 3000));
    m_code->blockChangeSignals(blocked);
    m_code->sendBlockedChangeSignal();
    QCOMPARE(item->pos(), before + QPointF(4000, 3000));
    QCOMPARE(label->offset(), QPointF(1, -2));
    block->moveBy(0, 1000);
    QCOMPARE(item->pos(), before + QPointF(4000, 4000));
}

ZK_TEST_REGISTER(tst_SignalLabels)
#include "tst_SignalLabels.moc"
