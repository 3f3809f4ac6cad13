// Menus and message boxes: what the layer itself shows and waits for.

#pragma once

#include <windows.h>

namespace user32 {

// Ends the open menu with that entry; 0: nothing was chosen. Does nothing if none is open.
void endMenu(UINT id);
// The program has posted a message to the window. Any thread.
void settleMenuOf(HWND owner);
void forgetModals();
void forgetDialog();

}  // namespace user32
