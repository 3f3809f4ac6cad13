// The whole road on a live display: the program in its own process, another program that draws, and
// a person whose keys and pointer come from outside of both.

#include <gtest/gtest.h>
#include <signal.h>

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "platform/control.h"
#include "tests/clip_reader.h"
#include "tests/live/session_bus.h"
#include "tests/live/xvfb.h"

namespace {

// The drawing program's place, and a region in its upper left corner, on the right one of two
// monitors.
constexpr RECT place{1060, 100, 1860, 700}, region{1060, 100, 1700, 580};
constexpr POINT beside{1900, 1000};  // bare ground
constexpr std::uint32_t red = 0xff4040;

bool sheetIsUp() { return live::pixelAt(beside.x, beside.y) == 0x111111; }
bool frameIsUp() { return live::pixelAt(region.left - 1, region.top + 50) == red; }

struct Recording : testing::Test {
    static void SetUpTestSuite() {
        live::startDisplay();
        live::setMonitor("left", {0, 0, 960, 1080}, false);
        live::setMonitor("right", {960, 0, 1920, 1080}, true);
        live::movePointer(beside.x, beside.y);
    }
};

void openSheet() {
    live::pressShortcut();
    ASSERT_TRUE(desktop::waitUntil(sheetIsUp));
}

void dragRegion() {
    live::movePointer(region.left, region.top);
    live::pressButton(1);
    live::movePointer(region.left + 99, region.top + 99);
    live::movePointer(region.right, region.bottom);
    live::releaseButton(1);
}

// Everything typed so far has been heard, or never will be.
std::string heardUpTo(const live::Client& client, char letter) {
    live::tap(static_cast<xcb_keysym_t>(letter));
    EXPECT_TRUE(desktop::waitUntil([&] {
        return client.heard().ends_with(std::string("-") + letter);
    })) << client.heard();
    return client.heard();
}

bool heardEscape(const live::Client& client) {
    return client.heard().find("Esc") != std::string::npos;
}

// As a file manager wants it; of what needs an escape the folders' names have blanks and an umlaut.
std::string addressOf(const std::filesystem::path& file) {
    std::string address = "file://";
    for (const unsigned char letter : file.string()) {
        char escape[4];
        std::snprintf(escape, sizeof escape, "%%%02X", letter);
        address += letter == ' ' || letter > '~' ? escape : std::string(1, letter);
    }
    return address;
}

std::uint32_t timeIn(const ClipPicture& picture) {
    std::uint32_t code = 0;
    for (int bit = 0; bit < 32; ++bit) code = code << 1 | (picture.luma(bit * 16 + 8, 8) > 126);
    return code;
}

// Only what the client draws there has these; sheet and frame have others.
bool isGroundOrBar(int luma) { return std::abs(luma - 69) <= 4 || std::abs(luma - 157) <= 4; }

TEST_F(Recording, showsWhatAProgramDrewAtTheRightTime) {
    const live::ClipboardManager manager;
    umask(022);  // as most systems set it
    const live::Client client(place, "moving");
    const live::Program program;
    openSheet();
    dragRegion();
    ASSERT_TRUE(desktop::waitUntil(frameIsUp));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_NE(heardUpTo(client, 'a').find("+a -a"), std::string::npos);
    desktop::waitUntil(
        [&] { return std::chrono::steady_clock::now() - start > std::chrono::seconds(2); });
    kill(program.process, SIGXFSZ);  // as a write beyond a file's greatest size raises it
    live::tap(live::escapeKey);
    const std::filesystem::path file = program.waitForClip();
    ASSERT_FALSE(file.empty());
    EXPECT_TRUE(desktop::waitUntil([] { return !frameIsUp(); }));
    EXPECT_FALSE(heardEscape(client));
    live::tap(live::escapeKey);
    heardUpTo(client, 'b');
    EXPECT_TRUE(heardEscape(client));
    EXPECT_TRUE(desktop::waitUntil(
        [&] { return live::pasted("text/uri-list") == addressOf(file) + "\r\n"; }));
    EXPECT_EQ(live::pasted("x-special/gnome-copied-files"), "copy\n" + addressOf(file));
    kill(program.process, SIGTERM);
    EXPECT_EQ(manager.save(), addressOf(file) + "\r\n");
    EXPECT_EQ(live::waitFor(program.process), 0);
    // Other users of the machine have no rights to any of it.
    const std::string folder = file.parent_path().parent_path();
    EXPECT_EQ(live::outputOf("find '" + folder + "' -perm /077"), "");

    const Clip clip = readClip(file);
    EXPECT_EQ(clip.width, 640);
    EXPECT_EQ(clip.height, 480);
    EXPECT_GT(clip.times.size(), 15u);  // of about 60; a busy machine leaves slots out
    std::vector<double> late;  // in milliseconds, against a start of the clip that nobody knows
    forEachPicture(file, clip, [&](const ClipPicture& picture) {
        const std::size_t number = late.size();
        late.push_back(timeIn(picture) - static_cast<double>(clip.times.at(number)) / 10'000);
        for (const POINT at : {POINT{0, 40}, POINT{639, 479}, POINT{300, 200}})
            EXPECT_PRED1(isGroundOrBar, picture.luma(at.x, at.y)) << "picture " << number;
    });
    EXPECT_EQ(late.size(), clip.times.size());
    std::vector<double> sorted = late;
    std::ranges::sort(sorted);
    // A slot, and the time between two pictures of the drawing program. On a busy machine one of
    // the three programs may stand still for a moment.
    const auto beyond = [&](double milliseconds) {
        return std::ranges::count_if(late, [&](double each) {
            return std::abs(each - sorted[sorted.size() / 2]) > milliseconds;
        });
    };
    EXPECT_LE(beyond(34 + 10), static_cast<std::ptrdiff_t>(late.size() / 10));
    EXPECT_EQ(beyond(4 * 34), 0);
}

// It may interrupt the user wherever he is; that a drag was refused, he sees.
TEST_F(Recording, onlyTheLossOfAClipIsUrgent) {
    live::SessionBus bus(true);
    const live::Client client(place, "moving");
    const live::Program program;
    std::vector<std::string> notices;
    const auto comes = [&](const std::string& text) {
        return desktop::waitUntil([&] {
            bus.attend(notices);
            return !notices.empty() && notices.back().starts_with("Quorvel Desk Clip|" + text);
        });
    };
    openSheet();
    live::pressButton(1);
    live::releaseButton(1);
    EXPECT_TRUE(comes("Choose a region"));
    EXPECT_TRUE(notices.back().ends_with("in place of 0")) << notices.back();
    openSheet();
    dragRegion();
    ASSERT_TRUE(desktop::waitUntil(live::Program::isWriting));
    ASSERT_EQ(std::system("xrandr --delmonitor right >/dev/null"), 0);
    EXPECT_TRUE(comes("Acquire desktop (display mode/lock changed)"));
    EXPECT_TRUE(notices.back().ends_with("in place of 0!")) << notices.back();
}

}  // namespace
