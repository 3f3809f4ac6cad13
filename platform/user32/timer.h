// Timers.

#pragma once

#include <windows.h>

#include "platform/user32/message_queue.h"

namespace user32 {

// The earliest timer that is due; it starts anew, so missed periods give one message.
bool takeTimer(MSG& message, const Filter& filter);
int millisecondsToTimer();  // for poll: rounded up, -1 without timers
void killTimersOf(HWND window);

}  // namespace user32
