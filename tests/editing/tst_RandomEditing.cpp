#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPinItem.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "ModalAnswer.h"
#include "Project.h"
#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QMimeData>
#include <QPointer>
#include <QRandomGenerator>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#include <QUndoStack>

#include <functional>
#include <memory>

// Seeded random sequences of editing gestures over the sample project, with the model deleting
// things under the views in between. After every step the project must save and load back to the
// same stored form. A seed that ever failed is added to the fixed rows, so it is tried on every run.
// ZK_RANDOM_EDITING_SEEDS ("7" or "100-199") and ZK_RANDOM_EDITING_STEPS replace the fixed rows,
// for scripts/random-editing.sh, which runs it for as long as asked.
class tst_RandomEditing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void sequence_data();
    void sequence();
};

namespace {

bool copySample(const QString& target)
{
    const QDir source(sampleProjectDir());
    const QStringList files = source.entryList(QDir::Files);
    for (const QString& file : files) {
        if (!QFile::copy(source.filePath(file), QDir(target).filePath(file)))
            return false;
    }
    return !files.isEmpty();
}

// Everything the project writes: the project file and every library file, in the project's order.
QByteArray storedForm(const Project* project)
{
    QByteArray all = project->projectText();
    const QList<BlockLibraryContainer*> containers = project->containers();
    for (const BlockLibraryContainer* container : containers) {
        all += "\n---- " + container->identifier().toUtf8() + "\n";
        all += project->libraryText(container);
    }
    return all;
}

// The codes a user can open in edit mode: the root code of each area and the code of every
// writable definition in the project's libraries.
QList<BlockCode*> editableCodes(const Project* project)
{
    QList<BlockCode*> codes;
    const QList<BlockInstanceArea*> areas = project->areas();
    for (BlockInstanceArea* area : areas) {
        if (BlockDefinition* definition = area->rootDefinition()) {
            if (definition->code())
                codes.append(definition->code());
        }
    }
    const QList<BlockLibraryContainer*> containers = project->containers();
    for (BlockLibraryContainer* container : containers) {
        const QList<Block*> blocks = container->library()->blocks();
        for (Block* block : blocks) {
            const QList<BlockDefinition*> definitions = block->definitions();
            for (BlockDefinition* definition : definitions) {
                if (definition->code() && definition->isWritable() && !codes.contains(definition->code()))
                    codes.append(definition->code());
            }
        }
    }
    return codes;
}

// Definitions a drop can carry: visible ones from every library of the project.
QList<BlockDefinition*> droppableDefinitions(const Project* project)
{
    QList<BlockDefinition*> found;
    const QList<BlockLibraryContainer*> containers = project->containers();
    for (BlockLibraryContainer* container : containers) {
        const QList<Block*> blocks = container->library()->blocks();
        for (Block* block : blocks) {
            const QList<BlockDefinition*> definitions = block->definitions();
            for (BlockDefinition* definition : definitions) {
                if (definition->isVisible())
                    found.append(definition);
            }
        }
    }
    return found;
}

class Run
{
public:
    Run(quint32 seed, Project* project, const QString& scratch)
        : m_random(seed)
        , m_project(project)
        , m_scratch(scratch)
    {
    }

    // One gesture on a random scene; returns what was done, for the log of a failing seed.
    QString step();
    bool roundTrip(QString* why);
    // Steps after which the project's stored form differed from the one before: a sequence whose
    // gestures never reach the code proves nothing.
    int changingSteps() const { return m_changingSteps; }

private:
    template <typename T>
    T* pick(const QList<T*>& list)
    {
        if (list.isEmpty())
            return nullptr;
        return list.at(int(m_random.bounded(quint32(list.size()))));
    }
    QPointF anywhere()
    {
        return QPointF(double(m_random.bounded(40)) * 1000.0 + double(m_random.bounded(1000)),
                       double(m_random.bounded(30)) * 1000.0 + double(m_random.bounded(1000)));
    }

