// The settings dialog: the recording shortcut and the start with Windows. User-interface thread
// only.

#pragma once

#include <windows.h>

#include <filesystem>

#include "settings/shortcut.h"

// Runs the dialog, dispatching messages, until it is closed. Save changes `shortcut`. If the dialog
// is already open, brings it to the front instead. Throws if the dialog cannot be opened.
void runSettingsDialog(HINSTANCE instance, HWND trayWindow, const std::filesystem::path& configPath,
                       ShortcutSpec& shortcut);

// Brings an open dialog to the front, or flashes its taskbar button if the system refuses that.
// Returns false if none is open.
bool raiseSettingsDialog();
