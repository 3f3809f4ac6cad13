// The controls of a dialog and its caption: where they are, how they are painted, and what a user
// does with them.

#include "platform/user32/dialog.h"

#include <windowsx.h>

#include <cctype>
#include <cmath>
#include <utility>

#include "platform/user32/resources.h"

namespace user32 {

namespace {

bool isButton(const Control& control) {
    return control.kind == ControlKind::CheckBox || control.kind == ControlKind::PushButton;
}

bool isTabStop(const Control& control) {
    return control.enabled && (isButton(control) || control.kind == ControlKind::Box);
}

bool isOfCaption(const Control& control) { return control.kind >= ControlKind::Close; }

bool hasMnemonic(const Control& control) {
    return control.kind == ControlKind::Label || isButton(control);
}

// A push button is the default one while it has the focus.
bool isDefault(const Control& control) {
    const Control* const focus = control.dialog->focus;
    if (focus && focus->kind == ControlKind::PushButton) return &control == focus;
    return control.isPreferred;
}

int unit(const Control& control, int length) { return gdi::scaled(length, control.dialog->dpi); }

bool isPressed(const Control& control) {
    return control.dialog->pressed == &control && control.dialog->over;
}

gdi::TextStyle styleOf(const Control& control) {
    const bool dimmed = isOfCaption(control) ? !isActive(*control.dialog) : !control.enabled;
    gdi::TextStyle style = look::text(control.dialog->dpi, dimmed);
    style.mnemonic = hasMnemonic(control);
    return style;
}

void paintCaption(const Control& control, const gdi::Canvas& canvas) {
    RECT area = control.area;
    if (const Icon* const icon = findIcon(control.dialog->icons[ICON_SMALL])) {
        const host::IconImage image = iconImage(icon->id, icon->side);
        const LONG top = gdi::centered(area, {image.side, image.side}).top;
        area.left += unit(control, 8);
        gdi::blend(canvas, {area.left, top}, image.pixels, image.side);
        area.left += image.side;
    }
    area.left += unit(control, 10);
    gdi::drawLine(canvas, area, control.text, styleOf(control));
}

// A character in the middle of the area serves as an image.
void paintCaptionButton(const Control& control, const gdi::Canvas& canvas, const char* image) {
    if (isPressed(control)) gdi::panel(canvas, control.area, look::paper, look::border);
    gdi::drawLine(canvas, control.area, image, {unit(control, 20), styleOf(control).color}, true);
}

void paintBox(const Control& control, const gdi::Canvas& canvas) {
    const RECT& area = control.area;
    gdi::panel(canvas, area, control.enabled ? look::paper : look::face,
               control.focused ? look::accent : look::border,
               control.focused ? unit(control, 2) : 1);
    const RECT inner{area.left + unit(control, 6), area.top, area.right, area.bottom};
    const bool selected = control.focused && control.selected;
    gdi::TextStyle style = styleOf(control);
    if (selected) style.color = look::paper;
    const RECT text = gdi::drawLine(canvas, inner, control.text, style);
    if (!selected) return;
    gdi::fill(canvas, text, look::accent);
    gdi::drawLine(canvas, inner, control.text, style);
}

// Dots are whole pixels.
void paintFocus(const Control& control, const gdi::Canvas& canvas, const RECT& area) {
    if (!control.focused) return;
    const gdi::Cairo context = gdi::cairoOn(canvas);
    const double dot = 1;
    gdi::setColor(context, look::ink);
    cairo_set_line_width(context.get(), 1);
    cairo_set_dash(context.get(), &dot, 1, 0.5);
    cairo_rectangle(context.get(), area.left + 0.5, area.top + 0.5, area.right - area.left - 1,
                    area.bottom - area.top - 1);
    cairo_stroke(context.get());
}

void paintCheckBox(const Control& control, const gdi::Canvas& canvas) {
    const RECT& area = control.area;
    const int side = unit(control, 13), gap = unit(control, 6);
    const RECT square =
        gdi::centered({area.left, area.top, area.left + side, area.bottom}, {side, side});
    gdi::panel(canvas, square, isPressed(control) ? look::light : look::paper,
               control.enabled ? look::border : look::line);
    const std::uint32_t color = control.enabled ? look::accent : look::faint;
    if (control.checked) gdi::drawLine(canvas, square, "\u2713", {side, color, true}, true);
    const RECT beside{square.right + gap, area.top, area.right, area.bottom};
    const RECT text = gdi::drawLine(canvas, beside, control.text, styleOf(control));
    paintFocus(control, canvas,
               {text.left - gap / 2, text.top - 1, text.right + gap / 2, text.bottom + 1});
}

void paintButton(const Control& control, const gdi::Canvas& canvas) {
    const bool isMarked = isDefault(control);
    gdi::panel(canvas, control.area, isPressed(control) ? look::light : look::paper,
               isMarked ? look::accent : look::border, isMarked ? 2 : 1);
    gdi::drawLine(canvas, control.area, control.text, styleOf(control), true);
    paintFocus(control, canvas, gdi::inset(control.area, unit(control, 4)));
}

// A disc or a triangle with a character on it.
void paintSign(const Control& control, const gdi::Canvas& canvas) {
    const RECT& area = control.area;
    const UINT icon = control.dialog->box->icon;
    const bool isWarning = icon == MB_ICONWARNING, isError = icon == MB_ICONERROR;
    const double x = (area.left + area.right) / 2.0, y = (area.top + area.bottom) / 2.0;
    const double radius = (area.right - area.left) / 2.0;
    const gdi::Cairo context = gdi::cairoOn(canvas);
    gdi::setColor(context, isError ? 0xC42B1C : isWarning ? 0xF5C211 : look::accent);
    if (isWarning)
        for (const double turn : {0.0, 2.1, 4.2})
            cairo_line_to(context.get(), x + radius * std::sin(turn), y - radius * std::cos(turn));
    else
        cairo_arc(context.get(), x, y, radius, 0, 6.2832);
    cairo_fill(context.get());
    const char* const image = isError ? "\u2715" : isWarning ? "!" : "i";
    const std::uint32_t color = isWarning ? look::ink : look::paper;
    gdi::drawLine(canvas, area, image, {unit(control, 20), color, true}, true);
}

void paintControl(const Control& control, const gdi::Canvas& canvas) {
    switch (control.kind) {
    case ControlKind::Sign: return paintSign(control, canvas);
    case ControlKind::Words:
    case ControlKind::Label:
        return gdi::drawText(canvas, control.area, control.text, styleOf(control));
    case ControlKind::Box: return paintBox(control, canvas);
    case ControlKind::CheckBox: return paintCheckBox(control, canvas);
    case ControlKind::PushButton: return paintButton(control, canvas);
    case ControlKind::Close: return paintCaptionButton(control, canvas, "\u00D7");
    case ControlKind::Minimize: return paintCaptionButton(control, canvas, "\u2212");
    case ControlKind::Caption: return paintCaption(control, canvas);
    }
}

// As a click on it does. Disabled ones do nothing.
void click(Control& control) {
    Dialog& dialog = *control.dialog;
    if (control.kind == ControlKind::Close) send(dialog.window, WM_SYSCOMMAND, SC_CLOSE, 0);
    if (control.kind == ControlKind::Minimize) send(dialog.window, WM_SYSCOMMAND, SC_MINIMIZE, 0);
    if (!control.enabled || !isButton(control)) return;
    if (control.kind == ControlKind::CheckBox) control.checked = !control.checked;
    showChange(dialog);
    send(dialog.window, WM_COMMAND, MAKEWPARAM(control.id, BN_CLICKED),
         reinterpret_cast<LPARAM>(control.handle));
}

// Whether the key is that of the underlined letter.
bool isMnemonic(const Control& control, UINT key) {
    const std::size_t mark = hasMnemonic(control) ? control.text.find('&') : control.text.npos;
    if (mark == control.text.npos) return false;
    return std::toupper(static_cast<unsigned char>(control.text[mark + 1])) ==
           static_cast<int>(key);
}

// The search begins after the focus, so that a letter of two controls moves on to the next.
void useMnemonic(Dialog& dialog, UINT key) {
    Control* const found = nextIn(dialog.controls, dialog.focus, false, [&](const Control& each) {
        return each.enabled && isMnemonic(each, key);
    });
    if (!found) return;
    setFocus(dialog, isButton(*found) ? found : nextTabStop(dialog, found), true);
    click(*found);
}

void pressPlainKey(Dialog& dialog, UINT key) {
    const UINT held = state.modifiers;
    const Control* const focus = dialog.focus;
    switch (key) {
    case VK_TAB: return setFocus(dialog, nextTabStop(dialog, focus, held & MOD_SHIFT), true);
    case VK_RETURN:
        if (Control* const found = nextIn(dialog.controls, nullptr, false, isDefault))
            click(*found);
        return;
    case VK_ESCAPE: send(dialog.window, WM_COMMAND, IDCANCEL, 0); return;
    case VK_SPACE:
        if (!focus || !isButton(*focus)) return;
        dialog.pressed = dialog.focus;
        dialog.over = true;
        return showChange(dialog);
    default:
        if (held & MOD_CONTROL || (focus && focus->kind == ControlKind::Box)) return;
        useMnemonic(dialog, key);
    }
}

void pressKey(Dialog& dialog, UINT key, bool system) {
    dialog.loneAlt = system && (key == VK_MENU || key == VK_F10);
    if (!system) return pressPlainKey(dialog, key);
    switch (key) {
    case VK_F4: send(dialog.window, WM_SYSCOMMAND, SC_CLOSE, 0); return;
    case VK_SPACE: send(dialog.window, WM_SYSCOMMAND, SC_KEYMENU, VK_SPACE); return;
    default: useMnemonic(dialog, key);
    }
}

// A button that the space bar holds is clicked when the key is released.
void releaseKey(Dialog& dialog, UINT key) {
    if ((key == VK_MENU || key == VK_F10) && dialog.loneAlt) {
        dialog.loneAlt = false;
        send(dialog.window, WM_SYSCOMMAND, SC_KEYMENU, 0);
        return;
    }
    Control* const pressed = dialog.pressed;
    if (key != VK_SPACE || !pressed || capture() == dialog.window) return;
    loseInput(dialog);
    click(*pressed);
}

// Texts take no clicks.
Control* controlAt(Dialog& dialog, POINT at) {
    return nextIn(dialog.controls, nullptr, false, [&](const Control& control) {
        return (isTabStop(control) || isOfCaption(control)) && gdi::contains(control.area, at);
    });
}

void pressPointer(Dialog& dialog, POINT at) {
    Control* const found = controlAt(dialog, at);
    dialog.loneAlt = false;
    if (found && isTabStop(*found)) setFocus(dialog, found, false);
    dialog.pressed = found;
    dialog.over = true;
    dialog.grip = at;
    if (found) setCapture(dialog.window);
    showChange(dialog);
}

void movePointer(Dialog& dialog, POINT at) {
    if (capture() != dialog.window) return;
    if (dialog.pressed && dialog.pressed->kind == ControlKind::Caption) {
        Window& window = *find(dialog.window);
        place(window, gdi::moved(window.bounds, at.x - dialog.grip.x, at.y - dialog.grip.y));
    }
    dialog.over = controlAt(dialog, at) == dialog.pressed;
    showChange(dialog);
}

// A click is a press and a release at the same spot.
void releasePointer(Dialog& dialog, POINT at) {
    if (capture() != dialog.window) return;
    Control* const pressed = dialog.pressed;
    setCapture(nullptr);
    if (!pressed) return;
    if (pressed->kind == ControlKind::Caption) return settle(dialog, false);
    if (controlAt(dialog, at) == pressed) click(*pressed);
}

}  // namespace

// A letter's width is the average of the alphabet's, in upper and lower case.
void layOut(Dialog& dialog, UINT dpi) {
    dialog.dpi = dpi;
    SIZE letter =
        gdi::measureText("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz", look::text(dpi));
    letter.cx = (letter.cx / 26 + 1) / 2;
    if (dialog.box) letter = {4, 8};
    const auto across = [&](LONG units) { return (units * letter.cx + 2) / 4; };
    const auto down = [&](LONG units) { return (units * letter.cy + 4) / 8; };
    constexpr int border = 1;  // pixel, at any scale
    const LONG top = gdi::scaled(30, dpi), button = (top - border) * 3 / 2;
    dialog.size = {across(dialog.units.cx) + 2 * border, top + down(dialog.units.cy) + border};
    LONG right = dialog.size.cx - border;
    for (Control& control : dialog.controls) {
        const RECT& units = control.units;
        control.area = {border + across(units.left), top + down(units.top),
                        border + across(units.right), top + down(units.bottom)};
        if (!isOfCaption(control)) continue;
        const LONG left = control.kind == ControlKind::Caption ? border : right - button;
        control.area = {left, border, std::exchange(right, left), top};
    }
}

// The middle stays where it is, so that the new size cannot bring the dialog to another monitor.
// The window's position is up to the program. A message box keeps the scale that it was opened
// with.
void settle(Dialog& dialog, bool bringIn) {
    Window& window = *find(dialog.window);
    const RECT bounds = window.bounds;
    const host::Monitor monitor = monitorOf(window);
    if (bringIn) place(window, gdi::movedInto(monitor.bounds, bounds));
    if (monitor.dpi != dialog.dpi && !dialog.box) {
        layOut(dialog, monitor.dpi);
        const RECT wanted = gdi::movedInto(monitor.bounds, gdi::centered(bounds, dialog.size));
        send(dialog.window, WM_DPICHANGED, MAKEWPARAM(monitor.dpi, monitor.dpi),
             reinterpret_cast<LPARAM>(&wanted));
    }
    showChange(dialog);
}

void paint(const Dialog& dialog, const gdi::Canvas& canvas) {
    const RECT whole{0, 0, canvas.width, canvas.height};
    const LONG caption = dialog.controls.back().area.bottom;
    gdi::panel(canvas, whole, look::face, look::border);
    gdi::fill(canvas, {1, 1, whole.right - 1, caption + dialog.paper}, look::paper);
    for (const Control& control : dialog.controls) paintControl(control, canvas);
}

Control* nextTabStop(Dialog& dialog, const Control* from, bool backwards) {
    return nextIn(dialog.controls, from, backwards, isTabStop);
}

void setFocus(Dialog& dialog, Control* control, bool byKey) {
    if (control) control->selected = byKey;
    dialog.focus = control;
    dialog.pressed = nullptr;
    showChange(dialog);
}

// The control keeps the focus, for the dialog's return.
void loseInput(Dialog& dialog) {
    dialog.loneAlt = false;
    dialog.pressed = nullptr;
    showChange(dialog);
}

bool takeInputMessage(Dialog& dialog, UINT message, WPARAM wparam, LPARAM lparam) {
    const POINT at{GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)};
    const UINT key = static_cast<UINT>(wparam);
    switch (message) {
    case WM_KEYDOWN:
    case WM_SYSKEYDOWN: return pressKey(dialog, key, message == WM_SYSKEYDOWN), true;
    case WM_KEYUP:
    case WM_SYSKEYUP: return releaseKey(dialog, key), true;
    case WM_LBUTTONDOWN: return pressPointer(dialog, at), true;
    case WM_MOUSEMOVE: return movePointer(dialog, at), true;
    case WM_LBUTTONUP: return releasePointer(dialog, at), true;
    case WM_CAPTURECHANGED: return loseInput(dialog), true;
    default: return false;
    }
}

}  // namespace user32
