#include "MdiSubWindow.h"

MdiSubWindow::MdiSubWindow()
    : QMdiSubWindow(nullptr)
{
}

MdiSubWindow::~MdiSubWindow() = default;
