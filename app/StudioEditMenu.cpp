#include "StudioEditMenu.h"

#include "BlockCodeScene.h"
#include "BlockCodeView.h"
#include "BlockDefinitionScene.h"
#include "BlockHierarchyNodeView.h"

#include "BlockCode.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QKeySequence>
#include <QMimeData>
#include <QUndoStack>

namespace {

// As the toolkit's own undo actions read: the prefix alone while the stack has no text to tell.
QString prefixed(const QString& prefix, const QString& text)
{
    if (text.isEmpty())
        return prefix;
    // A '&' of the command's text is a character to show, not a mnemonic.
    return QStringLiteral("%1: %2").arg(prefix, QString(text).replace(QLatin1Char('&'), QStringLiteral("&&")));
}

} // namespace

StudioEditMenu::StudioEditMenu(std::function<BlockCodeView*()> activeView, QWidget* parent)
    : QMenu(tr("&Bearbeiten"), parent)
    , m_activeView(std::move(activeView))
{
    setObjectName(QStringLiteral("editMenu"));
    m_undo = addAction(tr("Rückgängig"), this, [this] {
        if (BlockDefinitionScene* scene = writableScene())
            scene->undo();
    });
    m_undo->setObjectName(QStringLiteral("editUndo"));
    m_undo->setShortcut(QKeySequence::Undo);
    m_redo = addAction(tr("Wiederherstellen"), this, [this] {
        if (BlockDefinitionScene* scene = writableScene())
            scene->redo();
    });
    m_redo->setObjectName(QStringLiteral("editRedo"));
    m_redo->setShortcut(QKeySequence::Redo);
    addSeparator();
    m_cut = addAction(tr("Ausschneiden"), this, [this] {
        if (BlockDefinitionScene* scene = writableScene())
            scene->cutToClipboard();
    });
    m_cut->setObjectName(QStringLiteral("editCut"));
    m_cut->setShortcut(QKeySequence::Cut);
    m_copy = addAction(tr("Kopieren"), this, [this] {
        BlockCodeScene* scene = shownScene();
        if (scene && !scene->selectedBlockItems().isEmpty())
            scene->copyToClipboard();
    });
    m_copy->setObjectName(QStringLiteral("editCopy"));
    m_copy->setShortcut(QKeySequence::Copy);
    m_paste = addAction(tr("Einfügen"), this, [this] {
        if (BlockDefinitionScene* scene = writableScene())
            scene->pasteFromClipboard();
    });
    m_paste->setObjectName(QStringLiteral("editPaste"));
    m_paste->setShortcut(QKeySequence::Paste);
    m_delete = addAction(tr("Löschen"), this, [this] {
        if (BlockDefinitionScene* scene = writableScene())
            scene->deleteSelectedItems();
    });
    m_delete->setObjectName(QStringLiteral("editDelete"));
    m_delete->setShortcut(QKeySequence::Delete);

    // The keys are the code view's: in another pane (a tree of favourites, a search field) Delete
    // or Control+C mean that pane's own thing. The entries join the active view in followActiveView.
    for (QAction* action : entries())
        action->setShortcutContext(Qt::WidgetShortcut);

    // Whether there is something to paste changes outside the studio as well.
    connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this, &StudioEditMenu::updateEntries);
    // The last word before the user reads the entries, whatever the signals missed.
    connect(this, &QMenu::aboutToShow, this, &StudioEditMenu::followActiveView);
    followActiveView();
}

StudioEditMenu::~StudioEditMenu()
{
    // The view and scene outlive the menu at times; their signals must not reach a menu half gone.
    for (const QMetaObject::Connection& connection : std::as_const(m_viewConnections))
        disconnect(connection);
    for (const QMetaObject::Connection& connection : std::as_const(m_sceneConnections))
        disconnect(connection);
}

