// The pointer: whose it is, and the capture.

#pragma once

#include <windows.h>

#include "platform/hosts/host.h"

namespace user32 {

// The pointer event as a message to the capturing window or the one under the pointer; false: no
// window of ours.
bool pointerMessage(const host::Event& event, MSG& message);

HWND capture();
// Tells the loser at once, which may be the same window.
void setCapture(HWND window);
void releaseCapture();

}  // namespace user32
