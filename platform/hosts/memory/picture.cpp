// What the embedded desktop shows, to a capture and to the user, who also sees a taskbar with the
// tray icon and a balloon.

#include <cairo.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "platform/gdi32/canvas.h"
#include "platform/hosts/balloon.h"
#include "platform/hosts/memory/desktop.h"

namespace memory {

using desktop::Canvas;

namespace {

// Rows of real devices start at such a distance, and a program that takes it for the width is wrong
// there.
constexpr int rowAlignment = 256;

struct Layer {
    const RECT& bounds;
    const std::uint32_t* pixels;
    std::uint32_t opacity;
};

void mixRow(std::uint32_t* target, const std::uint32_t* source, LONG count, std::uint32_t opacity) {
    for (LONG x = 0; x < count; ++x) {
        std::uint32_t mixed = 0xFF000000;
        for (int shift = 0; shift < 24; shift += 8) {
            const std::uint32_t above = source[x] >> shift & 0xFF,
                                below = target[x] >> shift & 0xFF;
            mixed |= (above * opacity + below * (255 - opacity) + 127) / 255 << shift;
        }
        target[x] = mixed;
    }
}

RECT areaOf(const Canvas& canvas) {
    return {canvas.origin.x, canvas.origin.y, canvas.origin.x + canvas.width,
            canvas.origin.y + canvas.height};
}

void put(const Layer& layer, const RECT& piece, const Canvas& target) {
    const RECT& bounds = layer.bounds;
    const RECT seen = gdi::intersection(gdi::intersection(piece, bounds), areaOf(target));
    const LONG count = seen.right - seen.left;
    for (LONG y = seen.top; y < seen.bottom; ++y) {
        const std::uint32_t* const from =
            layer.pixels +
            static_cast<std::ptrdiff_t>(y - bounds.top) * (bounds.right - bounds.left) +
            (seen.left - bounds.left);
        std::uint32_t* const to = target.pixels +
                                  static_cast<std::ptrdiff_t>(y - target.origin.y) * target.stride +
                                  (seen.left - target.origin.x);
        if (layer.opacity == 255)
            std::copy_n(from, count, to);
        else
            mixRow(to, from, count, layer.opacity);
    }
}

// What the monitors show without windows. Positions that no monitor covers are black.
void putMonitors(const Desktop& desktop, const Canvas& target) {
    const RECT area = areaOf(target);
    if (gdi::difference(area, desktop.bounds).size())
        std::fill_n(target.pixels, static_cast<std::ptrdiff_t>(target.height) * target.stride, 0);
    put({desktop.bounds, desktop.picture.data(), 255}, area, target);
}

bool isSeen(const Surface& surface) {
    const RECT& bounds = surface.placement.bounds;
    return surface.visible && !surface.pixels.empty() &&
           surface.width == bounds.right - bounds.left &&
           surface.height == bounds.bottom - bounds.top;
}

void putSurfaces(const Desktop& desktop, bool forCapture, const Canvas& target) {
    for (const host::Surface surface : desktop.order) {
        const Surface& record = desktop.surfaces.at(surface);
        const host::Placement& placement = record.placement;
        if (!isSeen(record) || (forCapture && placement.excludedFromCapture)) continue;
        const Layer layer{placement.bounds, record.pixels.data(), placement.opacity};
        if (placement.shape.empty()) put(layer, placement.bounds, target);
        for (const RECT& piece : placement.shape)
            put(layer, gdi::moved(piece, placement.bounds.left, placement.bounds.top), target);
    }
}

void capture(const Canvas& target) {
    const Locked desktop;
    putMonitors(*desktop, target);
    putSurfaces(*desktop, true, target);
}

int scaled(const Desktop& desktop, int length) {
    return length * static_cast<int>(desktop.monitors.front().dpi) / 96;
}

RECT onCanvas(const Canvas& canvas, const RECT& area) {
    return gdi::moved(area, -canvas.origin.x, -canvas.origin.y);
}

gdi::Canvas plain(const Canvas& canvas) {
    return {canvas.pixels, canvas.width, canvas.height, canvas.stride};
}

// The shell is below the windows, so a sheet over the whole monitor dims it too.
void putTaskbar(const Desktop& desktop, const Canvas& target) {
    const RECT& screen = desktop.monitors.front().bounds;
    const LONG top = screen.bottom - scaled(desktop, 40);
    gdi::fill(plain(target), onCanvas(target, {screen.left, top, screen.right, screen.bottom}),
              0xFF1F2430);
    if (!desktop.trayIcon) return;
    const host::IconImage icon = desktop.trayIcon->image(scaled(desktop, 16));
    const LONG left = screen.right - scaled(desktop, 48);
    const LONG middle = (top + screen.bottom - icon.side) / 2;
    gdi::blend(plain(target), {left - target.origin.x, middle - target.origin.y}, icon.pixels,
               icon.side);
}

void putBalloon(const Desktop& desktop, const Canvas& target) {
    if (!desktop.balloon || std::chrono::steady_clock::now() > desktop.balloonUntil) return;
    const host::Monitor& screen = desktop.monitors.front();
    const host::BalloonImage image = host::paintBalloon(*desktop.balloon, screen.dpi);
    const LONG right = screen.bounds.right - scaled(desktop, 12),
               bottom = screen.bounds.bottom - scaled(desktop, 52);
    const RECT box{right - image.width, bottom - image.height, right, bottom};
    put({box, image.pixels.data(), 255}, box, target);
}

// As the user sees it.
void show(const Canvas& target) {
    const Locked desktop;
    putMonitors(*desktop, target);
    putTaskbar(*desktop, target);
    putBalloon(*desktop, target);
    putSurfaces(*desktop, false, target);
}

}  // namespace

void noteChange(Desktop& desktop) {
    ++desktop.version;
    desktop.pictureChanged.notify_all();
}

bool Host::openPictures(std::uintptr_t monitor) {
    const Locked desktop;
    const auto found = std::ranges::find(desktop->monitors, monitor, &host::Monitor::id);
    if (desktop->locked || found == desktop->monitors.end()) return false;
    desktop->seenVersion = 0;
    desktop->seenGeneration = desktop->generation;
    return true;
}

host::PictureState Host::waitForPicture(DWORD milliseconds) {
    Locked desktop;
    const auto isLost = [&] { return desktop->generation != desktop->seenGeneration; };
    desktop->pictureChanged.wait_for(desktop.lock, std::chrono::milliseconds(milliseconds), [&] {
        return isLost() || desktop->pointerFrames > 0 || desktop->version != desktop->seenVersion;
    });
    if (isLost()) return host::PictureState::Lost;
    if (desktop->pointerFrames > 0) {
        --desktop->pointerFrames;
        return host::PictureState::PointerMoved;
    }
    const bool changed = std::exchange(desktop->seenVersion, desktop->version) != desktop->version;
    return changed ? host::PictureState::Changed : host::PictureState::Unchanged;
}

host::CapturedPicture Host::readPicture(const RECT& area) {
    const LONG width = area.right - area.left, height = area.bottom - area.top;
    const int pitch = (width * 4 + rowAlignment - 1) / rowAlignment * rowAlignment;
    // The memory of the last image serves again, unless somebody still has it.
    static std::shared_ptr<std::vector<std::uint8_t>> bytes;
    if (!bytes || bytes.use_count() > 1) bytes = std::make_shared<std::vector<std::uint8_t>>();
    bytes->resize(static_cast<std::size_t>(pitch) * height);
    capture({reinterpret_cast<std::uint32_t*>(bytes->data()),
             width,
             height,
             pitch / 4,
             {area.left, area.top}});
    return {{bytes, bytes->data()}, pitch};
}

}  // namespace memory

