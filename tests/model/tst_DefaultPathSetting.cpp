#include "DefaultPathSetting.h"
#include "System.h"
#include "TestRegistry.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <type_traits>

// The factory is meant to be usable in one expression.
static_assert(std::is_same_v<decltype(DefaultPathSetting::create({})->path()), QString>);

class tst_DefaultPathSetting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();

    void createKeepsKind_data();
    void createKeepsKind();
    void unknownKind();
    void documentsFolderWhenItExists();
    void homeWhenThereIsNoDocumentsFolder();
    void exportFollowsSystem();

private:
    void restoreEnvironment();

    QByteArray m_home;
    QByteArray m_configHome;
    bool m_hadConfigHome = false;
    QString m_exportDirectory;
};

void tst_DefaultPathSetting::initTestCase()
{
    m_home = qgetenv("HOME");
    m_hadConfigHome = qEnvironmentVariableIsSet("XDG_CONFIG_HOME");
    m_configHome = qgetenv("XDG_CONFIG_HOME");
    m_exportDirectory = System::instance().exportDirectory();
}

void tst_DefaultPathSetting::cleanupTestCase()
{
    restoreEnvironment();
}

void tst_DefaultPathSetting::cleanup()
{
    restoreEnvironment();
    System::instance().setExportDirectory(QString());
}

void tst_DefaultPathSetting::restoreEnvironment()
{
    qputenv("HOME", m_home);
    if (m_hadConfigHome)
        qputenv("XDG_CONFIG_HOME", m_configHome);
    else
        qunsetenv("XDG_CONFIG_HOME");
}

void tst_DefaultPathSetting::createKeepsKind_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("documents") << int(DefaultPathSetting::DefaultPathDocuments);
    QTest::newRow("export") << int(DefaultPathSetting::DefaultPathExport);
}

void tst_DefaultPathSetting::createKeepsKind()
{
    QFETCH(int, kind);
    std::unique_ptr<DefaultPathSetting> setting(
        DefaultPathSetting::create(DefaultPathSetting::eSettingDefaultPaths(kind)));
    QVERIFY(setting);
    QCOMPARE(int(setting->kind()), kind);
    QVERIFY(!setting->path().isEmpty());

    std::unique_ptr<DefaultPathSetting> fromBraces(DefaultPathSetting::create({}));
    QCOMPARE(fromBraces->kind(), DefaultPathSetting::DefaultPathDocuments);
}

void tst_DefaultPathSetting::unknownKind()
{
    QVERIFY(!DefaultPathSetting::create(DefaultPathSetting::eSettingDefaultPaths(7)));
}

void tst_DefaultPathSetting::documentsFolderWhenItExists()
{
    QTemporaryDir home;
    QVERIFY(home.isValid());
    qputenv("HOME", QFile::encodeName(home.path()));
    // Keeps a user-dirs file of the real account from naming another folder.
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.filePath(QStringLiteral(".config"))));
    QVERIFY(QDir(home.path()).mkdir(QStringLiteral("Documents")));
    const QString expected = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    QCOMPARE(expected, home.filePath(QStringLiteral("Documents")));

    std::unique_ptr<DefaultPathSetting> setting(DefaultPathSetting::create(DefaultPathSetting::DefaultPathDocuments));
    QCOMPARE(setting->path(), expected);
}

void tst_DefaultPathSetting::homeWhenThereIsNoDocumentsFolder()
{
    QTemporaryDir home;
    QVERIFY(home.isValid());
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.filePath(QStringLiteral(".config"))));
    QVERIFY(!QDir(home.filePath(QStringLiteral("Documents"))).exists());

    std::unique_ptr<DefaultPathSetting> setting(DefaultPathSetting::create(DefaultPathSetting::DefaultPathDocuments));
    QCOMPARE(QDir(setting->path()).canonicalPath(), QDir(home.path()).canonicalPath());
}

void tst_DefaultPathSetting::exportFollowsSystem()
{
    std::unique_ptr<DefaultPathSetting> setting(DefaultPathSetting::create(DefaultPathSetting::DefaultPathExport));
    QCOMPARE(setting->path(), m_exportDirectory);
    QTemporaryDir target;
    QVERIFY(target.isValid());
    System::instance().setExportDirectory(target.path());
    QCOMPARE(setting->path(), target.path());
    QCOMPARE(setting->path(), System::instance().exportDirectory());
}

ZK_TEST_REGISTER(tst_DefaultPathSetting)
#include "tst_DefaultPathSetting.moc"
