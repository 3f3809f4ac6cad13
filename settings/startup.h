// The start-with-Windows entry: one value of the user's Run key. A value that is not provably this
// executable's is never changed, and a change is verified by reading the value again.
//
// `exePath` is the full path of the running executable. User-interface thread only. All failures
// are std::runtime_error.

#pragma once

#include <windows.h>

#include "common/wide_text.h"

enum StartupState {
    StartupAbsent,   // no such value
    StartupOwned,    // exactly the start command of this executable
    StartupForeign,  // anything else under that name
};

// Reads the value of the opened key.
StartupState queryStartup(HKEY key, const WideText& exePath);

// Writes or deletes the value of the opened key. If it is foreign, enabling fails and disabling
// leaves it alone.
void applyStartup(HKEY key, const WideText& exePath, bool enable);

// Does the same in the user's Run key, which is created if a value has to be written.
void saveStartup(const WideText& exePath, bool enable);

// Returns what the settings dialog shows of the entry. Does not throw: a failure becomes the hint.
struct StartupView {
    bool checked = false;
    bool enabled = false;  // false: Save leaves the entry alone
    WideText hint;
};
StartupView readStartup(const WideText& exePath);
