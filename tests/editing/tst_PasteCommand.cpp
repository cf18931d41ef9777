#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPinConnection.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "ModelBuilder.h"
#include "PasteCommand.h"
#include "System.h"

#include <QClipboard>
#include <QCursor>
#include <QGraphicsView>
#include <QGuiApplication>
#include <QMimeData>
#include <QPointer>
#include <QSet>
#include <QSignalSpy>
#include <QTest>
#include <QUndoStack>

#include <cmath>
#include <memory>

namespace {

// The joint rectangle of items with their children, in scene coordinates.
QRectF jointBounds(const QList<QGraphicsItem*>& items)
{
    QRectF bounds;
    for (const QGraphicsItem* item : items)
        bounds |= item->mapRectToScene(item->boundingRect() | item->childrenBoundingRect());
    return bounds;
}

QMimeData* mimeOf(const QString& format, const QByteArray& bytes)
{
    auto* data = new QMimeData;
    data->setData(format, bytes);
    return data;
}

} // namespace

// A paste lands centred on the cursor of the first paste, on the block raster and never across the
// origin; it selects what it brought. The command keeps its own copy of what it pastes.
class tst_PasteCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void pasteCentresTheSelectionOnTheCursor();
    void pasteNearTheOriginIsClamped_data();
    void pasteNearTheOriginIsClamped();
    void pastedBlocksAndTheirCornersAreSelected();
    void undoThenRedoGivesNewIdentifiersAtTheSamePlace();
    void pasteKeyInReadOnlyModeTurnsOnEditMode();
    void pasteSlotInReadOnlyModeTurnsOnEditMode();
    void withoutAViewThePasteGoesToTheOrigin();
    void replacedClipboardDoesNotChangeTheRedo();
    void foreignOrCorruptClipboardPastesNothing_data();
    void foreignOrCorruptClipboardPastesNothing();
    void emptyClipboardPastesNothing();
    void localBlocksTravelIntoAnotherDefinition();
    void commandOfAGoneSceneDoesNothing();

private:
    BlockDefinitionScene* scene() const { return BlockDefinitionScene::forCode(m_code); }
    BlockItem* item(const BlockInstance* instance) const { return scene()->blockItem(instance->identifier()); }
    // Puts the cursor over a scene position of the view.
    void moveCursorTo(const QPointF& scenePosition);
    // Copies AND and NOT with the corners of their wire; returns the joint rectangle of what was copied.
    QRectF copyAndAndNot();
    QSet<unsigned int> ids() const;

    std::unique_ptr<TestModel> m_model;
    std::unique_ptr<QGraphicsView> m_view;
    BlockCode* m_code = nullptr;
    Block* m_localBlock = nullptr;
    BlockInstance* m_and = nullptr;
    BlockInstance* m_not = nullptr;
    BlockInstance* m_local = nullptr;
    BlockPinConnection* m_wire = nullptr;
};

void tst_PasteCommand::init()
{
    System::instance().setUserAccessLevelCode(3);
    m_model = std::make_unique<TestModel>();
    m_code = m_model->rootCode();
    m_localBlock = ModelBuilder::primitive(m_code->definition()->ensureLocalBlockLibrary(), QStringLiteral("LocalBlock_7"),
                                           QStringLiteral("Lokal"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}},
                                           QStringLiteral("not"));
    m_and = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_1"))), {20, 10});
    m_not = ModelBuilder::place(m_code, ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_3"))), {40, 10});
    m_local = ModelBuilder::place(m_code, ModelBuilder::newest(m_localBlock), {40, 30});
    m_wire = ModelBuilder::wire(m_code, m_and, 3, m_not, 1, {QPointF(26, 11), QPointF(30, 11), QPointF(30, 14), QPointF(37, 11)});
    m_view = std::make_unique<QGraphicsView>(scene());
    m_view->resize(600, 400);
    m_view->setTransform(QTransform::fromScale(0.03, 0.03));
    m_view->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
    scene()->setReadOnly(false);
}

void tst_PasteCommand::cleanup()
{
    m_view.reset();
    m_model.reset();
    QGuiApplication::clipboard()->clear();
    System::instance().clearMessages();
}

void tst_PasteCommand::moveCursorTo(const QPointF& scenePosition)
{
    m_view->centerOn(scenePosition);
    const QPoint global = m_view->viewport()->mapToGlobal(m_view->mapFromScene(scenePosition));
    QCursor::setPos(global);
    QTRY_COMPARE(QCursor::pos(), global);
}

QRectF tst_PasteCommand::copyAndAndNot()
{
    BlockDefinitionScene* s = scene();
    s->clearSelection();
    item(m_and)->setSelected(true);
    item(m_not)->setSelected(true);
    QList<QGraphicsItem*> copied{item(m_and), item(m_not)};
    for (ConnectionNodeItem* node : s->connectionNodesOfSelection())
        copied.append(node);
    s->copyToClipboard();
    s->clearSelection();
    return jointBounds(copied);
}

