#pragma once

#include "zkblockview_export.h"

#include <QList>
#include <QMetaType>
#include <QScopedPointer>
#include <QString>
#include <QWidget>

class BlockDefinition;
class BlockInstanceHierarchyNode;
class HierarchyViewPrivate;

// The identifiers from the root down; the root's own entry is 0.
typedef QList<uint> ItemPath;
Q_DECLARE_METATYPE(ItemPath)

// The tab "Hierarchie": a table-tree of all block instances below a root, built by walking
// definitions and their code. A double click tells the code view where to go.
class ZK_VIEW_EXPORT HierarchyView : public QWidget
{
    Q_OBJECT
public:
    explicit HierarchyView(QWidget* parent = nullptr);
    ~HierarchyView() override;

    void setRoot(BlockDefinition* pDefinition, BlockInstanceHierarchyNode* pNode);

Q_SIGNALS:
    void showPathInCode(const QString& path);

public Q_SLOTS:
    void selectPath(const QString& path);

private:
    friend class HierarchyViewPrivate;
    QScopedPointer<HierarchyViewPrivate> d;
};
