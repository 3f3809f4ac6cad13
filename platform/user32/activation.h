// Which window of ours has the foreground, and where keys go.

#pragma once

#include <windows.h>

#include "platform/hosts/host.h"

namespace user32 {

HWND foreground();  // null: another program's
HWND keyTarget();   // an open menu, else the focus window

// False where the program may not take the foreground: it may if it has it, if it was started or
// addressed by the user's last input, or if a program that may has named it.
bool activate(HWND window);
bool mayTakeForeground();
void allowForeground();
// The name of the message by which another program passes its right on.
constexpr char16_t foregroundMail[] = u"AllowSetForegroundWindow";
// A key or button goes down. What did so before the program was started does not count.
void noteInput(const host::Event& press, bool ours);
// As a press on it does: unless the window refuses. `message` is the press.
void activateByPress(HWND window, UINT message);
// The window is hidden or gets destroyed: the next window of ours takes over, or the program that
// was there before.
void leaveActivation(HWND window);
// Another program has come to the front.
void loseActivation();
void beginActivation();  // the thread is a program that the user has just started

// While a menu is open its window gets all keys, though its owner stays in the foreground.
void divertKeys(HWND menuWindow);

}  // namespace user32
