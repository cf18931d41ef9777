#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockGroupsWidget.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockRepository.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "System.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QSignalBlocker>
#include <QSignalSpy>
#include <QTest>
#include <QTreeWidgetItem>

namespace {

Text german(const QString& text)
{
    return Text(LanguageManager::German, text);
}

QString pathOf(const QTreeWidgetItem* row)
{
    return row->data(0, Qt::UserRole).toString();
}

// The tree as indented lines, "name [path]" for group rows.
void dumpRow(const QTreeWidgetItem* row, int depth, QStringList& lines)
{
    QString line = QString(depth * 2, QLatin1Char(' ')) + row->text(0);
    if (!pathOf(row).isEmpty())
        line += QStringLiteral(" [%1]").arg(pathOf(row));
    lines.append(line);
    for (int i = 0; i < row->childCount(); ++i)
        dumpRow(row->child(i), depth + 1, lines);
}

QStringList dump(const QTreeWidget& tree)
{
    QStringList lines;
    for (int i = 0; i < tree.topLevelItemCount(); ++i)
        dumpRow(tree.topLevelItem(i), 0, lines);
    return lines;
}

QTreeWidgetItem* rowOfPath(const QTreeWidget& tree, const QString& path)
{
    QList<const QTreeWidgetItem*> pending;
    for (int i = 0; i < tree.topLevelItemCount(); ++i)
        pending.append(tree.topLevelItem(i));
    while (!pending.isEmpty()) {
        const QTreeWidgetItem* row = pending.takeFirst();
        if (pathOf(row) == path)
            return const_cast<QTreeWidgetItem*>(row);
        for (int i = 0; i < row->childCount(); ++i)
            pending.append(row->child(i));
    }
    return nullptr;
}

QTreeWidgetItem* topRow(const QTreeWidget& tree, const QString& text)
{
    for (int i = 0; i < tree.topLevelItemCount(); ++i) {
        if (tree.topLevelItem(i)->text(0) == text)
            return tree.topLevelItem(i);
    }
    return nullptr;
}

bool sendKey(BlockGroupsWidget& widget, int key, QEvent::Type type = QEvent::KeyPress)
{
    QKeyEvent event(type, key, Qt::NoModifier);
    return static_cast<QObject*>(&widget)->eventFilter(&widget, &event);
}

} // namespace

class tst_BlockGroupsWidget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void construction();
    void setupPreparesTree();
    void updateBeforeSetupDoesNothing();
    void groupsWithAncestorsSortedByName();
    void groupsOfEveryContainerKind();
    void templateOnlyGroupDoesNotAppear();
    void invisibleBlocksFollowAccessLevel();
    void emptiedParentGoesWithChild();
    void parentWithChildrenStaysWithoutOwnBlocks();
    void namesFollowLanguage();
    void nameWithSlashKeepsOneRow();
    void expansionAndSelectionSurvive();
    void deletingCurrentRowMovesCurrent();
    void libraryRootsAppearOnFirstContainer();
    void otherContainerKindsStayOutOfSight();
    void newContainerRowWaitsForNextSort();
    void containerRenamed();
    void containerDeletedBeforeNotice();
    void currentRowSignals();
    void selectGroupOfStandardBlock();
    void selectGroupOfUserBlock();
    void selectGroupWithoutRow();
    void helpKeyOnGroupRow_data();
    void helpKeyOnGroupRow();
    void helpKeyWithoutPath();
    void otherEventsPass();

private:
    BlockRepository& repository() { return BlockRepository::instance(); }
    BlockLibraryContainer* addContainer(const QString& identifier, unsigned int kind, const QString& name);
    Block* addBlock(BlockLibraryContainer* container, const QString& identifier, const QString& groupPath);
    // A standard library: AND in Logik/Gatter, ADD in Logik/Arithmetik, a controller in Regler.
    void standardLibrary();
    BlockLibraryContainer* standard = nullptr;
};

