#include "BookmarkFiles.h"
#include "MenuLookup.h"
#include "ModalAnswer.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockBookmark.h"
#include "BlockBookmarkFolder.h"
#include "BlockBookmarkRepository.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPreview.h"
#include "BlockRepository.h"
#include "BlocksWidget.h"
#include "LibraryBlockDefinitionSubWindow.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "System.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QDrag>
#include <QFileDialog>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMainWindow>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QMouseEvent>
#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeWidgetItem>

#include <memory>

namespace {

Text german(const QString& text)
{
    return Text(LanguageManager::German, text);
}

QStringList names(const QTreeWidget& list)
{
    QStringList lines;
    for (int i = 0; i < list.topLevelItemCount(); ++i) {
        const QTreeWidgetItem* row = list.topLevelItem(i);
        lines.append(QStringLiteral("%1 v%2").arg(row->text(0)).arg(row->data(2, Qt::DisplayRole).toUInt()));
    }
    return lines;
}

QTreeWidgetItem* rowOf(const QTreeWidget& list, const BlockDefinition* definition)
{
    for (int i = 0; i < list.topLevelItemCount(); ++i) {
        if (BlocksWidget::definitionOf(list.topLevelItem(i)) == definition)
            return list.topLevelItem(i);
    }
    return nullptr;
}

bool sendKey(BlocksWidget& widget, int key)
{
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    return static_cast<QObject*>(&widget)->eventFilter(&widget, &event);
}

void sendMouse(QWidget* viewport, QEvent::Type type, QPoint position, Qt::MouseButtons buttons)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, position, viewport->mapToGlobal(position), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(viewport, &event);
}

// Answers the next message box with `button` and keeps its text.
std::shared_ptr<bool> answerBox(QMessageBox::StandardButton button, QString* text, QString* title = nullptr)
{
    return answerNextModal([button, text, title](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        if (!box) {
            dialog->reject();
            return;
        }
        if (text)
            *text = box->text();
        if (title)
            *title = box->windowTitle();
        if (QAbstractButton* answer = box->button(button))
            answer->click();
        else
            box->reject();
    });
}

// What a drag started by the widget carried; the drag is cancelled at once.
struct DragRecord
{
    bool started = false;
    QByteArray payload;
    QPoint hotSpot;
    QSize pixmapSize;
    QImage picture;
};

std::shared_ptr<DragRecord> watchForDrag(QWidget* source)
{
    auto record = std::make_shared<DragRecord>();
    QTimer::singleShot(0, source, [source, record] {
        if (auto* drag = source->findChild<QDrag*>()) {
            record->started = true;
            record->payload = drag->mimeData()->data(BlocksWidget::MimeType);
            record->hotSpot = drag->hotSpot();
            record->pixmapSize = drag->pixmap().size();
            record->picture = drag->pixmap().toImage();
            QDrag::cancel();
        }
    });
    return record;
}

} // namespace

class tst_BlocksWidget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void construction();
    void favouritesHeardFromSetupOn();
    void setupPreparesList();
    void rowsOfAGroup();
    void rowDataSitsInTheVersionColumn();
    void numbersSortAsNumbers();
    void blockWithoutNumberShowsItsIdentifier();
    void iconFallsBackToTheDefault();
    void containerNameWinsOverGroupPath();
    void containerWithoutVisibleBlocksGivesEmptyList();
    void currentLibraryStaysAfterGroupSelected();
    void sameDefinitionCountDoesNotRefresh();
    void oneChangeIsOneFill();
    void onlyVisibleVersionsAppear();
    void templateRowsNeverAppear_data();
    void templateRowsNeverAppear();
    void updateFollowsLanguageAndLevel();
    void selectBlockMakesRowCurrent();
    void currentItemChangedEmitsBlockSelected();
    void starsFollowFavourites();
    void starClickTogglesAndRefills();
    void clickOutsideStarColumnDoesNothing();
    void favouritesChangeRefillsList();
    void favouritesOfAnotherProcessRedrawStars();
    void addBlockToBookmarkAddsAgain();
    void menuOfAStandardBlock();
    void menuOfAUserBlock();
    void menuIsEmptyWithoutRowOrForParameterBlocks();
    void versionZeroCannotBeDeletedAlone_data();
    void versionZeroCannotBeDeletedAlone();
    void favouriteEntryToggles();
    void deleteBlockAsks_data();
    void deleteBlockAsks();
    void deleteKeyDeletesBlock();
    void deleteVersionAsks_data();
    void deleteVersionAsks();
    void cloneNewVersion();
    void cloneNewBlock();
    void moveToContainer();
    void pressAtOriginCannotStartDrag();
    void dragCarriesPayloadAndPicture();
    void doubleClickDoesNothing();
    void helpKeyAsksForTheRowsBlock();
    void propertiesFollowWritability_data();
    void propertiesFollowWritability();
    void showSelectedBlockCodeActivatesTheSubWindow();
    void graphicExportOnlyForTopLevel_data();
    void graphicExportOnlyForTopLevel();

private:
    BlockRepository& repository() { return BlockRepository::instance(); }
    BlockBookmarkRepository& bookmarks() { return BlockBookmarkRepository::instance(); }
    int bookmarkCount(const BlockDefinition* definition) { return int(bookmarks().bookmarks(definition).size()); }
    BlockLibraryContainer* addContainer(const QString& identifier, unsigned int kind, const QString& name);
    Block* addBlock(BlockLibraryContainer* container, const QString& identifier, const QString& name, const QString& groupPath);
    void prepare(BlocksWidget& widget);

    // "Standard": UND (StandardBlock_1), ODER (StandardBlock_2), ADD (StandardBlock_10, versions 0
    // and 1) and a template in group 1 "Logik", a controller (StandardBlock_20) in group 2 "Regler".
    // "Eigene", user kind: Zaehler (versions 0, 1, 2) and Filter (version 0). "Intern", internal kind.
    BlockLibraryContainer* standard = nullptr;
    BlockLibraryContainer* user = nullptr;
    BlockLibraryContainer* internal = nullptr;
    Block* counter = nullptr;
    Block* filter = nullptr;
};

