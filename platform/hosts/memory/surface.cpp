// Surfaces of the embedded desktop, in their order.

#include <algorithm>
#include <cstring>

#include "platform/hosts/memory/desktop.h"
#include "platform/hosts/memory/parts.h"

namespace memory {

namespace {

// A surface that captures leave out changes nothing for them.
void noteSurface(Desktop& desktop, const Surface& surface) {
    if (!surface.placement.excludedFromCapture) notePicture(desktop);
}

void moveToFront(Desktop& desktop, host::Surface surface) {
    std::erase(desktop.order, surface);
    desktop.order.push_back(surface);
}

}  // namespace

host::Surface createSurface(const std::u16string&) {
    Desktop& desktop = theDesktop();
    const std::lock_guard lock(desktop.mutex);
    const host::Surface surface = desktop.nextSurface++;
    desktop.surfaces.emplace(surface, Surface{});
    desktop.order.push_back(surface);
    return surface;
}

void destroySurface(host::Surface surface) {
    hideSurface(surface);
    Desktop& desktop = theDesktop();
    const std::lock_guard lock(desktop.mutex);
    desktop.surfaces.erase(surface);
    std::erase(desktop.order, surface);
    if (desktop.focused == surface) desktop.focused = 0;
}

void showSurface(host::Surface surface, const host::Placement& placement, bool raise) {
    Desktop& desktop = theDesktop();
    const std::lock_guard lock(desktop.mutex);
    Surface& record = desktop.surfaces.at(surface);
    record.placement = placement;
    record.visible = true;
    if (raise) moveToFront(desktop, surface);
    noteSurface(desktop, record);
}

void presentSurface(host::Surface surface, const host::Picture& picture) {
    Desktop& desktop = theDesktop();
    const std::lock_guard lock(desktop.mutex);
    Surface& record = desktop.surfaces.at(surface);
    record.width = picture.width;
    record.height = picture.height;
    record.pixels.resize(static_cast<std::size_t>(picture.width) *
                         static_cast<std::size_t>(picture.height));
    for (int y = 0; y < picture.height; ++y)
        std::memcpy(record.pixels.data() + static_cast<std::ptrdiff_t>(y) * picture.width,
                    picture.pixels + static_cast<std::ptrdiff_t>(y) * picture.stride,
                    static_cast<std::size_t>(picture.width) * 4);
    noteSurface(desktop, record);
}

// What was presented is forgotten: a surface that is shown again waits for its new picture.
void hideSurface(host::Surface surface) {
    Desktop& desktop = theDesktop();
    const std::lock_guard lock(desktop.mutex);
    Surface& record = desktop.surfaces.at(surface);
    if (!std::exchange(record.visible, false)) return;
    record.pixels.clear();
    noteSurface(desktop, record);
}

bool focusSurface(host::Surface surface) {
    const std::lock_guard lock(theDesktop().mutex);
    theDesktop().focused = surface;
    return true;
}

}  // namespace memory
