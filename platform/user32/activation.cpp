// Foreground, focus and what their changes bring about.

#include "platform/user32/activation.h"

#include <utility>

#include "platform/core/call.h"
#include "platform/hosts/host.h"
#include "platform/user32/modal.h"
#include "platform/user32/mouse.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

HWND front = nullptr;
HWND diverted = nullptr;
bool entitled = true;
std::chrono::steady_clock::time_point begun;

void tell(HWND window, bool active) {
    if (!window) return;
    send(window, WM_ACTIVATE, active ? WA_ACTIVE : WA_INACTIVE, 0);
    send(window, active ? WM_SETFOCUS : WM_KILLFOCUS, 0, 0);
}

void moveFront(HWND window) {
    if (front == window) return;
    tell(std::exchange(front, window), false);
    if (front == window) tell(window, true);
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

}  // namespace

HWND foreground() { return front; }
HWND keyTarget() { return diverted ? diverted : front; }
void divertKeys(HWND menuWindow) { diverted = menuWindow; }

bool mayTakeForeground() { return front || entitled; }
void allowForeground() { entitled = true; }

// The display knows nothing of a hidden window that has the foreground, so it cannot report that a
// press elsewhere takes it away.
void noteInput(const host::Event& press, bool ours) {
    if (press.time != host::Event{}.time && press.time < begun) return;
    entitled = ours;
    if (!ours && front && !find(front)->visible) loseActivation();
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
    if (!record || !canBeActive(*record) || front == window || diverted == window) return;
    const LRESULT answer = send(window, WM_MOUSEACTIVATE, reinterpret_cast<WPARAM>(window),
                                MAKELPARAM(HTCLIENT, message));
    if (answer == MA_ACTIVATE && find(window)) activate(window);
}

void leaveActivation(HWND window) {
    if (capture() == window) releaseCapture();
    if (front != window) return;
    const HWND next = nextActive();
    if (next) {
        activate(next);
    } else {
        host::current().focusSurface(0);
        moveFront(nullptr);
    }
}

// A menu whose owner is not in front stays.
void loseActivation() {
    entitled = false;
    if (front) endMenu(0);
    if (capture()) releaseCapture();
    moveFront(nullptr);
}

void beginActivation() {
    entitled = true;
    begun = std::chrono::steady_clock::now();
}

}  // namespace user32

BOOL SetForegroundWindow(HWND window) {
    desktop::Call call("SetForegroundWindow", window);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    if (!user32::find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return user32::activate(window) ? TRUE : call.fail(ERROR_ACCESS_DENIED);
}

HWND GetForegroundWindow() {
    desktop::Call call("GetForegroundWindow");
    return user32::foreground();
}
