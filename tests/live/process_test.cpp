// The program in a process of its own: what other programs get from it, and what it leaves among
// the user's files.

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <cmath>
#include <regex>

#include "platform/control.h"
#include "tests/clip_reader.h"
#include "tests/live/xvfb.h"

namespace {

using Clock = std::chrono::steady_clock;

const std::string command = "'" PROGRAM_FILE "'", tip = "Quorvel Desk Clip — Ctrl+Shift+7";

// The window's place and a region in its upper left corner, on the right one of two monitors.
constexpr RECT place{1060, 400, 1860, 1000}, region{1060, 400, 1700, 880};
constexpr POINT beside{1900, 1060};  // bare ground

void stop(pid_t process) {
    kill(process, SIGSTOP);
    waitpid(process, nullptr, WUNTRACED);
}

// Of the user's files.
std::string find(const std::string& which) {
    return outputOf("find \"$XDG_DATA_HOME\" \"$XDG_CONFIG_HOME\" " + which + " -printf %p");
}

// From the clipboard, in that form.
std::string pasted(const std::string& target) {
    return outputOf("xclip -o -selection clipboard -t " + target + " 2>/dev/null");
}

// Its shortcut is taken when the icon says so.
pid_t startProgram(const char* edge) {
    live::startTray(edge);
    const pid_t program = live::start(command);
    live::awaitIcon(tip);
    return program;
}

struct Process : testing::Test {
    static RECT open() {
        live::startDisplay();
        umask(022);  // as most systems set it
        return place;
    }
    void awaitFront(bool ofOthers) const {
        user::await("the window in front",
                    [&] { return (live::focus() == client.window) == ofOthers; });
    }

    live::Client client{open()};
};

bool sheetIsUp() { return live::pixelAt(beside.x, beside.y) == 0x111111; }
bool frameIsUp() { return live::pixelAt(region.left - 1, region.top + 50) == user::frame; }

// The bar's place tells the time, and begins again after so many milliseconds.
constexpr int period = 1200;

struct Recording : Process {
    Recording() {
        live::run("xrandr --setmonitor left 960/300x1080/200+0+0 none >/dev/null");
        live::run("xrandr --setmonitor \\*right 960/300x1080/200+960+0 screen >/dev/null");
        user::move(beside.x, beside.y);
    }

    static void openSheet() {
        user::pressShortcut();
        user::await("the sheet", sheetIsUp);
    }
    // The bar runs meanwhile.
    void await(const char* what, const std::function<bool()>& condition) {
        user::await(what, [&] {
            const auto now = Clock::now().time_since_epoch() / std::chrono::milliseconds(1);
            client.moveBar(static_cast<int>(now % period / 2));
            return condition();
        });
    }
    void record() {
        openSheet();
        user::drag(region);
        await("the red frame", frameIsUp);
        await("a part of the clip", [&] { return find("-name '*.partial.mp4' -size +10k") != ""; });
    }
    // The only clip.
    Path finish() {
        live::type("+Escape");
        await("the clip", [] { return pasted("text/uri-list").ends_with(".mp4\r\n"); });
        live::type("-Escape");  // when Esc is no longer the program's
        return find("-name '*.mp4'");
    }

