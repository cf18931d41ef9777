#include "IniParser.h"
#include "TestRegistry.h"

#include <QRandomGenerator>
#include <QTest>

using MlIniParser::IniParser;
using MlIniParser::IniSection;

namespace {

// Structural equality, order included.
bool sameTree(const IniSection* a, const IniSection* b, QByteArray* where)
{
    if (a->name() != b->name() || a->keys() != b->keys() || a->sections() != b->sections()) {
        *where = a->name() + " / " + b->name();
        return false;
    }
    for (const QByteArray& key : a->keys()) {
        if (a->value(key) != b->value(key)) {
            *where = a->name() + ": " + key;
            return false;
        }
    }
    for (const QByteArray& name : a->sections()) {
        if (!sameTree(a->section(name), b->section(name), where))
            return false;
    }
    return true;
}

} // namespace

class tst_IniParser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sectionBasics();
    void createSectionReturnsExisting();
    void removeAndClear();
    void readsPlainText();
    void writesNestedSections();
    void hostileRoundTrip_data();
    void hostileRoundTrip();
    void deepAndWideRoundTrip();
    void emptyNamesRoundTrip();
    void garbage_data();
    void garbage();
    void randomBytesNeverCrash();
};

void tst_IniParser::sectionBasics()
{
    IniSection s("machine");
    QCOMPARE(s.name(), QByteArray("machine"));
    QVERIFY(s.value("missing").isEmpty());
    QVERIFY(!s.contains("missing"));
    s.setValue("b", "2");
    s.setValue("a", "1");
    s.setValue("c", "3");
    s.setValue("b", "two");
    QCOMPARE(s.keys(), (QList<QByteArray>{"b", "a", "c"}));
    QCOMPARE(s.value("b"), QByteArray("two"));
    s.setValue("empty", QByteArray());
    QVERIFY(s.contains("empty"));
    QVERIFY(s.removeValue("a"));
    QVERIFY(!s.removeValue("a"));
    QCOMPARE(s.keys(), (QList<QByteArray>{"b", "c", "empty"}));
}

void tst_IniParser::createSectionReturnsExisting()
{
    IniParser ini;
    QVERIFY(ini.name().isEmpty());
    IniSection* z = ini.createSection("z");
    IniSection* a = ini.createSection("a");
    QVERIFY(z && a && z != a);
    QCOMPARE(ini.createSection("z"), z);
    QCOMPARE(ini.section("a"), a);
    QVERIFY(!ini.section("b"));
    QCOMPARE(ini.sections(), (QList<QByteArray>{"z", "a"}));
    IniSection* inner = a->createSection("inner");
    QCOMPARE(a->section("inner"), inner);
    QVERIFY(!ini.section("inner"));
}

void tst_IniParser::removeAndClear()
{
    IniParser ini;
    ini.setValue("top", "1");
    ini.createSection("a")->createSection("b")->setValue("k", "v");
    ini.createSection("c");
    QVERIFY(ini.removeSection("a"));
    QVERIFY(!ini.removeSection("a"));
    QCOMPARE(ini.sections(), QList<QByteArray>{"c"});
    ini.clear();
    QVERIFY(ini.sections().isEmpty());
    QVERIFY(ini.keys().isEmpty());
    QVERIFY(ini.getIniText().isEmpty());
}

void tst_IniParser::readsPlainText()
{
    IniParser ini;
    ini.setIniText("; a comment\r\n"
                   "# another\r\n"
                   "top = level\r\n"
                   "\r\n"
                   "[General]\r\n"
                   "  Name = Drive 1  \r\n"
                   "Empty=\r\n"
                   "[General/Limits]\n"
                   "Max=10=ten\n"
                   "[ Other ]\n"
                   "x=y\n"
                   "[General]\n"
                   "Later=again\n");
    QCOMPARE(ini.value("top"), QByteArray("level"));
    QCOMPARE(ini.sections(), (QList<QByteArray>{"General", "Other"}));
    IniSection* general = ini.section("General");
    QVERIFY(general);
    QCOMPARE(general->keys(), (QList<QByteArray>{"Name", "Empty", "Later"}));
    QCOMPARE(general->value("Name"), QByteArray("Drive 1"));
    QVERIFY(general->contains("Empty"));
    QCOMPARE(general->value("Later"), QByteArray("again"));
    QCOMPARE(general->sections(), QList<QByteArray>{"Limits"});
    QCOMPARE(general->section("Limits")->value("Max"), QByteArray("10=ten"));
    QCOMPARE(ini.section("Other")->value("x"), QByteArray("y"));
}

