// The dim sheet is opaque to the server: its pixels are mixed here with an image of what was below
// it when it was shown. Two things must hold when it goes, because a recording starts right then.
// The windows below must be whole immediately, without waiting for their programs; and no pixel of
// the sheet may be left.

#include <xcb/composite.h>

#include <chrono>
#include <thread>
#include <vector>

#include "platform/hosts/x11/display.h"

namespace host::x11 {

namespace {

int sheets = 0;

struct Row {
    int left = 0, top = 0;
    std::vector<std::uint32_t> below, shown;
} remembered;

bool hasComposite() {
    static const bool present = [] {
        const auto* const extension = xcb_get_extension_data(connection(), &xcb_composite_id);
        return extension && extension->present &&
               await(xcb_composite_query_version_reply,
                     xcb_composite_query_version(connection(), 0, 4)) != nullptr;
    }();
    return present;
}

// While windows are redirected they draw into pixels of their own, from which the server fills what
// the sheet uncovers; their programs need not repaint it.
void redirect(bool on) {
    if (!hasComposite()) return;
    const auto mode = XCB_COMPOSITE_REDIRECT_AUTOMATIC;
    if (on)
        xcb_composite_redirect_subwindows(connection(), root(), mode);
    else
        xcb_composite_unredirect_subwindows(connection(), root(), mode);
}

std::uint32_t color(std::uint32_t pixel) { return pixel & 0xffffff; }

// True as long as every pixel that would tell the two apart is the sheet's.
bool sheetIsThere() {
    const auto width = static_cast<std::uint16_t>(remembered.below.size());
    const auto reply =
        await(xcb_get_image_reply,
              xcb_get_image(connection(), XCB_IMAGE_FORMAT_Z_PIXMAP, root(),
                            static_cast<std::int16_t>(remembered.left),
                            static_cast<std::int16_t>(remembered.top), width, 1, ~0u));
    if (!reply || xcb_get_image_data_length(reply.get()) < width * 4) return false;
    const auto* const present = reinterpret_cast<std::uint32_t*>(xcb_get_image_data(reply.get()));
    bool distinct = false;
    for (std::size_t x = 0; x < width; ++x) {
        if (color(remembered.below[x]) == color(remembered.shown[x])) continue;
        if (color(present[x]) != color(remembered.shown[x])) return false;
        distinct = true;
    }
    return distinct;
}

}  // namespace

Sheet::Sheet(std::unique_ptr<SharedImage> picture) : below(std::move(picture)) {
    if (sheets++ == 0) redirect(true);
}

Sheet::~Sheet() {
    if (--sheets == 0) redirect(false);
}

void Sheet::blend(const gdi::Canvas& source, BYTE opacity, SharedImage& target) const {
    const unsigned over = opacity, under = 255u - opacity;
    for (int y = 0; y < target.height; ++y) {
        const auto* const top =
            reinterpret_cast<const BYTE*>(source.pixels + std::ptrdiff_t(y) * source.stride);
        const std::ptrdiff_t offset = std::ptrdiff_t(y) * target.width;
        const auto* const bottom = reinterpret_cast<const BYTE*>(below->pixels + offset);
        auto* const mixed = reinterpret_cast<BYTE*>(target.pixels + offset);
        for (int i = 0; i < target.width * 4; ++i)
            mixed[i] = static_cast<BYTE>((top[i] * over + bottom[i] * under + 127) / 255);
    }
}

void rememberSheet(const SharedImage& below, const SharedImage& shown, POINT at) {
    const int middle = shown.height / 2;
    const std::ptrdiff_t offset = std::ptrdiff_t(middle) * shown.width;
    remembered = {at.x,
                  at.y + middle,
                  {below.pixels + offset, below.pixels + offset + shown.width},
                  {shown.pixels + offset, shown.pixels + offset + shown.width}};
}

// Where a compositing manager runs, the screen changes only with its next pass, which is not
// announced. While the sheet is there its pixels are known exactly, so the first other one among
// them means that it has gone. The limit is for a manager that hangs.
void waitForSheetToGo() {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point limit = Clock::now() + std::chrono::milliseconds(500);
    while (!remembered.below.empty() && sheetIsThere() && Clock::now() < limit)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    remembered = {};
}

}  // namespace host::x11
