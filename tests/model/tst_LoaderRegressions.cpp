#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "ModelBuilder.h"
#include "Project.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

QByteArray projectWith(const QByteArray& instanceJson, const QByteArray& extra = QByteArray())
{
    return R"({"format":"zkblockproject","formatVersion":1,"name":"t",)" + extra + R"(
      "libraries":[{"identifier":"1","kind":0,"name":{"de":"S"},"blocks":[
        {"identifier":"StandardBlock_1","name":{"de":"UND"},"definitions":[{"version":0,
          "pins":[{"id":1,"function":1,"datatype":1},{"id":2,"function":2,"datatype":1}]}]}]}],
      "areas":[{"first":1,"second":0,"index":1,"root":{"code":{"instances":[)" + instanceJson + R"(],"connections":[]}}}]})";
}

} // namespace

// Files that once could be written but not read back, or read into an invalid state.
class tst_LoaderRegressions : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void missingVersionBecomesFallbackAndRoundTrips();
    void negativeErrorNumberReadsBack();
    void libraryFormatVersionChecked();
    void negativeGroupNumberRefused();
    void deletedDefinitionSurvivesSaveAndLoad();
};

void tst_LoaderRegressions::missingVersionBecomesFallbackAndRoundTrips()
{
    QString error;
    std::unique_ptr<Project> project(Project::loadFromData(
        projectWith(R"({"id":1,"block":"StandardBlock_1","version":7,"position":[0,0],
                        "pins":[{"id":1,"inverted":true}]},
                       {"id":2,"block":"StandardBlock_1","version":0,"position":[5,0]})"),
        QString(), QStringLiteral("t.json"), &error));
    QVERIFY2(project, qPrintable(error));
    BlockCode* code = project->areas().first()->rootDefinition()->code();
    BlockInstance* missing = code->instance(1);
    QVERIFY(missing->blockDefinition());
    QVERIFY(missing->block()->isFallbackBlock());
    QCOMPARE(missing->version(), 7u);
    // The version that exists is not hidden by the stand-in of the same name.
    QVERIFY(!code->instance(2)->block()->isFallbackBlock());
    const QByteArray text = project->projectText();
    std::unique_ptr<Project> again(Project::loadFromData(text, QString(), QStringLiteral("t2.json"), &error));
    QVERIFY2(again, qPrintable(error));
    QCOMPARE(again->projectText(), text);
}

void tst_LoaderRegressions::negativeErrorNumberReadsBack()
{
    QString error;
    std::unique_ptr<Project> project(Project::loadFromData(
        projectWith(R"({"id":1,"block":"StandardBlock_1","version":0,"position":[0,0],"error":-3})"), QString(),
        QStringLiteral("t.json"), &error));
    QVERIFY2(project, qPrintable(error));
    QCOMPARE(project->areas().first()->rootDefinition()->code()->instance(1)->error(), -3);
    std::unique_ptr<Project> again(Project::loadFromData(project->projectText(), QString(), QStringLiteral("t2.json"), &error));
    QVERIFY2(again, qPrintable(error));
}

void tst_LoaderRegressions::libraryFormatVersionChecked()
{
    QTemporaryDir dir;
    QFile library(dir.filePath(QStringLiteral("l.zklib")));
    QVERIFY(library.open(QIODevice::WriteOnly));
    library.write(R"({"format":"zkblocklibrary","formatVersion":2,"identifier":"9","kind":256,"blocks":[]})");
    library.close();
    QString error;
    std::unique_ptr<Project> project(Project::loadFromData(
        R"({"format":"zkblockproject","formatVersion":1,"libraries":[{"file":"l.zklib"}],"areas":[]})", dir.path(),
        QStringLiteral("p.zkproj"), &error));
    QVERIFY(!project);
    QVERIFY2(error.contains(QStringLiteral("l.zklib")) && error.contains(QStringLiteral("p.zkproj")), qPrintable(error));
    QVERIFY2(error.contains(QStringLiteral("2")), qPrintable(error));
}

void tst_LoaderRegressions::negativeGroupNumberRefused()
{
    QString error;
    std::unique_ptr<Project> project(Project::loadFromData(
        R"({"format":"zkblockproject","formatVersion":1,"groups":[{"number":-1,"name":{"de":"x"}}],"areas":[]})", QString(),
        QStringLiteral("g.json"), &error));
    QVERIFY(!project);
    QVERIFY2(error.contains(QStringLiteral("groups[0]")), qPrintable(error));
}

void tst_LoaderRegressions::deletedDefinitionSurvivesSaveAndLoad()
{
    TestModel model;
    BlockInstance* a = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_2"))->blockDefinition(0), {});
    const unsigned int id = a->identifier();
    delete model.standard()->library()->removeBlock(QStringLiteral("StandardBlock_2"));
    QString error;
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("p.zkproj"));
    QVERIFY2(model.project()->save(path, &error), qPrintable(error));
    std::unique_ptr<Project> again(Project::load(path, &error));
    QVERIFY2(again, qPrintable(error));
    BlockInstance* back = again->area(1)->rootDefinition()->code()->instance(id);
    QVERIFY(back);
    QCOMPARE(back->block()->identifier(), QStringLiteral("StandardBlock_2"));
    QVERIFY(back->block()->isFallbackBlock());
}

ZK_TEST_REGISTER(tst_LoaderRegressions)
#include "tst_LoaderRegressions.moc"
