#include "TestRegistry.h"

#include "DatatypeProvider.h"
#include "Locator.h"
#include "ParameterContainer.h"
#include "ParameterSetup.h"
#include "SimpleType.h"

#include <QTest>
#include <QValidator>

// Defects found in review of the small services, each pinned down here.
class tst_UtilityRegressions : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void recursiveAnchorsBelowAreaRoot();
    void leadingZeroIsDecimal();
    void minusIsInvalidForUnsigned();
    void colonInsideEntryIsInvalid();
};

void tst_UtilityRegressions::recursiveAnchorsBelowAreaRoot()
{
    ParameterContainer container;
    container.insertParameterInstance(new ParameterSetup(QStringLiteral("A1:0.5#P12")));
    container.insertParameterInstance(new ParameterSetup(QStringLiteral("A2:0.5#P12")));
    QCOMPARE(container.queryParameterAnchors(QStringLiteral("A1:"), true), QList<QString>{QStringLiteral("A1:0.5#P12")});
    QCOMPARE(container.queryParameterAnchors(QStringLiteral("A1:"), false), QList<QString>{});
    QCOMPARE(container.queryParameterAnchors(QString(), true).size(), 2);
}

void tst_UtilityRegressions::leadingZeroIsDecimal()
{
    const SimpleType* type = DatatypeProvider::instance()->simpleType(DatatypeProvider::Int);
    bool ok = false;
    QCOMPARE(type->parseValue(QStringLiteral("010"), &ok), 10.0);
    QVERIFY(ok);
    QCOMPARE(type->parseValue(QStringLiteral("09"), &ok), 9.0);
    QVERIFY(ok);
    QCOMPARE(type->parseValue(QStringLiteral("0x10"), &ok), 16.0);
    QVERIFY(ok);
    QValidator* validator = DatatypeProvider::instance()->validator(DatatypeProvider::Int);
    QString text = QStringLiteral("08");
    int pos = 0;
    QCOMPARE(validator->validate(text, pos), QValidator::Acceptable);
}

void tst_UtilityRegressions::minusIsInvalidForUnsigned()
{
    QValidator* validator = DatatypeProvider::instance()->validator(DatatypeProvider::UInt);
    QString text = QStringLiteral("-1");
    int pos = 0;
    QCOMPARE(validator->validate(text, pos), QValidator::Invalid);
    text = QStringLiteral("-");
    QCOMPARE(validator->validate(text, pos), QValidator::Invalid);
    QValidator* signedValidator = DatatypeProvider::instance()->validator(DatatypeProvider::Int);
    text = QStringLiteral("-1");
    QCOMPARE(signedValidator->validate(text, pos), QValidator::Acceptable);
}

void tst_UtilityRegressions::colonInsideEntryIsInvalid()
{
    const Locator locator(QStringLiteral("A1:0.5:3"));
    QVERIFY(!locator.isValid());
    QVERIFY(!locator.hasHierarchy());
    QVERIFY(Locator(QStringLiteral("A1:0.5.3")).isValid());
}

ZK_TEST_REGISTER(tst_UtilityRegressions)
#include "tst_UtilityRegressions.moc"
