#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "ModelBuilder.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include <QMimeData>
#include <QSet>
#include <QTest>

#include <memory>


namespace {

const QByteArray kHeader = "ZKBLOCKCODE 1\n";

QStringList blockIds(const BlockLibrary* library)
{
    QStringList ids;
    if (library) {
        for (const Block* block : library->blocks())
            ids.append(block->identifier());
    }
    return ids;
}

// A connection of `code` from (source instance, pin) to (target instance, pin), or null.
const BlockPinConnection* findWire(const BlockCode* code, unsigned int from, int out, unsigned int to, int in)
{
    for (const BlockPinConnection* c : code->connections()) {
        if (c->source() && c->target() && c->source()->owner()->identifier() == from && c->source()->identifier() == out
            && c->target()->owner()->identifier() == to && c->target()->identifier() == in)
            return c;
    }
    return nullptr;
}

// A local block as it travels in a [LocalBlock] section.
QByteArray localBlockJson(const QString& identifier)
{
    return QStringLiteral(R"({"identifier":"%1","name":{"de":"Lokal"},"definitions":[{"version":0,"function":"not",)"
                          R"("pins":[{"id":1,"function":1,"datatype":1},{"id":2,"function":2,"datatype":1}]}]})")
        .arg(identifier)
        .toUtf8();
}

// A hand-written payload: an AND and a local block wired together, and the local block itself.
QByteArray templatePayload()
{
    QByteArray p = kHeader;
    p += "[Instance]\nId=1\nBlock=StandardBlock_1\nVersion=0\nName=Tor\nPosition=0;0\nRuntime=1\nBackground=0\n"
         "Parameters=\nLines=\nLineCount=0\nNote=zwei\\nZeilen\nError=0\nPin=1;1;0;\n";
    p += "[Instance]\nId=2\nBlock=LocalBlock_Travel\nVersion=0\nName=\nPosition=10;0\nRuntime=2\nBackground=0\n"
         "Parameters=\nLines=\nLineCount=0\nNote=\nError=0\n";
    p += "[Connection]\nSource=1;3\nTarget=2;1\nNodes=5;0|5;1\n";
    p += "[Connection]\nSource=2;2\nTarget=7;1\nNodes=\n";
    p += "[LocalBlock]\nContents=" + localBlockJson(QStringLiteral("LocalBlock_Travel")).toBase64() + '\n';
    return p;
}

QMimeData* mime(const QString& format, const QByteArray& bytes)
{
    auto* data = new QMimeData;
    if (format == QStringLiteral("text/plain"))
        data->setText(QString::fromUtf8(bytes));
    else
        data->setData(format, bytes);
    return data;
}

// The open model with a few instances: AND(1) -> OR(2) -> NOT(3), and a local block (4) fed by the AND.
struct Scene
{
    TestModel model;
    BlockCode* root = nullptr;
    Block* local = nullptr;
    Block* composite = nullptr;
    BlockCode* other = nullptr;

    Scene()
    {
        root = model.rootCode();
        BlockDefinition* rootDefinition = root->definition();
        local = ModelBuilder::primitive(rootDefinition->ensureLocalBlockLibrary(), QStringLiteral("LocalBlock_1"),
                                        QStringLiteral("Lokal"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}},
                                        QStringLiteral("not"));
        BlockInstance* a = ModelBuilder::place(root, ModelBuilder::newest(model.block(QStringLiteral("StandardBlock_1"))), QPointF(0, 0));
        BlockInstance* b = ModelBuilder::place(root, ModelBuilder::newest(model.block(QStringLiteral("StandardBlock_2"))), QPointF(10, 0));
        BlockInstance* c = ModelBuilder::place(root, ModelBuilder::newest(model.block(QStringLiteral("StandardBlock_3"))), QPointF(20, 0));
        BlockInstance* l = ModelBuilder::place(root, ModelBuilder::newest(local), QPointF(10, 10));
        ModelBuilder::wire(root, a, 3, b, 1, {QPointF(5, 0), QPointF(5, 1)});
        ModelBuilder::wire(root, b, 3, c, 1);
        ModelBuilder::wire(root, a, 3, l, 1);
        a->pin(1)->setInverted(true);
        a->pin(2)->setInitialValue(QStringLiteral("TRUE"));
        b->setName(QStringLiteral("Oder"));
        composite = ModelBuilder::composite(model.user()->library(), QStringLiteral("UserBlock_50"), QStringLiteral("Ziel"),
                                            {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
        other = ModelBuilder::newest(composite)->code();
    }
};

} // namespace

class tst_TransferData : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void mimeTypeAndHeader();
    void intoSameCode();
    void intoOtherDefinition();
    void localBlockAlreadyVisibleIsNotDuplicated();
    void templateInserts();
    void foreign_data();
    void foreign();
};

