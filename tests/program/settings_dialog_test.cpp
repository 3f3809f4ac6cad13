// The settings dialog where a planned fault, the call log or a second monitor is needed.

#include "demo/person.h"
#include "platform/control.h"
#include "tests/scenarios/user.h"

using namespace user;
using person::callsOf;

namespace {

void openSettings() {
    openMenu();
    desktop::startCallLog();
    choose(4);
    await("the dialog", [] { return focus() != 0; });
}

// The tip is updated when everything else is over.
void awaitClosed() {
    await("the end of the dialog", [] { return !callsOf("Shell_NotifyIconW").empty(); });
    EXPECT_FALSE(settingsAreOpen());
}

}  // namespace

TEST(SettingsDialog, isRestoredAndFlashesIfItCannotBeRaised) {
    atDesktop([] {
        Program program("--settings");
        await("the dialog", [] { return focus() == ShortcutBox; });
        tabTo(StartEntry);
        press({VK_LMENU, VK_SPACE});
        await("the system menu", menuIsOpen);
        choose(SC_MINIMIZE);
        await("the dialog minimized", [] { return !desktop::openDialog(); });
        clickTray(3);
        await("the dialog restored", [] { return focus() == StartEntry; });
        desktop::startCallLog();
        desktop::planFault({desktop::Fault::Fail, "SetForegroundWindow"});
        clickTray(3);
        await("a flash", [] { return callsOf("FlashWindowEx").size() == 1; });
        EXPECT_EQ(callsOf("FlashWindowEx").front(), "set, 2, 3, 0");
        EXPECT_TRUE(callsOf("DialogBoxParamW").empty());
        EXPECT_EQ(program.close(), 0) << "exit with the dialog open";
        EXPECT_TRUE(desktop::openObjects().empty() && !noticeIsNew());
    });
}

// Each row is followed by a Z, so that what the row did not cause is seen too.
TEST(SettingsDialog, theBoxTakesEveryKeyButAFew) {
    const struct {
        std::vector<UINT> keys;
        const char* text;    // what the box shows; empty: nothing new
        std::size_t passed;  // presses and releases that go on to others
    } rows[] = {
        {{VK_LCONTROL, VK_LSHIFT, 'R'}, "Ctrl+Shift+R", 4},
        {{VK_RCONTROL, VK_RMENU, VK_RSHIFT, VK_RWIN, VK_F12}, "Ctrl+Alt+Shift+Win+F12", 6},
        {{VK_RMENU, VK_F4}, "Alt+F4", 2},
        {{VK_LMENU, VK_SPACE}, "Alt+Space", 2},
        {{VK_LMENU, 'S'}, "Alt+S", 2},
        {{VK_LMENU, VK_TAB}, "", 4},
        {{VK_LMENU}, "", 2},
        {{VK_LSHIFT}, "", 2},
        {{VK_LSHIFT, '7'}, "Shift+7", 2},
        {{VK_LWIN}, "", 0},
        {{VK_LWIN, 'V'}, "Win+V", 0},
        {{VK_F10}, "F10", 0},
        {{VK_RETURN}, "Enter", 0},
        {{VK_LEFT}, "Num 4", 0},
        {{VK_F24}, "Key 135", 0},
    };
    atDesktop([&] {
        const Program program;
        openSettings();
        for (const auto& row : rows) {
            SCOPED_TRACE(row.text + std::to_string(row.keys.back()));
            desktop::startCallLog();
            press(row.keys);
            press({'Z'});
            std::vector<std::string> wanted{"set, 1001, \"Z\""};
            if (*row.text)
                wanted.insert(wanted.begin(), "set, 1001, \"" + std::string(row.text) + '"');
            await("Z", [&] { return callsOf("SetDlgItemTextW").size() >= wanted.size(); });
            EXPECT_EQ(callsOf("SetDlgItemTextW"), wanted);
            EXPECT_EQ(callsOf("CallNextHookEx").size(), row.passed);
            EXPECT_TRUE(focus() == ShortcutBox && desktop::openMenu().empty());
        }
        desktop::startCallLog();
        desktop::pressKey('A');
        await("A", [] { return control(ShortcutBox).text == "A"; });
        tabTo(StartEntry);
        desktop::releaseKey('A');
        desktop::pressKey(VK_TAB);
        await("Save", [] { return focus() == Save; });
        EXPECT_EQ(callsOf("CallNextHookEx").size(), 1u) << "A let go elsewhere is still eaten";
    });
}

