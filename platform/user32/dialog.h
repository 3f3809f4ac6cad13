// Modal dialogs: the program's, from its resources, and message boxes.
//
// Their controls have handles but no windows of their own; the dialog paints them and works them.

#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/control.h"
#include "platform/user32/window.h"

namespace user32 {

struct Dialog;

// Words are a label without a mnemonic. The last three are the parts of the caption.
enum class ControlKind { Sign, Words, Label, Box, CheckBox, PushButton, Close, Minimize, Caption };

// `focused` and `bounds` are those of the last showChange.
struct Control : desktop::ShownControl {
    ControlKind kind{};
    // Below the caption: a quarter of the letters' average width across, an eighth of their height
    // down.
    RECT units{};
    RECT area{};               // in the window, in pixels
    bool isPreferred = false;  // the default button while no button has the focus
    bool selected = false;     // all of its text
    Dialog* dialog = nullptr;
    HWND handle = nullptr;
};

struct Dialog {
    std::string title;
    DLGPROC procedure = nullptr;
    std::optional<desktop::ShownBox> box;  // of a message box, whose units are pixels
    HWND owner = nullptr;                  // disabled while the dialog is open
    SIZE units{};                          // below the caption
    std::vector<Control> controls;
    UINT dpi = 96;
    SIZE size{};
    int paper = 0;  // height of the upper part that is white
    HWND window = nullptr;
    Control* focus = nullptr;
    Control* pressed = nullptr;  // what the pointer or the space bar holds down
    bool over = false;           // the pointer is still on it
    POINT grip{};                // where the pointer holds the caption
    bool loneAlt = false;        // Alt or F10 went down and no other key since
    HICON icons[2]{};            // ICON_SMALL, ICON_BIG
    std::optional<INT_PTR> result;
};

// From the first message to the last; the result is 1 after a quit, which stays for the loop
// outside.
INT_PTR runDialog(Dialog description, const host::Monitor& monitor, LPARAM parameter);
// The dialog vanishes now, but its loop ends only when it next looks.
void endDialog(Dialog& dialog, INT_PTR result);

Dialog* findDialog(HWND window);  // null if that is none
inline bool isActive(const Dialog& dialog) { return foreground() == dialog.window; }
const Dialog* openDialog();  // the program's, without message boxes; null: none
// To be called after every change that a user could see.
void showChange(Dialog& dialog);

// The first element after `from`, wrapping around to it, for which the condition holds. Without
// `from` the search starts at the first element, or backwards at the last. Null: there is none.
template <typename Element, typename Condition>
Element* nextIn(std::vector<Element>& elements, const std::type_identity_t<Element>* from,
                bool backwards, Condition condition) {
    const std::size_t count = elements.size(), step = backwards ? count - 1 : 1;
    std::size_t index = backwards ? 0 : count - 1;
    if (from) index = static_cast<std::size_t>(from - elements.data());
    for (std::size_t tries = count; tries > 0; --tries) {
        index = (index + step) % count;
        if (condition(elements[index])) return &elements[index];
    }
    return nullptr;
}

// --- dialog_controls.cpp
// Computes sizes and areas.
void layOut(Dialog& dialog, UINT dpi);
// Takes over the scale of the monitor that has the dialog's middle. `bringIn`: the monitors have
// changed, and no part of the dialog is to be left outside.
void settle(Dialog& dialog, bool bringIn);
void paint(const Dialog& dialog, const gdi::Canvas& canvas);
Control* nextTabStop(Dialog& dialog, const Control* from, bool backwards = false);
void setFocus(Dialog& dialog, Control* control, bool byKey);
// What the pointer or a key holds down is released.
void loseInput(Dialog& dialog);
// Keys and pointer belong to the controls and the caption. True: nothing else is to be done.
bool takeInputMessage(Dialog& dialog, UINT message, WPARAM wparam, LPARAM lparam);

}  // namespace user32
