#include "LanguageManager.h"
#include "ParameterDefinition.h"
#include "ParameterDefinitionLoader.h"
#include "ParameterDefinitionSaver.h"
#include "RecordParameterDefinition.h"
#include "TestRegistry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTest>

#include <memory>

namespace {

QString templatePath()
{
    const QByteArray source = qgetenv("ZK_SOURCE_DIR");
    if (!source.isEmpty())
        return QDir(QString::fromLocal8Bit(source)).filePath(QStringLiteral("src/Resources/newParameter.txt"));
    // ZK_TEST_DATA_DIR is <source>/tests/data.
    const QDir tests = QFileInfo(QStringLiteral(ZK_TEST_DATA_DIR)).dir();
    return tests.filePath(QStringLiteral("../src/Resources/newParameter.txt"));
}

ParameterText text(const QString& englishLong, const QString& englishShort = QString(),
                   const QString& germanLong = QString(), const QString& germanShort = QString())
{
    ParameterText t;
    t.setLongText(LanguageManager::English, englishLong);
    t.setShortText(LanguageManager::English, englishShort);
    t.setLongText(LanguageManager::German, germanLong);
    t.setShortText(LanguageManager::German, germanShort);
    return t;
}

// Texts that the saved form has to carry through its escaping.
const QString kHostile = QStringLiteral("  line one\r\nline two\\n \\\\ = [Strings] ; <localString:0>\tend  ");

std::unique_ptr<ParameterDefinition> makeDefinition(const QString& which)
{
    if (which == QLatin1String("fresh"))
        return std::make_unique<ParameterDefinition>();
    if (which == QLatin1String("named")) {
        auto d = std::make_unique<ParameterDefinition>();
        d->setName(text(QStringLiteral("Speed"), QStringLiteral("v"), QString::fromUtf8("Geschwindigkeit"),
                        QStringLiteral("v")));
        d->setDatatype(8);
        return d;
    }
    if (which == QLatin1String("described")) {
        auto d = std::make_unique<ParameterDefinition>();
        d->setName(text(QStringLiteral("Gain")));
        d->setDescription(text(kHostile, QString(), QString::fromUtf8("Verst\xC3\xA4rkung \xE2\x82\xAC")));
        return d;
    }
    if (which == QLatin1String("hostile name")) {
        auto d = std::make_unique<ParameterDefinition>();
        d->setName(text(kHostile, QStringLiteral("\\"), QStringLiteral("\n"), QStringLiteral(" ")));
        return d;
    }
    if (which == QLatin1String("edited keys")) {
        auto d = std::make_unique<ParameterDefinition>();
        d->setName(text(QStringLiteral("Edited")));
        d->setDefaultCoordinates({ParameterCoordinate(QLatin1Char('Q'), 123), ParameterCoordinate(QLatin1Char('A'), 1)});
        d->setLivingSpace("global");
        d->setValue("LowerLimitValue", "-10.5");
        d->setValue("UpperLimitValue", "10.5");
        d->setValue("ReadLevel", "2");
        d->setValue("WriteLevel", "4");
        d->removeKey("OnlineOrder");
        d->setValue("VendorExtension", "a = b [c]");
        return d;
    }
    if (which == QLatin1String("no name")) {
        auto d = std::make_unique<ParameterDefinition>();
        d->removeKey(ParameterDefinition::NameKey);
        return d;
    }
    if (which == QLatin1String("record")) {
        auto r = std::make_unique<RecordParameterDefinition>();
        r->setName(text(QStringLiteral("Gains"), QStringLiteral("K")));
        r->setValue("CountElements", "3");
        r->setElementName(0, text(QStringLiteral("Proportional"), QStringLiteral("Kp")));
        r->setElementName(1, text(QStringLiteral("Integral"), QString(), QString::fromUtf8("Integral-\xC3\x9F")));
        r->setElementName(7, ParameterText());
        return r;
    }
    if (which == QLatin1String("record described")) {
        auto r = std::make_unique<RecordParameterDefinition>();
        r->setDescription(text(QStringLiteral("what it is")));
        r->setName(text(QStringLiteral("Table")));
        r->setElementName(65535, text(kHostile));
        return r;
    }
    if (which == QLatin1String("empty record"))
        return std::make_unique<RecordParameterDefinition>();
    return nullptr;
}

} // namespace

