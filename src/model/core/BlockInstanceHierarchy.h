#pragma once

#include "zkblockmodel_export.h"

#include <QObject>
#include <QString>

class BlockInstanceArea;
class BlockInstanceHierarchyNode;

// The tree of nodes that mirrors the nested instances of an area's program.
class ZK_MODEL_EXPORT BlockInstanceHierarchy : public QObject
{
    Q_OBJECT
public:
    explicit BlockInstanceHierarchy(BlockInstanceArea* area);
    ~BlockInstanceHierarchy() override;

    BlockInstanceArea* area() const { return m_area; }
    BlockInstanceHierarchyNode* rootNode() const { return m_root; }
    // The node of a location path, with or without living space; null if there is none.
    BlockInstanceHierarchyNode* nodeForPath(const QString& path) const;
    // Number of nodes in the tree (for tests and benchmarks).
    int nodeCount() const;

private:
    friend class BlockInstanceArea;
    void createRoot();

    BlockInstanceArea* m_area;
    BlockInstanceHierarchyNode* m_root = nullptr;
};
