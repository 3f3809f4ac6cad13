// Captures the combination that is pressed in the shortcut box of the settings dialog.
// User-interface thread only.

#pragma once

#include <windows.h>

// Posted by the hook to the dialog: WPARAM has the modifier bits (Alt 1, Ctrl 2, Shift 4, Win 8),
// LPARAM the virtual key, unchecked: any but Tab, Esc and the modifiers.
constexpr UINT WM_APP_SHORTCUT_CAPTURED = 0x8014;

struct ShortcutCapture {
    HWND dialog = nullptr;
    HHOOK hook = nullptr;
    bool keyDown[256] = {};    // by virtual key
    bool swallowed[256] = {};  // the press was swallowed, so the release must be
};

// Makes `capture` the only capture of the process and installs the keyboard hook for `dialog`,
// whose control IDC_SHORTCUT is the box. `capture` must live until stopShortcutCapture. Returns
// false if the system refuses the hook; the capture is current anyway.
bool startShortcutCapture(ShortcutCapture& capture, HINSTANCE instance, HWND dialog);

// Does nothing if none was started.
void stopShortcutCapture();

// The dialog of the current capture, or null.
HWND capturingDialog();
