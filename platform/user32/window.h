// The one user-interface thread and its windows: their records, classes, order, position, painting
// and monitors.
//
// The thread is the first one that asks for a window, a message or a hook. It alone touches the
// records of this folder, so none of them has a lock; what other threads may see is in
// desktop/shown.h and in the message queue. When the thread ends, everything of it goes as the
// system would take it: windows, timers, hot keys, hooks, the tray icon. A later thread can then
// follow it.

#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/gdi32/canvas.h"
#include "platform/hosts/host.h"

namespace user32 {

// Makes the calling thread the user-interface thread if there is none; stops the process if there
// is another.
void enterUserInterface();

// What modules do at these moments, in no order among them. They register at static initialization;
// the result only serves to be stored. Hiding is also a part of destruction.
enum class Moment { ThreadBegins, ThreadEnds, WindowHides, WindowIsDestroyed };
bool registerFor(Moment moment, void (*action)(HWND));
void announce(Moment moment, HWND window = nullptr);

struct Creation {
    std::u16string className, title;
    WNDPROC procedure = nullptr;
    UINT cursor = 0;  // IDC_ARROW or IDC_CROSS as a number, 0 for none
    DWORD style = 0, extendedStyle = 0;
    // On the virtual desktop. The client area is the same: frames are painted by the window itself.
    RECT bounds{};
    bool ofTheLayer = false;  // a menu or a box: not one that the program made
};

struct Window : Creation {
    HWND handle = nullptr;
    UINT shownCursor = 0;  // set by the default answer to WM_SETCURSOR
    LONG_PTR userData = 0;
    bool visible = false;
    bool enabled = true;
    bool minimized = false;
    HWND box = nullptr;                       // a message box of it, which stays above
    std::optional<BYTE> opacity;              // layered windows show nothing before it is set
    std::optional<std::vector<RECT>> region;  // in window coordinates; none: the whole window
    bool excludedFromCapture = false;
    host::Surface surface = 0;
    std::vector<std::uint32_t> pixels;
    RECT dirty{};  // in client coordinates; empty: nothing to paint
    bool erase = false;
    HDC painting = nullptr;
};

// Null if the handle is dead.
Window* find(HWND window);
HWND foreground();                       // null: another program's
HWND setForeground(HWND window);         // the record of it alone; the one before
const std::vector<HWND>& windowOrder();  // topmost first
void moveToFront(HWND window);           // in that order, as far as its style allows

// Adds the record without any message.
Window& addWindow(const Creation& creation);
// WM_DESTROY, WM_NCDESTROY, then everything that belongs to the window goes.
void destroyWindow(HWND window);
void destroyAllWindows();  // without messages: the thread has ended
bool isLive(HWND window);  // any thread

// Calls the window's procedure; 0 if the window is dead.
LRESULT send(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

// --- window_place.cpp
void setVisible(Window& window, bool visible);
void place(Window& window, const RECT& bounds);
// To the front of the windows that are topmost as it is: those stay above the others.
void raise(Window& window);
// Tells the host where and how the window is to be seen.
void updatePlacement(Window& window, bool raised);
// Copies what a user sees of the windows to desktop/shown.h.
void publishWindows();
// Something of it can be on the screen.
bool isSeen(const Window& window);
int width(const Window& window);
int height(const Window& window);
void invalidate(Window& window, bool erase);
void present(Window& window);
// Its pixels; what is painted on them is presented, and nothing is left to paint.
void paintWindow(Window& window, const std::function<void(const gdi::Canvas&)>& paint);

// --- monitor.cpp
host::Monitor primaryMonitor();
host::Monitor nearestMonitor(POINT at);
host::Monitor monitorOf(const Window& window);  // that has its middle

// Stops the process if it asks for positions before it has said that it knows of scales: Windows
// would convert them, which is not done here.
void expectDpiAwareness(const char* operation);

// --- menu.cpp
struct MenuItem {
    UINT id;
    std::u16string text;
    bool enabled = true, separator = false;
};
// Shows the menu at the position and waits; 0: nothing was chosen, or the owner is gone.
UINT runMenu(const std::vector<MenuItem>& items, POINT at, HWND owner);
// The program has posted a message to the window. Any thread.
void settleMenuOf(HWND owner);

// --- messages.cpp
// What DefWindowProcW does; stops the process at a message that it does not know.
LRESULT answerMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

}  // namespace user32
