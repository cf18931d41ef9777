#include "BlockInstanceHierarchy.h"

#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchyNode.h"
#include "Locator.h"

BlockInstanceHierarchy::BlockInstanceHierarchy(BlockInstanceArea* area)
    : QObject(area)
    , m_area(area)
{
}

BlockInstanceHierarchy::~BlockInstanceHierarchy()
{
    delete m_root;
    m_root = nullptr;
}

void BlockInstanceHierarchy::createRoot()
{
    m_root = new BlockInstanceHierarchyNode(this, nullptr, m_area->rootInstance());
    m_root->reconcile();
}

BlockInstanceHierarchyNode* BlockInstanceHierarchy::nodeForPath(const QString& path) const
{
    const Locator locator(path);
    if (!locator.isValid() || !locator.hasHierarchy() || !m_root)
        return nullptr;
    if (locator.hasLivingSpace() && unsigned(locator.livingSpace()) != m_area->firstNumber())
        return nullptr;
    const QList<QString> stack = locator.hierarchyStack();
    bool ok = false;
    if (stack.first().toUInt(&ok) != BlockInstanceArea::RootInstanceIdentifier || !ok)
        return nullptr;
    BlockInstanceHierarchyNode* node = m_root;
    for (int i = 1; i < stack.size() && node; ++i) {
        const unsigned int id = stack.at(i).toUInt(&ok);
        if (!ok)
            return nullptr;
        node = node->instanceNode(id);
    }
    return node;
}

int BlockInstanceHierarchy::nodeCount() const
{
    if (!m_root)
        return 0;
    int count = 0;
    QList<const BlockInstanceHierarchyNode*> stack{m_root};
    while (!stack.isEmpty()) {
        const BlockInstanceHierarchyNode* node = stack.takeLast();
        ++count;
        for (int id : node->instanceNodes()) {
            if (const BlockInstanceHierarchyNode* child = node->instanceNode(unsigned(id)))
                stack.append(child);
        }
    }
    return count;
}
