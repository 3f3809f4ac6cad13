// The program's compiled resources, as windres writes them in the .res form.

#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

// Linked into the program by its build.
extern const unsigned char resourceBlock[];
extern const std::size_t resourceBlockSize;

namespace user32 {

// `type` and `id` are numbers, as MAKEINTRESOURCEW makes them. Valid as long as the program runs.
std::optional<std::span<const std::uint8_t>> findResource(const WCHAR* type, std::uintptr_t id);

}  // namespace user32
