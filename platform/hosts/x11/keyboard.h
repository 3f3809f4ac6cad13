// Keys: those that come to the program's windows, and those that it sees before anyone else.

#pragma once

#include <xcb/xcb.h>

#include "platform/hosts/host.h"

namespace host::x11 {

bool keyIsDown(UINT key);
void finishInput(const Event& event, bool taken);
bool keyboardEvent(const xcb_generic_event_t& event);

}  // namespace host::x11
