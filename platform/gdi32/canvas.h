// Pixels in memory and everything that is painted on them: areas, icons, text, and cairo's own
// shapes.

#pragma once

#include <windows.h>

#include <cairo.h>

#include <cstdint>
#include <cstring>
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

inline bool isEmpty(const RECT& area) { return area.right <= area.left || area.bottom <= area.top; }
inline bool areSame(const RECT& a, const RECT& b) { return std::memcmp(&a, &b, sizeof a) == 0; }
inline bool contains(const RECT& area, POINT at) {
    return at.x >= area.left && at.x < area.right && at.y >= area.top && at.y < area.bottom;
}
inline RECT moved(const RECT& area, int right, int down) {
    return {area.left + right, area.top + down, area.right + right, area.bottom + down};
}
inline RECT inset(const RECT& area, int by) {
    return {area.left + by, area.top + by, area.right - by, area.bottom - by};
}
RECT intersection(const RECT& a, const RECT& b);  // empty ones are all zero
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
// Draws straight into the canvas.
Cairo cairoOn(const Canvas& canvas);
void setColor(const Cairo& context, std::uint32_t color);

void fill(const Canvas& canvas, const RECT& area, std::uint32_t color);
// The edge is `thickness` wide and inside the area.
void panel(const Canvas& canvas, const RECT& area, std::uint32_t color, std::uint32_t edge,
           int thickness = 1);
// A square image with premultiplied alpha.
void blend(const Canvas& canvas, POINT at, const std::vector<std::uint32_t>& pixels, int side);

struct TextStyle {
    int height = 12;  // of the letters' em square, in pixels
    std::uint32_t color = 0;
    bool bold = false;
    bool mnemonic = false;  // "&" is not shown but underlines the letter after it
};

// Text is UTF-8. Its size, broken into lines no wider than `width` pixels; 0: only at line feeds.
SIZE measureText(std::string_view text, const TextStyle& style, int width = 0);
// Starts at the top left, breaks lines at the area's width and cuts what does not fit.
void drawText(const Canvas& canvas, const RECT& area, std::string_view text,
              const TextStyle& style);
// One line in the middle of the area's height, and with `isCentered` of its width. Returns the area
// that the text covers.
RECT drawLine(const Canvas& canvas, const RECT& area, std::string_view text, const TextStyle& style,
              bool isCentered = false);

// --- objects.cpp: the program's
// The canvas must outlive the context. Closing it returns the canvas and ends the handle.
HDC openContext(const Canvas& canvas);
Canvas closeContext(HDC context);
// Takes over the region from the program: the handle is dead. Empty if it is not that of a region.
std::optional<std::vector<RECT>> takeRegion(HRGN region);

// In pixels, rounded, from 96 dots an inch.
inline int scaled(int length, UINT dpi) { return (length * static_cast<int>(dpi) + 48) / 96; }

}  // namespace gdi

// Colors and font of menus and dialogs.
namespace look {

constexpr std::uint32_t face = 0xF3F3F3, paper = 0xFFFFFF, ink = 0x1A1A1A, faint = 0x9A9A9A;
constexpr std::uint32_t border = 0x8A8A8A, line = 0xD6D6D6, accent = 0x0067C0, light = 0xE5E5E5;

inline gdi::TextStyle text(UINT dpi, bool dimmed = false) {
    return {gdi::scaled(12, dpi), dimmed ? faint : ink};  // nine point
}

}  // namespace look
