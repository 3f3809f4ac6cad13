// Turns a picture of the desktop into the picture format that the encoder takes.

#pragma once

#include <cstdint>

// Converts 32-bit pixels (blue, green, red, unused) into NV12, BT.601 in limited range: the matrix
// and the range that the media types of the MP4 writer declare.
//
// source: the first pixel; rows lie rowPitch bytes apart, and what lies behind a row's pixels is
// not read. width, height: in pixels, positive and even. Below 1 nothing is written. Of odd sizes
// only whole blocks of 2x2 pixels get their colour. destination: width * height * 3 / 2 bytes, all
// of them overwritten: the luma plane, then half as many rows of interleaved U and V, every row
// exactly `width` bytes.
void convertBgraToNv12(const std::uint8_t* source, std::int32_t rowPitch, std::int32_t width,
                       std::int32_t height, std::uint8_t* destination);
