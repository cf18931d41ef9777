#include "TestRegistry.h"

#include "BlockCheckIssue.h"
#include "BlockCheckIssueEntry.h"
#include "StatusEntry.h"

#include <QPointer>
#include <QTest>

namespace {

// An application's status entry: the library declares the class and never derives from it.
class RecordingStatus : public StatusEntry
{
public:
    using StatusEntry::StatusEntry;
    QString statusText() const override { return QStringLiteral("text"); }
    QString statusSource() const override { return QStringLiteral("source"); }
    int statusLevel() const override { return 2; }
    QString statusLocation() const override { return QStringLiteral("A1:0.5"); }
    void activateStatus() override { ++activations; }
    int activations = 0;
};

} // namespace

class tst_BlockCheckIssueEntry : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void emptyEntry();
    void copiesTheIssue_data();
    void copiesTheIssue();
    void samePathAndNumberIsOneEntry();
    void entryOutlivesItsIssue();
    void nullIssueChangesNothing();
    void statusEntryIsDerivable();
};

void tst_BlockCheckIssueEntry::emptyEntry()
{
    BlockCheckIssueEntry entry(nullptr);
    QVERIFY(entry.identifier().isEmpty());
    QVERIFY(entry.locationPath().isEmpty());
    QVERIFY(entry.sourceName().isEmpty());
    QVERIFY(entry.issueText().isEmpty());
    QCOMPARE(entry.number(), 0u);
    QCOMPARE(entry.level(), BlockCheckIssue::Information);
}

void tst_BlockCheckIssueEntry::copiesTheIssue_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<uint>("number");
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("identifier");
    QTest::newRow("nested") << QStringLiteral("5.12") << 1002u << int(BlockCheckIssue::Error) << QStringLiteral("5.12_1002");
    QTest::newRow("area root") << QStringLiteral("0.7") << 3000u << int(BlockCheckIssue::Warning) << QStringLiteral("0.7_3000");
    QTest::newRow("information") << QStringLiteral("9") << 0u << int(BlockCheckIssue::Information) << QStringLiteral("9_0");
    QTest::newRow("no path") << QString() << 6999u << int(BlockCheckIssue::Error) << QStringLiteral("_6999");
}

void tst_BlockCheckIssueEntry::copiesTheIssue()
{
    QFETCH(QString, path);
    QFETCH(uint, number);
    QFETCH(int, level);
    QFETCH(QString, identifier);
    BlockCheckIssue issue(path, number, QStringLiteral("Regler (12)"), QStringLiteral("Der Eingang E1 ist offen."),
                          BlockCheckIssue::eLevel(level));
    BlockCheckIssueEntry entry(nullptr);
    entry.setIssue(&issue);
    QCOMPARE(entry.identifier(), identifier);
    QCOMPARE(entry.locationPath(), path);
    QCOMPARE(entry.number(), number);
    QCOMPARE(int(entry.level()), level);
    QCOMPARE(entry.sourceName(), QStringLiteral("Regler (12)"));
    QCOMPARE(entry.issueText(), QStringLiteral("Der Eingang E1 ist offen."));
}

void tst_BlockCheckIssueEntry::samePathAndNumberIsOneEntry()
{
    BlockCheckIssue first(QStringLiteral("3"), 1001, QStringLiteral("A (3)"), QStringLiteral("old"), BlockCheckIssue::Error);
    BlockCheckIssue second(QStringLiteral("3"), 1001, QStringLiteral("B (3)"), QStringLiteral("new"), BlockCheckIssue::Warning);
    BlockCheckIssue other(QStringLiteral("3"), 1002, QStringLiteral("A (3)"), QStringLiteral("old"), BlockCheckIssue::Error);
    BlockCheckIssueEntry a(nullptr), b(nullptr), c(nullptr);
    a.setIssue(&first);
    b.setIssue(&second);
    c.setIssue(&other);
    QCOMPARE(a.identifier(), b.identifier());
    QVERIFY(a.identifier() != c.identifier());
}

void tst_BlockCheckIssueEntry::entryOutlivesItsIssue()
{
    BlockCheckIssueEntry entry(nullptr);
    {
        auto issue = std::make_unique<BlockCheckIssue>(QStringLiteral("4"), 2000, QStringLiteral("X (4)"),
                                                       QStringLiteral("gone"), BlockCheckIssue::Error);
        entry.setIssue(issue.get());
    }
    QCOMPARE(entry.issueText(), QStringLiteral("gone"));
    QCOMPARE(entry.identifier(), QStringLiteral("4_2000"));
}

void tst_BlockCheckIssueEntry::nullIssueChangesNothing()
{
    BlockCheckIssue issue(QStringLiteral("1"), 1001, QStringLiteral("S"), QStringLiteral("T"), BlockCheckIssue::Error);
    BlockCheckIssueEntry entry(nullptr);
    entry.setIssue(&issue);
    entry.setIssue(nullptr);
    QCOMPARE(entry.identifier(), QStringLiteral("1_1001"));
}

void tst_BlockCheckIssueEntry::statusEntryIsDerivable()
{
    QObject owner;
    QPointer<RecordingStatus> status = new RecordingStatus(&owner);
    StatusEntry* base = status.data();
    QCOMPARE(base->statusText(), QStringLiteral("text"));
    QCOMPARE(base->statusLevel(), 2);
    base->activateStatus();
    QCOMPARE(status->activations, 1);
    RecordingStatus loose;
    QCOMPARE(loose.parent(), nullptr);
}

ZK_TEST_REGISTER(tst_BlockCheckIssueEntry)
#include "tst_BlockCheckIssueEntry.moc"