    QString drop(BlockDefinitionScene* scene);
    QString newLocalBlock(BlockDefinitionScene* scene);
    QString connect(BlockDefinitionScene* scene);
    QString addNode(BlockDefinitionScene* scene);
    QString removeNode(BlockDefinitionScene* scene);
    QString mouseMove(BlockDefinitionScene* scene);
    QString keyMove(BlockDefinitionScene* scene);
    QString select(BlockDefinitionScene* scene);
    QString clipboard(BlockDefinitionScene* scene);
    QString properties(BlockDefinitionScene* scene);
    QString runtime(BlockDefinitionScene* scene);
    QString invert(BlockDefinitionScene* scene);
    QString undoRedo(BlockDefinitionScene* scene);
    QString deleteUnder();

    QRandomGenerator m_random;
    Project* m_project;
    QString m_scratch;
    int m_roundTrips = 0;
    int m_changingSteps = 0;
    QByteArray m_lastForm;
};

QString Run::step()
{
    QList<BlockCode*> codes = editableCodes(m_project);
    // The model deleting things under the views is rare, as it is in a user's day; editing is not.
    if (codes.isEmpty() || m_random.bounded(40) == 0)
        return deleteUnder();
    BlockCode* code = pick(codes);
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(code);
    // Most gestures run in edit mode; a few find the scene read-only, where paste turns it on and
    // the rest must refuse or record as the scene's rules say.
    scene->setReadOnly(m_random.bounded(10) == 0);
    switch (m_random.bounded(16)) {
    case 0: return drop(scene);
    case 1: return newLocalBlock(scene);
    case 2:
    case 3: return connect(scene);
    case 4: return addNode(scene);
    case 5: return removeNode(scene);
    case 6: return mouseMove(scene);
    case 7: return keyMove(scene);
    case 8: return select(scene);
    case 9:
    case 10: return clipboard(scene);
    case 11: return properties(scene);
    case 12: return runtime(scene);
    case 13: return invert(scene);
    default: return undoRedo(scene);
    }
}

QString Run::drop(BlockDefinitionScene* scene)
{
    BlockDefinition* definition = pick(droppableDefinitions(m_project));
    if (!definition)
        return QStringLiteral("drop: nothing to drop");
    const QPointF at = m_random.bounded(2) ? anywhere()
                                           : (pick(scene->blockItemMap().values()) ? pick(scene->blockItemMap().values())->scenePos() + QPointF(300, 300) : anywhere());
    auto* enter = new QMimeData;
    const QByteArray payload = definition->block()->identifier().toUtf8() + ';' + QByteArray::number(definition->version());
    enter->setData(QStringLiteral("zk6/blockdefinitionidentifier"), payload);
    std::unique_ptr<QMimeData> data(enter);
    sendSceneDrag(scene, QEvent::GraphicsSceneDragEnter, data.get(), at);
    sendSceneDrag(scene, QEvent::GraphicsSceneDragMove, data.get(), at);
    sendSceneDrag(scene, QEvent::GraphicsSceneDrop, data.get(), at);
    return QStringLiteral("drop %1 at %2,%3").arg(QString::fromUtf8(payload)).arg(at.x()).arg(at.y());
}

QString Run::newLocalBlock(BlockDefinitionScene* scene)
{
    const QPointF at = anywhere();
    if (m_random.bounded(2))
        scene->createNewLocalBlockDefinition(at);
    else
        scene->createNewLocalParameterDefinition(at);
    return QStringLiteral("new local block at %1,%2").arg(at.x()).arg(at.y());
}

QString Run::connect(BlockDefinitionScene* scene)
{
    const QList<BlockPinItem*> pins = itemsOf<BlockPinItem>(scene);
    BlockPinItem* first = pick(pins);
    BlockPinItem* second = pick(pins);
    if (!first || !second || !first->isVisible() || !second->isVisible())
        return QStringLiteral("connect: no pins");
    const QPointF from = first->sceneBoundingRect().center();
    const QPointF to = second->sceneBoundingRect().center();
    sendSceneMouse(scene, QEvent::GraphicsSceneMousePress, from);
    sendSceneDragMouse(scene, QEvent::GraphicsSceneMouseMove, (from + to) / 2, from);
    sendSceneDragMouse(scene, QEvent::GraphicsSceneMouseMove, to, from);
    sendSceneDragMouse(scene, QEvent::GraphicsSceneMouseRelease, to, from);
    return QStringLiteral("connect %1,%2 -> %3,%4").arg(from.x()).arg(from.y()).arg(to.x()).arg(to.y());
}

QString Run::addNode(BlockDefinitionScene* scene)
{
    ConnectionItem* connection = pick(itemsOf<ConnectionItem>(scene));
    if (!connection)
        return QStringLiteral("add node: no connection");
    // Consecutive nodes are joined by straight segments: halfway between two of them lies on the line.
    const QList<ConnectionNodeItem*> nodes = connection->allNodes();
    if (nodes.size() < 2)
        return QStringLiteral("add node: connection without segments");
    const int segment = int(m_random.bounded(quint32(nodes.size() - 1)));
    const QPointF at = (nodes.at(segment)->scenePos() + nodes.at(segment + 1)->scenePos()) / 2;
    sendSceneMouse(scene, QEvent::GraphicsSceneMouseDoubleClick, at);
    return QStringLiteral("add node at %1,%2").arg(at.x()).arg(at.y());
}

QString Run::removeNode(BlockDefinitionScene* scene)
{
    QList<ConnectionNodeItem*> free;
    const QList<ConnectionNodeItem*> nodes = itemsOf<ConnectionNodeItem>(scene);
    for (ConnectionNodeItem* node : nodes) {
        if (!node->isPinNode())
            free.append(node);
    }
    ConnectionNodeItem* node = pick(free);
    if (!node)
        return QStringLiteral("remove node: none");
    const QPointF at = node->scenePos();
    sendSceneMouse(scene, QEvent::GraphicsSceneMouseDoubleClick, at);
    return QStringLiteral("remove node at %1,%2").arg(at.x()).arg(at.y());
}

QString Run::mouseMove(BlockDefinitionScene* scene)
{
    BlockItem* item = pick(scene->blockItemMap().values());
    if (!item)
        return QStringLiteral("mouse move: no block");
    const QPointF from = item->scenePos() + QPointF(200, 200);
    const QPointF to = from + QPointF(double(m_random.bounded(-5000, 5000)), double(m_random.bounded(-5000, 5000)));
    sendSceneMouse(scene, QEvent::GraphicsSceneMousePress, from);
    sendSceneDragMouse(scene, QEvent::GraphicsSceneMouseMove, (from + to) / 2, from);
    sendSceneDragMouse(scene, QEvent::GraphicsSceneMouseMove, to, from);
    sendSceneDragMouse(scene, QEvent::GraphicsSceneMouseRelease, to, from);
    return QStringLiteral("mouse move %1,%2 -> %3,%4").arg(from.x()).arg(from.y()).arg(to.x()).arg(to.y());
}

QString Run::keyMove(BlockDefinitionScene* scene)
{
    static const int keys[] = {Qt::Key_Up, Qt::Key_Right, Qt::Key_Down, Qt::Key_Left};
    const int key = keys[m_random.bounded(4)];
    sendSceneKey(scene, key);
    return QStringLiteral("key move %1").arg(key);
}

QString Run::select(BlockDefinitionScene* scene)
{
    scene->clearSelection();
    if (m_random.bounded(3) == 0) {
        sendSceneKey(scene, Qt::Key_A, Qt::ControlModifier);
        return QStringLiteral("select all");
    }
    const QList<QGraphicsItem*> items = scene->items();
    int chosen = 0;
    for (QGraphicsItem* item : items) {
        if ((item->flags() & QGraphicsItem::ItemIsSelectable) && m_random.bounded(4) == 0) {
            item->setSelected(true);
            ++chosen;
        }
    }
    return QStringLiteral("select %1 items").arg(chosen);
}

QString Run::clipboard(BlockDefinitionScene* scene)
{
    switch (m_random.bounded(5)) {
    case 0:
        sendSceneKey(scene, Qt::Key_C, Qt::ControlModifier);
        return QStringLiteral("copy");
    case 1:
        sendSceneKey(scene, Qt::Key_X, Qt::ControlModifier);
        return QStringLiteral("cut by key");
    case 2:
        sendSceneKey(scene, Qt::Key_V, Qt::ControlModifier);
        return QStringLiteral("paste by key");
    case 3:
        scene->pasteFromClipboard();
        return QStringLiteral("paste");
    default:
        if (m_random.bounded(2))
            sendSceneKey(scene, Qt::Key_Delete);
        else
            scene->deleteSelectedItems();
        return QStringLiteral("delete");
    }
}

QString Run::properties(BlockDefinitionScene* scene)
{
    BlockItem* item = pick(scene->blockItemMap().values());
    if (!item)
        return QStringLiteral("properties: no block");
    item->showPropertiesView();
    return QStringLiteral("properties of %1").arg(item->identifier());
}

QString Run::runtime(BlockDefinitionScene* scene)
{
    BlockItem* item = pick(scene->blockItemMap().values());
    if (!item)
        return QStringLiteral("runtime: no block");
    item->showRuntimePositionView();
    return QStringLiteral("runtime of %1").arg(item->identifier());
}

QString Run::invert(BlockDefinitionScene* scene)
{
    BlockPinItem* pin = pick(itemsOf<BlockPinItem>(scene));
    if (!pin)
        return QStringLiteral("invert: no pin");
    const bool value = m_random.bounded(2);
    pin->setInverted(value);
    return QStringLiteral("invert pin %1 of %2 to %3").arg(pin->identifier()).arg(pin->blockItem()->identifier()).arg(value);
}

QString Run::undoRedo(BlockDefinitionScene* scene)
{
    const int count = 1 + int(m_random.bounded(4));
    const bool undo = m_random.bounded(3) != 0;
    for (int i = 0; i < count; ++i) {
        if (m_random.bounded(2))
            sendSceneKey(scene, undo ? Qt::Key_Z : Qt::Key_Y, Qt::ControlModifier);
        else if (undo)
            scene->undo();
        else
            scene->redo();
    }
    return QStringLiteral("%1 x%2").arg(undo ? QStringLiteral("undo") : QStringLiteral("redo")).arg(count);
}

QString Run::deleteUnder()
{
    switch (m_random.bounded(4)) {
    case 0: {
        BlockCode* code = pick(editableCodes(m_project));
        BlockInstance* instance = code ? pick(code->instances()) : nullptr;
        if (!instance)
            return QStringLiteral("model deletes an instance: none");
        const unsigned int identifier = instance->identifier();
        code->deleteInstance(identifier);
        return QStringLiteral("model deletes instance %1").arg(identifier);
    }
    case 1: {
        // A local block, with its definitions and whatever scene shows their code.
        QList<Block*> local;
        for (BlockCode* code : editableCodes(m_project)) {
            BlockDefinition* definition = code->definition();
            BlockLibrary* library = definition ? definition->existingLocalBlockLibrary() : nullptr;
            if (library)
                local += library->blocks();
        }
        Block* block = pick(local);
        if (!block || block->instanceCount() > 0)
            return QStringLiteral("model deletes a local block: none unused");
        const QString identifier = block->identifier();
        delete block->ownerLibrary()->removeBlock(identifier);
        return QStringLiteral("model deletes local block %1").arg(identifier);
    }
    case 2: {
        QList<BlockDefinition*> unused;
        for (BlockDefinition* definition : droppableDefinitions(m_project)) {
            if (definition->instanceCount() == 0 && definition->block()->versions().size() > 1)
                unused.append(definition);
        }
        BlockDefinition* definition = pick(unused);
        if (!definition)
            return QStringLiteral("model deletes a definition: none unused");
        const QString what = definition->block()->identifier() + QLatin1Char(';') + QString::number(definition->version());
        definition->block()->deleteDefinition(definition->version());
        return QStringLiteral("model deletes definition %1").arg(what);
    }
    default: {
        BlockInstanceArea* area = pick(m_project->areas());
        if (!area || m_project->areas().size() < 2)
            return QStringLiteral("model deletes an area: keeps the last");
        const QString title = area->title();
        delete area;
        return QStringLiteral("model deletes area %1").arg(title);
    }
    }
}

bool Run::roundTrip(QString* why)
{
    const QString dir = QDir(m_scratch).filePath(QStringLiteral("trip%1").arg(m_roundTrips++));
    QDir().mkpath(dir);
    const QString path = QDir(dir).filePath(QStringLiteral("project.zkproj"));
    const QByteArray before = storedForm(m_project);
    if (before != m_lastForm) {
        if (!m_lastForm.isEmpty())
            ++m_changingSteps;
        m_lastForm = before;
    }
    QString error;
    if (!m_project->save(path, &error)) {
        *why = QStringLiteral("save failed: ") + error;
        return false;
    }
    std::unique_ptr<Project> again(Project::load(path, &error));
    if (!again) {
        *why = QStringLiteral("load failed: ") + error;
        return false;
    }
    const QByteArray after = storedForm(again.get());
    if (after != before) {
        int at = 0;
        while (at < before.size() && at < after.size() && before.at(at) == after.at(at))
            ++at;
        *why = QStringLiteral("stored form differs after a round trip at byte %1: saved ...%2... loaded ...%3...")
                   .arg(at)
                   .arg(QString::fromUtf8(before.mid(qMax(0, at - 80), 200)))
                   .arg(QString::fromUtf8(after.mid(qMax(0, at - 80), 200)));
        return false;
    }
    QDir(dir).removeRecursively();
    return true;
}

QList<quint32> seedsFromEnvironment()
{
    QList<quint32> seeds;
    const QString text = qEnvironmentVariable("ZK_RANDOM_EDITING_SEEDS");
    if (text.isEmpty())
        return seeds;
    const QStringList range = text.split(QLatin1Char('-'));
    const quint32 first = range.first().toUInt();
    const quint32 last = range.size() > 1 ? range.at(1).toUInt() : first;
    for (quint32 seed = first; seed <= last; ++seed)
        seeds.append(seed);
    return seeds;
}

} // namespace

