#include "Pictures.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockRepository.h"
#include "HierarchyView.h"
#include "HierarchyViewPrivate.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "ModelEnums.h"
#include "System.h"

#include <QHeaderView>
#include <QImage>
#include <QKeyEvent>
#include <QLayout>
#include <QPointer>
#include <QSequentialIterable>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStyle>
#include <QTabWidget>
#include <QLocale>
#include <QStyledItemDelegate>
#include <QTest>
#include <QTreeWidgetItem>

#include <memory>

namespace {

HierarchyViewPrivate* treeOf(HierarchyView& view)
{
    return view.findChild<HierarchyViewPrivate*>();
}

ItemPath pathOf(const QTreeWidgetItem* item)
{
    return item->data(0, Qt::UserRole).value<ItemPath>();
}

QTreeWidgetItem* childWithId(const QTreeWidgetItem* parent, uint identifier)
{
    if (!parent)
        return nullptr;
    for (int i = 0; i < parent->childCount(); ++i) {
        const ItemPath path = pathOf(parent->child(i));
        if (!path.isEmpty() && path.last() == identifier)
            return parent->child(i);
    }
    return nullptr;
}

int countItems(const QTreeWidgetItem* item)
{
    int count = 1;
    for (int i = 0; i < item->childCount(); ++i)
        count += countItems(item->child(i));
    return count;
}

// The rows' icons are drawn at the list image's size.
constexpr int IconSide = 24;

bool sendHelpKey(HierarchyView& view, int key)
{
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    return static_cast<QObject*>(treeOf(view))->eventFilter(&view, &event);
}

} // namespace

class tst_HierarchyView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void construction();
    void itemPathTravelsInVariant();
    void rootOfAreaShowsAreaTitle();
    void rootOfLibraryDefinitionShowsBlockName();
    void columnsOfAnInstance();
    void numberColumnValue_data();
    void numberColumnValue();
    void numbersShowWithoutDigitGrouping();
    void numbersSortByValue();
    void textsSortAsText();
    void textAndPinBlocksGetSuffix();
    void pathTexts_data();
    void pathTexts();
    void doubleClickEmitsPath();
    void selectPathSelectsRowAndColumns();
    void selectPathInANarrowPanelKeepsTheNamesInSight();
    void selectPathStopsAtMissingChild_data();
    void selectPathStopsAtMissingChild();
    void selectPathWithoutRootDoesNothing();
    void stepInNotAllowedHasNoChildren();
    void accessLevelChangeUpdates();
    void newInstanceKeepsExpansion();
    void editedNestedCodeUpdatesByItself();
    void removedInstanceTakesSubtree();
    void replacedInstanceUnderSameIdentifier();
    void directSelfReference();
    void deepSelfReference();
    void recursionLineGoesWhenRecursionEnds();
    void rowTurningRecursiveKeepsTheRowsOfItsCode();
    void hiddenTabBuildsNothing();
    void libraryChangeUpdates();
    void languageChangeUpdates();
    void iconFromDefinition();
    void undecodableIconGivesDefault();
    void iconMadeOnce();
    void helpKeyWithInstance_data();
    void helpKeyWithInstance();
    void helpKeyWithoutInstance();
    void otherKeysPass();
    void deletedModelObjects();

private:
    std::unique_ptr<TestModel> model;
    BlockDefinition* def(const QString& identifier) const
    {
        return ModelBuilder::newest(model->block(identifier));
    }
    BlockInstanceHierarchyNode* rootNode() const { return model->area()->hierarchy()->rootNode(); }
    // A composite user block whose code holds an AND under identifier 12.
    BlockDefinition* makeInner();
};

void tst_HierarchyView::init()
{
    model = std::make_unique<TestModel>();
    closeHelpWindow();
}

void tst_HierarchyView::cleanup()
{
    closeHelpWindow();
    model.reset();
    LanguageManager::instance().setActiveLanguage(LanguageManager::German);
}

