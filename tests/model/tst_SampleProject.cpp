#include "AreaSimulator.h"
#include "Block.h"
#include "BlockCheckIssue.h"
#include "BlockCheckIssueTracker.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPinInstance.h"
#include "BlockPinValueSource.h"
#include "ModelEnums.h"
#include "Project.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QRegularExpression>
#include <QSet>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>

namespace {

QString samplePath()
{
    return QDir(sampleProjectDir()).filePath(QStringLiteral("project.zkproj"));
}

std::unique_ptr<Project> loadSample()
{
    QString error;
    std::unique_ptr<Project> project(Project::load(samplePath(), &error));
    if (!project)
        qWarning("%s", qPrintable(error));
    return project;
}

BlockLibraryContainer* containerOfKind(const Project* project, unsigned int kind)
{
    for (BlockLibraryContainer* container : project->containers()) {
        if (container->containerKind() == kind)
            return container;
    }
    return nullptr;
}

int depthOf(const BlockInstanceHierarchyNode* node)
{
    int deepest = 0;
    for (int id : node->instanceNodes()) {
        if (const BlockInstanceHierarchyNode* child = node->instanceNode(unsigned(id)))
            deepest = std::max(deepest, depthOf(child));
    }
    return deepest + 1;
}

// Local blocks travel with the code that uses them, so their definitions are gathered by walking
// the local libraries outward from each area's root.
void collectLocalDefinitions(const BlockDefinition* definition, QList<const BlockDefinition*>& out)
{
    const BlockLibrary* local = definition->existingLocalBlockLibrary();
    if (!local)
        return;
    for (const Block* block : local->blocks()) {
        if (block->isFallbackBlock())
            continue;
        for (const BlockDefinition* d : block->definitions()) {
            out.append(d);
            collectLocalDefinitions(d, out);
        }
    }
}

QStringList issueTexts(const QList<BlockCheckIssue*>& issues)
{
    QStringList texts;
    for (BlockCheckIssue* issue : issues)
        texts.append(issue->issueText());
    return texts;
}

} // namespace

class tst_SampleProject : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void loadsFromSourceAsTheStudioDoes();
    void resourceListNamesEveryFile();
    void standardLibraryIsComplete();
    void plantAndInternalLibraries();
    void everyDefinitionHasAnIcon();
    void axisHierarchiesAreDeep();
    void readBackAndFallbackAreas();
    void checksFindNothingInTheAxes();
    void commissioningAreaHasItsProblems();
    void valuesMoveWhileOnline();
    void saveLoadSaveIsStable();
};

void tst_SampleProject::loadsFromSourceAsTheStudioDoes()
{
    std::unique_ptr<Project> project = loadSample();
    QVERIFY(project);
    QCOMPARE(project->name(), QStringLiteral("Beispielanlage"));
    QCOMPARE(project->areas().size(), 6);
    // The studio reads the project from bytes with the library folder given separately.
    QString error;
    std::unique_ptr<Project> fromData(Project::loadFromData(readFile(samplePath()), sampleProjectDir(),
                                                            QStringLiteral(":/samples/sample/project.zkproj"), &error));
    QVERIFY2(fromData, qPrintable(error));
    QCOMPARE(fromData->projectText(), project->projectText());
}

void tst_SampleProject::resourceListNamesEveryFile()
{
    const QString qrc = QString::fromUtf8(readFile(QDir(sampleProjectDir()).filePath(QStringLiteral("../samples.qrc"))));
    QVERIFY(qrc.contains(QStringLiteral("prefix=\"/samples\"")));
    QSet<QString> listed;
    static const QRegularExpression entry(QStringLiteral("<file>sample/([^<]+)</file>"));
    for (auto it = entry.globalMatch(qrc); it.hasNext();)
        listed.insert(it.next().captured(1));
    const QStringList present = QDir(sampleProjectDir()).entryList(QDir::Files);
    QVERIFY(present.contains(QStringLiteral("project.zkproj")));
    QCOMPARE(listed, QSet<QString>(present.begin(), present.end()));
}

