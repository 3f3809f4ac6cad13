// Popup menus: built, shown, and run in a loop of their own.

#include <algorithm>
#include <atomic>
#include <vector>

#include "platform/core/call.h"
#include "platform/core/handle_table.h"
#include "platform/core/objects.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"
#include "platform/user32/activation.h"
#include "platform/user32/look.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/modal.h"
#include "platform/user32/monitor.h"
#include "platform/user32/mouse.h"
#include "platform/user32/window.h"

#include <windowsx.h>

namespace user32 {

namespace {

struct Entry {
    UINT id;
    std::u16string text;
    bool enabled, separator;
};
using Menu = std::vector<Entry>;

desktop::HandleTable<HMENU, Menu> menus(0x25000000);

// The one menu that is open.
struct OpenMenu {
    HWND window = nullptr;
    Menu entries;
    int hot = -1;  // the entry under the pointer or the cursor keys
    UINT dpi = 96;
    bool done = true;
    UINT chosen = 0;
};
OpenMenu menu;

// The owner of the last menu, until the program has posted it a message. Before that the system
// closes the owner's next menu as soon as it opens.
std::atomic<HWND> unsettled{nullptr};

int heightOf(const Entry& entry) { return scaled(entry.separator ? 9 : 28, menu.dpi); }

RECT areaOf(int index) {
    const Window& window = *find(menu.window);
    LONG top = scaled(4, menu.dpi);
    for (int before = 0; before < index; ++before)
        top += heightOf(menu.entries[static_cast<std::size_t>(before)]);
    const int rest = heightOf(menu.entries[static_cast<std::size_t>(index)]);
    return {scaled(4, menu.dpi), top, width(window) - scaled(4, menu.dpi), top + rest};
}

SIZE sizeOfMenu() {
    SIZE size{0, scaled(8, menu.dpi)};
    for (const Entry& entry : menu.entries) {
        const LONG text = gdi::measureText(entry.text, look::textFace(menu.dpi)).cx;
        size.cx = std::max(size.cx, text);
        size.cy += heightOf(entry);
    }
    size.cx += scaled(72, menu.dpi);
    return size;
}

// At the pointer, but on the monitor as a whole: a menu at the taskbar opens upwards.
RECT boundsAt(POINT at) {
    const RECT screen = nearestMonitor(at).bounds;
    const SIZE size = sizeOfMenu();
    const LONG left = std::max(screen.left, std::min(at.x, screen.right - size.cx));
    const LONG top = at.y + size.cy <= screen.bottom ? at.y : std::max(screen.top, at.y - size.cy);
    return {left, top, left + size.cx, top + size.cy};
}

void paintEntry(const gdi::Canvas& canvas, int index) {
    const Entry& entry = menu.entries[static_cast<std::size_t>(index)];
    const RECT area = areaOf(index);
    if (entry.separator) {
        const LONG middle = (area.top + area.bottom) / 2;
        return gdi::fill(canvas, {area.left, middle, area.right, middle + 1}, look::line);
    }
    if (index == menu.hot) gdi::fill(canvas, area, look::light);
    gdi::TextStyle style;
    style.face = look::textFace(menu.dpi);
    style.color = entry.enabled ? look::ink : look::faint;
    const LONG height = gdi::measureText(entry.text, style.face).cy;
    const LONG top = area.top + (area.bottom - area.top - height) / 2;
    gdi::drawText(canvas, {area.left + scaled(28, menu.dpi), top, area.right, area.bottom},
                  entry.text, style);
}

void paint(Window& window) {
    const gdi::Canvas canvas{window.pixels.data(), width(window), height(window), width(window)};
    const RECT whole{0, 0, canvas.width, canvas.height};
    gdi::fill(canvas, whole, look::paper);
    for (int index = 0; index < static_cast<int>(menu.entries.size()); ++index)
        paintEntry(canvas, index);
    gdi::frame(canvas, whole, look::border);
    window.dirty = {};
    present(window);
}

void setHot(int index) {
    if (menu.hot == index) return;
    menu.hot = index;
    Window& window = *find(menu.window);
    invalidate(window, false);
}

int entryAt(POINT at) {
    for (int index = 0; index < static_cast<int>(menu.entries.size()); ++index)
        if (!menu.entries[static_cast<std::size_t>(index)].separator &&
            gdi::contains(areaOf(index), at))
            return index;
    return -1;
}

// A greyed entry that is clicked leaves the menu open.
void choose(int index) {
    if (index < 0) return;
    const Entry& entry = menu.entries[static_cast<std::size_t>(index)];
    if (entry.enabled) endMenu(entry.id);
}

void moveHot(int step) {
    const int count = static_cast<int>(menu.entries.size());
    int index = menu.hot < 0 && step < 0 ? 0 : menu.hot;
    do index = (index + step + count) % count;
    while (menu.entries[static_cast<std::size_t>(index)].separator);
    setHot(index);
}

void pressKey(WPARAM key) {
    switch (key) {
    case VK_DOWN: return moveHot(1);
    case VK_UP: return moveHot(-1);
    case VK_ESCAPE: return endMenu(0);
    case VK_RETURN: {
        const bool enabled =
            menu.hot >= 0 && menu.entries[static_cast<std::size_t>(menu.hot)].enabled;
        return enabled ? choose(menu.hot) : endMenu(0);
    }
    default: return;
    }
}

// The menu of a foreground window has the capture, so presses outside come here too and close it.
LRESULT menuProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    const POINT at{GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)};
    Window& record = *find(window);
    const bool inside = gdi::contains({0, 0, width(record), height(record)}, at);
    switch (message) {
    case WM_PAINT: paint(record); break;
    case WM_MOUSEMOVE: setHot(inside ? entryAt(at) : -1); break;
    case WM_LBUTTONUP:
    case WM_RBUTTONUP:
        if (inside) choose(entryAt(at));
        break;
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

void publish() {
    std::vector<desktop::MenuEntry> entries;
    if (!menu.done)
        for (const Entry& entry : menu.entries)
            entries.push_back(
                {entry.id, desktop::toUtf8(entry.text), entry.enabled, entry.separator});
    desktop::withShown([&](desktop::Shown& shown) { shown.menu = entries; });
}

// Keys, and presses elsewhere, reach the menu only if its owner has the foreground.
void openAt(POINT at, const Menu& entries, HWND owner) {
    menu = {};
    menu.entries = entries;
    menu.dpi = nearestMonitor(at).dpi;
    menu.done = false;
    Creation creation;
    creation.className = u"#32768";
    creation.procedure = menuProcedure;
    creation.cursor = static_cast<UINT>(reinterpret_cast<std::uintptr_t>(IDC_ARROW));
    creation.style = WS_POPUP;
    creation.extendedStyle = WS_EX_TOPMOST | WS_EX_TOOLWINDOW | WS_EX_NOACTIVATE;
    creation.bounds = boundsAt(at);
    creation.ofTheLayer = true;
    Window& window = addWindow(creation);
    menu.window = window.handle;
    setVisible(window, true);
    raise(window);
    if (foreground() == owner) {
        host::current().focusSurface(window.surface);
        setCapture(window.handle);
        divertKeys(window.handle);
    }
    publish();
}

void close(HWND owner) {
    divertKeys(nullptr);
    unsettled = owner;
    menu.done = true;
    publish();
    if (capture() == menu.window) releaseCapture();
    destroyWindow(menu.window);
    if (!foreground() || !find(foreground())->visible) host::current().focusSurface(0);
}

}  // namespace

void endMenu(UINT id) {
    if (menu.done) return;
    menu.done = true;
    menu.chosen = id;
}

void settleMenuOf(HWND owner) { unsettled.compare_exchange_strong(owner, nullptr); }

void forgetMenu() {
    menu = {};
    unsettled = nullptr;
    divertKeys(nullptr);
    desktop::withShown([](desktop::Shown& shown) { shown.menu.clear(); });
}

}  // namespace user32

