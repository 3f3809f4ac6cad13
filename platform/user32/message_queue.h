// The message queue of the user-interface thread: what comes next, and in which order.
//
// A look at the queue answers messages that other processes sent, takes the host's events (which
// calls the keyboard hooks and turns hot keys into posted messages), and then finds, in this order:
// posted messages, the quit, input, painting, timers.

#pragma once

#include <windows.h>

#include <functional>

namespace user32 {

struct Filter {
    HWND window = nullptr;     // null: any
    UINT first = 0, last = 0;  // both 0: any
};
bool passes(const Filter& filter, const MSG& message);

enum class Found { Nothing, Message, Quit };

// One look. A message that is found leaves the queue, except WM_PAINT; the quit stays until
// takeQuit.
Found peek(MSG& message, const Filter& filter);
// Waits until a look finds something.
Found waitFor(MSG& message);
void takeQuit(MSG& message);
void postQuit(int code);

// Milliseconds, as messages and key events carry them.
DWORD messageTime();

// For nested loops: dispatches everything until `done`, or until the quit is there, which it
// leaves.
void runLoop(const std::function<bool()>& done);

// --- Callable from any thread
enum class Posted { Yes, NoWindow, Full };
Posted post(const MSG& message);
bool isLive(HWND window);
// The session ends for this program alone (a signal). Callable from a signal handler.
void endSessionSoon();

// --- For window.cpp and thread.cpp
void admitWindow(HWND window);
void dismissWindow(HWND window);  // with everything posted to it
void forgetMessages();

}  // namespace user32
