// The colours and the layout of converted pictures.

#include "capture/frame_conversion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace {

std::vector<std::uint8_t> converted(const std::vector<std::uint8_t>& source, int pitch, int width,
                                    int height) {
    // One byte more than the picture needs shows a write behind its end.
    std::vector<std::uint8_t> picture(static_cast<std::size_t>(width * height * 3 / 2 + 1), 0xA5);
    convertBgraToNv12(source.data(), pitch, width, height, picture.data());
    EXPECT_EQ(picture.back(), 0xA5);
    picture.pop_back();
    return picture;
}

TEST(FrameConversion, givesTheColoursOfTheDeclaredMatrix) {
    const struct {
        std::uint8_t red, green, blue, luma, u, v;
    } rows[] = {
        {0, 0, 0, 16, 128, 128},     {255, 255, 255, 235, 128, 128}, {128, 128, 128, 126, 128, 128},
        {255, 0, 0, 82, 90, 240},    {0, 255, 0, 144, 54, 34},       {0, 0, 255, 41, 240, 110},
        {255, 255, 0, 210, 16, 146}, {0, 255, 255, 169, 166, 16},    {255, 0, 255, 107, 202, 222}};
    for (const auto& [red, green, blue, luma, u, v] : rows) {
        std::vector<std::uint8_t> source, expected(256, luma);
        for (int pixel = 0; pixel < 256; ++pixel)
            source.insert(source.end(), {blue, green, red, 0});
        for (int pair = 0; pair < 64; ++pair) expected.insert(expected.end(), {u, v});
        EXPECT_EQ(converted(source, 64, 16, 16), expected);
    }
}

double floorOf256(double sum) { return std::floor((sum + 128) / 256); }

// Every pixel of its own colour, so that a wrong offset, pitch or order shows; the width leaves a
// rest behind any vector's length, and alpha and the padding are noise.
TEST(FrameConversion, putsEveryValueInItsPlace) {
    constexpr int width = 94, height = 18, pitch = 4 * width + 40;
    std::mt19937 noise(7);
    std::vector<std::uint8_t> source(pitch * height);
    for (std::uint8_t& byte : source) byte = static_cast<std::uint8_t>(noise());
    const auto channel = [&](int x, int y, int index) -> int {
        return source[y * pitch + 4 * x + index];
    };

    const std::vector<std::uint8_t> picture = converted(source, pitch, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double sum =
                66 * channel(x, y, 2) + 129 * channel(x, y, 1) + 25 * channel(x, y, 0);
            ASSERT_EQ(picture[y * width + x], floorOf256(sum) + 16) << x << ", " << y;
        }
    for (int y = 0; y < height; y += 2)
        for (int x = 0; x < width; x += 2) {
            const auto average = [&](int index) {
                const int sum = channel(x, y, index) + channel(x + 1, y, index) +
                                channel(x, y + 1, index) + channel(x + 1, y + 1, index);
                return std::floor(sum / 4.0);
            };
            const double blue = average(0), green = average(1), red = average(2);
            const std::uint8_t* pair = &picture[width * height + y / 2 * width + x];
            ASSERT_EQ(pair[0], floorOf256(-38 * red - 74 * green + 112 * blue) + 128) << x << y;
            ASSERT_EQ(pair[1], floorOf256(112 * red - 94 * green - 18 * blue) + 128) << x << y;
        }
}

}  // namespace
