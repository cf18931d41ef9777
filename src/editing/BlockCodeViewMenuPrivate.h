#pragma once

#include <QList>
#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QString>
#include <QStringList>

class BlockCodeScene;
class BlockCodeView;
class BlockCodeViewMenu;
class BlockDefinition;
class BlockInstanceHierarchy;
class BlockItem;
class BlockPinItem;
class ConnectionItem;
class ConnectionNodeItem;
class SignalLabelItem;

class BlockCodeViewMenuPrivate : public QObject
{
    Q_OBJECT
public:
    explicit BlockCodeViewMenuPrivate(BlockCodeViewMenu* owner);

    void clear();
    void addBlockActions();
    void addViewActions();
    void addEditActions();

    // The menu runs modally while the model may change: the view's scene can be swapped and its
    // items replaced by a rebuild, so everything that can die first is held weakly.
    QPointer<BlockCodeView> view;
    QPointer<BlockCodeScene> scene;
    QPointer<BlockItem> blockItem;
    QPointer<BlockPinItem> pinItem;
    QPointer<ConnectionItem> connectionItem;
    // A plain graphics item, no QObject: it is only tested for presence while the menu is built.
    ConnectionNodeItem* nodeItem = nullptr;
    QPointer<SignalLabelItem> signalLabelItem;
    QList<BlockItem*> selectedBlocks;
    QPointF position;
    BlockCodeViewMenu* menu;

Q_SIGNALS:
    void needToShowInHierarchyView(QString path);
    void needToShowInLibraryView(BlockDefinition* pBlockDefinition);

public Q_SLOTS:
    void showCurrentBlockInHierarchyView();
    void showCurrentBlockInLibraryView();
    void createNewLocalBlockDefinition();
    void createNewLocalParameterDefinition();
    void unbindStandardBlockToLocalBlock();
    void unbindStandardBlockToLocalBlockIncludeHierarchy();
    void unbindStandardBlockToLocalBlockIncludeHierarchyDoIt(BlockInstanceHierarchy* pHierarchy, QStringList stack);

private Q_SLOTS:
    void copyBlockToClipboard();
    void cutBlockToClipboard();
    void removeBlock();
    void pasteItem();
    void removeSignal();
    void undo();
    void redo();
};
