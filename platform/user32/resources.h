// The program's compiled resources, as windres writes them in the .res form, and icons made of
// them.

#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "platform/hosts/host.h"

// Linked into the program by its build.
extern const unsigned char resourceBlock[];
extern const std::size_t resourceBlockSize;

namespace user32 {

// Takes one value after the other from what the resource compiler has written.
struct Reader {
    std::span<const std::uint8_t> bytes;
    std::size_t at = 0;

    template <typename Value>
    Value take() {
        Value value{};
        std::memcpy(&value, bytes.subspan(at).first(sizeof value).data(), sizeof value);
        at += sizeof value;
        return value;
    }
    // Entries and controls start at multiples of four.
    void align() { at = (at + 3) & ~std::size_t{3}; }
};

// `type` and `id` are numbers, as MAKEINTRESOURCEW makes them. Empty if there is no such resource.
std::span<const std::uint8_t> findResource(const WCHAR* type, std::uintptr_t id);

struct Icon {
    std::uintptr_t id = 0;
    int side = 0;
    bool shared = false;  // belongs to the system, never destroyed
};
const Icon* findIcon(HICON icon);  // null if the handle is dead
// The image as it was drawn, the largest up to that side or else the smallest. Any thread.
host::IconImage iconImage(std::uintptr_t id, int side);

}  // namespace user32
