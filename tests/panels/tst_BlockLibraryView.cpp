#include "BookmarkFiles.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockBookmarkRepository.h"
#include "BlockDefinition.h"
#include "BlockGroupsWidget.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockLibraryView.h"
#include "BlockRepository.h"
#include "BlocksWidget.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "System.h"

#include <QIcon>
#include <QImage>
#include <QLayout>
#include <QSignalSpy>
#include <QSplitter>
#include <QTest>
#include <QTreeWidgetItem>

namespace {

Text german(const QString& text)
{
    return Text(LanguageManager::German, text);
}

QString pathOf(const QTreeWidgetItem* row)
{
    return row ? row->data(0, Qt::UserRole).toString() : QString();
}

} // namespace

class tst_BlockLibraryView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void construction();
    void initializeJoinsTheTwoPanes();
    void choosingAGroupFillsTheList();
    void selectStandardBlockDefinition();
    void selectUserBlockDefinition();
    void nullOrBlocklessDefinitionDoesNothing();
    void currentGroupKeepsTheList();
    void hiddenDefinitionSelectsOnlyTheGroup();
    void favouritesReachTheList();

private:
    BlockRepository& repository() { return BlockRepository::instance(); }
    Block* addBlock(BlockLibraryContainer* container, const QString& identifier, const QString& name, const QString& groupPath);

    BlockLibraryContainer* standard = nullptr;
    BlockLibraryContainer* user = nullptr;
};

void tst_BlockLibraryView::init()
{
    repository().clear();
    resetBookmarks();
    System::instance().setUserAccessLevelCode(3);
    LanguageManager::instance().setActiveLanguage(LanguageManager::German);
    repository().setBlockGroupName(1, german(QStringLiteral("Logik")));
    repository().setBlockGroupName(2, german(QStringLiteral("Regler")));
    standard = new BlockLibraryContainer(QStringLiteral("1"), 0, german(QStringLiteral("Standard")));
    repository().addContainer(standard);
    addBlock(standard, QStringLiteral("StandardBlock_1"), QStringLiteral("UND"), QStringLiteral("1"));
    addBlock(standard, QStringLiteral("StandardBlock_2"), QStringLiteral("ODER"), QStringLiteral("1"));
    addBlock(standard, QStringLiteral("StandardBlock_20"), QStringLiteral("PID"), QStringLiteral("2"));
    user = new BlockLibraryContainer(QStringLiteral("U"), BlockLibraryContainer::UserLibraryKind, german(QStringLiteral("Eigene")));
    repository().addContainer(user);
    Block* counter = addBlock(user, QStringLiteral("UserBlock_1"), QStringLiteral("Zaehler"), QString());
    counter->setUserBlock(true);
    counter->createDefinition(1);
}

void tst_BlockLibraryView::cleanup()
{
    resetBookmarks();
    repository().clear();
    System::instance().setUserAccessLevelCode(3);
}

Block* tst_BlockLibraryView::addBlock(BlockLibraryContainer* container, const QString& identifier, const QString& name,
                                      const QString& groupPath)
{
    Block* block = ModelBuilder::primitive(container->library(), identifier, name, {}, {});
    block->setGroupPath(groupPath);
    return block;
}

void tst_BlockLibraryView::construction()
{
    BlockLibraryView view;
    QCOMPARE(view.property("HelpId").toString(), QStringLiteral("BlockLibraryView"));
    QVERIFY(view.groupsWidget());
    QVERIFY(view.blocksWidget());
    QCOMPARE(view.groupsWidget()->parent(), &view);
    // Nothing works before initialize: no layout, an empty tree.
    QVERIFY(!view.layout());
    QCOMPARE(view.groupsWidget()->topLevelItemCount(), 0);
}

void tst_BlockLibraryView::initializeJoinsTheTwoPanes()
{
    BlockLibraryView view;
    view.initialize();
    QVERIFY(view.layout());
    QCOMPARE(view.layout()->contentsMargins(), QMargins(0, 0, 0, 0));
    auto* splitter = view.findChild<QSplitter*>();
    QVERIFY(splitter);
    QCOMPARE(view.layout()->indexOf(splitter), 0);
    QCOMPARE(splitter->orientation(), Qt::Vertical);
    QCOMPARE(splitter->count(), 2);
    QCOMPARE(splitter->widget(0), view.groupsWidget());
    QCOMPARE(splitter->widget(1), view.blocksWidget());
    view.resize(300, 600);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const QList<int> sizes = splitter->sizes();
    QVERIFY(qAbs(sizes.at(0) - sizes.at(1)) <= 1);
    // Both set up: the tree is filled, the list has its columns.
    QVERIFY(view.groupsWidget()->topLevelItemCount() > 0);
    QCOMPARE(view.blocksWidget()->columnCount(), 4);
}

void tst_BlockLibraryView::choosingAGroupFillsTheList()
{
    BlockLibraryView view;
    view.initialize();
    const QList<QTreeWidgetItem*> rows = view.groupsWidget()->findItems(QStringLiteral("Regler"), Qt::MatchRecursive);
    QCOMPARE(rows.size(), 1);
    view.groupsWidget()->setCurrentItem(rows.first());
    QCOMPARE(view.blocksWidget()->currentPath(), QStringLiteral("2"));
    QCOMPARE(view.blocksWidget()->topLevelItemCount(), 1);
    QCOMPARE(view.blocksWidget()->topLevelItem(0)->text(0), QStringLiteral("PID"));
}

