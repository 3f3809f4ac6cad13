// The grid's arithmetic.

#include "capture/frame_clock.h"

#include <gtest/gtest.h>

namespace {

constexpr std::int64_t second = 1'000'000'000;
constexpr std::int64_t origin = 77 * second + 123;

std::int64_t microseconds(std::int64_t count) { return origin + count * 1000; }

// Each pass wakes at its exact deadline, where the truncations alone would give the slot before.
TEST(FrameClock, takesOneSlotAtEachDeadline) {
    constexpr struct {
        std::int64_t time, duration, deadline;
    } expected[] = {{0, 333'333, 33'333},          {333'333, 333'333, 66'666},
                    {666'666, 333'334, 100'000},   {1'000'000, 333'333, 133'333},
                    {1'333'333, 333'333, 166'666}, {1'666'666, 333'334, 200'000}};
    FrameClock clock{origin, 0};
    for (const auto& row : expected) {
        const FrameSlot slot = claimSlot(clock, nextDeadline(clock));
        EXPECT_EQ(slot.sampleTime, row.time);
        EXPECT_EQ(slot.sampleDuration, row.duration);
        EXPECT_EQ(nextDeadline(clock), microseconds(row.deadline));
    }
}

TEST(FrameClock, leavesTheSlotsOfALatePassEmpty) {
    FrameClock clock{origin, 6};
    EXPECT_EQ(claimSlot(clock, microseconds(300'000)).sampleTime, 3'000'000);
    EXPECT_EQ(nextDeadline(clock), microseconds(333'333));
    // An early wake-up cannot take the same slot again.
    EXPECT_EQ(claimSlot(clock, microseconds(300'001)).sampleTime, 3'333'333);
}

TEST(FrameClock, doesNotDriftInAWeek) {
    constexpr std::int64_t week = 7 * 24 * 3600;
    FrameClock clock{origin, 0};
    const FrameSlot slot = claimSlot(clock, origin + week * second);
    EXPECT_EQ(slot.sampleTime, week * 10'000'000);
    EXPECT_EQ(slot.sampleDuration, 333'333);
}

}  // namespace