void tst_BlockGroupsWidget::init()
{
    repository().clear();
    System::instance().setUserAccessLevelCode(3);
    LanguageManager::instance().setActiveLanguage(LanguageManager::German);
    closeHelpWindow();
    standard = nullptr;
}

void tst_BlockGroupsWidget::cleanup()
{
    closeHelpWindow();
    repository().clear();
    System::instance().setUserAccessLevelCode(3);
    LanguageManager::instance().setActiveLanguage(LanguageManager::German);
}

BlockLibraryContainer* tst_BlockGroupsWidget::addContainer(const QString& identifier, unsigned int kind, const QString& name)
{
    auto* container = new BlockLibraryContainer(identifier, kind, german(name));
    repository().addContainer(container);
    return container;
}

Block* tst_BlockGroupsWidget::addBlock(BlockLibraryContainer* container, const QString& identifier, const QString& groupPath)
{
    Block* block = ModelBuilder::primitive(container->library(), identifier, identifier, {}, {});
    block->setGroupPath(groupPath);
    return block;
}

void tst_BlockGroupsWidget::standardLibrary()
{
    repository().setBlockGroupName(1, german(QStringLiteral("Logik")));
    repository().setBlockGroupName(2, german(QStringLiteral("Gatter")));
    repository().setBlockGroupName(3, german(QStringLiteral("Arithmetik")));
    repository().setBlockGroupName(4, german(QStringLiteral("Regler")));
    standard = addContainer(QStringLiteral("1"), 0, QStringLiteral("Standard"));
    addBlock(standard, QStringLiteral("StandardBlock_1"), QStringLiteral("1;2"));
    addBlock(standard, QStringLiteral("StandardBlock_10"), QStringLiteral("1;3"));
    addBlock(standard, QStringLiteral("StandardBlock_20"), QStringLiteral("4"));
}

void tst_BlockGroupsWidget::construction()
{
    BlockGroupsWidget widget;
    QCOMPARE(widget.property("HelpId").toString(), QStringLiteral("BlockGroupsWidget"));
    QCOMPARE(widget.topLevelItemCount(), 0);
}

void tst_BlockGroupsWidget::setupPreparesTree()
{
    BlockGroupsWidget widget;
    widget.setup();
    QVERIFY(widget.isHeaderHidden());
    QCOMPARE(widget.columnCount(), 1);
    QCOMPARE(widget.headerItem()->text(0), QString());
    QVERIFY(widget.rootIsDecorated());
    QVERIFY(!widget.isSortingEnabled());
    // Connected, not yet run: the panel calls update itself once.
    QCOMPARE(widget.topLevelItemCount(), 0);
    standardLibrary();
    QVERIFY(widget.topLevelItemCount() > 0);
}

void tst_BlockGroupsWidget::updateBeforeSetupDoesNothing()
{
    standardLibrary();
    BlockGroupsWidget widget;
    widget.update();
    QCOMPARE(widget.topLevelItemCount(), 0);
}

void tst_BlockGroupsWidget::groupsWithAncestorsSortedByName()
{
    standardLibrary();
    repository().setBlockGroupName(5, german(QStringLiteral("Antriebe")));
    repository().setBlockGroupName(6, german(QStringLiteral("Achsen")));
    repository().setBlockGroupName(7, german(QStringLiteral("Lage")));
    // Only the deepest group has a block; its ancestors come with it.
    addBlock(standard, QStringLiteral("StandardBlock_30"), QStringLiteral("5;6;7"));
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    const QStringList expected{
        QStringLiteral("Standardbibliotheken"),
        QStringLiteral("  Antriebe [5]"),
        QStringLiteral("    Achsen [5;6]"),
        QStringLiteral("      Lage [5;6;7]"),
        QStringLiteral("  Logik [1]"),
        QStringLiteral("    Arithmetik [1;3]"),
        QStringLiteral("    Gatter [1;2]"),
        QStringLiteral("  Regler [4]"),
    };
    QCOMPARE(dump(widget), expected);
    QVERIFY(widget.topLevelItem(0)->isExpanded());
    QVERIFY(!rowOfPath(widget, QStringLiteral("1"))->isExpanded());

    // A second update changes nothing and keeps the rows.
    QTreeWidgetItem* gates = rowOfPath(widget, QStringLiteral("1;2"));
    widget.update();
    QCOMPARE(dump(widget), expected);
    QCOMPARE(rowOfPath(widget, QStringLiteral("1;2")), gates);
}