void tst_BlocksWidget::init()
{
    repository().clear();
    resetBookmarks();
    System::instance().setUserAccessLevelCode(3);
    LanguageManager::instance().setActiveLanguage(LanguageManager::German);
    closeHelpWindow();
    repository().setBlockGroupName(1, german(QStringLiteral("Logik")));
    repository().setBlockGroupName(2, german(QStringLiteral("Regler")));
    standard = addContainer(QStringLiteral("1"), 0, QStringLiteral("Standard"));
    addBlock(standard, QStringLiteral("StandardBlock_1"), QStringLiteral("UND"), QStringLiteral("1"));
    addBlock(standard, QStringLiteral("StandardBlock_2"), QStringLiteral("ODER"), QStringLiteral("1"));
    Block* add = addBlock(standard, QStringLiteral("StandardBlock_10"), QStringLiteral("ADD"), QStringLiteral("1"));
    add->createDefinition(1);
    addBlock(standard, QStringLiteral("TemplateBlock_5"), QStringLiteral("Vorlage"), QStringLiteral("1"));
    addBlock(standard, QStringLiteral("StandardBlock_20"), QStringLiteral("PID"), QStringLiteral("2"));
    user = addContainer(QStringLiteral("U"), BlockLibraryContainer::UserLibraryKind, QStringLiteral("Eigene"));
    counter = addBlock(user, QStringLiteral("UserBlock_1"), QStringLiteral("Zaehler"), QString());
    counter->setUserBlock(true);
    counter->createDefinition(1);
    counter->createDefinition(2);
    filter = addBlock(user, QStringLiteral("UserBlock_2"), QStringLiteral("Filter"), QString());
    filter->setUserBlock(true);
    internal = addContainer(QStringLiteral("I"), BlockLibraryContainer::InternalLibraryKind, QStringLiteral("Intern"));
}

void tst_BlocksWidget::cleanup()
{
    System::instance().setMainWindow(nullptr);
    closeHelpWindow();
    resetBookmarks();
    repository().clear();
    System::instance().setUserAccessLevelCode(3);
}

BlockLibraryContainer* tst_BlocksWidget::addContainer(const QString& identifier, unsigned int kind, const QString& name)
{
    auto* container = new BlockLibraryContainer(identifier, kind, german(name));
    repository().addContainer(container);
    return container;
}

Block* tst_BlocksWidget::addBlock(BlockLibraryContainer* container, const QString& identifier, const QString& name, const QString& groupPath)
{
    Block* block = ModelBuilder::primitive(container->library(), identifier, name, {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    block->setGroupPath(groupPath);
    return block;
}

void tst_BlocksWidget::prepare(BlocksWidget& widget)
{
    widget.setup();
}

void tst_BlocksWidget::construction()
{
    BlocksWidget widget;
    QCOMPARE(widget.property("HelpId").toString(), QStringLiteral("BlocksWidget"));
    QCOMPARE(widget.topLevelItemCount(), 0);
    QVERIFY(widget.currentPath().isEmpty());
    QCOMPARE(BlocksWidget::MimeType, QStringLiteral("zk6/blockdefinitionidentifier"));
}

void tst_BlocksWidget::favouritesHeardFromSetupOn()
{
    BlocksWidget widget;
    widget.updatePath(QStringLiteral("Eigene"));
    widget.setCurrentItem(widget.topLevelItem(0));
    // Not connected yet: a change of the favourites leaves the list alone.
    Q_EMIT bookmarks().changed();
    QVERIFY(widget.currentItem());
    widget.setup();
    widget.setCurrentItem(widget.topLevelItem(0));
    Q_EMIT bookmarks().changed();
    QVERIFY(!widget.currentItem());
    QCOMPARE(widget.topLevelItemCount(), 4);
}

void tst_BlocksWidget::setupPreparesList()
{
    BlocksWidget widget;
    widget.setup();
    QVERIFY(!widget.isHeaderHidden());
    QVERIFY(!widget.rootIsDecorated());
    QCOMPARE(widget.contextMenuPolicy(), Qt::CustomContextMenu);
    QCOMPARE(widget.columnCount(), 4);
    const QStringList labels = {QStringLiteral("Name"), QStringLiteral("Nummer"), QStringLiteral("Version"), QStringLiteral("Favorit")};
    for (int column = 0; column < 4; ++column)
        QCOMPARE(widget.headerItem()->text(column), labels.at(column));
    QCOMPARE(widget.columnWidth(0), 200);
    QCOMPARE(widget.editTriggers(), QAbstractItemView::NoEditTriggers);
    QVERIFY(widget.isSortingEnabled());
}

void tst_BlocksWidget::rowsOfAGroup()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("1"));
    // By name; the versions of one block stay in ascending order; no template.
    QCOMPARE(names(widget), (QStringList{QStringLiteral("ADD v0"), QStringLiteral("ADD v1"), QStringLiteral("ODER v0"), QStringLiteral("UND v0")}));
    QCOMPARE(widget.currentPath(), QStringLiteral("1"));
    widget.updatePath(QStringLiteral("2"));
    QCOMPARE(names(widget), QStringList{QStringLiteral("PID v0")});
    widget.updatePath(QStringLiteral("Eigene"));
    QCOMPARE(names(widget), (QStringList{QStringLiteral("Filter v0"), QStringLiteral("Zaehler v0"), QStringLiteral("Zaehler v1"),
                                         QStringLiteral("Zaehler v2")}));
    // A sort by another column lasts until the next update.
    widget.sortItems(2, Qt::DescendingOrder);
    QCOMPARE(widget.topLevelItem(0)->data(2, Qt::DisplayRole).toUInt(), 2u);
    widget.update();
    QCOMPARE(widget.topLevelItem(0)->text(0), QStringLiteral("Filter"));
    widget.updatePath(QStringLiteral("7"));
    QCOMPARE(widget.topLevelItemCount(), 0);
}

void tst_BlocksWidget::rowDataSitsInTheVersionColumn()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("1"));
    Block* add = repository().block(QStringLiteral("StandardBlock_10"));
    BlockDefinition* definition = add->blockDefinition(1);
    definition->setDescription(german(QStringLiteral("Addiert")));
    widget.update();
    QTreeWidgetItem* row = rowOf(widget, definition);
    QVERIFY(row);
    QCOMPARE(row->text(0), QStringLiteral("ADD"));
    QCOMPARE(row->toolTip(0), definition->toolTipText());
    QCOMPARE(row->data(1, Qt::DisplayRole).typeId(), QMetaType::UInt);
    QCOMPARE(row->data(1, Qt::DisplayRole).toUInt(), 10u);
    QCOMPARE(row->text(1), QStringLiteral("10"));
    QCOMPARE(row->data(2, Qt::DisplayRole).typeId(), QMetaType::UInt);
    QCOMPARE(row->data(2, Qt::UserRole).toString(), QStringLiteral("StandardBlock_10"));
    QCOMPARE(row->data(2, Qt::UserRole + 1).toUInt(), 1u);
    QCOMPARE(row->data(2, Qt::UserRole + 2).value<void*>(), static_cast<void*>(definition));
    QVERIFY(row->text(3).isEmpty());
    QCOMPARE(BlocksWidget::payload(definition), QByteArray("StandardBlock_10;1"));
    QVERIFY(BlocksWidget::payload(nullptr).isEmpty());
}

