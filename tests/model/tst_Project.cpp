#include "AreaInfo.h"
#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockLibraryFile.h"
#include "BlockPin.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockRepository.h"
#include "BlockSymbol.h"
#include "DatatypeProvider.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "ParameterSetup.h"
#include "Project.h"
#include "SignalLabel.h"
#include "SimpleType.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QSignalSpy>
#include <QTest>

#include <memory>

#include <unistd.h>

namespace {

QString projectsDir()
{
    return testDataPath(QStringLiteral("projects"));
}

QString brokenDir()
{
    return testDataPath(QStringLiteral("broken"));
}

bool writeAll(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

std::unique_ptr<Project> loadFixture(const QString& relative)
{
    QString error;
    std::unique_ptr<Project> project(Project::load(QDir(projectsDir()).filePath(relative), &error));
    if (!project)
        qWarning("%s", qPrintable(error));
    return project;
}

// The library files of a project as written beside it (file names relative to the project).
QStringList libraryFilesOf(const QString& projectPath)
{
    const QByteArray text = readFile(projectPath);
    QStringList files;
    int from = 0;
    const QByteArray key = "\"file\": \"";
    while ((from = text.indexOf(key, from)) >= 0) {
        from += key.size();
        const int end = text.indexOf('"', from);
        files.append(QString::fromUtf8(text.mid(from, end - from)));
    }
    return files;
}

int blockCount(const QList<BlockLibraryContainer*>& containers)
{
    int count = 0;
    for (const BlockLibraryContainer* container : containers)
        count += int(container->library()->blocks().size());
    return count;
}

} // namespace

class tst_Project : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void roundTrip_data();
    void roundTrip();
    void shapeInline();
    void shapeWithFiles();
    void shapeNested();
    void shapeSignals();
    void shapeCustomType();
    void broken_data();
    void broken();
    void loadingValidProjectLeavesOpenProjectAlone();
    void loadingLeavesTypesToActivation();
    void saveTwiceGivesSameBytes();
    void saveFailsWhenParentIsAFile();
    void saveFailureKeepsExistingProjectFile();
    void saveIntoReadOnlyDirectory();
    void activateAndDeactivate();
    void areaDeletedUnderTheProjectLeavesIt();
};

void tst_Project::roundTrip_data()
{
    QTest::addColumn<QString>("relative");
    QDirIterator it(projectsDir(), {QStringLiteral("*.zkproj")}, QDir::Files, QDirIterator::Subdirectories);
    QStringList found;
    while (it.hasNext())
        found.append(QDir(projectsDir()).relativeFilePath(it.next()));
    found.sort();
    QVERIFY2(found.size() >= 5, "the fixture projects are missing");
    for (const QString& relative : std::as_const(found))
        QTest::newRow(qPrintable(relative)) << relative;
}

void tst_Project::roundTrip()
{
    QFETCH(QString, relative);
    const QString name = QFileInfo(relative).fileName();
    std::unique_ptr<Project> original = loadFixture(relative);
    QVERIFY(original);

    QTemporaryDir first, second;
    QVERIFY(first.isValid() && second.isValid());
    QString error;
    QVERIFY2(original->save(first.filePath(name), &error), qPrintable(error));

    std::unique_ptr<Project> copy(Project::load(first.filePath(name), &error));
    QVERIFY2(copy, qPrintable(error));
    QVERIFY2(copy->save(second.filePath(name), &error), qPrintable(error));

    const QByteArray firstText = readFile(first.filePath(name));
    QVERIFY(!firstText.isEmpty());
    QCOMPARE(readFile(second.filePath(name)), firstText);
    QCOMPARE(copy->projectText(), original->projectText());

    const QStringList libraries = libraryFilesOf(first.filePath(name));
    QCOMPARE(libraries, libraryFilesOf(QDir(projectsDir()).filePath(relative)));
    for (const QString& library : libraries) {
        const QByteArray text = readFile(first.filePath(library));
        QVERIFY2(!text.isEmpty(), qPrintable(library));
        QCOMPARE(readFile(second.filePath(library)), text);
    }
    QCOMPARE(copy->containers().size(), original->containers().size());
    for (int n = 0; n < original->containers().size(); ++n)
        QCOMPARE(copy->libraryText(copy->containers().at(n)), original->libraryText(original->containers().at(n)));
}