BlockDefinition* tst_HierarchyView::makeInner()
{
    Block* inner = ModelBuilder::composite(model->user()->library(), QStringLiteral("UserBlock_Inner"),
                                           QStringLiteral("Innen"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    BlockDefinition* definition = ModelBuilder::newest(inner);
    definition->code()->createInstance(def(QStringLiteral("StandardBlock_1")), 12);
    return definition;
}

void tst_HierarchyView::construction()
{
    HierarchyView view;
    QCOMPARE(view.property("HelpId").toString(), QStringLiteral("HierarchyView"));
    HierarchyViewPrivate* tree = treeOf(view);
    QVERIFY(tree);
    QCOMPARE(tree->q, &view);
    QCOMPARE(tree->columnCount(), 3);
    QCOMPARE(tree->headerItem()->text(0), QStringLiteral("Name"));
    QCOMPARE(tree->headerItem()->text(1), QStringLiteral("Nummer"));
    QCOMPARE(tree->headerItem()->text(2), QStringLiteral("Version"));
    QVERIFY(!tree->rootIsDecorated());
    QCOMPARE(tree->indentation(), 16);
    QCOMPARE(tree->selectionMode(), QAbstractItemView::SingleSelection);
    QCOMPARE(tree->editTriggers(), QAbstractItemView::NoEditTriggers);
    QVERIFY(tree->isSortingEnabled());
    QVERIFY(view.layout());
    QCOMPARE(view.layout()->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(view.layout()->spacing(), 4);
    QCOMPARE(view.layout()->indexOf(tree), 0);
    QVERIFY(!tree->rootItem);
    QVERIFY(!tree->rootDefinition);
    QVERIFY(!tree->rootNode);
}

void tst_HierarchyView::itemPathTravelsInVariant()
{
    HierarchyView view;
    QCOMPARE(QMetaType::fromName("ItemPath"), QMetaType::fromType<QList<uint>>());
    QCOMPARE(QMetaType::fromName("QList<uint>"), QMetaType::fromType<ItemPath>());
    const QVariant variant = QVariant::fromValue(ItemPath{0, 5, 12});
    QVERIFY(variant.canConvert<QSequentialIterable>());
    QList<uint> seen;
    const QSequentialIterable iterable = variant.value<QSequentialIterable>();
    for (const QVariant& entry : iterable)
        seen.append(entry.toUInt());
    QCOMPARE(seen, (QList<uint>{0, 5, 12}));
    QCOMPARE(variant.value<QVariantList>().size(), 3);
    QCOMPARE(variant.value<ItemPath>(), (ItemPath{0, 5, 12}));
}

void tst_HierarchyView::rootOfAreaShowsAreaTitle()
{
    model->area()->setTitle(QStringLiteral("Achse Eins"));
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QCOMPARE(tree->topLevelItemCount(), 1);
    QTreeWidgetItem* root = tree->topLevelItem(0);
    QCOMPARE(tree->rootItem, root);
    QCOMPARE(root->text(0), QStringLiteral("Achse Eins"));
    QCOMPARE(pathOf(root), ItemPath{0});
    QVERIFY(root->isExpanded());
    QVERIFY(!tree->instanceOfItem.contains(root));
    QCOMPARE(root->childCount(), 0);
}

void tst_HierarchyView::rootOfLibraryDefinitionShowsBlockName()
{
    BlockDefinition* regler = def(QStringLiteral("StandardBlock_20"));
    HierarchyView view;
    view.show();
    view.setRoot(regler, nullptr);
    HierarchyViewPrivate* tree = treeOf(view);
    QTreeWidgetItem* root = tree->rootItem;
    QVERIFY(root);
    QCOMPARE(root->text(0), QStringLiteral("Regler"));
    QCOMPARE(root->childCount(), 1);
    BlockInstance* gate = regler->code()->instances().first();
    QTreeWidgetItem* child = root->child(0);
    QCOMPARE(tree->instanceOfItem.value(child).data(), gate);
    QCOMPARE(pathOf(child), (ItemPath{0, gate->identifier()}));
}

void tst_HierarchyView::columnsOfAnInstance()
{
    BlockCode* code = model->rootCode();
    BlockInstance* gate = ModelBuilder::place(code, def(QStringLiteral("StandardBlock_1")), {0, 0});
    gate->setName(QStringLiteral("Freigabe"));
    Block* constant = model->block(QStringLiteral("ToolBlock_8000008"));
    constant->setVersionVisible(true);
    BlockInstance* k = ModelBuilder::place(code, constant->blockDefinition(1), {10, 0});

    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    QTreeWidgetItem* root = treeOf(view)->rootItem;
    QTreeWidgetItem* gateRow = childWithId(root, gate->identifier());
    QTreeWidgetItem* constantRow = childWithId(root, k->identifier());
    QVERIFY(gateRow && constantRow);
    QCOMPARE(gateRow->text(0), QStringLiteral("Freigabe"));
    QCOMPARE(gateRow->text(1), QStringLiteral("1"));
    QVERIFY(!gateRow->data(2, Qt::DisplayRole).isValid());
    QCOMPARE(constantRow->text(1), QStringLiteral("8000008"));
    QCOMPARE(constantRow->data(2, Qt::DisplayRole).toUInt(), 1u);
    QVERIFY(!gateRow->isFirstColumnSpanned());
}

void tst_HierarchyView::numberColumnValue_data()
{
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("shown");
    QTest::newRow("standard number") << QStringLiteral("StandardBlock_10") << int(QMetaType::ULongLong) << QStringLiteral("10");
    QTest::newRow("magic number") << QStringLiteral("MagicBlock_300005") << int(QMetaType::ULongLong) << QStringLiteral("300005");
    QTest::newRow("identifier as text") << QStringLiteral("UserBlock_X7") << int(QMetaType::QString) << QStringLiteral("UserBlock_X7");
}

void tst_HierarchyView::numberColumnValue()
{
    QFETCH(QString, identifier);
    QFETCH(int, type);
    QFETCH(QString, shown);
    Block* block = model->block(identifier);
    if (!block)
        block = ModelBuilder::primitive(model->user()->library(), identifier, QStringLiteral("Frei"), {}, {});
    BlockInstance* instance = ModelBuilder::place(model->rootCode(), ModelBuilder::newest(block), {0, 0});
    QVERIFY(instance);

    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    QTreeWidgetItem* row = childWithId(treeOf(view)->rootItem, instance->identifier());
    QVERIFY(row);
    QCOMPARE(row->data(1, Qt::DisplayRole).typeId(), type);
    QCOMPARE(row->data(1, Qt::DisplayRole).toString(), shown);
}

void tst_HierarchyView::numbersShowWithoutDigitGrouping()
{
    const QLocale previous;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    HierarchyView view;
    HierarchyViewPrivate* tree = treeOf(view);
    QTreeWidgetItem item(tree);
    item.setData(1, Qt::DisplayRole, QVariant(qulonglong(8000008)));
    item.setData(2, Qt::DisplayRole, QVariant(qulonglong(1200)));
    const QModelIndex number = tree->model()->index(0, 1);
    const QModelIndex version = tree->model()->index(0, 2);
    auto* numberDelegate = qobject_cast<QStyledItemDelegate*>(tree->itemDelegateForIndex(number));
    auto* versionDelegate = qobject_cast<QStyledItemDelegate*>(tree->itemDelegateForIndex(version));
    QVERIFY(numberDelegate && versionDelegate);
    // What the row shows is the delegate's text in the locale of the user.
    const QString numberText = numberDelegate->displayText(number.data(), QLocale());
    const QString versionText = versionDelegate->displayText(version.data(), QLocale());
    QLocale::setDefault(previous);
    QCOMPARE(numberText, QStringLiteral("8000008"));
    QCOMPARE(versionText, QStringLiteral("1200"));
}

void tst_HierarchyView::numbersSortByValue()
{
    BlockCode* code = model->rootCode();
    for (const char* identifier : {"StandardBlock_10", "StandardBlock_2", "StandardBlock_20", "StandardBlock_1", "StandardBlock_3"})
        ModelBuilder::place(code, def(QString::fromLatin1(identifier)), {0, 0});

    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    tree->sortByColumn(1, Qt::AscendingOrder);
    QTreeWidgetItem* root = tree->rootItem;
    QStringList order;
    for (int i = 0; i < root->childCount(); ++i)
        order.append(root->child(i)->text(1));
    // As texts these would come as 1, 10, 2, 20, 3.
    QCOMPARE(order, (QStringList{"1", "2", "3", "10", "20"}));

    tree->sortByColumn(1, Qt::DescendingOrder);
    order.clear();
    for (int i = 0; i < root->childCount(); ++i)
        order.append(root->child(i)->text(1));
    QCOMPARE(order, (QStringList{"20", "10", "3", "2", "1"}));
}

void tst_HierarchyView::textsSortAsText()
{
    BlockLibrary* library = model->user()->library();
    for (const char* identifier : {"UserBlock_b", "UserBlock_10", "UserBlock_a", "UserBlock_9"}) {
        Block* block = ModelBuilder::primitive(library, QString::fromLatin1(identifier), QStringLiteral("X"), {}, {});
        ModelBuilder::place(model->rootCode(), ModelBuilder::newest(block), {0, 0});
    }
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    tree->sortByColumn(1, Qt::AscendingOrder);
    QStringList order;
    for (int i = 0; i < tree->rootItem->childCount(); ++i)
        order.append(tree->rootItem->child(i)->text(1));
    QCOMPARE(order, (QStringList{"UserBlock_10", "UserBlock_9", "UserBlock_a", "UserBlock_b"}));
}

void tst_HierarchyView::textAndPinBlocksGetSuffix()
{
    BlockLibrary* library = model->user()->library();
    Block* textBlock = ModelBuilder::primitive(library, QStringLiteral("UserBlock_Text"), QStringLiteral("Text"), {}, {});
    ModelBuilder::newest(textBlock)->setBlockType(BlockTypeText);
    Block* pinBlock = ModelBuilder::primitive(library, QStringLiteral("UserBlock_Pin"), QStringLiteral("Pin"), {}, {});
    ModelBuilder::newest(pinBlock)->setBlockType(BlockTypePin);

    BlockCode* code = model->rootCode();
    BlockInstance* note = ModelBuilder::place(code, ModelBuilder::newest(textBlock), {0, 0});
    note->setName(QStringLiteral("Notiz"));
    note->setLines({QStringLiteral("Erste Zeile"), QStringLiteral("Zweite Zeile")});
    BlockInstance* emptyNote = ModelBuilder::place(code, ModelBuilder::newest(textBlock), {0, 5});
    emptyNote->setName(QStringLiteral("Leer"));
    BlockInstance* pin = ModelBuilder::place(code, ModelBuilder::newest(pinBlock), {0, 10});
    pin->setName(QStringLiteral("Eingang"));
    pin->setLines({QStringLiteral("99"), QStringLiteral("1"), QStringLiteral("Sollwert")});
    BlockInstance* gate = ModelBuilder::place(code, def(QStringLiteral("StandardBlock_1")), {0, 15});
    gate->setName(QStringLiteral("Gatter"));

    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    QTreeWidgetItem* root = treeOf(view)->rootItem;
    QCOMPARE(childWithId(root, note->identifier())->text(0), QStringLiteral("Notiz - Erste Zeile"));
    QCOMPARE(childWithId(root, emptyNote->identifier())->text(0), QStringLiteral("Leer - "));
    QCOMPARE(childWithId(root, pin->identifier())->text(0), QStringLiteral("Eingang - 99:Sollwert"));
    QCOMPARE(childWithId(root, gate->identifier())->text(0), QStringLiteral("Gatter"));
}

void tst_HierarchyView::pathTexts_data()
{
    QTest::addColumn<ItemPath>("path");
    QTest::addColumn<QString>("text");
    QTest::newRow("root") << ItemPath{0} << QStringLiteral("0");
    QTest::newRow("child") << ItemPath{0, 5} << QStringLiteral("0.5");
    QTest::newRow("grandchild") << ItemPath{0, 5, 12} << QStringLiteral("0.5.12");
}

void tst_HierarchyView::pathTexts()
{
    QFETCH(ItemPath, path);
    QFETCH(QString, text);
    model->rootCode()->createInstance(makeInner(), 5);
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QTreeWidgetItem* item = tree->rootItem;
    for (int i = 1; i < path.size(); ++i)
        item = childWithId(item, path.at(i));
    QVERIFY(item);
    QCOMPARE(pathOf(item), path);

    QSignalSpy spy(&view, &HierarchyView::showPathInCode);
    tree->showItemInCode(item);
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), text);

    tree->showItemInCode(nullptr);
    QCOMPARE(spy.size(), 1);
}

void tst_HierarchyView::doubleClickEmitsPath()
{
    model->rootCode()->createInstance(makeInner(), 5);
    HierarchyView view;
    view.resize(400, 300);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QTreeWidgetItem* child = childWithId(tree->rootItem, 5);
    QVERIFY(child);
    QSignalSpy spy(&view, &HierarchyView::showPathInCode);
    const QPoint where = tree->visualItemRect(child).center();
    // A widget double click in QTest is the second click only; the first one comes before it.
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, Qt::NoModifier, where);
    QTest::mouseDClick(tree->viewport(), Qt::LeftButton, Qt::NoModifier, where);
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), QStringLiteral("0.5"));
}

