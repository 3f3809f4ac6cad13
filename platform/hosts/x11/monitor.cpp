// The monitors of the display: RandR's monitors and the user's scale. However a monitor is rotated,
// the server's pixels are upright.

#include "platform/hosts/x11/host.h"

#include <xcb/randr.h>

#include <algorithm>
#include <mutex>
#include <string_view>

#include "platform/gdi32/canvas.h"
#include "platform/hosts/x11/display.h"

namespace host::x11 {

namespace {

std::mutex guard;  // The capture thread looks up the monitor that it records.
std::vector<Monitor> known;
std::uintptr_t lastId = 0;

template <typename Fetch, typename Cookie>
auto ask(xcb_connection_t* server, Fetch fetch, Cookie cookie) {
    using Reply = std::remove_pointer_t<decltype(fetch(server, cookie, nullptr))>;
    return Owned<Reply>(fetch(server, cookie, nullptr));
}

UINT readDpi(xcb_connection_t* server) {
    const auto reply = ask(server, xcb_get_property_reply,
                           xcb_get_property(server, 0, root(), XCB_ATOM_RESOURCE_MANAGER,
                                            XCB_ATOM_STRING, 0, 1 << 16));
    if (!reply) return 96;
    const std::string resources(
        static_cast<const char*>(xcb_get_property_value(reply.get())),
        static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
    const std::size_t found = resources.find("Xft.dpi:");
    if (found == std::string::npos) return 96;
    const int dpi = std::atoi(resources.c_str() + found + 8);
    return dpi >= 48 && dpi <= 960 ? static_cast<UINT>(dpi) : 96;
}

bool sameLayout(const Monitor& one, const Monitor& other) {
    return gdi::areSame(one.bounds, other.bounds) && one.dpi == other.dpi &&
           one.primary == other.primary;
}

template <typename Value>
Monitor findBy(Value Monitor::*member, Value value) {
    const std::lock_guard lock(guard);
    const auto found = std::ranges::find(known, value, member);
    return found == known.end() ? Monitor{} : *found;
}

// False if the layout is what it was.
bool refresh() {
    std::vector<Monitor> present = readMonitors(connection());
    const std::lock_guard lock(guard);
    if (std::equal(present.begin(), present.end(), known.begin(), known.end(), sameLayout))
        return false;
    for (Monitor& monitor : present) monitor.id = ++lastId;
    known = std::move(present);
    return true;
}

}  // namespace

std::vector<Monitor> readMonitors(xcb_connection_t* server) {
    const auto reply =
        ask(server, xcb_randr_get_monitors_reply, xcb_randr_get_monitors(server, root(), 1));
    if (!reply) return {};
    std::vector<Monitor> found;
    const UINT dpi = readDpi(server);
    for (auto each = xcb_randr_get_monitors_monitors_iterator(reply.get()); each.rem;
         xcb_randr_monitor_info_next(&each)) {
        Monitor monitor;
        monitor.bounds = {each.data->x, each.data->y, each.data->x + each.data->width,
                          each.data->y + each.data->height};
        monitor.dpi = dpi;
        monitor.primary = each.data->primary != 0;
        found.push_back(monitor);
    }
    const bool hasPrimary = std::ranges::any_of(found, &Monitor::primary);
    if (!found.empty() && !hasPrimary) found.front().primary = true;
    return found;
}

// Only the root window's structure reports a monitor that is defined without a change of outputs.
void watchMonitors(xcb_connection_t* server, std::uint32_t others) {
    const std::uint32_t events =
        XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE | others;
    xcb_change_window_attributes(server, root(), XCB_CW_EVENT_MASK, &events);
    xcb_randr_select_input(server, root(),
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
}

bool tellsOfMonitors(const xcb_generic_event_t& event) {
    const int type = typeOf(event), first = firstEvents().randr;
    if (type == first + XCB_RANDR_SCREEN_CHANGE_NOTIFY || type == first + XCB_RANDR_NOTIFY)
        return true;
    if (type == XCB_PROPERTY_NOTIFY)
        return reinterpret_cast<const xcb_property_notify_event_t&>(event).atom ==
               XCB_ATOM_RESOURCE_MANAGER;
    return type == XCB_CONFIGURE_NOTIFY &&
           reinterpret_cast<const xcb_configure_notify_event_t&>(event).window == root();
}

std::vector<Monitor> X11Host::monitors() {
    const std::lock_guard lock(guard);
    return known;
}

Monitor findMonitor(std::uintptr_t id) { return findBy(&Monitor::id, id); }
Monitor primaryMonitor() { return findBy(&Monitor::primary, true); }

// Such a session has an X display for X11 programs, whose monitors' names may say so.
bool X11Host::isWaylandSession() {
    if (std::getenv("WAYLAND_DISPLAY")) return true;
    const auto reply =
        await(xcb_randr_get_monitors_reply, xcb_randr_get_monitors(connection(), root(), 1));
    if (!reply) return false;
    for (auto each = xcb_randr_get_monitors_monitors_iterator(reply.get()); each.rem;
         xcb_randr_monitor_info_next(&each)) {
        const auto name =
            await(xcb_get_atom_name_reply, xcb_get_atom_name(connection(), each.data->name));
        if (!name) continue;
        const std::string_view text(xcb_get_atom_name_name(name.get()),
                                    xcb_get_atom_name_name_length(name.get()));
        if (text.starts_with("XWAYLAND")) return true;
    }
    return false;
}

// The area of the current desktop, of all monitors together: left, top, width, height.
RECT X11Host::workArea() {
    const RECT whole = primaryMonitor().bounds;
    const auto desktop = numberProperty(root(), atom("_NET_CURRENT_DESKTOP"));
    const auto areas = numberProperty(root(), atom("_NET_WORKAREA"));
    const std::size_t first = desktop.empty() ? 0 : std::size_t{desktop[0]} * 4;
    if (areas.size() < first + 4) return whole;
    const auto value = [&](std::size_t at) { return static_cast<LONG>(areas[first + at]); };
    const RECT area{value(0), value(1), value(0) + value(2), value(1) + value(3)};
    const RECT common = gdi::intersection(whole, area);
    return gdi::isEmpty(common) ? whole : common;
}

void openMonitors() {
    watchMonitors(connection(), XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
    refresh();
}

bool monitorEvent(const xcb_generic_event_t& event) {
    if (!tellsOfMonitors(event)) return false;
    if (refresh()) report({.kind = Event::LayoutChanged});
    return true;
}

}  // namespace host::x11