void tst_BlocksWidget::numbersSortAsNumbers()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("1"));
    widget.sortItems(1, Qt::AscendingOrder);
    QStringList numbers;
    for (int i = 0; i < widget.topLevelItemCount(); ++i)
        numbers.append(widget.topLevelItem(i)->text(1));
    // As text, "10" would come before "2".
    QCOMPARE(numbers, (QStringList{QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("10"), QStringLiteral("10")}));
}

void tst_BlocksWidget::blockWithoutNumberShowsItsIdentifier()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    QTreeWidgetItem* row = rowOf(widget, filter->blockDefinition(0));
    QVERIFY(row);
    QCOMPARE(row->data(1, Qt::DisplayRole).typeId(), QMetaType::QString);
    QCOMPARE(row->text(1), QStringLiteral("UserBlock_2"));
}

void tst_BlocksWidget::iconFallsBackToTheDefault()
{
    BlockDefinition* definition = filter->blockDefinition(0);
    definition->setSmallListImage(QByteArray("no picture"));
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    QTreeWidgetItem* row = rowOf(widget, definition);
    QVERIFY(row);
    QVERIFY(!row->icon(0).isNull());
    QCOMPARE(row->icon(0).pixmap(16).toImage().convertToFormat(QImage::Format_ARGB32),
             QIcon(QStringLiteral(":/Resources/DefaultBlockIconSmall.png")).pixmap(16).toImage().convertToFormat(QImage::Format_ARGB32));
}

void tst_BlocksWidget::containerNameWinsOverGroupPath()
{
    // A user library named like group 1 shows its own blocks, not those of the group.
    user->setName(german(QStringLiteral("1")));
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("1"));
    QCOMPARE(names(widget), (QStringList{QStringLiteral("Filter v0"), QStringLiteral("Zaehler v0"), QStringLiteral("Zaehler v1"),
                                         QStringLiteral("Zaehler v2")}));

    // With nothing visible in it, the same text is read as the group path.
    for (Block* block : {counter, filter}) {
        for (BlockDefinition* definition : block->definitions())
            definition->setAccessLevelRead(5);
    }
    widget.updatePath(QStringLiteral("1"));
    QCOMPARE(names(widget), (QStringList{QStringLiteral("ADD v0"), QStringLiteral("ADD v1"), QStringLiteral("ODER v0"), QStringLiteral("UND v0")}));
}

void tst_BlocksWidget::containerWithoutVisibleBlocksGivesEmptyList()
{
    for (Block* block : {counter, filter}) {
        for (BlockDefinition* definition : block->definitions())
            definition->setAccessLevelRead(5);
    }
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    QCOMPARE(widget.topLevelItemCount(), 0);
    widget.updatePath(QStringLiteral("Intern"));
    QCOMPARE(widget.topLevelItemCount(), 0);
}

void tst_BlocksWidget::currentLibraryStaysAfterGroupSelected()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    widget.updatePath(QStringLiteral("1"));
    // The repository passes every change of a library on as a change of the groups, which
    // refreshes any list; kept quiet, it leaves the library's own signal alone to be heard.
    const QSignalBlocker quiet(&repository());
    repository().block(QStringLiteral("StandardBlock_1"))->setName(german(QStringLiteral("AND")));
    QVERIFY(names(widget).contains(QStringLiteral("UND v0")));
    // A new version in the library shown before still refreshes the list of the group.
    counter->createDefinition(3);
    QVERIFY(names(widget).contains(QStringLiteral("AND v0")));
    QCOMPARE(widget.currentPath(), QStringLiteral("1"));
    QCOMPARE(widget.topLevelItemCount(), 4);
}

void tst_BlocksWidget::sameDefinitionCountDoesNotRefresh()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    const QSignalBlocker quiet(&repository());
    counter->createDefinition(3);
    QCOMPARE(widget.topLevelItemCount(), 5);
    filter->setName(german(QStringLiteral("Tiefpass")));
    Q_EMIT user->library()->contentsChanged();
    QVERIFY(names(widget).contains(QStringLiteral("Filter v0")));
    // Another count does.
    filter->createDefinition(1);
    QVERIFY(names(widget).contains(QStringLiteral("Tiefpass v1")));
}

void tst_BlocksWidget::oneChangeIsOneFill()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    // The repository reports the library's change as one of the groups, and the library reports it
    // itself: the list fills once, in one insertion.
    QSignalSpy inserted(widget.model(), &QAbstractItemModel::rowsInserted);
    counter->createDefinition(3);
    QCOMPARE(inserted.count(), 1);
    QCOMPARE(widget.topLevelItemCount(), 5);
}

void tst_BlocksWidget::onlyVisibleVersionsAppear()
{
    Block* add = repository().block(QStringLiteral("StandardBlock_10"));
    add->blockDefinition(1)->setAccessLevelRead(4);
    counter->blockDefinition(1)->setAccessLevelRead(4);
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("1"));
    QCOMPARE(names(widget), (QStringList{QStringLiteral("ADD v0"), QStringLiteral("ODER v0"), QStringLiteral("UND v0")}));
    widget.updatePath(QStringLiteral("Eigene"));
    QCOMPARE(names(widget), (QStringList{QStringLiteral("Filter v0"), QStringLiteral("Zaehler v0"), QStringLiteral("Zaehler v2")}));
    // A higher level shows them, through the level's own signal.
    System::instance().setUserAccessLevelCode(4);
    QCOMPARE(names(widget), (QStringList{QStringLiteral("Filter v0"), QStringLiteral("Zaehler v0"), QStringLiteral("Zaehler v1"),
                                         QStringLiteral("Zaehler v2")}));
}

void tst_BlocksWidget::templateRowsNeverAppear_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("level");
    QTest::newRow("group") << QStringLiteral("1") << 3;
    QTest::newRow("group, top level") << QStringLiteral("1") << 5;
    QTest::newRow("library") << QStringLiteral("Standard") << 3;
    QTest::newRow("user library") << QStringLiteral("Eigene") << 5;
}

void tst_BlocksWidget::templateRowsNeverAppear()
{
    QFETCH(QString, path);
    QFETCH(int, level);
    // A template in the user library as well.
    addBlock(user, QStringLiteral("TemplateBlock_6"), QStringLiteral("Vorlage2"), QStringLiteral("1"));
    System::instance().setUserAccessLevelCode(quint32(level));
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(path);
    QVERIFY(widget.topLevelItemCount() > 0);
    for (int i = 0; i < widget.topLevelItemCount(); ++i)
        QVERIFY(!widget.topLevelItem(i)->data(2, Qt::UserRole).toString().startsWith(QStringLiteral("TemplateBlock_")));
}