TEST(SettingsDialog, theShortcutWaitsUntilItIsClosed) {
    atDesktop([] {
        const Program program;
        openSettings();
        tabTo(StartEntry);
        pressShortcut();
        desktop::planFault({desktop::Fault::Stall, "EndDialog"});
        pressEsc();
        await("the stall", desktop::faultStruck);
        pressShortcut();  // Still queued when the dialog has closed.
        desktop::clearFaults();
        awaitClosed();
        openSettings();  // Comes after both, and would be refused during a selection.
        pressEsc();
        awaitClosed();
        openSheet();
    });
}

TEST(SettingsDialog, failuresOnItsWay) {
    const char* const noIcons = "Cannot open Settings|Cannot load branded window icons.";
    const struct {
        const char* operation;
        int nth;
        const char* shown;  // a message box
        const char* notice;
    } rows[] = {
        {"GetModuleFileNameW", 1, "", "Cannot determine the current executable path."},
        {"DialogBoxParamW", 1, "", "Cannot open Settings."},
        {"LoadImageW", 1, noIcons, "Cannot open Settings."},
        {"LoadImageW", 2, noIcons, "Cannot open Settings."},
        {"SetWindowsHookExW", 1, "", ""},
    };
    atDesktop([&] {
        const Program program;
        await("the shortcut", [] { return desktop::openObjects().count("HotKey") == 1; });
        const auto idle = desktop::openObjects();
        for (const auto& row : rows) {
            SCOPED_TRACE(row.operation);
            openMenu();
            desktop::planFault({desktop::Fault::Fail, row.operation, row.nth});
            desktop::startCallLog();
            choose(4);
            if (*row.shown) {
                await("the box", [&] { return box() == row.shown; });
                press({VK_RETURN});
            }
            if (!*row.notice) {
                await("the dialog", [] { return focus() == StartEntry; });
                EXPECT_EQ(control(Hint).text,
                          "Shortcut capture unavailable. Existing shortcut kept.");
                EXPECT_FALSE(control(ShortcutBox).enabled);
                clickControl(Save);
            }
            awaitClosed();
            desktop::clearFaults();
            if (*row.notice) awaitNotice(row.notice);
            EXPECT_FALSE(noticeIsNew());
            EXPECT_EQ(desktop::openObjects(), idle);
        }
    });
}

TEST(SettingsDialog, followsTheScaleOfItsMonitor) {
    const auto width = [] { return control(Save).bounds.right - control(Save).bounds.left; };
    atDesktop([&] {
        desktop::setMonitors({{{0, 0, 1000, 800}, 1, 96}, {{1000, 0, 2500, 1200}, 1, 144}});
        const Program program("--settings");
        await("the dialog", [] { return focus() == ShortcutBox; });
        const LONG small = width();
        drag({500, control(ShortcutBox).bounds.top - 60, 1700, 300});
        await("the other scale", [&] { return width() > small; });
        EXPECT_NEAR(width() * 2, small * 3, 20);
        desktop::planFault({desktop::Fault::Fail, "LoadImageW"});
        drag({1700, control(ShortcutBox).bounds.top - 90, 500, 300});
        await("the failure",
              [] { return control(Hint).text == "Cannot load branded window icons."; });
        EXPECT_EQ(width(), small);
        desktop::startCallLog();
        clickControl(Cancel);
        awaitClosed();
    });
}
