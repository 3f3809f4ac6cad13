// Foreground, focus and capture, and what their changes cause.

#include "platform/user32/input.h"

#include <utility>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/hosts/host.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

HWND capturing = nullptr;
HWND diverted = nullptr;
bool entitled = true;
std::chrono::steady_clock::time_point begun;

void tell(HWND window, bool active) {
    if (!window) return;
    send(window, WM_ACTIVATE, active ? WA_ACTIVE : WA_INACTIVE, 0);
    send(window, active ? WM_SETFOCUS : WM_KILLFOCUS, 0, 0);
}

void moveFront(HWND window) {
    if (foreground() == window) return;
    tell(setForeground(window), false);
    if (foreground() == window) tell(window, true);
    publishWindows();
}

bool canBeActive(const Window& window) {
    return window.visible && window.enabled && !(window.extendedStyle & WS_EX_NOACTIVATE) &&
           width(window) > 0;
}

HWND nextActive() {
    for (const HWND window : windowOrder())
        if (canBeActive(*find(window))) return window;
    return nullptr;
}

// The next window of ours takes over, or the program that was there before.
void leaveActivation(HWND window) {
    if (capture() == window) releaseCapture();
    if (foreground() != window) return;
    const HWND next = nextActive();
    if (next) {
        activate(next);
    } else {
        host::current().focusSurface(0);
        moveFront(nullptr);
    }
}

const bool registered = registerFor(Moment::WindowHides, leaveActivation) &&
                        setMailAction(foregroundMail, allowForeground) &&
                        registerFor(Moment::ThreadBegins, [](HWND) {
                            entitled = true;
                            begun = std::chrono::steady_clock::now();
                        });

}  // namespace

HWND keyTarget() { return diverted ? diverted : foreground(); }
void divertKeys(HWND menuWindow) { diverted = menuWindow; }

bool mayTakeForeground() { return foreground() || entitled; }
void allowForeground() { entitled = true; }

// The display knows nothing of a hidden window that has the foreground, so it cannot report that a
// press elsewhere takes it away.
void noteInput(const host::Event& press, bool ours) {
    if (press.time != host::Event{}.time && press.time < begun) return;
    entitled = ours;
    if (!ours && foreground() && !find(foreground())->visible) loseActivation();
}

// A hidden window can have the foreground; only a visible one can have the display's own focus.
bool activate(HWND window) {
    if (!mayTakeForeground()) return false;
    Window* const record = find(window);
    if (record->visible && !host::current().focusSurface(record->surface)) return false;
    raise(*record);
    moveFront(window);
    return true;
}

void activateByPress(HWND window, UINT message) {
    const Window* const record = find(window);
    if (!record || !canBeActive(*record) || foreground() == window || diverted == window) return;
    const LRESULT answer = send(window, WM_MOUSEACTIVATE, reinterpret_cast<WPARAM>(window),
                                MAKELPARAM(HTCLIENT, message));
    if (answer == MA_ACTIVATE && find(window)) activate(window);
}

// A menu that has the capture closes with it.
void loseActivation() {
    entitled = false;
    releaseCapture();
    moveFront(nullptr);
}

HWND capture() { return capturing; }

void setCapture(HWND window) {
    const HWND loser = std::exchange(capturing, window);
    if (!loser) desktop::opened("MouseCapture");
    if (loser) send(loser, WM_CAPTURECHANGED, 0, reinterpret_cast<LPARAM>(window));
}

void releaseCapture() {
    const HWND loser = std::exchange(capturing, nullptr);
    if (!loser) return;
    desktop::closed("MouseCapture");
    send(loser, WM_CAPTURECHANGED, 0, 0);
}

}  // namespace user32

using namespace user32;

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
    releaseCapture();
    return TRUE;
}
