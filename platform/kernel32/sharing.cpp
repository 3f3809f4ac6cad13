// Share modes as locks.

#include "platform/kernel32/sharing.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "platform/desktop/descriptor.h"

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

// Other programs mark nothing. A read lease is granted only while nobody has the file open for
// writing, so asking for one and giving it back tells. The signal of a lease that is broken in
// between must not end the process.
bool someoneWrites(int descriptor) {
    fcntl(descriptor, F_SETSIG, SIGURG);
    if (fcntl(descriptor, F_SETLEASE, F_RDLCK) == 0) {
        fcntl(descriptor, F_SETLEASE, F_UNLCK);
        return false;
    }
    return errno == EAGAIN;
}

bool isMarkedAt(const char* path, Mark mark) {
    const desktop::Descriptor file(open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    return file && isMarked(file.get(), mark);
}

}  // namespace

bool isMarked(int descriptor, Mark mark) {
    struct flock lock = markLock(mark, F_WRLCK);
    return fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

bool shareFile(int descriptor, DWORD access, DWORD share) {
    const bool reads = access & GENERIC_READ;
    const bool writes = access & GENERIC_WRITE;
    const bool sharesRead = share & FILE_SHARE_READ;
    const bool sharesWrite = share & FILE_SHARE_WRITE;
    // Marked before anyone else's marks are looked at: of two that conflict at the same moment at
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

bool deniesDelete(const char* path) { return isMarkedAt(path, Mark::DeniesDelete); }

bool isOpen(const char* path) { return isMarkedAt(path, Mark::Opened); }

}  // namespace kernel32
