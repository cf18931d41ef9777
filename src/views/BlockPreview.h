#pragma once

#include "zkblockview_export.h"

#include <QImage>
#include <QScopedPointer>
#include <QString>
#include <QWidget>

class BlockDefinition;
class BlockPreviewPrivate;

// Pictures of a block as the scene's own items draw it, for drag pictures and the graphic export
// of the library. A temporary instance is placed in a scratch definition and the scene rendered;
// the widget is never shown, it only gives the scene the view it needs.
class ZK_VIEW_EXPORT BlockPreview : public QWidget
{
    Q_OBJECT
public:
    explicit BlockPreview(QWidget* parent = nullptr);
    ~BlockPreview() override;

    // 300 pixels wide; a null image for a null definition.
    QImage image(BlockDefinition* definition) const;
    // Writes "ILL_" + the block's number in seven digits + "_rgb.png" into the directory, whose
    // text must end in its separator. A block without a number writes "ILL__rgb.png".
    void saveImage(QString directory, BlockDefinition* definition, uint width);

    // The name of the exported picture of a block, without directory.
    static QString exportFileName(const BlockDefinition* definition);

private:
    friend class BlockPreviewPrivate;
    QScopedPointer<BlockPreviewPrivate> d;
};
