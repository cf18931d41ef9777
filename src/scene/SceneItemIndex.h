#pragma once

#include <QHash>
#include <QList>
#include <QMultiHash>
#include <QSet>

class BlockInstance;
class BlockItem;
class ConnectionItem;

// The look-ups of one code scene that a scan of all its items would make quadratic, kept in step by
// the items themselves: a block item joins when it enters the scene and leaves when it goes, and
// announces its selection before the scene does. The toolkit's scene has no index of its own here
// (a spatial index costs more than it saves for scenes rebuilt this often), and without these
// a rebuild, a select-all and a group move each scan every item once per item.
class SceneItemIndex
{
public:
    // Block items by a key that almost always has one item: a plain hash for the first item of
    // each key, and the rare further items of a key beside it. A look-up with several candidates
    // falls back to the scene's stacking order, so the front-most item wins as a scan would have it.
    template <typename Key>
    class Blocks
    {
    public:
        void insert(Key key, BlockItem* item)
        {
            if (m_first.contains(key))
                m_more.insert(key, item);
            else
                m_first.insert(key, item);
        }

        void remove(Key key, BlockItem* item)
        {
            auto it = m_first.find(key);
            if (it != m_first.end() && it.value() == item) {
                auto more = m_more.find(key);
                if (more != m_more.end()) {
                    it.value() = more.value();
                    m_more.erase(more);
                } else {
                    m_first.erase(it);
                }
            } else {
                m_more.remove(key, item);
            }
        }

        bool isShared(Key key) const { return m_more.contains(key); }
        bool anyShared() const { return !m_more.isEmpty(); }
        BlockItem* first(Key key) const { return m_first.value(key); }
        const QHash<Key, BlockItem*>& firsts() const { return m_first; }

        QList<BlockItem*> all(Key key) const
        {
            QList<BlockItem*> items;
            if (BlockItem* item = m_first.value(key))
                items.append(item);
            for (auto it = m_more.constFind(key); it != m_more.cend() && it.key() == key; ++it)
                items.append(it.value());
            return items;
        }

    private:
        QHash<Key, BlockItem*> m_first;
        QMultiHash<Key, BlockItem*> m_more;
    };

    // `instance` is the key the item joined under: it stays a valid key after the instance died.
    void addBlock(BlockItem* item, unsigned int identifier, const BlockInstance* instance, bool selected);
    void removeBlock(BlockItem* item, unsigned int identifier, const BlockInstance* instance);
    void blockSelectionChanging(BlockItem* item, bool selected);
    void addConnection(ConnectionItem* item);
    void removeConnection(ConnectionItem* item);
    // Any change of the scene's selection; what is asked of the selection is asked anew.
    void selectionChanged();

    const Blocks<unsigned int>& byIdentifier() const { return m_byIdentifier; }
    const Blocks<const BlockInstance*>& byInstance() const { return m_byInstance; }
    const QSet<ConnectionItem*>& connections() const { return m_connections; }
    const QSet<BlockItem*>& selectedBlocks() const { return m_selectedBlocks; }

    // Block items whose instance was replaced under the same identifier, waiting for an update of
    // the active scene to be deleted; an item that goes before leaves this list as well.
    QList<BlockItem*>& pendingDelete() { return m_pendingDelete; }

    // Whether some selected item is not a connection node, if known since the last change of the
    // selection: each node of a moving selection asks, and the answer is the same for all.
    bool otherThanNodesKnown() const { return m_otherThanNodesSelected >= 0; }
    bool otherThanNodesSelected() const { return m_otherThanNodesSelected == 1; }
    void setOtherThanNodesSelected(bool value) { m_otherThanNodesSelected = value ? 1 : 0; }

private:
    Blocks<unsigned int> m_byIdentifier;
    Blocks<const BlockInstance*> m_byInstance;
    QSet<ConnectionItem*> m_connections;
    QSet<BlockItem*> m_selectedBlocks;
    int m_otherThanNodesSelected = -1;
    QList<BlockItem*> m_pendingDelete;
};
