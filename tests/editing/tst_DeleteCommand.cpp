#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "AreaInfo.h"
#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockPinConnection.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "DeleteCommand.h"
#include "ModelBuilder.h"
#include "ParameterSetup.h"
#include "System.h"

#include <QGuiApplication>
#include <QClipboard>
#include <QMimeData>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QUndoStack>

#include <memory>

namespace {

QList<unsigned int> sorted(QList<unsigned int> list)
{
    std::sort(list.begin(), list.end());
    return list;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

} // namespace

// Deleting takes a snapshot first, since the objects of the code die with the deletion; undo
// rebuilds from it. What the snapshot holds decides what can come back.
class tst_DeleteCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void nothingSelectedStillPushesAnEntry();
    void readOnlyRefusesDeleteAndCut();
    void textCountsBlocksAndConnections();
    void deleteKeyPushesTheCommand();
    void cutKeyCopiesAndDeletes();
    void snapshotOfSelectedBlocks();
    void blocksComeBackUnderTheirIdentifiers();
    void localBlockComesBackIntoTheLibrary();
    void localBlockStillInUseTakesTheSnapshot();
    void connectionSelectedWithBlocksIsNotKeptByItself();
    void connectionsAloneAreKeptByTheirEnds();
    void deleteAndItsUndoAreOneChangeEach();
    void definitionWithoutLocalLibraryCannotBringBlocksBack();
    void parameterValuesComeBack();
    void parameterValuesAreNotSavedWithoutAHierarchyNode();
    void pinAddressOfADanglingEnd();
    void commandOfAGoneSceneDoesNothing();

private:
    BlockDefinitionScene* scene() const { return BlockDefinitionScene::forCode(m_code); }
    BlockItem* item(const BlockInstance* instance) const { return scene()->blockItem(instance->identifier()); }
    ConnectionItem* connectionItem(BlockPinConnection* connection) const
    {
        return scene()->connectionItemMap().value(connection);
    }
    BlockPinConnection* wireBetween(unsigned int from, int out, unsigned int to, int in) const;
    QString parameterName(const BlockInstance* instance, const QString& coordinate) const;

    std::unique_ptr<TestModel> m_model;
    BlockCode* m_code = nullptr;
    Block* m_localBlock = nullptr;
    BlockInstance* m_and = nullptr;
    BlockInstance* m_not = nullptr;
    BlockInstance* m_local = nullptr;
    BlockInstance* m_regler = nullptr;
    BlockPinConnection* m_wire = nullptr;
    BlockPinConnection* m_localWire = nullptr;
};

void tst_DeleteCommand::init()
{
    System::instance().setUserAccessLevelCode(3);
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    m_localBlock = ModelBuilder::primitive(m_code->definition()->ensureLocalBlockLibrary(), QStringLiteral("LocalBlock_1"),
                                           QStringLiteral("Lokal"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}},
                                           QStringLiteral("not"));
    m_and = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
    m_not = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {40, 10});
    m_local = ModelBuilder::place(m_code, ModelBuilder::newest(m_localBlock), {40, 30});
    m_regler = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))), {20, 50});
    m_wire = ModelBuilder::wire(m_code, m_and, 3, m_not, 1, {QPointF(26, 11), QPointF(30, 11), QPointF(30, 14), QPointF(37, 11)});
    m_localWire = ModelBuilder::wire(m_code, m_and, 3, m_local, 1);
    scene()->setReadOnly(false);
}

void tst_DeleteCommand::cleanup()
{
    m_model.reset();
    System::instance().setUserAccessLevelCode(3);
}

BlockPinConnection* tst_DeleteCommand::wireBetween(unsigned int from, int out, unsigned int to, int in) const
{
    const PinAddress wanted{from, quint32(out), to, quint32(in)};
    for (BlockPinConnection* connection : m_code->connections()) {
        if (PinAddress::of(connection) == wanted)
            return connection;
    }
    return nullptr;
}

