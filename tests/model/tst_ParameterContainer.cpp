#include "ParameterContainer.h"
#include "ParameterSetup.h"
#include "TestRegistry.h"

#include <QTest>

#include <algorithm>

namespace {

// Counts destructions so that ownership can be checked.
class CountedSetup : public ParameterSetup
{
public:
    CountedSetup(const QString& name, int* deleted)
        : ParameterSetup(name)
        , m_deleted(deleted)
    {
    }
    ~CountedSetup() override { ++*m_deleted; }

private:
    int* m_deleted;
};

QList<QString> sorted(QList<QString> names)
{
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

class tst_ParameterContainer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void anchors_data();
    void anchors();
    void replaceDeletesOld();
    void insertSameTwice();
    void remove();
    void clear();
    void nameParts_data();
    void nameParts();
    void setupValuesPerArea();
    void relatedNames();
    void explicitValuesSorted();

private:
    ParameterContainer* m_container = nullptr;
    // Outlives the setups that count into it, which the container may delete only in cleanup().
    int m_deleted = 0;
};

void tst_ParameterContainer::init()
{
    m_deleted = 0;
    m_container = new ParameterContainer;
    for (const char* name : {"A1:0#P00", "A1:0#P01", "A1:0.5#P12", "A1:0.5.3#P01", "A1:0.55#P00", "A1:1#P00",
                             "A2:0#P00"})
        m_container->insertParameterInstance(new ParameterSetup(QString::fromLatin1(name)));
}

void tst_ParameterContainer::cleanup()
{
    delete m_container;
    m_container = nullptr;
}

void tst_ParameterContainer::anchors_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("recursive");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("exact") << "A1:0" << false << QStringList{"A1:0#P00", "A1:0#P01"};
    QTest::newRow("recursive") << "A1:0" << true
                               << QStringList{"A1:0#P00", "A1:0#P01", "A1:0.5#P12", "A1:0.5.3#P01", "A1:0.55#P00"};
    QTest::newRow("exact leaf") << "A1:0.5" << false << QStringList{"A1:0.5#P12"};
    // "A1:0.55" is a sibling of "A1:0.5", not below it.
    QTest::newRow("recursive middle") << "A1:0.5" << true << QStringList{"A1:0.5#P12", "A1:0.5.3#P01"};
    QTest::newRow("other living space") << "A2:0" << true << QStringList{"A2:0#P00"};
    QTest::newRow("unknown") << "A1:9" << true << QStringList{};
    QTest::newRow("prefix is no path") << "A1:0.5.3#P0" << false << QStringList{};
}

void tst_ParameterContainer::anchors()
{
    QFETCH(QString, path);
    QFETCH(bool, recursive);
    QFETCH(QStringList, expected);

    const QList<QString> anchors = m_container->queryParameterAnchors(path, recursive);
    QCOMPARE(sorted(anchors), sorted(expected));
    for (const QString& anchor : anchors) {
        ParameterSetup* setup = m_container->queryParameterInstance(anchor);
        QVERIFY(setup);
        QCOMPARE(setup->name(), anchor);
    }
}

void tst_ParameterContainer::replaceDeletesOld()
{
    auto* first = new CountedSetup(QStringLiteral("A3:1#P05"), &m_deleted);
    m_container->insertParameterInstance(first);
    QCOMPARE(m_container->queryParameterInstance(QStringLiteral("A3:1#P05")), first);
    auto* second = new CountedSetup(QStringLiteral("A3:1#P05"), &m_deleted);
    m_container->insertParameterInstance(second);
    QCOMPARE(m_deleted, 1);
    QCOMPARE(m_container->queryParameterInstance(QStringLiteral("A3:1#P05")), second);
    QCOMPARE(m_container->parameterNames().count(QStringLiteral("A3:1#P05")), 1);
    m_container->insertParameterInstance(nullptr);
    QCOMPARE(m_container->parameterNames().size(), 8);
    delete m_container;
    m_container = nullptr;
    QCOMPARE(m_deleted, 2);
}

void tst_ParameterContainer::insertSameTwice()
{
    auto* setup = new CountedSetup(QStringLiteral("A3:2#P00"), &m_deleted);
    m_container->insertParameterInstance(setup);
    m_container->insertParameterInstance(setup);
    QCOMPARE(m_deleted, 0);
    QCOMPARE(m_container->queryParameterInstance(QStringLiteral("A3:2#P00")), setup);
}

void tst_ParameterContainer::remove()
{
    m_container->insertParameterInstance(new CountedSetup(QStringLiteral("A3:3#P00"), &m_deleted));
    QVERIFY(m_container->removeParameterInstance(QStringLiteral("A3:3#P00")));
    QCOMPARE(m_deleted, 1);
    QVERIFY(!m_container->queryParameterInstance(QStringLiteral("A3:3#P00")));
    QVERIFY(!m_container->removeParameterInstance(QStringLiteral("A3:3#P00")));
    QVERIFY(m_container->removeParameterInstance(QStringLiteral("A1:0#P00")));
    QCOMPARE(m_container->queryParameterAnchors(QStringLiteral("A1:0"), false), QList<QString>{"A1:0#P01"});
}

