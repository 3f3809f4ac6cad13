// A modal dialog from its first message to its result: its loop, what it does with the messages
// that its procedure leaves to it, and the published operations on it and its controls.

#include "platform/user32/dialog.h"

#include <list>
#include <utility>

#include "platform/core/call.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

std::list<Dialog> dialogs;  // The last one is on top.

// The visible ones: the program's dialog, and message boxes.
void publish() {
    std::optional<desktop::ShownDialog> shown;
    std::vector<desktop::ShownBox> boxes;
    for (const Dialog& each : dialogs) {
        if (!find(each.window)->visible) continue;
        if (each.box)
            boxes.push_back(*each.box);
        else
            shown = {each.title, {each.controls.begin(), each.controls.end()}};
    }
    desktop::withShown([&](desktop::Shown& all) {
        all.dialog = shown;
        all.boxes = boxes;
    });
}

void hide(const Dialog& dialog) {
    hide(*find(dialog.window));
    publish();
}

// Only where a taskbar can bring the dialog back.
bool canMinimize(const Dialog& dialog) { return !dialog.box && host::current().hasTaskbar(); }

// The system's menu of a window: what its caption's buttons do. It opens below the caption.
void runSystemMenu(const Dialog& dialog) {
    const RECT& bounds = find(dialog.window)->bounds;
    std::vector<desktop::MenuEntry> entries;
    if (canMinimize(dialog)) entries.push_back({SC_MINIMIZE, "Minimize"});
    entries.push_back({SC_CLOSE, "Close"});
    const LONG down = dialog.controls.back().area.bottom;
    const UINT chosen = runMenu(entries, {bounds.left, bounds.top + down}, dialog.window);
    if (chosen) send(dialog.window, WM_SYSCOMMAND, chosen, 0);
}

void runSystemCommand(Dialog& dialog, WPARAM command) {
    switch (command & 0xFFF0) {
    case SC_CLOSE: send(dialog.window, WM_CLOSE, 0, 0); return;
    case SC_MINIMIZE:
        // Only the program opens it again: no user here presses a taskbar button.
        find(dialog.window)->minimized = true;
        return hide(dialog);
    case SC_KEYMENU: return runSystemMenu(dialog);
    default: desktop::refuse("DialogBoxParamW", "system command", static_cast<int>(command));
    }
}

LRESULT setIcon(Dialog& dialog, WPARAM size, LPARAM icon) {
    if (size > ICON_BIG)
        desktop::refuse("DialogBoxParamW", "size of an icon", static_cast<int>(size));
    const HICON before = std::exchange(dialog.icons[size], reinterpret_cast<HICON>(icon));
    showChange(dialog);
    return reinterpret_cast<LRESULT>(before);
}

LRESULT answerByDefault(Dialog& dialog, UINT message, WPARAM wparam, LPARAM lparam) {
    switch (message) {
    case WM_SETFONT:
    case WM_COMMAND: return 0;
    case WM_PAINT:
        paintWindow(*find(dialog.window),
                    [&](const gdi::Canvas& canvas) { paint(dialog, canvas); });
        return 0;
    case WM_SETICON: return setIcon(dialog, wparam, lparam);
    case WM_CLOSE: post(dialog.window, WM_COMMAND, IDCANCEL, 0); return 0;
    case WM_SYSCOMMAND: return runSystemCommand(dialog, wparam), 0;
    case WM_ACTIVATE: return loseInput(dialog), 0;
    case WM_DISPLAYCHANGE: return settle(dialog, true), 0;
    case WM_NEXTDLGCTL:
        if (lparam) desktop::refuse("DialogBoxParamW", "control in WM_NEXTDLGCTL", lparam);
        return setFocus(dialog, nextTabStop(dialog, dialog.focus, wparam != 0), true), 0;
    default: return answerMessage(dialog.window, message, wparam, lparam);
    }
}

LRESULT dialogProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    Dialog& dialog = *findDialog(window);
    if (takeInputMessage(dialog, message, wparam, lparam)) return 0;
    if (dialog.procedure(window, message, wparam, lparam)) return 0;
    return answerByDefault(dialog, message, wparam, lparam);
}

// From the right to the left: the title gets the rest.
void addCaption(Dialog& dialog) {
    dialog.controls.push_back({{}, ControlKind::Close});
    if (canMinimize(dialog)) dialog.controls.push_back({{}, ControlKind::Minimize});
    dialog.controls.push_back({{0, dialog.title}, ControlKind::Caption});
    for (Control& control : dialog.controls) {
        static std::uintptr_t nextHandle = 0x26000000;
        control.handle = reinterpret_cast<HWND>(nextHandle++);
        control.dialog = &dialog;
    }
}

void setBoxOf(HWND owner, HWND box) {
    if (!owner || !isLive(owner)) return;
    find(owner)->enabled = !box;
    find(owner)->box = box;
}

