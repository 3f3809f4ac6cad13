// Keys and pointer: what comes to the program's windows, and the little that is taken from the
// whole desktop.
//
// No grab here freezes a device, so the server never waits for this process: a slow or stopped
// program does not hold up what the user does elsewhere. A grabbed key cannot be passed on, so only
// what the program always takes is grabbed: its hot keys, Esc while it wants Esc, and the whole
// keyboard while it reads a shortcut.

#include <xcb/xinput.h>

#include <algorithm>
#include <array>
#include <set>
#include <utility>
#include <vector>

#include "platform/hosts/x11/display.h"
#include "platform/hosts/x11/host.h"

namespace host::x11 {

namespace {

using KeyEvent = xcb_key_press_event_t;  // releases have the same form

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
KeyGrab grabbed = KeyGrab::None;
std::set<xcb_keycode_t> down;  // as reported to the layer

// Returns those that another program has. All requests go out before the first answer is awaited.
std::vector<Combination> grab(const std::vector<Combination>& wanted) {
    std::vector<xcb_void_cookie_t> cookies;
    for (const Combination& each : wanted)
        cookies.push_back(xcb_grab_key_checked(connection(), 0, root(), each.state, each.code,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    std::vector<Combination> refused;
    for (std::size_t i = 0; i < wanted.size(); ++i)
        if (!carriedOut(cookies[i])) refused.push_back(wanted[i]);
    return refused;
}

std::vector<Combination> combinationsOf(const HotKey& hotKey) {
    std::vector<Combination> all;
    for (const xcb_keycode_t code : keycodesOf(hotKey.key))
        for (const std::uint16_t lock : lockStates())
            all.push_back({code, static_cast<std::uint16_t>(stateOf(hotKey.modifiers) | lock)});
    return all;
}

// Where another program has a combination with Esc, the other combinations are grabbed one by one.
bool grabEscape() {
    std::vector<Combination> all, single;
    for (const xcb_keycode_t code : keycodesOf(VK_ESCAPE)) all.push_back({code, XCB_MOD_MASK_ANY});
    const std::vector<Combination> refused = grab(all);
    for (UINT modifiers = 0; !refused.empty() && modifiers <= anyModifier; ++modifiers)
        std::ranges::copy(combinationsOf({modifiers, VK_ESCAPE}), std::back_inserter(single));
    return grab(single).size() < single.size() || refused.size() < all.size();
}

// Frees all keys and grabs those that are still wanted. One key can belong to several grabs, and a
// release of one of them would take it from the others.
void grabAgain() {
    xcb_ungrab_key(connection(), XCB_GRAB_ANY, root(), XCB_MOD_MASK_ANY);
    for (const HotKey& each : hotKeys) grab(combinationsOf(each));
    if (grabbed == KeyGrab::Escape) grabEscape();
    xcb_flush(connection());
}

bool grabKeyboard() {
    const auto reply =
        await(xcb_grab_keyboard_reply, xcb_grab_keyboard(connection(), 0, root(), XCB_CURRENT_TIME,
                                                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

bool isDownNow(UINT key) {
    const auto reply = await(xcb_query_keymap_reply, xcb_query_keymap(connection()));
    return reply && std::ranges::any_of(keycodesOf(key), [&](xcb_keycode_t code) {
               return reply->keys[code / 8] >> (code % 8) & 1;
           });
}

void tell(bool pressed, xcb_keycode_t code, std::uint16_t state) {
    if (pressed)
        down.insert(code);
    else
        down.erase(code);
    report({.kind = pressed ? Event::KeyPressed : Event::KeyReleased,
            .key = virtualKey(code, state),
            .modifiers = modifiersOf(state)});
}

// A modifier may have gone down or up while others had the keyboard, and a shortcut depends on what
// is held.
void tellMissedModifiers(std::uint16_t state) {
    constexpr std::pair<UINT, std::array<UINT, 2>> sides[] = {
        {MOD_ALT, {VK_LMENU, VK_RMENU}},
        {MOD_CONTROL, {VK_LCONTROL, VK_RCONTROL}},
        {MOD_SHIFT, {VK_LSHIFT, VK_RSHIFT}},
        {MOD_WIN, {VK_LWIN, VK_RWIN}}};
    for (const auto& [bit, keys] : sides) {
        const bool held = modifiersOf(state) & bit;
        std::vector<xcb_keycode_t> told;
        for (const xcb_keycode_t code : down)
            if (const UINT key = virtualKey(code, 0); key == keys[0] || key == keys[1])
                told.push_back(code);
        if (!held)
            for (const xcb_keycode_t code : told) tell(false, code, state);
        else if (told.empty())
            for (const UINT key : keys)
                if (isDownNow(key)) tell(true, keycodesOf(key).front(), state);
    }
}

// To a program that has not requested otherwise the server sends a repeat as a release and a press
// of the same time.
bool isStartOfRepeat(const KeyEvent& event) {
    const xcb_generic_event_t* const next = peekEvent();
    if (!next || typeOf(*next) != XCB_KEY_PRESS) return false;
    const auto& press = reinterpret_cast<const KeyEvent&>(*next);
    return press.detail == event.detail && press.time == event.time;
}

// A later position makes an earlier one worthless, and each costs a repaint during a drag.
bool isOutdone(const xcb_motion_notify_event_t& motion) {
    const xcb_generic_event_t* const next = peekEvent();
    return next && typeOf(*next) == XCB_MOTION_NOTIFY &&
           reinterpret_cast<const xcb_motion_notify_event_t*>(next)->event == motion.event;
}

Event eventAt(Event::Kind kind, const xcb_button_press_event_t& event) {
    Event told;
    told.kind = kind;
    told.at = {event.root_x, event.root_y};
    told.modifiers = modifiersOf(event.state);
    told.surface = event.event;
    return told;
}

void tellButton(const xcb_button_press_event_t& event, bool pressed) {
    if (event.detail > 3) return;  // a wheel
    Event told = eventAt(pressed ? Event::ButtonPressed : Event::ButtonReleased, event);
    told.button = event.detail;
    report(told);
}

void tellClickElsewhere() {
    const auto at = await(xcb_query_pointer_reply, xcb_query_pointer(connection(), root()));
    if (!at || isSurface(at->child)) return;
    for (const Event::Kind kind : {Event::ButtonPressed, Event::ButtonReleased})
        report({.kind = kind,
                .at = {at->root_x, at->root_y},
                .button = 1,
                .modifiers = modifiersOf(at->mask)});
}

}  // namespace

bool X11Host::grabHotKey(UINT modifiers, UINT key) {
    const HotKey wanted{modifiers & anyModifier, key};
    const std::vector<Combination> all = combinationsOf(wanted);
    if (all.empty() || !grab(all).empty()) {
        grabAgain();
        return false;
    }
    hotKeys.push_back(wanted);
    return true;
}

void X11Host::releaseHotKey(UINT modifiers, UINT key) {
    std::erase(hotKeys, HotKey{modifiers & anyModifier, key});
    grabAgain();
}

bool X11Host::grabKeys(KeyGrab wanted) {
    if (wanted == grabbed) return true;
    const KeyGrab before = std::exchange(grabbed, KeyGrab::None);
    if (before == KeyGrab::All) xcb_ungrab_keyboard(connection(), XCB_CURRENT_TIME);
    if (before == KeyGrab::Escape) grabAgain();
    if (wanted == KeyGrab::Escape && !grabEscape()) return false;
    if (wanted == KeyGrab::All && !grabKeyboard()) return false;
    grabbed = wanted;
    xcb_flush(connection());
    return true;
}

bool X11Host::keyIsDown(UINT key) { return isDownNow(key); }

void releaseKeysDown() {
    while (!down.empty()) tell(false, *down.begin(), 0);
}

bool keyboardEvent(const xcb_generic_event_t& event) {
    const int type = typeOf(event);
    if (type == XCB_MAPPING_NOTIFY) {
        // Also comes with every change from one keyboard to another of the same layout.
        if (loadKeymap()) grabAgain();
        return true;
    }
    if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) return false;
    const auto& key = reinterpret_cast<const KeyEvent&>(event);
    const bool pressed = type == XCB_KEY_PRESS;
    if (isSentByAProgram(event) || (!pressed && isStartOfRepeat(key))) return true;
    if (pressed && grabbed == KeyGrab::All) tellMissedModifiers(key.state);
    tell(pressed, key.detail, key.state);
    return true;
}

POINT X11Host::pointer() {
    const auto reply = await(xcb_query_pointer_reply, xcb_query_pointer(connection(), root()));
    return reply ? POINT{reply->root_x, reply->root_y} : POINT{};
}

// Every press on the display also comes as a raw event, whatever gets it.
void watchClicksElsewhere(bool on) {
    const struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } selected{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
               on ? std::uint32_t{XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS} : 0};
    xcb_input_xi_select_events(connection(), root(), 1, &selected.head);
    xcb_flush(connection());
}

bool pointerEvent(const xcb_generic_event_t& event) {
    const int type = typeOf(event);
    if (type == XCB_GE_GENERIC) {  // The only one that is requested.
        tellClickElsewhere();
        return true;
    }
    if (type != XCB_MOTION_NOTIFY && type != XCB_BUTTON_PRESS && type != XCB_BUTTON_RELEASE)
        return false;
    if (isSentByAProgram(event)) return true;
    // All three have the same form.
    const auto& button = reinterpret_cast<const xcb_button_press_event_t&>(event);
    const auto& motion = reinterpret_cast<const xcb_motion_notify_event_t&>(event);
    if (!isSurface(button.event)) return false;
    if (type != XCB_MOTION_NOTIFY)
        tellButton(button, type == XCB_BUTTON_PRESS);
    else if (!isOutdone(motion))
        report(eventAt(Event::PointerMoved, button));
    return true;
}

}  // namespace host::x11
