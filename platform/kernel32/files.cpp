// Files by their names: attributes, moving, copying, deleting; and what files.h offers.

#include "platform/kernel32/files.h"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "platform/core/call.h"
#include "platform/core/descriptor.h"
#include "platform/core/text.h"

namespace kernel32 {

namespace {

constexpr off_t firstMark = off_t{1} << 62;

struct flock markLock(Mark mark, short kind) {
    struct flock lock {};
    lock.l_type = kind;
    lock.l_whence = SEEK_SET;
    lock.l_start = firstMark + static_cast<int>(mark);
    lock.l_len = 1;
    return lock;
}

void setMark(int descriptor, Mark mark) {
    struct flock lock = markLock(mark, F_RDLCK);
    // Some file systems know no locks; share modes do not exist there.
    fcntl(descriptor, F_OFD_SETLK, &lock);
}

// Other programs mark nothing. A read lease is granted only while no program has the file open for
// writing, so asking for one answers the question. The signal of a lease that is broken in
// between must not end the process.
bool someoneWrites(int descriptor) {
    fcntl(descriptor, F_SETSIG, SIGURG);
    if (fcntl(descriptor, F_SETLEASE, F_RDLCK) == 0) {
        fcntl(descriptor, F_SETLEASE, F_UNLCK);
        return false;
    }
    return errno == EAGAIN;
}

}  // namespace

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
    std::error_code ignored;
    if (number == ENOENT &&
        !std::filesystem::is_directory(std::filesystem::path(path).parent_path(), ignored))
        return ERROR_PATH_NOT_FOUND;
    return errorCode(number);
}

// Pipes, sockets and devices are reparse points on Windows too.
DWORD attributesOf(const struct stat& item) {
    DWORD bits = S_ISDIR(item.st_mode)   ? FILE_ATTRIBUTE_DIRECTORY
                 : S_ISREG(item.st_mode) ? 0
                                         : FILE_ATTRIBUTE_REPARSE_POINT;
    if (isReadOnly(item)) bits |= FILE_ATTRIBUTE_READONLY;
    return bits ? bits : FILE_ATTRIBUTE_NORMAL;
}

