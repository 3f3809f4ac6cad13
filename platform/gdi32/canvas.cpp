#include "platform/gdi32/canvas.h"

#include <pango/pangocairo.h>

#include <algorithm>

#include "platform/core/text.h"

namespace gdi {

namespace {

struct Release {
    void operator()(PangoLayout* layout) const { g_object_unref(layout); }
    void operator()(PangoFontDescription* font) const { pango_font_description_free(font); }
};
using Layout = std::unique_ptr<PangoLayout, Release>;

Layout layoutOf(const Cairo& context, std::u16string_view text, const Face& face, int width) {
    Layout layout(pango_cairo_create_layout(context.get()));
    const std::unique_ptr<PangoFontDescription, Release> font(
        pango_font_description_from_string("DejaVu Sans"));
    pango_font_description_set_absolute_size(font.get(), face.height * PANGO_SCALE);
    if (face.bold) pango_font_description_set_weight(font.get(), PANGO_WEIGHT_BOLD);
    pango_layout_set_font_description(layout.get(), font.get());
    const std::string utf8 = desktop::toUtf8(text);
    pango_layout_set_text(layout.get(), utf8.data(), static_cast<int>(utf8.size()));
    if (width > 0) pango_layout_set_width(layout.get(), width * PANGO_SCALE);
    pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
    return layout;
}

SIZE sizeOf(const Layout& layout) {
    int across = 0, down = 0;
    pango_layout_get_pixel_size(layout.get(), &across, &down);
    return {across, down};
}

void underline(const Layout& layout, std::u16string_view text, int index) {
    const auto at = static_cast<std::size_t>(index);
    PangoAttribute* const line = pango_attr_underline_new(PANGO_UNDERLINE_SINGLE);
    line->start_index = static_cast<guint>(desktop::toUtf8(text.substr(0, at)).size());
    line->end_index = static_cast<guint>(desktop::toUtf8(text.substr(0, at + 1)).size());
    PangoAttrList* const list = pango_attr_list_new();
    pango_attr_list_insert(list, line);
    pango_layout_set_attributes(layout.get(), list);
    pango_attr_list_unref(list);
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

bool isEmpty(const RECT& area) { return area.right <= area.left || area.bottom <= area.top; }

bool contains(const RECT& area, POINT at) {
    return at.x >= area.left && at.x < area.right && at.y >= area.top && at.y < area.bottom;
}

RECT moved(const RECT& area, int right, int down) {
    return {area.left + right, area.top + down, area.right + right, area.bottom + down};
}

RECT centered(const RECT& area, SIZE size) {
    const LONG left = (area.left + area.right - size.cx) / 2;
    const LONG top = (area.top + area.bottom - size.cy) / 2;
    return {left, top, left + size.cx, top + size.cy};
}

RECT movedInto(const RECT& screen, const RECT& area) {
    const LONG left =
        std::max(screen.left, std::min(area.left, screen.right - (area.right - area.left)));
    const LONG top =
        std::max(screen.top, std::min(area.top, screen.bottom - (area.bottom - area.top)));
    return moved(area, left - area.left, top - area.top);
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

Cairo cairoOn(const Canvas& canvas, cairo_format_t format) {
    const CairoSurface surface(
        cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(canvas.pixels), format,
                                            canvas.width, canvas.height, canvas.stride * 4));
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

void frame(const Canvas& canvas, const RECT& area, std::uint32_t color, int thickness) {
    const RECT inner{area.left + thickness, area.top + thickness, area.right - thickness,
                     area.bottom - thickness};
    if (isEmpty(area)) return;
    for (const RECT& side : difference(area, inner)) fill(canvas, side, color);
}

void blend(const Canvas& canvas, POINT at, const std::vector<std::uint32_t>& pixels, int side) {
    if (!side) return;
    // The source is only read.
    const CairoSurface source(cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(const_cast<std::uint32_t*>(pixels.data())),
        CAIRO_FORMAT_ARGB32, side, side, side * 4));
    const Cairo context = cairoOn(canvas);
    cairo_set_source_surface(context.get(), source.get(), at.x, at.y);
    cairo_paint(context.get());
}

SIZE measureText(std::u16string_view text, const Face& face, int width) {
    std::uint32_t pixel = 0;
    return sizeOf(layoutOf(cairoOn({&pixel, 1, 1, 1}), text, face, width));
}

void drawText(const Canvas& canvas, const RECT& area, std::u16string_view text,
              const TextStyle& style) {
    if (isEmpty(area) || text.empty()) return;
    const Cairo context = cairoOn(canvas);
    addRectangle(context, area);
    cairo_clip(context.get());
    const Layout layout = layoutOf(context, text, style.face, area.right - area.left);
    if (style.underlined >= 0) underline(layout, text, style.underlined);
    if (style.selected) {
        const SIZE size = sizeOf(layout);
        fill(canvas, {area.left, area.top, area.left + size.cx, area.top + size.cy}, look::accent);
    }
    setColor(context, style.color);
    cairo_move_to(context.get(), area.left, area.top);
    pango_cairo_show_layout(context.get(), layout.get());
}

RECT drawLine(const Canvas& canvas, const RECT& area, std::u16string_view text,
              const TextStyle& style, bool isCentered) {
    RECT covered = centered(area, measureText(text, style.face));
    if (!isCentered) covered = moved(covered, area.left - covered.left, 0);
    drawText(canvas, {covered.left, covered.top, area.right, area.bottom}, text, style);
    return covered;
}

}  // namespace gdi

// What the sanitizers may find in the libraries that this file uses, which were built without them.
// They ask for these by name.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig\n"; }
extern "C" const char* __lsan_default_options();
extern "C" const char* __lsan_default_options() { return "print_suppressions=0"; }
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "race:libfontconfig\nrace:libglib\nrace:libpango\nrace:libcairo\n"
           "deadlock:libdbus\n";
}
