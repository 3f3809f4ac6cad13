// How a balloon or a tip looks where the host shows it itself.

#pragma once

#include "platform/hosts/host.h"

namespace host {

struct BalloonImage {
    std::vector<std::uint32_t> pixels;
    int width = 0, height = 0;
};

// Without a title it is a plain tip.
BalloonImage paintBalloon(const Balloon& balloon, UINT dpi);

}  // namespace host
