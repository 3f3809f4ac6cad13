// The grid of 30 slots a second on which samples are written. Pure arithmetic.
//
// Times and ends of samples come from the slot's number, never from adding up, so no rounding error
// builds up: sampleTime = slot * 10,000,000 / 30, truncated.

#pragma once

#include <cstdint>

struct FrameClock {
    std::int64_t origin = 0;    // time zero of the grid, nanoseconds of the monotonic clock
    std::int64_t nextSlot = 0;  // the first slot not yet taken; only grows
};

struct FrameSlot {
    std::int64_t sampleTime = 0;  // 100 ns units since the origin
    std::int64_t sampleDuration =
        0;  // 100 ns units; one slot, also when slots behind it stay empty
};

// Takes the slot that is running at `now` (nanoseconds), or the next free one if that is taken.
// Slots that went by unused stay empty.
FrameSlot claimSlot(FrameClock& clock, std::int64_t now);

// When the next slot begins, in nanoseconds of the monotonic clock.
std::int64_t nextDeadline(const FrameClock& clock);
