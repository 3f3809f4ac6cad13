// The settings dialog, by keyboard and by mouse.

#include "settings/startup.h"
#include "tests/scenarios/user.h"

using namespace user;

namespace {

const std::string titleOfTip = "Quorvel Desk Clip — ";

void clickAndClose(int id) {
    clickControl(id);
    await("the end of the dialog", [] { return !settingsAreOpen(); });
}

void capture(const std::vector<UINT>& keys, const std::string& text) {
    tabTo(ShortcutBox);
    press(keys);
    await(text.c_str(), [&] { return control(ShortcutBox).text == text; });
}

void checkStartEntry() {
    clickControl(StartEntry);
    await("the check mark", [] { return control(StartEntry).checked; });
}

// Enter answers the box; the dialog is in front again.
void saveMeets(const std::string& words) {
    clickControl(Save);
    await("the box", [] { return !box().empty(); });
    EXPECT_EQ(box(), words);
    press({VK_RETURN});
    await("the dialog", [] { return box().empty() && focus() == Save; });
}

std::string config() { return readFile(dataFolder() / "config.ini"); }
}  // namespace

TEST(Settings, keysOnEveryControl) {
    const std::string saved = "saved", canceled = "canceled", menu = "menu", checked = "checked";
    // The focus, the keys, and what comes of it: one of these, the box's text, or the new focus.
    const std::tuple<int, std::vector<UINT>, std::string> rows[] = {
        {ShortcutBox, {VK_LMENU, VK_F4}, "Alt+F4"},
        {ShortcutBox, {VK_LWIN, 'V'}, "Win+V"},
        {ShortcutBox, {VK_LMENU}, "1001"},
        {ShortcutBox, {VK_LCONTROL, VK_TAB}, "1002"},
        {ShortcutBox, {VK_LSHIFT, VK_TAB}, "2"},
        {StartEntry, {VK_LSHIFT, VK_TAB}, "1001"},
        {Cancel, {VK_LMENU, 'S'}, "1001"},
        {Save, {VK_LMENU, 'W'}, checked},
        {Cancel, {'W'}, checked},
        {StartEntry, {VK_SPACE}, checked},
        {StartEntry, {VK_LMENU}, menu},
        {Save, {VK_F10}, menu},
        {ShortcutBox, {VK_LCONTROL, VK_ESCAPE}, canceled},
        {StartEntry, {VK_ESCAPE}, canceled},
        {Cancel, {VK_RETURN}, canceled},
        {StartEntry, {VK_LMENU, VK_F4}, canceled},
        {StartEntry, {VK_RETURN}, saved},
        {Save, {VK_SPACE}, saved},
        {StartEntry, {'S'}, saved},
    };
    atDesktop([&] {
        const Program program;
        std::string tip = trayTip();
        for (UINT key = 'A'; const auto& [from, keys, outcome] : rows) {
            SCOPED_TRACE(std::to_string(from) + " " + outcome);
            openSettings();
            const std::string pending = std::string("Ctrl+Alt+") + static_cast<char>(++key);
            capture({VK_LCONTROL, VK_LMENU, key}, pending);
            tabTo(from);
            press(keys);
            await(outcome.c_str(), [&] {
                if (outcome == saved || outcome == canceled) return !settingsAreOpen();
                if (outcome == menu) return menuIsOpen();
                if (outcome == checked) return control(StartEntry).checked;
                return control(ShortcutBox).text == outcome || std::to_string(focus()) == outcome;
            });
            if (outcome == menu) pressEsc();
            await("the end of the menu", [] { return !menuIsOpen(); });
            if (settingsAreOpen()) clickAndClose(Cancel);
            if (outcome == saved) tip = titleOfTip + pending;
            await(tip.c_str(), [&] { return trayTip() == tip; });
        }
    });
}

TEST(Settings, saveSaysWhatWasSaved) {
    const WideText foreign = TEXT("C:\\Elsewhere\\QuorvelDeskClip.exe");
    atDesktop([&] {
        takeCtrlA();
        const Program program;
        openSettings();
        const std::string before = config();
        capture({VK_F1 + 4}, "F5");
        saveMeets("Settings not saved|Use Ctrl, Alt, Shift or Win with a letter, digit, numpad key "
                  "or F1-F12.");
        EXPECT_EQ(control(ShortcutBox).text, "F5");
        capture({VK_LCONTROL, 'A'}, "Ctrl+A");
        saveMeets("Settings not saved|Shortcut unavailable or reserved by Windows. Previous "
                  "shortcut kept.");
        EXPECT_EQ(config(), before);

        capture({VK_LMENU, VK_F1 + 7}, "Alt+F8");
        checkStartEntry();
        saveStartup(foreign, true);  // Another copy of the program is faster.
        saveMeets("Settings partially saved|Shortcut saved. Startup could not be saved:\nAnother "
                  "startup entry uses this name. It was not overwritten.\n\nStartup state will be "
                  "re-read. Retry Save, or Cancel to close; the saved shortcut remains.");
        await("the true state", [] {  // The hint comes last.
            return control(Hint).text ==
                   "Startup points elsewhere (possibly an older copy). Disable it from that copy "
                   "before moving. No entry was changed.";
        });
        EXPECT_FALSE(control(StartEntry).enabled);
        EXPECT_FALSE(control(StartEntry).checked);
        EXPECT_NE(config().find("modifiers=1\r\nkey=119"), std::string::npos) << config();
        clickControl(StartEntry);  // Greyed: does nothing.
        clickAndClose(Save);
        EXPECT_TRUE(readStartup(foreign).checked);

        saveStartup(foreign, false);
        openSettings();
        checkStartEntry();
        clickAndClose(Save);
        openSettings();
        EXPECT_TRUE(control(StartEntry).checked);
        clickAndClose(Cancel);
        EXPECT_TRUE(readStartup(programPath()).checked);
        EXPECT_EQ(trayTip(), titleOfTip + "Alt+F8");
        press({VK_LMENU, VK_F1 + 7});
        await("the sheet", sheetIsUp);
    });
}
