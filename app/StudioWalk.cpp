#include "StudioWalk.h"

#include "AreaSubWindow.h"
#include "StudioEditMenu.h"
#include "StudioWindow.h"

#include "AccessLevel.h"
#include "BlockBookmark.h"
#include "BlockBookmarkItem.h"
#include "BlockBookmarkRepository.h"
#include "BlockBookmarkView.h"
#include "BlockBookmarkWidget.h"
#include "BlockCheckIssueView.h"
#include "BlockCheckIssueWidgetPrivate.h"
#include "BlockCodeScene.h"
#include "BlockCodeView.h"
#include "BlockDefinitionScene.h"
#include "BlockEditorView.h"
#include "BlockGroupsWidget.h"
#include "BlockHierarchyNodeScene.h"
#include "BlockHierarchyNodeView.h"
#include "BlockItem.h"
#include "BlockLibraryView.h"
#include "BlockPinItem.h"
#include "BlockSearchResultWidgetPrivate.h"
#include "BlockSearchView.h"
#include "BlocksWidget.h"
#include "ConnectionItem.h"
#include "ConnectionNodeItem.h"
#include "HierarchyNodeEditor.h"
#include "HierarchyViewPrivate.h"
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
#include "BlockPin.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockRepository.h"
#include "Project.h"
#include "ProjectChangeWatch.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QCursor>
#include <QDialog>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QIcon>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QPushButton>
#include <QScrollBar>
#include <QSet>
#include <QTabWidget>
#include <QTextStream>
#include <QTimer>
#include <QTreeWidgetItem>
#include <QTreeWidgetItemIterator>
#include <QUndoStack>

#include <algorithm>
#include <cmath>
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

QStringList StudioWalk::tourNames()
{
    return {QStringLiteral("overview"), QStringLiteral("edit"), QStringLiteral("library")};
}

StudioWalk::StudioWalk(StudioWindow* window, const QString& directory, const QString& tour)
    : QObject(window)
    , m_window(window)
    , m_directory(directory)
{
    const QString name = tour.isEmpty() ? tourNames().first() : tour;
    if (name == QLatin1String("overview"))
        m_steps = overviewTour();
    else if (name == QLatin1String("edit"))
        m_steps = editTour();
    else if (name == QLatin1String("library"))
        m_steps = libraryTour();
    else
        m_steps = {{QStringLiteral("tour"),
                    [this, name] {
                        return fail(QStringLiteral("no tour \"%1\"; known are %2").arg(name, tourNames().join(QStringLiteral(", "))));
                    },
                    0}};
}

