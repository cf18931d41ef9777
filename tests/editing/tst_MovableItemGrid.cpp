#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockItem.h"
#include "CodeChangeBatch.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "ModelBuilder.h"
#include "MovableItemGrid.h"
#include "Project.h"

#include <QDir>
#include <QRandomGenerator>
#include <QTest>

#include <cmath>
#include <memory>
#include <optional>

// The grid answers each look-up as the toolkit's scan of the whole scene would, also while the
// items it answered with are being moved, remade or deleted under it.
class tst_MovableItemGrid : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void findsWhatTheToolkitFinds_data();
    void findsWhatTheToolkitFinds();
    void overlapIsDecidedByTheStackingOrder();
    void hiddenAndFadedItemsAreJudgedAsTheToolkitJudgesThem();
    void keepsUpWithItsOwnMoves_data();
    void keepsUpWithItsOwnMoves();
    void remadeNodeIsFoundAndTheOldOneForgotten();
    void itemsThatComeOrGoBehindItsBackAreNoticed();

private:
    std::unique_ptr<Project> m_sample;
    std::unique_ptr<TestModel> m_model;
};

namespace {

std::unique_ptr<Project> loadSample()
{
    QString error;
    std::unique_ptr<Project> project(
        Project::load(QDir(sampleProjectDir()).filePath(QStringLiteral("project.zkproj")), &error));
    if (project)
        project->activate();
    else
        qWarning("%s", qPrintable(error));
    return project;
}

QList<BlockCode*> areaCodes(const Project* project)
{
    QList<BlockCode*> codes;
    const QList<BlockInstanceArea*> areas = project->areas();
    for (BlockInstanceArea* area : areas) {
        BlockDefinition* definition = area->rootDefinition();
        if (definition && definition->code())
            codes.append(definition->code());
    }
    return codes;
}

bool isMovable(QGraphicsItem* item)
{
    return dynamic_cast<BlockItem*>(item) || dynamic_cast<ConnectionNodeItem*>(item);
}

QList<QGraphicsItem*> movableItems(QGraphicsScene* scene)
{
    QList<QGraphicsItem*> found;
    const QList<QGraphicsItem*> all = scene->items();
    for (QGraphicsItem* item : all) {
        if (isMovable(item))
            found.append(item);
    }
    return found;
}

// Where a look-up is most likely to go wrong: on an item's position, its corners and just beside
// them, and its middle.
QList<QPointF> probesAround(const QGraphicsItem* item)
{
    const QRectF box = item->sceneBoundingRect();
    QList<QPointF> probes{item->scenePos(), box.center()};
    for (const QPointF& corner : {box.topLeft(), box.topRight(), box.bottomLeft(), box.bottomRight()}) {
        for (qreal dx : {-0.5, 0.0}) {
            for (qreal dy : {-0.5, 0.0})
                probes.append(corner + QPointF(dx, dy));
        }
    }
    return probes;
}

// The probes at which the grid and the toolkit disagree, described; empty when they agree.
QStringList disagreements(MovableItemGrid& grid, QGraphicsScene* scene, const QList<QPointF>& probes, int* found = nullptr)
{
    QStringList wrong;
    for (const QPointF& probe : probes) {
        QGraphicsItem* expected = MovableItemGrid::scanAt(scene, probe);
        QGraphicsItem* actual = grid.itemAt(probe);
        if (expected && found)
            ++*found;
        if (actual != expected)
            wrong.append(QStringLiteral("(%1, %2)").arg(probe.x()).arg(probe.y()));
    }
    return wrong;
}

} // namespace

void tst_MovableItemGrid::cleanup()
{
    m_sample.reset();
    m_model.reset();
}

void tst_MovableItemGrid::findsWhatTheToolkitFinds_data()
{
    QTest::addColumn<int>("area");
    m_sample = loadSample();
    QVERIFY(m_sample);
    const QList<BlockInstanceArea*> areas = m_sample->areas();
    for (int i = 0; i < areas.size(); ++i)
        QTest::newRow(qPrintable(areas.at(i)->displayName())) << i;
    m_sample.reset();
}

