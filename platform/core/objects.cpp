// The counters of open objects, and waiting for what they or anything else will become.

#include "platform/core/objects.h"

#include <array>
#include <atomic>
#include <chrono>
#include <thread>

#include "platform/control.h"
#include "platform/core/call.h"

namespace desktop {

namespace {

constexpr std::size_t kinds = static_cast<std::size_t>(Object::Count);
constexpr std::array<const char*, kinds> names = {
    "File",       "Mutex",        "Window",        "Hook",         "HotKey",       "Timer",
    "Menu",       "Brush",        "Region",        "PaintContext", "Icon",         "MouseCapture",
    "Clipboard",  "GlobalBlock",  "TaskMemory",    "RegistryKey",  "ComReference", "ComStart",
    "MediaStart", "DesktopFrame", "MappedTexture", "LockedBuffer"};

std::array<std::atomic<int>, kinds> counts{};

}  // namespace

void opened(Object kind) { ++counts[static_cast<std::size_t>(kind)]; }

void closed(Object kind) {
    const std::size_t index = static_cast<std::size_t>(kind);
    if (--counts[index] < 0) refuse(names[index], "object, closed once too often", counts[index]);
}

std::map<std::string, int> openObjects() {
    std::map<std::string, int> open;
    for (std::size_t kind = 0; kind < kinds; ++kind)
        if (const int count = counts[kind]) open[names[kind]] = count;
    return open;
}

bool waitUntil(const std::function<bool()>& condition, double seconds) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    while (!condition()) {
        if (Clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

}  // namespace desktop
