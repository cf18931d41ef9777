#include "Pictures.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPreview.h"
#include "BlockSymbol.h"
#include "LibraryBlockDefinitionView.h"
#include "ModelBuilder.h"

#include <QDir>
#include <QFileInfo>
#include <QLayout>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

BlockDefinitionScene* previewScene(const BlockPreview& preview)
{
    auto* view = preview.findChild<LibraryBlockDefinitionView*>(QStringLiteral("blockCodeView"));
    return view ? qobject_cast<BlockDefinitionScene*>(view->scene()) : nullptr;
}

int blockItemCount(QGraphicsScene* scene)
{
    int count = 0;
    const QList<QGraphicsItem*> items = scene->items();
    for (QGraphicsItem* item : items) {
        if (dynamic_cast<BlockItem*>(item))
            ++count;
    }
    return count;
}

} // namespace

class tst_BlockPreview : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void formHasTheWidgetTree();
    void nullDefinitionGivesNullImage();
    void imageIsThreeHundredWideAndScaledByTwoFifths();
    void proportionFollowsTheItem_data();
    void proportionFollowsTheItem();
    void imageShowsTheBlock();
    void scratchDefinitionIsEmptyAfterwards();
    void saveImageNamesTheFileByNumber_data();
    void saveImageNamesTheFileByNumber();
    void blockWithoutNumberGetsNoDigits();

private:
    std::unique_ptr<TestModel> m_model;
};

void tst_BlockPreview::init()
{
    m_model = std::make_unique<TestModel>();
}

void tst_BlockPreview::cleanup()
{
    m_model.reset();
}

void tst_BlockPreview::formHasTheWidgetTree()
{
    BlockPreview preview;
    QCOMPARE(preview.objectName(), QStringLiteral("BlockPreview"));
    QCOMPARE(preview.size(), QSize(400, 300));
    QVERIFY(preview.windowTitle().isEmpty());
    QVERIFY(preview.isHidden());
    auto* layout = preview.findChild<QLayout*>(QStringLiteral("verticalLayout"));
    QVERIFY(layout);
    QCOMPARE(layout->spacing(), 0);
    QCOMPARE(layout->contentsMargins(), QMargins(0, 0, 0, 0));
    auto* view = preview.findChild<LibraryBlockDefinitionView*>(QStringLiteral("blockCodeView"));
    QVERIFY(view);
    QCOMPARE(layout->indexOf(view), 0);
}

void tst_BlockPreview::nullDefinitionGivesNullImage()
{
    BlockPreview preview;
    QVERIFY(preview.image(nullptr).isNull());
    // Nothing was placed, so nothing is left either.
    QCOMPARE(blockItemCount(previewScene(preview)), 0);
}

void tst_BlockPreview::imageIsThreeHundredWideAndScaledByTwoFifths()
{
    // A body twice as wide as high: 300 wide, and 2/5 of 300 times 1/2 high.
    Block* block = ModelBuilder::primitive(m_model->user()->library(), QStringLiteral("UserBlock_Wide"), QStringLiteral("Breit"), {}, {});
    BlockDefinition* definition = ModelBuilder::newest(block);
    BlockSymbol symbol = *definition->symbol();
    symbol.setSize(QSizeF(8, 4));
    definition->setSymbol(symbol);
    BlockPreview preview;
    const QImage image = preview.image(definition);
    QCOMPARE(image.size(), QSize(300, 60));
    QCOMPARE(image.format(), QImage::Format_ARGB32_Premultiplied);
    QCOMPARE(image.dotsPerMeterX(), 3779);
    QCOMPARE(image.dotsPerMeterY(), 3779);
}

void tst_BlockPreview::proportionFollowsTheItem_data()
{
    QTest::addColumn<QString>("identifier");
    QTest::newRow("AND") << QStringLiteral("StandardBlock_1");
    QTest::newRow("NOT") << QStringLiteral("StandardBlock_3");
    QTest::newRow("Regler") << QStringLiteral("StandardBlock_20");
    QTest::newRow("magic") << QStringLiteral("MagicBlock_300005");
    QTest::newRow("tool") << QStringLiteral("ToolBlock_8000008");
}

