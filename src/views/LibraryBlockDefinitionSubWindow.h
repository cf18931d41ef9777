#pragma once

#include "MdiSubWindow.h"
#include "zkblockview_export.h"

#include <QScopedPointer>

class BlockDefinition;
class LibraryBlockDefinitionSubWindowPrivate;
class QCloseEvent;

// The sub-window of the application's MDI area in which one library block definition is edited.
// There is at most one per definition: the definition remembers it, and closing it deletes it.
class ZK_VIEW_EXPORT LibraryBlockDefinitionSubWindow : public MdiSubWindow
{
    Q_OBJECT
public:
    // The definition's window, made on first use. Null for a null definition.
    static LibraryBlockDefinitionSubWindow* forDefinition(BlockDefinition* pDefinition);
    ~LibraryBlockDefinitionSubWindow() override;

    BlockDefinition* definition() const;
    QString title() override;
    // One hidden status bar serves every library sub-window: what editors put there is not seen.
    QStatusBar* statusBar() override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    explicit LibraryBlockDefinitionSubWindow(BlockDefinition* pDefinition);

    friend class LibraryBlockDefinitionSubWindowPrivate;
    QScopedPointer<LibraryBlockDefinitionSubWindowPrivate> d;
};