void tst_BlocksWidget::updateFollowsLanguageAndLevel()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("2"));
    Block* pid = repository().block(QStringLiteral("StandardBlock_20"));
    Text name = pid->name();
    name.setText(LanguageManager::English, QStringLiteral("PID controller"));
    pid->setName(name);
    QCOMPARE(widget.topLevelItem(0)->text(0), QStringLiteral("PID"));
    LanguageManager::instance().setActiveLanguage(LanguageManager::English);
    QCOMPARE(widget.topLevelItem(0)->text(0), QStringLiteral("PID controller"));
    LanguageManager::instance().setActiveLanguage(LanguageManager::German);
    QCOMPARE(widget.topLevelItem(0)->text(0), QStringLiteral("PID"));
    Q_EMIT repository().groupsChanged();
    QCOMPARE(widget.currentPath(), QStringLiteral("2"));
    QCOMPARE(widget.topLevelItemCount(), 1);
}

void tst_BlocksWidget::selectBlockMakesRowCurrent()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    widget.selectBlock(QStringLiteral("UserBlock_1"), 1);
    QCOMPARE(BlocksWidget::definitionOf(widget.currentItem()), counter->blockDefinition(1));
    // No match leaves the current row alone.
    widget.selectBlock(QStringLiteral("UserBlock_1"), 7);
    QCOMPARE(BlocksWidget::definitionOf(widget.currentItem()), counter->blockDefinition(1));
    widget.selectBlock(QStringLiteral("StandardBlock_1"), 0);
    QCOMPARE(BlocksWidget::definitionOf(widget.currentItem()), counter->blockDefinition(1));
}

void tst_BlocksWidget::currentItemChangedEmitsBlockSelected()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    QSignalSpy spy(&widget, &BlocksWidget::blockSelected);
    widget.currentItemChanged(rowOf(widget, counter->blockDefinition(2)), nullptr);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), QStringLiteral("UserBlock_1"));
    QCOMPARE(spy.at(0).at(1).toUInt(), 2u);
    widget.currentItemChanged(nullptr, nullptr);
    QCOMPARE(spy.count(), 1);
    // Nothing in this widget connects it: a new current row alone says nothing.
    widget.setCurrentItem(rowOf(widget, counter->blockDefinition(0)));
    QCOMPARE(spy.count(), 1);
}

void tst_BlocksWidget::starsFollowFavourites()
{
    bookmarks().addBookmark(counter->blockDefinition(1));
    // A favourite deep in a folder is one as well.
    BlockBookmarkFolder* outer = bookmarks().addFolder(QStringLiteral("Aussen"), nullptr);
    BlockBookmarkFolder* inner = bookmarks().addFolder(QStringLiteral("Innen"), outer);
    bookmarks().addItem(new BlockBookmark(nullptr, filter->blockDefinition(0)), inner);
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    const QImage star = QIcon(QStringLiteral(":/Resources/star.png")).pixmap(16).toImage();
    const QImage empty = QIcon(QStringLiteral(":/Resources/starEmpty.png")).pixmap(16).toImage();
    QVERIFY(star != empty);
    QCOMPARE(rowOf(widget, counter->blockDefinition(1))->icon(3).pixmap(16).toImage(), star);
    QCOMPARE(rowOf(widget, filter->blockDefinition(0))->icon(3).pixmap(16).toImage(), star);
    // Another version of the same block is no favourite.
    QCOMPARE(rowOf(widget, counter->blockDefinition(0))->icon(3).pixmap(16).toImage(), empty);
    QCOMPARE(rowOf(widget, counter->blockDefinition(2))->icon(3).pixmap(16).toImage(), empty);
    QVERIFY(rowOf(widget, counter->blockDefinition(1))->text(3).isEmpty());
}

void tst_BlocksWidget::starClickTogglesAndRefills()
{
    BlocksWidget widget;
    prepare(widget);
    widget.resize(600, 400);
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    widget.updatePath(QStringLiteral("Eigene"));
    BlockDefinition* definition = counter->blockDefinition(2);
    widget.setCurrentItem(rowOf(widget, definition));
    const QRect rowRect = widget.visualItemRect(rowOf(widget, definition));
    const QPoint where(widget.header()->sectionViewportPosition(3) + 5, rowRect.center().y());
    const QImage star = QIcon(QStringLiteral(":/Resources/star.png")).pixmap(16).toImage();
    const QImage empty = QIcon(QStringLiteral(":/Resources/starEmpty.png")).pixmap(16).toImage();
    QTest::mouseClick(widget.viewport(), Qt::LeftButton, Qt::NoModifier, where);
    // A new favourite at the root, written to the shared file at once.
    QCOMPARE(bookmarkTree(bookmarks().rootFolder()), QStringList{QStringLiteral("UserBlock_1;2")});
    QCOMPARE(bookmarkFileTree(), QStringList{QStringLiteral("UserBlock_1;2")});
    // Refilled: the current row is gone, the star is lit.
    QVERIFY(!widget.currentItem());
    QCOMPARE(rowOf(widget, definition)->icon(3).pixmap(16).toImage(), star);
    QTest::mouseClick(widget.viewport(), Qt::LeftButton, Qt::NoModifier, where);
    QCOMPARE(bookmarkCount(definition), 0);
    QVERIFY(bookmarkFileTree().isEmpty());
    QCOMPARE(rowOf(widget, definition)->icon(3).pixmap(16).toImage(), empty);
}

void tst_BlocksWidget::clickOutsideStarColumnDoesNothing()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    QTreeWidgetItem* row = rowOf(widget, counter->blockDefinition(0));
    QSignalSpy changed(&bookmarks(), &BlockBookmarkRepository::changed);
    for (int column : {0, 1, 2})
        widget.blockItemClicked(row, column);
    widget.blockItemClicked(nullptr, 3);
    QCOMPARE(changed.count(), 0);
    QVERIFY(bookmarkTree(bookmarks().rootFolder()).isEmpty());
    widget.blockItemClicked(row, 3);
    QCOMPARE(bookmarkTree(bookmarks().rootFolder()), QStringList{QStringLiteral("UserBlock_1;0")});
}

void tst_BlocksWidget::favouritesChangeRefillsList()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    widget.setCurrentItem(widget.topLevelItem(1));
    QVERIFY(widget.currentItem());
    // Any change does it, also one that leaves this list's stars as they were.
    bookmarks().addFolder(QStringLiteral("Neu"), nullptr);
    QVERIFY(!widget.currentItem());
    QCOMPARE(widget.topLevelItemCount(), 4);
}

