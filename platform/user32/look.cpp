// The parts of menus and boxes, drawn.

#include "platform/user32/look.h"

#include <cairo.h>

#include <algorithm>

#include "platform/user32/monitor.h"

namespace user32::look {

namespace {

// Draws with cairo straight into the canvas.
template <typename Draw>
void withCairo(const gdi::Canvas& canvas, Draw draw) {
    cairo_surface_t* const surface = cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(canvas.pixels), CAIRO_FORMAT_RGB24, canvas.width,
        canvas.height, canvas.stride * 4);
    cairo_t* const context = cairo_create(surface);
    draw(context);
    cairo_destroy(context);
    cairo_surface_destroy(surface);
}

void setColor(cairo_t* context, std::uint32_t color) {
    cairo_set_source_rgb(context, (color >> 16 & 0xFF) / 255.0, (color >> 8 & 0xFF) / 255.0,
                         (color & 0xFF) / 255.0);
}

RECT centered(const RECT& area, SIZE size) {
    const LONG left = area.left + (area.right - area.left - size.cx) / 2;
    const LONG top = area.top + (area.bottom - area.top - size.cy) / 2;
    return {left, top, left + size.cx + 1, top + size.cy};
}

void cross(cairo_t* context, double x, double y, double reach) {
    cairo_move_to(context, x - reach, y - reach);
    cairo_line_to(context, x + reach, y + reach);
    cairo_move_to(context, x + reach, y - reach);
    cairo_line_to(context, x - reach, y + reach);
    cairo_stroke(context);
}

void disc(cairo_t* context, double x, double y, double radius, std::uint32_t color) {
    setColor(context, color);
    cairo_arc(context, x, y, radius, 0, 6.2832);
    cairo_fill(context);
}

void triangle(cairo_t* context, double x, double y, double radius, std::uint32_t color) {
    setColor(context, color);
    cairo_move_to(context, x, y - radius);
    cairo_line_to(context, x + radius * 1.05, y + radius * 0.85);
    cairo_line_to(context, x - radius * 1.05, y + radius * 0.85);
    cairo_close_path(context);
    cairo_fill(context);
}

// An "i", or with `turned` an exclamation mark: a stroke and a dot.
void stroke(cairo_t* context, double x, double y, double radius, bool turned, std::uint32_t color) {
    setColor(context, color);
    const double way = turned ? -1 : 1, width = radius * 0.22;
    cairo_rectangle(context, x - width / 2, y - (turned ? radius * 0.4 : radius * 0.1), width,
                    radius * 0.6);
    cairo_fill(context);
    disc(context, x, y - way * radius * 0.45 + (turned ? radius * 0.1 : 0), width * 0.6, color);
}

}  // namespace

gdi::Face textFace(UINT dpi) { return {scaled(12, dpi), false}; }

void button(const gdi::Canvas& canvas, const RECT& area, std::u16string_view text, UINT dpi,
            const ButtonState& state) {
    gdi::fill(canvas, area, state.pressed ? light : paper);
    gdi::frame(canvas, area, state.isDefault ? accent : border, state.isDefault ? 2 : 1);
    gdi::TextStyle style;
    style.face = textFace(dpi);
    style.color = state.enabled ? ink : faint;
    const auto mark = text.find(u'&');
    std::u16string plain(text);
    if (mark != text.npos) plain.erase(mark, 1), style.underlined = static_cast<int>(mark);
    gdi::drawText(canvas, centered(area, gdi::measureText(plain, style.face)), plain, style);
    const int inset = scaled(4, dpi);
    if (state.focused)
        focusRectangle(
            canvas, {area.left + inset, area.top + inset, area.right - inset, area.bottom - inset});
}

RECT closeButton(const RECT& captionArea) {
    const LONG side = captionArea.bottom - captionArea.top;
    return {captionArea.right - side * 3 / 2, captionArea.top, captionArea.right,
            captionArea.bottom};
}

void caption(const gdi::Canvas& canvas, const RECT& area, std::u16string_view title, UINT dpi,
             bool active) {
    gdi::fill(canvas, area, paper);
    gdi::TextStyle style;
    style.face = textFace(dpi);
    style.color = active ? ink : faint;
    const SIZE size = gdi::measureText(title, style.face);
    RECT place = centered(area, size);
    place.left = area.left + scaled(10, dpi);
    place.right = closeButton(area).left;
    gdi::drawText(canvas, place, title, style);
    const RECT close = closeButton(area);
    withCairo(canvas, [&](cairo_t* context) {
        setColor(context, style.color);
        cairo_set_line_width(context, scaled(1, dpi));
        cross(context, (close.left + close.right) / 2.0, (close.top + close.bottom) / 2.0,
              scaled(5, dpi));
    });
}

void checkMark(const gdi::Canvas& canvas, const RECT& square, bool enabled) {
    const double side = square.right - square.left;
    withCairo(canvas, [&](cairo_t* context) {
        setColor(context, enabled ? accent : faint);
        cairo_set_line_width(context, side * 0.15);
        cairo_move_to(context, square.left + side * 0.22, square.top + side * 0.52);
        cairo_line_to(context, square.left + side * 0.42, square.top + side * 0.72);
        cairo_line_to(context, square.left + side * 0.78, square.top + side * 0.28);
        cairo_stroke(context);
    });
}

void sign(const gdi::Canvas& canvas, const RECT& area, UINT icon) {
    const double x = (area.left + area.right) / 2.0, y = (area.top + area.bottom) / 2.0;
    const double radius = (area.right - area.left) / 2.0;
    withCairo(canvas, [&](cairo_t* context) {
        if (icon == MB_ICONWARNING) {
            triangle(context, x, y, radius, 0xF5C211);
            stroke(context, x, y + radius * 0.1, radius, true, ink);
        } else if (icon == MB_ICONERROR) {
            disc(context, x, y, radius, 0xC42B1C);
            setColor(context, paper);
            cairo_set_line_width(context, radius * 0.22);
            cross(context, x, y, radius * 0.4);
        } else {
            disc(context, x, y, radius, accent);
            stroke(context, x, y, radius, false, paper);
        }
    });
}

void focusRectangle(const gdi::Canvas& canvas, const RECT& area) {
    const auto dot = [&](LONG x, LONG y) {
        if ((x + y) % 2 == 0) gdi::fill(canvas, {x, y, x + 1, y + 1}, ink);
    };
    for (LONG x = area.left; x < area.right; ++x) dot(x, area.top), dot(x, area.bottom - 1);
    for (LONG y = area.top; y < area.bottom; ++y) dot(area.left, y), dot(area.right - 1, y);
}

}  // namespace user32::look
