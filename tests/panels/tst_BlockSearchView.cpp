#include "BookmarkFiles.h"
#include "DragCapture.h"
#include "MenuLookup.h"
#include "ModalAnswer.h"
#include "Pictures.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "BlockSearchResultWidget.h"
#include "BlockSearchResultWidgetPrivate.h"
#include "BlockSearchView.h"

#include "Block.h"
#include "BlockBookmark.h"
#include "BlockBookmarkFolder.h"
#include "BlockBookmarkRepository.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPin.h"
#include "BlockPreview.h"
#include "BlockRepository.h"
#include "LanguageManager.h"
#include "LineEdit.h"
#include "ModelBuilder.h"
#include "Project.h"
#include "System.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDrag>
#include <QGroupBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLayout>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QSet>
#include <QSignalSpy>
#include <QTest>
#include <QTreeWidgetItem>
#include <QVBoxLayout>

#include <memory>

using ModelBuilder::PinSpec;

namespace {

const QString kStar = QStringLiteral(":/Resources/star.png");
const QString kStarEmpty = QStringLiteral(":/Resources/starEmpty.png");

Text german(const QString& text)
{
    return Text(LanguageManager::German, text);
}

BlockBookmarkRepository& favourites()
{
    return BlockBookmarkRepository::instance();
}

// The favourites' tree as lines (see bookmarkTree) and the entries of their file.
QStringList favouriteTree()
{
    return bookmarkTree(favourites().rootFolder());
}

QStringList favouriteFile()
{
    return bookmarkFileOrder(readBookmarkFile());
}

// A project with blocks of every kind that the search tells apart, and a root code that holds an
// instance of each of them.
struct SearchModel
{
    std::unique_ptr<Project> project;
    BlockInstanceArea* area = nullptr;
    BlockLibraryContainer* standard = nullptr;
    BlockLibraryContainer* hidden = nullptr;
    Block* andBlock = nullptr;
    Block* orBlock = nullptr;
    Block* regler = nullptr;
    Block* tool = nullptr;
    Block* comment = nullptr;
    Block* connector = nullptr;
    Block* magic = nullptr;
    Block* own = nullptr;
    Block* local = nullptr;
    BlockInstance* gate1 = nullptr;
    BlockInstance* gate2 = nullptr;
    BlockInstance* controller = nullptr;
    BlockInstance* inner = nullptr;
    BlockInstance* localInstance = nullptr;
    BlockInstance* text = nullptr;
    BlockInstance* pin = nullptr;
    BlockInstance* parameter = nullptr;
    BlockInstance* ownInstance = nullptr;

    SearchModel()
    {
        System::instance().setUserAccessLevelCode(3);
        LanguageManager::instance().setActiveLanguage(LanguageManager::German);
        project.reset(Project::createEmpty());
        area = project->areas().first();
        standard = new BlockLibraryContainer(QStringLiteral("1"), 0, german(QStringLiteral("Standard")));
        hidden = new BlockLibraryContainer(QStringLiteral("100000"), 0, german(QStringLiteral("Intern")));
        project->addContainer(standard);
        project->addContainer(hidden);
        BlockLibrary* lib = standard->library();
        andBlock = ModelBuilder::primitive(lib, QStringLiteral("StandardBlock_1"), QStringLiteral("UND"),
                                           {{QStringLiteral("E1")}, {QStringLiteral("E2")}}, {{QStringLiteral("A")}}, QStringLiteral("and"));
        orBlock = ModelBuilder::primitive(lib, QStringLiteral("StandardBlock_2"), QStringLiteral("ODER"),
                                          {{QStringLiteral("E1")}, {QStringLiteral("E2")}}, {{QStringLiteral("A")}}, QStringLiteral("or"));
        regler = ModelBuilder::composite(lib, QStringLiteral("StandardBlock_20"), QStringLiteral("Regler"), {{QStringLiteral("E")}},
                                         {{QStringLiteral("Y")}});
        tool = ModelBuilder::primitive(lib, QStringLiteral("ToolBlock_777"), QStringLiteral("Werkzeug"), {}, {{QStringLiteral("K")}},
                                       QStringLiteral("constant"));
        comment = ModelBuilder::primitive(lib, QStringLiteral("SystemBlock_5"), QStringLiteral("Kommentar"), {}, {});
        ModelBuilder::newest(comment)->setBlockType(1);
        connector = ModelBuilder::primitive(lib, QStringLiteral("SystemBlock_6"), QStringLiteral("Anschluss"), {}, {});
        ModelBuilder::newest(connector)->setBlockType(2);
        magic = ModelBuilder::primitive(lib, QStringLiteral("MagicBlock_300005"), QStringLiteral("Parameter lesen"),
                                        {{QStringLiteral("FREI")}}, {{QStringLiteral("W")}}, QStringLiteral("parameterRead"));
        ModelBuilder::newest(magic)->setBlockType(3);
        own = ModelBuilder::primitive(lib, QStringLiteral("Eigen_1"), QStringLiteral("Eigenbau"), {{QStringLiteral("E")}},
                                      {{QStringLiteral("A")}});
        ModelBuilder::primitive(hidden->library(), QStringLiteral("StandardBlock_99"), QStringLiteral("Versteckt"), {}, {});

        BlockDefinition* reglerDefinition = ModelBuilder::newest(regler);
        inner = ModelBuilder::place(reglerDefinition->code(), def(andBlock), {2, 2});
        inner->setName(QStringLiteral("innen"));
        local = ModelBuilder::primitive(reglerDefinition->ensureLocalBlockLibrary(), QStringLiteral("Lokal_1"),
                                        QStringLiteral("Lokal"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
        localInstance = ModelBuilder::place(reglerDefinition->code(), def(local), {10, 2});
        localInstance->setName(QStringLiteral("lokal"));

        BlockCode* root = area->rootDefinition()->code();
        gate1 = place(root, andBlock, QStringLiteral("g1"), 0);
        gate2 = place(root, andBlock, QStringLiteral("g2"), 1);
        controller = place(root, regler, QStringLiteral("r"), 2);
        text = place(root, comment, QStringLiteral("t"), 3);
        text->setLines({QStringLiteral("Hallo Welt"), QStringLiteral("zweite")});
        pin = place(root, connector, QStringLiteral("p"), 4);
        pin->setLines({QStringLiteral("7"), QStringLiteral("IN"), QStringLiteral("Sollwert")});
        parameter = place(root, magic, QStringLiteral("m"), 5);
        parameter->setLines({QStringLiteral("P1"), QStringLiteral("Drehzahl")});
        ownInstance = place(root, own, QStringLiteral("e"), 6);
        project->activate();
    }

    static BlockDefinition* def(Block* block) { return ModelBuilder::newest(block); }

    static BlockInstance* place(BlockCode* code, Block* block, const QString& name, int slot)
    {
        BlockInstance* instance = ModelBuilder::place(code, def(block), QPointF(slot * 10, 0));
        instance->setName(name);
        return instance;
    }

    BlockInstanceHierarchyNode* nodeOf(const BlockInstance* instance) const
    {
        QList<BlockInstanceHierarchyNode*> pending{area->hierarchy()->rootNode()};
        while (!pending.isEmpty()) {
            BlockInstanceHierarchyNode* node = pending.takeFirst();
            if (node->blockInstance() == instance)
                return node;
            for (int id : node->instanceNodes())
                pending.append(node->instanceNode(unsigned(id)));
        }
        return nullptr;
    }
};

template <typename T>
T* child(QObject* parent, const char* name)
{
    return parent->findChild<T*>(QLatin1String(name));
}

BlockSearchResultWidgetPrivate* treeOf(BlockSearchView& view)
{
    return view.findChild<BlockSearchResultWidgetPrivate*>();
}

QTreeWidgetItem* sectionRow(QTreeWidget* tree, const QString& text)
{
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        if (tree->topLevelItem(i)->text(0) == text)
            return tree->topLevelItem(i);
    }
    return nullptr;
}

// The texts in column 0 of a section's rows, sorted, so that a test states the set of hits.
QStringList hits(QTreeWidget* tree, const QString& section)
{
    QStringList texts;
    if (QTreeWidgetItem* row = sectionRow(tree, section)) {
        for (int i = 0; i < row->childCount(); ++i)
            texts.append(row->child(i)->text(0));
    }
    texts.sort();
    return texts;
}

QStringList libraryHits(QTreeWidget* tree)
{
    return hits(tree, QStringLiteral("Bibliothek"));
}

QStringList hierarchyHits(QTreeWidget* tree)
{
    return hits(tree, QStringLiteral("Hierarchie"));
}

QTreeWidgetItem* hitRow(QTreeWidget* tree, const QString& section, const QString& text)
{
    if (QTreeWidgetItem* row = sectionRow(tree, section)) {
        for (int i = 0; i < row->childCount(); ++i) {
            if (row->child(i)->text(0) == text)
                return row->child(i);
        }
    }
    return nullptr;
}

struct Options
{
    bool caseSensitive = false;
    bool pins = true;
    bool shortName = true;
    bool names = true;
    bool number = true;
    bool inLibrary = true;
    bool inHierarchy = true;
};

void search(BlockSearchView& view, const QString& text, const Options& options = Options())
{
    child<QCheckBox>(&view, "caseSensitiveCheckBox")->setChecked(options.caseSensitive);
    child<QCheckBox>(&view, "usePins")->setChecked(options.pins);
    child<QCheckBox>(&view, "useShortName")->setChecked(options.shortName);
    child<QCheckBox>(&view, "useNames")->setChecked(options.names);
    child<QCheckBox>(&view, "useNumber")->setChecked(options.number);
    child<QCheckBox>(&view, "inLibraryCheckBox")->setChecked(options.inLibrary);
    child<QCheckBox>(&view, "inHierarchyCheckBox")->setChecked(options.inHierarchy);
    child<LineEdit>(&view, "searchTextEdit")->setText(text);
    child<QPushButton>(&view, "startButton")->click();
}

Options onlyNames()
{
    Options options;
    options.pins = false;
    options.shortName = false;
    options.number = false;
    return options;
}

QString starOf(const QTreeWidgetItem* row)
{
    const QIcon icon = row->icon(3);
    if (icon.isNull())
        return QString();
    const QImage shown = icon.pixmap(16, 16).toImage();
    if (shown == QIcon(kStar).pixmap(16, 16).toImage())
        return kStar;
    if (shown == QIcon(kStarEmpty).pixmap(16, 16).toImage())
        return kStarEmpty;
    return QStringLiteral("other");
}

} // namespace

class tst_BlockSearchView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void formObjects();
    void resultTreeSetup();
    void searchFindsInBothSections();
    void startsOnCommittedText();
    void hierarchyWithoutAreaSearchesLibrariesOnly();
    void excludedContainerIsSkipped();
    void digitsMatchThroughAnyOfTheFourNumbers_data();
    void digitsMatchThroughAnyOfTheFourNumbers();
    void matchOfADefinition_data();
    void matchOfADefinition();
    void onlyTheFirstPinIsCompared();
    void caseSensitivity_data();
    void caseSensitivity();
    void optionsApplyToTheDefinitionNotTheInstance();
    void invisibleDefinitionIsAHierarchyHitOnly();
    void noDescentIntoBlocksWithoutStepIn();
    void eachHitIsReportedOnce();
    void twoInstancesAreTwoHits();
    void onlyTheSectionsAreExpanded();
    void rowsFollowTheHeaderSortIndicator();
    void hierarchyRowTexts();
    void libraryRowTexts();
    void emptyTextClearsWithoutMessage();
    void noHitsLeaveTheTreeEmpty();
    void doubleClickJumps();
    void goneNodeShowsMessage_data();
    void goneNodeShowsMessage();
    void goneAreaMakesEveryNodeInvalid();
    void goneDefinitionIsNeverTouched();
    void contextMenuEntries();
    void contextMenuJumps();
    void noContextMenuWithoutCurrentRow();
    void starsShowFavourites();
    void starClickTogglesFavourite();
    void starsFollowOutsideChanges();
    void starClickOnGoneNodeDoesNothing();
    void addBlockToBookmarkAddsAtRoot();
    void helpKey_data();
    void helpKey();
    void dragOfALibraryHit();
    void noDragOfAHierarchyHit();

private:
    std::unique_ptr<SearchModel> m;
};

