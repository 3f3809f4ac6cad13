// The keyboard in a dialog: Tab, Enter, Esc, Space, mnemonics and the system's keys.

#include "platform/user32/dialog.h"
#include "platform/user32/input.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/mouse.h"

namespace user32 {

namespace {

// The search begins behind the focus, so that a letter that two controls share leads on.
void useMnemonic(Dialog& dialog, UINT key) {
    const int count = static_cast<int>(dialog.controls.size());
    for (int tries = 1; tries <= count; ++tries) {
        const int index = (dialog.focus + tries) % count;
        const Control& control = dialog.controls[static_cast<std::size_t>(index)];
        if (!control.enabled || mnemonicOf(control) != key) continue;
        const bool labelled = control.kind == ControlKind::Label;
        setFocus(dialog, labelled ? nextTabStop(dialog, index, false) : index, true);
        click(dialog, index);
        return;
    }
}

void pressEnter(Dialog& dialog) {
    for (std::size_t index = 0; index < dialog.controls.size(); ++index)
        if (isDefault(dialog, static_cast<int>(index)))
            return click(dialog, static_cast<int>(index));
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

}  // namespace

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

// A button that the space bar holds is clicked when it is let go.
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

}  // namespace user32
