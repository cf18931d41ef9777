#include "System.h"
#include "TestRegistry.h"

#include <QSignalSpy>
#include <QTest>

class tst_System : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void accessLevelClamped_data();
    void accessLevelClamped();
    void accessLevelSignalOnlyOnRealChange();
    void accessLevelSignalBySignature();
    void messages_data();
    void messages();
    void clearMessages();
    void messageListIsBounded();
    void exportDirectory();
    void mainWindowIsNotOwned();

private:
    quint32 m_initialLevel = 0;
};

void tst_System::initTestCase()
{
    m_initialLevel = System::instance().userAccessLevelCode();
}

void tst_System::cleanup()
{
    System::instance().setUserAccessLevelCode(m_initialLevel);
    System::instance().clearMessages();
    System::instance().setExportDirectory(QString());
    System::instance().setMainWindow(nullptr);
}

void tst_System::accessLevelClamped_data()
{
    QTest::addColumn<quint32>("level");
    QTest::addColumn<quint32>("expected");
    QTest::newRow("0") << 0u << 0u;
    QTest::newRow("1") << 1u << 1u;
    QTest::newRow("5") << 5u << 5u;
    QTest::newRow("6") << 6u << 5u;
    QTest::newRow("huge") << 0xFFFFFFFFu << 5u;
}

void tst_System::accessLevelClamped()
{
    QFETCH(quint32, level);
    QFETCH(quint32, expected);
    System::instance().setUserAccessLevelCode(level);
    QCOMPARE(System::instance().userAccessLevelCode(), expected);
    QVERIFY(System::instance().userAccessLevelCode() <= System::MaximumAccessLevel);
}

void tst_System::accessLevelSignalOnlyOnRealChange()
{
    System& system = System::instance();
    system.setUserAccessLevelCode(2);
    QSignalSpy spy(&system, &SystemInformation::userAccessLevelCodeChanged);
    system.setUserAccessLevelCode(2);
    QCOMPARE(spy.count(), 0);
    system.setUserAccessLevelCode(4);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).value<quint32>(), 4u);
    QCOMPARE(spy.at(0).at(1).value<quint32>(), 2u);
    system.setUserAccessLevelCode(5);
    system.setUserAccessLevelCode(9); // clamps to 5: no change
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.at(1).at(0).value<quint32>(), 5u);
    QCOMPARE(spy.at(1).at(1).value<quint32>(), 4u);
    system.setUserAccessLevelCode(0);
    QCOMPARE(spy.count(), 3);
    QCOMPARE(spy.at(2).at(0).value<quint32>(), 0u);
    QCOMPARE(spy.at(2).at(1).value<quint32>(), 5u);
}

void tst_System::accessLevelSignalBySignature()
{
    System& system = System::instance();
    system.setUserAccessLevelCode(1);
    QSignalSpy spy(&system, SIGNAL(userAccessLevelCodeChanged(quint32, quint32)));
    QVERIFY(spy.isValid());
    system.setUserAccessLevelCode(3);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).value<quint32>(), 3u);
    QCOMPARE(spy.at(0).at(1).value<quint32>(), 1u);
}

void tst_System::messages_data()
{
    QTest::addColumn<int>("severity");
    QTest::newRow("information") << int(SystemMessage::Information);
    QTest::newRow("critical") << int(SystemMessage::Critical);
    QTest::newRow("fatal") << int(SystemMessage::Fatal);
}

void tst_System::messages()
{
    QFETCH(int, severity);
    System& system = System::instance();
    QSignalSpy spy(&system, &System::messageAdded);
    const QString origin = QStringLiteral("Compiler");
    const QString text = QStringLiteral("message %1").arg(severity);
    switch (severity) {
    case SystemMessage::Information: System::addInformationMessage(origin, text); break;
    case SystemMessage::Critical: System::addCriticalMessage(origin, text); break;
    default: System::addFatalMessage(origin, text); break;
    }
    QCOMPARE(system.messageCount(), 1);
    const SystemMessage m = system.messages().constFirst();
    QCOMPARE(int(m.severity), severity);
    QCOMPARE(m.origin, origin);
    QCOMPARE(m.text, text);
    QVERIFY(m.time.isValid());
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toInt(), severity);
    QCOMPARE(spy.at(0).at(1).toString(), origin);
    QCOMPARE(spy.at(0).at(2).toString(), text);
}

void tst_System::clearMessages()
{
    System& system = System::instance();
    QSignalSpy cleared(&system, &System::messagesCleared);
    system.clearMessages();
    QCOMPARE(cleared.count(), 0);
    System::addInformationMessage(QStringLiteral("a"), QStringLiteral("one"));
    System::addCriticalMessage(QStringLiteral("b"), QStringLiteral("two"));
    QCOMPARE(system.messageCount(), 2);
    QCOMPARE(system.messages().at(1).text, QStringLiteral("two"));
    system.clearMessages();
    QCOMPARE(system.messageCount(), 0);
    QCOMPARE(cleared.count(), 1);
}

void tst_System::messageListIsBounded()
{
    System& system = System::instance();
    for (int i = 0; i < System::MaximumMessages + 3; ++i)
        System::addInformationMessage(QStringLiteral("loop"), QString::number(i));
    QCOMPARE(system.messageCount(), System::MaximumMessages);
    QCOMPARE(system.messages().constFirst().text, QStringLiteral("3"));
    QCOMPARE(system.messages().constLast().text, QString::number(System::MaximumMessages + 2));
}

void tst_System::exportDirectory()
{
    System& system = System::instance();
    QVERIFY(!system.exportDirectory().isEmpty());
    system.setExportDirectory(QStringLiteral("/somewhere/else"));
    QCOMPARE(system.exportDirectory(), QStringLiteral("/somewhere/else"));
}

void tst_System::mainWindowIsNotOwned()
{
    System& system = System::instance();
    {
        QWidget window;
        system.setMainWindow(&window);
        QCOMPARE(system.mainWindow(), &window);
    }
    QVERIFY(!system.mainWindow());
}

ZK_TEST_REGISTER(tst_System)
#include "tst_System.moc"
