#pragma once

#include "zkblockview_export.h"

#include <QScopedPointer>
#include <QWidget>

class BlockDefinition;
class BlockGroupsWidget;
class BlockLibraryViewPrivate;
class BlocksWidget;

// The library panel beside the code: the groups tree above, the versions of the chosen group or
// library below. It only joins the two and jumps to a block.
class ZK_VIEW_EXPORT BlockLibraryView : public QWidget
{
    Q_OBJECT
public:
    explicit BlockLibraryView(QWidget* parent = nullptr);
    ~BlockLibraryView() override;

    // Called once when the editor is set up; nothing works before it.
    void initialize();

    BlockGroupsWidget* groupsWidget() const;
    BlocksWidget* blocksWidget() const;

public Q_SLOTS:
    void selectBlockDefinition(BlockDefinition* pBlockDefinition);

private:
    friend class BlockLibraryViewPrivate;
    QScopedPointer<BlockLibraryViewPrivate> d;
};