void tst_BlockLibraryView::selectStandardBlockDefinition()
{
    BlockLibraryView view;
    view.initialize();
    BlockDefinition* definition = ModelBuilder::newest(repository().block(QStringLiteral("StandardBlock_2")));
    view.selectBlockDefinition(definition);
    QCOMPARE(pathOf(view.groupsWidget()->currentItem()), QStringLiteral("1"));
    QCOMPARE(view.blocksWidget()->topLevelItemCount(), 2);
    QCOMPARE(BlocksWidget::definitionOf(view.blocksWidget()->currentItem()), definition);
}

void tst_BlockLibraryView::selectUserBlockDefinition()
{
    BlockLibraryView view;
    view.initialize();
    Block* counter = repository().block(QStringLiteral("UserBlock_1"));
    view.selectBlockDefinition(counter->blockDefinition(0));
    QCOMPARE(view.groupsWidget()->currentItem()->text(0), QStringLiteral("Eigene"));
    QCOMPARE(BlocksWidget::definitionOf(view.blocksWidget()->currentItem()), counter->blockDefinition(0));
}

void tst_BlockLibraryView::nullOrBlocklessDefinitionDoesNothing()
{
    BlockLibraryView view;
    view.initialize();
    QSignalSpy groups(view.groupsWidget(), &BlockGroupsWidget::groupSelected);
    view.selectBlockDefinition(nullptr);
    QCOMPARE(groups.count(), 0);
    QVERIFY(!view.groupsWidget()->currentItem());
    QCOMPARE(view.blocksWidget()->topLevelItemCount(), 0);
}

void tst_BlockLibraryView::currentGroupKeepsTheList()
{
    BlockLibraryView view;
    view.initialize();
    BlocksWidget* list = view.blocksWidget();
    Block* und = repository().block(QStringLiteral("StandardBlock_1"));
    Block* oder = repository().block(QStringLiteral("StandardBlock_2"));
    view.selectBlockDefinition(ModelBuilder::newest(und));
    QCOMPARE(BlocksWidget::definitionOf(list->currentItem()), ModelBuilder::newest(und));
    // A mark on a row survives only if the list is not filled again.
    QTreeWidgetItem* marked = list->currentItem();
    marked->setText(1, QStringLiteral("mark"));
    QSignalSpy groups(view.groupsWidget(), &BlockGroupsWidget::groupSelected);
    view.selectBlockDefinition(ModelBuilder::newest(oder));
    QCOMPARE(groups.count(), 0);
    QCOMPARE(marked->text(1), QStringLiteral("mark"));
    QVERIFY(list->indexOfTopLevelItem(marked) >= 0);
    QCOMPARE(BlocksWidget::definitionOf(list->currentItem()), ModelBuilder::newest(oder));
}

void tst_BlockLibraryView::hiddenDefinitionSelectsOnlyTheGroup()
{
    Block* counter = repository().block(QStringLiteral("UserBlock_1"));
    counter->blockDefinition(1)->setAccessLevelRead(5);
    BlockLibraryView view;
    view.initialize();
    BlocksWidget* list = view.blocksWidget();
    view.selectBlockDefinition(counter->blockDefinition(1));
    QCOMPARE(view.groupsWidget()->currentItem()->text(0), QStringLiteral("Eigene"));
    QCOMPARE(list->topLevelItemCount(), 1);
    QVERIFY(!list->currentItem());

    // With the group current already, the current row stays where it was.
    list->setCurrentItem(list->topLevelItem(0));
    view.selectBlockDefinition(counter->blockDefinition(1));
    QCOMPARE(BlocksWidget::definitionOf(list->currentItem()), counter->blockDefinition(0));
}

void tst_BlockLibraryView::favouritesReachTheList()
{
    BlockLibraryView view;
    view.initialize();
    Block* counter = repository().block(QStringLiteral("UserBlock_1"));
    view.selectBlockDefinition(counter->blockDefinition(0));
    BlocksWidget* list = view.blocksWidget();
    QCOMPARE(BlocksWidget::definitionOf(list->currentItem()), counter->blockDefinition(0));
    const QImage star = QIcon(QStringLiteral(":/Resources/star.png")).pixmap(16).toImage();
    QVERIFY(list->currentItem()->icon(BlocksWidget::FavouriteColumn).pixmap(16).toImage() != star);
    list->addBlockToBookmark();
    QCOMPARE(bookmarkTree(BlockBookmarkRepository::instance().rootFolder()), QStringList{QStringLiteral("UserBlock_1;0")});
    // The change refills the list, with the star lit.
    QVERIFY(!list->currentItem());
    list->selectBlock(QStringLiteral("UserBlock_1"), 0);
    QCOMPARE(list->currentItem()->icon(BlocksWidget::FavouriteColumn).pixmap(16).toImage(), star);
}

ZK_TEST_REGISTER(tst_BlockLibraryView)
#include "tst_BlockLibraryView.moc"
