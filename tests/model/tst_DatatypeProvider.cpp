#include "DatatypeProvider.h"
#include "SimpleType.h"
#include "TestRegistry.h"

#include <QTest>
#include <QValidator>

#include <cmath>

class tst_DatatypeProvider : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void builtinTypes_data();
    void builtinTypes();
    void unknownNumbers();
    void validators_data();
    void validators();
    void parseValue_data();
    void parseValue();
    void formatValue_data();
    void formatValue();
    void coerce_data();
    void coerce();
    void customTypes();
};

void tst_DatatypeProvider::cleanup()
{
    DatatypeProvider::instance()->removeCustomTypes();
}

void tst_DatatypeProvider::builtinTypes_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<int>("kind");
    QTest::addColumn<uint>("size");
    QTest::addColumn<QString>("shortName");

    QTest::newRow("BOOL") << 1 << int(SimpleTypeBit) << 1u << "BOOL";
    QTest::newRow("SINT") << 2 << int(SimpleTypeSigned) << 1u << "SINT";
    QTest::newRow("INT") << 3 << int(SimpleTypeSigned) << 2u << "INT";
    QTest::newRow("DINT") << 4 << int(SimpleTypeSigned) << 4u << "DINT";
    QTest::newRow("USINT") << 5 << int(SimpleTypeUnsigned) << 1u << "USINT";
    QTest::newRow("UINT") << 6 << int(SimpleTypeUnsigned) << 2u << "UINT";
    QTest::newRow("UDINT") << 7 << int(SimpleTypeUnsigned) << 4u << "UDINT";
    QTest::newRow("REAL") << 8 << int(SimpleTypeFloat) << 4u << "REAL";
    QTest::newRow("LREAL") << 9 << int(SimpleTypeFloat) << 8u << "LREAL";
    QTest::newRow("TIME") << 10 << int(SimpleTypeTime) << 4u << "TIME";
    QTest::newRow("ANY") << 11 << int(SimpleTypeVariant) << 0u << "ANY";
}

void tst_DatatypeProvider::builtinTypes()
{
    QFETCH(int, number);
    QFETCH(int, kind);
    QFETCH(uint, size);
    QFETCH(QString, shortName);

    DatatypeProvider* provider = DatatypeProvider::instance();
    QVERIFY(provider->isBuiltin(uchar(number)));
    QVERIFY(provider->typeNumbers().contains(uchar(number)));
    const SimpleType* type = provider->simpleType(uchar(number));
    QVERIFY(type);
    QCOMPARE(int(type->number()), number);
    QCOMPARE(int(type->kind()), kind);
    QCOMPARE(type->sizeInBytes(), size);
    QCOMPARE(type->shortName(), shortName);
    QCOMPARE(type->isVariant(), kind == SimpleTypeVariant);
    QVERIFY(provider->validator(uchar(number)));
    QCOMPARE(provider->validator(uchar(number)), provider->validator(uchar(number)));
}

