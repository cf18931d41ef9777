#pragma once

#include "zkblockview_export.h"

#include <QMenu>
#include <QScopedPointer>

class BlockCodeView;
class BlockCodeViewMenuPrivate;
class QPoint;

// The context menu of a code view for a right click that no item answered. It is built anew for
// each click from what lies under it, and it is where the rules for what the user may do with a
// block come together: what can be opened, converted, bound or unbound, in which mode and state.
class ZK_VIEW_EXPORT BlockCodeViewMenu : public QMenu
{
    Q_OBJECT
public:
    explicit BlockCodeViewMenu(BlockCodeView* parent);
    ~BlockCodeViewMenu() override;

    void setView(BlockCodeView* view);
    // Fills the menu for a click at this global position; the caller then runs it.
    void prepare(const QPoint& globalPosition);

private:
    friend class BlockCodeViewMenuPrivate;
    QScopedPointer<BlockCodeViewMenuPrivate> d;
};
