#include "ModalAnswer.h"
#include "CountingCommand.h"
#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "AreaInfo.h"
#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "ModelBuilder.h"
#include "ParameterSetup.h"
#include "System.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QGraphicsColorizeEffect>
#include <QGraphicsItemGroup>
#include <QGraphicsLineItem>
#include <QGraphicsRectItem>
#include <QGraphicsSceneMouseEvent>
#include <QGraphicsSceneWheelEvent>
#include <QKeySequence>
#include <QMimeData>
#include <QPointer>
#include <QSignalSpy>
#include <QAbstractButton>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>
#include <QUndoStack>
#include <QUndoView>

#include <memory>

namespace {

const QString DefinitionMime = QStringLiteral("zk6/blockdefinitionidentifier");

Qt::DropAction sendDrag(QGraphicsScene* scene, QEvent::Type type, const QByteArray& payload, QPointF scenePos,
                        const QString& format = DefinitionMime)
{
    QMimeData data;
    data.setData(format, payload);
    return sendSceneDrag(scene, type, &data, scenePos, Qt::CopyAction | Qt::LinkAction);
}

bool sendChord(QGraphicsScene* scene, QKeySequence::StandardKey standard)
{
    const QKeyCombination combination = QKeySequence(standard)[0];
    return sendSceneKey(scene, combination.key(), combination.keyboardModifiers());
}

QGraphicsItemGroup* gridOf(QGraphicsScene* scene)
{
    const QList<QGraphicsItemGroup*> groups = itemsOf<QGraphicsItemGroup>(scene);
    return groups.size() == 1 ? groups.first() : nullptr;
}

QList<QGraphicsRectItem*> gridBackgrounds(QGraphicsScene* scene)
{
    QList<QGraphicsRectItem*> result;
    for (QGraphicsRectItem* rect : itemsOf<QGraphicsRectItem>(scene)) {
        if (rect->zValue() == -9999.0)
            result.append(rect);
    }
    return result;
}

QPointF centreOf(BlockItem* item)
{
    return item->mapToScene(item->rect().center());
}

QUndoView* floatingUndoView()
{
    const QList<QWidget*> windows = QApplication::topLevelWidgets();
    for (QWidget* window : windows) {
        if (auto* view = qobject_cast<QUndoView*>(window))
            return view;
    }
    return nullptr;
}

QList<ConnectionNodeItem*> cornerNodes(BlockDefinitionScene* scene)
{
    QList<ConnectionNodeItem*> corners;
    for (ConnectionNodeItem* node : itemsOf<ConnectionNodeItem>(scene)) {
        if (!node->isPinNode() && node->connectionItem() && !node->connectionItem()->isEndNode(node))
            corners.append(node);
    }
    std::sort(corners.begin(), corners.end(),
              [](ConnectionNodeItem* a, ConnectionNodeItem* b) { return a->scenePos().x() < b->scenePos().x(); });
    return corners;
}

} // namespace

class tst_BlockDefinitionScene : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void forCodeMakesTheCodesChildAndFindsItAgain();
    void forCodeRebuildsEachTime();
    void forCodeWithoutCodeIsNull();
    void contract();
    void readOnlyAtCreation();
    void setReadOnlyBuildsTheGridOnce();
    void gridLinesAndBackground();
    void gridWithHierarchyNodeIsCoarserAndPlain();
    void setHierarchyNodeDeletesTheGrid();
    void setHierarchyNodeWithTheSameNodeKeepsTheGrid();
    void setInstanceAreaKeepsTheGridAndIsWeak();
    void undoStackHasLimitTen();
    void undoRedoAndClear();
    void undoAndRedoKeys();
    void showUndoViewNeedsLevelFour_data();
    void showUndoViewNeedsLevelFour();
    void undoViewDiesWithTheScene();
    void controlUBelowLevelFourPassesOn();
    void controlUWithOtherModifiersIsNoUndoView();
    void keySExportsAtTheTopLevel_data();
    void keySExportsAtTheTopLevel();
    void keySBelowTheTopLevelPassesOn();
    void arrowKeysMoveTheSelection_data();
    void arrowKeysMoveTheSelection();
    void arrowKeysStopAtTheOrigin();
    void arrowKeysInReadOnlyModeMoveNothing();
    void arrowKeysLeavePinNodesAlone();
    void moveItemsClampsTheGroupAtTheOrigin();
    void moveItemsWithoutDeltaOrMovableItems();
    void moveItemsSendsOneChangeSignalPerList();
    void controlVInReadOnlyModeTurnsOnEditMode();
    void controlXCopiesAlsoWhenReadOnly();
    void deleteIsHandledOnlyWhenWritable();
    void selectAllKey();
    void controlCReachesTheCodeScene();
    void wheelIsLeftToTheView();
    void definitionFromMimeData_data();
    void definitionFromMimeData();
    void dragEnterSetsTheDropAction();
    void dragHighlightFollowsTheCursor();
    void dragWithoutDefinitionIsIgnored();
    void dropRemovesTheHighlight();
    void createBlockInstance();
    void createBlockInstanceWithoutDefinition();
    void connectPinsRefusesBadPairs();
    void connectPinsConnects();
    void connectionNodesOfSelection();
    void groupDragOfNodesSnapsAtHalfUnits();
    void groupDragWithABlockSnapsAtWholeUnits();
    void groupDragStopsAtTheOrigin();
    void moveItemsKeepsAGrabbedNodeWhereItWent();
    void groupDragKeepsTheGrabbedNodeWithTheOthers_data();
    void groupDragKeepsTheGrabbedNodeWithTheOthers();
    void groupDragAccumulatesSteps();
    void groupDragRestoresMovability();
    void groupDragInReadOnlyModeMovesNothing();
    void pressOnEmptySpaceStartsASelectionGesture();
    void singleBlockIsMovedByTheToolkit();
    void findFreeParameterCoordinateStartsAtP();
    void findFreeParameterCoordinateSkipsUsedOnes();
    void findFreeParameterCoordinateWithNodeLooksAtItsAreaOnly();
    void findFreeParameterCoordinateFallsBackToQ();
    void findFreeParameterCoordinateAllTaken();
    void sceneDiesWithItsCode();
    void deletedSceneHearsNoMoreChanges();

