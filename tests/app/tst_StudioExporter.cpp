#include "Pictures.h"
#include "SceneTestSupport.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "StudioExporter.h"

#include "BlockCodeScene.h"
#include "BlockHierarchyNodeScene.h"
#include "BlockItem.h"
#include "ConnectionItem.h"
#include "SceneMetrics.h"
#include "SignalLabelItem.h"

#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "Project.h"

#include <QFile>
#include <QGraphicsRectItem>
#include <QGraphicsScene>
#include <QImage>
#include <QPrinter>
#include <QTemporaryDir>
#include <QTest>
#include <QtMath>

#include <memory>

namespace {

const QString SamplePath = QStringLiteral(":/samples/sample/project.zkproj");
// The resolution the pictures are made at; a screen's, as the studio's views have.
constexpr int Resolution = 96;
// What the studio's exports promise: twice the 100 % view, a block row of margin around the code.
constexpr double PixelsPerUnit = 0.06;
constexpr double Margin = 1000.0;

} // namespace

// The studio's export and print without a window: the scene of the sample's first axis, as its
// editor shows it.
class tst_StudioExporter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void pngShowsEveryBlockAtTwiceTheFullView();
    void svgHoldsTheBlockTexts();
    void printingWritesAPdf();
    void pdfExportIsOneSheetWithTheCode();
    void unwritablePathIsReported_data();
    void unwritablePathIsReported();
    void refusesWhatItCannotWrite();

private:
    // What the code shows: blocks, connections and signal labels, with their pins and nodes.
    QRectF codeRect() const;
    // Whether the PDF's sheets show the code, not titles alone: block bodies are filled and
    // outlined, connections stroked, each at least once.
    bool holdsTheDrawing(const QByteArray& pdf) const;

    std::unique_ptr<Project> m_project;
    BlockHierarchyNodeScene* m_scene = nullptr;
    QTemporaryDir m_dir;
};

void tst_StudioExporter::init()
{
    QFile file(SamplePath);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QString error;
    m_project.reset(Project::loadFromData(file.readAll(), QStringLiteral(":/samples/sample"), SamplePath, &error));
    QVERIFY2(m_project, qPrintable(error));
    m_project->activate();
    BlockInstanceArea* axis = nullptr;
    for (BlockInstanceArea* area : m_project->areas()) {
        if (area->firstNumber() != 0 && area->hasOwnProgram()) {
            axis = area;
            break;
        }
    }
    QVERIFY(axis);
    // The scene is the node's child and goes with the project.
    m_scene = BlockHierarchyNodeScene::forNode(axis->hierarchy()->rootNode());
    QVERIFY(m_scene);
    QVERIFY(m_scene->blockItemMap().size() > 1);
    QVERIFY(m_dir.isValid());
}

void tst_StudioExporter::cleanup()
{
    m_scene = nullptr;
    m_project.reset();
}

QRectF tst_StudioExporter::codeRect() const
{
    QList<QGraphicsItem*> items;
    for (BlockItem* item : m_scene->blockItemMap())
        items.append(item);
    for (ConnectionItem* item : m_scene->connectionItemMap())
        items.append(item);
    for (SignalLabelItem* item : itemsOf<SignalLabelItem>(m_scene))
        items.append(item);
    QRectF rect;
    for (QGraphicsItem* item : std::as_const(items))
        rect |= item->sceneBoundingRect() | item->mapRectToScene(item->childrenBoundingRect());
    return rect;
}

bool tst_StudioExporter::holdsTheDrawing(const QByteArray& pdf) const
{
    const QByteArray drawing = pdfStreams(pdf);
    const qsizetype outlined = drawing.count("\nB*\n");
    const qsizetype stroked = drawing.count("\nS\n");
    if (outlined >= m_scene->blockItemMap().size() && stroked >= m_scene->connectionItemMap().size())
        return true;
    qWarning("%lld outlined, %lld stroked paths", qlonglong(outlined), qlonglong(stroked));
    return false;
}

void tst_StudioExporter::pngShowsEveryBlockAtTwiceTheFullView()
{
    const QString path = m_dir.filePath(QStringLiteral("code.png"));
    QString error;
    QVERIFY2(StudioExporter(m_scene, Resolution).exportTo(path, &error), qPrintable(error));
    QVERIFY(readFile(path).startsWith("\x89PNG"));
    const QImage image(path);
    QVERIFY(!image.isNull());

    const QRectF drawn = codeRect().adjusted(-Margin, -Margin, Margin, Margin);
    QCOMPARE(image.size(), QSize(qCeil(drawn.width() * PixelsPerUnit), qCeil(drawn.height() * PixelsPerUnit)));
    QCOMPARE(image.dotsPerMeterY(), qRound(Resolution / 0.0254));

    // The margin is the background; each block is drawn where it stands.
    QCOMPARE(image.pixelColor(2, 2), QColor(Qt::white));
    QCOMPARE(image.pixelColor(image.width() - 3, image.height() - 3), QColor(Qt::white));
    for (BlockItem* item : m_scene->blockItemMap()) {
        const QRectF body = item->sceneBoundingRect().translated(-drawn.topLeft());
        const QRect pixels = QRectF(body.topLeft() * PixelsPerUnit, body.size() * PixelsPerUnit).toAlignedRect();
        QVERIFY2(darkPixels(image, pixels) > 0, qPrintable(item->blockInstance()->title()));
    }
}

