// config.ini, the one settings file: written once if it is missing, read once at every start.

#pragma once

#include <windows.h>

#include <filesystem>

#include "settings/shortcut.h"

// Writes the first config.ini if nothing lies at the path; what lies there is never rewritten, be
// it empty or invalid. Throws std::runtime_error; then there is no new file.
void ensureConfigFile(const std::filesystem::path& configPath);

// Reads the shortcut and registers it on the tray window. Throws std::runtime_error: an invalid
// shortcut leaves `shortcut` as it was, a refused one leaves the file's shortcut there,
// unregistered.
void loadShortcut(HWND trayWindow, const std::filesystem::path& configPath, ShortcutSpec& shortcut);