void tst_SampleProject::standardLibraryIsComplete()
{
    std::unique_ptr<Project> project = loadSample();
    QVERIFY(project);
    BlockLibraryContainer* standard = containerOfKind(project.get(), 0);
    QVERIFY(standard);
    const QList<Block*> blocks = standard->library()->blocks();
    QVERIFY2(blocks.size() >= 40, qPrintable(QString::number(blocks.size())));
    for (const Block* block : blocks)
        QVERIFY2(block->groupPath().split(QLatin1Char(';')).size() == 3, qPrintable(block->identifier()));
    const Block* constant = standard->library()->block(QStringLiteral("ToolBlock_8000008"));
    QVERIFY(constant && constant->blockDefinition(1));
    QCOMPARE(constant->blockDefinition(1)->function(), QStringLiteral("constant"));
    const Block* read = standard->library()->block(QStringLiteral("MagicBlock_300005"));
    const Block* write = standard->library()->block(QStringLiteral("MagicBlock_300006"));
    QVERIFY(read && read->blockDefinition(0));
    QVERIFY(write && write->blockDefinition(0));
    QCOMPARE(read->blockDefinition(0)->blockType(), int(BlockTypeMagic));
    QCOMPARE(write->blockDefinition(0)->function(), QStringLiteral("parameterWrite"));
    // Every function the simulated device knows is offered by some block of the sample.
    QSet<QString> functions;
    int composites = 0;
    int versioned = 0;
    for (const Block* block : blocks) {
        versioned += block->versions().size() > 1 ? 1 : 0;
        for (const BlockDefinition* d : block->definitions()) {
            functions.insert(d->function());
            composites += d->code() && !d->code()->instances().isEmpty() ? 1 : 0;
        }
    }
    for (const char* name : {"and", "or", "xor", "not", "rs", "sr", "rising", "falling", "add", "sub", "mul", "div",
                             "gt", "lt", "ge", "le", "eq", "ne", "sel", "max", "min", "limit", "abs", "ton", "tof",
                             "tp", "counter", "ctu", "ramp", "pt1", "pi", "sine", "convert", "constant",
                             "parameterRead", "parameterWrite"})
        QVERIFY2(functions.contains(QLatin1String(name)), name);
    QVERIFY(composites >= 3);
    QVERIFY(versioned >= 2);
}

void tst_SampleProject::plantAndInternalLibraries()
{
    std::unique_ptr<Project> project = loadSample();
    QVERIFY(project);
    for (unsigned int kind : {256u, 257u}) {
        BlockLibraryContainer* container = containerOfKind(project.get(), kind);
        QVERIFY(container);
        QVERIFY(container->library()->blocks().size() >= 2);
        bool madeOfBlocks = false;
        for (const Block* block : container->library()->blocks()) {
            QVERIFY2(block->isUserBlock(), qPrintable(block->identifier()));
            for (const BlockDefinition* d : block->definitions())
                madeOfBlocks = madeOfBlocks || (d->code() && !d->code()->instances().isEmpty());
        }
        QVERIFY(madeOfBlocks);
    }
}

void tst_SampleProject::everyDefinitionHasAnIcon()
{
    std::unique_ptr<Project> project = loadSample();
    QVERIFY(project);
    QList<const BlockDefinition*> definitions;
    for (const BlockLibraryContainer* container : project->containers()) {
        for (const Block* block : container->library()->blocks()) {
            for (const BlockDefinition* d : block->definitions())
                definitions.append(d);
        }
    }
    for (const BlockInstanceArea* area : project->areas())
        collectLocalDefinitions(area->rootDefinition(), definitions);
    QVERIFY(definitions.size() >= 40);
    for (const BlockDefinition* d : std::as_const(definitions)) {
        const QString name = QStringLiteral("%1 v%2").arg(d->block()->identifier()).arg(d->version());
        const QImage image = QImage::fromData(d->smallListImage());
        QVERIFY2(!image.isNull(), qPrintable(name));
        QCOMPARE(image.size(), QSize(BlockDefinition::SmallIconSize, BlockDefinition::SmallIconSize));
        bool drawn = false;
        for (int y = 0; y < image.height() && !drawn; ++y) {
            for (int x = 0; x < image.width() && !drawn; ++x)
                drawn = qAlpha(image.pixel(x, y)) > 0;
        }
        QVERIFY2(drawn, qPrintable(name));
    }
}

void tst_SampleProject::axisHierarchiesAreDeep()
{
    std::unique_ptr<Project> project = loadSample();
    QVERIFY(project);
    project->activate();
    for (unsigned int first : {1u, 2u}) {
        BlockInstanceArea* area = project->area(first);
        QVERIFY(area);
        QVERIFY(area->hierarchy() && area->hierarchy()->rootNode());
        const int depth = depthOf(area->hierarchy()->rootNode());
        QVERIFY2(depth >= 4, qPrintable(QStringLiteral("A%1: %2").arg(first).arg(depth)));
    }
}

void tst_SampleProject::readBackAndFallbackAreas()
{
    std::unique_ptr<Project> project = loadSample();
    QVERIFY(project);
    QVERIFY(project->area(3) && project->area(3)->isBackDocumentation());
    QVERIFY(project->area(4) && project->area(4)->hasFallbackBlocks());
    for (unsigned int first : {0u, 1u, 2u}) {
        QVERIFY(!project->area(first)->isBackDocumentation());
        QVERIFY(!project->area(first)->hasFallbackBlocks());
    }
}

