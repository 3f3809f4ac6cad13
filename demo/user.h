// The user at the desktop: what a user does with the program and sees of it. The demonstration and
// the scenarios do the same things; those of the Windows program have their own implementation.

#pragma once

#include <windows.h>

#include <filesystem>
#include <string>
#include <vector>

namespace user {

void press(const std::vector<UINT>& keys);  // virtual keys: down in order, up in reverse order
inline void pressShortcut() { press({VK_LCONTROL, VK_LSHIFT, '7'}); }
inline void pressEsc() { press({VK_ESCAPE}); }

void move(int x, int y);
void holdButton(int button);  // 1 left, 3 right
void releaseButton(int button);
inline void click(int x, int y, int button = 1) {
    move(x, y);
    holdButton(button);
    releaseButton(button);
}

void clickTray(int button);  // on the icon
bool menuIsOpen();
void choose(UINT entry);  // in the open menu, by the arrow keys and Enter

bool sheetIsUp();       // and in front
bool frameIsUp();       // the red frame, and not the sheet
std::string trayTip();  // empty without an icon

// "title|text" of the message box that is open; empty without one. Enter answers it.
std::string box();

enum Control { ShortcutBox = 1001, StartEntry = 1002, Hint = 1003, Save = 1, Cancel = 2 };
struct ControlView {
    std::string text;
    bool checked = false, enabled = false;
    RECT bounds{};
};
bool settingsAreOpen();
ControlView control(int id);
int focus();  // of Settings: 0 if they are not open or another window is in front

std::filesystem::path pastedFile();  // the one file on the clipboard

}  // namespace user
