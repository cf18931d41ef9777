#include "BlockCheckIssueView.h"
#include "BlockCheckIssueViewPrivate.h"

#include "BlockCheckIssue.h"
#include "BlockCheckIssueEntry.h"
#include "BlockCheckIssueTracker.h"
#include "BlockCheckIssueWidget.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstanceHierarchyNode.h"
#include "System.h"

#include <QSet>
#include <QVBoxLayout>

BlockCheckIssueViewPrivate::BlockCheckIssueViewPrivate(BlockCheckIssueView* owner)
    : QObject(owner)
    , view(owner)
{
}

BlockCheckIssueViewPrivate::~BlockCheckIssueViewPrivate()
{
    // The widget is a child of the view and still stands while the view's children go; its rows
    // must not point at entries deleted here.
    for (BlockCheckIssueEntry* entry : std::as_const(entries)) {
        if (widget)
            widget->removeEntry(entry);
        delete entry;
    }
    entries.clear();
}

void BlockCheckIssueViewPrivate::releaseRoot()
{
    BlockDefinition* definition = tracker->rootDefinition();
    BlockCode* code = definition ? BlockCode::blockDefinitionCode(definition) : nullptr;
    if (!code)
        return;
    code->disconnect(this);
    definition->disconnect(this);
}

void BlockCheckIssueViewPrivate::listenTo(BlockDefinition* pDefinition)
{
    if (!pDefinition)
        return;
    connect(pDefinition, SIGNAL(changed()), this, SLOT(checkForIssues()));
    // The definition speaks only of its own properties; the list must also follow the edits of its
    // code, which releaseRoot() lets go of with the definition.
    if (BlockCode* code = BlockCode::blockDefinitionCode(pDefinition))
        connect(code, SIGNAL(changed()), this, SLOT(checkForIssues()));
}

void BlockCheckIssueViewPrivate::apply(const QList<BlockCheckIssue*>& issues)
{
    QSet<QString> stale(entries.keyBegin(), entries.keyEnd());
    for (BlockCheckIssue* issue : issues) {
        auto* entry = new BlockCheckIssueEntry(nullptr);
        entry->setIssue(issue);
        const QString key = entry->identifier();
        stale.remove(key);
        // A known place and number keeps its row as it is, even if its text has moved on: the
        // user's sorting and selection stay put while he works through the list.
        if (entries.contains(key)) {
            delete entry;
            continue;
        }
        entries.insert(key, entry);
        widget->insertEntry(entry);
    }
    for (const QString& key : std::as_const(stale)) {
        BlockCheckIssueEntry* entry = entries.take(key);
        widget->removeEntry(entry);
        delete entry;
    }
}

void BlockCheckIssueViewPrivate::checkForIssues()
{
    apply(tracker->currentIssues(checkSubInstances));
}

void BlockCheckIssueViewPrivate::onNeedToShow(const QString& path)
{
    // Issue paths are relative to the tracker's root; the code view wants them whole.
    if (BlockInstanceHierarchyNode* node = tracker->rootNode())
        Q_EMIT needToShow(node->locationPath() + QLatin1Char('.') + path);
    else
        Q_EMIT needToShow(path);
}

BlockCheckIssueView::BlockCheckIssueView(QWidget* parent)
    : QWidget(parent)
    , d(new BlockCheckIssueViewPrivate(this))
{
    d->tracker = new BlockCheckIssueTracker(d.get());
    setProperty("HelpId", QStringLiteral("BlockCheckIssueView"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    d->widget = new BlockCheckIssueWidget(this);
    layout->addWidget(d->widget);
    d->widget->setUp();
    connect(d->widget, SIGNAL(needToShow(QString)), d.get(), SLOT(onNeedToShow(QString)));
    connect(d.get(), &BlockCheckIssueViewPrivate::needToShow, this, &BlockCheckIssueView::needToShow);
    connect(&System::instance(), SIGNAL(userAccessLevelCodeChanged(quint32,quint32)), d.get(), SLOT(checkForIssues()));
}

BlockCheckIssueView::~BlockCheckIssueView()
{
    // The entries go before the widget, which still holds rows that point at them.
    d.reset();
}

void BlockCheckIssueView::checkForIssues()
{
    d->checkForIssues();
}

bool BlockCheckIssueView::checkSubInstances() const
{
    return d->checkSubInstances;
}

void BlockCheckIssueView::setCheckSubInstances(bool value)
{
    d->checkSubInstances = value;
    d->checkForIssues();
}

BlockDefinition* BlockCheckIssueView::rootDefinition() const
{
    return d->tracker->rootDefinition();
}

void BlockCheckIssueView::setRoot(BlockDefinition* pDefinition, BlockInstanceArea* pArea)
{
    d->releaseRoot();
    d->tracker->setRoot(pDefinition, pArea);
    d->checkForIssues();
    d->listenTo(pDefinition);
}

void BlockCheckIssueView::setRoot(BlockDefinition* pDefinition, BlockInstanceHierarchyNode* pNode)
{
    d->releaseRoot();
    d->tracker->setRoot(pDefinition, pNode);
    d->checkForIssues();
    d->listenTo(pDefinition);
}
