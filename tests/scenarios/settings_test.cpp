// The settings dialog, by keyboard and by mouse.

#include "settings/startup.h"
#include "tests/scenarios/user.h"

using namespace user;

namespace {

const std::string titleOfTip = "Quorvel Desk Clip — ";
constexpr UINT settingsEntry = 4;

void awaitFocus(int id) {
    await("the focus", [&] { return focus() == id; });
}

void openSettings() {
    openMenu();
    choose(settingsEntry);
    awaitFocus(ShortcutBox);
}

void awaitClosed() {
    await("the end of the dialog", [] { return !settingsAreOpen(); });
}

void capture(const std::vector<UINT>& keys, const std::string& text) {
    tabTo(ShortcutBox);
    press(keys);
    await(text.c_str(), [&] { return control(ShortcutBox).text == text; });
}

void checkStartEntry(bool checked) {
    clickControl(StartEntry);
    await("the check mark", [&] { return control(StartEntry).checked == checked; });
}

// Enter answers the box; the dialog is in front again.
void expectBox(const std::string& words) {
    await("the box", [] { return !box().empty(); });
    EXPECT_EQ(box(), words);
    press({VK_RETURN});
    await("the dialog", [] { return box().empty() && focus() == Save; });
}

std::string config() { return readFile(dataFolder() / "config.ini"); }

}  // namespace

TEST(Settings, openInThreeWaysAndTheShortcutWaits) {
    atDesktop([] {
        SecondStart second;
        const Program program("--settings");
        awaitFocus(ShortcutBox);
        EXPECT_EQ(control(ShortcutBox).text, "Ctrl+Shift+7");
        EXPECT_EQ(control(Hint).text,
                  "If enabled, keep this portable EXE in its current location.");
        takeForeground();
        awaitFocus(0);
        clickTray(3);  // Raises the dialog and opens no menu.
        awaitFocus(ShortcutBox);
        tabTo(StartEntry);
        takeForeground();
        awaitFocus(0);
        EXPECT_EQ(second.run(), "0");
        awaitFocus(StartEntry);
        pressShortcut();
        pressEsc();
        awaitClosed();
        openSettings();  // Would be refused during a selection.
        pressEsc();
        awaitClosed();
        openSheet();
    });
}

TEST(Settings, keysOnEveryControl) {
    const std::string saved = "saved", canceled = "canceled", menu = "menu", checked = "checked";
    const struct {
        std::vector<int> from;
        std::vector<UINT> keys;
        std::string outcome;  // one of these, the box's text, or the new focus
    } rows[] = {
        {{ShortcutBox}, {VK_LCONTROL, VK_LSHIFT, 'R'}, "Ctrl+Shift+R"},
        {{ShortcutBox}, {VK_LMENU, VK_F4}, "Alt+F4"},
        {{ShortcutBox}, {VK_LWIN, 'V'}, "Win+V"},
        {{ShortcutBox}, {VK_LSHIFT, '7'}, "Shift+7"},
        {{ShortcutBox}, {VK_F10}, "F10"},
        {{ShortcutBox}, {VK_LCONTROL, VK_TAB}, "1002"},
        {{ShortcutBox}, {VK_LSHIFT, VK_TAB}, "2"},
        {{StartEntry}, {VK_LSHIFT, VK_TAB}, "1001"},
        {{Save}, {VK_LSHIFT, VK_TAB}, "1002"},
        {{Cancel}, {VK_LMENU, 'S'}, "1001"},
        {{Save, Cancel}, {VK_LMENU, 'W'}, checked},
        {{Save, Cancel}, {'W'}, checked},
        {{StartEntry}, {VK_SPACE}, checked},
        {{StartEntry, Save}, {VK_LMENU}, menu},
        {{Save}, {VK_F10}, menu},
        {{ShortcutBox}, {VK_LCONTROL, VK_ESCAPE}, canceled},
        {{ShortcutBox, StartEntry, Save, Cancel}, {VK_ESCAPE}, canceled},
        {{Cancel}, {VK_RETURN}, canceled},
        {{Cancel}, {VK_SPACE}, canceled},
        {{StartEntry}, {VK_LMENU, VK_F4}, canceled},
        {{StartEntry, Save}, {VK_RETURN}, saved},
        {{Save}, {VK_SPACE}, saved},
        {{StartEntry}, {VK_LMENU, 'S'}, saved},
        {{StartEntry}, {'S'}, saved},
    };
    atDesktop([&] {
        const Program program;
        std::string tip = trayTip();
        int round = 0;
        for (const auto& row : rows)
            for (const int from : row.from) {
                SCOPED_TRACE(std::to_string(from) + " " + row.outcome);
                openSettings();
                // Something to save, another thing in each round.
                const int key = ++round % 2;
                const std::string pending = key ? "Ctrl+Alt+K" : "Ctrl+Alt+J";
                capture({VK_LCONTROL, VK_LMENU, key ? UINT{'K'} : UINT{'J'}}, pending);
                tabTo(from);
                press(row.keys);
                await(row.outcome.c_str(), [&] {
                    if (row.outcome == saved || row.outcome == canceled) return !settingsAreOpen();
                    if (row.outcome == menu) return menuIsOpen();
                    if (row.outcome == checked) return control(StartEntry).checked;
                    return control(ShortcutBox).text == row.outcome ||
                           std::to_string(focus()) == row.outcome;
                });
                if (row.outcome == menu) {
                    pressEsc();
                    await("the end of the menu", [] { return !menuIsOpen(); });
                }
                if (settingsAreOpen()) clickControl(Cancel);
                awaitClosed();
                if (row.outcome == saved) tip = titleOfTip + pending;
                await(tip.c_str(), [&] { return trayTip() == tip; });
            }
    });
}

