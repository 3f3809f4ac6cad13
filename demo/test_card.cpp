// Draws with cairo, directly into the pixels of the embedded desktop.

#include "demo/test_card.h"

#include <cairo.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "platform/control.h"

namespace {

constexpr int framesASecond = 30;

struct Box {
    double left, top, width, height;
};
constexpr Box window{248, 110, 784, 520};
constexpr double titleHeight = 34;
constexpr Box card{window.left, window.top + titleHeight, window.width,
                   window.height - titleHeight};

struct Color {
    double red, green, blue;
};
constexpr Color bars[] = {{.90, .90, .88}, {.93, .83, .20}, {.20, .78, .84}, {.25, .72, .32},
                          {.76, .28, .70}, {.86, .23, .22}, {.18, .27, .78}, {.10, .10, .12}};

void fill(cairo_t* pen, const Box& box, const Color& color) {
    cairo_set_source_rgb(pen, color.red, color.green, color.blue);
    cairo_rectangle(pen, box.left, box.top, box.width, box.height);
    cairo_fill(pen);
}

void write(cairo_t* pen, const char* font, double size, double x, double y, const Color& color,
           const std::string& text) {
    cairo_select_font_face(pen, font, CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(pen, size);
    cairo_set_source_rgb(pen, color.red, color.green, color.blue);
    cairo_move_to(pen, x, y);
    cairo_show_text(pen, text.c_str());
}

void drawGround(cairo_t* pen, double width, double height) {
    cairo_pattern_t* const ground = cairo_pattern_create_linear(0, 0, width, height);
    cairo_pattern_add_color_stop_rgb(ground, 0, .16, .30, .36);
    cairo_pattern_add_color_stop_rgb(ground, 1, .42, .56, .42);
    cairo_set_source(pen, ground);
    cairo_paint(pen);
    cairo_pattern_destroy(ground);
}

void drawWindow(cairo_t* pen) {
    for (int blur = 8; blur > 0; --blur) {
        cairo_set_source_rgba(pen, 0, 0, 0, .04);
        cairo_rectangle(pen, window.left - blur, window.top - blur + 4, window.width + 2 * blur,
                        window.height + 2 * blur);
        cairo_fill(pen);
    }
    fill(pen, window, {.95, .96, .95});
    write(pen, "DejaVu Sans", 14, window.left + 14, window.top + 22, {.1, .13, .1}, "Test card");
}

void drawBars(cairo_t* pen) {
    const double width = card.width / std::size(bars);
    for (std::size_t i = 0; i < std::size(bars); ++i)
        fill(pen, {card.left + static_cast<double>(i) * width, card.top, width, 260}, bars[i]);
}

// Hours, minutes, seconds and the number of the frame in its second.
std::string timeCode(int frame) {
    const int seconds = frame / framesASecond;
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d:%02d", seconds / 3600 % 100, seconds / 60 % 60,
                  seconds % 60, frame % framesASecond);
    return text;
}

// The moving part: a bar that crosses the card in two seconds, and the time code.
void drawMotion(cairo_t* pen, int frame) {
    const double traveled = frame % (2 * framesASecond) / (2.0 * framesASecond);
    fill(pen, {card.left, card.top + 260, card.width, 50}, {.10, .10, .12});
    fill(pen, {card.left + traveled * (card.width - 40), card.top + 260, 40, 50}, {.84, .96, .35});
    fill(pen, {card.left, card.top + 310, card.width, card.height - 310}, {.95, .96, .95});
    write(pen, "DejaVu Sans Mono", 88, card.left + 105, card.top + 428, {.09, .13, .09},
          timeCode(frame));
}

void paint(int frame) {
    desktop::paintDesktop([frame](const desktop::Canvas& canvas) {
        cairo_surface_t* const surface = cairo_image_surface_create_for_data(
            reinterpret_cast<unsigned char*>(canvas.pixels), CAIRO_FORMAT_RGB24, canvas.width,
            canvas.height, canvas.stride * 4);
        cairo_t* const pen = cairo_create(surface);
        if (frame == 0) {
            drawGround(pen, canvas.width, canvas.height);
            drawWindow(pen);
            drawBars(pen);
        }
        drawMotion(pen, frame);
        cairo_destroy(pen);
        cairo_surface_destroy(surface);
    });
}

}  // namespace

TestCard::TestCard() {
    paint(0);
    painter = std::thread([this] {
        const auto start = std::chrono::steady_clock::now();
        for (int frame = 1; !leaving; ++frame) {
            std::this_thread::sleep_until(start + frame * std::chrono::microseconds(1'000'000) /
                                                      framesASecond);
            paint(frame);
        }
    });
}

TestCard::~TestCard() {
    leaving = true;
    painter.join();
}
