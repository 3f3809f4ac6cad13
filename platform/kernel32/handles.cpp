// Open handles: files, folders and named mutexes.
//
// Only the name of a mutex is used: its creator is the first. A name is a file in the session's
// folder, and each handle holds a shared lock on it. Locks end with their process, so a file
// without a lock is a name without a holder.

#include <windows.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/core/call.h"
#include "platform/core/descriptor.h"
#include "platform/core/objects.h"
#include "platform/core/text.h"
#include "platform/core/user_folders.h"
#include "platform/kernel32/files.h"

namespace {

using desktop::Descriptor;

struct OpenFile {
    Descriptor descriptor;
    DWORD access;
};
desktop::HandleTable<HANDLE, OpenFile> files(0x104, "File");
desktop::HandleTable<HANDLE, Descriptor> mutexes(0x10104, "Mutex");  // locks on their names

// 0, or the code of the reason why the item may not be opened with these rights.
DWORD refusal(const std::string& path, DWORD access, DWORD flags) {
    struct stat item {};
    if (stat(path.c_str(), &item) != 0) return kernel32::errorCode(errno, path);
    if (S_ISDIR(item.st_mode))
        return flags == FILE_FLAG_BACKUP_SEMANTICS && !(access & GENERIC_WRITE)
                   ? ERROR_SUCCESS
                   : ERROR_ACCESS_DENIED;
    if (!S_ISREG(item.st_mode)) return ERROR_ACCESS_DENIED;
    // The superuser could write to it all the same, which is not what the bit means.
    if ((access & GENERIC_WRITE) && kernel32::isReadOnly(item)) return ERROR_ACCESS_DENIED;
    return ERROR_SUCCESS;
}

// "Local\\x" and "x" are the same object.
std::string objectName(const desktop::Call& call, LPCWSTR name) {
    const std::string text = desktop::toUtf8(name);
    const std::string session = "Local\\";
    const std::string plain = text.starts_with(session) ? text.substr(session.size()) : text;
    if (plain.empty() || plain.find_first_of("/\\") != std::string::npos)
        call.refuse("separator in the name", 1);
    return plain;
}

}  // namespace

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                   DWORD disposition, DWORD flags, HANDLE pattern) {
    desktop::Call call("CreateFileW", name, access, share, flags);
    call.only("security or template", security || pattern, false);
    call.only("access", access, GENERIC_READ, GENERIC_WRITE, GENERIC_READ | GENERIC_WRITE);
    call.within("share mode", share, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    call.only("disposition", disposition, OPEN_EXISTING);
    call.only("flags", flags, FILE_ATTRIBUTE_NORMAL, FILE_FLAG_BACKUP_SEMANTICS);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED), INVALID_HANDLE_VALUE;
    const std::string path = desktop::toUtf8(name);
    if (const DWORD code = refusal(path, access, flags))
        return call.fail(code), INVALID_HANDLE_VALUE;
    // Marks need a descriptor that can read.
    const int mode = access & GENERIC_WRITE ? O_RDWR : O_RDONLY;
    Descriptor file(open(path.c_str(), mode | O_CLOEXEC));
    if (!file) return call.fail(kernel32::errorCode(errno, path)), INVALID_HANDLE_VALUE;
    if (!kernel32::shareFile(file.get(), access, share))
        return call.fail(ERROR_SHARING_VIOLATION), INVALID_HANDLE_VALUE;
    return files.add({std::move(file), access});
}

BOOL FlushFileBuffers(HANDLE file) {
    desktop::Call call("FlushFileBuffers", file);
    if (call.struck()) return call.fail(ERROR_WRITE_FAULT);
    const auto* const opened = files.find(file);
    if (!opened) return call.fail(ERROR_INVALID_HANDLE);
    if (!(opened->access & GENERIC_WRITE)) return call.fail(ERROR_ACCESS_DENIED);
    if (fsync(opened->descriptor.get()) != 0) return call.fail(kernel32::errorCode(errno));
    return TRUE;
}

// Attributes and size.
BOOL GetFileInformationByHandle(HANDLE file, BY_HANDLE_FILE_INFORMATION* information) {
    desktop::Call call("GetFileInformationByHandle", file);
    if (call.struck()) return call.fail(ERROR_GEN_FAILURE);
    const auto* const opened = files.find(file);
    if (!opened) return call.fail(ERROR_INVALID_HANDLE);
    struct stat item {};
    if (fstat(opened->descriptor.get(), &item) != 0) return call.fail(kernel32::errorCode(errno));
    const auto size = static_cast<std::uint64_t>(item.st_size);
    *information = {};
    information->dwFileAttributes = kernel32::attributesOf(item);
    information->nFileSizeHigh = static_cast<DWORD>(size >> 32);
    information->nFileSizeLow = static_cast<DWORD>(size);
    return TRUE;
}

DWORD GetFinalPathNameByHandleW(HANDLE file, LPWSTR path, DWORD capacity, DWORD flags) {
    desktop::Call call("GetFinalPathNameByHandleW", file, capacity, flags);
    call.only("flags", flags, FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    if (call.struck()) return call.fail(ERROR_PATH_NOT_FOUND);
    const auto* const opened = files.find(file);
    if (!opened) return call.fail(ERROR_INVALID_HANDLE);
    std::error_code error;
    const auto link = "/proc/self/fd/" + std::to_string(opened->descriptor.get());
    const auto target = std::filesystem::read_symlink(link, error);
    if (error) return call.fail(kernel32::errorCode(error.value()));
    const auto text = desktop::publishedPath(target.native());
    if (!text) return call.fail(ERROR_NO_UNICODE_TRANSLATION);
    const auto length = static_cast<DWORD>(text->size());
    if (length >= capacity) return length + 1;
    path[text->copy(path, length)] = 0;
    return length;
}

HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES security, BOOL owned, LPCWSTR name) {
    desktop::Call call("CreateMutexW", name);
    call.only("kind of mutex", security || owned || !name, false);
    const std::string file = "mutex-" + objectName(call, name);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    const auto folder = desktop::sessionFolder();
    if (!folder) return call.fail(ERROR_ACCESS_DENIED);
    const std::filesystem::path path = *folder / file;
    desktop::removeSocket(path);
    // One at a time: an exclusive lock does not become a shared one in a single step.
    const Descriptor step(open(folder->c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    Descriptor lock(open(path.c_str(), O_RDONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!lock || flock(step.get(), LOCK_EX) != 0) return call.fail(ERROR_ACCESS_DENIED);
    const bool isNew = flock(lock.get(), LOCK_EX | LOCK_NB) == 0;
    if (flock(lock.get(), LOCK_SH) != 0) return call.fail(ERROR_ACCESS_DENIED);
    SetLastError(isNew ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS);
    return mutexes.add(std::move(lock));
}

BOOL CloseHandle(HANDLE handle) {
    desktop::Call call("CloseHandle", handle);
    if (!mutexes.remove(handle) && !files.remove(handle)) call.refuse("handle", handle);
    return TRUE;
}
