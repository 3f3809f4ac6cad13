// What a user does with a dialog: which control has the focus, keys, and the pointer on the
// controls, the caption and the caption's buttons.

#include "platform/user32/dialog.h"
#include "platform/user32/input.h"
#include "platform/user32/look.h"

#include <windowsx.h>

namespace user32 {

namespace {

int countOf(const Dialog& dialog) { return static_cast<int>(dialog.controls.size()); }

auto& controlAt(auto& dialog, int index) {
    return dialog.controls[static_cast<std::size_t>(index)];
}

void sendCommand(const Dialog& dialog, const Control& control, WORD notification) {
    const WPARAM command = static_cast<WORD>(control.id) | WPARAM{notification} << 16;
    send(dialog.window, WM_COMMAND, command, reinterpret_cast<LPARAM>(control.handle));
}

void tell(const Dialog& dialog, int index, WORD notification) {
    if (index == nowhere) return;
    const Control& control = controlAt(dialog, index);
    if (control.kind == ControlKind::Box) sendCommand(dialog, control, notification);
}

bool isButton(const Control& control) {
    return control.kind == ControlKind::CheckBox || control.kind == ControlKind::PushButton;
}

bool isTabStop(const Control& control) { return (control.style & WS_TABSTOP) && control.enabled; }

// The key whose letter is underlined; 0: none.
UINT mnemonicOf(const Control& control) {
    const std::size_t mark = control.text.find(u'&');
    if (mark == control.text.npos || !hasMnemonic(control)) return 0;
    const WCHAR letter = control.text.c_str()[mark + 1];
    return letter >= u'a' && letter <= u'z' ? letter - u'a' + u'A' : letter;
}

// As a click on it does. Disabled ones do nothing.
void click(Dialog& dialog, int control) {
    Control& entry = controlAt(dialog, control);
    if (!entry.enabled || !isButton(entry)) return;
    if (entry.kind == ControlKind::CheckBox) entry.checked = !entry.checked;
    showChange(dialog);
    sendCommand(dialog, entry, BN_CLICKED);
}

void losePointer(Dialog& dialog) {
    dialog.pressed = nowhere;
    dialog.over = false;
    showChange(dialog);
}

// The search begins after the focus, so that a letter that two controls share leads on.
void useMnemonic(Dialog& dialog, UINT key) {
    const int count = countOf(dialog);
    for (int tries = 1; tries <= count; ++tries) {
        const int index = (dialog.focus + tries) % count;
        const Control& control = controlAt(dialog, index);
        if (!control.enabled || mnemonicOf(control) != key) continue;
        const bool labelled = control.kind == ControlKind::Label;
        setFocus(dialog, labelled ? nextTabStop(dialog, index, false) : index, true);
        click(dialog, index);
        return;
    }
}

void pressEnter(Dialog& dialog) {
    for (int index = 0; index < countOf(dialog); ++index)
        if (isDefault(dialog, index)) return click(dialog, index);
}

void pressSpace(Dialog& dialog) {
    const Control* const focus = focused(dialog);
    if (!focus || !isButton(*focus)) return;
    dialog.pressed = dialog.focus;
    dialog.over = true;
    showChange(dialog);
}

void pressPlainKey(Dialog& dialog, UINT key) {
    const UINT held = modifiersOfInput();
    const Control* const focus = focused(dialog);
    switch (key) {
    case VK_TAB: return setFocus(dialog, nextTabStop(dialog, dialog.focus, held & MOD_SHIFT), true);
    case VK_RETURN: return pressEnter(dialog);
    case VK_ESCAPE: send(dialog.window, WM_COMMAND, IDCANCEL, 0); return;
    case VK_SPACE: return pressSpace(dialog);
    default:
        if (held & MOD_CONTROL || (focus && focus->kind == ControlKind::Box)) return;
        useMnemonic(dialog, key);
    }
}

void pressKey(Dialog& dialog, UINT key, bool system) {
    const bool menuKey = key == VK_MENU || key == VK_F10;
    dialog.loneAlt = system && menuKey;
    if (!system) return pressPlainKey(dialog, key);
    switch (key) {
    case VK_F4: send(dialog.window, WM_SYSCOMMAND, SC_CLOSE, 0); return;
    case VK_SPACE: send(dialog.window, WM_SYSCOMMAND, SC_KEYMENU, VK_SPACE); return;
    default: useMnemonic(dialog, key);
    }
}

// A button that the space bar holds is clicked when the key is released.
void releaseKey(Dialog& dialog, UINT key) {
    if ((key == VK_MENU || key == VK_F10) && dialog.loneAlt) {
        dialog.loneAlt = false;
        send(dialog.window, WM_SYSCOMMAND, SC_KEYMENU, 0);
        return;
    }
    const bool held = dialog.pressed != nowhere && capture() != dialog.window;
    if (key != VK_SPACE || !held) return;
    const int control = dialog.pressed;
    losePointer(dialog);
    click(dialog, control);
}

// Texts take no clicks.
int spotAt(const Dialog& dialog, POINT at) {
    const RECT caption = captionOf(dialog);
    if (gdi::contains(look::closeButton(caption), at)) return onClose;
    if (canMinimize(dialog) && gdi::contains(minimizeButton(caption), at)) return onMinimize;
    if (gdi::contains(caption, at)) return onCaption;
    for (int index = 0; index < countOf(dialog); ++index) {
        const Control& control = controlAt(dialog, index);
        if (isTabStop(control) && gdi::contains(areaOf(dialog, control), at)) return index;
    }
    return nowhere;
}

void pressPointer(Dialog& dialog, POINT at) {
    dialog.loneAlt = false;
    dialog.pressed = spotAt(dialog, at);
    dialog.over = true;
    dialog.grip = at;
    if (dialog.pressed == nowhere) return;
    setCapture(dialog.window);
    if (dialog.pressed >= 0) setFocus(dialog, dialog.pressed, false);
    showChange(dialog);
}

void movePointer(Dialog& dialog, POINT at) {
    if (capture() != dialog.window) return;
    if (dialog.pressed == onCaption) {
        Window& window = *find(dialog.window);
        place(window, gdi::moved(window.bounds, at.x - dialog.grip.x, at.y - dialog.grip.y));
    }
    dialog.over = spotAt(dialog, at) == dialog.pressed;
    showChange(dialog);
}

// A click is a press and a release at the same spot.
void releasePointer(Dialog& dialog, POINT at) {
    if (capture() != dialog.window) return;
    const int pressed = dialog.pressed;
    releaseCapture();
    if (pressed == onCaption) return settle(dialog, false);
    if (spotAt(dialog, at) != pressed) return;
    if (pressed >= 0) return click(dialog, pressed);
    send(dialog.window, WM_SYSCOMMAND, pressed == onClose ? SC_CLOSE : SC_MINIMIZE, 0);
}

}  // namespace

bool hasMnemonic(const Control& control) {
    const bool isRaw = control.kind == ControlKind::Label && control.style & SS_NOPREFIX;
    return control.kind != ControlKind::Box && !isRaw;
}

bool isActive(const Dialog& dialog) { return foreground() == dialog.window; }

const Control* focused(const Dialog& dialog) {
    return dialog.focus == nowhere ? nullptr : &controlAt(dialog, dialog.focus);
}

// Wraps round. Without a start the search begins at the end that it moves away from.
int nextTabStop(const Dialog& dialog, int from, bool backwards) {
    const int count = countOf(dialog), step = backwards ? count - 1 : 1;
    int index = from == nowhere && backwards ? 0 : from;
    for (int tries = 0; tries < count; ++tries) {
        index = (index + step) % count;
        if (isTabStop(controlAt(dialog, index))) return index;
    }
    return nowhere;
}

void setFocus(Dialog& dialog, int control, bool byKey) {
    if (control != nowhere) controlAt(dialog, control).selected = byKey;
    if (control != dialog.focus) {
        const int before = dialog.focus;
        dialog.focus = control;
        if (dialog.pressed == before) dialog.pressed = nowhere;
        if (isActive(dialog)) {
            tell(dialog, before, EN_KILLFOCUS);
            tell(dialog, control, EN_SETFOCUS);
        }
    }
    showChange(dialog);
}

// A push button is the default one while it has the focus.
bool isDefault(const Dialog& dialog, int control) {
    const Control* const focus = focused(dialog);
    if (focus && focus->kind == ControlKind::PushButton) return control == dialog.focus;
    const Control& entry = controlAt(dialog, control);
    return entry.kind == ControlKind::PushButton && (entry.style & BS_DEFPUSHBUTTON);
}

// What was held down is released; the control keeps the focus for the dialog's return.
void changeActivation(Dialog& dialog, bool active) {
    if (!active) losePointer(dialog);
    dialog.loneAlt = false;
    tell(dialog, dialog.focus, active ? EN_SETFOCUS : EN_KILLFOCUS);
    showChange(dialog);
}

bool takeInputMessage(Dialog& dialog, UINT message, WPARAM wparam, LPARAM lparam) {
    const POINT at{GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)};
    const UINT key = static_cast<UINT>(wparam);
    switch (message) {
    case WM_KEYDOWN:
    case WM_SYSKEYDOWN: return pressKey(dialog, key, message == WM_SYSKEYDOWN), true;
    case WM_KEYUP:
    case WM_SYSKEYUP: return releaseKey(dialog, key), true;
    case WM_LBUTTONDOWN: return pressPointer(dialog, at), true;
    case WM_MOUSEMOVE: return movePointer(dialog, at), true;
    case WM_LBUTTONUP: return releasePointer(dialog, at), true;
    case WM_CAPTURECHANGED: return losePointer(dialog), true;
    default: return false;
    }
}

}  // namespace user32