private:
    BlockDefinitionScene* scene() const { return BlockDefinitionScene::forCode(m_code); }
    BlockItem* item(BlockInstance* instance) const { return scene()->blockItem(instance->identifier()); }
    void fillParameters(BlockInstanceArea* area, QChar letter, int count);

    std::unique_ptr<TestModel> m_model;
    BlockCode* m_code = nullptr;
    BlockInstance* m_and = nullptr;
    BlockInstance* m_not = nullptr;
    BlockInstance* m_or = nullptr;
    BlockPinConnection* m_wire = nullptr;
};

void tst_BlockDefinitionScene::init()
{
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    m_and = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
    m_not = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {40, 10});
    m_or = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_2"))), {20, 30});
    // Two corners between the ends, so that the route has free nodes; the ends sit on their pins.
    m_wire = ModelBuilder::wire(m_code, m_and, 3, m_not, 1,
                                {QPointF(26, 11), QPointF(30, 11), QPointF(34, 14), QPointF(37, 11)});
    System::instance().setUserAccessLevelCode(3);
}

void tst_BlockDefinitionScene::cleanup()
{
    m_model.reset();
    System::instance().setUserAccessLevelCode(3);
    System::instance().setExportDirectory(QString());
    QGuiApplication::clipboard()->clear();
}

void tst_BlockDefinitionScene::fillParameters(BlockInstanceArea* area, QChar letter, int count)
{
    for (int number = 0; number < count; ++number) {
        area->areaInfo()->insertParameterInstance(
            new ParameterSetup(QStringLiteral("A%1:0#%2%3").arg(area->firstNumber()).arg(letter).arg(number)));
    }
}

void tst_BlockDefinitionScene::forCodeMakesTheCodesChildAndFindsItAgain()
{
    QVERIFY(!m_code->blockDefinitionScene());
    BlockDefinitionScene* first = BlockDefinitionScene::forCode(m_code);
    QVERIFY(first);
    QCOMPARE(first->parent(), m_code);
    QCOMPARE(m_code->blockDefinitionScene(), first);
    QCOMPARE(BlockDefinitionScene::forCode(m_code), first);
    QCOMPARE(first->blockItemMap().size(), 3);
}

void tst_BlockDefinitionScene::forCodeRebuildsEachTime()
{
    BlockDefinitionScene* first = scene();
    // A change the scene cannot hear: only the next forCode brings the item.
    const bool previous = m_code->blockChangeSignals(true);
    BlockInstance* added =
        ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {60, 10});
    m_code->blockChangeSignals(previous);
    QVERIFY(!first->blockItem(added->identifier()));
    QCOMPARE(BlockDefinitionScene::forCode(m_code), first);
    QVERIFY(first->blockItem(added->identifier()));
}

void tst_BlockDefinitionScene::forCodeWithoutCodeIsNull()
{
    QVERIFY(!BlockDefinitionScene::forCode(nullptr));
}

void tst_BlockDefinitionScene::contract()
{
    BlockDefinitionScene* s = scene();
    QVERIFY(s->isDefinitionScene());
    QVERIFY(!s->isHierarchyNodeScene());
    QCOMPARE(s->blockCode(), m_code);
    QVERIFY(!s->hierarchyNode());
    QVERIFY(!s->instanceArea());
    QVERIFY(s->undoStack());
    QCOMPARE(s->undoStack()->parent(), s);
    QCOMPARE(s->sceneRect(), QRectF(-500, -500, 1001000, 1001000));
}

void tst_BlockDefinitionScene::readOnlyAtCreation()
{
    BlockDefinitionScene* s = scene();
    QVERIFY(s->isReadOnly());
    QVERIFY(!gridOf(s));
    QVERIFY(gridBackgrounds(s).isEmpty());
}

void tst_BlockDefinitionScene::setReadOnlyBuildsTheGridOnce()
{
    BlockDefinitionScene* s = scene();
    QSignalSpy spy(s, &BlockDefinitionScene::editModeChanged);
    s->setReadOnly(false);
    QVERIFY(!s->isReadOnly());
    QGraphicsItemGroup* grid = gridOf(s);
    QVERIFY(grid);
    QVERIFY(grid->isVisible());
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).toBool(), true);

    s->setReadOnly(true);
    QVERIFY(s->isReadOnly());
    QCOMPARE(gridOf(s), grid);
    QVERIFY(!grid->isVisible());
    QCOMPARE(spy.size(), 2);
    QCOMPARE(spy.at(1).at(0).toBool(), false);

    s->setReadOnly(false);
    QCOMPARE(gridOf(s), grid);
    QVERIFY(grid->isVisible());
    QCOMPARE(gridBackgrounds(s).size(), 1);
    QCOMPARE(spy.size(), 3);
}

void tst_BlockDefinitionScene::gridLinesAndBackground()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    QGraphicsItemGroup* grid = gridOf(s);
    QVERIFY(grid);
    QCOMPARE(grid->zValue(), -10000.0);
    const QList<QGraphicsItem*> children = grid->childItems();
    QCOMPARE(children.size(), 2 * 1001);
    int vertical = 0;
    int horizontal = 0;
    for (QGraphicsItem* child : children) {
        auto* line = dynamic_cast<QGraphicsLineItem*>(child);
        QVERIFY(line);
        QCOMPARE(line->zValue(), -10000.0);
        QCOMPARE(line->data(0), QVariant(0));
        QCOMPARE(line->pen().color(), QColor(175, 175, 175, 127));
        QCOMPARE(line->pen().width(), 0);
        const QLineF l = line->line();
        if (l.x1() == l.x2()) {
            QCOMPARE(l.y1(), 0.0);
            QCOMPARE(l.y2(), 1000000.0);
            QCOMPARE(std::fmod(l.x1(), 1000.0), 0.0);
            ++vertical;
        } else {
            QCOMPARE(l.x1(), 0.0);
            QCOMPARE(l.x2(), 1000000.0);
            ++horizontal;
        }
    }
    QCOMPARE(vertical, 1001);
    QCOMPARE(horizontal, 1001);

    const QList<QGraphicsRectItem*> backgrounds = gridBackgrounds(s);
    QCOMPARE(backgrounds.size(), 1);
    QCOMPARE(backgrounds.first()->rect(), QRectF(0, 0, 1000000, 1000000));
    QCOMPARE(backgrounds.first()->brush().color(), QColor(200, 200, 250, 50));
    QCOMPARE(backgrounds.first()->brush().style(), Qt::SolidPattern);
    QCOMPARE(backgrounds.first()->pen().color(), QColor(175, 175, 175, 127));
}

