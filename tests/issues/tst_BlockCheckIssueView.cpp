#include "IssueTable.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCheckIssue.h"
#include "BlockCheckIssueEntry.h"
#include "BlockCheckIssueView.h"
#include "BlockCheckIssueWidget.h"
#include "BlockCheckIssueWidgetPrivate.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockPinInstance.h"
#include "ModelBuilder.h"
#include "System.h"

#include <QLayout>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QTreeWidgetItem>

namespace {

// QObject::receivers() is protected; a pointer to it taken through a class that makes it public
// counts the connections of any object without deriving from its class.
struct ReceiverCount : QObject
{
    using QObject::receivers;
};

int changedReceivers(BlockDefinition* definition)
{
    auto count = &ReceiverCount::receivers;
    return (definition->*count)(SIGNAL(changed()));
}

// Rows as "path number", in the order of the table's own rows.
QStringList rows(BlockCheckIssueView& view)
{
    QStringList out;
    BlockCheckIssueWidgetPrivate* tree = issueTable(&view);
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        const BlockCheckIssueEntry* entry = issueEntryOf(tree->topLevelItem(i));
        out.append(QStringLiteral("%1 %2").arg(entry->locationPath()).arg(entry->number()));
    }
    out.sort();
    return out;
}

QTreeWidgetItem* rowOf(BlockCheckIssueView& view, unsigned int number)
{
    BlockCheckIssueWidgetPrivate* tree = issueTable(&view);
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        if (issueEntryOf(tree->topLevelItem(i))->number() == number)
            return tree->topLevelItem(i);
    }
    return nullptr;
}

BlockDefinition* definitionOf(TestModel& model, const char* identifier)
{
    return model.block(QString::fromLatin1(identifier))->blockDefinition(0);
}

// An AND with both inputs open in the area's root code: issues 1001 and 1002 at its identifier.
BlockInstance* openAnd(TestModel& model)
{
    return ModelBuilder::place(model.rootCode(), definitionOf(model, "StandardBlock_1"), {});
}

BlockInstanceHierarchyNode* rootNode(TestModel& model)
{
    return model.area()->hierarchy()->rootNode();
}

} // namespace

class tst_BlockCheckIssueView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void setUpOfTheView();
    void rootUnderANodeListsItsIssues();
    void changedTextKeepsTheOldRow();
    void vanishedIssueGoesAndComesBackAsNewRow();
    void pathIsPassedOnUnchangedWithoutRootNode();
    void pathIsMadeWholeUnderARootNode();
    void sameRootTwiceKeepsOneConnection();
    void newRootLetsGoOfTheOld();
    void definitionChangeReChecks();
    void codeEditReChecks();
    void accessLevelChangeReChecks();
    void subInstancesAddTheirRowsAtOnce();
    void nullRootGivesNoRows();
    void destructionDeletesTheEntries();
    void definitionDeletedUnderTheView();
};

void tst_BlockCheckIssueView::setUpOfTheView()
{
    BlockCheckIssueView view(nullptr);
    QCOMPARE(view.property("HelpId").toString(), QStringLiteral("BlockCheckIssueView"));
    QVERIFY(!view.checkSubInstances());
    QCOMPARE(view.rootDefinition(), nullptr);
    QVERIFY(view.layout());
    QCOMPARE(view.layout()->contentsMargins(), QMargins(0, 0, 0, 0));
    auto* widget = view.findChild<BlockCheckIssueWidget*>();
    QVERIFY(widget);
    QCOMPARE(widget->parentWidget(), &view);
    QCOMPARE(view.layout()->indexOf(widget), 0);
    // The widget was set up: the table has its columns.
    QCOMPARE(issueTable(&view)->columnCount(), 3);
}

void tst_BlockCheckIssueView::rootUnderANodeListsItsIssues()
{
    TestModel model;
    BlockInstance* gate = openAnd(model);
    BlockCheckIssueView view(nullptr);
    view.setRoot(model.area()->rootDefinition(), rootNode(model));
    QCOMPARE(view.rootDefinition(), model.area()->rootDefinition());
    const QString id = QString::number(gate->identifier());
    QCOMPARE(rows(view), (QStringList{id + QStringLiteral(" 1001"), id + QStringLiteral(" 1002")}));
    QTreeWidgetItem* row = rowOf(view, 1001);
    QCOMPARE(row->text(0), QStringLiteral("1001"));
    QVERIFY(row->text(1).contains(id));
    QVERIFY(!row->text(2).isEmpty());
}

