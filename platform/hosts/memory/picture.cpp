// What the embedded desktop looks like, to a person and to a capture.

#include <algorithm>
#include <cstring>

#include "platform/hosts/memory/desktop.h"
#include "platform/hosts/memory/parts.h"

namespace memory {

namespace {

// Rows of real devices start at such a distance, and a program that takes it for the width is wrong
// there.
constexpr int rowAlignment = 256;

// Rows of pixels whose first one lies at `area`'s corner.
struct Rows {
    RECT area;
    std::uint8_t* first;
    int pitch;

    std::uint32_t* at(LONG x, LONG y) const {
        return reinterpret_cast<std::uint32_t*>(first +
                                                static_cast<std::ptrdiff_t>(y - area.top) * pitch) +
               (x - area.left);
    }
};

void copyRow(std::uint32_t* target, const std::uint32_t* source, LONG count) {
    std::memcpy(target, source, static_cast<std::size_t>(count) * 4);
}

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

void putSurface(const Surface& surface, const RECT& piece, const Rows& rows) {
    const RECT& bounds = surface.placement.bounds;
    const RECT seen = gdi::intersection(gdi::intersection(piece, bounds), rows.area);
    for (LONG y = seen.top; y < seen.bottom; ++y) {
        const std::uint32_t* const source =
            surface.pixels.data() + static_cast<std::ptrdiff_t>(y - bounds.top) * surface.width +
            (seen.left - bounds.left);
        const LONG count = seen.right - seen.left;
        if (surface.placement.opacity == 255)
            copyRow(rows.at(seen.left, y), source, count);
        else
            mixRow(rows.at(seen.left, y), source, count, surface.placement.opacity);
    }
}

bool isSeen(const Surface& surface, bool forCapture) {
    const RECT& bounds = surface.placement.bounds;
    return surface.visible && !surface.pixels.empty() &&
           surface.width == bounds.right - bounds.left &&
           surface.height == bounds.bottom - bounds.top &&
           !(forCapture && surface.placement.excludedFromCapture);
}

void putSurface(const Surface& surface, const Rows& rows) {
    const RECT& bounds = surface.placement.bounds;
    if (surface.placement.shape.empty()) return putSurface(surface, bounds, rows);
    for (const RECT& piece : surface.placement.shape)
        putSurface(surface, gdi::moved(piece, bounds.left, bounds.top), rows);
}

}  // namespace

// Places that no monitor covers are black.
void composeMonitors(const Desktop& desktop, const RECT& area, std::uint8_t* target, int pitch) {
    const Rows rows{area, target, pitch};
    const RECT seen = gdi::intersection(rows.area, desktop.bounds);
    const LONG count = rows.area.right - rows.area.left;
    for (LONG y = rows.area.top; y < rows.area.bottom; ++y) {
        const bool whole = y >= seen.top && y < seen.bottom && seen.right - seen.left == count;
        if (!whole) std::memset(rows.at(rows.area.left, y), 0, static_cast<std::size_t>(count) * 4);
        if (y < seen.top || y >= seen.bottom) continue;
        const std::ptrdiff_t row = y - desktop.bounds.top;
        copyRow(rows.at(seen.left, y),
                desktop.picture.data() + row * (desktop.bounds.right - desktop.bounds.left) +
                    (seen.left - desktop.bounds.left),
                seen.right - seen.left);
    }
}

void composeSurfaces(const Desktop& desktop, const RECT& area, std::uint8_t* target, int pitch,
                     bool forCapture) {
    const Rows rows{area, target, pitch};
    for (const host::Surface surface : desktop.order) {
        const Surface& record = desktop.surfaces.at(surface);
        if (isSeen(record, forCapture)) putSurface(record, rows);
    }
}

namespace {

void capture(const RECT& area, std::uint8_t* target, int pitch) {
    const std::lock_guard lock(theDesktop().mutex);
    composeMonitors(theDesktop(), area, target, pitch);
    composeSurfaces(theDesktop(), area, target, pitch, true);
}

}  // namespace

void notePicture(Desktop& desktop) {
    ++desktop.version;
    desktop.pictureChanged.notify_all();
}

bool openPictures(std::uintptr_t monitor) {
    Desktop& desktop = theDesktop();
    const std::lock_guard lock(desktop.mutex);
    const bool found = std::any_of(desktop.monitors.begin(), desktop.monitors.end(),
                                   [&](const auto& entry) { return entry.id == monitor; });
    if (desktop.locked || !found) return false;
    desktop.seenVersion = 0;
    desktop.seenGeneration = desktop.generation;
    return true;
}

host::PictureState waitForPicture(DWORD milliseconds) {
    Desktop& desktop = theDesktop();
    std::unique_lock lock(desktop.mutex);
    const auto isLost = [&] { return desktop.generation != desktop.seenGeneration; };
    const auto isNew = [&] {
        return isLost() || desktop.pointerFrames > 0 || desktop.version != desktop.seenVersion;
    };
    desktop.pictureChanged.wait_for(lock, std::chrono::milliseconds(milliseconds), isNew);
    if (isLost()) return host::PictureState::Lost;
    if (desktop.pointerFrames > 0) {
        --desktop.pointerFrames;
        return host::PictureState::PointerMoved;
    }
    const bool changed = std::exchange(desktop.seenVersion, desktop.version) != desktop.version;
    return changed ? host::PictureState::Changed : host::PictureState::Unchanged;
}

host::CapturedPicture readPicture(const RECT& area) {
    const LONG width = area.right - area.left, height = area.bottom - area.top;
    const int pitch = (width * 4 + rowAlignment - 1) / rowAlignment * rowAlignment;
    // The memory of the last picture serves again, unless somebody still has it.
    static std::shared_ptr<std::vector<std::uint8_t>> bytes;
    if (!bytes || bytes.use_count() > 1) bytes = std::make_shared<std::vector<std::uint8_t>>();
    bytes->resize(static_cast<std::size_t>(pitch) * height);
    capture(area, bytes->data(), pitch);
    return {{bytes, bytes->data()}, pitch};
}

}  // namespace memory

namespace desktop {

void addPointerFrames(int count) {
    memory::Desktop& record = memory::theDesktop();
    const std::lock_guard lock(record.mutex);
    record.pointerFrames += count;
    record.pictureChanged.notify_all();
}

std::uint32_t capturedPixel(int x, int y) {
    std::uint32_t pixel = 0;
    memory::capture({x, y, x + 1, y + 1}, reinterpret_cast<std::uint8_t*>(&pixel), 4);
    return pixel & 0xFFFFFF;
}

}  // namespace desktop
