// The tray icon.

#pragma once

#include <xcb/xcb.h>

#include "platform/hosts/host.h"

namespace host::x11 {

bool setTrayIcon(const TrayIcon* icon);
bool trayEvent(const xcb_generic_event_t& event);

}  // namespace host::x11
