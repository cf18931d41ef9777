#pragma once

#include <QHash>
#include <QString>

class BlockDefinition;

// One run of BlockCodeScene::rebuild(). The rebuild makes it on its stack and the scene lends it to
// the items it updates for exactly that long (BlockCodeScene::runningRebuild()); everything an item
// may take for granted only while the items are reconciled with the code lives here, and outside
// a rebuild there is none:
// - the rebuild repaints the whole scene when it ends, so an item's own repaint would only cost;
// - the model can't change meanwhile, so a definition's tool tip is made once for all its instances;
// - once the blocks are settled (every instance of the code has its item, and every item its pins
//   from this very run), an instance's only item is its own and a pin index holds no pin that went.
class SceneRebuild
{
public:
    SceneRebuild() = default;
    SceneRebuild(const SceneRebuild&) = delete;
    SceneRebuild& operator=(const SceneRebuild&) = delete;

    QString definitionToolTip(const BlockDefinition* definition);
    void settleBlocks() { m_blocksSettled = true; }
    bool blocksSettled() const { return m_blocksSettled; }

private:
    QHash<const BlockDefinition*, QString> m_toolTips;
    bool m_blocksSettled = false;
};