void tst_MovableItemGrid::findsWhatTheToolkitFinds()
{
    QFETCH(int, area);
    m_sample = loadSample();
    QVERIFY(m_sample);
    const QList<BlockCode*> codes = areaCodes(m_sample.get());
    QVERIFY(area < codes.size());
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(codes.at(area));
    const QList<QGraphicsItem*> items = movableItems(scene);
    QVERIFY(!items.isEmpty());

    QList<QPointF> probes;
    for (QGraphicsItem* item : items)
        probes += probesAround(item);
    // And a lattice of some thousand points over the whole drawing, at an odd step so that it
    // meets edges at all sorts of offsets.
    const QRectF drawing = scene->itemsBoundingRect().adjusted(-1000, -1000, 1000, 1000);
    const qreal step = qMax(373.0, std::sqrt(drawing.width() * drawing.height() / 3000.0) + 0.37);
    for (qreal x = drawing.left(); x <= drawing.right(); x += step) {
        for (qreal y = drawing.top(); y <= drawing.bottom(); y += step)
            probes.append(QPointF(x, y));
    }
    MovableItemGrid grid(scene);
    int found = 0;
    const QStringList wrong = disagreements(grid, scene, probes, &found);
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong.mid(0, 20).join(QLatin1Char(' '))));
    // The probes did find things: a grid that answered nothing everywhere would fail above.
    QVERIFY(found >= items.size());
}

void tst_MovableItemGrid::overlapIsDecidedByTheStackingOrder()
{
    m_model = std::make_unique<TestModel>();
    BlockCode* code = m_model->rootCode();
    BlockDefinition* andDefinition = ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1")));
    BlockInstance* first = ModelBuilder::place(code, andDefinition, {20, 10});
    BlockInstance* second = ModelBuilder::place(code, andDefinition, {20, 10});
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(code);
    BlockItem* lower = scene->blockItem(first->identifier());
    BlockItem* upper = scene->blockItem(second->identifier());
    QVERIFY(lower && upper);
    const QPointF inside = lower->sceneBoundingRect().center();

    MovableItemGrid grid(scene);
    upper->setZValue(lower->zValue() + 1.0);
    QCOMPARE(grid.itemAt(inside), upper);
    lower->setZValue(upper->zValue() + 1.0);
    QCOMPARE(grid.itemAt(inside), lower);
    QCOMPARE(grid.itemAt(inside), MovableItemGrid::scanAt(scene, inside));
}

