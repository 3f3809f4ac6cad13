// Which keys stop here before anyone else sees them: the hot keys always, all keys while they are
// hooked. Both are grabs that freeze the keyboard until the program has said what becomes of the
// key (keyboard.cpp).

#include "platform/hosts/x11/key_grab.h"

#include <algorithm>
#include <vector>

#include "platform/hosts/x11/display.h"
#include "platform/hosts/x11/keymap.h"

namespace host::x11 {

namespace {

struct HotKey {
    UINT modifiers, key;
    bool operator==(const HotKey&) const = default;
};

struct Combination {
    xcb_keycode_t code;
    std::uint16_t state;
};

constexpr UINT anyModifier = MOD_ALT | MOD_CONTROL | MOD_SHIFT | MOD_WIN;

std::vector<HotKey> hotKeys;
bool hooked = false;

// Those that another program has are left in the result. All requests go out before the first
// answer is awaited.
std::vector<Combination> grab(const std::vector<Combination>& wanted) {
    std::vector<xcb_void_cookie_t> cookies;
    for (const Combination& each : wanted)
        cookies.push_back(xcb_grab_key_checked(connection(), 0, root(), each.state, each.code,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_SYNC));
    std::vector<Combination> refused;
    for (std::size_t i = 0; i < wanted.size(); ++i)
        if (!carriedOut(cookies[i])) refused.push_back(wanted[i]);
    return refused;
}

void ungrab(const std::vector<Combination>& held) {
    for (const Combination& each : held)
        xcb_ungrab_key(connection(), each.code, root(), each.state);
    xcb_flush(connection());
}

std::vector<Combination> combinationsOf(const HotKey& hotKey) {
    std::vector<Combination> all;
    for (const xcb_keycode_t code : keycodesOf(hotKey.key))
        for (const std::uint16_t lock : lockStates())
            all.push_back({code, static_cast<std::uint16_t>(stateOf(hotKey.modifiers) | lock)});
    return all;
}

// A key of which another program has a combination cannot be had as a whole; this is what may be
// left of it.
std::vector<Combination> remainderOf(const std::vector<Combination>& refused) {
    std::vector<Combination> all;
    for (const Combination& each : refused)
        for (UINT modifiers = 0; modifiers <= anyModifier; ++modifiers)
            for (const std::uint16_t lock : lockStates())
                all.push_back({each.code, static_cast<std::uint16_t>(stateOf(modifiers) | lock)});
    return all;
}

bool hook() {
    std::vector<Combination> all;
    for (const xcb_keycode_t code : allKeycodes()) all.push_back({code, XCB_MOD_MASK_ANY});
    const std::vector<Combination> refused = grab(all);
    const std::vector<Combination> remainder = remainderOf(refused);
    const std::size_t lost = grab(remainder).size();
    return refused.size() < all.size() || lost < remainder.size();
}

// Letting go of every key lets go of the hot keys' combinations too.
void unhook() {
    xcb_ungrab_key(connection(), XCB_GRAB_ANY, root(), XCB_MOD_MASK_ANY);
    for (const HotKey& each : hotKeys) grab(combinationsOf(each));
    synchronise();
}

}  // namespace

bool grabHotKey(UINT modifiers, UINT key) {
    const HotKey wanted{modifiers & anyModifier, key};
    const std::vector<Combination> all = combinationsOf(wanted);
    if (all.empty() || !grab(all).empty()) {
        if (!hooked) ungrab(all);  // else it would tear holes into the hook
        return false;
    }
    hotKeys.push_back(wanted);
    return true;
}

void releaseHotKey(UINT modifiers, UINT key) {
    const HotKey leaving{modifiers & anyModifier, key};
    const auto found = std::ranges::find(hotKeys, leaving);
    if (found == hotKeys.end()) return;
    hotKeys.erase(found);
    if (!hooked) ungrab(combinationsOf(leaving));
}

bool hookKeys(bool on) {
    if (on == hooked) return true;
    hooked = on && hook();
    if (!on) unhook();
    return hooked == on;
}

bool keysAreHooked() { return hooked; }

void grabAnew() {
    unhook();
    if (hooked) hook();
}

}  // namespace host::x11
