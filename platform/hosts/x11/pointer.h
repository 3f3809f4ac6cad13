// The pointer: where it is, and what it does over the program's windows.

#pragma once

#include <xcb/xcb.h>

#include "platform/hosts/host.h"

namespace host::x11 {

POINT pointer();
// While on, a press anywhere else on the desktop is told too, as an event without surface; it goes
// where it was meant for all the same.
void watchClicksElsewhere(bool on);
bool pointerEvent(const xcb_generic_event_t& event);

}  // namespace host::x11
