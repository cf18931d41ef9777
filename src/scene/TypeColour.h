#pragma once

#include "zkblockview_export.h"

#include <QColor>

class QPen;

// The colour of a simple type's kind, shared by pins and highlighted connections so that a wire
// and its pins always agree. An invalid colour for kinds without one of their own.
ZK_VIEW_EXPORT QColor typeKindColour(int kind);

// A cosmetic pen of width 0 in that colour. Painting asks for one for every pin in view, and a pen
// made anew each time costs an allocation; these are made once.
ZK_VIEW_EXPORT const QPen& typeKindCosmeticPen(int kind);
