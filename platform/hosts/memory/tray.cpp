// The embedded desktop's taskbar, with one icon and one balloon at a time, its clipboard and its
// name.

#include <unistd.h>

#include <cstdlib>

#include "platform/hosts/memory/desktop.h"

namespace memory {

// Each process has a desktop of its own, unless it is told the name of one that it shares.
std::string Host::session() {
    const char* const shared = std::getenv("EMBEDDED_DESKTOP");
    return shared ? shared : "memory-" + std::to_string(getpid());
}

bool Host::openClipboard() { return !Locked()->clipboardHeld; }

void Host::setTrayIcon(const host::TrayIcon* icon) {
    const Locked desktop;
    desktop->trayIcon = icon ? std::optional(*icon) : std::nullopt;
    if (!icon) desktop->balloon.reset();
}

void Host::showBalloon(const host::Balloon& balloon) {
    const Locked desktop;
    desktop->balloon = balloon;
    desktop->balloonUntil = std::chrono::steady_clock::now() + std::chrono::seconds(5);
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
    record->balloon.reset();
    memory::queueEvent(*record, {.kind = host::Event::TaskbarCreated});
}

void holdClipboard(bool held) { Locked()->clipboardHeld = held; }

}  // namespace desktop

namespace host {

Host& memoryHost() {
    static memory::Host host;
    return host;
}

}  // namespace host
