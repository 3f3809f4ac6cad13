// Takes Esc from whichever program has the keyboard during a selection or a recording.

#pragma once

// Until removeEscapeHook, every Esc on the desktop is swallowed, press and release, and each press
// posts WM_APP_STOP_REQUEST to the tray window. Returns false if the system refuses the hook.
bool installEscapeHook();

// Does nothing if no hook is installed.
void removeEscapeHook();
