#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCheckIssue.h"
#include "BlockCheckIssueTracker.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "ModelBuilder.h"
#include "SignalLabel.h"

#include <QTest>

namespace {

struct Found
{
    QString path;
    unsigned int number;
    int level;
};

QList<Found> run(BlockCheckIssueTracker& tracker, bool sub)
{
    QList<Found> out;
    for (BlockCheckIssue* issue : tracker.currentIssues(sub))
        out.append({issue->locationPath(), issue->number(), int(issue->level())});
    return out;
}

QList<unsigned int> checksOf(const QList<Found>& found)
{
    QList<unsigned int> checks;
    for (const Found& f : found)
        checks.append(f.number / 1000);
    return checks;
}

// A clean little code: AND with both inputs given initial values, feeding a NOT.
void cleanCode(TestModel& model, BlockInstance** andOut = nullptr, BlockInstance** notOut = nullptr)
{
    BlockCode* code = model.rootCode();
    BlockInstance* a = ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {});
    BlockInstance* n = ModelBuilder::place(code, model.block(QStringLiteral("StandardBlock_3"))->blockDefinition(0), {10, 0});
    a->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    a->pin(2)->setInitialValue(QStringLiteral("FALSE"));
    ModelBuilder::wire(code, a, 3, n, 1);
    if (andOut)
        *andOut = a;
    if (notOut)
        *notOut = n;
}

} // namespace

class tst_Checks : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cleanCodeHasNoIssues();
    void unconnectedInputWithoutInitialValue();
    void typeMismatch();
    void outsideRuntimeOrder();
    void compositeOutsideRuntimeOrder();
    void fallbackBlock();
    void duplicateSignalLabel();
    void danglingConnection();
    void inputDrivenTwice();
    void numbersAreStable();
    void pathsRelativeToNodeAndArea();
    void subInstancesOnRequest();
    void rootAccessors();
    void deletedRootGivesNothing();
};

void tst_Checks::cleanCodeHasNoIssues()
{
    TestModel model;
    cleanCode(model);
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(model.area()->rootDefinition(), model.area()->hierarchy()->rootNode());
    QVERIFY(run(tracker, false).isEmpty());
    QVERIFY(run(tracker, true).isEmpty());
}

void tst_Checks::unconnectedInputWithoutInitialValue()
{
    TestModel model;
    BlockInstance* a = nullptr;
    cleanCode(model, &a);
    a->pin(2)->setInitialValue(QString());
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(model.area()->rootDefinition(), model.area()->hierarchy()->rootNode());
    const QList<Found> found = run(tracker, false);
    QCOMPARE(found.size(), 1);
    QCOMPARE(found.first().number, 1002u);
    QCOMPARE(found.first().level, int(BlockCheckIssue::Error));
    QCOMPARE(found.first().path, QString::number(a->identifier()));
    QVERIFY(tracker.currentIssues(false).first()->issueText().contains(QStringLiteral("E2")));
}

void tst_Checks::typeMismatch()
{
    TestModel model;
    BlockInstance* a = nullptr;
    cleanCode(model, &a);
    BlockInstance* add = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_10"))->blockDefinition(0), {20, 0});
    add->pin(2)->setInitialValue(QStringLiteral("1"));
    model.rootCode()->addConnection(a->pin(3), add->pin(1), {});
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(model.area()->rootDefinition(), model.area());
    const QList<Found> found = run(tracker, false);
    QCOMPARE(checksOf(found), QList<unsigned int>{BlockCheckIssueTracker::CheckTypeMismatch});
    QCOMPARE(found.first().path, QStringLiteral("0.%1").arg(add->identifier()));
}

void tst_Checks::outsideRuntimeOrder()
{
    TestModel model;
    BlockInstance* n = nullptr;
    cleanCode(model, nullptr, &n);
    model.rootCode()->setRealtime(n->identifier(), 0);
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(model.area()->rootDefinition(), model.area()->hierarchy()->rootNode());
    QCOMPARE(checksOf(run(tracker, false)), QList<unsigned int>{BlockCheckIssueTracker::CheckRuntimeOrder});
    model.rootCode()->setBackground(n->identifier(), 1);
    QVERIFY(run(tracker, false).isEmpty());
}

void tst_Checks::compositeOutsideRuntimeOrder()
{
    TestModel model;
    BlockInstance* regler = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_20"))->blockDefinition(0), {});
    regler->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(model.area()->rootDefinition(), model.area()->hierarchy()->rootNode());
    QVERIFY(run(tracker, false).isEmpty());
    // Its code runs only in its place in the order: out of it, nothing inside is computed.
    model.rootCode()->setRealtime(regler->identifier(), 0);
    QCOMPARE(checksOf(run(tracker, false)), QList<unsigned int>{BlockCheckIssueTracker::CheckRuntimeOrder});
}

void tst_Checks::fallbackBlock()
{
    TestModel model;
    cleanCode(model);
    Block* fallback = Block::createBlock(QStringLiteral("StandardBlock_777"));
    fallback->setFallbackBlock(true);
    fallback->createDefinition(0);
    model.area()->rootDefinition()->localBlockLibrary()->insertBlock(fallback);
    ModelBuilder::place(model.rootCode(), fallback->blockDefinition(0), {});
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(model.area()->rootDefinition(), model.area()->hierarchy()->rootNode());
    QCOMPARE(checksOf(run(tracker, false)), QList<unsigned int>{BlockCheckIssueTracker::CheckFallbackBlock});
}

