// Who the user-interface thread is and what happens when it ends; window classes, and windows from
// their creation to their destruction.

#include "platform/user32/window.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <thread>
#include <utility>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/core/mailbox.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"

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
HWND front = nullptr;

// Exists before any static object registers.
std::vector<void (*)(HWND)>& actionsAt(Moment moment) {
    static std::map<Moment, std::vector<void (*)(HWND)>> all;
    return all[moment];
}

std::atomic<std::thread::id> owner{};

struct Ending {
    bool entered = false;
    ~Ending() {
        if (!entered) return;
        announce(Moment::ThreadEnds);
        owner = std::thread::id{};
    }
};
thread_local Ending ending;

std::uint64_t mailboxId(HWND window) { return reinterpret_cast<std::uintptr_t>(window); }

// Everything that the published rules take away together with a window.
void forget(HWND window) {
    const Window& record = *find(window);
    std::erase(order, window);
    publishWindows();  // From here on no thread can post to it.
    announce(Moment::WindowIsDestroyed, window);
    host::current().destroySurface(record.surface);
    if (!record.ofTheLayer) {
        desktop::closeMailbox(mailboxId(window));
        desktop::closed("Window");
    }
    table.remove(window);
}

const bool registered = registerFor(Moment::ThreadEnds, [](HWND) {
    destroyAllWindows();
    classes.clear();
});

}  // namespace

void enterUserInterface() {
    if (ending.entered) return;
    std::thread::id nobody{};
    if (!owner.compare_exchange_strong(nobody, std::this_thread::get_id()))
        desktop::refuse("user interface", "second thread", 0);
    ending.entered = true;
    // Asking without a choice stops the process, here rather than somewhere later.
    host::current();
    desktop::withShown([](desktop::Shown& shown) { shown = {}; });
    announce(Moment::ThreadBegins);
}

Window* find(HWND window) {
    enterUserInterface();
    return table.find(window);
}

const std::vector<HWND>& windowOrder() { return order; }
HWND foreground() { return front; }
HWND setForeground(HWND window) { return std::exchange(front, window); }

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
    static_cast<Creation&>(record) = creation;
    record.surface = host::current().createSurface(creation.title);
    const HWND handle = table.add(std::move(record));
    Window& window = *table.find(handle);
    window.handle = handle;
    moveToFront(handle);
    if (!creation.ofTheLayer) {
        desktop::opened("Window");
        desktop::openMailbox(creation.className, mailboxId(handle));
    }
    publishWindows();
    return window;
}

void destroyWindow(HWND window) {
    setVisible(*find(window), false);
    announce(Moment::WindowHides, window);
    send(window, WM_DESTROY, 0, 0);
    send(window, WM_NCDESTROY, 0, 0);
    if (find(window)) forget(window);
}

void destroyAllWindows() {
    while (!order.empty()) {
        const HWND window = order.front();
        setVisible(*find(window), false);
        announce(Moment::WindowHides, window);
        forget(window);
    }
}

bool isLive(HWND window) {
    return desktop::withShown([&](const desktop::Shown& shown) {
        return std::ranges::find(shown.windows, window, &desktop::ShownHandle::handle) !=
               shown.windows.end();
    });
}

bool registerFor(Moment moment, void (*action)(HWND)) {
    return actionsAt(moment).push_back(action), true;
}

void announce(Moment moment, HWND window) {
    for (const auto action : actionsAt(moment)) action(window);
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
    if (windowClass->hbrBackground) call.refuse("background", 1);
    const std::u16string name = windowClass->lpszClassName;
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    const auto cursor = reinterpret_cast<std::uintptr_t>(windowClass->hCursor);
    const bool isNew = classes
                           .insert({desktop::lowered(name),
                                    {name, windowClass->lpfnWndProc, static_cast<UINT>(cursor)}})
                           .second;
    if (!isNew) return call.fail(ERROR_CLASS_ALREADY_EXISTS);
    return static_cast<ATOM>(0xC000 + classes.size());
}

namespace {

constexpr DWORD knownExtendedStyles = WS_EX_LAYERED | WS_EX_TOOLWINDOW | WS_EX_TOPMOST |
                                      WS_EX_TRANSPARENT | WS_EX_NOACTIVATE | WS_EX_APPWINDOW;

}  // namespace

HWND CreateWindowExW(DWORD extendedStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x,
                     int y, int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                     LPVOID parameter) {
    desktop::Call call("CreateWindowExW", extendedStyle, className, title, style, x, y, width,
                       height);
    enterUserInterface();
    call.only("style", style, WS_POPUP);
    call.within("extended style", extendedStyle, knownExtendedStyles);
    if (parent || menu) call.refuse("parent or menu", 1);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    const auto found = classes.find(desktop::lowered(className));
    if (found == classes.end()) return call.fail(ERROR_CANNOT_FIND_WND_CLASS);
    const Creation creation{found->second.name,
                            title ? title : u"",
                            found->second.procedure,
                            found->second.cursor,
                            style | WS_CLIPSIBLINGS,
                            extendedStyle,
                            {x, y, x + width, y + height},
                            false};
    const HWND window = addWindow(creation).handle;
    CREATESTRUCTW record{parameter,
                         instance,
                         nullptr,
                         nullptr,
                         height,
                         width,
                         y,
                         x,
                         static_cast<LONG>(creation.style),
                         creation.title.c_str(),
                         creation.className.c_str(),
                         extendedStyle};
    const auto address = reinterpret_cast<LPARAM>(&record);
    MINMAXINFO limits{};
    RECT client = creation.bounds;
    send(window, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
    const bool wanted =
        send(window, WM_NCCREATE, 0, address) != 0 &&
        send(window, WM_NCCALCSIZE, FALSE, reinterpret_cast<LPARAM>(&client)) == 0 &&
        send(window, WM_CREATE, 0, address) != -1;
    if (wanted) send(window, WM_SIZE, SIZE_RESTORED, MAKELPARAM(width, height));
    if (wanted) return window;
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
    if (index == GWL_EXSTYLE && value & ~static_cast<LONG_PTR>(knownExtendedStyles))
        call.refuse("extended style", value);
    Window* const record = find(window);
    if (call.struck() || !record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (index == GWLP_USERDATA) return std::exchange(record->userData, value);
    // Only an order makes a window topmost, or stops it from being so.
    const DWORD before = record->extendedStyle;
    record->extendedStyle =
        (static_cast<DWORD>(value) & ~DWORD{WS_EX_TOPMOST}) | (before & WS_EX_TOPMOST);
    if (!(value & WS_EX_LAYERED)) record->opacity.reset();
    if (record->visible) updatePlacement(*record, false);
    return before;
}
