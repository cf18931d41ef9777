#include "BlockUndoView.h"

#include "ui_BlockUndoView.h"

#include <QPushButton>
#include <QUndoStack>
#include <QUndoView>

BlockUndoView::BlockUndoView(QWidget* parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::BlockUndoViewClass>())
{
    setProperty("HelpId", QStringLiteral("BlockUndoView"));
    ui->setupUi(this);
    // Without a stack the buttons would do nothing; they say so.
    ui->buttonUndo->setEnabled(false);
    ui->buttonRedo->setEnabled(false);
}

BlockUndoView::~BlockUndoView() = default;

void BlockUndoView::setUndoStack(QUndoStack* stack)
{
    if (!stack) {
        ui->undoView->setStack(nullptr);
        ui->buttonUndo->disconnect();
        ui->buttonRedo->disconnect();
        ui->buttonUndo->setEnabled(false);
        ui->buttonRedo->setEnabled(false);
        return;
    }
    // The history of another editing session means nothing here: the stack starts empty when shown.
    stack->clear();
    ui->undoView->setStack(stack);
    // An earlier stack keeps its connections until a null stack comes: a click then works on both.
    connect(ui->buttonUndo, &QPushButton::clicked, stack, &QUndoStack::undo);
    connect(ui->buttonRedo, &QPushButton::clicked, stack, &QUndoStack::redo);
    ui->buttonUndo->setEnabled(true);
    ui->buttonRedo->setEnabled(true);
}
