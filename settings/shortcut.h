// The one global shortcut: what may be one, how it reads, and how it is exchanged for another.

#pragma once

#include <windows.h>

#include <cstdint>
#include <filesystem>

#include "common/wide_text.h"

// While `registered`, a hot key with `modifiers` and `key` lives on the tray window under `id`.
// User-interface thread only.
struct ShortcutSpec {
    std::uint32_t modifiers = 6;  // sum of Alt 1, Ctrl 2, Shift 4, Win 8
    std::uint32_t key = 55;       // virtual-key code
    std::int32_t id = 1;          // 1 or 2
    bool registered = false;
};

// Digits, letters, the numeric keypad's digits and operators, F1 to F12.
bool isAllowedKey(std::uint32_t key);

// At least one modifier and nothing but modifiers.
bool isAllowedModifiers(std::uint32_t modifiers);

// Registers the new shortcut, saves it to config.ini, ends the old one. Throws std::runtime_error;
// then registration, file and `shortcut` are as before.
void applyShortcut(HWND trayWindow, const std::filesystem::path& configPath, ShortcutSpec& shortcut,
                   std::uint32_t modifiers, std::uint32_t key);

// As the user reads it, with the key's name in the user's keyboard layout ("Ctrl+Shift+7"); also
// for what is not a valid shortcut.
WideText shortcutText(std::uint32_t modifiers, std::uint32_t key);
