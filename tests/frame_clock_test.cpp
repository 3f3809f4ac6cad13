// The grid's arithmetic.

#include "capture/frame_clock.h"

#include <gtest/gtest.h>

namespace {

// At its exact deadline the truncations alone would give a pass the slot before.
TEST(FrameClock, takesOneSlotAtEachDeadlineAndLeavesThoseOfALatePassEmpty) {
    constexpr std::int64_t origin = 77'000'000'123, week = 7LL * 24 * 3600;
    constexpr struct {
        std::int64_t now, time, duration, deadline;  // microseconds, 100 ns, microseconds
    } passes[] = {
        {0, 0, 333'333, 33'333},
        {33'333, 333'333, 333'333, 66'666},
        {66'666, 666'666, 333'334, 100'000},
        {100'000, 1'000'000, 333'333, 133'333},
        {133'333, 1'333'333, 333'333, 166'666},
        {166'666, 1'666'666, 333'334, 200'000},
        {333'333, 3'000'000, 333'333, 333'333},
        {333'334, 3'333'333, 333'333, 366'666},
        {333'335, 3'666'666, 333'334, 400'000},  // woken early: not the same slot again
        {week * 1'000'000, week * 10'000'000, 333'333, week * 1'000'000 + 33'333},
    };
    FrameClock clock{origin, 0};
    for (const auto& pass : passes) {
        SCOPED_TRACE(pass.now);
        const FrameSlot slot = claimSlot(clock, origin + pass.now * 1000);
        EXPECT_EQ(slot.sampleTime, pass.time);
        EXPECT_EQ(slot.sampleDuration, pass.duration);
        EXPECT_EQ(nextDeadline(clock), origin + pass.deadline * 1000);
    }
}

}  // namespace
