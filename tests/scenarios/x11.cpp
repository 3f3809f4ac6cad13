// A live display: an Xvfb of the test's own with a tray, and another program's window that has the
// keyboard.

#include <cstdlib>
#include <cstring>
#include <memory>

#include "demo/person.h"
#include "platform/control.h"
#include "platform/hosts/host.h"
#include "platform/user32/message_queue.h"
#include "tests/live/xvfb.h"
#include "tests/scenarios/native.h"

namespace user::desk {

namespace {

using Event = std::unique_ptr<xcb_generic_event_t, decltype(&std::free)>;

xcb_window_t others = 0;
pid_t tray = 0;

xcb_window_t makeWindow(const RECT& bounds, std::uint32_t color) {
    const xcb_window_t window = xcb_generate_id(live::person());
    const std::uint32_t values[] = {
        color, 1, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_BUTTON_PRESS};
    xcb_create_window(live::person(), XCB_COPY_FROM_PARENT, window, live::root(),
                      static_cast<std::int16_t>(bounds.left), static_cast<std::int16_t>(bounds.top),
                      static_cast<std::uint16_t>(bounds.right - bounds.left),
                      static_cast<std::uint16_t>(bounds.bottom - bounds.top), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(live::person(), window);
    return window;
}

// At the top: without a window manager the program's own notices know of no panel and cover it.
void startTray() {
    tray = live::start({"trayer", "--edge", "top", "--align", "right", "--widthtype", "request",
                        "--heighttype", "pixel", "--height", "24"});
}

RECT icon() {
    const xcb_window_t panel = live::findWindow("panel");
    return panel ? live::boundsOf(live::findWindow(desktop::trayTip(), panel)) : RECT{};
}

// The tray makes room for it and moves it meanwhile.
RECT awaitIcon() {
    RECT seen{};
    await("the icon in the tray", [&] {
        const RECT before = std::exchange(seen, icon());
        return seen.right - seen.left >= 16 && before.left == seen.left;
    });
    return seen;
}

}  // namespace

void open() {
    live::startDisplay();
    live::takeHands();
    others = makeWindow(screen(), ground);
    takeForeground();
    startTray();
}

void useHost() { host::use(host::x11Host()); }
void openAgain() { live::connect(); }

void clickTray(int button) {
    const RECT area = awaitIcon();
    live::click({area.left + 5, area.top + 5}, button);
}

void doubleClickTray() {
    const RECT area = awaitIcon();
    live::doubleClick({area.left + 5, area.top + 5});
}

// The last key is one that nobody waits for: when it comes, the others have been decided.
bool othersGet(const std::vector<UINT>& keys) {
    press(keys);
    live::tap('q');
    bool wanted = false, last = false;
    await("a key for others", [&] {
        while (const Event event{xcb_poll_for_event(live::person()), std::free}) {
            if ((event->response_type & 0x7f) != XCB_KEY_PRESS) continue;
            const auto code = reinterpret_cast<const xcb_key_press_event_t&>(*event).detail;
            wanted |= code == live::codeOf(live::symbolOf(keys.back()));
            last |= code == live::codeOf('q');
        }
        return last;
    });
    return wanted;
}

void takeShortcut(UINT modifiers, UINT key) { live::grabKey(modifiers, key); }

void takeForeground() {
    xcb_set_input_focus(live::person(), XCB_INPUT_FOCUS_PARENT, others, XCB_CURRENT_TIME);
    xcb_flush(live::person());
    await("another program's window in front", [] { return live::focus() == others; });
}

void restartShell() {
    live::end(tray);
    await("the end of the icon", [] { return !live::findWindow(desktop::trayTip()); });
    startTray();
    awaitIcon();
}

// To be told to end is the end of the session; that it goes on after all is said by a message.
void endSession(bool reallyEnds) {
    if (reallyEnds) {
        user32::endSessionSoon();
        waitUntil([] { return false; });  // The process ends here.
    }
    desktop::postToWindow("QuorvelDeskClip", WM_QUERYENDSESSION);
    desktop::postToWindow("QuorvelDeskClip", WM_ENDSESSION);
}

std::uint32_t pixel(int x, int y) { return live::pixelAt(x, y); }

// An address: "file://", the path with %XX for some bytes, CR LF.
Path pastedFile() {
    const std::string address = live::pasted("text/uri-list");
    std::string path;
    for (std::size_t at = std::strlen("file://"); at + 2 < address.size(); ++at)
        if (address[at] == '%')
            path += static_cast<char>(
                std::stoi(address.substr(std::exchange(at, at + 2) + 1, 2), nullptr, 16));
        else
            path += address[at];
    return path;
}

}  // namespace user::desk
