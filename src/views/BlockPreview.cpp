#include "BlockPreview.h"
#include "BlockPreviewPrivate.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "LibraryBlockDefinitionView.h"

#include <QPainter>
#include <QVBoxLayout>

namespace {

// Where the temporary instance goes, in scene units.
const QPointF kPreviewPosition(3000, 0);
// 96 dots per inch, as the pictures of the documentation expect.
constexpr int kDotsPerMeter = 3779;

} // namespace

BlockPreviewPrivate::BlockPreviewPrivate(BlockPreview* owner)
    : QObject(owner)
    , q(owner)
{
    Block* block = Block::createUserBlock();
    scratchDefinition = block->createDefinition();
    if (scratchDefinition)
        scratchDefinition->ensureCode();
}

BlockPreviewPrivate::~BlockPreviewPrivate()
{
    if (!scratchDefinition)
        return;
    Block* block = scratchDefinition->block();
    if (block) {
        block->deleteDefinition(scratchDefinition->version());
        delete block;
    }
}

void BlockPreviewPrivate::setupForm()
{
    if (q->objectName().isEmpty())
        q->setObjectName(QStringLiteral("BlockPreview"));
    q->resize(400, 300);
    q->setWindowTitle(QString());
    verticalLayout = new QVBoxLayout(q);
    verticalLayout->setObjectName(QStringLiteral("verticalLayout"));
    verticalLayout->setSpacing(0);
    verticalLayout->setContentsMargins(0, 0, 0, 0);
    blockCodeView = new LibraryBlockDefinitionView(q);
    blockCodeView->setObjectName(QStringLiteral("blockCodeView"));
    verticalLayout->addWidget(blockCodeView);
}

QImage BlockPreviewPrivate::render(BlockDefinition* definition, uint width) const
{
    QImage image;
    QRectF source;
    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(BlockCode::blockDefinitionCode(scratchDefinition));
    if (!scene)
        return image;
    BlockInstance* instance = definition ? scene->createBlockInstance(definition, kPreviewPosition) : nullptr;
    blockCodeView->setScene(scene);
    blockCodeView->setReadOnly(true);

    BlockItem* item = instance ? scene->blockItemOf(instance) : nullptr;
    if (item) {
        item->updateFromInstance();
        // The item's own rectangle, where the item stands in the scene: the picture shows the
        // block, not the empty corner at the scene's origin.
        source = item->mapRectToScene(item->boundingRect());
    }

    if (!source.isNull() && source.width() > 0 && width > 0) {
        // The height follows the block's proportion, shrunk by 2/5; the middle term is whole.
        const int scaledWidth = int(width) * 2 / 5;
        const QRectF target(0, 0, width, source.height() * scaledWidth / source.width());
        image = QImage(QSize(int(target.width()), int(target.height())), QImage::Format_ARGB32_Premultiplied);
        if (!image.isNull()) {
            QPainter painter(&image);
            painter.scale(1.0, 1.0);
            painter.setCompositionMode(QPainter::CompositionMode_Source);
            painter.fillRect(target, Qt::transparent);
            painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
            scene->render(&painter, QRectF(), source, Qt::KeepAspectRatio);
            painter.end();
            image.setDotsPerMeterX(kDotsPerMeter);
            image.setDotsPerMeterY(kDotsPerMeter);
        }
    }

    if (instance) {
        const unsigned int identifier = instance->identifier();
        if (BlockCode* code = scene->blockCode())
            code->deleteInstance(identifier);
        // An inactive scene keeps the items of gone instances until it is shown; this one never is.
        if (BlockItem* left = scene->blockItem(identifier))
            delete left;
    }
    return image;
}

BlockPreview::BlockPreview(QWidget* parent)
    : QWidget(parent)
    , d(new BlockPreviewPrivate(this))
{
    d->setupForm();
}

BlockPreview::~BlockPreview() = default;

QImage BlockPreview::image(BlockDefinition* definition) const
{
    return d->render(definition, 300);
}

void BlockPreview::saveImage(QString directory, BlockDefinition* definition, uint width)
{
    const QImage picture = d->render(definition, width);
    picture.save(directory + exportFileName(definition), "PNG");
}

QString BlockPreview::exportFileName(const BlockDefinition* definition)
{
    const Block* block = definition ? definition->block() : nullptr;
    const QString number = block ? block->displayNumber() : QString();
    const QString digits = number.isEmpty() ? QString() : QStringLiteral("%1").arg(number.toUInt(), 7, 10, QLatin1Char('0'));
    return QStringLiteral("ILL_") + digits + QStringLiteral("_rgb.png");
}
