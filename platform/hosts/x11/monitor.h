// The monitors of the display.

#pragma once

#include <xcb/xcb.h>

#include <vector>

#include "platform/hosts/host.h"

namespace host::x11 {

// As the server has them now, without ids; any thread with a connection of its own may ask.
std::vector<Monitor> readMonitors(xcb_connection_t* server, xcb_window_t root);
// Makes the server tell that connection of every change of the layout, and of other events at the root window.
void watchMonitors(xcb_connection_t* server, xcb_window_t root, std::uint32_t others = 0);
// Whether that event may mean a change of the layout.
bool tellsOfMonitors(const xcb_generic_event_t& event);

// The monitors under their ids, as of the last event. Callable from any thread.
std::vector<Monitor> monitors();
const Monitor* find(const std::vector<Monitor>& among, std::uintptr_t id);
Monitor primaryMonitor();
// Whether a Wayland session keeps the display for X11 programs, as its monitors' names say.
bool hasMonitorOfWayland();
RECT primaryWorkArea();  // without what panels cover, if the window manager says so

void openMonitors();
// Takes an event that concerns the layout.
bool monitorEvent(const xcb_generic_event_t& event);

}  // namespace host::x11
