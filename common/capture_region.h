// The rectangle to record.

#pragma once

#include <cstdint>

// Physical pixels in virtual-desktop coordinates; right and bottom are exclusive.
struct CaptureRegion {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
};
