// The end of the session, and broadcasts.

#pragma once

#include <windows.h>

namespace user32 {

void askForSessionEnd();               // WM_QUERYENDSESSION to every window
void tellSessionEnd(bool reallyEnds);  // WM_ENDSESSION to every window
void endSession();                     // both

// After the last WM_ENDSESSION the system hands out no message any more. A process that lives on
// all the same, as a test's does, gets the quit.
bool sessionHasEnded();
void forgetSession();

// To every window that the program made.
void broadcast(UINT message, WPARAM wparam, LPARAM lparam);

}  // namespace user32
