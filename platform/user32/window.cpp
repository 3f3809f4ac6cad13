// Window classes, and windows from birth to death.

#include "platform/user32/window.h"

#include <algorithm>
#include <map>

#include "platform/core/call.h"
#include "platform/core/handle_table.h"
#include "platform/core/mailbox.h"
#include "platform/core/objects.h"
#include "platform/core/text.h"
#include "platform/user32/activation.h"
#include "platform/user32/clipboard.h"
#include "platform/user32/hot_key.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/mouse.h"
#include "platform/user32/thread.h"
#include "platform/user32/timer.h"

namespace user32 {

namespace {

struct Class {
    std::u16string name;
    WNDPROC procedure;
    UINT cursor;
};

std::map<std::u16string, Class> classes;  // by the name in lower case
desktop::HandleTable<HWND, Window> table(0x10010);
std::vector<HWND> order;

std::uint64_t mailboxId(HWND window) { return reinterpret_cast<std::uintptr_t>(window); }

// Everything that the published rules take away together with a window.
void forget(HWND window) {
    const Window& record = *find(window);
    killTimersOf(window);
    releaseHotKeysOf(window);
    loseClipboard(window);
    dismissWindow(window);
    host::current().destroySurface(record.surface);
    if (!record.ofTheLayer) {
        desktop::closeMailbox(mailboxId(window));
        desktop::closed(desktop::Object::Window);
    }
    std::erase(order, window);
    table.remove(window);
    publishWindows();
}

}  // namespace

Window* find(HWND window) {
    enterUserInterface();
    return table.find(window);
}

const std::vector<HWND>& windowOrder() { return order; }

void moveToFront(HWND window) {
    std::erase(order, window);
    const bool topmost = (find(window)->extendedStyle & WS_EX_TOPMOST) != 0;
    const auto place = std::find_if(order.begin(), order.end(), [&](HWND other) {
        return topmost || !(find(other)->extendedStyle & WS_EX_TOPMOST);
    });
    order.insert(place, window);
}

Window& addWindow(const Creation& creation) {
    enterUserInterface();
    Window record;
    record.className = creation.className;
    record.title = creation.title;
    record.procedure = creation.procedure;
    record.cursor = creation.cursor;
    record.style = creation.style;
    record.extendedStyle = creation.extendedStyle;
    record.bounds = creation.bounds;
    record.ofTheLayer = creation.ofTheLayer;
    record.surface = host::current().createSurface(creation.title);
    const HWND handle = table.add(std::move(record));
    Window& window = *table.find(handle);
    window.handle = handle;
    moveToFront(handle);
    admitWindow(handle);
    if (!creation.ofTheLayer) {
        desktop::opened(desktop::Object::Window);
        desktop::openMailbox(creation.className, mailboxId(handle));
    }
    publishWindows();
    return window;
}

void destroyWindow(HWND window) {
    Window* const record = find(window);
    setVisible(*record, false);
    leaveActivation(window);
    send(window, WM_DESTROY, 0, 0);
    send(window, WM_NCDESTROY, 0, 0);
    if (find(window)) forget(window);
}

void destroyAllWindows() {
    while (!order.empty()) {
        const HWND window = order.front();
        setVisible(*find(window), false);
        leaveActivation(window);
        forget(window);
    }
}

void forgetClasses() { classes.clear(); }

LRESULT send(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    const Window* const record = find(window);
    return record ? record->procedure(window, message, wparam, lparam) : 0;
}

}  // namespace user32

ATOM RegisterClassW(const WNDCLASSW* windowClass) {
    desktop::Call call("RegisterClassW", windowClass->lpszClassName);
    user32::enterUserInterface();
    if (windowClass->style != 0) desktop::refuse("RegisterClassW", "style", windowClass->style);
    if (windowClass->hbrBackground) desktop::refuse("RegisterClassW", "background", 1);
    const std::u16string name = windowClass->lpszClassName;
    if (call.struck()) return static_cast<ATOM>(call.fail(ERROR_NOT_ENOUGH_MEMORY));
    const auto cursor = reinterpret_cast<std::uintptr_t>(windowClass->hCursor);
    const bool isNew = user32::classes
                           .insert({desktop::lowered(name),
                                    {name, windowClass->lpfnWndProc, static_cast<UINT>(cursor)}})
                           .second;
    if (!isNew) return static_cast<ATOM>(call.fail(ERROR_CLASS_ALREADY_EXISTS));
    return static_cast<ATOM>(0xC000 + user32::classes.size());
}

