#pragma once

#include "MdiSubWindow.h"

#include <QPointer>

class BlockCodeView;
class BlockInstanceArea;
class HierarchyNodeEditor;
class QLabel;
class QStatusBar;

// The studio's window of one device area: a HierarchyNodeEditor over the area, with a status bar
// in which the editor places the title of the block shown and the window shows the zoom.
class AreaSubWindow : public MdiSubWindow
{
    Q_OBJECT
public:
    explicit AreaSubWindow(BlockInstanceArea* area);
    ~AreaSubWindow() override;

    QString title() override;
    QStatusBar* statusBar() override;

    BlockInstanceArea* area() const;
    HierarchyNodeEditor* editor() const;
    // Made by the editor in setRoot; null before.
    BlockCodeView* codeView() const;

private:
    void updateZoomText(double zoomFactor);

    // The project owns its areas and may be closed under an open window.
    QPointer<BlockInstanceArea> m_area;
    QStatusBar* m_statusBar;
    QLabel* m_zoomLabel;
    HierarchyNodeEditor* m_editor;
};