void tst_BlocksWidget::favouritesOfAnotherProcessRedrawStars()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    BlockDefinition* definition = filter->blockDefinition(0);
    const QImage star = QIcon(QStringLiteral(":/Resources/star.png")).pixmap(16).toImage();
    const QImage empty = QIcon(QStringLiteral(":/Resources/starEmpty.png")).pixmap(16).toImage();
    QCOMPARE(rowOf(widget, definition)->icon(3).pixmap(16).toImage(), empty);
    // The text another process writes for a tree with one favourite of the definition.
    BlockBookmarkFolder tree(nullptr, QStringLiteral("root"));
    BlockBookmark bookmark(nullptr, definition);
    tree.insert(0, &bookmark);
    const QByteArray text = BlockBookmarkRepository::iniText(&tree);
    tree.remove(&bookmark);
    writeBookmarkFile(text);
    QTRY_COMPARE(rowOf(widget, definition)->icon(3).pixmap(16).toImage(), star);
    QCOMPARE(bookmarkCount(definition), 1);
    // And a file without it puts the empty star back.
    writeBookmarkFile(BlockBookmarkRepository::iniText(&tree));
    QTRY_COMPARE(rowOf(widget, definition)->icon(3).pixmap(16).toImage(), empty);
}

void tst_BlocksWidget::addBlockToBookmarkAddsAgain()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    BlockDefinition* definition = filter->blockDefinition(0);
    widget.setCurrentItem(rowOf(widget, definition));
    widget.addBlockToBookmark();
    widget.setCurrentItem(rowOf(widget, definition));
    widget.addBlockToBookmark();
    QCOMPARE(bookmarkTree(bookmarks().rootFolder()), (QStringList{QStringLiteral("UserBlock_2;0"), QStringLiteral("UserBlock_2;0")}));
    QCOMPARE(bookmarkFileTree(), bookmarkTree(bookmarks().rootFolder()));
    // The toggle takes them all away, also from folders, and leaves the rest alone.
    BlockBookmarkFolder* folder = bookmarks().addFolder(QStringLiteral("Ordner"), nullptr);
    bookmarks().addItem(new BlockBookmark(nullptr, definition), folder);
    bookmarks().addItem(new BlockBookmark(nullptr, counter->blockDefinition(0)), folder);
    widget.setCurrentItem(rowOf(widget, definition));
    widget.addOrRemoveBlockToBookmark();
    const QStringList left{QStringLiteral("[Ordner]"), QStringLiteral("  UserBlock_1;0")};
    QCOMPARE(bookmarkTree(bookmarks().rootFolder()), left);
    QCOMPARE(bookmarkFileTree(), left);
    // Without a current row nothing is added.
    widget.setCurrentItem(nullptr);
    widget.addBlockToBookmark();
    widget.addOrRemoveBlockToBookmark();
    QCOMPARE(bookmarkTree(bookmarks().rootFolder()), left);
}

void tst_BlocksWidget::menuOfAStandardBlock()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("1"));
    widget.setCurrentItem(widget.topLevelItem(0));
    widget.showContextMenu(QPoint(5, 5));
    QMenu* menu = widget.contextMenu();
    QVERIFY(menu);
    QVERIFY(menu->separatorsCollapsible());
    QCOMPARE(actionTexts(menu), (QStringList{QStringLiteral("Eigenschaften"), QStringLiteral("Favorit")}));
    QTRY_VERIFY(menu->isVisible());
    // Below the header, not on it.
    QCOMPARE(menu->pos().y(), widget.mapToGlobal(QPoint(5, 5)).y() + widget.header()->height());
    menu->close();
}

void tst_BlocksWidget::menuOfAUserBlock()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    widget.setCurrentItem(rowOf(widget, counter->blockDefinition(2)));
    widget.showContextMenu(QPoint(5, 5));
    QMenu* menu = widget.contextMenu();
    QCOMPARE(actionTextsWithSeparators(menu),
             (QStringList{QStringLiteral("Eigenschaften"), QStringLiteral("|"), QStringLiteral("Favorit"), QStringLiteral("|"),
                          QStringLiteral("|"), QStringLiteral("In neue Version duplizieren"), QStringLiteral("In neuen Baustein duplizieren"),
                          QStringLiteral("|"), QStringLiteral("Baustein in Bibliothek verschieben"), QStringLiteral("|"),
                          QStringLiteral("Baustein Löschen (alle Versionen)"), QStringLiteral("Bausteinversion löschen")}));
    QAction* move = actionNamed(menu, QStringLiteral("Baustein in Bibliothek verschieben"));
    QVERIFY(move && move->menu());
    QVERIFY(move->isEnabled());
    // Only libraries of the user's and the internal kind, and not the block's own.
    QCOMPARE(actionTexts(move->menu()), QStringList{QStringLiteral("Intern")});
    QCOMPARE(move->menu()->actions().first()->data().toString(), QStringLiteral("I"));
    QVERIFY(actionNamed(menu, QStringLiteral("Baustein Löschen (alle Versionen)"))->isEnabled());
    menu->close();

    // Without another library there is nothing to move to.
    delete repository().removeContainer(QStringLiteral("I"));
    widget.setCurrentItem(rowOf(widget, counter->blockDefinition(2)));
    widget.showContextMenu(QPoint(5, 5));
    QVERIFY(!actionNamed(menu, QStringLiteral("Baustein in Bibliothek verschieben")));
    menu->close();
}

void tst_BlocksWidget::menuIsEmptyWithoutRowOrForParameterBlocks()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    widget.setCurrentItem(nullptr);
    widget.showContextMenu(QPoint(5, 5));
    QVERIFY(widget.contextMenu()->actions().isEmpty());
    widget.contextMenu()->close();

    filter->blockDefinition(0)->setParameterDefinitionBlock(true);
    widget.update();
    widget.setCurrentItem(rowOf(widget, filter->blockDefinition(0)));
    widget.showContextMenu(QPoint(5, 5));
    QVERIFY(widget.contextMenu()->actions().isEmpty());
    widget.contextMenu()->close();
}

void tst_BlocksWidget::versionZeroCannotBeDeletedAlone_data()
{
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<uint>("version");
    QTest::addColumn<bool>("offered");
    QTest::newRow("only version 0") << QStringLiteral("UserBlock_2") << 0u << false;
    QTest::newRow("version 0 of three") << QStringLiteral("UserBlock_1") << 0u << false;
    QTest::newRow("middle version") << QStringLiteral("UserBlock_1") << 1u << false;
    QTest::newRow("newest version") << QStringLiteral("UserBlock_1") << 2u << true;
}

