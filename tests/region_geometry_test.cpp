// The rectangle that a drag gives.

#include "overlay/region_geometry.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr RECT primary{0, 0, 1920, 1080};
constexpr RECT leftOfIt{-1920, 0, 0, 1080};

TEST(RegionGeometry, makesEveryDragAnEvenRectangleOnTheMonitor) {
    const struct {
        const char* what;
        RECT monitor;
        POINT anchor, pointer;
        std::vector<std::int32_t> expected;
    } cases[] = {
        {"odd width and height", primary, {100, 100}, {117, 105}, {100, 100, 116, 104}},
        {"drawn to the upper left", primary, {200, 50}, {101, 40}, {101, 40, 199, 50}},
        {"no movement", primary, {7, 9}, {7, 9}, {7, 9, 7, 9}},
        {"beyond the far corner", primary, {1000, 900}, {5000, 4000}, {1000, 900, 1920, 1080}},
        {"beyond it by an odd size", primary, {1001, 901}, {5000, 4000}, {1001, 901, 1919, 1079}},
        {"beyond the near corner", primary, {301, 201}, {-50, -60}, {0, 0, 300, 200}},
        {"negative coordinates", leftOfIt, {-1620, 10}, {-1719, 31}, {-1719, 10, -1621, 30}},
    };
    for (const auto& drag : cases) {
        const auto [left, top, right, bottom] =
            normalisedRegion(drag.anchor, drag.pointer, drag.monitor);
        EXPECT_EQ((std::vector{left, top, right, bottom}), drag.expected) << drag.what;
    }
}

TEST(RegionGeometry, readsPointsLeftOfAndAboveTheWindow) {
    const POINT point = desktopPoint(static_cast<LPARAM>(0xFFFEu << 16 | 0xFFFBu), leftOfIt);
    EXPECT_EQ(point.x, -1925);
    EXPECT_EQ(point.y, -2);
}

}  // namespace
