// A page of marks like writing that scrolls.

#include "benchmarks/scrolling_page.h"

#include <time.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstring>
#include <random>

#include "platform/control.h"

namespace {

constexpr int period = 480;  // rows after which the page repeats itself
constexpr int step = 4;      // rows from picture to picture
constexpr std::chrono::microseconds pictureTime{33'333};

// Letters of a line: upright marks of different height, with gaps between words.
void drawLine(std::uint32_t* row, int width, int pitch, std::mt19937& hand) {
    const std::uint32_t ink = hand() % 8 == 0 ? 0x2050B0 : 0x202020;
    for (int x = 24; x + 24 < width; x += 7) {
        if (hand() % 6 == 0) continue;
        const int top = static_cast<int>(hand() % 6);
        for (int y = top; y < 12; ++y) row[y * pitch + x + static_cast<int>(hand() % 4)] = ink;
        for (int stroke = 0; stroke < 5; ++stroke) row[(top + 11) / 2 * pitch + x + stroke] = ink;
    }
}

}  // namespace

Page::Page(int asWide, int asHigh)
    : width(asWide), height(asHigh),
      pixels(static_cast<std::size_t>(asWide) * (asHigh + period), 0xF4F4F0) {
    std::mt19937 hand(3);
    for (int y = 0; y < period; y += 20)
        drawLine(pixels.data() + static_cast<std::ptrdiff_t>(y) * width, width, width, hand);
    const std::size_t repeated = static_cast<std::size_t>(width) * period;
    for (std::size_t at = repeated; at < pixels.size(); ++at) pixels[at] = pixels[at - repeated];
}

const std::uint32_t* Page::picture(int number) const {
    return pixels.data() + static_cast<std::ptrdiff_t>(number * step % period) * width;
}

ScrollingPage::ScrollingPage(const RECT& region) {
    painter = std::thread([this, region] {
        run(region, Page(region.right - region.left, region.bottom - region.top));
    });
}

ScrollingPage::~ScrollingPage() {
    leaving = true;
    painter.join();
}

void ScrollingPage::run(const RECT& region, const Page& page) {
    auto due = std::chrono::steady_clock::now();
    for (int number = 0; !leaving; ++number) {
        desktop::paintDesktop([&](const desktop::Canvas& canvas) {
            const std::uint32_t* source = page.picture(number);
            std::uint32_t* target =
                canvas.pixels +
                static_cast<std::ptrdiff_t>(region.top - canvas.origin.y) * canvas.stride +
                (region.left - canvas.origin.x);
            for (int y = 0; y < page.height; ++y, source += page.width, target += canvas.stride)
                std::memcpy(target, source, static_cast<std::size_t>(page.width) * 4);
        });
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        spent = static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
        std::this_thread::sleep_until(due += pictureTime);
    }
}

void scrollOnDisplay(const RECT& region) {
    const Page page(region.right - region.left, region.bottom - region.top);
    xcb_connection_t* const server = xcb_connect(nullptr, nullptr);
    const xcb_screen_t& screen = *xcb_setup_roots_iterator(xcb_get_setup(server)).data;
    const xcb_gcontext_t pen = xcb_generate_id(server);
    xcb_create_gc(server, pen, screen.root, 0, nullptr);

    // The page lies in the server, which copies a part of it to the screen: little is sent from
    // picture to picture.
    const xcb_pixmap_t whole = xcb_generate_id(server);
    const auto width = static_cast<std::uint16_t>(page.width);
    const int rows = page.height + period;
    xcb_create_pixmap(server, screen.root_depth, whole, screen.root, width,
                      static_cast<std::uint16_t>(rows));
    constexpr int strip = 8;
    for (int y = 0; y < rows; y += strip)
        xcb_put_image(server, XCB_IMAGE_FORMAT_Z_PIXMAP, whole, pen, width, strip, 0,
                      static_cast<std::int16_t>(y), 0, screen.root_depth,
                      static_cast<std::uint32_t>(page.width) * strip * 4,
                      reinterpret_cast<const std::uint8_t*>(
                          page.pixels.data() + static_cast<std::ptrdiff_t>(y) * page.width));

    const xcb_window_t window = xcb_generate_id(server);
    xcb_create_window(server, XCB_COPY_FROM_PARENT, window, screen.root,
                      static_cast<std::int16_t>(region.left), static_cast<std::int16_t>(region.top),
                      width, static_cast<std::uint16_t>(page.height), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual, 0, nullptr);
    xcb_map_window(server, window);
    auto due = std::chrono::steady_clock::now();
    for (int number = 0;; ++number) {
        xcb_copy_area(server, whole, window, pen, 0,
                      static_cast<std::int16_t>(number * step % period), 0, 0, width,
                      static_cast<std::uint16_t>(page.height));
        xcb_flush(server);
        std::this_thread::sleep_until(due += pictureTime);
    }
}
