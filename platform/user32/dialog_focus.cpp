// Which control of the dialog has the focus, which one gets it next, and what a click on one does.

#include "platform/core/call.h"
#include "platform/user32/activation.h"
#include "platform/user32/dialog.h"

namespace user32 {

namespace {

int countOf(const Dialog& dialog) { return static_cast<int>(dialog.controls.size()); }

const Control& controlAt(const Dialog& dialog, int index) {
    return dialog.controls[static_cast<std::size_t>(index)];
}

void tell(const Dialog& dialog, int index, WORD notification) {
    if (index == nowhere) return;
    const Control& control = controlAt(dialog, index);
    if (control.kind == ControlKind::Box) sendCommand(dialog, control, notification);
}

}  // namespace

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
    if (control != nowhere) dialog.controls[static_cast<std::size_t>(control)].selected = byKey;
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

void click(Dialog& dialog, int control) {
    Control& entry = dialog.controls[static_cast<std::size_t>(control)];
    if (!entry.enabled || !isButton(entry)) return;
    if (entry.kind == ControlKind::CheckBox) entry.checked = !entry.checked;
    showChange(dialog);
    sendCommand(dialog, entry, BN_CLICKED);
}

// What was held down is given up; the control keeps the focus for the dialog's return.
void changeActivation(Dialog& dialog, bool active) {
    if (!active) losePointer(dialog);
    dialog.loneAlt = false;
    tell(dialog, dialog.focus, active ? EN_SETFOCUS : EN_KILLFOCUS);
    showChange(dialog);
}

}  // namespace user32

// Null while another program has the foreground.
HWND GetFocus() {
    desktop::Call call("GetFocus");
    const user32::Dialog* const dialog = user32::findDialog(user32::foreground());
    const user32::Control* const control = dialog ? user32::focused(*dialog) : nullptr;
    return control ? control->handle : user32::foreground();
}
