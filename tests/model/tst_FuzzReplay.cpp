#include "BlockCode.h"
#include "BlockInstance.h"
#include "BlockLibraryContainer.h"
#include "Project.h"
#include "System.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QMimeData>
#include <QTest>

#include <memory>

// Replays the seed corpus of the fuzzers and every input that once crashed one of them, so that
// what the fuzzers found stays fixed in an ordinary test run.
namespace {

const QByteArray kHeader = "ZKBLOCKCODE 1\n";

QDir fuzzDir()
{
    // ZK_TEST_DATA_DIR is <source>/tests/data.
    return QDir(QDir::cleanPath(QStringLiteral(ZK_TEST_DATA_DIR "/../../fuzz")));
}

} // namespace

class tst_FuzzReplay : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void replay_data();
    void replay();
};

void tst_FuzzReplay::replay_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("asProject");
    QTest::addColumn<bool>("asTransfer");
    const QDir dir = fuzzDir();
    QVERIFY2(dir.exists(), qPrintable(dir.path()));
    int rows = 0;
    auto add = [&rows](const QString& folder, bool project, bool transfer) {
        const QDir d(folder);
        for (const QString& file : d.entryList(QDir::Files | QDir::Hidden, QDir::Name)) {
            if (file.endsWith(QStringLiteral(".md")))
                continue;
            // A crash of one fuzzer is named after it; anything else is tried both ways.
            bool p = project, t = transfer;
            if (file.startsWith(QStringLiteral("project-")))
                t = false;
            else if (file.startsWith(QStringLiteral("transfer-")))
                p = false;
            QTest::newRow(qPrintable(d.dirName() + QLatin1Char('/') + file)) << d.filePath(file) << p << t;
            ++rows;
        }
    };
    add(dir.filePath(QStringLiteral("corpus/project")), true, false);
    add(dir.filePath(QStringLiteral("corpus/transfer")), false, true);
    add(dir.filePath(QStringLiteral("crashes")), true, true);
    QVERIFY2(rows >= 4, "the seed corpus is missing");
}

void tst_FuzzReplay::replay()
{
    QFETCH(QString, path);
    QFETCH(bool, asProject);
    QFETCH(bool, asTransfer);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();

    if (asProject) {
        QString error;
        std::unique_ptr<Project> project(Project::loadFromData(
            bytes, fuzzDir().filePath(QStringLiteral("libraries")), QFileInfo(path).fileName(), &error));
        QVERIFY2(project || !error.isEmpty(), "refused without a message");
        if (project) {
            QVERIFY(error.isEmpty());
            QVERIFY(QJsonDocument::fromJson(project->projectText()).isObject());
            for (const BlockLibraryContainer* container : project->containers())
                QVERIFY(QJsonDocument::fromJson(project->libraryText(container)).isObject());
        } else {
            QVERIFY2(error.contains(QFileInfo(path).fileName()), qPrintable(error));
        }
    }

    if (asTransfer) {
        TestModel model;
        BlockCode* code = model.rootCode();
        const QByteArray body = bytes.startsWith(kHeader) ? bytes.mid(kHeader.size()) : bytes;
        for (const QByteArray& payload : {bytes, kHeader + body}) {
            const auto before = code->instances().size();
            QMimeData mime;
            mime.setData(BlockCode::TransferMimeType, payload);
            const QList<unsigned int> inserted = code->insertTransferData(&mime);
            QCOMPARE(code->instances().size(), before + inserted.size());
            for (unsigned int id : inserted)
                QVERIFY(code->instance(id));
        }
        for (bool fresh : {false, true}) {
            const auto before = code->instances().size();
            const QList<unsigned int> restored = code->restoreCode(body, fresh);
            QCOMPARE(code->instances().size(), before + restored.size());
            for (unsigned int id : restored)
                QVERIFY(code->instance(id));
        }
        const QList<unsigned int> ids = instanceIds(code);
        QCOMPARE(ids.size(), code->instances().size());
        // Values are escaped, so every record starts a line of its own.
        QCOMPARE(code->text(ids).split('\n').count("[Instance]"), ids.size());
        System::instance().clearMessages();
    }
}

ZK_TEST_REGISTER(tst_FuzzReplay)
#include "tst_FuzzReplay.moc"
