// The settings dialog as a person uses it: with the keyboard, with the mouse, and when things fail.

#include "settings/startup.h"
#include "tests/program/settings_dialog.h"

using namespace person;

namespace {

enum Entry { settings = 4, minimize = 0xF020 };

const char* const keepExe = "If enabled, keep this portable EXE in its current location.";
const char* const noCapture = "Shortcut capture unavailable. Existing shortcut kept.";
const char* const foreignEntry = "Startup points elsewhere (possibly an older copy). Disable it "
                                 "from that copy before moving. No entry was changed.";

void openSettings() {
    openTrayMenu();
    chooseFromMenu(settings);
    await("the dialog", [] { return focus() != 0; });
}

}  // namespace

TEST(SettingsDialog, opensInThreeWaysAndIsRaised) {
    atDesktop([] {
        SecondProcess second([] {
            return wWinMain(GetModuleHandleW(nullptr), nullptr, std::u16string().data(), 0);
        });
        Program program(u"--settings");
        await("the dialog", [] { return focus() == box; });
        desktop::startCallLog();
        EXPECT_EQ(desktop::openDialog()->title, "Quorvel Clip - Settings");
        EXPECT_EQ(control(box).text, "Ctrl+Shift+7");
        EXPECT_EQ(control(hint).text, keepExe);
        desktop::takeForeground();
        await("another program in front", [] { return focus() == 0; });
        desktop::clickTray(WM_RBUTTONUP);
        await("the dialog in front", [] { return focus() == box; });
        tabTo(startup);
        pressKeys({VK_LMENU, VK_SPACE});
        chooseFromMenu(minimize);
        await("the dialog minimised", [] { return !desktop::openDialog(); });
        second.run();
        await("the dialog restored", [] { return focus() == startup; });
        desktop::planFault({desktop::Fault::Fail, "SetForegroundWindow"});
        desktop::clickTray(WM_RBUTTONUP);
        await("a flash", [] { return callsOf("FlashWindowEx").size() == 1; });
        EXPECT_EQ(callsOf("FlashWindowEx").front(), "set, 2, 3, 0");
        EXPECT_TRUE(callsOf("DialogBoxParamW").empty());
        pressEsc();
        awaitClosed();
        openSettings();
        EXPECT_EQ(program.close(), 0) << "exit with the dialog open";
        EXPECT_TRUE(desktop::balloons().empty() && desktop::openObjects().empty());
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
        Program program;
        openSettings();
        for (const auto& row : rows) {
            SCOPED_TRACE(row.text + std::to_string(row.keys.back()));
            desktop::startCallLog();
            pressKeys(row.keys);
            pressKeys({'Z'});
            std::vector<std::string> wanted{"set, 1001, \"Z\""};
            if (*row.text)
                wanted.insert(wanted.begin(), "set, 1001, \"" + std::string(row.text) + '"');
            await("Z", [&] { return callsOf("SetDlgItemTextW").size() >= wanted.size(); });
            EXPECT_EQ(callsOf("SetDlgItemTextW"), wanted);
            EXPECT_EQ(callsOf("CallNextHookEx").size(), row.passed);
            EXPECT_TRUE(focus() == box && desktop::openMenu().empty());
        }
        desktop::startCallLog();
        desktop::pressKey('A');
        await("A", [] { return control(box).text == "A"; });
        tabTo(startup);
        desktop::releaseKey('A');
        desktop::pressKey(VK_TAB);
        await("Save", [] { return focus() == save; });
        EXPECT_EQ(callsOf("CallNextHookEx").size(), 1u) << "A let go elsewhere is still eaten";
    });
}

TEST(SettingsDialog, aForeignStartupEntryIsLeftAlone) {
    const std::u16string elsewhere = u"C:\\Elsewhere\\QuorvelDeskClip.exe";
    atDesktop([&] {
        saveStartup(elsewhere, true);
        Program program;
        openSettings();
        EXPECT_FALSE(control(startup).enabled || control(startup).checked);
        EXPECT_EQ(control(hint).text, foreignEntry);
        click(startup);  // Greyed: does nothing.
        capture({VK_LMENU, VK_F1 + 7}, "Alt+F8");
        click(save);
        awaitClosed();
        await("the tip", [] { return desktop::trayTip() == "Quorvel Desk Clip — Alt+F8"; });
        EXPECT_EQ(callsOf("RegOpenKeyExW").size(), 1u) << "only looked at, when it opened";
        EXPECT_TRUE(readStartup(elsewhere).checked);
    });
}

TEST(SettingsDialog, theShortcutWaitsUntilItIsClosed) {
    atDesktop([] {
        Program program;
        openSettings();
        tabTo(startup);
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
    const char* const noIcons = "Cannot open Settings|Cannot load branded window icons.|16";
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
        Program program;
        await("the shortcut", [] { return desktop::openObjects().count("HotKey") == 1; });
        const auto idle = desktop::openObjects();
        for (const auto& row : rows) {
            SCOPED_TRACE(row.operation);
            const std::size_t notices = desktop::balloons().size();
            openTrayMenu();
            desktop::planFault({desktop::Fault::Fail, row.operation, row.nth});
            chooseFromMenu(settings);
            EXPECT_EQ(*row.shown ? readBox() : "", row.shown);
            if (!*row.notice) {
                await("the dialog", [] { return focus() == startup; });
                EXPECT_EQ(control(hint).text, noCapture);
                EXPECT_FALSE(control(box).enabled);
                click(save);
            }
            awaitClosed();
            desktop::clearFaults();
            EXPECT_EQ(desktop::balloons().size(), notices + (*row.notice ? 1 : 0));
            EXPECT_EQ(*row.notice ? lastNotice() : "", row.notice);
            EXPECT_EQ(desktop::openObjects(), idle);
        }
    });
}

TEST(SettingsDialog, followsTheScaleOfItsMonitor) {
    const auto width = [] { return control(save).bounds.right - control(save).bounds.left; };
    atDesktop([&] {
        desktop::setMonitors({{{0, 0, 1000, 800}, 1, 96}, {{1000, 0, 2500, 1200}, 1, 144}});
        Program program(u"--settings");
        await("the dialog", [] { return focus() == box; });
        const LONG small = width();
        drag(500, control(box).bounds.top - 60, 1700, 300);
        await("the other scale", [&] { return width() > small; });
        EXPECT_NEAR(width() * 2, small * 3, 20);
        desktop::planFault({desktop::Fault::Fail, "LoadImageW"});
        drag(1700, control(box).bounds.top - 90, 500, 300);
        await("the failure",
              [] { return control(hint).text == "Cannot load branded window icons."; });
        EXPECT_EQ(width(), small);
        desktop::startCallLog();
        click(cancel);
        awaitClosed();
    });
}
