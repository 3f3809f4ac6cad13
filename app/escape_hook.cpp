// The system calls a low-level hook on the thread that installed it, while that thread retrieves
// messages, and holds every key of the desktop until it returns. So this one only posts; the
// controller decides what Esc means when the message arrives.

#include "app/escape_hook.h"

#include <windows.h>

#include <utility>

#include "app/application.h"
#include "common/messages.h"

namespace {

HHOOK escapeHook = nullptr;

LRESULT CALLBACK escapeHookProc(int code, WPARAM wparam, LPARAM lparam) noexcept {
    const auto* const key = reinterpret_cast<const KBDLLHOOKSTRUCT*>(lparam);
    if (code != HC_ACTION || key->vkCode != VK_ESCAPE) {
        return CallNextHookEx(escapeHook, code, wparam, lparam);
    }
    // With Alt held, the press is WM_SYSKEYDOWN.
    if (wparam == WM_KEYDOWN || wparam == WM_SYSKEYDOWN) {
        PostMessageW(trayWindow, WM_APP_STOP_REQUEST, 0, 0);
    }
    return 1;
}

}  // namespace

bool installEscapeHook() {
    escapeHook = SetWindowsHookExW(WH_KEYBOARD_LL, escapeHookProc, instanceHandle, 0);
    return escapeHook != nullptr;
}

void removeEscapeHook() {
    if (HHOOK const leaving = std::exchange(escapeHook, nullptr)) UnhookWindowsHookEx(leaving);
}
