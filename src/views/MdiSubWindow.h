#pragma once

#include "zkblockview_export.h"

#include <QMdiSubWindow>
#include <QString>

class QStatusBar;

// The common base of the suite's sub-windows. An editor finds its status bar through it.
class ZK_VIEW_EXPORT MdiSubWindow : public QMdiSubWindow
{
    Q_OBJECT
public:
    MdiSubWindow();
    ~MdiSubWindow() override;

    virtual QString title() = 0;
    virtual QStatusBar* statusBar() = 0;
};