void tst_TransferData::mimeTypeAndHeader()
{
    Scene s;
    std::unique_ptr<QMimeData> data(s.root->createTransferData({1}));
    QVERIFY(data);
    QCOMPARE(BlockCode::TransferMimeType, QStringLiteral("application/x-zkblockview-code"));
    QVERIFY(data->hasFormat(BlockCode::TransferMimeType));
    const QByteArray payload = data->data(BlockCode::TransferMimeType);
    QVERIFY(payload.startsWith(kHeader));
    QCOMPARE(payload.mid(kHeader.size()), s.root->text({1}));
    QVERIFY(!payload.contains("[LocalBlock]"));

    std::unique_ptr<QMimeData> withLocal(s.root->createTransferData({4}));
    const QByteArray localPayload = withLocal->data(BlockCode::TransferMimeType);
    QCOMPARE(localPayload.count("[LocalBlock]\nContents="), 1);
}

void tst_TransferData::intoSameCode()
{
    Scene s;
    const QList<unsigned int> before = instanceIds(s.root);
    const int wiresBefore = int(s.root->connections().size());
    std::unique_ptr<QMimeData> data(s.root->createTransferData({1, 2}));

    const QList<unsigned int> inserted = s.root->insertTransferData(data.get());
    QCOMPARE(inserted.size(), 2);
    for (unsigned int id : inserted)
        QVERIFY2(!before.contains(id), "a pasted instance must get a fresh identifier");
    QCOMPARE(s.root->instances().size(), before.size() + 2);
    const BlockInstance* a = s.root->instance(inserted.at(0));
    const BlockInstance* b = s.root->instance(inserted.at(1));
    QCOMPARE(a->block(), s.model.block(QStringLiteral("StandardBlock_1")));
    QCOMPARE(b->block(), s.model.block(QStringLiteral("StandardBlock_2")));
    QCOMPARE(a->position(), QPointF(0, 0));
    QCOMPARE(b->name(), QStringLiteral("Oder"));
    QVERIFY(a->pin(1)->isInverted());
    QCOMPARE(a->pin(2)->initialValue(), QStringLiteral("TRUE"));

    // The wire between the two copies comes along; those to NOT and to the local block do not.
    QCOMPARE(int(s.root->connections().size()), wiresBefore + 1);
    const BlockPinConnection* wire = findWire(s.root, a->identifier(), 3, b->identifier(), 1);
    QVERIFY(wire);
    QCOMPARE(wire->nodePositions(), (QList<QPointF>{QPointF(5, 0), QPointF(5, 1)}));
    QVERIFY(findWire(s.root, 1, 3, 2, 1));
    QCOMPARE(s.root->connectionsOf(b->pin(3)).size(), 0);
    QCOMPARE(s.root->connectionsOf(s.root->instance(3)->pin(1)).size(), 1);
    QVERIFY(s.root->realtime(a->identifier()) > 0);

    // Pasting again gives yet other identifiers.
    const QList<unsigned int> again = s.root->insertTransferData(data.get());
    QCOMPARE(again.size(), 2);
    for (unsigned int id : again)
        QVERIFY(!inserted.contains(id) && !before.contains(id));
}

