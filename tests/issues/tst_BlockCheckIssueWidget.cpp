#include "IssueTable.h"
#include "MenuLookup.h"
#include "Pictures.h"
#include "TestRegistry.h"

#include "BlockCheckIssue.h"
#include "BlockCheckIssueEntry.h"
#include "BlockCheckIssueView.h"
#include "BlockCheckIssueWidget.h"
#include "BlockCheckIssueWidgetPrivate.h"

#include <QAction>
#include <QHeaderView>
#include <QIcon>
#include <QLayout>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>
#include <QTreeWidgetItem>

#include <memory>
#include <vector>

namespace {

// The rows' icons are drawn at this size.
constexpr int IconSide = 16;

// Entries as the view would own them; the widget's rows only point at them.
class Entries
{
public:
    BlockCheckIssueEntry* make(const QString& path, unsigned int number, int level = BlockCheckIssue::Error,
                               const QString& source = QStringLiteral("Regler (5)"),
                               const QString& text = QStringLiteral("Problem"))
    {
        BlockCheckIssue issue(path, number, source, text, BlockCheckIssue::eLevel(level));
        m_entries.push_back(std::make_unique<BlockCheckIssueEntry>(nullptr));
        m_entries.back()->setIssue(&issue);
        return m_entries.back().get();
    }

private:
    std::vector<std::unique_ptr<BlockCheckIssueEntry>> m_entries;
};

// The menu that the last right click made: menus are kept as children of the widget.
QMenu* lastMenu(QWidget& widget)
{
    const QList<QMenu*> menus = widget.findChildren<QMenu*>(Qt::FindDirectChildrenOnly);
    return menus.isEmpty() ? nullptr : menus.last();
}

} // namespace

class tst_BlockCheckIssueWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void setUpBuildsTheTable();
    void insertRendersTheRow();
    void iconsByLevel_data();
    void iconsByLevel();
    void insertingTwiceKeepsOneRow();
    void removeDeletesTheRow();
    void removeOfUnknownEntryIsHarmless();
    void updateDeletesRowsWithoutEntry();
    void numberColumnSortsAsText();
    void doubleClickAsksToShowAnyColumn();
    void doubleClickOnRowWithoutEntryIsSilent();
    void contextMenuOnEmptyList();
    void contextMenuWithCurrentRow();
    void contextMenuOpensBelowTheHeader();
};

void tst_BlockCheckIssueWidget::setUpBuildsTheTable()
{
    QWidget parent;
    BlockCheckIssueWidget widget(&parent);
    widget.setUp();
    QCOMPARE(widget.property("HelpId").toString(), QStringLiteral("BlockCheckIssueWidget"));
    BlockCheckIssueWidgetPrivate* tree = issueTable(&widget);
    QVERIFY(tree);
    QCOMPARE(tree->parentWidget(), &widget);
    QCOMPARE(tree->view, &parent);
    QCOMPARE(tree->columnCount(), 3);
    QCOMPARE(tree->headerItem()->text(0), QStringLiteral("Nummer"));
    QCOMPARE(tree->headerItem()->text(1), QStringLiteral("Quelle"));
    QCOMPARE(tree->headerItem()->text(2), QStringLiteral("Problem"));
    QVERIFY(!tree->rootIsDecorated());
    QVERIFY(tree->isSortingEnabled());
    QCOMPARE(tree->contextMenuPolicy(), Qt::CustomContextMenu);
    QLayout* layout = widget.layout();
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(layout->spacing(), 4);
    QCOMPARE(layout->indexOf(tree), 0);
}

void tst_BlockCheckIssueWidget::insertRendersTheRow()
{
    Entries entries;
    BlockCheckIssueWidget widget(nullptr);
    widget.setUp();
    BlockCheckIssueEntry* entry = entries.make(QStringLiteral("0.7"), 1002, BlockCheckIssue::Error,
                                               QStringLiteral("UND (7)"), QStringLiteral("Der Eingang E2 ist offen."));
    widget.insertEntry(entry);
    BlockCheckIssueWidgetPrivate* tree = issueTable(&widget);
    QCOMPARE(tree->topLevelItemCount(), 1);
    QTreeWidgetItem* row = tree->topLevelItem(0);
    QCOMPARE(row->text(0), QStringLiteral("1002"));
    QCOMPARE(row->text(1), QStringLiteral("UND (7)"));
    QCOMPARE(row->text(2), QStringLiteral("Der Eingang E2 ist offen."));
    QCOMPARE(issueEntryOf(row), entry);
    QCOMPARE(row->childCount(), 0);
}

void tst_BlockCheckIssueWidget::iconsByLevel_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("resource");
    QTest::newRow("information") << 0 << QStringLiteral(":/Resources/information.png");
    QTest::newRow("warning") << 1 << QStringLiteral(":/Resources/warning.png");
    QTest::newRow("error") << 2 << QStringLiteral(":/Resources/error.png");
    QTest::newRow("unknown") << 3 << QString();
}