void tst_BlockSearchView::init()
{
    qRegisterMetaType<BlockDefinition*>();
    closeHelpWindow();
    BlockRepository::instance().clear();
    resetBookmarks();
    m = std::make_unique<SearchModel>();
}

void tst_BlockSearchView::cleanup()
{
    resetBookmarks();
    m.reset();
    BlockRepository::instance().clear();
    closeHelpWindow();
    System::instance().setUserAccessLevelCode(3);
}

void tst_BlockSearchView::formObjects()
{
    BlockSearchView view;
    QCOMPARE(view.objectName(), QStringLiteral("BlockSearchView"));
    QCOMPARE(view.size(), QSize(400, 541));
    QVERIFY(view.windowTitle().isEmpty());
    QCOMPARE(view.property("HelpId").toString(), QStringLiteral("BlockSearchView"));

    auto* top = qobject_cast<QVBoxLayout*>(view.layout());
    QVERIFY(top);
    QCOMPARE(top->objectName(), QStringLiteral("verticalLayout_4"));
    QCOMPARE(top->spacing(), 2);
    QCOMPARE(top->contentsMargins(), QMargins(2, 2, 2, 2));
    QCOMPARE(top->stretch(2), 1);
    QCOMPARE(top->stretch(0), 0);

    const struct
    {
        const char* name;
        const char* title;
    } boxes[] = {{"searchForGroupBox", "Suchen nach"}, {"searchOptionsGroupBox", "Suchoptionen"}, {"resultGroupBox", "Ergebnis"}};
    for (const auto& box : boxes) {
        auto* group = child<QGroupBox>(&view, box.name);
        QVERIFY2(group, box.name);
        QCOMPARE(group->title(), QString::fromUtf8(box.title));
        QVERIFY(group->isFlat());
    }
    auto* options = child<QGroupBox>(&view, "searchOptionsGroupBox");
    QVERIFY(!options->isCheckable());
    QVERIFY(!options->isChecked());
    QCOMPARE(child<QGroupBox>(&view, "searchForGroupBox")->layout()->objectName(), QStringLiteral("verticalLayout_5"));
    QCOMPARE(child<QGroupBox>(&view, "searchForGroupBox")->layout()->spacing(), 4);
    QCOMPARE(options->layout()->objectName(), QStringLiteral("horizontalLayout_2"));
    QCOMPARE(options->layout()->spacing(), 0);
    QCOMPARE(options->layout()->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(child<QWidget>(&view, "searchOptionsWidget")->layout()->objectName(), QStringLiteral("verticalLayout"));
    QCOMPARE(child<QGroupBox>(&view, "resultGroupBox")->layout()->objectName(), QStringLiteral("verticalLayout_3"));
    QVERIFY(child<LineEdit>(&view, "searchTextEdit"));
    QVERIFY(child<QLayout>(&view, "horizontalLayout"));
    QVERIFY(child<QLayout>(&view, "verticalLayout_2"));
    QCOMPARE(child<QPushButton>(&view, "startButton")->text(), QStringLiteral("Suche starten"));
    QVERIFY(child<BlockSearchResultWidget>(&view, "blockSearchResultWidget"));

    const struct
    {
        const char* name;
        const char* text;
        bool checked;
    } checks[] = {{"inLibraryCheckBox", "in Bibliotheken", true},
                  {"inHierarchyCheckBox", "in Hierarchie", true},
                  {"caseSensitiveCheckBox", "Groß-/Kleinschreibung beachten", false},
                  {"usePins", "Anschlüsse durchsuchen", true},
                  {"useShortName", "Kurzname berücksichtigen", true},
                  {"useNames", "Namen berücksichtigen", true},
                  {"useNumber", "Nummer berücksichtigen", true}};
    for (const auto& check : checks) {
        auto* box = child<QCheckBox>(&view, check.name);
        QVERIFY2(box, check.name);
        QCOMPARE(box->text(), QString::fromUtf8(check.text));
        QCOMPARE(box->isChecked(), check.checked);
    }
}

void tst_BlockSearchView::resultTreeSetup()
{
    BlockSearchView view;
    auto* results = child<BlockSearchResultWidget>(&view, "blockSearchResultWidget");
    QCOMPARE(results->property("HelpId").toString(), QStringLiteral("BlockSearchResultWidget"));
    auto* layout = qobject_cast<QVBoxLayout*>(results->layout());
    QVERIFY(layout);
    QCOMPARE(layout->spacing(), 4);
    QCOMPARE(layout->contentsMargins(), QMargins(0, 0, 0, 0));
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QVERIFY(tree);
    QCOMPARE(layout->indexOf(tree), 0);
    QCOMPARE(tree->columnCount(), 4);
    const QTreeWidgetItem* header = tree->headerItem();
    QCOMPARE(header->text(0), QStringLiteral("Name"));
    QCOMPARE(header->text(1), QStringLiteral("Nummer"));
    QCOMPARE(header->text(2), QStringLiteral("Version"));
    QCOMPARE(header->text(3), QStringLiteral("Favorit"));
    QCOMPARE(tree->columnWidth(0), 200);
    QCOMPARE(tree->contextMenuPolicy(), Qt::CustomContextMenu);
    QVERIFY(!tree->header()->isHidden());
    QVERIFY(tree->rootIsDecorated());
    QCOMPARE(tree->editTriggers(), QAbstractItemView::NoEditTriggers);
    QVERIFY(tree->isSortingEnabled());
    QCOMPARE(tree->topLevelItemCount(), 0);
}

void tst_BlockSearchView::searchFindsInBothSections()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    search(view, QStringLiteral("oder"));
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QCOMPARE(libraryHits(tree), QStringList{QStringLiteral("ODER")});
    QVERIFY(!sectionRow(tree, QStringLiteral("Hierarchie")));

    search(view, QStringLiteral("regler"));
    QCOMPARE(libraryHits(tree), QStringList{QStringLiteral("Regler")});
    QCOMPARE(hierarchyHits(tree), QStringList{QStringLiteral("r")});

    // Only the hierarchy, then only the libraries.
    Options options;
    options.inLibrary = false;
    search(view, QStringLiteral("regler"), options);
    QVERIFY(!sectionRow(tree, QStringLiteral("Bibliothek")));
    QCOMPARE(hierarchyHits(tree), QStringList{QStringLiteral("r")});
    options.inLibrary = true;
    options.inHierarchy = false;
    search(view, QStringLiteral("regler"), options);
    QVERIFY(!sectionRow(tree, QStringLiteral("Hierarchie")));
    QCOMPARE(libraryHits(tree), QStringList{QStringLiteral("Regler")});
}

