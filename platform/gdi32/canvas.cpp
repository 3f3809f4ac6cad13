#include "platform/gdi32/canvas.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <string>

namespace gdi {

namespace {

struct Release {
    void operator()(PangoLayout* layout) const { g_object_unref(layout); }
};
using Layout = std::unique_ptr<PangoLayout, Release>;

Layout layoutOf(const Cairo& context, std::string text, const TextStyle& style, int width) {
    Layout layout(pango_cairo_create_layout(context.get()));
    const std::string name = style.bold ? "DejaVu Sans Bold " : "DejaVu Sans ";
    PangoFontDescription* const font =
        pango_font_description_from_string((name + std::to_string(style.height) + "px").c_str());
    pango_layout_set_font_description(layout.get(), font);
    pango_font_description_free(font);
    const std::size_t mark = style.mnemonic ? text.find('&') : text.npos;
    if (mark != text.npos) {
        text.erase(mark, 1);
        const std::string letter = std::to_string(mark) + ' ' + std::to_string(mark + 1);
        PangoAttrList* const line =
            pango_attr_list_from_string((letter + " underline single").c_str());
        pango_layout_set_attributes(layout.get(), line);
        pango_attr_list_unref(line);
    }
    pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
    if (width > 0) pango_layout_set_width(layout.get(), width * PANGO_SCALE);
    pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
    return layout;
}

void addRectangle(const Cairo& context, const RECT& area) {
    cairo_rectangle(context.get(), area.left, area.top, area.right - area.left,
                    area.bottom - area.top);
}

}  // namespace

RECT intersection(const RECT& a, const RECT& b) {
    const RECT common{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                      std::min(a.bottom, b.bottom)};
    return isEmpty(common) ? RECT{} : common;
}

RECT centered(const RECT& area, SIZE size) {
    const LONG left = (area.left + area.right - size.cx) / 2;
    const LONG top = (area.top + area.bottom - size.cy) / 2;
    return {left, top, left + size.cx, top + size.cy};
}

RECT movedInto(const RECT& screen, const RECT& area) {
    const LONG right = std::min<LONG>(screen.right - area.right, 0);
    const LONG down = std::min<LONG>(screen.bottom - area.bottom, 0);
    return moved(area, std::max(screen.left - area.left, right),
                 std::max(screen.top - area.top, down));
}

std::vector<RECT> difference(const RECT& area, const RECT& hole) {
    const RECT cut = intersection(area, hole);
    if (isEmpty(cut)) return {area};
    std::vector<RECT> rest{{area.left, area.top, area.right, cut.top},
                           {area.left, cut.top, cut.left, cut.bottom},
                           {cut.right, cut.top, area.right, cut.bottom},
                           {area.left, cut.bottom, area.right, area.bottom}};
    std::erase_if(rest, isEmpty);
    return rest;
}

Cairo cairoOn(const Canvas& canvas) {
    const CairoSurface surface(cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(canvas.pixels), CAIRO_FORMAT_RGB24, canvas.width,
        canvas.height, canvas.stride * 4));
    return Cairo(cairo_create(surface.get()));
}

void setColor(const Cairo& context, std::uint32_t color) {
    cairo_set_source_rgb(context.get(), (color >> 16 & 0xFF) / 255.0, (color >> 8 & 0xFF) / 255.0,
                         (color & 0xFF) / 255.0);
}

void fill(const Canvas& canvas, const RECT& area, std::uint32_t color) {
    const Cairo context = cairoOn(canvas);
    setColor(context, color);
    addRectangle(context, area);
    if (!isEmpty(area)) cairo_fill(context.get());
}

void panel(const Canvas& canvas, const RECT& area, std::uint32_t color, std::uint32_t edge,
           int thickness) {
    fill(canvas, area, edge);
    fill(canvas, inset(area, thickness), color);
}

void blend(const Canvas& canvas, POINT at, const std::vector<std::uint32_t>& pixels, int side) {
    // The source is only read.
    const CairoSurface source(cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(const_cast<std::uint32_t*>(pixels.data())),
        CAIRO_FORMAT_ARGB32, side, side, side * 4));
    const Cairo context = cairoOn(canvas);
    cairo_set_source_surface(context.get(), source.get(), at.x, at.y);
    cairo_paint(context.get());
}

SIZE measureText(std::string_view text, const TextStyle& style, int width) {
    std::uint32_t pixel = 0;
    const Layout layout = layoutOf(cairoOn({&pixel, 1, 1, 1}), std::string(text), style, width);
    int across = 0, down = 0;
    pango_layout_get_pixel_size(layout.get(), &across, &down);
    return {across, down};
}

void drawText(const Canvas& canvas, const RECT& area, std::string_view text,
              const TextStyle& style) {
    if (isEmpty(area) || text.empty()) return;
    const Cairo context = cairoOn(canvas);
    addRectangle(context, area);
    cairo_clip(context.get());
    const Layout layout = layoutOf(context, std::string(text), style, area.right - area.left);
    setColor(context, style.color);
    cairo_move_to(context.get(), area.left, area.top);
    pango_cairo_show_layout(context.get(), layout.get());
}

RECT drawLine(const Canvas& canvas, const RECT& area, std::string_view text, const TextStyle& style,
              bool isCentered) {
    RECT covered = centered(area, measureText(text, style));
    if (!isCentered) covered = moved(covered, area.left - covered.left, 0);
    drawText(canvas, {covered.left, covered.top, area.right, area.bottom}, text, style);
    return covered;
}

}  // namespace gdi

// What the sanitizers may find in libraries that were built without them. They call these by name.
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig\n"; }
extern "C" const char* __lsan_default_options() { return "print_suppressions=0"; }
extern "C" const char* __tsan_default_suppressions() {
    return "race:libfontconfig\nrace:libglib\nrace:libpango\nrace:libcairo\ndeadlock:libdbus\n";
}
