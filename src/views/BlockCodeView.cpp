#include "BlockCodeView.h"

#include "BlockCodeViewMenu.h"
#include "BlockCodeViewPrivate.h"
#include "BlockCodeScene.h"
#include "BlockItem.h"
#include "BlockFinder.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMouseEvent>
#include <QPointer>
#include <QResizeEvent>
#include <QScrollBar>
#include <QTransform>
#include <QWheelEvent>

BlockCodeViewPrivate::BlockCodeViewPrivate(BlockCodeView* owner)
    : QObject(owner)
    , q(owner)
{
}

BlockCodeView::BlockCodeView(QWidget* parent)
    : QGraphicsView(parent)
    , d(new BlockCodeViewPrivate(this))
{
    resetTransform();
    scale(BaseScale, BaseScale);
    Q_EMIT zoomFactorChanged(1.0);
    setDragMode(QGraphicsView::RubberBandDrag);
    // A block is picked by the band only when it lies wholly inside, so that a sweep over a crowded
    // diagram does not catch every neighbour it grazes.
    setRubberBandSelectionMode(Qt::ContainsItemShape);
}

BlockCodeView::~BlockCodeView() = default;

BlockCodeView::ViewState BlockCodeView::viewState() const
{
    ViewState state;
    state.horizontalValue = horizontalScrollBar()->value();
    state.verticalValue = verticalScrollBar()->value();
    state.zoomFactor = zoomFactor();
    return state;
}

void BlockCodeView::applyViewState(const ViewState& state)
{
    setZoomFactor(state.zoomFactor);
    horizontalScrollBar()->setValue(state.horizontalValue);
    verticalScrollBar()->setValue(state.verticalValue);
}

double BlockCodeView::zoomFactor() const
{
    return d->zoomFactor;
}

BlockCheckIssueView* BlockCodeView::checkIssueView() const
{
    return d->checkIssueView;
}

QLabel* BlockCodeView::statusLabel() const
{
    return d->statusLabel;
}

void BlockCodeView::setCheckIssueView(BlockCheckIssueView* pView)
{
    d->checkIssueView = pView;
}

void BlockCodeView::setStatusLabel(QLabel* pLabel)
{
    d->statusLabel = pLabel;
}

void BlockCodeView::setSearchComboBox(QComboBox* pComboBox)
{
    d->blockFinder = new BlockFinder(this, pComboBox);
}

void BlockCodeView::setZoomFactor(double zoomFactor)
{
    // Out of range is refused, not clamped: the wheel steps by plain additions and must stop at the
    // last factor it reached rather than jump to a bound.
    if (zoomFactor < MinimumZoomFactor || zoomFactor > MaximumZoomFactor)
        return;
    d->zoomFactor = zoomFactor;
    // The reset and the scale in one step: through the identity in between, the scroll bars would
    // jump to a far place and back, and a view that follows them (the overview) would repaint the
    // way between.
    setTransform(QTransform::fromScale(zoomFactor * BaseScale, zoomFactor * BaseScale));
    Q_EMIT zoomFactorChanged(zoomFactor);
}

void BlockCodeView::findNextBlock()
{
    d->blockFinder->onSearchNextButton();
}

void BlockCodeView::findPreviousBlock()
{
    d->blockFinder->onSearchPreviousButton();
}

bool BlockCodeView::centreOnBlockItem(BlockCodeScene* pScene, uint identifier, bool selectItem)
{
    BlockItem* item = pScene ? pScene->blockItem(identifier) : nullptr;
    if (!item)
        return false;
    centerOn(item);
    if (selectItem) {
        pScene->clearSelection();
        item->setSelected(true);
    }
    return true;
}

void BlockCodeView::mousePressEvent(QMouseEvent* event)
{
    QGraphicsView::mousePressEvent(event);
}

void BlockCodeView::mouseReleaseEvent(QMouseEvent* event)
{
    QGraphicsView::mouseReleaseEvent(event);
}

void BlockCodeView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (stepInSelectedBlock())
        event->accept();
    // The scene sees the double click in any case: items answer it too.
    QGraphicsView::mouseDoubleClickEvent(event);
}

void BlockCodeView::mouseMoveEvent(QMouseEvent* event)
{
    QGraphicsView::mouseMoveEvent(event);
}

void BlockCodeView::wheelEvent(QWheelEvent* event)
{
    if (!(event->modifiers() & Qt::ControlModifier)) {
        QGraphicsView::wheelEvent(event);
        return;
    }
    setTransformationAnchor(QGraphicsView::AnchorUnderMouse);
    // One event, one step, whatever the size of the delta: fine-grained wheels would otherwise race
    // through the range.
    const int delta = event->angleDelta().y();
    if (delta > 0)
        setZoomFactor(d->zoomFactor + 0.1);
    else if (delta < 0)
        setZoomFactor(d->zoomFactor - 0.1);
    event->accept();
}

void BlockCodeView::keyPressEvent(QKeyEvent* event)
{
    // Control is down in these chords; they end the hand panning that its press started.
    if (event->matches(QKeySequence::Copy) || event->matches(QKeySequence::Paste))
        setDragMode(QGraphicsView::RubberBandDrag);
    else if (event->key() == Qt::Key_Control)
        setDragMode(QGraphicsView::ScrollHandDrag);
    QGraphicsView::keyPressEvent(event);
}

void BlockCodeView::keyReleaseEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Control)
        setDragMode(QGraphicsView::RubberBandDrag);
    QGraphicsView::keyReleaseEvent(event);
}

void BlockCodeView::focusInEvent(QFocusEvent* event)
{
    QGraphicsView::focusInEvent(event);
}

void BlockCodeView::resizeEvent(QResizeEvent* event)
{
    // The base class is not asked on purpose: it would re-anchor the scene on every resize, and the
    // views keep their own scroll positions per scene.
    Q_EMIT sizeChanged(event->size());
}

void BlockCodeView::contextMenuEvent(QContextMenuEvent* event)
{
    QGraphicsView::contextMenuEvent(event);
    if (event->isAccepted())
        return;
    setDragMode(QGraphicsView::RubberBandDrag);
    // Built anew for each click; guarded, for an entry may tear down what holds the menu.
    QPointer<BlockCodeViewMenu> menu = new BlockCodeViewMenu(this);
    menu->setView(this);
    menu->prepare(event->globalPos());
    menu->exec(event->globalPos());
    delete menu.data();
}
