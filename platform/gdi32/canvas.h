// Pixels in memory and everything that is painted on them: areas, icons, text, and cairo's own
// shapes.

#pragma once

#include <windows.h>

#include <cairo.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace gdi {

// Not owned. Blue in the lowest byte, as everywhere below the published operations.
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
RECT centered(const RECT& area, SIZE size);
// As close to `area` as possible without leaving `screen`; the upper left corner matters most.
RECT movedInto(const RECT& screen, const RECT& area);
// What is left of `area` outside `hole`: up to four rectangles.
std::vector<RECT> difference(const RECT& area, const RECT& hole);

struct CairoCloser {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using Cairo = std::unique_ptr<cairo_t, CairoCloser>;
using CairoSurface = std::unique_ptr<cairo_surface_t, CairoCloser>;
// Draws straight into the canvas. With alpha the pixels are premultiplied.
Cairo cairoOn(const Canvas& canvas, cairo_format_t format = CAIRO_FORMAT_RGB24);
void setColor(const Cairo& context, std::uint32_t color);

// The frame is `thickness` wide and inside the area.
void fill(const Canvas& canvas, const RECT& area, std::uint32_t color);
void frame(const Canvas& canvas, const RECT& area, std::uint32_t color, int thickness = 1);
// A square image with premultiplied alpha.
void blend(const Canvas& canvas, POINT at, const std::vector<std::uint32_t>& pixels, int side);

struct Face {
    int height = 12;  // of the letters' em square, in pixels
    bool bold = false;
};
// The bitmap font that a fresh paint context has: lines 16 pixels apart, never scaled.
constexpr Face systemFace{13, true};

struct TextStyle {
    Face face;
    std::uint32_t color = 0;
    int underlined = -1;    // index of the character with a line below it
    bool selected = false;  // on the selection's color
};

// Size of the text, broken into lines no wider than `width` pixels; 0: only at line feeds.
SIZE measureText(std::u16string_view text, const Face& face, int width = 0);
// Starts at the top left, breaks lines at the area's width and cuts what does not fit.
void drawText(const Canvas& canvas, const RECT& area, std::u16string_view text,
              const TextStyle& style);
// One line in the middle of the area's height, and with `isCentered` of its width. Returns the area
// that the text covers.
RECT drawLine(const Canvas& canvas, const RECT& area, std::u16string_view text,
              const TextStyle& style, bool isCentered = false);

// --- objects.cpp: the program's
HDC openContext(const Canvas& canvas);
void closeContext(HDC context);
// The system's from now on: the handle is dead. Nothing if it is no region.
std::optional<std::vector<RECT>> takeRegion(HRGN region);

// In pixels, rounded, from 96 dots an inch.
inline int scaled(int length, UINT dpi) { return (length * static_cast<int>(dpi) + 48) / 96; }

}  // namespace gdi

// Colors and font of menus and dialogs.
namespace look {

constexpr std::uint32_t face = 0xF3F3F3, paper = 0xFFFFFF, ink = 0x1A1A1A, faint = 0x9A9A9A;
constexpr std::uint32_t border = 0x8A8A8A, line = 0xD6D6D6, accent = 0x0067C0, light = 0xE5E5E5;

inline gdi::Face textFace(UINT dpi) { return {gdi::scaled(12, dpi), false}; }  // nine point

}  // namespace look