void tst_BlockPreview::proportionFollowsTheItem()
{
    QFETCH(QString, identifier);
    BlockDefinition* definition = ModelBuilder::newest(m_model->block(identifier));
    QVERIFY(definition);

    // The item as the code of a user block draws it.
    Block* host = ModelBuilder::composite(m_model->user()->library(), QStringLiteral("UserBlock_Host"), QStringLiteral("Wirt"), {}, {});
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(ModelBuilder::newest(host)->code());
    BlockInstance* instance = scene->createBlockInstance(definition, QPointF(3000, 0));
    BlockItem* item = scene->blockItemOf(instance);
    QVERIFY(item);
    const QRectF source = item->boundingRect();

    BlockPreview preview;
    const QImage image = preview.image(definition);
    QCOMPARE(image.width(), 300);
    // The middle term 300 * 2 / 5 is whole; the height is cut, not rounded.
    QCOMPARE(image.height(), int(source.height() * 120 / source.width()));

    // Other widths keep the same rule.
    QTemporaryDir directory;
    QVERIFY(directory.isValid());
    preview.saveImage(directory.path() + QLatin1Char('/'), definition, 1001);
    const QImage wide(directory.filePath(BlockPreview::exportFileName(definition)));
    QCOMPARE(wide.width(), 1001);
    QCOMPARE(wide.height(), int(source.height() * 400 / source.width()));
}

void tst_BlockPreview::imageShowsTheBlock()
{
    BlockPreview preview;
    const QImage image = preview.image(ModelBuilder::newest(m_model->block(QStringLiteral("StandardBlock_20"))));
    QVERIFY(!image.isNull());
    // The frame and the texts of the body are ink.
    QVERIFY(darkPixels(image, image.rect()) > 0);
}

void tst_BlockPreview::scratchDefinitionIsEmptyAfterwards()
{
    BlockPreview preview;
    BlockDefinitionScene* scene = nullptr;
    for (const QString& identifier : {QStringLiteral("StandardBlock_1"), QStringLiteral("StandardBlock_20"), QStringLiteral("StandardBlock_1")}) {
        BlockDefinition* definition = ModelBuilder::newest(m_model->block(identifier));
        const unsigned int before = definition->instanceCount();
        QVERIFY(!preview.image(definition).isNull());
        scene = previewScene(preview);
        QVERIFY(scene);
        QVERIFY(scene->blockCode()->instances().isEmpty());
        QCOMPARE(blockItemCount(scene), 0);
        QCOMPARE(definition->instanceCount(), before);
    }
}

void tst_BlockPreview::saveImageNamesTheFileByNumber_data()
{
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<QString>("fileName");
    QTest::newRow("standard") << QStringLiteral("StandardBlock_20") << QStringLiteral("ILL_0000020_rgb.png");
    QTest::newRow("magic") << QStringLiteral("MagicBlock_300005") << QStringLiteral("ILL_0300005_rgb.png");
    QTest::newRow("tool") << QStringLiteral("ToolBlock_8000008") << QStringLiteral("ILL_8000008_rgb.png");
}

void tst_BlockPreview::saveImageNamesTheFileByNumber()
{
    QFETCH(QString, identifier);
    QFETCH(QString, fileName);
    QTemporaryDir directory;
    QVERIFY(directory.isValid());
    BlockDefinition* definition = ModelBuilder::newest(m_model->block(identifier));
    BlockPreview preview;
    preview.saveImage(directory.path() + QLatin1Char('/'), definition, 300);
    QCOMPARE(QDir(directory.path()).entryList(QDir::Files), QStringList{fileName});
    QImage written(directory.filePath(fileName));
    QCOMPARE(written.size(), preview.image(definition).size());
    QCOMPARE(BlockPreview::exportFileName(definition), fileName);
}

void tst_BlockPreview::blockWithoutNumberGetsNoDigits()
{
    Block* user = ModelBuilder::primitive(m_model->user()->library(), QStringLiteral("UserBlock_7"), QStringLiteral("Eigen"), {}, {});
    QTemporaryDir directory;
    QVERIFY(directory.isValid());
    BlockPreview preview;
    preview.saveImage(directory.path() + QLatin1Char('/'), ModelBuilder::newest(user), 500);
    QCOMPARE(QDir(directory.path()).entryList(QDir::Files), QStringList{QStringLiteral("ILL__rgb.png")});
    QCOMPARE(QImage(directory.filePath(QStringLiteral("ILL__rgb.png"))).width(), 500);
}

ZK_TEST_REGISTER(tst_BlockPreview)
#include "tst_BlockPreview.moc"
