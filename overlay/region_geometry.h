// The rectangles of the overlay.
//
// All in physical pixels. "Desktop" points and rectangles are in virtual-desktop coordinates,
// negative on a monitor left of or above the primary one. Right and bottom are exclusive.

#pragma once

#include <windows.h>

#include "common/capture_region.h"

// Thickness of the frame, which is wholly outside the recorded rectangle.
constexpr int frameThickness = 2;

// The desktop point of a mouse message's LPARAM, for a window whose client origin is the monitor's
// top-left corner.
POINT desktopPoint(LPARAM lparam, const RECT& monitor);

// The rectangle between two desktop points, inside the monitor, with even width and height, which
// can be zero. An odd size loses its right column or bottom row, whatever the direction of the
// drag.
CaptureRegion normalisedRegion(POINT anchor, POINT pointer, const RECT& monitor);

// The region in client coordinates of a window that covers the monitor.
RECT regionOnSheet(const CaptureRegion& region, const RECT& monitor);

// Bounds of the frame's window: the region plus the frame on each side, even beyond the monitor.
RECT frameBounds(const CaptureRegion& region);

// The region in coordinates of that window, where the frame has its hole.
RECT frameHole(const CaptureRegion& region);
