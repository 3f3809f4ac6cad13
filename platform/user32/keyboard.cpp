// The keyboard: keys and what is printed on them; hooks, which are called on the thread that
// installed them while it looks at its queue; hot keys, of which one combination has one owner on
// the whole desktop.

#include "platform/user32/input.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

struct Key {
    UINT scanCode;
    const WCHAR* name;
    // The second came later and has the code's extended form; the third means either side.
    UINT keys[3];
};

// Without the extended bit, which the program never sets, a navigation key has the name of its
// keypad twin.
constexpr Key keyboard[] = {
    {0x01, u"Esc", {VK_ESCAPE}},
    {0x0C, u"-", {VK_OEM_MINUS}},
    {0x0D, u"=", {VK_OEM_PLUS}},
    {0x0E, u"Backspace", {VK_BACK}},
    {0x0F, u"Tab", {VK_TAB}},
    {0x1A, u"[", {VK_OEM_4}},
    {0x1B, u"]", {VK_OEM_6}},
    {0x1C, u"Enter", {VK_RETURN}},
    {0x1D, u"Ctrl", {VK_LCONTROL, VK_RCONTROL, VK_CONTROL}},
    {0x27, u";", {VK_OEM_1}},
    {0x28, u"'", {VK_OEM_7}},
    {0x29, u"`", {VK_OEM_3}},
    {0x2A, u"Shift", {VK_LSHIFT, 0, VK_SHIFT}},
    {0x2B, u"\\", {VK_OEM_5}},
    {0x33, u",", {VK_OEM_COMMA}},
    {0x34, u".", {VK_OEM_PERIOD}},
    {0x35, u"/", {VK_OEM_2, VK_DIVIDE}},
    {0x36, u"Right Shift", {VK_RSHIFT}},
    {0x37, u"Num *", {VK_MULTIPLY}},
    {0x38, u"Alt", {VK_LMENU, VK_RMENU, VK_MENU}},
    {0x39, u"Space", {VK_SPACE}},
    {0x3A, u"Caps Lock", {VK_CAPITAL}},
    {0x45, u"Pause", {0, VK_NUMLOCK}},
    {0x46, u"Scroll Lock", {VK_SCROLL}},
    {0x47, u"Num 7", {VK_NUMPAD7, VK_HOME}},
    {0x48, u"Num 8", {VK_NUMPAD8, VK_UP}},
    {0x49, u"Num 9", {VK_NUMPAD9, VK_PRIOR}},
    {0x4A, u"Num -", {VK_SUBTRACT}},
    {0x4B, u"Num 4", {VK_NUMPAD4, VK_LEFT}},
    {0x4C, u"Num 5", {VK_NUMPAD5, 0, VK_CLEAR}},
    {0x4D, u"Num 6", {VK_NUMPAD6, VK_RIGHT}},
    {0x4E, u"Num +", {VK_ADD}},
    {0x4F, u"Num 1", {VK_NUMPAD1, VK_END}},
    {0x50, u"Num 2", {VK_NUMPAD2, VK_DOWN}},
    {0x51, u"Num 3", {VK_NUMPAD3, VK_NEXT}},
    {0x52, u"Num 0", {VK_NUMPAD0, VK_INSERT}},
    {0x53, u"Num Del", {VK_DECIMAL, VK_DELETE}},
    {0x54, u"Sys Req", {VK_SNAPSHOT}},
    {0x56, u"\\", {VK_OEM_102}},
    {0x5B, nullptr, {0, VK_LWIN}},
    {0x5C, nullptr, {0, VK_RWIN}},
    {0x5D, nullptr, {0, VK_APPS}},
};

// Neighbors whose names are their codes, by the first one's scan code.
constexpr std::pair<UINT, std::u16string_view> rows[] = {
    {0x02, u"1234567890"}, {0x10, u"QWERTYUIOP"}, {0x1E, u"ASDFGHJKL"}, {0x2C, u"ZXCVBNM"}};

// F1 to F10, and the later two.
constexpr UINT functionKeys = 0x3B, laterFunctionKeys = 0x57;