void tst_BlockDefinitionScene::gridWithHierarchyNodeIsCoarserAndPlain()
{
    BlockDefinitionScene* s = scene();
    s->setHierarchyNode(m_model->area()->hierarchy()->rootNode());
    s->setReadOnly(false);
    QGraphicsItemGroup* grid = gridOf(s);
    QVERIFY(grid);
    QCOMPARE(grid->childItems().size(), 2 * 251);
    for (QGraphicsItem* child : grid->childItems()) {
        const QLineF l = static_cast<QGraphicsLineItem*>(child)->line();
        QCOMPARE(std::fmod(l.x1() + l.y1(), 4000.0), 0.0);
    }
    QVERIFY(gridBackgrounds(s).isEmpty());
}

void tst_BlockDefinitionScene::setHierarchyNodeDeletesTheGrid()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    QSignalSpy spy(s, &BlockDefinitionScene::editModeChanged);
    BlockInstanceHierarchyNode* node = m_model->area()->hierarchy()->rootNode();
    s->setHierarchyNode(node);
    QCOMPARE(s->hierarchyNode(), node);
    QVERIFY(s->isReadOnly());
    QVERIFY(!gridOf(s));
    QVERIFY(spy.isEmpty());
    // The background of the first grid stays in the scene.
    QCOMPARE(gridBackgrounds(s).size(), 1);
    s->setReadOnly(false);
    QCOMPARE(gridOf(s)->childItems().size(), 2 * 251);
}

void tst_BlockDefinitionScene::setHierarchyNodeWithTheSameNodeKeepsTheGrid()
{
    BlockDefinitionScene* s = scene();
    BlockInstanceHierarchyNode* node = m_model->area()->hierarchy()->rootNode();
    s->setHierarchyNode(node);
    s->setReadOnly(false);
    QGraphicsItemGroup* grid = gridOf(s);
    s->setHierarchyNode(node);
    QCOMPARE(gridOf(s), grid);
    QVERIFY(!s->isReadOnly());
}

void tst_BlockDefinitionScene::setInstanceAreaKeepsTheGridAndIsWeak()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    auto* area = new BlockInstanceArea(7, 0, 7);
    s->setInstanceArea(area);
    QCOMPARE(s->instanceArea(), area);
    QVERIFY(!s->isReadOnly());
    QVERIFY(gridOf(s));
    delete area;
    QVERIFY(!s->instanceArea());
}

void tst_BlockDefinitionScene::undoStackHasLimitTen()
{
    BlockDefinitionScene* s = scene();
    QCOMPARE(s->undoStack()->undoLimit(), 10);
    int undos = 0;
    int redos = 0;
    for (int i = 0; i < 12; ++i)
        s->undoStack()->push(new CountingCommand(&undos, &redos));
    QCOMPARE(s->undoStack()->count(), 10);
}

void tst_BlockDefinitionScene::undoRedoAndClear()
{
    BlockDefinitionScene* s = scene();
    int undos = 0;
    int redos = 0;
    s->undoStack()->push(new CountingCommand(&undos, &redos));
    QCOMPARE(redos, 1);
    s->undo();
    QCOMPARE(undos, 1);
    s->redo();
    QCOMPARE(redos, 2);
    s->clearUndoStack();
    QCOMPARE(s->undoStack()->count(), 0);
}

void tst_BlockDefinitionScene::undoAndRedoKeys()
{
    BlockDefinitionScene* s = scene();
    int undos = 0;
    int redos = 0;
    s->undoStack()->push(new CountingCommand(&undos, &redos));
    // Undo and redo work in read-only mode as well; the commands decide what they may do.
    QVERIFY(s->isReadOnly());
    QVERIFY(sendChord(s, QKeySequence::Undo));
    QCOMPARE(undos, 1);
    QVERIFY(sendChord(s, QKeySequence::Redo));
    QCOMPARE(redos, 2);
}

void tst_BlockDefinitionScene::showUndoViewNeedsLevelFour_data()
{
    QTest::addColumn<quint32>("level");
    QTest::addColumn<bool>("shown");
    QTest::newRow("3") << quint32(3) << false;
    QTest::newRow("4") << quint32(4) << true;
    QTest::newRow("5") << quint32(5) << true;
}

void tst_BlockDefinitionScene::showUndoViewNeedsLevelFour()
{
    QFETCH(quint32, level);
    QFETCH(bool, shown);
    System::instance().setUserAccessLevelCode(level);
    BlockDefinitionScene* s = scene();
    QCOMPARE(s->showUndoView(), shown);
    QUndoView* view = floatingUndoView();
    QCOMPARE(view != nullptr, shown);
    if (!shown)
        return;
    QCOMPARE(view->windowTitle(), QStringLiteral("Undo-Stack"));
    QCOMPARE(view->stack(), s->undoStack());
    QVERIFY(!view->parentWidget());
    QVERIFY(view->isVisible());

    // The key does the same and makes no second window.
    view->hide();
    QVERIFY(sendSceneKey(s, Qt::Key_U, Qt::ControlModifier));
    QVERIFY(view->isVisible());
    QCOMPARE(floatingUndoView(), view);
    delete m_code->blockDefinitionScene();
}

void tst_BlockDefinitionScene::undoViewDiesWithTheScene()
{
    System::instance().setUserAccessLevelCode(4);
    BlockDefinitionScene* s = scene();
    QVERIFY(s->showUndoView());
    QPointer<QUndoView> view = floatingUndoView();
    QVERIFY(view);
    delete s;
    QVERIFY(!view);
}

void tst_BlockDefinitionScene::controlUBelowLevelFourPassesOn()
{
    BlockDefinitionScene* s = scene();
    QVERIFY(!sendSceneKey(s, Qt::Key_U, Qt::ControlModifier));
    QVERIFY(!floatingUndoView());
}

void tst_BlockDefinitionScene::controlUWithOtherModifiersIsNoUndoView()
{
    System::instance().setUserAccessLevelCode(5);
    BlockDefinitionScene* s = scene();
    QVERIFY(!sendSceneKey(s, Qt::Key_U, Qt::ControlModifier | Qt::ShiftModifier));
    QVERIFY(!sendSceneKey(s, Qt::Key_U));
    QVERIFY(!floatingUndoView());
}

