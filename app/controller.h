// The procedure of the program's hidden window, and the state machine that it drives.

#pragma once

#include <windows.h>

// Every event arrives here as a message, on the user-interface thread. Reentrant: messages are also
// dispatched while the tray menu or the settings dialog is open.
LRESULT CALLBACK trayWindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

// Waits until a running job has finished and published its clip. Returns immediately without a job.
void joinWorker();
