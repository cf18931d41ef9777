#pragma once

#include <QString>
#include <QStringList>

class QAction;
class QMenu;

// A menu's entries as a user reads them. Only the menu's own entries count, not those of its
// submenus.

// The first entry with exactly this text, or null.
QAction* actionNamed(const QMenu* menu, const QString& text);
// The texts of the entries in their order, separators left out.
QStringList actionTexts(const QMenu* menu);
// The same with each separator as "|", for tests of where a menu is divided.
QStringList actionTextsWithSeparators(const QMenu* menu);