void tst_StudioExporter::svgHoldsTheBlockTexts()
{
    const QString path = m_dir.filePath(QStringLiteral("code.svg"));
    QString error;
    QVERIFY2(StudioExporter(m_scene, Resolution, QStringLiteral("Achse 1")).exportTo(path, &error), qPrintable(error));
    const QString svg = QString::fromUtf8(readFile(path));
    QVERIFY(svg.startsWith(QStringLiteral("<?xml")));
    QVERIFY(svg.contains(QStringLiteral("<title>Achse 1</title>")));
    // Each block's texts as the block paints them: titles, numbers, versions, a magic block's text.
    int texts = 0;
    for (BlockItem* item : m_scene->blockItemMap()) {
        PaintRecorder recorder;
        recordItem(item, &recorder);
        for (const PaintRecorder::Text& text : recorder.texts()) {
            if (text.text.trimmed().isEmpty())
                continue;
            QVERIFY2(svg.contains(QLatin1Char('>') + text.text.toHtmlEscaped() + QLatin1Char('<')), qPrintable(text.text));
            ++texts;
        }
    }
    QVERIFY(texts > m_scene->blockItemMap().size());
}

void tst_StudioExporter::printingWritesAPdf()
{
    const QString path = m_dir.filePath(QStringLiteral("printed.pdf"));
    QPrinter printer;
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(path);
    QVERIFY(StudioExporter(m_scene, Resolution, QStringLiteral("Achse 1")).print(&printer));
    QCOMPARE(printer.docName(), QStringLiteral("Achse 1"));
    QCOMPARE(printer.resolution(), Resolution);
    const QByteArray pdf = readFile(path);
    QVERIFY(pdf.startsWith("%PDF"));
    QVERIFY2(pdfPageCount(pdf) >= 1, qPrintable(QString::number(pdfPageCount(pdf))));
    QVERIFY(holdsTheDrawing(pdf));

    QVERIFY(!StudioExporter(m_scene, Resolution).print(nullptr));
}

void tst_StudioExporter::pdfExportIsOneSheetWithTheCode()
{
    const QString path = m_dir.filePath(QStringLiteral("code.pdf"));
    QString error;
    QVERIFY2(StudioExporter(m_scene, Resolution).exportTo(path, &error), qPrintable(error));
    const QByteArray pdf = readFile(path);
    QVERIFY(pdf.startsWith("%PDF"));
    QCOMPARE(pdfPageCount(pdf), 1);
    QVERIFY(holdsTheDrawing(pdf));
}

void tst_StudioExporter::unwritablePathIsReported_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::newRow("png") << QStringLiteral("png");
    QTest::newRow("svg") << QStringLiteral("svg");
    QTest::newRow("pdf") << QStringLiteral("pdf");
}

void tst_StudioExporter::unwritablePathIsReported()
{
    QFETCH(QString, suffix);
    const QString path = m_dir.filePath(QStringLiteral("missing/code.") + suffix);
    QString error;
    QVERIFY(!StudioExporter(m_scene, Resolution).exportTo(path, &error));
    QCOMPARE(error, QStringLiteral("%1 kann nicht geschrieben werden.").arg(path));
    QVERIFY(!QFile::exists(path));
}

void tst_StudioExporter::refusesWhatItCannotWrite()
{
    QString error;
    const QString bitmap = m_dir.filePath(QStringLiteral("code.bmpx"));
    QVERIFY(!StudioExporter(m_scene, Resolution).exportTo(bitmap, &error));
    QCOMPARE(error, QStringLiteral("Unbekanntes Dateiformat: %1").arg(bitmap));
    QVERIFY(!QFile::exists(bitmap));

    const QString png = m_dir.filePath(QStringLiteral("nothing.png"));
    QVERIFY(!StudioExporter(nullptr, Resolution).exportTo(png, &error));
    QCOMPARE(error, QStringLiteral("Es ist kein Code geöffnet."));
    QVERIFY(!StudioExporter(nullptr, Resolution).print(nullptr));

    // The background layers span the whole scene and are no drawing: a level of nothing else
    // makes no file.
    QGraphicsScene empty;
    empty.addRect(-1e6, -1e6, 2e6, 2e6)->setZValue(SceneZ::Background);
    empty.addRect(-1e5, -1e5, 2e5, 2e5)->setZValue(SceneZ::GridSheet);
    QVERIFY(StudioExporter::drawingRect(&empty).isEmpty());
    QVERIFY(!StudioExporter(&empty, Resolution).exportTo(png, &error));
    QCOMPARE(error, QStringLiteral("Die Ebene enthält nichts zu zeigen."));
    QVERIFY(!QFile::exists(png));
    QPrinter printer;
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(m_dir.filePath(QStringLiteral("empty.pdf")));
    QVERIFY(!StudioExporter(&empty, Resolution).print(&printer));
}

ZK_TEST_REGISTER(tst_StudioExporter)
#include "tst_StudioExporter.moc"
