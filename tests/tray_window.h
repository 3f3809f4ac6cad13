// A hidden window, of a class of that name, which may be there already.

#pragma once

#include <windows.h>

inline HWND makeWindow(const WCHAR* name, WNDPROC procedure = DefWindowProcW, DWORD style = 0) {
    WNDCLASSW description{};
    description.lpfnWndProc = procedure;
    description.lpszClassName = name;
    RegisterClassW(&description);
    return CreateWindowExW(style, name, name, WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, nullptr,
                           nullptr);
}

// Stands for the tray window: it owns shortcuts and the clipboard.
struct TrayWindow {
    TrayWindow() = default;
    ~TrayWindow() { DestroyWindow(handle); }
    TrayWindow(const TrayWindow&) = delete;
    TrayWindow& operator=(const TrayWindow&) = delete;

    HWND handle = makeWindow(TEXT("TestTrayWindow"));
};