void tst_HierarchyView::selectPathSelectsRowAndColumns()
{
    model->rootCode()->createInstance(makeInner(), 5);
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QTreeWidgetItem* inner = childWithId(tree->rootItem, 5);
    QTreeWidgetItem* gate = childWithId(inner, 12);
    QVERIFY(gate);
    QVERIFY(!inner->isExpanded());

    view.selectPath(QStringLiteral("0.5.12"));
    QCOMPARE(tree->currentItem(), gate);
    QCOMPARE(tree->selectedItems(), QList<QTreeWidgetItem*>{gate});
    const QModelIndexList selected = tree->selectionModel()->selectedIndexes();
    QSet<int> columns;
    for (const QModelIndex& index : selected)
        columns.insert(index.column());
    QCOMPARE(columns, (QSet<int>{0, 1, 2}));
    QVERIFY(inner->isExpanded());

    // Single selection: a second path replaces the first.
    view.selectPath(QStringLiteral("0.5"));
    QCOMPARE(tree->currentItem(), inner);
    QCOMPARE(tree->selectedItems(), QList<QTreeWidgetItem*>{inner});

    view.selectPath(QStringLiteral("0"));
    QCOMPARE(tree->currentItem(), tree->rootItem);
}

void tst_HierarchyView::selectPathInANarrowPanelKeepsTheNamesInSight()
{
    model->rootCode()->createInstance(makeInner(), 5);
    HierarchyView view;
    // Narrower than the three columns: the number and version columns lie beyond the right edge.
    view.resize(120, 300);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QVERIFY(tree->header()->length() > tree->viewport()->width());
    tree->horizontalScrollBar()->setValue(0);

    view.selectPath(QStringLiteral("0.5.12"));
    QCOMPARE(tree->currentItem(), childWithId(childWithId(tree->rootItem, 5), 12));
    // The row is chosen in all its columns, but the view stays on the names, not on the version.
    QCOMPARE(tree->currentColumn(), 0);
    QCOMPARE(tree->horizontalScrollBar()->value(), 0);
}

