// The path of an event: host, hook, hot key, window; and what has the foreground and the capture,
// with what their changes cause.

#include <algorithm>
#include <bitset>
#include <optional>
#include <utility>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

using host::Event;

std::optional<Event> waiting;  // pointer or key event for a window
WPARAM buttons = 0;            // MK_ bits of those that are held
std::bitset<256> passedDown;   // keys whose press went past the hook
std::bitset<256> eatenDown;    // keys whose press the hook ate: nobody else sees them as down

void tell(HWND window, bool active) {
    if (!window) return;
    send(window, WM_ACTIVATE, active ? WA_ACTIVE : WA_INACTIVE, 0);
    send(window, active ? WM_SETFOCUS : WM_KILLFOCUS, 0, 0);
}

void moveForeground(HWND window) {
    const HWND before = std::exchange(state.foreground, window);
    if (before == window) return;
    tell(before, false);
    if (foreground() == window) tell(window, true);
    publishWindows();
}

bool canBeActive(const Window& window) {
    return window.visible && window.enabled && !(window.extendedStyle & WS_EX_NOACTIVATE) &&
           width(window) > 0;
}

// A menu that has the capture closes with it.
void loseActivation() {
    state.entitled = false;
    setCapture(nullptr);
    moveForeground(nullptr);
}

// A key or button goes down; before the program was started, that does not count. The display does
// not know of a hidden window that has the foreground, so it cannot report that a press elsewhere
// takes the foreground away.
void notePress(const Event& press, bool ours) {
    if (press.time != Event{}.time && press.time < state.begun) return;
    state.entitled = ours;
    if (!ours && foreground() && !find(foreground())->visible) loseActivation();
}

// As a press on it does: unless the window refuses.
void activateByPress(HWND window, UINT message) {
    const Window* const record = find(window);
    if (!record || !canBeActive(*record) || foreground() == window || state.menu == window) return;
    const LRESULT answer = send(window, WM_MOUSEACTIVATE, reinterpret_cast<WPARAM>(window),
                                MAKELPARAM(HTCLIENT, message));
    if (answer == MA_ACTIVATE && find(window)) activate(window);
}

bool isPress(const Event& event) { return event.kind == Event::KeyPressed; }

bool isAlt(UINT key) { return key == VK_LMENU || key == VK_RMENU || key == VK_MENU; }

// With Alt down, and without Ctrl, keys belong to the system: menus and mnemonics. So does F10.
UINT keyMessage(const Event& event) {
    const bool alt = (event.modifiers & MOD_ALT) != 0 || (isPress(event) && isAlt(event.key));
    const bool system = (alt && !(event.modifiers & MOD_CONTROL)) || event.key == VK_F10;
    if (isPress(event)) return system ? WM_SYSKEYDOWN : WM_KEYDOWN;
    return system ? WM_SYSKEYUP : WM_KEYUP;
}

HWND keyTarget() { return state.menu ? state.menu : foreground(); }

// A hidden window may have the foreground, but the display gives the keys to another program.
void offerKey(const Event& event) {
    const bool press = isPress(event);
    const std::size_t key = event.key & 0xFF;
    const bool repeat = press && passedDown[key];
    const bool eaten = hookEats(event, keyMessage(event));
    eatenDown[key] = eaten && press;
    if (!eaten || !press) passedDown[key] = press;
    const bool isHot = !eaten && press && isHotKey(event, repeat);
    if (isHot) state.entitled = true;
    const bool ours = !eaten && !isHot && keyTarget() && find(keyTarget())->visible;
    if (press && !eaten && !isHot) notePress(event, ours);
    host::current().finishInput(event, eaten || isHot || ours);
    if (ours) waiting = event;
}

void handle(const Event& event) {
    switch (event.kind) {
    case Event::KeyPressed:
    case Event::KeyReleased: return offerKey(event);
    case Event::PointerMoved:
    case Event::ButtonPressed:
    case Event::ButtonReleased: waiting = event; return;
    case Event::TrayMouse: state.entitled = true; return takeShellEvent(event);
    case Event::TaskbarCreated:
    case Event::TrayEntered:
    case Event::TrayLeft:
    case Event::NoticeShown:
    case Event::NoticeRefused: return takeShellEvent(event);
    case Event::ActivationLost: return loseActivation();
    case Event::LayoutChanged: return tellAll(WM_DISPLAYCHANGE, 32, 0);
    case Event::SessionQuery: return tellAll(WM_QUERYENDSESSION, 0, 0);
    case Event::SessionEnd: return tellSessionEnd(event.message != 0);
    }
}

// The host knows what else covers the windows of ours.
HWND windowOf(host::Surface surface) {
    for (const Window& window : windows)
        if (surface && window.surface == surface) return window.handle;
    return nullptr;
}

// By the host's number of the button, less one.
constexpr WPARAM buttonBits[] = {MK_LBUTTON, MK_MBUTTON, MK_RBUTTON};
constexpr UINT buttonMessages[] = {WM_LBUTTONDOWN, WM_MBUTTONDOWN, WM_RBUTTONDOWN};

UINT pointerMessage(const Event& event) {
    if (event.kind == Event::PointerMoved) return WM_MOUSEMOVE;
    const UINT press = buttonMessages[event.button - 1];
    return event.kind == Event::ButtonPressed ? press : press + 1;
}

