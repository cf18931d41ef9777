#pragma once

#include "zkblockview_export.h"

#include <QColor>

// The colour of a simple type's kind, shared by pins and highlighted connections so that a wire
// and its pins always agree. An invalid colour for kinds without one of their own.
ZK_VIEW_EXPORT QColor typeKindColour(int kind);
