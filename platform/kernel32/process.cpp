// The process itself, and time.

#include <windows.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <thread>

#include "platform/core/call.h"
#include "platform/core/text.h"

namespace {

// Read at the start: when the file has been replaced, the link names a file that is gone.
const std::string programFile = [] {
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored).native();
}();

}  // namespace

DWORD GetCurrentProcessId() {
    desktop::Call call("GetCurrentProcessId");
    return static_cast<DWORD>(getpid());
}

ULONGLONG GetTickCount64() {
    desktop::Call call("GetTickCount64");
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<ULONGLONG>(now.tv_sec) * 1000 +
           static_cast<ULONGLONG>(now.tv_nsec) / 1'000'000;
}

void Sleep(DWORD milliseconds) {
    desktop::Call call("Sleep", milliseconds);
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

DWORD GetModuleFileNameW(HMODULE module, LPWSTR name, DWORD capacity) {
    desktop::Call call("GetModuleFileNameW", capacity);
    call.only("module", module, nullptr);
    if (call.struck()) return call.fail(ERROR_INVALID_HANDLE);
    const auto path = desktop::publishedPath(programFile);
    if (!path) return call.fail(ERROR_NO_UNICODE_TRANSLATION);
    if (path->size() >= capacity) call.refuse("capacity", capacity);
    name[path->copy(name, path->size())] = 0;
    return static_cast<DWORD>(path->size());
}

// There is one module, and its handle leads to nothing.
HMODULE GetModuleHandleW(LPCWSTR name) {
    desktop::Call call("GetModuleHandleW", name);
    call.only("name", name, nullptr);
    return reinterpret_cast<HMODULE>(std::uintptr_t{0x400000});
}
