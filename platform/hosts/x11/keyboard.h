// Keys: those that come to the program's windows, and the few that are taken from the whole desktop.

#pragma once

#include <xcb/xcb.h>

#include "platform/hosts/host.h"

namespace host::x11 {

bool keyIsDown(UINT key);
bool grabHotKey(UINT modifiers, UINT key);
void releaseHotKey(UINT modifiers, UINT key);
bool grabKeys(KeyGrab wanted);
// Others have the keyboard now and get the releases too, so every key that is down counts as
// released.
void releaseKeysDown();
bool keyboardEvent(const xcb_generic_event_t& event);

}  // namespace host::x11
