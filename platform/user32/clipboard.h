// The clipboard.

#pragma once

#include <windows.h>

namespace user32 {

// The window dies: it has the clipboard open or owns it no more. What lies on the clipboard stays.
void loseClipboard(HWND window);

}  // namespace user32
