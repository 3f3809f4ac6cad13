// The rectangle that a drag gives.

#include "overlay/region_geometry.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr RECT primary{0, 0, 1920, 1080}, leftOfIt{-1920, -40, 0, 1040};

std::vector<LONG> sides(const auto& area) { return {area.left, area.top, area.right, area.bottom}; }

TEST(RegionGeometry, makesEveryDragAnEvenRectangleOnTheMonitor) {
    const struct {
        const char* what;
        RECT monitor;
        POINT anchor, pointer;
        RECT expected;
    } drags[] = {
        {"odd width and height", primary, {100, 100}, {117, 105}, {100, 100, 116, 104}},
        {"drawn to the upper left", primary, {200, 50}, {101, 40}, {101, 40, 199, 50}},
        {"no movement", primary, {7, 9}, {7, 9}, {7, 9, 7, 9}},
        {"beyond the far corner", primary, {1001, 900}, {5000, 4000}, {1001, 900, 1919, 1080}},
        {"beyond it by an odd size", primary, {1000, 901}, {5000, 4000}, {1000, 901, 1920, 1079}},
        {"beyond the near corner", primary, {301, 201}, {-50, -60}, {0, 0, 300, 200}},
        {"above a monitor to the left", leftOfIt, {-5, 8}, {-9, -99}, {-9, -40, -5, 8}},
        {"negative coordinates", leftOfIt, {-1620, 10}, {-1719, 31}, {-1719, 10, -1621, 30}},
    };
    for (const auto& [what, monitor, anchor, pointer, expected] : drags)
        EXPECT_EQ(sides(normalisedRegion(anchor, pointer, monitor)), sides(expected)) << what;
    // On a sheet whose corner is not the desktop's: a point left of and above it, and the region.
    const auto [x, y] = desktopPoint(static_cast<LPARAM>(0xFFFE'FFFBu), leftOfIt);
    EXPECT_EQ((std::vector{x, y}), (std::vector<LONG>{-1925, -42}));
    EXPECT_EQ(sides(regionOnSheet({-1719, 10, -1621, 30}, leftOfIt)),
              sides(RECT{201, 50, 299, 70}));
}

}  // namespace
