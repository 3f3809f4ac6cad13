// The road of an event: host, hook, hot key, window.

#include "platform/user32/input.h"

#include <bitset>
#include <optional>

#include "platform/hosts/host.h"
#include "platform/shell32/tray.h"
#include "platform/user32/activation.h"
#include "platform/user32/hook.h"
#include "platform/user32/hot_key.h"
#include "platform/user32/keys.h"
#include "platform/user32/modal.h"
#include "platform/user32/mouse.h"
#include "platform/user32/session.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

using host::Event;

std::optional<Event> waiting;  // pointer or key event for a window
UINT takenModifiers = 0;
std::bitset<256> passedDown;  // keys whose press went past the hooks
std::bitset<256> eatenDown;   // keys whose press a hook ate: nobody else sees them as down

bool isPress(const Event& event) { return event.kind == Event::KeyPressed; }

bool isAlt(UINT key) { return key == VK_LMENU || key == VK_RMENU || key == VK_MENU; }

// With Alt down, and without Ctrl, keys belong to the system: menus and mnemonics. So does F10.
UINT keyMessage(const Event& event) {
    const bool alt = (event.modifiers & MOD_ALT) != 0 || (isPress(event) && isAlt(event.key));
    const bool system = (alt && !(event.modifiers & MOD_CONTROL)) || event.key == VK_F10;
    if (isPress(event)) return system ? WM_SYSKEYDOWN : WM_KEYDOWN;
    return system ? WM_SYSKEYUP : WM_KEYUP;
}

void offerKey(const Event& event) {
    const bool press = isPress(event);
    const std::size_t key = event.key & 0xFF;
    const bool repeat = press && passedDown[key];
    if (event.offered && hooksEat(event, keyMessage(event))) {
        if (press)
            eatenDown[key] = true;
        else
            eatenDown[key] = passedDown[key] = false;
        return host::current().finishInput(event, true);
    }
    passedDown[key] = press;
    eatenDown[key] = false;
    if (event.offered && press && isHotKey(event, repeat)) {
        allowForeground();
        return host::current().finishInput(event, true);
    }
    // A hidden window may have the foreground, but on a display that others use too the keys are
    // theirs.
    const bool ours = keyTarget() && find(keyTarget())->visible;
    if (press) noteInput(event, ours);
    host::current().finishInput(event, ours);
    if (ours) waiting = event;
}

void presentAgain(host::Surface surface) {
    for (const HWND handle : windowOrder())
        if (find(handle)->surface == surface) present(*find(handle));
}

void handle(const Event& event) {
    switch (event.kind) {
    case Event::KeyPressed:
    case Event::KeyReleased: return offerKey(event);
    case Event::PointerMoved:
    case Event::ButtonPressed:
    case Event::ButtonReleased: waiting = event; return;
    case Event::TrayMouse: allowForeground(); return shell32::reportTrayMouse(event.message);
    case Event::ActivationLost: return loseActivation();
    case Event::Exposed: return presentAgain(event.surface);
    case Event::LayoutChanged: return broadcast(WM_DISPLAYCHANGE, 32, 0);
    case Event::SessionQuery: return askForSessionEnd();
    case Event::SessionEnd: return tellSessionEnd(event.message != 0);
    case Event::TaskbarCreated: return shell32::restartTray();
    }
}

// Bits of a key message's LPARAM: repeat count, scan code, extended key, Alt held, release.
LPARAM keyParameter(const Event& event) {
    const UINT bits = 1u | scanCodeOf(event.key) << 16 | (isExtended(event.key) ? 1u << 24 : 0) |
                      (event.modifiers & MOD_ALT ? 1u << 29 : 0) | (isPress(event) ? 0 : 3u << 30);
    return static_cast<LPARAM>(bits);
}

// A window sees modifiers without their side.
UINT withoutSide(UINT key) {
    if (key == VK_LSHIFT || key == VK_RSHIFT) return VK_SHIFT;
    if (key == VK_LCONTROL || key == VK_RCONTROL) return VK_CONTROL;
    return isAlt(key) ? VK_MENU : key;
}

bool resolve(const Event& event, MSG& message) {
    if (event.kind != Event::KeyPressed && event.kind != Event::KeyReleased)
        return pointerMessage(event, message);
    const Window* const target = find(keyTarget());
    if (!target) return false;
    // The window under a modal box can have the foreground; keys do nothing there.
    message = {keyTarget(),
               target->enabled ? keyMessage(event) : UINT{WM_NULL},
               withoutSide(event.key),
               keyParameter(event),
               0,
               {}};
    return true;
}

// What a window hears before a pointer message: without a capture it decides whether the pointer is
// on its client area, whether a press activates it, and how the pointer looks. False: the message
// is none of its client area's.
bool announcePointer(const MSG& message) {
    if (message.message == WM_NULL || capture() == message.hwnd) return true;
    const LRESULT spot =
        send(message.hwnd, WM_NCHITTEST, 0, MAKELPARAM(message.pt.x, message.pt.y));
    const bool isPressed = message.message == WM_LBUTTONDOWN || message.message == WM_RBUTTONDOWN ||
                           message.message == WM_MBUTTONDOWN;
    if (isPressed && spot == HTCLIENT) activateByPress(message.hwnd, message.message);
    send(message.hwnd, WM_SETCURSOR, reinterpret_cast<WPARAM>(message.hwnd),
         MAKELPARAM(spot, message.message));
    return spot == HTCLIENT && find(message.hwnd);
}

}  // namespace

bool takeEvents() {
    constexpr int most = 64;
    Event event;
    for (int taken = 0; taken < most; ++taken) {
        if (waiting || !host::current().nextEvent(event)) return true;
        handle(event);
    }
    return false;
}

Input takeInput(MSG& message, const Filter& filter) {
    if (!waiting) return Input::None;
    const Event event = *waiting;
    const bool pointer = event.kind <= Event::ButtonReleased;
    MSG candidate{};
    const bool forWindow = resolve(event, candidate);
    if (forWindow && !passes(filter, candidate)) return Input::None;
    waiting.reset();
    takenModifiers = event.modifiers;
    if (pointer) host::current().finishInput(event, forWindow);
    if (event.kind == Event::ButtonPressed) noteInput(event, forWindow);
    if (!forWindow || (pointer && !announcePointer(candidate))) return Input::Dropped;
    message = candidate;
    return Input::Taken;
}

UINT modifiersOfInput() { return takenModifiers; }

bool isDown(UINT key) {
    const Event* const hooked = hookedEvent();
    if (hooked && hooked->key == key) return passedDown[key & 0xFF];
    return !eatenDown[key & 0xFF] && host::current().keyIsDown(key);
}

}  // namespace user32
