// The one tray icon.

#pragma once

#include <windows.h>

namespace shell32 {

void reportTrayMouse(UINT message);  // to the icon's window, posted
// The shell has restarted: the icon is gone, and every window is told.
void restartTray();
void forgetTrayIcon();

}  // namespace shell32
