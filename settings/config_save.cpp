// An atomic save: a copy beside the file is edited, flushed to disk, read back and renamed over the
// file. A failure before the rename affects only the copy.

#include "settings/config_save.h"

#include <windows.h>

#include <stdexcept>

#include "common/handle.h"
#include "common/wide_text.h"

namespace {

constexpr WCHAR section[] = TEXT("hotkey");
constexpr WCHAR modifiersKey[] = TEXT("modifiers");
constexpr WCHAR keyKey[] = TEXT("key");
constexpr int maxAttempts = 32;

std::uint32_t attemptNumber = 0;  // never reset: two saves in one clock tick get different names

// A copy of a read-only config.ini is read-only, too, and cannot be deleted unchanged.
void deleteCopy(const WideText& copy) {
    if (DeleteFileW(copy.c_str())) return;
    SetFileAttributesW(copy.c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileW(copy.c_str());
}

WideText nextCopyName(const WideText& file) {
    return file + TEXT(".settings-") + decimalText(GetCurrentProcessId()) + TEXT("-") +
           decimalText(GetTickCount64()) + TEXT("-") + decimalText(++attemptNumber) + TEXT(".tmp");
}

// The copy's name. Existing files are never overwritten, not even another process's copy.
WideText makeCopy(const WideText& file) {
    for (int attempt = 0; attempt < maxAttempts; ++attempt) {
        WideText copy = nextCopyName(file);
        if (CopyFileW(file.c_str(), copy.c_str(), TRUE)) return copy;
        const DWORD error = GetLastError();
        if (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS) break;
    }
    throw std::runtime_error(
        "Cannot prepare config.ini. Previous shortcut kept. Check file permissions.");
}

// Deletes the copy unless it was renamed.
struct TemporaryCopy {
    explicit TemporaryCopy(const WideText& file) : name(makeCopy(file)) {}
    ~TemporaryCopy() {
        if (!moved) deleteCopy(name);
    }
    TemporaryCopy(const TemporaryCopy&) = delete;
    TemporaryCopy& operator=(const TemporaryCopy&) = delete;

    const WideText name;
    bool moved = false;
};

bool writeValue(const WideText& file, const WCHAR* name, std::uint32_t value) {
    return WritePrivateProfileStringW(section, name, decimalText(value).c_str(), file.c_str()) != 0;
}

// Makes the system write and drop what it caches of a profile file. The result has no meaning.
void forgetProfile(const WideText& file) {
    WritePrivateProfileStringW(nullptr, nullptr, nullptr, file.c_str());
}

bool forceToDisk(const WideText& file) {
    const Handle handle =
        ownHandle(CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return handle && FlushFileBuffers(handle.get());
}

bool holdsValue(const WideText& file, const WCHAR* name, std::uint32_t value) {
    return GetPrivateProfileIntW(section, name, 0, file.c_str()) == value;
}

bool edit(const WideText& copy, std::uint32_t modifiers, std::uint32_t key) {
    if (!writeValue(copy, modifiersKey, modifiers) || !writeValue(copy, keyKey, key)) return false;
    forgetProfile(copy);
    return forceToDisk(copy) && holdsValue(copy, modifiersKey, modifiers) &&
           holdsValue(copy, keyKey, key);
}

}  // namespace

void saveConfig(const std::filesystem::path& configPath, std::uint32_t modifiers,
                std::uint32_t key) {
    const WideText file = configPath.string<WCHAR>();
    TemporaryCopy copy(file);
    copy.moved = edit(copy.name, modifiers, key) &&
                 MoveFileExW(copy.name.c_str(), file.c_str(),
                             MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
    if (!copy.moved)
        throw std::runtime_error(
            "Cannot save config.ini. Previous shortcut kept. Check file/folder permissions and "
            "free disk space, close programs locking the file, then retry Save.");
    forgetProfile(file);
}
