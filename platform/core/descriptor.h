// A file descriptor that closes itself, and plain files opened as one.

#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace desktop {

struct Descriptor {
    explicit Descriptor(int number = -1) : held(number) {}
    Descriptor(Descriptor&& other) noexcept : held(std::exchange(other.held, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(held, other.held);
        return *this;
    }
    ~Descriptor() {
        if (held >= 0) close(held);
    }

    int get() const { return held; }
    int release() { return std::exchange(held, -1); }
    explicit operator bool() const { return held >= 0; }

private:
    int held;
};

// Opens nothing but a plain file: a pipe would wait for its other end, and a device may have no
// end. Otherwise empty, with the reason in errno: EACCES for what is no plain file.
inline Descriptor openPlainFile(const char* path, int flags) {
    Descriptor file(open(path, flags | O_NONBLOCK | O_CLOEXEC, 0666));
    struct stat item {};
    if (!file || (fstat(file.get(), &item) == 0 && S_ISREG(item.st_mode))) return file;
    errno = EACCES;
    return Descriptor();
}

}  // namespace desktop