void tst_BlockDefinitionScene::keySExportsAtTheTopLevel_data()
{
    QTest::addColumn<int>("modifiers");
    QTest::newRow("none") << int(Qt::NoModifier);
    QTest::newRow("shift") << int(Qt::ShiftModifier);
    QTest::newRow("control") << int(Qt::ControlModifier);
    QTest::newRow("control alt") << int(Qt::ControlModifier | Qt::AltModifier);
}

void tst_BlockDefinitionScene::keySExportsAtTheTopLevel()
{
    QFETCH(int, modifiers);
    QTemporaryDir directory;
    QVERIFY(directory.isValid());
    System::instance().setExportDirectory(directory.path());
    System::instance().setUserAccessLevelCode(5);
    BlockDefinition* regler = ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20")));
    BlockDefinitionScene* s = BlockDefinitionScene::forCode(regler->code());
    QVERIFY(sendSceneKey(s, Qt::Key_S, Qt::KeyboardModifiers(modifiers)));
    const QString path = directory.path() + QStringLiteral("/StandardBlock_20_%1.txt").arg(regler->version());
    QVERIFY(QFile::exists(path));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.size() > 0);
}

void tst_BlockDefinitionScene::keySBelowTheTopLevelPassesOn()
{
    QTemporaryDir directory;
    System::instance().setExportDirectory(directory.path());
    System::instance().setUserAccessLevelCode(4);
    BlockDefinition* regler = ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20")));
    BlockDefinitionScene* s = BlockDefinitionScene::forCode(regler->code());
    QVERIFY(!sendSceneKey(s, Qt::Key_S));
    QVERIFY(QDir(directory.path()).entryList(QDir::Files).isEmpty());
}

void tst_BlockDefinitionScene::arrowKeysMoveTheSelection_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<QPointF>("position");
    QTest::newRow("up") << int(Qt::Key_Up) << QPointF(20, 9);
    QTest::newRow("right") << int(Qt::Key_Right) << QPointF(21, 10);
    QTest::newRow("down") << int(Qt::Key_Down) << QPointF(20, 11);
    QTest::newRow("left") << int(Qt::Key_Left) << QPointF(19, 10);
}

void tst_BlockDefinitionScene::arrowKeysMoveTheSelection()
{
    QFETCH(int, key);
    QFETCH(QPointF, position);
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    item(m_and)->setSelected(true);
    QVERIFY(sendSceneKey(s, key));
    QCOMPARE(m_and->position(), position);
    QCOMPARE(item(m_and)->pos(), position * 1000.0);
    QCOMPARE(m_not->position(), QPointF(40, 10));
}

void tst_BlockDefinitionScene::arrowKeysStopAtTheOrigin()
{
    BlockInstance* corner =
        ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {0, 0});
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    item(corner)->setSelected(true);
    // Nothing moved: the key is not handled here and goes on to the base class, which ignores it.
    QVERIFY(!sendSceneKey(s, Qt::Key_Left));
    QVERIFY(!sendSceneKey(s, Qt::Key_Up));
    QCOMPARE(corner->position(), QPointF(0, 0));
    QVERIFY(sendSceneKey(s, Qt::Key_Right));
    QCOMPARE(corner->position(), QPointF(1, 0));
}

void tst_BlockDefinitionScene::arrowKeysInReadOnlyModeMoveNothing()
{
    BlockDefinitionScene* s = scene();
    QVERIFY(s->isReadOnly());
    item(m_and)->setSelected(true);
    QVERIFY(!sendSceneKey(s, Qt::Key_Right));
    QCOMPARE(m_and->position(), QPointF(20, 10));
}

void tst_BlockDefinitionScene::arrowKeysLeavePinNodesAlone()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    ConnectionItem* connection = s->connectionItemMap().value(m_wire);
    QVERIFY(connection);
    ConnectionNodeItem* end = nullptr;
    for (ConnectionNodeItem* node : connection->allNodes()) {
        if (node->isPinNode())
            end = node;
    }
    QVERIFY(end);
    const QPointF before = end->scenePos();
    end->setSelected(true);
    QVERIFY(!sendSceneKey(s, Qt::Key_Right));
    QCOMPARE(end->scenePos(), before);
}

void tst_BlockDefinitionScene::moveItemsClampsTheGroupAtTheOrigin()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    QList<QGraphicsItem*> list{item(m_and), item(m_not)};
    QVERIFY(s->moveItems(list, -25000.0, 0.0));
    // The leftmost stops at 0; the other keeps its distance.
    QCOMPARE(m_and->position(), QPointF(0, 10));
    QCOMPARE(m_not->position(), QPointF(20, 10));
    QVERIFY(s->moveItems(list, 0.0, -12000.0));
    QCOMPARE(m_and->position(), QPointF(0, 0));
    QCOMPARE(m_not->position(), QPointF(20, 0));
}

void tst_BlockDefinitionScene::moveItemsWithoutDeltaOrMovableItems()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    QVERIFY(!s->moveItems({item(m_and)}, 0.0, 0.0));
    QVERIFY(!s->moveItems({}, 1000.0, 0.0));
    QVERIFY(!s->moveItems({s->backgroundItem()}, 1000.0, 0.0));
    QCOMPARE(s->backgroundItem()->pos(), QPointF(0, 0));
    // Clamped to nothing.
    BlockInstance* corner =
        ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {0, 5});
    QVERIFY(!s->moveItems({item(corner)}, -1000.0, 0.0));
}

void tst_BlockDefinitionScene::moveItemsSendsOneChangeSignalPerList()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    QList<ConnectionNodeItem*> corners = cornerNodes(s);
    QCOMPARE(corners.size(), 2);
    QSignalSpy changed(m_code, &BlockCode::changed);
    QVERIFY(s->moveItems({item(m_and), item(m_not), corners.at(0)}, 1000.0, 0.0));
    // One for the free nodes, one for the blocks.
    QCOMPARE(changed.size(), 2);
    QVERIFY(!m_code->changeSignalsBlocked());
}