void tst_IniParser::writesNestedSections()
{
    IniParser ini;
    ini.setValue("version", "2");
    IniSection* a = ini.createSection("a");
    a->setValue("k", "v");
    a->createSection("b")->setValue("deep", "1");
    a->createSection("c");
    ini.createSection("d")->setValue("x", "y");
    QCOMPARE(ini.getIniText(), QByteArray("version=2\n"
                                          "[a]\n"
                                          "k=v\n"
                                          "[a/b]\n"
                                          "deep=1\n"
                                          "[a/c]\n"
                                          "[d]\n"
                                          "x=y\n"));
}

void tst_IniParser::hostileRoundTrip_data()
{
    QTest::addColumn<QByteArray>("sectionName");
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QByteArray>("value");

    QTest::newRow("plain") << QByteArray("s") << QByteArray("k") << QByteArray("v");
    QTest::newRow("equals") << QByteArray("a=b") << QByteArray("k=1") << QByteArray("=x=");
    QTest::newRow("brackets") << QByteArray("[x]") << QByteArray("[k]") << QByteArray("[Section]");
    QTest::newRow("slashes") << QByteArray("a/b") << QByteArray("/k/") << QByteArray("/");
    QTest::newRow("backslashes") << QByteArray("C:\\dir\\") << QByteArray("\\") << QByteArray("\\n is not a break\\");
    QTest::newRow("line breaks") << QByteArray("two\nlines") << QByteArray("k\r\n") << QByteArray("a\nb\r\nc\r");
    QTest::newRow("spaces") << QByteArray("  padded  ") << QByteArray(" k ") << QByteArray("   ");
    QTest::newRow("tabs") << QByteArray("\t") << QByteArray("\tk") << QByteArray("v\t");
    QTest::newRow("comment starts") << QByteArray(";s") << QByteArray(";k") << QByteArray("#v");
    QTest::newRow("hash key") << QByteArray("#") << QByteArray("#k") << QByteArray(";");
    QTest::newRow("control bytes") << QByteArray("\x01", 1) << QByteArray("\x00k", 2) << QByteArray("\x7F\x1B\x00", 3);
    QTest::newRow("utf-8") << QByteArray("Stra\xC3\x9F" "e") << QByteArray("\xE2\x82\xAC") << QByteArray("\xF0\x9F\x98\x80 ok");
    QTest::newRow("empty key and value") << QByteArray("x") << QByteArray() << QByteArray();
    QTest::newRow("escapes as text") << QByteArray("\\s\\x41") << QByteArray("\\=") << QByteArray("\\t\\xZZ\\s");
}

void tst_IniParser::hostileRoundTrip()
{
    QFETCH(QByteArray, sectionName);
    QFETCH(QByteArray, key);
    QFETCH(QByteArray, value);

    IniParser ini;
    ini.setValue(key, value);
    IniSection* s = ini.createSection(sectionName);
    s->setValue(key, value);
    s->setValue("after", "1");
    IniSection* inner = s->createSection(sectionName);
    inner->setValue(value, key);
    ini.createSection("next")->setValue("n", "v");

    const QByteArray text = ini.getIniText();
    IniParser read;
    read.setIniText(text);
    QByteArray where;
    QVERIFY2(sameTree(&ini, &read, &where), (where + "\n" + text).constData());
    QCOMPARE(read.section(sectionName)->value(key), value);
    QCOMPARE(read.section(sectionName)->section(sectionName)->value(value), key);
    QCOMPARE(read.getIniText(), text);

    // The same holds when the text went through a CRLF conversion.
    QByteArray crlf = text;
    crlf.replace("\n", "\r\n");
    IniParser fromCrlf;
    fromCrlf.setIniText(crlf);
    QVERIFY2(sameTree(&ini, &fromCrlf, &where), where.constData());
}

