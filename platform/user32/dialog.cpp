// A modal dialog from its template to its result: its loop, and what it does with the messages that
// the program's procedure leaves to it.

#include "platform/user32/dialog.h"

#include <algorithm>
#include <utility>

#include "platform/core/call.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"
#include "platform/user32/activation.h"
#include "platform/user32/dialog_template.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/modal.h"
#include "platform/user32/monitor.h"
#include "platform/user32/thread.h"

#include <windowsx.h>

namespace user32 {

namespace {

std::optional<Dialog> open;

desktop::ShownControl shownControl(const Dialog& dialog, const Control& control) {
    const RECT& bounds = find(dialog.window)->bounds;
    return {control.id,
            desktop::toUtf8(control.className),
            desktop::toUtf8(control.text),
            control.checked,
            control.enabled,
            isActive(dialog) && focused(dialog) == &control,
            gdi::moved(areaOf(dialog, control), bounds.left, bounds.top)};
}

void publish(const Dialog* dialog) {
    std::optional<desktop::ShownDialog> shownDialog;
    if (dialog && find(dialog->window)->visible) {
        shownDialog.emplace();
        shownDialog->title = desktop::toUtf8(find(dialog->window)->title);
        for (const Control& control : dialog->controls)
            shownDialog->controls.push_back(shownControl(*dialog, control));
    }
    desktop::withShown([&](desktop::Shown& shown) { shown.dialog = shownDialog; });
}

// The system's menu of a window: what its caption's buttons do. It opens below the caption.
void runSystemMenu(const Dialog& dialog) {
    const RECT& bounds = find(dialog.window)->bounds;
    const HMENU menu = CreatePopupMenu();
    if (canMinimize()) AppendMenuW(menu, MF_STRING, SC_MINIMIZE, TEXT("Minimize"));
    AppendMenuW(menu, MF_STRING, SC_CLOSE, TEXT("Close"));
    const BOOL chosen =
        TrackPopupMenu(menu, TPM_RIGHTBUTTON | TPM_NONOTIFY | TPM_RETURNCMD, bounds.left,
                       bounds.top + captionOf(dialog).bottom, 0, dialog.window, nullptr);
    DestroyMenu(menu);
    if (chosen) send(dialog.window, WM_SYSCOMMAND, static_cast<WPARAM>(chosen), 0);
}

void runSystemCommand(Dialog& dialog, WPARAM command) {
    switch (command & 0xFFF0) {
    case SC_CLOSE: send(dialog.window, WM_CLOSE, 0, 0); return;
    case SC_MINIMIZE: return minimize(dialog);
    case SC_KEYMENU: return runSystemMenu(dialog);
    default: desktop::refuse("DialogBoxParamW", "system command", static_cast<int>(command));
    }
}

LRESULT setIcon(Dialog& dialog, WPARAM size, LPARAM icon) {
    if (size != ICON_SMALL && size != ICON_BIG)
        desktop::refuse("DialogBoxParamW", "size of an icon", static_cast<int>(size));
    const HICON before = std::exchange(dialog.icons[size], reinterpret_cast<HICON>(icon));
    showChange(dialog);
    return reinterpret_cast<LRESULT>(before);
}

LRESULT answerByDefault(Dialog& dialog, UINT message, WPARAM wparam, LPARAM lparam) {
    switch (message) {
    case WM_INITDIALOG:
    case WM_SETFONT:
    case WM_COMMAND: return 0;
    case WM_DPICHANGED:
        place(*find(dialog.window), *reinterpret_cast<const RECT*>(lparam));
        return 0;
    case WM_SETICON: return setIcon(dialog, wparam, lparam);
    case WM_CLOSE: post({dialog.window, WM_COMMAND, IDCANCEL, 0, 0, {}}); return 0;
    case WM_SYSCOMMAND: return runSystemCommand(dialog, wparam), 0;
    case WM_ACTIVATE: return changeActivation(dialog, wparam != WA_INACTIVE), 0;
    case WM_DISPLAYCHANGE: return settle(dialog, true), 0;
    case WM_NEXTDLGCTL:
        if (lparam) desktop::refuse("DialogBoxParamW", "control in WM_NEXTDLGCTL", lparam);
        return setFocus(dialog, nextTabStop(dialog, dialog.focus, wparam != 0), true), 0;
    default: return answerMessage(dialog.window, message, wparam, lparam);
    }
}

// Keys and pointer belong to the controls and the caption. True: nothing else is to be done.
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
    case WM_PAINT: return paint(dialog), true;
    default: return false;
    }
}

LRESULT dialogProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    Dialog* const dialog = findDialog(window);
    if (!dialog || takeInputMessage(*dialog, message, wparam, lparam)) return 0;
    if (dialog->procedure(window, message, wparam, lparam)) return 0;
    return answerByDefault(*dialog, message, wparam, lparam);
}

