// Small windows with a text: the balloon where the desktop shows no notices, and the tray icon's
// tip.

#include "platform/hosts/x11/note.h"

#include <cairo-xcb.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <map>
#include <memory>

#include "platform/hosts/x11/display.h"
#include "platform/hosts/x11/host.h"

namespace host::x11 {

namespace {

constexpr int textWidth = 300, padding = 12, gap = 4, barWidth = 4;  // at 96 dpi

struct Note {
    NoteText text;
    double scale;
    int width, height;
    POINT corner;  // the lower right
};
std::map<xcb_window_t, Note> notes;

struct Layouts {
    explicit Layouts(cairo_t* drawing, const NoteText& text, double scale)
        : title(make(drawing, text.title, "Sans Bold 9", scale)),
          body(make(drawing, text.body, "Sans 9", scale)) {}

    struct Unref {
        void operator()(PangoLayout* layout) const { g_object_unref(layout); }
    };
    using Layout = std::unique_ptr<PangoLayout, Unref>;

    static Layout make(cairo_t* drawing, const std::string& text, const char* font, double scale) {
        Layout layout(pango_cairo_create_layout(drawing));
        PangoFontDescription* const description = pango_font_description_from_string(font);
        pango_font_description_set_absolute_size(description, 12 * scale * PANGO_SCALE);
        pango_layout_set_font_description(layout.get(), description);
        pango_font_description_free(description);
        pango_layout_set_width(layout.get(), static_cast<int>(textWidth * scale * PANGO_SCALE));
        pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
        pango_layout_set_text(layout.get(), text.c_str(), -1);
        return layout;
    }
    static int height(const Layout& layout) {
        int high = 0;
        pango_layout_get_pixel_size(layout.get(), nullptr, &high);
        return high;
    }
    static int width(const Layout& layout) {
        int wide = 0;
        pango_layout_get_pixel_size(layout.get(), &wide, nullptr);
        return wide;
    }

    Layout title, body;
};

void measure(Note& note) {
    cairo_surface_t* const nothing = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1, 1);
    cairo_t* const drawing = cairo_create(nothing);
    {
        const Layouts layouts(drawing, note.text, note.scale);
        const int inside = std::max(Layouts::width(layouts.title), Layouts::width(layouts.body));
        const int above =
            note.text.title.empty() ? 0 : Layouts::height(layouts.title) + int(gap * note.scale);
        note.width = inside + int((2 * padding + barWidth) * note.scale);
        note.height = above + Layouts::height(layouts.body) + int(2 * padding * note.scale);
    }
    cairo_destroy(drawing);
    cairo_surface_destroy(nothing);
}

void paint(cairo_t* drawing, const Note& note) {
    cairo_set_source_rgb(drawing, 0.98, 0.98, 0.98);
    cairo_paint(drawing);
    cairo_set_source_rgb(drawing, 0.55, 0.55, 0.55);
    cairo_set_line_width(drawing, 1);
    cairo_rectangle(drawing, 0.5, 0.5, note.width - 1, note.height - 1);
    cairo_stroke(drawing);
    if (note.text.isError)
        cairo_set_source_rgb(drawing, 0.80, 0.13, 0.13);
    else
        cairo_set_source_rgb(drawing, 0.16, 0.42, 0.72);
    cairo_rectangle(drawing, 1, 1, barWidth * note.scale, note.height - 2);
    cairo_fill(drawing);
    const Layouts layouts(drawing, note.text, note.scale);
    cairo_set_source_rgb(drawing, 0.1, 0.1, 0.1);
    cairo_move_to(drawing, int((barWidth + padding) * note.scale), int(padding * note.scale));
    if (!note.text.title.empty()) {
        pango_cairo_show_layout(drawing, layouts.title.get());
        cairo_rel_move_to(drawing, 0, Layouts::height(layouts.title) + int(gap * note.scale));
    }
    pango_cairo_show_layout(drawing, layouts.body.get());
}

void draw(xcb_window_t window, const Note& note) {
    cairo_surface_t* const surface =
        cairo_xcb_surface_create(connection(), window, rootVisual().type, note.width, note.height);
    cairo_t* const drawing = cairo_create(surface);
    paint(drawing, note);
    cairo_destroy(drawing);
    cairo_surface_destroy(surface);
    xcb_flush(connection());
}

}  // namespace

xcb_window_t showNote(const NoteText& text, POINT corner, UINT dpi) {
    Note note{text, dpi / 96.0, 0, 0, corner};
    measure(note);
    const xcb_window_t window = xcb_generate_id(connection());
    const std::uint32_t values[] = {screen().white_pixel, 1,
                                    XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_BUTTON_PRESS};
    xcb_create_window(connection(), screen().root_depth, window, root(),
                      static_cast<std::int16_t>(corner.x - note.width),
                      static_cast<std::int16_t>(corner.y - note.height),
                      static_cast<std::uint16_t>(note.width),
                      static_cast<std::uint16_t>(note.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      screen().root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    nameWindow(window, text.body);
    xcb_map_window(connection(), window);
    xcb_flush(connection());
    notes[window] = note;
    return window;
}

void hideNote(xcb_window_t& note) {
    if (notes.erase(note)) xcb_destroy_window(connection(), note);
    note = 0;
    xcb_flush(connection());
}

std::optional<RECT> boundsOfNote(xcb_window_t note) {
    const auto found = notes.find(note);
    if (found == notes.end()) return std::nullopt;
    const Note& shown = found->second;
    return RECT{shown.corner.x - shown.width, shown.corner.y - shown.height, shown.corner.x,
                shown.corner.y};
}

bool noteEvent(const xcb_generic_event_t& event) {
    const int type = typeOf(event);
    if (type == XCB_EXPOSE) {
        const auto found = notes.find(reinterpret_cast<const xcb_expose_event_t&>(event).window);
        if (found == notes.end()) return false;
        draw(found->first, found->second);
        return true;
    }
    if (type != XCB_BUTTON_PRESS) return false;
    xcb_window_t window = reinterpret_cast<const xcb_button_press_event_t&>(event).event;
    if (!notes.contains(window)) return false;
    hideNote(window);
    return true;
}

}  // namespace host::x11
