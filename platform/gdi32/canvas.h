// Pixels in memory and the few ways in which the layer changes them.

#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

namespace gdi {

// Not owned. Blue in the lowest byte, as everywhere behind the published operations.
struct Canvas {
    std::uint32_t* pixels = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;  // in pixels
};

constexpr std::uint32_t pixelOf(COLORREF color) {
    return (color & 0xFF) << 16 | (color & 0xFF00) | (color >> 16 & 0xFF);
}

RECT intersection(const RECT& a, const RECT& b);  // empty ones are all zero
bool isEmpty(const RECT& area);
bool contains(const RECT& area, POINT at);
RECT moved(const RECT& area, int right, int down);
// What is left of `area` outside `hole`: up to four rectangles.
std::vector<RECT> difference(const RECT& area, const RECT& hole);

// Both cut the area to the canvas. The frame is `thickness` wide and lies inside the area.
void fill(const Canvas& canvas, const RECT& area, std::uint32_t color);
void frame(const Canvas& canvas, const RECT& area, std::uint32_t color, int thickness = 1);

// Puts a picture with premultiplied alpha on the canvas.
void blend(const Canvas& canvas, POINT at, const std::vector<std::uint32_t>& pixels, int side);

}  // namespace gdi
