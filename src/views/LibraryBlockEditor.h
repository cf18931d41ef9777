#pragma once

#include "zkblockview_export.h"

#include <QScopedPointer>
#include <QString>
#include <QWidget>

class BlockDefinition;
class LibraryBlockEditorPrivate;

// The editor through which an application edits one library block definition.
class ZK_VIEW_EXPORT LibraryBlockEditor : public QWidget
{
    Q_OBJECT
public:
    explicit LibraryBlockEditor(QWidget* parent = nullptr);
    ~LibraryBlockEditor() override;

    void setRoot(BlockDefinition* pRoot);
    void navigateTo(const QString& path);
    QString currentPath() const;

private:
    friend class LibraryBlockEditorPrivate;
    QScopedPointer<LibraryBlockEditorPrivate> d;
};
