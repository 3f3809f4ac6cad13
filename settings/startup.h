// The start-with-Windows entry: one value under the user's Run key. A value that is not provably
// this executable's own is never changed, and success is reported only after reading it back.
//
// `exePath` is the full path of the running executable. User-interface thread. All failures are
// std::runtime_error.

#pragma once

#include <windows.h>

#include "common/wide_text.h"

enum StartupState {
    StartupAbsent,   // no such value
    StartupOwned,    // exactly the start command of this executable
    StartupForeign,  // anything else under that name
};

// Looks at the value under the opened key.
StartupState queryStartup(HKEY key, const WideText& exePath);

// Brings the value under the opened key to the wanted state, unless it is foreign: then enabling
// fails and disabling leaves it alone.
void applyStartup(HKEY key, const WideText& exePath, bool enable);

// Does the same under the user's Run key, which is created if there is something to write.
void saveStartup(const WideText& exePath, bool enable);

// What the settings dialog shows of the entry. Does not throw: a failure becomes the hint.
struct StartupView {
    bool checked = false;
    bool enabled = false;  // false: Save leaves the entry alone
    WideText hint;
};
StartupView readStartup(const WideText& exePath);
