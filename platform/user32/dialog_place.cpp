// Where a dialog and its controls are, at which scale, and how they are drawn.

#include <algorithm>

#include "platform/gdi32/text.h"
#include "platform/user32/activation.h"
#include "platform/user32/dialog.h"
#include "platform/user32/icon.h"
#include "platform/user32/look.h"
#include "platform/user32/monitor.h"

namespace user32 {

namespace {

constexpr int border = 1;  // pixel, at any scale

int captionHeight(UINT dpi) { return scaled(30, dpi); }

int across(const Dialog& dialog, LONG units) { return (units * dialog.letter.cx + 2) / 4; }
int down(const Dialog& dialog, LONG units) { return (units * dialog.letter.cy + 4) / 8; }

SIZE sizeOf(const Dialog& dialog) {
    return {across(dialog, dialog.width) + 2 * border,
            captionHeight(dialog.dpi) + down(dialog, dialog.height) + border};
}

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
    if (canMinimize())
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

void paintControls(const Dialog& dialog, const gdi::Canvas& canvas) {
    for (std::size_t index = 0; index < dialog.controls.size(); ++index) {
        const Control& control = dialog.controls[index];
        const int number = static_cast<int>(index);
        paintControl(canvas, areaOf(dialog, control), control, dialog.dpi,
                     {isActive(dialog) && dialog.focus == number,
                      dialog.pressed == number && dialog.over, isDefault(dialog, number)});
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

RECT captionOf(const Dialog& dialog) {
    return {border, border, sizeOf(dialog).cx - border, captionHeight(dialog.dpi)};
}

bool canMinimize() { return host::current().hasTaskbar; }

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

RECT centeredOn(const Dialog& dialog, const RECT& area) {
    const SIZE size = sizeOf(dialog);
    const LONG left = (area.left + area.right - size.cx) / 2;
    const LONG top = (area.top + area.bottom - size.cy) / 2;
    return {left, top, left + size.cx, top + size.cy};
}

// The middle stays where it is, so that the new size cannot bring the dialog to another monitor.
// The controls follow by themselves; the window's place is up to the program.
void settle(Dialog& dialog, bool bringIn) {
    const RECT bounds = find(dialog.window)->bounds;
    const host::Monitor monitor =
        nearestMonitor({(bounds.left + bounds.right) / 2, (bounds.top + bounds.bottom) / 2});
    if (bringIn) place(*find(dialog.window), movedInto(monitor.bounds, bounds));
    if (monitor.dpi != dialog.dpi) {
        setDpi(dialog, monitor.dpi);
        const RECT wanted = movedInto(monitor.bounds, centeredOn(dialog, bounds));
        send(dialog.window, WM_DPICHANGED, MAKEWPARAM(monitor.dpi, monitor.dpi),
             reinterpret_cast<LPARAM>(&wanted));
    }
    showChange(dialog);
}

// Only the program opens it again: nothing here presses the taskbar's button.
void minimize(Dialog& dialog) {
    Window& window = *find(dialog.window);
    window.minimized = true;
    setVisible(window, false);
    leaveActivation(dialog.window);
}

void paint(Dialog& dialog) {
    Window& window = *find(dialog.window);
    const gdi::Canvas canvas{window.pixels.data(), width(window), height(window), width(window)};
    const RECT whole{0, 0, canvas.width, canvas.height};
    gdi::fill(canvas, whole, look::face);
    paintCaption(dialog, canvas, window.title);
    paintControls(dialog, canvas);
    gdi::frame(canvas, whole, look::border);
    window.dirty = {};
    present(window);
}

}  // namespace user32
