// Controls, made and drawn.

#include "platform/user32/control.h"

#include "platform/gdi32/text.h"
#include "platform/user32/look.h"
#include "platform/user32/monitor.h"

namespace user32 {

namespace {

// A text without its mark, and where the mark was.
struct MarkedText {
    std::u16string plain;
    gdi::TextStyle style;
};

MarkedText markedText(const Control& control, UINT dpi) {
    MarkedText text{control.text, {}};
    text.style.face = look::textFace(dpi);
    text.style.color = control.enabled ? look::ink : look::faint;
    const std::size_t mark = text.plain.find(u'&');
    if (mark == text.plain.npos) return text;
    text.plain.erase(mark, 1);
    text.style.underlined = static_cast<int>(mark);
    return text;
}

// One line in the middle of the height; gives back the place that it takes.
RECT drawLine(const gdi::Canvas& canvas, const RECT& area, const MarkedText& text) {
    const SIZE size = gdi::measureText(text.plain, text.style.face);
    const LONG top = area.top + (area.bottom - area.top - size.cy) / 2;
    gdi::drawText(canvas, {area.left, top, area.right, area.bottom}, text.plain, text.style);
    return {area.left, top, area.left + size.cx, top + size.cy};
}

void paintLabel(const gdi::Canvas& canvas, const RECT& area, const Control& control, UINT dpi) {
    const MarkedText text = markedText(control, dpi);
    gdi::drawText(canvas, area, text.plain, text.style);
}

void paintBox(const gdi::Canvas& canvas, const RECT& area, const Control& control, UINT dpi,
              const ControlState& state) {
    gdi::fill(canvas, area, control.enabled ? look::paper : look::face);
    gdi::frame(canvas, area, state.focused ? look::accent : look::border,
               state.focused ? scaled(2, dpi) : 1);
    MarkedText text{control.text, markedText(control, dpi).style};
    text.style.underlined = -1;
    text.style.selected = state.focused && control.selected;
    if (text.style.selected) text.style.color = look::paper;
    drawLine(canvas, {area.left + scaled(6, dpi), area.top, area.right, area.bottom}, text);
}

void paintCheckBox(const gdi::Canvas& canvas, const RECT& area, const Control& control, UINT dpi,
                   const ControlState& state) {
    const int side = scaled(13, dpi), gap = scaled(6, dpi);
    const LONG top = area.top + (area.bottom - area.top - side) / 2;
    const RECT square{area.left, top, area.left + side, top + side};
    gdi::fill(canvas, square, state.pressed ? look::light : look::paper);
    gdi::frame(canvas, square, control.enabled ? look::border : look::line);
    if (control.checked) look::checkMark(canvas, square, control.enabled);
    const RECT beside{square.right + gap, area.top, area.right, area.bottom};
    const RECT text = drawLine(canvas, beside, markedText(control, dpi));
    if (state.focused)
        look::focusRectangle(
            canvas, {text.left - gap / 2, text.top - 1, text.right + gap / 2, text.bottom + 1});
}

}  // namespace

bool isButton(const Control& control) {
    return control.kind == ControlKind::CheckBox || control.kind == ControlKind::PushButton;
}

bool isTabStop(const Control& control) { return (control.style & WS_TABSTOP) && control.enabled; }

UINT mnemonicOf(const Control& control) {
    const std::size_t mark = control.text.find(u'&');
    if (mark == control.text.npos || control.kind == ControlKind::Box) return 0;
    const WCHAR letter = control.text.c_str()[mark + 1];
    return letter >= u'a' && letter <= u'z' ? letter - u'a' + u'A' : letter;
}

void paintControl(const gdi::Canvas& canvas, const RECT& area, const Control& control, UINT dpi,
                  const ControlState& state) {
    switch (control.kind) {
    case ControlKind::Label: return paintLabel(canvas, area, control, dpi);
    case ControlKind::Box: return paintBox(canvas, area, control, dpi, state);
    case ControlKind::CheckBox: return paintCheckBox(canvas, area, control, dpi, state);
    case ControlKind::PushButton:
        return look::button(canvas, area, control.text, dpi,
                            {state.isDefault, state.focused, state.pressed, control.enabled});
    }
}

}  // namespace user32