bool isMarked(int descriptor, Mark mark) {
    struct flock lock = markLock(mark, F_WRLCK);
    return fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

bool isMarked(const std::string& path, Mark mark) {
    const desktop::Descriptor file(
        open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    return file && isMarked(file.get(), mark);
}

bool shareFile(int descriptor, DWORD access, DWORD share) {
    const bool reads = access & GENERIC_READ;
    const bool writes = access & GENERIC_WRITE;
    const bool sharesRead = share & FILE_SHARE_READ;
    const bool sharesWrite = share & FILE_SHARE_WRITE;
    // Marked before the marks of others are read: of two that conflict at the same moment at
    // least one fails.
    setMark(descriptor, Mark::Opened);
    if (reads) setMark(descriptor, Mark::Reads);
    if (writes) setMark(descriptor, Mark::Writes);
    if (!sharesRead) setMark(descriptor, Mark::DeniesRead);
    if (!sharesWrite) setMark(descriptor, Mark::DeniesWrite);
    if (!(share & FILE_SHARE_DELETE)) setMark(descriptor, Mark::DeniesDelete);
    if (reads && isMarked(descriptor, Mark::DeniesRead)) return false;
    if (writes && isMarked(descriptor, Mark::DeniesWrite)) return false;
    if (!sharesRead && isMarked(descriptor, Mark::Reads)) return false;
    if (!sharesWrite && isMarked(descriptor, Mark::Writes)) return false;
    return writes || sharesWrite || !someoneWrites(descriptor);
}

}  // namespace kernel32

using kernel32::errorCode;
using kernel32::Mark;

namespace {

// Describes a link, not what it leads to. Empty if there is no such item; errno says why.
std::optional<struct stat> itemAt(const std::string& path) {
    struct stat item {};
    return lstat(path.c_str(), &item) == 0 ? std::optional(item) : std::nullopt;
}

bool leadsToFolder(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

// Does nothing for what is no plain file: only its name moves.
bool flushFile(const std::string& path) {
    const desktop::Descriptor file = desktop::openPlainFile(path.c_str(), O_RDONLY | O_NOFOLLOW);
    return !file || fsync(file.get()) == 0;
}

void flushFolderOf(const std::string& path) {
    const auto folder = std::filesystem::path(path).parent_path();
    const desktop::Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened) fsync(opened.get());
}

// 0, or the code of the reason why the item at `target` is in the way.
DWORD obstacle(const std::string& target, bool replaces) {
    const auto item = itemAt(target);
    if (!item) return errno == ENOENT ? ERROR_SUCCESS : errorCode(errno, target);
    if (!replaces) return ERROR_ALREADY_EXISTS;
    const bool replaceable = !S_ISDIR(item->st_mode) && !leadsToFolder(target) &&
                             !(S_ISREG(item->st_mode) && kernel32::isReadOnly(*item)) &&
                             !kernel32::isMarked(target, Mark::Opened);
    return replaceable ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

bool renameTo(const std::string& source, const std::string& target, bool replaces) {
    if (replaces) return rename(source.c_str(), target.c_str()) == 0;
    if (renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    // Not every file system can do that in one step.
    return errno == EINVAL && link(source.c_str(), target.c_str()) == 0 &&
           unlink(source.c_str()) == 0;
}

// 0, or the code of the failure; then there is no target.
DWORD copyTo(int source, const struct stat& item, const std::string& target) {
    desktop::Descriptor copy(
        open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!copy) return errno == EEXIST ? ERROR_FILE_EXISTS : errorCode(errno, target);
    ssize_t copied = 1;
    while (copied > 0) copied = sendfile(copy.get(), source, nullptr, 1 << 20);
    if (copied == 0 && fchmod(copy.get(), item.st_mode & 07777) == 0) return ERROR_SUCCESS;
    const int error = errno;
    unlink(target.c_str());
    return errorCode(error);
}

}  // namespace

DWORD GetFileAttributesW(LPCWSTR name) {
    desktop::Call call("GetFileAttributesW", name);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED), INVALID_FILE_ATTRIBUTES;
    const std::string path = desktop::toUtf8(name);
    const auto item = itemAt(path);
    if (!item) return call.fail(errorCode(errno, path)), INVALID_FILE_ATTRIBUTES;
    if (!S_ISLNK(item->st_mode)) return kernel32::attributesOf(*item);
    return FILE_ATTRIBUTE_REPARSE_POINT | (leadsToFolder(path) ? FILE_ATTRIBUTE_DIRECTORY : 0);
}

BOOL SetFileAttributesW(LPCWSTR name, DWORD attributes) {
    desktop::Call call("SetFileAttributesW", name, attributes);
    call.only("attributes", attributes, FILE_ATTRIBUTE_NORMAL, FILE_ATTRIBUTE_READONLY);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    const std::string path = desktop::toUtf8(name);
    struct stat item {};
    if (stat(path.c_str(), &item) != 0) return call.fail(errorCode(errno, path));
    const mode_t rights = item.st_mode & 07777;
    const mode_t wanted =
        attributes == FILE_ATTRIBUTE_READONLY ? rights & ~mode_t{0222} : rights | mode_t{S_IWUSR};
    if (chmod(path.c_str(), wanted) != 0) return call.fail(errorCode(errno, path));
    return TRUE;
}

BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) {
    desktop::Call call("MoveFileExW", from, to, flags);
    call.only("flags", flags & ~MOVEFILE_REPLACE_EXISTING, MOVEFILE_WRITE_THROUGH);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    const bool replaces = flags & MOVEFILE_REPLACE_EXISTING;
    const std::string source = desktop::toUtf8(from);
    const std::string target = desktop::toUtf8(to);
    if (!itemAt(source)) return call.fail(errorCode(errno, source));
    if (source == target) return TRUE;
    if (kernel32::isMarked(source, Mark::DeniesDelete)) return call.fail(ERROR_SHARING_VIOLATION);
    if (const DWORD code = obstacle(target, replaces)) return call.fail(code);
    // The content first: after a crash the name would be on the disk without it.
    if (!flushFile(source)) return call.fail(errorCode(errno));
    if (!renameTo(source, target, replaces))
        return call.fail(errno == EEXIST ? ERROR_ALREADY_EXISTS : errorCode(errno, target));
    flushFolderOf(target);
    flushFolderOf(source);
    return TRUE;
}

BOOL CopyFileW(LPCWSTR from, LPCWSTR to, BOOL failIfExists) {
    desktop::Call call("CopyFileW", from, to, failIfExists);
    call.only("replacing copy", !failIfExists, false);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    const std::string source = desktop::toUtf8(from);
    const desktop::Descriptor file = desktop::openPlainFile(source.c_str(), O_RDONLY);
    if (!file) return call.fail(errorCode(errno, source));
    struct stat item {};
    if (fstat(file.get(), &item) != 0) return call.fail(errorCode(errno));
    if (kernel32::isMarked(file.get(), Mark::DeniesRead)) return call.fail(ERROR_SHARING_VIOLATION);
    if (const DWORD code = copyTo(file.get(), item, desktop::toUtf8(to))) return call.fail(code);
    return TRUE;
}

BOOL DeleteFileW(LPCWSTR name) {
    desktop::Call call("DeleteFileW", name);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    const std::string path = desktop::toUtf8(name);
    const auto item = itemAt(path);
    if (!item) return call.fail(errorCode(errno, path));
    if (leadsToFolder(path)) return call.fail(ERROR_ACCESS_DENIED);
    if (S_ISREG(item->st_mode) && kernel32::isReadOnly(*item))
        return call.fail(ERROR_ACCESS_DENIED);
    if (kernel32::isMarked(path, Mark::DeniesDelete)) return call.fail(ERROR_SHARING_VIOLATION);
    if (unlink(path.c_str()) != 0) return call.fail(errorCode(errno, path));
    return TRUE;
}