void tst_Checks::duplicateSignalLabel()
{
    TestModel model;
    BlockInstance* a = nullptr;
    BlockInstance* n = nullptr;
    cleanCode(model, &a, &n);
    BlockInstanceHierarchyNode* root = model.area()->hierarchy()->rootNode();
    root->createSignalLabel(a->identifier(), 3, QStringLiteral("Freigabe"), 0);
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(model.area()->rootDefinition(), root);
    QVERIFY(run(tracker, false).isEmpty());
    root->createSignalLabel(n->identifier(), 2, QStringLiteral("freigabe"), 0);
    const QList<Found> found = run(tracker, false);
    QCOMPARE(checksOf(found), QList<unsigned int>{BlockCheckIssueTracker::CheckDuplicateSignalLabel});
    QCOMPARE(found.first().level, int(BlockCheckIssue::Warning));
}

void tst_Checks::danglingConnection()
{
    TestModel model;
    BlockInstance* n = nullptr;
    cleanCode(model, nullptr, &n);
    BlockPinConnection* wire = model.rootCode()->connections().first();
    wire->setSource(nullptr);
    n->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(model.area()->rootDefinition(), model.area()->hierarchy()->rootNode());
    QCOMPARE(checksOf(run(tracker, false)), QList<unsigned int>{BlockCheckIssueTracker::CheckDanglingConnection});
}

void tst_Checks::inputDrivenTwice()
{
    TestModel model;
    BlockInstance* a = nullptr;
    BlockInstance* n = nullptr;
    cleanCode(model, &a, &n);
    BlockInstance* second = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {0, 10});
    second->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    second->pin(2)->setInitialValue(QStringLiteral("TRUE"));
    model.rootCode()->addConnection(second->pin(3), n->pin(1), {});
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(model.area()->rootDefinition(), model.area()->hierarchy()->rootNode());
    const QList<Found> found = run(tracker, false);
    QCOMPARE(checksOf(found), QList<unsigned int>{BlockCheckIssueTracker::CheckInputDrivenTwice});
    QCOMPARE(found.first().path, QString::number(n->identifier()));
}

void tst_Checks::numbersAreStable()
{
    TestModel model;
    BlockInstance* a = nullptr;
    cleanCode(model, &a);
    a->pin(1)->setInitialValue(QString());
    a->pin(2)->setInitialValue(QString());
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(model.area()->rootDefinition(), model.area()->hierarchy()->rootNode());
    const QList<Found> first = run(tracker, false);
    QCOMPARE(first.size(), 2);
    QVERIFY(first.at(0).number != first.at(1).number);
    ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_3"))->blockDefinition(0), {30, 0})
        ->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    const QList<Found> second = run(tracker, false);
    QCOMPARE(second.size(), 2);
    QCOMPARE(second.at(0).number, first.at(0).number);
    QCOMPARE(second.at(1).number, first.at(1).number);
}

void tst_Checks::pathsRelativeToNodeAndArea()
{
    TestModel model;
    BlockInstance* regler = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_20"))->blockDefinition(0), {});
    BlockInstanceHierarchyNode* node = model.area()->hierarchy()->rootNode()->instanceNode(regler->identifier());
    BlockDefinition* inner = regler->blockDefinition();
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(inner, node);
    const QList<Found> found = run(tracker, false);
    // The AND inside has two open inputs.
    QCOMPARE(found.size(), 2);
    QCOMPARE(found.first().path, QStringLiteral("1"));
    QCOMPARE(tracker.rootNode(), node);
}

void tst_Checks::subInstancesOnRequest()
{
    TestModel model;
    BlockInstance* regler = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_20"))->blockDefinition(0), {});
    regler->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(model.area()->rootDefinition(), model.area()->hierarchy()->rootNode());
    QVERIFY(run(tracker, false).isEmpty());
    const QList<Found> deep = run(tracker, true);
    QCOMPARE(deep.size(), 2);
    QCOMPARE(deep.first().path, QStringLiteral("%1.1").arg(regler->identifier()));
}

void tst_Checks::rootAccessors()
{
    TestModel model;
    BlockCheckIssueTracker tracker(nullptr);
    QCOMPARE(tracker.rootDefinition(), nullptr);
    QCOMPARE(tracker.rootNode(), nullptr);
    QVERIFY(tracker.currentIssues(true).isEmpty());
    tracker.setRoot(model.area()->rootDefinition(), model.area());
    QCOMPARE(tracker.rootDefinition(), model.area()->rootDefinition());
    QCOMPARE(tracker.rootNode(), nullptr);
}

void tst_Checks::deletedRootGivesNothing()
{
    TestModel model;
    Block* user = ModelBuilder::composite(model.user()->library(), QStringLiteral("UserBlock_C"), QStringLiteral("C"), {}, {});
    BlockInstance* inside = ModelBuilder::place(user->blockDefinition(0)->code(), model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {});
    Q_UNUSED(inside);
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(user->blockDefinition(0), static_cast<BlockInstanceHierarchyNode*>(nullptr));
    QCOMPARE(run(tracker, false).size(), 2);
    delete model.user()->library()->removeBlock(QStringLiteral("UserBlock_C"));
    QCOMPARE(tracker.rootDefinition(), nullptr);
    QVERIFY(run(tracker, false).isEmpty());
}

ZK_TEST_REGISTER(tst_Checks)
#include "tst_Checks.moc"