void tst_MovableItemGrid::hiddenAndFadedItemsAreJudgedAsTheToolkitJudgesThem()
{
    m_model = std::make_unique<TestModel>();
    BlockCode* code = m_model->rootCode();
    BlockInstance* instance =
        ModelBuilder::place(code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(code);
    BlockItem* block = scene->blockItem(instance->identifier());
    QVERIFY(block);
    const QPointF inside = block->sceneBoundingRect().center();
    MovableItemGrid grid(scene);
    QCOMPARE(grid.itemAt(inside), block);

    block->setVisible(false);
    QCOMPARE(grid.itemAt(inside), nullptr);
    block->setVisible(true);
    block->setOpacity(0.0);
    QCOMPARE(grid.itemAt(inside), MovableItemGrid::scanAt(scene, inside));
    QCOMPARE(grid.itemAt(inside), nullptr);
    block->setOpacity(0.5);
    QCOMPARE(grid.itemAt(inside), block);
    block->setOpacity(1.0);
    QCOMPARE(grid.itemAt(inside), block);
}

void tst_MovableItemGrid::keepsUpWithItsOwnMoves_data()
{
    QTest::addColumn<bool>("batched");
    QTest::addColumn<quint32>("seed");
    // Batched as a move command runs: the scene is not rebuilt in between and the grid follows
    // each move itself. Unbatched, every move rebuilds the scene and the grid has to notice.
    QTest::newRow("batched, seed 1") << true << 1u;
    QTest::newRow("batched, seed 2") << true << 2u;
    QTest::newRow("unbatched, seed 3") << false << 3u;
}

void tst_MovableItemGrid::keepsUpWithItsOwnMoves()
{
    QFETCH(bool, batched);
    QFETCH(quint32, seed);
    m_sample = loadSample();
    QVERIFY(m_sample);
    // The largest area: the most blocks, wires and corners to collide with.
    BlockCode* code = nullptr;
    for (BlockCode* each : areaCodes(m_sample.get())) {
        if (!code || each->instances().size() > code->instances().size())
            code = each;
    }
    QVERIFY(code);
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(code);
    scene->setReadOnly(false);
    std::optional<CodeChangeBatch> batch;
    if (batched)
        batch.emplace(code);

    QRandomGenerator random(seed);
    MovableItemGrid grid(scene);
    int blockMoves = 0;
    int nodeRemakes = 0;
    for (int step = 0; step < 60; ++step) {
        const QList<QGraphicsItem*> items = movableItems(scene);
        QList<QGraphicsItem*> blocks;
        QList<QGraphicsItem*> nodes;
        for (QGraphicsItem* each : items)
            (dynamic_cast<BlockItem*>(each) ? blocks : nodes).append(each);
        QVERIFY(!blocks.isEmpty() && !nodes.isEmpty());
        // Mostly blocks: there are many more nodes, and each remade end node adds a corner.
        const QList<QGraphicsItem*>& kind = random.bounded(3) ? blocks : nodes;
        // Found the way a move command finds its items: by a position.
        const QPointF from = kind.at(int(random.bounded(quint32(kind.size()))))->scenePos();
        QGraphicsItem* item = grid.itemAt(from);
        QCOMPARE(item, MovableItemGrid::scanAt(scene, from));
        if (!item)
            continue;
        // Often onto another item, so that later look-ups meet overlaps.
        const QPointF onto = items.at(int(random.bounded(quint32(items.size()))))->scenePos();
        const QPointF to = onto + QPointF(double(random.bounded(3)) * 1000.0, double(random.bounded(2)) * 1000.0);
        if (auto* block = dynamic_cast<BlockItem*>(item)) {
            grid.moveBlock(block, to);
            ++blockMoves;
        } else {
            grid.remakeNode(static_cast<ConnectionNodeItem*>(item), to, int(random.bounded(4)));
            ++nodeRemakes;
        }
        QList<QPointF> probes{from, to, onto};
        const QList<QGraphicsItem*> now = movableItems(scene);
        for (int i = 0; i < 12; ++i)
            probes += probesAround(now.at(int(random.bounded(quint32(now.size())))));
        const QStringList wrong = disagreements(grid, scene, probes);
        QVERIFY2(wrong.isEmpty(), qPrintable(QStringLiteral("step %1: %2").arg(step).arg(wrong.mid(0, 10).join(QLatin1Char(' ')))));
    }
    QVERIFY(blockMoves > 10);
    QVERIFY(nodeRemakes > 0);
}

void tst_MovableItemGrid::remadeNodeIsFoundAndTheOldOneForgotten()
{
    m_model = std::make_unique<TestModel>();
    BlockCode* code = m_model->rootCode();
    BlockInstance* a =
        ModelBuilder::place(code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
    BlockInstance* b =
        ModelBuilder::place(code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {40, 10});
    ModelBuilder::wire(code, a, 3, b, 1, {QPointF(26, 11), QPointF(30, 11), QPointF(34, 14), QPointF(37, 11)});
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(code);
    const CodeChangeBatch batch(code);
    MovableItemGrid grid(scene);
    auto* corner = dynamic_cast<ConnectionNodeItem*>(grid.itemAt(QPointF(34000, 14000)));
    QVERIFY(corner);
    QVERIFY(!corner->isPinNode());
    grid.remakeNode(corner, QPointF(34000, 20000), 1);
    QCOMPARE(grid.itemAt(QPointF(34000, 14000)), nullptr);
    QGraphicsItem* remade = grid.itemAt(QPointF(34000, 20000));
    QVERIFY(dynamic_cast<ConnectionNodeItem*>(remade));
    QCOMPARE(remade, MovableItemGrid::scanAt(scene, QPointF(34000, 20000)));
}

void tst_MovableItemGrid::itemsThatComeOrGoBehindItsBackAreNoticed()
{
    m_model = std::make_unique<TestModel>();
    BlockCode* code = m_model->rootCode();
    BlockDefinition* andDefinition = ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1")));
    BlockInstance* doomed = ModelBuilder::place(code, andDefinition, {20, 10});
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(code);
    BlockItem* item = scene->blockItem(doomed->identifier());
    QVERIFY(item);
    const QPointF where = item->sceneBoundingRect().center();
    MovableItemGrid grid(scene);
    QCOMPARE(grid.itemAt(where), item);

    // The item is deleted with its instance; the grid must neither hand it out nor touch it (the
    // sanitizers watch).
    delete item;
    QCOMPARE(grid.itemAt(where), nullptr);

    BlockInstance* newcomer = ModelBuilder::place(code, andDefinition, {40, 10});
    QCoreApplication::processEvents();
    BlockItem* added = scene->blockItem(newcomer->identifier());
    QVERIFY(added);
    QCOMPARE(grid.itemAt(added->sceneBoundingRect().center()), added);
}

ZK_TEST_REGISTER(tst_MovableItemGrid)
#include "tst_MovableItemGrid.moc"