void tst_BlocksWidget::versionZeroCannotBeDeletedAlone()
{
    QFETCH(QString, identifier);
    QFETCH(uint, version);
    QFETCH(bool, offered);
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    widget.selectBlock(identifier, version);
    QVERIFY(widget.currentItem());
    widget.showContextMenu(QPoint(5, 5));
    QAction* entry = actionNamed(widget.contextMenu(), QStringLiteral("Bausteinversion löschen"));
    QCOMPARE(entry != nullptr, offered);
    if (entry)
        QVERIFY(entry->isEnabled());
    widget.contextMenu()->close();
}

void tst_BlocksWidget::favouriteEntryToggles()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    BlockDefinition* definition = counter->blockDefinition(1);
    widget.setCurrentItem(rowOf(widget, definition));
    widget.showContextMenu(QPoint(5, 5));
    QAction* entry = actionNamed(widget.contextMenu(), QStringLiteral("Favorit"));
    QVERIFY(entry->isCheckable());
    QVERIFY(!entry->isChecked());
    widget.contextMenu()->close();
    entry->trigger();
    QCOMPARE(bookmarkTree(bookmarks().rootFolder()), QStringList{QStringLiteral("UserBlock_1;1")});
    QCOMPARE(bookmarkFileTree(), QStringList{QStringLiteral("UserBlock_1;1")});

    widget.setCurrentItem(rowOf(widget, definition));
    widget.showContextMenu(QPoint(5, 5));
    // The same entry, made once and reused.
    QCOMPARE(actionNamed(widget.contextMenu(), QStringLiteral("Favorit")), entry);
    QVERIFY(entry->isChecked());
    widget.contextMenu()->close();
    entry->trigger();
    QCOMPARE(bookmarkCount(definition), 0);
    QVERIFY(bookmarkFileTree().isEmpty());
}

void tst_BlocksWidget::deleteBlockAsks_data()
{
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<bool>("inUse");
    QTest::addColumn<int>("answer");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("deleted");
    QTest::newRow("standard block") << QStringLiteral("StandardBlock_1") << false << int(QMessageBox::Ok)
                                    << QStringLiteral("Der Baustein kann nicht gelöscht werden!") << false;
    QTest::newRow("in use") << QStringLiteral("UserBlock_1") << true << int(QMessageBox::Ok)
                            << QStringLiteral("Der Baustein wird zur Zeit verwendet und kann nicht gelöscht werden!") << false;
    QTest::newRow("no") << QStringLiteral("UserBlock_1") << false << int(QMessageBox::No)
                        << QStringLiteral("Soll der Baustein Zaehler wirklich gelöscht werden?") << false;
    QTest::newRow("yes") << QStringLiteral("UserBlock_1") << false << int(QMessageBox::Yes)
                         << QStringLiteral("Soll der Baustein Zaehler wirklich gelöscht werden?") << true;
}

void tst_BlocksWidget::deleteBlockAsks()
{
    QFETCH(QString, identifier);
    QFETCH(bool, inUse);
    QFETCH(int, answer);
    QFETCH(QString, text);
    QFETCH(bool, deleted);
    Block* block = repository().block(identifier);
    QPointer<Block> guard(block);
    Block* host = ModelBuilder::composite(internal->library(), QStringLiteral("UserBlock_9"), QStringLiteral("Wirt"), {}, {});
    if (inUse)
        ModelBuilder::place(ModelBuilder::newest(host)->code(), counter->blockDefinition(1), {0, 0});
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(identifier.startsWith(QStringLiteral("User")) ? QStringLiteral("Eigene") : QStringLiteral("1"));
    widget.setCurrentItem(rowOf(widget, ModelBuilder::newest(block)));
    QString shown;
    QString title;
    auto answered = answerBox(QMessageBox::StandardButton(answer), &shown, &title);
    widget.deleteSelectedBlock();
    QVERIFY(*answered);
    QCOMPARE(shown, text);
    QCOMPARE(title, QStringLiteral("Baustein löschen"));
    QCOMPARE(guard.isNull(), deleted);
    QCOMPARE(repository().block(identifier) == nullptr, deleted);
    if (deleted) {
        QCOMPARE(names(widget), QStringList{QStringLiteral("Filter v0")});
    }
}

void tst_BlocksWidget::deleteKeyDeletesBlock()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    // Without a row the key is taken and nothing asks.
    widget.setCurrentItem(nullptr);
    QKeyEvent lone(QEvent::KeyPress, Qt::Key_Delete, Qt::NoModifier);
    QApplication::sendEvent(&widget, &lone);
    QVERIFY(lone.isAccepted());
    QVERIFY(repository().block(QStringLiteral("UserBlock_2")));

    widget.setCurrentItem(rowOf(widget, filter->blockDefinition(0)));
    auto answered = answerBox(QMessageBox::Yes, nullptr);
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Delete, Qt::NoModifier);
    QApplication::sendEvent(&widget, &press);
    QVERIFY(*answered);
    QVERIFY(!repository().block(QStringLiteral("UserBlock_2")));
    QCOMPARE(widget.topLevelItemCount(), 3);
}

void tst_BlocksWidget::deleteVersionAsks_data()
{
    QTest::addColumn<bool>("inUse");
    QTest::addColumn<int>("answer");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("deleted");
    QTest::newRow("in use") << true << int(QMessageBox::Ok)
                            << QStringLiteral("Der Bausteinversion wird zur Zeit verwendet und kann nicht gelöscht werden!") << false;
    QTest::newRow("no") << false << int(QMessageBox::No)
                        << QStringLiteral("Soll die Version 2 des Bausteins \"Zaehler\" wirklich gelöscht werden?") << false;
    QTest::newRow("yes") << false << int(QMessageBox::Yes)
                         << QStringLiteral("Soll die Version 2 des Bausteins \"Zaehler\" wirklich gelöscht werden?") << true;
}

void tst_BlocksWidget::deleteVersionAsks()
{
    QFETCH(bool, inUse);
    QFETCH(int, answer);
    QFETCH(QString, text);
    QFETCH(bool, deleted);
    Block* host = ModelBuilder::composite(internal->library(), QStringLiteral("UserBlock_9"), QStringLiteral("Wirt"), {}, {});
    if (inUse)
        ModelBuilder::place(ModelBuilder::newest(host)->code(), counter->blockDefinition(2), {0, 0});
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    widget.setCurrentItem(rowOf(widget, counter->blockDefinition(2)));
    QString shown;
    QString title;
    auto answered = answerBox(QMessageBox::StandardButton(answer), &shown, &title);
    widget.deleteSelectedBlockDefinition();
    QVERIFY(*answered);
    QCOMPARE(shown, text);
    QCOMPARE(title, QStringLiteral("Bausteinversion löschen"));
    QCOMPARE(counter->versions().size(), deleted ? 2 : 3);
    QCOMPARE(widget.topLevelItemCount(), deleted ? 3 : 4);
}

