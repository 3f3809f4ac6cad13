// The published operations on a dialog's controls.

#include "platform/core/call.h"
#include "platform/user32/dialog.h"

using user32::Control;

namespace {

// The control's own dialog is the open one: there is no other.
void showChangeOf(HWND dialog) { user32::showChange(*user32::findDialog(dialog)); }

}  // namespace

HWND GetDlgItem(HWND dialog, int id) {
    desktop::Call call("GetDlgItem", dialog, id);
    const Control* const control = user32::findControl(dialog, id);
    if (!control) return call.fail(ERROR_CONTROL_ID_NOT_FOUND), nullptr;
    return control->handle;
}

BOOL SetDlgItemTextW(HWND dialog, int id, LPCWSTR text) {
    desktop::Call call("SetDlgItemTextW", dialog, id, text);
    Control* const control = user32::findControl(dialog, id);
    if (call.struck() || !control) return call.fail(ERROR_CONTROL_ID_NOT_FOUND);
    control->text = text;
    control->selected = false;
    showChangeOf(dialog);
    return TRUE;
}

UINT IsDlgButtonChecked(HWND dialog, int id) {
    desktop::Call call("IsDlgButtonChecked", dialog, id);
    const Control* const control = user32::findControl(dialog, id);
    return control && control->checked ? BST_CHECKED : BST_UNCHECKED;
}

BOOL CheckDlgButton(HWND dialog, int id, UINT check) {
    desktop::Call call("CheckDlgButton", dialog, id, check);
    if (check > BST_CHECKED) desktop::refuse("CheckDlgButton", "check", check);
    Control* const control = user32::findControl(dialog, id);
    if (call.struck() || !control) return call.fail(ERROR_CONTROL_ID_NOT_FOUND);
    control->checked = check == BST_CHECKED;
    showChangeOf(dialog);
    return TRUE;
}

// A control that is disabled loses the focus. The result is whether it was disabled before.
BOOL EnableWindow(HWND window, BOOL enable) {
    desktop::Call call("EnableWindow", window, enable);
    Control* const control = user32::findControl(window);
    if (!control) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    const bool wasDisabled = !control->enabled;
    control->enabled = enable != FALSE;
    user32::Dialog& dialog = *user32::openDialog();
    if (!enable && dialog.focus == control - dialog.controls.data())
        user32::setFocus(dialog, user32::nowhere, false);
    user32::showChange(dialog);
    return wasDisabled;
}

BOOL IsWindowEnabled(HWND window) {
    desktop::Call call("IsWindowEnabled", window);
    const Control* const control = user32::findControl(window);
    if (!control) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return control->enabled;
}