void tst_BlockSearchView::startsOnCommittedText()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    view.show();
    auto* edit = child<LineEdit>(&view, "searchTextEdit");
    edit->setFocus();
    QTest::keyClicks(edit, QStringLiteral("oder"));
    QCOMPARE(treeOf(view)->topLevelItemCount(), 0);
    QTest::keyClick(edit, Qt::Key_Return);
    QCOMPARE(libraryHits(treeOf(view)), QStringList{QStringLiteral("ODER")});
}

void tst_BlockSearchView::hierarchyWithoutAreaSearchesLibrariesOnly()
{
    BlockSearchView view;
    QVERIFY(child<QCheckBox>(&view, "inHierarchyCheckBox")->isChecked());
    search(view, QStringLiteral("und"));
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QCOMPARE(tree->topLevelItemCount(), 1);
    QCOMPARE(libraryHits(tree), QStringList{QStringLiteral("UND")});

    // An area that went is no area.
    view.setBlockInstanceRoot(m->area);
    search(view, QStringLiteral("und"));
    QCOMPARE(tree->topLevelItemCount(), 2);
    m->project.reset();
    search(view, QStringLiteral("und"));
    QCOMPARE(tree->topLevelItemCount(), 0);
}

void tst_BlockSearchView::excludedContainerIsSkipped()
{
    BlockSearchView view;
    search(view, QStringLiteral("versteckt"));
    QCOMPARE(treeOf(view)->topLevelItemCount(), 0);

    // The same block elsewhere is found: the container's identifier decides, nothing else.
    auto* other = new BlockLibraryContainer(QStringLiteral("1000000"), 0, german(QStringLiteral("Andere")));
    ModelBuilder::primitive(other->library(), QStringLiteral("StandardBlock_98"), QStringLiteral("Versteckt"), {}, {});
    m->project->addContainer(other);
    QVERIFY(BlockRepository::instance().containers().contains(other));
    search(view, QStringLiteral("versteckt"));
    QCOMPARE(libraryHits(treeOf(view)), QStringList{QStringLiteral("Versteckt")});
}

void tst_BlockSearchView::digitsMatchThroughAnyOfTheFourNumbers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("found");
    // The tool block's standard, system and magic numbers are 0: "0" finds it, and every other
    // block too, by the numbers of kinds that it isn't.
    QTest::newRow("own number") << QStringLiteral("777") << QStringList{QStringLiteral("Werkzeug")};
    QTest::newRow("part of a number") << QStringLiteral("77") << QStringList{QStringLiteral("Werkzeug")};
    QTest::newRow("zero of the other kinds")
        << QStringLiteral("0")
        << QStringList{QStringLiteral("Anschluss"), QStringLiteral("Eigenbau"), QStringLiteral("Kommentar"), QStringLiteral("ODER"),
                       QStringLiteral("Parameter lesen"), QStringLiteral("Regler"), QStringLiteral("UND"), QStringLiteral("Werkzeug")};
    QTest::newRow("magic") << QStringLiteral("300005") << QStringList{QStringLiteral("Parameter lesen")};
    QTest::newRow("system") << QStringLiteral("6") << QStringList{QStringLiteral("Anschluss")};
    QTest::newRow("system and magic") << QStringLiteral("5") << QStringList{QStringLiteral("Kommentar"), QStringLiteral("Parameter lesen")};
}

void tst_BlockSearchView::digitsMatchThroughAnyOfTheFourNumbers()
{
    QFETCH(QString, text);
    QFETCH(QStringList, found);
    BlockSearchView view;
    Options numbersOnly;
    numbersOnly.pins = false;
    numbersOnly.shortName = false;
    numbersOnly.names = false;
    search(view, text, numbersOnly);
    QCOMPARE(libraryHits(treeOf(view)), found);

    // Without the number nothing of it is found.
    Options none = numbersOnly;
    none.number = false;
    search(view, text, none);
    QCOMPARE(treeOf(view)->topLevelItemCount(), 0);
}

void tst_BlockSearchView::matchOfADefinition_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("shortName");
    QTest::addColumn<bool>("names");
    QTest::addColumn<bool>("pins");
    QTest::addColumn<bool>("found");

    // The block: name "Regelung Kessel", short name "RK", first pin short name "SW", name "Sollwert".
    QTest::newRow("short name") << QStringLiteral("rk") << true << false << false << true;
    QTest::newRow("short name off") << QStringLiteral("rk") << false << true << false << false;
    QTest::newRow("name") << QStringLiteral("kessel") << false << true << false << true;
    QTest::newRow("name off") << QStringLiteral("kessel") << true << false << true << false;
    QTest::newRow("pin short name") << QStringLiteral("sw") << true << false << true << true;
    QTest::newRow("pin short name without pins") << QStringLiteral("sw") << true << true << false << false;
    QTest::newRow("pin name while short name is used") << QStringLiteral("sollwert") << true << false << true << false;
    QTest::newRow("pin name without short name") << QStringLiteral("sollwert") << false << true << true << true;
    QTest::newRow("pin name without the name options") << QStringLiteral("sollwert") << false << false << true << false;
    QTest::newRow("pin short name without the name options") << QStringLiteral("sw") << false << false << true << false;
}

