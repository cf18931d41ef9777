#pragma once

#include "BlockCodeView.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>

class BlockCodeScene;
class BlockDefinition;
class BlockDefinitionScene;
class BlockHierarchyNodeScene;
class BlockHierarchyNodeView;
class BlockInstanceArea;
class BlockInstanceHierarchyNode;
class QGraphicsScene;

class BlockHierarchyNodeViewPrivate : public QObject
{
    Q_OBJECT
public:
    using ViewState = BlockCodeView::ViewState;

    explicit BlockHierarchyNodeViewPrivate(BlockHierarchyNodeView* owner);

    BlockCodeScene* codeScene() const;
    BlockHierarchyNodeScene* nodeScene() const;
    BlockDefinitionScene* definitionScene() const;
    // The node of the shown level: that of the node scene, in edit mode that of the remembered one.
    BlockInstanceHierarchyNode* shownNode() const;

    void showNode(BlockInstanceHierarchyNode* node);
    void swapScene(BlockCodeScene* newScene);
    void updateAfterSceneChange();
    QString composeTitle() const;
    bool tryEnterEditMode();
    bool isInsideNonLocalBlock(const BlockInstanceHierarchyNode* node) const;
    void switchToDefinitionScene();
    void leaveDefinitionScene();
    QList<unsigned int> selectedIdentifiers() const;
    void restoreSelection(const QList<unsigned int>& identifiers);
    void emitAllowedSignals();
    bool stepInFromDefinitionScene(unsigned int identifier);
    void showPropertiesInEditMode(BlockInstanceHierarchyNode* child, BlockDefinitionScene* editScene);
    void showSubWindow(BlockDefinition* definition);
    void onSceneDestroyed();

    BlockHierarchyNodeView* q;
    // Guarded: the node scene dies with its node, which the model may delete while the user edits.
    QPointer<BlockHierarchyNodeScene> editedNodeScene;
    bool editModeWanted = false;
    // Keyed by address and never pruned: a scene lives as long as its model object, and the
    // memory is what lets a revisited level come back where the user left it.
    QHash<const QGraphicsScene*, ViewState> sceneViewStates;

Q_SIGNALS:
    bool areaChanged();
    void blockDefinitionEditModeToggled(bool value);
    bool stepInAllowedChanged(bool value);
    bool stepOutAllowedChanged(bool value);
};