void tst_IniParser::deepAndWideRoundTrip()
{
    IniParser ini;
    IniSection* s = &ini;
    for (int depth = 0; depth < 20; ++depth) {
        for (int i = 9; i >= 0; --i)
            s->setValue("key" + QByteArray::number(i), QByteArray::number(depth * 100 + i));
        for (int i = 5; i >= 0; --i)
            s->createSection("s" + QByteArray::number(i))->setValue("leaf", QByteArray::number(i));
        s = s->section("s3");
    }
    IniParser read;
    read.setIniText(ini.getIniText());
    QByteArray where;
    QVERIFY2(sameTree(&ini, &read, &where), where.constData());
    QCOMPARE(read.sections().first(), QByteArray("s5"));
}

void tst_IniParser::emptyNamesRoundTrip()
{
    IniParser ini;
    IniSection* unnamed = ini.createSection(QByteArray());
    unnamed->setValue("a", "1");
    unnamed->createSection(QByteArray())->setValue("b", "2");
    unnamed->createSection("c");
    ini.createSection("d")->createSection(QByteArray());
    IniParser read;
    read.setIniText(ini.getIniText());
    QByteArray where;
    QVERIFY2(sameTree(&ini, &read, &where), (where + "\n" + ini.getIniText()).constData());
    QCOMPARE(read.section(QByteArray())->section(QByteArray())->value("b"), QByteArray("2"));
}

void tst_IniParser::garbage_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("empty") << QByteArray() << QByteArray();
    QTest::newRow("lines without equals") << QByteArray("hello\nworld\n") << QByteArray();
    QTest::newRow("unclosed header drops its values")
        << QByteArray("a=1\n[broken\nb=2\n[ok]\nc=3\n") << QByteArray("a=1\n[ok]\nc=3\n");
    QTest::newRow("text after header") << QByteArray("[x] y\nk=v\n") << QByteArray();
    QTest::newRow("escaped closing bracket") << QByteArray("[x\\]\nk=v\n") << QByteArray();
    QTest::newRow("lone backslash") << QByteArray("k=v\\") << QByteArray("k=v\\\\\n");
    QTest::newRow("bad hex escape") << QByteArray("k=\\x4") << QByteArray("k=x4\n");
    QTest::newRow("only blanks") << QByteArray("   \n\t\n") << QByteArray();
    QTest::newRow("cr only") << QByteArray("a=1\rb=2") << QByteArray("a=1\\rb=2\n");
}

void tst_IniParser::garbage()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, expected);

    IniParser ini;
    ini.setValue("stale", "value");
    ini.setIniText(text);
    QCOMPARE(ini.getIniText(), expected);
}

void tst_IniParser::randomBytesNeverCrash()
{
    QRandomGenerator random(1234);
    const char alphabet[] = "[]/\\=;#\n\r\t sxn0aF";
    for (int round = 0; round < 2000; ++round) {
        QByteArray text;
        const int length = int(random.bounded(80));
        for (int i = 0; i < length; ++i) {
            if (random.bounded(4) == 0)
                text += char(random.bounded(256));
            else
                text += alphabet[random.bounded(int(sizeof(alphabet) - 1))];
        }
        IniParser ini;
        ini.setIniText(text);
        // Whatever was read is written so that it reads back the same.
        const QByteArray written = ini.getIniText();
        IniParser again;
        again.setIniText(written);
        QByteArray where;
        QVERIFY2(sameTree(&ini, &again, &where), text.toPercentEncoding().constData());
        QCOMPARE(again.getIniText(), written);
    }
}

ZK_TEST_REGISTER(tst_IniParser)
#include "tst_IniParser.moc"
