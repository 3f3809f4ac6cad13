// The embedded desktop's monitors.

#include <pthread.h>

#include <algorithm>

#include "platform/hosts/memory/desktop.h"

namespace memory {

namespace {

constexpr std::uint32_t wallpaper = 0xFF2D5570;

// The image of all monitors, new and plain.
void layOut(Desktop& desktop) {
    RECT all = desktop.monitors.front().bounds;
    for (const host::Monitor& monitor : desktop.monitors) {
        all.left = std::min(all.left, monitor.bounds.left);
        all.top = std::min(all.top, monitor.bounds.top);
        all.right = std::max(all.right, monitor.bounds.right);
        all.bottom = std::max(all.bottom, monitor.bounds.bottom);
    }
    desktop.bounds = all;
    desktop.picture.assign(static_cast<std::size_t>(all.right - all.left) *
                               static_cast<std::size_t>(all.bottom - all.top),
                           wallpaper);
}

void setLayout(Desktop& desktop, const std::vector<desktop::MonitorSetup>& setups) {
    desktop.monitors.clear();
    for (const desktop::MonitorSetup& setup : setups) {
        const bool primary = desktop.monitors.empty();
        desktop.monitors.push_back(
            {desktop.nextMonitor++, setup.bounds, setup.rotation, setup.dpi, primary});
    }
    layOut(desktop);
}

void tellOfLayout(Desktop& desktop) {
    ++desktop.generation;
    noteChange(desktop);
    queueEvent(desktop, {.kind = host::Event::LayoutChanged});
}

}  // namespace

std::vector<host::Monitor> Host::monitors() { return Locked()->monitors; }

Desktop::Desktop() {
    setLayout(*this, {{{0, 0, 1920, 1080}, 1, 96}});
    openEvents(*this);
    // One process would drain what wakes the other.
    pthread_atfork(nullptr, nullptr, [] { openEvents(theDesktop()); });
}

Desktop& theDesktop() {
    static Desktop desktop;
    return desktop;
}

}  // namespace memory

namespace desktop {

using memory::Locked;

void setMonitors(const std::vector<MonitorSetup>& setups) {
    const Locked record;
    memory::setLayout(*record, setups);
    memory::tellOfLayout(*record);
}

void changeMonitor(std::size_t index, const MonitorSetup& setup) {
    const Locked record;
    host::Monitor& monitor = record->monitors.at(index);
    monitor = {monitor.id, setup.bounds, setup.rotation, setup.dpi, monitor.primary};
    memory::layOut(*record);
    memory::tellOfLayout(*record);
}

void paintDesktop(const std::function<void(const Canvas&)>& painter) {
    const Locked record;
    const RECT& all = record->bounds;
    const int width = all.right - all.left;
    painter({record->picture.data(), width, all.bottom - all.top, width, {all.left, all.top}});
    memory::noteChange(*record);
}

}  // namespace desktop