void tst_TransferData::intoOtherDefinition()
{
    Scene s;
    QVERIFY(s.other->instances().isEmpty());
    QVERIFY(!ModelBuilder::newest(s.composite)->existingLocalBlockLibrary()
            || !ModelBuilder::newest(s.composite)->existingLocalBlockLibrary()->block(QStringLiteral("LocalBlock_1")));
    const QByteArray rootText = wholeText(s.root);
    std::unique_ptr<QMimeData> data(s.root->createTransferData({1, 2, 4}));

    const QList<unsigned int> inserted = s.other->insertTransferData(data.get());
    QCOMPARE(inserted.size(), 3);
    QCOMPARE(s.other->instances().size(), 3);
    BlockLibrary* locals = ModelBuilder::newest(s.composite)->existingLocalBlockLibrary();
    QVERIFY(locals);
    Block* travelled = locals->block(QStringLiteral("LocalBlock_1"));
    QVERIFY(travelled);
    QVERIFY(travelled != s.local);
    QVERIFY(travelled->isLocalBlock());
    const BlockInstance* copyOfLocal = s.other->instance(inserted.at(2));
    QCOMPARE(copyOfLocal->block(), travelled);
    QCOMPARE(copyOfLocal->blockDefinition()->pins(), ModelBuilder::newest(s.local)->pins());

    // Both wires among the copies (AND->OR, AND->local) are kept, OR->NOT is dropped.
    QCOMPARE(s.other->connections().size(), 2);
    QVERIFY(findWire(s.other, inserted.at(0), 3, inserted.at(1), 1));
    QVERIFY(findWire(s.other, inserted.at(0), 3, inserted.at(2), 1));
    QCOMPARE(wholeText(s.root), rootText);
    QCOMPARE(blockIds(s.root->definition()->existingLocalBlockLibrary()), QStringList{QStringLiteral("LocalBlock_1")});
}

void tst_TransferData::localBlockAlreadyVisibleIsNotDuplicated()
{
    Scene s;
    std::unique_ptr<QMimeData> data(s.root->createTransferData({4}));
    const QList<unsigned int> inserted = s.root->insertTransferData(data.get());
    QCOMPARE(inserted.size(), 1);
    QCOMPARE(s.root->instance(inserted.first())->block(), s.local);
    QCOMPARE(blockIds(s.root->definition()->existingLocalBlockLibrary()), QStringList{QStringLiteral("LocalBlock_1")});
}

void tst_TransferData::templateInserts()
{
    // The hand-written payload that the foreign rows below spoil is itself good.
    Scene s;
    std::unique_ptr<QMimeData> data(mime(BlockCode::TransferMimeType, templatePayload()));
    const QList<unsigned int> inserted = s.other->insertTransferData(data.get());
    QCOMPARE(inserted.size(), 2);
    const BlockInstance* gate = s.other->instance(inserted.at(0));
    QCOMPARE(gate->name(), QStringLiteral("Tor"));
    QCOMPARE(gate->note(), QStringLiteral("zwei\nZeilen"));
    QVERIFY(gate->pin(1)->isInverted());
    QCOMPARE(s.other->instance(inserted.at(1))->block()->identifier(), QStringLiteral("LocalBlock_Travel"));
    QCOMPARE(s.other->connections().size(), 1);
    QVERIFY(findWire(s.other, inserted.at(0), 3, inserted.at(1), 1));
    QCOMPARE(s.other->connections().first()->nodePositions(), (QList<QPointF>{QPointF(5, 0), QPointF(5, 1)}));
}