void tst_BlockGroupsWidget::groupsOfEveryContainerKind()
{
    repository().setBlockGroupName(8, german(QStringLiteral("Eigene")));
    BlockLibraryContainer* user = addContainer(QStringLiteral("user"), 256, QStringLiteral("Benutzer"));
    addBlock(user, QStringLiteral("UserBlock_1"), QStringLiteral("8"));
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    QCOMPARE(dump(widget), (QStringList{QStringLiteral("Standardbibliotheken"), QStringLiteral("  Eigene [8]"),
                                        QStringLiteral("Benutzerbibliotheken"), QStringLiteral("  Benutzer")}));
}

void tst_BlockGroupsWidget::templateOnlyGroupDoesNotAppear()
{
    standardLibrary();
    repository().setBlockGroupName(8, german(QStringLiteral("Vorlagen")));
    addBlock(standard, QStringLiteral("TemplateBlock_1"), QStringLiteral("8"));
    addBlock(standard, QStringLiteral("TemplateBlock_2"), QStringLiteral("8"));
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    QVERIFY(!rowOfPath(widget, QStringLiteral("8")));
    QVERIFY(rowOfPath(widget, QStringLiteral("4")));

    addBlock(standard, QStringLiteral("StandardBlock_40"), QStringLiteral("8"));
    QVERIFY(rowOfPath(widget, QStringLiteral("8")));
}

void tst_BlockGroupsWidget::invisibleBlocksFollowAccessLevel()
{
    standardLibrary();
    Block* hidden = addBlock(standard, QStringLiteral("StandardBlock_50"), QStringLiteral("9"));
    hidden->blockDefinition(0)->setAccessLevelRead(4);
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    QVERIFY(!rowOfPath(widget, QStringLiteral("9")));

    System::instance().setUserAccessLevelCode(4);
    QVERIFY(rowOfPath(widget, QStringLiteral("9")));
    System::instance().setUserAccessLevelCode(3);
    QVERIFY(!rowOfPath(widget, QStringLiteral("9")));

    // One visible definition among several is enough.
    hidden->createDefinition();
    QVERIFY(rowOfPath(widget, QStringLiteral("9")));
}

void tst_BlockGroupsWidget::emptiedParentGoesWithChild()
{
    standardLibrary();
    addBlock(standard, QStringLiteral("StandardBlock_60"), QStringLiteral("9;10"));
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    QVERIFY(rowOfPath(widget, QStringLiteral("9")));
    QVERIFY(rowOfPath(widget, QStringLiteral("9;10")));

    // The last block goes: neither path is listed any more.
    delete standard->library()->removeBlock(QStringLiteral("StandardBlock_60"));
    QVERIFY(!rowOfPath(widget, QStringLiteral("9;10")));
    QVERIFY(!rowOfPath(widget, QStringLiteral("9")));

    // Listed paths without a visible block: the child goes in a first round, its emptied parent in a
    // second.
    addBlock(standard, QStringLiteral("TemplateBlock_9"), QStringLiteral("12;13"));
    QVERIFY(!rowOfPath(widget, QStringLiteral("12;13")));
    QVERIFY(!rowOfPath(widget, QStringLiteral("12")));
}

void tst_BlockGroupsWidget::parentWithChildrenStaysWithoutOwnBlocks()
{
    standardLibrary();
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    QTreeWidgetItem* logic = rowOfPath(widget, QStringLiteral("1"));
    QVERIFY(logic);
    QCOMPARE(standard->library()->blockIdentifiers(QStringLiteral("1")).size(), 0);
    QCOMPARE(logic->childCount(), 2);
}

