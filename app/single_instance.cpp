#include "app/single_instance.h"

#include <windows.h>

#include "app/application.h"

namespace {

void showBox(const WCHAR* text) {
    MessageBoxW(nullptr, text, TEXT("Quorvel Clip"), MB_ICONINFORMATION);
}

// The first instance may still be starting: it creates its mutex before its window.
HWND findFirstInstance() {
    for (int attempt = 0; attempt < 20; ++attempt) {
        if (HWND const window = FindWindowW(trayWindowClass, nullptr)) return window;
        Sleep(100);
    }
    return nullptr;
}

bool askForSettings(HWND window) {
    // The right to set the foreground window is with the program that the user has just started.
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    AllowSetForegroundWindow(processId);
    DWORD_PTR reply = 0;
    return SendMessageTimeoutW(window, activationMessage, 0, 0, SMTO_BLOCK | SMTO_ABORTIFHUNG, 1000,
                               &reply) &&
           reply == 1;
}

}  // namespace

InstanceClaim claimInstance() {
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, TEXT("Local\\QuorvelDeskClip-v1"));
    const bool existed = GetLastError() == ERROR_ALREADY_EXISTS;
    return {Handle(mutex), !existed};
}

void handOverToFirstInstance() {
    HWND const window = findFirstInstance();
    if (window && askForSettings(window)) return;
    showBox(
        TEXT("An older or unresponsive Quorvel Clip is running. Exit that copy from its tray menu "
             "before opening this one. Your clips and settings are kept."));
}

void showInstanceCheckFailure() {
    showBox(TEXT("Cannot check for an existing Quorvel Clip instance. No settings were changed."));
}
