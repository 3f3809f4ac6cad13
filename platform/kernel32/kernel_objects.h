// What stands behind a HANDLE: files and mutexes.

#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "platform/desktop/objects.h"

namespace kernel32 {

struct KernelObject {
    desktop::Object kind{};  // File or Mutex
    int descriptor = -1;     // owned
    DWORD access = 0;
    std::string path;  // of the file that stands for a mutex
};

HANDLE addObject(const KernelObject& object);
// Empty if the handle is not open. Any thread.
std::optional<KernelObject> findObject(HANDLE handle);

// Gives up the name if this was its last handle; does not close the descriptor.
void releaseMutexName(const KernelObject& mutex);

}  // namespace kernel32