QSet<unsigned int> tst_PasteCommand::ids() const
{
    const QList<unsigned int> list = instanceIds(m_code);
    return QSet<unsigned int>(list.cbegin(), list.cend());
}

void tst_PasteCommand::pasteCentresTheSelectionOnTheCursor()
{
    const QRectF copied = copyAndAndNot();
    const QPointF target(80300, 60700);
    moveCursorTo(target);
    const QPointF cursorInScene = m_view->mapToScene(m_view->mapFromGlobal(QCursor::pos()));
    const QSet<unsigned int> before = ids();
    scene()->pasteFromClipboard();
    QCOMPARE(scene()->undoStack()->count(), 1);
    QCOMPARE(scene()->undoStack()->text(0), QStringLiteral("Paste items"));
    const QSet<unsigned int> added = ids() - before;
    QCOMPARE(added.size(), 2);

    // The pasted group keeps its shape and lands with its centre on the cursor, to the raster.
    const QRectF pasted = jointBounds(scene()->selectedItems());
    QCOMPARE(pasted.size(), copied.size());
    const QPointF shift = pasted.center() - copied.center();
    QCOMPARE(std::fmod(shift.x(), 1000.0), 0.0);
    QCOMPARE(std::fmod(shift.y(), 1000.0), 0.0);
    QVERIFY2(std::abs(pasted.center().x() - cursorInScene.x()) <= 500.0, qPrintable(QString::number(pasted.center().x())));
    QVERIFY2(std::abs(pasted.center().y() - cursorInScene.y()) <= 500.0, qPrintable(QString::number(pasted.center().y())));
    for (unsigned int id : added) {
        const BlockInstance* copy = m_code->instance(id);
        const BlockInstance* original = copy->block() == m_and->block() ? m_and : m_not;
        QCOMPARE(copy->position(), original->position() + shift / 1000.0);
    }
    // The originals stay.
    QCOMPARE(m_and->position(), QPointF(20, 10));
    QCOMPARE(m_not->position(), QPointF(40, 10));
}

void tst_PasteCommand::pasteNearTheOriginIsClamped_data()
{
    QTest::addColumn<QPointF>("cursor");
    QTest::addColumn<bool>("clampX");
    QTest::addColumn<bool>("clampY");
    QTest::newRow("left edge") << QPointF(1000, 60000) << true << false;
    QTest::newRow("top edge") << QPointF(60000, 1000) << false << true;
    QTest::newRow("corner") << QPointF(0, 0) << true << true;
}

void tst_PasteCommand::pasteNearTheOriginIsClamped()
{
    QFETCH(QPointF, cursor);
    QFETCH(bool, clampX);
    QFETCH(bool, clampY);
    copyAndAndNot();
    moveCursorTo(cursor);
    const QSet<unsigned int> before = ids();
    scene()->pasteFromClipboard();
    QCOMPARE((ids() - before).size(), 2);
    double minX = 1e12;
    double minY = 1e12;
    for (QGraphicsItem* item : scene()->selectedItems()) {
        auto* node = dynamic_cast<ConnectionNodeItem*>(item);
        if (node && node->isPinNode())
            continue;
        minX = std::min(minX, item->x());
        minY = std::min(minY, item->y());
    }
    if (clampX)
        QCOMPARE(minX, 0.0);
    else
        QVERIFY(minX > 0.0);
    if (clampY)
        QCOMPARE(minY, 0.0);
    else
        QVERIFY(minY > 0.0);
}

void tst_PasteCommand::pastedBlocksAndTheirCornersAreSelected()
{
    copyAndAndNot();
    moveCursorTo(QPointF(80000, 60000));
    item(m_local)->setSelected(true);
    const QSet<unsigned int> before = ids();
    scene()->pasteFromClipboard();
    const QSet<unsigned int> added = ids() - before;
    QCOMPARE(added.size(), 2);
    QSet<unsigned int> selectedBlocks;
    for (BlockItem* block : scene()->selectedBlockItems())
        selectedBlocks.insert(block->identifier());
    QCOMPARE(selectedBlocks, added);
    // Of the pasted wire's four nodes the two between the ends come along into the selection; the
    // ends go with their pins.
    int selectedCorners = 0;
    for (QGraphicsItem* selected : scene()->selectedItems()) {
        if (auto* node = dynamic_cast<ConnectionNodeItem*>(selected)) {
            ++selectedCorners;
            BlockPinConnection* connection = node->connectionItem()->pinConnection();
            QVERIFY(connection != m_wire);
            QVERIFY(added.contains(connection->source()->owner()->identifier()));
        }
    }
    QCOMPARE(selectedCorners, 2);
    QVERIFY(!item(m_local)->isSelected());
    QVERIFY(!item(m_and)->isSelected());
}

