// The keyboard: keys and what is printed on them; the hook, which is called on the thread that
// installed it while that retrieves messages; hot keys, each with one owner on the whole desktop.

#include <algorithm>
#include <chrono>
#include <map>
#include <string_view>
#include <utility>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/user32/dialog.h"
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

// Keys that came later and have the extended form of a code, and those that mean either side.
constexpr std::pair<UINT, UINT> laterKeys[] = {
    {VK_RCONTROL, 0x11D}, {VK_DIVIDE, 0x135}, {VK_RMENU, 0x138}, {VK_NUMLOCK, 0x145},
    {VK_HOME, 0x147},     {VK_UP, 0x148},     {VK_PRIOR, 0x149}, {VK_LEFT, 0x14B},
    {VK_RIGHT, 0x14D},    {VK_END, 0x14F},    {VK_DOWN, 0x150},  {VK_NEXT, 0x151},
    {VK_INSERT, 0x152},   {VK_DELETE, 0x153}, {VK_LWIN, 0x15B},  {VK_RWIN, 0x15C},
    {VK_APPS, 0x15D},     {VK_CONTROL, 0x1D}, {VK_SHIFT, 0x2A},  {VK_MENU, 0x38},
    {VK_CLEAR, 0x4C}};

// The program installs one at a time.
HOOKPROC hook = nullptr;
std::uintptr_t hookNumber = 0x31000000;  // grows with each, so that a dead handle stays dead

host::KeyGrab grabbed = host::KeyGrab::None;

// On Windows a hook sees every key of the desktop. A host that cannot pass keys on may grab only
// what the hook eats: Esc without a dialog, and every key while a dialog's box reads a shortcut.
host::KeyGrab neededGrab() {
    if (!hook) return host::KeyGrab::None;
    const Dialog* const dialog = openDialog();
    if (!dialog) return host::KeyGrab::Escape;
    const Control* const control = isActive(*dialog) ? dialog->focus : nullptr;
    return control && control->kind == ControlKind::Box ? host::KeyGrab::All : host::KeyGrab::None;
}

// The system waits this long for an answer. After more than this number of misses it removes the
// hook without notice.
constexpr std::chrono::milliseconds timeLimit{300};
constexpr int mostMisses = 10;
int misses = 0;

bool isLate(const host::Event& event) {
    return event.time.time_since_epoch().count() &&
           std::chrono::steady_clock::now() - event.time > timeLimit;
}

// What the hook says, if it is called at all, comes too late to eat the event.
bool miss() {
    if (++misses <= mostMisses || !hook) return false;
    desktop::closed("Hook");
    forgetHook();
    return false;
}

using HotKey = std::pair<HWND, int>;              // the window and its number for it
std::map<std::pair<UINT, UINT>, HotKey> hotKeys;  // by modifiers and key

}  // namespace

UINT scanCodeOf(UINT key) {
    const auto* const found = std::ranges::find(keys, key);
    if (key && found != std::end(keys)) return static_cast<UINT>(found - keys);
    const auto* const later = std::ranges::find(laterKeys, key, &std::pair<UINT, UINT>::first);
    return later == std::end(laterKeys) ? 0 : later->second;
}

bool followHook() {
    const host::KeyGrab needed = neededGrab();
    if (needed == grabbed) return true;
    const bool had = host::current().grabKeys(needed);
    grabbed = had ? needed : host::KeyGrab::None;
    return had;
}

void forgetHook() {
    hook = nullptr;
    followHook();
    misses = 0;
}

bool hookEats(const host::Event& event, UINT message) {
    if (!hook) return false;
    if (isLate(event)) return miss();
    const UINT code = scanCodeOf(event.key);
    const bool isRelease = event.kind == host::Event::KeyReleased;
    KBDLLHOOKSTRUCT record{event.key, code & 0xFF,
                           (code & 0x100 ? LLKHF_EXTENDED : 0u) |
                               (event.modifiers & MOD_ALT ? LLKHF_ALTDOWN : 0u) |
                               (isRelease ? LLKHF_UP : 0u),
                           messageTime(), 0};
    state.isInHook = true;
    const LRESULT answer = hook(HC_ACTION, message, reinterpret_cast<LPARAM>(&record));
    state.isInHook = false;
    if (isLate(event)) return miss();
    misses = 0;
    return answer != 0;
}

std::size_t releaseHotKeys(HWND window, std::optional<int> id) {
    return std::erase_if(hotKeys, [&](const auto& entry) {
        const auto& [combination, hotKey] = entry;
        if (hotKey.first != window || (id && hotKey.second != *id)) return false;
        host::current().releaseHotKey(combination.first, combination.second);
        desktop::closed("HotKey");
        return true;
    });
}

bool isHotKey(const host::Event& press, bool isRepeat) {
    const auto found = hotKeys.find({press.modifiers, press.key});
    if (found == hotKeys.end()) return false;
    const auto& [window, id] = found->second;
    if (!isRepeat)
        post(window, WM_HOTKEY, static_cast<WPARAM>(id), MAKELPARAM(press.modifiers, press.key));
    return true;
}

}  // namespace user32

using namespace user32;

UINT MapVirtualKeyW(UINT code, UINT kind) {
    desktop::Call call("MapVirtualKeyW", code, kind);
    call.only("kind", kind, MAPVK_VK_TO_VSC);
    return scanCodeOf(code) & 0xFF;
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
    if (thread || hook) call.refuse("thread or second hook", thread);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    if (!module) return call.fail(ERROR_HOOK_NEEDS_HMOD);
    hook = procedure;
    if (!followHook()) {
        hook = nullptr;
        return call.fail(ERROR_ACCESS_DENIED);
    }
    desktop::opened("Hook");
    return reinterpret_cast<HHOOK>(++hookNumber);
}

// There is no other hook.
LRESULT CallNextHookEx(HHOOK, int code, WPARAM, LPARAM) {
    desktop::Call call("CallNextHookEx", code);
    return 0;
}

BOOL UnhookWindowsHookEx(HHOOK handle) {
    desktop::Call call("UnhookWindowsHookEx", handle);
    if (!hook || handle != reinterpret_cast<HHOOK>(hookNumber))
        return call.fail(ERROR_INVALID_HOOK_HANDLE);
    desktop::closed("Hook");
    forgetHook();
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
    if (!releaseHotKeys(window, id)) return call.fail(ERROR_HOTKEY_NOT_REGISTERED);
    return TRUE;
}