void tst_SampleProject::checksFindNothingInTheAxes()
{
    std::unique_ptr<Project> project = loadSample();
    QVERIFY(project);
    project->activate();
    for (unsigned int first : {0u, 1u, 2u}) {
        BlockInstanceArea* area = project->area(first);
        BlockCheckIssueTracker tracker(nullptr);
        tracker.setRoot(area->rootDefinition(), area->hierarchy()->rootNode());
        const QStringList issues = issueTexts(tracker.currentIssues(true));
        QVERIFY2(issues.isEmpty(), qPrintable(QStringLiteral("A%1: %2").arg(first).arg(issues.join(QStringLiteral("; ")))));
    }
    // The area with the missing block reports it, which is why it is in the sample.
    BlockInstanceArea* broken = project->area(4);
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(broken->rootDefinition(), broken->hierarchy()->rootNode());
    const QStringList issues = issueTexts(tracker.currentIssues(true));
    QVERIFY(!issues.isEmpty());
    QVERIFY(issues.first().contains(QStringLiteral("StandardBlock_9999")));
}

void tst_SampleProject::commissioningAreaHasItsProblems()
{
    std::unique_ptr<Project> project = loadSample();
    QVERIFY(project);
    project->activate();
    BlockInstanceArea* area = project->area(5);
    QVERIFY(area);
    QVERIFY(!area->hasFallbackBlocks());
    BlockCheckIssueTracker tracker(nullptr);
    tracker.setRoot(area->rootDefinition(), area->hierarchy()->rootNode());
    // Its own level: the limit's open second input and the gain outside the run-time order.
    QList<unsigned int> numbers;
    for (BlockCheckIssue* issue : tracker.currentIssues(false))
        numbers.append(issue->number());
    std::sort(numbers.begin(), numbers.end());
    QCOMPARE(numbers, (QList<unsigned int>{1002, 3000}));
    // Inside the local test step, the threshold's open input.
    QStringList inner;
    for (BlockCheckIssue* issue : tracker.currentIssues(true)) {
        if (issue->locationPath().contains(QLatin1Char('.')))
            inner.append(QStringLiteral("%1 %2").arg(issue->locationPath()).arg(issue->number()));
    }
    QCOMPARE(inner.size(), 1);
    QVERIFY(inner.first().endsWith(QStringLiteral(" 1002")));
}

void tst_SampleProject::valuesMoveWhileOnline()
{
    std::unique_ptr<Project> project = loadSample();
    QVERIFY(project);
    project->activate();
    BlockInstanceArea* area = project->area(1);
    BlockInstanceHierarchyNode* root = area->hierarchy()->rootNode();
    BlockPinValueSource* source = area->pinValueSource();
    QStringList paths;
    for (int id : root->instanceNodes()) {
        BlockInstanceHierarchyNode* node = root->instanceNode(unsigned(id));
        for (const BlockPinInstance* pin : node->blockInstance()->pins()) {
            if (pin->function() == BlockPinFunctionOutput)
                paths.append(node->pinLocationPath(pin->identifier()));
        }
    }
    QVERIFY(!paths.isEmpty());
    for (const QString& path : std::as_const(paths))
        source->setObserved(path, true);
    QSignalSpy spy(source, &BlockPinValueSource::blockPinCurrentValueChanged);
    QVERIFY(area->setOnline(true));
    for (int i = 0; i < 20; ++i)
        area->simulator()->runCycle();
    QHash<QString, QSet<QString>> seen;
    for (const QList<QVariant>& report : std::as_const(spy))
        seen[report.at(0).toString()].insert(report.at(1).toString());
    int moving = 0;
    for (const QSet<QString>& values : std::as_const(seen))
        moving += values.size() > 1 ? 1 : 0;
    area->setOnline(false);
    for (const QString& path : std::as_const(paths))
        source->setObserved(path, false);
    QVERIFY2(moving >= 1, qPrintable(QString::number(spy.count())));
}

void tst_SampleProject::saveLoadSaveIsStable()
{
    std::unique_ptr<Project> project = loadSample();
    QVERIFY(project);
    QTemporaryDir first;
    QTemporaryDir second;
    QVERIFY(first.isValid() && second.isValid());
    QString error;
    const QString firstPath = QDir(first.path()).filePath(QStringLiteral("project.zkproj"));
    QVERIFY2(project->save(firstPath, &error), qPrintable(error));
    std::unique_ptr<Project> again(Project::load(firstPath, &error));
    QVERIFY2(again, qPrintable(error));
    const QString secondPath = QDir(second.path()).filePath(QStringLiteral("project.zkproj"));
    QVERIFY2(again->save(secondPath, &error), qPrintable(error));
    const QStringList files = QDir(first.path()).entryList(QDir::Files, QDir::Name);
    QCOMPARE(files, QDir(second.path()).entryList(QDir::Files, QDir::Name));
    QCOMPARE(files.size(), 4);
    for (const QString& file : files) {
        const QByteArray a = readFile(QDir(first.path()).filePath(file));
        QVERIFY2(!a.isEmpty(), qPrintable(file));
        QVERIFY2(a == readFile(QDir(second.path()).filePath(file)), qPrintable(file));
    }
}

ZK_TEST_REGISTER(tst_SampleProject)
#include "tst_SampleProject.moc"
