// Brushes and regions, and what the program paints with them on a window.

#include "platform/gdi32/canvas.h"

#include <utility>

#include "platform/core/call.h"
#include "platform/core/objects.h"

namespace {

struct PaintContext {
    gdi::Canvas canvas;
    COLORREF textColor = 0;
    bool opaqueText = true;
};

desktop::HandleTable<HBRUSH, COLORREF> brushes(0x21000000, "Brush");
desktop::HandleTable<HRGN, std::vector<RECT>> regions(0x22000000, "Region");
desktop::HandleTable<HDC, PaintContext> contexts(0x23000000, "PaintContext");

// Stock objects stand outside the table: they are never deleted.
const HBRUSH whiteBrush = reinterpret_cast<HBRUSH>(std::uintptr_t{0x20000001});

std::vector<RECT> subtract(const std::vector<RECT>& from, const std::vector<RECT>& what) {
    std::vector<RECT> rest = from;
    for (const RECT& hole : what) {
        std::vector<RECT> pieces;
        for (const RECT& area : rest)
            for (const RECT& piece : gdi::difference(area, hole)) pieces.push_back(piece);
        rest = pieces;
    }
    return rest;
}

std::uint32_t brushPixel(const desktop::Call& call, HBRUSH brush) {
    if (brush == whiteBrush) return gdi::pixelOf(RGB(255, 255, 255));
    const COLORREF* const color = brushes.find(brush);
    if (!color) call.refuse("brush", brush);
    return gdi::pixelOf(*color);
}

PaintContext& contextOf(const desktop::Call& call, HDC context) {
    PaintContext* const found = contexts.find(context);
    if (!found) call.refuse("paint context", context);
    return *found;
}

// A brush that could not be made paints nothing.
template <typename Paint>
int paintWith(desktop::Call& call, HDC context, HBRUSH brush, Paint paint) {
    const PaintContext& target = contextOf(call, context);
    if (call.struck() || !brush) return call.fail(ERROR_INVALID_HANDLE);
    paint(target.canvas, brushPixel(call, brush));
    return 1;
}

int kindOf(const std::vector<RECT>& region) {
    if (region.empty()) return NULLREGION;
    return region.size() == 1 ? SIMPLEREGION : COMPLEXREGION;
}

}  // namespace

namespace gdi {

HDC openContext(const Canvas& canvas) { return contexts.add({canvas}); }

void closeContext(HDC context) { contexts.remove(context); }

std::optional<std::vector<RECT>> takeRegion(HRGN region) {
    std::vector<RECT>* const found = regions.find(region);
    if (!found) return std::nullopt;
    std::vector<RECT> taken = std::move(*found);
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
    const RECT area{left, top, right, bottom};
    return regions.add(gdi::isEmpty(area) ? std::vector<RECT>{} : std::vector<RECT>{area});
}

int CombineRgn(HRGN target, HRGN first, HRGN second, int mode) {
    desktop::Call call("CombineRgn", target, first, second, mode);
    call.only("mode", mode, RGN_DIFF);
    std::vector<RECT>* const result = regions.find(target);
    const std::vector<RECT>* const from = regions.find(first);
    const std::vector<RECT>* const what = regions.find(second);
    if (call.struck() || !result || !from || !what) return call.fail(ERROR_INVALID_HANDLE);
    *result = subtract(*from, *what);
    return kindOf(*result);
}

// Deleting what is gone already, or what belongs to a window, is a fault of the program's own. Null
// is what it has after a failure.
BOOL DeleteObject(HGDIOBJ object) {
    desktop::Call call("DeleteObject", object);
    if (!object) return call.fail(ERROR_INVALID_HANDLE);
    if (object == whiteBrush) return TRUE;
    if (brushes.remove(object) || regions.remove(object)) return TRUE;
    call.refuse("object", object);
}

int FillRect(HDC context, const RECT* rectangle, HBRUSH brush) {
    desktop::Call call("FillRect", context, rectangle, brush);
    return paintWith(call, context, brush, [&](const gdi::Canvas& canvas, std::uint32_t color) {
        gdi::fill(canvas, *rectangle, color);
    });
}

int FrameRect(HDC context, const RECT* rectangle, HBRUSH brush) {
    desktop::Call call("FrameRect", context, rectangle, brush);
    return paintWith(call, context, brush, [&](const gdi::Canvas& canvas, std::uint32_t color) {
        gdi::frame(canvas, *rectangle, color);
    });
}

int SetBkMode(HDC context, int mode) {
    desktop::Call call("SetBkMode", context, mode);
    call.only("mode", mode, TRANSPARENT);
    PaintContext& found = contextOf(call, context);
    const int before = found.opaqueText ? OPAQUE : TRANSPARENT;
    found.opaqueText = false;
    return before;
}

COLORREF SetTextColor(HDC context, COLORREF color) {
    desktop::Call call("SetTextColor", context, color);
    PaintContext& found = contextOf(call, context);
    return std::exchange(found.textColor, color);
}

int DrawTextW(HDC context, LPCWSTR text, int length, LPRECT rectangle, UINT format) {
    desktop::Call call("DrawTextW", context, text, length, rectangle, format);
    call.only("length", length, -1);
    call.only("format", format, DT_WORDBREAK);
    const PaintContext& found = contextOf(call, context);
    call.only("opaque background", found.opaqueText, false);
    if (call.struck()) return call.fail(ERROR_INVALID_HANDLE);
    const gdi::TextStyle style{gdi::systemFace, gdi::pixelOf(found.textColor)};
    gdi::drawText(found.canvas, *rectangle, text, style);
    return gdi::measureText(text, style.face, rectangle->right - rectangle->left).cy;
}