void tst_BlockDefinitionScene::controlVInReadOnlyModeTurnsOnEditMode()
{
    BlockDefinitionScene* s = scene();
    item(m_and)->setSelected(true);
    s->copyToClipboard();
    s->clearSelection();
    QSignalSpy spy(s, &BlockDefinitionScene::editModeChanged);
    QVERIFY(s->isReadOnly());
    QVERIFY(sendSceneKey(s, Qt::Key_V, Qt::ControlModifier));
    QVERIFY(!s->isReadOnly());
    QVERIFY(gridOf(s));
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).toBool(), true);
    // And it pastes: a second AND, selected, as one entry on the stack.
    QCOMPARE(m_code->instances().size(), 4);
    QCOMPARE(s->undoStack()->count(), 1);
    QCOMPARE(s->undoStack()->text(0), QStringLiteral("Paste items"));
    QCOMPARE(s->selectedBlockItems().size(), 1);
    QVERIFY(s->selectedBlockItems().first()->identifier() != m_and->identifier());
    // Without Control the key is nobody's business here.
    s->setReadOnly(true);
    QVERIFY(!sendSceneKey(s, Qt::Key_V));
    QVERIFY(s->isReadOnly());
    QCOMPARE(m_code->instances().size(), 4);
}

void tst_BlockDefinitionScene::controlXCopiesAlsoWhenReadOnly()
{
    BlockDefinitionScene* s = scene();
    QGuiApplication::clipboard()->clear();
    item(m_and)->setSelected(true);
    QVERIFY(s->isReadOnly());
    QVERIFY(sendSceneKey(s, Qt::Key_X, Qt::ControlModifier));
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    QVERIFY(data);
    QVERIFY(data->hasFormat(BlockCode::TransferMimeType));
    // Cutting does not switch on edit mode, and takes nothing away in read-only mode.
    QVERIFY(s->isReadOnly());
    QCOMPARE(m_code->instances().size(), 3);
    QCOMPARE(s->undoStack()->count(), 0);

    // Writable, the block goes, as one undo step.
    s->setReadOnly(false);
    const unsigned int id = m_and->identifier();
    QGuiApplication::clipboard()->clear();
    QVERIFY(sendSceneKey(s, Qt::Key_X, Qt::ControlModifier));
    QVERIFY(QGuiApplication::clipboard()->mimeData()->hasFormat(BlockCode::TransferMimeType));
    QVERIFY(!m_code->instance(id));
    QCOMPARE(s->undoStack()->count(), 1);
    QCOMPARE(s->undoStack()->text(0), QStringLiteral("Delete 1 items"));
    s->undoStack()->undo();
    QVERIFY(m_code->instance(id));
}

void tst_BlockDefinitionScene::deleteIsHandledOnlyWhenWritable()
{
    BlockDefinitionScene* s = scene();
    const unsigned int id = m_and->identifier();
    item(m_and)->setSelected(true);
    QVERIFY(!sendSceneKey(s, Qt::Key_Delete));
    QVERIFY(m_code->instance(id));
    QCOMPARE(s->undoStack()->count(), 0);
    s->setReadOnly(false);
    QVERIFY(sendSceneKey(s, Qt::Key_Delete));
    QVERIFY(!m_code->instance(id));
    QCOMPARE(s->undoStack()->text(0), QStringLiteral("Delete 1 items"));
    // Also with nothing selected.
    s->clearSelection();
    QVERIFY(sendSceneKey(s, Qt::Key_Delete));
    QCOMPARE(s->undoStack()->count(), 2);
    QCOMPARE(s->undoStack()->text(1), QStringLiteral("Delete 0 items"));
}

void tst_BlockDefinitionScene::selectAllKey()
{
    BlockDefinitionScene* s = scene();
    QVERIFY(sendChord(s, QKeySequence::SelectAll));
    QCOMPARE(s->selectedBlockItems().size(), 3);
    for (ConnectionNodeItem* node : cornerNodes(s))
        QVERIFY(node->isSelected());
}

void tst_BlockDefinitionScene::controlCReachesTheCodeScene()
{
    BlockDefinitionScene* s = scene();
    QGuiApplication::clipboard()->clear();
    item(m_not)->setSelected(true);
    QVERIFY(sendSceneKey(s, Qt::Key_C, Qt::ControlModifier));
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    QVERIFY(data && data->hasFormat(BlockCode::TransferMimeType));
}

void tst_BlockDefinitionScene::wheelIsLeftToTheView()
{
    BlockDefinitionScene* s = scene();
    QGraphicsSceneWheelEvent event(QEvent::GraphicsSceneWheel);
    event.setScenePos(centreOf(item(m_and)));
    event.setDelta(120);
    event.setOrientation(Qt::Vertical);
    event.accept();
    QApplication::sendEvent(s, &event);
    QVERIFY(!event.isAccepted());
}

void tst_BlockDefinitionScene::definitionFromMimeData_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QByteArray>("payload");
    QTest::addColumn<QString>("block");
    QTest::newRow("definition") << DefinitionMime << QByteArray("StandardBlock_1;0") << QStringLiteral("StandardBlock_1");
    QTest::newRow("tool block") << DefinitionMime << QByteArray("ToolBlock_8000008;1") << QStringLiteral("ToolBlock_8000008");
    QTest::newRow("no version") << DefinitionMime << QByteArray("StandardBlock_1") << QString();
    QTest::newRow("three parts") << DefinitionMime << QByteArray("StandardBlock_1;0;1") << QString();
    QTest::newRow("unknown block") << DefinitionMime << QByteArray("StandardBlock_999;0") << QString();
    QTest::newRow("unknown version") << DefinitionMime << QByteArray("StandardBlock_1;7") << QString();
    QTest::newRow("empty") << DefinitionMime << QByteArray() << QString();
    QTest::newRow("bookmark only") << QStringLiteral("zk6/blockbookmarkidentifier") << QByteArray("StandardBlock_1;0")
                                   << QString();
    QTest::newRow("text") << QStringLiteral("text/plain") << QByteArray("StandardBlock_1;0") << QString();
}

void tst_BlockDefinitionScene::definitionFromMimeData()
{
    QFETCH(QString, format);
    QFETCH(QByteArray, payload);
    QFETCH(QString, block);
    QMimeData data;
    data.setData(format, payload);
    BlockDefinition* definition = scene()->definitionFromMimeData(&data);
    if (block.isEmpty()) {
        QVERIFY(!definition);
        return;
    }
    QVERIFY(definition);
    QCOMPARE(definition->block()->identifier(), block);
    QCOMPARE(QByteArray::number(definition->version()), payload.split(';').at(1));
    QVERIFY(!scene()->definitionFromMimeData(nullptr));
}

