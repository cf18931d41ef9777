#include "SceneMetrics.h"
#include "TestRegistry.h"

#include <QTest>

#include <cmath>

// The three kinds of snapping every item of the scenes shares; each row is a case a user meets at
// the edge of a raster line.
class tst_SceneMetrics : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void truncatedSnap_data()
    {
        QTest::addColumn<qreal>("value");
        QTest::addColumn<qreal>("raster");
        QTest::addColumn<qreal>("expected");
        QTest::newRow("just below half") << 499.0 << 1000.0 << 0.0;
        QTest::newRow("half goes up") << 500.0 << 1000.0 << 1000.0;
        QTest::newRow("node raster") << 1249.0 << 500.0 << 1000.0;
        QTest::newRow("node raster half") << 1250.0 << 500.0 << 1500.0;
        // The sum is truncated toward zero: a small negative step lands on the origin line.
        QTest::newRow("negative half") << -500.0 << 1000.0 << 0.0;
        QTest::newRow("negative beyond half") << -700.0 << 1000.0 << 0.0;
        QTest::newRow("negative past a raster and a half") << -1700.0 << 1000.0 << -1000.0;
    }

    void truncatedSnap()
    {
        QFETCH(qreal, value);
        QFETCH(qreal, raster);
        QFETCH(qreal, expected);
        const qreal snapped = SceneSnap::truncated(value, raster);
        QCOMPARE(snapped, expected);
        // A coordinate snapped onto the origin from below reads as zero, not as a negative zero.
        if (expected == 0.0)
            QVERIFY(!std::signbit(snapped));
        QCOMPARE(SceneSnap::truncated(QPointF(value, value), raster), QPointF(expected, expected));
    }

    void nearestSnap_data()
    {
        QTest::addColumn<qreal>("value");
        QTest::addColumn<qreal>("raster");
        QTest::addColumn<qreal>("expected");
        QTest::newRow("label raster below half") << 124.0 << 250.0 << 0.0;
        QTest::newRow("label raster half") << 125.0 << 250.0 << 250.0;
        // Halves go away from zero on both sides, unlike the truncated kind.
        QTest::newRow("negative half") << -125.0 << 250.0 << -250.0;
        QTest::newRow("negative block step") << -700.0 << 1000.0 << -1000.0;
        QTest::newRow("block step") << 1499.0 << 1000.0 << 1000.0;
    }

    void nearestSnap()
    {
        QFETCH(qreal, value);
        QFETCH(qreal, raster);
        QFETCH(qreal, expected);
        QCOMPARE(SceneSnap::nearest(value, raster), expected);
        QCOMPARE(SceneSnap::nearest(QPointF(value, -value), raster), QPointF(expected, -expected));
    }

    void upWithSlack_data()
    {
        QTest::addColumn<qreal>("value");
        QTest::addColumn<qreal>("raster");
        QTest::addColumn<qreal>("expected");
        QTest::newRow("nothing still gets one raster") << 0.0 << 1000.0 << 1000.0;
        QTest::newRow("on a line gets one more") << 2000.0 << 1000.0 << 3000.0;
        QTest::newRow("between lines") << 2100.0 << 1000.0 << 3000.0;
        QTest::newRow("label box") << 3500.0 << 500.0 << 4000.0;
    }

    void upWithSlack()
    {
        QFETCH(qreal, value);
        QFETCH(qreal, raster);
        QFETCH(qreal, expected);
        QCOMPARE(SceneSnap::upWithSlack(value, raster), expected);
    }

    void pinDisplayModesKeepTheirNumbers()
    {
        // The host stores and the menu compares the numbers; the names must not move them.
        QCOMPARE(int(PinDisplay::Name), 0);
        QCOMPARE(int(PinDisplay::LocationPath), 1);
        QCOMPARE(int(PinDisplay::MemoryAddress), 2);
        QCOMPARE(int(PinDisplay::CurrentValue), 3);
    }
};

ZK_TEST_REGISTER(tst_SceneMetrics)
#include "tst_SceneMetrics.moc"