void tst_Project::shapeInline()
{
    std::unique_ptr<Project> project = loadFixture(QStringLiteral("inline.zkproj"));
    QVERIFY(project);
    QCOMPARE(project->name(), QStringLiteral("Inline libraries"));
    QCOMPARE(project->areas().size(), 2);
    QCOMPARE(project->containers().size(), 2);
    QCOMPARE(blockCount(project->containers()), 3);
    QCOMPARE(project->groupNames().value(1).text(LanguageManager::English), QStringLiteral("Logic"));
    QCOMPARE(project->groupNames().value(2).text(LanguageManager::German), QStringLiteral("Arithmetik"));

    Block* add = project->containers().first()->library()->block(QStringLiteral("StandardBlock_10"));
    QVERIFY(add);
    QCOMPARE(add->versions(), (QList<unsigned int>{0, 1}));
    QCOMPARE(add->blockDefinition(1)->pins(), (QList<int>{1, 2, 4, 3}));

    BlockInstanceArea* area = project->area(1);
    QVERIFY(area);
    QCOMPARE(area->displayName(), QStringLiteral("Achse 1"));
    BlockCode* code = area->rootDefinition()->code();
    QCOMPARE(code->instances().size(), 4);
    QCOMPARE(code->connections().size(), 2);
    QCOMPARE(code->realtimeOrder(), (QList<unsigned int>{1, 2, 3}));
    QCOMPARE(code->instance(3)->version(), 1u);
    QCOMPARE(code->instance(3)->pins().size(), 4);
    QCOMPARE(code->instance(2)->name(), QStringLiteral("Freigabe"));
    QCOMPARE(code->instance(4)->note(), QStringLiteral("fester Wert"));
    QCOMPARE(code->instance(4)->lines(), QStringList{QStringLiteral("12")});
    const BlockPinConnection* wire = code->connections().first();
    QCOMPARE(wire->source(), code->instance(1)->pin(3));
    QCOMPARE(wire->target(), code->instance(2)->pin(1));
    QCOMPARE(wire->nodePositions(), (QList<QPointF>{QPointF(15, 11), QPointF(15, 12)}));

    BlockInstanceArea* second = project->area(2);
    QVERIFY(second);
    QCOMPARE(second->secondNumber(), 1u);
    QCOMPARE(second->title(), QStringLiteral("Zweite Achse"));
    QVERIFY(second->rootDefinition()->code()->instances().isEmpty());
}

void tst_Project::shapeWithFiles()
{
    std::unique_ptr<Project> project = loadFixture(QStringLiteral("withfiles/project.zkproj"));
    QVERIFY(project);
    QCOMPARE(project->containers().size(), 2);
    auto* user = qobject_cast<BlockLibraryFile*>(project->containers().at(1));
    QVERIFY(user);
    QCOMPARE(QFileInfo(user->filePath()).fileName(), QStringLiteral("user.zklib"));
    QCOMPARE(user->containerKind(), BlockLibraryContainer::UserLibraryKind);
    QCOMPARE(blockCount(project->containers()), 3);
    Block* blinker = user->library()->block(QStringLiteral("UserBlock_Blinker"));
    QVERIFY(blinker);
    QVERIFY(blinker->isUserBlock());
    // The user library's code refers to a block of the standard library file.
    BlockCode* inner = blinker->blockDefinition(0)->code();
    QVERIFY(inner);
    QCOMPARE(inner->instances().size(), 1);
    QCOMPARE(inner->instance(1)->block(), project->containers().at(0)->library()->block(QStringLiteral("StandardBlock_3")));
    BlockCode* root = project->area(1)->rootDefinition()->code();
    QCOMPARE(root->instances().size(), 3);
    QCOMPARE(root->connections().size(), 2);

    // Saving writes the library files beside the new project file.
    QTemporaryDir dir;
    QString error;
    QVERIFY2(project->save(dir.filePath(QStringLiteral("copy.zkproj")), &error), qPrintable(error));
    QVERIFY(QFileInfo::exists(dir.filePath(QStringLiteral("std.zklib"))));
    QVERIFY(QFileInfo::exists(dir.filePath(QStringLiteral("user.zklib"))));
    QCOMPARE(user->filePath(), QDir(dir.path()).filePath(QStringLiteral("user.zklib")));
    QVERIFY(readFile(dir.filePath(QStringLiteral("user.zklib"))).contains("\"format\": \"zkblocklibrary\""));
}