void tst_HierarchyView::selectPathStopsAtMissingChild_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("missing in the middle") << QStringLiteral("0.7.12");
    QTest::newRow("missing at the end") << QStringLiteral("0.5.99");
    QTest::newRow("not a number") << QStringLiteral("0.x.12");
    QTest::newRow("empty part") << QStringLiteral("0..12");
}

void tst_HierarchyView::selectPathStopsAtMissingChild()
{
    QFETCH(QString, path);
    // The root has a child 12 of its own: a walk that did not stop at the missing 7 would end there.
    model->rootCode()->createInstance(makeInner(), 5);
    model->rootCode()->createInstance(def(QStringLiteral("StandardBlock_2")), 12);
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QVERIFY(childWithId(tree->rootItem, 12));
    QVERIFY(childWithId(childWithId(tree->rootItem, 5), 12));
    tree->setCurrentItem(nullptr);
    tree->clearSelection();

    view.selectPath(path);
    QVERIFY(!tree->currentItem());
    QVERIFY(tree->selectedItems().isEmpty());
}

void tst_HierarchyView::selectPathWithoutRootDoesNothing()
{
    HierarchyView view;
    view.selectPath(QStringLiteral("0.5"));
    view.setRoot(model->area()->rootDefinition(), rootNode());
    view.selectPath(QStringLiteral("0"));
    QVERIFY(!treeOf(view)->rootItem);
    QVERIFY(!treeOf(view)->currentItem());
}

void tst_HierarchyView::stepInNotAllowedHasNoChildren()
{
    BlockDefinition* inner = makeInner();
    inner->setStepInEnabled(false);
    model->rootCode()->createInstance(inner, 5);
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    QTreeWidgetItem* row = childWithId(treeOf(view)->rootItem, 5);
    QVERIFY(row);
    QVERIFY(inner->hasCode());
    QCOMPARE(inner->code()->instances().size(), 1);
    QCOMPARE(row->childCount(), 0);

    inner->setStepInEnabled(true);
    treeOf(view)->rootInstanceChanged();
    QCOMPARE(row->childCount(), 1);
}

void tst_HierarchyView::accessLevelChangeUpdates()
{
    BlockDefinition* inner = makeInner();
    inner->setAccessLevelRead(4);
    model->rootCode()->createInstance(inner, 5);
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    QTreeWidgetItem* row = childWithId(treeOf(view)->rootItem, 5);
    QCOMPARE(row->childCount(), 0);

    System::instance().setUserAccessLevelCode(4);
    QCOMPARE(row->childCount(), 1);
    System::instance().setUserAccessLevelCode(3);
    QCOMPARE(row->childCount(), 0);
    QCOMPARE(childWithId(treeOf(view)->rootItem, 5), row);
}

