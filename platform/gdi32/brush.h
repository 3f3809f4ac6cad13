// The colour behind a brush.

#pragma once

#include <windows.h>

#include <cstdint>

namespace gdi {

std::uint32_t brushPixel(HBRUSH brush,
                         const char* operation);  // stops the process if there is none

}  // namespace gdi
