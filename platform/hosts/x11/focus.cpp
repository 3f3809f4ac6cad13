// Which of the program's windows has the keyboard, and whom it gets back to.

#include <vector>

#include "platform/hosts/x11/display.h"
#include "platform/hosts/x11/host.h"

namespace host::x11 {

namespace {

std::vector<Surface> focusOrder;  // the last one has the keyboard, then it goes back one by one
xcb_window_t outside = XCB_INPUT_FOCUS_POINTER_ROOT;  // had it before the first of ours

Surface focusedSurface() { return focusOrder.empty() ? 0 : focusOrder.back(); }

bool setFocus(xcb_window_t window) {
    return carriedOut(xcb_set_input_focus_checked(connection(), XCB_INPUT_FOCUS_POINTER_ROOT,
                                                  window, XCB_CURRENT_TIME));
}

void rememberOutside() {
    const auto reply = await(xcb_get_input_focus_reply, xcb_get_input_focus(connection()));
    if (reply && !isSurface(reply->focus)) outside = reply->focus;
}

// The one that had the keyboard may have gone in the meantime.
void giveOutside() {
    focusOrder.clear();
    watchClicksElsewhere(false);
    if (!setFocus(outside)) setFocus(XCB_INPUT_FOCUS_POINTER_ROOT);
}

}  // namespace

// The order is changed first, so that the events which the change brings are known for our own
// doing. The server refuses a window that is not on the screen.
bool X11Host::focusSurface(Surface surface) {
    if (!surface) {
        if (!focusOrder.empty()) giveOutside();
        return true;
    }
    if (surface == focusedSurface()) return true;
    if (focusOrder.empty()) rememberOutside();
    const std::vector<Surface> previous = focusOrder;
    std::erase(focusOrder, surface);
    focusOrder.push_back(surface);
    if (!setFocus(surface)) {
        focusOrder = previous;
        return false;
    }
    if (previous.empty()) watchClicksElsewhere(true);
    synchronise();
    return true;
}

void giveFocusBack(Surface leaving) {
    const bool hadIt = leaving == focusedSurface();
    std::erase(focusOrder, leaving);
    if (!hadIt) return;
    if (focusOrder.empty() || !setFocus(focusOrder.back())) giveOutside();
}

// A grab of keys moves the focus for its length in name only, so those events count for nothing.
bool focusEvent(const xcb_generic_event_t& event) {
    const int type = typeOf(event);
    if (type != XCB_FOCUS_IN && type != XCB_FOCUS_OUT) return false;
    const auto& change = reinterpret_cast<const xcb_focus_out_event_t&>(event);
    const bool real =
        change.mode == XCB_NOTIFY_MODE_NORMAL || change.mode == XCB_NOTIFY_MODE_WHILE_GRABBED;
    if (type == XCB_FOCUS_IN || !real || change.detail == XCB_NOTIFY_DETAIL_POINTER) return true;
    if (change.event != focusedSurface()) return true;
    // It may have come back since: a box has opened above this window and closed again.
    const auto now = await(xcb_get_input_focus_reply, xcb_get_input_focus(connection()));
    if (now && now->focus == change.event) return true;
    focusOrder.clear();
    watchClicksElsewhere(false);
    releaseKeysDown();
    report({.kind = Event::ActivationLost});
    return true;
}

}  // namespace host::x11
