#pragma once

#include "zkblockview_export.h"

#include <QWidget>

#include <memory>

class QUndoStack;
namespace Ui {
class BlockUndoViewClass;
}

// The tab "Undo-Stack": the list of a definition scene's undo stack with two buttons. It does not
// own the stack.
class ZK_VIEW_EXPORT BlockUndoView : public QWidget
{
    Q_OBJECT
public:
    explicit BlockUndoView(QWidget* parent = nullptr);
    ~BlockUndoView() override;

    void setUndoStack(QUndoStack* stack);

private:
    std::unique_ptr<Ui::BlockUndoViewClass> ui;
};