void tst_BlockCheckIssueView::changedTextKeepsTheOldRow()
{
    TestModel model;
    BlockInstance* gate = openAnd(model);
    BlockCheckIssueView view(nullptr);
    view.setRoot(model.area()->rootDefinition(), rootNode(model));
    QTreeWidgetItem* row = rowOf(view, 1001);
    BlockCheckIssueEntry* entry = issueEntryOf(row);
    const QString oldSource = row->text(1);
    gate->setName(QStringLiteral("Freigabe"));
    // The model's issue now names the block differently...
    BlockCheckIssueView fresh(nullptr);
    fresh.setRoot(model.area()->rootDefinition(), rootNode(model));
    QVERIFY(rowOf(fresh, 1001)->text(1) != oldSource);
    // ...but a known place and number keeps its entry and its text.
    view.checkForIssues();
    QCOMPARE(rowOf(view, 1001), row);
    QCOMPARE(issueEntryOf(row), entry);
    QCOMPARE(row->text(1), oldSource);
    QCOMPARE(entry->sourceName(), oldSource);
}

void tst_BlockCheckIssueView::vanishedIssueGoesAndComesBackAsNewRow()
{
    TestModel model;
    BlockInstance* gate = openAnd(model);
    BlockCheckIssueView view(nullptr);
    view.setRoot(model.area()->rootDefinition(), rootNode(model));
    QPointer<BlockCheckIssueEntry> old = issueEntryOf(rowOf(view, 1002));
    gate->pin(2)->setInitialValue(QStringLiteral("TRUE"));
    view.checkForIssues();
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 1);
    QVERIFY(!rowOf(view, 1002));
    QVERIFY(old.isNull());
    gate->pin(2)->setInitialValue(QString());
    view.checkForIssues();
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 2);
    QVERIFY(rowOf(view, 1002));
    QCOMPARE(issueEntryOf(rowOf(view, 1002))->identifier(), QStringLiteral("%1_1002").arg(gate->identifier()));
}

void tst_BlockCheckIssueView::pathIsPassedOnUnchangedWithoutRootNode()
{
    TestModel model;
    BlockInstance* gate = openAnd(model);
    BlockCheckIssueView view(nullptr);
    view.setRoot(model.area()->rootDefinition(), model.area());
    QTreeWidgetItem* row = rowOf(view, 1001);
    QVERIFY(row);
    QSignalSpy spy(&view, &BlockCheckIssueView::needToShow);
    Q_EMIT issueTable(&view)->itemDoubleClicked(row, 2);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().at(0).toString(), issueEntryOf(row)->locationPath());
    QVERIFY(spy.first().at(0).toString().endsWith(QString::number(gate->identifier())));
}

void tst_BlockCheckIssueView::pathIsMadeWholeUnderARootNode()
{
    TestModel model;
    BlockInstance* regler = ModelBuilder::place(model.rootCode(), definitionOf(model, "StandardBlock_20"), {});
    regler->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    BlockInstanceHierarchyNode* node = rootNode(model)->instanceNode(regler->identifier());
    QVERIFY(node);
    BlockCheckIssueView view(nullptr);
    view.setRoot(regler->blockDefinition(), node);
    QTreeWidgetItem* row = rowOf(view, 1001);
    QVERIFY(row);
    QCOMPARE(issueEntryOf(row)->locationPath(), QStringLiteral("1"));
    QSignalSpy spy(&view, &BlockCheckIssueView::needToShow);
    Q_EMIT issueTable(&view)->itemDoubleClicked(row, 0);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().at(0).toString(), node->locationPath() + QStringLiteral(".1"));
}

void tst_BlockCheckIssueView::sameRootTwiceKeepsOneConnection()
{
    TestModel model;
    openAnd(model);
    BlockDefinition* root = model.area()->rootDefinition();
    QVERIFY(root->code());
    const int before = changedReceivers(root);
    BlockCheckIssueView view(nullptr);
    view.setRoot(root, rootNode(model));
    view.setRoot(root, rootNode(model));
    QCOMPARE(changedReceivers(root), before + 1);
    view.setRoot(root, model.area());
    QCOMPARE(changedReceivers(root), before + 1);
}

void tst_BlockCheckIssueView::newRootLetsGoOfTheOld()
{
    TestModel model;
    BlockInstance* regler = ModelBuilder::place(model.rootCode(), definitionOf(model, "StandardBlock_20"), {});
    BlockDefinition* root = model.area()->rootDefinition();
    BlockDefinition* inner = regler->blockDefinition();
    const int rootBefore = changedReceivers(root);
    const int innerBefore = changedReceivers(inner);
    BlockCheckIssueView view(nullptr);
    view.setRoot(root, rootNode(model));
    view.setRoot(inner, rootNode(model)->instanceNode(regler->identifier()));
    QCOMPARE(changedReceivers(root), rootBefore);
    QCOMPARE(changedReceivers(inner), innerBefore + 1);
    QCOMPARE(view.rootDefinition(), inner);
}