void tst_BlockGroupsWidget::namesFollowLanguage()
{
    standardLibrary();
    Text gates = german(QStringLiteral("Gatter"));
    gates.setText(LanguageManager::English, QStringLiteral("Gates"));
    repository().setBlockGroupName(2, gates);
    Text arithmetic = german(QStringLiteral("Arithmetik"));
    arithmetic.setText(LanguageManager::English, QStringLiteral("Math"));
    repository().setBlockGroupName(3, arithmetic);
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    QTreeWidgetItem* logic = rowOfPath(widget, QStringLiteral("1"));
    QTreeWidgetItem* gatesRow = rowOfPath(widget, QStringLiteral("1;2"));
    QTreeWidgetItem* mathRow = rowOfPath(widget, QStringLiteral("1;3"));
    QCOMPARE(logic->child(0), mathRow);
    QCOMPARE(logic->child(1), gatesRow);
    QCOMPARE(mathRow->text(0), QStringLiteral("Arithmetik"));

    LanguageManager::instance().setActiveLanguage(LanguageManager::English);
    QCOMPARE(rowOfPath(widget, QStringLiteral("1;2")), gatesRow);
    QCOMPARE(rowOfPath(widget, QStringLiteral("1;3")), mathRow);
    QCOMPARE(gatesRow->text(0), QStringLiteral("Gates"));
    QCOMPARE(mathRow->text(0), QStringLiteral("Math"));
    // Sorted anew by the English names.
    QCOMPARE(logic->child(0), gatesRow);
    QCOMPARE(logic->child(1), mathRow);
    // A name without an English text falls back to German.
    QCOMPARE(logic->text(0), QStringLiteral("Logik"));
}

void tst_BlockGroupsWidget::nameWithSlashKeepsOneRow()
{
    standardLibrary();
    repository().setBlockGroupName(9, german(QStringLiteral("Ein-/Ausgabe")));
    addBlock(standard, QStringLiteral("StandardBlock_70"), QStringLiteral("9"));
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    widget.update();
    widget.update();
    const QStringList lines = dump(widget);
    QCOMPARE(lines.count(QStringLiteral("  Ein-/Ausgabe [9]")), 1);
    QCOMPARE(widget.topLevelItem(0)->childCount(), 3);
}

void tst_BlockGroupsWidget::expansionAndSelectionSurvive()
{
    standardLibrary();
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    QTreeWidgetItem* logic = rowOfPath(widget, QStringLiteral("1"));
    QTreeWidgetItem* gates = rowOfPath(widget, QStringLiteral("1;2"));
    logic->setExpanded(true);
    widget.setCurrentItem(gates);

    QSignalSpy spy(&widget, &BlockGroupsWidget::groupSelected);
    addBlock(standard, QStringLiteral("StandardBlock_80"), QStringLiteral("1;5"));
    QVERIFY(rowOfPath(widget, QStringLiteral("1;5")));
    QCOMPARE(rowOfPath(widget, QStringLiteral("1")), logic);
    QVERIFY(logic->isExpanded());
    QCOMPARE(widget.currentItem(), gates);
    QVERIFY(gates->isSelected());
    QCOMPARE(spy.size(), 0);
}

void tst_BlockGroupsWidget::deletingCurrentRowMovesCurrent()
{
    standardLibrary();
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    QTreeWidgetItem* math = rowOfPath(widget, QStringLiteral("1;3"));
    widget.setCurrentItem(math);
    QSignalSpy spy(&widget, &BlockGroupsWidget::groupSelected);

    delete standard->library()->removeBlock(QStringLiteral("StandardBlock_10"));
    QVERIFY(!rowOfPath(widget, QStringLiteral("1;3")));
    QVERIFY(widget.currentItem());
    const QString now = pathOf(widget.currentItem());
    QVERIFY(!now.isEmpty());
    QVERIFY(spy.size() >= 1);
    QCOMPARE(spy.last().at(0).toString(), now);
    QCOMPARE(now, QStringLiteral("1;2"));
}

