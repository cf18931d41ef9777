#include "ModalAnswer.h"
#include "TestModel.h"
#include "PlainCodeView.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockCodeView.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockFinder.h"
#include "BlockHierarchyNodeScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "DatatypeProvider.h"
#include "ModelBuilder.h"
#include "ParameterDefinition.h"
#include "ParameterDefinitionLoader.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTest>

#include <memory>

namespace {

// A code view that only records where the finder sends it. The cursor state at that moment is
// recorded too: the wait cursor must be gone before the view scrolls.
class FinderView : public PlainCodeView
{
public:
    using PlainCodeView::PlainCodeView;

    bool scrollToItem(uint identifier, bool selectItem) override
    {
        scrolls.append(identifier);
        selected.append(selectItem);
        cursorOverridden.append(QApplication::overrideCursor() != nullptr);
        return true;
    }

    QList<uint> scrolls;
    QList<bool> selected;
    QList<bool> cursorOverridden;
};

// A parameter definition as the model saves it.
QByteArray parameterText(const QByteArray& coordinate, const QByteArray& shortText, const QByteArray& longText,
                         const QByteArray& elementText = QByteArray())
{
    const bool record = !elementText.isEmpty();
    QByteArray text = record ? ";type=\"record\" version=\"0\"\r\n\r\n" : ";type=\"parameter\" version=\"0\"\r\n\r\n";
    text += "[Parameter]\r\nCoordinates=" + coordinate + "\r\nName=<localString:0>\r\nDatatype=4\r\n";
    if (record)
        text += "CountElements=1\r\n\r\n[Elements]\r\n0=<localString:1>\r\n";
    text += "\r\n[Strings]\r\n0_2_s=" + shortText + "\r\n0_2_l=" + longText + "\r\n";
    if (record)
        text += "1_2_s=" + elementText + "\r\n1_2_l=" + elementText + " lang\r\n";
    return text;
}

} // namespace

class tst_BlockFinder : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void decimalIdentifierFindsTheBlock();
    void identifierMustMatchExactly();
    void singleMatchIsFoundAgain();
    void walkStartsBehindTheLastHitAndWraps();
    void previousSearchesForwardToo();
    void textInAnotherCaseIsFound();
    void numberTitleAndNameAreSearched_data();
    void numberTitleAndNameAreSearched();
    void pinNamesAreSearched();
    void parameterListIsSearched();
    void parameterDefinitionTextsAreSearched_data();
    void parameterDefinitionTextsAreSearched();
    void notFoundShowsAMessage();
    void failedSearchStaysWhereItBegan();
    void sceneWithoutBlocksEndsInTheMessage();
    void viewWithoutSceneEndsInTheMessage();
    void blockWithoutInstanceDoesNotMatch();
    void newTextMovesTheOldOneIntoTheListOnce();
    void emptyTextMatchesEverything();
    void identifierOfAnotherLevelRestartsAtTheTop();
    void comboBoxThatDiedFirst();

private:
    BlockInstance* place(const QString& block, QPointF position, const QString& name = QString());
    void showRoot();
    void search(const QString& text, bool previous = false);
    QString answerMessage(const std::function<void()>& action);

    std::unique_ptr<TestModel> m_model;
    BlockCode* m_code = nullptr;
    std::unique_ptr<FinderView> m_view;
    std::unique_ptr<QComboBox> m_combo;
};

void tst_BlockFinder::init()
{
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    m_view = std::make_unique<FinderView>();
    m_combo = std::make_unique<QComboBox>();
    m_combo->setEditable(true);
    // Only the finder's own additions go into the list.
    m_combo->setInsertPolicy(QComboBox::NoInsert);
    m_view->setSearchComboBox(m_combo.get());
}

void tst_BlockFinder::cleanup()
{
    m_view.reset();
    m_combo.reset();
    m_model.reset();
}

