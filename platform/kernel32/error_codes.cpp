// The last error of each thread, and errno turned into codes.

#include "platform/kernel32/error_codes.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

namespace {

thread_local DWORD lastError = ERROR_SUCCESS;

bool isFolder(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

}  // namespace

DWORD GetLastError() { return lastError; }

void SetLastError(DWORD code) { lastError = code; }

namespace kernel32 {

DWORD errorCode(int number) {
    switch (number) {
    case ENOENT: return ERROR_FILE_NOT_FOUND;
    case ENOTDIR: return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ETXTBSY: return ERROR_ACCESS_DENIED;
    case EMFILE:
    case ENFILE: return ERROR_TOO_MANY_OPEN_FILES;
    case ENOMEM: return ERROR_NOT_ENOUGH_MEMORY;
    case EXDEV: return ERROR_NOT_SAME_DEVICE;
    case ENOSPC:
    case EDQUOT: return ERROR_DISK_FULL;
    case ENAMETOOLONG: return ERROR_FILENAME_EXCED_RANGE;
    case EIO:
    case EFBIG: return ERROR_WRITE_FAULT;
    default: return ERROR_GEN_FAILURE;
    }
}

DWORD errorCode(int number, const std::string& path) {
    if (number == ENOENT && !isFolder(std::filesystem::path(path).parent_path()))
        return ERROR_PATH_NOT_FOUND;
    return errorCode(number);
}

}  // namespace kernel32
