#include <windows.h>
#include "platform/desktop/call.h"
namespace { [[noreturn]] void refuseDialogs(const char* o) { desktop::refuse(o, "the layer has no dialogs yet", 0); } }
INT_PTR DialogBoxParamW(HINSTANCE, LPCWSTR, HWND, DLGPROC, LPARAM) { refuseDialogs("DialogBoxParamW"); }
BOOL EndDialog(HWND, INT_PTR) { refuseDialogs("EndDialog"); }
HWND GetDlgItem(HWND, int) { refuseDialogs("GetDlgItem"); }
BOOL SetDlgItemTextW(HWND, int, LPCWSTR) { refuseDialogs("SetDlgItemTextW"); }
UINT IsDlgButtonChecked(HWND, int) { refuseDialogs("IsDlgButtonChecked"); }
BOOL CheckDlgButton(HWND, int, UINT) { refuseDialogs("CheckDlgButton"); }
BOOL IsIconic(HWND) { refuseDialogs("IsIconic"); }
BOOL FlashWindowEx(FLASHWINFO*) { refuseDialogs("FlashWindowEx"); }
BOOL EnableWindow(HWND, BOOL) { refuseDialogs("EnableWindow"); }
BOOL IsWindowEnabled(HWND) { refuseDialogs("IsWindowEnabled"); }
HWND GetFocus() { refuseDialogs("GetFocus"); }
