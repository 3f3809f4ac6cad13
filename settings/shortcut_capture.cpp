// A hook, because Alt+F4, Win and the dialog's own keys never arrive at the box as messages. The
// system holds every key of the desktop until it returns, so it only keeps the state of keys and
// posts.

#include "settings/shortcut_capture.h"

#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <utility>

#include "common/resource_ids.h"

namespace {

ShortcutCapture* current = nullptr;

bool isAnyDown(std::initializer_list<int> keys) {
    for (const int key : keys) {
        if (current->keyDown[key]) return true;
    }
    return false;
}

// Injected input can have the generic codes as well as the left and right ones.
std::uint32_t heldModifiers() {
    std::uint32_t modifiers = 0;
    if (isAnyDown({VK_MENU, VK_LMENU, VK_RMENU})) modifiers |= MOD_ALT;
    if (isAnyDown({VK_CONTROL, VK_LCONTROL, VK_RCONTROL})) modifiers |= MOD_CONTROL;
    if (isAnyDown({VK_SHIFT, VK_LSHIFT, VK_RSHIFT})) modifiers |= MOD_SHIFT;
    if (isAnyDown({VK_LWIN, VK_RWIN})) modifiers |= MOD_WIN;
    return modifiers;
}

bool isInBox() {
    return GetForegroundWindow() == current->dialog &&
           GetFocus() == GetDlgItem(current->dialog, IDC_SHORTCUT);
}

bool isPlainModifier(DWORD key) {
    return (key >= VK_SHIFT && key <= VK_MENU) || (key >= VK_LSHIFT && key <= VK_RMENU);
}

// Acts on a key pressed in the box. Returns true if the event is to be swallowed.
bool takePress(DWORD key) {
    if (isPlainModifier(key)) return false;
    const std::uint32_t modifiers = heldModifiers();
    switch (key) {
    case VK_LWIN:
    case VK_RWIN: return true;  // would open the Start menu
    case VK_TAB:
        if (modifiers & MOD_ALT) return false;
        PostMessageW(current->dialog, WM_NEXTDLGCTL, (modifiers & MOD_SHIFT) ? 1 : 0, 0);
        return true;
    case VK_ESCAPE: PostMessageW(current->dialog, WM_COMMAND, IDCANCEL, 0); return true;
    }
    PostMessageW(current->dialog, WM_APP_SHORTCUT_CAPTURED, modifiers, static_cast<LPARAM>(key));
    return true;
}

// Returns true if the event is to be swallowed.
bool handleKey(DWORD key, bool pressed) {
    if (key >= std::size(current->keyDown)) return false;
    // Whatever has the focus: it may move to the box while a modifier is held.
    current->keyDown[key] = pressed;
    // A release follows its press, even if the focus has moved: a window that received only one of
    // them would be confused.
    if (!pressed) return std::exchange(current->swallowed[key], false);
    if (!isInBox() || !takePress(key)) return false;
    current->swallowed[key] = true;
    return true;
}

LRESULT CALLBACK captureHookProc(int code, WPARAM wparam, LPARAM lparam) noexcept {
    if (!current) return CallNextHookEx(nullptr, code, wparam, lparam);
    const auto* const key = reinterpret_cast<const KBDLLHOOKSTRUCT*>(lparam);
    const bool pressed = wparam == WM_KEYDOWN || wparam == WM_SYSKEYDOWN;
    if (code == HC_ACTION && handleKey(key->vkCode, pressed)) return 1;
    return CallNextHookEx(current->hook, code, wparam, lparam);
}

}  // namespace

bool startShortcutCapture(ShortcutCapture& capture, HINSTANCE instance, HWND dialog) {
    capture.dialog = dialog;
    // Modifiers that are already held count, too.
    for (const int key :
         {VK_LCONTROL, VK_RCONTROL, VK_LSHIFT, VK_RSHIFT, VK_LMENU, VK_RMENU, VK_LWIN, VK_RWIN}) {
        capture.keyDown[key] = (GetAsyncKeyState(key) & 0x8000) != 0;
    }
    current = &capture;
    capture.hook = SetWindowsHookExW(WH_KEYBOARD_LL, captureHookProc, instance, 0);
    return capture.hook != nullptr;
}

void stopShortcutCapture() {
    ShortcutCapture* const ending = std::exchange(current, nullptr);
    if (ending && ending->hook) UnhookWindowsHookEx(ending->hook);
}

HWND capturingDialog() { return current ? current->dialog : nullptr; }