class tst_ParameterDefinition : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void templateLoads();
    void templateSavesToTheSameBytes();
    void newDefinitionSavesAsTemplate();
    void roundTrip_data();
    void roundTrip();
    void recordLayout();
    void recordElements();
    void names();
    void descriptionKeyFollowsName();
    void refusedValues();
    void kindMismatchIsRefused();
    void garbage_data();
    void garbage();
    void tolerantReading();
    void mutatedTextsNeverCrash();

private:
    QByteArray m_template;
};

void tst_ParameterDefinition::initTestCase()
{
    QFile file(templatePath());
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
    m_template = file.readAll();
    QVERIFY(m_template.startsWith(";type=\"parameter\" version=\"0\"\r\n\r\n[Parameter]\r\n"));
    QVERIFY(m_template.endsWith("[Strings]\r\n0_2_s=new Parameter\r\n0_2_l=new Parameter\r\n"));
    QVERIFY2(!m_template.contains("\n\n"), "the template must keep its CRLF line ends");
}

void tst_ParameterDefinition::cleanup()
{
    LanguageManager::instance().setActiveLanguage(LanguageManager::German);
}

void tst_ParameterDefinition::templateLoads()
{
    std::unique_ptr<ParameterDefinition> d(ParameterDefinitionLoader::createAndLoadParameterDefinition(m_template));
    QVERIFY(d);
    QVERIFY(!d->isRecordParameterDefinition());
    QVERIFY(!d->queryRecordParameterDefinition());

    QCOMPARE(d->name().longTextOf(LanguageManager::English), QStringLiteral("new Parameter"));
    QCOMPARE(d->name().shortTextOf(LanguageManager::English), QStringLiteral("new Parameter"));
    QCOMPARE(d->name().languages(), QList<int>{LanguageManager::English});
    // German is active, but the name only has English: the fall-back answers it.
    QCOMPARE(d->name().longText(), QStringLiteral("new Parameter"));
    QVERIFY(d->descriptionText().isEmpty());

    QCOMPARE(d->defaultCoordinates(), QList<ParameterCoordinate>{ParameterCoordinate(QLatin1Char('P'), 0)});
    QCOMPARE(int(d->datatype()), 4);
    QCOMPARE(d->livingSpace(), QByteArray("axis"));
    QVERIFY(d->isAxisParameter());
    QCOMPARE(d->countElements(), 1);
    QVERIFY(d->lowerLimitValue().isEmpty());
    QVERIFY(d->upperLimitValue().isEmpty());
    QCOMPARE(d->readLevel(), 0u);
    QCOMPARE(d->writeLevel(), 0u);
    QCOMPARE(d->defaultValueScaled(), QStringLiteral("0"));

    const QList<ParameterDefinition::KeyValue> keys = d->keyValues();
    QCOMPARE(keys.size(), 47);
    QCOMPARE(keys.first(), ParameterDefinition::KeyValue("Coordinates", "P00"));
    QCOMPARE(keys.at(1), ParameterDefinition::KeyValue("Name", "<localString:0>"));
    QCOMPARE(keys.last(), ParameterDefinition::KeyValue("OnlineOrder", "0"));
    QCOMPARE(d->value("LimitFunctionIndex"), QByteArray("5"));
    QCOMPARE(d->value("CyclicOnlineUpdateRate"), QByteArray("2000"));
    QVERIFY(d->hasKey("UpperLimitValue"));
    QVERIFY(d->value("UpperLimitValue").isEmpty());
    QVERIFY(!d->hasKey("NoSuchKey"));
}

