#include "app/tray.h"

#include <shellapi.h>

#include <stdexcept>

#include "app/application.h"
#include "common/messages.h"
#include "common/resource_ids.h"

namespace {

NOTIFYICONDATAW iconRecord(HWND window) {
    NOTIFYICONDATAW record{};
    record.cbSize = sizeof record;
    record.hWnd = window;
    record.uID = 1;
    return record;
}

// Shared: the system owns it, so it is never destroyed.
HICON loadSmallIcon() {
    const int width = GetSystemMetrics(SM_CXSMICON);
    const int height = GetSystemMetrics(SM_CYSMICON);
    return static_cast<HICON>(LoadImageW(instanceHandle, MAKEINTRESOURCEW(IDI_PROGRAM), IMAGE_ICON,
                                         width, height, LR_SHARED));
}

void appendEntry(HMENU menu, TrayCommand command, const WCHAR* text, bool enabled) {
    AppendMenuW(menu, enabled ? MF_STRING : MF_GRAYED, command, text);
}

HMENU buildMenu() {
    const HMENU menu = CreatePopupMenu();
    const bool idle = appState == AppState::Idle;
    appendEntry(menu, CommandRecord, TEXT("Record region"), idle);
    appendEntry(menu, CommandStop, TEXT("Stop recording (Esc)"), appState == AppState::Recording);
    appendEntry(menu, CommandOpenClips, TEXT("Open recent clips"), true);
    appendEntry(menu, CommandSettings, TEXT("Settings…"), idle);
    AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
    appendEntry(menu, CommandExit, TEXT("Exit"), true);
    return menu;
}

}  // namespace

void updateTrayIcon(bool add) {
    NOTIFYICONDATAW record = iconRecord(trayWindow);
    record.uFlags = NIF_MESSAGE | NIF_ICON | NIF_TIP;
    record.uCallbackMessage = WM_APP_TRAY;
    record.hIcon = loadSmallIcon();
    fillText(record.szTip, TEXT("Quorvel Desk Clip — ") +
                               shortcutText(currentShortcut.modifiers, currentShortcut.key));
    if (!add) {
        Shell_NotifyIconW(NIM_MODIFY, &record);
    } else if (!Shell_NotifyIconW(NIM_ADD, &record)) {
        throw std::runtime_error("Cannot add tray icon");
    }
}

void showNotice(WideView text, bool isError) {
    NOTIFYICONDATAW record = iconRecord(trayWindow);
    record.uFlags = NIF_INFO;
    fillText(record.szInfoTitle, programTitle);
    fillText(record.szInfo, text);
    record.uTimeout = 3000;
    record.dwInfoFlags = isError ? NIIF_ERROR : NIIF_INFO;
    Shell_NotifyIconW(NIM_MODIFY, &record);
}

UINT showTrayMenu() {
    const HMENU menu = buildMenu();
    POINT pointer{};
    GetCursorPos(&pointer);
    // The menu closes on a click elsewhere only if its owner is the foreground window.
    SetForegroundWindow(trayWindow);
    const auto command =
        static_cast<UINT>(TrackPopupMenu(menu, TPM_RIGHTBUTTON | TPM_NONOTIFY | TPM_RETURNCMD,
                                         pointer.x, pointer.y, 0, trayWindow, nullptr));
    DestroyMenu(menu);
    // Without a message after the menu, the next menu would close immediately.
    PostMessageW(trayWindow, WM_NULL, 0, 0);
    return command;
}

void removeTrayIcon(HWND window) {
    NOTIFYICONDATAW record = iconRecord(window);
    Shell_NotifyIconW(NIM_DELETE, &record);
}