QList<StudioWalk::Step> StudioWalk::overviewTour()
{
    return {
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
    // A dialog that no step expects would hold the walk for ever: it is closed after a while, and
    // the step fails with its title.
    const int running = m_next;
    QTimer::singleShot(15000, this, [this, running] {
        if (!m_stepRunning || m_next != running)
            return;
        if (QWidget* dialog = QApplication::activeModalWidget()) {
            fail(QStringLiteral("the dialog \"%1\" came up and was closed").arg(dialog->windowTitle()));
            m_dialogClosed = true;
            dialog->close();
        }
    });
    m_stepRunning = true;
    m_dialogClosed = false;
    bool ok = step.action();
    m_stepRunning = false;
    ok = ok && !m_dialogClosed;
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

// ---- The tours that edit ----

namespace {

// The program's own text of a level does not depend on the order in which items were made.
QList<unsigned int> sortedIdentifiers(BlockCode* code)
{
    QList<unsigned int> identifiers;
    for (BlockInstance* instance : code->instances())
        identifiers.append(instance->identifier());
    std::sort(identifiers.begin(), identifiers.end());
    return identifiers;
}

QPointF centreOf(const QList<BlockItem*>& items)
{
    QRectF bounds;
    for (const BlockItem* item : items)
        bounds |= item->sceneBoundingRect();
    return bounds.center();
}

QString identifierList(const QList<unsigned int>& identifiers)
{
    QStringList texts;
    for (unsigned int identifier : identifiers)
        texts.append(QString::number(identifier));
    return texts.join(QStringLiteral(", "));
}

// The block's first non-zero number of any kind: what a user types to find it by number.
QString numberOf(const Block* block)
{
    for (unsigned int number : {block->standardBlockNumber(), block->systemBlockNumber(), block->magicBlockNumber(), block->toolBlockNumber()}) {
        if (number)
            return QString::number(number);
    }
    return QString();
}

QString firstPinShortName(const BlockDefinition* definition)
{
    const QList<int> pins = definition->pins();
    const BlockPin* pin = pins.isEmpty() ? nullptr : definition->pin(pins.first());
    return pin ? pin->shortName() : QString();
}

// The parts of a program's text, in an order of their own: two texts with the same parts in
// another order describe the same program.
QStringList sectionsOf(const QByteArray& text)
{
    QStringList sections;
    QString current;
    for (const QString& line : QString::fromUtf8(text).split(QLatin1Char('\n'))) {
        if ((line.startsWith(QLatin1Char('[')) || line == QLatin1String("--")) && !current.isEmpty()) {
            sections.append(current.trimmed());
            current.clear();
        }
        current += line + QLatin1Char('\n');
    }
    sections.append(current.trimmed());
    sections.sort();
    return sections;
}


// What a user sees of a code, without the numbers the code gives its blocks: each block by its
// kind and place, each connection by the kinds, places and pins of its ends, each corner. A paste
// that is undone and redone comes back under new numbers at the same place, as it should.
QStringList layoutOf(const BlockCode* code)
{
    QStringList parts;
    if (!code)
        return parts;
    const auto where = [](const BlockInstance* instance) {
        const BlockDefinition* definition = instance ? instance->blockDefinition() : nullptr;
        const QString kind = definition && definition->block()
            ? definition->block()->identifier() + QLatin1Char(';') + QString::number(definition->version())
            : QStringLiteral("?");
        const QPointF at = instance ? instance->position() : QPointF();
        return QStringLiteral("%1@%2,%3").arg(kind).arg(at.x()).arg(at.y());
    };
    const QList<BlockInstance*> instances = code->instances();
    for (const BlockInstance* instance : instances)
        parts.append(QStringLiteral("block ") + where(instance));
    const QList<BlockPinConnection*> connections = code->connections();
    for (const BlockPinConnection* connection : connections) {
        const BlockPinInstance* source = connection->source();
        const BlockPinInstance* target = connection->target();
        QString line = QStringLiteral("connection %1.%2 -> %3.%4")
                           .arg(where(source ? source->owner() : nullptr))
                           .arg(source ? source->identifier() : -1)
                           .arg(where(target ? target->owner() : nullptr))
                           .arg(target ? target->identifier() : -1);
        const QList<QPointF> nodes = connection->nodePositions();
        for (const QPointF& node : nodes)
            line += QStringLiteral(" (%1,%2)").arg(node.x()).arg(node.y());
        parts.append(line);
    }
    parts.sort();
    return parts;
}
} // namespace

QByteArray StudioWalk::codeTextOf(BlockCode* code)
{
    if (!code)
        return QByteArray();
    const QList<unsigned int> identifiers = sortedIdentifiers(code);
    return code->text(identifiers) + "\n--\n" + code->signalsAsText(identifiers);
}

BlockCode* StudioWalk::areaCode() const
{
    BlockDefinition* root = m_area ? m_area->rootDefinition() : nullptr;
    return root ? root->code() : nullptr;
}

BlockEditorView* StudioWalk::editorPane() const
{
    AreaSubWindow* window = walkWindow();
    return window ? window->findChild<BlockEditorView*>() : nullptr;
}

BlockDefinitionScene* StudioWalk::editScene() const
{
    AreaSubWindow* window = walkWindow();
    BlockCodeView* view = window ? window->codeView() : nullptr;
    auto* scene = view ? qobject_cast<BlockDefinitionScene*>(view->scene()) : nullptr;
    return scene && !scene->isReadOnly() ? scene : nullptr;
}

QAction* StudioWalk::editAction(const char* objectName) const
{
    return m_window->editMenu() ? m_window->editMenu()->findChild<QAction*>(QLatin1String(objectName)) : nullptr;
}

bool StudioWalk::triggerEditAction(const char* objectName)
{
    // The menu sets its entries as it opens, as for a user's click.
    if (StudioEditMenu* menu = m_window->editMenu())
        QMetaObject::invokeMethod(menu, "aboutToShow");
    QAction* action = editAction(objectName);
    if (!action)
        return fail(QStringLiteral("the menu \"Bearbeiten\" has no entry %1").arg(QLatin1String(objectName)));
    if (!action->isEnabled())
        return fail(QStringLiteral("\"%1\" of the menu \"Bearbeiten\" is disabled").arg(action->text()));
    action->trigger();
    return true;
}

bool StudioWalk::openEditableArea()
{
    m_area = nullptr;
    BlockInstanceArea* best = nullptr;
    int bestCount = 0;
    const QList<BlockInstanceArea*> areas = m_window->project() ? m_window->project()->areas() : QList<BlockInstanceArea*>();
    for (BlockInstanceArea* area : areas) {
        if (area->isBackDocumentation() || area->hasFallbackBlocks() || area->isOnline() || !area->rootDefinition()
            || !area->rootDefinition()->code())
            continue;
        BlockCode* code = area->rootDefinition()->code();
        const int count = int(code->instances().size());
        // Blocks to copy and connections to see; of equals the first, an axis before the device.
        if (count >= 3 && !code->connections().isEmpty() && count > bestCount) {
            best = area;
            bestCount = count;
        }
    }
    if (!best)
        return fail(QStringLiteral("the project has no area that can be edited with three blocks and a connection"));
    m_area = best;
    m_areaIndex = int(areas.indexOf(best));
    auto* open = m_window->findChild<QAction*>(QStringLiteral("openArea%1").arg(m_areaIndex));
    if (!open)
        return fail(QStringLiteral("no menu entry to open %1").arg(best->displayName()));
    open->trigger();
    AreaSubWindow* window = walkWindow();
    if (!window)
        return fail(QStringLiteral("no window for %1").arg(best->displayName()));
    window->showMaximized();
    for (const char* name : {"verticalButton", "horizontalButton"}) {
        auto* button = window->findChild<QPushButton*>(QLatin1String(name));
        if (!button)
            return fail(QStringLiteral("the editor has no button %1").arg(QLatin1String(name)));
        if (!button->isChecked())
            button->click();
    }
    m_log.append(QStringLiteral("  %1 with %2 blocks").arg(best->displayName()).arg(bestCount));
    if (!m_window->isActiveWindow())
        return fail(QStringLiteral("the studio's window is not the active one: its scenes keep what they should drop"));
    return m_window->activeCodeView() == window->codeView()
        || fail(QStringLiteral("the window of %1 is not the active one").arg(best->displayName()));
}

bool StudioWalk::enterEditMode()
{
    AreaSubWindow* window = walkWindow();
    auto* button = window ? window->findChild<QPushButton*>(QStringLiteral("editButton")) : nullptr;
    if (!button)
        return fail(QStringLiteral("the editor has no edit button"));
    if (!button->isEnabled()) {
        // The program of an area's root asks for the highest access level; the user chooses it in
        // the studio's menu.
        if (!AccessLevel::reached(AccessLevel::Top)) {
            if (auto* level = m_window->findChild<QAction*>(QStringLiteral("accessLevel%1").arg(AccessLevel::Top))) {
                level->trigger();
                m_log.append(QStringLiteral("  access level %1 chosen in the menu").arg(AccessLevel::Top));
            }
        }
        if (!button->isEnabled())
            return fail(QStringLiteral("the edit button is disabled: \"%1\"").arg(button->toolTip()));
    }
    if (!button->isChecked())
        button->click();
    auto* view = qobject_cast<BlockHierarchyNodeView*>(window->codeView());
    if (!view || !view->isBlockDefinitionEditMode())
        return fail(QStringLiteral("the code view is not in edit mode after the click"));
    if (!button->isChecked())
        return fail(QStringLiteral("the edit button does not show the edit mode"));
    BlockDefinitionScene* scene = editScene();
    if (!scene)
        return fail(QStringLiteral("the level shown cannot be changed in edit mode"));
    if (view->backgroundBrush().color() != QColor(Qt::white))
        return fail(QStringLiteral("the editable code is drawn on %1, not white").arg(view->backgroundBrush().color().name()));
    return true;
}

QWidget* StudioWalk::showVerticalPage(const char* pageName)
{
    AreaSubWindow* window = walkWindow();
    auto* tabs = window ? window->findChild<QTabWidget*>(QStringLiteral("verticalTab")) : nullptr;
    if (!tabs) {
        fail(QStringLiteral("the editor pane has no side tabs"));
        return nullptr;
    }
    auto* page = tabs->findChild<QWidget*>(QLatin1String(pageName));
    if (!page || tabs->indexOf(page) < 0) {
        fail(QStringLiteral("the editor pane has no tab \"%1\"").arg(QLatin1String(pageName)));
        return nullptr;
    }
    // Through the tab bar, as a click on the tab does.
    tabs->setCurrentIndex(tabs->indexOf(page));
    auto* button = window->findChild<QPushButton*>(QStringLiteral("verticalButton"));
    if (button && !button->isChecked())
        button->click();
    if (!page->isVisible()) {
        fail(QStringLiteral("the tab \"%1\" is chosen but not shown").arg(tabs->tabText(tabs->indexOf(page))));
        return nullptr;
    }
    return page;
}

bool StudioWalk::emptyViewportPoint(QSizeF sceneSize, QPoint* point) const
{
    AreaSubWindow* window = walkWindow();
    BlockCodeView* view = window ? window->codeView() : nullptr;
    auto* scene = view ? qobject_cast<BlockCodeScene*>(view->scene()) : nullptr;
    if (!scene)
        return false;
    const QRect shown = view->viewport()->rect();
    const int step = 24;
    // From the bottom up, where code seldom stands, and from the left, away from the edge where
    // the scroll bar cuts off what stands beyond.
    for (int y = shown.bottom() - step; y > shown.top() + step; y -= step) {
        for (int x = shown.left() + step; x < shown.right() - step; x += step) {
            const QPointF centre = view->mapToScene(QPoint(x, y));
            QRectF room(QPointF(), sceneSize);
            room.moveCenter(centre);
            if (!view->mapToScene(shown).boundingRect().contains(room) || room.left() < 0 || room.top() < 0)
                continue;
            bool free = true;
            const QList<QGraphicsItem*> items = scene->items(room);
            for (QGraphicsItem* item : items) {
                if (dynamic_cast<BlockItem*>(item) || dynamic_cast<ConnectionItem*>(item) || dynamic_cast<ConnectionNodeItem*>(item)
                    || dynamic_cast<BlockPinItem*>(item)) {
                    free = false;
                    break;
                }
            }
            if (free) {
                *point = QPoint(x, y);
                return true;
            }
        }
    }
    return false;
}

void StudioWalk::sendViewportMouse(int type, QPoint position, int button, int buttons, int modifiers) const
{
    AreaSubWindow* window = walkWindow();
    BlockCodeView* view = window ? window->codeView() : nullptr;
    if (!view)
        return;
    QWidget* viewport = view->viewport();
    QCursor::setPos(viewport->mapToGlobal(position));
    QMouseEvent event(QEvent::Type(type), QPointF(position), viewport->mapToGlobal(QPointF(position)), Qt::MouseButton(button),
                      Qt::MouseButtons(buttons), Qt::KeyboardModifiers(modifiers));
    QApplication::sendEvent(viewport, &event);
}

QList<StudioWalk::Step> StudioWalk::editTour()
{
    return {
        {QStringLiteral("bereich-geoeffnet"), [this] { return openEditableArea(); }, 500},
        {QStringLiteral("bearbeiten-an"),
         [this] {
             if (!enterEditMode())
                 return false;
             m_textAtStart = codeTextOf(areaCode());
             m_storedAtStart = ProjectChangeWatch::storedForm(m_window->project());
             // The whole level in sight: the pasted blocks and the new connection are then seen.
             m_window->zoomToFit();
             return !m_textAtStart.isEmpty() || fail(QStringLiteral("the area's program has no text"));
         },
         500},
        {QStringLiteral("kopiert"),
         [this] {
             BlockDefinitionScene* scene = editScene();
             if (!scene)
                 return fail(QStringLiteral("not in edit mode"));
             // The three upper left blocks, where a program starts: neighbours, likely connected.
             QList<BlockItem*> items = scene->blockItemMap().values();
             std::sort(items.begin(), items.end(), [](const BlockItem* a, const BlockItem* b) {
                 return a->scenePos().x() + a->scenePos().y() < b->scenePos().x() + b->scenePos().y();
             });
             items = items.mid(0, 3);
             if (items.size() < 2)
                 return fail(QStringLiteral("fewer than two blocks to copy"));
             scene->clearSelection();
             // A click on the first, control clicks on the others.
             for (int i = 0; i < items.size(); ++i) {
                 const QPoint at = walkWindow()->codeView()->mapFromScene(items.at(i)->sceneBoundingRect().center());
                 const int modifiers = i == 0 ? Qt::NoModifier : Qt::ControlModifier;
                 sendViewportMouse(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton, modifiers);
                 sendViewportMouse(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton, modifiers);
             }
             if (scene->selectedBlockItems().size() != items.size())
                 return fail(QStringLiteral("%1 blocks clicked, %2 selected").arg(items.size()).arg(scene->selectedBlockItems().size()));
             QGuiApplication::clipboard()->clear();
             if (!triggerEditAction("editCopy"))
                 return false;
             const QMimeData* data = QGuiApplication::clipboard()->mimeData();
             QList<unsigned int> copied;
             for (BlockItem* item : std::as_const(items))
                 copied.append(item->identifier());
             m_log.append(QStringLiteral("  copied blocks %1").arg(identifierList(copied)));
             return (data && data->hasFormat(BlockCode::TransferMimeType))
                 || fail(QStringLiteral("the clipboard holds no code after \"Kopieren\""));
         },
         400},
        {QStringLiteral("eingefuegt"),
         [this] {
             BlockDefinitionScene* scene = editScene();
             if (!scene)
                 return fail(QStringLiteral("not in edit mode"));
             const QList<BlockItem*> copied = scene->selectedBlockItems();
             QRectF bounds;
             for (const BlockItem* item : copied)
                 bounds |= item->sceneBoundingRect();
             QPoint cursor;
             // Room around the blocks, and below them for the group move of a later step.
             QSizeF room = bounds.size() + QSizeF(2 * SceneRaster::Block, 8 * SceneRaster::Block);
             if (!emptyViewportPoint(room, &cursor))
                 return fail(QStringLiteral("no empty place in sight to paste to"));
             // Paste lands where the mouse is: it is moved over the empty place first.
             sendViewportMouse(QEvent::MouseMove, cursor, Qt::NoButton, Qt::NoButton);
             const QMap<unsigned int, BlockItem*> shown = scene->blockItemMap();
             const QSet<unsigned int> before(shown.keyBegin(), shown.keyEnd());
             if (!triggerEditAction("editPaste"))
                 return false;
             m_pasted.clear();
             QList<BlockItem*> pasted;
             const QMap<unsigned int, BlockItem*> after = scene->blockItemMap();
             for (auto it = after.cbegin(); it != after.cend(); ++it) {
                 if (!before.contains(it.key())) {
                     m_pasted.append(it.key());
                     pasted.append(it.value());
                 }
             }
             m_log.append(QStringLiteral("  pasted blocks %1").arg(identifierList(m_pasted)));
             if (pasted.size() != copied.size())
                 return fail(QStringLiteral("%1 blocks copied, %2 pasted").arg(copied.size()).arg(pasted.size()));
             if (scene->selectedBlockItems().size() != pasted.size())
                 return fail(QStringLiteral("the pasted blocks are not the selection"));
             const QPointF wanted = walkWindow()->codeView()->mapToScene(cursor);
             const QPointF centre = centreOf(pasted);
             m_log.append(QStringLiteral("  cursor at (%1, %2), pasted blocks centred at (%3, %4)")
                              .arg(wanted.x())
                              .arg(wanted.y())
                              .arg(centre.x())
                              .arg(centre.y()));
             // On the raster, as near to the cursor as it allows.
             return (std::abs(centre.x() - wanted.x()) <= SceneRaster::Block && std::abs(centre.y() - wanted.y()) <= SceneRaster::Block)
                 || fail(QStringLiteral("the blocks were not pasted at the cursor"));
         },
         400},
        {QStringLiteral("verbindung"),
         [this] {
             BlockDefinitionScene* scene = editScene();
             BlockCodeView* view = walkWindow() ? walkWindow()->codeView() : nullptr;
             if (!scene || !view)
                 return fail(QStringLiteral("not in edit mode"));
             // From an output to a free input of the same type, one of the two on a pasted block:
             // the nearest such pair in sight, as a user would pick it.
             BlockPinItem* from = nullptr;
             BlockPinItem* to = nullptr;
             double best = 0;
             const QRectF shown = view->mapToScene(view->viewport()->rect()).boundingRect();
             const QList<BlockItem*> blocks = scene->blockItemMap().values();
             for (BlockItem* sourceItem : blocks) {
                 for (BlockItem* targetItem : blocks) {
                     if (sourceItem == targetItem
                         || !(m_pasted.contains(sourceItem->identifier()) || m_pasted.contains(targetItem->identifier())))
                         continue;
                     for (BlockPinItem* output : sourceItem->pinItems()) {
                         if (output->isInput() || !output->isVisible() || !shown.contains(output->sceneBoundingRect()))
                             continue;
                         for (BlockPinItem* input : targetItem->pinItems()) {
                             if (!input->isInput() || !input->isVisible() || input->hasConnection()
                                 || !shown.contains(input->sceneBoundingRect())
                                 || input->pinInstance()->datatype() != output->pinInstance()->datatype())
                                 continue;
                             const QPointF span = input->sceneBoundingRect().center() - output->sceneBoundingRect().center();
                             const double distance = std::hypot(span.x(), span.y());
                             if (!from || distance < best) {
                                 from = output;
                                 to = input;
                                 best = distance;
                             }
                         }
                     }
                 }
             }
             if (!from)
                 return fail(QStringLiteral("no output and free input of one type in sight, one of them pasted"));
             const QPoint press = view->mapFromScene(from->sceneBoundingRect().center());
             const QPoint release = view->mapFromScene(to->sceneBoundingRect().center());
             if (scene->pinItemAt(view->mapToScene(press)) != from || scene->pinItemAt(view->mapToScene(release)) != to)
                 return fail(QStringLiteral("the pins are too small at this zoom to be hit by the mouse"));
             BlockCode* code = scene->blockCode();
             const int before = int(code->connections().size());
             sendViewportMouse(QEvent::MouseButtonPress, press, Qt::LeftButton, Qt::LeftButton);
             sendViewportMouse(QEvent::MouseMove, (press + release) / 2, Qt::NoButton, Qt::LeftButton);
             sendViewportMouse(QEvent::MouseMove, release, Qt::NoButton, Qt::LeftButton);
             sendViewportMouse(QEvent::MouseButtonRelease, release, Qt::LeftButton, Qt::NoButton);
             m_log.append(QStringLiteral("  from pin %1 of block %2 to pin %3 of block %4")
                              .arg(from->identifier())
                              .arg(from->blockItem()->identifier())
                              .arg(to->identifier())
                              .arg(to->blockItem()->identifier()));
             if (int(code->connections().size()) != before + 1)
                 return fail(QStringLiteral("%1 connections before the drag, %2 after").arg(before).arg(code->connections().size()));
             BlockPinConnection* made = code->connections().last();
             if (made->target() != to->pinInstance() && made->source() != to->pinInstance())
                 return fail(QStringLiteral("the new connection does not end at the input"));
             // The new line is drawn, between the two pins.
             BlockPinItem* input = scene->pinItemOf(to->pinInstance());
             return (input && input->hasConnection() && !scene->connectionItemMap().values(made).isEmpty())
                 || fail(QStringLiteral("the new connection is not drawn"));
         },
         400},
        {QStringLiteral("eckpunkt"),
         [this] {
             BlockDefinitionScene* scene = editScene();
             BlockCodeView* view = walkWindow() ? walkWindow()->codeView() : nullptr;
             BlockCode* code = scene ? scene->blockCode() : nullptr;
             if (!code || code->connections().isEmpty())
                 return fail(QStringLiteral("no connection to add a corner to"));
             BlockPinConnection* connection = code->connections().last();
             const QList<ConnectionItem*> lines = scene->connectionItemMap().values(connection);
             ConnectionItem* line = lines.isEmpty() ? nullptr : lines.first();
             if (!line)
                 return fail(QStringLiteral("the connection has no line"));
             // A point on the line, half way along its first stretch.
             const QPointF start = line->mapToScene(line->sourcePosition());
             const QList<ConnectionNodeItem*> nodes = line->allNodes();
             const QPointF next = nodes.size() > 1 ? nodes.at(1)->scenePos() : line->mapToScene(line->targetPosition());
             const QPointF middle = (start + next) / 2;
             const QPoint at = view->mapFromScene(middle);
             if (scene->connectionItemAt(view->mapToScene(at)) != line)
                 return fail(QStringLiteral("the middle of the line is covered at (%1, %2)").arg(middle.x()).arg(middle.y()));
             const int cornersBefore = int(connection->nodePositions().size());
             const int commandsBefore = scene->undoStack()->count();
             sendViewportMouse(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton);
             sendViewportMouse(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton);
             sendViewportMouse(QEvent::MouseButtonDblClick, at, Qt::LeftButton, Qt::LeftButton);
             sendViewportMouse(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton);
             m_log.append(QStringLiteral("  %1 corners before, %2 after").arg(cornersBefore).arg(connection->nodePositions().size()));
             if (int(connection->nodePositions().size()) <= cornersBefore)
                 return fail(QStringLiteral("the double click added no corner to the connection"));
             return scene->undoStack()->count() > commandsBefore || fail(QStringLiteral("the new corner cannot be undone"));
         },
         400},
        {QStringLiteral("gruppe-verschoben"),
         [this] {
             BlockDefinitionScene* scene = editScene();
             BlockCodeView* view = walkWindow() ? walkWindow()->codeView() : nullptr;
             if (!scene || m_pasted.isEmpty())
                 return fail(QStringLiteral("no pasted blocks to move"));
             QList<BlockItem*> group;
             for (unsigned int identifier : std::as_const(m_pasted)) {
                 if (BlockItem* item = scene->blockItem(identifier))
                     group.append(item);
             }
             scene->clearSelection();
             // A rubber band around the pasted blocks, drawn from empty space.
             QRectF bounds;
             for (const BlockItem* item : std::as_const(group))
                 bounds |= item->sceneBoundingRect();
             bounds.adjust(-SceneRaster::Block / 2.0, -SceneRaster::Block / 2.0, SceneRaster::Block / 2.0, SceneRaster::Block / 2.0);
             const QPoint bandStart = view->mapFromScene(bounds.topLeft()) - QPoint(4, 4);
             const QPoint bandEnd = view->mapFromScene(bounds.bottomRight()) + QPoint(4, 4);
             sendViewportMouse(QEvent::MouseButtonPress, bandStart, Qt::LeftButton, Qt::LeftButton);
             sendViewportMouse(QEvent::MouseMove, (bandStart + bandEnd) / 2, Qt::NoButton, Qt::LeftButton);
             sendViewportMouse(QEvent::MouseMove, bandEnd, Qt::NoButton, Qt::LeftButton);
             sendViewportMouse(QEvent::MouseButtonRelease, bandEnd, Qt::LeftButton, Qt::NoButton);
             const QList<BlockItem*> selected = scene->selectedBlockItems();
             if (selected.size() != group.size())
                 return fail(QStringLiteral("the rubber band selected %1 blocks, not the %2 pasted").arg(selected.size()).arg(group.size()));
             QList<QPointF> before;
             for (const BlockItem* item : std::as_const(group))
                 before.append(item->pos());
             // Grabbed by the body of the first block and dragged down by two raster units.
             BlockItem* grabbed = group.first();
             QPointF grip = grabbed->sceneBoundingRect().center();
             for (BlockPinItem* pin : grabbed->pinItems()) {
                 if (pin->sceneBoundingRect().contains(grip))
                     grip.ry() = grabbed->sceneBoundingRect().top() + SceneRaster::Block / 4.0;
             }
             const QPoint press = view->mapFromScene(grip);
             const QPoint release = view->mapFromScene(grip + QPointF(0, 2 * SceneRaster::Block));
             const int commandsBefore = scene->undoStack()->count();
             sendViewportMouse(QEvent::MouseButtonPress, press, Qt::LeftButton, Qt::LeftButton);
             for (int i = 1; i <= 4; ++i)
                 sendViewportMouse(QEvent::MouseMove, press + (release - press) * i / 4, Qt::NoButton, Qt::LeftButton);
             sendViewportMouse(QEvent::MouseButtonRelease, release, Qt::LeftButton, Qt::NoButton);
             QPointF delta;
             for (int i = 0; i < group.size(); ++i) {
                 const QPointF moved = group.at(i)->pos() - before.at(i);
                 if (i == 0)
                     delta = moved;
                 else if (moved != delta)
                     return fail(QStringLiteral("block %1 moved by (%2, %3), the first by (%4, %5)")
                                     .arg(group.at(i)->identifier())
                                     .arg(moved.x())
                                     .arg(moved.y())
                                     .arg(delta.x())
                                     .arg(delta.y()));
             }
             m_log.append(QStringLiteral("  %1 blocks moved by (%2, %3)").arg(group.size()).arg(delta.x()).arg(delta.y()));
             if (delta.y() <= 0 || delta.x() != 0)
                 return fail(QStringLiteral("the group did not go down with the mouse"));
             return scene->undoStack()->count() > commandsBefore || fail(QStringLiteral("the move cannot be undone"));
         },
         400},
        {QStringLiteral("geloescht"),
         [this] {
             BlockDefinitionScene* scene = editScene();
             BlockCodeView* view = walkWindow() ? walkWindow()->codeView() : nullptr;
             if (!scene)
                 return fail(QStringLiteral("not in edit mode"));
             // A block of the program that was there before, with its connections: clicked, then deleted.
             BlockItem* victim = nullptr;
             for (BlockItem* item : scene->blockItemMap()) {
                 if (m_pasted.contains(item->identifier()))
                     continue;
                 for (BlockPinItem* pin : item->pinItems()) {
                     if (pin->hasConnection())
                         victim = item;
                 }
                 if (victim)
                     break;
             }
             if (!victim)
                 return fail(QStringLiteral("no connected block to delete"));
             const unsigned int identifier = victim->identifier();
             QPointF grip = victim->sceneBoundingRect().center();
             const QPoint at = view->mapFromScene(grip);
             sendViewportMouse(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton);
             sendViewportMouse(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton);
             if (scene->selectedBlockItem() != victim)
                 return fail(QStringLiteral("the click did not select block %1 alone").arg(identifier));
             BlockCode* code = scene->blockCode();
             const int connections = int(code->connections().size());
             if (!triggerEditAction("editDelete"))
                 return false;
             m_textEdited = codeTextOf(areaCode());
             m_layoutEdited = layoutOf(areaCode());
             m_log.append(QStringLiteral("  block %1 deleted, connections %2 -> %3").arg(identifier).arg(connections).arg(code->connections().size()));
             if (code->instance(identifier))
                 return fail(QStringLiteral("block %1 is still in the program").arg(identifier));
             if (scene->blockItem(identifier))
                 return fail(QStringLiteral("block %1 is still drawn").arg(identifier));
             return int(code->connections().size()) < connections || fail(QStringLiteral("its connections stayed"));
         },
         400},
        {QStringLiteral("alles-rueckgaengig"),
         [this] {
             int undone = 0;
             for (; undone < 50; ++undone) {
                 QAction* undo = editAction("editUndo");
                 if (!undo)
                     return fail(QStringLiteral("no entry \"Rückgängig\""));
                 if (!undo->isEnabled())
                     break;
                 m_log.append(QStringLiteral("  %1").arg(undo->text()));
                 undo->trigger();
             }
             m_log.append(QStringLiteral("  %1 steps undone").arg(undone));
             if (undone < 5)
                 return fail(QStringLiteral("only %1 steps could be undone").arg(undone));
             const QByteArray text = codeTextOf(areaCode());
             if (sectionsOf(text) != sectionsOf(m_textAtStart)) {
                 QFile file(m_directory.filePath(QStringLiteral("alles-rueckgaengig.txt")));
                 if (file.open(QIODevice::WriteOnly))
                     file.write(m_textAtStart + "\n==== after undoing all ====\n" + text);
                 return fail(QStringLiteral("the program differs from how it was before the edits (both in alles-rueckgaengig.txt)"));
             }
             // Back where it started, in the same order, and the title has no change to mark.
             if (text != m_textAtStart)
                 return fail(QStringLiteral("the program lists its parts in another order than before"));
             if (m_window->isProjectModified()) {
                 QFile file(m_directory.filePath(QStringLiteral("alles-rueckgaengig-gespeichert.txt")));
                 if (file.open(QIODevice::WriteOnly))
                     file.write(m_storedAtStart + "\n==== after undoing all ====\n"
                                + ProjectChangeWatch::storedForm(m_window->project()));
                 return fail(QStringLiteral("the title still marks a change after everything was undone (the stored forms "
                                            "in alles-rueckgaengig-gespeichert.txt)"));
             }
             m_log.append(QStringLiteral("  the program and its order are as before, the title marks no change"));
             return true;
         },
         400},
        {QStringLiteral("alles-wiederhergestellt"),
         [this] {
             int redone = 0;
             for (; redone < 50; ++redone) {
                 QAction* redo = editAction("editRedo");
                 if (!redo)
                     return fail(QStringLiteral("no entry \"Wiederherstellen\""));
                 if (!redo->isEnabled())
                     break;
                 m_log.append(QStringLiteral("  %1").arg(redo->text()));
                 redo->trigger();
             }
             m_log.append(QStringLiteral("  %1 steps redone").arg(redone));
             if (editAction("editUndo") && !editAction("editUndo")->isEnabled())
                 return fail(QStringLiteral("nothing to undo after redoing all"));
             // Redone pastes come back under new numbers at the same place: the layout is compared.
             const QByteArray text = codeTextOf(areaCode());
             if (layoutOf(areaCode()) != m_layoutEdited) {
                 QFile file(m_directory.filePath(QStringLiteral("alles-wiederhergestellt.txt")));
                 if (file.open(QIODevice::WriteOnly))
                     file.write(m_textEdited + "\n==== after redoing all ====\n" + text);
                 return fail(QStringLiteral("the program differs from how the edits left it (both in alles-wiederhergestellt.txt)"));
             }
             if (sectionsOf(text) != sectionsOf(m_textEdited))
                 m_log.append(QStringLiteral("  the redone pastes came back under new numbers, at their places"));
             return true;
         },
         400},
        {QStringLiteral("gespeichert"),
         [this] {
             if (!m_window->isProjectModified())
                 return fail(QStringLiteral("the edits do not count as a change of the project"));
             m_projectFile = m_directory.absoluteFilePath(QStringLiteral("bearbeitet.zkproj"));
             QFile::remove(m_projectFile);
             m_textSaved = codeTextOf(areaCode());
             if (!m_window->saveProject(m_projectFile))
                 return fail(QStringLiteral("saving to %1 failed").arg(m_projectFile));
             if (!QFileInfo::exists(m_projectFile))
                 return fail(QStringLiteral("no file %1 after saving").arg(m_projectFile));
             if (m_window->isWindowModified())
                 return fail(QStringLiteral("the title still marks unsaved changes"));
             return !m_window->isProjectModified() || fail(QStringLiteral("the project still counts as changed"));
         },
         400},
        {QStringLiteral("wieder-geoeffnet"),
         [this] {
             if (m_projectFile.isEmpty() || !QFileInfo::exists(m_projectFile))
                 return fail(QStringLiteral("no saved file to open"));
             Project* before = m_window->project();
             if (!m_window->openProject(m_projectFile))
                 return fail(QStringLiteral("%1 did not open").arg(m_projectFile));
             Project* project = m_window->project();
             if (!project || project == before)
                 return fail(QStringLiteral("the project was not read again"));
             BlockInstanceArea* area = project->areas().value(m_areaIndex);
             if (!area)
                 return fail(QStringLiteral("the project read back has no area %1").arg(m_areaIndex));
             m_area = area;
             AreaSubWindow* window = m_window->openArea(area);
             if (window)
                 window->showMaximized();
             m_window->zoomToFit();
             const QByteArray text = codeTextOf(areaCode());
             if (text != m_textSaved) {
                 QFile file(m_directory.filePath(QStringLiteral("wieder-geoeffnet.txt")));
                 if (file.open(QIODevice::WriteOnly))
                     file.write(m_textSaved + "\n==== read back ====\n" + text);
                 return fail(QStringLiteral("the program read back differs from the one saved (both in wieder-geoeffnet.txt)"));
             }
             return !m_window->isProjectModified() || fail(QStringLiteral("the project read back counts as changed"));
         },
         500},
    };
}

// ---- The library tour ----

QList<QTreeWidgetItem*> StudioWalk::searchHits(const QString& section) const
{
    QList<QTreeWidgetItem*> hits;
    AreaSubWindow* window = walkWindow();
    auto* tree = window ? window->findChild<BlockSearchResultWidgetPrivate*>() : nullptr;
    BlockInstance* dropped = areaCode() ? areaCode()->instance(m_dropped) : nullptr;
    if (!tree)
        return hits;
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        QTreeWidgetItem* top = tree->topLevelItem(i);
        if (top->text(0) != section)
            continue;
        for (int j = 0; j < top->childCount(); ++j) {
            QTreeWidgetItem* row = top->child(j);
            BlockInstanceHierarchyNode* node = tree->validNode(row);
            if ((m_dragged && tree->libraryDefinition(row) == m_dragged) || (dropped && node && node->blockInstance() == dropped))
                hits.append(row);
        }
    }
    return hits;
}

bool StudioWalk::searchFor(const QString& text)
{
    QWidget* page = showVerticalPage("searchTab");
    if (!page)
        return false;
    auto* edit = page->findChild<QLineEdit*>(QStringLiteral("searchTextEdit"));
    auto* start = page->findChild<QPushButton*>(QStringLiteral("startButton"));
    if (!edit || !start)
        return fail(QStringLiteral("the search panel has no text field or start button"));
    if (text.isEmpty())
        return fail(QStringLiteral("nothing to search for"));
    edit->setText(text);
    start->click();
    auto* tree = page->findChild<BlockSearchResultWidgetPrivate*>();
    int rows = 0;
    for (int i = 0; tree && i < tree->topLevelItemCount(); ++i)
        rows += tree->topLevelItem(i)->childCount();
    m_log.append(QStringLiteral("  \"%1\": %2 hits, %3 of the dropped block in the hierarchy, %4 of its version in the libraries")
                     .arg(text)
                     .arg(rows)
                     .arg(searchHits(QStringLiteral("Hierarchie")).size())
                     .arg(searchHits(QStringLiteral("Bibliothek")).size()));
    return true;
}

bool StudioWalk::answerFileDialog(const char* buttonName, const QString& path)
{
    AreaSubWindow* window = walkWindow();
    auto* button = window ? window->findChild<QPushButton*>(QLatin1String(buttonName)) : nullptr;
    if (!button || !button->isVisible())
        return fail(QStringLiteral("no button %1 in sight").arg(QLatin1String(buttonName)));
    // The dialog runs its own loop inside the click: it is looked for from a timer until it shows.
    auto* poll = new QTimer(this);
    bool answered = false;
    int rounds = 0;
    connect(poll, &QTimer::timeout, this, [poll, path, &answered, &rounds] {
        if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
            dialog->selectFile(path);
            static_cast<QDialog*>(dialog)->accept();
            answered = true;
            poll->stop();
        } else if (++rounds > 200) {
            poll->stop();
            if (QWidget* other = QApplication::activeModalWidget())
                other->close();
        }
    });
    poll->start(25);
    button->click();
    poll->stop();
    poll->deleteLater();
    return answered || fail(QStringLiteral("%1 opened no file dialog").arg(button->text()));
}