void tst_BlockSearchView::matchOfADefinition()
{
    QFETCH(QString, text);
    QFETCH(bool, shortName);
    QFETCH(bool, names);
    QFETCH(bool, pins);
    QFETCH(bool, found);

    Block* block = ModelBuilder::primitive(m->standard->library(), QStringLiteral("Kessel_1"), QStringLiteral("Regelung Kessel"),
                                           {{QStringLiteral("SW")}}, {{QStringLiteral("Y")}});
    block->setShortName(QStringLiteral("RK"));
    BlockDefinition* definition = SearchModel::def(block);
    BlockPin first = *definition->pin(1);
    first.setName(german(QStringLiteral("Sollwert")));
    definition->setPin(first);

    BlockSearchView view;
    Options options;
    options.number = false;
    options.shortName = shortName;
    options.names = names;
    options.pins = pins;
    search(view, text, options);
    QCOMPARE(libraryHits(treeOf(view)).contains(QStringLiteral("Regelung Kessel")), found);
}

void tst_BlockSearchView::onlyTheFirstPinIsCompared()
{
    Block* block = ModelBuilder::primitive(m->standard->library(), QStringLiteral("Pumpe_1"), QStringLiteral("Pumpe"),
                                           {{QStringLiteral("EIN")}, {QStringLiteral("DRUCK")}}, {{QStringLiteral("LAUF")}});
    BlockSearchView view;
    Options pinsOnly;
    pinsOnly.names = false;
    pinsOnly.number = false;
    search(view, QStringLiteral("ein"), pinsOnly);
    QCOMPARE(libraryHits(treeOf(view)), QStringList{QStringLiteral("Pumpe")});
    search(view, QStringLiteral("druck"), pinsOnly);
    QCOMPARE(treeOf(view)->topLevelItemCount(), 0);
    search(view, QStringLiteral("lauf"), pinsOnly);
    QCOMPARE(treeOf(view)->topLevelItemCount(), 0);

    // The first pin is the first of the definition's list, whatever its identifier.
    BlockDefinition* definition = SearchModel::def(block);
    QList<BlockPin> reordered;
    for (int id : {2, 1, 3})
        reordered.append(*definition->pin(id));
    definition->setPins(reordered);
    QCOMPARE(definition->pins().first(), 2);
    search(view, QStringLiteral("druck"), pinsOnly);
    QCOMPARE(libraryHits(treeOf(view)), QStringList{QStringLiteral("Pumpe")});
    search(view, QStringLiteral("ein"), pinsOnly);
    QCOMPARE(treeOf(view)->topLevelItemCount(), 0);
}

void tst_BlockSearchView::caseSensitivity_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("caseSensitive");
    QTest::addColumn<bool>("found");
    QTest::newRow("lower, any case") << QStringLiteral("oder") << false << true;
    QTest::newRow("mixed, any case") << QStringLiteral("oDeR") << false << true;
    QTest::newRow("upper, case counts") << QStringLiteral("ODER") << true << true;
    QTest::newRow("lower, case counts") << QStringLiteral("oder") << true << false;
    QTest::newRow("no wildcards") << QStringLiteral("O*R") << false << false;
}

void tst_BlockSearchView::caseSensitivity()
{
    QFETCH(QString, text);
    QFETCH(bool, caseSensitive);
    QFETCH(bool, found);
    BlockSearchView view;
    Options options = onlyNames();
    options.caseSensitive = caseSensitive;
    search(view, text, options);
    QCOMPARE(libraryHits(treeOf(view)) == QStringList{QStringLiteral("ODER")}, found);
}

void tst_BlockSearchView::optionsApplyToTheDefinitionNotTheInstance()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    Options none;
    none.pins = none.shortName = none.names = none.number = false;
    search(view, QStringLiteral("welt"), none);
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QCOMPARE(hierarchyHits(tree), QStringList{QStringLiteral("t - Hallo Welt")});
    QVERIFY(!sectionRow(tree, QStringLiteral("Bibliothek")));
    // Any entry of the list counts, not only the one shown.
    search(view, QStringLiteral("zweite"), none);
    QCOMPARE(hierarchyHits(tree), QStringList{QStringLiteral("t - Hallo Welt")});
    // The name of the definition needs its option, in the hierarchy as well.
    search(view, QStringLiteral("kommentar"), none);
    QCOMPARE(tree->topLevelItemCount(), 0);
    search(view, QStringLiteral("kommentar"), onlyNames());
    QCOMPARE(hierarchyHits(tree), QStringList{QStringLiteral("t - Hallo Welt")});
    // The instance's own name is not searched.
    search(view, QStringLiteral("g1"), onlyNames());
    QCOMPARE(tree->topLevelItemCount(), 0);
}

void tst_BlockSearchView::invisibleDefinitionIsAHierarchyHitOnly()
{
    SearchModel::def(m->orBlock)->setAccessLevelRead(5);
    ModelBuilder::place(m->area->rootDefinition()->code(), SearchModel::def(m->orBlock), {0, 20})->setName(QStringLiteral("o"));
    QVERIFY(!SearchModel::def(m->orBlock)->isVisible());
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    search(view, QStringLiteral("oder"));
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QCOMPARE(hierarchyHits(tree), QStringList{QStringLiteral("o")});
    QVERIFY(!sectionRow(tree, QStringLiteral("Bibliothek")));

    System::instance().setUserAccessLevelCode(5);
    search(view, QStringLiteral("oder"));
    QCOMPARE(libraryHits(tree), QStringList{QStringLiteral("ODER")});
}

void tst_BlockSearchView::noDescentIntoBlocksWithoutStepIn()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    Options options = onlyNames();
    options.inLibrary = false;
    search(view, QStringLiteral("und"), options);
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QCOMPARE(hierarchyHits(tree), (QStringList{QStringLiteral("g1"), QStringLiteral("g2"), QStringLiteral("innen")}));

    SearchModel::def(m->regler)->setStepInEnabled(false);
    search(view, QStringLiteral("und"), options);
    QCOMPARE(hierarchyHits(tree), (QStringList{QStringLiteral("g1"), QStringLiteral("g2")}));
    // The closed block itself is still a hit.
    search(view, QStringLiteral("regler"), options);
    QCOMPARE(hierarchyHits(tree), QStringList{QStringLiteral("r")});

    // A block hidden from the user is not entered either.
    SearchModel::def(m->regler)->setStepInEnabled(true);
    SearchModel::def(m->regler)->setAccessLevelRead(5);
    search(view, QStringLiteral("und"), options);
    QCOMPARE(hierarchyHits(tree), (QStringList{QStringLiteral("g1"), QStringLiteral("g2")}));
}

void tst_BlockSearchView::eachHitIsReportedOnce()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    auto* results = child<BlockSearchResultWidget>(&view, "blockSearchResultWidget");
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    BlockDefinition* definition = SearchModel::def(m->orBlock);
    results->insertLibraryItem(definition);
    results->insertLibraryItem(definition);
    BlockInstanceHierarchyNode* node = m->nodeOf(m->gate1);
    QVERIFY(node);
    results->insertHierarchyItem(node);
    results->insertHierarchyItem(node);
    QCOMPARE(libraryHits(tree), QStringList{QStringLiteral("ODER")});
    QCOMPARE(hierarchyHits(tree), QStringList{QStringLiteral("g1")});

    // A search that matches a definition by several texts reports it once.
    search(view, QStringLiteral("e"));
    const QStringList found = libraryHits(tree);
    QCOMPARE(QSet<QString>(found.begin(), found.end()).size(), found.size());
    QVERIFY(found.contains(QStringLiteral("Werkzeug")));

    // After clear() a hit may come again.
    results->clear();
    QCOMPARE(tree->topLevelItemCount(), 0);
    results->insertLibraryItem(definition);
    QCOMPARE(libraryHits(tree), QStringList{QStringLiteral("ODER")});
}