void tst_PasteCommand::undoThenRedoGivesNewIdentifiersAtTheSamePlace()
{
    copyAndAndNot();
    moveCursorTo(QPointF(80000, 60000));
    const QSet<unsigned int> before = ids();
    scene()->pasteFromClipboard();
    auto* command = static_cast<const PasteCommand*>(scene()->undoStack()->command(0));
    const QList<unsigned int> first = command->newIdentifiers();
    QCOMPARE(QSet<unsigned int>(first.cbegin(), first.cend()), ids() - before);
    QList<QPointF> positions;
    for (unsigned int id : first)
        positions.append(m_code->instance(id)->position());
    const QPointF target = command->targetPosition();

    scene()->undoStack()->undo();
    QCOMPARE(ids(), before);
    QCOMPARE(command->targetPosition(), target);

    // The cursor has gone elsewhere: the redo does not follow it.
    moveCursorTo(QPointF(20000, 90000));
    scene()->undoStack()->redo();
    const QList<unsigned int> second = command->newIdentifiers();
    QCOMPARE(second.size(), 2);
    for (unsigned int id : second)
        QVERIFY(!first.contains(id) && !before.contains(id));
    for (int i = 0; i < second.size(); ++i)
        QCOMPARE(m_code->instance(second.at(i))->position(), positions.at(i));
    QCOMPARE(command->targetPosition(), target);
}

void tst_PasteCommand::pasteKeyInReadOnlyModeTurnsOnEditMode()
{
    copyAndAndNot();
    BlockDefinitionScene* s = scene();
    s->setReadOnly(true);
    QVERIFY(s->isReadOnly());
    QSignalSpy editMode(s, &BlockDefinitionScene::editModeChanged);
    const QSet<unsigned int> before = ids();
    QVERIFY(sendSceneKey(s, Qt::Key_V, Qt::ControlModifier));
    QVERIFY(!s->isReadOnly());
    QCOMPARE(editMode.size(), 1);
    QCOMPARE(editMode.at(0).at(0).toBool(), true);
    QCOMPARE((ids() - before).size(), 2);
    QCOMPARE(s->undoStack()->count(), 1);
}

void tst_PasteCommand::pasteSlotInReadOnlyModeTurnsOnEditMode()
{
    copyAndAndNot();
    BlockDefinitionScene* s = scene();
    s->setReadOnly(true);
    const QSet<unsigned int> before = ids();
    s->pasteFromClipboard();
    QVERIFY(!s->isReadOnly());
    QCOMPARE((ids() - before).size(), 2);
}

void tst_PasteCommand::withoutAViewThePasteGoesToTheOrigin()
{
    copyAndAndNot();
    m_view.reset();
    scene()->pasteFromClipboard();
    auto* command = static_cast<const PasteCommand*>(scene()->undoStack()->command(0));
    QCOMPARE(command->targetPosition(), QPointF(0, 0));
    // Centred on the origin and clamped there: the leftmost and topmost item stand on 0.
    double minX = 1e12;
    double minY = 1e12;
    for (unsigned int id : command->newIdentifiers()) {
        minX = std::min(minX, scene()->blockItem(id)->x());
        minY = std::min(minY, scene()->blockItem(id)->y());
    }
    QVERIFY(minX >= 0.0 && minY >= 0.0);
    QVERIFY(minX == 0.0 || minY == 0.0);
}

void tst_PasteCommand::replacedClipboardDoesNotChangeTheRedo()
{
    copyAndAndNot();
    moveCursorTo(QPointF(80000, 60000));
    scene()->pasteFromClipboard();
    auto* command = static_cast<const PasteCommand*>(scene()->undoStack()->command(0));
    QList<QPointF> positions;
    for (unsigned int id : command->newIdentifiers())
        positions.append(m_code->instance(id)->position());
    scene()->undoStack()->undo();
    // Another copy replaces the payload the paste was made from, then the clipboard is emptied.
    scene()->clearSelection();
    item(m_local)->setSelected(true);
    scene()->copyToClipboard();
    QGuiApplication::clipboard()->setText(QStringLiteral("anderes"));
    QGuiApplication::clipboard()->clear();
    scene()->undoStack()->redo();
    const QList<unsigned int> again = command->newIdentifiers();
    QCOMPARE(again.size(), 2);
    QCOMPARE(m_code->instance(again.at(0))->block(), m_and->block());
    QCOMPARE(m_code->instance(again.at(1))->block(), m_not->block());
    for (int i = 0; i < again.size(); ++i)
        QCOMPARE(m_code->instance(again.at(i))->position(), positions.at(i));
}

