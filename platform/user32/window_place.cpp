// Where a window is, whether it is seen, and how: opacity, region, exclusion from captures, and
// painting.

#include <algorithm>
#include <ranges>
#include <utility>

#include "platform/core/call.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

bool isLayered(const Window& window) { return (window.extendedStyle & WS_EX_LAYERED) != 0; }
bool isTopmost(const Window& window) { return (window.extendedStyle & WS_EX_TOPMOST) != 0; }

// Whether anything of it can be on the screen.
bool isSeen(const Window& window) {
    return window.visible && !gdi::isEmpty(window.bounds) &&
           (!isLayered(window) || window.opacity.has_value());
}

bool isInTaskbar(const Window& window) {
    return window.visible && !window.ofTheLayer &&
           (window.extendedStyle & WS_EX_APPWINDOW || !(window.extendedStyle & WS_EX_TOOLWINDOW));
}

// The whole window is painted each time, and the host keeps what it shows: between two paintings
// the pixels, 33 MB for a frame of 3840 x 2160, would be kept for nothing.
gdi::Canvas newCanvas(Window& window) {
    const int wide = width(window), high = height(window);
    window.pixels.assign(static_cast<std::size_t>(wide) * static_cast<std::size_t>(high), 0);
    return {window.pixels.data(), wide, high, wide};
}

void present(Window& window, const gdi::Canvas& canvas) {
    if (isSeen(window)) host::current().presentSurface(window.surface, canvas);
    window.pixels = std::vector<std::uint32_t>();  // {} would keep the memory.
}

}  // namespace

void updatePlacement(Window& window, bool raised) {
    const host::Placement placement{.bounds = window.bounds,
                                    .opacity = window.opacity.value_or(255),
                                    .shape = window.region,
                                    .passesMouse = isLayered(window) &&
                                                   window.extendedStyle & WS_EX_TRANSPARENT,
                                    .excludedFromCapture = window.excludedFromCapture,
                                    .topmost = isTopmost(window)};
    if (isSeen(window))
        host::current().showSurface(window.surface, placement, raised);
    else
        host::current().hideSurface(window.surface);
    publishWindows();
}

// The window may now be under the pointer, and then sets its cursor.
void show(Window& window) {
    if (std::exchange(window.visible, true)) return;
    updatePlacement(window, false);
    invalidate(window, true);
    send(window.handle, WM_SETCURSOR, reinterpret_cast<WPARAM>(window.handle),
         MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
}

void hide(Window& window) {
    if (std::exchange(window.visible, false)) updatePlacement(window, false);
    leaveActivation(window.handle);
}

void place(Window& window, const RECT& bounds) {
    const RECT before = std::exchange(window.bounds, bounds);
    const bool resized =
        width(window) != before.right - before.left || height(window) != before.bottom - before.top;
    if (window.visible) updatePlacement(window, false);
    if (!resized) return;
    if (window.visible) invalidate(window, true);
    send(window.handle, WM_SIZE, SIZE_RESTORED, MAKELPARAM(width(window), height(window)));
}

void moveToFront(Window& window) {
    const auto self = std::ranges::find(windows, window.handle, &Window::handle);
    const auto front = std::ranges::find_if(
        windows, [&](const Window& other) { return isTopmost(window) || !isTopmost(other); });
    windows.splice(front, windows, self);
}

void raise(Window& window) {
    moveToFront(window);
    if (window.visible) updatePlacement(window, true);
    if (window.box) raise(*find(window.box));
    if (isTopmost(window)) return;
    for (Window& above : std::views::reverse(windows))
        if (isTopmost(above) && isSeen(above)) updatePlacement(above, true);
}

void publishWindows() {
    std::vector<desktop::ShownWindow> all;
    for (const Window& window : windows)
        all.push_back({window.handle, desktop::toUtf8(window.className),
                       desktop::toUtf8(window.title), window.bounds, window.visible,
                       foreground() == window.handle, isInTaskbar(window), window.shownCursor});
    desktop::withShown([&](desktop::Shown& shown) { shown.windows = std::move(all); });
}

// Always the whole window: nothing here is worth painting in parts.
void invalidate(Window& window, bool erase) {
    window.dirty = {0, 0, width(window), height(window)};
    window.erase |= erase;
}

void paintWindow(Window& window, const std::function<void(const gdi::Canvas&)>& paint) {
    const gdi::Canvas canvas = newCanvas(window);
    paint(canvas);
    window.dirty = {};
    present(window, canvas);
}

}  // namespace user32

using namespace user32;

