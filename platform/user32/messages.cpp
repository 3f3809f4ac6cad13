// The published operations on messages.

#include <unistd.h>

#include "platform/core/call.h"
#include "platform/core/handle_table.h"
#include "platform/core/mailbox.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"
#include "platform/user32/activation.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/modal.h"
#include "platform/user32/thread.h"
#include "platform/user32/window.h"

namespace {

// Windows of other processes that FindWindowW has found.
desktop::HandleTable<HWND, desktop::Mailbox> strangers(0x40000000);

HWND ownWindow(const std::u16string& className) {
    const std::u16string wanted = desktop::lowered(className);
    return desktop::withShown([&](desktop::Shown& shown) -> HWND {
        for (const desktop::ShownHandle& entry : shown.windows)
            if (desktop::lowered(desktop::toUtf16(entry.window.className)) == wanted)
                return entry.handle;
        return nullptr;
    });
}

}  // namespace

BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last) {
    desktop::Call call("GetMessageW", window, first, last);
    if (window || first || last) desktop::refuse("GetMessageW", "filter", first);
    if (user32::waitFor(*message) == user32::Found::Message) return message->message != WM_QUIT;
    user32::takeQuit(*message);
    return FALSE;
}

// The quit comes out whatever the filter says, but a dead window's handle brings nothing at all.
BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT remove) {
    desktop::Call call("PeekMessageW", window, first, last, remove);
    if (remove != PM_REMOVE) desktop::refuse("PeekMessageW", "remove", remove);
    if (window && !user32::find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    const user32::Found found = user32::peek(*message, {window, first, last});
    if (found == user32::Found::Quit) user32::takeQuit(*message);
    return found != user32::Found::Nothing;
}

// Characters are made where they are needed, by the dialogs' own keyboard handling.
BOOL TranslateMessage(const MSG* message) {
    desktop::Call call("TranslateMessage", message->message);
    return message->message >= WM_KEYDOWN && message->message <= WM_SYSKEYUP;
}

LRESULT DispatchMessageW(const MSG* message) {
    desktop::Call call("DispatchMessageW", message->message);
    return user32::send(message->hwnd, message->message, message->wParam, message->lParam);
}

BOOL PostMessageW(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    desktop::Call call("PostMessageW", window, message, wparam);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_QUOTA);
    switch (user32::post({window, message, wparam, lparam, 0, {}})) {
    case user32::Posted::NoWindow: return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    case user32::Posted::Full: return call.fail(ERROR_NOT_ENOUGH_QUOTA);
    case user32::Posted::Yes: break;
    }
    user32::settleMenuOf(window);
    return TRUE;
}

LRESULT SendMessageW(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    desktop::Call call("SendMessageW", window, message, wparam, lparam);
    if (!user32::find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return user32::send(window, message, wparam, lparam);
}

LRESULT SendMessageTimeoutW(HWND window, UINT message, WPARAM wparam, LPARAM lparam, UINT flags,
                            UINT milliseconds, PDWORD_PTR result) {
    desktop::Call call("SendMessageTimeoutW", window, message, wparam, lparam, flags, milliseconds);
    if (flags != (SMTO_BLOCK | SMTO_ABORTIFHUNG))
        desktop::refuse("SendMessageTimeoutW", "flags", flags);
    if (call.struck()) return call.fail(ERROR_TIMEOUT);
    const desktop::Mailbox* const mailbox = strangers.find(window);
    if (!mailbox && !user32::isLive(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (!mailbox) {
        *result = static_cast<DWORD_PTR>(user32::send(window, message, wparam, lparam));
        return TRUE;
    }
    const auto answer = desktop::sendMail(*mailbox, message, wparam, lparam, milliseconds);
    if (!answer) return call.fail(ERROR_TIMEOUT);
    *result = static_cast<DWORD_PTR>(*answer);
    return TRUE;
}

void PostQuitMessage(int code) {
    desktop::Call call("PostQuitMessage", code);
    user32::postQuit(code);
}

UINT RegisterWindowMessageW(LPCWSTR text) {
    desktop::Call call("RegisterWindowMessageW", text);
    if (call.struck()) return static_cast<UINT>(call.fail(ERROR_NOT_ENOUGH_MEMORY));
    return desktop::registeredMessage(text);
}

BOOL IsWindow(HWND window) {
    desktop::Call call("IsWindow", window);
    return user32::isLive(window);
}

HWND FindWindowW(LPCWSTR className, LPCWSTR title) {
    desktop::Call call("FindWindowW", className, title);
    if (title) desktop::refuse("FindWindowW", "title", 1);
    if (call.struck()) return nullptr;
    if (const HWND own = ownWindow(className)) return own;
    const auto mailbox = desktop::findMailbox(className);
    return mailbox ? strangers.add(*mailbox) : nullptr;
}

DWORD GetWindowThreadProcessId(HWND window, LPDWORD process) {
    desktop::Call call("GetWindowThreadProcessId", window);
    const desktop::Mailbox* const mailbox = strangers.find(window);
    if (call.struck() || (!mailbox && !user32::isLive(window)))
        return static_cast<DWORD>(call.fail(ERROR_INVALID_WINDOW_HANDLE));
    *process = static_cast<DWORD>(mailbox ? mailbox->process : getpid());
    return *process;
}

// Only a program that may take the foreground itself can pass the right on. It travels to a window
// of the other process, which FindWindowW has found.
BOOL AllowSetForegroundWindow(DWORD process) {
    desktop::Call call("AllowSetForegroundWindow", process);
    if (process == 0) desktop::refuse("AllowSetForegroundWindow", "process", process);
    if (call.struck() || !user32::mayTakeForeground()) return call.fail(ERROR_ACCESS_DENIED);
    for (const auto& [handle, mailbox] : strangers.records)
        if (static_cast<DWORD>(mailbox.process) == process)
            return desktop::sendMail(mailbox, desktop::registeredMessage(user32::foregroundMail), 0,
                                     0, 0),
                   TRUE;
    return call.fail(ERROR_INVALID_PARAMETER);
}