void tst_ParameterDefinition::templateSavesToTheSameBytes()
{
    std::unique_ptr<ParameterDefinition> d(ParameterDefinitionLoader::createAndLoadParameterDefinition(m_template));
    QVERIFY(d);
    QCOMPARE(ParameterDefinitionSaver::saveParameterDefinition(d.get()), m_template);

    ParameterDefinition other;
    QVERIFY(ParameterDefinitionLoader::loadParameterDefinition(&other, m_template));
    QVERIFY(other == *d);
    QCOMPARE(ParameterDefinitionSaver::saveParameterDefinition(&other), m_template);
}

void tst_ParameterDefinition::newDefinitionSavesAsTemplate()
{
    ParameterDefinition d;
    ParameterText name;
    name.setLongText(LanguageManager::English, QStringLiteral("new Parameter"));
    name.setShortText(LanguageManager::English, QStringLiteral("new Parameter"));
    d.setName(name);
    QCOMPARE(ParameterDefinitionSaver::saveParameterDefinition(&d), m_template);
}

void tst_ParameterDefinition::roundTrip_data()
{
    QTest::addColumn<QString>("which");
    for (const char* which : {"fresh", "named", "described", "hostile name", "edited keys", "no name", "record",
                              "record described", "empty record"})
        QTest::newRow(which) << QString::fromLatin1(which);
}

void tst_ParameterDefinition::roundTrip()
{
    QFETCH(QString, which);
    const std::unique_ptr<ParameterDefinition> original = makeDefinition(which);
    QVERIFY(original);

    const QByteArray saved = ParameterDefinitionSaver::saveParameterDefinition(original.get());
    QVERIFY(saved.endsWith("\r\n"));
    QVERIFY(!saved.contains("\n\n"));
    // Carriage returns of the texts are escaped: a line-end conversion must not be able to eat them.
    QCOMPARE(saved.count('\r'), saved.count("\r\n"));
    std::unique_ptr<ParameterDefinition> loaded(ParameterDefinitionLoader::createAndLoadParameterDefinition(saved));
    QVERIFY(loaded);
    QCOMPARE(loaded->isRecordParameterDefinition(), original->isRecordParameterDefinition());
    QVERIFY(*loaded == *original);
    QCOMPARE(loaded->name(), original->name());
    QCOMPARE(loaded->description(), original->description());
    QCOMPARE(loaded->defaultCoordinates(), original->defaultCoordinates());
    QCOMPARE(loaded->keyValues(), original->keyValues());
    QCOMPARE(ParameterDefinitionSaver::saveParameterDefinition(loaded.get()), saved);

    std::unique_ptr<ParameterDefinition> copy(original->clone());
    QVERIFY(*copy == *original);
}

void tst_ParameterDefinition::recordLayout()
{
    const std::unique_ptr<ParameterDefinition> r = makeDefinition(QStringLiteral("record"));
    const QByteArray saved = ParameterDefinitionSaver::saveParameterDefinition(r.get());
    QVERIFY(saved.startsWith(";type=\"record\" version=\"0\"\r\n\r\n[Parameter]\r\n"));
    QVERIFY(saved.contains("\r\nName=<localString:0>\r\n"));
    QVERIFY(saved.contains("\r\nOnlineOrder=0\r\n\r\n[Elements]\r\n0=<localString:1>\r\n1=<localString:2>\r\n"
                           "7=<localString:3>\r\n\r\n[Strings]\r\n"));
    QVERIFY(saved.contains("\r\n1_2_s=Kp\r\n1_2_l=Proportional\r\n"));
    QVERIFY(saved.contains("\r\n2_1_l=Integral-\xC3\x9F\r\n2_2_l=Integral\r\n"));
    QVERIFY(!saved.contains("\r\n3_"));

    const std::unique_ptr<ParameterDefinition> plain = makeDefinition(QStringLiteral("named"));
    QVERIFY(!ParameterDefinitionSaver::saveParameterDefinition(plain.get()).contains("[Elements]"));
}

