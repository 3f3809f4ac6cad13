// Which window of ours has the foreground, and where keys go.

#pragma once

#include <windows.h>

namespace user32 {

HWND foreground();  // null: another program's
HWND keyTarget();   // an open menu, else the focus window

bool activate(HWND window);
// As a press on it does: unless the window refuses.
void activateByPress(HWND window);
// The window is hidden or gets destroyed: the next window of ours takes over, or the program that
// was there before.
void leaveActivation(HWND window);
// Another program has come to the front.
void loseActivation();

// While a menu is open its window gets all keys, though its owner stays in the foreground.
void divertKeys(HWND menuWindow);

}  // namespace user32
