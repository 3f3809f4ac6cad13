// A kernel handle that closes itself.

#pragma once

#include <windows.h>

#include <memory>

struct HandleCloser {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

// Null when there is nothing to close. CreateFileW says "none" with INVALID_HANDLE_VALUE: take its
// result through ownHandle, which turns that into null.
using Handle = std::unique_ptr<void, HandleCloser>;

inline Handle ownHandle(HANDLE handle) {
    return Handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}
