#include "StudioWalk.h"

#include "AreaSubWindow.h"
#include "StudioWindow.h"

#include "BlockCheckIssueView.h"
#include "BlockCheckIssueWidgetPrivate.h"
#include "BlockCodeScene.h"
#include "BlockCodeView.h"
#include "BlockHierarchyNodeScene.h"
#include "BlockItem.h"
#include "HierarchyNodeEditor.h"
#include "OverviewFrame.h"
#include "OverviewViewportItem.h"
#include "SceneMetrics.h"

#include "Block.h"
#include "BlockCheckIssueTracker.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockRepository.h"
#include "Project.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QScrollBar>
#include <QTabWidget>
#include <QTextStream>
#include <QTimer>
#include <QTreeWidgetItem>

#include <cstdio>

namespace {

bool canEnter(BlockInstanceHierarchyNode* node)
{
    BlockInstance* instance = node ? node->blockInstance() : nullptr;
    BlockDefinition* definition = instance ? instance->blockDefinition() : nullptr;
    return definition && definition->isStepInAllowed();
}

// Depth-first: the longest chain of nested levels that can each be entered, at most `depth` long.
QList<uint> longestChain(BlockInstanceHierarchyNode* node, int depth)
{
    QList<uint> best;
    if (depth == 0)
        return best;
    const QList<int> identifiers = node->instanceNodes();
    for (int identifier : identifiers) {
        BlockInstanceHierarchyNode* child = node->instanceNode(uint(identifier));
        if (!canEnter(child))
            continue;
        QList<uint> chain{uint(identifier)};
        chain += longestChain(child, depth - 1);
        if (chain.size() > best.size())
            best = chain;
        if (best.size() == depth)
            break;
    }
    return best;
}

} // namespace

