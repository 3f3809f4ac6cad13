// The display's keys as virtual keys. Letters and digits go by what the layout has on the key, as
// on Windows; a layout without Latin letters has them where the US keyboard does.

#include "platform/hosts/x11/host.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

#include "platform/hosts/x11/display.h"

namespace host::x11 {

namespace {

struct Pair {
    xcb_keysym_t symbol;
    UINT key;
};

constexpr Pair plainKeys[] = {
    {0xff08, VK_BACK},      {0xff09, VK_TAB},      {0xfe20, VK_TAB},      {0xff0d, VK_RETURN},
    {0xff13, VK_PAUSE},     {0xff1b, VK_ESCAPE},   {0xffe5, VK_CAPITAL},  {0x0020, VK_SPACE},
    {0xff50, VK_HOME},      {0xff51, VK_LEFT},     {0xff52, VK_UP},       {0xff53, VK_RIGHT},
    {0xff54, VK_DOWN},      {0xff55, VK_PRIOR},    {0xff56, VK_NEXT},     {0xff57, VK_END},
    {0xff61, VK_SNAPSHOT},  {0xff63, VK_INSERT},   {0xffff, VK_DELETE},   {0xff67, VK_APPS},
    {0xff7f, VK_NUMLOCK},   {0xff14, VK_SCROLL},   {0xffe1, VK_LSHIFT},   {0xffe2, VK_RSHIFT},
    {0xffe3, VK_LCONTROL},  {0xffe4, VK_RCONTROL}, {0xffe9, VK_LMENU},    {0xffea, VK_RMENU},
    {0xffe7, VK_LMENU},     {0xffe8, VK_RMENU},    {0xfe03, VK_RMENU},    {0xffeb, VK_LWIN},
    {0xffec, VK_RWIN},      {0xff8d, VK_RETURN},   {0xffaa, VK_MULTIPLY}, {0xffab, VK_ADD},
    {0xffac, VK_SEPARATOR}, {0xffad, VK_SUBTRACT}, {0xffaf, VK_DIVIDE},   {'-', VK_OEM_MINUS},
    {'=', VK_OEM_PLUS},     {'[', VK_OEM_4},       {']', VK_OEM_6},       {'\\', VK_OEM_5},
    {';', VK_OEM_1},        {'\'', VK_OEM_7},      {'`', VK_OEM_3},       {',', VK_OEM_COMMA},
    {'.', VK_OEM_PERIOD},   {'/', VK_OEM_2},       {'<', VK_OEM_102},
};

struct KeypadKey {
    xcb_keysym_t digit, navigation;
    UINT withLock, without;
};

constexpr KeypadKey keypad[] = {
    {0xffb0, 0xff9e, VK_NUMPAD0, VK_INSERT}, {0xffb1, 0xff9c, VK_NUMPAD1, VK_END},
    {0xffb2, 0xff99, VK_NUMPAD2, VK_DOWN},   {0xffb3, 0xff9b, VK_NUMPAD3, VK_NEXT},
    {0xffb4, 0xff96, VK_NUMPAD4, VK_LEFT},   {0xffb5, 0xff9d, VK_NUMPAD5, VK_CLEAR},
    {0xffb6, 0xff98, VK_NUMPAD6, VK_RIGHT},  {0xffb7, 0xff95, VK_NUMPAD7, VK_HOME},
    {0xffb8, 0xff97, VK_NUMPAD8, VK_UP},     {0xffb9, 0xff9a, VK_NUMPAD9, VK_PRIOR},
    {0xffae, 0xff9f, VK_DECIMAL, VK_DELETE},
};

struct Key {
    UINT locked = 0, unlocked = 0;  // virtual key with NumLock and without
    bool operator==(const Key&) const = default;
};

struct Masks {
    std::uint16_t alt = 0, windows = 0, numLock = 0;
    bool operator==(const Masks&) const = default;
};

std::array<Key, 256> keys;
Masks masks;
std::vector<std::uint16_t> locks;

bool isLetterOrDigit(xcb_keysym_t symbol) {
    return (symbol >= 'a' && symbol <= 'z') || (symbol >= 'A' && symbol <= 'Z') ||
           (symbol >= '0' && symbol <= '9');
}

UINT plainKey(xcb_keysym_t symbol) {
    if (isLetterOrDigit(symbol)) return symbol >= 'a' ? symbol - 'a' + 'A' : symbol;
    if (symbol >= 0xffbe && symbol <= 0xffd5) return VK_F1 + symbol - 0xffbe;
    const auto found = std::ranges::find(plainKeys, symbol, &Pair::symbol);
    return found == std::end(plainKeys) ? 0 : found->key;
}

// Where a kernel keyboard has the letters of the US layout.
UINT keyByPlace(xcb_keycode_t code) {
    struct Line {
        int first;
        std::string_view letters;
    };
    for (const Line& line : {Line{24, "QWERTYUIOP"}, Line{38, "ASDFGHJKL"}, Line{52, "ZXCVBNM"}})
        if (code >= line.first && code < line.first + static_cast<int>(line.letters.size()))
            return static_cast<UINT>(line.letters[static_cast<std::size_t>(code - line.first)]);
    return 0;
}

// A digit or letter counts even if it is on the second level, where French layouts have the digits;
// then what the first level has; then letters of a further layout.
Key keyOf(xcb_keycode_t code, const xcb_keysym_t* symbols, int count) {
    const xcb_keysym_t* const end = symbols + count;
    if (std::all_of(symbols, end, [](xcb_keysym_t symbol) { return symbol == 0; })) return {};
    for (const KeypadKey& each : keypad)
        if (std::find_if(symbols, end, [&](xcb_keysym_t symbol) {
                return symbol == each.digit || symbol == each.navigation;
            }) != end)
            return {each.withLock, each.without};
    const auto* const typed = std::find_if(symbols, std::min(end, symbols + 2), isLetterOrDigit);
    UINT key = typed != std::min(end, symbols + 2) ? plainKey(*typed) : plainKey(*symbols);
    for (const xcb_keysym_t* symbol = symbols; !key && symbol != end; ++symbol)
        if (isLetterOrDigit(*symbol)) key = plainKey(*symbol);
    if (!key) key = keyByPlace(code);
    return {key, key};
}

std::uint16_t maskWith(const xcb_get_modifier_mapping_reply_t& mapping, UINT oneKey,
                       UINT otherKey) {
    const xcb_keycode_t* const codes = xcb_get_modifier_mapping_keycodes(&mapping);
    const int perModifier = mapping.keycodes_per_modifier;
    for (int i = XCB_MAP_INDEX_1 * perModifier; i < 8 * perModifier; ++i) {
        const UINT key = keys[codes[i]].locked;
        if (codes[i] && (key == oneKey || key == otherKey))
            return static_cast<std::uint16_t>(1 << (i / perModifier));
    }
    return 0;
}

void loadModifiers() {
    const auto mapping =
        await(xcb_get_modifier_mapping_reply, xcb_get_modifier_mapping(connection()));
    if (!mapping) return;
    masks = {maskWith(*mapping, VK_LMENU, VK_LMENU), maskWith(*mapping, VK_LWIN, VK_RWIN),
             maskWith(*mapping, VK_NUMLOCK, VK_NUMLOCK)};
    locks = {0, XCB_MOD_MASK_LOCK};
    if (!masks.numLock) return;
    locks.push_back(masks.numLock);
    locks.push_back(static_cast<std::uint16_t>(masks.numLock | XCB_MOD_MASK_LOCK));
}

UINT eitherSide(UINT key) {
    switch (key) {
    case VK_LSHIFT:
    case VK_RSHIFT: return VK_SHIFT;
    case VK_LCONTROL:
    case VK_RCONTROL: return VK_CONTROL;
    case VK_LMENU:
    case VK_RMENU: return VK_MENU;
    default: return key;
    }
}

}  // namespace

bool loadKeymap() {
    const std::array<Key, 256> keysBefore = keys;
    const Masks masksBefore = masks;
    const xcb_setup_t& setup = *xcb_get_setup(connection());
    const xcb_keycode_t first = setup.min_keycode;
    const auto count = static_cast<std::uint8_t>(setup.max_keycode - first + 1);
    const auto mapping =
        await(xcb_get_keyboard_mapping_reply, xcb_get_keyboard_mapping(connection(), first, count));
    if (!mapping) return false;
    keys = {};
    const int levels = mapping->keysyms_per_keycode;
    for (int i = 0; i < count; ++i) {
        const auto code = static_cast<xcb_keycode_t>(first + i);
        keys[code] =
            keyOf(code, xcb_get_keyboard_mapping_keysyms(mapping.get()) + i * levels, levels);
    }
    loadModifiers();
    return keys != keysBefore || masks != masksBefore;
}

// Shift turns the keypad's digits into the navigation keys, as on Windows.
UINT virtualKey(xcb_keycode_t code, std::uint16_t state) {
    const bool digits = (state & masks.numLock) && !(state & XCB_MOD_MASK_SHIFT);
    return digits ? keys[code].locked : keys[code].unlocked;
}

std::vector<xcb_keycode_t> keycodesOf(UINT key) {
    std::vector<xcb_keycode_t> found;
    for (std::size_t code = 0; code < keys.size(); ++code)
        for (const UINT has : {keys[code].locked, keys[code].unlocked})
            if (has && (has == key || eitherSide(has) == key)) {
                found.push_back(static_cast<xcb_keycode_t>(code));
                break;
            }
    return found;
}

UINT modifiersOf(std::uint16_t state) {
    return (state & masks.alt ? MOD_ALT : 0u) | (state & XCB_MOD_MASK_CONTROL ? MOD_CONTROL : 0u) |
           (state & XCB_MOD_MASK_SHIFT ? MOD_SHIFT : 0u) | (state & masks.windows ? MOD_WIN : 0u);
}

std::uint16_t stateOf(UINT modifiers) {
    return static_cast<std::uint16_t>((modifiers & MOD_ALT ? masks.alt : 0) |
                                      (modifiers & MOD_CONTROL ? XCB_MOD_MASK_CONTROL : 0) |
                                      (modifiers & MOD_SHIFT ? XCB_MOD_MASK_SHIFT : 0) |
                                      (modifiers & MOD_WIN ? masks.windows : 0));
}

const std::vector<std::uint16_t>& lockStates() { return locks; }

}  // namespace host::x11