namespace desktop {

void addPointerFrames(int count) {
    const memory::Locked record;
    record->pointerFrames += count;
    record->pictureChanged.notify_all();
}

std::uint32_t capturedPixel(int x, int y) {
    std::uint32_t pixel = 0;
    memory::capture({&pixel, 1, 1, 1, {x, y}});
    return pixel & 0xFFFFFF;
}

std::uint32_t screenPixel(int x, int y) {
    std::uint32_t pixel = 0;
    memory::show({&pixel, 1, 1, 1, {x, y}});
    return pixel & 0xFFFFFF;
}

void saveScreenshot(const std::string& path, const std::optional<RECT>& area) {
    const RECT whole = memory::Locked()->bounds;
    const RECT seen = area ? gdi::intersection(*area, whole) : whole;
    const int width = seen.right - seen.left, height = seen.bottom - seen.top;
    cairo_surface_t* const surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    memory::show({reinterpret_cast<std::uint32_t*>(cairo_image_surface_get_data(surface)),
                  width,
                  height,
                  cairo_image_surface_get_stride(surface) / 4,
                  {seen.left, seen.top}});
    cairo_surface_mark_dirty(surface);
    const cairo_status_t status = cairo_surface_write_to_png(surface, path.c_str());
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS) throw std::runtime_error("Cannot write " + path);
}

}  // namespace desktop