void tst_BlockDefinitionScene::dragEnterSetsTheDropAction()
{
    BlockDefinitionScene* s = scene();
    QCOMPARE(sendDrag(s, QEvent::GraphicsSceneDragEnter, "StandardBlock_1;0", QPointF(100, 100)), Qt::LinkAction);
    QCOMPARE(sendDrag(s, QEvent::GraphicsSceneDragEnter, "StandardBlock_999;0", QPointF(100, 100)), Qt::IgnoreAction);
    QCOMPARE(sendDrag(s, QEvent::GraphicsSceneDragEnter, "StandardBlock_1;0", QPointF(100, 100),
                      QStringLiteral("zk6/blockbookmarkidentifier")),
             Qt::IgnoreAction);
}

void tst_BlockDefinitionScene::dragHighlightFollowsTheCursor()
{
    BlockDefinitionScene* s = scene();
    BlockItem* first = item(m_and);
    BlockItem* second = item(m_not);
    QCOMPARE(sendDrag(s, QEvent::GraphicsSceneDragMove, "StandardBlock_1;0", centreOf(first)), Qt::LinkAction);
    auto* effect = qobject_cast<QGraphicsColorizeEffect*>(first->graphicsEffect());
    QVERIFY(effect);
    QCOMPARE(effect->color(), QColor(Qt::red));
    QCOMPARE(effect->strength(), 1.0);
    QCOMPARE(effect->parent(), s);

    // From block to block the same effect moves along.
    QPointer<QGraphicsColorizeEffect> guard(effect);
    sendDrag(s, QEvent::GraphicsSceneDragMove, "StandardBlock_1;0", centreOf(second));
    QVERIFY(!first->graphicsEffect());
    QCOMPARE(second->graphicsEffect(), effect);

    // Empty space removes the tint.
    QCOMPARE(sendDrag(s, QEvent::GraphicsSceneDragMove, "StandardBlock_1;0", QPointF(900000, 900000)), Qt::LinkAction);
    QVERIFY(!first->graphicsEffect());
    QVERIFY(!second->graphicsEffect());
    QVERIFY(!guard);

    // And a new hover brings a new one.
    sendDrag(s, QEvent::GraphicsSceneDragMove, "StandardBlock_1;0", centreOf(first));
    QVERIFY(qobject_cast<QGraphicsColorizeEffect*>(first->graphicsEffect()));
}

void tst_BlockDefinitionScene::dragWithoutDefinitionIsIgnored()
{
    BlockDefinitionScene* s = scene();
    BlockItem* first = item(m_and);
    QCOMPARE(sendDrag(s, QEvent::GraphicsSceneDragMove, "nothing;0", centreOf(first)), Qt::IgnoreAction);
    QVERIFY(!first->graphicsEffect());
}

void tst_BlockDefinitionScene::dropRemovesTheHighlight()
{
    BlockDefinitionScene* s = scene();
    BlockItem* first = item(m_and);
    sendDrag(s, QEvent::GraphicsSceneDragMove, "StandardBlock_1;0", centreOf(first));
    QVERIFY(first->graphicsEffect());
    // The drop on a block asks before it replaces; the tint is gone by then.
    bool tintedAtTheQuestion = true;
    auto answered = answerNextModal([&](QDialog* dialog) {
        tintedAtTheQuestion = first->graphicsEffect() != nullptr;
        auto* box = qobject_cast<QMessageBox*>(dialog);
        QVERIFY(box);
        box->button(QMessageBox::No)->click();
    });
    sendDrag(s, QEvent::GraphicsSceneDrop, "StandardBlock_1;0", centreOf(first));
    QVERIFY(*answered);
    QVERIFY(!tintedAtTheQuestion);
    QVERIFY(!first->graphicsEffect());
    // A drop without a definition leaves a highlight alone (there can be none from such a drag).
    sendDrag(s, QEvent::GraphicsSceneDragMove, "StandardBlock_1;0", centreOf(first));
    sendDrag(s, QEvent::GraphicsSceneDrop, "unknown;0", centreOf(first));
    QVERIFY(first->graphicsEffect());
}

void tst_BlockDefinitionScene::createBlockInstance()
{
    BlockDefinitionScene* s = scene();
    BlockDefinition* definition = ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_10")));
    BlockInstance* instance = s->createBlockInstance(definition, QPointF(12000, 34000));
    QVERIFY(instance);
    QCOMPARE(instance->blockDefinition(), definition);
    QCOMPARE(instance->ownerCode(), m_code);
    QCOMPARE(instance->position(), QPointF(12, 34));
    BlockItem* created = s->blockItem(instance->identifier());
    QVERIFY(created);
    QCOMPARE(created->pos(), QPointF(12000, 34000));
    QVERIFY(m_code->realtimeOrder().contains(instance->identifier()));
}

void tst_BlockDefinitionScene::createBlockInstanceWithoutDefinition()
{
    BlockDefinitionScene* s = scene();
    QVERIFY(!s->createBlockInstance(nullptr, QPointF(0, 0)));
    QCOMPARE(m_code->instances().size(), 3);
}

void tst_BlockDefinitionScene::connectPinsRefusesBadPairs()
{
    BlockDefinitionScene* s = scene();
    BlockPinItem* output = item(m_and)->pinItem(3);
    BlockPinItem* input = item(m_or)->pinItem(1);
    QVERIFY(output && input);
    const int before = int(m_code->connections().size());
    QVERIFY(!s->connectPins(nullptr, input));
    QVERIFY(!s->connectPins(output, nullptr));
    QVERIFY(!s->connectPins(output, output));
    input->setVisible(false);
    QVERIFY(!s->connectPins(output, input));
    QCOMPARE(int(m_code->connections().size()), before);
}

void tst_BlockDefinitionScene::connectPinsConnects()
{
    BlockDefinitionScene* s = scene();
    BlockPinItem* output = item(m_and)->pinItem(3);
    BlockPinItem* input = item(m_or)->pinItem(1);
    BlockPinConnection* connection = s->connectPins(output, input);
    QVERIFY(connection);
    QVERIFY(m_code->connections().contains(connection));
    QVERIFY(connection->isConnectedTo(m_or));
    QVERIFY(s->connectionItemMap().contains(connection));
}

