#pragma once

#include "zkblockview_export.h"

#include <QScopedPointer>
#include <QString>
#include <QWidget>

class BlockCheckIssueViewPrivate;
class BlockDefinition;
class BlockInstanceArea;
class BlockInstanceHierarchyNode;

// The tab "Prüfung": what the model's checks find wrong with the shown code. It is told from outside
// what to check and never reads the code itself; a double click on a row asks to be shown the place.
class ZK_VIEW_EXPORT BlockCheckIssueView : public QWidget
{
    Q_OBJECT
public:
    explicit BlockCheckIssueView(QWidget* parent);
    ~BlockCheckIssueView() override;

    void checkForIssues();
    bool checkSubInstances() const;
    BlockDefinition* rootDefinition() const;
    void setRoot(BlockDefinition* pDefinition, BlockInstanceArea* pArea);
    void setRoot(BlockDefinition* pDefinition, BlockInstanceHierarchyNode* pNode);

Q_SIGNALS:
    // The location path of the issue's block, made absolute when the root is a hierarchy node.
    void needToShow(const QString& locationPath);

public Q_SLOTS:
    void setCheckSubInstances(bool value);

private:
    friend class BlockCheckIssueViewPrivate;
    QScopedPointer<BlockCheckIssueViewPrivate> d;
};
