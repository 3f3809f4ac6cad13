// The program's compiled resources, as windres writes them in the .res form, and icons made of
// them.

#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/hosts/host.h"

// Linked into the program by its build.
extern const unsigned char resourceBlock[];
extern const std::size_t resourceBlockSize;

namespace user32 {

// `type` and `id` are numbers, as MAKEINTRESOURCEW makes them. Valid as long as the program runs.
std::optional<std::span<const std::uint8_t>> findResource(const WCHAR* type, std::uintptr_t id);

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