void tst_HierarchyView::newInstanceKeepsExpansion()
{
    BlockDefinition* inner = makeInner();
    model->rootCode()->createInstance(inner, 5);
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QTreeWidgetItem* innerRow = childWithId(tree->rootItem, 5);
    QTreeWidgetItem* gateRow = childWithId(innerRow, 12);
    innerRow->setExpanded(true);

    BlockInstance* added = ModelBuilder::place(inner->code(), def(QStringLiteral("StandardBlock_3")), {5, 5});
    BlockInstance* top = ModelBuilder::place(model->rootCode(), def(QStringLiteral("StandardBlock_2")), {5, 5});
    tree->rootInstanceChanged();

    QCOMPARE(childWithId(tree->rootItem, 5), innerRow);
    QCOMPARE(childWithId(innerRow, 12), gateRow);
    QVERIFY(innerRow->isExpanded());
    QVERIFY(tree->rootItem->isExpanded());
    QTreeWidgetItem* addedRow = childWithId(innerRow, added->identifier());
    QVERIFY(addedRow);
    QCOMPARE(pathOf(addedRow), (ItemPath{0, 5, added->identifier()}));
    QCOMPARE(tree->instanceOfItem.value(addedRow).data(), added);
    QVERIFY(childWithId(tree->rootItem, top->identifier()));
    QCOMPARE(tree->instanceOfItem.size(), countItems(tree->rootItem) - 1);
}

void tst_HierarchyView::editedNestedCodeUpdatesByItself()
{
    // An area's root block belongs to no library, so only the codes themselves can tell the tree
    // of an edit; the rows must follow without anyone calling update().
    BlockDefinition* inner = makeInner();
    model->rootCode()->createInstance(inner, 5);
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QTreeWidgetItem* innerRow = childWithId(tree->rootItem, 5);
    QVERIFY(innerRow);

    BlockInstance* added = ModelBuilder::place(inner->code(), def(QStringLiteral("StandardBlock_3")), {5, 5});
    const uint addedId = added->identifier();
    QTRY_VERIFY(childWithId(innerRow, addedId));

    inner->code()->deleteInstance(addedId);
    QTRY_VERIFY(!childWithId(innerRow, addedId));
    QCOMPARE(childWithId(tree->rootItem, 5), innerRow);
}

void tst_HierarchyView::removedInstanceTakesSubtree()
{
    BlockDefinition* inner = makeInner();
    model->rootCode()->createInstance(inner, 5);
    BlockInstance* other = ModelBuilder::place(model->rootCode(), def(QStringLiteral("StandardBlock_2")), {5, 5});
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QTreeWidgetItem* otherRow = childWithId(tree->rootItem, other->identifier());
    QCOMPARE(countItems(tree->rootItem), 4);

    model->rootCode()->deleteInstance(5);
    tree->rootInstanceChanged();
    QVERIFY(!childWithId(tree->rootItem, 5));
    QCOMPARE(childWithId(tree->rootItem, other->identifier()), otherRow);
    QCOMPARE(countItems(tree->rootItem), 2);
    QCOMPARE(tree->instanceOfItem.size(), 1);
}

void tst_HierarchyView::replacedInstanceUnderSameIdentifier()
{
    model->rootCode()->createInstance(def(QStringLiteral("StandardBlock_1")), 5);
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QTreeWidgetItem* row = childWithId(tree->rootItem, 5);
    QCOMPARE(row->text(1), QStringLiteral("1"));

    model->rootCode()->deleteInstance(5);
    BlockInstance* replacement = model->rootCode()->createInstance(makeInner(), 5);
    tree->rootInstanceChanged();
    QTreeWidgetItem* now = childWithId(tree->rootItem, 5);
    QVERIFY(now);
    QCOMPARE(tree->instanceOfItem.value(now).data(), replacement);
    QCOMPARE(now->text(1), QStringLiteral("UserBlock_Inner"));
    QVERIFY(childWithId(now, 12));
}

void tst_HierarchyView::directSelfReference()
{
    Block* loop = ModelBuilder::composite(model->user()->library(), QStringLiteral("UserBlock_Loop"),
                                          QStringLiteral("Schleife"), {}, {});
    BlockDefinition* definition = ModelBuilder::newest(loop);
    QVERIFY(definition->code()->createInstance(definition, 3));
    ModelBuilder::place(definition->code(), def(QStringLiteral("StandardBlock_1")), {5, 5});
    model->rootCode()->createInstance(definition, 5);

    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QTreeWidgetItem* loopRow = childWithId(tree->rootItem, 5);
    QVERIFY(loopRow);
    QVERIFY(!loopRow->isFirstColumnSpanned());
    QCOMPARE(loopRow->childCount(), 2);
    QTreeWidgetItem* recursion = childWithId(loopRow, 3);
    QVERIFY(recursion);
    QCOMPARE(recursion->text(0), QStringLiteral("rekursive Instanz von Schleife"));
    QVERIFY(recursion->isFirstColumnSpanned());
    QCOMPARE(recursion->childCount(), 0);
    QCOMPARE(pathOf(recursion), (ItemPath{0, 5, 3}));
    QCOMPARE(iconImage(recursion->icon(0), IconSide), iconImage(tree->style()->standardIcon(QStyle::SP_MessageBoxCritical), IconSide));

    // A second pass keeps the line as it is.
    tree->rootInstanceChanged();
    QCOMPARE(childWithId(loopRow, 3), recursion);
    QCOMPARE(recursion->text(0), QStringLiteral("rekursive Instanz von Schleife"));
    QVERIFY(recursion->isFirstColumnSpanned());
    QCOMPARE(recursion->childCount(), 0);
}

