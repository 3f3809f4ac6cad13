// The icon in the notification area, its tip, its menu and its balloons. User-interface thread
// only.

#pragma once

#include <windows.h>

#include "common/wide_text.h"

// What the menu's entries answer.
enum TrayCommand : UINT {
    CommandRecord = 1,
    CommandStop = 2,
    CommandOpenClips = 3,
    CommandSettings = 4,
    CommandExit = 6,
};

// Adds the icon, or refreshes its image and its tip, which names the current shortcut. Throws only
// if it is to be added and the shell refuses.
void updateTrayIcon(bool add);

// Shows one balloon; text beyond 255 characters is cut. Without an icon nothing is shown.
void showNotice(WideView text, bool isError);

// Runs the menu at the pointer until something is chosen; 0 if nothing was. Messages are dispatched
// meanwhile.
UINT showTrayMenu();

void removeTrayIcon(HWND window);
