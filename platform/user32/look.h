// Colors and font of menus and dialogs.

#pragma once

#include "platform/gdi32/canvas.h"
#include "platform/user32/window.h"

namespace user32::look {

constexpr std::uint32_t face = 0xF3F3F3, paper = 0xFFFFFF, ink = 0x1A1A1A, faint = 0x9A9A9A;
constexpr std::uint32_t border = 0x8A8A8A, line = 0xD6D6D6, accent = 0x0067C0, light = 0xE5E5E5;

inline gdi::Face textFace(UINT dpi) { return {scaled(12, dpi), false}; }  // nine point

}  // namespace user32::look
