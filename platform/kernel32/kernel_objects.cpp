// The table of open handles.

#include "platform/kernel32/kernel_objects.h"

#include <unistd.h>

#include <mutex>

#include "platform/desktop/call.h"
#include "platform/desktop/handle_table.h"

namespace kernel32 {

namespace {

std::mutex guard;
desktop::HandleTable<HANDLE, KernelObject> table(0x104);

std::optional<KernelObject> takeObject(HANDLE handle) {
    const std::lock_guard lock(guard);
    KernelObject* const found = table.find(handle);
    if (!found) return std::nullopt;
    const KernelObject object = *found;
    table.remove(handle);
    return object;
}

}  // namespace

HANDLE addObject(const KernelObject& object) {
    desktop::opened(object.kind);
    const std::lock_guard lock(guard);
    return table.add(object);
}

std::optional<KernelObject> findObject(HANDLE handle) {
    const std::lock_guard lock(guard);
    KernelObject* const found = table.find(handle);
    return found ? std::optional(*found) : std::nullopt;
}

}  // namespace kernel32

BOOL CloseHandle(HANDLE handle) {
    desktop::Call call("CloseHandle", handle);
    const auto object = kernel32::takeObject(handle);
    if (!object) desktop::refuse("CloseHandle", "handle", reinterpret_cast<std::intptr_t>(handle));
    if (object->kind == desktop::Object::Mutex) kernel32::releaseMutexName(*object);
    close(object->descriptor);
    desktop::closed(object->kind);
    return TRUE;
}