void tst_ParameterContainer::clear()
{
    m_container->insertParameterInstance(new CountedSetup(QStringLiteral("A3:4#P00"), &m_deleted));
    m_container->clearParameters();
    QCOMPARE(m_deleted, 1);
    QVERIFY(m_container->parameterNames().isEmpty());
    QVERIFY(m_container->queryParameterAnchors(QStringLiteral("A1:0"), true).isEmpty());
}

void tst_ParameterContainer::nameParts_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("coordinate");

    QTest::newRow("usual") << "A1:0.5#P12" << "A1:0.5" << "P12";
    QTest::newRow("no coordinate") << "A1:0.5" << "A1:0.5" << "";
    QTest::newRow("last hash counts") << "A1:x#y#Q01" << "A1:x#y" << "Q01";
    QTest::newRow("empty coordinate") << "A1:0#" << "A1:0" << "";
}

void tst_ParameterContainer::nameParts()
{
    QFETCH(QString, name);
    QFETCH(QString, path);
    QFETCH(QString, coordinate);
    QCOMPARE(ParameterContainer::instancePathOf(name), path);
    QCOMPARE(ParameterContainer::coordinateOf(name), coordinate);
}

void tst_ParameterContainer::setupValuesPerArea()
{
    ParameterSetup setup(QStringLiteral("A1:0#P03"), {0, 1, 2});
    QCOMPARE(setup.elementNumbers(), (QList<unsigned short>{0, 1, 2}));
    QVERIFY(setup.valueText(1, 0, 0).isEmpty());

    setup.setDefaultValueText(0, QStringLiteral("10"));
    setup.setDefaultValueText(1, QStringLiteral("11"));
    setup.setValueText(2, 0, QStringLiteral("20"));
    setup.setValueText(3, 1, QStringLiteral("31"));

    QCOMPARE(setup.valueText(1, 0, 0), QStringLiteral("10"));
    QCOMPARE(setup.valueText(2, 0, 0), QStringLiteral("20"));
    QCOMPARE(setup.valueText(2, 1, 0), QStringLiteral("11"));
    QCOMPARE(setup.valueText(3, 1, 0), QStringLiteral("31"));
    QCOMPARE(setup.valueText(3, 0, 0), QStringLiteral("10"));
    QVERIFY(setup.valueText(3, 2, 0).isEmpty());
    QCOMPARE(setup.defaultValueText(1), QStringLiteral("11"));

    // An explicit empty value is a value of its own, not a gap.
    setup.setValueText(4, 0, QString());
    QVERIFY(setup.valueText(4, 0, 0).isEmpty());

    setup.setValueText(2, 0, QStringLiteral("21"));
    QCOMPARE(setup.valueText(2, 0, 0), QStringLiteral("21"));

    // The default written to an element without a value of its own stores nothing; written over
    // a value of its own it stays a value of its own. A project file's value is kept as it is.
    const QList<QPair<int, unsigned short>> ownBefore = setup.explicitValues();
    setup.setValueText(5, 0, QStringLiteral("10"));
    QCOMPARE(setup.explicitValues(), ownBefore);
    QCOMPARE(setup.valueText(5, 0, 0), QStringLiteral("10"));
    setup.setValueText(2, 0, QStringLiteral("10"));
    QVERIFY(setup.explicitValues().contains(qMakePair(2, (unsigned short)0)));
    setup.setOwnValueText(6, 1, QStringLiteral("11"));
    QVERIFY(setup.explicitValues().contains(qMakePair(6, (unsigned short)1)));
    setup.setElementNumbers({5});
    QCOMPARE(setup.elementNumbers(), QList<unsigned short>{5});
}

void tst_ParameterContainer::relatedNames()
{
    ParameterSetup setup(QStringLiteral("A1:0#P03"));
    QCOMPARE(setup.elementNumbers(), QList<unsigned short>{0});
    QVERIFY(setup.relatedParameterNames(1).isEmpty());
    setup.setRelatedParameterNames(1, {QStringLiteral("A1:0#P04"), QStringLiteral("A1:0#P05")});
    QCOMPARE(setup.relatedParameterNames(1), (QList<QString>{"A1:0#P04", "A1:0#P05"}));
    QVERIFY(setup.relatedParameterNames(2).isEmpty());
    setup.setRelatedParameterNames(7, {QStringLiteral("A1:0#P06")});
    QCOMPARE(setup.relatedAreas(), (QList<int>{1, 7}));
    setup.setRelatedParameterNames(1, {});
    QVERIFY(setup.relatedParameterNames(1).isEmpty());
    QCOMPARE(setup.relatedAreas(), QList<int>{7});
}

void tst_ParameterContainer::explicitValuesSorted()
{
    ParameterSetup setup(QStringLiteral("A1:0#P03"), {0, 1});
    setup.setValueText(3, 1, QStringLiteral("a"));
    setup.setValueText(1, 1, QStringLiteral("b"));
    setup.setValueText(3, 0, QStringLiteral("c"));
    setup.setDefaultValueText(0, QStringLiteral("d"));
    using Key = QPair<int, unsigned short>;
    QCOMPARE(setup.explicitValues(), (QList<Key>{{1, 1}, {3, 0}, {3, 1}}));
}

ZK_TEST_REGISTER(tst_ParameterContainer)
#include "tst_ParameterContainer.moc"
