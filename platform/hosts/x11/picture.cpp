// The screen's image for the capture thread, on a connection of its own, so that neither thread
// ever waits for the other's answers.
//
// The server cannot leave a window out of an image. The sheet and the frame stay out because they
// are not where one is taken: the sheet is gone when flush returns, and the frame has its hole
// there. A balloon over the region is recorded.

#include "platform/hosts/x11/host.h"

#include <poll.h>
#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "platform/hosts/x11/display.h"

namespace host::x11 {

namespace {

using Clock = std::chrono::steady_clock;

struct View {
    ~View() {
        image.reset();
        if (server) xcb_disconnect(server);
    }

    xcb_connection_t* server = nullptr;
    Monitor monitor;
    xcb_damage_damage_t damage = 0;
    xcb_xfixes_region_t region = 0;
    std::unique_ptr<SharedImage> image;
    std::optional<RECT> area;  // the one that was read last
    // What has changed since: a range of rows of the screen. Rows are contiguous in the image, and
    // the time to fetch them grows with their number.
    LONG staleTop = INT_MAX, staleBottom = INT_MIN;
    bool changed = true, lost = false;
    bool ended = false;  // The display has gone, and with it the session.
};

std::unique_ptr<View> view;

bool hasMonitor(const View& viewed) {
    return std::ranges::any_of(readMonitors(viewed.server), [&](const Monitor& present) {
        return gdi::areSame(present.bounds, viewed.monitor.bounds);
    });
}

void startDamage(View& opened) {
    // Each connection has to name the versions for itself.
    xcb_xfixes_query_version_unchecked(opened.server, 5, 0);
    xcb_damage_query_version_unchecked(opened.server, 1, 1);
    opened.region = xcb_generate_id(opened.server);
    xcb_xfixes_create_region(opened.server, opened.region, 0, nullptr);
    opened.damage = xcb_generate_id(opened.server);
    xcb_damage_create(opened.server, opened.damage, root(), XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
}

bool touches(const xcb_rectangle_t& damaged, const RECT& area) {
    return damaged.x < area.right && damaged.x + damaged.width > area.left &&
           damaged.y < area.bottom && damaged.y + damaged.height > area.top;
}

// Notes all damage so far, after which the server reports the next. The capture reads the same area
// again and again: a change outside of it would cost a copy, a conversion and a sample, all equal
// to the last ones.
void takeDamage() {
    xcb_damage_subtract(view->server, view->damage, XCB_NONE, view->region);
    const Owned<xcb_xfixes_fetch_region_reply_t> reply(xcb_xfixes_fetch_region_reply(
        view->server, xcb_xfixes_fetch_region(view->server, view->region), nullptr));
    if (!reply) return;  // The display has gone.
    const xcb_rectangle_t* const rectangles = xcb_xfixes_fetch_region_rectangles(reply.get());
    const int count = xcb_xfixes_fetch_region_rectangles_length(reply.get());
    for (const xcb_rectangle_t& each : std::span(rectangles, static_cast<std::size_t>(count))) {
        if (view->area && !touches(each, *view->area)) continue;
        view->changed = true;
        view->staleTop = std::min<LONG>(view->staleTop, each.y);
        view->staleBottom = std::max<LONG>(view->staleBottom, each.y + each.height);
    }
}

bool hasEnded() { return view->ended |= xcb_connection_has_error(view->server) != 0; }

void takeEvents() {
    bool damaged = false, layout = false;
    while (const RawEvent event{xcb_poll_for_event(view->server)}) {
        if (typeOf(*event) == firstEvents().damage + XCB_DAMAGE_NOTIFY)
            damaged = true;
        else
            layout |= tellsOfMonitors(*event);
    }
    if (damaged) takeDamage();
    if (layout && !hasMonitor(*view)) view->lost = true;
}

}  // namespace

bool X11Host::openPictures(std::uintptr_t monitor) {
    closePictures();
    auto opened = std::make_unique<View>();
    opened->monitor = findMonitor(monitor);
    opened->server = opened->monitor.id ? connectAgain() : nullptr;
    if (!opened->server) return false;
    watchMonitors(opened->server);
    startDamage(*opened);
    if (!hasMonitor(*opened)) return false;
    view = std::move(opened);
    return true;
}

PictureState X11Host::waitForPicture(DWORD milliseconds) {
    if (!view) return PictureState::Lost;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        takeEvents();
        // No monitor is found on a display that has gone, but its end is the end of the session.
        if (!hasEnded() && view->lost) return PictureState::Lost;
        if (std::exchange(view->changed, false)) return PictureState::Changed;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) return PictureState::Unchanged;
        // An ended connection is always readable; without a descriptor the time just passes.
        pollfd descriptor{view->ended ? -1 : xcb_get_file_descriptor(view->server), POLLIN, 0};
        poll(&descriptor, 1, static_cast<int>(left));
    }
}

// After the display has gone the image stays what it was, so that the clip can be finished.
CapturedPicture X11Host::readPicture(const RECT& area) {
    const int width = area.right - area.left, height = area.bottom - area.top;
    if (!view || width <= 0 || height <= 0) return {};
    takeDamage();  // whether its event has come yet or not
    view->changed = false;
    if (!view->area || !gdi::areSame(*view->area, area)) {
        view->image = shareImage(view->server, width, height);
        if (!view->image) return {};
        view->area = area;
        view->staleTop = area.top;
        view->staleBottom = area.bottom;
    }
    const LONG first = std::max(view->staleTop, area.top);
    const LONG end = std::min(view->staleBottom, area.bottom);
    view->staleTop = INT_MAX;
    view->staleBottom = INT_MIN;
    SharedImage& image = *view->image;
    if (first < end && !image.fetch(area.left, area.top, first - area.top, end - area.top) &&
        !hasEnded())
        return {};
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(image.pixels);
    return {{image.memory, bytes}, width * 4};
}

void X11Host::closePictures() { view.reset(); }

}  // namespace host::x11
