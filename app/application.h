// The state of the process that the files of this folder share.

#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <filesystem>

#include "settings/shortcut.h"

// The window's class is also how a second start finds this program.
inline constexpr const WCHAR* trayWindowClass = TEXT("QuorvelDeskClip");
inline constexpr const WCHAR* programTitle = TEXT("Quorvel Desk Clip");

enum class AppState : std::int32_t {
    Idle,
    Selecting,  // the overlay waits for a drag
    Recording,  // the job runs, the frame stands round the region
    Finishing,  // a stop was requested; the job completes and publishes the file
    Copying,    // the clip is published; a timer tries to put it on the clipboard
};

// Written by the controller alone. User-interface thread only.
extern AppState appState;
extern ShortcutSpec currentShortcut;

// The monitor under the pointer when the selection began. The job reads it: it stays as it is while
// a job runs.
extern HMONITOR targetMonitor;

// Tells the capture loop to finish. The one variable that two threads change and read at the same
// time.
extern std::atomic<bool> stopFlag;

// Set at start-up, before the message loop, and never again.
extern HINSTANCE instanceHandle;
extern HWND trayWindow;
extern UINT activationMessage;
extern UINT taskbarCreatedMessage;
extern std::filesystem::path dataFolder;
extern std::filesystem::path recordingsFolder;

// Full path of config.ini. Only once dataFolder is set.
std::filesystem::path configPath();
