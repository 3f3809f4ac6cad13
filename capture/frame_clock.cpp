// All divisions truncate.

#include "capture/frame_clock.h"

#include <algorithm>

namespace {

constexpr std::int64_t slotsPerSecond = 30;
constexpr std::int64_t unitsPerSecond = 10'000'000;
constexpr std::int64_t microsecondsPerSecond = 1'000'000;
constexpr std::int64_t nanosecondsPerMicrosecond = 1000;

std::int64_t slotTime(std::int64_t slot) { return slot * unitsPerSecond / slotsPerSecond; }

}  // namespace

FrameSlot claimSlot(FrameClock& clock, std::int64_t now) {
    const std::int64_t elapsed = (now - clock.origin) / nanosecondsPerMicrosecond;
    const std::int64_t running = elapsed * slotsPerSecond / microsecondsPerSecond;
    // Exactly at the deadline, truncation still gives the previous slot.
    const std::int64_t slot = std::max(running, clock.nextSlot);
    clock.nextSlot = slot + 1;
    return {slotTime(slot), slotTime(slot + 1) - slotTime(slot)};
}

std::int64_t nextDeadline(const FrameClock& clock) {
    const std::int64_t line = clock.nextSlot * microsecondsPerSecond / slotsPerSecond;
    return clock.origin + line * nanosecondsPerMicrosecond;
}
