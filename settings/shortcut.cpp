// A change registers the new shortcut, saves it, then unregisters the old one: the user always has
// a shortcut, and the file always agrees with what is registered.

#include "settings/shortcut.h"

#include <stdexcept>

#include "settings/config_save.h"

namespace {

// In the order in which the names are shown, not that of the bits.
constexpr struct {
    std::uint32_t bit;
    const WCHAR* text;
} modifierNames[] = {{MOD_CONTROL, TEXT("Ctrl+")},
                     {MOD_ALT, TEXT("Alt+")},
                     {MOD_SHIFT, TEXT("Shift+")},
                     {MOD_WIN, TEXT("Win+")}};

WideText keyName(std::uint32_t key) {
    WCHAR name[64]{};
    const UINT scanCode = MapVirtualKeyW(key, MAPVK_VK_TO_VSC);
    const int length = GetKeyNameTextW(static_cast<LONG>(scanCode << 16), name, 64);
    if (length > 0) return WideText(name, static_cast<std::size_t>(length));
    return TEXT("Key ") + decimalText(key);
}

void requireAllowed(std::uint32_t modifiers, std::uint32_t key) {
    if (!isAllowedKey(key) || !isAllowedModifiers(modifiers))
        throw std::runtime_error(
            "Use Ctrl, Alt, Shift or Win with a letter, digit, numpad key or F1-F12.");
}

// Saves while both shortcuts are registered. A failed save unregisters the new one.
void saveOrUnregister(HWND trayWindow, const std::filesystem::path& configPath,
                      const ShortcutSpec& next) {
    try {
        saveConfig(configPath, next.modifiers, next.key);
    } catch (...) {
        UnregisterHotKey(trayWindow, next.id);
        throw;
    }
}

}  // namespace

bool isAllowedKey(std::uint32_t key) {
    return (key >= '0' && key <= '9') || (key >= 'A' && key <= 'Z') ||
           (key >= VK_NUMPAD0 && key <= VK_F12);
}

bool isAllowedModifiers(std::uint32_t modifiers) { return modifiers >= 1 && modifiers <= 15; }

void applyShortcut(HWND trayWindow, const std::filesystem::path& configPath, ShortcutSpec& shortcut,
                   std::uint32_t modifiers, std::uint32_t key) {
    requireAllowed(modifiers, key);
    // A combination cannot be registered twice, so an unchanged one is only saved.
    if (shortcut.registered && modifiers == shortcut.modifiers && key == shortcut.key)
        return saveConfig(configPath, modifiers, key);
    const ShortcutSpec next{modifiers, key, shortcut.id == 1 ? 2 : 1, true};
    if (!RegisterHotKey(trayWindow, next.id, modifiers | MOD_NOREPEAT, key))
        throw std::runtime_error(
            "Shortcut unavailable or reserved by Windows. Previous shortcut kept.");
    saveOrUnregister(trayWindow, configPath, next);
    if (shortcut.registered) UnregisterHotKey(trayWindow, shortcut.id);
    shortcut = next;
}

WideText shortcutText(std::uint32_t modifiers, std::uint32_t key) {
    WideText text;
    for (const auto& name : modifierNames)
        if (modifiers & name.bit) text += name.text;
    return text + keyName(key);
}
