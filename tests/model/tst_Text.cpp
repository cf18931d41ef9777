#include "LanguageManager.h"
#include "TestRegistry.h"
#include "Text.h"

#include <QSignalSpy>
#include <QTest>

class tst_Text : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void activeLanguage_data();
    void activeLanguage();
    void followsLanguageSwitch();
    void signalOnlyOnRealChange();
    void unknownLanguageRefused();
    void setAndRemove();
    void equality();
    void languageCodes_data();
    void languageCodes();
};

void tst_Text::init()
{
    QVERIFY(LanguageManager::instance().setActiveLanguage(LanguageManager::German));
}

void tst_Text::cleanup()
{
    LanguageManager::instance().setActiveLanguage(LanguageManager::German);
}

void tst_Text::activeLanguage_data()
{
    QTest::addColumn<int>("active");
    QTest::addColumn<QString>("german");
    QTest::addColumn<QString>("english");
    QTest::addColumn<QString>("other");
    QTest::addColumn<QString>("expected");

    // "-" stands for a language without an entry.
    QTest::newRow("german active") << 1 << "Drehzahl" << "Speed" << "-" << "Drehzahl";
    QTest::newRow("english active") << 2 << "Drehzahl" << "Speed" << "-" << "Speed";
    QTest::newRow("english missing falls back to german") << 2 << "Drehzahl" << "-" << "Vitesse" << "Drehzahl";
    QTest::newRow("english empty falls back to german") << 2 << "Drehzahl" << "" << "-" << "Drehzahl";
    QTest::newRow("german missing falls back to any") << 1 << "-" << "Speed" << "-" << "Speed";
    QTest::newRow("only a third language") << 2 << "-" << "-" << "Vitesse" << "Vitesse";
    QTest::newRow("german empty, third language") << 2 << "" << "-" << "Vitesse" << "Vitesse";
    QTest::newRow("nothing") << 2 << "-" << "-" << "-" << "";
    QTest::newRow("all empty") << 1 << "" << "" << "" << "";
}

void tst_Text::activeLanguage()
{
    QFETCH(int, active);
    QFETCH(QString, german);
    QFETCH(QString, english);
    QFETCH(QString, other);
    QFETCH(QString, expected);

    Text t;
    if (german != QLatin1String("-"))
        t.setText(LanguageManager::German, german);
    if (english != QLatin1String("-"))
        t.setText(LanguageManager::English, english);
    if (other != QLatin1String("-"))
        t.setText(3, other);
    QVERIFY(LanguageManager::instance().setActiveLanguage(active));
    QCOMPARE(t.text(), expected);
    QCOMPARE(t.isEmpty(), expected.isEmpty());
}

void tst_Text::followsLanguageSwitch()
{
    Text t(LanguageManager::German, QStringLiteral("Ein"));
    t.setText(LanguageManager::English, QStringLiteral("On"));
    QCOMPARE(t.text(), QStringLiteral("Ein"));
    LanguageManager::instance().setActiveLanguage(LanguageManager::English);
    QCOMPARE(t.text(), QStringLiteral("On"));
    LanguageManager::instance().setActiveLanguage(LanguageManager::German);
    QCOMPARE(t.text(), QStringLiteral("Ein"));
    QCOMPARE(t.text(LanguageManager::English), QStringLiteral("On"));
}

void tst_Text::signalOnlyOnRealChange()
{
    LanguageManager& manager = LanguageManager::instance();
    QSignalSpy spy(&manager, &LanguageManager::activeLanguageChanged);
    QVERIFY(manager.setActiveLanguage(LanguageManager::German));
    QCOMPARE(spy.count(), 0);
    QVERIFY(manager.setActiveLanguage(LanguageManager::English));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toInt(), int(LanguageManager::English));
    QCOMPARE(manager.activeLanguage(), int(LanguageManager::English));
    QVERIFY(manager.setActiveLanguage(LanguageManager::English));
    QCOMPARE(spy.count(), 1);
    QVERIFY(manager.setActiveLanguage(LanguageManager::German));
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.at(1).at(0).toInt(), int(LanguageManager::German));
}

void tst_Text::unknownLanguageRefused()
{
    LanguageManager& manager = LanguageManager::instance();
    QSignalSpy spy(&manager, &LanguageManager::activeLanguageChanged);
    QVERIFY(!manager.setActiveLanguage(0));
    QVERIFY(!manager.setActiveLanguage(3));
    QVERIFY(!manager.setActiveLanguage(-1));
    QCOMPARE(manager.activeLanguage(), int(LanguageManager::German));
    QCOMPARE(spy.count(), 0);
    QCOMPARE(manager.languages(), (QList<int>{LanguageManager::German, LanguageManager::English}));
}

void tst_Text::setAndRemove()
{
    Text t;
    QVERIFY(t.isEmpty());
    QVERIFY(t.text().isEmpty());
    t.setText(LanguageManager::English, QStringLiteral("x"));
    t.setText(LanguageManager::German, QStringLiteral(""));
    QCOMPARE(t.textLanguages(), (QList<int>{LanguageManager::German, LanguageManager::English}));
    QVERIFY(!t.isEmpty());
    t.setText(LanguageManager::English, QString());
    QCOMPARE(t.textLanguages(), QList<int>{LanguageManager::German});
    QVERIFY(t.isEmpty());
}

void tst_Text::equality()
{
    Text a(LanguageManager::German, QStringLiteral("a"));
    Text b(LanguageManager::German, QStringLiteral("a"));
    QVERIFY(a == b);
    b.setText(LanguageManager::English, QStringLiteral("a"));
    QVERIFY(a != b);
    Text c = b;
    QVERIFY(c == b);
}

void tst_Text::languageCodes_data()
{
    QTest::addColumn<int>("language");
    QTest::addColumn<QString>("code");
    QTest::newRow("german") << 1 << "de";
    QTest::newRow("english") << 2 << "en";
    QTest::newRow("numbered") << 7 << "7";
}

void tst_Text::languageCodes()
{
    QFETCH(int, language);
    QFETCH(QString, code);
    QCOMPARE(LanguageManager::languageCode(language), code);
    QCOMPARE(LanguageManager::languageFromCode(code), language);
    QCOMPARE(LanguageManager::languageFromCode(QStringLiteral("xx")), -1);
}

ZK_TEST_REGISTER(tst_Text)
#include "tst_Text.moc"