void tst_BlockSearchView::twoInstancesAreTwoHits()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    Options options = onlyNames();
    options.inLibrary = false;
    search(view, QStringLiteral("und"), options);
    QTreeWidgetItem* section = sectionRow(treeOf(view), QStringLiteral("Hierarchie"));
    QVERIFY(section);
    QCOMPARE(section->childCount(), 3);
    QSet<void*> nodes;
    for (int i = 0; i < section->childCount(); ++i)
        nodes.insert(section->child(i)->data(0, Qt::UserRole).value<void*>());
    QCOMPARE(nodes, (QSet<void*>{m->nodeOf(m->gate1), m->nodeOf(m->gate2), m->nodeOf(m->inner)}));
}

void tst_BlockSearchView::onlyTheSectionsAreExpanded()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    search(view, QStringLiteral("r"));
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QCOMPARE(tree->topLevelItemCount(), 2);
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        QTreeWidgetItem* section = tree->topLevelItem(i);
        QVERIFY(section->isExpanded());
        QVERIFY(section->isFirstColumnSpanned());
        QVERIFY(!section->data(0, Qt::UserRole).isValid());
        QVERIFY(!section->data(0, Qt::UserRole + 1).isValid());
        QVERIFY(section->childCount() > 0);
        for (int j = 0; j < section->childCount(); ++j) {
            QCOMPARE(section->child(j)->childCount(), 0);
            QVERIFY(!section->child(j)->isExpanded());
        }
    }
    // The controller's inner gate is a hit of its own beside it, not below it.
    QVERIFY(hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("r")));
}

void tst_BlockSearchView::rowsFollowTheHeaderSortIndicator()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    const Qt::SortOrder order = tree->header()->sortIndicatorOrder();
    QCOMPARE(tree->header()->sortIndicatorSection(), 0);
    search(view, QStringLiteral("e"));

    auto texts = [](QTreeWidgetItem* parent) {
        QStringList list;
        for (int i = 0; i < parent->childCount(); ++i)
            list.append(parent->child(i)->text(0));
        return list;
    };
    auto sorted = [](QStringList list, Qt::SortOrder sortOrder) {
        std::sort(list.begin(), list.end());
        if (sortOrder == Qt::DescendingOrder)
            std::reverse(list.begin(), list.end());
        return list;
    };
    QTreeWidgetItem* library = sectionRow(tree, QStringLiteral("Bibliothek"));
    QVERIFY(library);
    QVERIFY(library->childCount() >= 3);
    // The walk goes through the library in its order of insertion; the rows don't.
    QTRY_COMPARE(texts(library), sorted(texts(library), order));
    QStringList sections{tree->topLevelItem(0)->text(0), tree->topLevelItem(1)->text(0)};
    QCOMPARE(sections, sorted(sections, order));

    const Qt::SortOrder other = order == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
    tree->header()->setSortIndicator(0, other);
    search(view, QStringLiteral("e"));
    library = sectionRow(tree, QStringLiteral("Bibliothek"));
    QTRY_COMPARE(texts(library), sorted(texts(library), other));
    sections = QStringList{tree->topLevelItem(0)->text(0), tree->topLevelItem(1)->text(0)};
    QCOMPARE(sections, sorted(sections, other));
}

void tst_BlockSearchView::hierarchyRowTexts()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    Options options = onlyNames();
    options.inLibrary = false;
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    const QString section = QStringLiteral("Hierarchie");

    search(view, QStringLiteral("kommentar"), options);
    QTreeWidgetItem* row = hitRow(tree, section, QStringLiteral("t - Hallo Welt"));
    QVERIFY(row);
    QCOMPARE(row->data(1, Qt::DisplayRole).userType(), QMetaType::ULongLong);
    QCOMPARE(row->data(1, Qt::DisplayRole).toULongLong(), 5ULL);
    QCOMPARE(row->data(0, Qt::UserRole).value<void*>(), static_cast<void*>(m->nodeOf(m->text)));
    QVERIFY(!row->data(0, Qt::UserRole + 1).isValid());

    search(view, QStringLiteral("anschluss"), options);
    QVERIFY(hitRow(tree, section, QStringLiteral("p - 7:Sollwert")));
    // The pin block's list always has three entries, empty ones without lines.
    m->pin->setLines({});
    search(view, QStringLiteral("anschluss"), options);
    QCOMPARE(hierarchyHits(tree), QStringList{QStringLiteral("p - :")});

    search(view, QStringLiteral("parameter lesen"), options);
    QVERIFY(hitRow(tree, section, QStringLiteral("m - Drehzahl")));
    m->parameter->setLines({QStringLiteral("P1")});
    search(view, QStringLiteral("parameter lesen"), options);
    QVERIFY(hitRow(tree, section, QStringLiteral("m - ")));

    search(view, QStringLiteral("eigenbau"), options);
    row = hitRow(tree, section, QStringLiteral("e"));
    QVERIFY(row);
    // A number that is no number stays the text.
    QCOMPARE(row->data(1, Qt::DisplayRole).userType(), QMetaType::QString);
    QCOMPARE(row->text(1), QStringLiteral("Eigen_1"));
    QCOMPARE(row->data(2, Qt::DisplayRole).toUInt(), 0u);
    QVERIFY(!row->icon(0).isNull());
}

void tst_BlockSearchView::libraryRowTexts()
{
    Block* versions = ModelBuilder::primitive(m->standard->library(), QStringLiteral("StandardBlock_42"), QStringLiteral("Mehrfach"),
                                              {}, {{QStringLiteral("A")}}, QString(), 0);
    ModelBuilder::primitive(m->standard->library(), QStringLiteral("StandardBlock_42"), QStringLiteral("Mehrfach"), {},
                            {{QStringLiteral("A")}}, QString(), 3);
    QCOMPARE(versions->versions().size(), 2);
    BlockSearchView view;
    search(view, QStringLiteral("mehrfach"), onlyNames());
    QTreeWidgetItem* library = sectionRow(treeOf(view), QStringLiteral("Bibliothek"));
    QVERIFY(library);
    QCOMPARE(library->childCount(), 2);
    QList<uint> seen;
    for (int i = 0; i < library->childCount(); ++i) {
        QTreeWidgetItem* row = library->child(i);
        QCOMPARE(row->text(0), QStringLiteral("Mehrfach"));
        QCOMPARE(row->data(1, Qt::DisplayRole).userType(), QMetaType::QString);
        QCOMPARE(row->text(1), QStringLiteral("42"));
        seen.append(row->data(2, Qt::DisplayRole).toUInt());
        auto* definition = static_cast<BlockDefinition*>(row->data(0, Qt::UserRole + 1).value<void*>());
        QCOMPARE(definition, versions->blockDefinition(seen.last()));
        QVERIFY(!row->data(0, Qt::UserRole).isValid());
        QVERIFY(!row->icon(0).isNull());
    }
    std::sort(seen.begin(), seen.end());
    QCOMPARE(seen, (QList<uint>{0, 3}));

    search(view, QStringLiteral("eigenbau"), onlyNames());
    QTreeWidgetItem* row = hitRow(treeOf(view), QStringLiteral("Bibliothek"), QStringLiteral("Eigenbau"));
    QVERIFY(row);
    QCOMPARE(row->text(1), QStringLiteral("Eigen_1"));
}

void tst_BlockSearchView::emptyTextClearsWithoutMessage()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    search(view, QStringLiteral("und"));
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QCOMPARE(tree->topLevelItemCount(), 2);
    search(view, QString());
    QCOMPARE(tree->topLevelItemCount(), 0);
    QVERIFY(!QApplication::activeModalWidget());
    // The sections come again with the next hits.
    search(view, QStringLiteral("und"));
    QCOMPARE(tree->topLevelItemCount(), 2);
}