void tst_ParameterDefinition::recordElements()
{
    RecordParameterDefinition r;
    QVERIFY(r.isRecordParameterDefinition());
    QCOMPARE(r.queryRecordParameterDefinition(), &r);
    QVERIFY(r.elementList().isEmpty());
    QVERIFY(r.elementName(3).isEmpty());
    QVERIFY(&r.elementName(3) == &r.elementName(9));

    r.setElementName(5, text(QStringLiteral("five")));
    r.setElementName(2, text(QStringLiteral("two")));
    QCOMPARE(r.elementList(), (QList<unsigned short>{2, 5}));
    QCOMPARE(r.elementName(5).longText(), QStringLiteral("five"));
    r.setElementName(5, text(QStringLiteral("FIVE")));
    QCOMPARE(r.elementName(5).longText(), QStringLiteral("FIVE"));
    QVERIFY(r.removeElement(2));
    QVERIFY(!r.removeElement(2));
    QCOMPARE(r.elementList(), QList<unsigned short>{5});

    RecordParameterDefinition other;
    other.setElementName(5, text(QStringLiteral("five")));
    QVERIFY(!(other == r));
    other.setElementName(5, text(QStringLiteral("FIVE")));
    QVERIFY(other == r);
    const ParameterDefinition plain;
    QVERIFY(!(plain == RecordParameterDefinition()));
    QVERIFY(!(RecordParameterDefinition() == plain));
}

void tst_ParameterDefinition::names()
{
    ParameterText t = text(QStringLiteral("Speed"), QStringLiteral("v"), QStringLiteral("Geschwindigkeit"));
    LanguageManager::instance().setActiveLanguage(LanguageManager::English);
    QCOMPARE(t.longText(), QStringLiteral("Speed"));
    QCOMPARE(t.shortText(), QStringLiteral("v"));
    LanguageManager::instance().setActiveLanguage(LanguageManager::German);
    QCOMPARE(t.longText(), QStringLiteral("Geschwindigkeit"));
    // No German short text: it falls back to the one there is.
    QCOMPARE(t.shortText(), QStringLiteral("v"));
    QCOMPARE(t.languages(), (QList<int>{LanguageManager::German, LanguageManager::English}));

    t.setLongText(LanguageManager::German, QString());
    QCOMPARE(t.longTextOf(LanguageManager::German), QString());
    QCOMPARE(t.longText(), QStringLiteral("Speed"));
    QVERIFY(t != text(QStringLiteral("Speed"), QStringLiteral("v"), QStringLiteral("Geschwindigkeit")));
    QVERIFY(t == text(QStringLiteral("Speed"), QStringLiteral("v")));
    QVERIFY(ParameterText().longText().isNull());

    // English active but missing: German comes before any other language, even one numbered lower.
    ParameterText other;
    other.setLongText(0, QStringLiteral("zero"));
    other.setLongText(LanguageManager::German, QStringLiteral("deutsch"));
    other.setShortText(0, QStringLiteral("0"));
    LanguageManager::instance().setActiveLanguage(LanguageManager::English);
    QCOMPARE(other.longText(), QStringLiteral("deutsch"));
    QCOMPARE(other.shortText(), QStringLiteral("0"));
    QCOMPARE(other.languages(), (QList<int>{0, LanguageManager::German}));
}

void tst_ParameterDefinition::descriptionKeyFollowsName()
{
    ParameterDefinition d;
    QVERIFY(!d.hasKey(ParameterDefinition::DescriptionKey));
    d.setDescription(text(QStringLiteral("about")));
    QCOMPARE(d.keys().indexOf(ParameterDefinition::DescriptionKey), d.keys().indexOf(ParameterDefinition::NameKey) + 1);
    QCOMPARE(d.value(ParameterDefinition::NameKey), QByteArray("<localString:0>"));
    QCOMPARE(d.value(ParameterDefinition::DescriptionKey), QByteArray("<localString:1>"));
    QCOMPARE(d.descriptionText(), QStringLiteral("about"));
    d.setDescription(ParameterText());
    QVERIFY(!d.hasKey(ParameterDefinition::DescriptionKey));
    QVERIFY(d.descriptionText().isEmpty());
}

