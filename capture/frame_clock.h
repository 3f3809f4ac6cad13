// The grid of 30 slots a second on which samples are written. Pure arithmetic.
//
// Start and end of a sample are computed from the slot's number, so rounding errors never
// accumulate: sampleTime = slot * 10,000,000 / 30, truncated.

#pragma once

#include <cstdint>

struct FrameClock {
    std::int64_t origin = 0;    // time zero of the grid, nanoseconds of the monotonic clock
    std::int64_t nextSlot = 0;  // the first free slot; only grows
};

struct FrameSlot {
    // Both in units of 100 ns. The duration is that of one slot, even if empty slots follow.
    std::int64_t sampleTime = 0;  // since the origin
    std::int64_t sampleDuration = 0;
};

// Claims the slot at `now` (nanoseconds), or the next free one if it is taken. Skipped slots stay
// empty.
FrameSlot claimSlot(FrameClock& clock, std::int64_t now);

// Start of the next slot, in nanoseconds of the monotonic clock.
std::int64_t nextDeadline(const FrameClock& clock);
