// The keyboard: a table of keys, their scan codes and what is printed on them.

#include "platform/user32/keys.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/core/call.h"
#include "platform/hosts/host.h"
#include "platform/user32/input.h"

namespace user32 {

namespace {

struct Key {
    UINT key, scanCode;
    const WCHAR* name;  // null: another key comes first on this scan code
    bool extended = false;
};

// Without the extended bit, which the program never sets, a navigation key has the name of its
// keypad twin.
constexpr Key keyboard[] = {
    {VK_ESCAPE, 0x01, u"Esc"},
    {'1', 0x02, u"1"},
    {'2', 0x03, u"2"},
    {'3', 0x04, u"3"},
    {'4', 0x05, u"4"},
    {'5', 0x06, u"5"},
    {'6', 0x07, u"6"},
    {'7', 0x08, u"7"},
    {'8', 0x09, u"8"},
    {'9', 0x0A, u"9"},
    {'0', 0x0B, u"0"},
    {VK_OEM_MINUS, 0x0C, u"-"},
    {VK_OEM_PLUS, 0x0D, u"="},
    {VK_BACK, 0x0E, u"Backspace"},
    {VK_TAB, 0x0F, u"Tab"},
    {'Q', 0x10, u"Q"},
    {'W', 0x11, u"W"},
    {'E', 0x12, u"E"},
    {'R', 0x13, u"R"},
    {'T', 0x14, u"T"},
    {'Y', 0x15, u"Y"},
    {'U', 0x16, u"U"},
    {'I', 0x17, u"I"},
    {'O', 0x18, u"O"},
    {'P', 0x19, u"P"},
    {VK_OEM_4, 0x1A, u"["},
    {VK_OEM_6, 0x1B, u"]"},
    {VK_RETURN, 0x1C, u"Enter"},
    {VK_LCONTROL, 0x1D, u"Ctrl"},
    {VK_RCONTROL, 0x1D, nullptr, true},
    {VK_CONTROL, 0x1D, nullptr},
    {'A', 0x1E, u"A"},
    {'S', 0x1F, u"S"},
    {'D', 0x20, u"D"},
    {'F', 0x21, u"F"},
    {'G', 0x22, u"G"},
    {'H', 0x23, u"H"},
    {'J', 0x24, u"J"},
    {'K', 0x25, u"K"},
    {'L', 0x26, u"L"},
    {VK_OEM_1, 0x27, u";"},
    {VK_OEM_7, 0x28, u"'"},
    {VK_OEM_3, 0x29, u"`"},
    {VK_LSHIFT, 0x2A, u"Shift"},
    {VK_SHIFT, 0x2A, nullptr},
    {VK_OEM_5, 0x2B, u"\\"},
    {'Z', 0x2C, u"Z"},
    {'X', 0x2D, u"X"},
    {'C', 0x2E, u"C"},
    {'V', 0x2F, u"V"},
    {'B', 0x30, u"B"},
    {'N', 0x31, u"N"},
    {'M', 0x32, u"M"},
    {VK_OEM_COMMA, 0x33, u","},
    {VK_OEM_PERIOD, 0x34, u"."},
    {VK_OEM_2, 0x35, u"/"},
    {VK_DIVIDE, 0x35, nullptr, true},
    {VK_RSHIFT, 0x36, u"Right Shift"},
    {VK_MULTIPLY, 0x37, u"Num *"},
    {VK_LMENU, 0x38, u"Alt"},
    {VK_RMENU, 0x38, nullptr, true},
    {VK_MENU, 0x38, nullptr},
    {VK_SPACE, 0x39, u"Space"},
    {VK_CAPITAL, 0x3A, u"Caps Lock"},
    {VK_F1, 0x3B, u"F1"},
    {VK_F1 + 1, 0x3C, u"F2"},
    {VK_F1 + 2, 0x3D, u"F3"},
    {VK_F1 + 3, 0x3E, u"F4"},
    {VK_F1 + 4, 0x3F, u"F5"},
    {VK_F1 + 5, 0x40, u"F6"},
    {VK_F1 + 6, 0x41, u"F7"},
    {VK_F1 + 7, 0x42, u"F8"},
    {VK_F1 + 8, 0x43, u"F9"},
    {VK_F1 + 9, 0x44, u"F10"},
    {VK_NUMLOCK, 0x45, u"Pause", true},
    {VK_SCROLL, 0x46, u"Scroll Lock"},
    {VK_NUMPAD7, 0x47, u"Num 7"},
    {VK_HOME, 0x47, nullptr, true},
    {VK_NUMPAD8, 0x48, u"Num 8"},
    {VK_UP, 0x48, nullptr, true},
    {VK_NUMPAD9, 0x49, u"Num 9"},
    {VK_PRIOR, 0x49, nullptr, true},
    {VK_SUBTRACT, 0x4A, u"Num -"},
    {VK_NUMPAD4, 0x4B, u"Num 4"},
    {VK_LEFT, 0x4B, nullptr, true},
    {VK_NUMPAD5, 0x4C, u"Num 5"},
    {VK_CLEAR, 0x4C, nullptr},
    {VK_NUMPAD6, 0x4D, u"Num 6"},
    {VK_RIGHT, 0x4D, nullptr, true},
    {VK_ADD, 0x4E, u"Num +"},
    {VK_NUMPAD1, 0x4F, u"Num 1"},
    {VK_END, 0x4F, nullptr, true},
    {VK_NUMPAD2, 0x50, u"Num 2"},
    {VK_DOWN, 0x50, nullptr, true},
    {VK_NUMPAD3, 0x51, u"Num 3"},
    {VK_NEXT, 0x51, nullptr, true},
    {VK_NUMPAD0, 0x52, u"Num 0"},
    {VK_INSERT, 0x52, nullptr, true},
    {VK_DECIMAL, 0x53, u"Num Del"},
    {VK_DELETE, 0x53, nullptr, true},
    {VK_SNAPSHOT, 0x54, u"Sys Req"},
    {VK_OEM_102, 0x56, u"\\"},
    {VK_F1 + 10, 0x57, u"F11"},
    {VK_F1 + 11, 0x58, u"F12"},
    {VK_LWIN, 0x5B, nullptr, true},
    {VK_RWIN, 0x5C, nullptr, true},
    {VK_APPS, 0x5D, nullptr, true},
};

const Key* keyOf(UINT key) {
    const auto found = std::find_if(std::begin(keyboard), std::end(keyboard),
                                    [&](const Key& entry) { return entry.key == key; });
    return found == std::end(keyboard) ? nullptr : found;
}

std::u16string_view nameOf(UINT scanCode) {
    for (const Key& entry : keyboard)
        if (entry.scanCode == scanCode && entry.name) return entry.name;
    return {};
}

}  // namespace

UINT scanCodeOf(UINT key) {
    const Key* const found = keyOf(key);
    return found ? found->scanCode : 0;
}

bool isExtended(UINT key) {
    const Key* const found = keyOf(key);
    return found && found->extended;
}

}  // namespace user32

UINT MapVirtualKeyW(UINT code, UINT kind) {
    desktop::Call call("MapVirtualKeyW", code, kind);
    if (kind != MAPVK_VK_TO_VSC) desktop::refuse("MapVirtualKeyW", "kind", kind);
    return user32::scanCodeOf(code);
}

int GetKeyNameTextW(LONG parameter, LPWSTR name, int capacity) {
    desktop::Call call("GetKeyNameTextW", parameter, capacity);
    if (parameter & ~0xFF0000) desktop::refuse("GetKeyNameTextW", "parameter", parameter);
    const std::u16string_view found = user32::nameOf(static_cast<UINT>(parameter) >> 16);
    if (call.struck() || found.empty()) return call.fail(ERROR_INVALID_PARAMETER);
    const std::size_t length = found.copy(name, static_cast<std::size_t>(capacity) - 1);
    name[length] = 0;
    return static_cast<int>(length);
}

// The top bit tells that the key is down. The state is the one before an event that a hook is
// looking at.
SHORT GetAsyncKeyState(int key) {
    desktop::Call call("GetAsyncKeyState", key);
    return user32::isDown(static_cast<UINT>(key)) ? static_cast<SHORT>(0x8000) : SHORT{0};
}