HMENU CreatePopupMenu() {
    desktop::Call call("CreatePopupMenu");
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY), nullptr;
    desktop::opened(desktop::Object::Menu);
    return user32::menus.add({});
}

BOOL AppendMenuW(HMENU menu, UINT flags, UINT_PTR id, LPCWSTR text) {
    desktop::Call call("AppendMenuW", menu, flags, id, text);
    if (flags != MF_STRING && flags != MF_GRAYED && flags != MF_SEPARATOR)
        desktop::refuse("AppendMenuW", "flags", flags);
    user32::Menu* const found = user32::menus.find(menu);
    if (call.struck() || !found) return call.fail(ERROR_INVALID_MENU_HANDLE);
    const bool separator = flags == MF_SEPARATOR;
    found->push_back({static_cast<UINT>(id), text ? text : u"", flags == MF_STRING, separator});
    return TRUE;
}

// The owner's death ends the menu with an error, and a quit that its end has posted stays for the
// loop outside.
BOOL TrackPopupMenu(HMENU menu, UINT flags, int x, int y, int reserved, HWND owner,
                    const RECT* excluded) {
    desktop::Call call("TrackPopupMenu", flags, x, y);
    if (flags != (TPM_RIGHTBUTTON | TPM_NONOTIFY | TPM_RETURNCMD))
        desktop::refuse("TrackPopupMenu", "flags", flags);
    if (reserved || excluded) desktop::refuse("TrackPopupMenu", "reserved", reserved);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    const user32::Menu* const entries = user32::menus.find(menu);
    if (!entries) return call.fail(ERROR_INVALID_MENU_HANDLE);
    if (!user32::find(owner)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (!user32::menu.done) return call.fail(ERROR_POPUP_ALREADY_ACTIVE);
    if (user32::unsettled.exchange(nullptr) == owner) return 0;
    user32::openAt({x, y}, *entries, owner);
    user32::runLoop([&] { return user32::menu.done || !user32::isLive(owner); });
    const UINT chosen = user32::menu.done ? user32::menu.chosen : 0;
    user32::close(owner);
    if (!user32::isLive(owner)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return static_cast<BOOL>(chosen);
}

BOOL DestroyMenu(HMENU menu) {
    desktop::Call call("DestroyMenu", menu);
    if (!user32::menus.remove(menu)) return call.fail(ERROR_INVALID_MENU_HANDLE);
    desktop::closed(desktop::Object::Menu);
    return TRUE;
}
