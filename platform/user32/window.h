// Windows of this program: their records, classes, order and place on the screen.
//
// Everything here belongs to the user-interface thread.

#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/hosts/host.h"

namespace user32 {

struct Window {
    HWND handle = nullptr;
    std::u16string className, title;
    WNDPROC procedure = nullptr;
    UINT cursor = 0;       // its class's: IDC_ARROW or IDC_CROSS as a number, 0 for none
    UINT shownCursor = 0;  // set by the default answer to WM_SETCURSOR
    DWORD style = 0;
    DWORD extendedStyle = 0;
    LONG_PTR userData = 0;
    RECT bounds{};  // on the virtual desktop; the client area is the same, frames are painted by
                    // the window itself
    bool visible = false;
    bool enabled = true;
    HWND box = nullptr;  // a message box of it, which stays above
    bool minimized = false;
    bool ofTheLayer = false;                  // a menu or a box: not one that the program made
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
const std::vector<HWND>& windowOrder();  // topmost first
void moveToFront(HWND window);           // in that order, as far as its style allows

struct Creation {
    std::u16string className, title;
    WNDPROC procedure = nullptr;
    UINT cursor = 0;
    DWORD style = 0, extendedStyle = 0;
    RECT bounds{};
    bool ofTheLayer = false;
};
// Adds the record without any message.
Window& addWindow(const Creation& creation);
// WM_DESTROY, WM_NCDESTROY, then everything that hangs on the window goes.
void destroyWindow(HWND window);
void destroyAllWindows();  // without messages: the thread has ended
void forgetClasses();

// Calls the window's procedure; 0 if the window is dead.
LRESULT send(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

// --- window_place.cpp
void setVisible(Window& window, bool visible);
void place(Window& window, const RECT& bounds);
// To the front of the windows that are topmost as it is: those stay above the others.
void raise(Window& window);
// Tells the host where and how the window is to be seen.
void updatePlacement(Window& window, bool raised);
// Copies what a person sees of the windows to desktop/shown.h.
void publishWindows();
// Something of it can be on the screen.
bool isSeen(const Window& window);

// --- default_procedure.cpp
// What DefWindowProcW does; stops the process at a message that it does not know.
LRESULT answerMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

// --- paint.cpp
void invalidate(Window& window, bool erase);
void present(Window& window);

int width(const Window& window);
int height(const Window& window);

}  // namespace user32
