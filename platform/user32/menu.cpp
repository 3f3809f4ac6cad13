// Popup menus: built, shown, and run in a loop of their own.

#include <algorithm>
#include <atomic>
#include <optional>
#include <utility>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"
#include "platform/user32/dialog.h"
#include "platform/user32/window.h"

#include <windowsx.h>

namespace user32 {

namespace {

using Entry = desktop::MenuEntry;
using Menu = std::vector<Entry>;

desktop::HandleTable<HMENU, Menu> menus(0x25000000, "Menu");

// The one menu that is open.
struct OpenMenu {
    HWND window = nullptr;
    Menu entries;
    const Entry* hot = nullptr;  // the entry under the pointer or the cursor keys
    UINT dpi = 96;
    std::optional<UINT> chosen = 0;  // unset while it is open

    int unit(int length) const { return gdi::scaled(length, dpi); }
};
OpenMenu menu;

// The owner of the last menu, until the program has posted it a message. Before that the system
// closes the owner's next menu as soon as it opens.
std::atomic<HWND> unsettled{nullptr};

void endMenu(UINT id) {
    if (!menu.chosen) menu.chosen = id;
}

// Returns the size of the whole.
SIZE layOut() {
    const LONG edge = menu.unit(4);
    LONG across = 0, top = edge;
    for (const Entry& each : menu.entries)
        across = std::max(across, gdi::measureText(each.text, look::text(menu.dpi)).cx);
    across += menu.unit(72);
    for (Entry& each : menu.entries) {
        const LONG bottom = top + menu.unit(each.separator ? 9 : 28);
        each.area = {edge, top, across - edge, bottom};
        top = bottom;
    }
    return {across, top + edge};
}

// At the pointer, but wholly on the monitor: a menu at the taskbar opens upwards.
RECT boundsAt(POINT at, const RECT& screen, SIZE size) {
    const LONG top = at.y + size.cy <= screen.bottom ? at.y : at.y - size.cy;
    return gdi::movedInto(screen, {at.x, top, at.x + size.cx, top + size.cy});
}

void paintEntry(const gdi::Canvas& canvas, const Entry& entry) {
    const RECT& area = entry.area;
    if (entry.separator) {
        const LONG middle = (area.top + area.bottom) / 2;
        return gdi::fill(canvas, {area.left, middle, area.right, middle + 1}, look::line);
    }
    if (&entry == menu.hot) gdi::fill(canvas, area, look::light);
    gdi::drawLine(canvas, {area.left + menu.unit(28), area.top, area.right, area.bottom},
                  entry.text, look::text(menu.dpi, !entry.enabled));
}

void paint(const gdi::Canvas& canvas) {
    gdi::panel(canvas, {0, 0, canvas.width, canvas.height}, look::paper, look::border);
    for (const Entry& entry : menu.entries) paintEntry(canvas, entry);
}

void setHot(const Entry* entry) {
    if (std::exchange(menu.hot, entry) != entry) invalidate(*find(menu.window), false);
}

const Entry* entryAt(POINT at) {
    return nextIn(menu.entries, nullptr, false, [&](const Entry& entry) {
        return !entry.separator && gdi::contains(entry.area, at);
    });
}

// A grayed entry leaves the menu open.
void choose(const Entry* entry) {
    if (entry && entry->enabled) endMenu(entry->id);
}

void pressKey(WPARAM key) {
    const auto canBeHot = [](const Entry& each) { return !each.separator; };
    switch (key) {
    case VK_DOWN:
    case VK_UP: return setHot(nextIn(menu.entries, menu.hot, key == VK_UP, canBeHot));
    case VK_ESCAPE: return endMenu(0);
    case VK_RETURN: return endMenu(menu.hot && menu.hot->enabled ? menu.hot->id : 0);
    }
}

// The menu of a foreground window has the capture, so presses outside come here too and close it.
LRESULT menuProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    const POINT at{GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)};
    Window& record = *find(window);
    const bool inside = gdi::contains({0, 0, width(record), height(record)}, at);
    switch (message) {
    case WM_PAINT: paintWindow(record, paint); break;
    case WM_MOUSEMOVE: setHot(entryAt(at)); break;
    case WM_LBUTTONUP:
    case WM_RBUTTONUP: choose(entryAt(at)); break;
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
        if (!inside) endMenu(0);
        break;
    case WM_KEYDOWN:
    case WM_SYSKEYDOWN: pressKey(wparam); break;
    case WM_CAPTURECHANGED: endMenu(0); break;
    default: return answerMessage(window, message, wparam, lparam);
    }
    return 0;
}

