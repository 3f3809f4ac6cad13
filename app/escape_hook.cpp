// The temporary low-level keyboard hook.
//
// It runs on the user-interface thread, while that thread looks at its queue, and every key of the
// desktop waits for it. So it only looks and posts; what Esc means is decided when the message
// arrives.

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
    // With Alt held the press comes as WM_SYSKEYDOWN.
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