StudioWalk::StudioWalk(StudioWindow* window, const QString& directory)
    : QObject(window)
    , m_window(window)
    , m_directory(directory)
{
    m_steps = {
        {QStringLiteral("beispielprojekt"), [this] { return m_window->project() && m_window->activeCodeView(); }, 400},
        {QStringLiteral("seitenleisten"),
         [this] {
             // A first start has both side panels hidden; the user opens them with their buttons.
             AreaSubWindow* window = walkWindow();
             if (!window)
                 return false;
             for (const char* name : {"verticalButton", "horizontalButton"}) {
                 auto* button = window->findChild<QPushButton*>(QLatin1String(name));
                 if (!button)
                     return false;
                 if (!button->isChecked())
                     button->click();
             }
             if (auto* tabs = window->findChild<QTabWidget*>(QStringLiteral("verticalTab")))
                 tabs->setCurrentIndex(0);
             return true;
         },
         400},
        {QStringLiteral("bereich-geoeffnet"),
         [this] {
             chooseArea();
             if (!m_area)
                 return fail(QStringLiteral("no axis area with a level to enter"));
             // Through the menu, as a user opens it.
             const QList<BlockInstanceArea*> areas = m_window->project()->areas();
             auto* open = m_window->findChild<QAction*>(QStringLiteral("openArea%1").arg(areas.indexOf(m_area)));
             if (!open)
                 return fail(QStringLiteral("no menu entry to open %1").arg(m_area->displayName()));
             open->trigger();
             AreaSubWindow* window = walkWindow();
             if (!window)
                 return fail(QStringLiteral("no window for %1").arg(m_area->displayName()));
             window->showMaximized();
             for (const char* name : {"verticalButton", "horizontalButton"}) {
                 auto* button = window->findChild<QPushButton*>(QLatin1String(name));
                 if (button && !button->isChecked())
                     button->click();
             }
             return m_window->activeCodeView() == window->codeView()
                 || fail(QStringLiteral("the window of %1 is not the active one").arg(m_area->displayName()));
         },
         500},
        {QStringLiteral("ebene-1"), [this] { return stepIntoNext(); }, 400},
        {QStringLiteral("ebene-2"), [this] { return stepIntoNext(); }, 400},
        {QStringLiteral("ebene-3"), [this] { return stepIntoNext(); }, 400},
        {QStringLiteral("ebene-zurueck"),
         [this] {
             AreaSubWindow* window = walkWindow();
             const QString before = window ? window->editor()->currentPath() : QString();
             return clickButton("stepUpButton") && window->editor()->currentPath() != before;
         },
         400},
        {QStringLiteral("online"),
         [this] {
             auto* menu = m_window->findChild<QMenu*>(QStringLiteral("areaMenu"));
             const int index = m_window->project()->areas().indexOf(m_area);
             if (!menu || index < 0 || index >= menu->actions().size())
                 return false;
             QMenu* areaMenu = menu->actions().at(index)->menu();
             if (!areaMenu || areaMenu->actions().isEmpty())
                 return false;
             areaMenu->actions().first()->trigger();
             return m_area->isOnline();
         },
         800},
        {QStringLiteral("werte"),
         [this] {
             auto* menu = m_window->findChild<QMenu*>(QStringLiteral("pinMenu"));
             if (!menu)
                 return false;
             // The menu fills itself when it opens.
             QMetaObject::invokeMethod(menu, "aboutToShow");
             for (QAction* action : menu->actions()) {
                 if (action->text() == QStringLiteral("Wert") && action->isEnabled()) {
                     action->trigger();
                     auto* scene = qobject_cast<BlockHierarchyNodeScene*>(m_window->activeCodeView()->scene());
                     return scene && scene->pinDisplayMode() == PinDisplay::CurrentValue;
                 }
             }
             return false;
         },
         1500},
        {QStringLiteral("eingepasst"), [this] { return m_window->zoomToFit(); }, 400},
        {QStringLiteral("export"),
         [this] {
             bool ok = true;
             for (const char* suffix : {"png", "svg", "pdf"}) {
                 QString error;
                 const QString path = m_directory.filePath(QStringLiteral("export.%1").arg(QLatin1String(suffix)));
                 if (!m_window->exportCode(path, &error)) {
                     m_log.append(QStringLiteral("  export %1 failed: %2").arg(path, error));
                     ok = false;
                 }
             }
             return ok;
         },
         200},
        {QStringLiteral("druckvorschau"),
         [this] {
             auto* preview = m_window->findChild<QAction*>(QStringLiteral("printPreview"));
             if (!preview || !preview->isEnabled())
                 return fail(QStringLiteral("no print preview"));
             // The preview is modal: its picture is taken from inside its own event loop.
             bool seen = false;
             QTimer::singleShot(1500, this, [this, &seen] {
                 if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
                     seen = dialog->grab().save(m_directory.filePath(QStringLiteral("druckvorschau-dialog.png")));
                     dialog->reject();
                 }
             });
             preview->trigger();
             return seen || fail(QStringLiteral("the preview did not show"));
         },
         200},
        {QStringLiteral("bibliotheksbaustein"),
         [this] {
             // A user block with code, the kind a user edits in a library window.
             for (BlockLibraryContainer* container : BlockRepository::instance().containers()) {
                 if (container->containerKind() != BlockLibraryContainer::UserLibraryKind || !container->library())
                     continue;
                 for (Block* block : container->library()->blocks()) {
                     const QList<BlockDefinition*> definitions = block->definitions();
                     if (definitions.isEmpty() || !definitions.last()->isStepInAllowed())
                         continue;
                     QMdiSubWindow* window = m_window->openLibraryDefinition(definitions.last());
                     if (!window)
                         return false;
                     window->showMaximized();
                     m_window->zoomToFit();
                     return m_window->mdiArea()->activeSubWindow() == window || !window->isHidden();
                 }
             }
             return false;
         },
         600},
        {QStringLiteral("pruefung-ersatzbausteine"),
         [this] {
             for (BlockInstanceArea* area : m_window->project()->areas()) {
                 if (area->hasFallbackBlocks())
                     return showIssuesOf(area) && (issueTable()->topLevelItemCount() > 0 || fail(QStringLiteral("no rows")));
             }
             return fail(QStringLiteral("no area with fall-back blocks"));
         },
         500},
        {QStringLiteral("pruefung-sprung"),
         [this] {
             auto* table = issueTable();
             QTreeWidgetItem* row = table ? table->topLevelItem(0) : nullptr;
             if (!row)
                 return fail(QStringLiteral("no row to double-click"));
             table->setCurrentItem(row);
             Q_EMIT table->itemDoubleClicked(row, 0);
             BlockCodeView* view = m_window->activeCodeView();
             auto* scene = view ? qobject_cast<BlockCodeScene*>(view->scene()) : nullptr;
             BlockItem* selected = scene ? scene->selectedBlockItem() : nullptr;
             if (!selected)
                 return fail(QStringLiteral("no block selected after the jump"));
             m_log.append(QStringLiteral("  jumped from \"%1\" to block %2").arg(row->text(1)).arg(selected->identifier()));
             return QString(row->text(1)).contains(QStringLiteral("(%1)").arg(selected->identifier()))
                 || fail(QStringLiteral("the jump landed on block %1").arg(selected->identifier()));
         },
         500},
        {QStringLiteral("pruefung-problem"),
         [this] {
             // An area with a problem, on its first level or below it, other than the one with fall-back
             // blocks: the next step shows those below.
             for (BlockInstanceArea* area : m_window->project()->areas()) {
                 if (area->hasFallbackBlocks() || !area->hierarchy())
                     continue;
                 BlockCheckIssueTracker tracker(nullptr);
                 tracker.setRoot(area->rootDefinition(), area->hierarchy()->rootNode());
                 if (!tracker.currentIssues(true).isEmpty())
                     return showIssuesOf(area);
             }
             return fail(QStringLiteral("no area with a problem"));
         },
         500},
        {QStringLiteral("pruefung-unterbausteine"),
         [this] {
             auto* table = issueTable();
             auto* view = table ? qobject_cast<BlockCheckIssueView*>(table->view) : nullptr;
             if (!view)
                 return fail(QStringLiteral("no issue view"));
             const int before = table->topLevelItemCount();
             // Through the context menu, as a user switches it on.
             table->onShowContextMenu(QPoint(10, 10));
             const QList<QMenu*> menus = table->parentWidget()->findChildren<QMenu*>(Qt::FindDirectChildrenOnly);
             QMenu* menu = menus.isEmpty() ? nullptr : menus.last();
             QAction* sub = menu ? menu->actions().value(menu->actions().size() - 1) : nullptr;
             if (!sub || !sub->isCheckable())
                 return fail(QStringLiteral("no sub-instance entry in the menu"));
             sub->trigger();
             menu->close();
             m_log.append(QStringLiteral("  %1 rows, %2 with contained blocks").arg(before).arg(table->topLevelItemCount()));
             return (view->checkSubInstances() && table->topLevelItemCount() > before)
                 || fail(QStringLiteral("no rows of contained blocks came"));
         },
         500},
        {QStringLiteral("uebersicht"),
         [this] {
             if (!clickButton("overviewButton"))
                 return fail(QStringLiteral("no overview button"));
             OverviewFrame* frame = overviewFrame();
             return (frame && frame->isVisible()) || fail(QStringLiteral("the overview did not show"));
         },
         500},
        {QStringLiteral("uebersicht-verschoben"),
         [this] {
             OverviewFrame* frame = overviewFrame();
             BlockCodeView* view = m_window->activeCodeView();
             if (!frame || !view)
                 return fail(QStringLiteral("no overview"));
             const int before = view->horizontalScrollBar()->value();
             OverviewViewportItem* item = frame->viewportItem();
             // Half a rectangle to the right and down, as a drag would take it.
             item->setPos(item->pos() + QPointF(item->rect().width() / 2, item->rect().height() / 2));
             m_log.append(QStringLiteral("  scroll %1 -> %2").arg(before).arg(view->horizontalScrollBar()->value()));
             return view->horizontalScrollBar()->value() != before || fail(QStringLiteral("the code view did not scroll"));
         },
         500},
        {QStringLiteral("uebersicht-groesser"),
         [this] {
             OverviewFrame* frame = overviewFrame();
             if (!frame)
                 return fail(QStringLiteral("no overview"));
             const QSize before = frame->size();
             // The top left corner, dragged up and to the left.
             const auto send = [frame](QEvent::Type type, QPoint pos, Qt::MouseButton button, Qt::MouseButtons buttons) {
                 QMouseEvent event(type, QPointF(pos), frame->mapToGlobal(QPointF(pos)), button, buttons, Qt::NoModifier);
                 QApplication::sendEvent(frame, &event);
             };
             send(QEvent::MouseButtonPress, QPoint(1, 1), Qt::LeftButton, Qt::LeftButton);
             send(QEvent::MouseMove, QPoint(-99, -99), Qt::NoButton, Qt::LeftButton);
             send(QEvent::MouseButtonRelease, QPoint(-99, -99), Qt::LeftButton, Qt::NoButton);
             m_log.append(QStringLiteral("  overview %1 -> %2 pixels").arg(before.width()).arg(frame->width()));
             return frame->width() > before.width() || fail(QStringLiteral("the overview kept its size"));
         },
         500},
    };
}

