// The embedded desktop's taskbar with one icon, its clipboard and its name.

#include <unistd.h>

#include <cstdlib>

#include "platform/gdi32/canvas.h"
#include "platform/hosts/memory/desktop.h"

namespace memory {

// Each process has a desktop of its own, unless EMBEDDED_DESKTOP names one that it shares.
std::string Host::session() {
    const char* const shared = std::getenv("EMBEDDED_DESKTOP");
    return shared ? shared : "memory-" + std::to_string(getpid());
}

void Host::setTrayIcon(const host::TrayIcon* icon) {
    Locked()->trayIcon = icon ? std::optional(*icon) : std::nullopt;
}

RECT Host::workArea() { return memory::workArea(*Locked()); }

RECT workArea(const Desktop& desktop) {
    RECT area = desktop.monitors.front().bounds;
    area.bottom -= gdi::scaled(40, desktop.monitors.front().dpi);
    return area;
}

// In the middle of the taskbar's height.
RECT iconArea(const Desktop& desktop) {
    const auto& [id, bounds, rotation, dpi, primary] = desktop.monitors.front();
    const LONG left = bounds.right - gdi::scaled(48, dpi), side = gdi::scaled(16, dpi);
    const LONG top = bounds.bottom - gdi::scaled(28, dpi);
    return {left, top, left + side, top + side};
}

}  // namespace memory

namespace desktop {

using memory::Locked;

void clickTray(UINT mouseMessage) {
    const Locked record;
    if (record->trayIcon)
        memory::queueEvent(*record, {.kind = host::Event::TrayMouse, .message = mouseMessage});
}

void restartShell() {
    const Locked record;
    record->trayIcon.reset();
    memory::queueEvent(*record, {.kind = host::Event::TaskbarCreated});
}

}  // namespace desktop

namespace host {

Host& memoryHost() {
    static memory::Host host;
    return host;
}

}  // namespace host
