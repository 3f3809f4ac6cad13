// Text on a canvas.

#pragma once

#include <windows.h>

#include <string_view>

#include "platform/gdi32/canvas.h"

namespace gdi {

struct Face {
    int height = 12;  // of the letters' em square, in pixels
    bool bold = false;
};

// The bitmap font that a fresh paint context has: lines 16 pixels apart, never scaled.
constexpr Face systemFace{13, true};

struct TextStyle {
    Face face;
    std::uint32_t color = 0;
    bool centered = false;  // across; text always starts at the top
    int underlined = -1;    // index of the character with a line below it
    bool selected = false;  // on the selection's colour
};

// Size of the text, broken into lines no wider than `width` pixels; 0: only at line feeds.
SIZE measureText(std::u16string_view text, const Face& face, int width = 0);

// Breaks lines at the area's width and cuts what does not fit.
void drawText(const Canvas& canvas, const RECT& area, std::u16string_view text,
              const TextStyle& style);

}  // namespace gdi