void tst_HierarchyView::deepSelfReference()
{
    BlockLibrary* library = model->user()->library();
    BlockDefinition* a = ModelBuilder::newest(ModelBuilder::composite(library, QStringLiteral("UserBlock_A"), QStringLiteral("Aussen"), {}, {}));
    BlockDefinition* b = ModelBuilder::newest(ModelBuilder::composite(library, QStringLiteral("UserBlock_B"), QStringLiteral("Mitte"), {}, {}));
    BlockDefinition* c = ModelBuilder::newest(ModelBuilder::composite(library, QStringLiteral("UserBlock_C"), QStringLiteral("Tief"), {}, {}));
    b->code()->createInstance(c, 7);
    c->code()->createInstance(a, 8);
    a->code()->createInstance(b, 6);
    model->rootCode()->createInstance(a, 5);

    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QTreeWidgetItem* row = childWithId(childWithId(childWithId(tree->rootItem, 5), 6), 7);
    QVERIFY(row);
    QCOMPARE(row->text(0), QString());
    QTreeWidgetItem* recursion = childWithId(row, 8);
    QVERIFY(recursion);
    QCOMPARE(recursion->text(0), QStringLiteral("rekursive Instanz von Aussen"));
    QVERIFY(recursion->isFirstColumnSpanned());
    QCOMPARE(recursion->childCount(), 0);
    QCOMPARE(countItems(tree->rootItem), 5);

    // The same block at depth below a library definition as root.
    HierarchyView libraryView;
    libraryView.show();
    libraryView.setRoot(b, nullptr);
    QTreeWidgetItem* libraryRoot = treeOf(libraryView)->rootItem;
    QTreeWidgetItem* deep = childWithId(childWithId(childWithId(libraryRoot, 7), 8), 6);
    QVERIFY(deep);
    QCOMPARE(deep->text(0), QStringLiteral("rekursive Instanz von Mitte"));
    QVERIFY(deep->isFirstColumnSpanned());
}

void tst_HierarchyView::recursionLineGoesWhenRecursionEnds()
{
    BlockLibrary* library = model->user()->library();
    BlockDefinition* a = ModelBuilder::newest(ModelBuilder::composite(library, QStringLiteral("UserBlock_A"), QStringLiteral("Aussen"), {}, {}));
    BlockDefinition* b = ModelBuilder::newest(ModelBuilder::composite(library, QStringLiteral("UserBlock_B"), QStringLiteral("Mitte"), {}, {}));
    b->code()->createInstance(a, 7);
    a->code()->createInstance(b, 6);
    model->rootCode()->createInstance(a, 5);

    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QTreeWidgetItem* line = childWithId(childWithId(childWithId(tree->rootItem, 5), 6), 7);
    QVERIFY(line && line->isFirstColumnSpanned());

    b->code()->deleteInstance(7);
    BlockInstance* plain = b->code()->createInstance(def(QStringLiteral("StandardBlock_1")), 7);
    plain->setName(QStringLiteral("Schlicht"));
    tree->rootInstanceChanged();
    line = childWithId(childWithId(childWithId(tree->rootItem, 5), 6), 7);
    QVERIFY(line);
    QCOMPARE(line->text(0), QStringLiteral("Schlicht"));
    QVERIFY(!line->isFirstColumnSpanned());
    QVERIFY(iconImage(line->icon(0), IconSide) != iconImage(tree->style()->standardIcon(QStyle::SP_MessageBoxCritical), IconSide));
}

void tst_HierarchyView::rowTurningRecursiveKeepsTheRowsOfItsCode()
{
    BlockLibrary* library = model->user()->library();
    BlockDefinition* loop = ModelBuilder::newest(ModelBuilder::composite(library, QStringLiteral("UserBlock_Loop"), QStringLiteral("Schleife"), {}, {}));
    BlockDefinition* carrier = ModelBuilder::newest(ModelBuilder::composite(library, QStringLiteral("UserBlock_Carrier"), QStringLiteral("Traeger"), {}, {}));
    QVERIFY(loop->code()->createInstance(loop, 3));
    QVERIFY(loop->code()->createInstance(def(QStringLiteral("StandardBlock_1")), 4));
    QVERIFY(carrier->code()->createInstance(loop, 3));
    QVERIFY(model->rootCode()->createInstance(carrier, 5));

    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QTreeWidgetItem* row = childWithId(childWithId(tree->rootItem, 5), 3);
    QVERIFY(row);
    QVERIFY(!row->isFirstColumnSpanned());
    QCOMPARE(row->childCount(), 2);
    QTreeWidgetItem* line = childWithId(row, 3);
    QTreeWidgetItem* gate = childWithId(row, 4);
    QVERIFY(line && gate);

    // The carrier becomes a loop itself: the row below it now repeats its parent, and turns into the
    // recursion line. Its rows stand for instances that are still in its code, so they stay.
    QVERIFY(model->rootCode()->replaceInstanceDefinition(5, loop, model->area()));
    tree->rootInstanceChanged();
    QCOMPARE(childWithId(childWithId(tree->rootItem, 5), 3), row);
    QCOMPARE(row->text(0), QStringLiteral("rekursive Instanz von Schleife"));
    QVERIFY(row->isFirstColumnSpanned());
    QCOMPARE(row->childCount(), 2);
    QCOMPARE(childWithId(row, 3), line);
    QCOMPARE(childWithId(row, 4), gate);

    // A row whose instance leaves the code goes, recursion line or not.
    loop->code()->deleteInstance(4);
    tree->rootInstanceChanged();
    QCOMPARE(row->childCount(), 1);
    QCOMPARE(childWithId(row, 3), line);
    QVERIFY(!childWithId(row, 4));
}