    const live::SessionBus bus{true};
    const pid_t program = startProgram("top");
};

// How late each frame of the bar is, in milliseconds, against a start of the clip that nobody
// knows.
std::vector<double> delaysIn(const Path& file) {
    const Clip clip = readClip(file);
    EXPECT_EQ(clip.width, 640);
    EXPECT_EQ(clip.height, 480);
    // Only what the client draws there has these; sheet and frame have others.
    const auto isGroundOrBar = [](int luma) {
        return std::abs(luma - 92) <= 4 || std::abs(luma - 157) <= 4;
    };
    std::vector<double> delays;
    forEachPicture(file, clip, [&](const ClipPicture& picture) {
        for (const POINT at : {POINT{0, 40}, POINT{639, 479}, POINT{300, 200}})
            EXPECT_PRED1(isGroundOrBar, picture.luma(at.x, at.y)) << delays.size();
        int bar = 0;
        while (bar < 600 && picture.luma(bar, 8) < 125) ++bar;
        const double delay = clip.times.at(delays.size()) / 10'000. - 2 * bar;
        delays.push_back(delays.empty() ? delay : std::remainder(delay - delays[0], period));
    });
    EXPECT_EQ(delays.size(), clip.times.size());
    delays.at(0) = 0;
    return delays;
}

TEST_F(Recording, showsWhatAProgramDrewAtTheRightTime) {
    openSheet();
    user::click(beside.x, beside.y);
    await("a notice", [&] { return bus.last("body").starts_with("'Choose a region"); });
    EXPECT_EQ(bus.last("urgency"), "NORMAL");

    record();
    const auto start = Clock::now();
    live::type("a");
    await("two seconds", [&] { return Clock::now() - start > std::chrono::seconds(2); });
    kill(program, SIGXFSZ);  // as a write beyond a file's greatest size raises it
    const Path clip = finish();
    EXPECT_FALSE(frameIsUp());
    live::type("Escape b");
    await("b", [&] { return client.heard().ends_with("-b"); });
    EXPECT_TRUE(client.heard().ends_with("+a-a+Escape-Escape+b-b")) << client.heard();

    std::vector<double> delays = delaysIn(clip);
    std::string address = "file://" + clip.string();
    // On a busy machine one of the three programs may stand still for a moment.
    EXPECT_GT(delays.size(), 15u);  // of about 60
    std::ranges::sort(delays);
    const auto late = std::ranges::count_if(
        delays, [&](double delay) { return std::abs(delay - delays[delays.size() / 2]) > 3 * 34; });
    EXPECT_LE(late, std::ssize(delays) / 10);

    // Of what needs an escape the folders' names have blanks and an umlaut.
    address = std::regex_replace(address, std::regex(" "), "%20");
    address = std::regex_replace(address, std::regex("ä"), "%C3%A4");
    EXPECT_EQ(pasted("text/uri-list"), address + "\r\n");
    EXPECT_EQ(pasted("x-special/gnome-copied-files"), "copy\n" + address);

    // A notice of a lost clip may interrupt the user wherever that is.
    record();
    EXPECT_EQ(live::run("xrandr --delmonitor right >/dev/null"), 0);
    await("a notice", [&] { return bus.last("body").starts_with("'Acquire desktop"); });
    EXPECT_EQ(bus.last("urgency"), "CRITICAL");
    EXPECT_EQ(live::savedAtTheEnd([&] { kill(program, SIGTERM); }), address + "\r\n");
    EXPECT_EQ(live::waitFor(program), 0);
    EXPECT_EQ(find("-path '*/Q*' -perm /077"), "");
}

TEST_F(Recording, holdsUpNoKeyWhileTheProgramIsStopped) {
    record();
    stop(program);
    live::type("a Escape +Control_L +Shift_L 7 -Shift_L -Control_L b");
    user::await("the keys", [&] { return client.heard().ends_with("+b-b"); });
    EXPECT_NE(client.heard().find("+a-a"), std::string::npos);
}

// Without a limit two programs that want to be on top would raise their windows for ever.
TEST_F(Recording, keepsTheFrameOnTopButFightsNoWar) {
    record();
    const live::Client other(
        {region.left - 50, region.top + 45, region.left + 50, region.top + 100});
    user::await("the frame on top", frameIsUp);
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    int rounds = 0;
    do xcb_configure_window(live::person(), other.window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    while (++rounds < 1000 && desktop::waitUntil(frameIsUp, 1));
    EXPECT_LT(rounds, 1000);
}

TEST_F(Recording, hasNoShadowOfACompositor) {
    live::start("picom --config /dev/null --backend xrender --shadow --shadow-exclude "
                "_GTK_FRAME_EXTENTS@:c");
    user::await("the compositor",
                [] { return live::run("xwininfo -name picom >/dev/null 2>&1") == 0; });
    record();
    delaysIn(finish());
}

// The dialog watches for clicks elsewhere, since they take the foreground from it.
TEST_F(Process, stoppedDialogHoldsUpNoButton) {
    const pid_t settings = live::start(command + " --settings");
    awaitFront(false);
    stop(settings);
    user::click(place.right - 50, place.bottom - 50);
    user::await("the click", [&] { return client.heard() == "click"; });
}

TEST_F(Process, opensItsMenuAtTheIconAndTheFolderAsTheUsersProgram) {
    const Path home = std::getenv("HOME"), opened = home / "opened";
    writeFile(home / "xdg-open", "#!/bin/sh\nprintf %s \"$1\" >'" + opened.string() + "'");
    std::filesystem::permissions(home / "xdg-open", std::filesystem::perms::owner_all);
    setenv("PATH", (home.string() + ":" + std::getenv("PATH")).c_str(), 1);
    const pid_t program = startProgram("bottom");
    const POINT at = live::awaitIcon(tip);
    user::click(at.x, at.y, 3);
    awaitFront(false);
    const RECT menu = live::boundsInFront();
    EXPECT_EQ(menu.right, 1920);
    EXPECT_LT(menu.left, at.x);
    EXPECT_EQ(menu.bottom, at.y);
    user::click(menu.left + 60, menu.top + 74);  // Open clips
    user::await("the folder", [&] { return readFile(opened).ends_with("/Recordings"); });
    // The file manager goes on as the user set it.
    EXPECT_EQ(std::filesystem::status(opened).permissions(), std::filesystem::perms(0644));
    EXPECT_EQ(live::end(program), 0);
}

// A build of the program takes the place of the one that runs.
TEST_F(Process, startEntryNamesTheProgramThatWasStarted) {
    const ScratchFolder folder;
    const Path own = folder.path / "program";
    std::filesystem::copy_file(PROGRAM_FILE, own);
    const pid_t first = live::start("'" + own.string() + "' --settings");
    awaitFront(false);
    live::type("Escape");
    awaitFront(true);
    std::filesystem::rename(own, folder.path / "older");
    EXPECT_EQ(live::run(command), 0);
    awaitFront(false);
    const RECT dialog = live::boundsInFront();
    user::click(dialog.right - 68, dialog.top + 15);  // No taskbar has what is minimized.
    live::type("Tab space Return");
    awaitFront(true);
    EXPECT_EQ(live::end(first), 0);
    const Path autostart = Path(std::getenv("XDG_CONFIG_HOME")) / "autostart";
    const std::string entry = readFile(autostart / "QuorvelDeskClip.desktop");
    EXPECT_NE(entry.find("\nExec=\"" + own.string() + "\"\n"), std::string::npos) << entry;
    EXPECT_EQ(find("-path '*/autostart*' -perm /077"), "");
}

// As over a forwarded connection, where the extension is offered but no memory can be attached.
TEST_F(Process, refusesADisplayThatSharesNoMemory) {
    EXPECT_EQ(outputOf("DISPLAY=127.0.0.1$DISPLAY " + command + " 2>&1; echo $?"),
              "The display cannot share memory with this program\n1\n");
}

TEST_F(Process, warnsOfAWaylandSessionOnce) {
    for (const std::string sign : {"WAYLAND_DISPLAY=wayland-0 ", ""}) {
        const ScratchFolder folder;
        const std::string words = folder.path / "words";
        if (sign.empty())
            live::run("xrandr --setmonitor XWAYLAND0 1920/300x1080/200+0+0 screen >/dev/null");
        const std::string start = sign + command + " 2>>'" + words + "'";
        const pid_t first = live::start(start);
        user::await("the notice", [] {
            return live::isShown("Only the windows of X11 programs can be recorded.");
        });
        EXPECT_EQ(live::run(start), 0);
        EXPECT_EQ(live::end(first), 0);
        EXPECT_EQ(readFile(words),
                  "Wayland session: only the windows of X11 programs can be recorded.\n");
    }
}

}  // namespace