BlockInstance* tst_BlockFinder::place(const QString& block, QPointF position, const QString& name)
{
    BlockInstance* instance = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(block)), position);
    if (!name.isEmpty())
        instance->setName(name);
    return instance;
}

void tst_BlockFinder::showRoot()
{
    m_view->setScene(BlockHierarchyNodeScene::forNode(m_model->area()->hierarchy()->rootNode()));
}

void tst_BlockFinder::search(const QString& text, bool previous)
{
    m_combo->setEditText(text);
    if (previous)
        m_view->findPreviousBlock();
    else
        m_view->findNextBlock();
}

QString tst_BlockFinder::answerMessage(const std::function<void()>& action)
{
    QString title;
    QString text;
    bool cursorOverridden = true;
    QMessageBox::StandardButtons buttons;
    auto answered = answerNextModal([&](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        QVERIFY(box);
        title = box->windowTitle();
        text = box->text();
        buttons = box->standardButtons();
        cursorOverridden = QApplication::overrideCursor() != nullptr;
        QCOMPARE(box->parentWidget(), m_view.get());
        box->button(QMessageBox::Ok)->click();
    });
    action();
    if (!*answered)
        return QStringLiteral("<no message>");
    if (title != QStringLiteral("Suchen") || buttons != QMessageBox::Ok || cursorOverridden)
        return QStringLiteral("<wrong message>");
    return text;
}

void tst_BlockFinder::decimalIdentifierFindsTheBlock()
{
    place(QStringLiteral("StandardBlock_3"), {0, 0});
    BlockInstance* second = place(QStringLiteral("StandardBlock_3"), {10, 0});
    place(QStringLiteral("StandardBlock_3"), {20, 0});
    showRoot();
    search(QString::number(second->identifier()));
    QCOMPARE(m_view->scrolls, QList<uint>{second->identifier()});
    QCOMPARE(m_view->selected, QList<bool>{true});
    QCOMPARE(m_view->cursorOverridden, QList<bool>{false});
    QVERIFY(!QApplication::overrideCursor());
}

void tst_BlockFinder::identifierMustMatchExactly()
{
    // Eleven NOT blocks: none of their texts holds a 1, so only identifiers could match.
    for (int i = 0; i < 11; ++i)
        place(QStringLiteral("StandardBlock_3"), {qreal(10 * i), 0});
    QCOMPARE(m_code->instances().last()->identifier(), 11u);
    showRoot();
    search(QStringLiteral("1"));
    // Blocks 10 and 11 are passed over; the start, block 1, is tested last and matches.
    QCOMPARE(m_view->scrolls, QList<uint>{1});
    search(QStringLiteral("11"));
    QCOMPARE(m_view->scrolls.last(), 11u);
}

void tst_BlockFinder::singleMatchIsFoundAgain()
{
    place(QStringLiteral("StandardBlock_1"), {0, 0});
    BlockInstance* pump = place(QStringLiteral("StandardBlock_1"), {10, 0}, QStringLiteral("Pumpe"));
    place(QStringLiteral("StandardBlock_1"), {20, 0});
    showRoot();
    search(QStringLiteral("Pumpe"));
    search(QStringLiteral("Pumpe"));
    search(QStringLiteral("Pumpe"));
    QCOMPARE(m_view->scrolls, (QList<uint>{pump->identifier(), pump->identifier(), pump->identifier()}));
}

void tst_BlockFinder::walkStartsBehindTheLastHitAndWraps()
{
    BlockInstance* a = place(QStringLiteral("StandardBlock_1"), {0, 0}, QStringLiteral("Ventil A"));
    BlockInstance* b = place(QStringLiteral("StandardBlock_1"), {10, 0}, QStringLiteral("Pumpe"));
    BlockInstance* c = place(QStringLiteral("StandardBlock_1"), {20, 0}, QStringLiteral("Ventil C"));
    showRoot();
    search(QStringLiteral("Ventil"));
    search(QStringLiteral("Ventil"));
    search(QStringLiteral("Ventil"));
    QCOMPARE(m_view->scrolls, (QList<uint>{c->identifier(), a->identifier(), c->identifier()}));
    Q_UNUSED(b)
}

