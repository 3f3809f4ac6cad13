// The tray icon in a tray that others made, its menu, and the way to it again after the tray has
// been started anew: the program in a process of its own.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>

#include "platform/control.h"
#include "tests/live/xvfb.h"

namespace {

constexpr POINT ground{300, 900};  // nothing of ours is ever there
constexpr LONG right = 1920;
enum Row { recordRegion, stopRecording, openClips, settings, separator, exitProgram };

void await(const char* what, const std::function<bool()>& condition) {
    ASSERT_TRUE(desktop::waitUntil(condition)) << "waited in vain for " << what;
}

LONG widthOf(const RECT& area) { return area.right - area.left; }

// Its tip has the same title, but not in the tray.
RECT icon() {
    const xcb_window_t panel = live::findWindow("panel");
    return live::boundsOf(live::findWindow("Quorvel Desk Clip — Ctrl+Shift+7", panel));
}

bool shows(const RECT& area, std::uint32_t colour) {
    for (LONG y = area.top; y < area.bottom; ++y)
        for (LONG x = area.left; x < area.right; ++x)
            if (live::pixelAt(x, y) == colour) return true;
    return false;
}

// As wide as one of its images, in the middle of the slot, and not cut by the screen's edge.
bool isDrawnAs(LONG wide) {
    const RECT area = icon();
    const LONG left = (area.left + area.right - wide) / 2, y = (area.top + area.bottom) / 2;
    const std::uint32_t plate = 0xD5F65A;
    return area.right <= right && widthOf(area) > wide && live::pixelAt(left, y) == plate &&
           live::pixelAt(left + wide - 1, y) == plate && live::pixelAt(left - 1, y) != plate &&
           live::pixelAt(left + wide, y) != plate;
}
bool isDrawn() { return isDrawnAs(20); }

struct Tray {
    explicit Tray(int height = 24)
        : process(live::start({"trayer", "--edge", "bottom", "--align", "right", "--widthtype",
                               "request", "--heighttype", "pixel", "--height",
                               std::to_string(height)})) {}
    ~Tray() { live::end(process); }

    const pid_t process;
};

struct InTray : testing::Test {
    InTray() {
        live::startDisplay();
        others = live::focus();
    }

    RECT focused() const {
        const xcb_window_t window = live::focus();
        return window == others ? RECT{} : live::boundsOf(window);
    }
    bool sheetIsUp() const { return widthOf(focused()) == right; }
    bool menuIsUp() const { return widthOf(focused()) > 0 && widthOf(focused()) < 300; }
    bool nothingIsUp() const { return live::focus() == others; }

    POINT onIcon() const {
        const RECT area = icon();
        return {(area.left + area.right) / 2, (area.top + area.bottom) / 2};
    }
    POINT pressIcon(int button) const {
        const POINT at = onIcon();
        live::click(at, button);
        return at;
    }
    // Whatever the icon was told before has been heard by then.
    POINT openMenu() const {
        const POINT at = pressIcon(3);
        await("the menu", [&] { return menuIsUp(); });
        return at;
    }
    void choose(Row row) const {
        const RECT menu = focused();
        live::click({menu.left + 60, menu.top + 18 + 28 * row - (row > separator ? 19 : 0)});
    }
    void leave() const {
        live::tap(live::escapeKey);
        await("an empty screen", [&] { return nothingIsUp(); });
    }

    xcb_window_t others;
};

TEST_F(InTray, anIconStandsInEveryTrayThatComes) {
    const live::Program program;
    for (const auto& [height, image] : {std::pair{24, 20}, {64, 48}}) {
        const Tray tray(height);
        await("the icon", [side = image] { return isDrawnAs(side); });
        pressIcon(1);
        openMenu();
        leave();
        live::doubleClick(onIcon());
        await("the sheet", [&] { return sheetIsUp(); });
        leave();
    }
    await("the end of the icon",
          [] { return !live::findWindow("Quorvel Desk Clip — Ctrl+Shift+7"); });
}

TEST_F(InTray, theMenuOpensAtThePointerAndIsLeftWithoutAChoice) {
    const live::Program program;
    const Tray tray;
    await("the icon", isDrawn);
    void (*const ways[])() = {[] { live::tap(live::escapeKey); }, [] { live::click(ground); }};
    for (const auto& way : ways) {
        const POINT at = openMenu();
        const RECT menu = focused();
        EXPECT_TRUE(menu.right == right && menu.left < at.x && menu.bottom == at.y)
            << menu.left << ' ' << menu.top << ' ' << menu.right << ' ' << menu.bottom;
        EXPECT_TRUE(shows(menu, 0x1A1A1A)) << "no text";
        way();
        await("an empty screen", [&] { return nothingIsUp(); });
    }
}

TEST_F(InTray, theMenuOpensTheFolderAndTheSettingsAndExits) {
    const std::filesystem::path home = std::getenv("HOME"), opened = home / "opened";
    std::ofstream(home / "xdg-open") << "#!/bin/sh\nprintf %s \"$1\" >'" << opened.string() << "'";
    std::filesystem::permissions(home / "xdg-open", std::filesystem::perms::owner_all);
    setenv("PATH", (home.string() + ":" + std::getenv("PATH")).c_str(), 1);

    const live::ClipboardManager manager;
    umask(022);
    const live::Client moving({400, 100, 1000, 600}, "moving");
    others = live::focus();
    const live::Program program;
    const Tray tray;
    await("the icon", isDrawn);
    live::pressShortcut();
    await("the sheet", [&] { return sheetIsUp(); });
    live::movePointer(500, 200);
    live::pressButton(1);
    live::movePointer(800, 400);
    live::releaseButton(1);
    await("a part of the clip", live::Program::isWriting);
    live::tap(live::escapeKey);
    await("the notice", [] { return live::findWindow("Copied — paste the video file."); });

    openMenu();
    choose(openClips);
    await("the folder", [&] { return std::filesystem::exists(opened); });
    // The file manager goes on as the user set it.
    EXPECT_EQ(std::filesystem::status(opened).permissions(), std::filesystem::perms(0644));
    openMenu();
    choose(settings);
    await("the dialog", [] { return live::findWindow("Quorvel Clip - Settings"); });
    const RECT dialog = live::boundsOf(live::findWindow("Quorvel Clip - Settings"));
    await("its painting", [&] { return shows(dialog, 0x0067C0); });
    EXPECT_FALSE(
        shows({dialog.right - 90, dialog.top, dialog.right - 46, dialog.top + 30}, 0x1A1A1A))
        << "No taskbar has what is minimised.";
    pressIcon(3);
    live::click({dialog.right - 22, dialog.top + 15});  // Would only close a menu.
    await("an empty screen", [&] { return nothingIsUp(); });
    openMenu();
    choose(exitProgram);
    EXPECT_TRUE(manager.save().ends_with(".mp4\r\n"));
    EXPECT_EQ(live::waitFor(program.process), 0);
    EXPECT_EQ(widthOf(icon()), 0);
}

}  // namespace