// Keys, and presses elsewhere, reach the menu only if its owner has the foreground.
void openAt(POINT at, const Menu& entries, HWND owner) {
    const host::Monitor monitor = nearestMonitor(at);
    menu = {.entries = entries, .dpi = monitor.dpi, .chosen = std::nullopt};
    Window& window = addWindow({u"#32768", u"", menuProcedure, arrow, WS_POPUP,
                                WS_EX_TOPMOST | WS_EX_TOOLWINDOW | WS_EX_NOACTIVATE,
                                boundsAt(at, monitor.bounds, layOut()), true});
    menu.window = window.handle;
    show(window);
    raise(window);
    if (foreground() == owner) {
        host::current().focusSurface(window.surface);
        setCapture(window.handle);
        state.menu = window.handle;
    }
    desktop::withShown([](desktop::Shown& shown) { shown.menu = menu.entries; });
}

}  // namespace

UINT runMenu(const Menu& entries, POINT at, HWND owner) {
    openAt(at, entries, owner);
    runLoop([&] { return menu.chosen || !isLive(owner); });
    endMenu(0);
    state.menu = nullptr;
    unsettled = owner;
    desktop::withShown([](desktop::Shown& shown) { shown.menu.clear(); });
    destroyWindow(menu.window);
    if (!foreground() || !find(foreground())->visible) host::current().focusSurface(0);
    return *menu.chosen;
}

void settleMenuOf(HWND owner) { unsettled.compare_exchange_strong(owner, nullptr); }

}  // namespace user32

using namespace user32;

HMENU CreatePopupMenu() {
    desktop::Call call("CreatePopupMenu");
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    return menus.add({});
}

BOOL AppendMenuW(HMENU handle, UINT flags, UINT_PTR id, LPCWSTR text) {
    desktop::Call call("AppendMenuW", handle, flags, id, text);
    call.only("flags", flags, MF_STRING, MF_GRAYED, MF_SEPARATOR);
    Menu* const found = menus.find(handle);
    if (call.struck() || !found) return call.fail(ERROR_INVALID_MENU_HANDLE);
    found->push_back({static_cast<UINT>(id), text ? desktop::toUtf8(text) : "", flags == MF_STRING,
                      flags == MF_SEPARATOR});
    return TRUE;
}

// The owner's death ends the menu with an error, and a quit that its end has posted stays for the
// loop outside.
BOOL TrackPopupMenu(HMENU handle, UINT flags, int x, int y, int reserved, HWND owner,
                    const RECT* excluded) {
    desktop::Call call("TrackPopupMenu", flags, x, y);
    if (flags != (TPM_RIGHTBUTTON | TPM_NONOTIFY | TPM_RETURNCMD)) call.refuse("flags", flags);
    if (reserved || excluded) call.refuse("reserved", reserved);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    const Menu* const entries = menus.find(handle);
    if (!entries) return call.fail(ERROR_INVALID_MENU_HANDLE);
    if (!find(owner)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (!menu.chosen) return call.fail(ERROR_POPUP_ALREADY_ACTIVE);
    if (unsettled.exchange(nullptr) == owner) return 0;
    const UINT chosen = runMenu(*entries, {x, y}, owner);
    if (!isLive(owner)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return static_cast<BOOL>(chosen);
}

BOOL DestroyMenu(HMENU handle) {
    desktop::Call call("DestroyMenu", handle);
    if (!menus.remove(handle)) return call.fail(ERROR_INVALID_MENU_HANDLE);
    return TRUE;
}
