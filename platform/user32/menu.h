// Popup menus.

#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace user32 {

struct MenuItem {
    UINT id;
    std::u16string text;
    bool enabled = true, separator = false;
};

// Shows the menu at the position and waits; 0: nothing was chosen, or the owner is gone.
UINT runMenu(const std::vector<MenuItem>& items, POINT at, HWND owner);

// The program has posted a message to the window. Any thread.
void settleMenuOf(HWND owner);

}  // namespace user32
