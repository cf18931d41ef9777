#pragma once

#include "zkblockview_export.h"

#include <QScopedPointer>
#include <QString>
#include <QWidget>

class BlockDefinition;
class BlockEditorViewPrivate;
class BlockInstanceArea;
class QLabel;

// The complete editor pane: side panels, tool bar, the code view and the bottom panel, with the
// wiring between them, the persisted layout and the rules by which the edit controls follow the
// state of the device area. The code view is made late, in setRoot, after what the root is.
class ZK_VIEW_EXPORT BlockEditorView : public QWidget
{
    Q_OBJECT
public:
    explicit BlockEditorView(QWidget* parent = nullptr);
    ~BlockEditorView() override;

    // Made without a parent; whoever embeds the editor places it.
    QLabel* statusLabel() const;
    QString currentPath() const;

public Q_SLOTS:
    void setRoot(BlockInstanceArea* pRoot);
    void setRoot(BlockDefinition* pRoot);
    void navigateTo(const QString& locationPath);
    void setEnvironmentVisible(bool value);

private:
    friend class BlockEditorViewPrivate;
    QScopedPointer<BlockEditorViewPrivate> d;
};
