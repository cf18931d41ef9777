#include "ParameterCoordinate.h"
#include "TestRegistry.h"

#include <QHash>
#include <QSet>
#include <QTest>

class tst_ParameterCoordinate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void toText_data();
    void toText();
    void fromText_data();
    void fromText();
    void numbersAreUniqueAndOrdered();
    void copyAndAssign();
    void invalidCoordinates();
    void hashUsesNumberAndSeed();
};

void tst_ParameterCoordinate::toText_data()
{
    QTest::addColumn<QChar>("group");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("number");

    QTest::newRow("first") << QChar('A') << 0 << "A00" << 0;
    QTest::newRow("template") << QChar('P') << 0 << "P00" << 15000;
    QTest::newRow("one digit") << QChar('P') << 5 << "P05" << 15005;
    QTest::newRow("two digits") << QChar('Q') << 42 << "Q42" << 16042;
    QTest::newRow("three digits") << QChar('Q') << 123 << "Q123" << 16123;
    QTest::newRow("last") << QChar('Z') << 999 << "Z999" << 25999;
    QTest::newRow("lower case group") << QChar('p') << 7 << "P07" << 15007;
}

void tst_ParameterCoordinate::toText()
{
    QFETCH(QChar, group);
    QFETCH(int, line);
    QFETCH(QString, text);
    QFETCH(int, number);

    const ParameterCoordinate c(group, static_cast<unsigned short>(line));
    QVERIFY(c.isValid());
    QCOMPARE(c.toText(), text);
    QCOMPARE(int(c.toNumber()), number);
    QCOMPARE(c.group(), group.toUpper());
    QCOMPARE(int(c.line()), line);
}

void tst_ParameterCoordinate::fromText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QString>("canonical");

    QTest::newRow("P00") << "P00" << true << "P00";
    QTest::newRow("Q123") << "Q123" << true << "Q123";
    QTest::newRow("single digit") << "P5" << true << "P05";
    QTest::newRow("padded to three") << "P005" << true << "P05";
    QTest::newRow("lower case") << "b12" << true << "B12";
    QTest::newRow("white space") << "  C07 " << true << "C07";
    QTest::newRow("empty") << "" << false << "";
    QTest::newRow("letter only") << "P" << false << "";
    QTest::newRow("digits only") << "123" << false << "";
    QTest::newRow("four digits") << "P1000" << false << "";
    QTest::newRow("sign") << "P-1" << false << "";
    QTest::newRow("plus") << "P+1" << false << "";
    QTest::newRow("inner space") << "P 12" << false << "";
    QTest::newRow("umlaut") << QString::fromUtf8("\xC3\x84" "12") << false << "";
    QTest::newRow("two letters") << "PQ1" << false << "";
}

void tst_ParameterCoordinate::fromText()
{
    QFETCH(QString, text);
    QFETCH(bool, valid);
    QFETCH(QString, canonical);

    bool ok = !valid;
    const ParameterCoordinate c = ParameterCoordinate::fromText(text, &ok);
    QCOMPARE(ok, valid);
    QCOMPARE(c.isValid(), valid);
    if (valid) {
        QCOMPARE(c.toText(), canonical);
        QCOMPARE(ParameterCoordinate::fromText(c.toText()), c);
    }
}

void tst_ParameterCoordinate::numbersAreUniqueAndOrdered()
{
    QSet<unsigned short> seen;
    unsigned short previous = 0;
    bool first = true;
    for (char g = 'A'; g <= 'Z'; ++g) {
        for (unsigned short line = 0; line <= ParameterCoordinate::MaximumLine; ++line) {
            const ParameterCoordinate c(QLatin1Char(g), line);
            const unsigned short n = c.toNumber();
            QVERIFY2(!seen.contains(n), qPrintable(c.toText()));
            seen.insert(n);
            if (!first)
                QVERIFY(n > previous);
            previous = n;
            first = false;
            bool ok = false;
            QCOMPARE(ParameterCoordinate::fromText(c.toText(), &ok), c);
            QVERIFY(ok);
        }
    }
    QCOMPARE(seen.size(), 26 * 1000);
}

void tst_ParameterCoordinate::copyAndAssign()
{
    const ParameterCoordinate a(QLatin1Char('K'), 17);
    ParameterCoordinate b(a);
    QCOMPARE(b, a);
    ParameterCoordinate c(QLatin1Char('A'), 1);
    QVERIFY(c != a);
    c = a;
    QCOMPARE(c.toText(), QStringLiteral("K17"));
    QVERIFY(c == a);
}

void tst_ParameterCoordinate::invalidCoordinates()
{
    const ParameterCoordinate none;
    QVERIFY(!none.isValid());
    QCOMPARE(none.toNumber(), ParameterCoordinate::InvalidNumber);
    const ParameterCoordinate lineTooHigh(QLatin1Char('P'), 1000);
    QVERIFY(!lineTooHigh.isValid());
    QCOMPARE(lineTooHigh.toNumber(), ParameterCoordinate::InvalidNumber);
    const ParameterCoordinate digitGroup(QLatin1Char('1'), 5);
    QVERIFY(!digitGroup.isValid());
}

void tst_ParameterCoordinate::hashUsesNumberAndSeed()
{
    const ParameterCoordinate c(QLatin1Char('C'), 3);
    QCOMPARE(qHash(c, 0), size_t(2003));
    QCOMPARE(qHash(c, 0x55), size_t(2003) ^ size_t(0x55));

    QHash<ParameterCoordinate, int> table;
    table.insert(ParameterCoordinate(QLatin1Char('P'), 1), 1);
    table.insert(ParameterCoordinate(QLatin1Char('p'), 1), 2);
    table.insert(ParameterCoordinate(QLatin1Char('P'), 2), 3);
    QCOMPARE(table.size(), 2);
    QCOMPARE(table.value(ParameterCoordinate::fromText(QStringLiteral("P01"))), 2);
}

ZK_TEST_REGISTER(tst_ParameterCoordinate)
#include "tst_ParameterCoordinate.moc"