void tst_Project::shapeNested()
{
    std::unique_ptr<Project> project = loadFixture(QStringLiteral("nested.zkproj"));
    QVERIFY(project);
    QCOMPARE(project->areas().size(), 1);
    BlockInstanceArea* area = project->area(1);
    BlockDefinition* root = area->rootDefinition();
    QVERIFY(root->existingLocalBlockLibrary());
    QVERIFY(root->existingLocalBlockLibrary()->block(QStringLiteral("LocalBlock_Root")));
    QCOMPARE(root->code()->instance(6)->block(), root->existingLocalBlockLibrary()->block(QStringLiteral("LocalBlock_Root")));

    BlockInstanceHierarchy* hierarchy = area->hierarchy();
    BlockInstanceHierarchyNode* outer = hierarchy->nodeForPath(QStringLiteral("A1:0.5"));
    BlockInstanceHierarchyNode* middle = hierarchy->nodeForPath(QStringLiteral("A1:0.5.1"));
    BlockInstanceHierarchyNode* inner = hierarchy->nodeForPath(QStringLiteral("A1:0.5.1.1"));
    QVERIFY(outer && middle && inner);
    QCOMPARE(inner->locationPath(), QStringLiteral("A1:0.5.1.1"));
    QCOMPARE(inner->blockInstance()->block()->identifier(), QStringLiteral("LocalBlock_Inner"));
    QVERIFY(inner->blockInstance()->block()->isLocalBlock());
    QVERIFY(inner->childCode());
    QCOMPARE(inner->childCode()->instances().size(), 2);
    QCOMPARE(inner->pinLocationPath(2), QStringLiteral("A1:0.5.1.1p2"));

    // LocalBlock_Helper is found one level out, in the local library of UserBlock_Middle.
    Block* middleBlock = project->containers().at(1)->library()->block(QStringLiteral("UserBlock_Middle"));
    QVERIFY(middleBlock);
    BlockLibrary* middleLocals = middleBlock->blockDefinition(0)->existingLocalBlockLibrary();
    QVERIFY(middleLocals);
    QCOMPARE(middleLocals->blocks().size(), 2);
    QCOMPARE(inner->childCode()->instance(2)->block(), middleLocals->block(QStringLiteral("LocalBlock_Helper")));
    QVERIFY(hierarchy->nodeForPath(QStringLiteral("A1:0.5.1.1.2")));
    QVERIFY(hierarchy->nodeForPath(QStringLiteral("A1:0.6.7")));
    QVERIFY(!hierarchy->nodeForPath(QStringLiteral("A1:0.5.2")));
    QCOMPARE(hierarchy->nodeCount(), 9);
}

