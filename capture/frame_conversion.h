// Converts a frame of the desktop to the encoder's pixel format.

#pragma once

#include <cstdint>

// Converts 32-bit pixels (blue, green, red, unused) to NV12 with BT.601's matrix and limited range,
// as the MP4 writer's media types declare.
//
// source: the first pixel; rows start rowPitch bytes apart, and padding after a row is not read.
// width, height: pixels, positive and even. Sizes below 1 write nothing; with odd sizes, chroma is
// written for whole blocks of 2x2 pixels only. destination: width * height * 3 / 2 bytes, all
// overwritten: the luma plane, then half as many rows of interleaved U and V, every row exactly
// `width` bytes.
void convertBgraToNv12(const std::uint8_t* source, std::int32_t rowPitch, std::int32_t width,
                       std::int32_t height, std::uint8_t* destination);
