// The pointer: where it is, and what it does over the program's windows. A button that goes down
// over one of them keeps the events coming there until it goes up, so that a drag may leave the
// window.

#include "platform/hosts/x11/pointer.h"

#include <xcb/xinput.h>

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

POINT pointer() {
    const auto reply = await(xcb_query_pointer_reply, xcb_query_pointer(connection(), root()));
    return reply ? POINT{reply->root_x, reply->root_y} : POINT{};
}

// Of every press on the display, whatever gets it, a raw event comes besides.
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