void tst_PasteCommand::foreignOrCorruptClipboardPastesNothing_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QByteArray>("payload");
    QTest::addColumn<bool>("reported");
    QTest::newRow("plain text") << QStringLiteral("text/plain") << QByteArray("[Instance]\nId=1\n") << false;
    QTest::newRow("other type") << QStringLiteral("application/json") << QByteArray("{}") << false;
    QTest::newRow("wrong header") << BlockCode::TransferMimeType << QByteArray("ZKBLOCKCODE 9\n[Instance]\n") << false;
    QTest::newRow("garbage") << BlockCode::TransferMimeType << QByteArray("ZKBLOCKCODE 1\n") + QByteArray("\x01\xff[Wire]\nx") << true;
    QTest::newRow("truncated record") << BlockCode::TransferMimeType
                                      << QByteArray("ZKBLOCKCODE 1\n[Instance]\nId=1\nBlock=StandardBlock_1\nPosition=1") << true;
    QTest::newRow("broken local block") << BlockCode::TransferMimeType
                                        << QByteArray("ZKBLOCKCODE 1\n[LocalBlock]\nContents=@@nicht base64@@\n") << true;
}

void tst_PasteCommand::foreignOrCorruptClipboardPastesNothing()
{
    QFETCH(QString, format);
    QFETCH(QByteArray, payload);
    QFETCH(bool, reported);
    QGuiApplication::clipboard()->setMimeData(mimeOf(format, payload));
    BlockLibrary* library = m_code->definition()->localBlockLibrary();
    const qsizetype localBlocks = library->blocks().size();
    const QByteArray before = wholeText(m_code);
    System::instance().clearMessages();
    item(m_and)->setSelected(true);
    moveCursorTo(QPointF(80000, 60000));
    scene()->pasteFromClipboard();
    QCOMPARE(wholeText(m_code), before);
    QCOMPARE(library->blocks().size(), localBlocks);
    QVERIFY(scene()->selectedItems().isEmpty());
    // The entry stands on the stack all the same, and its undo and redo change nothing either.
    QCOMPARE(scene()->undoStack()->count(), 1);
    QCOMPARE(scene()->undoStack()->text(0), QStringLiteral("Paste items"));
    scene()->undoStack()->undo();
    scene()->undoStack()->redo();
    QCOMPARE(wholeText(m_code), before);
    QCOMPARE(System::instance().messageCount() > 0, reported);
}

void tst_PasteCommand::emptyClipboardPastesNothing()
{
    QGuiApplication::clipboard()->clear();
    const QByteArray before = wholeText(m_code);
    scene()->pasteFromClipboard();
    QCOMPARE(wholeText(m_code), before);
    QCOMPARE(scene()->undoStack()->count(), 1);
}

void tst_PasteCommand::localBlocksTravelIntoAnotherDefinition()
{
    BlockDefinitionScene* s = scene();
    s->clearSelection();
    item(m_local)->setSelected(true);
    s->copyToClipboard();

    Block* composite = ModelBuilder::composite(m_model->user()->library(), QStringLiteral("UserBlock_60"),
                                               QStringLiteral("Ziel"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    BlockCode* other = ModelBuilder::newest(composite)->code();
    BlockDefinitionScene* target = BlockDefinitionScene::forCode(other);
    target->setReadOnly(false);
    target->pasteFromClipboard();
    QCOMPARE(other->instances().size(), 1);
    BlockLibrary* library = other->definition()->localBlockLibrary();
    QVERIFY(library);
    Block* carried = library->block(QStringLiteral("LocalBlock_7"));
    QVERIFY(carried);
    QVERIFY(carried != m_localBlock);
    QCOMPARE(other->instances().first()->block(), carried);
    QCOMPARE(carried->saveContents(), m_localBlock->saveContents());

    // A second paste finds the block there already and does not bring it twice.
    const qsizetype blocks = library->blocks().size();
    target->pasteFromClipboard();
    QCOMPARE(other->instances().size(), 2);
    QCOMPARE(library->blocks().size(), blocks);
    QCOMPARE(other->instances().last()->block(), carried);

    // Back in the first code the block is its own.
    const qsizetype ownBlocks = m_code->definition()->localBlockLibrary()->blocks().size();
    s->pasteFromClipboard();
    QCOMPARE(m_code->definition()->localBlockLibrary()->blocks().size(), ownBlocks);
}

void tst_PasteCommand::commandOfAGoneSceneDoesNothing()
{
    copyAndAndNot();
    QPointer<BlockDefinitionScene> s = scene();
    auto command = std::make_unique<PasteCommand>(s);
    m_view.reset();
    m_model.reset();
    QVERIFY(!s);
    command->redo();
    command->undo();
    QVERIFY(command->newIdentifiers().isEmpty());
}

ZK_TEST_REGISTER(tst_PasteCommand)
#include "tst_PasteCommand.moc"
