// Brushes and regions, and what the program paints with them on a window.

#include "platform/gdi32/canvas.h"

#include <string>
#include <utility>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/core/text.h"

namespace {

struct PaintContext {
    gdi::Canvas canvas;
    COLORREF textColor = 0;
    bool opaqueText = true;
};

desktop::HandleTable<HBRUSH, COLORREF> brushes(0x21000000, "Brush");
desktop::HandleTable<HRGN, std::vector<RECT>> regions(0x22000000, "Region");
desktop::HandleTable<HDC, PaintContext> contexts(0x23000000, "PaintContext");

// A stock object is in no table: it is never deleted.
const HBRUSH whiteBrush = reinterpret_cast<HBRUSH>(std::uintptr_t{0x20000001});

constexpr std::uint32_t pixelOf(COLORREF color) {
    return (color & 0xFF) << 16 | (color & 0xFF00) | (color >> 16 & 0xFF);
}

PaintContext& contextOf(const desktop::Call& call, HDC context) {
    PaintContext* const found = contexts.find(context);
    if (!found) call.refuse("paint context", context);
    return *found;
}

// A brush that could not be made paints nothing.
int paintWith(desktop::Call& call, HDC context, HBRUSH brush, const std::vector<RECT>& areas) {
    const gdi::Canvas& canvas = contextOf(call, context).canvas;
    if (call.struck() || !brush) return call.fail(ERROR_INVALID_HANDLE);
    const COLORREF* const color = brushes.find(brush);
    if (!color && brush != whiteBrush) call.refuse("brush", brush);
    for (const RECT& area : areas) gdi::fill(canvas, area, color ? pixelOf(*color) : 0xFFFFFF);
    return 1;
}

}  // namespace

namespace gdi {

HDC openContext(const Canvas& canvas) { return contexts.add({canvas}); }

Canvas closeContext(HDC context) {
    const Canvas canvas = contexts.find(context)->canvas;
    contexts.remove(context);
    return canvas;
}

std::optional<std::vector<RECT>> takeRegion(HRGN region) {
    const std::vector<RECT>* const found = regions.find(region);
    std::optional<std::vector<RECT>> taken;
    if (found) taken = *found;
    regions.remove(region);
    return taken;
}

}  // namespace gdi

HBRUSH CreateSolidBrush(COLORREF color) {
    desktop::Call call("CreateSolidBrush", color);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    return brushes.add(color);
}

HGDIOBJ GetStockObject(int object) {
    desktop::Call call("GetStockObject", object);
    call.only("object", object, WHITE_BRUSH);
    return whiteBrush;
}

HRGN CreateRectRgn(int left, int top, int right, int bottom) {
    desktop::Call call("CreateRectRgn", left, top, right, bottom);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    return regions.add({{left, top, right, bottom}});
}

int CombineRgn(HRGN target, HRGN first, HRGN second, int mode) {
    desktop::Call call("CombineRgn", target, first, second, mode);
    call.only("mode", mode, RGN_DIFF);
    std::vector<RECT>* const result = regions.find(target);
    const std::vector<RECT>* const from = regions.find(first);
    const std::vector<RECT>* const what = regions.find(second);
    if (from && what) call.only("parts of regions", from->size() * what->size(), 1);
    if (call.struck() || !result || !from || !what) return call.fail(ERROR_INVALID_HANDLE);
    *result = gdi::difference(from->front(), what->front());
    if (result->empty()) return NULLREGION;
    return result->size() == 1 ? SIMPLEREGION : COMPLEXREGION;
}

// Deleting what has gone already, or what belongs to a window or the system, is the program's
// mistake. Null is what it has after a failure.
BOOL DeleteObject(HGDIOBJ object) {
    desktop::Call call("DeleteObject", object);
    if (!object) return call.fail(ERROR_INVALID_HANDLE);
    if (brushes.remove(object) || regions.remove(object)) return TRUE;
    call.refuse("object", object);
}

int FillRect(HDC context, const RECT* rectangle, HBRUSH brush) {
    desktop::Call call("FillRect", context, rectangle, brush);
    return paintWith(call, context, brush, {*rectangle});
}

int FrameRect(HDC context, const RECT* rectangle, HBRUSH brush) {
    desktop::Call call("FrameRect", context, rectangle, brush);
    return paintWith(call, context, brush, gdi::difference(*rectangle, gdi::inset(*rectangle, 1)));
}

int SetBkMode(HDC context, int mode) {
    desktop::Call call("SetBkMode", context, mode);
    call.only("mode", mode, TRANSPARENT);
    return std::exchange(contextOf(call, context).opaqueText, false) ? OPAQUE : TRANSPARENT;
}

COLORREF SetTextColor(HDC context, COLORREF color) {
    desktop::Call call("SetTextColor", context, color);
    return std::exchange(contextOf(call, context).textColor, color);
}

int DrawTextW(HDC context, LPCWSTR text, int length, LPRECT rectangle, UINT format) {
    desktop::Call call("DrawTextW", context, text, length, rectangle, format);
    call.only("length", length, -1);
    call.only("format", format, DT_WORDBREAK);
    const PaintContext& found = contextOf(call, context);
    call.only("opaque background", found.opaqueText, false);
    if (call.struck()) return call.fail(ERROR_INVALID_HANDLE);
    // The bitmap font that a fresh paint context has: lines 16 pixels apart, never scaled.
    const gdi::TextStyle style{13, pixelOf(found.textColor), true};
    const std::string shown = desktop::toUtf8(text);
    gdi::drawText(found.canvas, *rectangle, shown, style);
    return gdi::measureText(shown, style, rectangle->right - rectangle->left).cy;
}
