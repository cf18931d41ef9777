#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPin.h"
#include "BlockRepository.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "System.h"

#include <QSignalSpy>
#include <QTest>

#include <memory>

class tst_Block : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void kinds_data();
    void kinds();
    void userBlocksHaveFreshIdentifiers();
    void versionsAscend();
    void createDefinitionClone();
    void deleteDefinition();
    void snapshotRestoresEveryDefinition();
    void snapshotKeepsDefinitionObjects();
    void loadContentsRejectsGarbage_data();
    void loadContentsRejectsGarbage();
    void cloneFromTakesAllButIdentifier();
    void accessRules();
    void instanceCounts();
    void localBlockLibraries();
    void libraryReplacesBlockOfSameIdentifier();
    void libraryGroupPaths();
    void repositorySignals();
    void helpPages();
};

void tst_Block::kinds_data()
{
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<uint>("system");
    QTest::addColumn<uint>("standard");
    QTest::addColumn<uint>("tool");
    QTest::addColumn<uint>("magic");
    QTest::addColumn<QString>("shown");

    QTest::newRow("standard") << "StandardBlock_42" << "standard" << 0u << 42u << 0u << 0u << "42";
    QTest::newRow("system") << "SystemBlock_7" << "system" << 7u << 0u << 0u << 0u << "7";
    QTest::newRow("tool") << "ToolBlock_8000008" << "tool" << 0u << 0u << 8000008u << 0u << "8000008";
    QTest::newRow("magic") << "MagicBlock_300005" << "magic" << 0u << 0u << 0u << 300005u << "300005";
    QTest::newRow("template") << "TemplateBlock_3" << "template" << 0u << 0u << 0u << 0u << "TemplateBlock_3";
    QTest::newRow("root") << "RootBlock" << "root" << 0u << 0u << 0u << 0u << "RootBlock";
    QTest::newRow("standard without number") << "StandardBlock_" << "standard" << 0u << 0u << 0u << 0u << "0";
    QTest::newRow("letters after prefix") << "StandardBlock_12a" << "none" << 0u << 0u << 0u << 0u << "StandardBlock_12a";
    QTest::newRow("prefix inside") << "XStandardBlock_1" << "none" << 0u << 0u << 0u << 0u << "XStandardBlock_1";
    QTest::newRow("root with suffix") << "RootBlock1" << "none" << 0u << 0u << 0u << 0u << "RootBlock1";
    QTest::newRow("user") << "UserBlock_ABC" << "none" << 0u << 0u << 0u << 0u << "UserBlock_ABC";
}

void tst_Block::kinds()
{
    QFETCH(QString, identifier);
    QFETCH(QString, kind);
    std::unique_ptr<Block> block(Block::createBlock(identifier));
    QCOMPARE(block->identifier(), identifier);
    QCOMPARE(block->isStandardBlock(), kind == QLatin1String("standard"));
    QCOMPARE(block->isSystemBlock(), kind == QLatin1String("system"));
    QCOMPARE(block->isToolBlock(), kind == QLatin1String("tool"));
    QCOMPARE(block->isMagicBlock(), kind == QLatin1String("magic"));
    QCOMPARE(block->isTemplateBlock(), kind == QLatin1String("template"));
    QCOMPARE(block->isRootBlock(), kind == QLatin1String("root"));
    QTEST(block->systemBlockNumber(), "system");
    QTEST(block->standardBlockNumber(), "standard");
    QTEST(block->toolBlockNumber(), "tool");
    QTEST(block->magicBlockNumber(), "magic");
    const QString number = block->displayNumber();
    QTEST(number.isEmpty() ? block->identifier() : number, "shown");
    QVERIFY(!block->isUserBlock());
    QVERIFY(!block->isLocalBlock());
    QVERIFY(!block->isFallbackBlock());
}

void tst_Block::userBlocksHaveFreshIdentifiers()
{
    TestModel model;
    std::unique_ptr<Block> a(Block::createUserBlock());
    std::unique_ptr<Block> b(Block::createUserBlock());
    QVERIFY(a->isUserBlock());
    QVERIFY(a->identifier() != b->identifier());
    QVERIFY(a->versions().isEmpty());
    QCOMPARE(a->ownerLibrary(), nullptr);
    QVERIFY(!BlockRepository::instance().block(a->identifier()));
    BlockDefinition* d = a->createDefinition();
    QVERIFY(d->hasCode());
    QCOMPARE(d->version(), 0u);
}