void tst_ParameterDefinition::refusedValues()
{
    ParameterDefinition d;
    const QList<ParameterDefinition::KeyValue> before = d.keyValues();
    QVERIFY(!d.setValue(ParameterDefinition::NameKey, "x"));
    QVERIFY(!d.setValue(ParameterDefinition::DescriptionKey, "x"));
    QVERIFY(!d.setValue("a=b", "x"));
    QVERIFY(!d.setValue("[Strings]", "x"));
    QVERIFY(!d.setValue(";comment", "x"));
    QVERIFY(!d.setValue(" Padded", "x"));
    QVERIFY(!d.setValue("", "x"));
    QVERIFY(!d.setValue("Line", "one\r\ntwo"));
    QVERIFY(!d.setValue("Coordinates", "P0000"));
    QVERIFY(!d.setValue("Coordinates", ""));
    QVERIFY(!d.setDefaultCoordinates({}));
    QVERIFY(!d.setDefaultCoordinates({ParameterCoordinate(QLatin1Char('P'), 1000)}));
    QVERIFY(!d.setLivingSpace("everywhere"));
    QCOMPARE(d.keyValues(), before);

    QVERIFY(d.setValue("Coordinates", "P01,Q02"));
    QCOMPARE(d.defaultCoordinates(),
             (QList<ParameterCoordinate>{ParameterCoordinate(QLatin1Char('P'), 1), ParameterCoordinate(QLatin1Char('Q'), 2)}));
    d.setDatatype(9);
    QCOMPARE(d.value("Datatype"), QByteArray("9"));
    QCOMPARE(int(d.datatype()), 9);
    QVERIFY(d.setLivingSpace("global"));
    QVERIFY(!d.isAxisParameter());
}

void tst_ParameterDefinition::kindMismatchIsRefused()
{
    const std::unique_ptr<ParameterDefinition> record = makeDefinition(QStringLiteral("record"));
    const QByteArray recordText = ParameterDefinitionSaver::saveParameterDefinition(record.get());

    ParameterDefinition plain;
    plain.setName(text(QStringLiteral("keep me")));
    const std::unique_ptr<ParameterDefinition> plainBefore(plain.clone());
    QVERIFY(!ParameterDefinitionLoader::loadParameterDefinition(&plain, recordText));
    QVERIFY(plain == *plainBefore);

    RecordParameterDefinition r;
    r.setElementName(1, text(QStringLiteral("keep")));
    const std::unique_ptr<ParameterDefinition> recordBefore(r.clone());
    QVERIFY(!ParameterDefinitionLoader::loadParameterDefinition(&r, m_template));
    QVERIFY(r == *recordBefore);

    QVERIFY(ParameterDefinitionLoader::loadParameterDefinition(&r, recordText));
    QVERIFY(r == *record);
    QVERIFY(!ParameterDefinitionLoader::loadParameterDefinition(nullptr, m_template));
    QVERIFY(ParameterDefinitionSaver::saveParameterDefinition(nullptr).isEmpty());
}

void tst_ParameterDefinition::garbage_data()
{
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("empty") << QByteArray();
    QTest::newRow("words") << QByteArray("hello world");
    QTest::newRow("binary") << QByteArray("\x00\xFF\x01[\x00]\r\n=\x7F", 11);
    QTest::newRow("header only") << QByteArray(";type=\"parameter\" version=\"0\"\r\n");
    QTest::newRow("no header") << QByteArray("[Parameter]\r\nCoordinates=P00\r\n");
    QTest::newRow("other type") << QByteArray(";type=\"block\" version=\"0\"\r\n\r\n[Parameter]\r\nCoordinates=P00\r\n");
    QTest::newRow("newer version")
        << QByteArray(";type=\"parameter\" version=\"1\"\r\n\r\n[Parameter]\r\nCoordinates=P00\r\n");
    QTest::newRow("no coordinates") << QByteArray(";type=\"parameter\" version=\"0\"\r\n\r\n[Parameter]\r\nName=x\r\n");
    QTest::newRow("bad coordinates")
        << QByteArray(";type=\"parameter\" version=\"0\"\r\n\r\n[Parameter]\r\nCoordinates=P00,7\r\n");
    QTest::newRow("coordinates elsewhere")
        << QByteArray(";type=\"parameter\" version=\"0\"\r\n\r\n[Strings]\r\nCoordinates=P00\r\n");
    QTest::newRow("header not first")
        << QByteArray("\r\n;type=\"parameter\" version=\"0\"\r\n\r\n[Parameter]\r\nCoordinates=P00\r\n");
}