QString tst_DeleteCommand::parameterName(const BlockInstance* instance, const QString& coordinate) const
{
    BlockInstanceHierarchyNode* node = m_model->area()->hierarchy()->rootNode();
    return node->locationPath() + QStringLiteral(".%1#").arg(instance->identifier()) + coordinate;
}

void tst_DeleteCommand::nothingSelectedStillPushesAnEntry()
{
    BlockDefinitionScene* s = scene();
    const QByteArray before = wholeText(m_code);
    QVERIFY(s->deleteSelectedItems());
    QCOMPARE(s->undoStack()->count(), 1);
    QCOMPARE(s->undoStack()->text(0), QStringLiteral("Delete 0 items"));
    QCOMPARE(wholeText(m_code), before);
    s->undoStack()->undo();
    s->undoStack()->redo();
    QCOMPARE(wholeText(m_code), before);
}

void tst_DeleteCommand::readOnlyRefusesDeleteAndCut()
{
    BlockDefinitionScene* s = scene();
    s->setReadOnly(true);
    item(m_and)->setSelected(true);
    QVERIFY(!s->deleteSelectedItems());
    QVERIFY(!sendSceneKey(s, Qt::Key_Delete));
    QGuiApplication::clipboard()->clear();
    s->cutToClipboard();
    QCOMPARE(s->undoStack()->count(), 0);
    QVERIFY(m_code->instance(m_and->identifier()));
    // Cutting still copies: copying reads only.
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    QVERIFY(data && data->hasFormat(BlockCode::TransferMimeType));
    QVERIFY(s->isReadOnly());
}

void tst_DeleteCommand::textCountsBlocksAndConnections()
{
    BlockDefinitionScene* s = scene();
    item(m_regler)->setSelected(true);
    connectionItem(m_wire)->setSelected(true);
    QCOMPARE(DeleteCommand(s).text(), QStringLiteral("Delete 2 items"));

    // A connection also counts when only one of its corners is selected.
    s->clearSelection();
    ConnectionItem* wire = connectionItem(m_wire);
    wire->allNodes().at(1)->setSelected(true);
    QCOMPARE(DeleteCommand(s).text(), QStringLiteral("Delete 1 items"));
}

void tst_DeleteCommand::deleteKeyPushesTheCommand()
{
    BlockDefinitionScene* s = scene();
    const unsigned int id = m_not->identifier();
    item(m_not)->setSelected(true);
    QVERIFY(sendSceneKey(s, Qt::Key_Delete));
    QVERIFY(!m_code->instance(id));
    QCOMPARE(s->undoStack()->count(), 1);
    QCOMPARE(s->undoStack()->text(0), QStringLiteral("Delete 1 items"));
}

void tst_DeleteCommand::cutKeyCopiesAndDeletes()
{
    BlockDefinitionScene* s = scene();
    const unsigned int id = m_not->identifier();
    item(m_not)->setSelected(true);
    QGuiApplication::clipboard()->clear();
    QVERIFY(sendSceneKey(s, Qt::Key_X, Qt::ControlModifier));
    QVERIFY(!m_code->instance(id));
    QCOMPARE(s->undoStack()->count(), 1);
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    QVERIFY(data && data->hasFormat(BlockCode::TransferMimeType));
    QVERIFY(data->data(BlockCode::TransferMimeType).contains("StandardBlock_3"));
    s->undoStack()->undo();
    QVERIFY(m_code->instance(id));
}

void tst_DeleteCommand::snapshotOfSelectedBlocks()
{
    BlockDefinitionScene* s = scene();
    item(m_and)->setSelected(true);
    item(m_local)->setSelected(true);
    DeleteCommand command(s);
    QCOMPARE(sorted(command.instanceIdentifiers()), sorted({m_and->identifier(), m_local->identifier()}));
    // Only the block of the local library is kept; library blocks stay where they are.
    QCOMPARE(command.savedBlocks().keys(), QStringList{QStringLiteral("LocalBlock_1")});
    QCOMPARE(command.savedBlocks().value(QStringLiteral("LocalBlock_1")), m_localBlock->saveContents());
    QVERIFY(command.savedConnections().isEmpty());
    const QByteArray text = command.savedText();
    QCOMPARE(text.count("RuntimeAbsolute="), 2);
    QVERIFY(!text.contains("\nRuntime="));
    QVERIFY(text.contains("StandardBlock_1"));
    QVERIFY(text.contains("LocalBlock_1"));
    QVERIFY(!text.contains("StandardBlock_3"));
    // The constructor only looks: nothing is gone yet.
    QVERIFY(m_code->instance(m_and->identifier()));
}