void tst_Project::shapeSignals()
{
    std::unique_ptr<Project> project = loadFixture(QStringLiteral("signals.zkproj"));
    QVERIFY(project);
    BlockInstanceArea* area = project->area(1);
    QVERIFY(area);
    BlockCode* code = area->rootDefinition()->code();
    QCOMPARE(code->instances().size(), 5);
    QCOMPARE(code->realtimeOrder(), (QList<unsigned int>{1, 2, 4, 5}));
    QCOMPARE(code->backgroundOrder(), (QList<unsigned int>{3}));

    const BlockInstance* first = code->instance(1);
    QVERIFY(first->pin(1)->isInverted());
    QVERIFY(!first->pin(1)->isRemanent());
    QVERIFY(!first->pin(2)->isInverted());
    QVERIFY(first->pin(2)->isRemanent());
    QCOMPARE(first->pin(2)->initialValue(), QStringLiteral("TRUE"));
    QVERIFY(!first->pin(3)->isInverted());
    const BlockInstance* second = code->instance(2);
    QVERIFY(second->pin(3)->isInverted());
    QCOMPARE(second->pin(3)->initialValue(), QStringLiteral("FALSE"));
    QCOMPARE(code->instance(3)->parameterText(0), QStringLiteral("P12=7"));
    QCOMPARE(code->instance(4)->error(), 4);
    QCOMPARE(code->instance(5)->ownSize(), QSizeF(6, 3));

    // The unknown block stands in as a fall-back block with the pins the code uses.
    const Block* fallback = code->instance(4)->block();
    QVERIFY(fallback);
    QCOMPARE(fallback->identifier(), QStringLiteral("StandardBlock_999"));
    QVERIFY(fallback->isFallbackBlock());
    QCOMPARE(fallback->ownerLibrary(), area->rootDefinition()->existingLocalBlockLibrary());
    QCOMPARE(code->instance(4)->version(), 2u);
    const BlockDefinition* fallbackDefinition = fallback->blockDefinition(2);
    QVERIFY(fallbackDefinition);
    QCOMPARE(fallbackDefinition->pins(), (QList<int>{1, 5}));
    QCOMPARE(fallbackDefinition->symbol()->inputPins(), QList<int>{1});
    QCOMPARE(fallbackDefinition->symbol()->outputPins(), QList<int>{5});
    QCOMPARE(area->fallbackBlocks().size(), 1);

    QCOMPARE(code->connections().size(), 4);
    int dangling = 0;
    for (const BlockPinConnection* c : code->connections())
        dangling += (!c->source() || !c->target()) ? 1 : 0;
    QCOMPARE(dangling, 2);

    BlockInstanceHierarchyNode* rootNode = area->hierarchy()->rootNode();
    QCOMPARE(rootNode->signalLabels().size(), 2);
    const SignalLabel* label = rootNode->signalLabel(1);
    QVERIFY(label);
    QCOMPARE(label->name(), QStringLiteral("Freigabe"));
    QCOMPARE(label->offset(), QPointF(2.5, -1));
    QCOMPARE(label->instanceIdentifier(), 1u);
    QCOMPARE(label->pinIdentifier(), 3);
    QCOMPARE(label->pinPath(), QStringLiteral("A1:0.1p3"));
    const BlockInstanceHierarchyNode* sub = area->hierarchy()->nodeForPath(QStringLiteral("A1:0.5"));
    QVERIFY(sub);
    QCOMPARE(sub->signalLabels().size(), 1);
    QCOMPARE(sub->signalLabels().first()->name(), QStringLiteral("Innen"));

    ParameterSetup* p12 = area->areaInfo()->queryParameterInstance(QStringLiteral("A1:0.3#P12"));
    QVERIFY(p12);
    QCOMPARE(p12->valueText(1, 0, 0), QStringLiteral("7"));
    QCOMPARE(p12->valueText(2, 0, 0), QStringLiteral("9"));
    QCOMPARE(p12->valueText(5, 0, 0), QStringLiteral("5"));
    QCOMPARE(p12->relatedParameterNames(1), QList<QString>{QStringLiteral("A1:0.3#P13")});
    ParameterSetup* p13 = area->areaInfo()->queryParameterInstance(QStringLiteral("A1:0.3#P13"));
    QVERIFY(p13);
    QCOMPARE(p13->elementNumbers(), (QList<unsigned short>{0, 1}));
    QCOMPARE(p13->valueText(1, 1, 0), QStringLiteral("2"));
}

