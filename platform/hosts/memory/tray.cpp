// The embedded desktop's taskbar: one icon, one balloon at a time.

#include "platform/hosts/memory/desktop.h"
#include "platform/hosts/memory/parts.h"

namespace memory {

namespace {

constexpr std::chrono::seconds balloonTime{5};

void queueTray(Desktop& desktop, host::Event::Kind kind, UINT message) {
    host::Event event;
    event.kind = kind;
    event.message = message;
    queueEvent(desktop, event);
}

}  // namespace

bool setTrayIcon(const host::TrayIcon* icon) {
    Desktop& desktop = theDesktop();
    const std::lock_guard lock(desktop.mutex);
    if (!icon) {
        desktop.trayIcon.reset();
        desktop.balloon.reset();
        return true;
    }
    desktop.trayIcon = *icon;
    return true;
}

void showBalloon(const host::Balloon& balloon) {
    Desktop& desktop = theDesktop();
    const std::lock_guard lock(desktop.mutex);
    desktop.balloon = balloon;
    desktop.balloonUntil = std::chrono::steady_clock::now() + balloonTime;
}

}  // namespace memory

namespace desktop {

using memory::Desktop;
using memory::theDesktop;

void clickTray(UINT mouseMessage) {
    Desktop& record = theDesktop();
    const std::lock_guard lock(record.mutex);
    if (record.trayIcon) memory::queueTray(record, host::Event::TrayMouse, mouseMessage);
}

void restartShell() {
    Desktop& record = theDesktop();
    const std::lock_guard lock(record.mutex);
    record.trayIcon.reset();
    record.balloon.reset();
    memory::queueTray(record, host::Event::TaskbarCreated, 0);
}

void holdClipboard(bool held) {
    const std::lock_guard lock(theDesktop().mutex);
    theDesktop().clipboardHeld = held;
}

}  // namespace desktop
