// Save applies the shortcut first and the startup entry second. If only one of them succeeds, the
// dialog stays open and shows the actual state.

#include "settings/settings_dialog.h"

#include <memory>
#include <stdexcept>

#include "common/failure.h"
#include "common/procedure_guard.h"
#include "common/resource_ids.h"
#include "settings/shortcut_capture.h"
#include "settings/startup.h"

namespace {

struct IconDestroyer {
    using pointer = HICON;
    void operator()(HICON icon) const { DestroyIcon(icon); }
};
using Icon = std::unique_ptr<void, IconDestroyer>;

struct SettingsContext {
    HINSTANCE instance = nullptr;
    HWND trayWindow = nullptr;
    HWND dialog = nullptr;
    const std::filesystem::path& configPath;
    ShortcutSpec& shortcut;
    std::uint32_t pendingModifiers = 0;  // shown in the box, applied by Save
    std::uint32_t pendingKey = 0;
    WideText exePath;
    ShortcutCapture capture = {};
    Icon smallIcon = {};
    Icon bigIcon = {};
};

// Owned by the dialog, so Save is disabled while the box is open.
void showBox(const SettingsContext& context, const WideText& text, const WCHAR* title, UINT icon) {
    MessageBoxW(context.dialog, text.c_str(), title, icon);
}

Icon loadIcon(const SettingsContext& context, int widthMetric, int heightMetric, UINT dpi) {
    const int width = GetSystemMetricsForDpi(widthMetric, dpi);
    const int height = GetSystemMetricsForDpi(heightMetric, dpi);
    return Icon(static_cast<HICON>(
        LoadImageW(context.instance, MAKEINTRESOURCEW(IDI_PROGRAM), IMAGE_ICON, width, height, 0)));
}

// The window does not own its icons: the new ones are set before the old ones are destroyed.
void loadDialogIcons(SettingsContext& context) {
    const UINT dpi = GetDpiForWindow(context.dialog);
    Icon smallIcon = loadIcon(context, SM_CXSMICON, SM_CYSMICON, dpi);
    Icon bigIcon = loadIcon(context, SM_CXICON, SM_CYICON, dpi);
    if (!smallIcon || !bigIcon) throw std::runtime_error("Cannot load branded window icons.");
    SendMessageW(context.dialog, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(smallIcon.get()));
    SendMessageW(context.dialog, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(bigIcon.get()));
    context.smallIcon = std::move(smallIcon);
    context.bigIcon = std::move(bigIcon);
}

void showPendingShortcut(const SettingsContext& context) {
    const WideText text = shortcutText(context.pendingModifiers, context.pendingKey);
    SetDlgItemTextW(context.dialog, IDC_SHORTCUT, text.c_str());
}

void refreshStartupControls(const SettingsContext& context) {
    const StartupView view = readStartup(context.exePath);
    CheckDlgButton(context.dialog, IDC_STARTUP, view.checked ? BST_CHECKED : BST_UNCHECKED);
    EnableWindow(GetDlgItem(context.dialog, IDC_STARTUP), view.enabled);
    SetDlgItemTextW(context.dialog, IDC_STARTUP_HINT, view.hint.c_str());
}

// Everything but the shortcut still works, so the dialog stays open.
void disableCapture(const SettingsContext& context) {
    EnableWindow(GetDlgItem(context.dialog, IDC_SHORTCUT), FALSE);
    SetDlgItemTextW(context.dialog, IDC_STARTUP_HINT,
                    TEXT("Shortcut capture unavailable. Existing shortcut kept."));
}

void initialize(SettingsContext& context) {
    try {
        loadDialogIcons(context);
    } catch (const std::exception& exception) {
        showBox(context, exceptionText(exception), TEXT("Cannot open Settings"), MB_ICONERROR);
        EndDialog(context.dialog, -1);
        return;
    }
    showPendingShortcut(context);
    refreshStartupControls(context);
    if (!startShortcutCapture(context.capture, context.instance, context.dialog)) {
        disableCapture(context);
    }
}

bool saveShortcut(const SettingsContext& context) {
    try {
        applyShortcut(context.trayWindow, context.configPath, context.shortcut,
                      context.pendingModifiers, context.pendingKey);
        return true;
    } catch (const std::exception& exception) {
        showBox(context, exceptionText(exception), TEXT("Settings not saved"), MB_ICONWARNING);
        return false;
    }
}

// The check box is disabled if the entry belongs to another program: it is not touched.
bool saveStartupEntry(const SettingsContext& context) {
    if (!IsWindowEnabled(GetDlgItem(context.dialog, IDC_STARTUP))) return true;
    try {
        saveStartup(context.exePath,
                    IsDlgButtonChecked(context.dialog, IDC_STARTUP) == BST_CHECKED);
        return true;
    } catch (const std::exception& exception) {
        showBox(context,
                TEXT("Shortcut saved. Startup could not be saved:\n") + exceptionText(exception) +
                    TEXT("\n\nStartup state will be re-read. Retry Save, or Cancel to close; the "
                         "saved shortcut remains."),
                TEXT("Settings partially saved"), MB_ICONWARNING);
        refreshStartupControls(context);
        return false;
    }
}

void save(const SettingsContext& context) {
    if (saveShortcut(context) && saveStartupEntry(context)) EndDialog(context.dialog, 1);
}

void changeDpi(SettingsContext& context, const RECT& bounds) {
    SetWindowPos(context.dialog, nullptr, bounds.left, bounds.top, bounds.right - bounds.left,
                 bounds.bottom - bounds.top, SWP_NOZORDER | SWP_NOACTIVATE);
    try {
        loadDialogIcons(context);
    } catch (const std::exception& exception) {
        SetDlgItemTextW(context.dialog, IDC_STARTUP_HINT, exceptionText(exception).c_str());
    }
}

void takeCapturedShortcut(SettingsContext& context, WPARAM modifiers, LPARAM key) {
    context.pendingModifiers = static_cast<std::uint32_t>(modifiers);
    context.pendingKey = static_cast<std::uint32_t>(key);
    showPendingShortcut(context);
}

// Alt pressed and released alone in the box is an abandoned combination, not a request for the
// system menu.
bool isLoneAltInBox(const SettingsContext& context, WPARAM command, LPARAM lparam) {
    return (command & 0xFFF0) == SC_KEYMENU && lparam == 0 &&
           GetFocus() == GetDlgItem(context.dialog, IDC_SHORTCUT);
}

// The whole WPARAM is compared: its high half is the notification, which is 0 for a click, Enter,
// Esc and the hook.
bool handleCommand(const SettingsContext& context, WPARAM command) {
    switch (command) {
    case IDOK: save(context); return true;
    case IDCANCEL: EndDialog(context.dialog, 2); return true;
    }
    return false;
}

// Returns true if the message needs no default handling.
bool handleMessage(SettingsContext& context, UINT message, WPARAM wparam, LPARAM lparam) {
    switch (message) {
    case WM_APP_SHORTCUT_CAPTURED: return takeCapturedShortcut(context, wparam, lparam), true;
    case WM_COMMAND: return handleCommand(context, wparam);
    case WM_CLOSE: return EndDialog(context.dialog, 2), true;
    case WM_SYSCOMMAND: return isLoneAltInBox(context, wparam, lparam);
    case WM_DPICHANGED: changeDpi(context, *reinterpret_cast<const RECT*>(lparam)); return true;
    case WM_DESTROY: return stopShortcutCapture(), false;
    }
    return false;
}

// Some messages arrive before WM_INITDIALOG sets the context.
bool dispatch(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(dialog, GWLP_USERDATA, lparam);
        auto& context = *reinterpret_cast<SettingsContext*>(lparam);
        context.dialog = dialog;
        initialize(context);
        return true;
    }
    auto* const context =
        reinterpret_cast<SettingsContext*>(GetWindowLongPtrW(dialog, GWLP_USERDATA));
    return context && handleMessage(*context, message, wparam, lparam);
}

