// Surfaces of the embedded desktop, in their order.

#include <algorithm>

#include "platform/hosts/memory/desktop.h"

namespace memory {

namespace {

// A surface that captures leave out changes nothing for them.
void noteSurface(Desktop& desktop, const Surface& surface) {
    if (!surface.placement.excludedFromCapture) noteChange(desktop);
}

}  // namespace

host::Surface Host::createSurface(const std::u16string&) {
    const Locked desktop;
    const host::Surface surface = desktop->nextSurface++;
    desktop->surfaces[surface];
    desktop->order.push_back(surface);
    return surface;
}

void Host::destroySurface(host::Surface surface) {
    hideSurface(surface);
    const Locked desktop;
    desktop->surfaces.erase(surface);
    std::erase(desktop->order, surface);
    if (desktop->focused == surface) desktop->focused = 0;
}

void Host::showSurface(host::Surface surface, const host::Placement& placement, bool raise) {
    const Locked desktop;
    Surface& record = desktop->surfaces.at(surface);
    record.placement = placement;
    record.visible = true;
    if (raise) {
        std::erase(desktop->order, surface);
        desktop->order.push_back(surface);
    }
    noteSurface(*desktop, record);
}

void Host::presentSurface(host::Surface surface, const gdi::Canvas& canvas) {
    const Locked desktop;
    Surface& record = desktop->surfaces.at(surface);
    record.width = canvas.width;
    record.height = canvas.height;
    record.pixels.clear();
    for (int y = 0; y < canvas.height; ++y) {
        const std::uint32_t* const row = canvas.pixels + std::ptrdiff_t(y) * canvas.stride;
        record.pixels.insert(record.pixels.end(), row, row + canvas.width);
    }
    noteSurface(*desktop, record);
}

// What was presented is forgotten: a surface that is shown again waits for its new image.
void Host::hideSurface(host::Surface surface) {
    const Locked desktop;
    Surface& record = desktop->surfaces.at(surface);
    if (!std::exchange(record.visible, false)) return;
    record.pixels.clear();
    noteSurface(*desktop, record);
}

bool Host::focusSurface(host::Surface surface) {
    Locked()->focused = surface;
    return true;
}

}  // namespace memory