void tst_BlockFinder::previousSearchesForwardToo()
{
    BlockInstance* a = place(QStringLiteral("StandardBlock_1"), {0, 0}, QStringLiteral("Motor 1"));
    BlockInstance* b = place(QStringLiteral("StandardBlock_1"), {10, 0}, QStringLiteral("Motor 2"));
    BlockInstance* c = place(QStringLiteral("StandardBlock_1"), {20, 0}, QStringLiteral("Motor 3"));
    showRoot();
    search(QStringLiteral("Motor"));
    search(QStringLiteral("Motor"), true);
    search(QStringLiteral("Motor"), true);
    search(QStringLiteral("Motor"));
    QCOMPARE(m_view->scrolls, (QList<uint>{b->identifier(), c->identifier(), a->identifier(), b->identifier()}));
}

void tst_BlockFinder::textInAnotherCaseIsFound()
{
    place(QStringLiteral("StandardBlock_1"), {0, 0});
    BlockInstance* pump = place(QStringLiteral("StandardBlock_1"), {10, 0}, QStringLiteral("Pumpe"));
    showRoot();
    search(QStringLiteral("pUMPE"));
    QCOMPARE(m_view->scrolls, QList<uint>{pump->identifier()});
}

void tst_BlockFinder::numberTitleAndNameAreSearched_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("number") << QStringLiteral("10");
    QTest::newRow("title") << QStringLiteral("add");
    QTest::newRow("name") << QStringLiteral("Summe");
}

void tst_BlockFinder::numberTitleAndNameAreSearched()
{
    QFETCH(QString, text);
    place(QStringLiteral("StandardBlock_3"), {0, 0});
    BlockInstance* add = place(QStringLiteral("StandardBlock_10"), {10, 0}, QStringLiteral("Summe"));
    place(QStringLiteral("StandardBlock_3"), {20, 0});
    QCOMPARE(add->numberText(), QStringLiteral("10"));
    QVERIFY(add->title().contains(QStringLiteral("ADD")));
    showRoot();
    search(text);
    QCOMPARE(m_view->scrolls, QList<uint>{add->identifier()});
}

void tst_BlockFinder::pinNamesAreSearched()
{
    Block* speed = ModelBuilder::primitive(m_model->standard()->library(), QStringLiteral("StandardBlock_50"),
                                           QStringLiteral("REGLER"), {{QStringLiteral("Drehzahl"), DatatypeProvider::DInt}},
                                           {{QStringLiteral("Y"), DatatypeProvider::DInt}});
    place(QStringLiteral("StandardBlock_3"), {0, 0});
    BlockInstance* controller = ModelBuilder::place(m_code, ModelBuilder::newest(speed), {10, 0});
    place(QStringLiteral("StandardBlock_3"), {20, 0});
    showRoot();
    search(QStringLiteral("drehzahl"));
    QCOMPARE(m_view->scrolls, QList<uint>{controller->identifier()});
}

void tst_BlockFinder::parameterListIsSearched()
{
    place(QStringLiteral("StandardBlock_3"), {0, 0});
    BlockInstance* magic = place(QStringLiteral("MagicBlock_300005"), {10, 0});
    magic->setLines({QStringLiteral("P17 Sollwert")});
    place(QStringLiteral("StandardBlock_3"), {20, 0});
    showRoot();
    search(QStringLiteral("sollwert"));
    QCOMPARE(m_view->scrolls, QList<uint>{magic->identifier()});
}

