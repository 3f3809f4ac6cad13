// The keyboard: keys and what is printed on them; hooks, which are called on the thread that
// installed them while it looks at its queue; hot keys, of which one combination has one owner on
// the whole desktop.

#include "platform/user32/input.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/user32/dialog.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

// A keyboard by scan codes: the older key of each code, and what is printed on it. Without the
// extended bit, which the program never sets, a navigation key has the name of its keypad twin.
constexpr UINT keys[] = {
    0,           VK_ESCAPE,   '1',          '2',           '3',         '4',          '5',
    '6',         '7',         '8',          '9',           '0',         VK_OEM_MINUS, VK_OEM_PLUS,
    VK_BACK,     VK_TAB,      'Q',          'W',           'E',         'R',          'T',
    'Y',         'U',         'I',          'O',           'P',         VK_OEM_4,     VK_OEM_6,
    VK_RETURN,   VK_LCONTROL, 'A',          'S',           'D',         'F',          'G',
    'H',         'J',         'K',          'L',           VK_OEM_1,    VK_OEM_7,     VK_OEM_3,
    VK_LSHIFT,   VK_OEM_5,    'Z',          'X',           'C',         'V',          'B',
    'N',         'M',         VK_OEM_COMMA, VK_OEM_PERIOD, VK_OEM_2,    VK_RSHIFT,    VK_MULTIPLY,
    VK_LMENU,    VK_SPACE,    VK_CAPITAL,   VK_F1,         VK_F2,       VK_F3,        VK_F4,
    VK_F5,       VK_F6,       VK_F7,        VK_F8,         VK_F9,       VK_F10,       0,
    VK_SCROLL,   VK_NUMPAD7,  VK_NUMPAD8,   VK_NUMPAD9,    VK_SUBTRACT, VK_NUMPAD4,   VK_NUMPAD5,
    VK_NUMPAD6,  VK_ADD,      VK_NUMPAD1,   VK_NUMPAD2,    VK_NUMPAD3,  VK_NUMPAD0,   VK_DECIMAL,
    VK_SNAPSHOT, 0,           VK_OEM_102,   VK_F11,        VK_F12};
constexpr const WCHAR* names[] = {
    u"",      u"Esc",   u"1",         u"2",       u"3",       u"4",     u"5",           u"6",
    u"7",     u"8",     u"9",         u"0",       u"-",       u"=",     u"Backspace",   u"Tab",
    u"Q",     u"W",     u"E",         u"R",       u"T",       u"Y",     u"U",           u"I",
    u"O",     u"P",     u"[",         u"]",       u"Enter",   u"Ctrl",  u"A",           u"S",
    u"D",     u"F",     u"G",         u"H",       u"J",       u"K",     u"L",           u";",
    u"'",     u"`",     u"Shift",     u"\\",      u"Z",       u"X",     u"C",           u"V",
    u"B",     u"N",     u"M",         u",",       u".",       u"/",     u"Right Shift", u"Num *",
    u"Alt",   u"Space", u"Caps Lock", u"F1",      u"F2",      u"F3",    u"F4",          u"F5",
    u"F6",    u"F7",    u"F8",        u"F9",      u"F10",     u"Pause", u"Scroll Lock", u"Num 7",
    u"Num 8", u"Num 9", u"Num -",     u"Num 4",   u"Num 5",   u"Num 6", u"Num +",       u"Num 1",
    u"Num 2", u"Num 3", u"Num 0",     u"Num Del", u"Sys Req", u"",      u"\\",          u"F11",
    u"F12"};

struct LaterKey {
    UINT key, scanCode;
};
// Keys that came later and have the extended form of a code, and those that mean either side.
constexpr LaterKey extendedKeys[] = {
    {VK_RCONTROL, 0x1D}, {VK_DIVIDE, 0x35}, {VK_RMENU, 0x38},  {VK_NUMLOCK, 0x45}, {VK_HOME, 0x47},
    {VK_UP, 0x48},       {VK_PRIOR, 0x49},  {VK_LEFT, 0x4B},   {VK_RIGHT, 0x4D},   {VK_END, 0x4F},
    {VK_DOWN, 0x50},     {VK_NEXT, 0x51},   {VK_INSERT, 0x52}, {VK_DELETE, 0x53},  {VK_LWIN, 0x5B},
    {VK_RWIN, 0x5C},     {VK_APPS, 0x5D}};
constexpr LaterKey sidelessKeys[] = {
    {VK_CONTROL, 0x1D}, {VK_SHIFT, 0x2A}, {VK_MENU, 0x38}, {VK_CLEAR, 0x4C}};

UINT scanCodeIn(std::span<const LaterKey> some, UINT key) {
    const auto found = std::ranges::find(some, key, &LaterKey::key);
    return found == some.end() ? 0 : found->scanCode;
}