void tst_TransferData::foreign_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QByteArray>("payload");

    const QString ours = BlockCode::TransferMimeType;
    const QByteArray good = templatePayload();
    auto replaced = [&good](const QByteArray& from, const QByteArray& to) {
        QByteArray p = good;
        const int at = p.indexOf(from);
        Q_ASSERT(at >= 0);
        return p.replace(at, from.size(), to);
    };
    const int position = good.indexOf("Position=10;");
    const QByteArray contents = "Contents=" + localBlockJson(QStringLiteral("LocalBlock_Travel")).toBase64();

    QTest::newRow("text/plain only") << QStringLiteral("text/plain") << good;
    QTest::newRow("other MIME type") << QStringLiteral("application/json") << good;
    QTest::newRow("garbage") << ours << QByteArray("\x00\xff\xfe garbage \x01[Instance", 22);
    QTest::newRow("empty") << ours << QByteArray();
    QTest::newRow("header only spelled wrong") << ours << QByteArray("ZKBLOCKCODE 2\n") + good.mid(kHeader.size());
    QTest::newRow("truncated in the header") << ours << good.left(6);
    QTest::newRow("truncated in a record") << ours << good.left(position + int(qstrlen("Position=10;")));
    QTest::newRow("broken base64") << ours << replaced(contents, "Contents=@@not*base64@@");
    QTest::newRow("base64 of no JSON") << ours << replaced(contents, "Contents=" + QByteArray("just words").toBase64());
    QTest::newRow("base64 of a bad block") << ours
                                           << replaced(contents, "Contents=" + QByteArray(R"({"identifier":"LocalBlock_Travel","definitions":"none"})").toBase64());
    QTest::newRow("unknown key in a section header") << ours << replaced("[Connection]", "[Connection Kind=1]");
    QTest::newRow("unknown section") << ours << replaced("[Connection]", "[Wire]");
    QTest::newRow("key before any section") << ours << kHeader + "Id=1\n" + good.mid(kHeader.size());
    QTest::newRow("line without key") << ours << replaced("Version=0\n", "Version0\n");
    QTest::newRow("bad escape") << ours << replaced("Name=Tor", "Name=T\\or");
    QTest::newRow("identifier zero") << ours << replaced("Id=1\n", "Id=0\n");
    QTest::newRow("instance without block") << ours << replaced("Block=StandardBlock_1\n", "Block=\n");
    QTest::newRow("position not a number") << ours << replaced("Position=0;0", "Position=x;0");
    QTest::newRow("position not finite") << ours << replaced("Position=0;0", "Position=inf;0");
    QTest::newRow("pin entry too short") << ours << replaced("Pin=1;1;0;", "Pin=1;1");
    QTest::newRow("bad connection end") << ours << replaced("Source=1;3", "Source=1;3;4");
    QTest::newRow("bad node list") << ours << replaced("Nodes=5;0|5;1", "Nodes=5;0|");
}

void tst_TransferData::foreign()
{
    QFETCH(QString, format);
    QFETCH(QByteArray, payload);
    Scene s;
    std::unique_ptr<QMimeData> data(mime(format, payload));
    BlockDefinition* otherDefinition = ModelBuilder::newest(s.composite);
    const QByteArray rootText = wholeText(s.root);
    const QByteArray otherText = wholeText(s.other);
    const QStringList rootLocals = blockIds(s.root->definition()->existingLocalBlockLibrary());
    const QStringList otherLocals = blockIds(otherDefinition->existingLocalBlockLibrary());
    const QStringList userBlocks = blockIds(s.model.user()->library());
    const int rootWires = int(s.root->connections().size());

    QVERIFY(s.root->insertTransferData(data.get()).isEmpty());
    QVERIFY(s.other->insertTransferData(data.get()).isEmpty());

    QCOMPARE(wholeText(s.root), rootText);
    QCOMPARE(wholeText(s.other), otherText);
    QCOMPARE(int(s.root->connections().size()), rootWires);
    QCOMPARE(blockIds(s.root->definition()->existingLocalBlockLibrary()), rootLocals);
    QCOMPARE(blockIds(otherDefinition->existingLocalBlockLibrary()), otherLocals);
    QCOMPARE(blockIds(s.model.user()->library()), userBlocks);
}

ZK_TEST_REGISTER(tst_TransferData)
#include "tst_TransferData.moc"
