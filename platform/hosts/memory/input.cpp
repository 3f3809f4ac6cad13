// Scripted input of the embedded desktop, and what the program leaves of it to others.

#include <sys/eventfd.h>

#include <algorithm>

#include "platform/gdi32/canvas.h"
#include "platform/hosts/memory/desktop.h"

namespace memory {

using host::Event;

namespace {

UINT modifiersHeld(const Desktop& desktop) {
    const auto held = [&](UINT left, UINT right, UINT bit) {
        return desktop.keysDown.contains(left) || desktop.keysDown.contains(right) ? bit : 0u;
    };
    return held(VK_LMENU, VK_RMENU, MOD_ALT) | held(VK_LCONTROL, VK_RCONTROL, MOD_CONTROL) |
           held(VK_LSHIFT, VK_RSHIFT, MOD_SHIFT) | held(VK_LWIN, VK_RWIN, MOD_WIN);
}

void queueInput(Desktop& desktop, Event::Kind kind, int button, UINT key) {
    queueEvent(desktop, {.kind = kind,
                         .at = desktop.pointer,
                         .button = button,
                         .key = key,
                         .modifiers = modifiersHeld(desktop),
                         .time = std::chrono::steady_clock::now()});
}

bool isKey(const Event& event) {
    return event.kind == Event::KeyPressed || event.kind == Event::KeyReleased;
}

bool takesPointerAt(const Surface& surface, POINT at) {
    const host::Placement& placement = surface.placement;
    if (!surface.visible || placement.passesMouse || !gdi::contains(placement.bounds, at))
        return false;
    const POINT inside{at.x - placement.bounds.left, at.y - placement.bounds.top};
    const auto holds = [&](const RECT& area) { return gdi::contains(area, inside); };
    return placement.shape.empty() || std::ranges::any_of(placement.shape, holds);
}

host::Surface surfaceAt(const Desktop& desktop, POINT at) {
    for (auto surface = desktop.order.rbegin(); surface != desktop.order.rend(); ++surface)
        if (takesPointerAt(desktop.surfaces.at(*surface), at)) return *surface;
    return 0;
}

bool isOnIcon(const Desktop& desktop) {
    return desktop.trayIcon && gdi::contains(iconArea(desktop), desktop.pointer) &&
           !surfaceAt(desktop, desktop.pointer);
}

// Repeats and the release of a key go where its press went, even if the hook that took the press is
// gone.
bool belongsToTheProgram(Desktop& desktop, const Event& event, bool taken) {
    if (!isKey(event)) return taken;
    const bool pressTaken = desktop.pressesTaken.contains(event.key);
    if (event.kind == Event::KeyReleased)
        desktop.pressesTaken.erase(event.key);
    else if (taken)
        desktop.pressesTaken.insert(event.key);
    return taken || pressTaken;
}

}  // namespace

void openEvents(Desktop& desktop) {
    desktop.eventDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
}

void queueEvent(Desktop& desktop, const Event& event) {
    desktop.events.push_back(event);
    eventfd_write(desktop.eventDescriptor, 1);
}

int Host::eventDescriptor() { return theDesktop().eventDescriptor; }

bool Host::nextEvent(Event& event) {
    const Locked desktop;
    if (desktop->events.empty()) {
        eventfd_t count;
        eventfd_read(desktop->eventDescriptor, &count);
        return false;
    }
    event = desktop->events.front();
    desktop->events.pop_front();
    if (event.kind <= Event::ButtonReleased) event.surface = surfaceAt(*desktop, event.at);
    return true;
}

// A press outside of our surfaces brings another program to the front.
void Host::finishInput(const Event& event, bool taken) {
    if (event.kind == Event::PointerMoved) return;
    const Locked desktop;
    if (belongsToTheProgram(*desktop, event, taken)) return;
    const bool pressed = event.kind == Event::KeyPressed || event.kind == Event::ButtonPressed;
    const UINT code = isKey(event) ? event.key : static_cast<UINT>(event.button);
    desktop->passed.push_back({isKey(event), code, pressed});
    if (isKey(event) || !pressed || !std::exchange(desktop->focused, 0)) return;
    queueEvent(*desktop, {.kind = Event::ActivationLost});
}

POINT Host::pointer() { return Locked()->pointer; }

bool Host::keyIsDown(UINT key) {
    const Locked desktop;
    const UINT held = modifiersHeld(*desktop);
    switch (key) {
    case VK_SHIFT: return held & MOD_SHIFT;
    case VK_CONTROL: return held & MOD_CONTROL;
    case VK_MENU: return held & MOD_ALT;
    default: return desktop->keysDown.contains(key);
    }
}

bool Host::grabHotKey(UINT modifiers, UINT key) {
    return !Locked()->hotKeysOfOthers.contains({modifiers, key});
}

}  // namespace memory

namespace desktop {

using host::Event;
using memory::Locked;

void movePointer(int x, int y) {
    const Locked record;
    const bool wasOnIcon = memory::isOnIcon(*record);
    record->pointer = {x, y};
    memory::queueInput(*record, Event::PointerMoved, 0, 0);
    const bool isOnIcon = memory::isOnIcon(*record);
    if (isOnIcon == wasOnIcon) return;
    memory::queueEvent(*record, {.kind = isOnIcon ? Event::TrayEntered : Event::TrayLeft,
                                 .icon = memory::iconArea(*record)});
}

void pressButton(int button) { memory::queueInput(*Locked(), Event::ButtonPressed, button, 0); }

void releaseButton(int button) { memory::queueInput(*Locked(), Event::ButtonReleased, button, 0); }

void pressKey(UINT key) {
    const Locked record;
    memory::queueInput(*record, Event::KeyPressed, 0, key);
    record->keysDown.insert(key);
}

void releaseKey(UINT key) {
    const Locked record;
    memory::queueInput(*record, Event::KeyReleased, 0, key);
    record->keysDown.erase(key);
}

void takeForeground() {
    const Locked record;
    record->focused = 0;
    memory::queueEvent(*record, {.kind = Event::ActivationLost});
}

void endSession(bool reallyEnds) {
    const Locked record;
    memory::queueEvent(*record, {.kind = Event::SessionQuery});
    memory::queueEvent(*record, {.kind = Event::SessionEnd, .message = reallyEnds});
}

void takeHotKey(UINT modifiers, UINT key) { Locked()->hotKeysOfOthers.insert({modifiers, key}); }

std::vector<PassedInput> inputOfOthers() { return std::exchange(Locked()->passed, {}); }

}  // namespace desktop