void tst_HierarchyView::hiddenTabBuildsNothing()
{
    ModelBuilder::place(model->rootCode(), def(QStringLiteral("StandardBlock_20")), {0, 0});
    QTabWidget tabs;
    tabs.addTab(new QWidget, QStringLiteral("Bibliothek"));
    auto* view = new HierarchyView;
    tabs.addTab(view, QStringLiteral("Hierarchie"));
    tabs.show();
    HierarchyViewPrivate* tree = treeOf(*view);

    view->setRoot(model->area()->rootDefinition(), rootNode());
    QCOMPARE(tree->topLevelItemCount(), 0);
    QVERIFY(!tree->rootItem);
    tree->rootInstanceChanged();
    System::instance().setUserAccessLevelCode(4);
    LanguageManager::instance().setActiveLanguage(LanguageManager::English);
    QCOMPARE(tree->topLevelItemCount(), 0);
    QVERIFY(tree->instanceOfItem.isEmpty());

    tabs.setCurrentIndex(1);
    QVERIFY(tree->rootItem);
    QCOMPARE(tree->topLevelItemCount(), 1);
    QCOMPARE(countItems(tree->rootItem), 3);

    // Hidden again, a change waits for the next showing.
    tabs.setCurrentIndex(0);
    BlockInstance* added = ModelBuilder::place(model->rootCode(), def(QStringLiteral("StandardBlock_1")), {5, 0});
    tree->rootInstanceChanged();
    QVERIFY(!childWithId(tree->rootItem, added->identifier()));
    tabs.setCurrentIndex(1);
    QVERIFY(childWithId(tree->rootItem, added->identifier()));
}

void tst_HierarchyView::libraryChangeUpdates()
{
    BlockDefinition* inner = makeInner();
    HierarchyView view;
    view.show();
    view.setRoot(inner, nullptr);
    HierarchyViewPrivate* tree = treeOf(view);
    QCOMPARE(tree->rootItem->text(0), QStringLiteral("Innen"));
    QCOMPARE(tree->rootItem->childCount(), 1);

    BlockInstance* added = ModelBuilder::place(inner->code(), def(QStringLiteral("StandardBlock_2")), {5, 0});
    QCOMPARE(tree->rootItem->childCount(), 1);
    // Renaming the block changes the contents of its library, which is the tree's cue.
    inner->block()->setName(Text(LanguageManager::German, QStringLiteral("Innen neu")));
    QCOMPARE(tree->rootItem->text(0), QStringLiteral("Innen neu"));
    QVERIFY(childWithId(tree->rootItem, added->identifier()));
}

void tst_HierarchyView::languageChangeUpdates()
{
    BlockDefinition* inner = makeInner();
    Text name(LanguageManager::German, QStringLiteral("Innen"));
    name.setText(LanguageManager::English, QStringLiteral("Inner"));
    inner->block()->setName(name);
    HierarchyView view;
    view.show();
    view.setRoot(inner, nullptr);
    HierarchyViewPrivate* tree = treeOf(view);
    QCOMPARE(tree->rootItem->text(0), QStringLiteral("Innen"));
    LanguageManager::instance().setActiveLanguage(LanguageManager::English);
    QCOMPARE(tree->rootItem->text(0), QStringLiteral("Inner"));
}

void tst_HierarchyView::iconFromDefinition()
{
    BlockDefinition* gate = def(QStringLiteral("StandardBlock_1"));
    gate->setSmallListImage(pngBytes(QSize(IconSide, IconSide), Qt::red));
    BlockInstance* instance = ModelBuilder::place(model->rootCode(), gate, {0, 0});
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    QTreeWidgetItem* row = childWithId(treeOf(view)->rootItem, instance->identifier());
    const QImage image = iconImage(row->icon(0), IconSide);
    QVERIFY(!image.isNull());
    QCOMPARE(image.pixelColor(12, 12), QColor(Qt::red));
}

void tst_HierarchyView::undecodableIconGivesDefault()
{
    const QImage fallback(QStringLiteral(":/Resources/DefaultBlockIconSmall.png"));
    QVERIFY2(!fallback.isNull(), "the default block icon is compiled into the library");
    BlockDefinition* gate = def(QStringLiteral("StandardBlock_1"));
    gate->setSmallListImage(QByteArray("no image at all"));
    BlockInstance* broken = ModelBuilder::place(model->rootCode(), gate, {0, 0});
    BlockInstance* plain = ModelBuilder::place(model->rootCode(), def(QStringLiteral("StandardBlock_2")), {0, 5});
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    const QImage expected = iconImage(QIcon(QStringLiteral(":/Resources/DefaultBlockIconSmall.png")), IconSide);
    QCOMPARE(iconImage(childWithId(tree->rootItem, broken->identifier())->icon(0), IconSide), expected);
    QCOMPARE(iconImage(childWithId(tree->rootItem, plain->identifier())->icon(0), IconSide), expected);
}