void tst_BlockGroupsWidget::libraryRootsAppearOnFirstContainer()
{
    standardLibrary();
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    QCOMPARE(dump(widget).first(), QStringLiteral("Standardbibliotheken"));
    QVERIFY(!topRow(widget, QStringLiteral("Benutzerbibliotheken")));
    QVERIFY(!topRow(widget, QStringLiteral("Interne Bibliotheken")));

    addContainer(QStringLiteral("intern"), 257, QStringLiteral("Intern"));
    QTreeWidgetItem* internalRoot = topRow(widget, QStringLiteral("Interne Bibliotheken"));
    QVERIFY(internalRoot);
    QVERIFY(!topRow(widget, QStringLiteral("Benutzerbibliotheken")));
    QCOMPARE(internalRoot->childCount(), 1);
    QCOMPARE(internalRoot->child(0)->text(0), QStringLiteral("Intern"));
    QVERIFY(pathOf(internalRoot->child(0)).isEmpty());
    QVERIFY(!internalRoot->isExpanded());

    addContainer(QStringLiteral("user"), 256, QStringLiteral("Benutzer"));
    QTreeWidgetItem* userRoot = topRow(widget, QStringLiteral("Benutzerbibliotheken"));
    QVERIFY(userRoot);
    QVERIFY(!userRoot->isExpanded());
    QCOMPARE(userRoot->childCount(), 1);
    QCOMPARE(widget.topLevelItemCount(), 3);

    // The roots stay when their last container has gone.
    delete repository().removeContainer(QStringLiteral("user"));
    delete repository().removeContainer(QStringLiteral("intern"));
    QCOMPARE(topRow(widget, QStringLiteral("Benutzerbibliotheken")), userRoot);
    QCOMPARE(topRow(widget, QStringLiteral("Interne Bibliotheken")), internalRoot);
    QCOMPARE(userRoot->childCount(), 0);
    QCOMPARE(internalRoot->childCount(), 0);
}

void tst_BlockGroupsWidget::otherContainerKindsStayOutOfSight()
{
    standardLibrary();
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    const QStringList before = dump(widget);
    addContainer(QStringLiteral("local"), BlockLibraryContainer::LocalContainerKind, QStringLiteral("Lokal"));
    widget.update();
    QCOMPARE(dump(widget), before);
    delete repository().removeContainer(QStringLiteral("local"));
    QCOMPARE(dump(widget), before);
}

void tst_BlockGroupsWidget::newContainerRowWaitsForNextSort()
{
    BlockGroupsWidget widget;
    widget.setup();
    addContainer(QStringLiteral("z"), 256, QStringLiteral("Zeta"));
    QTreeWidgetItem* userRoot = topRow(widget, QStringLiteral("Benutzerbibliotheken"));
    QVERIFY(userRoot);
    {
        const QSignalBlocker blocker(&repository());
        addContainer(QStringLiteral("a"), 256, QStringLiteral("Alpha"));
    }
    widget.update();
    QCOMPARE(userRoot->child(0)->text(0), QStringLiteral("Zeta"));
    QCOMPARE(userRoot->child(1)->text(0), QStringLiteral("Alpha"));
    widget.update();
    QCOMPARE(userRoot->child(0)->text(0), QStringLiteral("Alpha"));
    QCOMPARE(userRoot->child(1)->text(0), QStringLiteral("Zeta"));
}

void tst_BlockGroupsWidget::containerRenamed()
{
    BlockGroupsWidget widget;
    widget.setup();
    BlockLibraryContainer* user = addContainer(QStringLiteral("user"), 256, QStringLiteral("Benutzer"));
    QTreeWidgetItem* userRoot = topRow(widget, QStringLiteral("Benutzerbibliotheken"));
    QTreeWidgetItem* row = userRoot->child(0);
    user->setName(german(QStringLiteral("Werkstatt")));
    widget.update();
    QCOMPARE(userRoot->child(0), row);
    QCOMPARE(row->text(0), QStringLiteral("Werkstatt"));
}