void tst_BlockCheckIssueWidget::iconsByLevel()
{
    QFETCH(int, level);
    QFETCH(QString, resource);
    Entries entries;
    BlockCheckIssueWidget widget(nullptr);
    widget.setUp();
    widget.insertEntry(entries.make(QStringLiteral("1"), 1001, level));
    const QIcon icon = issueTable(&widget)->topLevelItem(0)->icon(0);
    QVERIFY(!icon.isNull());
    if (resource.isEmpty()) {
        // A blank place holder of 14 by 14 keeps the numbers in line with those that have an icon.
        QCOMPARE(icon.availableSizes(), QList<QSize>{QSize(14, 14)});
        for (const QString& other : {QStringLiteral(":/Resources/information.png"), QStringLiteral(":/Resources/warning.png"),
                                     QStringLiteral(":/Resources/error.png")})
            QVERIFY(iconImage(icon, IconSide) != iconImage(QIcon(other), IconSide));
    } else {
        QVERIFY(!QIcon(resource).pixmap(16, 16).isNull());
        QCOMPARE(iconImage(icon, IconSide), iconImage(QIcon(resource), IconSide));
    }
}

void tst_BlockCheckIssueWidget::insertingTwiceKeepsOneRow()
{
    Entries entries;
    BlockCheckIssueWidget widget(nullptr);
    widget.setUp();
    BlockCheckIssueEntry* entry = entries.make(QStringLiteral("1"), 1001);
    widget.insertEntry(entry);
    widget.insertEntry(entry);
    QCOMPARE(issueTable(&widget)->topLevelItemCount(), 1);
    widget.insertEntry(entries.make(QStringLiteral("1"), 1001));
    // Another entry object, even with the same key, is another row: the view decides what is new.
    QCOMPARE(issueTable(&widget)->topLevelItemCount(), 2);
}

void tst_BlockCheckIssueWidget::removeDeletesTheRow()
{
    Entries entries;
    BlockCheckIssueWidget widget(nullptr);
    widget.setUp();
    BlockCheckIssueEntry* first = entries.make(QStringLiteral("1"), 1001);
    BlockCheckIssueEntry* second = entries.make(QStringLiteral("2"), 1002);
    widget.insertEntry(first);
    widget.insertEntry(second);
    widget.removeEntry(first);
    BlockCheckIssueWidgetPrivate* tree = issueTable(&widget);
    QCOMPARE(tree->topLevelItemCount(), 1);
    QCOMPARE(issueEntryOf(tree->topLevelItem(0)), second);
}

void tst_BlockCheckIssueWidget::removeOfUnknownEntryIsHarmless()
{
    Entries entries;
    BlockCheckIssueWidget widget(nullptr);
    widget.setUp();
    widget.insertEntry(entries.make(QStringLiteral("1"), 1001));
    widget.removeEntry(entries.make(QStringLiteral("1"), 1001));
    widget.removeEntry(nullptr);
    QCOMPARE(issueTable(&widget)->topLevelItemCount(), 1);
}

void tst_BlockCheckIssueWidget::updateDeletesRowsWithoutEntry()
{
    Entries entries;
    BlockCheckIssueWidget widget(nullptr);
    widget.setUp();
    BlockCheckIssueWidgetPrivate* tree = issueTable(&widget);
    BlockCheckIssueEntry* entry = entries.make(QStringLiteral("1"), 1001);
    widget.insertEntry(entry);
    auto* stray = new QTreeWidgetItem;
    stray->setText(0, QStringLiteral("5"));
    tree->addTopLevelItem(stray);
    tree->topLevelItem(tree->indexOfTopLevelItem(tree->findItems(QStringLiteral("1001"), Qt::MatchExactly, 0).first()))
        ->setText(2, QStringLiteral("overwritten"));
    QCOMPARE(tree->topLevelItemCount(), 2);
    widget.update();
    QCOMPARE(tree->topLevelItemCount(), 1);
    QCOMPARE(issueEntryOf(tree->topLevelItem(0)), entry);
    // Rendering all rows brings back what the entry says.
    QCOMPARE(tree->topLevelItem(0)->text(2), QStringLiteral("Problem"));
}

void tst_BlockCheckIssueWidget::numberColumnSortsAsText()
{
    Entries entries;
    BlockCheckIssueWidget widget(nullptr);
    widget.setUp();
    widget.insertEntry(entries.make(QStringLiteral("1"), 9));
    widget.insertEntry(entries.make(QStringLiteral("2"), 10));
    widget.insertEntry(entries.make(QStringLiteral("3"), 2000));
    BlockCheckIssueWidgetPrivate* tree = issueTable(&widget);
    tree->sortByColumn(0, Qt::AscendingOrder);
    QCOMPARE(tree->topLevelItem(0)->text(0), QStringLiteral("10"));
    QCOMPARE(tree->topLevelItem(1)->text(0), QStringLiteral("2000"));
    QCOMPARE(tree->topLevelItem(2)->text(0), QStringLiteral("9"));
}