void tst_Project::shapeCustomType()
{
    std::unique_ptr<Project> project = loadFixture(QStringLiteral("customtype.zkproj"));
    QVERIFY(project);
    QCOMPARE(project->areas().size(), 2);
    BlockInstanceArea* back = project->area(9);
    QVERIFY(back);
    QVERIFY(back->isBackDocumentation());
    QVERIFY(!back->hasOwnProgram());
    QCOMPARE(back->secondNumber(), 2u);
    QCOMPARE(back->index(), 3u);
    QCOMPARE(back->title(), QStringLiteral("Altbestand"));
    QVERIFY(!project->area(1)->isBackDocumentation());
    QVERIFY(project->area(1)->hasOwnProgram());

    Block* limit = project->containers().first()->library()->block(QStringLiteral("UserBlock_Limit"));
    QVERIFY(limit);
    const BlockDefinition* d = limit->blockDefinition(0);
    QCOMPARE(d->pin(1)->datatype(), uchar(100));
    QCOMPARE(d->accessLevelWrite(), 2u);
    QCOMPARE(d->accessLevelRead(), 1u);
    QVERIFY(!d->stepInEnabled());
    QCOMPARE(d->runtimeMembership(), RuntimeMembershipRealtime);
    QCOMPARE(project->area(1)->rootDefinition()->code()->instance(1)->pin(1)->initialValue(), QStringLiteral("21"));

    // The project's type becomes the process's type while the project is open.
    project->activate();
    SimpleType* type = DatatypeProvider::instance()->simpleType(100);
    QVERIFY(type);
    QCOMPARE(type->shortName(), QStringLiteral("TEMP"));
    QCOMPARE(type->kind(), SimpleTypeFloat);
    QCOMPARE(type->maximum(), 150.0);
    QCOMPARE(BlockRepository::instance().blockGroupName(7).text(LanguageManager::English), QStringLiteral("Temperature"));
    project->deactivate();
    QVERIFY(!DatatypeProvider::instance()->simpleType(100));
}

void tst_Project::broken_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("named");
    QTest::addColumn<QString>("reason");
    // What the message must say, for the files whose reason is plain; other files must at least
    // name themselves and give some reason.
    const QHash<QString, QPair<QString, QString>> expected{
        {QStringLiteral("wrong-format.zkproj"), {QString(), QStringLiteral("zkblockproject")}},
        {QStringLiteral("wrong-version.zkproj"), {QString(), QStringLiteral("2")}},
        {QStringLiteral("duplicate-instance.zkproj"), {QString(), QStringLiteral("doppelt vergeben")}},
        {QStringLiteral("missing-instance.zkproj"), {QString(), QStringLiteral("Instanz 9")}},
        {QStringLiteral("pin-function-3.zkproj"), {QString(), QStringLiteral("\"function\"")}},
        {QStringLiteral("unknown-datatype.zkproj"), {QString(), QStringLiteral("\"datatype\"")}},
        {QStringLiteral("wrong-text-type.zkproj"), {QString(), QStringLiteral("ein Text muss eine Zeichenkette sein")}},
        {QStringLiteral("duplicate-area.zkproj"), {QString(), QStringLiteral("areas[1]")}},
        {QStringLiteral("missing-library.zkproj"), {QString(), QStringLiteral("nowhere.zklib")}},
        {QStringLiteral("corrupt-library.zkproj"), {QStringLiteral("corrupt-library.zklib"), QStringLiteral("unterminated")}},
        {QStringLiteral("library-wrong-format.zkproj"), {QStringLiteral("project-as-library.zklib"), QStringLiteral("zkblocklibrary")}},
        {QStringLiteral("position-missing.zkproj"), {QString(), QStringLiteral("\"position\"")}},
        {QStringLiteral("bad-group-path.zkproj"), {QString(), QStringLiteral("1;x")}},
    };
    const QStringList files = QDir(brokenDir()).entryList(QDir::Files, QDir::Name);
    QVERIFY2(files.size() >= 12, "the broken files are missing");
    for (const QString& file : files) {
        const auto e = expected.value(file);
        QTest::newRow(qPrintable(file)) << QDir(brokenDir()).filePath(file) << (e.first.isEmpty() ? file : e.first)
                                        << e.second;
    }
}

