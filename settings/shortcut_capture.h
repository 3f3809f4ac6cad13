// The keyboard while the settings dialog is open: what is pressed in the shortcut box becomes the
// shortcut. User-interface thread only.

#pragma once

#include <windows.h>

// From the hook to the dialog: WPARAM has the modifier bits (Alt 1, Ctrl 2, Shift 4, Win 8), LPARAM
// the virtual key. Nothing is checked: any key but Tab, Esc and the modifiers themselves can
// arrive.
constexpr UINT WM_APP_SHORTCUT_CAPTURED = 0x8014;

struct ShortcutCapture {
    HWND dialog = nullptr;
    HHOOK hook = nullptr;
    bool keyDown[256] = {};    // by virtual key, as far as the hook has seen
    bool swallowed[256] = {};  // the press was eaten, so the release must be too
};

// Makes `capture` the process's one capture and installs the keyboard hook for `dialog`, whose
// control IDC_SHORTCUT is the box. `capture` must live until stopShortcutCapture. False: the system
// refused the hook; the capture stands all the same.
bool startShortcutCapture(ShortcutCapture& capture, HINSTANCE instance, HWND dialog);

// Safe if nothing was started.
void stopShortcutCapture();

// The dialog of the capture that stands, or null.
HWND capturingDialog();