void tst_Block::versionsAscend()
{
    std::unique_ptr<Block> block(Block::createBlock(QStringLiteral("StandardBlock_5")));
    block->createDefinition(7);
    block->createDefinition(2);
    block->createDefinition(4);
    QCOMPARE(block->versions(), (QList<unsigned int>{2, 4, 7}));
    BlockDefinition* next = block->createDefinition();
    QCOMPARE(next->version(), 8u);
    QCOMPARE(block->versions().last(), 8u);
    QCOMPARE(block->createDefinition(4), nullptr);
    QCOMPARE(block->blockDefinition(3), nullptr);
}

void tst_Block::createDefinitionClone()
{
    TestModel model;
    Block* regler = model.block(QStringLiteral("StandardBlock_20"));
    QVERIFY(regler);
    QCOMPARE(regler->createDefinitionClone(99), nullptr);
    BlockDefinition* clone = regler->createDefinitionClone(0);
    QVERIFY(clone);
    QCOMPARE(clone->version(), 1u);
    QCOMPARE(clone->pins(), regler->blockDefinition(0)->pins());
    QVERIFY(clone->code());
    QCOMPARE(clone->code()->instances().size(), 1);
    QVERIFY(clone->code() != regler->blockDefinition(0)->code());
    // The copy's code is independent of the original.
    clone->code()->deleteInstance(clone->code()->instances().first()->identifier());
    QCOMPARE(regler->blockDefinition(0)->code()->instances().size(), 1);
}

void tst_Block::deleteDefinition()
{
    TestModel model;
    Block* andBlock = model.block(QStringLiteral("StandardBlock_1"));
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), andBlock->blockDefinition(0), QPointF(1, 1));
    QVERIFY(instance);
    QPointer<BlockDefinition> definition = andBlock->blockDefinition(0);
    QSignalSpy spy(andBlock, &Block::changed);
    andBlock->deleteDefinition(0);
    QVERIFY(definition.isNull());
    QCOMPARE(spy.count(), 1);
    // The instance stays, as a faulty one without definition.
    QCOMPARE(instance->blockDefinition(), nullptr);
    QVERIFY(instance->error() != 0);
    QVERIFY(instance->pins().isEmpty());
    andBlock->deleteDefinition(0);
    QCOMPARE(spy.count(), 1);
}

void tst_Block::snapshotRestoresEveryDefinition()
{
    TestModel model;
    Block* regler = model.block(QStringLiteral("StandardBlock_20"));
    regler->createDefinitionClone(0);
    const QByteArray before = regler->saveContents();
    regler->setName(Text(LanguageManager::German, QStringLiteral("geändert")));
    regler->blockDefinition(1)->setAccessLevelWrite(4);
    regler->blockDefinition(0)->code()->clear();
    regler->createDefinition();
    QVERIFY(regler->saveContents() != before);
    QSignalSpy spy(regler, &Block::changed);
    QVERIFY(regler->loadContents(before));
    QVERIFY(spy.count() >= 1);
    QCOMPARE(regler->saveContents(), before);
    QCOMPARE(regler->versions(), (QList<unsigned int>{0, 1}));
    QCOMPARE(regler->blockDefinition(0)->code()->instances().size(), 1);
    QCOMPARE(regler->name().text(), QStringLiteral("Regler"));
}

void tst_Block::snapshotKeepsDefinitionObjects()
{
    TestModel model;
    Block* andBlock = model.block(QStringLiteral("StandardBlock_1"));
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), andBlock->blockDefinition(0), QPointF(1, 1));
    BlockDefinition* definition = andBlock->blockDefinition(0);
    const QByteArray snapshot = andBlock->saveContents();
    QVERIFY(andBlock->loadContents(snapshot));
    QCOMPARE(andBlock->blockDefinition(0), definition);
    QCOMPARE(instance->blockDefinition(), definition);
    QCOMPARE(instance->pins().size(), 3);
}

void tst_Block::loadContentsRejectsGarbage_data()
{
    QTest::addColumn<QByteArray>("contents");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("not json") << QByteArray("nonsense{");
    QTest::newRow("array") << QByteArray("[1,2]");
    QTest::newRow("no definitions") << QByteArray(R"({"identifier":"StandardBlock_1"})");
    QTest::newRow("bad pin function") << QByteArray(
        R"({"identifier":"StandardBlock_1","definitions":[{"version":0,"pins":[{"id":1,"function":7,"datatype":1}]}]})");
    QTest::newRow("duplicate versions") << QByteArray(
        R"({"identifier":"StandardBlock_1","definitions":[{"version":0},{"version":0}]})");
    QTest::newRow("truncated") << QByteArray(R"({"identifier":"StandardBlock_1","definitions":[{"version":0,"pins":[)");
}

