#include <cstdlib>

#include "platform/hosts/host.h"
#include "tests/scenarios/native.h"

namespace user {

void openDesktop() {
    setenv("EMBEDDED_DESKTOP", "user", 1);
    useHost();
    desktop::setMonitors({{{0, 0, 1920, 1080}}});
    desktop::paintDesktop([](const desktop::Canvas& canvas) {
        std::fill_n(canvas.pixels, canvas.stride * canvas.height, ground);
    });
}

void useHost() { host::use(host::memoryHost()); }

void doubleClickTray() {
    clickTray(1);
    desktop::clickTray(WM_LBUTTONDBLCLK);
    desktop::clickTray(WM_LBUTTONUP);
}

bool othersGet(const std::vector<UINT>& keys) {
    desktop::inputOfOthers();
    press(keys);
    press({VK_F12});
    std::set<UINT> passed;
    await("a key for others", [&] {
        for (const desktop::PassedInput& input : desktop::inputOfOthers())
            if (input.isKey && input.pressed) passed.insert(input.key);
        return passed.contains(VK_F12);
    });
    return passed.contains(keys.back());
}

void takeCtrlA() { desktop::takeHotKey(MOD_CONTROL, 'A'); }
void takeForeground() { desktop::takeForeground(); }

void restartShell() {
    desktop::startCallLog();
    desktop::restartShell();
    await("the icon", [] { return !callsOf("Shell_NotifyIconW").empty(); });
}

void endSession(bool reallyEnds) {
    desktop::endSession(reallyEnds);
    if (reallyEnds) waitUntil([] { return false; });  // The process ends here.
}

std::uint32_t pixel(int x, int y) { return desktop::screenPixel(x, y); }

}  // namespace user
