// A hidden window that stands for the tray window: it owns shortcuts and the clipboard.

#pragma once

#include <windows.h>

struct TrayWindow {
    TrayWindow() {
        WNDCLASSW description{};
        description.lpfnWndProc = DefWindowProcW;
        description.lpszClassName = TEXT("TestTrayWindow");
        RegisterClassW(&description);  // A second time it is there already.
        handle = CreateWindowExW(0, description.lpszClassName, TEXT(""), WS_POPUP, 0, 0, 0, 0,
                                 nullptr, nullptr, nullptr, nullptr);
    }
    ~TrayWindow() { DestroyWindow(handle); }
    TrayWindow(const TrayWindow&) = delete;
    TrayWindow& operator=(const TrayWindow&) = delete;

    HWND handle = nullptr;
};
