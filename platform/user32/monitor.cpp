// Monitors, their scale and the sizes that follow from it.

#include "platform/user32/window.h"

#include <algorithm>
#include <utility>

#include "platform/core/call.h"
#include "platform/gdi32/canvas.h"

namespace user32 {

namespace {

std::int64_t distance(const RECT& area, POINT at) {
    const std::int64_t across = std::max({area.left - at.x, 0, at.x - (area.right - 1)});
    const std::int64_t down = std::max({area.top - at.y, 0, at.y - (area.bottom - 1)});
    return across * across + down * down;
}

// Small and big icons are 16 and 32 pixels at 96 dots an inch.
int iconSize(const desktop::Call& call, int index, UINT dpi) {
    call.only("index", index, SM_CXICON, SM_CYICON, SM_CXSMICON, SM_CYSMICON);
    return gdi::scaled(index == SM_CXICON || index == SM_CYICON ? 32 : 16, dpi);
}

}  // namespace

host::Monitor primaryMonitor() {
    const std::vector<host::Monitor> all = host::current().monitors();
    const auto found = std::ranges::find(all, true, &host::Monitor::primary);
    return found == all.end() ? host::Monitor{} : *found;
}

host::Monitor nearestMonitor(POINT at) {
    const std::vector<host::Monitor> all = host::current().monitors();
    const auto nearest = std::ranges::min_element(
        all, {}, [&](const host::Monitor& each) { return distance(each.bounds, at); });
    return nearest == all.end() ? host::Monitor{} : *nearest;
}

host::Monitor monitorOf(const Window& window) {
    const RECT& bounds = window.bounds;
    return nearestMonitor({(bounds.left + bounds.right) / 2, (bounds.top + bounds.bottom) / 2});
}

}  // namespace user32

using namespace user32;

HMONITOR MonitorFromPoint(POINT point, DWORD otherwise) {
    desktop::Call call("MonitorFromPoint", point.x, point.y, otherwise);
    call.only("otherwise", otherwise, MONITOR_DEFAULTTONEAREST);
    call.only("DPI awareness", state.isDpiAware, true);
    return reinterpret_cast<HMONITOR>(nearestMonitor(point).id);
}

BOOL GetMonitorInfoW(HMONITOR monitor, MONITORINFO* information) {
    desktop::Call call("GetMonitorInfoW", monitor);
    call.only("DPI awareness", state.isDpiAware, true);
    if (call.struck()) return call.fail(ERROR_INVALID_MONITOR_HANDLE);
    if (information->cbSize != sizeof *information) return call.fail(ERROR_INVALID_PARAMETER);
    const std::vector<host::Monitor> all = host::current().monitors();
    const auto id = reinterpret_cast<std::uintptr_t>(monitor);
    const auto found = std::ranges::find(all, id, &host::Monitor::id);
    if (found == all.end()) return call.fail(ERROR_INVALID_MONITOR_HANDLE);
    information->rcMonitor = information->rcWork = found->bounds;
    information->dwFlags = found->primary ? MONITORINFOF_PRIMARY : 0;
    return TRUE;
}

// A call is refused if the program's manifest has set the same already. So after any refusal,
// planned or not, the program is aware.
BOOL SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT context) {
    desktop::Call call("SetProcessDpiAwarenessContext");
    call.only("context", context, DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
    const bool decided = std::exchange(state.isDpiAware, true);
    return call.struck() || decided ? call.fail(ERROR_ACCESS_DENIED) : TRUE;
}

UINT GetDpiForWindow(HWND window) {
    desktop::Call call("GetDpiForWindow", window);
    call.only("DPI awareness", state.isDpiAware, true);
    const Window* const record = find(window);
    if (!record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return monitorOf(*record).dpi;
}

int GetSystemMetrics(int index) {
    desktop::Call call("GetSystemMetrics", index);
    return iconSize(call, index, primaryMonitor().dpi);
}

int GetSystemMetricsForDpi(int index, UINT dpi) {
    desktop::Call call("GetSystemMetricsForDpi", index, dpi);
    return iconSize(call, index, dpi);
}

HRESULT DwmFlush() {
    desktop::Call call("DwmFlush");
    if (call.struck()) return call.fail(E_FAIL);
    host::current().flush();
    return S_OK;
}
