// Scripted input of the embedded desktop, and what the program leaves of it to others.

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>

#include "platform/hosts/memory/desktop.h"
#include "platform/hosts/memory/parts.h"

namespace memory {

namespace {

UINT modifiersHeld(const Desktop& desktop) {
    const auto held = [&](UINT left, UINT right, UINT bit) {
        return desktop.keysDown.contains(left) || desktop.keysDown.contains(right) ? bit : 0u;
    };
    return held(VK_LMENU, VK_RMENU, MOD_ALT) | held(VK_LCONTROL, VK_RCONTROL, MOD_CONTROL) |
           held(VK_LSHIFT, VK_RSHIFT, MOD_SHIFT) | held(VK_LWIN, VK_RWIN, MOD_WIN);
}

void queueInput(Desktop& desktop, host::Event::Kind kind, int button, UINT key) {
    host::Event event;
    event.kind = kind;
    event.at = desktop.pointer;
    event.button = button;
    event.key = key;
    event.modifiers = modifiersHeld(desktop);
    event.time = std::chrono::steady_clock::now();
    queueEvent(desktop, event);
}

bool isKey(const host::Event& event) {
    return event.kind == host::Event::KeyPressed || event.kind == host::Event::KeyReleased;
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

// Repeats and the release of a key belong to whoever got its press, even if the hook that took the
// press has gone.
bool belongsToTheProgram(Desktop& desktop, const host::Event& event, bool taken) {
    if (!isKey(event)) return taken;
    const bool pressTaken = desktop.pressesTaken.contains(event.key);
    if (event.kind == host::Event::KeyReleased)
        desktop.pressesTaken.erase(event.key);
    else if (taken)
        desktop.pressesTaken.insert(event.key);
    return taken || pressTaken;
}

}  // namespace

void openEvents(Desktop& desktop) {
    desktop.eventDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
}

void queueEvent(Desktop& desktop, host::Event event) {
    desktop.events.push_back(event);
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(desktop.eventDescriptor, &one, sizeof one);
}

int eventDescriptor() { return theDesktop().eventDescriptor; }

bool nextEvent(host::Event& event) {
    Desktop& desktop = theDesktop();
    const std::lock_guard lock(desktop.mutex);
    if (desktop.events.empty()) {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t got = read(desktop.eventDescriptor, &count, sizeof count);
        return false;
    }
    event = desktop.events.front();
    desktop.events.pop_front();
    if (event.kind <= host::Event::ButtonReleased) event.surface = surfaceAt(desktop, event.at);
    return true;
}

// A press on what is not ours brings that other program to the front.
void finishInput(const host::Event& event, bool taken) {
    if (event.kind == host::Event::PointerMoved) return;
    Desktop& desktop = theDesktop();
    const std::lock_guard lock(desktop.mutex);
    if (belongsToTheProgram(desktop, event, taken)) return;
    const bool pressed =
        event.kind == host::Event::KeyPressed || event.kind == host::Event::ButtonPressed;
    const UINT code = isKey(event) ? event.key : static_cast<UINT>(event.button);
    desktop.passed.push_back({isKey(event), code, pressed});
    if (isKey(event) || !pressed || !desktop.focused) return;
    desktop.focused = 0;
    host::Event lost;
    lost.kind = host::Event::ActivationLost;
    queueEvent(desktop, lost);
}

POINT pointer() {
    const std::lock_guard lock(theDesktop().mutex);
    return theDesktop().pointer;
}

bool keyIsDown(UINT key) {
    Desktop& desktop = theDesktop();
    const std::lock_guard lock(desktop.mutex);
    const UINT held = modifiersHeld(desktop);
    switch (key) {
    case VK_SHIFT: return (held & MOD_SHIFT) != 0;
    case VK_CONTROL: return (held & MOD_CONTROL) != 0;
    case VK_MENU: return (held & MOD_ALT) != 0;
    default: return desktop.keysDown.contains(key);
    }
}

bool grabHotKey(UINT modifiers, UINT key) {
    const std::lock_guard lock(theDesktop().mutex);
    return !theDesktop().hotKeysOfOthers.contains({modifiers, key});
}

}  // namespace memory

namespace desktop {

using host::Event;
using memory::Desktop;
using memory::theDesktop;

void movePointer(int x, int y) {
    const std::lock_guard lock(theDesktop().mutex);
    theDesktop().pointer = {x, y};
    memory::queueInput(theDesktop(), Event::PointerMoved, 0, 0);
}

void pressButton(int button) {
    const std::lock_guard lock(theDesktop().mutex);
    memory::queueInput(theDesktop(), Event::ButtonPressed, button, 0);
}

void releaseButton(int button) {
    const std::lock_guard lock(theDesktop().mutex);
    memory::queueInput(theDesktop(), Event::ButtonReleased, button, 0);
}

void pressKey(UINT key) {
    const std::lock_guard lock(theDesktop().mutex);
    memory::queueInput(theDesktop(), Event::KeyPressed, 0, key);
    theDesktop().keysDown.insert(key);
}

void releaseKey(UINT key) {
    const std::lock_guard lock(theDesktop().mutex);
    memory::queueInput(theDesktop(), Event::KeyReleased, 0, key);
    theDesktop().keysDown.erase(key);
}

void takeForeground() {
    Desktop& record = theDesktop();
    const std::lock_guard lock(record.mutex);
    record.focused = 0;
    Event event;
    event.kind = Event::ActivationLost;
    memory::queueEvent(record, event);
}

void endSession(bool reallyEnds) {
    Desktop& record = theDesktop();
    const std::lock_guard lock(record.mutex);
    Event event;
    event.kind = Event::SessionQuery;
    memory::queueEvent(record, event);
    event.kind = Event::SessionEnd;
    event.message = reallyEnds;
    memory::queueEvent(record, event);
}

void takeHotKey(UINT modifiers, UINT key) {
    const std::lock_guard lock(theDesktop().mutex);
    theDesktop().hotKeysOfOthers.insert({modifiers, key});
}

std::vector<PassedInput> inputOfOthers() {
    const std::lock_guard lock(theDesktop().mutex);
    return std::exchange(theDesktop().passed, {});
}

}  // namespace desktop