void tst_DeleteCommand::blocksComeBackUnderTheirIdentifiers()
{
    BlockDefinitionScene* s = scene();
    const unsigned int andId = m_and->identifier();
    const unsigned int notId = m_not->identifier();
    // Restored instances stand at the end of the code's list, so they are compared one by one.
    const QByteArray before = m_code->text({andId}) + m_code->text({notId});
    const qsizetype connections = m_code->connections().size();
    const unsigned int realtime = m_code->realtime(andId);
    const QList<QPointF> route = m_wire->nodePositions();
    item(m_and)->setSelected(true);
    item(m_not)->setSelected(true);
    QVERIFY(s->deleteSelectedItems());
    QCOMPARE(s->undoStack()->text(0), QStringLiteral("Delete 2 items"));
    QVERIFY(!m_code->instance(andId) && !m_code->instance(notId));
    QVERIFY(m_code->connections().isEmpty());

    s->undoStack()->undo();
    QVERIFY(m_code->instance(andId) && m_code->instance(notId));
    QCOMPARE(m_code->instance(andId)->position(), QPointF(20, 10));
    QCOMPARE(m_code->realtime(andId), realtime);
    // Both wires touch a selected block, so the text carries them, the corners included.
    QVERIFY(wireBetween(andId, 3, notId, 1));
    QCOMPARE(wireBetween(andId, 3, notId, 1)->nodePositions(), route);
    QVERIFY(wireBetween(andId, 3, m_local->identifier(), 1));
    QCOMPARE(m_code->connections().size(), connections);
    QCOMPARE(m_code->text({andId}) + m_code->text({notId}), before);
    QVERIFY(s->blockItemOf(m_code->instance(andId)));

    s->undoStack()->redo();
    QVERIFY(!m_code->instance(andId) && !m_code->instance(notId));
    QVERIFY(m_code->connections().isEmpty());
    s->undoStack()->undo();
    QCOMPARE(m_code->text({andId}) + m_code->text({notId}), before);
}

void tst_DeleteCommand::localBlockComesBackIntoTheLibrary()
{
    BlockDefinitionScene* s = scene();
    BlockLibrary* library = m_code->definition()->localBlockLibrary();
    const unsigned int localId = m_local->identifier();
    item(m_local)->setSelected(true);
    QVERIFY(s->deleteSelectedItems());
    // Gone from the library behind the command's back, as a clean-up of unused blocks would do.
    delete library->removeBlock(QStringLiteral("LocalBlock_1"));
    QVERIFY(!library->block(QStringLiteral("LocalBlock_1")));

    s->undoStack()->undo();
    Block* back = library->block(QStringLiteral("LocalBlock_1"));
    QVERIFY(back);
    QVERIFY(m_code->instance(localId));
    QCOMPARE(m_code->instance(localId)->block(), back);
    QVERIFY(s->blockItemOf(m_code->instance(localId)));
}