QList<StudioWalk::Step> StudioWalk::libraryTour()
{
    return {
        {QStringLiteral("bereich-bearbeiten"),
         [this] {
             if (!openEditableArea() || !enterEditMode())
                 return false;
             return m_window->zoomToFit() || fail(QStringLiteral("the code does not fit"));
         },
         500},
        {QStringLiteral("bibliothek"),
         [this] {
             QWidget* page = showVerticalPage("libraryTab");
             auto* library = page ? page->findChild<BlockLibraryView*>() : nullptr;
             if (!page)
                 return false;
             if (!library)
                 return fail(QStringLiteral("the tab \"Bibliothek\" holds no library panel"));
             return library->groupsWidget()->topLevelItemCount() > 0 || fail(QStringLiteral("the groups tree is empty"));
         },
         400},
        {QStringLiteral("gruppe"),
         [this] {
             AreaSubWindow* window = walkWindow();
             auto* library = window ? window->findChild<BlockLibraryView*>() : nullptr;
             if (!library)
                 return fail(QStringLiteral("no library panel"));
             BlockGroupsWidget* groups = library->groupsWidget();
             BlocksWidget* blocks = library->blocksWidget();
             // The first group, top down, with a block that has inputs and outputs, a number and a
             // first pin with a short name: one that the later steps can connect and find.
             QList<QTreeWidgetItem*> rows;
             for (QTreeWidgetItemIterator it(groups); *it; ++it)
                 rows.append(*it);
             for (QTreeWidgetItem* group : std::as_const(rows)) {
                 groups->setCurrentItem(group);
                 for (int i = 0; i < blocks->topLevelItemCount(); ++i) {
                     QTreeWidgetItem* row = blocks->topLevelItem(i);
                     BlockDefinition* definition = BlocksWidget::definitionOf(row);
                     if (!definition || !definition->block() || numberOf(definition->block()).isEmpty()
                         || firstPinShortName(definition).isEmpty() || definition->pins().size() < 2)
                         continue;
                     blocks->setCurrentItem(row);
                     blocks->scrollToItem(row);
                     groups->scrollToItem(group);
                     m_dragged = definition;
                     m_log.append(QStringLiteral("  group \"%1\", block \"%2\" number %3 version %4")
                                      .arg(blocks->currentPath(), row->text(BlocksWidget::NameColumn), numberOf(definition->block()))
                                      .arg(definition->version()));
                     return blocks->currentItem() == row || fail(QStringLiteral("the block's row cannot be chosen"));
                 }
             }
             return fail(QStringLiteral("no group has a block with a number and named pins"));
         },
         400},
        {QStringLiteral("gezogen"),
         [this] {
             AreaSubWindow* window = walkWindow();
             BlockCodeView* view = window ? window->codeView() : nullptr;
             BlockDefinitionScene* scene = editScene();
             if (!m_dragged || !scene || !view)
                 return fail(QStringLiteral("no block chosen or not in edit mode"));
             QPoint at;
             if (!emptyViewportPoint(QSizeF(6 * SceneRaster::Block, 6 * SceneRaster::Block), &at))
                 return fail(QStringLiteral("no empty place in sight to drop to"));
             // What the list puts into a drag of the row, carried over the viewport and let go.
             QMimeData mime;
             mime.setData(BlocksWidget::MimeType, BlocksWidget::payload(m_dragged));
             const QMap<unsigned int, BlockItem*> shown = scene->blockItemMap();
             const QSet<unsigned int> before(shown.keyBegin(), shown.keyEnd());
             QWidget* viewport = view->viewport();
             QDragEnterEvent enter(at - QPoint(30, 30), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
             QApplication::sendEvent(viewport, &enter);
             if (!enter.isAccepted())
                 return fail(QStringLiteral("the code view refuses the drag of the list"));
             QDragMoveEvent move(at, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
             QApplication::sendEvent(viewport, &move);
             if (!move.isAccepted() || move.dropAction() == Qt::IgnoreAction)
                 return fail(QStringLiteral("the code view refuses the drop over empty code"));
             QDropEvent drop(QPointF(at), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
             QApplication::sendEvent(viewport, &drop);
             m_dropped = 0;
             const QMap<unsigned int, BlockItem*> after = scene->blockItemMap();
             for (auto it = after.cbegin(); it != after.cend(); ++it) {
                 if (!before.contains(it.key()))
                     m_dropped = it.key();
             }
             if (!m_dropped)
                 return fail(QStringLiteral("no new block after the drop"));
             BlockItem* item = scene->blockItem(m_dropped);
             const QPointF wanted = view->mapToScene(at);
             m_log.append(QStringLiteral("  block %1 dropped at (%2, %3), stands at (%4, %5)")
                              .arg(m_dropped)
                              .arg(wanted.x())
                              .arg(wanted.y())
                              .arg(item->scenePos().x())
                              .arg(item->scenePos().y()));
             if (item->blockInstance()->blockDefinition() != m_dragged)
                 return fail(QStringLiteral("the new block is not of the dragged version"));
             return item->sceneBoundingRect().adjusted(-SceneRaster::Block, -SceneRaster::Block, SceneRaster::Block, SceneRaster::Block).contains(wanted)
                 || fail(QStringLiteral("the block stands away from where it was let go"));
         },
         500},
        {QStringLiteral("favorit"),
         [this] {
             QWidget* page = showVerticalPage("libraryTab");
             auto* library = page ? page->findChild<BlockLibraryView*>() : nullptr;
             BlocksWidget* blocks = library ? library->blocksWidget() : nullptr;
             QTreeWidgetItem* row = blocks ? blocks->currentItem() : nullptr;
             if (!row || BlocksWidget::definitionOf(row) != m_dragged)
                 return fail(QStringLiteral("the dragged block's row is no longer chosen"));
             // A favourite left by an earlier walk in this folder would be taken away by the click.
             if (BlockBookmarkRepository::instance().isBookmarked(m_dragged))
                 BlockBookmarkRepository::instance().removeBookmarks(m_dragged);
             // The star column lies right of the others: in a narrow panel the list is scrolled to it first.
             const QModelIndex cell = blocks->model()->index(blocks->indexOfTopLevelItem(row), BlocksWidget::FavouriteColumn);
             blocks->scrollTo(cell);
             const QRect starRect = blocks->visualRect(cell);
             if (!blocks->viewport()->rect().contains(starRect.center()))
                 return fail(QStringLiteral("the row's star is out of sight"));
             const QPoint star = starRect.center();
             for (QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
                 QMouseEvent event(type, QPointF(star), blocks->viewport()->mapToGlobal(QPointF(star)), Qt::LeftButton,
                                   type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
                 QApplication::sendEvent(blocks->viewport(), &event);
             }
             if (!BlockBookmarkRepository::instance().isBookmarked(m_dragged))
                 return fail(QStringLiteral("the click on the star made no favourite"));
             // The row shows it: its star is filled. The list may have made its rows anew on the change.
             row = nullptr;
             for (int i = 0; i < blocks->topLevelItemCount() && !row; ++i) {
                 if (BlocksWidget::definitionOf(blocks->topLevelItem(i)) == m_dragged)
                     row = blocks->topLevelItem(i);
             }
             if (!row)
                 return fail(QStringLiteral("the block's row left the list when it became a favourite"));
             const QImage shown = row->icon(BlocksWidget::FavouriteColumn).pixmap(16).toImage();
             const QImage filled = QIcon(QStringLiteral(":/Resources/star.png")).pixmap(16).toImage();
             return (!filled.isNull() && shown == filled) || fail(QStringLiteral("the row does not show a filled star"));
         },
         400},
        {QStringLiteral("favoriten-tab"),
         [this] {
             QWidget* page = showVerticalPage("blockBookmarkTab");
             if (!page)
                 return false;
             auto* view = page->findChild<BlockBookmarkView*>();
             BlockBookmarkWidget* tree = view ? view->bookmarkWidget() : nullptr;
             if (!tree)
                 return fail(QStringLiteral("the favourites tab holds no favourites panel"));
             for (QTreeWidgetItemIterator it(tree); *it; ++it) {
                 BlockBookmarkItem* item = tree->itemOfRow(*it);
                 BlockBookmark* bookmark = item ? item->toBookmark() : nullptr;
                 if (bookmark && m_dragged && bookmark->identifier() == m_dragged->block()->identifier()
                     && bookmark->version() == m_dragged->version()) {
                     tree->setCurrentItem(*it);
                     tree->scrollToItem(*it);
                     m_log.append(QStringLiteral("  favourite row \"%1\"").arg((*it)->text(0)));
                     return true;
                 }
             }
             return fail(QStringLiteral("the favourites tab shows no row of the block"));
         },
         400},
        {QStringLiteral("suche-nummer"),
         [this] {
             if (!m_dragged || !searchFor(numberOf(m_dragged->block())))
                 return m_dragged || fail(QStringLiteral("no block chosen"));
             if (searchHits(QStringLiteral("Bibliothek")).isEmpty())
                 return fail(QStringLiteral("the block's version is not among the library hits"));
             return !searchHits(QStringLiteral("Hierarchie")).isEmpty() || fail(QStringLiteral("the dropped block is not among the hierarchy hits"));
         },
         400},
        {QStringLiteral("suche-anschluss"),
         [this] {
             if (!m_dragged || !searchFor(firstPinShortName(m_dragged)))
                 return m_dragged || fail(QStringLiteral("no block chosen"));
             if (searchHits(QStringLiteral("Bibliothek")).isEmpty())
                 return fail(QStringLiteral("the block's version is not among the library hits"));
             return !searchHits(QStringLiteral("Hierarchie")).isEmpty() || fail(QStringLiteral("the dropped block is not among the hierarchy hits"));
         },
         400},
        {QStringLiteral("sprung-code"),
         [this] {
             const QList<QTreeWidgetItem*> hits = searchHits(QStringLiteral("Hierarchie"));
             AreaSubWindow* window = walkWindow();
             auto* tree = window ? window->findChild<BlockSearchResultWidgetPrivate*>() : nullptr;
             if (hits.isEmpty() || !tree)
                 return fail(QStringLiteral("no hierarchy hit to jump from"));
             BlockCodeView* view = window->codeView();
             if (auto* scene = qobject_cast<BlockCodeScene*>(view->scene()))
                 scene->clearSelection();
             // A double click on the row, as the user jumps.
             QString asked;
             auto* search = window->findChild<BlockSearchView*>();
             const QMetaObject::Connection heard =
                 connect(search, &BlockSearchView::needToShowInCode, this, [&asked](const QString& path) { asked = path; });
             tree->scrollToItem(hits.first());
             // As the issue table's jump in the overview tour: the row chosen, then the tree's own
             // signal of a double click on it.
             tree->setCurrentItem(hits.first());
             Q_EMIT tree->itemDoubleClicked(hits.first(), 0);
             disconnect(heard);
             if (asked.isEmpty())
                 return fail(QStringLiteral("the double click on the hit asked the code view for nothing"));
             auto* scene = qobject_cast<BlockCodeScene*>(view->scene());
             BlockItem* selected = scene ? scene->selectedBlockItem() : nullptr;
             BlockInstanceHierarchyNode* node = tree->validNode(hits.first());
             m_log.append(QStringLiteral("  hit \"%1\" at %2, the view shows %3")
                              .arg(hits.first()->text(0), node ? node->locationPath() : QStringLiteral("-"), view->currentPath()));
             if (!selected)
                 return fail(QStringLiteral("no block is selected after the jump"));
             if (selected->identifier() != m_dropped)
                 return fail(QStringLiteral("the jump selected block %1, not %2").arg(selected->identifier()).arg(m_dropped));
             const QRectF shown = view->mapToScene(view->viewport()->rect()).boundingRect();
             return shown.intersects(selected->sceneBoundingRect()) || fail(QStringLiteral("the block jumped to is out of sight"));
         },
         500},
        {QStringLiteral("sprung-hierarchie"),
         [this] {
             const QList<QTreeWidgetItem*> hits = searchHits(QStringLiteral("Hierarchie"));
             AreaSubWindow* window = walkWindow();
             auto* tree = window ? window->findChild<BlockSearchResultWidgetPrivate*>() : nullptr;
             auto* search = window ? window->findChild<BlockSearchView*>() : nullptr;
             if (hits.isEmpty() || !tree || !search)
                 return fail(QStringLiteral("no hierarchy hit to jump from"));
             // Through the row's context menu.
             tree->setCurrentItem(hits.first());
             const QList<QMenu*> before = search->findChildren<QMenu*>();
             tree->onShowContextMenu(tree->visualItemRect(hits.first()).center());
             QMenu* menu = nullptr;
             for (QMenu* candidate : search->findChildren<QMenu*>()) {
                 if (!before.contains(candidate))
                     menu = candidate;
             }
             QAction* entry = nullptr;
             for (QAction* action : menu ? menu->actions() : QList<QAction*>()) {
                 if (action->text() == QStringLiteral("Zeige Baustein in Hierarchieansicht"))
                     entry = action;
             }
             if (!entry)
                 return fail(QStringLiteral("the hit's context menu has no \"Zeige Baustein in Hierarchieansicht\""));
             entry->trigger();
             menu->close();
             auto* tabs = window->findChild<QTabWidget*>(QStringLiteral("verticalTab"));
             if (!tabs || !tabs->currentWidget() || tabs->currentWidget()->objectName() != QLatin1String("hierarchyTab"))
                 return fail(QStringLiteral("the hierarchy tab did not come to the front"));
             auto* hierarchy = window->findChild<HierarchyViewPrivate*>();
             QTreeWidgetItem* current = hierarchy ? hierarchy->currentItem() : nullptr;
             BlockInstance* dropped = areaCode() ? areaCode()->instance(m_dropped) : nullptr;
             if (!current)
                 return fail(QStringLiteral("no row of the hierarchy is chosen"));
             m_log.append(QStringLiteral("  hierarchy row \"%1\"").arg(current->text(0)));
             return (dropped && hierarchy->instanceOfItem.value(current) == dropped)
                 || fail(QStringLiteral("the hierarchy's chosen row is not the dropped block"));
         },
         500},
        {QStringLiteral("favoriten-export"),
         [this] {
             if (!showVerticalPage("blockBookmarkTab"))
                 return false;
             const QString path = m_directory.absoluteFilePath(QStringLiteral("favoriten.ini"));
             QFile::remove(path);
             if (!answerFileDialog("exportButton", path))
                 return false;
             QFile file(path);
             if (!file.open(QIODevice::ReadOnly))
                 return fail(QStringLiteral("no file %1 after the export").arg(path));
             return (m_dragged && file.readAll().contains(m_dragged->block()->identifier().toUtf8()))
                 || fail(QStringLiteral("the exported file does not hold the favourite"));
         },
         400},
        {QStringLiteral("favoriten-import"),
         [this] {
             QWidget* page = showVerticalPage("blockBookmarkTab");
             auto* view = page ? page->findChild<BlockBookmarkView*>() : nullptr;
             BlockBookmarkWidget* tree = view ? view->bookmarkWidget() : nullptr;
             if (!tree || !m_dragged)
                 return page ? fail(QStringLiteral("no favourites panel")) : false;
             // The favourite deleted in the tab, then brought back from the file.
             if (!tree->currentItem())
                 return fail(QStringLiteral("no favourite chosen to delete"));
             tree->deleteSelectedBookmark();
             if (BlockBookmarkRepository::instance().isBookmarked(m_dragged))
                 return fail(QStringLiteral("the favourite stayed after deleting it"));
             if (!answerFileDialog("importButton", m_directory.absoluteFilePath(QStringLiteral("favoriten.ini"))))
                 return false;
             if (!BlockBookmarkRepository::instance().isBookmarked(m_dragged))
                 return fail(QStringLiteral("the import did not bring the favourite back"));
             for (QTreeWidgetItemIterator it(tree); *it; ++it) {
                 BlockBookmarkItem* item = tree->itemOfRow(*it);
                 BlockBookmark* bookmark = item ? item->toBookmark() : nullptr;
                 if (bookmark && bookmark->identifier() == m_dragged->block()->identifier()) {
                     tree->setCurrentItem(*it);
                     return true;
                 }
             }
             return fail(QStringLiteral("the imported favourite is not shown in the tab"));
         },
         400},
    };
}
