// The pointer: where it is, and what it does over the program's windows. A button that goes down
// over one of them keeps the events coming there until it goes up, so that a drag may leave the
// window.

#include "platform/hosts/x11/pointer.h"

#include "platform/hosts/x11/display.h"
#include "platform/hosts/x11/keymap.h"
#include "platform/hosts/x11/surface.h"

namespace host::x11 {

namespace {

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
    told.surface = isSurface(event.event) ? event.event : 0;
    return told;
}

void tellButton(const xcb_button_press_event_t& event, bool pressed) {
    if (event.detail > 3) return;  // a wheel
    Event told = eventAt(pressed ? Event::ButtonPressed : Event::ButtonReleased, event);
    told.button = event.detail;
    report(told);
}

// The press stands still on its way through the root window and is sent on here. Its release goes
// there by itself.
void tellClickElsewhere(const xcb_button_press_event_t& press) {
    if (!isSurface(press.child)) {
        tellButton(press, true);
        tellButton(press, false);
    }
    xcb_allow_events(connection(), XCB_ALLOW_REPLAY_POINTER, XCB_CURRENT_TIME);
    xcb_flush(connection());
}

}  // namespace

POINT pointer() {
    const auto reply = await(xcb_query_pointer_reply, xcb_query_pointer(connection(), root()));
    return reply ? POINT{reply->root_x, reply->root_y} : POINT{};
}

void watchClicksElsewhere(bool on) {
    for (const std::uint8_t button : {XCB_BUTTON_INDEX_1, XCB_BUTTON_INDEX_2, XCB_BUTTON_INDEX_3})
        for (const std::uint16_t locks : lockStates()) {
            if (on)
                xcb_grab_button(connection(), 0, root(), XCB_EVENT_MASK_BUTTON_PRESS,
                                XCB_GRAB_MODE_SYNC, XCB_GRAB_MODE_ASYNC, XCB_WINDOW_NONE,
                                XCB_CURSOR_NONE, button, locks);
            else
                xcb_ungrab_button(connection(), button, root(), locks);
        }
    xcb_flush(connection());
}

bool pointerEvent(const xcb_generic_event_t& event) {
    const int type = typeOf(event);
    if (type != XCB_MOTION_NOTIFY && type != XCB_BUTTON_PRESS && type != XCB_BUTTON_RELEASE)
        return false;
    if (isSentByAProgram(event)) return true;
    // All three have the same form.
    const auto& button = reinterpret_cast<const xcb_button_press_event_t&>(event);
    const auto& motion = reinterpret_cast<const xcb_motion_notify_event_t&>(event);
    if (button.event == root()) {
        if (type == XCB_BUTTON_PRESS) tellClickElsewhere(button);
        return true;
    }
    if (!isSurface(button.event)) return false;
    if (type != XCB_MOTION_NOTIFY)
        tellButton(button, type == XCB_BUTTON_PRESS);
    else if (!isOutdone(motion))
        report(eventAt(Event::PointerMoved, button));
    return true;
}

}  // namespace host::x11
