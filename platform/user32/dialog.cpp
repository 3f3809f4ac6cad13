// A modal dialog from its first message to its result: its loop, what it does with the messages
// that its procedure leaves to it, and the published operations on it and its controls.

#include "platform/user32/dialog.h"

#include <map>
#include <utility>

#include "platform/core/call.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

std::map<HWND, Dialog> dialogs;

desktop::ShownControl shownControl(const Control& control) {
    const Dialog& dialog = *control.dialog;
    const RECT& bounds = find(dialog.window)->bounds;
    return {control.id,
            desktop::toUtf8(control.className),
            desktop::toUtf8(control.text),
            control.checked,
            control.enabled,
            isActive(dialog) && dialog.focus == &control,
            gdi::moved(areaOf(control), bounds.left, bounds.top)};
}

// The visible ones: the program's dialog, and the layer's own, which are message boxes.
void publish() {
    std::optional<desktop::ShownDialog> dialog;
    std::vector<desktop::ShownBox> boxes;
    for (const auto& [handle, each] : dialogs) {
        const Window& window = *find(handle);
        const std::string title = desktop::toUtf8(window.title);
        if (!window.visible) continue;
        if (window.ofTheLayer) {
            boxes.push_back({title, desktop::toUtf8(each.controls[1].text), each.controls[0].sign});
            continue;
        }
        dialog.emplace().title = title;
        for (const Control& control : each.controls)
            if (!control.className.empty()) dialog->controls.push_back(shownControl(control));
    }
    desktop::withShown([&](desktop::Shown& shown) {
        shown.dialog = dialog;
        shown.boxes = boxes;
    });
}

// Only where a taskbar can bring the dialog back.
bool canMinimize(const Creation& creation) {
    return host::current().hasTaskbar() && creation.style & WS_MINIMIZEBOX;
}

// The system's menu of a window: what its caption's buttons do. It opens below the caption.
void runSystemMenu(const Dialog& dialog) {
    const RECT& bounds = find(dialog.window)->bounds;
    std::vector<MenuItem> items{{SC_CLOSE, u"Close"}};
    if (canMinimize(dialog.creation)) items.insert(items.begin(), {SC_MINIMIZE, u"Minimize"});
    const LONG down = areaOf(dialog.controls.back()).bottom;
    const UINT chosen = runMenu(items, {bounds.left, bounds.top + down}, dialog.window);
    if (chosen) send(dialog.window, WM_SYSCOMMAND, chosen, 0);
}

// Only the program opens it again: nothing here presses the taskbar's button.
void minimize(const Dialog& dialog) {
    Window& window = *find(dialog.window);
    window.minimized = true;
    hide(window);
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
    case WM_CLOSE: post(dialog.window, WM_COMMAND, IDCANCEL, 0); return 0;
    case WM_SYSCOMMAND: return runSystemCommand(dialog, wparam), 0;
    case WM_ACTIVATE: return changeActivation(dialog, wparam != WA_INACTIVE), 0;
    case WM_DISPLAYCHANGE: return settle(dialog, true), 0;
    case WM_NEXTDLGCTL:
        if (lparam) desktop::refuse("DialogBoxParamW", "control in WM_NEXTDLGCTL", lparam);
        return setFocus(dialog, nextTabStop(dialog, dialog.focus, wparam != 0), true), 0;
    default: return answerMessage(dialog.window, message, wparam, lparam);
    }
}

LRESULT dialogProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    Dialog* const dialog = findDialog(window);
    if (!dialog || takeInputMessage(*dialog, message, wparam, lparam)) return 0;
    if (message == WM_PAINT) {
        paintWindow(*find(window), [&](const gdi::Canvas& canvas) { paint(*dialog, canvas); });
        return 0;
    }
    if (dialog->procedure(window, message, wparam, lparam)) return 0;
    return answerByDefault(*dialog, message, wparam, lparam);
}

// Parts of the caption come last, and the caption itself after the buttons on it.
void addCaption(Dialog& dialog) {
    for (const ControlKind kind :
         {ControlKind::Close, ControlKind::Minimize, ControlKind::Caption}) {
        if (kind == ControlKind::Minimize && !canMinimize(dialog.creation)) continue;
        Control& part = dialog.controls.emplace_back();
        part.kind = kind;
        if (kind == ControlKind::Caption) part.text = dialog.creation.title;
    }
}

void setBoxOf(HWND owner, HWND box) {
    if (!owner || !isLive(owner)) return;
    find(owner)->enabled = !box;
    find(owner)->box = box;
}

// The procedure hears of the font before anything is set up. Where it leaves the focus to the
// system, it may have disabled the control that was to get it.
void initialize(Dialog& dialog, LPARAM parameter) {
    send(dialog.window, WM_SETFONT, 0, 0);
    setFocus(dialog, nextTabStop(dialog, nullptr, false), true);
    const auto control = reinterpret_cast<WPARAM>(dialog.focus->handle);
    if (!dialog.procedure(dialog.window, WM_INITDIALOG, control, parameter))
        desktop::refuse("DialogBoxParamW", "focus set by the program", 0);
    if (dialog.done) return;
    setFocus(dialog, nextTabStop(dialog, nullptr, false), true);
    show(*find(dialog.window));
    activate(dialog.window);
    showChange(dialog);
}

}  // namespace

