#pragma once

#include "zkblockview_export.h"

#include <QScopedPointer>
#include <QString>
#include <QWidget>

class BlockDefinition;
class BlockInstanceArea;
class BlockInstanceHierarchyNode;
class BlockSearchResultWidgetPrivate;

// The hits of a block search: a tree with a section "Hierarchie" for instances of the open area
// and a section "Bibliothek" for block versions of the libraries. From here the user jumps to a
// hit, drags a library hit into a code, or toggles a favourite in the column "Favorit".
class ZK_VIEW_EXPORT BlockSearchResultWidget : public QWidget
{
    Q_OBJECT
public:
    explicit BlockSearchResultWidget(QWidget* parent = nullptr);
    ~BlockSearchResultWidget() override;

    // Once, from the search view's constructor.
    void setup();
    // The area whose hierarchy the stored hits belong to; hits are tested against it before use.
    void setBlockInstanceArea(BlockInstanceArea* pArea);

Q_SIGNALS:
    void needToShowInHierarchy(const QString& path);
    void needToShowInCode(const QString& path);
    void needToShowInLibrary(BlockDefinition* pBlockDefinition);

public Q_SLOTS:
    void clear();
    void insertHierarchyItem(BlockInstanceHierarchyNode* pBlockInstanceNode);
    void insertLibraryItem(BlockDefinition* pBlockDefinition);

private:
    friend class BlockSearchResultWidgetPrivate;
    friend class BlockSearchViewPrivate;
    QScopedPointer<BlockSearchResultWidgetPrivate> d;
};
