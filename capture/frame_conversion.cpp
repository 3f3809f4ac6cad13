// The loops have a form that compilers vectorize: one row at a time, indices that grow by a
// constant, no branch but the clamp. All of it is compiled once more for processors with AVX2.

#include "capture/frame_conversion.h"

#include <cstddef>

namespace {

void convertLumaRow(const std::uint8_t* row, std::int32_t width, std::uint8_t* luma) {
    for (std::int32_t x = 0; x < width; ++x) {
        const std::uint8_t* pixel = row + 4 * x;
        luma[x] = static_cast<std::uint8_t>(
            ((66 * pixel[2] + 129 * pixel[1] + 25 * pixel[0] + 128) >> 8) + 16);
    }
}

std::uint8_t clampToByte(std::int32_t value) {
    return static_cast<std::uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

// The matrix is applied to the average color of each 2x2 block, which is not the average of four
// chroma values.
void convertChromaRow(const std::uint8_t* upper, const std::uint8_t* lower, std::int32_t width,
                      std::uint8_t* pairs) {
    for (std::int32_t x = 0; x + 1 < width; x += 2) {
        const std::uint8_t* a = upper + 4 * x;
        const std::uint8_t* b = lower + 4 * x;
        const std::int32_t blue = (a[0] + a[4] + b[0] + b[4]) / 4;
        const std::int32_t green = (a[1] + a[5] + b[1] + b[5]) / 4;
        const std::int32_t red = (a[2] + a[6] + b[2] + b[6]) / 4;
        pairs[x] = clampToByte(((-38 * red - 74 * green + 112 * blue + 128) >> 8) + 128);
        pairs[x + 1] = clampToByte(((112 * red - 94 * green - 18 * blue + 128) >> 8) + 128);
    }
}

void convertRows(const std::uint8_t* source, std::ptrdiff_t pitch, std::int32_t width,
                 std::int32_t height, std::uint8_t* luma) {
    const std::ptrdiff_t stride = width;
    std::uint8_t* const chroma = luma + stride * height;
    // The chroma of two rows comes before the next ones, while they are in the cache.
    for (std::int32_t y = 0; y < height; ++y) {
        const std::uint8_t* row = source + y * pitch;
        convertLumaRow(row, width, luma + y * stride);
        if (y % 2 == 1) convertChromaRow(row - pitch, row, width, chroma + y / 2 * stride);
    }
}

[[gnu::target("avx2"), gnu::flatten]] void
convertRowsWithAvx2(const std::uint8_t* source, std::ptrdiff_t pitch, std::int32_t width,
                    std::int32_t height, std::uint8_t* luma) {
    convertRows(source, pitch, width, height, luma);
}

}  // namespace

void convertBgraToNv12(const std::uint8_t* source, std::int32_t rowPitch, std::int32_t width,
                       std::int32_t height, std::uint8_t* destination) {
    if (__builtin_cpu_supports("avx2"))
        convertRowsWithAvx2(source, rowPitch, width, height, destination);
    else
        convertRows(source, rowPitch, width, height, destination);
}
