// A live display: an Xvfb of the test's own with a tray, and another program's window that has the
// keyboard.

#include <cstdlib>

#include "platform/hosts/host.h"
#include "platform/user32/window.h"
#include "tests/live/xvfb.h"
#include "tests/scenarios/native.h"

namespace user {

namespace {

xcb_window_t others = 0;
pid_t tray = 0;

void showOthers() {
    others = xcb_generate_id(live::person());
    const std::uint32_t values[] = {ground, 1, XCB_EVENT_MASK_KEY_PRESS};
    xcb_create_window(live::person(), XCB_COPY_FROM_PARENT, others, live::root(), 0, 0, 1920, 1080,
                      0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(live::person(), others);
}

// At the top: without a window manager the program's own notices know of no panel and cover it.
// A tray that came later would take the icon for a moment.
void startTray() {
    tray = live::start({"trayer", "--edge", "top", "--align", "right", "--widthtype", "request",
                        "--heighttype", "pixel", "--height", "24"});
    await("the tray", [] { return live::isOwned("_NET_SYSTEM_TRAY_S0"); });
}

// The tray resizes and moves it while it docks.
POINT awaitIcon() {
    RECT seen{};
    await("the icon in the tray", [&] {
        const xcb_window_t icon = live::findWindow(trayTip(), live::findWindow("panel"));
        const RECT before = std::exchange(seen, live::boundsOf(icon));
        return seen.right - seen.left >= 16 && before.left == seen.left;
    });
    return {seen.left + 5, seen.top + 5};
}

}  // namespace

void openDesktop() {
    live::startDisplay();
    live::takeHands();
    showOthers();
    takeForeground();
    startTray();
}

void useHost() { host::use(host::x11Host()); }
void openAgain() { live::connect(); }

void clickTray(int button) { live::click(awaitIcon(), button); }
void doubleClickTray() { live::doubleClick(awaitIcon()); }

// The last key is one that nobody waits for: when it comes, the others have been decided.
bool othersGet(const std::vector<UINT>& keys) {
    const xcb_keycode_t last = live::codeOf('q');
    press(keys);
    live::tap('q');
    std::set<xcb_keycode_t> passed;
    await("a key for others", [&] {
        while (const auto event = xcb_poll_for_event(live::person())) {
            if ((event->response_type & 0x7f) == XCB_KEY_PRESS)
                passed.insert(reinterpret_cast<xcb_key_press_event_t*>(event)->detail);
            std::free(event);
        }
        return passed.contains(last);
    });
    return passed.contains(live::codeOf(live::symbolOf(keys.back())));
}

void takeShortcut(UINT modifiers, UINT key) { live::grabKey(modifiers, key); }

void takeForeground() {
    xcb_set_input_focus(live::person(), XCB_INPUT_FOCUS_PARENT, others, XCB_CURRENT_TIME);
    xcb_flush(live::person());
    await("another program's window in front", [] { return live::focus() == others; });
}

void restartShell() {
    live::end(tray);
    await("the end of the icon", [] { return !live::findWindow(trayTip()); });
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
    std::string path = live::pasted("text/uri-list");
    if (path.empty()) return {};
    path = path.substr(7, path.size() - 9);
    for (std::size_t at = 0; (at = path.find('%', at)) != std::string::npos; ++at)
        path.replace(at, 3, 1, static_cast<char>(std::stoi(path.substr(at + 1, 2), nullptr, 16)));
    return path;
}

}  // namespace user