void tst_BlocksWidget::cloneNewVersion()
{
    counter->blockDefinition(1)->setAccessLevelWrite(5);
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    widget.setCurrentItem(rowOf(widget, counter->blockDefinition(1)));
    widget.cloneNewVersion();
    QCOMPARE(counter->versions(), (QList<unsigned int>{0, 1, 2, 3}));
    // Lowered to the user's level, so that the user may edit the copy.
    QCOMPARE(counter->blockDefinition(3)->accessLevelWrite(), 3u);
    QVERIFY(rowOf(widget, counter->blockDefinition(3)));
}

void tst_BlocksWidget::cloneNewBlock()
{
    Text name = counter->name();
    name.setText(LanguageManager::English, QStringLiteral("Counter"));
    counter->setName(name);
    counter->blockDefinition(1)->setAccessLevelWrite(5);
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    widget.setCurrentItem(rowOf(widget, counter->blockDefinition(1)));
    const QList<Block*> before = user->library()->blocks();
    widget.cloneNewBlock();
    const QList<Block*> after = user->library()->blocks();
    QCOMPARE(after.size(), before.size() + 1);
    Block* clone = nullptr;
    for (Block* block : after) {
        if (!before.contains(block))
            clone = block;
    }
    QVERIFY(clone);
    QVERIFY(clone->isUserBlock());
    QVERIFY(clone->identifier() != counter->identifier());
    QCOMPARE(clone->name().text(LanguageManager::German), QStringLiteral("Zaehler*"));
    QCOMPARE(clone->name().text(LanguageManager::English), QStringLiteral("Counter*"));
    QCOMPARE(clone->versions().size(), 1);
    QCOMPARE(clone->definitions().first()->accessLevelWrite(), 3u);
    // The original keeps its name and versions.
    QCOMPARE(counter->name().text(LanguageManager::German), QStringLiteral("Zaehler"));
    QCOMPARE(counter->versions().size(), 3);
    QVERIFY(names(widget).contains(QStringLiteral("Zaehler* v%1").arg(clone->versions().first())));
}

void tst_BlocksWidget::moveToContainer()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    widget.setCurrentItem(rowOf(widget, counter->blockDefinition(0)));
    widget.showContextMenu(QPoint(5, 5));
    QAction* move = actionNamed(widget.contextMenu(), QStringLiteral("Baustein in Bibliothek verschieben"));
    QVERIFY(move && move->menu());
    QAction* target = actionNamed(move->menu(), QStringLiteral("Intern"));
    QVERIFY(target);
    widget.contextMenu()->close();
    target->trigger();
    QCOMPARE(counter->ownerLibrary(), internal->library());
    QVERIFY(!user->library()->block(QStringLiteral("UserBlock_1")));
    QCOMPARE(names(widget), QStringList{QStringLiteral("Filter v0")});

    // Called from no action, it does nothing.
    widget.setCurrentItem(widget.topLevelItem(0));
    widget.moveToContainer();
    QCOMPARE(filter->ownerLibrary(), user->library());
}

void tst_BlocksWidget::pressAtOriginCannotStartDrag()
{
    BlocksWidget widget;
    prepare(widget);
    widget.resize(600, 400);
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    widget.updatePath(QStringLiteral("Eigene"));
    QWidget* viewport = widget.viewport();
    // The first row lies under (0, 0), and yet that press counts as one beside the rows.
    QVERIFY(widget.itemAt(QPoint(0, 0)));
    sendMouse(viewport, QEvent::MouseButtonPress, QPoint(0, 0), Qt::LeftButton);
    auto record = watchForDrag(&widget);
    sendMouse(viewport, QEvent::MouseMove, QPoint(60, 5), Qt::LeftButton);
    QTest::qWait(0);
    QCoreApplication::processEvents();
    QVERIFY(!record->started);
    sendMouse(viewport, QEvent::MouseButtonRelease, QPoint(60, 5), Qt::NoButton);

    // Below the last row there is no row: no drag either.
    sendMouse(viewport, QEvent::MouseButtonPress, QPoint(5, 390), Qt::LeftButton);
    record = watchForDrag(&widget);
    sendMouse(viewport, QEvent::MouseMove, QPoint(60, 390), Qt::LeftButton);
    QCoreApplication::processEvents();
    QVERIFY(!record->started);
    sendMouse(viewport, QEvent::MouseButtonRelease, QPoint(60, 390), Qt::NoButton);
}

void tst_BlocksWidget::dragCarriesPayloadAndPicture()
{
    BlocksWidget widget;
    prepare(widget);
    widget.resize(600, 400);
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    widget.updatePath(QStringLiteral("Eigene"));
    QTreeWidgetItem* row = rowOf(widget, counter->blockDefinition(1));
    const QPoint press = widget.visualItemRect(row).center();
    QWidget* viewport = widget.viewport();
    sendMouse(viewport, QEvent::MouseButtonPress, press, Qt::LeftButton);
    // Short of the drag distance nothing starts.
    auto record = watchForDrag(&widget);
    sendMouse(viewport, QEvent::MouseMove, press + QPoint(QApplication::startDragDistance() - 1, 0), Qt::LeftButton);
    QCoreApplication::processEvents();
    QVERIFY(!record->started);
    record = watchForDrag(&widget);
    sendMouse(viewport, QEvent::MouseMove, press + QPoint(QApplication::startDragDistance(), 0), Qt::LeftButton);
    QTRY_VERIFY(record->started);
    QCOMPARE(record->payload, QByteArray("UserBlock_1;1"));
    QCOMPARE(record->hotSpot, QPoint(40, 10));
    QCOMPARE(record->pixmapSize.width(), 300);
    // The block as the scene draws it, not a stand-in.
    BlockPreview preview;
    const QImage expected = preview.image(counter->blockDefinition(1));
    QVERIFY(!expected.isNull());
    QCOMPARE(record->picture.convertToFormat(QImage::Format_ARGB32), expected.convertToFormat(QImage::Format_ARGB32));
}

