#pragma once

#include "BlockCodeView.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>

class BlockDefinition;
class BlockDefinitionScene;
class LibraryBlockDefinitionView;
class QGraphicsScene;

class LibraryBlockDefinitionViewPrivate : public QObject
{
    Q_OBJECT
public:
    using ViewState = BlockCodeView::ViewState;

    explicit LibraryBlockDefinitionViewPrivate(LibraryBlockDefinitionView* owner);

    BlockDefinitionScene* definitionScene() const;
    BlockDefinition* shownDefinition() const;
    // Shows the code of the definition, editable and detached from any hierarchy node.
    void showDefinition(BlockDefinition* definition);
    void swapScene(BlockDefinitionScene* newScene);
    void emitAllowedSignals();
    void onSceneDestroyed();

    LibraryBlockDefinitionView* q;
    // Guarded: the model may delete a definition while its code is shown.
    QPointer<BlockDefinition> definition;
    QList<QPointer<BlockDefinition>> definitionStack;
    // Keyed by address and never pruned, as in the hierarchy view.
    QHash<const QGraphicsScene*, ViewState> sceneViewStates;

Q_SIGNALS:
    bool stepInAllowedChanged(bool value);
    bool stepOutAllowedChanged(bool value);
};
