// A live display: an Xvfb of the test's own with a tray, and another program's window that has the
// keyboard.

#include <optional>

#include "platform/hosts/host.h"
#include "platform/user32/window.h"
#include "tests/live/xvfb.h"
#include "tests/scenarios/native.h"

namespace user {

namespace {

std::optional<live::Client> others;
pid_t tray = 0;

// At the top: without a window manager the program's own notices know of no panel and cover it.
// A tray that came later would take the icon for a moment.
void startTray() { tray = live::startTray("top"); }

}  // namespace

void openDesktop() {
    live::startDisplay();
    others.emplace(RECT{0, 0, 1920, 1080});
    startTray();
    person::hands.clickTray = [](int button) {
        const POINT icon = live::awaitIcon(trayTip());
        click(icon.x, icon.y, button);
    };
}

void useHost() { host::use(host::x11Host()); }

void doubleClickTray() {
    const POINT icon = live::awaitIcon(trayTip());
    move(icon.x, icon.y);
    live::input("click --repeat 2 1");
}

// The last key is one that nobody waits for: when it comes, the others have been decided.
bool othersGet(const std::vector<UINT>& keys) {
    const std::size_t before = others->heard().size();
    press(keys);
    press({'Q'});
    await("a key for others", [&] { return others->heard().substr(before).ends_with("-q"); });
    return others->heard().substr(before) != "+q-q";
}

void takeCtrlA() { live::grabKey(XCB_MOD_MASK_CONTROL, "a"); }
void takeForeground() { others->takeFocus(); }

void restartShell() {
    live::end(tray);
    await("the end of the icon", [] { return !live::isShown(trayTip()); });
    startTray();
    live::awaitIcon(trayTip());
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

}  // namespace user
