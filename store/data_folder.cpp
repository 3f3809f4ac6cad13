// The user may redirect folders above the data folder. Links at its own two levels are refused:
// through one, the program would delete files in another folder.

#include "store/data_folder.h"

#include <windows.h>
#include <shlobj.h>

#include <memory>
#include <stdexcept>

#include "common/failure.h"
#include "common/handle.h"

namespace {

struct TaskMemoryFreer {
    void operator()(WCHAR* text) const { CoTaskMemFree(text); }
};

std::filesystem::path localAppData() {
    PWSTR text = nullptr;
    const HRESULT result = SHGetKnownFolderPath(FOLDERID_LocalAppData, 0, nullptr, &text);
    // The text has to be freed after a failure, too.
    const std::unique_ptr<WCHAR, TaskMemoryFreer> owner(text);
    check(result, "LocalAppData");
    return owner.get();
}

// INVALID_FILE_ATTRIBUTES has all bits set, so it is refused, too.
void refuseLink(const std::filesystem::path& folder) {
    if (GetFileAttributesW(folder.string<WCHAR>().c_str()) & FILE_ATTRIBUTE_REPARSE_POINT)
        throw std::runtime_error("App data folder must not be a junction/symlink");
}

Handle openItem(const std::filesystem::path& path, DWORD flags) {
    Handle item = ownHandle(CreateFileW(path.string<WCHAR>().c_str(), GENERIC_READ, FILE_SHARE_READ,
                                        nullptr, OPEN_EXISTING, flags, nullptr));
    if (!item) throw std::runtime_error("Cannot open completed clip/data folder");
    return item;
}

bool isNonEmptyFile(const BY_HANDLE_FILE_INFORMATION& item) {
    return !(item.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) &&
           (item.nFileSizeHigh != 0 || item.nFileSizeLow != 0);
}

WideText finalPath(HANDLE item) {
    const std::runtime_error failure("Cannot resolve physical clip path");
    const DWORD needed = GetFinalPathNameByHandleW(item, nullptr, 0, 0);
    if (needed == 0) throw failure;
    const DWORD capacity = needed + 1;
    WideText text(capacity, 0);
    const DWORD length = GetFinalPathNameByHandleW(item, text.data(), capacity, 0);
    // Longer if the item was moved in between: the result is then the size that it needs.
    if (length == 0 || length >= capacity) throw failure;
    text.resize(length);
    return text;
}

}  // namespace

std::filesystem::path prepareDataFolder() {
    const std::filesystem::path base = localAppData() / TEXT("Quorvel Desk Clip");
    const std::filesystem::path recordings = base / TEXT("Recordings");
    std::filesystem::create_directories(recordings);
    refuseLink(base);
    refuseLink(recordings);
    return resolvePhysicalPath(base, false);
}

std::filesystem::path resolvePhysicalPath(const std::filesystem::path& path,
                                          bool requireNonEmptyFile) {
    // Folders can only be opened with backup semantics.
    const Handle item =
        openItem(path, requireNonEmptyFile ? FILE_ATTRIBUTE_NORMAL : FILE_FLAG_BACKUP_SEMANTICS);
    BY_HANDLE_FILE_INFORMATION information{};
    if (!GetFileInformationByHandle(item.get(), &information) ||
        (requireNonEmptyFile && !isNonEmptyFile(information)))
        throw std::runtime_error("Completed clip is empty or not a file");
    return stripFinalPathPrefix(finalPath(item.get()));
}

WideText stripFinalPathPrefix(const WideText& finalPath) {
    if (finalPath.starts_with(TEXT("\\\\?\\UNC\\"))) return TEXT("\\\\") + finalPath.substr(8);
    if (finalPath.starts_with(TEXT("\\\\?\\")) && finalPath.size() >= 7 && finalPath[5] == ':')
        return finalPath.substr(4);
    return finalPath;
}