void tst_BlockSearchView::noHitsLeaveTheTreeEmpty()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    search(view, QStringLiteral("und"));
    search(view, QStringLiteral("gibtesnicht"));
    QCOMPARE(treeOf(view)->topLevelItemCount(), 0);
    QVERIFY(!QApplication::activeModalWidget());
}

void tst_BlockSearchView::doubleClickJumps()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    QSignalSpy code(&view, &BlockSearchView::needToShowInCode);
    QSignalSpy library(&view, &BlockSearchView::needToShowInLibrary);
    QSignalSpy hierarchy(&view, &BlockSearchView::needToShowInHierarchy);
    search(view, QStringLiteral("regler"));
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QVERIFY(hitRow(tree, QStringLiteral("Bibliothek"), QStringLiteral("Regler")));

    tree->onItemDoubleClicked(hitRow(tree, QStringLiteral("Bibliothek"), QStringLiteral("Regler")), 0);
    QCOMPARE(library.size(), 1);
    QCOMPARE(library.first().first().value<BlockDefinition*>(), SearchModel::def(m->regler));

    tree->onItemDoubleClicked(hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("r")), 1);
    QCOMPARE(code.size(), 1);
    QCOMPARE(code.first().first().toString(), m->nodeOf(m->controller)->locationPath());
    QVERIFY(code.first().first().toString().startsWith(QStringLiteral("A")));

    // A section row is no hit.
    tree->onItemDoubleClicked(sectionRow(tree, QStringLiteral("Hierarchie")), 0);
    tree->onItemDoubleClicked(nullptr, 0);
    QCOMPARE(code.size(), 1);
    QCOMPARE(library.size(), 1);
    QCOMPARE(hierarchy.size(), 0);
    QVERIFY(!QApplication::activeModalWidget());
}

void tst_BlockSearchView::goneNodeShowsMessage_data()
{
    QTest::addColumn<int>("how");
    QTest::newRow("double click") << 0;
    QTest::newRow("show in hierarchy") << 1;
    QTest::newRow("show in code") << 2;
}

void tst_BlockSearchView::goneNodeShowsMessage()
{
    QFETCH(int, how);
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    QSignalSpy code(&view, &BlockSearchView::needToShowInCode);
    QSignalSpy hierarchy(&view, &BlockSearchView::needToShowInHierarchy);
    Options options = onlyNames();
    options.inLibrary = false;
    search(view, QStringLiteral("und"), options);
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QTreeWidgetItem* row = hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("innen"));
    QVERIFY(row);
    // The controller's code loses the gate: its node goes with it.
    SearchModel::def(m->regler)->code()->deleteInstance(m->inner->identifier());
    tree->setCurrentItem(row);

    QString title, text;
    QWidget* parent = nullptr;
    auto answered = answerNextModal([&](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        QVERIFY(box);
        title = box->windowTitle();
        text = box->text();
        parent = box->parentWidget();
        box->accept();
    });
    if (how == 0)
        tree->onItemDoubleClicked(row, 0);
    else if (how == 1)
        tree->showCurrentBlockInHierarchyView();
    else
        tree->showCurrentBlockInCodeView();
    QVERIFY(*answered);
    QCOMPARE(title, QStringLiteral("Suchen"));
    QCOMPARE(text, QStringLiteral("\"innen\" wurde nicht gefunden"));
    QCOMPARE(parent, static_cast<QWidget*>(child<BlockSearchResultWidget>(&view, "blockSearchResultWidget")));
    QCOMPARE(code.size(), 0);
    QCOMPARE(hierarchy.size(), 0);

    // The rows of living nodes still jump.
    tree->setCurrentItem(hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("g1")));
    tree->showCurrentBlockInHierarchyView();
    QCOMPARE(hierarchy.size(), 1);
    QCOMPARE(hierarchy.first().first().toString(), m->nodeOf(m->gate1)->locationPath());
}

void tst_BlockSearchView::goneAreaMakesEveryNodeInvalid()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    QSignalSpy code(&view, &BlockSearchView::needToShowInCode);
    Options options = onlyNames();
    options.inLibrary = false;
    search(view, QStringLiteral("und"), options);
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QTreeWidgetItem* row = hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("g1"));
    QVERIFY(row);
    m->project.reset();
    QVERIFY(!tree->validNode(row));
    QVERIFY(!tree->definitionOfRow(row));
    auto answered = answerNextModal([](QDialog* dialog) { dialog->accept(); });
    tree->onItemDoubleClicked(row, 0);
    QVERIFY(*answered);
    QCOMPARE(code.size(), 0);
}

void tst_BlockSearchView::goneDefinitionIsNeverTouched()
{
    Block* block = ModelBuilder::primitive(m->standard->library(), QStringLiteral("StandardBlock_50"), QStringLiteral("Vergaenglich"),
                                           {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QSignalSpy library(&view, &BlockSearchView::needToShowInLibrary);
    QSignalSpy asked(&BlockRepository::instance(), &BlockRepository::helpRequested);
    search(view, QStringLiteral("vergaenglich"), onlyNames());
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QTreeWidgetItem* row = hitRow(tree, QStringLiteral("Bibliothek"), QStringLiteral("Vergaenglich"));
    QVERIFY(row);
    tree->setCurrentItem(row);
    block->deleteDefinition(0);
    QVERIFY(block->versions().isEmpty());

    QVERIFY(!tree->definitionOfRow(row));
    tree->onItemDoubleClicked(row, 0);
    tree->showCurrentBlockInLibraryView();
    tree->blockItemClicked(row, 3);
    tree->addBlockToBookmark();
    QCOMPARE(favouriteTree(), QStringList());
    // The stars are set again on a change by anyone; the gone row is passed over.
    favourites().addBookmark(SearchModel::def(m->andBlock));
    QCOMPARE(library.size(), 0);
    QCOMPARE(favouriteTree(), QStringList{QStringLiteral("StandardBlock_1;0")});
    QKeyEvent press(QEvent::KeyPress, Qt::Key_F1, Qt::NoModifier);
    QApplication::sendEvent(child<BlockSearchResultWidget>(&view, "blockSearchResultWidget"), &press);
    QCOMPARE(asked.size(), 1);
    QCOMPARE(asked.first().first().toString(), QString());
    closeHelpWindow();

    // Nor is it dragged.
    const QPoint start = tree->visualItemRect(row).center();
    QTest::mousePress(tree->viewport(), Qt::LeftButton, Qt::NoModifier, start);
    const QPoint far = start + QPoint(QApplication::startDragDistance() + 2, 0);
    QMouseEvent move(QEvent::MouseMove, QPointF(far), tree->viewport()->mapToGlobal(QPointF(far)), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(tree->viewport(), &move);
    QVERIFY(!tree->findChild<QDrag*>());
    QTest::mouseRelease(tree->viewport(), Qt::LeftButton, Qt::NoModifier, far);
}

void tst_BlockSearchView::contextMenuEntries()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    search(view, QStringLiteral("regler"));
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    auto* owner = child<BlockSearchResultWidget>(&view, "blockSearchResultWidget");

    tree->setCurrentItem(hitRow(tree, QStringLiteral("Bibliothek"), QStringLiteral("Regler")));
    tree->onShowContextMenu(QPoint(5, 5));
    QMenu* menu = owner->findChild<QMenu*>();
    QVERIFY(menu);
    QCOMPARE(actionTexts(menu), QStringList{QStringLiteral("Zeige Baustein in Bibliotek")});
    QCOMPARE(menu->defaultAction(), actionNamed(menu, QStringLiteral("Zeige Baustein in Bibliotek")));
    QTRY_VERIFY(menu->isVisible());
    const QPoint expected = tree->mapToGlobal(QPoint(5, 5)) + QPoint(0, tree->header()->height());
    QCOMPARE(menu->pos(), expected);
    menu->close();
    QTRY_VERIFY(!owner->findChild<QMenu*>());

    tree->setCurrentItem(hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("r")));
    tree->onShowContextMenu(QPoint(5, 5));
    menu = owner->findChild<QMenu*>();
    QVERIFY(menu);
    QCOMPARE(actionTexts(menu),
             (QStringList{QStringLiteral("Zeige Baustein in Hierarchieansicht"), QStringLiteral("Zeige Baustein in Konfiguration")}));
    QCOMPARE(menu->defaultAction(), actionNamed(menu, QStringLiteral("Zeige Baustein in Konfiguration")));
    menu->close();
    QTRY_VERIFY(!owner->findChild<QMenu*>());
}

void tst_BlockSearchView::contextMenuJumps()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    QSignalSpy code(&view, &BlockSearchView::needToShowInCode);
    QSignalSpy library(&view, &BlockSearchView::needToShowInLibrary);
    QSignalSpy hierarchy(&view, &BlockSearchView::needToShowInHierarchy);
    search(view, QStringLiteral("regler"));
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    auto* owner = child<BlockSearchResultWidget>(&view, "blockSearchResultWidget");

    tree->setCurrentItem(hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("r")));
    tree->onShowContextMenu(QPoint(5, 5));
    QMenu* menu = owner->findChild<QMenu*>();
    QVERIFY(menu);
    actionNamed(menu, QStringLiteral("Zeige Baustein in Hierarchieansicht"))->trigger();
    actionNamed(menu, QStringLiteral("Zeige Baustein in Konfiguration"))->trigger();
    menu->close();
    const QString path = m->nodeOf(m->controller)->locationPath();
    QCOMPARE(hierarchy.size(), 1);
    QCOMPARE(hierarchy.first().first().toString(), path);
    QCOMPARE(code.size(), 1);
    QCOMPARE(code.first().first().toString(), path);
    // A hierarchy row has no definition of its own to show in the library.
    tree->showCurrentBlockInLibraryView();
    QCOMPARE(library.size(), 0);

    tree->setCurrentItem(hitRow(tree, QStringLiteral("Bibliothek"), QStringLiteral("Regler")));
    tree->showCurrentBlockInLibraryView();
    QCOMPARE(library.size(), 1);
    QCOMPARE(library.first().first().value<BlockDefinition*>(), SearchModel::def(m->regler));
    tree->showCurrentBlockInCodeView();
    tree->showCurrentBlockInHierarchyView();
    QCOMPARE(code.size(), 1);
    QCOMPARE(hierarchy.size(), 1);
}

