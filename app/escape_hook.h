// Esc while a selection or a recording is on: taken from whatever program has the keyboard.

#pragma once

// From here on every Esc of the desktop, press and release, is swallowed; each press posts
// WM_APP_STOP_REQUEST to the tray window. False: the system refused the hook.
bool installEscapeHook();

// Safe without a hook.
void removeEscapeHook();
