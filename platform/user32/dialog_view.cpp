// Where a dialog and its controls are, at which scale, and what they look like.

#include "platform/user32/dialog.h"

#include <cmath>
#include <ranges>

#include "platform/user32/resources.h"

namespace user32 {

namespace {

constexpr int border = 1;  // pixel, at any scale

int captionHeight(const Dialog& dialog) { return gdi::scaled(30, dialog.dpi); }

int captionButton(const Dialog& dialog) { return (captionHeight(dialog) - border) * 3 / 2; }

int across(const Dialog& dialog, LONG units) { return (units * dialog.letter.cx + 2) / 4; }
int down(const Dialog& dialog, LONG units) { return (units * dialog.letter.cy + 4) / 8; }

// One control as it is to be drawn now.
struct View {
    const Control& control;
    const gdi::Canvas& canvas;
    RECT area;
    std::u16string text;  // without the mark of its mnemonic, which the style underlines instead
    gdi::TextStyle style;
    bool focused, pressed;

    int unit(int length) const { return gdi::scaled(length, control.dialog->dpi); }
};

View viewOf(const Control& control, const gdi::Canvas& canvas) {
    const Dialog& dialog = *control.dialog;
    const bool dimmed = control.kind >= ControlKind::Close ? !isActive(dialog) : !control.enabled;
    View view{control,
              canvas,
              areaOf(control),
              control.text,
              {look::textFace(dialog.dpi), dimmed ? look::faint : look::ink},
              isActive(dialog) && dialog.focus == &control,
              dialog.pressed == &control && dialog.over};
    const std::size_t mark = mnemonicMark(control);
    if (mark == view.text.npos) return view;
    view.style.underlined = static_cast<int>(mark);
    view.text.erase(mark, 1);
    return view;
}

void paintPanel(const View& view, const RECT& area, std::uint32_t color, std::uint32_t edge,
                int thickness = 1) {
    gdi::fill(view.canvas, area, color);
    gdi::frame(view.canvas, area, edge, thickness);
}

// A character in the middle of the area serves as an image.
void paintGlyph(const View& view, const RECT& area, std::u16string_view glyph, int height,
                std::uint32_t color, bool bold = false) {
    gdi::drawLine(view.canvas, area, glyph, {{height, bold}, color}, true);
}

void paintCaption(const View& view) {
    const Dialog& dialog = *view.control.dialog;
    const RECT& area = view.area;
    gdi::fill(view.canvas, area, look::paper);
    LONG left = area.left + view.unit(10);
    if (const Icon* const icon = findIcon(dialog.icons[ICON_SMALL])) {
        const RECT place = gdi::centered(area, {icon->side, icon->side});
        gdi::blend(view.canvas, {area.left + view.unit(8), place.top}, icon->pixels, icon->side);
        left += view.unit(8) + icon->side;
    }
    gdi::drawLine(view.canvas, {left, area.top, area.right - captionButton(dialog), area.bottom},
                  view.text, view.style);
}

void paintCaptionButton(const View& view, std::u16string_view glyph) {
    paintGlyph(view, view.area, glyph, view.unit(20), view.style.color);
    if (view.pressed) gdi::frame(view.canvas, view.area, look::border);
}

void paintBox(View view) {
    const RECT& area = view.area;
    paintPanel(view, area, view.control.enabled ? look::paper : look::face,
               view.focused ? look::accent : look::border, view.focused ? view.unit(2) : 1);
    view.style.selected = view.focused && view.control.selected;
    if (view.style.selected) view.style.color = look::paper;
    gdi::drawLine(view.canvas, {area.left + view.unit(6), area.top, area.right, area.bottom},
                  view.text, view.style);
}

void paintFocus(const View& view, const RECT& area) {
    if (!view.focused) return;
    const gdi::Cairo context = gdi::cairoOn(view.canvas);
    const double dot = 1;
    gdi::setColor(context, look::ink);
    cairo_set_line_width(context.get(), 1);
    cairo_set_dash(context.get(), &dot, 1, 0.5);  // Dots are whole pixels.
    cairo_rectangle(context.get(), area.left + 0.5, area.top + 0.5, area.right - area.left - 1,
                    area.bottom - area.top - 1);
    cairo_stroke(context.get());
}

void paintCheckBox(const View& view) {
    const RECT& area = view.area;
    const int side = view.unit(13), gap = view.unit(6);
    const LONG top = gdi::centered(area, {side, side}).top;
    const RECT square{area.left, top, area.left + side, top + side};
    const bool enabled = view.control.enabled;
    paintPanel(view, square, view.pressed ? look::light : look::paper,
               enabled ? look::border : look::line);
    if (view.control.checked)
        paintGlyph(view, square, u"\u2713", side, enabled ? look::accent : look::faint, true);
    const RECT beside{square.right + gap, area.top, area.right, area.bottom};
    const RECT text = gdi::drawLine(view.canvas, beside, view.text, view.style);
    paintFocus(view, {text.left - gap / 2, text.top - 1, text.right + gap / 2, text.bottom + 1});
}

void paintButton(const View& view) {
    const RECT& area = view.area;
    const bool isMarked = isDefault(view.control);
    paintPanel(view, area, view.pressed ? look::light : look::paper,
               isMarked ? look::accent : look::border, isMarked ? 2 : 1);
    gdi::drawLine(view.canvas, area, view.text, view.style, true);
    const int inset = view.unit(4);
    paintFocus(view,
               {area.left + inset, area.top + inset, area.right - inset, area.bottom - inset});
}

// A disc or a triangle with a character on it.
void paintSign(const View& view) {
    const RECT& area = view.area;
    const bool isWarning = view.control.sign == MB_ICONWARNING;
    const bool isError = view.control.sign == MB_ICONERROR;
    const double x = (area.left + area.right) / 2.0, y = (area.top + area.bottom) / 2.0;
    const double radius = (area.right - area.left) / 2.0;
    const gdi::Cairo context = gdi::cairoOn(view.canvas);
    gdi::setColor(context, isError ? 0xC42B1C : isWarning ? 0xF5C211 : look::accent);
    if (isWarning)
        for (const double turn : {0.0, 2.1, 4.2})
            cairo_line_to(context.get(), x + radius * std::sin(turn), y - radius * std::cos(turn));
    else
        cairo_arc(context.get(), x, y, radius, 0, 6.2832);
    cairo_fill(context.get());
    paintGlyph(view, area,
               isError     ? u"\u2715"
               : isWarning ? u"!"
                           : u"i",
               view.unit(20), isWarning ? look::ink : look::paper, true);
}

void paintControl(const View& view) {
    switch (view.control.kind) {
    case ControlKind::Label: return gdi::drawText(view.canvas, view.area, view.text, view.style);
    case ControlKind::Box: return paintBox(view);
    case ControlKind::CheckBox: return paintCheckBox(view);
    case ControlKind::PushButton: return paintButton(view);
    case ControlKind::Sign: return paintSign(view);
    case ControlKind::Close: return paintCaptionButton(view, u"\u00D7");
    case ControlKind::Minimize: return paintCaptionButton(view, u"\u2212");
    case ControlKind::Caption: return paintCaption(view);
    }
}

}  // namespace

// A letter's width is the average of the alphabet's, in capitals and small ones.
void setDpi(Dialog& dialog, UINT dpi) {
    const SIZE alphabet = gdi::measureText(u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz",
                                           look::textFace(dpi));
    dialog.dpi = dpi;
    dialog.letter = {(alphabet.cx / 26 + 1) / 2, alphabet.cy};
}

SIZE sizeOf(const Dialog& dialog) {
    return {across(dialog, dialog.width) + 2 * border,
            captionHeight(dialog) + down(dialog, dialog.height) + border};
}

RECT areaOf(const Control& control) {
    const Dialog& dialog = *control.dialog;
    const RECT& units = control.units;
    const LONG top = captionHeight(dialog), right = sizeOf(dialog).cx - border;
    const LONG button = captionButton(dialog);
    switch (control.kind) {
    case ControlKind::Close: return {right - button, border, right, top};
    case ControlKind::Minimize: return {right - 2 * button, border, right - button, top};
    case ControlKind::Caption: return {border, border, right, top};
    default:
        return {border + across(dialog, units.left), top + down(dialog, units.top),
                border + across(dialog, units.right), top + down(dialog, units.bottom)};
    }
}

// The middle stays where it is, so that the new size cannot bring the dialog to another monitor.
// The controls follow by themselves; the window's position is up to the program. A message box
// keeps the scale that it was opened with.
void settle(Dialog& dialog, bool bringIn) {
    Window& window = *find(dialog.window);
    const RECT bounds = window.bounds;
    const host::Monitor monitor = monitorOf(window);
    if (bringIn) place(window, gdi::movedInto(monitor.bounds, bounds));
    if (monitor.dpi != dialog.dpi && !window.ofTheLayer) {
        setDpi(dialog, monitor.dpi);
        const RECT wanted = gdi::movedInto(monitor.bounds, gdi::centered(bounds, sizeOf(dialog)));
        send(dialog.window, WM_DPICHANGED, MAKEWPARAM(monitor.dpi, monitor.dpi),
             reinterpret_cast<LPARAM>(&wanted));
    }
    showChange(dialog);
}

// From the last control to the first: the caption comes before its buttons.
void paint(const Dialog& dialog, const gdi::Canvas& canvas) {
    const RECT whole{0, 0, canvas.width, canvas.height};
    const int top = captionHeight(dialog);
    gdi::fill(canvas, whole, look::face);
    gdi::fill(canvas, {0, top, whole.right, top + down(dialog, dialog.paperHeight)}, look::paper);
    for (const Control& control : std::views::reverse(dialog.controls))
        paintControl(viewOf(control, canvas));
    gdi::frame(canvas, whole, look::border);
}

}  // namespace user32
