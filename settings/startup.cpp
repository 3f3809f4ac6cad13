// Another copy of the program may change the entry at any time. So it is read in two steps, again
// right before a change, and once more after it.

#include "settings/startup.h"

#include <memory>
#include <stdexcept>

#include "common/failure.h"

namespace {

constexpr WCHAR runKey[] = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run");
constexpr WCHAR valueName[] = TEXT("QuorvelDeskClip");
constexpr std::size_t maxCommandLength = 260;  // the shell's limit for this key
constexpr DWORD maxValueBytes = 65536;

struct RegistryKeyCloser {
    using pointer = HKEY;
    void operator()(HKEY key) const { RegCloseKey(key); }
};
using RegistryKey = std::unique_ptr<void, RegistryKeyCloser>;

WideText startCommand(const WideText& exePath) { return TEXT("\"") + exePath + TEXT("\""); }

// `value` is as stored: with one terminator and nothing after it.
bool isCommand(const WideText& value, const WideText& exePath) {
    return value.back() == 0 && value.substr(0, value.size() - 1) == startCommand(exePath);
}

void requireAccepted(LSTATUS status) {
    if (status != ERROR_SUCCESS) throw std::runtime_error("Windows refused the startup change.");
}

void writeCommand(HKEY key, const WideText& exePath) {
    const WideText command = startCommand(exePath);
    if (command.size() > maxCommandLength)
        throw std::runtime_error("The executable path exceeds the Windows Run command limit. Move "
                                 "it to a shorter path first.");
    const DWORD bytes = static_cast<DWORD>((command.size() + 1) * sizeof(WCHAR));
    requireAccepted(RegSetValueExW(key, valueName, 0, REG_SZ,
                                   reinterpret_cast<const BYTE*>(command.c_str()), bytes));
}

void confirm(HKEY key, const WideText& exePath, StartupState wanted) {
    if (queryStartup(key, exePath) != wanted)
        throw std::runtime_error("Startup changed during Save; its state could not be confirmed.");
}

StartupState queryRunKey(const WideText& exePath) {
    HKEY opened = nullptr;
    const LSTATUS status = RegOpenKeyExW(HKEY_CURRENT_USER, runKey, 0, KEY_QUERY_VALUE, &opened);
    if (status == ERROR_FILE_NOT_FOUND) return StartupAbsent;
    if (status != ERROR_SUCCESS)
        throw std::runtime_error("Cannot read Windows startup registration.");
    const RegistryKey key(opened);
    return queryStartup(opened, exePath);
}

StartupView viewOf(StartupState state) {
    if (state == StartupForeign)
        return {false, false,
                TEXT("Startup points elsewhere (possibly an older copy). Disable it from that copy "
                     "before moving. No entry was changed.")};
    return {state == StartupOwned, true,
            TEXT("If enabled, keep this portable EXE in its current location.")};
}

}  // namespace

StartupState queryStartup(HKEY key, const WideText& exePath) {
    DWORD type = 0;
    DWORD size = 0;
    const LSTATUS sized = RegQueryValueExW(key, valueName, nullptr, &type, nullptr, &size);
    if (sized == ERROR_FILE_NOT_FOUND) return StartupAbsent;
    if (sized != ERROR_SUCCESS) throw std::runtime_error("Cannot read Windows startup value.");
    if (type != REG_SZ || size < sizeof(WCHAR) || size > maxValueBytes || size % sizeof(WCHAR) != 0)
        return StartupForeign;
    // Exactly this size: with a larger buffer the system adds a missing terminator.
    WideText value(size / sizeof(WCHAR), 0);
    DWORD filled = size;
    if (RegQueryValueExW(key, valueName, nullptr, &type, reinterpret_cast<BYTE*>(value.data()),
                         &filled) != ERROR_SUCCESS)
        throw std::runtime_error("Startup value changed or cannot be read; try again.");
    if (type != REG_SZ || filled != size) return StartupForeign;
    return isCommand(value, exePath) ? StartupOwned : StartupForeign;
}

void applyStartup(HKEY key, const WideText& exePath, bool enable) {
    const StartupState found = queryStartup(key, exePath);
    if (found == StartupForeign && enable)
        throw std::runtime_error("Another startup entry uses this name. It was not overwritten.");
    if (found == StartupAbsent && enable) {
        writeCommand(key, exePath);
        confirm(key, exePath, StartupOwned);
    } else if (found == StartupOwned && !enable) {
        requireAccepted(RegDeleteValueW(key, valueName));
        confirm(key, exePath, StartupAbsent);
    }
}

void saveStartup(const WideText& exePath, bool enable) {
    constexpr REGSAM access = KEY_QUERY_VALUE | KEY_SET_VALUE;
    HKEY opened = nullptr;
    LSTATUS status = RegOpenKeyExW(HKEY_CURRENT_USER, runKey, 0, access, &opened);
    if (status == ERROR_FILE_NOT_FOUND) {
        if (!enable) return;
        status = RegCreateKeyExW(HKEY_CURRENT_USER, runKey, 0, nullptr, 0, access, nullptr, &opened,
                                 nullptr);
    }
    if (status != ERROR_SUCCESS)
        throw std::runtime_error("Cannot update Windows startup registration.");
    const RegistryKey key(opened);
    applyStartup(opened, exePath, enable);
}

StartupView readStartup(const WideText& exePath) {
    try {
        return viewOf(queryRunKey(exePath));
    } catch (const std::exception& failure) {
        return {false, false, exceptionText(failure)};
    }
}