void tst_Block::loadContentsRejectsGarbage()
{
    QFETCH(QByteArray, contents);
    TestModel model;
    Block* andBlock = model.block(QStringLiteral("StandardBlock_1"));
    const QByteArray before = andBlock->saveContents();
    QVERIFY(!andBlock->loadContents(contents));
    QCOMPARE(andBlock->saveContents(), before);
}

void tst_Block::cloneFromTakesAllButIdentifier()
{
    TestModel model;
    Block* regler = model.block(QStringLiteral("StandardBlock_20"));
    std::unique_ptr<Block> copy(Block::createUserBlock());
    const QString identifier = copy->identifier();
    copy->cloneFrom(regler);
    QCOMPARE(copy->identifier(), identifier);
    QCOMPARE(copy->name(), regler->name());
    QCOMPARE(copy->versions(), regler->versions());
    QCOMPARE(copy->blockDefinition(0)->pins(), regler->blockDefinition(0)->pins());
    QCOMPARE(copy->blockDefinition(0)->code()->instances().size(), 1);
    QCOMPARE(copy->blockDefinition(0)->block(), copy.get());
}

void tst_Block::accessRules()
{
    TestModel model;
    Block* andBlock = model.block(QStringLiteral("StandardBlock_1"));
    BlockDefinition* d = andBlock->blockDefinition(0);
    // A standard library is read-only material, whatever the level.
    System::instance().setUserAccessLevelCode(5);
    QVERIFY(!d->isWritable());
    QVERIFY(!andBlock->allowDelete());
    Block* user = ModelBuilder::primitive(model.user()->library(), QStringLiteral("UserBlock_T1"), QStringLiteral("Mein"),
                                          {}, {{QStringLiteral("A"), DatatypeProvider::Bool}});
    BlockDefinition* u = user->blockDefinition(0);
    u->setAccessLevelWrite(4);
    System::instance().setUserAccessLevelCode(3);
    QVERIFY(!u->isWritable());
    System::instance().setUserAccessLevelCode(4);
    QVERIFY(u->isWritable());
    u->setAccessLevelRead(5);
    QVERIFY(!u->isVisible());
    System::instance().setUserAccessLevelCode(5);
    QVERIFY(u->isVisible());
    QVERIFY(user->allowDelete());
    QVERIFY(!u->isStepInAllowed()); // no code
    Block* regler = model.block(QStringLiteral("StandardBlock_20"));
    QVERIFY(regler->blockDefinition(0)->isStepInAllowed());
    regler->blockDefinition(0)->setStepInEnabled(false);
    QVERIFY(!regler->blockDefinition(0)->isStepInAllowed());
}

void tst_Block::instanceCounts()
{
    TestModel model;
    Block* andBlock = model.block(QStringLiteral("StandardBlock_1"));
    // One inside the Regler of the fixture.
    QCOMPARE(andBlock->instanceCount(), 1u);
    BlockCode* code = model.rootCode();
    BlockInstance* a = ModelBuilder::place(code, andBlock->blockDefinition(0), QPointF(1, 1));
    ModelBuilder::place(code, andBlock->blockDefinition(0), QPointF(1, 5));
    QCOMPARE(andBlock->instanceCount(), 3u);
    QCOMPARE(andBlock->blockDefinition(0)->instanceCount(), 3u);
    code->deleteInstance(a->identifier());
    QCOMPARE(andBlock->instanceCount(), 2u);
}

void tst_Block::localBlockLibraries()
{
    TestModel model;
    BlockDefinition* root = model.area()->rootDefinition();
    BlockLibrary* local = root->localBlockLibrary();
    QVERIFY(local);
    QVERIFY(local->container()->isLocal());
    // Standard material has none.
    QCOMPARE(model.block(QStringLiteral("StandardBlock_20"))->blockDefinition(0)->localBlockLibrary(), nullptr);
    QCOMPARE(model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0)->localBlockLibrary(), nullptr);
    Block* block = Block::createUserBlock();
    BlockDefinition* d = block->createDefinition();
    local->insertBlock(block);
    QVERIFY(block->isLocalBlock());
    QCOMPARE(block->ownerLibrary(), local);
    QCOMPARE(root->resolveBlock(block->identifier()), block);
    // Local blocks are not in the repository.
    QCOMPARE(BlockRepository::instance().block(block->identifier()), nullptr);
    // A local block's code sees its siblings.
    QCOMPARE(d->resolveBlock(block->identifier()), block);
    QCOMPARE(d->resolveBlock(QStringLiteral("StandardBlock_1")), model.block(QStringLiteral("StandardBlock_1")));
}

