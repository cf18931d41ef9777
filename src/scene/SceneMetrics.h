#pragma once

#include <QPointF>
#include <QtGlobal>

#include <cmath>

// The shared measures of every code scene, in scene units (a model unit is 1000): the layers items
// stand in, the rasters things snap to and how, the insets of block bodies, and what a pin shows.
// An item names these rather than spelling out the numbers.

namespace SceneZ {

// The scene's background and the lines of the edit grid.
constexpr qreal Background = -10000.0;
// The tinted sheet of a definition's edit grid, just above the background; nothing below or at this
// layer says where the code is.
constexpr qreal GridSheet = -9999.0;
// Pin stubs lie under their block, so a block's body covers where they meet it.
constexpr qreal PinStub = -3.0;
constexpr qreal Block = -2.0;
constexpr qreal Connection = 1.0;
constexpr qreal ConnectionNode = 1.1;
// A selected connection and its nodes come to the front of the others.
constexpr qreal SelectedConnection = 2.0;
constexpr qreal SelectedConnectionNode = 2.1;
// Signal labels over everything of the code: the leader line, the label, its host on the pin.
constexpr qreal SignalLabelLeader = 3.0;
constexpr qreal SignalLabel = 3.1;
constexpr qreal SignalLabelHost = 3.2;
// The markers of a pin's remanence and initial value, the latter on top.
constexpr qreal RemanentMarker = 3.2;
constexpr qreal InitialValueMarker = 3.3;

} // namespace SceneZ

namespace SceneRaster {

// Blocks, and group moves that hold a block.
constexpr qreal Block = 1000.0;
// Connection nodes moved alone.
constexpr qreal Node = 500.0;
// Signal labels.
constexpr qreal Label = 250.0;

} // namespace SceneRaster

namespace SceneInset {

// A block's body stands this far inside its rectangle at top and bottom.
constexpr qreal BlockBody = 50.0;
// Texts keep this distance from the body's sides.
constexpr qreal BlockText = 50.0;

} // namespace SceneInset

// Every rounding to a raster in the scenes. Three kinds exist, and each place that snaps uses the kind
// its users know: a block or a lone node lands on the nearest line with the sum truncated toward zero
// (so -0.7 rasters become 0, not -1); a label and the steps of a group move round halves away from
// zero; a text or label box grows to the next line above with at least one raster of slack.
namespace SceneSnap {

inline qreal truncated(qreal value, qreal raster)
{
    // Adding zero turns a negative zero into zero, so that a snapped coordinate reads the same
    // whichever side of the origin it came from.
    return std::trunc(value / raster + 0.5) * raster + 0.0;
}

inline QPointF truncated(const QPointF& point, qreal raster)
{
    return QPointF(truncated(point.x(), raster), truncated(point.y(), raster));
}

inline qreal nearest(qreal value, qreal raster)
{
    return std::round(value / raster) * raster;
}

inline QPointF nearest(const QPointF& point, qreal raster)
{
    return QPointF(nearest(point.x(), raster), nearest(point.y(), raster));
}

inline qreal upWithSlack(qreal value, qreal raster)
{
    return std::trunc(value / raster + 1.0) * raster;
}

} // namespace SceneSnap

// What the pins of a hierarchy scene show. The scene's interface carries the mode as an int, as the
// host and the menu store it; inside, it is named.
namespace PinDisplay {

enum Mode : int {
    Name = 0,
    LocationPath = 1,
    MemoryAddress = 2,
    CurrentValue = 3,
};

} // namespace PinDisplay