void tst_DatatypeProvider::unknownNumbers()
{
    DatatypeProvider* provider = DatatypeProvider::instance();
    QVERIFY(!provider->simpleType(0));
    QVERIFY(!provider->simpleType(12));
    QVERIFY(!provider->simpleType(255));
    QVERIFY(!provider->validator(0));
    QVERIFY(!provider->validator(200));
    QCOMPARE(provider->typeNumbers(), (QList<uchar>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
}

void tst_DatatypeProvider::validators_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("input");
    QTest::addColumn<int>("state");

    const int ok = QValidator::Acceptable;
    const int partial = QValidator::Intermediate;
    const int bad = QValidator::Invalid;

    QTest::newRow("BOOL TRUE") << 1 << "TRUE" << ok;
    QTest::newRow("BOOL false") << 1 << "false" << ok;
    QTest::newRow("BOOL 1") << 1 << "1" << ok;
    QTest::newRow("BOOL 2") << 1 << "2" << bad;
    QTest::newRow("BOOL yes") << 1 << "yes" << bad;
    QTest::newRow("SINT -128") << 2 << "-128" << ok;
    QTest::newRow("SINT 127") << 2 << "127" << ok;
    QTest::newRow("SINT 128 out of range") << 2 << "128" << partial;
    QTest::newRow("SINT minus sign alone") << 2 << "-" << partial;
    QTest::newRow("SINT letters") << 2 << "abc" << bad;
    QTest::newRow("INT hex") << 3 << "0x7FFF" << ok;
    QTest::newRow("INT 32768") << 3 << "32768" << partial;
    QTest::newRow("DINT min") << 4 << "-2147483648" << ok;
    QTest::newRow("DINT empty") << 4 << "" << partial;
    QTest::newRow("USINT 255") << 5 << "255" << ok;
    QTest::newRow("USINT 256") << 5 << "256" << partial;
    QTest::newRow("USINT minus sign") << 5 << "-" << bad;
    QTest::newRow("UINT 65535") << 6 << "65535" << ok;
    QTest::newRow("UINT decimal point") << 6 << "1.5" << bad;
    QTest::newRow("UDINT max") << 7 << "4294967295" << ok;
    QTest::newRow("REAL 1.5") << 8 << "1.5" << ok;
    QTest::newRow("REAL exponent") << 8 << "-2.5e3" << ok;
    QTest::newRow("REAL letters") << 8 << "x" << bad;
    QTest::newRow("LREAL 1e300") << 9 << "1e300" << ok;
    QTest::newRow("TIME T#250ms") << 10 << "T#250ms" << ok;
    QTest::newRow("TIME 5s") << 10 << "5s" << ok;
    QTest::newRow("TIME 100") << 10 << "100" << ok;
    QTest::newRow("TIME negative") << 10 << "-5" << bad;
    QTest::newRow("TIME unit only") << 10 << "ms" << bad;
    QTest::newRow("ANY text") << 11 << "anything 1" << ok;
    QTest::newRow("ANY line break") << 11 << "a\nb" << bad;
}

void tst_DatatypeProvider::validators()
{
    QFETCH(int, number);
    QFETCH(QString, input);
    QFETCH(int, state);

    QValidator* validator = DatatypeProvider::instance()->validator(uchar(number));
    QVERIFY(validator);
    int position = int(input.size());
    QCOMPARE(int(validator->validate(input, position)), state);
}

void tst_DatatypeProvider::parseValue_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("input");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<double>("value");

    QTest::newRow("BOOL TRUE") << 1 << "TRUE" << true << 1.0;
    QTest::newRow("BOOL false") << 1 << " false " << true << 0.0;
    QTest::newRow("BOOL 0") << 1 << "0" << true << 0.0;
    QTest::newRow("BOOL 2") << 1 << "2" << false << 0.0;
    QTest::newRow("SINT -128") << 2 << "-128" << true << -128.0;
    QTest::newRow("SINT -129") << 2 << "-129" << false << 0.0;
    QTest::newRow("INT hex") << 3 << "0x10" << true << 16.0;
    QTest::newRow("DINT max") << 4 << "2147483647" << true << 2147483647.0;
    QTest::newRow("DINT over") << 4 << "2147483648" << false << 0.0;
    QTest::newRow("USINT 255") << 5 << "255" << true << 255.0;
    QTest::newRow("USINT -1") << 5 << "-1" << false << 0.0;
    QTest::newRow("UDINT max") << 7 << "4294967295" << true << 4294967295.0;
    QTest::newRow("UINT text") << 6 << "twelve" << false << 0.0;
    QTest::newRow("REAL 1.5") << 8 << "1.5" << true << 1.5;
    QTest::newRow("REAL inf") << 8 << "inf" << false << 0.0;
    QTest::newRow("LREAL exponent") << 9 << "-1e-3" << true << -0.001;
    QTest::newRow("TIME T#250ms") << 10 << "T#250ms" << true << 250.0;
    QTest::newRow("TIME t#2s") << 10 << "t#2s" << true << 2000.0;
    QTest::newRow("TIME plain") << 10 << "40" << true << 40.0;
    QTest::newRow("TIME minutes") << 10 << "T#1m" << false << 0.0;
    QTest::newRow("ANY number") << 11 << "3.25" << true << 3.25;
}

void tst_DatatypeProvider::parseValue()
{
    QFETCH(int, number);
    QFETCH(QString, input);
    QFETCH(bool, ok);
    QFETCH(double, value);

    const SimpleType* type = DatatypeProvider::instance()->simpleType(uchar(number));
    QVERIFY(type);
    bool parsed = !ok;
    QCOMPARE(type->parseValue(input, &parsed), value);
    QCOMPARE(parsed, ok);
    QCOMPARE(type->parseValue(input), value);
}

void tst_DatatypeProvider::formatValue_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");

    QTest::newRow("BOOL 1") << 1 << 1.0 << "TRUE";
    QTest::newRow("BOOL 0") << 1 << 0.0 << "FALSE";
    QTest::newRow("INT -5") << 3 << -5.0 << "-5";
    QTest::newRow("UDINT big") << 7 << 4294967295.0 << "4294967295";
    QTest::newRow("REAL") << 8 << 1.5 << "1.5";
    QTest::newRow("LREAL seven digits") << 9 << 3.14159265 << "3.141593";
    QTest::newRow("TIME") << 10 << 250.0 << "T#250ms";
}