void tst_DeleteCommand::localBlockStillInUseTakesTheSnapshot()
{
    BlockDefinitionScene* s = scene();
    BlockLibrary* library = m_code->definition()->localBlockLibrary();
    const unsigned int localId = m_local->identifier();
    const unsigned int otherId = ModelBuilder::place(m_code, ModelBuilder::newest(m_localBlock), {60, 30})->identifier();
    s->rebuild();
    const QByteArray contents = m_localBlock->saveContents();
    item(m_local)->setSelected(true);
    QVERIFY(s->deleteSelectedItems());
    QVERIFY(library->block(QStringLiteral("LocalBlock_1")));

    s->undoStack()->undo();
    // The block that comes back takes the place of the one still there, and the instance that
    // stayed moves over to it.
    Block* back = library->block(QStringLiteral("LocalBlock_1"));
    QVERIFY(back);
    QCOMPARE(back->saveContents(), contents);
    QCOMPARE(m_code->instance(localId)->block(), back);
    QCOMPARE(m_code->instance(otherId)->block(), back);
    QCOMPARE(library->blocks().size(), 1);
    QVERIFY(s->blockItemOf(m_code->instance(otherId)));
}

void tst_DeleteCommand::connectionSelectedWithBlocksIsNotKeptByItself()
{
    BlockDefinitionScene* s = scene();
    const unsigned int andId = m_and->identifier();
    const unsigned int notId = m_not->identifier();
    const unsigned int reglerId = m_regler->identifier();
    item(m_regler)->setSelected(true);
    connectionItem(m_wire)->setSelected(true);
    auto* command = new DeleteCommand(s);
    QVERIFY(command->savedConnections().isEmpty());
    s->undoStack()->push(command);
    QVERIFY(!m_code->instance(reglerId));
    QVERIFY(!wireBetween(andId, 3, notId, 1));

    // The text of the regler does not carry the wire between AND and NOT: it stays away.
    s->undoStack()->undo();
    QVERIFY(m_code->instance(reglerId));
    QVERIFY(!wireBetween(andId, 3, notId, 1));

    // Made again by hand, the later redo leaves it: only the blocks are deleted again.
    QVERIFY(m_code->createConnection(m_and->pin(3), m_not->pin(1)));
    s->undoStack()->redo();
    QVERIFY(!m_code->instance(reglerId));
    QVERIFY(wireBetween(andId, 3, notId, 1));
}

void tst_DeleteCommand::deleteAndItsUndoAreOneChangeEach()
{
    BlockDefinitionScene* s = scene();
    // Ctrl+A selects every block and node, so both wires count as selected connections as well.
    QVERIFY(sendSceneKey(s, Qt::Key_A, Qt::ControlModifier));
    QVERIFY(!s->selectedConnectionItems().isEmpty());
    const QByteArray before = wholeText(m_code);
    QSignalSpy spy(m_code, &BlockCode::changed);
    s->undoStack()->push(new DeleteCommand(s));
    QVERIFY(m_code->instances().isEmpty());
    QVERIFY(m_code->connections().isEmpty());
    // Each change rebuilds every scene of the code: the wires and blocks go in one.
    QCOMPARE(spy.count(), 1);
    spy.clear();
    s->undoStack()->undo();
    QCOMPARE(spy.count(), 1);
    QCOMPARE(m_code->instances().size(), 4);
    QCOMPARE(m_code->connections().size(), 2);
    // The same code in the same order, wires included.
    QCOMPARE(wholeText(m_code), before);
}

void tst_DeleteCommand::connectionsAloneAreKeptByTheirEnds()
{
    BlockDefinitionScene* s = scene();
    const unsigned int andId = m_and->identifier();
    const unsigned int notId = m_not->identifier();
    connectionItem(m_wire)->setSelected(true);
    auto* command = new DeleteCommand(s);
    QVERIFY(command->instanceIdentifiers().isEmpty());
    QCOMPARE(command->savedConnections(), (QList<PinAddress>{PinAddress{andId, 3, notId, 1}}));
    s->undoStack()->push(command);
    QCOMPARE(s->undoStack()->text(0), QStringLiteral("Delete 1 items"));
    QVERIFY(!wireBetween(andId, 3, notId, 1));
    QVERIFY(wireBetween(andId, 3, m_local->identifier(), 1));
    QVERIFY(m_code->instance(andId) && m_code->instance(notId));

    // A later redo finds the connection by its ends, whatever object now stands there, and leaves
    // the others.
    s->undoStack()->undo();
    if (!wireBetween(andId, 3, notId, 1))
        QVERIFY(m_code->createConnection(m_and->pin(3), m_not->pin(1)));
    s->undoStack()->redo();
    QVERIFY(!wireBetween(andId, 3, notId, 1));
    QVERIFY(wireBetween(andId, 3, m_local->identifier(), 1));
    QVERIFY(m_code->instance(andId) && m_code->instance(notId));
}

