// What the host reports, turned into hook calls, posted messages and input messages.

#pragma once

#include <windows.h>

#include "platform/user32/message_queue.h"

namespace user32 {

// Takes events from the host until one waits for a window: key events go through hooks and hot keys
// at once, a pointer event stays until the queue gets to it, since the messages before it may move
// windows or the capture. False: there may be more, but posted messages and the end of the session
// do not wait for all of a flood.
bool takeEvents();
// The waiting event as a message. Dropped: it was not for a window of ours.
enum class Input { None, Taken, Dropped };
Input takeInput(MSG& message, const Filter& filter);

// MOD_ALT | MOD_CONTROL | MOD_SHIFT | MOD_WIN, as they were held at the input that takeInput took
// last.
UINT modifiersOfInput();

bool isDown(UINT key);

}  // namespace user32
