// The program's one dialog: the recording shortcut and the start with Windows. User-interface
// thread only.

#pragma once

#include <windows.h>

#include <filesystem>

#include "settings/shortcut.h"

// Runs the dialog until it has closed; messages are dispatched meanwhile. `shortcut` is changed by
// a Save. If a dialog is open already, that one is brought forward. Throws if the dialog cannot be
// opened.
void runSettingsDialog(HINSTANCE instance, HWND trayWindow, const std::filesystem::path& configPath,
                       ShortcutSpec& shortcut);

// Brings an open dialog forward, or flashes its taskbar button where the system refuses that.
// False: none is open.
bool raiseSettingsDialog();
