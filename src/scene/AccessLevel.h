#pragma once

#include "System.h"

#include <QtGlobal>

// What the user's access level allows in the component, in one place: every test of the level
// goes through reached(), so a threshold is read as "from this level up".
namespace AccessLevel {

// Editing code at all.
constexpr quint32 Edit = 3;
// The undo stack of an edited definition is shown from here.
constexpr quint32 UndoView = 4;
// The top level: the program of a whole area, identifiers beside block numbers, location paths of
// pins, taking standard blocks apart, text export, and what else is for the suite's own engineers.
constexpr quint32 Top = System::MaximumAccessLevel;

inline bool reached(quint32 level)
{
    return System::instance().userAccessLevelCode() >= level;
}

} // namespace AccessLevel