void tst_BlocksWidget::doubleClickDoesNothing()
{
    BlocksWidget widget;
    prepare(widget);
    widget.resize(600, 400);
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    widget.updatePath(QStringLiteral("Eigene"));
    QSignalSpy selected(&widget, &BlocksWidget::blockSelected);
    BlockDefinition* definition = counter->blockDefinition(1);
    const QStringList before = names(widget);
    QTest::mouseDClick(widget.viewport(), Qt::LeftButton, Qt::NoModifier, widget.visualItemRect(rowOf(widget, definition)).center());
    QVERIFY(!definition->editSubWindow());
    QCOMPARE(names(widget), before);
    QCOMPARE(selected.count(), 0);
    QVERIFY(bookmarkTree(bookmarks().rootFolder()).isEmpty());
    QVERIFY(!QApplication::activeModalWidget());
}

void tst_BlocksWidget::helpKeyAsksForTheRowsBlock()
{
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    QSignalSpy help(&repository(), &BlockRepository::helpRequested);
    // Without a row the key passes.
    QVERIFY(!sendKey(widget, Qt::Key_F1));
    QCOMPARE(help.count(), 0);
    widget.setCurrentItem(rowOf(widget, counter->blockDefinition(2)));
    sendKey(widget, Qt::Key_F1);
    sendKey(widget, Qt::Key_Help);
    QCOMPARE(help.count(), 2);
    QCOMPARE(help.at(0).at(0).toString(), QStringLiteral("UserBlock_1;2"));
    QCOMPARE(help.at(1).at(0).toString(), QStringLiteral("UserBlock_1;2"));
    // Other keys and events pass.
    QVERIFY(!sendKey(widget, Qt::Key_A));
    QEvent other(QEvent::FocusIn);
    QVERIFY(!static_cast<QObject*>(&widget)->eventFilter(&widget, &other));
}

void tst_BlocksWidget::propertiesFollowWritability_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<bool>("readOnly");
    QTest::newRow("standard block") << QStringLiteral("1") << QStringLiteral("StandardBlock_1") << true;
    QTest::newRow("user block") << QStringLiteral("Eigene") << QStringLiteral("UserBlock_2") << false;
}

void tst_BlocksWidget::propertiesFollowWritability()
{
    QFETCH(QString, path);
    QFETCH(QString, identifier);
    QFETCH(bool, readOnly);
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(path);
    widget.selectBlock(identifier, 0);
    QVERIFY(widget.currentItem());
    bool shownReadOnly = !readOnly;
    QString name;
    auto answered = answerNextModal([&shownReadOnly, &name](QDialog* dialog) {
        if (auto* edit = dialog->findChild<QLineEdit*>(QStringLiteral("nameGermanEdit"))) {
            shownReadOnly = edit->isReadOnly();
            name = edit->text();
        }
        dialog->reject();
    });
    widget.showSelectedBlockProperties();
    QVERIFY(*answered);
    QCOMPARE(shownReadOnly, readOnly);
    QCOMPARE(name, repository().block(identifier)->name().text(LanguageManager::German));
}

void tst_BlocksWidget::showSelectedBlockCodeActivatesTheSubWindow()
{
    QMainWindow mainWindow;
    auto* area = new QMdiArea;
    area->setObjectName(QStringLiteral("mdiArea"));
    mainWindow.setCentralWidget(area);
    mainWindow.resize(800, 600);
    mainWindow.show();
    System::instance().setMainWindow(&mainWindow);
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("Eigene"));
    // Without a row nothing opens.
    widget.setCurrentItem(nullptr);
    widget.showSelectedBlockCode();
    QVERIFY(area->subWindowList().isEmpty());
    for (unsigned int version : {1u, 2u}) {
        widget.selectBlock(QStringLiteral("UserBlock_1"), version);
        widget.showSelectedBlockCode();
        LibraryBlockDefinitionSubWindow* window = counter->blockDefinition(version)->editSubWindow();
        QVERIFY(window);
        QVERIFY(window->isVisible());
        QCOMPARE(area->activeSubWindow(), window);
    }
    QCOMPARE(area->subWindowList().size(), 2);
    System::instance().setMainWindow(nullptr);
    for (QMdiSubWindow* window : area->subWindowList())
        window->close();
}

void tst_BlocksWidget::graphicExportOnlyForTopLevel_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("exported");
    QTest::newRow("level 4") << 4 << false;
    QTest::newRow("level 5") << 5 << true;
}

void tst_BlocksWidget::graphicExportOnlyForTopLevel()
{
    QFETCH(int, level);
    QFETCH(bool, exported);
    System::instance().setUserAccessLevelCode(quint32(level));
    // Hidden from everyone, and still exported: the export looks at no visibility.
    repository().block(QStringLiteral("StandardBlock_2"))->blockDefinition(0)->setAccessLevelRead(6);
    QTemporaryDir directory;
    QVERIFY(directory.isValid());
    BlocksWidget widget;
    prepare(widget);
    widget.updatePath(QStringLiteral("1"));
    if (!exported) {
        // A dialog that opened anyway is turned down at once; the watch ends before the next test.
        const auto timers = [] { return qApp->findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly).size(); };
        const auto before = timers();
        auto asked = answerNextModal([](QDialog* dialog) { dialog->reject(); }, 0);
        QVERIFY(!sendKey(widget, Qt::Key_F12));
        QVERIFY(!*asked);
        QTRY_COMPARE(timers(), before);
        QVERIFY(QDir(directory.path()).entryList(QDir::Files).isEmpty());
        return;
    }
    QString title;
    auto answered = answerNextModal([&directory, &title](QDialog* dialog) {
        auto* files = qobject_cast<QFileDialog*>(dialog);
        if (!files) {
            dialog->reject();
            return;
        }
        title = files->windowTitle();
        files->setDirectory(directory.path());
        files->selectFile(directory.path());
        dialog->accept();
    });
    QVERIFY(sendKey(widget, Qt::Key_F12));
    QVERIFY(*answered);
    QCOMPARE(title, QStringLiteral("Export-Verzeichnis"));
    QVERIFY(!QApplication::overrideCursor());
    // The newest version of every block of every library; blocks without a number share one file.
    QStringList files = QDir(directory.path()).entryList(QDir::Files);
    files.sort();
    QCOMPARE(files, (QStringList{QStringLiteral("ILL_0000001_rgb.png"), QStringLiteral("ILL_0000002_rgb.png"),
                                 QStringLiteral("ILL_0000010_rgb.png"), QStringLiteral("ILL_0000020_rgb.png"),
                                 QStringLiteral("ILL__rgb.png")}));
    QCOMPARE(QImage(directory.filePath(QStringLiteral("ILL_0000010_rgb.png"))).width(), 300);
}

ZK_TEST_REGISTER(tst_BlocksWidget)
#include "tst_BlocksWidget.moc"