void tst_Project::broken()
{
    QFETCH(QString, path);
    QFETCH(QString, named);
    QFETCH(QString, reason);

    TestModel model;
    BlockCode* code = model.rootCode();
    BlockInstance* a = ModelBuilder::place(code, ModelBuilder::newest(model.block(QStringLiteral("StandardBlock_1"))), QPointF(0, 0));
    BlockInstance* b = ModelBuilder::place(code, ModelBuilder::newest(model.block(QStringLiteral("StandardBlock_3"))), QPointF(10, 0));
    QVERIFY(ModelBuilder::wire(code, a, 3, b, 1));
    model.area()->hierarchy()->rootNode()->createSignalLabel(a->identifier(), 3, QStringLiteral("Vorher"), 0);

    const QList<BlockLibraryContainer*> containers = BlockRepository::instance().containers();
    const int blocks = blockCount(containers);
    const QList<BlockInstanceArea*> areas = BlockInstanceArea::allAreas();
    const QByteArray text = wholeText(code);
    const QList<uchar> types = DatatypeProvider::instance()->typeNumbers();
    QVERIFY(!text.isEmpty());

    QString error;
    Project* project = Project::load(path, &error);
    const bool refused = project == nullptr;
    delete project;
    QVERIFY2(refused, qPrintable(path));
    QVERIFY2(error.contains(named), qPrintable(error));
    const QString rest = error.mid(error.indexOf(named) + named.size()).remove(QLatin1Char(':')).trimmed();
    QVERIFY2(!rest.isEmpty(), qPrintable(error));
    if (!reason.isEmpty())
        QVERIFY2(error.contains(reason), qPrintable(error));

    QCOMPARE(BlockRepository::instance().containers(), containers);
    QCOMPARE(blockCount(BlockRepository::instance().containers()), blocks);
    QCOMPARE(BlockInstanceArea::allAreas(), areas);
    QCOMPARE(wholeText(code), text);
    QCOMPARE(DatatypeProvider::instance()->typeNumbers(), types);
    QVERIFY(model.project()->isActive());
    QCOMPARE(model.block(QStringLiteral("StandardBlock_1")), a->block());
}

void tst_Project::loadingValidProjectLeavesOpenProjectAlone()
{
    TestModel model;
    ModelBuilder::place(model.rootCode(), ModelBuilder::newest(model.block(QStringLiteral("StandardBlock_2"))), QPointF(1, 1));
    const QList<BlockLibraryContainer*> containers = BlockRepository::instance().containers();
    const QList<BlockInstanceArea*> areas = BlockInstanceArea::allAreas();
    const QByteArray text = wholeText(model.rootCode());

    std::unique_ptr<Project> other = loadFixture(QStringLiteral("signals.zkproj"));
    QVERIFY(other);
    QVERIFY(!other->isActive());
    QCOMPARE(BlockRepository::instance().containers(), containers);
    QCOMPARE(BlockInstanceArea::allAreas(), areas);
    QCOMPARE(wholeText(model.rootCode()), text);
    // The other project's standard block is its own, not the open project's.
    QVERIFY(other->containers().first()->library()->block(QStringLiteral("StandardBlock_1"))
            != model.block(QStringLiteral("StandardBlock_1")));
    other.reset();
    QCOMPARE(BlockRepository::instance().containers(), containers);
    QCOMPARE(BlockInstanceArea::allAreas(), areas);
}

