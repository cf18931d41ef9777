#pragma once

#include "zkblockview_export.h"

#include <QHash>
#include <QPoint>
#include <QString>
#include <QStringList>
#include <QTreeWidget>

class BlockBookmarkItem;
class BlockBookmarkRepository;
class BlockDefinition;
class BlockPreview;
class BlockRepository;
class QMenu;
class QMimeData;

// The favourites as a tree that the user orders: folders are made, renamed and deleted here,
// items move by drag and drop, and a bookmark drags into a code view like a block of the library.
// The rows are a reconciled copy of the repository's tree: every change goes to the repository,
// and the rows follow its changed().
class ZK_VIEW_EXPORT BlockBookmarkWidget : public QTreeWidget
{
    Q_OBJECT
public:
    explicit BlockBookmarkWidget(QWidget* parent = nullptr);
    ~BlockBookmarkWidget() override;

    // Called once by the panel that holds the tree.
    void setup();

    // The repository's item of a row, null when the row's id is no longer in the tree.
    BlockBookmarkItem* itemOfRow(const QTreeWidgetItem* row) const;
    // The payload of a bookmark row's drag, in both formats; null for other rows and gone blocks.
    QMimeData* dragData(const QTreeWidgetItem* row) const;

public Q_SLOTS:
    void update();
    void showContextMenu(QPoint point);
    void handleItemChanged(const QTreeWidgetItem* item, int column);
    void deleteSelectedBookmark();
    void addBookmarkFolder();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    QStringList mimeTypes() const override;

private:
    BlockDefinition* definitionOfRow(const QTreeWidgetItem* row) const;
    // A row's place follows its item's parent in the tree; answers the row of the id, or null.
    QTreeWidgetItem* settleRow(const QString& id, const QString& parentId);
    QTreeWidgetItem* rowOfFolder(const QString& id) const;
    QMenu* contextMenu();

    BlockBookmarkRepository* bookmarks = nullptr;
    BlockRepository* repository = nullptr;
    QMenu* menu = nullptr;
    QPoint dragStart;
    // Draws the picture under the cursor while a bookmark is dragged; made once, reused.
    BlockPreview* preview = nullptr;
    QHash<QString, QTreeWidgetItem*> rows;
    QHash<QString, QTreeWidgetItem*> seen;
};
