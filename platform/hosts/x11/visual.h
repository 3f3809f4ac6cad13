// The forms of pixels that the display's windows can have.

#pragma once

#include <xcb/xcb.h>

#include <cstdint>

namespace host::x11 {

struct Visual {
    xcb_visualtype_t* type = nullptr;
    std::uint8_t depth = 0;
};

Visual findVisual(xcb_visualid_t id);  // without type if the screen has no such visual
Visual rootVisual();

}  // namespace host::x11
