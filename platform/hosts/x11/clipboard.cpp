// A file on the display's clipboard: nothing is transferred before somebody pastes, so the offer
// lasts as long as the program runs, and longer only if a clipboard manager fetches it at the end.
// The forms are a list of addresses and what file managers call a copy.

#include "platform/hosts/x11/host.h"

#include <glib.h>

#include <algorithm>

#include "platform/hosts/x11/display.h"

namespace host::x11 {

namespace {

struct Form {
    const char* target;
    std::string text;
};

xcb_timestamp_t since = 0;
std::vector<Form> offered;
bool managerIsAsked = false;

void setOffer(const std::string& path) {
    // Everything but unreserved characters and the path's own slashes is escaped.
    const Owned<char> escaped(g_uri_escape_string(path.c_str(), "/", FALSE));
    const std::string address = std::string("file://") + escaped.get();
    offered = {{"text/uri-list", address + "\r\n"},
               {"x-special/gnome-copied-files", "copy\n" + address},
               {"x-special/mate-copied-files", "copy\n" + address},
               {"application/x-kde-cutselection", "0"}};
}

xcb_window_t ownerOf(const char* selection) {
    const auto reply = await(xcb_get_selection_owner_reply,
                             xcb_get_selection_owner(connection(), atom(selection)));
    return reply ? reply->owner : 0;
}

std::vector<std::uint32_t> offeredTargets() {
    std::vector<std::uint32_t> targets;
    for (const Form& form : offered) targets.push_back(atom(form.target));
    return targets;
}

// False: not in that form.
bool hand(xcb_window_t window, xcb_atom_t target, xcb_atom_t property) {
    if (target == atom("TARGETS")) {
        std::vector<std::uint32_t> targets = offeredTargets();
        for (const char* const each : {"TARGETS", "TIMESTAMP", "MULTIPLE"})
            targets.push_back(atom(each));
        setProperty(window, property, XCB_ATOM_ATOM, targets);
        return true;
    }
    if (target == atom("TIMESTAMP")) {
        setProperty(window, property, XCB_ATOM_INTEGER, {since});
        return true;
    }
    const auto form = std::ranges::find_if(
        offered, [&](const Form& each) { return atom(each.target) == target; });
    if (form == offered.end()) return false;
    xcb_change_property(connection(), XCB_PROP_MODE_REPLACE, window, property, target, 8,
                        static_cast<std::uint32_t>(form->text.size()), form->text.data());
    return true;
}

// The property has pairs of a form and a property for it. A form that is not offered becomes none.
bool handSeveral(xcb_window_t window, xcb_atom_t property) {
    std::vector<std::uint32_t> pairs = numberProperty(window, property);
    if (pairs.empty()) return false;
    for (std::size_t i = 0; i + 1 < pairs.size(); i += 2)
        if (!hand(window, pairs[i], pairs[i + 1])) pairs[i] = XCB_ATOM_NONE;
    setProperty(window, property, atom("ATOM_PAIR"), pairs);
    return true;
}

void answer(const xcb_selection_request_event_t& request) {
    xcb_selection_notify_event_t notice{};
    notice.response_type = XCB_SELECTION_NOTIFY;
    notice.time = request.time;
    notice.requestor = request.requestor;
    notice.selection = request.selection;
    notice.target = request.target;
    // A client of the old convention names no property and means the target's name.
    const xcb_atom_t property = request.property ? request.property : request.target;
    const bool done = request.target == atom("MULTIPLE")
                          ? handSeveral(request.requestor, property)
                          : hand(request.requestor, request.target, property);
    if (done) notice.property = property;
    // An event has 32 bytes whatever its record's size is.
    char bytes[32]{};
    std::copy_n(reinterpret_cast<const char*>(&notice), sizeof notice, bytes);
    xcb_send_event(connection(), 0, request.requestor, 0, bytes);
    xcb_flush(connection());
}

}  // namespace

void X11Host::clearClipboard() {
    offered.clear();
    xcb_set_selection_owner(connection(), XCB_WINDOW_NONE, atom("CLIPBOARD"), XCB_CURRENT_TIME);
    xcb_flush(connection());
}

bool X11Host::offerFile(const std::string& path) {
    since = serverTime();
    xcb_set_selection_owner(connection(), hiddenWindow(), atom("CLIPBOARD"), since);
    if (ownerOf("CLIPBOARD") != hiddenWindow()) return false;
    setOffer(path);
    return true;
}

bool askToKeepOffer() {
    if (offered.empty() || ownerOf("CLIPBOARD") != hiddenWindow() || !ownerOf("CLIPBOARD_MANAGER"))
        return false;
    setProperty(hiddenWindow(), atom("SAVE_TARGETS"), XCB_ATOM_ATOM, offeredTargets());
    xcb_convert_selection(connection(), hiddenWindow(), atom("CLIPBOARD_MANAGER"),
                          atom("SAVE_TARGETS"), atom("SAVE_TARGETS"), serverTime());
    xcb_flush(connection());
    managerIsAsked = true;
    return true;
}

bool isOfferBeingKept() { return managerIsAsked && !offered.empty(); }

bool clipboardEvent(const xcb_generic_event_t& event) {
    const int type = typeOf(event);
    if (type == XCB_SELECTION_REQUEST) {
        const auto& request = reinterpret_cast<const xcb_selection_request_event_t&>(event);
        if (request.owner == hiddenWindow()) answer(request);
        return request.owner == hiddenWindow();
    }
    if (type == XCB_SELECTION_NOTIFY) {
        const auto& notice = reinterpret_cast<const xcb_selection_notify_event_t&>(event);
        if (notice.requestor == hiddenWindow()) managerIsAsked = false;
        return notice.requestor == hiddenWindow();
    }
    if (type != XCB_SELECTION_CLEAR) return false;
    const auto& clear = reinterpret_cast<const xcb_selection_clear_event_t&>(event);
    if (clear.owner != hiddenWindow()) return false;
    // Our own clearing is reported too, perhaps only after the next offer.
    if (clear.time == XCB_CURRENT_TIME || clear.time > since) offered.clear();
    return true;
}

}  // namespace host::x11
