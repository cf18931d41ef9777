#pragma once

#include "zkblockview_export.h"

#include <QHash>
#include <QIcon>
#include <QPoint>
#include <QPointer>
#include <QString>
#include <QTreeWidget>

class BlockBookmarkRepository;
class BlockDefinition;
class BlockLibrary;
class BlockLibraryContainer;
class BlockPreview;
class BlockRepository;
class QAction;
class QMenu;
class QTreeWidgetItem;

// The lower pane of the library panel: one row per visible version of the blocks of the group or
// library chosen above. Blocks are dragged from here into code, marked as favourites and, for
// user blocks, duplicated, moved and deleted.
class ZK_VIEW_EXPORT BlocksWidget : public QTreeWidget
{
    Q_OBJECT
public:
    // The columns of a row.
    enum Column { NameColumn = 0, NumberColumn = 1, VersionColumn = 2, FavouriteColumn = 3 };
    // The row's data, all in the version column.
    enum Role { IdentifierRole = Qt::UserRole, VersionRole = Qt::UserRole + 1, DefinitionRole = Qt::UserRole + 2 };

    static const QString MimeType;

    explicit BlocksWidget(QWidget* parent = nullptr);
    ~BlocksWidget() override;

    // Called once by the panel after construction.
    void setup();

    QString currentPath() const { return m_currentPath; }
    // The definition of a row, or null.
    static BlockDefinition* definitionOf(const QTreeWidgetItem* row);
    // The drag payload of a definition: identifier, ";", version, as Latin-1 bytes.
    static QByteArray payload(const BlockDefinition* definition);

    // The context menu as last built; null before the first right click.
    QMenu* contextMenu() const { return m_contextMenu; }
    // The directory the graphic export starts in.
    static QString exportStartDirectory();

Q_SIGNALS:
    void blockSelected(QString identifier, uint version);

public Q_SLOTS:
    void update();
    void updatePath(QString groupPath);
    void selectBlock(QString identifier, uint version);
    void showSelectedBlockCode();
    void currentLibraryContentsChanged();
    void currentItemChanged(QTreeWidgetItem* pCurrent, QTreeWidgetItem* pPrevious);
    void showContextMenu(QPoint point);
    void blockItemClicked(QTreeWidgetItem* item, int column);
    void addBlockToBookmark();
    void deleteSelectedBlock();
    void deleteSelectedBlockDefinition();
    void showSelectedBlockProperties();
    void cloneNewVersion();
    void cloneNewBlock();
    void moveToContainer();
    void addOrRemoveBlockToBookmark();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QString m_currentPath;
    BlockRepository* m_repository = nullptr;
    BlockBookmarkRepository* m_bookmarks = nullptr;
    QPoint m_dragStart;
    BlockPreview* m_preview = nullptr;
    QPointer<BlockLibrary> m_currentLibrary;
    unsigned int m_definitionCount = 0;
    QMenu* m_contextMenu = nullptr;
    QAction* m_favouriteAction = nullptr;

    BlockDefinition* currentDefinition() const;
    BlockBookmarkRepository& bookmarks() const;
    // A new favourite at the root if the definition has none, else none of it is left anywhere.
    void toggleBookmark(BlockDefinition* definition);
    QList<BlockLibraryContainer*> moveTargets(const BlockDefinition* definition) const;
    QTreeWidgetItem* makeRow(BlockDefinition* definition, QHash<QByteArray, QIcon>& icons) const;
    void exportGraphics();
};