void tst_HierarchyView::iconMadeOnce()
{
    BlockDefinition* gate = def(QStringLiteral("StandardBlock_1"));
    gate->setSmallListImage(pngBytes(QSize(IconSide, IconSide), Qt::red));
    BlockInstance* instance = ModelBuilder::place(model->rootCode(), gate, {0, 0});
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);
    QTreeWidgetItem* row = childWithId(tree->rootItem, instance->identifier());

    gate->setSmallListImage(pngBytes(QSize(IconSide, IconSide), Qt::blue));
    tree->rootInstanceChanged();
    QCOMPARE(childWithId(tree->rootItem, instance->identifier()), row);
    QCOMPARE(iconImage(row->icon(0), IconSide).pixelColor(12, 12), QColor(Qt::red));

    // A new row of the same definition decodes the bytes of today.
    BlockInstance* second = ModelBuilder::place(model->rootCode(), gate, {0, 5});
    tree->rootInstanceChanged();
    QCOMPARE(iconImage(childWithId(tree->rootItem, second->identifier())->icon(0), IconSide).pixelColor(12, 12), QColor(Qt::blue));
}

void tst_HierarchyView::helpKeyWithInstance_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("F1") << int(Qt::Key_F1);
    QTest::newRow("Help") << int(Qt::Key_Help);
}

void tst_HierarchyView::helpKeyWithInstance()
{
    QFETCH(int, key);
    BlockInstance* gate = ModelBuilder::place(model->rootCode(), def(QStringLiteral("StandardBlock_1")), {0, 0});
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    view.selectPath(QStringLiteral("0.%1").arg(gate->identifier()));
    QVERIFY(treeOf(view)->currentItem());
    QVERIFY(!BlockRepository::instance().helpWindow());

    QVERIFY(sendHelpKey(view, key));
    QWidget* help = BlockRepository::instance().helpWindow();
    QVERIFY(help);
    QVERIFY(help->isVisible());
    QCOMPARE(help->windowTitle(), QStringLiteral("Hilfe - UND"));
    closeHelpWindow();

    // The key as the user types it: the tree lets it pass and the view's filter answers.
    treeOf(view)->setFocus();
    QTest::keyClick(treeOf(view), Qt::Key(key));
    QVERIFY(BlockRepository::instance().helpWindow());
    QCOMPARE(BlockRepository::instance().helpWindow()->windowTitle(), QStringLiteral("Hilfe - UND"));
}

void tst_HierarchyView::helpKeyWithoutInstance()
{
    ModelBuilder::place(model->rootCode(), def(QStringLiteral("StandardBlock_1")), {0, 0});
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    HierarchyViewPrivate* tree = treeOf(view);

    QSignalSpy asked(&BlockRepository::instance(), &BlockRepository::helpRequested);
    // No current row: the repository is asked with no definition and shows nothing.
    QVERIFY(!tree->currentItem());
    QVERIFY(!sendHelpKey(view, Qt::Key_F1));
    QVERIFY(!BlockRepository::instance().helpWindow());
    QCOMPARE(asked.count(), 1);
    QCOMPARE(asked.last().at(0).toString(), QString());

    // The root row stands for no instance.
    view.selectPath(QStringLiteral("0"));
    QCOMPARE(tree->currentItem(), tree->rootItem);
    QVERIFY(!sendHelpKey(view, Qt::Key_F1));
    QVERIFY(!BlockRepository::instance().helpWindow());
    QCOMPARE(asked.count(), 2);
    QCOMPARE(asked.last().at(0).toString(), QString());
}

void tst_HierarchyView::otherKeysPass()
{
    BlockInstance* gate = ModelBuilder::place(model->rootCode(), def(QStringLiteral("StandardBlock_1")), {0, 0});
    HierarchyView view;
    view.show();
    view.setRoot(model->area()->rootDefinition(), rootNode());
    view.selectPath(QStringLiteral("0.%1").arg(gate->identifier()));
    QVERIFY(!sendHelpKey(view, Qt::Key_F2));
    QKeyEvent release(QEvent::KeyRelease, Qt::Key_F1, Qt::NoModifier);
    QVERIFY(!static_cast<QObject*>(treeOf(view))->eventFilter(&view, &release));
    QVERIFY(!BlockRepository::instance().helpWindow());
}

void tst_HierarchyView::deletedModelObjects()
{
    BlockDefinition* inner = makeInner();
    BlockInstance* gate = inner->code()->instances().first();
    HierarchyView view;
    view.show();
    view.setRoot(inner, nullptr);
    HierarchyViewPrivate* tree = treeOf(view);
    view.selectPath(QStringLiteral("0.12"));
    QCOMPARE(tree->instanceOfItem.value(tree->currentItem()).data(), gate);

    // The instance goes without the tree being told: help and a later update must not touch it.
    inner->code()->deleteInstance(12);
    QVERIFY(!sendHelpKey(view, Qt::Key_F1));

    delete inner->block()->ownerLibrary()->removeBlock(QStringLiteral("UserBlock_Inner"));
    QVERIFY(!tree->rootDefinition);
    tree->rootInstanceChanged();
    QCOMPARE(tree->rootItem->text(0), QString());
    QCOMPARE(tree->rootItem->childCount(), 0);
    QVERIFY(tree->instanceOfItem.isEmpty());
}

ZK_TEST_REGISTER(tst_HierarchyView)
#include "tst_HierarchyView.moc"