namespace {

CREATESTRUCTW creationRecord(const user32::Creation& creation, HINSTANCE instance,
                             LPVOID parameter) {
    CREATESTRUCTW record{};
    record.lpCreateParams = parameter;
    record.hInstance = instance;
    record.x = creation.bounds.left;
    record.y = creation.bounds.top;
    record.cx = creation.bounds.right - creation.bounds.left;
    record.cy = creation.bounds.bottom - creation.bounds.top;
    record.style = static_cast<LONG>(creation.style);
    record.dwExStyle = creation.extendedStyle;
    record.lpszClass = creation.className.c_str();
    record.lpszName = creation.title.c_str();
    return record;
}

constexpr DWORD knownExtendedStyles = WS_EX_LAYERED | WS_EX_TOOLWINDOW | WS_EX_TOPMOST |
                                      WS_EX_TRANSPARENT | WS_EX_NOACTIVATE | WS_EX_APPWINDOW;

}  // namespace

HWND CreateWindowExW(DWORD extendedStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x,
                     int y, int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                     LPVOID parameter) {
    desktop::Call call("CreateWindowExW", extendedStyle, className, title, style, x, y, width,
                       height);
    user32::enterUserInterface();
    if (style != WS_POPUP) desktop::refuse("CreateWindowExW", "style", style);
    if (extendedStyle & ~knownExtendedStyles)
        desktop::refuse("CreateWindowExW", "extended style", extendedStyle);
    if (parent || menu) desktop::refuse("CreateWindowExW", "parent or menu", 1);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY), nullptr;
    const auto found = user32::classes.find(desktop::lowered(className));
    if (found == user32::classes.end()) return call.fail(ERROR_CANNOT_FIND_WND_CLASS), nullptr;
    const user32::Creation creation{found->second.name,
                                    title ? title : u"",
                                    found->second.procedure,
                                    found->second.cursor,
                                    style | WS_CLIPSIBLINGS,
                                    extendedStyle,
                                    {x, y, x + width, y + height},
                                    false};
    const HWND window = user32::addWindow(creation).handle;
    CREATESTRUCTW record = creationRecord(creation, instance, parameter);
    const auto address = reinterpret_cast<LPARAM>(&record);
    MINMAXINFO limits{};
    RECT client = creation.bounds;
    user32::send(window, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
    const bool wanted =
        user32::send(window, WM_NCCREATE, 0, address) != 0 &&
        (user32::send(window, WM_NCCALCSIZE, FALSE, reinterpret_cast<LPARAM>(&client)),
         user32::send(window, WM_CREATE, 0, address) != -1);
    if (wanted) user32::send(window, WM_SIZE, SIZE_RESTORED, MAKELPARAM(width, height));
    if (wanted) return window;
    if (user32::find(window)) user32::destroyWindow(window);
    return nullptr;
}

BOOL DestroyWindow(HWND window) {
    desktop::Call call("DestroyWindow", window);
    if (!user32::find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    user32::destroyWindow(window);
    return TRUE;
}

LONG_PTR GetWindowLongPtrW(HWND window, int index) {
    desktop::Call call("GetWindowLongPtrW", window, index);
    if (index != GWLP_USERDATA) desktop::refuse("GetWindowLongPtrW", "index", index);
    const user32::Window* const record = user32::find(window);
    if (!record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return record->userData;
}

LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value) {
    desktop::Call call("SetWindowLongPtrW", window, index, value);
    if (index != GWLP_USERDATA && index != GWL_EXSTYLE)
        desktop::refuse("SetWindowLongPtrW", "index", index);
    if (index == GWL_EXSTYLE && value & ~static_cast<LONG_PTR>(knownExtendedStyles))
        desktop::refuse("SetWindowLongPtrW", "extended style", value);
    user32::Window* const record = user32::find(window);
    if (call.struck() || !record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (index == GWLP_USERDATA) return std::exchange(record->userData, value);
    // Only an order makes a window topmost, or stops it from being so.
    const DWORD before = record->extendedStyle;
    record->extendedStyle =
        (static_cast<DWORD>(value) & ~DWORD{WS_EX_TOPMOST}) | (before & WS_EX_TOPMOST);
    if (!(value & WS_EX_LAYERED)) record->opacity.reset();
    if (record->visible) user32::updatePlacement(*record, false);
    return before;
}