const Key* keyOf(UINT key) {
    const auto found = std::ranges::find_if(keyboard, [&](const Key& entry) {
        return key && std::ranges::find(entry.keys, key) != std::end(entry.keys);
    });
    return found == std::end(keyboard) ? nullptr : found;
}

std::u16string nameOf(UINT scanCode) {
    for (const auto& [first, names] : rows)
        if (scanCode >= first && scanCode < first + names.size())
            return std::u16string(1, names[scanCode - first]);
    for (UINT key = VK_F1; key < VK_F1 + 12; ++key)
        if (scanCodeOf(key) == scanCode) {
            const std::string number = std::to_string(key - VK_F1 + 1);
            return u'F' + std::u16string(number.begin(), number.end());
        }
    for (const Key& entry : keyboard)
        if (entry.scanCode == scanCode && entry.name) return entry.name;
    return {};
}

// By number, so that the next older hook is the one with the next smaller number, whatever was
// removed meanwhile.
std::map<std::uintptr_t, HOOKPROC> hooks;
std::uintptr_t nextNumber = 0x31000000;
std::uintptr_t currentNumber = 0;
const host::Event* currentEvent = nullptr;

// The system waits so long for an answer. After more misses than that it takes the hooks away
// without a word.
constexpr std::chrono::milliseconds timeLimit{300};
constexpr int mostMisses = 10;
int misses = 0;

bool isLate(const host::Event& event) {
    return event.time.time_since_epoch().count() &&
           std::chrono::steady_clock::now() - event.time > timeLimit;
}

LRESULT callBelow(std::uintptr_t number, int code, WPARAM wparam, LPARAM lparam) {
    auto found = hooks.lower_bound(number);
    if (found == hooks.begin()) return 0;
    --found;
    const std::uintptr_t outer = std::exchange(currentNumber, found->first);
    const LRESULT answer = found->second(code, wparam, lparam);
    currentNumber = outer;
    return answer;
}

KBDLLHOOKSTRUCT recordOf(const host::Event& event) {
    KBDLLHOOKSTRUCT record{};
    record.vkCode = event.key;
    record.scanCode = scanCodeOf(event.key);
    record.flags = (isExtended(event.key) ? LLKHF_EXTENDED : 0u) |
                   (event.modifiers & MOD_ALT ? LLKHF_ALTDOWN : 0u) |
                   (event.kind == host::Event::KeyReleased ? LLKHF_UP : 0u);
    record.time = messageTime();
    return record;
}

void forgetHooks() {
    if (!hooks.empty()) host::current().hookKeys(false);
    hooks.clear();
    misses = 0;
}

// What the hooks say, if they are called at all, comes too late to eat the event.
bool miss() {
    if (++misses <= mostMisses) return false;
    for (std::size_t count = hooks.size(); count > 0; --count)
        desktop::closed(desktop::Object::Hook);
    forgetHooks();
    return false;
}

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

void releaseHotKeysOf(HWND window) {
    for (std::size_t at = hotKeys.size(); at-- > 0;)
        if (hotKeys[at].window == window)
            release(hotKeys.begin() + static_cast<std::ptrdiff_t>(at));
}

const bool registered = registerFor(Moment::WindowIsDestroyed, releaseHotKeysOf) &&
                        registerFor(Moment::ThreadEnds, [](HWND) { forgetHooks(); });

}  // namespace

UINT scanCodeOf(UINT key) {
    for (const auto& [first, names] : rows)
        if (const auto at = names.find(static_cast<char16_t>(key)); key && at != names.npos)
            return first + static_cast<UINT>(at);
    if (key >= VK_F1 && key < VK_F1 + 10) return functionKeys + key - VK_F1;
    if (key >= VK_F1 + 10 && key < VK_F1 + 12) return laterFunctionKeys + key - VK_F1 - 10;
    const Key* const found = keyOf(key);
    return found ? found->scanCode : 0;
}

bool isExtended(UINT key) {
    const Key* const found = keyOf(key);
    return found && found->keys[1] == key;
}

