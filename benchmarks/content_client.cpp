// What the recorded region shows: content_client still|typed|scrolling|noise LEFT TOP WIDTH HEIGHT
//
// Draws on the display named by DISPLAY until it is killed. The page and the noise are pixmaps of
// the server, so an update costs one copy by the server.
//
// Each update carries its time: the monotonic clock's milliseconds as 24 cells of 16 x 16 pixels
// from the upper left corner on, highest bit first, white for 1.

#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr int cellSide = 16;
constexpr int cellCount = 24;
constexpr int pagePeriod = 480;  // rows until the page repeats
constexpr int scrollStep = 4;    // rows from update to update
constexpr int noiseSpread = 64;  // The noise is shown at offsets below this one in both directions.
// 40 updates a second: a new frame for each slot of a recorder that takes 30.
constexpr auto movingPeriod = 25ms;
constexpr auto typingPeriod = 100ms;

constexpr std::uint32_t paper = 0xF4F4F0;
constexpr std::uint32_t ink = 0x202020;

struct Client {
    xcb_connection_t* connection;
    const xcb_screen_t* screen;
    xcb_gcontext_t pen;
    xcb_window_t window;
    int width, height;
};

void fill(const Client& client, std::uint32_t color, const std::vector<xcb_rectangle_t>& areas) {
    xcb_change_gc(client.connection, client.pen, XCB_GC_FOREGROUND, &color);
    xcb_poly_fill_rectangle(client.connection, client.window, client.pen,
                            static_cast<std::uint32_t>(areas.size()), areas.data());
}

xcb_rectangle_t area(int x, int y, int width, int height) {
    return {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
            static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height)};
}

void drawTime(const Client& client) {
    using namespace std::chrono;
    const auto now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    std::vector<xcb_rectangle_t> ones, zeros;
    for (int bit = 0; bit < cellCount; ++bit) {
        auto& cells = (now >> (cellCount - 1 - bit) & 1) != 0 ? ones : zeros;
        cells.push_back(area(bit * cellSide, 0, cellSide, cellSide));
    }
    fill(client, 0xFFFFFF, ones);
    fill(client, 0x000000, zeros);
}

// Draws while it has grabbed the server, so no client reads half an update.
template <typename Draw>
void update(const Client& client, const Draw& draw) {
    xcb_grab_server(client.connection);
    draw();
    drawTime(client);
    xcb_ungrab_server(client.connection);
    xcb_flush(client.connection);
}

xcb_pixmap_t makePixmap(const Client& client, int width, int height,
                        const std::vector<std::uint32_t>& pixels) {
    const xcb_pixmap_t pixmap = xcb_generate_id(client.connection);
    xcb_create_pixmap(client.connection, client.screen->root_depth, pixmap, client.window,
                      static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height));
    constexpr int strip = 8;  // rows a request, well below the limit of its length
    for (int y = 0; y < height; y += strip) {
        const int rows = std::min(strip, height - y);
        xcb_put_image(
            client.connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, client.pen,
            static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(rows), 0,
            static_cast<std::int16_t>(y), 0, client.screen->root_depth,
            static_cast<std::uint32_t>(width * rows * 4),
            reinterpret_cast<const std::uint8_t*>(pixels.data() + std::ptrdiff_t{y} * width));
    }
    return pixmap;
}

// A line of text: vertical strokes of different heights with gaps between the words.
void drawLine(std::uint32_t* row, int width, std::mt19937& random) {
    const std::uint32_t color = random() % 8 == 0 ? 0x2050B0 : ink;
    for (int x = 24; x + 24 < width; x += 7) {
        if (random() % 6 == 0) continue;
        const int top = static_cast<int>(random() % 6);
        for (int y = top; y < 12; ++y) row[y * width + x + static_cast<int>(random() % 4)] = color;
        for (int stroke = 0; stroke < 5; ++stroke) row[(top + 11) / 2 * width + x + stroke] = color;
    }
}

xcb_pixmap_t makePage(const Client& client) {
    const int height = client.height + pagePeriod;
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(client.width) * height, paper);
    std::mt19937 random(3);
    for (int y = 0; y < pagePeriod; y += 20)
        drawLine(pixels.data() + std::ptrdiff_t{y} * client.width, client.width, random);
    const std::size_t repeated = static_cast<std::size_t>(client.width) * pagePeriod;
    for (std::size_t at = repeated; at < pixels.size(); ++at) pixels[at] = pixels[at - repeated];
    return makePixmap(client, client.width, height, pixels);
}

xcb_pixmap_t makeNoise(const Client& client) {
    const int width = client.width + noiseSpread, height = client.height + noiseSpread;
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) * height);
    std::mt19937 random(5);
    for (std::uint32_t& pixel : pixels) pixel = static_cast<std::uint32_t>(random());
    return makePixmap(client, width, height, pixels);
}

void showFrom(const Client& client, xcb_pixmap_t pixmap, int x, int y) {
    xcb_copy_area(client.connection, pixmap, client.window, client.pen,
                  static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0, 0,
                  static_cast<std::uint16_t>(client.width),
                  static_cast<std::uint16_t>(client.height));
}

void typeLetter(const Client& client, int number) {
    const int columns = (client.width - 80) / 10, rows = (client.height - 120) / 20;
    const int column = number % columns, row = number / columns % rows;
    fill(client, ink, {area(40 + column * 10, 60 + row * 20, 2 + number % 3 * 2, 12)});
}

Client open(char** arguments) {
    Client client{};
    client.connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(client.connection)) std::exit(1);
    client.screen = xcb_setup_roots_iterator(xcb_get_setup(client.connection)).data;
    client.width = std::atoi(arguments[4]);
    client.height = std::atoi(arguments[5]);
    client.window = xcb_generate_id(client.connection);
    xcb_create_window(client.connection, XCB_COPY_FROM_PARENT, client.window, client.screen->root,
                      static_cast<std::int16_t>(std::atoi(arguments[2])),
                      static_cast<std::int16_t>(std::atoi(arguments[3])),
                      static_cast<std::uint16_t>(client.width),
                      static_cast<std::uint16_t>(client.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      client.screen->root_visual, 0, nullptr);
    client.pen = xcb_generate_id(client.connection);
    const std::uint32_t none = 0;
    xcb_create_gc(client.connection, client.pen, client.window, XCB_GC_GRAPHICS_EXPOSURES, &none);
    return client;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 6) return 2;
    const std::string kind = arguments[1];
    const Client client = open(arguments);
    const bool moves = kind == "scrolling" || kind == "noise";
    const xcb_pixmap_t content = kind == "noise" ? makeNoise(client) : makePage(client);
    // The server draws the background itself where another window was.
    xcb_change_window_attributes(client.connection, client.window, XCB_CW_BACK_PIXMAP, &content);
    xcb_map_window(client.connection, client.window);
    xcb_flush(client.connection);

    std::mt19937 random(7);
    auto due = std::chrono::steady_clock::now();
    for (int number = 0; !xcb_connection_has_error(client.connection); ++number) {
        std::this_thread::sleep_until(due += moves ? movingPeriod : typingPeriod);
        if (kind == "scrolling")
            update(client, [&] { showFrom(client, content, 0, number * scrollStep % pagePeriod); });
        if (kind == "noise")
            update(client, [&] {
                showFrom(client, content, static_cast<int>(random() % noiseSpread),
                         static_cast<int>(random() % noiseSpread));
            });
        if (kind == "typed") update(client, [&] { typeLetter(client, number); });
    }
}