void tst_BlockCheckIssueWidget::doubleClickAsksToShowAnyColumn()
{
    Entries entries;
    BlockCheckIssueWidget widget(nullptr);
    widget.setUp();
    widget.insertEntry(entries.make(QStringLiteral("0.5.12"), 1001));
    BlockCheckIssueWidgetPrivate* tree = issueTable(&widget);
    QSignalSpy spy(&widget, &BlockCheckIssueWidget::needToShow);
    for (int column = 0; column < 3; ++column)
        Q_EMIT tree->itemDoubleClicked(tree->topLevelItem(0), column);
    QCOMPARE(spy.count(), 3);
    for (const QList<QVariant>& call : std::as_const(spy))
        QCOMPARE(call.at(0).toString(), QStringLiteral("0.5.12"));
}

void tst_BlockCheckIssueWidget::doubleClickOnRowWithoutEntryIsSilent()
{
    BlockCheckIssueWidget widget(nullptr);
    widget.setUp();
    BlockCheckIssueWidgetPrivate* tree = issueTable(&widget);
    auto* stray = new QTreeWidgetItem(QStringList{QStringLiteral("1")});
    tree->addTopLevelItem(stray);
    QSignalSpy spy(&widget, &BlockCheckIssueWidget::needToShow);
    Q_EMIT tree->itemDoubleClicked(stray, 0);
    tree->setCurrentItem(nullptr);
    tree->showCurrentItem();
    QCOMPARE(spy.count(), 0);
}

void tst_BlockCheckIssueWidget::contextMenuOnEmptyList()
{
    BlockCheckIssueView view(nullptr);
    auto* widget = view.findChild<BlockCheckIssueWidget*>();
    QVERIFY(widget);
    BlockCheckIssueWidgetPrivate* tree = issueTable(widget);
    tree->onShowContextMenu(QPoint(5, 5));
    QMenu* menu = lastMenu(*widget);
    QVERIFY(menu);
    QCOMPARE(actionTextsWithSeparators(menu), QStringList{QStringLiteral("Auch alle enthaltenen Bausteine prüfen")});
    QAction* sub = menu->actions().first();
    QVERIFY(sub->isCheckable());
    QVERIFY(!sub->isChecked());
    sub->trigger();
    QVERIFY(view.checkSubInstances());
    menu->close();
    // The next menu shows the flag as it is now; the first one stays a child of the widget.
    tree->onShowContextMenu(QPoint(5, 5));
    QMenu* second = lastMenu(*widget);
    QVERIFY(second != menu);
    QVERIFY(second->actions().first()->isChecked());
    QCOMPARE(widget->findChildren<QMenu*>(Qt::FindDirectChildrenOnly).size(), 2);
    second->close();
}

void tst_BlockCheckIssueWidget::contextMenuWithCurrentRow()
{
    Entries entries;
    BlockCheckIssueView view(nullptr);
    auto* widget = view.findChild<BlockCheckIssueWidget*>();
    BlockCheckIssueWidgetPrivate* tree = issueTable(widget);
    widget->insertEntry(entries.make(QStringLiteral("3.4"), 6000));
    tree->setCurrentItem(tree->topLevelItem(0));
    tree->onShowContextMenu(QPoint(5, 5));
    QMenu* menu = lastMenu(*widget);
    QCOMPARE(actionTextsWithSeparators(menu), (QStringList{QStringLiteral("Zeige in Grafik"), QStringLiteral("|"),
                                                           QStringLiteral("Auch alle enthaltenen Bausteine prüfen")}));
    QSignalSpy spy(widget, &BlockCheckIssueWidget::needToShow);
    menu->actions().first()->trigger();
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().at(0).toString(), QStringLiteral("3.4"));
    menu->close();
}

void tst_BlockCheckIssueWidget::contextMenuOpensBelowTheHeader()
{
    BlockCheckIssueView view(nullptr);
    view.resize(400, 300);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    auto* widget = view.findChild<BlockCheckIssueWidget*>();
    BlockCheckIssueWidgetPrivate* tree = issueTable(widget);
    const QPoint point(20, 30);
    tree->onShowContextMenu(point);
    QMenu* menu = lastMenu(*widget);
    QTRY_VERIFY(menu->isVisible());
    QVERIFY(tree->header()->height() > 0);
    QCOMPARE(menu->pos(), tree->mapToGlobal(point) + QPoint(0, tree->header()->height()));
    menu->close();
}

ZK_TEST_REGISTER(tst_BlockCheckIssueWidget)
#include "tst_BlockCheckIssueWidget.moc"
