// Where a dialog and its controls are, at which scale, and how they look.

#include <algorithm>

#include "platform/user32/dialog.h"
#include "platform/user32/look.h"
#include "platform/user32/window.h"
#include "platform/user32/resources.h"

namespace user32 {

namespace {

constexpr int border = 1;  // pixel, at any scale

int captionHeight(UINT dpi) { return scaled(30, dpi); }

int across(const Dialog& dialog, LONG units) { return (units * dialog.letter.cx + 2) / 4; }
int down(const Dialog& dialog, LONG units) { return (units * dialog.letter.cy + 4) / 8; }

// As close to `area` as possible without leaving `screen`; the upper left corner matters most.
RECT movedInto(const RECT& screen, const RECT& area) {
    const LONG left =
        std::max(screen.left, std::min(area.left, screen.right - (area.right - area.left)));
    const LONG top =
        std::max(screen.top, std::min(area.top, screen.bottom - (area.bottom - area.top)));
    return gdi::moved(area, left - area.left, top - area.top);
}

void paintButtons(const Dialog& dialog, const gdi::Canvas& canvas, const RECT& caption) {
    const RECT button = minimizeButton(caption);
    const LONG middle = (button.left + button.right) / 2, reach = scaled(5, dialog.dpi);
    const LONG top = (button.top + button.bottom) / 2;
    if (canMinimize(dialog))
        gdi::fill(canvas, {middle - reach, top, middle + reach, top + scaled(1, dialog.dpi)},
                  isActive(dialog) ? look::ink : look::faint);
    if (!dialog.over) return;
    if (dialog.pressed == onMinimize) gdi::frame(canvas, button, look::border);
    if (dialog.pressed == onClose) gdi::frame(canvas, look::closeButton(caption), look::border);
}

void paintCaption(const Dialog& dialog, const gdi::Canvas& canvas, std::u16string_view title) {
    const RECT area = captionOf(dialog);
    gdi::fill(canvas, area, look::paper);
    RECT beside = area;
    const Icon* const icon = findIcon(dialog.icons[ICON_SMALL]);
    if (icon) beside.left += scaled(8, dialog.dpi) + icon->side;
    look::caption(canvas, beside, title, dialog.dpi, isActive(dialog));
    if (icon) {
        const LONG top = area.top + (area.bottom - area.top - icon->side) / 2;
        gdi::blend(canvas, {beside.left - icon->side, top}, icon->pixels, icon->side);
    }
    paintButtons(dialog, canvas, area);
}

// One control as it is to be drawn now.
struct View {
    const gdi::Canvas& canvas;
    RECT area;
    UINT dpi;
    std::u16string text;  // without the mark of its mnemonic, which the style underlines instead
    gdi::TextStyle style;
    bool enabled, focused, pressed, isDefault;
};

View viewOf(const Dialog& dialog, int index, const gdi::Canvas& canvas) {
    const Control& control = dialog.controls[static_cast<std::size_t>(index)];
    const bool focused = isActive(dialog) && dialog.focus == index;
    View view{canvas,
              areaOf(dialog, control),
              dialog.dpi,
              control.text,
              {look::textFace(dialog.dpi), control.enabled ? look::ink : look::faint},
              control.enabled,
              focused,
              dialog.pressed == index && dialog.over,
              isDefault(dialog, index)};
    view.style.selected = focused && control.selected && control.kind == ControlKind::Box;
    const std::size_t mark = hasMnemonic(control) ? view.text.find(u'&') : view.text.npos;
    if (mark == view.text.npos) return view;
    view.style.underlined = static_cast<int>(mark);
    view.text.erase(mark, 1);
    return view;
}

void paintBox(View view) {
    const RECT& area = view.area;
    gdi::fill(view.canvas, area, view.enabled ? look::paper : look::face);
    gdi::frame(view.canvas, area, view.focused ? look::accent : look::border,
               view.focused ? scaled(2, view.dpi) : 1);
    if (view.style.selected) view.style.color = look::paper;
    look::drawLine(view.canvas,
                   {area.left + scaled(6, view.dpi), area.top, area.right, area.bottom}, view.text,
                   view.style);
}

void paintCheckBox(const View& view, bool checked) {
    const RECT& area = view.area;
    const int side = scaled(13, view.dpi), gap = scaled(6, view.dpi);
    const LONG top = area.top + (area.bottom - area.top - side) / 2;
    const RECT square{area.left, top, area.left + side, top + side};
    gdi::fill(view.canvas, square, view.pressed ? look::light : look::paper);
    gdi::frame(view.canvas, square, view.enabled ? look::border : look::line);
    if (checked) look::checkMark(view.canvas, square, view.enabled);
    const RECT beside{square.right + gap, area.top, area.right, area.bottom};
    const RECT text = look::drawLine(view.canvas, beside, view.text, view.style);
    if (view.focused)
        look::focusRectangle(view.canvas, {text.left - gap / 2, text.top - 1, text.right + gap / 2,
                                           text.bottom + 1});
}

void paintButton(const View& view) {
    const RECT& area = view.area;
    gdi::fill(view.canvas, area, view.pressed ? look::light : look::paper);
    gdi::frame(view.canvas, area, view.isDefault ? look::accent : look::border,
               view.isDefault ? 2 : 1);
    const SIZE size = gdi::measureText(view.text, view.style.face);
    look::drawLine(view.canvas, {gdi::centered(area, size).left, area.top, area.right, area.bottom},
                   view.text, view.style);
    const int inset = scaled(4, view.dpi);
    if (view.focused)
        look::focusRectangle(view.canvas, {area.left + inset, area.top + inset, area.right - inset,
                                           area.bottom - inset});
}

void paintControl(const Control& control, const View& view) {
    switch (control.kind) {
    case ControlKind::Label: return gdi::drawText(view.canvas, view.area, view.text, view.style);
    case ControlKind::Box: return paintBox(view);
    case ControlKind::CheckBox: return paintCheckBox(view, control.checked);
    case ControlKind::PushButton: return paintButton(view);
    case ControlKind::Sign: return look::sign(view.canvas, view.area, control.sign);
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
            captionHeight(dialog.dpi) + down(dialog, dialog.height) + border};
}

RECT captionOf(const Dialog& dialog) {
    return {border, border, sizeOf(dialog).cx - border, captionHeight(dialog.dpi)};
}

bool canMinimize(const Dialog& dialog) {
    return host::current().hasTaskbar && find(dialog.window)->style & WS_MINIMIZEBOX;
}

RECT minimizeButton(const RECT& caption) {
    const RECT close = look::closeButton(caption);
    return gdi::moved(close, close.left - close.right, 0);
}

RECT areaOf(const Dialog& dialog, const Control& control) {
    const int left = border, top = captionHeight(dialog.dpi);
    const RECT& units = control.units;
    return {left + across(dialog, units.left), top + down(dialog, units.top),
            left + across(dialog, units.right), top + down(dialog, units.bottom)};
}

// The middle stays where it is, so that the new size cannot bring the dialog to another monitor.
// The controls follow by themselves; the window's position is up to the program. A message box
// keeps the scale that it was opened with.
void settle(Dialog& dialog, bool bringIn) {
    Window& window = *find(dialog.window);
    const RECT bounds = window.bounds;
    const host::Monitor monitor = monitorOf(window);
    if (bringIn) place(window, movedInto(monitor.bounds, bounds));
    if (monitor.dpi != dialog.dpi && !window.ofTheLayer) {
        setDpi(dialog, monitor.dpi);
        const RECT wanted = movedInto(monitor.bounds, gdi::centered(bounds, sizeOf(dialog)));
        send(dialog.window, WM_DPICHANGED, MAKEWPARAM(monitor.dpi, monitor.dpi),
             reinterpret_cast<LPARAM>(&wanted));
    }
    showChange(dialog);
}

void paint(const Dialog& dialog, const gdi::Canvas& canvas) {
    const RECT whole{0, 0, canvas.width, canvas.height};
    const int top = captionHeight(dialog.dpi);
    gdi::fill(canvas, whole, look::face);
    gdi::fill(canvas, {0, top, whole.right, top + down(dialog, dialog.paperHeight)}, look::paper);
    paintCaption(dialog, canvas, find(dialog.window)->title);
    for (int index = 0; index < static_cast<int>(dialog.controls.size()); ++index)
        paintControl(dialog.controls[static_cast<std::size_t>(index)],
                     viewOf(dialog, index, canvas));
    gdi::frame(canvas, whole, look::border);
}

}  // namespace user32
