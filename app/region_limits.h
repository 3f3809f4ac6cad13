// Which regions can be recorded.

#pragma once

#include <cstdint>

#include "common/capture_region.h"

// 16 to 3840 by 16 to 2160 pixels. Negative sizes fail too: as unsigned numbers they are huge.
constexpr bool isRecordable(const CaptureRegion& region) {
    const auto width =
        static_cast<std::uint32_t>(region.right) - static_cast<std::uint32_t>(region.left);
    const auto height =
        static_cast<std::uint32_t>(region.bottom) - static_cast<std::uint32_t>(region.top);
    return width >= 16 && width <= 3840 && height >= 16 && height <= 2160;
}
