// Timers: no messages in the queue, but made when a look finds nothing else.

#include "platform/user32/timer.h"

#include <algorithm>
#include <chrono>
#include <vector>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

using Clock = std::chrono::steady_clock;

struct Timer {
    HWND window;
    UINT_PTR id;
    std::chrono::milliseconds period;
    Clock::time_point due;
};
std::vector<Timer> timers;

auto position(HWND window, UINT_PTR id) {
    return std::find_if(timers.begin(), timers.end(), [&](const Timer& timer) {
        return timer.window == window && timer.id == id;
    });
}

MSG messageOf(const Timer& timer) { return {timer.window, WM_TIMER, timer.id, 0, 0, {}}; }

}  // namespace

bool takeTimer(MSG& message, const Filter& filter) {
    const Clock::time_point now = Clock::now();
    Timer* first = nullptr;
    for (Timer& timer : timers)
        if (timer.due <= now && passes(filter, messageOf(timer)) &&
            (!first || timer.due < first->due))
            first = &timer;
    if (!first) return false;
    first->due = now + first->period;
    message = messageOf(*first);
    return true;
}

int millisecondsToTimer() {
    if (timers.empty()) return -1;
    const auto first = std::min_element(
        timers.begin(), timers.end(), [](const Timer& a, const Timer& b) { return a.due < b.due; });
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(first->due - Clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

void killTimersOf(HWND window) {
    const auto gone =
        std::erase_if(timers, [&](const Timer& timer) { return timer.window == window; });
    for (std::size_t count = 0; count < gone; ++count) desktop::closed(desktop::Object::Timer);
}

}  // namespace user32

UINT_PTR SetTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC procedure) {
    desktop::Call call("SetTimer", window, id, milliseconds);
    if (procedure) desktop::refuse("SetTimer", "procedure", 1);
    if (call.struck()) return static_cast<UINT_PTR>(call.fail(ERROR_NOT_ENOUGH_MEMORY));
    if (!user32::find(window)) return static_cast<UINT_PTR>(call.fail(ERROR_INVALID_WINDOW_HANDLE));
    const std::chrono::milliseconds period(std::max(milliseconds, 10u));
    const auto found = user32::position(window, id);
    if (found == user32::timers.end())
        desktop::opened(desktop::Object::Timer);
    else
        user32::timers.erase(found);
    user32::timers.push_back({window, id, period, user32::Clock::now() + period});
    return id;
}

BOOL KillTimer(HWND window, UINT_PTR id) {
    desktop::Call call("KillTimer", window, id);
    const auto found = user32::position(window, id);
    if (found == user32::timers.end()) return call.fail(ERROR_INVALID_PARAMETER);
    user32::timers.erase(found);
    desktop::closed(desktop::Object::Timer);
    return TRUE;
}
