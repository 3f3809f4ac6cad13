// The way of an event: host, hook, hot key, window.

#include "platform/user32/input.h"

#include <algorithm>
#include <bitset>
#include <optional>

#include "platform/core/call.h"
#include "platform/hosts/host.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

using host::Event;

std::optional<Event> waiting;  // pointer or key event for a window
UINT takenModifiers = 0;
void (*trayEvent)(const Event& event) = nullptr;
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
    if (hooksEat(event, keyMessage(event))) {
        if (press)
            eatenDown[key] = true;
        else
            eatenDown[key] = passedDown[key] = false;
        return host::current().finishInput(event, true);
    }
    passedDown[key] = press;
    eatenDown[key] = false;
    if (press && isHotKey(event, repeat)) {
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

void handle(const Event& event) {
    switch (event.kind) {
    case Event::KeyPressed:
    case Event::KeyReleased: return offerKey(event);
    case Event::PointerMoved:
    case Event::ButtonPressed:
    case Event::ButtonReleased: waiting = event; return;
    case Event::TrayMouse: allowForeground(); break;
    case Event::ActivationLost: return loseActivation();
    case Event::LayoutChanged: return broadcast(WM_DISPLAYCHANGE, 32, 0);
    case Event::SessionQuery: return tellAll(WM_QUERYENDSESSION, 0, 0);
    case Event::SessionEnd: return tellSessionEnd(event.message != 0);
    case Event::TaskbarCreated: break;
    }
    if (trayEvent) trayEvent(event);
}

WPARAM buttons = 0;  // MK_ bits of those that are held

// The host knows what else covers the windows of ours.
HWND windowOf(host::Surface surface) {
    for (const HWND window : windowOrder())
        if (surface && find(window)->surface == surface) return window;
    return nullptr;
}

// By the host's number of the button, less one.
constexpr WPARAM buttonBits[] = {MK_LBUTTON, MK_MBUTTON, MK_RBUTTON};
constexpr UINT buttonMessages[] = {WM_LBUTTONDOWN, WM_MBUTTONDOWN, WM_RBUTTONDOWN};

UINT messageOf(const host::Event& event) {
    if (event.kind == host::Event::PointerMoved) return WM_MOUSEMOVE;
    const UINT press = buttonMessages[event.button - 1];
    return event.kind == host::Event::ButtonPressed ? press : press + 1;
}

bool pointerMessage(const host::Event& event, MSG& message) {
    const HWND window = capture() ? capture() : windowOf(event.surface);
    if (event.kind == host::Event::ButtonPressed) buttons |= buttonBits[event.button - 1];
    if (event.kind == host::Event::ButtonReleased) buttons &= ~buttonBits[event.button - 1];
    if (!window) return false;
    const Window& record = *find(window);
    const RECT& bounds = record.bounds;
    const WPARAM held = buttons | (event.modifiers & MOD_SHIFT ? MK_SHIFT : 0u) |
                        (event.modifiers & MOD_CONTROL ? MK_CONTROL : 0u);
    // Under a modal box: the disabled window takes the press away from others and does nothing with
    // it.
    message = {window, record.enabled ? messageOf(event) : UINT{WM_NULL},
               held,   MAKELPARAM(event.at.x - bounds.left, event.at.y - bounds.top),
               0,      event.at};
    return true;
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
    const bool isPressed =
        std::ranges::find(buttonMessages, message.message) != std::end(buttonMessages);
    if (isPressed && spot == HTCLIENT) activateByPress(message.hwnd, message.message);
    send(message.hwnd, WM_SETCURSOR, reinterpret_cast<WPARAM>(message.hwnd),
         MAKELPARAM(spot, message.message));
    return spot == HTCLIENT && find(message.hwnd);
}

// What a hook posts about a key that it eats comes before the next key reaches the hook.
bool takeEvents() {
    followHooks();
    constexpr int most = 64;
    Event event;
    for (int taken = 0; taken < most; ++taken) {
        if (waiting || !host::current().nextEvent(event)) return true;
        handle(event);
        if (isPress(event) && eatenDown[event.key & 0xFF]) return false;
    }
    return false;
}

InputSource::Taken takeInput(MSG& message, const Filter& filter) {
    if (!waiting) return InputSource::Taken::None;
    const Event event = *waiting;
    const bool pointer = event.kind <= Event::ButtonReleased;
    MSG candidate{};
    const bool forWindow = resolve(event, candidate);
    if (forWindow && !passes(filter, candidate)) return InputSource::Taken::None;
    waiting.reset();
    takenModifiers = event.modifiers;
    if (pointer) host::current().finishInput(event, forWindow);
    if (event.kind == Event::ButtonPressed) noteInput(event, forWindow);
    if (!forWindow || (pointer && !announcePointer(candidate))) return InputSource::Taken::Dropped;
    message = candidate;
    return InputSource::Taken::Message;
}

const bool registered = setInputSource({takeEvents, takeInput});

}  // namespace

UINT modifiersOfInput() { return takenModifiers; }

bool setTrayAction(void (*action)(const Event&)) { return trayEvent = action, true; }

}  // namespace user32

using namespace user32;

// The top bit tells that the key is down. The state is the one before an event that a hook is
// looking at.
SHORT GetAsyncKeyState(int code) {
    desktop::Call call("GetAsyncKeyState", code);
    const UINT key = static_cast<UINT>(code);
    const Event* const hooked = hookedEvent();
    const bool isDown = hooked && hooked->key == key
                            ? passedDown[key & 0xFF]
                            : !eatenDown[key & 0xFF] && host::current().keyIsDown(key);
    return isDown ? static_cast<SHORT>(0x8000) : SHORT{0};
}

BOOL GetCursorPos(LPPOINT point) {
    desktop::Call call("GetCursorPos");
    expectDpiAwareness("GetCursorPos");
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    *point = host::current().pointer();
    return TRUE;
}
