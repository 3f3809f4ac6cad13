// The one user-interface thread: its windows, its messages, and the input that becomes messages.
//
// The thread is the first one that requests a window, a message or a hook. It alone uses the
// records of this folder, so none of them has a lock; what other threads may see is in core/shown.h
// and in the message queue. When the thread ends, all that it has is destroyed, as the system would
// do it: windows, timer, hot keys, hook, the tray icon. Then another thread can take its role.

#pragma once

#include <windows.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "platform/control.h"
#include "platform/gdi32/canvas.h"
#include "platform/hosts/host.h"

namespace user32 {

// Makes the calling thread the user-interface thread if there is none; stops the process if there
// is another.
void enterUserInterface();

// What the thread has besides its windows, until it ends.
struct State {
    HWND foreground = nullptr;  // null: another program's
    HWND capture = nullptr;
    HWND menu = nullptr;   // an open one, which gets all keys though its owner has the foreground
    bool entitled = true;  // to take the foreground
    std::chrono::steady_clock::time_point begun{};
    std::optional<int> quit;  // the code
    // MOD_ALT | MOD_CONTROL | MOD_SHIFT | MOD_WIN, as held at the input message taken last.
    UINT modifiers = 0;
    bool isInHook = false;
    // Until it is, a call for positions is refused: Windows would convert them.
    bool isDpiAware = false;
};
inline State state;

// The cursor of dialogs and menus, by its number.
inline const UINT arrow = static_cast<UINT>(reinterpret_cast<std::uintptr_t>(IDC_ARROW));

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
    HWND box = nullptr;           // a message box of it, which stays above
    std::optional<BYTE> opacity;  // layered windows show nothing before it is set
    std::vector<RECT> region;     // in window coordinates; empty: the whole window
    bool excludedFromCapture = false;
    host::Surface surface = 0;
    std::vector<std::uint32_t> pixels;  // while it is painted
    RECT dirty{};                       // in client coordinates; empty: nothing to paint
    bool erase = false;
    HDC painting = nullptr;
    // When a window of the layer gets a WM_TIMER, of which the program sees nothing.
    std::optional<std::chrono::steady_clock::time_point> alarm;
};

inline int width(const Window& window) { return window.bounds.right - window.bounds.left; }
inline int height(const Window& window) { return window.bounds.bottom - window.bounds.top; }

inline std::list<Window> windows;  // topmost first

// Null if the handle is dead.
Window* find(HWND window);
inline HWND foreground() { return state.foreground; }

// Adds the record without any message.
Window& addWindow(const Creation& creation);
// WM_DESTROY, WM_NCDESTROY, then everything that belongs to the window goes.
void destroyWindow(HWND window);
void destroyAllWindows();  // without messages: the thread has ended
bool isLive(HWND window);  // any thread

// Calls the window's procedure; 0 if the window is dead.
LRESULT send(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

// --- window_place.cpp
void show(Window& window);
void hide(Window& window);  // takes the capture and the foreground away from it
void place(Window& window, const RECT& bounds);
// To the front of the windows that are topmost as it is: those stay above the others.
void raise(Window& window);
void moveToFront(Window& window);  // without telling the host
// Tells the host where and how the window is to be seen.
void updatePlacement(Window& window, bool raised);
// Copies what a user sees of the windows to core/shown.h.
void publishWindows();
void invalidate(Window& window, bool erase);
// Calls `paint` with its pixels and presents them; nothing is left to paint.
void paintWindow(Window& window, const std::function<void(const gdi::Canvas&)>& paint);

// --- monitor.cpp
host::Monitor primaryMonitor();
host::Monitor nearestMonitor(POINT at);
host::Monitor monitorOf(const Window& window);  // that has its middle

// --- menu.cpp
// Shows the menu at the position and waits; 0: nothing was chosen, or the owner is gone.
UINT runMenu(const std::vector<desktop::MenuEntry>& entries, POINT at, HWND owner);
// The program has posted a message to the window. Any thread.
void settleMenuOf(HWND owner);

// --- messages.cpp
// What DefWindowProcW does; stops the process at a message that it does not know.
LRESULT answerMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
// Dispatches everything until `done`, or until the quit comes, which it leaves to the outer loop.
void runLoop(const std::function<bool()>& done);
// Milliseconds, as messages and key events carry them.
DWORD messageTime();
// Sends to every window that the program made.
void tellAll(UINT message, WPARAM wparam, LPARAM lparam);
// After the answers to WM_ENDSESSION; if the session really ends, the process does too.
void tellSessionEnd(bool reallyEnds);

// Any thread. Returns 0 or the error.
DWORD post(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
// The session ends for this program alone (a signal). Callable from a signal handler.
void endSessionSoon();
void leaveQueue(HWND window);  // The timer goes, and what was posted.

// --- input.cpp
// Takes events from the host until one waits for a window. False: there may be more, but posted
// messages and the end of the session do not wait for all of a flood, nor for the keys that follow
// one which the hook ate.
bool takeEvents();
// Makes a message of the event that waits. False: there is none. A message without a window: the
// event was not for one of ours.
bool takeInput(MSG& message);

// False where the program may not take the foreground: it may if it has it, if it was started or
// addressed by the user's last input, or if a program that may has named it.
bool activate(HWND window);

inline HWND capture() { return state.capture; }
// Null: no window gets it. The window that loses it, perhaps the same one, is told first.
void setCapture(HWND window);
void leaveActivation(HWND window);

// --- keyboard.cpp: a US English keyboard
// With the bit 0x100 for keys that came later and share a code with an older one; 0: the keyboard
// does not have the key.
UINT scanCodeOf(UINT key);
// Keeps the keys that the host grabs in step with what the hook may eat; false if it cannot have
// them.
bool followHook();
bool hookEats(const host::Event& event, UINT message);
// Whether the press completes a registered combination, with exactly its modifiers. Posts WM_HOTKEY
// then, but not for a repeat.
bool isHotKey(const host::Event& press, bool isRepeat);
// All of the window or one of them; returns how many there were.
std::size_t releaseHotKeys(HWND window, std::optional<int> id = {});
void forgetHook();

// --- clipboard.cpp
void leaveClipboard(HWND window);

// --- The shell is above these files and registers here, for windows that are destroyed and for the
// taskbar's events.
inline void (*leaveShell)(HWND window) = [](HWND) {};
inline void (*takeShellEvent)(const host::Event& event) = [](const host::Event&) {};

}  // namespace user32