INT_PTR CALLBACK settingsDialogProc(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) {
    return guarded(false, [&] { return dispatch(dialog, message, wparam, lparam); });
}

WideText findExePath() {
    constexpr DWORD capacity = 32768;
    WideText path(capacity, 0);
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), capacity);
    if (length == 0 || length >= capacity) {
        throw std::runtime_error("Cannot determine the current executable path.");
    }
    path.resize(length);
    return path;
}

// A shortcut that was pressed while the dialog was open has no effect afterwards.
void dropHotKeys(HWND trayWindow) {
    MSG message;
    while (PeekMessageW(&message, trayWindow, WM_HOTKEY, WM_HOTKEY, PM_REMOVE)) {
        if (message.message != WM_QUIT) continue;
        // WM_QUIT is retrieved whatever the range; the main loop still needs it.
        PostQuitMessage(static_cast<int>(message.wParam));
        return;
    }
}

}  // namespace

void runSettingsDialog(HINSTANCE instance, HWND trayWindow, const std::filesystem::path& configPath,
                       ShortcutSpec& shortcut) {
    if (raiseSettingsDialog()) return;
    SettingsContext context{.instance = instance,
                            .trayWindow = trayWindow,
                            .configPath = configPath,
                            .shortcut = shortcut,
                            .pendingModifiers = shortcut.modifiers,
                            .pendingKey = shortcut.key,
                            .exePath = findExePath()};
    if (DialogBoxParamW(instance, MAKEINTRESOURCEW(IDD_SETTINGS), nullptr, settingsDialogProc,
                        reinterpret_cast<LPARAM>(&context)) == -1) {
        throw std::runtime_error("Cannot open Settings.");
    }
    dropHotKeys(trayWindow);
}

bool raiseSettingsDialog() {
    HWND const dialog = capturingDialog();
    if (!dialog || !IsWindow(dialog)) return false;
    ShowWindow(dialog, IsIconic(dialog) ? SW_RESTORE : SW_SHOW);
    if (!SetForegroundWindow(dialog)) {
        FLASHWINFO flash = {sizeof flash, dialog, FLASHW_TRAY, 3, 0};
        FlashWindowEx(&flash);
    }
    return true;
}
