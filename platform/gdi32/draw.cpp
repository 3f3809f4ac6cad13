// Painting on a window: filled and framed rectangles, and text.

#include <utility>

#include "platform/core/call.h"
#include "platform/gdi32/brush.h"
#include "platform/gdi32/objects.h"
#include "platform/gdi32/text.h"

// A brush that could not be made paints nothing.
int FillRect(HDC context, const RECT* rectangle, HBRUSH brush) {
    desktop::Call call("FillRect", context, rectangle, brush);
    const gdi::PaintContext& target = gdi::contextOf(context, "FillRect");
    if (call.struck() || !brush) return call.fail(ERROR_INVALID_HANDLE);
    gdi::fill(target.canvas, *rectangle, gdi::brushPixel(brush, "FillRect"));
    return 1;
}

int FrameRect(HDC context, const RECT* rectangle, HBRUSH brush) {
    desktop::Call call("FrameRect", context, rectangle, brush);
    const gdi::PaintContext& target = gdi::contextOf(context, "FrameRect");
    if (call.struck() || !brush) return call.fail(ERROR_INVALID_HANDLE);
    gdi::frame(target.canvas, *rectangle, gdi::brushPixel(brush, "FrameRect"));
    return 1;
}

int SetBkMode(HDC context, int mode) {
    desktop::Call call("SetBkMode", context, mode);
    if (mode != TRANSPARENT) desktop::refuse("SetBkMode", "mode", mode);
    gdi::PaintContext& found = gdi::contextOf(context, "SetBkMode");
    const int before = found.opaqueText ? OPAQUE : TRANSPARENT;
    found.opaqueText = false;
    return before;
}

COLORREF SetTextColor(HDC context, COLORREF color) {
    desktop::Call call("SetTextColor", context, color);
    gdi::PaintContext& found = gdi::contextOf(context, "SetTextColor");
    return std::exchange(found.textColor, color);
}

int DrawTextW(HDC context, LPCWSTR text, int length, LPRECT rectangle, UINT format) {
    desktop::Call call("DrawTextW", context, text, length, rectangle, format);
    if (length != -1) desktop::refuse("DrawTextW", "length", length);
    if (format != DT_WORDBREAK) desktop::refuse("DrawTextW", "format", format);
    const gdi::PaintContext& found = gdi::contextOf(context, "DrawTextW");
    if (found.opaqueText) desktop::refuse("DrawTextW", "background mode", OPAQUE);
    if (call.struck()) return call.fail(ERROR_INVALID_HANDLE);
    gdi::TextStyle style;
    style.face = gdi::systemFace;
    style.color = gdi::pixelOf(found.textColor);
    gdi::drawText(found.canvas, *rectangle, text, style);
    return gdi::measureText(text, style.face, rectangle->right - rectangle->left).cy;
}
