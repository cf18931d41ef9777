#include "SceneItemIndex.h"

void SceneItemIndex::addBlock(BlockItem* item, unsigned int identifier, const BlockInstance* instance, bool selected)
{
    m_byIdentifier.insert(identifier, item);
    m_byInstance.insert(instance, item);
    if (selected) {
        m_selectedBlocks.insert(item);
        m_otherThanNodesSelected = -1;
    }
}

void SceneItemIndex::removeBlock(BlockItem* item, unsigned int identifier, const BlockInstance* instance)
{
    m_byIdentifier.remove(identifier, item);
    m_byInstance.remove(instance, item);
    if (m_selectedBlocks.remove(item))
        m_otherThanNodesSelected = -1;
    m_pendingDelete.removeAll(item);
}

void SceneItemIndex::blockSelectionChanging(BlockItem* item, bool selected)
{
    if (selected)
        m_selectedBlocks.insert(item);
    else
        m_selectedBlocks.remove(item);
    m_otherThanNodesSelected = -1;
}

void SceneItemIndex::addConnection(ConnectionItem* item)
{
    m_connections.insert(item);
}

void SceneItemIndex::removeConnection(ConnectionItem* item)
{
    m_connections.remove(item);
}

void SceneItemIndex::selectionChanged()
{
    m_otherThanNodesSelected = -1;
}
