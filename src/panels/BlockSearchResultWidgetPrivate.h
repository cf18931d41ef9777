#pragma once

#include <QHash>
#include <QIcon>
#include <QPoint>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QTreeWidget>

class BlockDefinition;
class BlockInstanceArea;
class BlockInstanceHierarchyNode;
class BlockBookmarkRepository;
class BlockPreview;
class BlockSearchResultWidget;
class QTreeWidgetItem;

// Like the other trees' companions, this one is itself the widget.
class BlockSearchResultWidgetPrivate : public QTreeWidget
{
    Q_OBJECT
public:
    BlockSearchResultWidgetPrivate(BlockSearchResultWidget* pOwner);
    ~BlockSearchResultWidgetPrivate() override;

    void setup();
    void clearResults();
    void insertHierarchyItem(BlockInstanceHierarchyNode* pBlockInstanceNode);
    void insertLibraryItem(BlockDefinition* pBlockDefinition);

    // The node of a hierarchy hit while it is still in the area's hierarchy, else null; the row
    // holds a raw pointer that may have died since the search.
    BlockInstanceHierarchyNode* validNode(const QTreeWidgetItem* pItem) const;
    // The definition of a library hit while it lives, else null.
    BlockDefinition* libraryDefinition(const QTreeWidgetItem* pItem) const;
    // The row's own definition, or else that of its valid node's instance.
    BlockDefinition* definitionOfRow(const QTreeWidgetItem* pItem) const;
    void refreshStars();
    // While a search runs, its rows are kept aside and join their sections in one insertion at
    // the end: a sorted tree would otherwise take each row as an insertion of its own.
    void beginCollecting();
    void endCollecting();

    QTreeWidgetItem* hierarchySection = nullptr;
    QTreeWidgetItem* librarySection = nullptr;
    QPoint dragStart;
    // Made with the tree and reused for every drag picture.
    BlockPreview* preview = nullptr;
    // The process's favourites, taken by the setup; until then the stars are empty.
    BlockBookmarkRepository* bookmarks = nullptr;
    QPointer<BlockInstanceArea> area;
    BlockSearchResultWidget* owner;

Q_SIGNALS:
    void needToShowInHierarchy(const QString& path);
    void needToShowInCode(const QString& path);
    void needToShowInLibrary(BlockDefinition* pBlockDefinition);

public Q_SLOTS:
    void onItemDoubleClicked(QTreeWidgetItem* pItem, int column);
    void onShowContextMenu(QPoint point);
    void showCurrentBlockInHierarchyView();
    void showCurrentBlockInCodeView();
    void showCurrentBlockInLibraryView();
    void addBlockToBookmark();
    void blockItemClicked(QTreeWidgetItem* item, int column);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    QTreeWidgetItem* section(QTreeWidgetItem*& pSection, const QString& text);
    void setStar(QTreeWidgetItem* pItem, BlockDefinition* pBlockDefinition);
    void showNotFound(const QTreeWidgetItem* pItem);
    // Decoded once for all rows of a definition.
    QIcon iconOf(BlockDefinition* pBlockDefinition);

    // Which pointers have a row already, so that a hit is reported once without a look through
    // all rows for each new one; the library's guards also tell a deleted definition.
    QSet<const void*> hierarchyHits;
    QHash<const void*, QPointer<BlockDefinition>> libraryHits;
    QHash<const void*, QIcon> icons;
    bool collecting = false;
    QList<QTreeWidgetItem*> pendingHierarchyRows;
    QList<QTreeWidgetItem*> pendingLibraryRows;
    const QIcon starIcon;
    const QIcon starEmptyIcon;
    const QIcon defaultIcon;
};