void tst_BlockGroupsWidget::containerDeletedBeforeNotice()
{
    standardLibrary();
    BlockGroupsWidget widget;
    widget.setup();
    BlockLibraryContainer* user = addContainer(QStringLiteral("user"), 256, QStringLiteral("Benutzer"));
    QTreeWidgetItem* userRoot = topRow(widget, QStringLiteral("Benutzerbibliotheken"));
    QTreeWidgetItem* row = userRoot->child(0);
    {
        const QSignalBlocker blocker(&repository());
        delete repository().removeContainer(QStringLiteral("user"));
    }
    Q_UNUSED(user);
    QSignalSpy spy(&widget, &BlockGroupsWidget::groupSelected);
    // The row of a container that died says nothing; the next update takes it away.
    widget.onCurrentItemChanged(row, nullptr);
    QCOMPARE(spy.size(), 0);
    widget.update();
    QCOMPARE(userRoot->childCount(), 0);

    // Clearing the repository deletes every container before it tells.
    addContainer(QStringLiteral("user2"), 256, QStringLiteral("Zweiter"));
    QCOMPARE(userRoot->childCount(), 1);
    widget.setCurrentItem(userRoot->child(0));
    repository().clear();
    QCOMPARE(userRoot->childCount(), 0);
    QCOMPARE(widget.topLevelItem(0)->childCount(), 0);
}

void tst_BlockGroupsWidget::currentRowSignals()
{
    standardLibrary();
    addContainer(QStringLiteral("user"), 256, QStringLiteral("Benutzer"));
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    QSignalSpy spy(&widget, &BlockGroupsWidget::groupSelected);

    widget.setCurrentItem(rowOfPath(widget, QStringLiteral("1;2")));
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), QStringLiteral("1;2"));

    QTreeWidgetItem* userRoot = topRow(widget, QStringLiteral("Benutzerbibliotheken"));
    widget.setCurrentItem(userRoot);
    QCOMPARE(spy.size(), 1);
    widget.setCurrentItem(widget.topLevelItem(0));
    QCOMPARE(spy.size(), 1);

    widget.setCurrentItem(userRoot->child(0));
    QCOMPARE(spy.size(), 2);
    QCOMPARE(spy.at(1).at(0).toString(), QStringLiteral("Benutzer"));

    widget.onCurrentItemChanged(nullptr, userRoot->child(0));
    QCOMPARE(spy.size(), 2);
}

void tst_BlockGroupsWidget::selectGroupOfStandardBlock()
{
    standardLibrary();
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    QSignalSpy spy(&widget, &BlockGroupsWidget::groupSelected);
    widget.selectGroup(repository().block(QStringLiteral("StandardBlock_10")));
    QCOMPARE(widget.currentItem(), rowOfPath(widget, QStringLiteral("1;3")));
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), QStringLiteral("1;3"));

    // Already current: nothing changes and nothing is said again.
    widget.selectGroup(repository().block(QStringLiteral("StandardBlock_10")));
    QCOMPARE(spy.size(), 1);
}

void tst_BlockGroupsWidget::selectGroupOfUserBlock()
{
    standardLibrary();
    BlockLibraryContainer* user = addContainer(QStringLiteral("user"), 256, QStringLiteral("Benutzer"));
    Block* own = addBlock(user, QStringLiteral("UserBlock_7"), QStringLiteral("1;2"));
    own->setUserBlock(true);
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    QSignalSpy spy(&widget, &BlockGroupsWidget::groupSelected);
    widget.selectGroup(own);
    QTreeWidgetItem* userRoot = topRow(widget, QStringLiteral("Benutzerbibliotheken"));
    QCOMPARE(widget.currentItem(), userRoot->child(0));
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), QStringLiteral("Benutzer"));
}