void makeDialog(const DialogTemplate& description, DLGPROC procedure) {
    constexpr DWORD style = WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;
    if (description.style != (style | DS_CENTER | DS_SETFONT))
        desktop::refuse("DialogBoxParamW", "style", description.style);
    if (description.extendedStyle != WS_EX_APPWINDOW)
        desktop::refuse("DialogBoxParamW", "extended style", description.extendedStyle);
    const host::Monitor monitor = primaryMonitor();
    open.emplace();
    open->procedure = procedure;
    open->width = description.width;
    open->height = description.height;
    open->controls = description.controls;
    setDpi(*open, monitor.dpi);
    Creation creation;
    creation.className = u"#32770";
    creation.title = description.title;
    creation.procedure = dialogProcedure;
    creation.cursor = static_cast<UINT>(reinterpret_cast<std::uintptr_t>(IDC_ARROW));
    creation.style = style;
    creation.extendedStyle = description.extendedStyle;
    creation.bounds = centeredOn(*open, monitor.bounds);
    open->window = addWindow(creation).handle;
}

// The procedure hears of the font before anything is set up. Where it leaves the focus to the
// system, it may have disabled the control that was to get it.
void initialise(LPARAM parameter) {
    send(open->window, WM_SETFONT, 0, 0);
    setFocus(*open, nextTabStop(*open, nowhere, false), true);
    const auto control = reinterpret_cast<WPARAM>(focused(*open)->handle);
    if (!open->procedure(open->window, WM_INITDIALOG, control, parameter))
        desktop::refuse("DialogBoxParamW", "focus set by the program", 0);
    if (open->done) return;
    setFocus(*open, nextTabStop(*open, nowhere, false), true);
    setVisible(*find(open->window), true);
    activate(open->window);
    showChange(*open);
}

// A quit ends the loop without a result, and stays for the loop outside.
INT_PTR finish() {
    const INT_PTR result = open->done ? open->result : 1;
    destroyWindow(open->window);
    publish(nullptr);
    open.reset();
    return result;
}

}  // namespace

Dialog* openDialog() { return open ? &*open : nullptr; }

Dialog* findDialog(HWND window) { return open && open->window == window ? &*open : nullptr; }

Control* findControl(HWND control) {
    if (!open || !control) return nullptr;
    for (Control& entry : open->controls)
        if (entry.handle == control) return &entry;
    return nullptr;
}

Control* findControl(HWND window, int id) {
    Dialog* const dialog = findDialog(window);
    if (!dialog) return nullptr;
    const auto found = std::find_if(dialog->controls.begin(), dialog->controls.end(),
                                    [&](const Control& control) { return control.id == id; });
    return found == dialog->controls.end() ? nullptr : &*found;
}

void showChange(Dialog& dialog) {
    invalidate(*find(dialog.window), false);
    publish(&dialog);
}

void sendCommand(const Dialog& dialog, const Control& control, WORD notification) {
    const WPARAM command = static_cast<WORD>(control.id) | WPARAM{notification} << 16;
    send(dialog.window, WM_COMMAND, command, reinterpret_cast<LPARAM>(control.handle));
}

void forgetDialog() { open.reset(); }

}  // namespace user32

INT_PTR DialogBoxParamW(HINSTANCE instance, LPCWSTR name, HWND owner, DLGPROC procedure,
                        LPARAM parameter) {
    const auto id = reinterpret_cast<std::uintptr_t>(name);
    desktop::Call call("DialogBoxParamW", instance, id, owner);
    user32::enterUserInterface();
    if (!IS_INTRESOURCE(name)) desktop::refuse("DialogBoxParamW", "name that is text", 1);
    if (owner) desktop::refuse("DialogBoxParamW", "owner", 1);
    if (user32::open) desktop::refuse("DialogBoxParamW", "second dialog", 1);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY), -1;
    const auto description = user32::readDialogTemplate(id);
    if (!description) return call.fail(ERROR_RESOURCE_NAME_NOT_FOUND), -1;
    user32::makeDialog(*description, procedure);
    user32::initialise(parameter);
    user32::runLoop([] { return user32::open->done; });
    return user32::finish();
}

// The dialog vanishes at once, but its loop ends only when it next looks.
BOOL EndDialog(HWND window, INT_PTR result) {
    desktop::Call call("EndDialog", window, result);
    user32::Dialog* const dialog = user32::findDialog(window);
    if (!dialog) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    dialog->done = true;
    dialog->result = result;
    user32::setVisible(*user32::find(window), false);
    user32::leaveActivation(window);
    return TRUE;
}
