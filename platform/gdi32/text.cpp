// Text by pango on an image surface of cairo's that shares the canvas's memory.

#include "platform/gdi32/text.h"

#include <pango/pangocairo.h>

#include <memory>

#include "platform/core/text.h"

namespace gdi {

namespace {

struct Release {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(PangoLayout* layout) const { g_object_unref(layout); }
    void operator()(PangoFontDescription* font) const { pango_font_description_free(font); }
};
template <typename Object>
using Owned = std::unique_ptr<Object, Release>;

Owned<cairo_t> contextOn(const Canvas& canvas) {
    const Owned<cairo_surface_t> surface(cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(canvas.pixels), CAIRO_FORMAT_RGB24, canvas.width,
        canvas.height, canvas.stride * 4));
    return Owned<cairo_t>(cairo_create(surface.get()));
}

Owned<PangoLayout> layoutOf(cairo_t* context, std::u16string_view text, const Face& face,
                            int width) {
    Owned<PangoLayout> layout(pango_cairo_create_layout(context));
    const Owned<PangoFontDescription> font(pango_font_description_from_string("DejaVu Sans"));
    pango_font_description_set_absolute_size(font.get(), face.height * PANGO_SCALE);
    if (face.bold) pango_font_description_set_weight(font.get(), PANGO_WEIGHT_BOLD);
    pango_layout_set_font_description(layout.get(), font.get());
    const std::string utf8 = desktop::toUtf8(text);
    pango_layout_set_text(layout.get(), utf8.data(), static_cast<int>(utf8.size()));
    if (width > 0) pango_layout_set_width(layout.get(), width * PANGO_SCALE);
    pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
    return layout;
}

void underline(PangoLayout* layout, std::u16string_view text, int index) {
    const auto at = static_cast<std::size_t>(index);
    PangoAttribute* const line = pango_attr_underline_new(PANGO_UNDERLINE_SINGLE);
    line->start_index = static_cast<guint>(desktop::toUtf8(text.substr(0, at)).size());
    line->end_index = static_cast<guint>(desktop::toUtf8(text.substr(0, at + 1)).size());
    PangoAttrList* const list = pango_attr_list_new();
    pango_attr_list_insert(list, line);
    pango_layout_set_attributes(layout, list);
    pango_attr_list_unref(list);
}

void setColor(cairo_t* context, std::uint32_t color) {
    cairo_set_source_rgb(context, (color >> 16 & 0xFF) / 255.0, (color >> 8 & 0xFF) / 255.0,
                         (color & 0xFF) / 255.0);
}

}  // namespace

SIZE measureText(std::u16string_view text, const Face& face, int width) {
    std::uint32_t pixel = 0;
    const Owned<cairo_t> context = contextOn({&pixel, 1, 1, 1});
    SIZE size{};
    int across = 0, down = 0;
    pango_layout_get_pixel_size(layoutOf(context.get(), text, face, width).get(), &across, &down);
    size.cx = across;
    size.cy = down;
    return size;
}

void drawText(const Canvas& canvas, const RECT& area, std::u16string_view text,
              const TextStyle& style) {
    if (isEmpty(area) || text.empty()) return;
    const Owned<cairo_t> context = contextOn(canvas);
    cairo_rectangle(context.get(), area.left, area.top, area.right - area.left,
                    area.bottom - area.top);
    cairo_clip(context.get());
    const Owned<PangoLayout> layout =
        layoutOf(context.get(), text, style.face, area.right - area.left);
    if (style.centered) pango_layout_set_alignment(layout.get(), PANGO_ALIGN_CENTER);
    if (style.underlined >= 0) underline(layout.get(), text, style.underlined);
    if (style.selected) {
        int across = 0, down = 0;
        pango_layout_get_pixel_size(layout.get(), &across, &down);
        fill(canvas, {area.left, area.top, area.left + across, area.top + down}, 0x0067C0);
    }
    setColor(context.get(), style.color);
    cairo_move_to(context.get(), area.left, area.top);
    pango_cairo_show_layout(context.get(), layout.get());
}

}  // namespace gdi

// What the sanitizers may find in the libraries behind this file, which were built without them.
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