void tst_Block::libraryReplacesBlockOfSameIdentifier()
{
    TestModel model;
    BlockLibrary* local = model.area()->rootDefinition()->localBlockLibrary();
    Block* first = Block::createUserBlock();
    first->createDefinition();
    local->insertBlock(first);
    BlockInstance* instance = model.rootCode()->createInstanceInRealtimeTask(first->blockDefinition(0));
    QVERIFY(instance);
    const QByteArray contents = first->saveContents();
    Block* second = Block::createBlock(first->identifier());
    QVERIFY(second->loadContents(contents));
    QPointer<Block> old(first);
    QSignalSpy spy(local, &BlockLibrary::contentsChanged);
    local->insertBlock(second);
    QVERIFY(old.isNull());
    QCOMPARE(spy.count(), 1);
    QCOMPARE(local->block(second->identifier()), second);
    QCOMPARE(instance->blockDefinition(), second->blockDefinition(0));
    QCOMPARE(local->blockIdentifiers().size(), 1);
}

void tst_Block::libraryGroupPaths()
{
    TestModel model;
    BlockLibrary* lib = model.standard()->library();
    QCOMPARE(lib->groupPaths(), (QList<QString>{QStringLiteral("1;2"), QStringLiteral("1;3"), QStringLiteral("4")}));
    QCOMPARE(lib->blockIdentifiers(QStringLiteral("1;2")).size(), 3);
    // Exactly this path, no descent.
    QCOMPARE(lib->blockIdentifiers(QStringLiteral("1")).size(), 0);
    QSignalSpy spy(lib, &BlockLibrary::contentsChanged);
    Block* removed = lib->removeBlock(QStringLiteral("StandardBlock_3"));
    QVERIFY(removed);
    QCOMPARE(removed->ownerLibrary(), nullptr);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(lib->removeBlock(QStringLiteral("StandardBlock_3")), nullptr);
    QCOMPARE(spy.count(), 1);
    delete removed;
    QCOMPARE(lib->blockIdentifiers(QStringLiteral("1;2")).size(), 2);
}

void tst_Block::repositorySignals()
{
    TestModel model;
    BlockRepository& repository = BlockRepository::instance();
    QCOMPARE(repository.containers().size(), 2);
    QCOMPARE(repository.libraries().size(), 2);
    QVERIFY(repository.blockDefinition(QStringLiteral("ToolBlock_8000008"), 1));
    QCOMPARE(repository.blockDefinition(QStringLiteral("ToolBlock_8000008"), 0), nullptr);
    QCOMPARE(repository.blockDefinition(QStringLiteral("Unknown"), 0), nullptr);
    QCOMPARE(repository.blockGroupName(1).text(), QStringLiteral("Logik"));
    QSignalSpy changed(&repository, &BlockRepository::changed);
    QSignalSpy groups(&repository, &BlockRepository::groupsChanged);
    ModelBuilder::primitive(model.user()->library(), QStringLiteral("UserBlock_X"), QStringLiteral("X"), {}, {});
    QVERIFY(changed.count() >= 1);
    repository.setBlockGroupName(9, Text(LanguageManager::German, QStringLiteral("Neu")));
    QVERIFY(groups.count() >= 1);
    QCOMPARE(repository.groupPathText(QStringLiteral("1;2")), QStringLiteral("Logik / Gatter"));
}

void tst_Block::helpPages()
{
    TestModel model;
    BlockRepository& repository = BlockRepository::instance();
    const QString html = repository.blockHelpHtml(repository.blockDefinition(QStringLiteral("StandardBlock_10"), 0));
    QVERIFY(html.contains(QStringLiteral("ADD")));
    QVERIFY(html.contains(QStringLiteral("DINT")));
    QVERIFY(html.contains(QStringLiteral("E1")));
    QVERIFY(repository.showBlockHelp(QStringLiteral("StandardBlock_10"), 0));
    QVERIFY(repository.helpWindow());
    QVERIFY(repository.helpWindow()->isVisible());
    QVERIFY(!repository.showBlockHelp(QStringLiteral("StandardBlock_10"), 5));
    QVERIFY(repository.showHelpContent(QStringLiteral("BlockGroup_2")));
    QVERIFY(repository.helpContentHtml(QStringLiteral("BlockGroup_2")).contains(QStringLiteral("UND")));
    QVERIFY(!repository.showHelpContent(QStringLiteral("BlockGroup_xyz")));
    repository.helpWindow()->close();
}

ZK_TEST_REGISTER(tst_Block)
#include "tst_Block.moc"
