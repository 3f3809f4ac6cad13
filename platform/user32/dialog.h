// The open dialog. There is one at most, and it belongs to the user-interface thread.

#pragma once

#include <windows.h>

#include <optional>
#include <string_view>
#include <vector>

#include "platform/user32/control.h"
#include "platform/user32/window.h"

namespace user32 {

// Where the pointer can be: a control, by its index, or one of these.
constexpr int nowhere = -1, onClose = -2, onMinimize = -3, onCaption = -4;

struct Dialog {
    HWND window = nullptr;
    DLGPROC procedure = nullptr;
    int width = 0, height = 0;  // of the client area, in dialog units
    std::vector<Control> controls;
    UINT dpi = 96;
    SIZE letter{};          // what a dialog unit is made from, in pixels
    int focus = nowhere;    // index of a control
    int pressed = nowhere;  // what the pointer or the space bar holds down
    bool over = false;      // and the pointer is still on it
    POINT grip{};           // where the pointer holds the caption
    bool loneAlt = false;   // Alt or F10 went down and no other key since
    HICON icons[2]{};       // ICON_SMALL, ICON_BIG
    bool done = false;
    INT_PTR result = 0;
};

Dialog* openDialog();             // null: none
Dialog* findDialog(HWND window);  // null if that is not the open one
Control* findControl(HWND control);
Control* findControl(HWND dialog, int id);

// To be called after every change that a person could see.
void showChange(Dialog& dialog);
void sendCommand(const Dialog& dialog, const Control& control, WORD notification);

// --- dialog_focus.cpp: indexes of controls, or nowhere
bool isActive(const Dialog& dialog);
const Control* focused(const Dialog& dialog);  // null: none
int nextTabStop(const Dialog& dialog, int from, bool backwards);
void setFocus(Dialog& dialog, int control, bool byKey);
bool isDefault(const Dialog& dialog, int control);
// As a click on it does. Disabled ones do nothing.
void click(Dialog& dialog, int control);
void changeActivation(Dialog& dialog, bool active);

// --- dialog_keys.cpp
void pressKey(Dialog& dialog, UINT key, bool system);
void releaseKey(Dialog& dialog, UINT key);

// --- dialog_pointer.cpp: positions are in window coordinates
void pressPointer(Dialog& dialog, POINT at);
void movePointer(Dialog& dialog, POINT at);
void releasePointer(Dialog& dialog, POINT at);
void losePointer(Dialog& dialog);

// --- dialog_place.cpp
void setDpi(Dialog& dialog, UINT dpi);
RECT captionOf(const Dialog& dialog);
bool canMinimize();  // only where a taskbar can bring the dialog back
RECT minimizeButton(const RECT& caption);
RECT areaOf(const Dialog& dialog, const Control& control);
RECT centeredOn(const Dialog& dialog, const RECT& area);
// Takes over the scale of the monitor that has the dialog's middle. `bringIn`: the monitors have
// changed, and no part of the dialog is to be left outside.
void settle(Dialog& dialog, bool bringIn);
void minimize(Dialog& dialog);
void paint(Dialog& dialog);

}  // namespace user32
