// Rectangles and flat colours in memory.

#include "platform/gdi32/canvas.h"

#include <algorithm>

namespace gdi {

namespace {

RECT whole(const Canvas& canvas) { return {0, 0, canvas.width, canvas.height}; }

std::uint32_t over(std::uint32_t above, std::uint32_t below) {
    const std::uint32_t rest = 255 - (above >> 24);
    std::uint32_t result = 0xFF000000;
    for (int shift = 0; shift < 24; shift += 8) {
        const std::uint32_t channel =
            (below >> shift & 0xFF) * rest / 255 + (above >> shift & 0xFF);
        result |= std::min(channel, 255u) << shift;
    }
    return result;
}

}  // namespace

RECT intersection(const RECT& a, const RECT& b) {
    const RECT common{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                      std::min(a.bottom, b.bottom)};
    return isEmpty(common) ? RECT{} : common;
}

bool isEmpty(const RECT& area) { return area.right <= area.left || area.bottom <= area.top; }

bool contains(const RECT& area, POINT at) {
    return at.x >= area.left && at.x < area.right && at.y >= area.top && at.y < area.bottom;
}

RECT moved(const RECT& area, int right, int down) {
    return {area.left + right, area.top + down, area.right + right, area.bottom + down};
}

std::vector<RECT> difference(const RECT& area, const RECT& hole) {
    const RECT cut = intersection(area, hole);
    if (isEmpty(cut)) return {area};
    std::vector<RECT> rest;
    const auto keep = [&](const RECT& piece) {
        if (!isEmpty(piece)) rest.push_back(piece);
    };
    keep({area.left, area.top, area.right, cut.top});
    keep({area.left, cut.top, cut.left, cut.bottom});
    keep({cut.right, cut.top, area.right, cut.bottom});
    keep({area.left, cut.bottom, area.right, area.bottom});
    return rest;
}

void fill(const Canvas& canvas, const RECT& area, std::uint32_t color) {
    const RECT inside = intersection(area, whole(canvas));
    for (LONG y = inside.top; y < inside.bottom; ++y) {
        std::uint32_t* const row = canvas.pixels + static_cast<std::ptrdiff_t>(y) * canvas.stride;
        std::fill(row + inside.left, row + inside.right, color);
    }
}

void frame(const Canvas& canvas, const RECT& area, std::uint32_t color, int thickness) {
    const RECT inner{area.left + thickness, area.top + thickness, area.right - thickness,
                     area.bottom - thickness};
    if (isEmpty(area)) return;
    for (const RECT& side : difference(area, inner)) fill(canvas, side, color);
}

void blend(const Canvas& canvas, POINT at, const std::vector<std::uint32_t>& pixels, int side) {
    const RECT inside = intersection({at.x, at.y, at.x + side, at.y + side}, whole(canvas));
    for (LONG y = inside.top; y < inside.bottom; ++y)
        for (LONG x = inside.left; x < inside.right; ++x) {
            std::uint32_t& below =
                canvas.pixels[static_cast<std::ptrdiff_t>(y) * canvas.stride + x];
            const auto source = static_cast<std::size_t>((y - at.y) * side + x - at.x);
            below = over(pixels[source], below);
        }
}

}  // namespace gdi
