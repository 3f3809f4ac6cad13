// Windows, messages, input, menus, dialogs and the clipboard: what user32 offers.

#pragma once

#include "layer/gdi.h"
#include "layer/types.h"
#include "layer/user_constants.h"

using WNDPROC = LRESULT(CALLBACK*)(HWND, UINT, WPARAM, LPARAM);
using DLGPROC = INT_PTR(CALLBACK*)(HWND, UINT, WPARAM, LPARAM);
using HOOKPROC = LRESULT(CALLBACK*)(int, WPARAM, LPARAM);
using TIMERPROC = void(CALLBACK*)(HWND, UINT, UINT_PTR, DWORD);

struct MSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
};

struct WNDCLASSW {
    UINT style;
    WNDPROC lpfnWndProc;
    int cbClsExtra, cbWndExtra;
    HINSTANCE hInstance;
    HICON hIcon;
    HCURSOR hCursor;
    HBRUSH hbrBackground;
    LPCWSTR lpszMenuName, lpszClassName;
};

struct CREATESTRUCTW {
    LPVOID lpCreateParams;
    HINSTANCE hInstance;
    HMENU hMenu;
    HWND hwndParent;
    int cy, cx, y, x;
    LONG style;
    LPCWSTR lpszName, lpszClass;
    DWORD dwExStyle;
};

struct PAINTSTRUCT {
    HDC hdc;
    BOOL fErase;
    RECT rcPaint;
    BOOL fRestore, fIncUpdate;
    BYTE rgbReserved[32];
};

struct KBDLLHOOKSTRUCT {
    DWORD vkCode, scanCode, flags, time;
    ULONG_PTR dwExtraInfo;
};

struct MONITORINFO {
    DWORD cbSize;
    RECT rcMonitor, rcWork;
    DWORD dwFlags;
};

struct FLASHWINFO {
    UINT cbSize;
    HWND hwnd;
    DWORD dwFlags;
    UINT uCount;
    DWORD dwTimeout;
};

// Classes and windows
ATOM RegisterClassW(const WNDCLASSW* windowClass);
HWND CreateWindowExW(DWORD extendedStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x,
                     int y, int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                     LPVOID parameter);
BOOL DestroyWindow(HWND window);
BOOL IsWindow(HWND window);
LRESULT DefWindowProcW(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
HWND FindWindowW(LPCWSTR className, LPCWSTR title);
DWORD GetWindowThreadProcessId(HWND window, LPDWORD process);
LONG_PTR GetWindowLongPtrW(HWND window, int index);
LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value);
BOOL ShowWindow(HWND window, int command);
BOOL SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags);
BOOL IsIconic(HWND window);
BOOL GetClientRect(HWND window, LPRECT rectangle);
BOOL SetLayeredWindowAttributes(HWND window, COLORREF key, BYTE alpha, DWORD flags);
int SetWindowRgn(HWND window, HRGN region, BOOL redraw);
BOOL SetWindowDisplayAffinity(HWND window, DWORD affinity);
BOOL SetForegroundWindow(HWND window);
HWND GetForegroundWindow();
BOOL AllowSetForegroundWindow(DWORD process);
BOOL FlashWindowEx(FLASHWINFO* flash);
BOOL EnableWindow(HWND window, BOOL enable);
BOOL IsWindowEnabled(HWND window);
HWND GetFocus();

// Messages and timers
BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last);
BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT remove);
BOOL TranslateMessage(const MSG* message);
LRESULT DispatchMessageW(const MSG* message);
BOOL PostMessageW(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
LRESULT SendMessageW(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
LRESULT SendMessageTimeoutW(HWND window, UINT message, WPARAM wparam, LPARAM lparam, UINT flags,
                            UINT milliseconds, PDWORD_PTR result);
void PostQuitMessage(int code);
UINT RegisterWindowMessageW(LPCWSTR text);
UINT_PTR SetTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC procedure);
BOOL KillTimer(HWND window, UINT_PTR id);

// Mouse and keyboard
BOOL GetCursorPos(LPPOINT point);
HWND SetCapture(HWND window);
HWND GetCapture();
BOOL ReleaseCapture();
HHOOK SetWindowsHookExW(int kind, HOOKPROC procedure, HINSTANCE module, DWORD thread);
LRESULT CallNextHookEx(HHOOK hook, int code, WPARAM wparam, LPARAM lparam);
BOOL UnhookWindowsHookEx(HHOOK hook);
BOOL RegisterHotKey(HWND window, int id, UINT modifiers, UINT key);
BOOL UnregisterHotKey(HWND window, int id);
SHORT GetAsyncKeyState(int key);
UINT MapVirtualKeyW(UINT code, UINT kind);
int GetKeyNameTextW(LONG parameter, LPWSTR name, int capacity);

// Monitors and metrics
HMONITOR MonitorFromPoint(POINT point, DWORD otherwise);
BOOL GetMonitorInfoW(HMONITOR monitor, MONITORINFO* information);
BOOL SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT context);
UINT GetDpiForWindow(HWND window);
int GetSystemMetrics(int index);
int GetSystemMetricsForDpi(int index, UINT dpi);

// Icons, menus, dialogs
HICON LoadIconW(HINSTANCE instance, LPCWSTR name);
HCURSOR LoadCursorW(HINSTANCE instance, LPCWSTR name);
HANDLE LoadImageW(HINSTANCE instance, LPCWSTR name, UINT kind, int width, int height, UINT flags);
BOOL DestroyIcon(HICON icon);
HMENU CreatePopupMenu();
BOOL AppendMenuW(HMENU menu, UINT flags, UINT_PTR id, LPCWSTR text);
BOOL TrackPopupMenu(HMENU menu, UINT flags, int x, int y, int reserved, HWND owner,
                    const RECT* excluded);
BOOL DestroyMenu(HMENU menu);
INT_PTR DialogBoxParamW(HINSTANCE instance, LPCWSTR name, HWND owner, DLGPROC procedure,
                        LPARAM parameter);
BOOL EndDialog(HWND dialog, INT_PTR result);
HWND GetDlgItem(HWND dialog, int id);
BOOL SetDlgItemTextW(HWND dialog, int id, LPCWSTR text);
UINT IsDlgButtonChecked(HWND dialog, int id);
BOOL CheckDlgButton(HWND dialog, int id, UINT check);
int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR title, UINT kind);

// Painting
HDC BeginPaint(HWND window, PAINTSTRUCT* paint);
BOOL EndPaint(HWND window, const PAINTSTRUCT* paint);
BOOL InvalidateRect(HWND window, const RECT* rectangle, BOOL erase);
int FillRect(HDC context, const RECT* rectangle, HBRUSH brush);
int FrameRect(HDC context, const RECT* rectangle, HBRUSH brush);
int DrawTextW(HDC context, LPCWSTR text, int length, LPRECT rectangle, UINT format);

// Clipboard
BOOL OpenClipboard(HWND owner);
BOOL EmptyClipboard();
HANDLE SetClipboardData(UINT format, HANDLE block);
HANDLE GetClipboardData(UINT format);
BOOL CloseClipboard();
