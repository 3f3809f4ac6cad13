// The control functions that look at what the program shows, on any host.

#include "platform/core/shown.h"

#include <stdexcept>

namespace desktop {

std::mutex& shownMutex() {
    static std::mutex mutex;
    return mutex;
}

Shown& shownRecord() {
    static Shown shown;
    return shown;
}

std::vector<ShownBalloon> balloons() {
    return withShown([](Shown& shown) { return shown.balloons; });
}

std::string trayTip() {
    return withShown([](Shown& shown) { return shown.trayTip; });
}

void waitForBalloon(const std::string& text) {
    const auto isThere = [&] {
        for (const ShownBalloon& balloon : balloons())
            if (balloon.text == text) return true;
        return false;
    };
    if (waitUntil(isThere)) return;
    std::string all;
    for (const ShownBalloon& balloon : balloons()) all += "\n  " + balloon.text;
    throw std::runtime_error("No balloon \"" + text + "\" came, but these:" + all);
}

std::vector<ShownBox> openBoxes() {
    return withShown([](Shown& shown) { return shown.boxes; });
}

std::optional<ShownDialog> openDialog() {
    return withShown([](Shown& shown) { return shown.dialog; });
}

std::vector<MenuEntry> openMenu() {
    return withShown([](Shown& shown) { return shown.menu; });
}

std::vector<ShownWindow> windows() {
    return withShown([](Shown& shown) {
        std::vector<ShownWindow> windows;
        for (const ShownHandle& entry : shown.windows) windows.push_back(entry.window);
        return windows;
    });
}

std::optional<std::vector<std::uint8_t>> clipboardBlock() {
    return withShown([](Shown& shown) { return shown.clipboard; });
}

}  // namespace desktop
