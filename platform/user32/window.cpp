// Who the user-interface thread is and what happens when it ends; window classes, and windows from
// their creation to their destruction.

#include "platform/user32/window.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <utility>

#include "platform/core/call.h"
#include "platform/core/mailbox.h"
#include "platform/core/objects.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"

namespace user32 {

namespace {

constexpr DWORD knownExtendedStyles = WS_EX_LAYERED | WS_EX_TOOLWINDOW | WS_EX_TOPMOST |
                                      WS_EX_TRANSPARENT | WS_EX_NOACTIVATE | WS_EX_APPWINDOW;

std::map<std::u16string, Creation> classes;  // by the name in lower case

std::atomic<bool> thereIsAThread = false;

struct Thread {
    bool entered = false;
    ~Thread() {
        if (!entered) return;
        destroyAllWindows();
        classes.clear();
        forgetHook();
        state = {};
        thereIsAThread = false;
    }
};
thread_local Thread thread;

// Releases everything that the system destroys together with a window.
void forget(HWND window) {
    std::list<Window> gone;
    gone.splice(gone.end(), windows, std::ranges::find(windows, window, &Window::handle));
    publishWindows();  // From here on no thread can post to it.
    leaveQueue(window);
    releaseHotKeys(window);
    leaveClipboard(window);
    leaveShell(window);
    host::current().destroySurface(gone.front().surface);
    if (gone.front().ofTheLayer) return;
    desktop::closeMailbox(window);
    desktop::closed("Window");
}

}  // namespace

void enterUserInterface() {
    if (thread.entered) return;
    if (thereIsAThread.exchange(true)) desktop::refuse("user interface", "second thread", 0);
    thread.entered = true;
    // Stops the process if no host has been chosen, here rather than later.
    host::current();
    desktop::withShown([](desktop::Shown& shown) { shown = {}; });
    state.begun = std::chrono::steady_clock::now();
}

Window* find(HWND window) {
    enterUserInterface();
    const auto found = std::ranges::find(windows, window, &Window::handle);
    return found == windows.end() ? nullptr : &*found;
}

Window& addWindow(const Creation& creation) {
    enterUserInterface();
    static std::uintptr_t lastHandle = 0x10000;  // No number is used twice.
    Window& window = windows.emplace_front();
    static_cast<Creation&>(window) = creation;
    window.handle = reinterpret_cast<HWND>(lastHandle += 0x10);
    window.surface = host::current().createSurface(creation.title);
    moveToFront(window);
    if (!creation.ofTheLayer) {
        desktop::opened("Window");
        desktop::openMailbox(creation.className, window.handle);
    }
    publishWindows();
    return window;
}

void destroyWindow(HWND window) {
    hide(*find(window));
    send(window, WM_DESTROY, 0, 0);
    send(window, WM_NCDESTROY, 0, 0);
    if (find(window)) forget(window);
}

void destroyAllWindows() {
    while (!windows.empty()) {
        Window& window = windows.front();
        hide(window);
        forget(window.handle);
    }
}

bool isLive(HWND window) {
    return desktop::withShown([&](const desktop::Shown& shown) {
        return std::ranges::count(shown.windows, window, &desktop::ShownWindow::handle) > 0;
    });
}

LRESULT send(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    const Window* const record = find(window);
    return record ? record->procedure(window, message, wparam, lparam) : 0;
}

}  // namespace user32

using namespace user32;

ATOM RegisterClassW(const WNDCLASSW* windowClass) {
    desktop::Call call("RegisterClassW", windowClass->lpszClassName);
    enterUserInterface();
    call.only("style", windowClass->style, 0);
    call.only("background", windowClass->hbrBackground, nullptr);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    Creation creation;
    creation.className = windowClass->lpszClassName;
    creation.procedure = windowClass->lpfnWndProc;
    creation.cursor = static_cast<UINT>(reinterpret_cast<std::uintptr_t>(windowClass->hCursor));
    if (!classes.try_emplace(desktop::lowered(creation.className), creation).second)
        return call.fail(ERROR_CLASS_ALREADY_EXISTS);
    return static_cast<ATOM>(0xC000 + classes.size());
}

HWND CreateWindowExW(DWORD extendedStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x,
                     int y, int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                     LPVOID parameter) {
    desktop::Call call("CreateWindowExW", extendedStyle, className, title, style, x, y, width,
                       height);
    enterUserInterface();
    call.only("style", style, WS_POPUP);
    call.within("extended style", extendedStyle, knownExtendedStyles);
    if (!title || parent || menu) call.refuse("title, parent or menu", 1);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    const auto found = classes.find(desktop::lowered(className));
    if (found == classes.end()) return call.fail(ERROR_CANNOT_FIND_WND_CLASS);
    Creation creation = found->second;
    creation.title = title;
    creation.style = style | WS_CLIPSIBLINGS;
    creation.extendedStyle = extendedStyle;
    creation.bounds = {x, y, x + width, y + height};
    const HWND window = addWindow(creation).handle;
    CREATESTRUCTW record{};
    record.lpCreateParams = parameter;
    record.hInstance = instance;
    record.x = x;
    record.y = y;
    record.cx = width;
    record.cy = height;
    record.style = static_cast<LONG>(creation.style);
    record.dwExStyle = extendedStyle;
    record.lpszName = title;
    record.lpszClass = creation.className.c_str();
    const auto address = reinterpret_cast<LPARAM>(&record);
    MINMAXINFO limits{};
    RECT client = creation.bounds;
    send(window, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
    if (send(window, WM_NCCREATE, 0, address) &&
        !send(window, WM_NCCALCSIZE, FALSE, reinterpret_cast<LPARAM>(&client)) &&
        send(window, WM_CREATE, 0, address) != -1) {
        send(window, WM_SIZE, SIZE_RESTORED, MAKELPARAM(width, height));
        return window;
    }
    if (find(window)) destroyWindow(window);
    return nullptr;
}

BOOL DestroyWindow(HWND window) {
    desktop::Call call("DestroyWindow", window);
    if (!find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    destroyWindow(window);
    return TRUE;
}

LONG_PTR GetWindowLongPtrW(HWND window, int index) {
    desktop::Call call("GetWindowLongPtrW", window, index);
    call.only("index", index, GWLP_USERDATA);
    const Window* const record = find(window);
    if (!record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return record->userData;
}

LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value) {
    desktop::Call call("SetWindowLongPtrW", window, index, value);
    call.only("index", index, GWLP_USERDATA, GWL_EXSTYLE);
    const auto styles = static_cast<DWORD>(value);
    if (index == GWL_EXSTYLE) call.within("extended style", styles, knownExtendedStyles);
    Window* const record = find(window);
    if (call.struck() || !record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (index == GWLP_USERDATA) return std::exchange(record->userData, value);
    // Only SetWindowPos changes whether a window is topmost.
    const DWORD before = record->extendedStyle;
    record->extendedStyle = (styles & ~DWORD{WS_EX_TOPMOST}) | (before & WS_EX_TOPMOST);
    if (!(styles & WS_EX_LAYERED)) record->opacity.reset();
    if (record->visible) updatePlacement(*record, false);
    return before;
}