MSG pointerInput(const Event& event) {
    if (event.kind == Event::ButtonPressed) buttons |= buttonBits[event.button - 1];
    if (event.kind == Event::ButtonReleased) buttons &= ~buttonBits[event.button - 1];
    const HWND window = capture() ? capture() : windowOf(event.surface);
    if (!window) return {};
    const RECT& bounds = find(window)->bounds;
    const WPARAM held = buttons | (event.modifiers & MOD_SHIFT ? MK_SHIFT : 0u) |
                        (event.modifiers & MOD_CONTROL ? MK_CONTROL : 0u);
    const LPARAM at = MAKELPARAM(event.at.x - bounds.left, event.at.y - bounds.top);
    return {window, pointerMessage(event), held, at, 0, event.at};
}

// A window sees modifiers without their side.
UINT withoutSide(UINT key) {
    if (key == VK_LSHIFT || key == VK_RSHIFT) return VK_SHIFT;
    if (key == VK_LCONTROL || key == VK_RCONTROL) return VK_CONTROL;
    return isAlt(key) ? VK_MENU : key;
}

// Bits of a key message's LPARAM: repeat count, scan code, extended key, Alt held, release.
MSG keyInput(const Event& event) {
    const UINT bits = 1u | scanCodeOf(event.key) << 16 |
                      (event.modifiers & MOD_ALT ? 1u << 29 : 0) | (isPress(event) ? 0 : 3u << 30);
    return {keyTarget(), keyMessage(event), withoutSide(event.key), static_cast<LPARAM>(bits), 0,
            {}};
}

// What a window receives before a pointer message: without a capture it decides whether the pointer
// is on its client area, whether a press activates it, and which cursor is shown. False: the
// message is not for its client area.
bool announcePointer(const MSG& message) {
    if (capture() == message.hwnd) return true;
    const LRESULT spot =
        send(message.hwnd, WM_NCHITTEST, 0, MAKELPARAM(message.pt.x, message.pt.y));
    const bool isPressed =
        std::ranges::find(buttonMessages, message.message) != std::end(buttonMessages);
    if (isPressed && spot == HTCLIENT) activateByPress(message.hwnd, message.message);
    send(message.hwnd, WM_SETCURSOR, reinterpret_cast<WPARAM>(message.hwnd),
         MAKELPARAM(spot, message.message));
    return spot == HTCLIENT && find(message.hwnd);
}

}  // namespace

// What the hook posts about a key that it eats is handled before the next key reaches the hook.
bool takeEvents() {
    followHook();
    Event event;
    for (int left = 64; left > 0; --left) {
        if (waiting || !host::current().nextEvent(event)) return true;
        handle(event);
        if (isPress(event) && eatenDown[event.key & 0xFF]) return false;
    }
    return false;
}

// A window under a modal box can have the foreground, or take a press away from others; it does
// nothing with them.
bool takeInput(MSG& message) {
    if (!waiting) return false;
    const Event event = *std::exchange(waiting, std::nullopt);
    state.modifiers = event.modifiers;
    const bool isPointer = event.kind <= Event::ButtonReleased;
    message = isPointer ? pointerInput(event) : keyInput(event);
    const Window* const window = find(message.hwnd);
    if (isPointer) host::current().finishInput(event, window);
    if (event.kind == Event::ButtonPressed) notePress(event, window);
    if (!window)
        message = {};
    else if (!window->enabled)
        message.message = WM_NULL;
    else if (isPointer && !announcePointer(message))
        message = {};
    return true;
}

// A hidden window can have the foreground; only a visible one can have the display's own focus.
bool activate(HWND window) {
    if (!foreground() && !state.entitled) return false;
    Window* const record = find(window);
    if (record->visible && !host::current().focusSurface(record->surface)) return false;
    raise(*record);
    moveForeground(window);
    return true;
}

// The next window of ours takes over, or the program that had the foreground before.
void leaveActivation(HWND window) {
    if (capture() == window) setCapture(nullptr);
    if (foreground() != window) return;
    const auto next = std::ranges::find_if(windows, canBeActive);
    if (next != windows.end()) return static_cast<void>(activate(next->handle));
    host::current().focusSurface(0);
    moveForeground(nullptr);
}

void setCapture(HWND window) {
    const HWND loser = std::exchange(state.capture, window);
    if (window && !loser) desktop::opened("MouseCapture");
    if (loser && !window) desktop::closed("MouseCapture");
    if (loser) send(loser, WM_CAPTURECHANGED, 0, reinterpret_cast<LPARAM>(window));
}

}  // namespace user32

using namespace user32;

// The top bit says that the key is down. In a hook the event's own key would not count yet.
SHORT GetAsyncKeyState(int code) {
    desktop::Call call("GetAsyncKeyState", code);
    if (state.isInHook) call.refuse("call in a hook", code);
    const UINT key = static_cast<UINT>(code);
    const bool isDown = !eatenDown[key & 0xFF] && host::current().keyIsDown(key);
    return isDown ? static_cast<SHORT>(0x8000) : SHORT{0};
}

BOOL GetCursorPos(LPPOINT point) {
    desktop::Call call("GetCursorPos");
    call.only("DPI awareness", state.isDpiAware, true);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    *point = host::current().pointer();
    return TRUE;
}

BOOL SetForegroundWindow(HWND window) {
    desktop::Call call("SetForegroundWindow", window);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    if (!find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return activate(window) ? TRUE : call.fail(ERROR_ACCESS_DENIED);
}

HWND GetForegroundWindow() {
    desktop::Call call("GetForegroundWindow");
    return foreground();
}

HWND SetCapture(HWND window) {
    desktop::Call call("SetCapture", window);
    if (call.struck() || !find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    const HWND before = capture();
    setCapture(window);
    return before;
}

HWND GetCapture() {
    desktop::Call call("GetCapture");
    return capture();
}

BOOL ReleaseCapture() {
    desktop::Call call("ReleaseCapture");
    setCapture(nullptr);
    return TRUE;
}
