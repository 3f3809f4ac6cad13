// Process-wide state, shared by the files of this folder.

#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <filesystem>

#include "settings/shortcut.h"

// A second start finds this program by the class of its window.
inline constexpr const WCHAR* trayWindowClass = TEXT("QuorvelDeskClip");
inline constexpr const WCHAR* programTitle = TEXT("Quorvel Desk Clip");

enum class AppState : std::int32_t {
    Idle,
    Selecting,  // the overlay waits for a drag
    Recording,  // the job runs, the red frame is around the region
    Finishing,  // a stop was requested; the job completes and publishes the file
    Copying,    // the clip is published; a timer tries to put it on the clipboard
};

// Written by the controller only. User-interface thread only.
extern AppState appState;
extern ShortcutSpec currentShortcut;

// The monitor under the pointer when the selection began. A running job reads it, so it is constant
// meanwhile.
extern HMONITOR targetMonitor;

// Stops the capture loop. The only variable that two threads use concurrently.
extern std::atomic<bool> stopFlag;

// Set once, before the message loop.
extern HINSTANCE instanceHandle;
extern HWND trayWindow;
extern UINT activationMessage;
extern UINT taskbarCreatedMessage;
extern std::filesystem::path dataFolder;
extern std::filesystem::path recordingsFolder;

// Full path of config.ini. Needs dataFolder.
std::filesystem::path configPath();