void tst_BlockCheckIssueView::definitionChangeReChecks()
{
    TestModel model;
    BlockInstance* gate = openAnd(model);
    BlockDefinition* root = model.area()->rootDefinition();
    BlockCheckIssueView view(nullptr);
    view.setRoot(root, rootNode(model));
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 2);
    // A change that the code keeps quiet about, as a scene's own writes are.
    const bool saved = model.rootCode()->blockChangeSignals(true);
    gate->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    model.rootCode()->blockChangeSignals(saved);
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 2);
    root->notifyChanged();
    QCOMPARE(rows(view), QStringList{QStringLiteral("%1 1002").arg(gate->identifier())});
}

void tst_BlockCheckIssueView::codeEditReChecks()
{
    TestModel model;
    BlockCheckIssueView view(nullptr);
    view.setRoot(model.area()->rootDefinition(), rootNode(model));
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 0);
    BlockInstance* gate = openAnd(model);
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 2);
    gate->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    QCOMPARE(rows(view), QStringList{QStringLiteral("%1 1002").arg(gate->identifier())});
}

void tst_BlockCheckIssueView::accessLevelChangeReChecks()
{
    TestModel model;
    BlockInstance* gate = openAnd(model);
    BlockCheckIssueView view(nullptr);
    view.setRoot(model.area()->rootDefinition(), rootNode(model));
    const bool saved = model.rootCode()->blockChangeSignals(true);
    gate->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    gate->pin(2)->setInitialValue(QStringLiteral("FALSE"));
    model.rootCode()->blockChangeSignals(saved);
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 2);
    const quint32 level = System::instance().userAccessLevelCode();
    System::instance().setUserAccessLevelCode(level == 5 ? 4 : 5);
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 0);
    System::instance().setUserAccessLevelCode(level);
}

void tst_BlockCheckIssueView::subInstancesAddTheirRowsAtOnce()
{
    TestModel model;
    BlockInstance* regler = ModelBuilder::place(model.rootCode(), definitionOf(model, "StandardBlock_20"), {});
    regler->pin(1)->setInitialValue(QStringLiteral("TRUE"));
    BlockCheckIssueView view(nullptr);
    view.setRoot(model.area()->rootDefinition(), rootNode(model));
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 0);
    view.setCheckSubInstances(true);
    QVERIFY(view.checkSubInstances());
    const QString inner = QStringLiteral("%1.1").arg(regler->identifier());
    QCOMPARE(rows(view), (QStringList{inner + QStringLiteral(" 1001"), inner + QStringLiteral(" 1002")}));
    view.setCheckSubInstances(false);
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 0);
}

void tst_BlockCheckIssueView::nullRootGivesNoRows()
{
    TestModel model;
    openAnd(model);
    BlockCheckIssueView view(nullptr);
    view.setRoot(model.area()->rootDefinition(), rootNode(model));
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 2);
    view.setRoot(nullptr, static_cast<BlockInstanceHierarchyNode*>(nullptr));
    QCOMPARE(view.rootDefinition(), nullptr);
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 0);
    view.checkForIssues();
    view.setCheckSubInstances(true);
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 0);
}

void tst_BlockCheckIssueView::destructionDeletesTheEntries()
{
    TestModel model;
    openAnd(model);
    QList<QPointer<BlockCheckIssueEntry>> entries;
    {
        BlockCheckIssueView view(nullptr);
        view.setRoot(model.area()->rootDefinition(), rootNode(model));
        BlockCheckIssueWidgetPrivate* tree = issueTable(&view);
        for (int i = 0; i < tree->topLevelItemCount(); ++i)
            entries.append(issueEntryOf(tree->topLevelItem(i)));
        QCOMPARE(entries.size(), 2);
        for (const QPointer<BlockCheckIssueEntry>& entry : std::as_const(entries)) {
            QVERIFY(entry);
            // Owned by the view's table of entries, not by a parent.
            QCOMPARE(entry->parent(), nullptr);
        }
    }
    for (const QPointer<BlockCheckIssueEntry>& entry : std::as_const(entries))
        QVERIFY(entry.isNull());
}

void tst_BlockCheckIssueView::definitionDeletedUnderTheView()
{
    auto model = std::make_unique<TestModel>();
    BlockInstance* regler = ModelBuilder::place(model->rootCode(), definitionOf(*model, "StandardBlock_20"), {});
    BlockCheckIssueView view(nullptr);
    view.setRoot(regler->blockDefinition(), rootNode(*model)->instanceNode(regler->identifier()));
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 2);
    model.reset();
    QCOMPARE(view.rootDefinition(), nullptr);
    view.checkForIssues();
    QCOMPARE(issueTable(&view)->topLevelItemCount(), 0);
    view.setCheckSubInstances(true);
    view.setRoot(nullptr, static_cast<BlockInstanceArea*>(nullptr));
}

ZK_TEST_REGISTER(tst_BlockCheckIssueView)
#include "tst_BlockCheckIssueView.moc"
