// The icon in the notification area, its tip, its menu and its balloons. User-interface thread
// only.

#pragma once

#include <windows.h>

#include "common/wide_text.h"

// The identifiers of the menu's entries.
enum TrayCommand : UINT {
    CommandRecord = 1,
    CommandStop = 2,
    CommandOpenClips = 3,
    CommandSettings = 4,
    CommandExit = 6,
};

// Adds the icon, or updates its image and its tip, which names the current shortcut. Throws only if
// the shell refuses to add it.
void updateTrayIcon(bool add);

// Shows a balloon, its text cut to 255 characters. Does nothing without an icon.
void showNotice(WideView text, bool isError);

// Runs the menu at the pointer, dispatching messages, and returns the chosen command, or 0 for
// none.
UINT showTrayMenu();

// Does nothing without an icon.
void removeTrayIcon(HWND window);