void tst_BlockGroupsWidget::selectGroupWithoutRow()
{
    standardLibrary();
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    widget.setCurrentItem(rowOfPath(widget, QStringLiteral("4")));
    QSignalSpy spy(&widget, &BlockGroupsWidget::groupSelected);

    Block* loose = Block::createBlock(QStringLiteral("StandardBlock_99"));
    loose->setGroupPath(QStringLiteral("77;78"));
    widget.selectGroup(loose);
    QCOMPARE(widget.currentItem(), rowOfPath(widget, QStringLiteral("4")));
    loose->setGroupPath(QString());
    widget.selectGroup(loose);
    QCOMPARE(widget.currentItem(), rowOfPath(widget, QStringLiteral("4")));
    delete loose;

    // A user block of a library that has no row.
    Block* stray = Block::createUserBlock();
    widget.selectGroup(stray);
    delete stray;
    widget.selectGroup(nullptr);
    QCOMPARE(widget.currentItem(), rowOfPath(widget, QStringLiteral("4")));
    QCOMPARE(spy.size(), 0);
}

void tst_BlockGroupsWidget::helpKeyOnGroupRow_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("F1") << int(Qt::Key_F1);
    QTest::newRow("Help") << int(Qt::Key_Help);
}

void tst_BlockGroupsWidget::helpKeyOnGroupRow()
{
    QFETCH(int, key);
    standardLibrary();
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    widget.show();
    widget.setCurrentItem(rowOfPath(widget, QStringLiteral("1;2")));
    QVERIFY(!repository().helpWindow());

    QVERIFY(sendKey(widget, key));
    QVERIFY(repository().helpWindow());
    QVERIFY(repository().helpWindow()->isVisible());
    QCOMPARE(repository().helpWindow()->windowTitle(), QStringLiteral("Hilfe - BlockGroup_2"));
    closeHelpWindow();

    // Typed by the user: the widget filters its own key events.
    widget.setFocus();
    QTest::keyClick(&widget, Qt::Key(key));
    QVERIFY(repository().helpWindow());
    QCOMPARE(repository().helpWindow()->windowTitle(), QStringLiteral("Hilfe - BlockGroup_2"));
    closeHelpWindow();

    widget.setCurrentItem(rowOfPath(widget, QStringLiteral("4")));
    QVERIFY(sendKey(widget, key));
    QCOMPARE(repository().helpWindow()->windowTitle(), QStringLiteral("Hilfe - BlockGroup_4"));
}

void tst_BlockGroupsWidget::helpKeyWithoutPath()
{
    standardLibrary();
    addContainer(QStringLiteral("user"), 256, QStringLiteral("Benutzer"));
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();

    // No current row, a root row, a container row: the request "BlockGroup_" names no group, and the
    // repository answers it with nothing to show.
    QSignalSpy asked(&repository(), &BlockRepository::helpRequested);
    QVERIFY(!widget.currentItem());
    QVERIFY(!sendKey(widget, Qt::Key_F1));
    QVERIFY(!repository().helpWindow());
    widget.setCurrentItem(widget.topLevelItem(0));
    QVERIFY(!sendKey(widget, Qt::Key_F1));
    QVERIFY(!repository().helpWindow());
    widget.setCurrentItem(topRow(widget, QStringLiteral("Benutzerbibliotheken"))->child(0));
    QVERIFY(!sendKey(widget, Qt::Key_Help));
    QVERIFY(!repository().helpWindow());
    QCOMPARE(asked.count(), 3);
    for (const QList<QVariant>& call : std::as_const(asked))
        QCOMPARE(call.at(0).toString(), QStringLiteral("BlockGroup_"));
}

void tst_BlockGroupsWidget::otherEventsPass()
{
    standardLibrary();
    BlockGroupsWidget widget;
    widget.setup();
    widget.update();
    widget.setCurrentItem(rowOfPath(widget, QStringLiteral("1;2")));
    QVERIFY(!sendKey(widget, Qt::Key_F2));
    QVERIFY(!sendKey(widget, Qt::Key_F1, QEvent::KeyRelease));
    QVERIFY(!repository().helpWindow());
}

ZK_TEST_REGISTER(tst_BlockGroupsWidget)
#include "tst_BlockGroupsWidget.moc"
