// The rectangle that a drag gives.

#include "overlay/region_geometry.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr RECT primary{0, 0, 1920, 1080};
constexpr RECT leftOfIt{-1920, -40, 0, 1040};

TEST(RegionGeometry, makesEveryDragAnEvenRectangleOnTheMonitor) {
    const struct {
        const char* what;
        RECT monitor;
        POINT anchor, pointer;
        std::vector<LONG> expected;
    } drags[] = {
        {"odd width and height", primary, {100, 100}, {117, 105}, {100, 100, 116, 104}},
        {"drawn to the upper left", primary, {200, 50}, {101, 40}, {101, 40, 199, 50}},
        {"no movement", primary, {7, 9}, {7, 9}, {7, 9, 7, 9}},
        {"beyond the far corner", primary, {1001, 900}, {5000, 4000}, {1001, 900, 1919, 1080}},
        {"beyond it by an odd size", primary, {1000, 901}, {5000, 4000}, {1000, 901, 1920, 1079}},
        {"beyond the near corner", primary, {301, 201}, {-50, -60}, {0, 0, 300, 200}},
        {"negative coordinates", leftOfIt, {-1620, 10}, {-1719, 31}, {-1719, 10, -1621, 30}},
    };
    for (const auto& [what, monitor, anchor, pointer, expected] : drags) {
        const auto [left, top, right, bottom] = normalisedRegion(anchor, pointer, monitor);
        EXPECT_EQ((std::vector<LONG>{left, top, right, bottom}), expected) << what;
    }
    // On a sheet whose corner is not the desktop's: a point left of and above it, and the region.
    const auto [x, y] = desktopPoint(static_cast<LPARAM>(0xFFFE'FFFBu), leftOfIt);
    EXPECT_EQ((std::vector{x, y}), (std::vector<LONG>{-1925, -42}));
    const auto [left, top, right, bottom] = regionOnSheet({-1719, 10, -1621, 30}, leftOfIt);
    EXPECT_EQ((std::vector{left, top, right, bottom}), (std::vector<LONG>{201, 50, 299, 70}));
}

}  // namespace