// By number, so that the next older hook is the one with the next smaller number, whatever was
// removed meanwhile.
std::map<std::uintptr_t, HOOKPROC> hooks;
std::uintptr_t nextNumber = 0x31000000;
std::uintptr_t currentNumber = 0;
const host::Event* currentEvent = nullptr;

host::KeyGrab grabbed = host::KeyGrab::None;

// On Windows a hook sees every key of the desktop. A host that cannot pass keys on is only to grab
// what the hook eats: outside of a dialog that is Esc, and a dialog reads shortcuts in its box.
host::KeyGrab neededGrab() {
    if (hooks.empty()) return host::KeyGrab::None;
    const Dialog* const dialog = openDialog();
    if (!dialog) return host::KeyGrab::Escape;
    const Control* const control = isActive(*dialog) ? dialog->focus : nullptr;
    return control && control->kind == ControlKind::Box ? host::KeyGrab::All : host::KeyGrab::None;
}

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
    hooks.clear();
    followHooks();
    misses = 0;
}

// What the hooks say, if they are called at all, comes too late to eat the event.
bool miss() {
    if (++misses <= mostMisses) return false;
    for (std::size_t count = hooks.size(); count > 0; --count) desktop::closed("Hook");
    forgetHooks();
    return false;
}

struct HotKey {
    HWND window;
    int id;
    bool operator==(const HotKey&) const = default;
};
std::map<std::pair<UINT, UINT>, HotKey> hotKeys;  // by modifiers and key

// How many were released.
template <typename Condition>
std::size_t releaseHotKeys(Condition condition) {
    return std::erase_if(hotKeys, [&](const auto& entry) {
        const auto& [combination, hotKey] = entry;
        if (!condition(hotKey)) return false;
        host::current().releaseHotKey(combination.first, combination.second);
        desktop::closed("HotKey");
        return true;
    });
}

void releaseHotKeysOf(HWND window) {
    releaseHotKeys([&](const HotKey& each) { return each.window == window; });
}

const bool registered = registerFor(Moment::WindowIsDestroyed, releaseHotKeysOf) &&
                        registerFor(Moment::ThreadEnds, [](HWND) { forgetHooks(); });

}  // namespace

UINT scanCodeOf(UINT key) {
    const auto* const found = std::ranges::find(keys, key);
    if (key && found != std::end(keys)) return static_cast<UINT>(found - keys);
    return scanCodeIn(extendedKeys, key) + scanCodeIn(sidelessKeys, key);
}

bool isExtended(UINT key) { return scanCodeIn(extendedKeys, key) != 0; }

bool followHooks() {
    const host::KeyGrab needed = neededGrab();
    if (needed == grabbed) return true;
    const bool had = host::current().grabKeys(needed);
    grabbed = had ? needed : host::KeyGrab::None;
    return had;
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
    const auto found = hotKeys.find({press.modifiers, press.key});
    if (found == hotKeys.end()) return false;
    const auto& [window, id] = found->second;
    if (!isRepeat)
        post({window,
              WM_HOTKEY,
              static_cast<WPARAM>(id),
              MAKELPARAM(press.modifiers, press.key),
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
    const auto scanCode = static_cast<std::size_t>(parameter >> 16);
    const std::u16string_view found = scanCode < std::size(names) ? names[scanCode] : u"";
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
    hooks[nextNumber] = procedure;
    if (!followHooks()) {
        hooks.erase(nextNumber);
        return call.fail(ERROR_ACCESS_DENIED);
    }
    desktop::opened("Hook");
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
    desktop::closed("Hook");
    followHooks();
    return TRUE;
}

BOOL RegisterHotKey(HWND window, int id, UINT modifiers, UINT key) {
    desktop::Call call("RegisterHotKey", window, id, modifiers, key);
    constexpr UINT all = MOD_ALT | MOD_CONTROL | MOD_SHIFT | MOD_WIN;
    if (!(modifiers & MOD_NOREPEAT) || modifiers & ~(all | MOD_NOREPEAT))
        call.refuse("modifiers", modifiers);
    for (const auto& [combination, hotKey] : hotKeys)
        if (hotKey == HotKey{window, id}) call.refuse("id that is in use", id);
    const UINT held = modifiers & all;
    if (call.struck()) return call.fail(ERROR_HOTKEY_ALREADY_REGISTERED);
    if (!find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (hotKeys.contains({held, key}) || !host::current().grabHotKey(held, key))
        return call.fail(ERROR_HOTKEY_ALREADY_REGISTERED);
    desktop::opened("HotKey");
    hotKeys[{held, key}] = {window, id};
    return TRUE;
}

BOOL UnregisterHotKey(HWND window, int id) {
    desktop::Call call("UnregisterHotKey", window, id);
    if (!find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (!releaseHotKeys([&](const HotKey& each) { return each == HotKey{window, id}; }))
        return call.fail(ERROR_HOTKEY_NOT_REGISTERED);
    return TRUE;
}