void tst_Project::loadingLeavesTypesToActivation()
{
    QVERIFY(!DatatypeProvider::instance()->simpleType(100));
    std::unique_ptr<Project> project = loadFixture(QStringLiteral("customtype.zkproj"));
    QVERIFY(project);
    // A project that is only read must not change the types of the open one.
    QVERIFY(!DatatypeProvider::instance()->simpleType(100));
    project->activate();
    QVERIFY(DatatypeProvider::instance()->simpleType(100));
    project.reset();
    QVERIFY(!DatatypeProvider::instance()->simpleType(100));

    // Reading it again still finds the type for its pins.
    project = loadFixture(QStringLiteral("customtype.zkproj"));
    QVERIFY(project);
    QCOMPARE(project->containers().first()->library()->block(QStringLiteral("UserBlock_Limit"))->blockDefinition(0)->pin(2)->datatype(),
             uchar(100));
}

void tst_Project::saveTwiceGivesSameBytes()
{
    std::unique_ptr<Project> project = loadFixture(QStringLiteral("signals.zkproj"));
    QVERIFY(project);
    QTemporaryDir dir;
    QString error;
    const QString one = dir.filePath(QStringLiteral("one.zkproj"));
    const QString two = dir.filePath(QStringLiteral("two.zkproj"));
    QVERIFY2(project->save(one, &error), qPrintable(error));
    const QByteArray first = readFile(one);
    QVERIFY2(project->save(one, &error), qPrintable(error));
    QVERIFY2(project->save(two, &error), qPrintable(error));
    QVERIFY(!first.isEmpty());
    QCOMPARE(readFile(one), first);
    QCOMPARE(readFile(two), first);
    QCOMPARE(project->projectText(), first);
    QCOMPARE(project->filePath(), QFileInfo(two).absoluteFilePath());
}

void tst_Project::saveFailsWhenParentIsAFile()
{
    std::unique_ptr<Project> project = loadFixture(QStringLiteral("inline.zkproj"));
    QVERIFY(project);
    QTemporaryDir dir;
    const QString blocker = dir.filePath(QStringLiteral("blocker"));
    QVERIFY(writeAll(blocker, "not a folder"));
    const QString target = QDir(blocker).filePath(QStringLiteral("project.zkproj"));
    QString error;
    QVERIFY(!project->save(target, &error));
    QVERIFY2(error.contains(QStringLiteral("project.zkproj")), qPrintable(error));
    QVERIFY(error.size() > target.size());
    QCOMPARE(readFile(blocker), QByteArray("not a folder"));
    QVERIFY(project->filePath() != QFileInfo(target).absoluteFilePath());
}

void tst_Project::saveFailureKeepsExistingProjectFile()
{
    // Library files are written first; when one cannot be written the project file stays as it was.
    std::unique_ptr<Project> project = loadFixture(QStringLiteral("withfiles/project.zkproj"));
    QVERIFY(project);
    QTemporaryDir dir;
    const QString target = dir.filePath(QStringLiteral("project.zkproj"));
    QVERIFY(writeAll(target, "the old project"));
    QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("user.zklib")));
    QString error;
    QVERIFY(!project->save(target, &error));
    QVERIFY2(error.contains(QStringLiteral("user.zklib")), qPrintable(error));
    QCOMPARE(readFile(target), QByteArray("the old project"));
    QVERIFY(QFileInfo(dir.filePath(QStringLiteral("user.zklib"))).isDir());
    const QStringList left = QDir(dir.path()).entryList(QDir::Files | QDir::Hidden);
    for (const QString& file : left)
        QVERIFY2(file == QStringLiteral("project.zkproj") || file == QStringLiteral("std.zklib"), qPrintable(file));
}

