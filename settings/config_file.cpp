#include "settings/config_file.h"

#include <fstream>
#include <stdexcept>

namespace {

// Explicit line ends and a binary stream: the bytes do not depend on the library.
constexpr char firstConfig[] = "; Use tray Settings to change the shortcut.\r\n"
                               "; Modifiers: Alt=1 Ctrl=2 Shift=4 Win=8; add them.\r\n"
                               "; Key: Windows virtual-key decimal (7=55, F8=119).\r\n"
                               "[hotkey]\r\n"
                               "modifiers=6\r\n"
                               "key=55\r\n";

}  // namespace

void ensureConfigFile(const std::filesystem::path& configPath) {
    if (std::filesystem::exists(configPath)) return;
    std::ofstream output(configPath, std::ios::binary);
    const bool isMade = output.is_open();
    output << firstConfig;
    output.close();
    if (output) return;
    // The next start would take a truncated file for the user's own.
    std::error_code ignored;
    if (isMade) std::filesystem::remove(configPath, ignored);
    throw std::runtime_error("Cannot create config");
}

void loadShortcut(HWND trayWindow, const std::filesystem::path& configPath,
                  ShortcutSpec& shortcut) {
    const WideText file = configPath.string<WCHAR>();
    const ShortcutSpec defaults;
    const UINT modifiers = GetPrivateProfileIntW(
        TEXT("hotkey"), TEXT("modifiers"), static_cast<INT>(defaults.modifiers), file.c_str());
    const UINT key = GetPrivateProfileIntW(TEXT("hotkey"), TEXT("key"),
                                           static_cast<INT>(defaults.key), file.c_str());
    if (!isAllowedKey(key) || !isAllowedModifiers(modifiers))
        throw std::runtime_error("Invalid config shortcut. Use tray Settings to choose one.");
    shortcut.modifiers = modifiers;
    shortcut.key = key;
    if (!RegisterHotKey(trayWindow, shortcut.id, modifiers | MOD_NOREPEAT, key))
        throw std::runtime_error("Shortcut unavailable. Use tray Settings to choose another; tray "
                                 "Record also works.");
    shortcut.registered = true;
}
