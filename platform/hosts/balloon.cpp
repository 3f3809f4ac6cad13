// The one painter of balloons and tips.

#include "platform/hosts/balloon.h"

#include <algorithm>

#include "platform/core/text.h"
#include "platform/gdi32/canvas.h"

namespace host {

BalloonImage paintBalloon(const Balloon& balloon, UINT dpi) {
    const auto scaled = [&](int length) { return length * static_cast<int>(dpi) / 96; };
    const LONG inner = scaled(300), padding = scaled(12), bar = scaled(6), left = bar + padding;
    const gdi::TextStyle bold{scaled(12), 0x1A1A1A, true}, plain{scaled(12), 0x1A1A1A};
    const std::string title = desktop::toUtf8(balloon.title), text = desktop::toUtf8(balloon.text);
    SIZE above{};
    if (!title.empty()) {
        above = gdi::measureText(title, bold, inner);
        above.cy += scaled(4);
    }
    const SIZE below = gdi::measureText(text, plain, inner);

    BalloonImage image;
    image.width = left + std::max(above.cx, below.cx) + padding;
    image.height = padding + above.cy + below.cy + padding;
    image.pixels.resize(static_cast<std::size_t>(image.width * image.height));
    const gdi::Canvas canvas{image.pixels.data(), image.width, image.height, image.width};
    const RECT whole{0, 0, image.width, image.height};
    gdi::panel(canvas, whole, 0xFFFAFAFA, 0xFF8A8A8A);
    gdi::fill(canvas, {1, 1, bar, image.height - 1}, balloon.isError ? 0xFFC42B1C : 0xFF0067C0);
    // As wide as they were measured, or the lines would break elsewhere.
    const RECT area{left, padding, left + inner, image.height};
    gdi::drawText(canvas, area, title, bold);
    gdi::drawText(canvas, gdi::moved(area, 0, above.cy), text, plain);
    return image;
}

}  // namespace host
