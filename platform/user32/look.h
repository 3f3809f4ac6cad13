// How menus and boxes look: colours, sizes at 96 dots an inch, and the parts that they share.

#pragma once

#include <string_view>

#include "platform/gdi32/canvas.h"
#include "platform/gdi32/text.h"

namespace user32::look {

constexpr std::uint32_t face = 0xF3F3F3, paper = 0xFFFFFF, ink = 0x1A1A1A, faint = 0x9A9A9A;
constexpr std::uint32_t border = 0x8A8A8A, line = 0xD6D6D6, accent = 0x0067C0, light = 0xE5E5E5;

gdi::Face textFace(UINT dpi);  // nine point

struct ButtonState {
    bool isDefault = false, focused = false, pressed = false, enabled = true;
};
void button(const gdi::Canvas& canvas, const RECT& area, std::u16string_view text, UINT dpi,
            const ButtonState& state);
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
