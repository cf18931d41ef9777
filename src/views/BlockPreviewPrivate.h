#pragma once

#include <QImage>
#include <QObject>

class BlockDefinition;
class BlockPreview;
class LibraryBlockDefinitionView;
class QVBoxLayout;

class BlockPreviewPrivate : public QObject
{
    Q_OBJECT
public:
    explicit BlockPreviewPrivate(BlockPreview* owner);
    ~BlockPreviewPrivate() override;

    void setupForm();
    QImage render(BlockDefinition* definition, uint width) const;

    BlockPreview* q;
    // Owned here, with its block: the drawing board of every picture.
    BlockDefinition* scratchDefinition = nullptr;
    QVBoxLayout* verticalLayout = nullptr;
    LibraryBlockDefinitionView* blockCodeView = nullptr;
};