void tst_DeleteCommand::definitionWithoutLocalLibraryCannotBringBlocksBack()
{
    // The regler comes with the suite: its definition keeps no local library.
    BlockDefinition* definition = m_regler->blockDefinition();
    QVERIFY(!definition->localBlockLibrary());
    BlockCode* code = definition->code();
    QVERIFY(code && !code->instances().isEmpty());
    BlockDefinitionScene* s = BlockDefinitionScene::forCode(code);
    s->setReadOnly(false);
    const unsigned int inner = code->instances().first()->identifier();
    s->blockItem(inner)->setSelected(true);
    auto* command = new DeleteCommand(s);
    QVERIFY(command->instanceIdentifiers().isEmpty());
    QVERIFY(command->savedBlocks().isEmpty());
    QVERIFY(!command->savedText().contains("[Instance]"));
    s->undoStack()->push(command);
    QCOMPARE(s->undoStack()->text(0), QStringLiteral("Delete 1 items"));
    // The first redo removes the block all the same; undo cannot bring it back.
    QVERIFY(!code->instance(inner));
    s->undoStack()->undo();
    QVERIFY(!code->instance(inner));
    QVERIFY(!code->text({inner}).contains("[Instance]"));
}

void tst_DeleteCommand::parameterValuesComeBack()
{
    BlockInstanceArea* area = m_model->area();
    BlockInstanceHierarchyNode* node = area->hierarchy()->rootNode();
    BlockDefinitionScene* s = scene();
    s->setHierarchyNode(node);
    s->setReadOnly(false);
    const int areaNumber = int(area->firstNumber());
    AreaInfo* container = area->areaInfo();

    auto add = [&](const QString& coordinate, const QList<unsigned short>& elements) {
        auto* setup = new ParameterSetup(parameterName(m_and, coordinate), elements);
        container->insertParameterInstance(setup);
        return setup;
    };
    ParameterSetup* single = add(QStringLiteral("P12"), {0});
    ParameterSetup* multi = add(QStringLiteral("P13"), {0, 1, 2});
    ParameterSetup* empty = add(QStringLiteral("P14"), {});
    ParameterSetup* lineBreak = add(QStringLiteral("P15"), {0});
    ParameterSetup* tiedToEmpty = add(QStringLiteral("P16"), {0});
    ParameterSetup* tiedToSingle = add(QStringLiteral("P17"), {0});
    // A parameter of a block that stays is not part of the snapshot.
    auto* other = new ParameterSetup(parameterName(m_not, QStringLiteral("P12")), {0});
    container->insertParameterInstance(other);

    single->setValueText(areaNumber, 0, QStringLiteral("42"));
    multi->setValueText(areaNumber, 0, QStringLiteral("a"));
    multi->setValueText(areaNumber, 1, QStringLiteral("b:c"));
    multi->setValueText(areaNumber, 2, QStringLiteral(""));
    lineBreak->setValueText(areaNumber, 0, QStringLiteral("erste\nzweite"));
    tiedToEmpty->setValueText(areaNumber, 0, QStringLiteral("7"));
    tiedToEmpty->setRelatedParameterNames(areaNumber, {empty->name()});
    tiedToSingle->setValueText(areaNumber, 0, QStringLiteral("8"));
    tiedToSingle->setRelatedParameterNames(areaNumber, {single->name()});
    other->setValueText(areaNumber, 0, QStringLiteral("stays"));

    const unsigned int andId = m_and->identifier();
    item(m_and)->setSelected(true);
    auto* command = new DeleteCommand(s);
    const QMultiHash<QString, QString> saved = command->savedParameterValues();
    QCOMPARE(saved.values(single->name()), QStringList{QStringLiteral("0:42")});
    QCOMPARE(sorted(saved.values(multi->name())),
             (QStringList{QStringLiteral("0:a"), QStringLiteral("1:b:c"), QStringLiteral("2:")}));
    // No elements, no entry: the key is missing altogether.
    QVERIFY(!saved.contains(empty->name()));
    QCOMPARE(saved.values(lineBreak->name()), QStringList{QStringLiteral("0:erste\nzweite")});
    QVERIFY(!saved.contains(other->name()));
    QCOMPARE(saved.uniqueKeys().size(), 5);
    s->undoStack()->push(command);

    // Whatever happens to the values in between, undo writes the snapshot back.
    for (ParameterSetup* setup : {single, multi, lineBreak, tiedToEmpty, tiedToSingle, other}) {
        for (unsigned short element : setup->elementNumbers())
            setup->setValueText(areaNumber, element, QStringLiteral("changed"));
    }
    s->undoStack()->undo();
    QCOMPARE(single->valueText(areaNumber, 0, 0), QStringLiteral("42"));
    QCOMPARE(multi->valueText(areaNumber, 0, 0), QStringLiteral("a"));
    QCOMPARE(multi->valueText(areaNumber, 1, 0), QStringLiteral("b:c"));
    QCOMPARE(multi->valueText(areaNumber, 2, 0), QStringLiteral(""));
    // The dot of the entry pattern stops at the line end: this entry does not match.
    QCOMPARE(lineBreak->valueText(areaNumber, 0, 0), QStringLiteral("changed"));
    // Tied to a parameter that was not saved: skipped as a whole.
    QCOMPARE(tiedToEmpty->valueText(areaNumber, 0, 0), QStringLiteral("changed"));
    QCOMPARE(tiedToSingle->valueText(areaNumber, 0, 0), QStringLiteral("8"));
    QCOMPARE(other->valueText(areaNumber, 0, 0), QStringLiteral("changed"));
    QVERIFY(m_code->instance(andId));
}

