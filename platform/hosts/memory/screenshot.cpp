// The embedded desktop as a person sees it: with taskbar, tray icon and balloon, which no capture
// has.

#include <cairo.h>

#include <algorithm>
#include <stdexcept>

#include "platform/gdi32/canvas.h"
#include "platform/hosts/memory/desktop.h"

namespace memory {

namespace {

struct Shot {
    std::vector<std::uint32_t> pixels;
    RECT area;
    gdi::Canvas canvas;
};

RECT onCanvas(const Shot& shot, const RECT& area) {
    return gdi::moved(area, -shot.area.left, -shot.area.top);
}

int scaled(const Desktop& desktop, int length) {
    return length * static_cast<int>(desktop.monitors.front().dpi) / 96;
}

// The shell lies below the windows, so a sheet over the whole monitor dims it too.
void putTaskbar(const Desktop& desktop, Shot& shot) {
    const RECT& screen = desktop.monitors.front().bounds;
    const LONG top = screen.bottom - scaled(desktop, 40);
    gdi::fill(shot.canvas, onCanvas(shot, {screen.left, top, screen.right, screen.bottom}),
              0xFF1F2430);
    if (!desktop.trayIcon) return;
    const host::IconImage icon = desktop.trayIcon->image(scaled(desktop, 16));
    const LONG left = screen.right - scaled(desktop, 48);
    const LONG middle = (top + screen.bottom - icon.side) / 2;
    gdi::blend(shot.canvas, {left - shot.area.left, middle - shot.area.top}, icon.pixels,
               icon.side);
}

void putBalloon(const Desktop& desktop, Shot& shot) {
    if (!desktop.balloon || std::chrono::steady_clock::now() > desktop.balloonUntil) return;
    const auto unit = [&](int length) { return scaled(desktop, length); };
    const gdi::Face plain{unit(12), false}, bold{unit(12), true};
    const int inner = unit(300);
    const LONG text = gdi::measureText(desktop.balloon->text, plain, inner).cy;
    const RECT& screen = desktop.monitors.front().bounds;
    const LONG right = screen.right - unit(12), bottom = screen.bottom - unit(52);
    const RECT box =
        onCanvas(shot, {right - inner - unit(40), bottom - text - unit(48), right, bottom});
    gdi::fill(shot.canvas, box, 0xFFFAFAFA);
    gdi::frame(shot.canvas, box, 0xFF8A8A8A);
    const std::uint32_t mark = desktop.balloon->isError ? 0xFFC42B1C : 0xFF0067C0;
    gdi::fill(shot.canvas, {box.left, box.top, box.left + unit(6), box.bottom}, mark);
    const LONG left = box.left + unit(24);
    gdi::TextStyle style;
    style.face = bold;
    style.color = 0x1A1A1A;
    gdi::drawText(shot.canvas, {left, box.top + unit(12), left + inner, box.bottom},
                  desktop.balloon->title, style);
    style.face = plain;
    gdi::drawText(shot.canvas, {left, box.top + unit(34), left + inner, box.bottom},
                  desktop.balloon->text, style);
}

Shot take(const RECT& area) {
    Desktop& desktop = theDesktop();
    const std::lock_guard lock(desktop.mutex);
    const int width = area.right - area.left, height = area.bottom - area.top;
    Shot shot{std::vector<std::uint32_t>(static_cast<std::size_t>(width) *
                                         static_cast<std::size_t>(height)),
              area,
              {}};
    shot.canvas = {shot.pixels.data(), width, height, width};
    auto* const bytes = reinterpret_cast<std::uint8_t*>(shot.pixels.data());
    composeMonitors(desktop, area, bytes, width * 4);
    putTaskbar(desktop, shot);
    putBalloon(desktop, shot);
    composeSurfaces(desktop, area, bytes, width * 4, false);
    return shot;
}

}  // namespace

}  // namespace memory

namespace desktop {

void saveScreenshot(const std::string& path, const std::optional<RECT>& area) {
    const RECT whole = [] {
        const std::lock_guard lock(memory::theDesktop().mutex);
        return memory::theDesktop().bounds;
    }();
    memory::Shot shot = memory::take(area ? gdi::intersection(*area, whole) : whole);
    cairo_surface_t* const surface = cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(shot.pixels.data()), CAIRO_FORMAT_RGB24, shot.canvas.width,
        shot.canvas.height, shot.canvas.stride * 4);
    const cairo_status_t status = cairo_surface_write_to_png(surface, path.c_str());
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS) throw std::runtime_error("Cannot write " + path);
}

std::uint32_t screenPixel(int x, int y) {
    return memory::take({x, y, x + 1, y + 1}).pixels.front() & 0xFFFFFF;
}

}  // namespace desktop
