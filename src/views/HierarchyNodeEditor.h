#pragma once

#include "zkblockview_export.h"

#include <QScopedPointer>
#include <QString>
#include <QWidget>

class BlockInstanceArea;
class HierarchyNodeEditorPrivate;

// The editor through which an application edits and watches a device area.
// Calling order: construct, place in the parent sub-window, initialize(), setRoot(area).
class ZK_VIEW_EXPORT HierarchyNodeEditor : public QWidget
{
    Q_OBJECT
public:
    explicit HierarchyNodeEditor(QWidget* parent = nullptr);
    ~HierarchyNodeEditor() override;

    void initialize();
    void setRoot(BlockInstanceArea* pRoot);
    void navigateTo(const QString& path);
    QString currentPath() const;

private:
    friend class HierarchyNodeEditorPrivate;
    QScopedPointer<HierarchyNodeEditorPrivate> d;
};
