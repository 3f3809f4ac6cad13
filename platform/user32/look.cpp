// The parts that menus and dialogs share, drawn.

#include "platform/user32/look.h"

#include "platform/user32/window.h"

namespace user32::look {

namespace {

void cross(const gdi::Cairo& context, double x, double y, double reach) {
    cairo_move_to(context.get(), x - reach, y - reach);
    cairo_line_to(context.get(), x + reach, y + reach);
    cairo_move_to(context.get(), x + reach, y - reach);
    cairo_line_to(context.get(), x - reach, y + reach);
    cairo_stroke(context.get());
}

void disc(const gdi::Cairo& context, double x, double y, double radius, std::uint32_t color) {
    gdi::setColor(context, color);
    cairo_arc(context.get(), x, y, radius, 0, 6.2832);
    cairo_fill(context.get());
}

void triangle(const gdi::Cairo& context, double x, double y, double radius, std::uint32_t color) {
    gdi::setColor(context, color);
    cairo_move_to(context.get(), x, y - radius);
    cairo_line_to(context.get(), x + radius * 1.05, y + radius * 0.85);
    cairo_line_to(context.get(), x - radius * 1.05, y + radius * 0.85);
    cairo_close_path(context.get());
    cairo_fill(context.get());
}

// An "i", or with `turned` an exclamation mark: a stroke and a dot.
void stroke(const gdi::Cairo& context, double x, double y, double radius, bool turned,
            std::uint32_t color) {
    gdi::setColor(context, color);
    const double way = turned ? -1 : 1, width = radius * 0.22;
    cairo_rectangle(context.get(), x - width / 2, y - (turned ? radius * 0.4 : radius * 0.1), width,
                    radius * 0.6);
    cairo_fill(context.get());
    disc(context, x, y - way * radius * 0.45 + (turned ? radius * 0.1 : 0), width * 0.6, color);
}

}  // namespace

gdi::Face textFace(UINT dpi) { return {scaled(12, dpi), false}; }

RECT drawLine(const gdi::Canvas& canvas, const RECT& area, std::u16string_view text,
              const gdi::TextStyle& style) {
    const SIZE size = gdi::measureText(text, style.face);
    const LONG top = area.top + (area.bottom - area.top - size.cy) / 2;
    gdi::drawText(canvas, {area.left, top, area.right, area.bottom}, text, style);
    return {area.left, top, area.left + size.cx, top + size.cy};
}

RECT closeButton(const RECT& captionArea) {
    const LONG side = captionArea.bottom - captionArea.top;
    return {captionArea.right - side * 3 / 2, captionArea.top, captionArea.right,
            captionArea.bottom};
}

void caption(const gdi::Canvas& canvas, const RECT& area, std::u16string_view title, UINT dpi,
             bool active) {
    gdi::fill(canvas, area, paper);
    const RECT close = closeButton(area);
    const gdi::TextStyle style{textFace(dpi), active ? ink : faint};
    drawLine(canvas, {area.left + scaled(10, dpi), area.top, close.left, area.bottom}, title,
             style);
    const gdi::Cairo context = gdi::cairoOn(canvas);
    gdi::setColor(context, style.color);
    cairo_set_line_width(context.get(), scaled(1, dpi));
    cross(context, (close.left + close.right) / 2.0, (close.top + close.bottom) / 2.0,
          scaled(5, dpi));
}

void checkMark(const gdi::Canvas& canvas, const RECT& square, bool enabled) {
    const double side = square.right - square.left;
    const gdi::Cairo context = gdi::cairoOn(canvas);
    gdi::setColor(context, enabled ? accent : faint);
    cairo_set_line_width(context.get(), side * 0.15);
    cairo_move_to(context.get(), square.left + side * 0.22, square.top + side * 0.52);
    cairo_line_to(context.get(), square.left + side * 0.42, square.top + side * 0.72);
    cairo_line_to(context.get(), square.left + side * 0.78, square.top + side * 0.28);
    cairo_stroke(context.get());
}

void sign(const gdi::Canvas& canvas, const RECT& area, UINT icon) {
    const double x = (area.left + area.right) / 2.0, y = (area.top + area.bottom) / 2.0;
    const double radius = (area.right - area.left) / 2.0;
    const gdi::Cairo context = gdi::cairoOn(canvas);
    if (icon == MB_ICONWARNING) {
        triangle(context, x, y, radius, 0xF5C211);
        stroke(context, x, y + radius * 0.1, radius, true, ink);
    } else if (icon == MB_ICONERROR) {
        disc(context, x, y, radius, 0xC42B1C);
        gdi::setColor(context, paper);
        cairo_set_line_width(context.get(), radius * 0.22);
        cross(context, x, y, radius * 0.4);
    } else {
        disc(context, x, y, radius, accent);
        stroke(context, x, y, radius, false, paper);
    }
}

void focusRectangle(const gdi::Canvas& canvas, const RECT& area) {
    const gdi::Cairo context = gdi::cairoOn(canvas);
    const double dot = 1;
    gdi::setColor(context, ink);
    cairo_set_line_width(context.get(), 1);
    cairo_set_dash(context.get(), &dot, 1, 0.5);  // Dots are whole pixels.
    cairo_rectangle(context.get(), area.left + 0.5, area.top + 0.5, area.right - area.left - 1,
                    area.bottom - area.top - 1);
    cairo_stroke(context.get());
}

}  // namespace user32::look
