// What a user does with a dialog: which control has the focus, keys, and the pointer on the
// controls and the caption.

#include "platform/user32/dialog.h"
#include "platform/user32/window.h"

#include <windowsx.h>

#include <utility>

namespace user32 {

namespace {

void sendCommand(const Control& control, WORD notification) {
    send(control.dialog->window, WM_COMMAND, MAKEWPARAM(control.id, notification),
         reinterpret_cast<LPARAM>(control.handle));
}

void tell(const Control* control, WORD notification) {
    if (control && control->kind == ControlKind::Box) sendCommand(*control, notification);
}

bool isButton(const Control& control) {
    return control.kind == ControlKind::CheckBox || control.kind == ControlKind::PushButton;
}

bool isTabStop(const Control& control) { return (control.style & WS_TABSTOP) && control.enabled; }

// The first control after `from`, round to it again, that the condition holds for. Without a start
// the search begins at the end that it moves away from.
template <typename Condition>
Control* nextControl(Dialog& dialog, const Control* from, bool backwards, Condition condition) {
    const auto count = dialog.controls.size(), step = backwards ? count - 1 : 1;
    auto index = backwards ? 0 : count - 1;
    if (from) index = static_cast<std::size_t>(from - dialog.controls.data());
    for (auto tries = count; tries > 0; --tries) {
        index = (index + step) % count;
        if (condition(dialog.controls[index])) return &dialog.controls[index];
    }
    return nullptr;
}

// As a click on it does. Disabled ones do nothing.
void click(Control& control) {
    Dialog& dialog = *control.dialog;
    if (control.kind == ControlKind::Close) send(dialog.window, WM_SYSCOMMAND, SC_CLOSE, 0);
    if (control.kind == ControlKind::Minimize) send(dialog.window, WM_SYSCOMMAND, SC_MINIMIZE, 0);
    if (!control.enabled || !isButton(control)) return;
    if (control.kind == ControlKind::CheckBox) control.checked = !control.checked;
    showChange(dialog);
    sendCommand(control, BN_CLICKED);
}

void losePointer(Dialog& dialog) {
    dialog.pressed = nullptr;
    dialog.over = false;
    showChange(dialog);
}

// The key whose letter is underlined; 0: none.
UINT mnemonicOf(const Control& control) {
    const std::size_t mark = mnemonicMark(control);
    if (mark == control.text.npos) return 0;
    const WCHAR letter = control.text.c_str()[mark + 1];
    return letter >= u'a' && letter <= u'z' ? letter - u'a' + u'A' : letter;
}

// The search begins after the focus, so that a letter that two controls share leads on.
void useMnemonic(Dialog& dialog, UINT key) {
    Control* const found = nextControl(dialog, dialog.focus, false, [&](const Control& each) {
        return each.enabled && mnemonicOf(each) == key;
    });
    if (!found) return;
    const bool labels = found->kind == ControlKind::Label;
    setFocus(dialog, labels ? nextTabStop(dialog, found, false) : found, true);
    click(*found);
}

void pressPlainKey(Dialog& dialog, UINT key) {
    const UINT held = state.modifiers;
    const Control* const focus = dialog.focus;
    switch (key) {
    case VK_TAB: return setFocus(dialog, nextTabStop(dialog, focus, held & MOD_SHIFT), true);
    case VK_RETURN:
        if (Control* const found = nextControl(dialog, nullptr, false, isDefault)) click(*found);
        return;
    case VK_ESCAPE: send(dialog.window, WM_COMMAND, IDCANCEL, 0); return;
    case VK_SPACE:
        if (!focus || !isButton(*focus)) return;
        dialog.pressed = dialog.focus;
        dialog.over = true;
        return showChange(dialog);
    default:
        if (held & MOD_CONTROL || (focus && focus->kind == ControlKind::Box)) return;
        useMnemonic(dialog, key);
    }
}

void pressKey(Dialog& dialog, UINT key, bool system) {
    dialog.loneAlt = system && (key == VK_MENU || key == VK_F10);
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
    Control* const pressed = dialog.pressed;
    if (key != VK_SPACE || !pressed || capture() == dialog.window) return;
    losePointer(dialog);
    click(*pressed);
}

// Texts take no clicks.
Control* controlAt(Dialog& dialog, POINT at) {
    return nextControl(dialog, nullptr, false, [&](const Control& control) {
        return (isTabStop(control) || control.kind >= ControlKind::Close) &&
               gdi::contains(areaOf(control), at);
    });
}

void pressPointer(Dialog& dialog, POINT at) {
    dialog.loneAlt = false;
    dialog.pressed = controlAt(dialog, at);
    dialog.over = true;
    dialog.grip = at;
    if (!dialog.pressed) return;
    setCapture(dialog.window);
    if (isTabStop(*dialog.pressed)) setFocus(dialog, dialog.pressed, false);
    showChange(dialog);
}

void movePointer(Dialog& dialog, POINT at) {
    if (capture() != dialog.window) return;
    if (dialog.pressed && dialog.pressed->kind == ControlKind::Caption) {
        Window& window = *find(dialog.window);
        place(window, gdi::moved(window.bounds, at.x - dialog.grip.x, at.y - dialog.grip.y));
    }
    dialog.over = controlAt(dialog, at) == dialog.pressed;
    showChange(dialog);
}

// A click is a press and a release at the same spot.
void releasePointer(Dialog& dialog, POINT at) {
    if (capture() != dialog.window) return;
    Control* const pressed = dialog.pressed;
    setCapture(nullptr);
    if (!pressed) return;
    if (pressed->kind == ControlKind::Caption) return settle(dialog, false);
    if (controlAt(dialog, at) == pressed) click(*pressed);
}

}  // namespace

bool isActive(const Dialog& dialog) { return foreground() == dialog.window; }

std::size_t mnemonicMark(const Control& control) {
    const bool isLabel = control.kind == ControlKind::Label && !(control.style & SS_NOPREFIX);
    return isLabel || isButton(control) ? control.text.find(u'&') : control.text.npos;
}

Control* nextTabStop(Dialog& dialog, const Control* from, bool backwards) {
    return nextControl(dialog, from, backwards, isTabStop);
}

void setFocus(Dialog& dialog, Control* control, bool byKey) {
    if (control) control->selected = byKey;
    Control* const before = std::exchange(dialog.focus, control);
    if (before != control) {
        if (dialog.pressed == before) dialog.pressed = nullptr;
        if (isActive(dialog)) {
            tell(before, EN_KILLFOCUS);
            tell(control, EN_SETFOCUS);
        }
    }
    showChange(dialog);
}

// A push button is the default one while it has the focus.
bool isDefault(const Control& control) {
    const Control* const focus = control.dialog->focus;
    if (focus && focus->kind == ControlKind::PushButton) return &control == focus;
    return control.kind == ControlKind::PushButton && control.style & BS_DEFPUSHBUTTON;
}

// What was held down is released; the control keeps the focus for the dialog's return.
void changeActivation(Dialog& dialog, bool active) {
    if (!active) losePointer(dialog);
    dialog.loneAlt = false;
    tell(dialog.focus, active ? EN_SETFOCUS : EN_KILLFOCUS);
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