void tst_BlockDefinitionScene::connectionNodesOfSelection()
{
    BlockDefinitionScene* s = scene();
    QVERIFY(s->connectionNodesOfSelection().isEmpty());
    const QList<ConnectionNodeItem*> corners = cornerNodes(s);
    QCOMPARE(corners.size(), 2);

    // One selected end is enough; the end nodes are never part of it.
    item(m_not)->setSelected(true);
    QList<ConnectionNodeItem*> nodes = s->connectionNodesOfSelection();
    QCOMPARE(nodes.size(), 2);
    QVERIFY(nodes.contains(corners.at(0)));
    QVERIFY(nodes.contains(corners.at(1)));

    s->clearSelection();
    item(m_or)->setSelected(true);
    QVERIFY(s->connectionNodesOfSelection().isEmpty());
}

void tst_BlockDefinitionScene::groupDragOfNodesSnapsAtHalfUnits()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    const QList<ConnectionNodeItem*> corners = cornerNodes(s);
    QCOMPARE(corners.size(), 2);
    const QPointF first = corners.at(0)->pos();
    const QPointF second = corners.at(1)->pos();
    corners.at(0)->setSelected(true);
    corners.at(1)->setSelected(true);
    // Control keeps the selection on a press beside it, which is then no selection gesture.
    const QPointF press(900000, 900000);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMousePress, press, press, Qt::ControlModifier);
    QVERIFY(corners.at(0)->isSelected() && corners.at(1)->isSelected());
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, press + QPointF(400, 0), press);
    QCOMPARE(corners.at(0)->pos(), first + QPointF(500, 0));
    QCOMPARE(corners.at(1)->pos(), second + QPointF(500, 0));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseRelease, press + QPointF(400, 0), press);
}

void tst_BlockDefinitionScene::groupDragWithABlockSnapsAtWholeUnits()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    const QList<ConnectionNodeItem*> corners = cornerNodes(s);
    const QPointF node = corners.at(0)->pos();
    corners.at(0)->setSelected(true);
    corners.at(1)->setSelected(true);
    item(m_or)->setSelected(true);
    const QPointF press = corners.at(0)->scenePos();
    sendSceneDragMouse(s, QEvent::GraphicsSceneMousePress, press, press, Qt::ControlModifier);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, press + QPointF(400, 0), press);
    // Below half a unit of the block raster: nothing moves.
    QCOMPARE(corners.at(0)->pos(), node);
    QCOMPARE(m_or->position(), QPointF(20, 30));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, press + QPointF(600, 0), press);
    QCOMPARE(corners.at(0)->pos(), node + QPointF(1000, 0));
    QCOMPARE(m_or->position(), QPointF(21, 30));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseRelease, press + QPointF(600, 0), press);
}

void tst_BlockDefinitionScene::groupDragKeepsTheGrabbedNodeWithTheOthers_data()
{
    QTest::addColumn<int>("grabbed");
    QTest::newRow("first") << 0;
    QTest::newRow("second") << 1;
}

void tst_BlockDefinitionScene::groupDragKeepsTheGrabbedNodeWithTheOthers()
{
    // Whichever node the mouse holds, and in whatever order the group is walked, all move together.
    QFETCH(int, grabbed);
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    const QList<ConnectionNodeItem*> corners = cornerNodes(s);
    const QPointF first = corners.at(0)->pos();
    const QPointF second = corners.at(1)->pos();
    corners.at(0)->setSelected(true);
    corners.at(1)->setSelected(true);
    const QPointF press = corners.at(grabbed)->scenePos();
    sendSceneDragMouse(s, QEvent::GraphicsSceneMousePress, press, press, Qt::ControlModifier);
    QVERIFY(corners.at(0)->isSelected() && corners.at(1)->isSelected());
    for (int step = 1; step <= 3; ++step) {
        sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, press + QPointF(500.0 * step, 0), press);
        QCOMPARE(corners.at(0)->pos(), first + QPointF(500.0 * step, 0));
        QCOMPARE(corners.at(1)->pos(), second + QPointF(500.0 * step, 0));
    }
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseRelease, press + QPointF(1500, 0), press);
    QCOMPARE(corners.at(0)->pos(), first + QPointF(1500, 0));
    QCOMPARE(corners.at(1)->pos(), second + QPointF(1500, 0));
    const QList<QPointF> stored = m_wire->nodePositions();
    QCOMPARE(stored.at(1), (first + QPointF(1500, 0)) / 1000.0);
    QCOMPARE(stored.at(2), (second + QPointF(1500, 0)) / 1000.0);
}

void tst_BlockDefinitionScene::moveItemsKeepsAGrabbedNodeWhereItWent()
{
    // The node under the mouse is moved last here: it must not fall back to its stored place when
    // the move's update re-reads the route.
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    const QList<ConnectionNodeItem*> corners = cornerNodes(s);
    const QPointF grabbed = corners.at(0)->pos();
    const QPointF other = corners.at(1)->pos();
    sendSceneDragMouse(s, QEvent::GraphicsSceneMousePress, grabbed, grabbed, Qt::ControlModifier);
    QVERIFY(s->moveItems({corners.at(1), corners.at(0)}, 1000.0, 0.0));
    QCOMPARE(corners.at(0)->pos(), grabbed + QPointF(1000, 0));
    QCOMPARE(corners.at(1)->pos(), other + QPointF(1000, 0));
    QCOMPARE(m_wire->nodePositions().at(1), (grabbed + QPointF(1000, 0)) / 1000.0);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseRelease, grabbed + QPointF(1000, 0), grabbed);
    QCOMPARE(corners.at(0)->pos(), grabbed + QPointF(1000, 0));
}

void tst_BlockDefinitionScene::groupDragStopsAtTheOrigin()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    item(m_and)->setSelected(true);
    item(m_not)->setSelected(true);
    const QPointF press = centreOf(item(m_not));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMousePress, press, press, Qt::ControlModifier);
    QVERIFY(item(m_and)->isSelected() && item(m_not)->isSelected());
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, press - QPointF(35000, 15000), press);
    QCOMPARE(m_and->position(), QPointF(0, 0));
    QCOMPARE(m_not->position(), QPointF(20, 0));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseRelease, press - QPointF(35000, 15000), press);
}