TEST(Settings, saveSaysWhatWasSaved) {
    const WideText foreign = TEXT("C:\\Elsewhere\\QuorvelDeskClip.exe");
    const char* const saved = "Settings partially saved|Shortcut saved. Startup could not be saved:"
                              "\nAnother startup entry uses this name. It was not overwritten.\n\n"
                              "Startup state will be re-read. Retry Save, or Cancel to close; the "
                              "saved shortcut remains.";
    atDesktop([&] {
        takeShortcut(MOD_CONTROL, 'A');
        const Program program;
        openSettings();
        const std::string before = config();
        capture({VK_F1 + 4}, "F5");
        clickControl(Save);
        expectBox("Settings not saved|Use Ctrl, Alt, Shift or Win with a letter, digit, numpad key "
                  "or F1-F12.");
        EXPECT_EQ(control(ShortcutBox).text, "F5");
        capture({VK_LCONTROL, 'A'}, "Ctrl+A");
        clickControl(Save);
        expectBox("Settings not saved|Shortcut unavailable or reserved by Windows. Previous "
                  "shortcut kept.");
        EXPECT_EQ(config(), before);

        capture({VK_LMENU, VK_F1 + 7}, "Alt+F8");
        checkStartEntry(true);
        saveStartup(foreign, true);  // Another copy of the program is faster.
        clickControl(Save);
        expectBox(saved);
        await("the true state", [] { return !control(StartEntry).enabled; });
        EXPECT_FALSE(control(StartEntry).checked);
        EXPECT_EQ(control(Hint).text,
                  "Startup points elsewhere (possibly an older copy). Disable it from that copy "
                  "before moving. No entry was changed.");
        EXPECT_NE(config().find("modifiers=1\r\nkey=119"), std::string::npos) << config();
        clickControl(StartEntry);  // Greyed: does nothing.
        clickControl(Save);
        awaitClosed();
        EXPECT_TRUE(readStartup(foreign).checked);

        saveStartup(foreign, false);
        openSettings();
        checkStartEntry(true);
        clickControl(Save);
        awaitClosed();
        EXPECT_TRUE(readStartup(programPath()).checked);
        openSettings();
        EXPECT_TRUE(control(StartEntry).checked);
        checkStartEntry(false);
        capture({VK_LCONTROL, 'B'}, "Ctrl+B");
        pressEsc();  // Drops both.
        awaitClosed();
        EXPECT_TRUE(readStartup(programPath()).checked);
        EXPECT_EQ(trayTip(), titleOfTip + "Alt+F8");
        press({VK_LMENU, VK_F1 + 7});
        await("the sheet", sheetIsUp);
    });
}
