// The end of the session, and broadcasts. The process ends with the last answer to WM_ENDSESSION.

#pragma once

#include <windows.h>

namespace user32 {

void askForSessionEnd();               // WM_QUERYENDSESSION to every window
void tellSessionEnd(bool reallyEnds);  // WM_ENDSESSION to every window
void endSession();                     // both

// To every window that the program made.
void broadcast(UINT message, WPARAM wparam, LPARAM lparam);

}  // namespace user32
