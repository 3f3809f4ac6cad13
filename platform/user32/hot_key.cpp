// Hot keys: one combination has one owner on the whole desktop.

#include "platform/user32/hot_key.h"

#include <algorithm>
#include <vector>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

struct HotKey {
    HWND window;
    int id;
    UINT modifiers, key;
};
std::vector<HotKey> hotKeys;

auto combination(UINT modifiers, UINT key) {
    return std::find_if(hotKeys.begin(), hotKeys.end(), [&](const HotKey& entry) {
        return entry.modifiers == modifiers && entry.key == key;
    });
}

void release(std::vector<HotKey>::iterator entry) {
    host::current().releaseHotKey(entry->modifiers, entry->key);
    desktop::closed(desktop::Object::HotKey);
    hotKeys.erase(entry);
}

}  // namespace

bool isHotKey(const host::Event& press, bool isRepeat) {
    const auto found = combination(press.modifiers, press.key);
    if (found == hotKeys.end()) return false;
    if (!isRepeat)
        post({found->window,
              WM_HOTKEY,
              static_cast<WPARAM>(found->id),
              MAKELPARAM(found->modifiers, found->key),
              0,
              {}});
    return true;
}

void releaseHotKeysOf(HWND window) {
    for (std::size_t at = hotKeys.size(); at-- > 0;)
        if (hotKeys[at].window == window)
            release(hotKeys.begin() + static_cast<std::ptrdiff_t>(at));
}

}  // namespace user32

BOOL RegisterHotKey(HWND window, int id, UINT modifiers, UINT key) {
    desktop::Call call("RegisterHotKey", window, id, modifiers, key);
    constexpr UINT all = MOD_ALT | MOD_CONTROL | MOD_SHIFT | MOD_WIN;
    if (!(modifiers & MOD_NOREPEAT) || modifiers & ~(all | MOD_NOREPEAT))
        desktop::refuse("RegisterHotKey", "modifiers", modifiers);
    for (const user32::HotKey& entry : user32::hotKeys)
        if (entry.window == window && entry.id == id)
            desktop::refuse("RegisterHotKey", "id that is in use", id);
    const UINT held = modifiers & all;
    if (call.struck()) return call.fail(ERROR_HOTKEY_ALREADY_REGISTERED);
    if (!user32::find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (user32::combination(held, key) != user32::hotKeys.end() ||
        !host::current().grabHotKey(held, key))
        return call.fail(ERROR_HOTKEY_ALREADY_REGISTERED);
    desktop::opened(desktop::Object::HotKey);
    user32::hotKeys.push_back({window, id, held, key});
    return TRUE;
}

BOOL UnregisterHotKey(HWND window, int id) {
    desktop::Call call("UnregisterHotKey", window, id);
    if (!user32::find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    const auto found = std::find_if(
        user32::hotKeys.begin(), user32::hotKeys.end(),
        [&](const user32::HotKey& entry) { return entry.window == window && entry.id == id; });
    if (found == user32::hotKeys.end()) return call.fail(ERROR_HOTKEY_NOT_REGISTERED);
    user32::release(found);
    return TRUE;
}
