// Messages of the user-interface thread and the input that becomes messages: the queue, the way of
// an event from the host to a window, hooks and hot keys, and which window has the foreground.
//
// A look at the queue answers messages that other processes sent, takes the host's events (which
// calls the keyboard hook and turns hot keys into posted messages), and then finds, in this order:
// posted messages, the quit, input, painting, the timer.

#pragma once

#include <windows.h>

#include <functional>

#include "platform/hosts/host.h"

namespace user32 {

// Dispatches everything until `done`, or until the quit comes, which it leaves to the outer loop.
void runLoop(const std::function<bool()>& done);

// Milliseconds, as messages and key events carry them.
DWORD messageTime();

// To every window that the program made: sent, or posted.
void tellAll(UINT message, WPARAM wparam, LPARAM lparam);
void broadcast(UINT message, WPARAM wparam, LPARAM lparam);
// After the answers to WM_ENDSESSION; if the session really ends, the process does too.
void tellSessionEnd(bool reallyEnds);

// Any thread. Returns 0 or the error.
DWORD post(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
// The session ends for this program alone (a signal). Callable from a signal handler.
void endSessionSoon();

// --- input.cpp
// Takes events from the host until one waits for a window. False: there may be more, but posted
// messages and the end of the session do not wait for all of a flood, nor for the keys that follow
// one which the hook ate.
bool takeEvents();
// Makes a message of the event that waits. False: there is none. Without a window, the event was
// not for one of ours.
bool takeInput(MSG& message);
// MOD_ALT | MOD_CONTROL | MOD_SHIFT | MOD_WIN, as they were held at the input message that was
// taken last.
UINT modifiersOfInput();

// False where the program may not take the foreground: it may if it has it, if it was started or
// addressed by the user's last input, or if a program that may has named it.
bool activate(HWND window);

HWND capture();
// Tells the loser before it returns, which may be the same window.
void setCapture(HWND window);
void releaseCapture();

// --- keyboard.cpp: a US English keyboard
// With the bit 0x100 for keys that came later and share a code with an older one; 0: the keyboard
// does not have the key.
UINT scanCodeOf(UINT key);
// Keeps the keys that the host grabs in step with what the hook may eat; false if it cannot have
// them.
bool followHook();
bool hookEats(const host::Event& event, UINT message);
// Posts WM_HOTKEY if the press completes a registered combination, modifiers exactly. A repeat is
// taken in silence.
bool isHotKey(const host::Event& press, bool isRepeat);

// --- shell32/shell.cpp
void takeTrayEvent(const host::Event& event);

}  // namespace user32
