// The controls of a dialog: texts, the read-only box, check boxes and push buttons. They have
// handles but no windows of their own; the dialog paints them and works them.

#pragma once

#include <windows.h>

#include <string>

#include "platform/gdi32/canvas.h"

namespace user32 {

enum class ControlKind { Label, Box, CheckBox, PushButton };

struct Control {
    HWND handle = nullptr;
    int id = 0;
    ControlKind kind{};
    std::u16string className, text;  // the class in lower case
    DWORD style = 0;
    // The place in the dialog's client area: a quarter of the letters' average width across, an
    // eighth of their height down.
    RECT units{};
    bool enabled = true;
    bool checked = false;
    bool selected = false;  // all of its text
};

bool isButton(const Control& control);   // check boxes included
bool isTabStop(const Control& control);  // and enabled
// The key whose letter is underlined; 0: none.
UINT mnemonicOf(const Control& control);

struct ControlState {
    bool focused = false, pressed = false, isDefault = false;
};
void paintControl(const gdi::Canvas& canvas, const RECT& area, const Control& control, UINT dpi,
                  const ControlState& state);

}  // namespace user32
