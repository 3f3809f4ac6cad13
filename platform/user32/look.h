// Colors, sizes and parts that menus and dialogs share. Lengths are for 96 dots an inch.

#pragma once

#include <string_view>

#include "platform/gdi32/canvas.h"

namespace user32::look {

constexpr std::uint32_t face = 0xF3F3F3, paper = 0xFFFFFF, ink = 0x1A1A1A, faint = 0x9A9A9A;
constexpr std::uint32_t border = 0x8A8A8A, line = 0xD6D6D6, accent = 0x0067C0, light = 0xE5E5E5;

gdi::Face textFace(UINT dpi);  // nine point

// One line in the middle of the area's height; returns the area that the text covers.
RECT drawLine(const gdi::Canvas& canvas, const RECT& area, std::u16string_view text,
              const gdi::TextStyle& style);

// The title line with its text, and the close button at its right end.
void caption(const gdi::Canvas& canvas, const RECT& area, std::u16string_view title, UINT dpi,
             bool active);
RECT closeButton(const RECT& captionArea);
// The tick of a check box, within its square.
void checkMark(const gdi::Canvas& canvas, const RECT& square, bool enabled);
// One of MB_ICONINFORMATION, MB_ICONWARNING, MB_ICONERROR.
void sign(const gdi::Canvas& canvas, const RECT& area, UINT icon);
void focusRectangle(const gdi::Canvas& canvas, const RECT& area);  // dotted

}  // namespace user32::look