// The procedure receives WM_SETFONT before anything is set up. It leaves the focus to the system,
// but may have disabled the control that was to get it.
void initialize(Dialog& dialog, LPARAM parameter) {
    send(dialog.window, WM_SETFONT, 0, 0);
    const auto control = reinterpret_cast<WPARAM>(nextTabStop(dialog, nullptr)->handle);
    if (!dialog.procedure(dialog.window, WM_INITDIALOG, control, parameter))
        desktop::refuse("DialogBoxParamW", "focus set by the program", 0);
    if (dialog.result) return;
    setFocus(dialog, nextTabStop(dialog, nullptr), true);
    show(*find(dialog.window));
    activate(dialog.window);
    showChange(dialog);
}

// By its own handle, or by the dialog's and its number. Stops the process if there is none.
Control& controlOf(const desktop::Call& call, HWND window, int id = 0) {
    for (Dialog& dialog : dialogs)
        for (Control& control : dialog.controls)
            if (control.handle == window || (dialog.window == window && id && control.id == id))
                return control;
    call.refuse("control", id);
}

}  // namespace

INT_PTR runDialog(Dialog description, const host::Monitor& monitor, LPARAM parameter) {
    Dialog& dialog = dialogs.emplace_back(std::move(description));
    addCaption(dialog);
    layOut(dialog, monitor.dpi);
    dialog.window = addWindow({u"#32770", desktop::toUtf16(dialog.title), dialogProcedure, arrow,
                               WS_POPUP, WS_EX_APPWINDOW,
                               gdi::centered(monitor.bounds, dialog.size), dialog.box.has_value()})
                        .handle;
    setBoxOf(dialog.owner, dialog.window);
    initialize(dialog, parameter);
    runLoop([&] { return dialog.result.has_value(); });
    if (!dialog.result) endDialog(dialog, 1);
    const INT_PTR result = *dialog.result;
    destroyWindow(dialog.window);
    dialogs.pop_back();
    return result;
}

// The owner is enabled first, so that it can take over.
void endDialog(Dialog& dialog, INT_PTR result) {
    dialog.result = result;
    setBoxOf(dialog.owner, nullptr);
    hide(dialog);
}

const Dialog* openDialog() {
    for (const Dialog& each : dialogs)
        if (!each.box) return &each;
    return nullptr;
}

Dialog* findDialog(HWND window) {
    for (Dialog& each : dialogs)
        if (each.window == window) return &each;
    return nullptr;
}

void showChange(Dialog& dialog) {
    Window& window = *find(dialog.window);
    for (Control& control : dialog.controls) {
        control.focused = isActive(dialog) && dialog.focus == &control;
        control.bounds = gdi::moved(control.area, window.bounds.left, window.bounds.top);
    }
    invalidate(window, false);
    publish();
}

}  // namespace user32

using namespace user32;

BOOL EndDialog(HWND window, INT_PTR result) {
    desktop::Call call("EndDialog", window, result);
    Dialog* const dialog = findDialog(window);
    if (!dialog) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    endDialog(*dialog, result);
    return TRUE;
}

HWND GetDlgItem(HWND dialog, int id) {
    desktop::Call call("GetDlgItem", dialog, id);
    return controlOf(call, dialog, id).handle;
}

BOOL SetDlgItemTextW(HWND dialog, int id, LPCWSTR text) {
    desktop::Call call("SetDlgItemTextW", dialog, id, text);
    Control& control = controlOf(call, dialog, id);
    if (call.struck()) return call.fail(ERROR_CONTROL_ID_NOT_FOUND);
    control.text = desktop::toUtf8(text);
    control.selected = false;
    showChange(*control.dialog);
    return TRUE;
}

UINT IsDlgButtonChecked(HWND dialog, int id) {
    desktop::Call call("IsDlgButtonChecked", dialog, id);
    return controlOf(call, dialog, id).checked ? BST_CHECKED : BST_UNCHECKED;
}

BOOL CheckDlgButton(HWND dialog, int id, UINT check) {
    desktop::Call call("CheckDlgButton", dialog, id, check);
    call.only("check", check, BST_UNCHECKED, BST_CHECKED);
    Control& control = controlOf(call, dialog, id);
    if (call.struck()) return call.fail(ERROR_CONTROL_ID_NOT_FOUND);
    control.checked = check == BST_CHECKED;
    showChange(*control.dialog);
    return TRUE;
}

// A control that is disabled loses the focus. The result is whether it was disabled before.
BOOL EnableWindow(HWND window, BOOL enable) {
    desktop::Call call("EnableWindow", window, enable);
    Control& control = controlOf(call, window);
    const bool wasDisabled = !std::exchange(control.enabled, enable != FALSE);
    if (!enable && control.dialog->focus == &control) control.dialog->focus = nullptr;
    showChange(*control.dialog);
    return wasDisabled;
}

BOOL IsWindowEnabled(HWND window) {
    desktop::Call call("IsWindowEnabled", window);
    return controlOf(call, window).enabled;
}

// Null while another program has the foreground.
HWND GetFocus() {
    desktop::Call call("GetFocus");
    const Dialog* const dialog = findDialog(foreground());
    return dialog && dialog->focus ? dialog->focus->handle : foreground();
}
