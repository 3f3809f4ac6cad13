// Which keys stop here before anyone else sees them.

#pragma once

#include <xcb/xcb.h>

#include "platform/hosts/host.h"

namespace host::x11 {

bool grabHotKey(UINT modifiers, UINT key);
void releaseHotKey(UINT modifiers, UINT key);
bool hookKeys(bool on);
bool keysAreHooked();
void grabAnew();  // after the keyboard's layout has changed

}  // namespace host::x11
