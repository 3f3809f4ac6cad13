// The settings dialog on a live display: real keys, a real pointer, and other programs that want
// both. The program runs in this process, so that what it shows can be read.

#include <cstdlib>
#include <memory>

#include "platform/hosts/host.h"
#include "tests/live/xvfb.h"
#include "tests/program/settings_dialog.h"

using namespace person;

namespace {

using Keys = std::vector<xcb_keysym_t>;
constexpr xcb_keysym_t tabKey = 0xff09, enterKey = 0xff0d, winKey = 0xffeb, f4Key = 0xffc1;

void atLiveDesktop(const std::function<void()>& body) {
    atDesktop([&] {
        live::startDisplay();
        host::use(host::x11Host());
        body();
    });
}

// A second start asks the first one.
void openSettings() {
    await("the tray icon", [] { return !desktop::trayTip().empty(); });
    EXPECT_EQ(live::waitFor(live::start({PROGRAM_FILE})), 0);
    await("the dialog", [] { return focus() != 0; });
    desktop::startCallLog();
}

void tabTo(int id) {
    for (int tries = 0; focus() != id && tries < 4; ++tries) {
        const int before = focus();
        live::tap(tabKey);
        await("another focus", [&] { return focus() != before; });
    }
}

void closeWith(xcb_keysym_t key) {
    live::tap(key);
    awaitClosed();
}

void capture(const Keys& keys, const std::string& text) {
    tabTo(box);
    live::pressKeys(keys);
    await(text.c_str(), [&] { return control(box).text == text; });
}

// A window of another program lies there, gets the click and goes again.
void clickOnAnother(POINT at) {
    const xcb_window_t window = xcb_generate_id(live::person());
    const std::uint32_t values[] = {1, XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE};
    xcb_create_window(live::person(), XCB_COPY_FROM_PARENT, window, live::root(),
                      static_cast<std::int16_t>(at.x - 9), static_cast<std::int16_t>(at.y - 9), 18,
                      18, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(live::person(), window);
    live::click(at);
    await("the click", [] {
        const std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> event(
            xcb_poll_for_event(live::person()), std::free);
        return event && (event->response_type & 0x7f) == XCB_BUTTON_RELEASE;
    });
    xcb_destroy_window(live::person(), window);
}

std::string config() { return contentOf(dataFolder() / "config.ini"); }

}  // namespace

TEST(LiveSettings, keysOnEveryControl) {
    const std::string saved = "set, 1", cancelled = "set, 2", checked = "checked";
    const struct {
        int from;
        Keys keys;
        std::string outcome;  // a result, or the box's text, or the new focus
    } rows[] = {
        {box, {live::controlKey, live::shiftKey, 'r'}, "Ctrl+Shift+R"},
        {box, {live::altKey, f4Key}, "Alt+F4"},
        {box, {winKey, 'v'}, "Win+V"},
        {box, {enterKey}, "Enter"},
        {box, {live::shiftKey, '7'}, "Shift+7"},
        {box, {live::shiftKey, tabKey}, "2"},
        {box, {live::controlKey, tabKey}, "1002"},
        {box, {live::controlKey, live::escapeKey}, cancelled},
        {startup, {live::shiftKey, tabKey}, "1001"},
        {startup, {' '}, checked},
        {save, {live::altKey, 'w'}, checked},
        {cancel, {'w'}, checked},
        {startup, {live::escapeKey}, cancelled},
        {startup, {live::altKey, f4Key}, cancelled},
        {cancel, {enterKey}, cancelled},
        {startup, {enterKey}, saved},
        {save, {' '}, saved},
        {startup, {live::altKey, 's'}, saved},
        {cancel, {live::altKey, 's'}, "1001"},
    };
    atLiveDesktop([&] {
        const live::Client others({100, 100, 900, 500}, "still");
        Program program;
        for (const auto& row : rows) {
            SCOPED_TRACE(std::to_string(row.from) + " " + row.outcome);
            openSettings();
            tabTo(row.from);
            live::pressKeys(row.keys);
            await(row.outcome.c_str(), [&] {
                const auto ends = callsOf("EndDialog");
                if (!ends.empty()) return ends.front() == row.outcome;
                return std::to_string(focus()) == row.outcome || control(box).text == row.outcome ||
                       (control(startup).checked && row.outcome == checked);
            });
            if (callsOf("EndDialog").empty()) live::click(middleOf(cancel));
            awaitClosed();
        }
        EXPECT_EQ(others.heard().find("+Esc"), std::string::npos);
    });
}

TEST(LiveSettings, opensAndIsRaisedAndTheShortcutWaits) {
    atLiveDesktop([] {
        const live::Client others({100, 100, 900, 500}, "still");
        const xcb_window_t another = live::focus();
        const pid_t first = live::start({PROGRAM_FILE, "--settings"});
        await("the first start's dialog", [&] { return live::focus() != another; });
        live::tap(live::escapeKey);
        await("its end", [&] { return live::focus() == another; });
        EXPECT_EQ(live::end(first), 0);

        Program program(u"--settings");
        await("the dialog", [] { return focus() == box; });
        xcb_set_input_focus(live::person(), XCB_INPUT_FOCUS_PARENT, another, XCB_CURRENT_TIME);
        live::tap('x');
        await("x", [&] { return others.heard().ends_with("-x"); });
        await("another program in front", [] { return focus() == 0; });
        openSettings();  // The same one: the program could not show a second.
        EXPECT_TRUE(callsOf("DialogBoxParamW").empty());
        tabTo(startup);
        live::pressShortcut();
        live::tap(tabKey);
        await("Save", [] { return focus() == save; });
        closeWith(live::escapeKey);
        openSettings();  // Would be refused during a selection.
        closeWith(live::escapeKey);
        EXPECT_EQ(live::focus(), another);
        live::pressShortcut();
        await("the sheet", sheetIsUp);
    });
}

TEST(LiveSettings, saveEndsInThreeWays) {
    atLiveDesktop([] {
        constexpr xcb_keycode_t seven = 16;  // Another program has the shortcut.
        xcb_grab_key(live::person(), 0, live::root(), XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT,
                     seven, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        live::pixelAt(0, 0);  // carried out by now
        Program program;
        openSettings();
        const std::string before = config();
        live::click(middleOf(save));
        EXPECT_EQ(awaitBox(), "Settings not saved|Shortcut unavailable or reserved by Windows. "
                              "Previous shortcut kept.|48");
        live::tap(live::escapeKey);
        await("the dialog", [] { return focus() == save && desktop::openBoxes().empty(); });
        capture({'x'}, "X");
        tabTo(save);
        live::tap(enterKey);
        EXPECT_EQ(awaitBox(), "Settings not saved|Use Ctrl, Alt, Shift or Win with a letter, "
                              "digit, numpad key or F1-F12.|48");
        live::tap(enterKey);
        await("the dialog", [] { return focus() == save && desktop::openBoxes().empty(); });
        EXPECT_EQ(control(box).text + config(), "X" + before);

        capture({live::altKey, live::shiftKey, 'k'}, "Alt+Shift+K");
        clickOnAnother(middleOf(cancel));
        live::click(middleOf(startup));
        await("the check mark", [] { return control(startup).checked; });
        desktop::planFault({desktop::Fault::Fail, "RegSetValueExW", 1, ERROR_ACCESS_DENIED});
        live::click(middleOf(save));
        EXPECT_EQ(awaitBox(),
                  "Settings partially saved|Shortcut saved. Startup could not be saved:\nWindows "
                  "refused the startup change.\n\nStartup state will be re-read. Retry Save, or "
                  "Cancel to close; the saved shortcut remains.|48");
        live::tap(' ');
        await("the true state", [] { return focus() == save && !control(startup).checked; });
        EXPECT_NE(config().find("modifiers=5\r\nkey=75"), std::string::npos) << config();
        live::click(middleOf(startup));
        await("the check mark", [] { return control(startup).checked; });
        live::click(middleOf(save));
        awaitClosed();
        EXPECT_EQ(filesIn(home() / "config" / "autostart").size(), 1u);
        await("the tip", [] { return desktop::trayTip() == "Quorvel Desk Clip — Alt+Shift+K"; });
        live::pressKeys({live::altKey, live::shiftKey, 'k'});
        await("the sheet", sheetIsUp);
    });
}
