// The global shortcut: which combinations are valid, their text, and the change to another.

#pragma once

#include <windows.h>

#include <cstdint>
#include <filesystem>

#include "common/wide_text.h"

// While `registered`, the tray window has a hot key `id` with `modifiers` and `key`. User-interface
// thread only.
struct ShortcutSpec {
    std::uint32_t modifiers = 6;  // sum of Alt 1, Ctrl 2, Shift 4, Win 8
    std::uint32_t key = 55;       // virtual-key code
    std::int32_t id = 1;          // 1 or 2
    bool registered = false;
};

// Returns whether it is a digit, a letter, a digit or operator of the numeric keypad, or F1 to F12.
bool isAllowedKey(std::uint32_t key);

// Returns whether at least one modifier is set, and nothing else.
bool isAllowedModifiers(std::uint32_t modifiers);

// Registers the new shortcut, saves it in config.ini and unregisters the old one. Throws
// std::runtime_error; registration, file and `shortcut` are then as before.
void applyShortcut(HWND trayWindow, const std::filesystem::path& configPath, ShortcutSpec& shortcut,
                   std::uint32_t modifiers, std::uint32_t key);

// Returns the text for the user, with the key's name in the user's keyboard layout
// ("Ctrl+Shift+7"). The combination need not be valid.
WideText shortcutText(std::uint32_t modifiers, std::uint32_t key);
