#include "AreaSubWindow.h"

#include "BlockCodeView.h"
#include "HierarchyNodeEditor.h"

#include "BlockInstanceArea.h"

#include <QLabel>
#include <QLocale>
#include <QStatusBar>
#include <QVBoxLayout>

AreaSubWindow::AreaSubWindow(BlockInstanceArea* area)
    : m_area(area)
    , m_statusBar(new QStatusBar)
    , m_zoomLabel(new QLabel)
    , m_editor(nullptr)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("areaSubWindow"));
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    // The window must hold the content before the editor is initialized: the editor looks for its
    // sub-window among its ancestors to place the title label.
    setWidget(content);

    m_editor = new HierarchyNodeEditor(content);
    layout->addWidget(m_editor, 1);
    m_statusBar->setSizeGripEnabled(false);
    m_statusBar->addPermanentWidget(m_zoomLabel);
    layout->addWidget(m_statusBar);

    m_editor->initialize();
    if (area) {
        setWindowTitle(area->displayName());
        m_editor->setRoot(area);
        // A closed project takes its areas along; the window goes with its area.
        connect(area, &QObject::destroyed, this, &QWidget::close);
    }
    if (BlockCodeView* view = codeView()) {
        connect(view, &BlockCodeView::zoomFactorChanged, this, &AreaSubWindow::updateZoomText);
        updateZoomText(view->zoomFactor());
    }
}

AreaSubWindow::~AreaSubWindow() = default;

QString AreaSubWindow::title()
{
    return m_area ? m_area->displayName() : QString();
}

QStatusBar* AreaSubWindow::statusBar()
{
    return m_statusBar;
}

BlockInstanceArea* AreaSubWindow::area() const
{
    return m_area.data();
}

HierarchyNodeEditor* AreaSubWindow::editor() const
{
    return m_editor;
}

BlockCodeView* AreaSubWindow::codeView() const
{
    return m_editor->findChild<BlockCodeView*>();
}

void AreaSubWindow::updateZoomText(double zoomFactor)
{
    m_zoomLabel->setText(tr("Zoom %1 %").arg(QLocale().toString(qRound(zoomFactor * 100))));
}
