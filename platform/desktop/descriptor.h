// A file descriptor that closes itself.

#pragma once

#include <unistd.h>

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

}  // namespace desktop
