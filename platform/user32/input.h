// Input on its way from the host to a window: keys, hooks, hot keys, the pointer and its capture,
// and which window has the foreground.

#pragma once

#include <windows.h>

#include "platform/hosts/host.h"

namespace user32 {

// MOD_ALT | MOD_CONTROL | MOD_SHIFT | MOD_WIN, as they were held at the input message that was
// taken last.
UINT modifiersOfInput();

// For static initialization: the tray icon gets the events of the taskbar.
bool setTrayAction(void (*action)(const host::Event& event));

// --- activation.cpp
HWND keyTarget();  // an open menu, else the foreground window

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
// Another program has come to the front.
void loseActivation();

// While a menu is open its window gets all keys, though its owner stays in the foreground.
void divertKeys(HWND menuWindow);

HWND capture();
// Tells the loser before it returns, which may be the same window.
void setCapture(HWND window);
void releaseCapture();

// --- keyboard.cpp: a US English keyboard
UINT scanCodeOf(UINT key);  // 0: the keyboard does not have the key
// One of the keys that came later and share a scan code with an older one.
bool isExtended(UINT key);

// Keeps the keys that the host grabs in step with what the hooks may eat; false if it cannot have
// them.
bool followHooks();
// Calls the hooks, the last installed first. True if one of them ate the event.
bool hooksEat(const host::Event& event, UINT message);
// The key event that a hook is looking at; null outside of hooks.
const host::Event* hookedEvent();

// Posts WM_HOTKEY if the press completes a registered combination, modifiers exactly. A repeat is
// taken in silence.
bool isHotKey(const host::Event& press, bool isRepeat);

}  // namespace user32
