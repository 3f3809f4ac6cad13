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

// One look. A message that is found leaves the queue, except WM_PAINT. False: there is none.
bool peek(MSG& message, const Filter& filter);
// Waits until a look finds something.
void waitFor(MSG& message);
void postQuit(int code);

// Milliseconds, as messages and key events carry them.
DWORD messageTime();

// For nested loops: dispatches everything until `done`, or until the quit comes, which it posts
// again.
void runLoop(const std::function<bool()>& done);

// To every window that the program made: sent, or posted.
void tellAll(UINT message, WPARAM wparam, LPARAM lparam);
void broadcast(UINT message, WPARAM wparam, LPARAM lparam);
// After the answers to WM_ENDSESSION; if the session really ends, the process does too.
void tellSessionEnd(bool reallyEnds);

// --- Callable from any thread
enum class Posted { Yes, NoWindow, Full };
Posted post(const MSG& message);
// The session ends for this program alone (a signal). Callable from a signal handler.
void endSessionSoon();

// --- For what brings input, registered at static initialization
struct InputSource {
    // Takes events from the host until one waits for a window. False: there may be more, but posted
    // messages and the end of the session do not wait for all of a flood, nor for the keys that
    // follow one which a hook ate.
    bool (*takeEvents)();
    // The waiting event as a message. Dropped: it was not for a window of ours.
    enum class Taken { None, Message, Dropped };
    Taken (*take)(MSG& message, const Filter& filter);
};
bool setInputSource(const InputSource& source);
// Mail with this registered message is for the action and not for a window.
bool setMailAction(const char16_t* message, void (*action)());

}  // namespace user32
