// The window in which a region is selected and which then frames it. User-interface thread only.

#pragma once

#include <windows.h>

#include "common/capture_region.h"

// Creates the window, hidden. It exists until the process ends, and every selection uses it. When a
// selection ends and the sheet is off the screen, `notifyWindow` receives WM_APP_REGION_SELECTED or
// WM_APP_REGION_CANCELLED.
void createOverlayClass(HINSTANCE instance, HWND notifyWindow);

// Covers the monitor with the dim sheet and waits for a drag. Throws, with nothing changed, if the
// monitor is gone.
void showOverlay(HMONITOR monitor);

// The rectangle of the drag, with even width and height, which are zero after a click. Limits are
// not checked.
CaptureRegion selectedRegion();

// Shows the frame around the region. Mouse input passes through it.
void markRegion(CaptureRegion region);

// Ends a selection without a message and hides the window. Returns when it is off the screen. Does
// nothing if it is hidden.
void hideOverlay();