void StudioEditMenu::followActiveView()
{
    BlockCodeView* view = m_activeView ? m_activeView() : nullptr;
    if (view != m_view) {
        for (const QMetaObject::Connection& connection : std::as_const(m_viewConnections))
            disconnect(connection);
        m_viewConnections.clear();
        if (m_view) {
            for (QAction* action : entries())
                m_view->removeAction(action);
        }
        m_view = view;
        if (view) {
            view->addActions(entries());
            // Both kinds of view tell of every swap of their scene through these two.
            m_viewConnections.append(connect(view, &BlockCodeView::stepInAllowedChanged, this, &StudioEditMenu::followScene));
            m_viewConnections.append(connect(view, &BlockCodeView::stepOutAllowedChanged, this, &StudioEditMenu::followScene));
            m_viewConnections.append(connect(view, &QObject::destroyed, this, &StudioEditMenu::followActiveView, Qt::QueuedConnection));
            if (auto* hierarchyView = qobject_cast<BlockHierarchyNodeView*>(view)) {
                m_viewConnections.append(connect(hierarchyView, &BlockHierarchyNodeView::blockDefinitionEditModeToggled, this,
                                                 &StudioEditMenu::followScene));
            }
        }
    }
    followScene();
}

void StudioEditMenu::followScene()
{
    BlockCodeScene* scene = m_view ? qobject_cast<BlockCodeScene*>(m_view->scene()) : nullptr;
    if (scene != m_scene) {
        for (const QMetaObject::Connection& connection : std::as_const(m_sceneConnections))
            disconnect(connection);
        m_sceneConnections.clear();
        m_scene = scene;
        if (scene) {
            m_sceneConnections.append(connect(scene, &QGraphicsScene::selectionChanged, this, &StudioEditMenu::updateEntries));
            // Queued: while the scene dies the view still holds it.
            m_sceneConnections.append(connect(scene, &QObject::destroyed, this, &StudioEditMenu::followScene, Qt::QueuedConnection));
            if (auto* definitionScene = qobject_cast<BlockDefinitionScene*>(scene)) {
                m_sceneConnections.append(connect(definitionScene, &BlockDefinitionScene::editModeChanged, this,
                                                  &StudioEditMenu::updateEntries));
                QUndoStack* stack = definitionScene->undoStack();
                m_sceneConnections.append(connect(stack, &QUndoStack::indexChanged, this, &StudioEditMenu::updateEntries));
                m_sceneConnections.append(connect(stack, &QUndoStack::cleanChanged, this, &StudioEditMenu::updateEntries));
                m_sceneConnections.append(connect(stack, &QUndoStack::undoTextChanged, this, &StudioEditMenu::updateEntries));
                m_sceneConnections.append(connect(stack, &QUndoStack::redoTextChanged, this, &StudioEditMenu::updateEntries));
            }
        }
    }
    updateEntries();
}

QList<QAction*> StudioEditMenu::entries() const
{
    return {m_undo, m_redo, m_cut, m_copy, m_paste, m_delete};
}

BlockCodeScene* StudioEditMenu::shownScene() const
{
    // Asked anew every time: the view may have swapped its scene since the last signal.
    BlockCodeView* view = m_activeView ? m_activeView() : nullptr;
    return view ? qobject_cast<BlockCodeScene*>(view->scene()) : nullptr;
}

BlockDefinitionScene* StudioEditMenu::writableScene() const
{
    auto* scene = qobject_cast<BlockDefinitionScene*>(shownScene());
    // A scene whose code is gone has nothing left to change.
    return scene && !scene->isReadOnly() && scene->blockCode() ? scene : nullptr;
}

void StudioEditMenu::updateEntries()
{
    BlockCodeScene* scene = shownScene();
    BlockDefinitionScene* writable = writableScene();
    QUndoStack* stack = writable ? writable->undoStack() : nullptr;
    const bool blocksSelected = scene && !scene->selectedBlockItems().isEmpty();

    m_undo->setEnabled(stack && stack->canUndo());
    m_undo->setText(prefixed(tr("Rückgängig"), stack ? stack->undoText() : QString()));
    m_redo->setEnabled(stack && stack->canRedo());
    m_redo->setText(prefixed(tr("Wiederherstellen"), stack ? stack->redoText() : QString()));
    // Copying changes nothing: it is offered on every level, also on one the user may not edit.
    m_copy->setEnabled(blocksSelected);
    m_cut->setEnabled(writable && blocksSelected);
    m_delete->setEnabled(writable && !writable->selectedItems().isEmpty());
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    m_paste->setEnabled(writable && data && data->hasFormat(BlockCode::TransferMimeType));
}

