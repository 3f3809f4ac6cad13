// config.ini, the only settings file: created if it is missing, read once at every start.

#pragma once

#include <windows.h>

#include <filesystem>

#include "settings/shortcut.h"

// Creates config.ini if nothing exists at the path. An existing file is never rewritten, even if it
// is empty or invalid. Throws std::runtime_error and leaves no new file then.
void ensureConfigFile(const std::filesystem::path& configPath);

// Reads the shortcut and registers it on the tray window. Throws std::runtime_error: if the
// shortcut is invalid, `shortcut` is unchanged; if it is refused, `shortcut` is the file's,
// unregistered.
void loadShortcut(HWND trayWindow, const std::filesystem::path& configPath, ShortcutSpec& shortcut);