void tst_BlockDefinitionScene::groupDragAccumulatesSteps()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    item(m_and)->setSelected(true);
    item(m_or)->setSelected(true);
    const QPointF press = centreOf(item(m_and));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMousePress, press, press, Qt::ControlModifier);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, press + QPointF(1400, -600), press);
    QCOMPARE(m_and->position(), QPointF(21, 9));
    QCOMPARE(m_or->position(), QPointF(21, 29));
    // Only what was not yet applied counts: 2600 - 1000 rounds to two more units.
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, press + QPointF(2600, -600), press);
    QCOMPARE(m_and->position(), QPointF(23, 9));
    QCOMPARE(m_or->position(), QPointF(23, 29));
    // Back again.
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, press, press);
    QCOMPARE(m_and->position(), QPointF(20, 10));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseRelease, press, press);
}

void tst_BlockDefinitionScene::groupDragRestoresMovability()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    item(m_and)->setSelected(true);
    item(m_or)->setSelected(true);
    const QPointF press = centreOf(item(m_and));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMousePress, press, press, Qt::ControlModifier);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, press + QPointF(3000, 0), press);
    QVERIFY(item(m_and)->flags() & QGraphicsItem::ItemIsMovable);
    QVERIFY(item(m_or)->flags() & QGraphicsItem::ItemIsMovable);
    // The toolkit did not move them on top of the raster steps.
    QCOMPARE(m_and->position(), QPointF(23, 10));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseRelease, press + QPointF(3000, 0), press);
}

void tst_BlockDefinitionScene::groupDragInReadOnlyModeMovesNothing()
{
    BlockDefinitionScene* s = scene();
    QVERIFY(s->isReadOnly());
    item(m_and)->setSelected(true);
    item(m_or)->setSelected(true);
    const QPointF press = centreOf(item(m_and));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMousePress, press, press, Qt::ControlModifier);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, press + QPointF(3000, 0), press);
    QCOMPARE(m_and->position(), QPointF(20, 10));
    QCOMPARE(m_or->position(), QPointF(20, 30));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseRelease, press + QPointF(3000, 0), press);
}

void tst_BlockDefinitionScene::pressOnEmptySpaceStartsASelectionGesture()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    const QPointF empty(900000, 900000);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMousePress, empty, empty);
    QVERIFY(s->selectedItems().isEmpty());
    // What the view's rubber band selects during the gesture is not dragged.
    item(m_and)->setSelected(true);
    item(m_or)->setSelected(true);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, empty + QPointF(3000, 0), empty);
    QCOMPARE(m_and->position(), QPointF(20, 10));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseRelease, empty + QPointF(3000, 0), empty);

    // The release ended the gesture: the next press on the selection drags it.
    const QPointF press = centreOf(item(m_and));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMousePress, press, press, Qt::ControlModifier);
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, press + QPointF(3000, 0), press);
    QCOMPARE(m_and->position(), QPointF(23, 10));
    QCOMPARE(m_or->position(), QPointF(23, 30));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseRelease, press + QPointF(3000, 0), press);
}

void tst_BlockDefinitionScene::singleBlockIsMovedByTheToolkit()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    const QPointF press = centreOf(item(m_or));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMousePress, press, press);
    QCOMPARE(s->selectedItems(), QList<QGraphicsItem*>{item(m_or)});
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseMove, press + QPointF(2400, 1700), press);
    // The block snaps by itself.
    QCOMPARE(m_or->position(), QPointF(22, 32));
    sendSceneDragMouse(s, QEvent::GraphicsSceneMouseRelease, press + QPointF(2400, 1700), press);
    QCOMPARE(m_or->position(), QPointF(22, 32));
}

void tst_BlockDefinitionScene::findFreeParameterCoordinateStartsAtP()
{
    QCOMPARE(scene()->findFreeParameterCoordinate(), QByteArray("P00"));
}

void tst_BlockDefinitionScene::findFreeParameterCoordinateSkipsUsedOnes()
{
    fillParameters(m_model->area(), QLatin1Char('P'), 3);
    QCOMPARE(scene()->findFreeParameterCoordinate(), QByteArray("P03"));
    // Without a node every area counts.
    fillParameters(m_model->globalArea(), QLatin1Char('P'), 5);
    QCOMPARE(scene()->findFreeParameterCoordinate(), QByteArray("P05"));
}

void tst_BlockDefinitionScene::findFreeParameterCoordinateWithNodeLooksAtItsAreaOnly()
{
    fillParameters(m_model->area(), QLatin1Char('P'), 3);
    fillParameters(m_model->globalArea(), QLatin1Char('P'), 5);
    BlockDefinitionScene* s = scene();
    s->setHierarchyNode(m_model->area()->hierarchy()->rootNode());
    QCOMPARE(s->findFreeParameterCoordinate(), QByteArray("P03"));
}

void tst_BlockDefinitionScene::findFreeParameterCoordinateFallsBackToQ()
{
    fillParameters(m_model->area(), QLatin1Char('P'), 1000);
    QCOMPARE(scene()->findFreeParameterCoordinate(), QByteArray("Q00"));
    fillParameters(m_model->area(), QLatin1Char('Q'), 12);
    QCOMPARE(scene()->findFreeParameterCoordinate(), QByteArray("Q12"));
}

void tst_BlockDefinitionScene::findFreeParameterCoordinateAllTaken()
{
    fillParameters(m_model->area(), QLatin1Char('P'), 1000);
    fillParameters(m_model->globalArea(), QLatin1Char('Q'), 1000);
    QCOMPARE(scene()->findFreeParameterCoordinate(), QByteArray("P00"));
}

void tst_BlockDefinitionScene::sceneDiesWithItsCode()
{
    BlockDefinition* regler = ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20")));
    QPointer<BlockDefinitionScene> s = BlockDefinitionScene::forCode(regler->code());
    s->setReadOnly(false);
    s->selectAllItems();
    QVERIFY(!s->blockItemMap().isEmpty());
    Block* block = m_model->block(QStringLiteral("StandardBlock_20"));
    delete block->ownerLibrary()->removeBlock(QStringLiteral("StandardBlock_20"));
    QVERIFY(!s);
}

void tst_BlockDefinitionScene::deletedSceneHearsNoMoreChanges()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(false);
    s->selectAllItems();
    delete s;
    QVERIFY(!m_code->blockDefinitionScene());
    ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {60, 10});
    m_code->notifyChanged();
    // A new scene starts afresh.
    BlockDefinitionScene* again = scene();
    QVERIFY(again->isReadOnly());
    QCOMPARE(again->blockItemMap().size(), 4);
}

ZK_TEST_REGISTER(tst_BlockDefinitionScene)
#include "tst_BlockDefinitionScene.moc"
