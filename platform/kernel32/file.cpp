// Open files and folders.

#include <windows.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "platform/desktop/call.h"
#include "platform/desktop/descriptor.h"
#include "platform/desktop/text.h"
#include "platform/kernel32/attributes.h"
#include "platform/kernel32/error_codes.h"
#include "platform/kernel32/kernel_objects.h"
#include "platform/kernel32/sharing.h"

namespace {

void refuseUnknown(DWORD access, DWORD share, DWORD disposition, DWORD flags) {
    if (access == 0 || (access & ~(GENERIC_READ | GENERIC_WRITE)))
        desktop::refuse("CreateFileW", "access", access);
    if (share & ~(FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE))
        desktop::refuse("CreateFileW", "share mode", share);
    if (disposition != OPEN_EXISTING) desktop::refuse("CreateFileW", "disposition", disposition);
    if (flags != FILE_ATTRIBUTE_NORMAL && flags != FILE_FLAG_BACKUP_SEMANTICS)
        desktop::refuse("CreateFileW", "flags", flags);
}

// 0, or the code of the reason why the item may not be opened so.
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

FILETIME fileTime(const timespec& time) {
    constexpr ULONGLONG secondsFrom1601To1970 = 11'644'473'600;
    const ULONGLONG ticks =
        (static_cast<ULONGLONG>(time.tv_sec) + secondsFrom1601To1970) * 10'000'000 +
        static_cast<ULONGLONG>(time.tv_nsec) / 100;
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

DWORD upper(std::uint64_t value) { return static_cast<DWORD>(value >> 32); }

}  // namespace

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                   DWORD disposition, DWORD flags, HANDLE pattern) {
    desktop::Call call("CreateFileW", name, access, share, flags);
    refuseUnknown(access, share, disposition, flags);
    if (security || pattern) desktop::refuse("CreateFileW", "security or template", 1);
    const auto failed = [&call](DWORD code) {
        call.fail(code);
        return INVALID_HANDLE_VALUE;
    };
    if (call.struck()) return failed(ERROR_ACCESS_DENIED);
    const std::string path = desktop::toUtf8(name);
    if (const DWORD code = refusal(path, access, flags)) return failed(code);
    // Marks need a descriptor that can read.
    const int mode = access & GENERIC_WRITE ? O_RDWR : O_RDONLY;
    desktop::Descriptor file(open(path.c_str(), mode | O_CLOEXEC));
    if (!file) return failed(kernel32::errorCode(errno, path));
    if (!kernel32::shareFile(file.get(), access, share)) return failed(ERROR_SHARING_VIOLATION);
    return kernel32::addObject({desktop::Object::File, file.release(), access, {}});
}

BOOL FlushFileBuffers(HANDLE file) {
    desktop::Call call("FlushFileBuffers", file);
    if (call.struck()) return call.fail(ERROR_WRITE_FAULT);
    const auto object = kernel32::findObject(file);
    if (!object) return call.fail(ERROR_INVALID_HANDLE);
    if (!(object->access & GENERIC_WRITE)) return call.fail(ERROR_ACCESS_DENIED);
    if (fsync(object->descriptor) != 0) return call.fail(kernel32::errorCode(errno));
    return TRUE;
}

BOOL GetFileInformationByHandle(HANDLE file, BY_HANDLE_FILE_INFORMATION* information) {
    desktop::Call call("GetFileInformationByHandle", file);
    if (call.struck()) return call.fail(ERROR_GEN_FAILURE);
    const auto object = kernel32::findObject(file);
    if (!object) return call.fail(ERROR_INVALID_HANDLE);
    struct stat item {};
    if (fstat(object->descriptor, &item) != 0) return call.fail(kernel32::errorCode(errno));
    const auto size = static_cast<std::uint64_t>(item.st_size);
    *information = {kernel32::attributesOf(item),
                    fileTime(item.st_ctim),
                    fileTime(item.st_atim),
                    fileTime(item.st_mtim),
                    static_cast<DWORD>(item.st_dev),
                    upper(size),
                    static_cast<DWORD>(size),
                    static_cast<DWORD>(item.st_nlink),
                    upper(item.st_ino),
                    static_cast<DWORD>(item.st_ino)};
    return TRUE;
}

DWORD GetFinalPathNameByHandleW(HANDLE file, LPWSTR path, DWORD capacity, DWORD flags) {
    desktop::Call call("GetFinalPathNameByHandleW", file, capacity, flags);
    if (flags != (FILE_NAME_NORMALIZED | VOLUME_NAME_DOS))
        desktop::refuse("GetFinalPathNameByHandleW", "flags", flags);
    if (call.struck()) return static_cast<DWORD>(call.fail(ERROR_PATH_NOT_FOUND));
    const auto object = kernel32::findObject(file);
    if (!object) return static_cast<DWORD>(call.fail(ERROR_INVALID_HANDLE));
    std::error_code error;
    const auto link = "/proc/self/fd/" + std::to_string(object->descriptor);
    const auto target = std::filesystem::read_symlink(link, error);
    if (error) return static_cast<DWORD>(call.fail(kernel32::errorCode(error.value())));
    const auto text = desktop::publishedPath(target.native());
    if (!text) return static_cast<DWORD>(call.fail(ERROR_NO_UNICODE_TRANSLATION));
    const auto length = static_cast<DWORD>(text->size());
    if (length >= capacity) return length + 1;
    path[text->copy(path, length)] = 0;
    return length;
}
