#include "platform/kernel32/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include "platform/core/descriptor.h"

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