void tst_Project::saveIntoReadOnlyDirectory()
{
    if (::geteuid() == 0)
        QSKIP("root writes into read-only folders; saveFailsWhenParentIsAFile covers the failure");
    std::unique_ptr<Project> project = loadFixture(QStringLiteral("inline.zkproj"));
    QVERIFY(project);
    QTemporaryDir dir;
    const QString target = dir.filePath(QStringLiteral("project.zkproj"));
    QVERIFY(writeAll(target, "the old project"));
    QVERIFY(QFile::setPermissions(dir.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    QString error;
    const bool saved = project->save(target, &error);
    QFile::setPermissions(dir.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    QVERIFY(!saved);
    QVERIFY2(error.contains(QStringLiteral("project.zkproj")), qPrintable(error));
    QCOMPARE(readFile(target), QByteArray("the old project"));
}

void tst_Project::areaDeletedUnderTheProjectLeavesIt()
{
    // Another part of the suite may delete an area at any time; the project must not keep the dead
    // pointer, neither in its list nor in what it writes, nor when it is deleted itself.
    std::unique_ptr<Project> project = loadFixture(QStringLiteral("inline.zkproj"));
    QVERIFY(project);
    project->activate();
    const QList<BlockInstanceArea*> areas = project->areas();
    QVERIFY(areas.size() >= 2);
    QSignalSpy changed(project.get(), &Project::areasChanged);
    BlockInstanceArea* gone = areas.first();
    delete gone;
    QCOMPARE(changed.count(), 1);
    QCOMPARE(project->areas(), areas.mid(1));
    QVERIFY(!BlockInstanceArea::allAreas().contains(gone));
    const QByteArray text = project->projectText();
    QVERIFY(!text.isEmpty());
    QString error;
    std::unique_ptr<Project> again(Project::loadFromData(text, QString(), QStringLiteral("again.zkproj"), &error));
    QVERIFY2(again, qPrintable(error));
    QCOMPARE(again->areas().size(), areas.size() - 1);
}

void tst_Project::activateAndDeactivate()
{
    std::unique_ptr<Project> project = loadFixture(QStringLiteral("inline.zkproj"));
    QVERIFY(project);
    const QList<BlockInstanceArea*> before = BlockInstanceArea::allAreas();
    QVERIFY(!project->isActive());
    for (BlockInstanceArea* area : project->areas())
        QVERIFY(!before.contains(area));
    QVERIFY(!BlockRepository::instance().block(QStringLiteral("StandardBlock_10")));

    project->activate();
    QVERIFY(project->isActive());
    for (BlockLibraryContainer* container : project->containers())
        QCOMPARE(BlockRepository::instance().container(container->identifier()), container);
    QCOMPARE(BlockRepository::instance().block(QStringLiteral("StandardBlock_10")),
             project->containers().first()->library()->block(QStringLiteral("StandardBlock_10")));
    for (BlockInstanceArea* area : project->areas()) {
        QVERIFY(BlockInstanceArea::allAreas().contains(area));
        QVERIFY(area->isRegistered());
    }
    QCOMPARE(BlockInstanceArea::areaForLivingSpace(2), project->area(2));
    QCOMPARE(BlockRepository::instance().blockGroupName(1).text(LanguageManager::German), QStringLiteral("Logik"));

    project->deactivate();
    QVERIFY(!project->isActive());
    QVERIFY(BlockRepository::instance().containers().isEmpty());
    QVERIFY(!BlockRepository::instance().block(QStringLiteral("StandardBlock_10")));
    QCOMPARE(BlockInstanceArea::allAreas(), before);
    QVERIFY(BlockRepository::instance().blockGroups().isEmpty());
    // The containers survive deactivation: the project still owns them and can come back.
    QCOMPARE(project->containers().size(), 2);
    QCOMPARE(blockCount(project->containers()), 3);
    project->activate();
    QCOMPARE(BlockRepository::instance().containers().size(), 2);
    project.reset();
    QVERIFY(BlockRepository::instance().containers().isEmpty());
    QCOMPARE(BlockInstanceArea::allAreas(), before);
}

ZK_TEST_REGISTER(tst_Project)
#include "tst_Project.moc"
