// What the program does next: the procedure of its one hidden window and the state machine behind
// it.

#pragma once

#include <windows.h>

// Everything that happens to the program arrives here as a message, on the user-interface thread.
// The procedure is entered again while the tray menu or the settings dialog runs.
LRESULT CALLBACK trayWindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

// Waits until a running job has finished and published its clip; returns at once if there is none.
void joinWorker();
