// The settings dialog as a person sees it, on any desktop.

#pragma once

#include "tests/program/person.h"

namespace person {

enum SettingsControl { box = 1001, startup = 1002, hint = 1003, save = 1, cancel = 2 };

inline desktop::ShownControl control(int id) {
    if (const auto dialog = desktop::openDialog())
        for (const desktop::ShownControl& one : dialog->controls)
            if (one.id == id) return one;
    return {};
}

// 0: the dialog is not open or not in the foreground.
inline int focus() {
    if (const auto dialog = desktop::openDialog())
        for (const desktop::ShownControl& one : dialog->controls)
            if (one.focused) return one.id;
    return 0;
}

inline void click(int id) {
    const RECT area = control(id).bounds;
    drag((area.left + area.right) / 2, (area.top + area.bottom) / 2, area.left + 4, area.top + 4);
}

inline void tabTo(int id) {
    for (int tries = 0; focus() != id && tries < 4; ++tries) {
        const int before = focus();
        pressKeys({VK_TAB});
        await("another focus", [&] { return focus() != before; });
    }
}

inline void capture(const std::vector<UINT>& keys, const std::string& text) {
    tabTo(box);
    pressKeys(keys);
    await("the shortcut", [&] { return control(box).text == text; });
}

// The tip is brought up to date when everything else is over.
inline void awaitClosed() {
    await("the end of the dialog", [] { return !callsOf("Shell_NotifyIconW").empty(); });
    EXPECT_FALSE(desktop::openDialog());
}

}  // namespace person
