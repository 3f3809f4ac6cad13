// Icons.

#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

#include "platform/hosts/host.h"

namespace user32 {

struct Icon {
    int side = 0;
    std::vector<std::uint32_t> pixels;  // premultiplied alpha
    bool shared = false;                // belongs to the system, never destroyed
    std::uintptr_t id = 0;
};
const Icon* findIcon(HICON icon);  // null if the handle is dead
// The icon's image as it was drawn, the largest up to that side or else the smallest. Any thread.
host::IconImage drawnImage(std::uintptr_t id, int side);

}  // namespace user32
