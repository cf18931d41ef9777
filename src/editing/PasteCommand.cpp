#include "PasteCommand.h"

#include "BlockCode.h"
#include "BlockDefinitionScene.h"
#include "CodeChangeBatch.h"
#include "BlockItem.h"
#include "ConnectionNodeItem.h"

#include <QClipboard>
#include <QCursor>
#include <QGraphicsView>
#include <QGuiApplication>
#include <QMimeData>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// Whole raster steps from `from` to `to`, halves away from zero, kept within 32 bits.
double rasterDelta(double from, double to)
{
    const double steps = std::round((to - from) / 1000.0);
    const double clamped = std::clamp(steps, double(std::numeric_limits<qint32>::min()),
                                      double(std::numeric_limits<qint32>::max()));
    return double(qint32(clamped)) * 1000.0;
}

} // namespace

PasteCommand::PasteCommand(BlockDefinitionScene* scene, QUndoCommand* parent)
    : QUndoCommand(QStringLiteral("Paste items"), parent)
    , m_scene(scene)
    , m_data(new QMimeData)
{
    // A copy, as the clipboard's object is not ours and can be replaced at any time. Only the code's
    // own format is taken: another program may offer a picture in a dozen formats, each of which
    // would be fetched across processes for nothing.
    if (const QMimeData* clipboard = QGuiApplication::clipboard()->mimeData(QClipboard::Clipboard)) {
        if (clipboard->hasFormat(BlockCode::TransferMimeType))
            m_data->setData(BlockCode::TransferMimeType, clipboard->data(BlockCode::TransferMimeType));
    }
}

PasteCommand::~PasteCommand() = default;

void PasteCommand::redo()
{
    if (!m_scene)
        return;
    BlockCode* code = m_scene->blockCode();
    m_scene->clearSelection();
    const bool previous = code ? code->blockChangeSignals(true) : false;
    // A payload the model does not take gives nothing; the steps below then run on nothing.
    m_newIdentifiers = code ? code->insertTransferData(m_data.get()) : QList<unsigned int>();
    m_scene->rebuild();
    m_scene->clearSelection();

    if (m_first) {
        // Where the cursor is now, also for the context menu: not where the menu was opened.
        const QList<QGraphicsView*> views = m_scene->views();
        if (QGraphicsView* view = views.isEmpty() ? nullptr : views.first())
            m_targetPosition = view->mapToScene(view->mapFromGlobal(QCursor::pos()));
    }

    const QMap<unsigned int, BlockItem*> map = m_scene->blockItemMap();
    // A set: the list asked for every block of the code made a large paste quadratic.
    const QSet<unsigned int> pasted(m_newIdentifiers.cbegin(), m_newIdentifiers.cend());
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        if (pasted.contains(it.key()) && it.value())
            it.value()->setSelected(true);
    }
    const QList<ConnectionNodeItem*> nodes = m_scene->connectionNodesOfSelection();
    for (ConnectionNodeItem* node : nodes)
        node->setSelected(true);

    const QList<QGraphicsItem*> items = m_scene->selectedItems();
    if (!items.isEmpty()) {
        // The joint bounding rectangle, as an item group would give it: each item with its
        // children. A real group is not made for it, as it would take the corner nodes away from
        // their connections.
        QRectF bounds;
        for (const QGraphicsItem* item : items)
            bounds |= item->mapRectToScene(item->boundingRect() | item->childrenBoundingRect());
        const QPointF centre = bounds.center();
        m_scene->moveItems(items, rasterDelta(centre.x(), m_targetPosition.x()),
                           rasterDelta(centre.y(), m_targetPosition.y()));
    }

    if (code) {
        code->blockChangeSignals(previous);
        code->sendBlockedChangeSignal();
    }
    m_first = false;
}

void PasteCommand::undo()
{
    BlockCode* code = m_scene ? m_scene->blockCode() : nullptr;
    if (!code)
        return;
    const CodeChangeBatch batch(code);
    for (unsigned int identifier : std::as_const(m_newIdentifiers))
        code->deleteInstance(identifier);
}
