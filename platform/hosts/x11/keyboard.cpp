// Keys: those that come to the program's windows, and those that it sees before anyone else.
//
// A key that stops here freezes the keyboard: the server keeps all later ones back until
// finishInput has said what becomes of it. Left to others, it is played again, past our grabs, and
// goes to whoever has the focus; its release follows it by itself. Kept, it also keeps its repeats
// and its release, whatever happens to hook and hot keys in the meantime: as long as one kept key
// is down the keyboard stays grabbed, key by key.
//
// So exactly one event is waiting at any time, a kept key never needs an answer again, and whoever
// ends this process lets go of everything.

#include "platform/hosts/x11/keyboard.h"

#include <algorithm>
#include <array>
#include <set>
#include <vector>

#include "platform/hosts/x11/display.h"
#include "platform/hosts/x11/key_grab.h"
#include "platform/hosts/x11/keymap.h"
#include "platform/hosts/x11/surface.h"

namespace host::x11 {

namespace {

using KeyEvent = xcb_key_press_event_t;  // releases have the same form

// What holds the keyboard now: the server after a grabbed key went down, until it goes up, or we
// ourselves.
enum class Hold { None, ByKey, ByUs };

Hold hold = Hold::None;
xcb_keycode_t holder = 0;        // the key with ByKey
std::set<xcb_keycode_t> kept;    // down, and nobody else is to hear of them
std::set<xcb_keycode_t> passed;  // down, passed on by the hook, releases not yet seen
std::uint64_t lastToken = 0;
std::uint64_t waiting = 0;  // token of the event that freezes the keyboard; 0: none
KeyEvent waitingEvent{};
KeyEvent replayed{};  // the last one that was played again

int typeOf(const xcb_generic_event_t& event) { return event.response_type & 0x7f; }
bool isPress(const KeyEvent& event) { return (event.response_type & 0x7f) == XCB_KEY_PRESS; }

void allow(xcb_allow_t mode) {
    xcb_allow_events(connection(), static_cast<std::uint8_t>(mode), XCB_CURRENT_TIME);
    xcb_flush(connection());
}

std::array<std::uint8_t, 32> keysDown() {
    std::array<std::uint8_t, 32> bits{};
    if (const auto reply = await(xcb_query_keymap_reply, xcb_query_keymap(connection())))
        std::copy_n(reply->keys, 32, bits.begin());
    return bits;
}

bool isDown(const std::array<std::uint8_t, 32>& bits, xcb_keycode_t code) {
    return bits[code / 8] >> (code % 8) & 1;
}

Event keyEvent(Event::Kind kind, xcb_keycode_t code, std::uint16_t state) {
    Event told;
    told.kind = kind;
    told.key = virtualKey(code, state);
    told.modifiers = modifiersOf(state);
    return told;
}

void tell(const KeyEvent& event, bool offered, std::uint64_t token) {
    Event told = keyEvent(isPress(event) ? Event::KeyPressed : Event::KeyReleased, event.detail,
                          event.state);
    told.at = {event.root_x, event.root_y};
    told.surface = isSurface(event.event) ? event.event : 0;
    told.offered = offered;
    told.token = token;
    report(told);
}

// The release of a key that was passed on goes where its press went. The hook hears of it here,
// before the next key, so that it knows what is held.
void tellPassedReleases() {
    if (!keysAreHooked()) passed.clear();
    if (passed.empty()) return;
    const auto bits = keysDown();
    std::erase_if(passed, [&](xcb_keycode_t code) {
        if (isDown(bits, code)) return false;
        report(keyEvent(Event::KeyReleased, code, 0));
        return true;
    });
}

bool aPressIsOnItsWay() {
    return std::ranges::any_of(keptEvents(), [](const RawEvent& event) {
        return typeOf(*event) == XCB_KEY_PRESS &&
               reinterpret_cast<const KeyEvent&>(*event).event == root();
    });
}

void forgetReleasedKeys() {
    const auto bits = keysDown();
    std::erase_if(kept, [&](xcb_keycode_t code) { return !isDown(bits, code); });
}

void releaseKeyboard() {
    hold = Hold::None;
    xcb_ungrab_keyboard(connection(), XCB_CURRENT_TIME);
    xcb_flush(connection());
}

// Playing a key again ends the grab that keeps the release of a kept key from the others. If the
// kept key is still down it is taken up again; unless the next key has stopped here already, which
// asks again when it is settled.
void holdKeptKeys() {
    if (kept.empty()) return;
    forgetReleasedKeys();
    if (kept.empty() || aPressIsOnItsWay()) return;
    const auto reply =
        await(xcb_grab_keyboard_reply, xcb_grab_keyboard(connection(), 0, root(), XCB_CURRENT_TIME,
                                                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_SYNC));
    if (!reply || reply->status != XCB_GRAB_STATUS_SUCCESS) return;
    // A key that went up before the grab has sent its release to others; one that goes up after it
    // waits for us.
    forgetReleasedKeys();
    if (kept.empty()) return releaseKeyboard();
    hold = Hold::ByUs;
    allow(XCB_ALLOW_SYNC_KEYBOARD);
}

// The server lets go by itself when the key goes up that started its grab.
void letGoOf(const KeyEvent& release) {
    kept.erase(release.detail);
    if (hold == Hold::ByKey && holder == release.detail) {
        hold = Hold::None;
        holdKeptKeys();
    } else if (hold == Hold::ByUs && kept.empty()) {
        releaseKeyboard();
    } else {
        allow(XCB_ALLOW_SYNC_KEYBOARD);
    }
}

void stop(const KeyEvent& event) {
    if (isPress(event) && hold == Hold::None) {
        hold = Hold::ByKey;
        holder = event.detail;
    }
    if (kept.contains(event.detail)) {
        if (isPress(event)) {
            allow(XCB_ALLOW_SYNC_KEYBOARD);
            return;
        }
        letGoOf(event);
        tell(event, true, 0);
        return;
    }
    passed.erase(event.detail);
    tellPassedReleases();
    waiting = ++lastToken;
    waitingEvent = event;
    tell(event, true, waiting);
}

bool wasReplayed(const KeyEvent& event) {
    return event.time == replayed.time && event.detail == replayed.detail &&
           event.response_type == replayed.response_type;
}

// To a program that has not asked otherwise the server tells a repeat as a release and a press at
// the same time.
bool isStartOfRepeat(const KeyEvent& event) {
    if (isPress(event)) return false;
    const xcb_generic_event_t* const next = peekEvent();
    if (!next || typeOf(*next) != XCB_KEY_PRESS) return false;
    const auto& press = reinterpret_cast<const KeyEvent&>(*next);
    return press.detail == event.detail && press.time == event.time;
}

}  // namespace

// A key that is kept from the others does not count as down, as on Windows with one that a hook has
// eaten.
bool keyIsDown(UINT key) {
    const auto bits = keysDown();
    return std::ranges::any_of(keycodesOf(key), [&](xcb_keycode_t code) {
        const bool undecided = waiting && isPress(waitingEvent) && waitingEvent.detail == code;
        return isDown(bits, code) && !kept.contains(code) && !undecided;
    });
}

void finishInput(const Event& event, bool taken) {
    if (!waiting || event.token != waiting) return;
    waiting = 0;
    if (taken) {
        if (isPress(waitingEvent)) kept.insert(waitingEvent.detail);
        allow(XCB_ALLOW_SYNC_KEYBOARD);
        return;
    }
    replayed = waitingEvent;
    hold = Hold::None;
    allow(XCB_ALLOW_REPLAY_KEYBOARD);
    if (isPress(waitingEvent) && keysAreHooked()) passed.insert(waitingEvent.detail);
    holdKeptKeys();
}

bool keyboardEvent(const xcb_generic_event_t& event) {
    const int type = typeOf(event);
    if (type == XCB_MAPPING_NOTIFY) {
        // Also comes with every change from one keyboard to another of the same layout.
        if (loadKeymap()) grabAnew();
        return true;
    }
    if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) return false;
    const auto& key = reinterpret_cast<const KeyEvent&>(event);
    if (isStartOfRepeat(key)) return true;
    if (key.event == root()) {
        stop(key);
    } else {
        if (!isPress(key)) passed.erase(key.detail);
        tell(key, !wasReplayed(key), 0);
    }
    return true;
}

}  // namespace host::x11