bool hooksEat(const host::Event& event, UINT message) {
    if (hooks.empty()) return false;
    if (isLate(event)) return miss();
    KBDLLHOOKSTRUCT record = recordOf(event);
    const host::Event* const outer = std::exchange(currentEvent, &event);
    const LRESULT answer =
        callBelow(nextNumber, HC_ACTION, message, reinterpret_cast<LPARAM>(&record));
    currentEvent = outer;
    if (isLate(event)) return miss();
    misses = 0;
    return answer != 0;
}

const host::Event* hookedEvent() { return currentEvent; }

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

}  // namespace user32

using namespace user32;

UINT MapVirtualKeyW(UINT code, UINT kind) {
    desktop::Call call("MapVirtualKeyW", code, kind);
    call.only("kind", kind, MAPVK_VK_TO_VSC);
    return scanCodeOf(code);
}

int GetKeyNameTextW(LONG parameter, LPWSTR name, int capacity) {
    desktop::Call call("GetKeyNameTextW", parameter, capacity);
    call.within("parameter", parameter, 0xFF0000);
    const std::u16string found = nameOf(static_cast<UINT>(parameter) >> 16);
    if (call.struck() || found.empty()) return call.fail(ERROR_INVALID_PARAMETER);
    const std::size_t length = found.copy(name, static_cast<std::size_t>(capacity) - 1);
    name[length] = 0;
    return static_cast<int>(length);
}

HHOOK SetWindowsHookExW(int kind, HOOKPROC procedure, HINSTANCE module, DWORD thread) {
    desktop::Call call("SetWindowsHookExW", kind, module, thread);
    enterUserInterface();
    call.only("kind", kind, WH_KEYBOARD_LL);
    if (thread) call.refuse("thread", thread);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    if (!module) return call.fail(ERROR_HOOK_NEEDS_HMOD);
    if (hooks.empty() && !host::current().hookKeys(true)) return call.fail(ERROR_ACCESS_DENIED);
    desktop::opened(desktop::Object::Hook);
    hooks[nextNumber] = procedure;
    return reinterpret_cast<HHOOK>(nextNumber++);
}

// The handle does not matter: the next hook is the one below the hook that is running.
LRESULT CallNextHookEx(HHOOK hook, int code, WPARAM wparam, LPARAM lparam) {
    desktop::Call call("CallNextHookEx", hook, code);
    return callBelow(currentNumber, code, wparam, lparam);
}

BOOL UnhookWindowsHookEx(HHOOK hook) {
    desktop::Call call("UnhookWindowsHookEx", hook);
    if (!hooks.erase(reinterpret_cast<std::uintptr_t>(hook)))
        return call.fail(ERROR_INVALID_HOOK_HANDLE);
    desktop::closed(desktop::Object::Hook);
    if (hooks.empty()) host::current().hookKeys(false);
    return TRUE;
}

BOOL RegisterHotKey(HWND window, int id, UINT modifiers, UINT key) {
    desktop::Call call("RegisterHotKey", window, id, modifiers, key);
    constexpr UINT all = MOD_ALT | MOD_CONTROL | MOD_SHIFT | MOD_WIN;
    if (!(modifiers & MOD_NOREPEAT) || modifiers & ~(all | MOD_NOREPEAT))
        call.refuse("modifiers", modifiers);
    for (const HotKey& entry : hotKeys)
        if (entry.window == window && entry.id == id) call.refuse("id that is in use", id);
    const UINT held = modifiers & all;
    if (call.struck()) return call.fail(ERROR_HOTKEY_ALREADY_REGISTERED);
    if (!find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (combination(held, key) != hotKeys.end() || !host::current().grabHotKey(held, key))
        return call.fail(ERROR_HOTKEY_ALREADY_REGISTERED);
    desktop::opened(desktop::Object::HotKey);
    hotKeys.push_back({window, id, held, key});
    return TRUE;
}

BOOL UnregisterHotKey(HWND window, int id) {
    desktop::Call call("UnregisterHotKey", window, id);
    if (!find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    const auto found = std::find_if(hotKeys.begin(), hotKeys.end(), [&](const HotKey& entry) {
        return entry.window == window && entry.id == id;
    });
    if (found == hotKeys.end()) return call.fail(ERROR_HOTKEY_NOT_REGISTERED);
    release(found);
    return TRUE;
}
