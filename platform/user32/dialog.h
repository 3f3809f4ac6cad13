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

struct Dialog;

// The last three are the parts of the caption.
enum class ControlKind { Label, Box, CheckBox, PushButton, Sign, Close, Minimize, Caption };

struct Control {
    ControlKind kind{};
    int id = 0;
    DWORD style = 0;
    std::u16string className, text;  // the class in lower case
    // In the dialog's client area: a quarter of the letters' average width across, an eighth of
    // their height down.
    RECT units{};
    UINT sign = 0;  // MB_ICONERROR and its like
    Dialog* dialog = nullptr;
    HWND handle = nullptr;
    bool enabled = true;
    bool checked = false;
    bool selected = false;  // all of its text
};

struct Dialog {
    Creation creation;  // all but class, procedure and bounds
    DLGPROC procedure = nullptr;
    HWND owner = nullptr;       // disabled while the dialog is open
    int width = 0, height = 0;  // of the client area, in dialog units
    int paperHeight = 0;        // of its upper part that is white
    UINT dpi = 96;
    SIZE letter{};  // what a dialog unit is made from, in pixels
    std::vector<Control> controls;
    HWND window = nullptr;
    Control* focus = nullptr;
    Control* pressed = nullptr;  // what the pointer or the space bar holds down
    bool over = false;           // and the pointer is still on it
    POINT grip{};                // where the pointer holds the caption
    bool loneAlt = false;        // Alt or F10 went down and no other key since
    HICON icons[2]{};            // ICON_SMALL, ICON_BIG
    bool done = false;
    INT_PTR result = 0;
};

// From the first message to the last; the result is 1 after a quit, which stays for the loop
// outside.
INT_PTR runDialog(Dialog description, const host::Monitor& monitor, LPARAM parameter);
// The dialog vanishes now, but its loop ends only when it next looks.
void endDialog(Dialog& dialog, INT_PTR result);

Dialog* findDialog(HWND window);  // null if that is none
const Dialog* openDialog();       // the program's, without message boxes; null: none
// To be called after every change that a user could see.
void showChange(Dialog& dialog);

// --- dialog_template.cpp: nothing if there is no such resource
std::optional<Dialog> readDialogTemplate(std::uintptr_t id);

// --- dialog_input.cpp
bool isActive(const Dialog& dialog);
Control* nextTabStop(Dialog& dialog, const Control* from, bool backwards);
void setFocus(Dialog& dialog, Control* control, bool byKey);
bool isDefault(const Control& control);
// Where the mark of the letter to underline is in the control's text, or npos.
std::size_t mnemonicMark(const Control& control);
void changeActivation(Dialog& dialog, bool active);
// Keys and pointer belong to the controls and the caption. True: nothing else is to be done.
bool takeInputMessage(Dialog& dialog, UINT message, WPARAM wparam, LPARAM lparam);

// --- dialog_view.cpp
void setDpi(Dialog& dialog, UINT dpi);
SIZE sizeOf(const Dialog& dialog);
RECT areaOf(const Control& control);
// Takes over the scale of the monitor that has the dialog's middle. `bringIn`: the monitors have
// changed, and no part of the dialog is to be left outside.
void settle(Dialog& dialog, bool bringIn);
void paint(const Dialog& dialog, const gdi::Canvas& canvas);

}  // namespace user32
