// Painting a window: what is out of date, and the paint context over its pixels.

#include <utility>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/gdi32/objects.h"
#include "platform/user32/window.h"

namespace user32 {

// Always the whole window: nothing here is worth painting in parts.
void invalidate(Window& window, bool erase) {
    window.dirty = {0, 0, width(window), height(window)};
    window.erase |= erase;
}

void present(Window& window) {
    if (!isSeen(window)) return;
    host::current().presentSurface(
        window.surface, {window.pixels.data(), width(window), height(window), width(window)});
}

}  // namespace user32

BOOL InvalidateRect(HWND window, const RECT* rectangle, BOOL erase) {
    desktop::Call call("InvalidateRect", window, rectangle, erase);
    if (rectangle) desktop::refuse("InvalidateRect", "part of a window", rectangle->left);
    user32::Window* const record = user32::find(window);
    if (call.struck() || !record) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    user32::invalidate(*record, erase != FALSE);
    return TRUE;
}

// Validates the window, erases it if that is due, and opens a context that is clipped to what was
// out of date.
HDC BeginPaint(HWND window, PAINTSTRUCT* paint) {
    desktop::Call call("BeginPaint", window);
    *paint = {};
    user32::Window* const record = user32::find(window);
    if (!record) return call.fail(ERROR_INVALID_WINDOW_HANDLE), nullptr;
    if (record->painting) desktop::refuse("BeginPaint", "painting already", 1);
    paint->rcPaint = std::exchange(record->dirty, {});
    const bool erase = std::exchange(record->erase, false);
    const int width = user32::width(*record);
    const gdi::Canvas canvas{record->pixels.data(), width, user32::height(*record), width};
    record->painting = gdi::openContext(canvas);
    paint->hdc = record->painting;
    desktop::opened(desktop::Object::PaintContext);
    if (erase)
        paint->fErase =
            !user32::send(window, WM_ERASEBKGND, reinterpret_cast<WPARAM>(paint->hdc), 0);
    return paint->hdc;
}

BOOL EndPaint(HWND window, const PAINTSTRUCT* paint) {
    desktop::Call call("EndPaint", window);
    user32::Window* const record = user32::find(window);
    if (!record || record->painting != paint->hdc) desktop::refuse("EndPaint", "not painting", 1);
    gdi::closeContext(std::exchange(record->painting, nullptr));
    desktop::closed(desktop::Object::PaintContext);
    user32::present(*record);
    return TRUE;
}
