// Tray icons and opening things: what shell32 offers.

#pragma once

#include <windows.h>

#define NIM_ADD 0x00000000
#define NIM_MODIFY 0x00000001
#define NIM_DELETE 0x00000002
#define NIF_MESSAGE 0x00000001
#define NIF_ICON 0x00000002
#define NIF_TIP 0x00000004
#define NIF_INFO 0x00000010
#define NIIF_INFO 0x00000001
#define NIIF_ERROR 0x00000003

struct NOTIFYICONDATAW {
    DWORD cbSize;
    HWND hWnd;
    UINT uID;
    UINT uFlags;
    UINT uCallbackMessage;
    HICON hIcon;
    WCHAR szTip[128];
    DWORD dwState;
    DWORD dwStateMask;
    WCHAR szInfo[256];
    union {
        UINT uTimeout;
        UINT uVersion;
    };
    WCHAR szInfoTitle[64];
    DWORD dwInfoFlags;
    GUID guidItem;
    HICON hBalloonIcon;
};

DECLARE_HANDLE(HDROP);

BOOL Shell_NotifyIconW(DWORD command, NOTIFYICONDATAW* icon);
HINSTANCE ShellExecuteW(HWND owner, LPCWSTR verb, LPCWSTR file, LPCWSTR parameters, LPCWSTR folder,
                        int show);
// `index` 0xFFFFFFFF counts the files; without a buffer the length of a path comes back.
UINT DragQueryFileW(HDROP drop, UINT index, LPWSTR path, UINT capacity);
