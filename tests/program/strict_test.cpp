// Where Windows would punish a program that runs all the same on a desktop that is more generous.

#include <algorithm>

#include "common/messages.h"
#include "demo/person.h"
#include "platform/control.h"
#include "tests/scenarios/user.h"

using namespace user;

namespace {

desktop::ShownWindow windowOf(const char* className) {
    for (const desktop::ShownWindow& window : desktop::windows())
        if (window.className == className && window.visible) return window;
    return {};
}

std::string inTaskbar() {
    std::string names;
    for (const desktop::ShownWindow& window : desktop::windows())
        if (window.inTaskbar) names += window.className;
    return names;
}

}  // namespace

// The frame never takes the keyboard, and only the dialog has a button in the taskbar.
TEST(Strict, overlayLeavesTheUsersWorkAlone) {
    atDesktop([] {
        const Program program;
        openSheet();
        EXPECT_EQ(inTaskbar(), "");
        EXPECT_EQ(windowOf("QuorvelClipOverlay").cursor,
                  reinterpret_cast<std::uintptr_t>(IDC_CROSS));
        dragRegion();
        EXPECT_EQ(inTaskbar(), "");
        EXPECT_TRUE(othersGet({'A'}));
        desktop::inputOfOthers();
        stopRecording();
        for (const desktop::PassedInput& input : desktop::inputOfOthers())
            EXPECT_NE(input.key, UINT{VK_ESCAPE}) << "The hook has answered in time.";
        RECT balloon{};
        await("a balloon, in no capture", [&] {
            balloon = windowOf("tooltips_class32").bounds;
            const LONG x = balloon.left + 2, y = balloon.top + 2;
            return pixel(x, y) != desktop::capturedPixel(x, y);
        });
        EXPECT_LT(balloon.bottom, 1040) << "The taskbar is below.";
        move(1880, 1060);
        await("the tip, above the icon", [&] {
            const LONG bottom = windowOf("tooltips_class32").bounds.bottom;
            return bottom != balloon.bottom && bottom > 1000 && bottom <= 1052;
        });
        openMenu();
        choose(4);
        await("the dialog", [] { return focus() == ShortcutBox; });
        EXPECT_EQ(inTaskbar(), "#32770");
        // What follows WM_CLOSE in the queue comes too late for the dialog.
        desktop::planFault({desktop::Fault::Stall, "SetDlgItemTextW"});
        press({VK_LMENU, 'K'});
        await("the new text", desktop::faultStruck);
        desktop::postToWindow("#32770", WM_CLOSE);
        desktop::postToWindow("#32770", WM_COMMAND, IDOK);
        desktop::clearFaults();
        await("the end of the dialog", [] { return !settingsAreOpen(); });
        EXPECT_EQ(person::callsOf("EndDialog"), std::vector<std::string>{"set, 2"});
    });
}

// The tray window keeps the foreground of its menu until the user goes elsewhere; after that only
// the user's next step towards the program allows it again.
TEST(Strict, theForegroundIsTheUsersToGive) {
    atDesktop([] {
        const Program program;
        openMenu();
        pressEsc();
        await("the end of the menu", [] { return !menuIsOpen(); });
        click(300, 900);
        await("the user elsewhere", [] {
            return std::ranges::none_of(desktop::windows(), &desktop::ShownWindow::foreground);
        });
        desktop::postToWindow("QuorvelDeskClip", WM_APP_OPEN_SETTINGS);
        await("the dialog", [] { return desktop::openDialog().has_value(); });
        EXPECT_EQ(focus(), 0);
        clickTray(3);
        await("the dialog in front", [] { return focus() == ShortcutBox; });
    });
}

// Save fails, and a second start raises the dialog under the box: Enter must not save again.
TEST(Strict, aRaisedDialogStaysDisabledUnderItsBox) {
    atDesktop([] {
        const Program program("--settings");
        await("the dialog", [] { return focus() == ShortcutBox; });
        desktop::planFault({desktop::Fault::Fail, "RegOpenKeyExW", 1, 0, true});
        tabTo(StartEntry);
        press({VK_SPACE});
        press({VK_RETURN});
        await("the box", [] { return !box().empty(); });
        desktop::clearFaults();
        desktop::startCallLog();
        desktop::postToWindow("QuorvelDeskClip", WM_APP_OPEN_SETTINGS);
        await("the dialog raised", [] { return !person::callsOf("SetForegroundWindow").empty(); });
        press({VK_RETURN});
        const RECT bounds = windowOf("#32770").bounds;
        click(bounds.right - 50, bounds.bottom - 25);
        await("the end of the box", [] { return box().empty(); });
        EXPECT_TRUE(settingsAreOpen());
        EXPECT_TRUE(person::callsOf("IsWindowEnabled").empty());
    });
}
