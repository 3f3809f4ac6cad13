// A live display: its events as the layer wants them, and how a program starts on it and leaves it.

#include "platform/hosts/x11/host.h"

#include <glib.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <deque>
#include <utility>

#include "platform/hosts/x11/display.h"

namespace host {

namespace x11 {

namespace {

std::deque<Event> told;

// The user's, from before the entry point made the program's own files private.
const mode_t usersMask = [] {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}();

// Losing the display ends the session of the program that is on it.
void tellOfLoss() {
    static bool isTold = false;
    if (isConnected() || std::exchange(isTold, true)) return;
    unwatch(xcb_get_file_descriptor(connection()));
    report({.kind = Event::SessionQuery});
    report({.kind = Event::SessionEnd, .message = 1});
}

// What no part takes is an error that does not matter, or concerns other windows.
void handle(const xcb_generic_event_t& event) {
    for (const auto part : {keyboardEvent, trayEvent, pointerEvent, surfaceEvent, focusEvent,
                            clipboardEvent, monitorEvent})
        if (part(event)) return;
}

}  // namespace

void report(const Event& event) { told.push_back(event); }

X11Host::X11Host() {
    openDisplay();
    openMonitors();
    openSurfaces();
    loadKeymap();
}

// "unix:0.0", ":0" and ":0.1" are one display, hence one desktop.
std::string X11Host::session() {
    char* host = nullptr;
    int number = 0;
    if (!xcb_parse_display(nullptr, &host, &number, nullptr)) return "display";
    std::string name = Owned<char>(host).get();
    if (name == "unix") name.clear();
    std::ranges::replace_if(
        name, [](unsigned char character) { return !std::isalnum(character); }, '-');
    return "display-" + name + std::to_string(number);
}

int X11Host::eventDescriptor() { return eventsDescriptor(); }

bool X11Host::nextEvent(Event& event) {
    attendToNotices();
    while (told.empty()) {
        const RawEvent raw = takeEvent();
        if (raw)
            handle(*raw);
        else if (tellOfLoss(); told.empty())
            return false;
    }
    event = told.front();
    told.pop_front();
    return true;
}

// The clipboard manager fetches what is offered while this waits.
void X11Host::leaveClipboard() {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point limit = Clock::now() + std::chrono::seconds(1);
    if (!askToKeepOffer()) return;
    for (;;) {
        for (Event event; nextEvent(event);) {
        }
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now()).count();
        if (!isOfferBeingKept() || !isConnected() || left <= 0) return;
        pollfd watched{eventDescriptor(), POLLIN, 0};
        poll(&watched, 1, static_cast<int>(left));
    }
}

// In a session of its own, and as no child of this process, which need not wait for it.
bool X11Host::openFolder(const std::string& path) {
    std::string program = "xdg-open", argument = path;
    char* command[] = {program.data(), argument.data(), nullptr};
    const auto prepare = [](void*) {
        setsid();
        umask(usersMask);
    };
    return g_spawn_async(nullptr, command, nullptr, G_SPAWN_SEARCH_PATH, prepare, nullptr, nullptr,
                         nullptr);
}

}  // namespace x11

Host& x11Host() {
    static x11::X11Host host;
    return host;
}

}  // namespace host