bool StudioWalk::showIssuesOf(BlockInstanceArea* area)
{
    AreaSubWindow* window = m_window->openArea(area);
    if (!window)
        return fail(QStringLiteral("no window for %1").arg(area->displayName()));
    m_area = area;
    window->showMaximized();
    for (const char* name : {"verticalButton", "horizontalButton"}) {
        auto* button = window->findChild<QPushButton*>(QLatin1String(name));
        if (button && !button->isChecked())
            button->click();
    }
    auto* tabs = window->findChild<QTabWidget*>(QStringLiteral("horzontalTab"));
    if (tabs)
        tabs->setCurrentIndex(0);
    auto* table = issueTable();
    if (!table)
        return fail(QStringLiteral("no issue table"));
    m_log.append(QStringLiteral("  %1: %2 rows").arg(area->displayName()).arg(table->topLevelItemCount()));
    return true;
}

BlockCheckIssueWidgetPrivate* StudioWalk::issueTable() const
{
    AreaSubWindow* window = walkWindow();
    return window ? window->findChild<BlockCheckIssueWidgetPrivate*>() : nullptr;
}

OverviewFrame* StudioWalk::overviewFrame() const
{
    AreaSubWindow* window = walkWindow();
    return window ? window->findChild<OverviewFrame*>() : nullptr;
}