void tst_BlockSearchView::noContextMenuWithoutCurrentRow()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    search(view, QStringLiteral("regler"));
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    auto* owner = child<BlockSearchResultWidget>(&view, "blockSearchResultWidget");
    tree->setCurrentItem(nullptr);
    tree->onShowContextMenu(QPoint(5, 5));
    QVERIFY(!owner->findChild<QMenu*>());
    // Nor for a section row, which offers nothing.
    tree->setCurrentItem(sectionRow(tree, QStringLiteral("Bibliothek")));
    tree->onShowContextMenu(QPoint(5, 5));
    QVERIFY(!owner->findChild<QMenu*>());
}

void tst_BlockSearchView::starsShowFavourites()
{
    m->orBlock->setFallbackBlock(true);
    // A favourite in a folder counts as much as one at the root.
    BlockBookmarkFolder* folder = favourites().addFolder(QStringLiteral("Logik"), nullptr);
    favourites().addItem(new BlockBookmark(nullptr, SearchModel::def(m->andBlock)), folder);
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QCOMPARE(tree->bookmarks, &BlockBookmarkRepository::instance());
    search(view, QStringLiteral("und"), onlyNames());
    QCOMPARE(starOf(hitRow(tree, QStringLiteral("Bibliothek"), QStringLiteral("UND"))), kStar);
    QCOMPARE(starOf(hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("g1"))), kStar);
    search(view, QStringLiteral("regler"), onlyNames());
    QCOMPARE(starOf(hitRow(tree, QStringLiteral("Bibliothek"), QStringLiteral("Regler"))), kStarEmpty);
    QCOMPARE(starOf(hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("r"))), kStarEmpty);
    // Neither a local block nor a fall-back block has a star.
    search(view, QStringLiteral("lokal"), onlyNames());
    QTreeWidgetItem* local = hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("lokal"));
    QVERIFY(local);
    QVERIFY(m->local->isLocalBlock());
    QCOMPARE(starOf(local), QString());
    search(view, QStringLiteral("oder"), onlyNames());
    QCOMPARE(starOf(hitRow(tree, QStringLiteral("Bibliothek"), QStringLiteral("ODER"))), QString());
    QCOMPARE(starOf(sectionRow(tree, QStringLiteral("Bibliothek"))), QString());
}

void tst_BlockSearchView::starClickTogglesFavourite()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    search(view, QStringLiteral("und"), onlyNames());
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QTreeWidgetItem* libraryRow = hitRow(tree, QStringLiteral("Bibliothek"), QStringLiteral("UND"));
    QTreeWidgetItem* nodeRow = hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("g2"));
    QSignalSpy changed(&favourites(), &BlockBookmarkRepository::changed);

    // Other columns don't toggle.
    tree->blockItemClicked(libraryRow, 0);
    tree->blockItemClicked(libraryRow, 2);
    tree->blockItemClicked(nullptr, 3);
    QCOMPARE(changed.size(), 0);
    QCOMPARE(favouriteTree(), QStringList());

    // A new favourite at the root, written to the shared file at once.
    tree->blockItemClicked(libraryRow, 3);
    QCOMPARE(favouriteTree(), QStringList{QStringLiteral("StandardBlock_1;0")});
    QCOMPARE(favouriteFile(), QStringList{QStringLiteral("blockbookmark StandardBlock_1")});
    // Every row of the same definition follows.
    QCOMPARE(starOf(libraryRow), kStar);
    QCOMPARE(starOf(nodeRow), kStar);

    // A hierarchy row toggles its instance's definition, and takes away its favourites in every
    // folder; the folders stay.
    BlockBookmarkFolder* folder = favourites().addFolder(QStringLiteral("Logik"), nullptr);
    favourites().addItem(new BlockBookmark(nullptr, SearchModel::def(m->andBlock)), folder);
    QCOMPARE(favouriteTree(), (QStringList{QStringLiteral("StandardBlock_1;0"), QStringLiteral("[Logik]"), QStringLiteral("  StandardBlock_1;0")}));
    tree->blockItemClicked(nodeRow, 3);
    QCOMPARE(favouriteTree(), QStringList{QStringLiteral("[Logik]")});
    QCOMPARE(favouriteFile(), QStringList{QStringLiteral("folder Logik")});
    QCOMPARE(starOf(libraryRow), kStarEmpty);
    QCOMPARE(starOf(nodeRow), kStarEmpty);
    QCOMPARE(starOf(hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("g1"))), kStarEmpty);

    // A section row and a local block don't toggle anything.
    changed.clear();
    tree->blockItemClicked(sectionRow(tree, QStringLiteral("Bibliothek")), 3);
    search(view, QStringLiteral("lokal"), onlyNames());
    tree->blockItemClicked(hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("lokal")), 3);
    QCOMPARE(changed.size(), 0);
    QCOMPARE(favouriteTree(), QStringList{QStringLiteral("[Logik]")});
}

