// What the user sees of the program, as other threads may read it.
//
// The user-interface thread alone owns windows, boxes and menus. It writes a copy of what matters
// here, so that the control functions never have to wait for it.

#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/control.h"

namespace desktop {

struct Shown {
    std::vector<ShownWindow> windows;  // topmost first
    std::vector<ShownBox> boxes;       // the last one is on top
    std::optional<ShownDialog> dialog;
    std::vector<MenuEntry> menu;
    std::vector<ShownBalloon> balloons;
    std::string trayTip;
    std::optional<std::vector<std::uint8_t>> clipboard;
};

inline std::mutex shownMutex;
inline Shown shownRecord;  // only with the mutex held

// Runs a look or a change with the record locked.
template <typename Look>
auto withShown(Look look) {
    const std::lock_guard lock(shownMutex);
    return look(shownRecord);
}

}  // namespace desktop
