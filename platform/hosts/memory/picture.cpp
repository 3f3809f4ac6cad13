// What the embedded desktop shows, to a capture and to the user, who also sees a taskbar with the
// tray icon.

#include <cairo.h>

#include <algorithm>
#include <stdexcept>

#include "platform/gdi32/canvas.h"
#include "platform/hosts/memory/desktop.h"

namespace memory {

using desktop::Canvas;

namespace {

// Real devices align their rows like this, and a program that takes the pitch for the width fails
// there.
constexpr int rowAlignment = 256;

void addArea(const gdi::Cairo& context, const RECT& area) {
    cairo_rectangle(context.get(), area.left, area.top, area.right - area.left,
                    area.bottom - area.top);
}

void put(const gdi::Cairo& context, const std::uint32_t* pixels, const RECT& bounds,
         BYTE opacity = 255, cairo_format_t format = CAIRO_FORMAT_RGB24) {
    const int width = bounds.right - bounds.left;
    auto* const bytes = reinterpret_cast<unsigned char*>(const_cast<std::uint32_t*>(pixels));
    const gdi::CairoSurface image(cairo_image_surface_create_for_data(
        bytes, format, width, bounds.bottom - bounds.top, width * 4));
    cairo_set_source_surface(context.get(), image.get(), bounds.left, bounds.top);
    cairo_paint_with_alpha(context.get(), opacity / 255.0);
}

// What the monitors show without windows, in the coordinates of the desktop. Outside of its bounds
// everything is black.
gdi::Cairo putMonitors(const Desktop& desktop, const Canvas& target) {
    gdi::Cairo context = gdi::cairoOn({target.pixels, target.width, target.height, target.stride});
    cairo_translate(context.get(), -target.origin.x, -target.origin.y);
    cairo_paint(context.get());
    put(context, desktop.picture.data(), desktop.bounds);
    return context;
}

bool isSeen(const Surface& surface) {
    const RECT& bounds = surface.placement.bounds;
    return surface.visible && !surface.pixels.empty() &&
           surface.width == bounds.right - bounds.left &&
           surface.height == bounds.bottom - bounds.top;
}

void putSurfaces(const Desktop& desktop, bool forCapture, const gdi::Cairo& context) {
    for (const host::Surface surface : desktop.order) {
        const Surface& record = desktop.surfaces.at(surface);
        const auto& [bounds, opacity, shape, passesMouse, isExcluded, topmost] = record.placement;
        if (!isSeen(record) || (forCapture && isExcluded)) continue;
        for (const RECT& piece : shape)
            addArea(context, gdi::moved(piece, bounds.left, bounds.top));
        if (!shape.empty()) cairo_clip(context.get());
        put(context, record.pixels.data(), bounds, opacity);
        cairo_reset_clip(context.get());
    }
}

void capture(const Canvas& target) {
    const Locked desktop;
    putSurfaces(*desktop, true, putMonitors(*desktop, target));
}

// The taskbar is below the windows, so a sheet over the whole monitor dims it too.
void putTaskbar(const Desktop& desktop, const gdi::Cairo& context) {
    RECT bar = desktop.monitors.front().bounds;
    bar.top = workArea(desktop).bottom;
    gdi::setColor(context, 0x1F2430);
    addArea(context, bar);
    cairo_fill(context.get());
    if (!desktop.trayIcon) return;
    const RECT area = iconArea(desktop);
    const host::IconImage icon = desktop.trayIcon->image(area.right - area.left);
    put(context, icon.pixels.data(),
        {area.left, area.top, area.left + icon.side, area.top + icon.side}, 255,
        CAIRO_FORMAT_ARGB32);
}

// As the user sees it.
void show(const Canvas& target) {
    const Locked desktop;
    const gdi::Cairo context = putMonitors(*desktop, target);
    putTaskbar(*desktop, context);
    putSurfaces(*desktop, false, context);
}

}  // namespace

void noteChange(Desktop& desktop) {
    ++desktop.version;
    desktop.pictureChanged.notify_all();
}

bool Host::openPictures(std::uintptr_t monitor) {
    const Locked desktop;
    const auto found = std::ranges::find(desktop->monitors, monitor, &host::Monitor::id);
    if (found == desktop->monitors.end()) return false;
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
    // The memory of the last image is used again, unless it is still referenced.
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
