#pragma once

#include "zkblockmodel_export.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>

#include <memory>
#include <vector>

class BlockCheckIssue;
class BlockCode;
class BlockDefinition;
class BlockInstanceArea;
class BlockInstanceHierarchyNode;

// Runs the checks of the model over the code of a definition, seen under a hierarchy node or in an
// area. docs/checks.md lists the checks.
class ZK_MODEL_EXPORT BlockCheckIssueTracker : public QObject
{
    Q_OBJECT
public:
    enum eCheck : unsigned int {
        CheckUnconnectedInput = 1,
        CheckTypeMismatch = 2,
        CheckRuntimeOrder = 3,
        CheckFallbackBlock = 4,
        CheckDuplicateSignalLabel = 5,
        CheckDanglingConnection = 6,
        CheckInputDrivenTwice = 7
    };

    explicit BlockCheckIssueTracker(QObject* parent);
    ~BlockCheckIssueTracker() override;

    void setRoot(BlockDefinition* definition, BlockInstanceHierarchyNode* node);
    void setRoot(BlockDefinition* definition, BlockInstanceArea* area);
    // The issues stay owned by the tracker until the next call.
    QList<BlockCheckIssue*> currentIssues(bool checkSubInstances) const;
    BlockDefinition* rootDefinition() const;
    BlockInstanceHierarchyNode* rootNode() const;

private:
    void checkCode(const BlockCode* code, const BlockInstanceHierarchyNode* node, const QString& prefix,
                   bool recurse, QSet<const BlockDefinition*>& visiting, QList<BlockCheckIssue*>& out) const;

    QPointer<BlockDefinition> m_definition;
    QPointer<BlockInstanceHierarchyNode> m_node;
    QPointer<BlockInstanceArea> m_area;
    mutable std::vector<std::unique_ptr<BlockCheckIssue>> m_issues;
};