void tst_DeleteCommand::parameterValuesAreNotSavedWithoutAHierarchyNode()
{
    // As in the library editor: an area, but no node.
    BlockInstanceArea* area = m_model->area();
    BlockDefinitionScene* s = scene();
    s->setInstanceArea(area);
    auto* setup = new ParameterSetup(parameterName(m_and, QStringLiteral("P12")), {0});
    area->areaInfo()->insertParameterInstance(setup);
    setup->setValueText(int(area->firstNumber()), 0, QStringLiteral("42"));
    item(m_and)->setSelected(true);
    DeleteCommand command(s);
    QVERIFY(command.savedParameterValues().isEmpty());
    QCOMPARE(command.instanceIdentifiers(), QList<unsigned int>{m_and->identifier()});
}

void tst_DeleteCommand::pinAddressOfADanglingEnd()
{
    BlockPinConnection* dangling = m_code->addConnection(m_and->pin(3), nullptr, {});
    QVERIFY(dangling);
    QCOMPARE(PinAddress::of(dangling), (PinAddress{m_and->identifier(), 3, 0, 0}));
    QCOMPARE(PinAddress::of(nullptr), PinAddress());
    QVERIFY(PinAddress::of(m_wire) != PinAddress::of(m_localWire));
}

void tst_DeleteCommand::commandOfAGoneSceneDoesNothing()
{
    QPointer<BlockDefinitionScene> s = scene();
    item(m_and)->setSelected(true);
    auto command = std::make_unique<DeleteCommand>(s);
    QCOMPARE(command->instanceIdentifiers(), QList<unsigned int>{m_and->identifier()});
    // The model deletes the code, and with it its scene, while the command still exists.
    m_model.reset();
    QVERIFY(!s);
    command->redo();
    command->undo();
    command->redo();
}

ZK_TEST_REGISTER(tst_DeleteCommand)
#include "tst_DeleteCommand.moc"
