// A kernel handle that closes itself.

#pragma once

#include <windows.h>

#include <memory>

struct HandleCloser {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

// Null if there is nothing to close. Pass the result of CreateFileW through ownHandle, which
// converts INVALID_HANDLE_VALUE to null.
using Handle = std::unique_ptr<void, HandleCloser>;

inline Handle ownHandle(HANDLE handle) {
    return Handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}
