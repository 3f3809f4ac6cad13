// The one window through which a region is chosen and which then frames it. User-interface thread
// only.

#pragma once

#include <windows.h>

#include "common/capture_region.h"

// Makes the window, hidden. It lives as long as the process; every selection uses it.
// `notifyWindow` is told how a selection ended by WM_APP_REGION_SELECTED or
// WM_APP_REGION_CANCELLED; by then the sheet is off the screen.
void createOverlayClass(HINSTANCE instance, HWND notifyWindow);

// Covers the monitor with the dim sheet and waits for a drag. Throws, with nothing changed, if the
// monitor is gone.
void showOverlay(HMONITOR monitor);

// The rectangle of the drag, of even width and height; zero-sized after a click without a drag. No
// limit is checked.
CaptureRegion selectedRegion();

// Shows the frame round the region; the mouse passes through it.
void markRegion(CaptureRegion region);

// Ends a selection without a message and takes the window off the screen. Returns once the screen
// shows it; safe if the window is hidden already.
void hideOverlay();