void tst_BlockSearchView::starsFollowOutsideChanges()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    search(view, QStringLiteral("und"), onlyNames());
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QTreeWidgetItem* row = hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("g1"));
    QTreeWidgetItem* libraryRow = hitRow(tree, QStringLiteral("Bibliothek"), QStringLiteral("UND"));
    QCOMPARE(starOf(row), kStarEmpty);

    // A favourite made elsewhere in the process, as by the library list.
    favourites().addBookmark(SearchModel::def(m->andBlock));
    QCOMPARE(starOf(row), kStar);
    QCOMPARE(starOf(libraryRow), kStar);
    const QByteArray withFavourite = readBookmarkFile();
    QVERIFY(!withFavourite.isEmpty());

    // Removed in the favourites' own tree.
    favourites().removeItem(favourites().rootFolder()->child(0)->id());
    QCOMPARE(starOf(row), kStarEmpty);
    QCOMPARE(starOf(libraryRow), kStarEmpty);

    // Another process writes the shared file: the tree is read again and the stars follow.
    writeBookmarkFile(withFavourite);
    QTRY_COMPARE(starOf(row), kStar);
    QCOMPARE(starOf(libraryRow), kStar);
    BlockBookmarkFolder empty(nullptr, QString());
    writeBookmarkFile(BlockBookmarkRepository::iniText(&empty));
    QTRY_COMPARE(starOf(row), kStarEmpty);
    QCOMPARE(starOf(libraryRow), kStarEmpty);
}

void tst_BlockSearchView::starClickOnGoneNodeDoesNothing()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    Options options = onlyNames();
    options.inLibrary = false;
    search(view, QStringLiteral("und"), options);
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QTreeWidgetItem* row = hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("g1"));
    m->area->rootDefinition()->code()->deleteInstance(m->gate1->identifier());
    tree->blockItemClicked(row, 3);
    QCOMPARE(favouriteTree(), QStringList());
    // The refresh after an outside change passes over it as well.
    favourites().addBookmark(SearchModel::def(m->andBlock));
    QCOMPARE(starOf(row), kStarEmpty);
    QCOMPARE(starOf(hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("g2"))), kStar);
}

void tst_BlockSearchView::addBlockToBookmarkAddsAtRoot()
{
    favourites().addFolder(QStringLiteral("Logik"), nullptr);
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    search(view, QStringLiteral("und"), onlyNames());
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    tree->setCurrentItem(hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("g1")));
    tree->addBlockToBookmark();
    QCOMPARE(favouriteTree(), QStringList{QStringLiteral("[Logik]")});
    tree->setCurrentItem(hitRow(tree, QStringLiteral("Bibliothek"), QStringLiteral("UND")));
    tree->addBlockToBookmark();
    tree->addBlockToBookmark();
    // No test for one that exists; each goes to the end of the root, whatever is current there.
    const QStringList expected{QStringLiteral("[Logik]"), QStringLiteral("StandardBlock_1;0"), QStringLiteral("StandardBlock_1;0")};
    QCOMPARE(favouriteTree(), expected);
    QCOMPARE(favouriteFile(), (QStringList{QStringLiteral("folder Logik"), QStringLiteral("blockbookmark StandardBlock_1"),
                                           QStringLiteral("blockbookmark StandardBlock_1")}));
    QCOMPARE(starOf(hitRow(tree, QStringLiteral("Bibliothek"), QStringLiteral("UND"))), kStar);
}

void tst_BlockSearchView::helpKey_data()
{
    QTest::addColumn<QString>("row");
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("topic");
    QTest::newRow("library hit, F1") << QStringLiteral("UND") << int(Qt::Key_F1) << QStringLiteral("StandardBlock_1;0");
    QTest::newRow("hierarchy hit, Help") << QStringLiteral("g1") << int(Qt::Key_Help) << QStringLiteral("StandardBlock_1;0");
    QTest::newRow("section row") << QStringLiteral("Bibliothek") << int(Qt::Key_F1) << QString();
    QTest::newRow("no row") << QString() << int(Qt::Key_F1) << QString();
}

void tst_BlockSearchView::helpKey()
{
    QFETCH(QString, row);
    QFETCH(int, key);
    QFETCH(QString, topic);
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    search(view, QStringLiteral("und"), onlyNames());
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QTreeWidgetItem* current = nullptr;
    if (row == QStringLiteral("Bibliothek"))
        current = sectionRow(tree, row);
    else if (!row.isEmpty())
        current = hitRow(tree, row == QStringLiteral("UND") ? QStringLiteral("Bibliothek") : QStringLiteral("Hierarchie"), row);
    QVERIFY(row.isEmpty() || current);
    tree->setCurrentItem(current);

    QSignalSpy asked(&BlockRepository::instance(), &BlockRepository::helpRequested);
    auto* owner = child<BlockSearchResultWidget>(&view, "blockSearchResultWidget");
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    QApplication::sendEvent(owner, &press);
    QCOMPARE(asked.size(), 1);
    QCOMPARE(asked.first().first().toString(), topic);

    // Other keys pass.
    QKeyEvent other(QEvent::KeyPress, Qt::Key_F2, Qt::NoModifier);
    QApplication::sendEvent(owner, &other);
    QCOMPARE(asked.size(), 1);
    closeHelpWindow();
}

void tst_BlockSearchView::dragOfALibraryHit()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    view.resize(400, 541);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    search(view, QStringLiteral("regler"), onlyNames());
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QTreeWidgetItem* row = hitRow(tree, QStringLiteral("Bibliothek"), QStringLiteral("Regler"));
    QVERIFY(row);
    const QPoint start = tree->visualItemRect(row).center();

    QTest::mousePress(tree->viewport(), Qt::LeftButton, Qt::NoModifier, start);
    QVERIFY(tree->dragStart == start);
    // Short of the start distance nothing happens.
    DragRecord drag = captureDrag(tree, [&] {
        QMouseEvent near(QEvent::MouseMove, QPointF(start + QPoint(1, 0)), tree->viewport()->mapToGlobal(QPointF(start + QPoint(1, 0))),
                         Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(tree->viewport(), &near);
    });
    QVERIFY(!drag.started);
    const QPoint far = start + QPoint(QApplication::startDragDistance() + 2, 0);
    drag = captureDrag(tree, [&] {
        QMouseEvent move(QEvent::MouseMove, QPointF(far), tree->viewport()->mapToGlobal(QPointF(far)), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(tree->viewport(), &move);
    });
    QVERIFY(drag.started);
    QCOMPARE(drag.payload.value(QStringLiteral("zk6/blockdefinitionidentifier")), QByteArrayLiteral("StandardBlock_20;0"));
    QCOMPARE(drag.hotSpot, QPoint(40, 10));
    const QImage picture = drag.picture;
    // The picture is the block as the preview draws it: 300 wide, in the block's proportion.
    const QImage expected = BlockPreview().image(SearchModel::def(m->regler));
    QVERIFY(!expected.isNull());
    QCOMPARE(picture.size(), expected.size());
    QCOMPARE(picture.width(), 300);
    QVERIFY(inkedPixels(picture) > 0);
    QCOMPARE(picture.convertToFormat(QImage::Format_ARGB32_Premultiplied), expected.convertToFormat(QImage::Format_ARGB32_Premultiplied));
}

void tst_BlockSearchView::noDragOfAHierarchyHit()
{
    BlockSearchView view;
    view.setBlockInstanceRoot(m->area);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    Options options = onlyNames();
    options.inLibrary = false;
    search(view, QStringLiteral("regler"), options);
    BlockSearchResultWidgetPrivate* tree = treeOf(view);
    QTreeWidgetItem* row = hitRow(tree, QStringLiteral("Hierarchie"), QStringLiteral("r"));
    QVERIFY(row);
    const QPoint start = tree->visualItemRect(row).center();
    QTest::mousePress(tree->viewport(), Qt::LeftButton, Qt::NoModifier, start);
    const QPoint far = start + QPoint(QApplication::startDragDistance() + 2, 0);
    const DragRecord drag = captureDrag(tree, [&] {
        QMouseEvent move(QEvent::MouseMove, QPointF(far), tree->viewport()->mapToGlobal(QPointF(far)), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(tree->viewport(), &move);
    });
    QVERIFY(!drag.started);
    QTest::mouseRelease(tree->viewport(), Qt::LeftButton, Qt::NoModifier, far);
    // A press beside every row forgets the start.
    QTest::mousePress(tree->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(5, tree->viewport()->height() - 2));
    QCOMPARE(tree->dragStart, QPoint());
}

ZK_TEST_REGISTER(tst_BlockSearchView)
#include "tst_BlockSearchView.moc"