INT_PTR runDialog(Dialog description, const host::Monitor& monitor, LPARAM parameter) {
    Creation& creation = description.creation;
    creation.className = u"#32770";
    creation.procedure = dialogProcedure;
    creation.cursor = static_cast<UINT>(reinterpret_cast<std::uintptr_t>(IDC_ARROW));
    creation.bounds = gdi::centered(monitor.bounds, sizeOf(description));
    description.window = addWindow(creation).handle;
    addCaption(description);
    const auto place = dialogs.emplace(description.window, std::move(description)).first;
    Dialog& dialog = place->second;
    for (Control& control : dialog.controls) {
        static std::uintptr_t nextHandle = 0x26000000;
        control.handle = reinterpret_cast<HWND>(nextHandle++);
        control.dialog = &dialog;
    }
    setBoxOf(dialog.owner, dialog.window);
    initialize(dialog, parameter);
    runLoop([&] { return dialog.done; });
    if (!dialog.done) endDialog(dialog, 1);
    const INT_PTR result = dialog.result;
    destroyWindow(dialog.window);
    dialogs.erase(place);
    return result;
}

// The owner is enabled first, so that it can take over.
void endDialog(Dialog& dialog, INT_PTR result) {
    dialog.done = true;
    dialog.result = result;
    setBoxOf(dialog.owner, nullptr);
    hide(*find(dialog.window));
    publish();
}

const Dialog* openDialog() {
    for (const auto& [handle, each] : dialogs)
        if (!find(handle)->ofTheLayer) return &each;
    return nullptr;
}

Dialog* findDialog(HWND window) {
    const auto found = dialogs.find(window);
    return found == dialogs.end() ? nullptr : &found->second;
}

void showChange(Dialog& dialog) {
    invalidate(*find(dialog.window), false);
    publish();
}

}  // namespace user32

using namespace user32;

INT_PTR DialogBoxParamW(HINSTANCE instance, LPCWSTR name, HWND owner, DLGPROC procedure,
                        LPARAM parameter) {
    const auto id = reinterpret_cast<std::uintptr_t>(name);
    desktop::Call call("DialogBoxParamW", instance, id, owner);
    enterUserInterface();
    if (!IS_INTRESOURCE(name)) call.refuse("name that is text", 1);
    if (owner) call.refuse("owner", 1);
    for (const auto& [window, other] : dialogs)
        if (!find(window)->ofTheLayer) call.refuse("second dialog", 1);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY), -1;
    auto description = readDialogTemplate(id);
    if (!description) return call.fail(ERROR_RESOURCE_NAME_NOT_FOUND), -1;
    const host::Monitor monitor = primaryMonitor();
    description->procedure = procedure;
    setDpi(*description, monitor.dpi);
    return runDialog(std::move(*description), monitor, parameter);
}

BOOL EndDialog(HWND window, INT_PTR result) {
    desktop::Call call("EndDialog", window, result);
    Dialog* const dialog = findDialog(window);
    if (!dialog) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    endDialog(*dialog, result);
    return TRUE;
}

namespace {

template <typename Condition>
Control* controlWith(Condition condition) {
    for (auto& [window, dialog] : dialogs)
        for (Control& control : dialog.controls)
            if (condition(control)) return &control;
    return nullptr;
}
Control* controlOf(HWND handle) {
    return controlWith([&](const Control& control) { return handle && control.handle == handle; });
}
Control* controlOf(HWND dialog, int id) {
    return controlWith([&](const Control& control) {
        return control.dialog->window == dialog && control.id == id;
    });
}

}  // namespace

HWND GetDlgItem(HWND dialog, int id) {
    desktop::Call call("GetDlgItem", dialog, id);
    const Control* const control = controlOf(dialog, id);
    if (!control) return call.fail(ERROR_CONTROL_ID_NOT_FOUND);
    return control->handle;
}

BOOL SetDlgItemTextW(HWND dialog, int id, LPCWSTR text) {
    desktop::Call call("SetDlgItemTextW", dialog, id, text);
    Control* const control = controlOf(dialog, id);
    if (call.struck() || !control) return call.fail(ERROR_CONTROL_ID_NOT_FOUND);
    control->text = text;
    control->selected = false;
    showChange(*control->dialog);
    return TRUE;
}

UINT IsDlgButtonChecked(HWND dialog, int id) {
    desktop::Call call("IsDlgButtonChecked", dialog, id);
    const Control* const control = controlOf(dialog, id);
    return control && control->checked ? BST_CHECKED : BST_UNCHECKED;
}

BOOL CheckDlgButton(HWND dialog, int id, UINT check) {
    desktop::Call call("CheckDlgButton", dialog, id, check);
    call.only("check", check, BST_UNCHECKED, BST_CHECKED);
    Control* const control = controlOf(dialog, id);
    if (call.struck() || !control) return call.fail(ERROR_CONTROL_ID_NOT_FOUND);
    control->checked = check == BST_CHECKED;
    showChange(*control->dialog);
    return TRUE;
}

// A control that is disabled loses the focus. The result is whether it was disabled before.
BOOL EnableWindow(HWND window, BOOL enable) {
    desktop::Call call("EnableWindow", window, enable);
    Control* const control = controlOf(window);
    if (!control) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    Dialog& dialog = *control->dialog;
    const bool wasDisabled = !std::exchange(control->enabled, enable != FALSE);
    if (!enable && dialog.focus == control) setFocus(dialog, nullptr, false);
    showChange(dialog);
    return wasDisabled;
}

BOOL IsWindowEnabled(HWND window) {
    desktop::Call call("IsWindowEnabled", window);
    const Control* const control = controlOf(window);
    if (!control) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return control->enabled;
}

// Null while another program has the foreground.
HWND GetFocus() {
    desktop::Call call("GetFocus");
    const Dialog* const dialog = findDialog(foreground());
    return dialog && dialog->focus ? dialog->focus->handle : foreground();
}
