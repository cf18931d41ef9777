#pragma once

#include "zkblockview_export.h"

#include <QScopedPointer>
#include <QString>
#include <QWidget>

class BlockDefinition;
class BlockInstanceArea;
class BlockSearchViewPrivate;

// The panel "Baustein suchen": a text, where to look (the block libraries, the hierarchy of the
// open area, or both), the options of the match, and the hits below. The search runs in the call
// that starts it.
class ZK_VIEW_EXPORT BlockSearchView : public QWidget
{
    Q_OBJECT
public:
    explicit BlockSearchView(QWidget* parent = nullptr);
    ~BlockSearchView() override;

Q_SIGNALS:
    void needToShowInHierarchy(const QString& path);
    void needToShowInCode(const QString& path);
    void needToShowInLibrary(BlockDefinition* pBlockDefinition);

public Q_SLOTS:
    // The area whose hierarchy is searched; null searches the libraries alone.
    void setBlockInstanceRoot(BlockInstanceArea* pArea);

private:
    friend class BlockSearchViewPrivate;
    QScopedPointer<BlockSearchViewPrivate> d;
};