void tst_BlockFinder::parameterDefinitionTextsAreSearched_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("record");
    QTest::newRow("short text") << QStringLiteral("drehmom") << false;
    QTest::newRow("long text") << QStringLiteral("maximales") << false;
    QTest::newRow("coordinate") << QStringLiteral("p42") << false;
    QTest::newRow("element short") << QStringLiteral("achse") << true;
    QTest::newRow("element long") << QStringLiteral("achse lang") << true;
}

void tst_BlockFinder::parameterDefinitionTextsAreSearched()
{
    QFETCH(QString, text);
    QFETCH(bool, record);
    Block* block = Block::createUserBlock();
    m_model->user()->library()->insertBlock(block);
    BlockDefinition* definition = block->createDefinition();
    ParameterDefinition* parameter = ParameterDefinitionLoader::createAndLoadParameterDefinition(
        parameterText("P42", "Drehmoment", "Maximales Drehmoment", record ? QByteArray("Achse") : QByteArray()));
    QVERIFY(parameter);
    QCOMPARE(parameter->isRecordParameterDefinition(), record);
    definition->attachParameterGeneralDefinition(0, parameter);
    QVERIFY(definition->isParameterDefinitionBlock());

    place(QStringLiteral("StandardBlock_3"), {0, 0});
    BlockInstance* holder = ModelBuilder::place(m_code, definition, {10, 0});
    place(QStringLiteral("StandardBlock_3"), {20, 0});
    showRoot();
    search(text);
    QCOMPARE(m_view->scrolls, QList<uint>{holder->identifier()});
}

void tst_BlockFinder::notFoundShowsAMessage()
{
    place(QStringLiteral("StandardBlock_1"), {0, 0});
    place(QStringLiteral("StandardBlock_1"), {10, 0});
    showRoot();
    QCOMPARE(answerMessage([this] { search(QStringLiteral("Kessel")); }), QStringLiteral("\"Kessel\" wurde nicht gefunden"));
    QVERIFY(m_view->scrolls.isEmpty());
    QVERIFY(!QApplication::overrideCursor());
}

void tst_BlockFinder::failedSearchStaysWhereItBegan()
{
    BlockInstance* a = place(QStringLiteral("StandardBlock_1"), {0, 0}, QStringLiteral("Ventil"));
    place(QStringLiteral("StandardBlock_1"), {10, 0});
    BlockInstance* c = place(QStringLiteral("StandardBlock_1"), {20, 0}, QStringLiteral("Ventil"));
    showRoot();
    search(QStringLiteral("Ventil"));
    QCOMPARE(m_view->scrolls.last(), c->identifier());
    answerMessage([this] { search(QStringLiteral("Kessel")); });
    // The walk went once around and stands at the last hit again.
    search(QStringLiteral("Ventil"));
    QCOMPARE(m_view->scrolls.last(), a->identifier());
}

void tst_BlockFinder::sceneWithoutBlocksEndsInTheMessage()
{
    showRoot();
    QCOMPARE(answerMessage([this] { search(QStringLiteral("x")); }), QStringLiteral("\"x\" wurde nicht gefunden"));
    QVERIFY(m_view->scrolls.isEmpty());
}

void tst_BlockFinder::viewWithoutSceneEndsInTheMessage()
{
    QCOMPARE(answerMessage([this] { search(QStringLiteral("x")); }), QStringLiteral("\"x\" wurde nicht gefunden"));
}

void tst_BlockFinder::blockWithoutInstanceDoesNotMatch()
{
    // A NOT block: none of its texts holds the other block's identifier.
    place(QStringLiteral("StandardBlock_3"), {0, 0});
    BlockInstance* pump = place(QStringLiteral("StandardBlock_3"), {10, 0}, QStringLiteral("Pumpe"));
    const uint identifier = pump->identifier();
    showRoot();
    // The scene is not active, so the item outlives its instance until the next active update.
    m_code->deleteInstance(identifier);
    auto* scene = static_cast<BlockHierarchyNodeScene*>(m_view->scene());
    QVERIFY(scene->blockItem(identifier));
    QVERIFY(!scene->blockItem(identifier)->blockInstance());
    QCOMPARE(answerMessage([this] { search(QStringLiteral("Pumpe")); }), QStringLiteral("\"Pumpe\" wurde nicht gefunden"));
    QCOMPARE(answerMessage([&] { search(QString::number(identifier)); }),
             QStringLiteral("\"%1\" wurde nicht gefunden").arg(identifier));
}

