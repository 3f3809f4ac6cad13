// The one tray icon.

#pragma once

#include <windows.h>

namespace shell32 {

void reportTrayMouse(UINT message);  // to the icon's window, posted
// The shell has started anew: the icon is gone, and every window hears of it.
void restartTray();
void forgetTrayIcon();

}  // namespace shell32