void StudioWalk::start()
{
    m_directory.mkpath(QStringLiteral("."));
    QTimer::singleShot(300, this, &StudioWalk::runNext);
}

void StudioWalk::runNext()
{
    if (m_next >= m_steps.size()) {
        QFile file(m_directory.filePath(QStringLiteral("walk.txt")));
        if (file.open(QIODevice::WriteOnly | QIODevice::Text))
            QTextStream(&file) << m_log.join(QLatin1Char('\n')) << '\n';
        Q_EMIT finished(m_ok);
        return;
    }
    const Step step = m_steps.at(m_next);
    const bool ok = step.action();
    QTimer::singleShot(step.settleMs, this, [this, step, ok] {
        record(step, ok);
        ++m_next;
        runNext();
    });
}

void StudioWalk::record(const Step& step, bool ok)
{
    m_ok = m_ok && ok;
    const QString file = m_directory.filePath(QStringLiteral("%1-%2.png").arg(m_next + 1, 2, 10, QLatin1Char('0')).arg(step.name));
    const bool saved = m_window->grab().save(file);
    m_ok = m_ok && saved;

    QString state;
    if (BlockCodeView* view = m_window->activeCodeView()) {
        const QString title = view->statusLabel() ? view->statusLabel()->text() : QString();
        auto* scene = qobject_cast<BlockCodeScene*>(view->scene());
        // The edit button of the pane around this view, not of another window's.
        QPushButton* shownEdit = nullptr;
        for (QWidget* pane = view->parentWidget(); pane && !shownEdit; pane = pane->parentWidget())
            shownEdit = pane->findChild<QPushButton*>(QStringLiteral("editButton"));
        state = QStringLiteral("path \"%1\", title \"%2\", zoom %3 %, %4 blocks, background %5, edit button %6")
                    .arg(view->currentPath(), title)
                    .arg(qRound(view->zoomFactor() * 100))
                    .arg(scene ? scene->blockItemMap().size() : 0)
                    .arg(view->backgroundBrush().style() == Qt::NoBrush ? QStringLiteral("of the view") : view->backgroundBrush().color().name(),
                         !shownEdit                ? QStringLiteral("-")
                         : !shownEdit->isEnabled() ? QStringLiteral("disabled")
                         : shownEdit->isChecked()  ? QStringLiteral("checked")
                                                   : QStringLiteral("enabled"));
    }
    QString line = QStringLiteral("%1 %2: %3; %4").arg(ok ? QStringLiteral("ok  ") : QStringLiteral("FAIL"), QFileInfo(file).fileName(), step.name, state);
    if (!ok && !m_reason.isEmpty())
        line += QStringLiteral(" (%1)").arg(m_reason);
    m_reason.clear();
    m_log.append(line);
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

AreaSubWindow* StudioWalk::walkWindow() const
{
    if (m_area)
        return m_window->areaWindow(m_area);
    return qobject_cast<AreaSubWindow*>(m_window->mdiArea()->activeSubWindow());
}

bool StudioWalk::fail(const QString& reason)
{
    m_reason = reason;
    return false;
}

bool StudioWalk::clickButton(const char* objectName)
{
    AreaSubWindow* window = walkWindow();
    auto* button = window ? window->findChild<QPushButton*>(QLatin1String(objectName)) : nullptr;
    if (!button || !button->isEnabled())
        return false;
    button->click();
    return true;
}

void StudioWalk::chooseArea()
{
    // The axis with the deepest levels to walk; of equals, one other than the one already shown,
    // so that opening it is seen.
    AreaSubWindow* shown = qobject_cast<AreaSubWindow*>(m_window->mdiArea()->activeSubWindow());
    int bestScore = -1;
    for (BlockInstanceArea* area : m_window->project()->areas()) {
        if (area->firstNumber() == 0 || area->isBackDocumentation() || area->hasFallbackBlocks() || !area->hierarchy())
            continue;
        const QList<uint> chain = longestChain(area->hierarchy()->rootNode(), 3);
        const int score = int(chain.size()) * 2 + ((shown && shown->area() == area) ? 0 : 1);
        if (!chain.isEmpty() && score > bestScore) {
            bestScore = score;
            m_area = area;
            m_chain = chain;
        }
    }
}

bool StudioWalk::stepIntoNext()
{
    AreaSubWindow* window = walkWindow();
    BlockCodeView* view = window ? window->codeView() : nullptr;
    auto* scene = view ? qobject_cast<BlockCodeScene*>(view->scene()) : nullptr;
    if (!scene)
        return fail(QStringLiteral("no scene"));
    if (m_depth >= m_chain.size()) {
        // Not the walk's failure: the project has no deeper level to enter.
        m_log.append(QStringLiteral("  no level %1 below %2 can be entered; the walk stays where it is")
                         .arg(m_depth + 1)
                         .arg(window->editor()->currentPath()));
        return true;
    }
    BlockItem* item = scene->blockItem(m_chain.at(m_depth));
    if (!item)
        return fail(QStringLiteral("block %1 is not on this level").arg(m_chain.at(m_depth)));
    // Selected as a click would, then in through the tool bar's button.
    scene->clearSelection();
    item->setSelected(true);
    view->centerOn(item);
    const QString before = window->editor()->currentPath();
    if (!clickButton("stepInButton"))
        return fail(QStringLiteral("the step-in button is disabled"));
    ++m_depth;
    return window->editor()->currentPath() != before || fail(QStringLiteral("the level did not change"));
}
