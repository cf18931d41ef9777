#include "Locator.h"
#include "TestRegistry.h"

#include <QTest>

class tst_Locator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data();
    void parse();
    void reparseResets();
    void buildPathRoundTrip_data();
    void buildPathRoundTrip();
};

void tst_Locator::parse_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<bool>("hasLivingSpace");
    QTest::addColumn<uint>("livingSpace");
    QTest::addColumn<QStringList>("stack");

    QTest::newRow("full") << "A1:0.5.12" << true << true << 1u << QStringList{"0", "5", "12"};
    QTest::newRow("global living space") << "A0:3" << true << true << 0u << QStringList{"3"};
    QTest::newRow("large living space") << "A4000000000:1.2" << true << true << 4000000000u << QStringList{"1", "2"};
    QTest::newRow("living space only") << "A7:" << true << true << 7u << QStringList{};
    QTest::newRow("no living space") << "0.5.12" << true << false << 0u << QStringList{"0", "5", "12"};
    QTest::newRow("single entry") << "42" << true << false << 0u << QStringList{"42"};
    QTest::newRow("surrounding blanks") << "  A2:1.1  " << true << true << 2u << QStringList{"1", "1"};
    QTest::newRow("empty") << "" << false << false << 0u << QStringList{};
    QTest::newRow("blank") << "   " << false << false << 0u << QStringList{};
    QTest::newRow("living space without number") << "A:" << false << false << 0u << QStringList{};
    QTest::newRow("living space not a number") << "Ax:1" << false << false << 0u << QStringList{};
    QTest::newRow("negative living space") << "A-1:1" << false << false << 0u << QStringList{};
    QTest::newRow("other letter") << "B1:0" << false << false << 0u << QStringList{};
    QTest::newRow("colon first") << ":0.1" << false << false << 0u << QStringList{};
    QTest::newRow("empty entry") << "1..2" << false << false << 0u << QStringList{};
    QTest::newRow("leading dot") << "A1:.2" << false << true << 1u << QStringList{};
    QTest::newRow("trailing dot") << "0.5." << false << false << 0u << QStringList{};
}

void tst_Locator::parse()
{
    QFETCH(QString, text);
    QFETCH(bool, valid);
    QFETCH(bool, hasLivingSpace);
    QFETCH(uint, livingSpace);
    QFETCH(QStringList, stack);

    const Locator locator(text);
    QCOMPARE(locator.isValid(), valid);
    QCOMPARE(locator.hierarchyStack(), QList<QString>(stack));
    QCOMPARE(locator.countHierarchyLevels(), int(stack.size()));
    QCOMPARE(locator.hasHierarchy(), !stack.isEmpty());
    if (valid) {
        QCOMPARE(locator.hasLivingSpace(), hasLivingSpace);
        QCOMPARE(uint(locator.livingSpace()), livingSpace);
    }
}

void tst_Locator::reparseResets()
{
    Locator locator(QStringLiteral("A3:1.2.3"));
    QVERIFY(locator.isValid());
    locator.parseText(QStringLiteral("4"));
    QVERIFY(locator.isValid());
    QVERIFY(!locator.hasLivingSpace());
    QCOMPARE(uint(locator.livingSpace()), uint(LivingSpaceGlobal));
    QCOMPARE(locator.countHierarchyLevels(), 1);
    locator.parseText(QStringLiteral("A:"));
    QVERIFY(!locator.isValid());
    QVERIFY(!locator.hasHierarchy());

    const Locator none;
    QVERIFY(!none.isValid());
    QCOMPARE(none.countHierarchyLevels(), 0);
}

void tst_Locator::buildPathRoundTrip_data()
{
    QTest::addColumn<uint>("livingSpace");
    QTest::addColumn<QList<uint>>("entries");
    QTest::addColumn<QString>("text");

    QTest::newRow("root") << 1u << QList<uint>{} << "A1:";
    QTest::newRow("one") << 0u << QList<uint>{0} << "A0:0";
    QTest::newRow("deep") << 2u << QList<uint>{0, 5, 12, 4294967295u} << "A2:0.5.12.4294967295";
}

void tst_Locator::buildPathRoundTrip()
{
    QFETCH(uint, livingSpace);
    QFETCH(QList<uint>, entries);
    QFETCH(QString, text);

    const QString built = Locator::buildPath(livingSpace, entries);
    QCOMPARE(built, text);
    const Locator locator(built);
    QVERIFY(locator.isValid());
    QVERIFY(locator.hasLivingSpace());
    QCOMPARE(uint(locator.livingSpace()), livingSpace);
    QCOMPARE(locator.countHierarchyLevels(), int(entries.size()));
    QList<uint> parsed;
    for (const QString& entry : locator.hierarchyStack()) {
        bool ok = false;
        parsed.append(entry.toUInt(&ok));
        QVERIFY(ok);
    }
    QCOMPARE(parsed, entries);
}

ZK_TEST_REGISTER(tst_Locator)
#include "tst_Locator.moc"
