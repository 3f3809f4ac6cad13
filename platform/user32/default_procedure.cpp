// What a window does with the messages that its procedure passes on.

#include <utility>

#include "platform/core/call.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

// Messages that the layer itself sends and whose default is to do nothing.
bool isKnown(UINT message) {
    switch (message) {
    case WM_NULL:
    case WM_GETMINMAXINFO:
    case WM_NCCALCSIZE:
    case WM_SIZE:
    case WM_CREATE:
    case WM_DESTROY:
    case WM_NCDESTROY:
    case WM_ACTIVATE:
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
    case WM_ENDSESSION:
    case WM_DISPLAYCHANGE:
    case WM_ERASEBKGND:
    case WM_KEYDOWN:
    case WM_KEYUP:
    case WM_SYSKEYUP:
    case WM_TIMER:
    case WM_HOTKEY:
    case WM_CAPTURECHANGED:
    case WM_DESTROYCLIPBOARD: return true;
    default:
        return (message >= WM_MOUSEMOVE && message <= WM_MBUTTONUP) ||
               (message >= WM_APP && message <= 0xFFFF);
    }
}

LRESULT setCursor(HWND window, UINT spot) {
    Window* const record = find(window);
    if (!record || !record->cursor || spot != HTCLIENT) return FALSE;
    if (record->cursor == std::exchange(record->shownCursor, record->cursor)) return TRUE;
    host::current().setCursor(record->surface, record->cursor);
    publishWindows();
    return TRUE;
}

}  // namespace

LRESULT answerMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    switch (message) {
    case WM_NCCREATE:
    case WM_QUERYENDSESSION: return TRUE;
    case WM_NCHITTEST: return HTCLIENT;
    case WM_MOUSEACTIVATE: return MA_ACTIVATE;
    case WM_SETCURSOR: return setCursor(window, LOWORD(lparam));
    case WM_CLOSE: destroyWindow(window); return 0;
    case WM_SYSCOMMAND:
        if ((wparam & 0xFFF0) == SC_CLOSE) return send(window, WM_CLOSE, 0, 0);
        return 0;
    case WM_SYSKEYDOWN:
        if (wparam == VK_F4) post({window, WM_SYSCOMMAND, SC_CLOSE, 0, 0, {}});
        return 0;
    case WM_PAINT:
        if (Window* const record = find(window)) record->dirty = {};
        return 0;
    default:
        if (!isKnown(message)) desktop::refuse("DefWindowProcW", "message", message);
        return 0;
    }
}

}  // namespace user32

LRESULT DefWindowProcW(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    desktop::Call call("DefWindowProcW", message);
    return user32::answerMessage(window, message, wparam, lparam);
}
