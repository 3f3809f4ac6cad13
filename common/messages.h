// Custom messages to the tray window.

#pragma once

#include <windows.h>

constexpr UINT WM_APP_TRAY = 0x8001;             // the shell; LPARAM is the mouse message
constexpr UINT WM_APP_RECORDING_DONE = 0x8002;   // LPARAM owns a RecordingResult
constexpr UINT WM_APP_STOP_REQUEST = 0x8003;     // Esc was pressed
constexpr UINT WM_APP_OPEN_SETTINGS = 0x8004;    // open the settings dialog, or raise it
constexpr UINT WM_APP_REGION_SELECTED = 0x800A;  // a drag ended; selectedRegion() has the rectangle
constexpr UINT WM_APP_REGION_CANCELLED = 0x800B;  // the selection was canceled
