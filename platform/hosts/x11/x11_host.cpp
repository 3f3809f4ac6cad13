// A live display: its events as the layer wants them, and the table of what this host can do.

#include <poll.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <utility>

#include "platform/hosts/x11/balloon.h"
#include "platform/hosts/x11/clipboard.h"
#include "platform/hosts/x11/display.h"
#include "platform/hosts/x11/folder.h"
#include "platform/hosts/x11/keyboard.h"
#include "platform/hosts/x11/keymap.h"
#include "platform/hosts/x11/monitor.h"
#include "platform/hosts/x11/note.h"
#include "platform/hosts/x11/picture.h"
#include "platform/hosts/x11/pointer.h"
#include "platform/hosts/x11/surface.h"
#include "platform/hosts/x11/tray.h"

namespace host {

namespace x11 {

namespace {

std::deque<Event> told;
bool lossTold = false;

// "unix:0.0", ":0" and ":0.1" are one display, hence one desktop.
std::string session() {
    char* host = nullptr;
    int number = 0;
    if (!xcb_parse_display(nullptr, &host, &number, nullptr)) return "display";
    std::string name(host);
    std::free(host);
    if (name == "unix") name.clear();
    std::ranges::replace_if(
        name, [](unsigned char character) { return !std::isalnum(character); }, '-');
    return "display-" + name + std::to_string(number);
}

// When the display goes, the session has ended for a program that lives on it.
void tellOfLoss() {
    if (lossTold || isConnected()) return;
    lossTold = true;
    unwatch(xcb_get_file_descriptor(connection()));
    report({.kind = Event::SessionQuery});
    report({.kind = Event::SessionEnd, .message = 1});
}

void handle(const xcb_generic_event_t& event) {
    const bool taken = keyboardEvent(event) || noteEvent(event) || trayEvent(event) ||
                       pointerEvent(event) || surfaceEvent(event) || focusEvent(event) ||
                       clipboardEvent(event) || monitorEvent(event);
    static_cast<void>(
        taken);  // The rest is errors of requests whose failure nobody minds, and news for others.
}

bool nextEvent(Event& event) {
    attendToBalloons();
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

// Windows of other programs than X11's are not on this display, so a clip does not show them.
void warnOfWayland() {
    if (!std::getenv("WAYLAND_DISPLAY") && !hasMonitorOfWayland()) return;
    std::fputs("Wayland session: only the windows of X11 programs can be recorded.\n", stderr);
    showBalloon({u"Wayland session", u"Only the windows of X11 programs can be recorded.", false});
}

// Only a start that stays shows an icon; one that hands over to the first instance has nothing to
// say.
bool setTrayIconAndWarn(const TrayIcon* icon) {
    static bool isWarned = false;
    if (icon && !std::exchange(isWarned, true)) warnOfWayland();
    return setTrayIcon(icon);
}

// The clipboard manager fetches what is offered while this waits.
void leaveClipboard() {
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

}  // namespace

void report(const Event& event) { told.push_back(event); }

}  // namespace x11

const Host& x11Host() {
    static const Host host = [] {
        x11::openDisplay();
        x11::openMonitors();
        x11::openSurfaces();
        x11::loadKeymap();
        Host table{};
        table.name = "x11";
        table.session = x11::session;
        table.eventDescriptor = x11::eventDescriptor;
        table.nextEvent = x11::nextEvent;
        table.finishInput = [](const Event&, bool) {};
        table.monitors = x11::monitors;
        table.pointer = x11::pointer;
        table.keyIsDown = x11::keyIsDown;
        table.grabHotKey = x11::grabHotKey;
        table.releaseHotKey = x11::releaseHotKey;
        table.grabKeys = x11::grabKeys;
        table.hasTaskbar = false;  // No window manager manages these windows.
        table.createSurface = x11::createSurface;
        table.destroySurface = x11::destroySurface;
        table.showSurface = x11::showSurface;
        table.presentSurface = x11::presentSurface;
        table.hideSurface = x11::hideSurface;
        table.focusSurface = x11::focusSurface;
        table.setCursor = x11::setCursor;
        table.flush = x11::flush;
        table.openPictures = x11::openPictures;
        table.waitForPicture = x11::waitForPicture;
        table.readPicture = x11::readPicture;
        table.closePictures = x11::closePictures;
        table.openClipboard = x11::openClipboard;
        table.closeClipboard = x11::closeClipboard;
        table.clearClipboard = x11::clearClipboard;
        table.offerFiles = x11::offerFiles;
        table.leaveClipboard = x11::leaveClipboard;
        table.setTrayIcon = x11::setTrayIconAndWarn;
        table.showBalloon = x11::showBalloon;
        table.openFolder = x11::openFolder;
        return table;
    }();
    return host;
}

}  // namespace host
