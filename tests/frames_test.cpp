// The grid of a clip's frames, and their colors and layout.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "capture/frame_clock.h"
#include "capture/frame_conversion.h"

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

using Bytes = std::vector<std::uint8_t>;

// Every pixel of its own color, so that a wrong offset, pitch or order shows; the width leaves a
// rest of any vector's length, and alpha and the padding are noise.
TEST(FrameConversion, givesTheDeclaredMatrixAndLayout) {
    constexpr int width = 94, height = 18, pitch = 4 * width + 40;
    std::mt19937 noise(7);
    Bytes source(pitch * height);
    for (std::uint8_t& byte : source) byte = static_cast<std::uint8_t>(noise());
    const auto weighted = [](const std::array<int, 3>& weights, const auto& channel) {
        const double sum =
            weights[0] * channel(2) + weights[1] * channel(1) + weights[2] * channel(0);
        return static_cast<std::uint8_t>(std::floor((sum + 128) / 256));
    };
    Bytes expected(width * height * 3 / 2);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const std::uint8_t* pixel = &source[y * pitch + 4 * x];
            expected[y * width + x] = static_cast<std::uint8_t>(
                16 + weighted({66, 129, 25}, [&](int index) { return pixel[index]; }));
            if (x % 2 || y % 2) continue;
            const auto average = [&](int index) {
                return (pixel[index] + pixel[index + 4] + pixel[index + pitch] +
                        pixel[index + pitch + 4]) /
                       4;
            };
            std::uint8_t* pair = &expected[width * height + y / 2 * width + x];
            pair[0] = static_cast<std::uint8_t>(128 + weighted({-38, -74, 112}, average));
            pair[1] = static_cast<std::uint8_t>(128 + weighted({112, -94, -18}, average));
        }
    // One byte more than the frame needs shows a write past its end.
    expected.push_back(0xA5);
    Bytes frame(expected.size(), 0xA5);
    convertBgraToNv12(source.data(), pitch, width, height, frame.data());
    EXPECT_EQ(frame, expected);
}

}  // namespace