void tst_ParameterDefinition::garbage()
{
    QFETCH(QByteArray, text);
    QVERIFY(!ParameterDefinitionLoader::createAndLoadParameterDefinition(text));

    ParameterDefinition d;
    d.setName(::text(QStringLiteral("unchanged")));
    const std::unique_ptr<ParameterDefinition> before(d.clone());
    QVERIFY(!ParameterDefinitionLoader::loadParameterDefinition(&d, text));
    QVERIFY(d == *before);
}

void tst_ParameterDefinition::tolerantReading()
{
    // LF line ends, a byte order mark, comments, unknown sections and stray lines are read past.
    QByteArray text = m_template;
    text.replace("\r\n", "\n");
    text.prepend("\xEF\xBB\xBF");
    text.replace("[Strings]\n", "[Vendor]\nSecret=1\n[Strings]\n; a comment\nnot a key\n9_x_l=bad\n");
    std::unique_ptr<ParameterDefinition> d(ParameterDefinitionLoader::createAndLoadParameterDefinition(text));
    QVERIFY(d);
    QCOMPARE(d->name().longTextOf(LanguageManager::English), QStringLiteral("new Parameter"));
    QVERIFY(!d->hasKey("Secret"));
    QCOMPARE(ParameterDefinitionSaver::saveParameterDefinition(d.get()), m_template);

    // A name that is no string reference reads as an empty name and is saved as one.
    QByteArray plainName = m_template;
    plainName.replace("Name=<localString:0>", "Name=Plain");
    d.reset(ParameterDefinitionLoader::createAndLoadParameterDefinition(plainName));
    QVERIFY(d);
    QVERIFY(d->name().isEmpty());
    QCOMPARE(d->value(ParameterDefinition::NameKey), QByteArray("<localString:0>"));
}

void tst_ParameterDefinition::mutatedTextsNeverCrash()
{
    const std::unique_ptr<ParameterDefinition> record = makeDefinition(QStringLiteral("record described"));
    const QList<QByteArray> seeds{m_template, ParameterDefinitionSaver::saveParameterDefinition(record.get())};
    QRandomGenerator random(4711);
    const char alphabet[] = "\r\n=[]_;<>:\\0123456789PQlsaxisgloba";
    int loaded = 0;
    for (int round = 0; round < 3000; ++round) {
        QByteArray text = seeds.at(round % 2);
        const int edits = 1 + int(random.bounded(6));
        for (int e = 0; e < edits && !text.isEmpty(); ++e) {
            const int at = int(random.bounded(int(text.size())));
            switch (random.bounded(3)) {
            case 0: text.remove(at, 1 + int(random.bounded(8))); break;
            case 1: text.insert(at, alphabet[random.bounded(int(sizeof(alphabet) - 1))]); break;
            default: text[at] = alphabet[random.bounded(int(sizeof(alphabet) - 1))]; break;
            }
        }
        std::unique_ptr<ParameterDefinition> d(ParameterDefinitionLoader::createAndLoadParameterDefinition(text));
        if (!d)
            continue;
        ++loaded;
        // Whatever was read must survive its own save unchanged.
        const QByteArray saved = ParameterDefinitionSaver::saveParameterDefinition(d.get());
        std::unique_ptr<ParameterDefinition> again(ParameterDefinitionLoader::createAndLoadParameterDefinition(saved));
        QVERIFY2(again, saved.constData());
        QVERIFY2(*again == *d, saved.constData());
        QCOMPARE(ParameterDefinitionSaver::saveParameterDefinition(again.get()), saved);
    }
    QVERIFY(loaded > 100);
}

ZK_TEST_REGISTER(tst_ParameterDefinition)
#include "tst_ParameterDefinition.moc"