BOOL ShowWindow(HWND window, int command) {
    desktop::Call call("ShowWindow", window, command);
    call.only("command", command, SW_HIDE, SW_SHOW, SW_RESTORE);
    Window* const record = find(window);
    if (!record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    const bool before = record->visible;
    if (command == SW_HIDE) return hide(*record), before;
    if (command == SW_RESTORE) record->minimized = false;
    if (before || record->minimized) return before;
    show(*record);
    activate(window);
    return FALSE;
}

BOOL IsIconic(HWND window) {
    desktop::Call call("IsIconic", window);
    const Window* const record = find(window);
    return record && record->minimized;
}

// No host has a taskbar button that could flash. The result says whether the window is active.
BOOL FlashWindowEx(FLASHWINFO* flash) {
    desktop::Call call("FlashWindowEx", flash->hwnd, flash->dwFlags, flash->uCount,
                       flash->dwTimeout);
    call.only("flags", flash->dwFlags, FLASHW_TRAY);
    return flash->hwnd == foreground();
}

BOOL SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags) {
    desktop::Call call("SetWindowPos", window, after, x, y, width, height, flags);
    call.within("flags", flags, SWP_NOZORDER | SWP_NOACTIVATE | SWP_SHOWWINDOW);
    const bool ordered = !(flags & SWP_NOZORDER);
    if (ordered) call.only("order", after, HWND_TOPMOST);
    Window* const record = find(window);
    if (call.struck() || !record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (ordered) record->extendedStyle |= WS_EX_TOPMOST;
    place(*record, {x, y, x + width, y + height});
    if (flags & SWP_SHOWWINDOW) show(*record);
    if (ordered) raise(*record);
    if (!(flags & SWP_NOACTIVATE)) activate(window);
    return TRUE;
}

BOOL SetLayeredWindowAttributes(HWND window, COLORREF key, BYTE alpha, DWORD flags) {
    desktop::Call call("SetLayeredWindowAttributes", window, key, alpha, flags);
    call.only("flags", flags, LWA_ALPHA);
    Window* const record = find(window);
    if (call.struck() || !record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (!isLayered(*record)) return call.fail(ERROR_INVALID_PARAMETER);
    if (!record->opacity) invalidate(*record, true);
    record->opacity = alpha;
    if (record->visible) updatePlacement(*record, false);
    return TRUE;
}

// Takes over the region. A change of the window's size does not change it.
int SetWindowRgn(HWND window, HRGN region, BOOL redraw) {
    desktop::Call call("SetWindowRgn", window, region, redraw);
    call.only("redraw", redraw, FALSE);
    Window* const record = find(window);
    if (call.struck() || !record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    auto taken = region ? gdi::takeRegion(region) : std::vector<RECT>();
    if (!taken) return call.fail(ERROR_INVALID_HANDLE);
    record->region = std::move(*taken);
    if (record->visible) updatePlacement(*record, false);
    return TRUE;
}

BOOL SetWindowDisplayAffinity(HWND window, DWORD affinity) {
    desktop::Call call("SetWindowDisplayAffinity", window, affinity);
    call.only("affinity", affinity, WDA_EXCLUDEFROMCAPTURE);
    Window* const record = find(window);
    if (call.struck() || !record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    record->excludedFromCapture = true;
    if (record->visible) updatePlacement(*record, false);
    return TRUE;
}

BOOL GetClientRect(HWND window, LPRECT rectangle) {
    desktop::Call call("GetClientRect", window);
    const Window* const record = find(window);
    if (call.struck() || !record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    *rectangle = {0, 0, width(*record), height(*record)};
    return TRUE;
}

BOOL InvalidateRect(HWND window, const RECT* rectangle, BOOL erase) {
    desktop::Call call("InvalidateRect", window, rectangle, erase);
    call.only("part of a window", rectangle, nullptr);
    Window* const record = find(window);
    if (call.struck() || !record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    invalidate(*record, erase != FALSE);
    return TRUE;
}

// Validates the window, erases it if that is due, and opens a context for the whole of it.
HDC BeginPaint(HWND window, PAINTSTRUCT* paint) {
    desktop::Call call("BeginPaint", window);
    *paint = {};
    Window* const record = find(window);
    if (!record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    call.only("painting already", record->painting, nullptr);
    paint->rcPaint = std::exchange(record->dirty, {});
    paint->hdc = record->painting = gdi::openContext(newCanvas(*record));
    if (std::exchange(record->erase, false))
        paint->fErase = !send(window, WM_ERASEBKGND, reinterpret_cast<WPARAM>(paint->hdc), 0);
    return paint->hdc;
}

BOOL EndPaint(HWND window, const PAINTSTRUCT* paint) {
    desktop::Call call("EndPaint", window);
    Window* const record = find(window);
    if (!record || record->painting != paint->hdc) call.refuse("not painting", 1);
    present(*record, gdi::closeContext(std::exchange(record->painting, nullptr)));
    return TRUE;
}
