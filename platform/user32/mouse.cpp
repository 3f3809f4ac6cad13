// Whose a pointer event is; the mouse capture.

#include "platform/user32/mouse.h"

#include <utility>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/user32/activation.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/monitor.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

HWND capturing = nullptr;
WPARAM buttons = 0;  // MK_ bits of those that are held

// The host knows better than a look at the places what else lies over the windows of ours.
HWND windowOf(host::Surface surface) {
    for (const HWND window : windowOrder())
        if (surface && find(window)->surface == surface) return window;
    return nullptr;
}

WPARAM bitOf(int button) {
    if (button == 1) return MK_LBUTTON;
    return button == 2 ? MK_MBUTTON : MK_RBUTTON;
}

UINT messageOf(const host::Event& event) {
    if (event.kind == host::Event::PointerMoved) return WM_MOUSEMOVE;
    const UINT press = event.button == 1   ? WM_LBUTTONDOWN
                       : event.button == 2 ? WM_MBUTTONDOWN
                                           : WM_RBUTTONDOWN;
    return event.kind == host::Event::ButtonPressed ? press : press + 1;
}

}  // namespace

bool pointerMessage(const host::Event& event, MSG& message) {
    const HWND window = capturing ? capturing : windowOf(event.surface);
    if (event.kind == host::Event::ButtonPressed) buttons |= bitOf(event.button);
    if (event.kind == host::Event::ButtonReleased) buttons &= ~bitOf(event.button);
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

HWND capture() { return capturing; }

void setCapture(HWND window) {
    const HWND loser = std::exchange(capturing, window);
    if (!loser) desktop::opened(desktop::Object::MouseCapture);
    if (loser) send(loser, WM_CAPTURECHANGED, 0, reinterpret_cast<LPARAM>(window));
}

void releaseCapture() {
    const HWND loser = std::exchange(capturing, nullptr);
    if (!loser) return;
    desktop::closed(desktop::Object::MouseCapture);
    send(loser, WM_CAPTURECHANGED, 0, 0);
}

}  // namespace user32

HWND SetCapture(HWND window) {
    desktop::Call call("SetCapture", window);
    if (call.struck() || !user32::find(window))
        return call.fail(ERROR_INVALID_WINDOW_HANDLE), nullptr;
    const HWND before = user32::capture();
    user32::setCapture(window);
    return before;
}

HWND GetCapture() {
    desktop::Call call("GetCapture");
    return user32::capture();
}

BOOL ReleaseCapture() {
    desktop::Call call("ReleaseCapture");
    user32::releaseCapture();
    return TRUE;
}

BOOL GetCursorPos(LPPOINT point) {
    desktop::Call call("GetCursorPos");
    user32::expectDpiAwareness("GetCursorPos");
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    *point = host::current().pointer();
    return TRUE;
}
