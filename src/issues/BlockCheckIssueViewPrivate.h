#pragma once

#include <QHash>
#include <QObject>
#include <QString>

class BlockCheckIssue;
class BlockCheckIssueEntry;
class BlockCheckIssueTracker;
class BlockCheckIssueView;
class BlockCheckIssueWidget;
class BlockDefinition;

class BlockCheckIssueViewPrivate : public QObject
{
    Q_OBJECT
public:
    explicit BlockCheckIssueViewPrivate(BlockCheckIssueView* owner);
    ~BlockCheckIssueViewPrivate() override;

    // Stops listening to the definition the tracker checks now, before the root changes.
    void releaseRoot();
    void listenTo(BlockDefinition* pDefinition);
    void apply(const QList<BlockCheckIssue*>& issues);

    BlockCheckIssueTracker* tracker = nullptr;
    BlockCheckIssueWidget* widget = nullptr;
    bool checkSubInstances = false;
    // Keyed by identifier; the entries have no parent, this hash owns them.
    QHash<QString, BlockCheckIssueEntry*> entries;
    BlockCheckIssueView* view;

Q_SIGNALS:
    void needToShow(const QString& path);

public Q_SLOTS:
    void checkForIssues();
    void onNeedToShow(const QString& path);
};
