// The rectangles of the overlay, as functions of values.
//
// All in physical pixels. "Desktop" points and rectangles are in virtual-desktop coordinates and
// negative on a monitor left of or above the primary one; right and bottom are exclusive.

#pragma once

#include <windows.h>

#include "common/capture_region.h"

// Thickness of the frame, which lies wholly outside the recorded rectangle.
constexpr int frameThickness = 2;

// The desktop point of a mouse message's LPARAM, for a window whose client origin is the monitor's
// top-left corner.
POINT desktopPoint(LPARAM lparam, const RECT& monitor);

// The rectangle between two desktop points, inside the monitor, of even width and height (zero
// included). Where a size was odd the right or bottom edge gives way, whichever way the drag ran.
CaptureRegion normalisedRegion(POINT anchor, POINT pointer, const RECT& monitor);

// The region in client coordinates of a window that covers the monitor.
RECT regionOnSheet(const CaptureRegion& region, const RECT& monitor);

// Where the frame's window lies: the region grown by the frame on each side, the monitor's edges
// disregarded.
RECT frameBounds(const CaptureRegion& region);

// The region in coordinates of that window: the hole of the frame.
RECT frameHole(const CaptureRegion& region);
