#include "platform/core/objects.h"

#include <chrono>
#include <mutex>
#include <thread>

#include "platform/control.h"
#include "platform/core/call.h"

namespace desktop {

namespace {

std::mutex guard;
std::map<std::string, int> counts;

void count(const char* kind, int step) {
    const std::lock_guard lock(guard);
    if ((counts[kind] += step) < 0) refuse(kind, "object, closed once too often", counts[kind]);
}

}  // namespace

void opened(const char* kind) { count(kind, 1); }
void closed(const char* kind) { count(kind, -1); }

std::map<std::string, int> openObjects() {
    const std::lock_guard lock(guard);
    std::map<std::string, int> open = counts;
    std::erase_if(open, [](const auto& entry) { return entry.second == 0; });
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
