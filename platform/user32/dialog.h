// Modal dialogs: the program's, from its resources, and message boxes.
//
// Their controls have handles but no windows of their own; the dialog paints them and works them.

#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/user32/window.h"

namespace user32 {

enum class ControlKind { Label, Box, CheckBox, PushButton, Sign };

struct Control {
    HWND handle = nullptr;
    int id = 0;
    ControlKind kind{};
    std::u16string className, text;  // the class in lower case
    DWORD style = 0;
    // In the dialog's client area: a quarter of the letters' average width across, an eighth of
    // their height down.
    RECT units{};
    bool enabled = true;
    bool checked = false;
    bool selected = false;  // all of its text
    UINT sign = 0;          // MB_ICONERROR and its like
};

bool hasMnemonic(const Control& control);

// Where the pointer can be: a control, by its index, or one of these.
constexpr int nowhere = -1, onClose = -2, onMinimize = -3, onCaption = -4;

struct Dialog {
    HWND window = nullptr;
    HWND owner = nullptr;  // disabled while the dialog is open
    DLGPROC procedure = nullptr;
    int width = 0, height = 0;  // of the client area, in dialog units
    int paperHeight = 0;        // of its upper part that is white
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

// From the first message to the last; the result is 1 after a quit, which stays for the loop
// outside. The creation's class, procedure and bounds are filled in.
INT_PTR runDialog(Dialog dialog, Creation creation, const host::Monitor& monitor, LPARAM parameter);
// The dialog vanishes now, but its loop ends only when it next looks.
void endDialog(Dialog& dialog, INT_PTR result);

Dialog* findDialog(HWND window);  // null if that is none
// To be called after every change that a user could see.
void showChange(Dialog& dialog);

struct DialogTemplate {
    DWORD style = 0, extendedStyle = 0;
    std::u16string title;
    Dialog dialog;
};
// Nothing if there is no such resource.
std::optional<DialogTemplate> readDialogTemplate(std::uintptr_t id);

// --- dialog_input.cpp: indexes of controls, or nowhere
bool isActive(const Dialog& dialog);
const Control* focused(const Dialog& dialog);  // null: none
int nextTabStop(const Dialog& dialog, int from, bool backwards);
void setFocus(Dialog& dialog, int control, bool byKey);
bool isDefault(const Dialog& dialog, int control);
void changeActivation(Dialog& dialog, bool active);
// Keys and pointer belong to the controls and the caption. True: nothing else is to be done.
bool takeInputMessage(Dialog& dialog, UINT message, WPARAM wparam, LPARAM lparam);

// --- dialog_view.cpp
void setDpi(Dialog& dialog, UINT dpi);
SIZE sizeOf(const Dialog& dialog);
RECT captionOf(const Dialog& dialog);
bool canMinimize(const Dialog& dialog);  // only where a taskbar can bring the dialog back
RECT minimizeButton(const RECT& caption);
RECT areaOf(const Dialog& dialog, const Control& control);
// Takes over the scale of the monitor that has the dialog's middle. `bringIn`: the monitors have
// changed, and no part of the dialog is to be left outside.
void settle(Dialog& dialog, bool bringIn);
void paint(const Dialog& dialog, const gdi::Canvas& canvas);

}  // namespace user32
