#include "platform/core/shown.h"

#include <algorithm>
#include <stdexcept>

namespace desktop {

namespace {

template <typename Member>
Member copyOf(Member Shown::*member) {
    return withShown([member](const Shown& shown) { return shown.*member; });
}

}  // namespace

std::vector<ShownBalloon> balloons() { return copyOf(&Shown::balloons); }
std::string trayTip() { return copyOf(&Shown::trayTip); }
std::vector<ShownBox> openBoxes() { return copyOf(&Shown::boxes); }
std::optional<ShownDialog> openDialog() { return copyOf(&Shown::dialog); }
std::vector<MenuEntry> openMenu() { return copyOf(&Shown::menu); }
std::optional<std::vector<std::uint8_t>> clipboardBlock() { return copyOf(&Shown::clipboard); }
std::vector<ShownWindow> windows() { return copyOf(&Shown::windows); }

void waitForBalloon(const std::string& text) {
    if (waitUntil([&] { return std::ranges::count(balloons(), text, &ShownBalloon::text) > 0; }))
        return;
    std::string all;
    for (const ShownBalloon& balloon : balloons()) all += "\n  " + balloon.text;
    throw std::runtime_error("No balloon \"" + text + "\" came, but these:" + all);
}

}  // namespace desktop