void tst_RandomEditing::cleanup()
{
    QApplication::clipboard()->clear();
}

void tst_RandomEditing::sequence_data()
{
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<int>("steps");
    const int envSteps = qEnvironmentVariableIntValue("ZK_RANDOM_EDITING_STEPS");
    const QList<quint32> seeds = seedsFromEnvironment();
    if (!seeds.isEmpty()) {
        for (quint32 seed : seeds)
            QTest::addRow("seed %u", seed) << seed << (envSteps > 0 ? envSteps : 300);
        return;
    }
    // Fixed seeds of every CI run.
    for (quint32 seed : {1u, 2u, 3u})
        QTest::addRow("seed %u", seed) << seed << (envSteps > 0 ? envSteps : 200);
    // Seeds that once failed stay here, each with the step count that showed it.
}

void tst_RandomEditing::sequence()
{
    QFETCH(quint32, seed);
    QFETCH(int, steps);

    QTemporaryDir scratch;
    QVERIFY(scratch.isValid());
    const QString projectDir = QDir(scratch.path()).filePath(QStringLiteral("project"));
    QVERIFY(QDir().mkpath(projectDir));
    QVERIFY(copySample(projectDir));
    QString error;
    std::unique_ptr<Project> project(Project::load(QDir(projectDir).filePath(QStringLiteral("project.zkproj")), &error));
    QVERIFY2(project, qPrintable(error));
    project->activate();

    // Every question a gesture asks gets a random answer from the same seed: yes or no to a
    // replacement, OK or cancel to a property dialog.
    QRandomGenerator answers(seed ^ 0x5eedu);
    auto answering = answerEveryModal([&answers](QDialog* dialog) {
        if (answers.bounded(2))
            dialog->accept();
        else
            dialog->reject();
        if (auto* box = qobject_cast<QMessageBox*>(dialog)) {
            if (box->isVisible())
                box->done(answers.bounded(2) ? QMessageBox::Yes : QMessageBox::No);
        }
    });

    Run run(seed, project.get(), scratch.path());
    QStringList log;
    for (int i = 0; i < steps; ++i) {
        log.append(QStringLiteral("%1: %2").arg(i).arg(run.step()));
        // Pushes deferred until the event that caused them has been delivered run here.
        QCoreApplication::processEvents();
        QString why;
        if (!run.roundTrip(&why)) {
            const QStringList last = log.mid(qMax(0, log.size() - 20));
            QFAIL(qPrintable(QStringLiteral("seed %1, step %2: %3\nlast steps:\n%4")
                                 .arg(seed).arg(i).arg(why, last.join(QLatin1Char('\n')))));
        }
    }
    qInfo("seed %u: %d of %d steps changed the project", seed, run.changingSteps(), steps);
    QVERIFY2(run.changingSteps() >= steps / 8,
             qPrintable(QStringLiteral("only %1 of %2 steps changed the project").arg(run.changingSteps()).arg(steps)));
    answering.reset();
    project.reset();
}

ZK_TEST_REGISTER(tst_RandomEditing)

#include "tst_RandomEditing.moc"
