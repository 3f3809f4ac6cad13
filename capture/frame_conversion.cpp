// The loops have a form that compilers vectorize: one row at a time, indices that grow by a
// constant, no branch but the clamp.

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

}  // namespace

void convertBgraToNv12(const std::uint8_t* source, std::int32_t rowPitch, std::int32_t width,
                       std::int32_t height, std::uint8_t* destination) {
    const std::ptrdiff_t pitch = rowPitch;
    const std::ptrdiff_t stride = width;
    for (std::int32_t y = 0; y < height; ++y)
        convertLumaRow(source + y * pitch, width, destination + y * stride);

    std::uint8_t* const chroma = destination + stride * height;
    for (std::int32_t y = 0; y + 1 < height; y += 2) {
        const std::uint8_t* upper = source + y * pitch;
        convertChromaRow(upper, upper + pitch, width, chroma + y / 2 * stride);
    }
}