void tst_BlockFinder::newTextMovesTheOldOneIntoTheListOnce()
{
    place(QStringLiteral("StandardBlock_1"), {0, 0}, QStringLiteral("Alpha"));
    place(QStringLiteral("StandardBlock_1"), {10, 0}, QStringLiteral("Beta"));
    showRoot();
    search(QStringLiteral("Alpha"));
    QCOMPARE(m_combo->count(), 0);
    search(QStringLiteral("Beta"));
    QCOMPARE(m_combo->count(), 1);
    QCOMPARE(m_combo->itemText(0), QStringLiteral("Alpha"));
    // The edit keeps the text of the running search.
    QCOMPARE(m_combo->currentText(), QStringLiteral("Beta"));
    search(QStringLiteral("Beta"));
    QCOMPARE(m_combo->count(), 1);
    search(QStringLiteral("Alpha"));
    QCOMPARE(m_combo->count(), 2);
    QCOMPARE(m_combo->itemText(1), QStringLiteral("Beta"));
    search(QStringLiteral("Beta"));
    QCOMPARE(m_combo->count(), 2);
    QCOMPARE(m_combo->findText(QStringLiteral("Alpha")), 0);
}

void tst_BlockFinder::emptyTextMatchesEverything()
{
    BlockInstance* a = place(QStringLiteral("StandardBlock_1"), {0, 0});
    BlockInstance* b = place(QStringLiteral("StandardBlock_1"), {10, 0});
    showRoot();
    search(QString());
    search(QString());
    QCOMPARE(m_view->scrolls, (QList<uint>{b->identifier(), a->identifier()}));
}

void tst_BlockFinder::identifierOfAnotherLevelRestartsAtTheTop()
{
    // A level whose blocks carry other identifiers: the stop of the last search is not among them.
    BlockInstance* a = place(QStringLiteral("StandardBlock_1"), {0, 0}, QStringLiteral("Ventil"));
    place(QStringLiteral("StandardBlock_1"), {10, 0});
    BlockInstance* c = place(QStringLiteral("StandardBlock_1"), {20, 0}, QStringLiteral("Ventil"));
    showRoot();
    search(QStringLiteral("Ventil"));
    QCOMPARE(m_view->scrolls.last(), c->identifier());

    BlockDefinition* regler = ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20")));
    BlockCode* inner = regler->code();
    QVERIFY(!inner->instance(c->identifier()));
    BlockInstance* only = inner->instances().first();
    only->setName(QStringLiteral("Ventil innen"));
    m_view->setScene(BlockDefinitionScene::forCode(inner));
    search(QStringLiteral("Ventil"));
    QCOMPARE(m_view->scrolls.last(), only->identifier());
    Q_UNUSED(a)
}

void tst_BlockFinder::comboBoxThatDiedFirst()
{
    BlockInstance* a = place(QStringLiteral("StandardBlock_1"), {0, 0}, QStringLiteral("Ventil"));
    BlockInstance* b = place(QStringLiteral("StandardBlock_1"), {10, 0});
    showRoot();
    search(QStringLiteral("Ventil"));
    QCOMPARE(m_view->scrolls.last(), a->identifier());
    // The tool bar went before the view: the search goes on with no text, which every block matches.
    m_combo.reset();
    m_view->findNextBlock();
    QCOMPARE(m_view->scrolls.last(), b->identifier());
}

ZK_TEST_REGISTER(tst_BlockFinder)
#include "tst_BlockFinder.moc"