void tst_DatatypeProvider::formatValue()
{
    QFETCH(int, number);
    QFETCH(double, value);
    QFETCH(QString, text);

    const SimpleType* type = DatatypeProvider::instance()->simpleType(uchar(number));
    QVERIFY(type);
    QCOMPARE(type->formatValue(value), text);
    // The canonical text reads back as the value (up to the display precision for floats).
    bool ok = false;
    const double back = type->parseValue(text, &ok);
    QVERIFY(ok);
    QVERIFY(std::fabs(back - value) < 1e-6);
}

void tst_DatatypeProvider::coerce_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<double>("value");
    QTest::addColumn<double>("expected");

    QTest::newRow("BOOL nonzero") << 1 << -3.5 << 1.0;
    QTest::newRow("BOOL zero") << 1 << 0.0 << 0.0;
    QTest::newRow("SINT 127") << 2 << 127.0 << 127.0;
    QTest::newRow("SINT 128 wraps") << 2 << 128.0 << -128.0;
    QTest::newRow("SINT -129 wraps") << 2 << -129.0 << 127.0;
    QTest::newRow("SINT truncates") << 2 << -2.7 << -2.0;
    QTest::newRow("INT 32768 wraps") << 3 << 32768.0 << -32768.0;
    QTest::newRow("INT 70000 wraps") << 3 << 70000.0 << 4464.0;
    QTest::newRow("DINT max+1 wraps") << 4 << 2147483648.0 << -2147483648.0;
    QTest::newRow("USINT 256 wraps") << 5 << 256.0 << 0.0;
    QTest::newRow("USINT -1 wraps") << 5 << -1.0 << 255.0;
    QTest::newRow("UINT 65537 wraps") << 6 << 65537.0 << 1.0;
    QTest::newRow("UDINT -1 wraps") << 7 << -1.0 << 4294967295.0;
    QTest::newRow("UDINT truncates") << 7 << 9.99 << 9.0;
    QTest::newRow("REAL rounds to float") << 8 << 0.1 << double(0.1f);
    QTest::newRow("LREAL keeps") << 9 << 0.1 << 0.1;
    QTest::newRow("TIME -1 wraps") << 10 << -1.0 << 4294967295.0;
    QTest::newRow("NaN becomes 0") << 3 << std::nan("") << 0.0;
    QTest::newRow("infinity becomes 0") << 8 << HUGE_VAL << 0.0;
}

void tst_DatatypeProvider::coerce()
{
    QFETCH(int, number);
    QFETCH(double, value);
    QFETCH(double, expected);

    const SimpleType* type = DatatypeProvider::instance()->simpleType(uchar(number));
    QVERIFY(type);
    QCOMPARE(type->coerce(value), expected);
}

void tst_DatatypeProvider::customTypes()
{
    DatatypeProvider* provider = DatatypeProvider::instance();
    QVERIFY(!provider->registerType(SimpleType(3, SimpleTypeUnsigned, 1, QStringLiteral("BYTE"), 0, 255)));
    QCOMPARE(provider->simpleType(3)->shortName(), QStringLiteral("INT"));
    QVERIFY(!provider->registerType(SimpleType(0, SimpleTypeUnsigned, 1, QStringLiteral("BYTE"), 0, 255)));

    QVERIFY(provider->registerType(SimpleType(40, SimpleTypeUnsigned, 1, QStringLiteral("BYTE"), 0, 255)));
    QVERIFY(!provider->isBuiltin(40));
    QCOMPARE(provider->simpleType(40)->shortName(), QStringLiteral("BYTE"));
    QVERIFY(provider->validator(40));
    QVERIFY(provider->registerType(SimpleType(40, SimpleTypeSigned, 2, QStringLiteral("WORD"), -32768, 32767)));
    QCOMPARE(provider->simpleType(40)->shortName(), QStringLiteral("WORD"));
    QString input = QStringLiteral("-5");
    int position = 2;
    QCOMPARE(provider->validator(40)->validate(input, position), QValidator::Acceptable);

    QVERIFY(!provider->unregisterType(1));
    QVERIFY(provider->simpleType(1));
    QVERIFY(provider->unregisterType(40));
    QVERIFY(!provider->unregisterType(40));
    QVERIFY(!provider->simpleType(40));
    QVERIFY(!provider->validator(40));

    QVERIFY(provider->registerType(SimpleType(41, SimpleTypeBit, 1, QStringLiteral("FLAG"), 0, 1)));
    provider->removeCustomTypes();
    QVERIFY(!provider->simpleType(41));
    QVERIFY(provider->simpleType(1));
}

ZK_TEST_REGISTER(tst_DatatypeProvider)
#include "tst_DatatypeProvider.moc"
