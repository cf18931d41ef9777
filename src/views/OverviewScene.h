#pragma once

#include "zkblockview_export.h"

#include <QGraphicsScene>

// The small scene of the overview's rectangle and its grey veil, apart from the code's scene so
// that neither item ever shows in a code view.
class ZK_VIEW_EXPORT OverviewScene : public QGraphicsScene
{
    Q_OBJECT
public:
    explicit OverviewScene(QObject* parent = nullptr);
    ~OverviewScene() override;
};
