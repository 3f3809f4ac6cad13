// The settings dialog with keys and pointer, on the embedded desktop and on a live display among
// other programs. The program runs in this process, so that what it shows can be read.

#include <sys/stat.h>

#include "platform/hosts/host.h"
#include "tests/live/xvfb.h"
#include "tests/program/settings_dialog.h"

using namespace person;

namespace {

void atLiveDesktop(const std::function<void()>& body) {
    atDesktop([&] {
        live::startDisplay();
        live::takeHands();
        host::use(host::x11Host());
        body();
    });
}

void atBothDesktops(const std::function<void()>& body) {
    atDesktop(body);
    atLiveDesktop(body);
}

bool isLive() { return host::current().name == std::string("x11"); }

// As a second start asks for it.
void openSettings() {
    await("the tray icon", [] { return !desktop::trayTip().empty(); });
    desktop::postToWindow("QuorvelDeskClip",
                          RegisterWindowMessageW(u"QuorvelDeskClip.ActivateSettings.v1"));
    await("the dialog", [] { return focus() != 0; });
    desktop::startCallLog();
}

void closeByEsc() {
    pressEsc();
    awaitClosed();
}

// Another program has Ctrl+A.
void takeShortcut() {
    if (!isLive()) return desktop::takeHotKey(MOD_CONTROL, 'A');
    constexpr xcb_keycode_t keyA = 38;
    xcb_grab_key(live::person(), 0, live::root(), XCB_MOD_MASK_CONTROL, keyA, XCB_GRAB_MODE_ASYNC,
                 XCB_GRAB_MODE_ASYNC);
    live::pixelAt(0, 0);  // carried out by now
}

// A window of another program lies over the control, gets the click and goes again.
void clickOnAnother(int id) {
    const POINT at{control(id).bounds.left + 20, control(id).bounds.top + 10};
    const xcb_window_t window = xcb_generate_id(live::person());
    const std::uint32_t values[] = {1, XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE};
    xcb_create_window(live::person(), XCB_COPY_FROM_PARENT, window, live::root(),
                      static_cast<std::int16_t>(at.x - 9), static_cast<std::int16_t>(at.y - 9), 18,
                      18, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(live::person(), window);
    live::click(at);
    live::awaitEvent(XCB_BUTTON_RELEASE);
    xcb_destroy_window(live::person(), window);
}

}  // namespace

TEST(Settings, keysOnEveryControl) {
    const std::string saved = "set, 1", cancelled = "set, 2", menu = "menu", checked = "checked";
    const struct {
        std::vector<int> from;
        std::vector<UINT> keys;
        std::string outcome;  // a result, what the dialog shows, the box's text, or the new focus
    } rows[] = {
        {{box}, {VK_LCONTROL, VK_LSHIFT, 'R'}, "Ctrl+Shift+R"},
        {{box}, {VK_LMENU, VK_F4}, "Alt+F4"},
        {{box}, {VK_LWIN, 'V'}, "Win+V"},
        {{box}, {VK_RETURN}, "Enter"},
        {{box}, {VK_LSHIFT, '7'}, "Shift+7"},
        {{box}, {VK_LCONTROL, VK_ESCAPE}, cancelled},
        {{box, startup, save, cancel}, {VK_ESCAPE}, cancelled},
        {{box}, {VK_LCONTROL, VK_TAB}, "1002"},
        {{box}, {VK_LSHIFT, VK_TAB}, "2"},
        {{startup}, {VK_LSHIFT, VK_TAB}, "1001"},
        {{save}, {VK_LSHIFT, VK_TAB}, "1002"},
        {{startup, save}, {VK_RETURN}, saved},
        {{cancel}, {VK_RETURN}, cancelled},
        {{startup}, {VK_LMENU, VK_F4}, cancelled},
        {{startup}, {VK_SPACE}, checked},
        {{save}, {VK_SPACE}, saved},
        {{cancel}, {VK_SPACE}, cancelled},
        {{startup}, {VK_LMENU, 'S'}, saved},
        {{startup}, {'S'}, saved},
        {{cancel}, {VK_LMENU, 'S'}, "1001"},
        {{save, cancel}, {VK_LMENU, 'W'}, checked},
        {{save, cancel}, {'W'}, checked},
        {{startup, save}, {VK_LMENU}, menu},
        {{save}, {VK_F10}, menu},
    };
    atBothDesktops([&] {
        std::optional<live::Client> others;
        if (isLive()) others.emplace(RECT{100, 100, 900, 500}, "still");
        Program program;
        const auto shown = [] {
            const auto ends = callsOf("EndDialog");
            if (!ends.empty()) return std::set{ends.front()};
            return std::set{std::to_string(focus()), control(box).text,
                            std::string(control(startup).checked ? "checked" : ""),
                            std::string(desktop::openMenu().empty() ? "" : "menu")};
        };
        for (const auto& row : rows)
            for (const int from : row.from) {
                SCOPED_TRACE(std::to_string(from) + " " + row.outcome);
                openSettings();
                tabTo(from);
                pressKeys(row.keys);
                await(row.outcome.c_str(), [&] { return shown().contains(row.outcome); });
                if (row.outcome == menu)
                    chooseFromMenu(SC_CLOSE);
                else if (callsOf("EndDialog").empty())
                    click(cancel);
                awaitClosed();
            }
        EXPECT_TRUE(!others || others->heard().find("+Esc") == std::string::npos);
    });
}

TEST(Settings, opensAndIsRaisedAndTheShortcutWaits) {
    atLiveDesktop([] {
        const live::Client others({100, 100, 900, 500}, "still");
        const xcb_window_t another = live::focus();
        const Path own = home() / "program", autostart = home() / "config" / "autostart";
        std::filesystem::copy_file(PROGRAM_FILE, own);
        umask(022);
        const pid_t first = live::start({own, "--settings"});
        await("the first start's dialog", [&] { return live::focus() != another; });
        live::tap(live::escapeKey);
        await("its end", [&] { return live::focus() == another; });
        std::filesystem::rename(own, home() / "older");  // by a new build
        EXPECT_EQ(live::waitFor(live::start({PROGRAM_FILE})), 0);
        await("the dialog again", [&] { return live::focus() != another; });
        const RECT dialog = live::boundsOf(live::focus());
        const POINT mark{dialog.left + 27, dialog.top + 174};
        live::click(mark);
        await("the check mark", [&] { return live::pixelAt(mark.x, mark.y) == 0x0067C0; });
        live::click({dialog.left + 303, dialog.top + 263});  // Save
        await("its end", [&] { return live::focus() == another; });
        EXPECT_EQ(live::end(first), 0);
        const Path entry = autostart / "QuorvelDeskClip.desktop";
        EXPECT_NE(contentOf(entry).find("\nExec=\"" + own.string() + "\"\n"), std::string::npos);
        EXPECT_EQ(std::filesystem::status(autostart).permissions(), std::filesystem::perms(0700));
        EXPECT_EQ(std::filesystem::status(entry).permissions(), std::filesystem::perms(0600));
        std::filesystem::remove(entry);

        Program program(u"--settings");
        await("the dialog", [] { return focus() == box; });
        xcb_set_input_focus(live::person(), XCB_INPUT_FOCUS_PARENT, another, XCB_CURRENT_TIME);
        live::tap('x');
        await("x", [&] { return others.heard().ends_with("-x"); });
        await("another program in front", [] { return focus() == 0; });
        desktop::startCallLog();
        EXPECT_EQ(live::waitFor(live::start({PROGRAM_FILE})), 0);
        await("the dialog in front", [] { return focus() == box; });
        EXPECT_TRUE(callsOf("DialogBoxParamW").empty());
        tabTo(startup);
        pressShortcut();
        pressKeys({VK_TAB});
        await("Save", [] { return focus() == save; });
        closeByEsc();
        openSettings();  // Would be refused during a selection.
        closeByEsc();
        EXPECT_EQ(live::focus(), another);
        pressShortcut();
        await("the sheet", sheetIsUp);
    });
}

TEST(Settings, saveEndsInThreeWays) {
    const auto config = [] { return contentOf(dataFolder() / "config.ini"); };
    atBothDesktops([&] {
        takeShortcut();
        Program program;
        openSettings();
        const auto idle = desktop::openObjects();
        const std::string before = config();
        capture({VK_F1 + 4}, "F5");
        click(save);
        await("the box", [] { return !desktop::openBoxes().empty(); });
        desktop::startCallLog();
        click(save);  // Under the box: does nothing.
        pressKeys({'X'});
        await("X", [] { return callsOf("CallNextHookEx").size() == 2; });
        EXPECT_EQ(readBox(), "Settings not saved|Use Ctrl, Alt, Shift or Win with a letter, digit, "
                             "numpad key or F1-F12.|48");
        await("the dialog", [] { return focus() == save; });
        EXPECT_EQ(control(box).text, "F5");
        capture({VK_LCONTROL, 'A'}, "Ctrl+A");
        click(save);
        EXPECT_EQ(readBox(), "Settings not saved|Shortcut unavailable or reserved by Windows. "
                             "Previous shortcut kept.|48");
        await("the dialog", [] { return focus() == save; });
        EXPECT_EQ(config(), before);
        EXPECT_EQ(desktop::openObjects(), idle);

        capture({VK_LMENU, VK_F1 + 7}, "Alt+F8");
        if (isLive()) clickOnAnother(cancel);
        click(startup);
        await("the check mark", [] { return control(startup).checked; });
        desktop::planFault({desktop::Fault::Fail, "RegSetValueExW", 1, ERROR_ACCESS_DENIED});
        click(save);
        EXPECT_EQ(readBox(),
                  "Settings partially saved|Shortcut saved. Startup could not be saved:\nWindows "
                  "refused the startup change.\n\nStartup state will be re-read. Retry Save, or "
                  "Cancel to close; the saved shortcut remains.|48");
        await("the true state", [] { return focus() == save && !control(startup).checked; });
        click(startup);
        await("the check mark", [] { return control(startup).checked; });
        click(save);
        awaitClosed();
        EXPECT_NE(config().find("modifiers=1\r\nkey=119"), std::string::npos) << config();
        EXPECT_EQ(filesIn(home() / "config" / "autostart").size(), 1u);

        openSettings();
        EXPECT_TRUE(control(startup).checked);
        capture({VK_LCONTROL, 'B'}, "Ctrl+B");
        closeByEsc();  // Drops it.
        await("the tip", [] { return desktop::trayTip() == "Quorvel Desk Clip — Alt+F8"; });
        pressKeys({VK_LMENU, VK_F1 + 7});
        await("the sheet", sheetIsUp);
    });
}
