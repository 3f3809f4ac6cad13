// The published operations on messages, and what a window does with those that its procedure
// passes on.

#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/core/mailbox.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"
#include "platform/user32/input.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

// Windows of other processes that FindWindowW has found.
desktop::HandleTable<HWND, desktop::Mailbox> strangers(0x40000000);

// Any thread.
HWND ownWindow(const std::u16string& className) {
    return desktop::withShown([&](desktop::Shown& shown) -> HWND {
        for (const auto& [handle, window] : shown.windows)
            if (desktop::lowered(desktop::toUtf16(window.className)) == desktop::lowered(className))
                return handle;
        return nullptr;
    });
}

// Messages that the layer itself sends and whose default is to do nothing.
bool isKnown(UINT message) {
    constexpr UINT silent[] = {
        WM_NULL,       WM_CREATE,     WM_DESTROY,       WM_NCDESTROY,      WM_GETMINMAXINFO,
        WM_SIZE,       WM_NCCALCSIZE, WM_ACTIVATE,      WM_SETFOCUS,       WM_KILLFOCUS,
        WM_KEYDOWN,    WM_KEYUP,      WM_SYSKEYUP,      WM_CAPTURECHANGED, WM_DESTROYCLIPBOARD,
        WM_ENDSESSION, WM_ERASEBKGND, WM_DISPLAYCHANGE, WM_TIMER,          WM_HOTKEY};
    return std::ranges::find(silent, message) != std::end(silent) ||
           (message >= WM_MOUSEMOVE && message <= WM_MBUTTONUP) ||
           (message >= WM_APP && message <= 0xFFFF);
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

using namespace user32;

BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last) {
    desktop::Call call("GetMessageW", window, first, last);
    if (window || first || last) call.refuse("filter", first);
    waitFor(*message);
    return message->message != WM_QUIT;
}

// WM_QUIT is retrieved whatever the filter, but nothing is for the handle of a destroyed window.
BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT remove) {
    desktop::Call call("PeekMessageW", window, first, last, remove);
    call.only("remove", remove, PM_REMOVE);
    if (window && !find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return peek(*message, {window, first, last});
}

// Characters are made where they are needed, by the dialogs' own keyboard handling.
BOOL TranslateMessage(const MSG* message) {
    desktop::Call call("TranslateMessage", message->message);
    return message->message >= WM_KEYDOWN && message->message <= WM_SYSKEYUP;
}

LRESULT DispatchMessageW(const MSG* message) {
    desktop::Call call("DispatchMessageW", message->message);
    return send(message->hwnd, message->message, message->wParam, message->lParam);
}

BOOL PostMessageW(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    desktop::Call call("PostMessageW", window, message, wparam);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_QUOTA);
    switch (post({window, message, wparam, lparam, 0, {}})) {
    case Posted::NoWindow: return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    case Posted::Full: return call.fail(ERROR_NOT_ENOUGH_QUOTA);
    case Posted::Yes: break;
    }
    settleMenuOf(window);
    return TRUE;
}

LRESULT SendMessageW(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    desktop::Call call("SendMessageW", window, message, wparam, lparam);
    if (!find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return send(window, message, wparam, lparam);
}

LRESULT SendMessageTimeoutW(HWND window, UINT message, WPARAM wparam, LPARAM lparam, UINT flags,
                            UINT milliseconds, PDWORD_PTR result) {
    desktop::Call call("SendMessageTimeoutW", window, message, wparam, lparam, flags, milliseconds);
    if (flags != (SMTO_BLOCK | SMTO_ABORTIFHUNG)) call.refuse("flags", flags);
    if (call.struck()) return call.fail(ERROR_TIMEOUT);
    const desktop::Mailbox* const mailbox = strangers.find(window);
    if (!mailbox && !isLive(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (!mailbox) {
        *result = static_cast<DWORD_PTR>(send(window, message, wparam, lparam));
        return TRUE;
    }
    const auto answer = desktop::sendMail(*mailbox, message, wparam, lparam, milliseconds);
    if (!answer) return call.fail(ERROR_TIMEOUT);
    *result = static_cast<DWORD_PTR>(*answer);
    return TRUE;
}

void PostQuitMessage(int code) {
    desktop::Call call("PostQuitMessage", code);
    postQuit(code);
}

UINT RegisterWindowMessageW(LPCWSTR text) {
    desktop::Call call("RegisterWindowMessageW", text);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    return desktop::registeredMessage(text);
}

BOOL IsWindow(HWND window) {
    desktop::Call call("IsWindow", window);
    return isLive(window);
}

HWND FindWindowW(LPCWSTR className, LPCWSTR title) {
    desktop::Call call("FindWindowW", className, title);
    if (title) call.refuse("title", 1);
    if (call.struck()) return nullptr;
    if (const HWND own = ownWindow(className)) return own;
    const auto mailbox = desktop::findMailbox(className);
    return mailbox ? strangers.add(*mailbox) : nullptr;
}

DWORD GetWindowThreadProcessId(HWND window, LPDWORD process) {
    desktop::Call call("GetWindowThreadProcessId", window);
    const desktop::Mailbox* const mailbox = strangers.find(window);
    if (call.struck() || (!mailbox && !isLive(window)))
        return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    *process = static_cast<DWORD>(mailbox ? mailbox->process : getpid());
    return *process;
}

// Only a program that may take the foreground itself can pass the right on. It travels to a window
// of the other process, which FindWindowW has found.
BOOL AllowSetForegroundWindow(DWORD process) {
    desktop::Call call("AllowSetForegroundWindow", process);
    if (process == 0) call.refuse("process", process);
    if (call.struck() || !mayTakeForeground()) return call.fail(ERROR_ACCESS_DENIED);
    for (const auto& [handle, mailbox] : strangers.records)
        if (static_cast<DWORD>(mailbox.process) == process)
            return desktop::sendMail(mailbox, desktop::registeredMessage(foregroundMail), 0, 0, 0),
                   TRUE;
    return call.fail(ERROR_INVALID_PARAMETER);
}

LRESULT DefWindowProcW(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    desktop::Call call("DefWindowProcW", message);
    return answerMessage(window, message, wparam, lparam);
}

void desktop::postToWindow(const std::string& className, UINT message, WPARAM wparam,
                           LPARAM lparam) {
    if (user32::post({user32::ownWindow(toUtf16(className)), message, wparam, lparam, 0, {}}) !=
        user32::Posted::Yes)
        throw std::runtime_error("No window of the class " + className);
}
